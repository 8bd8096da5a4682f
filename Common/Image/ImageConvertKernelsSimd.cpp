// Vector twins of the colour converters' row kernels (ImageConvertKernels.cpp),
// one source compiled by Highway for every SIMD level. Each twin gives the
// same bytes as its reference on every input.
//
// One pixel per 32-bit lane: the fixed-point sums of the reference stay in
// int32 (at most 9536 * 255 + 16532 * 255 in size for planes to bitmap,
// 8258 * 255 * 2 for bitmap to planes), its right shifts are arithmetic
// shifts (floor) as in the reference, and narrowing to bytes saturates to
// 0..255 exactly like the reference's clamp (bitmap to planes never leaves
// that range). Whole vectors of pixel pairs go through the twin; the rest of
// a row goes through the reference kernel on offset pointers (the kernels
// work pair by pair, so that is the same computation).
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "ImageConvertKernelsSimd.cpp"
#include <hwy/foreach_target.h> // IWYU pragma: keep
#include <hwy/highway.h>

#include "ImageConvertKernels.h"
#include "SimdTargets.h"

HWY_BEFORE_NAMESPACE();
namespace dpconv {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

#if DP_SIMD_TARGET_USED

using DI = hn::CappedTag<int32_t, 16>; // at most 16 pixels: their bytes fit one 128-bit block
using D8 = hn::Rebind<uint8_t, DI>;
using VI = hn::Vec<DI>;
using V8 = hn::Vec<D8>;

HWY_INLINE VI Widen(V8 v) { return hn::BitCast(DI(), hn::PromoteTo(hn::RebindToUnsigned<DI>(), v)); }
HWY_INLINE V8 Narrow(VI v) { return hn::DemoteTo(D8(), v); } // saturates to 0..255
HWY_INLINE VI K(int32_t v) { return hn::Set(DI(), v); }

// ---- planes to bitmap ----

#if HWY_TARGET != HWY_SVE
// 24-bit pixels: formed whole as below, then each 128-bit block's 4 pixels
// packed into its first 12 bytes by a byte shuffle and stored block by
// block, each store 4 bytes longer than its pixels (the next store, or the
// caller's next pixel pair, writes over them).
HWY_INLINE void StoreRow24Of(VI yv, uint8_t* dst, VI rv, VI gv, VI bv)
{
    const hn::Repartition<uint8_t, DI> dbytes;
    const VI y9 = hn::Mul(yv, K(9536));
    const VI lo = K(0), hi = K(255);
    const VI b = hn::Min(hn::Max(hn::ShiftRight<13>(hn::Add(bv, y9)), lo), hi);
    const VI g = hn::Min(hn::Max(hn::ShiftRight<13>(hn::Add(gv, y9)), lo), hi);
    const VI r = hn::Min(hn::Max(hn::ShiftRight<13>(hn::Add(rv, y9)), lo), hi);
    const VI bgr = hn::Or(hn::Or(b, hn::ShiftLeft<8>(g)), hn::ShiftLeft<16>(r));
    alignas(64) static constexpr uint8_t kPack[64] = {0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, 0x80, 0x80, 0x80, 0x80,
                                                      0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, 0x80, 0x80, 0x80, 0x80,
                                                      0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, 0x80, 0x80, 0x80, 0x80,
                                                      0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, 0x80, 0x80, 0x80, 0x80};
    const auto packed = hn::TableLookupBytesOr0(hn::BitCast(dbytes, bgr), hn::Load(dbytes, kPack));
    const hn::Full128<uint8_t> d128;
#if HWY_TARGET == HWY_AVX2 || HWY_TARGET == HWY_AVX3
    const hn::Full256<uint8_t> d256;
#if HWY_TARGET == HWY_AVX3
    const auto half0 = hn::LowerHalf(d256, packed), half1 = hn::UpperHalf(d256, packed);
    hn::StoreU(hn::LowerHalf(d128, half0), d128, dst);
    hn::StoreU(hn::UpperHalf(d128, half0), d128, dst + 12);
    hn::StoreU(hn::LowerHalf(d128, half1), d128, dst + 24);
    hn::StoreU(hn::UpperHalf(d128, half1), d128, dst + 36);
#else
    hn::StoreU(hn::LowerHalf(d128, packed), d128, dst);
    hn::StoreU(hn::UpperHalf(d128, packed), d128, dst + 12);
#endif
#else
    hn::StoreU(packed, d128, dst);
#endif
}

HWY_INLINE void StoreRow24(const uint8_t* y, uint8_t* dst, VI rv, VI gv, VI bv)
{
    StoreRow24Of(Widen(hn::LoadU(D8(), y)), dst, rv, gv, bv);
}

#endif // HWY_TARGET != HWY_SVE

// 32-bit pixels are formed whole in 32-bit lanes: blue | green << 8 |
// red << 16 | the fourth byte (255, or the byte the pixel held).
template <bool Alpha255>
HWY_INLINE void StoreRow32(const uint8_t* y, uint8_t* dst, VI rv, VI gv, VI bv)
{
    const hn::RebindToUnsigned<DI> du;
    const hn::Repartition<uint8_t, DI> dbytes;
    const VI y9 = hn::Mul(Widen(hn::LoadU(D8(), y)), K(9536));
    const VI lo = K(0), hi = K(255);
    const VI b = hn::Min(hn::Max(hn::ShiftRight<13>(hn::Add(bv, y9)), lo), hi);
    const VI g = hn::Min(hn::Max(hn::ShiftRight<13>(hn::Add(gv, y9)), lo), hi);
    const VI r = hn::Min(hn::Max(hn::ShiftRight<13>(hn::Add(rv, y9)), lo), hi);
    const auto bgr = hn::BitCast(du, hn::Or(hn::Or(b, hn::ShiftLeft<8>(g)), hn::ShiftLeft<16>(r)));
    const auto fourth = Alpha255 ? hn::Set(du, 0xFF000000u)
                                 : hn::And(hn::BitCast(du, hn::LoadU(dbytes, dst)), hn::Set(du, 0xFF000000u));
    hn::StoreU(hn::BitCast(dbytes, hn::Or(bgr, fourth)), dbytes, dst);
}

template <int Bpp, bool Alpha255>
void I420ToRgbRow2(const uint8_t* y0, const uint8_t* y1, const uint8_t* u, const uint8_t* v, uint8_t* dst0,
                   uint8_t* dst1, int pairs)
{
    const D8 d8;
    const int n = static_cast<int>(hn::Lanes(d8)); // pixels per step; n / 2 chroma samples
    int i = 0;
    // A step loads n chroma bytes and uses the first n / 2: it runs while all
    // n lie inside the row (and, for 24-bit rows, a pair is left after it:
    // its stores reach 4 bytes past its pixels).
    for (; i + n + (Bpp == 3 ? 1 : 0) <= pairs; i += n / 2) {
        // Each chroma sample stands for two pixels: duplicate the bytes.
        const V8 u8 = hn::LoadU(d8, u + i), v8 = hn::LoadU(d8, v + i);
        const VI U = Widen(hn::InterleaveLower(d8, u8, u8)), V = Widen(hn::InterleaveLower(d8, v8, v8));
        // The reference's terms: 13074 v - 1826095, -3203 u - 6660 v + 1109918, 16532 u - 2268594.
        const VI rv = hn::Sub(hn::Mul(V, K(13074)), K(1826095));
        const VI gv = hn::Add(hn::Sub(hn::Mul(U, K(-3203)), hn::Mul(V, K(6660))), K(1109918));
        const VI bv = hn::Sub(hn::Mul(U, K(16532)), K(2268594));
        if (Bpp == 3) {
#if HWY_TARGET != HWY_SVE
            StoreRow24(y0 + 2 * i, dst0 + 2 * i * Bpp, rv, gv, bv);
            StoreRow24(y1 + 2 * i, dst1 + 2 * i * Bpp, rv, gv, bv);
#endif
        } else {
            StoreRow32<Alpha255>(y0 + 2 * i, dst0 + 2 * i * Bpp, rv, gv, bv);
            StoreRow32<Alpha255>(y1 + 2 * i, dst1 + 2 * i * Bpp, rv, gv, bv);
        }
    }
    if (i < pairs) {
        const ConvertKernels& ref = ReferenceConvertKernels();
        const I420ToRgbRow2Fn tail =
            Bpp == 3 ? ref.i420ToRgb24Row2 : (Alpha255 ? ref.i420ToArgbRow2 : ref.i420ToRgb32Row2);
        tail(y0 + 2 * i, y1 + 2 * i, u + i, v + i, dst0 + 2 * i * Bpp, dst1 + 2 * i * Bpp, pairs - i);
    }
}

#if HWY_TARGET == HWY_AVX2 || HWY_TARGET == HWY_AVX3
// ---- planes to bitmap in 16-bit lanes (256-bit vectors) ----
//
// Per channel the reference computes floor((9536 y + c) / 2^13), clamped to
// 0..255, with c the block's chroma term. As 9536 = 8192 + 64 * 21,
//   floor((9536 y + c) / 2^13) = y + floor((21 y + floor(c / 64)) / 128)
// (nested floor divisions), and floor(c / 64) comes from splitting each
// coefficient and constant of c as 64 q + r:
//   rv / 64: 204 v - 28532 + ((18 v - 47) >> 6)                 within -28533 .. 23559
//   gv / 64: -50 u - 104 v + 17342 + ((-3 u - 4 v + 30) >> 6)   within -21956 .. 17342
//   bv / 64: 2 z + ((20 u - 50) >> 6), z = 129 u - 17723         within -35447 .. 30423
// so 21 y + floor(c / 64) fits 16 bits for red and green. For blue it is
// formed as (21 y + z + ((20 u - 50) >> 6)) + z, exact up to the last,
// saturating addition: a sum beyond -32768 or 32767 there gives -256 or 255
// after the shift, which with y added still clamps to 0 or 255 as the
// true value does. The clamp is the saturating narrowing to bytes.
//
// A step is 32 pixels of each row and their 16 chroma samples; the
// unpacking and packing inside 128-bit halves keep pixels in order up to
// the final interleave, whose halves are put in place by the stores.
struct ChromaWords {
    __m256i r, g, bz, blo; // per pixel: red and green terms / 64, blue's z and its low part
};

HWY_INLINE void ChromaPair(__m256i c, __m256i* lo, __m256i* hi)
{
    *lo = _mm256_unpacklo_epi16(c, c); // pixels 0-7 | 16-23 of the step
    *hi = _mm256_unpackhi_epi16(c, c); // pixels 8-15 | 24-31
}

// One row's 32 pixels as B, G, R bytes in order.
HWY_INLINE void RowChannels(const uint8_t* y, const ChromaWords& lo, const ChromaWords& hi, __m256i* b8, __m256i* g8,
                            __m256i* r8)
{
    const __m256i yb = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(y));
    const __m256i zero = _mm256_setzero_si256();
    __m256i out[3][2];
    for (int h = 0; h < 2; ++h) {
        const ChromaWords& c = h == 0 ? lo : hi;
        const __m256i yw = h == 0 ? _mm256_unpacklo_epi8(yb, zero) : _mm256_unpackhi_epi8(yb, zero);
        const __m256i y21 = _mm256_mullo_epi16(yw, _mm256_set1_epi16(21));
        const __m256i bsum = _mm256_adds_epi16(_mm256_add_epi16(_mm256_add_epi16(y21, c.bz), c.blo), c.bz);
        out[0][h] = _mm256_add_epi16(yw, _mm256_srai_epi16(bsum, 7));
        out[1][h] = _mm256_add_epi16(yw, _mm256_srai_epi16(_mm256_add_epi16(y21, c.g), 7));
        out[2][h] = _mm256_add_epi16(yw, _mm256_srai_epi16(_mm256_add_epi16(y21, c.r), 7));
    }
    *b8 = _mm256_packus_epi16(out[0][0], out[0][1]);
    *g8 = _mm256_packus_epi16(out[1][0], out[1][1]);
    *r8 = _mm256_packus_epi16(out[2][0], out[2][1]);
}

