// Vector twins of the own plane scalers' row kernels (ResizeKernels.cpp),
// one source compiled by Highway for every SIMD level. Each twin gives the
// same bytes as its reference on every input.
//
// One destination column (one pixel) per 32-bit lane. The arithmetic is the
// reference's: every product of the two-stage bilinear form is at most
// 4096 * 255 < 2^20 and every division is of a non-negative value by 4096
// (a shift) or by 255 (see Div255), so unsigned 32-bit lanes are exact.
// The kernels that only copy samples (nearest 8-bit, chroma and 32-bit, the
// index table, the 2 x 2 average) and the cubic convolution have no twin:
// their scalar loops are as fast as a vector version on these CPUs.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "ResizeKernelsSimd.cpp"
#include <hwy/foreach_target.h> // IWYU pragma: keep
#include <hwy/highway.h>

#include <cstring>

#include "ResizeKernels.h"
#include "SimdTargets.h"

HWY_BEFORE_NAMESPACE();
namespace dpsimd {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

#if DP_SIMD_TARGET_USED

using DU = hn::ScalableTag<uint32_t>;
using DI = hn::RebindToSigned<DU>;
using VU = hn::Vec<DU>;

// A row is done in chunks of kChunk columns, in two passes. The first,
// scalar, pass computes each column's position exactly as the reference
// does (64-bit c * stepX) and copies the samples it reads into lane arrays;
// the second does the arithmetic on whole vectors of those arrays. (Fetching
// samples by vector gathers is slower on the CPUs this runs on than scalar
// loads, and building a vector from scalar stores just made stalls on the
// store-to-load forwarding; arrays filled a chunk ahead avoid both.)
constexpr int kChunk = 256;

struct Samples {
    HWY_ALIGN uint32_t t0[kChunk];
    HWY_ALIGN uint32_t t1[kChunk];
    HWY_ALIGN uint32_t b0[kChunk];
    HWY_ALIGN uint32_t b1[kChunk];
    HWY_ALIGN uint32_t fx[kChunk];
};

inline uint32_t Load32(const uint8_t* p)
{
    uint32_t v;
    std::memcpy(&v, p, 4);
    return v;
}

// The first pass of a bilinear row: columns c0 .. c0 + count - 1. Pixels
// are `bpp` bytes (1 or 4); the neighbour column is read only where the
// fraction is not 0, as the reference reads it. The arrays are filled up to
// a whole number of vectors (the extra lanes repeat the last column).
inline void FetchBilinear(Samples& s, const uint8_t* top, const uint8_t* bottom, int64_t stepX, int c0, int count,
                          int padded, int bpp)
{
    for (int i = 0; i < padded; ++i) {
        const int64_t pos = static_cast<int64_t>(c0 + (i < count ? i : count - 1)) * stepX;
        const int64_t sx = pos >> 12;
        const uint32_t fx = static_cast<uint32_t>(pos & 4095);
        const int64_t sx1 = fx ? sx + 1 : sx;
        s.fx[i] = fx;
        if (bpp == 1) {
            s.t0[i] = top[sx];
            s.t1[i] = top[sx1];
            s.b0[i] = bottom[sx];
            s.b1[i] = bottom[sx1];
        } else {
            s.t0[i] = Load32(top + sx * 4);
            s.t1[i] = Load32(top + sx1 * 4);
            s.b0[i] = Load32(bottom + sx * 4);
            s.b1[i] = Load32(bottom + sx1 * 4);
        }
    }
}

// Runs a row chunk by chunk: fetch(c0, count, padded) fills the arrays,
// then compute(i, out) makes the vector of columns c0 + i .. and stores it at
// out. The last vector of a row is stored through a scratch row that starts
// as a copy of the destination (the overlays read it), so only the row's
// own pixels are written: the one tail of the family.
template <class Fetch, class Compute>
HWY_INLINE void ChunkedRow(uint8_t* dst, int n, size_t bpp, const Fetch& fetch, const Compute& compute)
{
    const DU du;
    const int lanes = static_cast<int>(hn::Lanes(du));
    for (int c0 = 0; c0 < n; c0 += kChunk) {
        const int count = n - c0 < kChunk ? n - c0 : kChunk;
        const int padded = (count + lanes - 1) / lanes * lanes;
        fetch(c0, count, padded);
        int i = 0;
        for (; i + lanes <= count; i += lanes)
            compute(i, dst + static_cast<size_t>(c0 + i) * bpp);
        if (i < count) {
            HWY_ALIGN uint8_t tmp[HWY_MAX_BYTES] = {};
            const size_t bytes = static_cast<size_t>(count - i) * bpp;
            std::memcpy(tmp, dst + static_cast<size_t>(c0 + i) * bpp, bytes);
            compute(i, tmp);
            std::memcpy(dst + static_cast<size_t>(c0 + i) * bpp, tmp, bytes);
        }
    }
}

// Lerp12: ((4096 - f) * a + f * b) / 4096; the sum is at most
// 4096 * 255 < 2^20 and never negative, so the division is a shift.
HWY_INLINE VU Lerp12(VU a, VU b, VU f)
{
    const VU k4096 = hn::Set(DU(), 4096);
    return hn::ShiftRight<12>(hn::Add(hn::Mul(hn::Sub(k4096, f), a), hn::Mul(f, b)));
}

// x / 255 for 0 <= x <= 65535: (x * 0x8081) >> 23 is exact there and the
// product stays below 2^32.
HWY_INLINE VU Div255(VU x) { return hn::ShiftRight<23>(hn::Mul(x, hn::Set(DU(), 0x8081))); }

HWY_INLINE void StoreBytes(VU v, uint8_t* dst)
{
    const hn::Rebind<uint8_t, DU> d8;
    hn::StoreU(hn::DemoteTo(d8, hn::BitCast(DI(), v)), d8, dst);
}

HWY_INLINE void StorePixels(VU v, uint8_t* dst)
{
    const hn::Repartition<uint8_t, DU> d8;
    hn::StoreU(hn::BitCast(d8, v), d8, dst);
}

HWY_INLINE VU LoadPixels(const uint8_t* src)
{
    const hn::Repartition<uint8_t, DU> d8;
    return hn::BitCast(DU(), hn::LoadU(d8, src));
}

HWY_INLINE VU Channel(VU pixel, int b)
{
    return hn::And(hn::ShiftRightSame(pixel, 8 * b), hn::Set(DU(), 255));
}

// Bilinear12 of lanes i.. of one sample set (one byte a lane).
HWY_INLINE VU Bilinear(const Samples& s, int i, VU fy)
{
    const DU du;
    const VU fx = hn::Load(du, s.fx + i);
    return Lerp12(Lerp12(hn::Load(du, s.t0 + i), hn::Load(du, s.t1 + i), fx),
                  Lerp12(hn::Load(du, s.b0 + i), hn::Load(du, s.b1 + i), fx), fy);
}

// The three colour bytes bilinear from 32-bit samples; the fourth byte is 0.
HWY_INLINE VU BilinearColour(const Samples& s, int i, VU fy)
{
    const DU du;
    const VU fx = hn::Load(du, s.fx + i);
    const VU t0 = hn::Load(du, s.t0 + i), t1 = hn::Load(du, s.t1 + i);
    const VU b0 = hn::Load(du, s.b0 + i), b1 = hn::Load(du, s.b1 + i);
    VU colour = hn::Zero(du);
    for (int b = 0; b < 3; ++b) {
        const VU v = Lerp12(Lerp12(Channel(t0, b), Channel(t1, b), fx), Lerp12(Channel(b0, b), Channel(b1, b), fx), fy);
        colour = hn::Or(colour, hn::ShiftLeftSame(v, 8 * b));
    }
    return colour;
}

// ---- 8-bit planes ----

void Bilinear8(uint8_t* dst, const uint8_t* top, const uint8_t* bottom, int fy, int64_t stepX, int n)
{
    Samples s;
    const VU vfy = hn::Set(DU(), static_cast<uint32_t>(fy));
    ChunkedRow(
        dst, n, 1, [&](int c0, int count, int padded) { FetchBilinear(s, top, bottom, stepX, c0, count, padded, 1); },
        [&](int i, uint8_t* out) { StoreBytes(Bilinear(s, i, vfy), out); });
}

// ---- 4:2:0 chroma ----

void BilinearUV(uint8_t* dst, const uint8_t* top, const uint8_t* bottom, int fy, int x, int64_t stepX, int n)
{
    Samples s;
    const VU vfy = hn::Set(DU(), static_cast<uint32_t>(fy));
    const auto fetch = [&](int k0, int count, int padded) {
        for (int i = 0; i < padded; ++i) {
            const int64_t pos = 2 * static_cast<int64_t>(k0 + (i < count ? i : count - 1)) * stepX;
            const int64_t sx = x + (pos >> 12);
            const uint32_t fx = static_cast<uint32_t>(pos & 4095);
            // Neighbouring chroma samples mix only when the luma position is odd.
            const int64_t c0 = sx / 2;
            const int64_t c1 = fx ? (sx + 1) / 2 : c0;
            s.fx[i] = fx;
            s.t0[i] = top[c0];
            s.t1[i] = top[c1];
            s.b0[i] = bottom[c0];
            s.b1[i] = bottom[c1];
        }
    };
    ChunkedRow(dst, n, 1, fetch, [&](int i, uint8_t* out) { StoreBytes(Bilinear(s, i, vfy), out); });
}

// ---- 32-bit pixels ----

void Bilinear32(uint8_t* dst, const uint8_t* top, const uint8_t* bottom, int fy, int64_t stepX, int n)
{
    Samples s;
    const DU du;
    const VU vfy = hn::Set(du, static_cast<uint32_t>(fy));
    const VU alphaMask = hn::Set(du, 0xFF000000u);
    ChunkedRow(
        dst, n, 4, [&](int c0, int count, int padded) { FetchBilinear(s, top, bottom, stepX, c0, count, padded, 4); },
        [&](int i, uint8_t* out) {
            StorePixels(hn::Or(BilinearColour(s, i, vfy), hn::And(hn::Load(du, s.t0 + i), alphaMask)), out);
        });
}

// ---- overlays ----

// (colour * a + (255 - a) * d) / 255 for the three colour bytes of d; the
// fourth byte of the result is 0.
HWY_INLINE VU BlendColour(VU d, VU colour, VU a)
{
    const VU inv = hn::Sub(hn::Set(DU(), 255), a);
    VU out = hn::Zero(DU());
    for (int b = 0; b < 3; ++b) {
        const VU v = Div255(hn::Add(hn::Mul(Channel(colour, b), a), hn::Mul(inv, Channel(d, b))));
        out = hn::Or(out, hn::ShiftLeftSame(v, 8 * b));
    }
    return out;
}

void AlphaBilinear(uint8_t* dst, const uint8_t* top, const uint8_t* bottom, int fy, int64_t stepX, int n)
{
    Samples s;
    const DU du;
    const VU vfy = hn::Set(du, static_cast<uint32_t>(fy));
    ChunkedRow(
        dst, n, 4, [&](int c0, int count, int padded) { FetchBilinear(s, top, bottom, stepX, c0, count, padded, 4); },
        [&](int i, uint8_t* out) {
            const VU colour = BilinearColour(s, i, vfy);
            const VU a = hn::ShiftRight<24>(hn::Load(du, s.t0 + i));
            const VU d = LoadPixels(out);
            // d4 = (255 - a) * d4 / 255 + a
            const VU d4 = hn::Add(Div255(hn::Mul(hn::Sub(hn::Set(du, 255), a), hn::ShiftRight<24>(d))), a);
            StorePixels(hn::Or(BlendColour(d, colour, a), hn::ShiftLeft<24>(d4)), out);
        });
}

void AlphaNearest(uint8_t* dst, const uint8_t* src, int64_t stepX, int n)
{
    Samples s;
    const DU du;
    const VU alphaMask = hn::Set(du, 0xFF000000u);
    const auto fetch = [&](int c0, int count, int padded) {
        for (int i = 0; i < padded; ++i)
            s.t0[i] = Load32(src + ((static_cast<int64_t>(c0 + (i < count ? i : count - 1)) * stepX) >> 12) * 4);
    };
    ChunkedRow(dst, n, 4, fetch, [&](int i, uint8_t* out) {
        const VU p = hn::Load(du, s.t0 + i);
        const VU d = LoadPixels(out);
        StorePixels(hn::Or(BlendColour(d, p, hn::ShiftRight<24>(p)), hn::And(d, alphaMask)), out);
    });
}

// Mask m: 0 clears the pixel; then d4 = m * d4 / 255.
HWY_INLINE VU ApplyMask(VU d, VU m)
{
    const DU du;
    const VU d4 = Div255(hn::Mul(m, hn::ShiftRight<24>(d)));
    const VU kept = hn::Or(hn::And(d, hn::Set(du, 0x00FFFFFFu)), hn::ShiftLeft<24>(d4));
    return hn::IfThenZeroElse(hn::Eq(m, hn::Zero(du)), kept);
}

void MaskBilinear(uint8_t* dst, const uint8_t* top, const uint8_t* bottom, int fy, int64_t stepX, int n)
{
    Samples s;
    const DU du;
    const VU vfy = hn::Set(du, static_cast<uint32_t>(fy));
    ChunkedRow(
        dst, n, 4, [&](int c0, int count, int padded) { FetchBilinear(s, top, bottom, stepX, c0, count, padded, 1); },
        [&](int i, uint8_t* out) {
            StorePixels(ApplyMask(LoadPixels(out), hn::And(Bilinear(s, i, vfy), hn::Set(du, 255))), out);
        });
}

void MaskNearest(uint8_t* dst, const uint8_t* src, int64_t stepX, int n)
{
    Samples s;
    const DU du;
    const auto fetch = [&](int c0, int count, int padded) {
        for (int i = 0; i < padded; ++i)
            s.t0[i] = src[(static_cast<int64_t>(c0 + (i < count ? i : count - 1)) * stepX) >> 12];
    };
    ChunkedRow(dst, n, 4, fetch,
               [&](int i, uint8_t* out) { StorePixels(ApplyMask(LoadPixels(out), hn::Load(du, s.t0 + i)), out); });
}

#endif // DP_SIMD_TARGET_USED

void FillScale32(Scale32Kernels& t)
{
#if DP_SIMD_TARGET_USED
    t.bilinear = Bilinear32;
#else
    (void)t;
#endif
}

void FillPlane8(Plane8Kernels& t)
{
#if DP_SIMD_TARGET_USED
    t.bilinear = Bilinear8;
#else
    (void)t;
#endif
}

void FillChroma(ChromaKernels& t)
{
#if DP_SIMD_TARGET_USED
    t.bilinear = BilinearUV;
#else
    (void)t;
#endif
}

void FillOverlay(OverlayKernels& t)
{
#if DP_SIMD_TARGET_USED
    t.alphaBilinear = AlphaBilinear;
    t.alphaNearest = AlphaNearest;
    t.maskBilinear = MaskBilinear;
    t.maskNearest = MaskNearest;
#else
    (void)t;
#endif
}

} // namespace HWY_NAMESPACE
} // namespace dpsimd
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace dpsimd {
SimdFillers<Scale32Kernels> Scale32() { return DP_SIMD_FILLERS(Scale32Kernels, FillScale32); }
SimdFillers<Plane8Kernels> Plane8() { return DP_SIMD_FILLERS(Plane8Kernels, FillPlane8); }
SimdFillers<ChromaKernels> Chroma() { return DP_SIMD_FILLERS(ChromaKernels, FillChroma); }
SimdFillers<OverlayKernels> Overlay() { return DP_SIMD_FILLERS(OverlayKernels, FillOverlay); }
} // namespace dpsimd

SimdFillers<Scale32Kernels> Scale32SimdFillers() { return dpsimd::Scale32(); }
SimdFillers<Plane8Kernels> Plane8SimdFillers() { return dpsimd::Plane8(); }
SimdFillers<ChromaKernels> ChromaSimdFillers() { return dpsimd::Chroma(); }
SimdFillers<OverlayKernels> OverlaySimdFillers() { return dpsimd::Overlay(); }
#endif
