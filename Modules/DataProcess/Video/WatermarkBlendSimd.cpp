// Vector twins of the alpha watermark blend's row kernels (WatermarkBlend.cpp),
// one source compiled by Highway for every SIMD level.
//
// 16-bit lanes: for a percentage of 0..100, alpha * percent <= 25500 and
// its truncated quotient by 100 is (x * 5243) >> 19 (exact up to 38400);
// m * a + d * (255 - a) <= 65025 and its quotient by 255 is (x * 0x8081) >> 23
// (exact up to 65535), each taken as the high half of a 16 x 16-bit product
// shifted further. The placement by alignment divides m * a and
// d * (255 - a) separately (each <= 65025) with the same quotient. Other percentages, and rows whose destination overlaps
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

// m * a / 255 + d * (255 - a) / 255.
HWY_INLINE V16 BlendSplit(V16 m, V16 d, V16 a)
{
    const V16 k = hn::Set(D16(), 0x8081);
    const V16 fromMark = hn::ShiftRight<7>(hn::MulHigh(hn::Mul(m, a), k));
    const V16 fromDst = hn::ShiftRight<7>(hn::MulHigh(hn::Mul(d, hn::Sub(hn::Set(D16(), 255), a)), k));
    return hn::Add(fromMark, fromDst);
}

HWY_INLINE V16 Load8(const uint8_t* p) { return hn::PromoteTo(D16(), hn::LoadU(D8(), p)); }
HWY_INLINE void Store8(V16 v, uint8_t* p) { hn::StoreU(hn::DemoteTo(D8(), hn::BitCast(hn::RebindToSigned<D16>(), v)), D8(), p); }

// A luma row with one of the blends. A row longer than a vector but not a
// multiple of it ends with one step over its last `lanes` samples, computed
// from the row as it was before any store and stored last (the samples it
// shares with the step before get the same values again). Rows shorter
// than a vector go to the reference.
template <class F>
HWY_INLINE void LumaRow(uint8_t* dst, const uint8_t* mark, const uint8_t* alpha, int n, int percent, F blend)
{
    const D16 d;
    const int lanes = static_cast<int>(hn::Lanes(d));
    const V16 p = hn::Set(d, static_cast<uint16_t>(percent));
    const V16 opaque = Scaled(hn::Set(d, 255), p);
    auto step = [&](int c) { return blend(Load8(mark + c), Load8(dst + c), alpha ? Scaled(Load8(alpha + c), p) : opaque); };
    const int last = n - lanes;
    const bool tail = last > 0 && n % lanes != 0;
    const V16 tailValue = tail ? step(last) : hn::Zero(d);
    int c = 0;
    for (; c + lanes <= n; c += lanes)
        Store8(step(c), dst + c);
    if (tail)
        Store8(tailValue, dst + last);
}

#if HWY_TARGET == HWY_AVX2 || HWY_TARGET == HWY_SSE4
// Byte vectors of the level (32 bytes at AVX2, 16 at SSE4) with the few
// operations the byte-pair blends below need.
#if HWY_TARGET == HWY_AVX2
struct Bytes {
    using V = __m256i;
    static constexpr int kN = 32;
    static V Load(const uint8_t* p) { return _mm256_loadu_si256(reinterpret_cast<const V*>(p)); }
    static void Store(uint8_t* p, V v) { _mm256_storeu_si256(reinterpret_cast<V*>(p), v); }
    static V Set8(int v) { return _mm256_set1_epi8(static_cast<char>(v)); }
    static V Set16(int v) { return _mm256_set1_epi16(static_cast<int16_t>(v)); }
    static V Zero() { return _mm256_setzero_si256(); }
    static V Xor(V a, V b) { return _mm256_xor_si256(a, b); }
    static V And(V a, V b) { return _mm256_and_si256(a, b); }
    static V Lo8(V a, V b) { return _mm256_unpacklo_epi8(a, b); }
    static V Hi8(V a, V b) { return _mm256_unpackhi_epi8(a, b); }
    static V PairProducts(V u, V s) { return _mm256_maddubs_epi16(u, s); }
    static V Add16(V a, V b) { return _mm256_add_epi16(a, b); }
    static V Mul16(V a, V b) { return _mm256_mullo_epi16(a, b); }
    static V MulHigh16(V a, V b) { return _mm256_mulhi_epu16(a, b); }
    template <int k>
    static V Shr16(V a) { return _mm256_srli_epi16(a, k); }
    // Packs two vectors of 16-bit lanes to bytes, in the order of the lanes
    // within 128-bit halves (the order the unpacks above produce).
    static V Pack(V lo, V hi) { return _mm256_packus_epi16(lo, hi); }
    // Packs two vectors of 16-bit lanes to bytes in memory order.
    static V PackInOrder(V lo, V hi) { return _mm256_permute4x64_epi64(_mm256_packus_epi16(lo, hi), 0xD8); }
};
#else
struct Bytes {
    using V = __m128i;
    static constexpr int kN = 16;
    static V Load(const uint8_t* p) { return _mm_loadu_si128(reinterpret_cast<const V*>(p)); }
    static void Store(uint8_t* p, V v) { _mm_storeu_si128(reinterpret_cast<V*>(p), v); }
    static V Set8(int v) { return _mm_set1_epi8(static_cast<char>(v)); }
    static V Set16(int v) { return _mm_set1_epi16(static_cast<int16_t>(v)); }
    static V Zero() { return _mm_setzero_si128(); }
    static V Xor(V a, V b) { return _mm_xor_si128(a, b); }
    static V And(V a, V b) { return _mm_and_si128(a, b); }
    static V Lo8(V a, V b) { return _mm_unpacklo_epi8(a, b); }
    static V Hi8(V a, V b) { return _mm_unpackhi_epi8(a, b); }
    static V PairProducts(V u, V s) { return _mm_maddubs_epi16(u, s); }
    static V Add16(V a, V b) { return _mm_add_epi16(a, b); }
    static V Mul16(V a, V b) { return _mm_mullo_epi16(a, b); }
    static V MulHigh16(V a, V b) { return _mm_mulhi_epu16(a, b); }
    template <int k>
    static V Shr16(V a) { return _mm_srli_epi16(a, k); }
    static V Pack(V lo, V hi) { return _mm_packus_epi16(lo, hi); }
    static V PackInOrder(V lo, V hi) { return _mm_packus_epi16(lo, hi); }
};
#endif
using VB = Bytes::V;