template <int Bpp, bool Alpha255>
HWY_INLINE void StoreRow32Px(uint8_t* dst, __m256i b8, __m256i g8, __m256i r8)
{
    const __m256i a8 = Alpha255 ? _mm256_set1_epi8(-1) : _mm256_setzero_si256();
    const __m256i bgLo = _mm256_unpacklo_epi8(b8, g8), bgHi = _mm256_unpackhi_epi8(b8, g8);
    const __m256i raLo = _mm256_unpacklo_epi8(r8, a8), raHi = _mm256_unpackhi_epi8(r8, a8);
    const __m256i q0 = _mm256_unpacklo_epi16(bgLo, raLo); // pixels 0-3 | 16-19
    const __m256i q1 = _mm256_unpackhi_epi16(bgLo, raLo); // 4-7 | 20-23
    const __m256i q2 = _mm256_unpacklo_epi16(bgHi, raHi); // 8-11 | 24-27
    const __m256i q3 = _mm256_unpackhi_epi16(bgHi, raHi); // 12-15 | 28-31
    if (Bpp == 4) {
        __m256i px[4] = {_mm256_permute2x128_si256(q0, q1, 0x20), _mm256_permute2x128_si256(q2, q3, 0x20),
                         _mm256_permute2x128_si256(q0, q1, 0x31), _mm256_permute2x128_si256(q2, q3, 0x31)};
        for (int k = 0; k < 4; ++k) {
            __m256i* at = reinterpret_cast<__m256i*>(dst + 32 * k);
            if (Alpha255) {
                _mm256_storeu_si256(at, px[k]);
            } else { // the fourth byte stays as it was
#if HWY_TARGET == HWY_AVX3
                _mm256_mask_storeu_epi8(at, 0x77777777u, px[k]);
#else
                _mm256_storeu_si256(at, _mm256_blendv_epi8(px[k], _mm256_loadu_si256(at),
                                                           _mm256_set1_epi32(static_cast<int32_t>(0xFF000000u))));
#endif
            }
        }
    } else {
        // Each 4-pixel half packed into its first 12 bytes; 16-byte stores
        // in increasing order, each 4 bytes longer than its pixels (the
        // next store, or the caller's next pixel pair, writes over them).
        const __m256i pack = _mm256_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1, 0, 1, 2, 4, 5, 6,
                                              8, 9, 10, 12, 13, 14, -1, -1, -1, -1);
        const __m256i q[4] = {_mm256_shuffle_epi8(q0, pack), _mm256_shuffle_epi8(q1, pack),
                              _mm256_shuffle_epi8(q2, pack), _mm256_shuffle_epi8(q3, pack)};
        for (int k = 0; k < 4; ++k)
            _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + 12 * k), _mm256_castsi256_si128(q[k]));
        for (int k = 0; k < 4; ++k)
            _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + 48 + 12 * k), _mm256_extracti128_si256(q[k], 1));
    }
}

