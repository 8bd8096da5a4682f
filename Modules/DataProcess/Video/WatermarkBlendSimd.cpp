// Vector twins of the alpha watermark blend's row kernels (WatermarkBlend.cpp),
// one source compiled by Highway for every SIMD level.
//
// 16-bit lanes: for a percentage of 0..100, alpha * percent <= 25500 and
// its truncated quotient by 100 is (x * 5243) >> 19 (exact up to 38400);
// m * a + d * (255 - a) <= 65025 and its quotient by 255 is (x * 0x8081) >> 23
// (exact up to 65535), each taken as the high half of a 16 x 16-bit product
// shifted further. Other percentages, and rows whose destination overlaps
// what they read, keep the reference.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "WatermarkBlendSimd.cpp"
#include <hwy/foreach_target.h> // IWYU pragma: keep
#include <hwy/highway.h>

#include "SimdTargets.h"
#include "WatermarkKernels.h"

HWY_BEFORE_NAMESPACE();
namespace dpwatermark {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

#if DP_SIMD_TARGET_USED

using D16 = hn::ScalableTag<uint16_t>;
using D8 = hn::Rebind<uint8_t, D16>;
using V16 = hn::Vec<D16>;

inline bool Apart(const uint8_t* a, size_t na, const uint8_t* b, size_t nb)
{
    return !b || a + na <= b || b + nb <= a;
}

// a = alpha * percent / 100.
HWY_INLINE V16 Scaled(V16 alpha, V16 percent)
{
    return hn::ShiftRight<3>(hn::MulHigh(hn::Mul(alpha, percent), hn::Set(D16(), 5243)));
}

// (m * a + d * (255 - a)) / 255.
HWY_INLINE V16 Blend(V16 m, V16 d, V16 a)
{
    const V16 sum = hn::Add(hn::Mul(m, a), hn::Mul(d, hn::Sub(hn::Set(D16(), 255), a)));
    return hn::ShiftRight<7>(hn::MulHigh(sum, hn::Set(D16(), 0x8081)));
}

HWY_INLINE V16 Load8(const uint8_t* p) { return hn::PromoteTo(D16(), hn::LoadU(D8(), p)); }
HWY_INLINE void Store8(V16 v, uint8_t* p) { hn::StoreU(hn::DemoteTo(D8(), hn::BitCast(hn::RebindToSigned<D16>(), v)), D8(), p); }

void BlendLuma(uint8_t* dst, const uint8_t* mark, const uint8_t* alpha, int n, int percent)
{
    if (percent < 0 || percent > 100 || n <= 0 || !Apart(dst, size_t(n), mark, size_t(n)) ||
        !Apart(dst, size_t(n), alpha, size_t(n)))
        return ReferenceWatermarkKernels().blendLuma(dst, mark, alpha, n, percent);
    const D16 d;
    const int lanes = static_cast<int>(hn::Lanes(d));
    const V16 p = hn::Set(d, static_cast<uint16_t>(percent));
    const V16 opaque = Scaled(hn::Set(d, 255), p);
    int c = 0;
    for (; c + lanes <= n; c += lanes) {
        const V16 a = alpha ? Scaled(Load8(alpha + c), p) : opaque;
        Store8(Blend(Load8(mark + c), Load8(dst + c), a), dst + c);
    }
    if (c < n)
        ReferenceWatermarkKernels().blendLuma(dst + c, mark + c, alpha ? alpha + c : nullptr, n - c, percent);
}

void BlendChroma(uint8_t* dstU, uint8_t* dstV, const uint8_t* markU, const uint8_t* markV, const uint8_t* alpha,
                 int n, int percent)
{
    const size_t sz = size_t(n > 0 ? n : 0);
    if (percent < 0 || percent > 100 || n <= 0 || !Apart(dstU, sz, markU, sz) || !Apart(dstU, sz, markV, sz) ||
        !Apart(dstV, sz, markU, sz) || !Apart(dstV, sz, markV, sz) || !Apart(dstU, sz, dstV, sz) ||
        !Apart(dstU, sz, alpha, 2 * sz) || !Apart(dstV, sz, alpha, 2 * sz))
        return ReferenceWatermarkKernels().blendChroma(dstU, dstV, markU, markV, alpha, n, percent);
    const D16 d;
    const hn::Repartition<uint8_t, D16> dbytes;
    const int lanes = static_cast<int>(hn::Lanes(d));
    const V16 p = hn::Set(d, static_cast<uint16_t>(percent));
    const V16 opaque = Scaled(hn::Set(d, 255), p);
    int k = 0;
    // The alpha of sample k is byte 2k: the low byte of 16-bit lane k. A
    // step reads alpha bytes 2k .. 2k + 2 lanes - 1; the row's alpha ends at
    // byte 2n - 2, so a last step that would read past it reads from one
    // byte earlier and takes the high bytes instead.
    for (; k + lanes <= n; k += lanes) {
        V16 a = opaque;
        if (alpha && 2 * (k + lanes) <= 2 * n - 1)
            a = Scaled(hn::And(hn::BitCast(d, hn::LoadU(dbytes, alpha + 2 * k)), hn::Set(d, 0xFF)), p);
        else if (alpha && k > 0)
            a = Scaled(hn::ShiftRight<8>(hn::BitCast(d, hn::LoadU(dbytes, alpha + 2 * k - 1))), p);
        else if (alpha)
            break;
        Store8(Blend(Load8(markU + k), Load8(dstU + k), a), dstU + k);
        Store8(Blend(Load8(markV + k), Load8(dstV + k), a), dstV + k);
    }
    if (k < n)
        ReferenceWatermarkKernels().blendChroma(dstU + k, dstV + k, markU + k, markV + k,
                                                alpha ? alpha + 2 * k : nullptr, n - k, percent);
}

#endif // DP_SIMD_TARGET_USED

void FillWatermark(WatermarkKernels& t)
{
#if DP_SIMD_TARGET_USED
    t.blendLuma = BlendLuma;
    t.blendChroma = BlendChroma;
#else
    (void)t;
#endif
}

} // namespace HWY_NAMESPACE
} // namespace dpwatermark
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace dpwatermark {
SimdFillers<WatermarkKernels> Fillers() { return DP_SIMD_FILLERS(WatermarkKernels, FillWatermark); }
} // namespace dpwatermark
SimdFillers<WatermarkKernels> WatermarkSimdFillers() { return dpwatermark::Fillers(); }
#endif
