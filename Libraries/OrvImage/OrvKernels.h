// Row kernels of the image-routine library, grouped per family.
//
// Each public routine checks its arguments, builds the sample positions of
// a run of destination pixels and hands the run to a kernel of these
// tables. The tables hold the plain C++ reference kernels; faster kernels
// (SIMD) plug in at the same boundary and must give the same bytes.
#ifndef ORVIMAGE_KERNELS_H
#define ORVIMAGE_KERNELS_H

#include "KernelDispatch.h"

#include <cstddef>
#include <cstdint>

namespace orv {

// Linear sample of one destination pixel: columns x0/x1 and rows y0/y1 of
// the source, 8-bit weights f (towards x1) and g (towards y1).
struct LinearTap {
    int32_t x0, x1, y0, y1;
    uint8_t f, g;
};

// Nearest sample of one destination pixel.
struct NearestTap {
    int32_t x, y;
};

// The linear formula, one rounding at the end:
//   c0 = S(x0,y0)*(256-g) + S(x0,y1)*g     (fits 16 bits)
//   c1 = S(x1,y0)*(256-g) + S(x1,y1)*g
//   D  = (c0*(256-f) + c1*f + 32768) >> 16 (fits 32 bits)
struct GeometryKernels {
    // Separable rows (resize): dst[i] = src[xi[i]].
    void (*nearestRow)(uint8_t* dst, const uint8_t* src, const int32_t* xi, int n);
    // Separable rows (resize): row0/row1 are the source rows y0/y1, g their weight.
    void (*linearRow)(uint8_t* dst, const uint8_t* row0, const uint8_t* row1, int g, const int32_t* x0,
                      const int32_t* x1, const uint8_t* f, int n);
    // Several rows of one run (resize): row r is dst[r] from source row
    // src[r], every row with the same columns xi, in order.
    void (*nearestRows)(uint8_t* const* dst, const uint8_t* const* src, int rows, const int32_t* xi, int n);
    // Several rows of one run (resize): row r is dst[r] from source rows
    // row0[r] and row1[r] with weight g[r], every row with the same columns
    // x0/x1/f; the rows are done in order, as linearRow would do them.
    void (*linearRows)(uint8_t* const* dst, const uint8_t* const* row0, const uint8_t* const* row1, const uint8_t* g,
                       int rows, const int32_t* x0, const int32_t* x1, const uint8_t* f, int n);
    // Arbitrary positions (rotation): src is the image origin.
    void (*nearestGather)(uint8_t* dst, const uint8_t* src, ptrdiff_t step, const NearestTap* taps, int n);
    void (*linearGather)(uint8_t* dst, const uint8_t* src, ptrdiff_t step, const LinearTap* taps, int n);
    // Exact quarter turns (every position a whole pixel, both
    // interpolations then copy it): a w x h destination block,
    //   turn 90:  dst[y * dstStep + x] = src[x * srcStep - y]
    //   turn 270: dst[y * dstStep + x] = src[y - x * srcStep]
    // src being the source pixel of the block's first destination pixel.
    // The reference table has none (null): the rotation then runs its
    // general path, which defines the bytes a turn kernel must give.
    void (*quarterTurn)(uint8_t* dst, ptrdiff_t dstStep, const uint8_t* src, ptrdiff_t srcStep, int w, int h,
                        int turn);
};

struct BlendKernels {
    // "Over" with constant alphas: dst[i] = min(255, M(m1, a[i]) + M(m2, b[i])).
    // b may be dst (in-place).
    void (*alphaOverRow)(uint8_t* dst, const uint8_t* a, const uint8_t* b, int n, int m1, int m2);
};

const GeometryKernels& GetGeometryKernels();
const BlendKernels& GetBlendKernels();

// The reference tables, for tests that compare a faster table with them.
const GeometryKernels& ReferenceGeometryKernels();
const BlendKernels& ReferenceBlendKernels();

// The vector twins, per level (OrvKernelsSimd.cpp; empty without Highway).
SimdFillers<GeometryKernels> GeometrySimdFillers();
SimdFillers<BlendKernels> BlendSimdFillers();

} // namespace orv

#endif // ORVIMAGE_KERNELS_H