template <int Bpp, bool Alpha255>
void I420ToRgbRow2Narrow(const uint8_t* y0, const uint8_t* y1, const uint8_t* u, const uint8_t* v, uint8_t* dst0,
                         uint8_t* dst1, int pairs)
{
    int i = 0;
    // 24-bit steps write 4 bytes past their pixels: one pair must follow.
    for (; i + 16 + (Bpp == 3 ? 1 : 0) <= pairs; i += 16) {
        const __m256i uw = _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(u + i)));
        const __m256i vw = _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(v + i)));
        auto mul = [](__m256i x, int k) { return _mm256_mullo_epi16(x, _mm256_set1_epi16(static_cast<int16_t>(k))); };
        auto k16 = [](int k) { return _mm256_set1_epi16(static_cast<int16_t>(k)); };
        const __m256i r = _mm256_add_epi16(_mm256_sub_epi16(mul(vw, 204), k16(28532)),
                                           _mm256_srai_epi16(_mm256_sub_epi16(mul(vw, 18), k16(47)), 6));
        const __m256i glo = _mm256_srai_epi16(_mm256_sub_epi16(k16(30), _mm256_add_epi16(mul(uw, 3), mul(vw, 4))), 6);
        const __m256i g = _mm256_add_epi16(_mm256_sub_epi16(k16(17342), _mm256_add_epi16(mul(uw, 50), mul(vw, 104))), glo);
        const __m256i bz = _mm256_sub_epi16(mul(uw, 129), k16(17723));
        const __m256i blo = _mm256_srai_epi16(_mm256_sub_epi16(mul(uw, 20), k16(50)), 6);
        ChromaWords lo, hi;
        ChromaPair(r, &lo.r, &hi.r);
        ChromaPair(g, &lo.g, &hi.g);
        ChromaPair(bz, &lo.bz, &hi.bz);
        ChromaPair(blo, &lo.blo, &hi.blo);
        __m256i b8, g8, r8;
        RowChannels(y0 + 2 * i, lo, hi, &b8, &g8, &r8);
        StoreRow32Px<Bpp, Alpha255>(dst0 + 2 * i * Bpp, b8, g8, r8);
        RowChannels(y1 + 2 * i, lo, hi, &b8, &g8, &r8);
        StoreRow32Px<Bpp, Alpha255>(dst1 + 2 * i * Bpp, b8, g8, r8);
    }
    if (i < pairs)
        I420ToRgbRow2<Bpp, Alpha255>(y0 + 2 * i, y1 + 2 * i, u + i, v + i, dst0 + 2 * i * Bpp, dst1 + 2 * i * Bpp,
                                     pairs - i);
}
#endif // AVX2 or AVX3

#if HWY_TARGET == HWY_SSE4
// ---- planes to bitmap in 16-bit lanes (128-bit vectors) ----
// The formulation of the 256-bit kernel above, 16 pixels of each row and
// their 8 chroma samples a step (unpacking keeps the pixels in order).
struct ChromaWords {
    __m128i r, g, bz, blo;
};

HWY_INLINE void RowChannels(const uint8_t* y, const ChromaWords& lo, const ChromaWords& hi, __m128i* b8, __m128i* g8,
                            __m128i* r8)
{
    const __m128i yb = _mm_loadu_si128(reinterpret_cast<const __m128i*>(y));
    const __m128i zero = _mm_setzero_si128();
    __m128i out[3][2];
    for (int h = 0; h < 2; ++h) {
        const ChromaWords& c = h == 0 ? lo : hi;
        const __m128i yw = h == 0 ? _mm_unpacklo_epi8(yb, zero) : _mm_unpackhi_epi8(yb, zero);
        const __m128i y21 = _mm_mullo_epi16(yw, _mm_set1_epi16(21));
        const __m128i bsum = _mm_adds_epi16(_mm_add_epi16(_mm_add_epi16(y21, c.bz), c.blo), c.bz);
        out[0][h] = _mm_add_epi16(yw, _mm_srai_epi16(bsum, 7));
        out[1][h] = _mm_add_epi16(yw, _mm_srai_epi16(_mm_add_epi16(y21, c.g), 7));
        out[2][h] = _mm_add_epi16(yw, _mm_srai_epi16(_mm_add_epi16(y21, c.r), 7));
    }
    *b8 = _mm_packus_epi16(out[0][0], out[0][1]);
    *g8 = _mm_packus_epi16(out[1][0], out[1][1]);
    *r8 = _mm_packus_epi16(out[2][0], out[2][1]);
}

template <int Bpp, bool Alpha255>
HWY_INLINE void StoreRow16Px(uint8_t* dst, __m128i b8, __m128i g8, __m128i r8)
{
    const __m128i a8 = Alpha255 ? _mm_set1_epi8(-1) : _mm_setzero_si128();
    const __m128i bgLo = _mm_unpacklo_epi8(b8, g8), bgHi = _mm_unpackhi_epi8(b8, g8);
    const __m128i raLo = _mm_unpacklo_epi8(r8, a8), raHi = _mm_unpackhi_epi8(r8, a8);
    __m128i q[4] = {_mm_unpacklo_epi16(bgLo, raLo), _mm_unpackhi_epi16(bgLo, raLo), _mm_unpacklo_epi16(bgHi, raHi),
                    _mm_unpackhi_epi16(bgHi, raHi)};
    if (Bpp == 4) {
        for (int k = 0; k < 4; ++k) {
            __m128i* at = reinterpret_cast<__m128i*>(dst + 16 * k);
            if (!Alpha255) // the fourth byte stays as it was
                q[k] = _mm_blendv_epi8(q[k], _mm_loadu_si128(at), _mm_set1_epi32(static_cast<int32_t>(0xFF000000u)));
            _mm_storeu_si128(at, q[k]);
        }
    } else {
        // 16-byte stores in increasing order, each 4 bytes longer than its pixels.
        const __m128i pack = _mm_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1);
        for (int k = 0; k < 4; ++k)
            _mm_storeu_si128(reinterpret_cast<__m128i*>(dst + 12 * k), _mm_shuffle_epi8(q[k], pack));
    }
}

