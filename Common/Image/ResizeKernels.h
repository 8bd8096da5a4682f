// Row kernels of the own plane scalers (12-bit fixed point), grouped per
// family in small tables of function pointers.
//
// A scaler checks its records, computes the 12-bit steps and, for each
// destination row, the source rows and the row fraction; the kernel does
// the arithmetic along one row and knows nothing of pitches or regions.
// Destination column c of a row samples the source at pos = c * stepX
// (units of 1/4096 pixel): column pos >> 12 from the region's first column,
// fraction pos & 4095 (pos is never negative). Source pointers point at the
// region's first column unless a kernel says otherwise.
//
// The bilinear arithmetic is the two-stage truncating form
//   top    = ((4096 - fx) * P(sx, sy)   + fx * P(sx + 1, sy))   / 4096
//   bottom = ((4096 - fx) * P(sx, sy+1) + fx * P(sx + 1, sy+1)) / 4096
//   result = ((4096 - fy) * top + fy * bottom) / 4096
// with no rounding term. When fx is 0 the neighbour column is not read (its
// weight is 0, the result is the same), so a region one pixel wide never
// reads past its edge; callers pass bottom = top when fy is 0 likewise.
#ifndef DATAPROCESS_RESIZEKERNELS_H
#define DATAPROCESS_RESIZEKERNELS_H

#include "KernelDispatch.h"

#include <cstdint>

// 32-bit pixels (blue, green, red, alpha).
struct Scale32Kernels {
    // n pixels; the first three bytes bilinear, the fourth copied from (sx, top row).
    void (*bilinear)(uint8_t* dst, const uint8_t* top, const uint8_t* bottom, int fy, int64_t stepX, int n);
    // n pixels copied whole from column sx.
    void (*nearest)(uint8_t* dst, const uint8_t* src, int64_t stepX, int n);
    // Cubic convolution (parameter -1) of n pixels over four source rows
    // (rows[1] is row sy). Columns sx - 1 .. sx + 2 are clamped into
    // 0 .. last. wy are the vertical weights; hSmooth/vSmooth switch on the
    // pre-smoothing of the four horizontal / vertical samples.
    void (*convolve)(uint8_t* dst, const uint8_t* const rows[4], const double wy[4], int last, int64_t stepX, int n,
                     bool hSmooth, bool vSmooth);
};

// 8-bit planes.
struct Plane8Kernels {
    void (*bilinear)(uint8_t* dst, const uint8_t* top, const uint8_t* bottom, int fy, int64_t stepX, int n);
    void (*nearest)(uint8_t* dst, const uint8_t* src, int64_t stepX, int n);
    // dst[i] = src[table[i]]; src is the row start.
    void (*table)(uint8_t* dst, const uint8_t* src, const int32_t* table, int n);
    // dst[i] = (r0[x0] + r0[x1] + r1[x0] + r1[x1]) >> 2 with x0 = (i * stepX) >> 12,
    // x1 = ((i + 1) * stepX) >> 12.
    void (*average4)(uint8_t* dst, const uint8_t* row0, const uint8_t* row1, int64_t stepX, int n);
};

// One 4:2:0 chroma plane addressed in luma coordinates. Source pointers are
// chroma row starts and x is the luma column of the source region: output k
// stands for the luma offset 2k, sx = x + ((2k * stepX) >> 12), and reads
// chroma columns sx / 2 and (sx + 1) / 2.
struct ChromaKernels {
    void (*bilinear)(uint8_t* dst, const uint8_t* top, const uint8_t* bottom, int fy, int x, int64_t stepX, int n);
    void (*nearest)(uint8_t* dst, const uint8_t* src, int x, int64_t stepX, int n);
};

// Laying a scaled picture or mask over a 32-bit destination.
struct OverlayKernels {
    // Bilinear colour c and source alpha a of (sx, top row) over the old
    // destination d: d = (c * a + (255 - a) * d) / 255 for the three colour
    // bytes, d4 = (255 - a) * d4 / 255 + a.
    void (*alphaBilinear)(uint8_t* dst, const uint8_t* top, const uint8_t* bottom, int fy, int64_t stepX, int n);
    // Source pixel sx blended over the colour bytes with its own alpha; the
    // destination's fourth byte is left as it is.
    void (*alphaNearest)(uint8_t* dst, const uint8_t* src, int64_t stepX, int n);
    // Mask value m (bilinear over one byte a pixel, low 8 bits): m == 0
    // clears the destination pixel; then d4 = m * d4 / 255.
    void (*maskBilinear)(uint8_t* dst, const uint8_t* top, const uint8_t* bottom, int fy, int64_t stepX, int n);
    void (*maskNearest)(uint8_t* dst, const uint8_t* src, int64_t stepX, int n);
};

// The tables in use at the active SIMD level (KernelDispatch.h); level 0
// is the reference.
const Scale32Kernels& GetScale32Kernels();
const Plane8Kernels& GetPlane8Kernels();
const ChromaKernels& GetChromaKernels();
const OverlayKernels& GetOverlayKernels();

// The reference (plain C++) tables.
const Scale32Kernels& ReferenceScale32Kernels();
const Plane8Kernels& ReferencePlane8Kernels();
const ChromaKernels& ReferenceChromaKernels();
const OverlayKernels& ReferenceOverlayKernels();

// The vector twins, per level (ResizeKernelsSimd.cpp; empty without Highway).
SimdFillers<Scale32Kernels> Scale32SimdFillers();
SimdFillers<Plane8Kernels> Plane8SimdFillers();
SimdFillers<ChromaKernels> ChromaSimdFillers();
SimdFillers<OverlayKernels> OverlaySimdFillers();

// The cubic convolution kernel with parameter -1:
//   k(d) = d^3 - 2d^2 + 1          for 0 <= d < 1
//   k(d) = -d^3 + 5d^2 - 8d + 4    for 1 <= d < 2, else 0.
double CubicWeight(double d);

#endif // DATAPROCESS_RESIZEKERNELS_H
