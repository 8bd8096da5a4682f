// Vector twin of the horizontal mirror's row kernel (ImageFlip.cpp), one
// source compiled by Highway for every SIMD level: a vector from each end of
// the row, each reversed, stored at the other end; the middle, shorter than
// two vectors, through the reference.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "ImageFlipKernelsSimd.cpp"
#include <hwy/foreach_target.h> // IWYU pragma: keep
#include <hwy/highway.h>

#include <cstdint>

#include "ImageFlipKernels.h"
#include "SimdTargets.h"

HWY_BEFORE_NAMESPACE();
namespace dpflip {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

#if DP_SIMD_TARGET_USED

// All bytes of a vector in reverse order: bytes reversed inside each 64-bit
// lane, then the 64-bit lanes reversed. SVE reverses bytes in one step, at
// any vector length (the index table below covers 64 bytes at most, and an
// SVE vector may hold up to 256).
template <class D8>
HWY_INLINE hn::Vec<D8> ReverseBytes(D8 d8, hn::Vec<D8> v)
{
#if HWY_TARGET == HWY_SVE
    return hn::Reverse(d8, v);
#else
    static_assert(HWY_MAX_BYTES <= 64, "the index table covers 64 bytes");
    const hn::Repartition<uint64_t, D8> d64;
    alignas(64) static constexpr uint8_t kIdx[64] = {
        7,  6,  5,  4,  3,  2,  1,  0,  15, 14, 13, 12, 11, 10, 9,  8,  7,  6,  5,  4,  3,  2,
        1,  0,  15, 14, 13, 12, 11, 10, 9,  8,  7,  6,  5,  4,  3,  2,  1,  0,  15, 14, 13, 12,
        11, 10, 9,  8,  7,  6,  5,  4,  3,  2,  1,  0,  15, 14, 13, 12, 11, 10, 9,  8};
    const auto within = hn::TableLookupBytes(v, hn::Load(d8, kIdx));
    return hn::BitCast(d8, hn::Reverse(d64, hn::BitCast(d64, within)));
#endif
}

void MirrorRow(unsigned char* row, int n)
{
    const hn::ScalableTag<uint8_t> d8;
    const int lanes = static_cast<int>(hn::Lanes(d8));
    int x = 0;
    for (; 2 * (x + lanes) <= n; x += lanes) {
        uint8_t* left = row + x;
        uint8_t* right = row + n - x - lanes;
        const auto l = hn::LoadU(d8, left), r = hn::LoadU(d8, right);
        hn::StoreU(ReverseBytes(d8, r), d8, left);
        hn::StoreU(ReverseBytes(d8, l), d8, right);
    }
    if (n - 2 * x > 1)
        ReferenceFlipKernels().mirrorRow(row + x, n - 2 * x);
}

#endif // DP_SIMD_TARGET_USED

void FillFlip(FlipKernels& t)
{
#if DP_SIMD_TARGET_USED
    t.mirrorRow = MirrorRow;
#else
    (void)t;
#endif
}

} // namespace HWY_NAMESPACE
} // namespace dpflip
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace dpflip {
SimdFillers<FlipKernels> Fillers() { return DP_SIMD_FILLERS(FlipKernels, FillFlip); }
} // namespace dpflip
SimdFillers<FlipKernels> FlipSimdFillers() { return dpflip::Fillers(); }
#endif