template <int Bpp, bool Alpha255>
void I420ToRgbRow2Narrow(const uint8_t* y0, const uint8_t* y1, const uint8_t* u, const uint8_t* v, uint8_t* dst0,
                         uint8_t* dst1, int pairs)
{
    int i = 0;
    for (; i + 8 + (Bpp == 3 ? 1 : 0) <= pairs; i += 8) {
        const __m128i uw = _mm_cvtepu8_epi16(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(u + i)));
        const __m128i vw = _mm_cvtepu8_epi16(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(v + i)));
        auto mul = [](__m128i x, int k) { return _mm_mullo_epi16(x, _mm_set1_epi16(static_cast<int16_t>(k))); };
        auto k16 = [](int k) { return _mm_set1_epi16(static_cast<int16_t>(k)); };
        const __m128i r = _mm_add_epi16(_mm_sub_epi16(mul(vw, 204), k16(28532)),
                                        _mm_srai_epi16(_mm_sub_epi16(mul(vw, 18), k16(47)), 6));
        const __m128i glo = _mm_srai_epi16(_mm_sub_epi16(k16(30), _mm_add_epi16(mul(uw, 3), mul(vw, 4))), 6);
        const __m128i g = _mm_add_epi16(_mm_sub_epi16(k16(17342), _mm_add_epi16(mul(uw, 50), mul(vw, 104))), glo);
        const __m128i bz = _mm_sub_epi16(mul(uw, 129), k16(17723));
        const __m128i blo = _mm_srai_epi16(_mm_sub_epi16(mul(uw, 20), k16(50)), 6);
        const ChromaWords lo{_mm_unpacklo_epi16(r, r), _mm_unpacklo_epi16(g, g), _mm_unpacklo_epi16(bz, bz),
                             _mm_unpacklo_epi16(blo, blo)};
        const ChromaWords hi{_mm_unpackhi_epi16(r, r), _mm_unpackhi_epi16(g, g), _mm_unpackhi_epi16(bz, bz),
                             _mm_unpackhi_epi16(blo, blo)};
        __m128i b8, g8, r8;
        RowChannels(y0 + 2 * i, lo, hi, &b8, &g8, &r8);
        StoreRow16Px<Bpp, Alpha255>(dst0 + 2 * i * Bpp, b8, g8, r8);
        RowChannels(y1 + 2 * i, lo, hi, &b8, &g8, &r8);
        StoreRow16Px<Bpp, Alpha255>(dst1 + 2 * i * Bpp, b8, g8, r8);
    }
    if (i < pairs)
        I420ToRgbRow2<Bpp, Alpha255>(y0 + 2 * i, y1 + 2 * i, u + i, v + i, dst0 + 2 * i * Bpp, dst1 + 2 * i * Bpp,
                                     pairs - i);
}
#endif // SSE4

// ---- bitmap to planes ----

// Pixels as whole 32-bit lanes (blue | green << 8 | red << 16 | fourth << 24).
// 24-bit pixels are spread to that layout by a byte shuffle inside each
// 128-bit block, which holds the 16 bytes from its first pixel on (4 bytes
// more than its 4 pixels: the caller keeps a pixel pair after the step).
template <int Bpp>
HWY_INLINE VI LoadPixelWords(const uint8_t* src)
{
    const DI di;
    const hn::Repartition<uint8_t, DI> dbytes;
    if (Bpp == 4)
        return hn::BitCast(di, hn::LoadU(dbytes, src));
#if HWY_TARGET == HWY_AVX2 || HWY_TARGET == HWY_AVX3
    // One 16-byte load per 128-bit block (a whole-vector load would read
    // past the pixels).
    const hn::Full128<uint8_t> d128;
    const hn::Full256<uint8_t> d256;
    const auto lo = hn::Combine(d256, hn::LoadU(d128, src + 12), hn::LoadU(d128, src));
#if HWY_TARGET == HWY_AVX2
    const auto bytes = lo;
#else
    const auto hi = hn::Combine(d256, hn::LoadU(d128, src + 36), hn::LoadU(d128, src + 24));
    const auto bytes = hn::Combine(dbytes, hi, lo);
#endif
#else
    const auto bytes = hn::LoadU(dbytes, src); // one 128-bit block
#endif
    alignas(64) static constexpr uint8_t kSpread[64] = {0, 1, 2, 0x80, 3, 4, 5, 0x80, 6, 7, 8, 0x80, 9, 10, 11, 0x80,
                                                        0, 1, 2, 0x80, 3, 4, 5, 0x80, 6, 7, 8, 0x80, 9, 10, 11, 0x80,
                                                        0, 1, 2, 0x80, 3, 4, 5, 0x80, 6, 7, 8, 0x80, 9, 10, 11, 0x80,
                                                        0, 1, 2, 0x80, 3, 4, 5, 0x80, 6, 7, 8, 0x80, 9, 10, 11, 0x80};
    return hn::BitCast(di, hn::TableLookupBytesOr0(bytes, hn::Load(dbytes, kSpread)));
}

// k_g * green + k_r * red + k_b * blue per pixel (p: a pixel word) as
// pairwise 16-bit products summed into 32 bits: (green, red) and (blue, 0)
// are the two 16-bit halves of two lanes. Every coefficient and sample fits
// int16, every sum int32, and sums of integers do not depend on their order.
// (The split is recomputed per use and merged by the compiler: SVE vectors
// are sizeless and cannot be held in a struct.)
HWY_INLINE VI Dot(VI p, int16_t kg, int16_t kr, int16_t kb)
{
    const DI di;
    const hn::Repartition<int16_t, DI> d16;
    // Green moves to the low half; red stays in the high half.
    const auto gr = hn::BitCast(d16, hn::Or(hn::And(hn::ShiftRight<8>(p), K(0xFF)), hn::And(p, K(0xFF0000))));
    const auto b0 = hn::BitCast(d16, hn::And(p, K(0xFF)));
    const auto cgr = hn::BitCast(d16, K(static_cast<int32_t>(static_cast<uint16_t>(kg)) | (static_cast<int32_t>(kr) * 65536)));
    const auto cb0 = hn::BitCast(d16, K(static_cast<int32_t>(static_cast<uint16_t>(kb))));
    VI s1 = hn::Zero(di), s2 = hn::Zero(di);
    const VI a = hn::RearrangeToOddPlusEven(hn::ReorderWidenMulAccumulate(di, gr, cgr, hn::Zero(di), s1), s1);
    const VI b = hn::RearrangeToOddPlusEven(hn::ReorderWidenMulAccumulate(di, b0, cb0, hn::Zero(di), s2), s2);
    return hn::Add(a, b);
}

