// Vector twins of the image-routine library's kernels (OrvKernels.cpp), one
// source compiled by Highway for every SIMD level. Each twin gives the same
// bytes as its reference on every input.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "OrvKernelsSimd.cpp"
#include <hwy/foreach_target.h> // IWYU pragma: keep
#include <hwy/highway.h>

#include "OrvKernels.h"
#include "SimdTargets.h"

HWY_BEFORE_NAMESPACE();
namespace orv {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

#if DP_SIMD_TARGET_USED

// M(m, x) = (t + (t >> 8)) >> 8 with t = m * x + 128: t <= 255 * 255 + 128 =
// 65153 and t + (t >> 8) <= 65407, so 16-bit lanes hold every step; the sum
// of two terms is at most 510 and the saturating narrowing after the min is
// exact.
void AlphaOverRow(uint8_t* dst, const uint8_t* a, const uint8_t* b, int n, int m1, int m2)
{
    const hn::ScalableTag<uint16_t> d16;
    const hn::Rebind<uint8_t, decltype(d16)> d8;
    const hn::RebindToSigned<decltype(d16)> di16;
    const size_t lanes = hn::Lanes(d16);
    const auto vm1 = hn::Set(d16, static_cast<uint16_t>(m1));
    const auto vm2 = hn::Set(d16, static_cast<uint16_t>(m2));
    const auto k128 = hn::Set(d16, 128);
    const auto k255 = hn::Set(d16, 255);
    size_t i = 0;
    for (; i + lanes <= static_cast<size_t>(n); i += lanes) {
        const auto ta = hn::Add(hn::Mul(vm1, hn::PromoteTo(d16, hn::LoadU(d8, a + i))), k128);
        const auto tb = hn::Add(hn::Mul(vm2, hn::PromoteTo(d16, hn::LoadU(d8, b + i))), k128);
        const auto ma = hn::ShiftRight<8>(hn::Add(ta, hn::ShiftRight<8>(ta)));
        const auto mb = hn::ShiftRight<8>(hn::Add(tb, hn::ShiftRight<8>(tb)));
        hn::StoreU(hn::DemoteTo(d8, hn::BitCast(di16, hn::Min(hn::Add(ma, mb), k255))), d8, dst + i);
    }
    if (i < static_cast<size_t>(n))
        ReferenceBlendKernels().alphaOverRow(dst + i, a + i, b + i, n - static_cast<int>(i), m1, m2);
}

#endif // DP_SIMD_TARGET_USED

void FillBlend(BlendKernels& t)
{
#if DP_SIMD_TARGET_USED
    t.alphaOverRow = AlphaOverRow;
#else
    (void)t;
#endif
}

void FillGeometry(GeometryKernels& t) { (void)t; }

} // namespace HWY_NAMESPACE
} // namespace orv
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace orv {
SimdFillers<GeometryKernels> GeometrySimdFillers() { return DP_SIMD_FILLERS(GeometryKernels, FillGeometry); }
SimdFillers<BlendKernels> BlendSimdFillers() { return DP_SIMD_FILLERS(BlendKernels, FillBlend); }
} // namespace orv
#endif