// A vector of samples with byte-pair products: (a, 255 - a) unsigned times
// (m - 128, d - 128) signed is m a + d (255 - a) - 128 * 255, within
// -32640 .. 32385 (nothing saturates); + 32640 gives the sum itself, then
// the same quotient by 255. Unpacking and packing inside 128-bit halves
// keep the order.
HWY_INLINE VB BlendBytes(VB m, VB d, VB a)
{
    const VB bias = Bytes::Set8(-128);
    const VB ia = Bytes::Xor(a, Bytes::Set8(-1));
    const VB ms = Bytes::Xor(m, bias), ds = Bytes::Xor(d, bias);
    const VB k = Bytes::Set16(32640), div = Bytes::Set16(0x8081);
    const VB s0 = Bytes::Add16(Bytes::PairProducts(Bytes::Lo8(a, ia), Bytes::Lo8(ms, ds)), k);
    const VB s1 = Bytes::Add16(Bytes::PairProducts(Bytes::Hi8(a, ia), Bytes::Hi8(ms, ds)), k);
    return Bytes::Pack(Bytes::Shr16<7>(Bytes::MulHigh16(s0, div)), Bytes::Shr16<7>(Bytes::MulHigh16(s1, div)));
}

// alpha * percent / 100 for a vector of alpha bytes (as Scaled).
HWY_INLINE VB ScaledBytes(VB alpha, VB percent)
{
    const VB zero = Bytes::Zero(), k = Bytes::Set16(5243);
    const VB lo = Bytes::Shr16<3>(Bytes::MulHigh16(Bytes::Mul16(Bytes::Lo8(alpha, zero), percent), k));
    const VB hi = Bytes::Shr16<3>(Bytes::MulHigh16(Bytes::Mul16(Bytes::Hi8(alpha, zero), percent), k));
    return Bytes::Pack(lo, hi);
}
#endif

void BlendLuma(uint8_t* dst, const uint8_t* mark, const uint8_t* alpha, int n, int percent)
{
#if HWY_TARGET == HWY_AVX2 || HWY_TARGET == HWY_SSE4
    constexpr int N = Bytes::kN;
    if (percent >= 0 && percent <= 100 && n >= N && Apart(dst, size_t(n), mark, size_t(n)) &&
        Apart(dst, size_t(n), alpha, size_t(n))) {
        const VB p = Bytes::Set16(percent);
        const VB opaque = Bytes::Set8(255 * percent / 100);
        auto step = [&](int c) {
            const VB a = !alpha ? opaque
                                : (percent == 100 ? Bytes::Load(alpha + c) : ScaledBytes(Bytes::Load(alpha + c), p));
            return BlendBytes(Bytes::Load(mark + c), Bytes::Load(dst + c), a);
        };
        // As LumaRow: an overlapping last step computed before any store.
        const int last = n - N;
        const bool tail = n % N != 0;
        const VB tailValue = tail ? step(last) : Bytes::Zero();
        for (int c = 0; c + N <= n; c += N)
            Bytes::Store(dst + c, step(c));
        if (tail)
            Bytes::Store(dst + last, tailValue);
        return;
    }
#endif
    if (percent < 0 || percent > 100 || n < static_cast<int>(hn::Lanes(D16())) ||
        !Apart(dst, size_t(n), mark, size_t(n)) || !Apart(dst, size_t(n), alpha, size_t(n)))
        return ReferenceWatermarkKernels().blendLuma(dst, mark, alpha, n, percent);
    LumaRow(dst, mark, alpha, n, percent, [](V16 m, V16 dv, V16 a) { return Blend(m, dv, a); });
}