// Y = ((8258 G + 4211 R + 1606 B) >> 14) + 16.
HWY_INLINE VI Luma(VI p) { return hn::Add(hn::ShiftRight<14>(Dot(p, 8258, 4211, 1606)), K(16)); }
// U = ((7193 B - (2425 R + 4768 G)) >> 14) + 128.
HWY_INLINE VI ChromaU(VI p) { return hn::Add(hn::ShiftRight<14>(Dot(p, -4768, -2425, 7193)), K(128)); }
// V = ((7193 R - (6029 G + 1163 B)) >> 14) + 128.
HWY_INLINE VI ChromaV(VI p) { return hn::Add(hn::ShiftRight<14>(Dot(p, -6029, 7193, -1163)), K(128)); }

template <int Bpp, bool WithAlpha>
void RgbToI420Row2(const uint8_t* src0, const uint8_t* src1, uint8_t* y0, uint8_t* y1, uint8_t* u, uint8_t* v,
                   uint8_t* a0, uint8_t* a1, int pairs)
{
    const DI di;
    const D8 d8;
    const int n = static_cast<int>(hn::Lanes(d8)); // a step: 2n pixels of each row, n chroma samples
    int i = 0;
    // 24-bit steps read 4 bytes past their pixels: one pair must follow.
    for (; i + n + (Bpp == 3 ? 1 : 0) <= pairs; i += n) {
        // Two halves of n pixels (named vectors: SVE vectors cannot be array elements).
        const auto half = [&](int h, VI& su, VI& sv) {
            const int x = 2 * i + h * n;
            const VI p0 = LoadPixelWords<Bpp>(src0 + x * Bpp), p1 = LoadPixelWords<Bpp>(src1 + x * Bpp);
            hn::StoreU(Narrow(Luma(p0)), d8, y0 + x);
            hn::StoreU(Narrow(Luma(p1)), d8, y1 + x);
            if (WithAlpha) {
                const hn::RebindToUnsigned<DI> du;
                hn::StoreU(Narrow(hn::BitCast(di, hn::ShiftRight<24>(hn::BitCast(du, p0)))), d8, a0 + x);
                hn::StoreU(Narrow(hn::BitCast(di, hn::ShiftRight<24>(hn::BitCast(du, p1)))), d8, a1 + x);
            }
            su = hn::Add(ChromaU(p0), ChromaU(p1));
            sv = hn::Add(ChromaV(p0), ChromaV(p1));
        };
        VI su0, sv0, su1, sv1;
        half(0, su0, sv0);
        half(1, su1, sv1);
        // The block sums: each pixel pair's two columns added, then >> 2.
        const VI bu = hn::ShiftRight<2>(hn::Add(hn::ConcatEven(di, su1, su0), hn::ConcatOdd(di, su1, su0)));
        const VI bv = hn::ShiftRight<2>(hn::Add(hn::ConcatEven(di, sv1, sv0), hn::ConcatOdd(di, sv1, sv0)));
        hn::StoreU(Narrow(bu), d8, u + i);
        hn::StoreU(Narrow(bv), d8, v + i);
    }
    if (i < pairs) {
        const ConvertKernels& ref = ReferenceConvertKernels();
        const RgbToI420Row2Fn tail =
            Bpp == 3 ? ref.rgb24ToI420Row2 : (WithAlpha ? ref.rgb32ToI420AlphaRow2 : ref.rgb32ToI420Row2);
        tail(src0 + 2 * i * Bpp, src1 + 2 * i * Bpp, y0 + 2 * i, y1 + 2 * i, u + i, v + i,
             WithAlpha ? a0 + 2 * i : a0, WithAlpha ? a1 + 2 * i : a1, pairs - i);
    }
}

#if HWY_TARGET == HWY_AVX2
// ---- bitmap to planes in 16-bit lanes (256-bit vectors) ----
//
// (AVX-512 keeps the 32-bit-lane twin above, whose 16 pixels a vector do as
// well there.)
// Each per-pixel value of the reference is floor(t / 2^14) with
// t = kB B + kG G + kR R (kY = 1606, 8258, 4211; kU = 7193, -4768, -2425;
// kV = -1163, -6029, 7193). Every coefficient is split as k = 128 a + b with
// a and b signed bytes, so t = 128 H + L with H = sum a x and L = sum b x, and
//   floor(t / 2^14) = floor((H + floor(L / 128)) / 128)
// (nested floor divisions by positive integers compose), i.e.
// (H + (L >> 7)) >> 7 with arithmetic shifts. The splits:
//   Y: a = 13, 64, 33   b = -58, 66, -13
//   U: a = 56, -37, -19 b = 25, -32, 7
//   V: a = -9, -47, 56  b = -11, -13, 25
// H and L come from byte-pair products (blue with green, red with the fourth
// byte, whose coefficient is 0) summed in 16 bits: each pair stays within
// +-16830, H within -14280 .. 28050, L within -18105 .. 16830, and
// H + (L >> 7) within -142 .. 28181, so nothing saturates or wraps and the
// value is the reference's exactly (also checked for every colour by the
// kernel checker). The chroma of a 2 x 2 block is then, as in the
// reference, the sum of its four values (at most 448 in size) >> 2, + 128.
//
// A step is 32 pixels of each row: four vectors of 8 pixels. Pair sums of
// two vectors come out in the order 0-3, 8-11 | 4-7, 12-15 (128-bit
// halves); the stores put the bytes back in order.
HWY_INLINE __m256i PixelCoefs(int b, int g, int r)
{
    return _mm256_set1_epi32(static_cast<int32_t>(static_cast<uint8_t>(b) | (static_cast<uint32_t>(static_cast<uint8_t>(g)) << 8) |
                                                  (static_cast<uint32_t>(static_cast<uint8_t>(r)) << 16)));
}

// floor(t / 2^14) of the 16 pixels of p0 and p1 (order as above).
HWY_INLINE __m256i Value16(__m256i p0, __m256i p1, __m256i ch, __m256i cl)
{
    const __m256i h = _mm256_hadd_epi16(_mm256_maddubs_epi16(p0, ch), _mm256_maddubs_epi16(p1, ch));
    const __m256i l = _mm256_hadd_epi16(_mm256_maddubs_epi16(p0, cl), _mm256_maddubs_epi16(p1, cl));
    return _mm256_srai_epi16(_mm256_add_epi16(h, _mm256_srai_epi16(l, 7)), 7);
}

