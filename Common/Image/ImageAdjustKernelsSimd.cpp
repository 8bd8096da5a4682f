// Vector twins of the picture adjustments' row kernels (ImageAdjust.cpp),
// one source compiled by Highway for every SIMD level. The twins compute
// the maps' formulas instead of looking values up; the checker compares them
// with the maps for every sample value and every setting.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "ImageAdjustKernelsSimd.cpp"
#include <hwy/foreach_target.h> // IWYU pragma: keep
#include <hwy/highway.h>

#include "ImageAdjustKernels.h"
#include "SimdTargets.h"

HWY_BEFORE_NAMESPACE();
namespace dpadjust {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

#if DP_SIMD_TARGET_USED

inline int ClampSetting(int n) { return n == kNoAdjustStep || n < -100 ? -100 : (n > 100 ? 100 : n); }

// 16-bit lanes: brightness sums stay within -100..355; the contrast product
// (v - 128) * c lies within +-12800, and |x| / 100 truncated is
// (|x| * 5243) >> 19 for every |x| <= 38400 (checked exhaustively), taken
// as the high half of a 16 x 16-bit product shifted by 3; the sign is put
// back afterwards, which truncates toward zero as the reference's division.
void BrightnessContrast(uint8_t* row, int n, int brightness, int contrast, int hi)
{
    const hn::ScalableTag<int16_t> d;
    const hn::RebindToUnsigned<decltype(d)> du;
    const hn::Rebind<uint8_t, decltype(d)> d8;
    const int lanes = static_cast<int>(hn::Lanes(d));
    const auto b = hn::Set(d, static_cast<int16_t>(ClampSetting(brightness)));
    const auto c = hn::Set(d, static_cast<int16_t>(ClampSetting(contrast)));
    const auto lo = hn::Set(d, 16), bhi = hn::Set(d, 235), chi = hn::Set(d, static_cast<int16_t>(hi));
    int x = 0;
    for (; x + lanes <= n; x += lanes) {
        auto v = hn::BitCast(d, hn::PromoteTo(du, hn::LoadU(d8, row + x)));
        if (brightness != kNoAdjustStep)
            v = hn::Min(hn::Max(hn::Add(v, b), lo), bhi);
        if (contrast != kNoAdjustStep) {
            const auto p = hn::Mul(hn::Sub(v, hn::Set(d, 128)), c);
            const auto mag = hn::BitCast(du, hn::Abs(p));
            const auto q = hn::BitCast(d, hn::ShiftRight<3>(hn::MulHigh(mag, hn::Set(du, 5243))));
            const auto signedQ = hn::IfThenElse(hn::Lt(p, hn::Zero(d)), hn::Neg(q), q);
            v = hn::Min(hn::Max(hn::Add(signedQ, v), lo), chi);
        }
        hn::StoreU(hn::DemoteTo(d8, v), d8, row + x);
    }
    if (x < n)
        ReferenceAdjustKernels().brightnessContrast(row + x, n - x, brightness, contrast, hi);
}

#endif // DP_SIMD_TARGET_USED

void FillAdjust(AdjustKernels& t)
{
#if DP_SIMD_TARGET_USED
    t.brightnessContrast = BrightnessContrast;
#else
    (void)t;
#endif
}

} // namespace HWY_NAMESPACE
} // namespace dpadjust
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace dpadjust {
SimdFillers<AdjustKernels> Fillers() { return DP_SIMD_FILLERS(AdjustKernels, FillAdjust); }
} // namespace dpadjust
SimdFillers<AdjustKernels> AdjustSimdFillers() { return dpadjust::Fillers(); }
#endif
