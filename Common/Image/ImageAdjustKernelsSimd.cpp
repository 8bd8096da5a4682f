// Vector twins of the picture adjustments' row kernels (ImageAdjust.cpp),
// one source compiled by Highway for every SIMD level. The twins compute
// the maps' formulas instead of looking values up; the checker compares them
// with the maps for every sample value and every setting.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "ImageAdjustKernelsSimd.cpp"
#include <hwy/foreach_target.h> // IWYU pragma: keep
#include <hwy/highway.h>

#include <cstddef>

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

// Saturation in 16-bit lanes: |v - 128| * |index - 300| <= 128 * 300 = 38400
// fits an unsigned lane, its truncated quotient by 100 is as above, and the
// sign is the product of the two signs.
void Saturation(uint8_t* row, int n, int index)
{
    const hn::ScalableTag<int16_t> d;
    const hn::RebindToUnsigned<decltype(d)> du;
    const hn::Rebind<uint8_t, decltype(d)> d8;
    const int lanes = static_cast<int>(hn::Lanes(d));
    index = index < 200 ? 200 : (index > 600 ? 600 : index);
    const int factor = index - 300;
    const auto mulMag = hn::Set(du, static_cast<uint16_t>(factor < 0 ? -factor : factor));
    const auto lo = hn::Set(d, 16), hi = hn::Set(d, 240);
    int x = 0;
    for (; x + lanes <= n; x += lanes) {
        const auto v = hn::BitCast(d, hn::PromoteTo(du, hn::LoadU(d8, row + x)));
        const auto diff = hn::Sub(v, hn::Set(d, 128));
        const auto mag = hn::Mul(hn::BitCast(du, hn::Abs(diff)), mulMag);
        const auto q = hn::BitCast(d, hn::ShiftRight<3>(hn::MulHigh(mag, hn::Set(du, 5243))));
        const auto negative = factor < 0 ? hn::Not(hn::Lt(diff, hn::Zero(d))) : hn::Lt(diff, hn::Zero(d));
        const auto signedQ = hn::IfThenElse(negative, hn::Neg(q), q);
        hn::StoreU(hn::DemoteTo(d8, hn::Min(hn::Max(hn::Add(signedQ, v), lo), hi)), d8, row + x);
    }
    if (x < n)
        ReferenceAdjustKernels().saturation(row + x, n - x, index);
}

// Emboss: a vector of samples and the vector of their neighbours are read
// before the samples are stored, so every neighbour is read before it is
// rewritten, as in the reference's increasing order.
void Emboss(uint8_t* y, size_t n, size_t step)
{
    const hn::ScalableTag<int16_t> d;
    const hn::RebindToUnsigned<decltype(d)> du;
    const hn::Rebind<uint8_t, decltype(d)> d8;
    const size_t lanes = hn::Lanes(d);
    size_t i = 0;
    if (step >= lanes) {
        for (; i + lanes <= n; i += lanes) {
            const auto v = hn::BitCast(d, hn::PromoteTo(du, hn::LoadU(d8, y + i)));
            const auto nb = hn::BitCast(d, hn::PromoteTo(du, hn::LoadU(d8, y + i + step)));
            const auto e = hn::Add(hn::Sub(v, nb), hn::Set(d, 128));
            hn::StoreU(hn::DemoteTo(d8, hn::Min(hn::Max(e, hn::Set(d, 16)), hn::Set(d, 235))), d8, y + i);
        }
    }
    if (i < n)
        ReferenceAdjustKernels().emboss(y + i, n - i, step);
}

void Threshold(uint8_t* y, size_t n, uint8_t low, uint8_t high)
{
    const hn::ScalableTag<uint8_t> d8;
    const size_t lanes = hn::Lanes(d8);
    const auto lowV = hn::Set(d8, low), highV = hn::Set(d8, high), limit = hn::Set(d8, 129);
    size_t i = 0;
    for (; i + lanes <= n; i += lanes) {
        const auto v = hn::LoadU(d8, y + i);
        hn::StoreU(hn::IfThenElse(hn::Lt(v, limit), lowV, highV), d8, y + i);
    }
    if (i < n)
        ReferenceAdjustKernels().threshold(y + i, n - i, low, high);
}

// (a + b) >> 1 without widening: (a & b) + ((a ^ b) >> 1).
void AverageRows(const uint8_t* a, const uint8_t* b, uint8_t* dst, int n)
{
    const hn::ScalableTag<uint8_t> d8;
    const hn::Repartition<uint16_t, decltype(d8)> d16;
    const int lanes = static_cast<int>(hn::Lanes(d8));
    int x = 0;
    for (; x + lanes <= n; x += lanes) {
        const auto va = hn::LoadU(d8, a + x), vb = hn::LoadU(d8, b + x);
        // The byte-wise halving: shift 16-bit lanes and drop the bit that
        // crossed from the upper byte.
        const auto halfXor = hn::And(hn::BitCast(d8, hn::ShiftRight<1>(hn::BitCast(d16, hn::Xor(va, vb)))), hn::Set(d8, 0x7F));
        hn::StoreU(hn::Add(hn::And(va, vb), halfXor), d8, dst + x);
    }
    if (x < n)
        ReferenceAdjustKernels().averageRows(a + x, b + x, dst + x, n - x);
}

#endif // DP_SIMD_TARGET_USED

void FillAdjust(AdjustKernels& t)
{
#if DP_SIMD_TARGET_USED
    t.brightnessContrast = BrightnessContrast;
    t.saturation = Saturation;
    t.emboss = Emboss;
    t.threshold = Threshold;
    t.averageRows = AverageRows;
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