// Eight pixels as blue, green, red, fourth byte (24-bit: two 16-byte loads,
// the second 4 bytes past the pixels, spread by a byte shuffle).
template <int Bpp>
HWY_INLINE __m256i LoadPixels8(const uint8_t* src)
{
    if (Bpp == 4)
        return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(src));
    const __m256i bytes = _mm256_inserti128_si256(
        _mm256_castsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(src))),
        _mm_loadu_si128(reinterpret_cast<const __m128i*>(src + 12)), 1);
    const __m256i spread = _mm256_setr_epi8(0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1, 0, 1, 2, -1, 3, 4,
                                            5, -1, 6, 7, 8, -1, 9, 10, 11, -1);
    return _mm256_shuffle_epi8(bytes, spread);
}

// Two vectors of 16 values each (order as above) to 32 bytes in order.
HWY_INLINE void Store32(__m256i a, __m256i b, uint8_t* dst)
{
    const __m256i packed = _mm256_packus_epi16(a, b); // 0-3 8-11 16-19 24-27 | 4-7 12-15 20-23 28-31
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst),
                        _mm256_permutevar8x32_epi32(packed, _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7)));
}

template <int Bpp, bool WithAlpha>
void RgbToI420Row2Narrow(const uint8_t* src0, const uint8_t* src1, uint8_t* y0, uint8_t* y1, uint8_t* u, uint8_t* v,
                         uint8_t* a0, uint8_t* a1, int pairs)
{
    const __m256i yh = PixelCoefs(13, 64, 33), yl = PixelCoefs(-58, 66, -13);
    const __m256i uh = PixelCoefs(56, -37, -19), ul = PixelCoefs(25, -32, 7);
    const __m256i vh = PixelCoefs(-9, -47, 56), vl = PixelCoefs(-11, -13, 25);
    const __m256i sixteen = _mm256_set1_epi16(16), half = _mm256_set1_epi16(128);
    int i = 0;
    // 24-bit steps read 4 bytes past their pixels: one pair must follow.
    for (; i + 16 + (Bpp == 3 ? 1 : 0) <= pairs; i += 16) {
        __m256i su[2] = {_mm256_setzero_si256(), _mm256_setzero_si256()}, sv[2] = {su[0], su[1]};
        for (int r = 0; r < 2; ++r) {
            const uint8_t* s = (r == 0 ? src0 : src1) + 2 * i * Bpp;
            __m256i p[4];
            for (int j = 0; j < 4; ++j)
                p[j] = LoadPixels8<Bpp>(s + 8 * j * Bpp);
            Store32(_mm256_add_epi16(Value16(p[0], p[1], yh, yl), sixteen),
                    _mm256_add_epi16(Value16(p[2], p[3], yh, yl), sixteen), (r == 0 ? y0 : y1) + 2 * i);
            if (WithAlpha) {
                const __m256i lo = _mm256_packus_epi32(_mm256_srli_epi32(p[0], 24), _mm256_srli_epi32(p[1], 24));
                const __m256i hi = _mm256_packus_epi32(_mm256_srli_epi32(p[2], 24), _mm256_srli_epi32(p[3], 24));
                Store32(lo, hi, (r == 0 ? a0 : a1) + 2 * i);
            }
            su[0] = _mm256_add_epi16(su[0], Value16(p[0], p[1], uh, ul));
            su[1] = _mm256_add_epi16(su[1], Value16(p[2], p[3], uh, ul));
            sv[0] = _mm256_add_epi16(sv[0], Value16(p[0], p[1], vh, vl));
            sv[1] = _mm256_add_epi16(sv[1], Value16(p[2], p[3], vh, vl));
        }
        // Block sums: blocks 0 1 4 5 8 9 12 13 | 2 3 6 7 10 11 14 15.
        const __m256i bu = _mm256_add_epi16(_mm256_srai_epi16(_mm256_hadd_epi16(su[0], su[1]), 2), half);
        const __m256i bv = _mm256_add_epi16(_mm256_srai_epi16(_mm256_hadd_epi16(sv[0], sv[1]), 2), half);
        // U bytes then V bytes in each half, then U to the low half, V to
        // the high one, then each put in order.
        const __m256i uv = _mm256_permute4x64_epi64(_mm256_packus_epi16(bu, bv), 0xD8);
        const __m256i order = _mm256_setr_epi8(0, 1, 8, 9, 2, 3, 10, 11, 4, 5, 12, 13, 6, 7, 14, 15, 0, 1, 8, 9, 2, 3,
                                               10, 11, 4, 5, 12, 13, 6, 7, 14, 15);
        const __m256i ordered = _mm256_shuffle_epi8(uv, order);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(u + i), _mm256_castsi256_si128(ordered));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(v + i), _mm256_extracti128_si256(ordered, 1));
    }
    if (i < pairs)
        RgbToI420Row2<Bpp, WithAlpha>(src0 + 2 * i * Bpp, src1 + 2 * i * Bpp, y0 + 2 * i, y1 + 2 * i, u + i, v + i,
                                      WithAlpha ? a0 + 2 * i : a0, WithAlpha ? a1 + 2 * i : a1, pairs - i);
}
#endif // AVX2

#if HWY_TARGET == HWY_SSE4
// ---- bitmap to planes in 16-bit lanes (128-bit vectors) ----
// The formulation of the 256-bit kernel above (same splits and bounds), 16
// pixels of each row a step; 128-bit pair sums keep the pixel order.
HWY_INLINE __m128i PixelCoefs(int b, int g, int r)
{
    return _mm_set1_epi32(static_cast<int32_t>(static_cast<uint8_t>(b) | (static_cast<uint32_t>(static_cast<uint8_t>(g)) << 8) |
                                               (static_cast<uint32_t>(static_cast<uint8_t>(r)) << 16)));
}

HWY_INLINE __m128i Value16(__m128i p0, __m128i p1, __m128i ch, __m128i cl)
{
    const __m128i h = _mm_hadd_epi16(_mm_maddubs_epi16(p0, ch), _mm_maddubs_epi16(p1, ch));
    const __m128i l = _mm_hadd_epi16(_mm_maddubs_epi16(p0, cl), _mm_maddubs_epi16(p1, cl));
    return _mm_srai_epi16(_mm_add_epi16(h, _mm_srai_epi16(l, 7)), 7);
}

// Four pixels as blue, green, red, fourth byte (24-bit: 4 bytes past them are read).
template <int Bpp>
HWY_INLINE __m128i LoadPixels4(const uint8_t* src)
{
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src));
    if (Bpp == 4)
        return bytes;
    return _mm_shuffle_epi8(bytes, _mm_setr_epi8(0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1));
}

