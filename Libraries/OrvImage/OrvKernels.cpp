#include "OrvKernels.h"

namespace orv {
namespace {

inline uint8_t Linear(uint32_t s00, uint32_t s01, uint32_t s10, uint32_t s11, uint32_t f, uint32_t g)
{
    // s01/s11 are the row-y1 samples. Vertical sums are at most 255 * 256.
    const uint32_t c0 = s00 * (256 - g) + s01 * g;
    const uint32_t c1 = s10 * (256 - g) + s11 * g;
    return static_cast<uint8_t>((c0 * (256 - f) + c1 * f + 32768) >> 16);
}

void NearestRow_C(uint8_t* dst, const uint8_t* src, const int32_t* xi, int n)
{
    for (int i = 0; i < n; ++i)
        dst[i] = src[xi[i]];
}

void LinearRow_C(uint8_t* dst, const uint8_t* row0, const uint8_t* row1, int g, const int32_t* x0,
                 const int32_t* x1, const uint8_t* f, int n)
{
    const uint32_t ug = static_cast<uint32_t>(g);
    for (int i = 0; i < n; ++i)
        dst[i] = Linear(row0[x0[i]], row1[x0[i]], row0[x1[i]], row1[x1[i]], f[i], ug);
}

void NearestRows_C(uint8_t* const* dst, const uint8_t* const* src, int rows, const int32_t* xi, int n)
{
    for (int r = 0; r < rows; ++r)
        NearestRow_C(dst[r], src[r], xi, n);
}

void LinearRows_C(uint8_t* const* dst, const uint8_t* const* row0, const uint8_t* const* row1, const uint8_t* g,
                  int rows, const int32_t* x0, const int32_t* x1, const uint8_t* f, int n)
{
    for (int r = 0; r < rows; ++r)
        LinearRow_C(dst[r], row0[r], row1[r], g[r], x0, x1, f, n);
}

void NearestGather_C(uint8_t* dst, const uint8_t* src, ptrdiff_t step, const NearestTap* taps, int n)
{
    for (int i = 0; i < n; ++i)
        dst[i] = src[taps[i].y * step + taps[i].x];
}

void LinearGather_C(uint8_t* dst, const uint8_t* src, ptrdiff_t step, const LinearTap* taps, int n)
{
    for (int i = 0; i < n; ++i) {
        const LinearTap& t = taps[i];
        const uint8_t* r0 = src + t.y0 * step;
        const uint8_t* r1 = src + t.y1 * step;
        dst[i] = Linear(r0[t.x0], r1[t.x0], r0[t.x1], r1[t.x1], t.f, t.g);
    }
}

// M(a, b) = round(a * b / 255) without a division: for t = a * b <= 255 * 255,
// (t + 128 + ((t + 128) >> 8)) >> 8 is exact.
inline uint32_t MulDiv255(uint32_t a, uint32_t b)
{
    const uint32_t t = a * b + 128;
    return (t + (t >> 8)) >> 8;
}

void AlphaOverRow_C(uint8_t* dst, const uint8_t* a, const uint8_t* b, int n, int m1, int m2)
{
    for (int i = 0; i < n; ++i) {
        const uint32_t v = MulDiv255(static_cast<uint32_t>(m1), a[i]) + MulDiv255(static_cast<uint32_t>(m2), b[i]);
        dst[i] = static_cast<uint8_t>(v > 255 ? 255 : v);
    }
}

const GeometryKernels kGeometryReference = {NearestRow_C,    LinearRow_C,     NearestRows_C, LinearRows_C,
                                             NearestGather_C, LinearGather_C, nullptr};
const BlendKernels kBlendReference = {AlphaOverRow_C};

} // namespace

const GeometryKernels& ReferenceGeometryKernels() { return kGeometryReference; }
const BlendKernels& ReferenceBlendKernels() { return kBlendReference; }

#if !DP_HAVE_HIGHWAY
SimdFillers<GeometryKernels> GeometrySimdFillers() { return {}; }
SimdFillers<BlendKernels> BlendSimdFillers() { return {}; }
#endif

const GeometryKernels& GetGeometryKernels()
{
    static const KernelLadder<GeometryKernels> ladder(kGeometryReference, GeometrySimdFillers());
    return ladder.Get();
}

const BlendKernels& GetBlendKernels()
{
    static const KernelLadder<BlendKernels> ladder(kBlendReference, BlendSimdFillers());
    return ladder.Get();
}

} // namespace orv