void BlendLumaSplit(uint8_t* dst, const uint8_t* mark, const uint8_t* alpha, int n, int percent)
{
    if (percent < 0 || percent > 100 || n < static_cast<int>(hn::Lanes(D16())) ||
        !Apart(dst, size_t(n), mark, size_t(n)) || !Apart(dst, size_t(n), alpha, size_t(n)))
        return ReferenceWatermarkKernels().blendLumaSplit(dst, mark, alpha, n, percent);
    LumaRow(dst, mark, alpha, n, percent, [](V16 m, V16 dv, V16 a) { return BlendSplit(m, dv, a); });
}

void BlendChroma(uint8_t* dstU, uint8_t* dstV, const uint8_t* markU, const uint8_t* markV, const uint8_t* alpha,
                 int n, int percent)
{
    const size_t sz = size_t(n > 0 ? n : 0);
    if (percent < 0 || percent > 100 || n <= 0 || !Apart(dstU, sz, markU, sz) || !Apart(dstU, sz, markV, sz) ||
        !Apart(dstV, sz, markU, sz) || !Apart(dstV, sz, markV, sz) || !Apart(dstU, sz, dstV, sz) ||
        !Apart(dstU, sz, alpha, 2 * sz) || !Apart(dstV, sz, alpha, 2 * sz))
        return ReferenceWatermarkKernels().blendChroma(dstU, dstV, markU, markV, alpha, n, percent);
#if HWY_TARGET == HWY_AVX2 || HWY_TARGET == HWY_SSE4
    // A vector of samples a step while the step's alpha bytes lie inside
    // the row's (its last is byte 2n - 2): the even bytes, packed in order,
    // then the luma step's blend for each plane. The rest below.
    constexpr int N = Bytes::kN;
    if (n >= N + 1) {
        const VB p = Bytes::Set16(percent);
        const VB opaque = Bytes::Set8(255 * percent / 100);
        const VB even = Bytes::Set16(0xFF);
        int k = 0;
        for (; k + N + 1 <= n; k += N) {
            VB a = opaque;
            if (alpha) {
                a = Bytes::PackInOrder(Bytes::And(Bytes::Load(alpha + 2 * k), even),
                                       Bytes::And(Bytes::Load(alpha + 2 * k + N), even));
                if (percent != 100)
                    a = ScaledBytes(a, p);
            }
            Bytes::Store(dstU + k, BlendBytes(Bytes::Load(markU + k), Bytes::Load(dstU + k), a));
            Bytes::Store(dstV + k, BlendBytes(Bytes::Load(markV + k), Bytes::Load(dstV + k), a));
        }
        dstU += k;
        dstV += k;
        markU += k;
        markV += k;
        alpha = alpha ? alpha + 2 * k : nullptr;
        n -= k;
    }
#endif
    const D16 d;
    const hn::Repartition<uint8_t, D16> dbytes;
    const int lanes = static_cast<int>(hn::Lanes(d));
    if (n < lanes || (n == lanes && alpha))
        return ReferenceWatermarkKernels().blendChroma(dstU, dstV, markU, markV, alpha, n, percent);
    const V16 p = hn::Set(d, static_cast<uint16_t>(percent));
    const V16 opaque = Scaled(hn::Set(d, 255), p);
    // The alpha of sample k is byte 2k: the low byte of 16-bit lane k. A
    // step reads alpha bytes 2k .. 2k + 2 lanes - 1; the row's alpha ends at
    // byte 2n - 2, so a step that would read past it (only the last, which
    // never starts at 0 here) reads from one byte earlier and takes the
    // high bytes instead.
    auto alphaAt = [&](int k) {
        if (!alpha)
            return opaque;
        if (2 * (k + lanes) <= 2 * n - 1)
            return Scaled(hn::And(hn::BitCast(d, hn::LoadU(dbytes, alpha + 2 * k)), hn::Set(d, 0xFF)), p);
        return Scaled(hn::ShiftRight<8>(hn::BitCast(d, hn::LoadU(dbytes, alpha + 2 * k - 1))), p);
    };
    // As for luma: a row that is not a multiple of the vector ends with an
    // overlapping step computed before any store and stored last.
    const int last = n - lanes;
    const bool tail = n % lanes != 0;
    V16 tailU = hn::Zero(d), tailV = hn::Zero(d);
    if (tail) {
        const V16 a = alphaAt(last);
        tailU = Blend(Load8(markU + last), Load8(dstU + last), a);
        tailV = Blend(Load8(markV + last), Load8(dstV + last), a);
    }
    for (int k = 0; k + lanes <= n; k += lanes) {
        const V16 a = alphaAt(k);
        Store8(Blend(Load8(markU + k), Load8(dstU + k), a), dstU + k);
        Store8(Blend(Load8(markV + k), Load8(dstV + k), a), dstV + k);
    }
    if (tail) {
        Store8(tailU, dstU + last);
        Store8(tailV, dstV + last);
    }
}

#endif // DP_SIMD_TARGET_USED

void FillWatermark(WatermarkKernels& t)
{
#if DP_SIMD_TARGET_USED
    t.blendLuma = BlendLuma;
    t.blendChroma = BlendChroma;
    t.blendLumaSplit = BlendLumaSplit;
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