template <int Bpp, bool WithAlpha>
void RgbToI420Row2Narrow(const uint8_t* src0, const uint8_t* src1, uint8_t* y0, uint8_t* y1, uint8_t* u, uint8_t* v,
                         uint8_t* a0, uint8_t* a1, int pairs)
{
    const __m128i yh = PixelCoefs(13, 64, 33), yl = PixelCoefs(-58, 66, -13);
    const __m128i uh = PixelCoefs(56, -37, -19), ul = PixelCoefs(25, -32, 7);
    const __m128i vh = PixelCoefs(-9, -47, 56), vl = PixelCoefs(-11, -13, 25);
    const __m128i sixteen = _mm_set1_epi16(16), half = _mm_set1_epi16(128);
    int i = 0;
    for (; i + 8 + (Bpp == 3 ? 1 : 0) <= pairs; i += 8) {
        __m128i su[2] = {_mm_setzero_si128(), _mm_setzero_si128()}, sv[2] = {su[0], su[1]};
        for (int r = 0; r < 2; ++r) {
            const uint8_t* s = (r == 0 ? src0 : src1) + 2 * i * Bpp;
            __m128i p[4];
            for (int j = 0; j < 4; ++j)
                p[j] = LoadPixels4<Bpp>(s + 4 * j * Bpp);
            const __m128i y = _mm_packus_epi16(_mm_add_epi16(Value16(p[0], p[1], yh, yl), sixteen),
                                               _mm_add_epi16(Value16(p[2], p[3], yh, yl), sixteen));
            _mm_storeu_si128(reinterpret_cast<__m128i*>((r == 0 ? y0 : y1) + 2 * i), y);
            if (WithAlpha) {
                const __m128i lo = _mm_packus_epi32(_mm_srli_epi32(p[0], 24), _mm_srli_epi32(p[1], 24));
                const __m128i hi = _mm_packus_epi32(_mm_srli_epi32(p[2], 24), _mm_srli_epi32(p[3], 24));
                _mm_storeu_si128(reinterpret_cast<__m128i*>((r == 0 ? a0 : a1) + 2 * i), _mm_packus_epi16(lo, hi));
            }
            su[0] = _mm_add_epi16(su[0], Value16(p[0], p[1], uh, ul));
            su[1] = _mm_add_epi16(su[1], Value16(p[2], p[3], uh, ul));
            sv[0] = _mm_add_epi16(sv[0], Value16(p[0], p[1], vh, vl));
            sv[1] = _mm_add_epi16(sv[1], Value16(p[2], p[3], vh, vl));
        }
        const __m128i bu = _mm_add_epi16(_mm_srai_epi16(_mm_hadd_epi16(su[0], su[1]), 2), half);
        const __m128i bv = _mm_add_epi16(_mm_srai_epi16(_mm_hadd_epi16(sv[0], sv[1]), 2), half);
        const __m128i uv = _mm_packus_epi16(bu, bv);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(u + i), uv);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(v + i), _mm_unpackhi_epi64(uv, uv));
    }
    if (i < pairs)
        RgbToI420Row2<Bpp, WithAlpha>(src0 + 2 * i * Bpp, src1 + 2 * i * Bpp, y0 + 2 * i, y1 + 2 * i, u + i, v + i,
                                      WithAlpha ? a0 + 2 * i : a0, WithAlpha ? a1 + 2 * i : a1, pairs - i);
}
#endif // SSE4

// ---- packed 4:2:2 (YUY2: Y0 U Y1 V; UYVY: U Y0 V Y1), 16 pixels a step ----

using B16 = hn::Full128<uint8_t>;
using W8 = hn::Full128<uint16_t>;

void I420ToPackedRow(const uint8_t* y, const uint8_t* u, const uint8_t* v, uint8_t* dst, int pairs, int bYUY2)
{
    const B16 d8;
    const hn::Full64<uint8_t> d8h;
    int i = 0;
    for (; i + 8 <= pairs; i += 8) {
        const auto yy = hn::LoadU(d8, y + 2 * i);
        const auto uv = hn::InterleaveLower(d8, hn::ZeroExtendVector(d8, hn::LoadU(d8h, u + i)),
                                            hn::ZeroExtendVector(d8, hn::LoadU(d8h, v + i)));
        const auto lo = bYUY2 ? hn::InterleaveLower(d8, yy, uv) : hn::InterleaveLower(d8, uv, yy);
        const auto hi = bYUY2 ? hn::InterleaveUpper(d8, yy, uv) : hn::InterleaveUpper(d8, uv, yy);
        hn::StoreU(lo, d8, dst + 4 * i);
        hn::StoreU(hi, d8, dst + 4 * i + 16);
    }
    if (i < pairs)
        ReferenceConvertKernels().i420ToPackedRow(y + 2 * i, u + i, v + i, dst + 4 * i, pairs - i, bYUY2);
}

void PackedToI420Row2(const uint8_t* src0, const uint8_t* src1, uint8_t* y0, uint8_t* y1, uint8_t* u, uint8_t* v,
                      int pairs, int bYUY2)
{
    const B16 d8;
    const W8 d16;
    const hn::Full64<uint8_t> d8h;
    const hn::RebindToSigned<W8> di16;
    int i = 0;
    // Per 16-bit lane the luma byte and the chroma byte; chroma lanes
    // alternate U and V. (a + b) >> 1 of two rows' chroma fits 16 bits.
    for (; i + 8 <= pairs; i += 8) {
        // wRH: row R, half H (named vectors: SVE vectors cannot be array elements).
        const auto w00 = hn::BitCast(d16, hn::LoadU(d8, src0 + 4 * i));
        const auto w01 = hn::BitCast(d16, hn::LoadU(d8, src0 + 4 * i + 16));
        const auto w10 = hn::BitCast(d16, hn::LoadU(d8, src1 + 4 * i));
        const auto w11 = hn::BitCast(d16, hn::LoadU(d8, src1 + 4 * i + 16));
        const auto lumaOf = [&](hn::Vec<W8> w) { return bYUY2 ? hn::And(w, hn::Set(d16, 0xFF)) : hn::ShiftRight<8>(w); };
        const auto chromaOf = [&](hn::Vec<W8> w) { return bYUY2 ? hn::ShiftRight<8>(w) : hn::And(w, hn::Set(d16, 0xFF)); };
        const auto narrow = [&](hn::Vec<W8> lo, hn::Vec<W8> hi) {
            return hn::Combine(d8, hn::DemoteTo(d8h, hn::BitCast(di16, hi)), hn::DemoteTo(d8h, hn::BitCast(di16, lo)));
        };
        hn::StoreU(narrow(lumaOf(w00), lumaOf(w01)), d8, y0 + 2 * i);
        hn::StoreU(narrow(lumaOf(w10), lumaOf(w11)), d8, y1 + 2 * i);
        const auto c0 = hn::ShiftRight<1>(hn::Add(chromaOf(w00), chromaOf(w10))); // U V U V of pairs i..i+3
        const auto c1 = hn::ShiftRight<1>(hn::Add(chromaOf(w01), chromaOf(w11))); // pairs i+4..i+7
        const auto us = hn::ConcatEven(d16, c1, c0), vs = hn::ConcatOdd(d16, c1, c0);
        hn::StoreU(hn::DemoteTo(d8h, hn::BitCast(di16, us)), d8h, u + i);
        hn::StoreU(hn::DemoteTo(d8h, hn::BitCast(di16, vs)), d8h, v + i);
    }
    if (i < pairs)
        ReferenceConvertKernels().packedToI420Row2(src0 + 4 * i, src1 + 4 * i, y0 + 2 * i, y1 + 2 * i, u + i, v + i,
                                                   pairs - i, bYUY2);
}

void SwapBytePairsRow(const uint8_t* src, uint8_t* dst, int pairs)
{
    const hn::ScalableTag<uint16_t> d16;
    const hn::Repartition<uint8_t, decltype(d16)> d8;
    const int lanes = static_cast<int>(hn::Lanes(d16));
    int i = 0;
    for (; i + lanes <= pairs; i += lanes) {
        const auto w = hn::BitCast(d16, hn::LoadU(d8, src + 2 * i));
        hn::StoreU(hn::BitCast(d8, hn::Or(hn::ShiftLeft<8>(w), hn::ShiftRight<8>(w))), d8, dst + 2 * i);
    }
    if (i < pairs)
        ReferenceConvertKernels().swapBytePairsRow(src + 2 * i, dst + 2 * i, pairs - i);
}

#if HWY_TARGET != HWY_SVE
// 24-bit rows and packed rows, one pixel per 32-bit lane. The formulas are
// the planar ones; a pair's chroma is (c0 + c1) >> 1 (to packed), or the
// pair's U and V for both its pixels (from packed).
void Rgb24ToPackedRow(const uint8_t* src, uint8_t* dst, int pairs, int bYUY2)
{
    const DI di;
    const hn::Rebind<uint16_t, DI> d16;
    const int n = static_cast<int>(hn::Lanes(di)); // pixels a step
    int i = 0;
    // Reading 24-bit pixels takes 4 bytes more than the step's: a pair must follow.
    for (; i + n / 2 + 1 <= pairs; i += n / 2) {
        const VI w = LoadPixelWords<3>(src + 6 * i);
        const VI y = Luma(w), u = ChromaU(w), v = ChromaV(w);
        const VI su = hn::Add(hn::DupEven(u), hn::DupOdd(u)), sv = hn::Add(hn::DupEven(v), hn::DupOdd(v));
        const VI c = hn::ShiftRight<1>(hn::OddEven(sv, su)); // U on even pixels, V on odd ones
        const VI word = bYUY2 ? hn::Or(y, hn::ShiftLeft<8>(c)) : hn::Or(c, hn::ShiftLeft<8>(y));
        hn::StoreU(hn::BitCast(hn::Repartition<uint8_t, decltype(d16)>(), hn::DemoteTo(d16, word)),
                   hn::Repartition<uint8_t, decltype(d16)>(), dst + 4 * i);
    }
    if (i < pairs)
        ReferenceConvertKernels().rgb24ToPackedRow(src + 6 * i, dst + 4 * i, pairs - i, bYUY2);
}

void PackedToRgb24Row(const uint8_t* src, uint8_t* dst, int pairs, int bYUY2)
{
    const DI di;
    const hn::Rebind<uint16_t, DI> d16;
    const hn::Repartition<uint8_t, decltype(d16)> d8;
    const int n = static_cast<int>(hn::Lanes(di));
    int i = 0;
    // The 24-bit stores reach 4 bytes past the step's pixels: a pair must follow.
    for (; i + n / 2 + 1 <= pairs; i += n / 2) {
        const VI word = hn::BitCast(di, hn::PromoteTo(hn::RebindToUnsigned<DI>(), hn::BitCast(d16, hn::LoadU(d8, src + 4 * i))));
        const VI y = bYUY2 ? hn::And(word, K(0xFF)) : hn::ShiftRight<8>(word);
        const VI c = bYUY2 ? hn::ShiftRight<8>(word) : hn::And(word, K(0xFF));
        const VI U = hn::DupEven(c), V = hn::DupOdd(c);
        const VI rv = hn::Sub(hn::Mul(V, K(13074)), K(1826095));
        const VI gv = hn::Add(hn::Sub(hn::Mul(U, K(-3203)), hn::Mul(V, K(6660))), K(1109918));
        const VI bv = hn::Sub(hn::Mul(U, K(16532)), K(2268594));
        StoreRow24Of(y, dst + 6 * i, rv, gv, bv);
    }
    if (i < pairs)
        ReferenceConvertKernels().packedToRgb24Row(src + 4 * i, dst + 6 * i, pairs - i, bYUY2);
}

#endif // HWY_TARGET != HWY_SVE

#endif // DP_SIMD_TARGET_USED

void FillConvert(ConvertKernels& t)
{
#if DP_SIMD_TARGET_USED
#if HWY_TARGET != HWY_SVE
    // The 24-bit twins work on 128-bit blocks of 4 pixels; scalable vectors
    // wider than that keep the reference for them.
#if HWY_TARGET == HWY_AVX2 || HWY_TARGET == HWY_AVX3 || HWY_TARGET == HWY_SSE4
    t.i420ToRgb24Row2 = I420ToRgbRow2Narrow<3, false>;
#else
    t.i420ToRgb24Row2 = I420ToRgbRow2<3, false>;
#endif
#if HWY_TARGET == HWY_AVX2 || HWY_TARGET == HWY_SSE4
    t.rgb24ToI420Row2 = RgbToI420Row2Narrow<3, false>;
#else
    t.rgb24ToI420Row2 = RgbToI420Row2<3, false>;
#endif
    t.rgb24ToPackedRow = Rgb24ToPackedRow;
    t.packedToRgb24Row = PackedToRgb24Row;
#endif
#if HWY_TARGET == HWY_AVX2 || HWY_TARGET == HWY_AVX3 || HWY_TARGET == HWY_SSE4
    t.i420ToRgb32Row2 = I420ToRgbRow2Narrow<4, false>;
    t.i420ToArgbRow2 = I420ToRgbRow2Narrow<4, true>;
#else
    t.i420ToRgb32Row2 = I420ToRgbRow2<4, false>;
    t.i420ToArgbRow2 = I420ToRgbRow2<4, true>;
#endif
#if HWY_TARGET == HWY_AVX2 || HWY_TARGET == HWY_SSE4
    t.rgb32ToI420Row2 = RgbToI420Row2Narrow<4, false>;
    t.rgb32ToI420AlphaRow2 = RgbToI420Row2Narrow<4, true>;
#else
    t.rgb32ToI420Row2 = RgbToI420Row2<4, false>;
    t.rgb32ToI420AlphaRow2 = RgbToI420Row2<4, true>;
#endif
    t.i420ToPackedRow = I420ToPackedRow;
    t.packedToI420Row2 = PackedToI420Row2;
    t.swapBytePairsRow = SwapBytePairsRow;
#else
    (void)t;
#endif
}

} // namespace HWY_NAMESPACE
} // namespace dpconv
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace dpconv {
SimdFillers<ConvertKernels> ConvertSimdFillers() { return DP_SIMD_FILLERS(ConvertKernels, FillConvert); }
} // namespace dpconv
#endif
