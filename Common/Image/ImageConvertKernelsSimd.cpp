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
    t.i420ToRgb24Row2 = I420ToRgbRow2<3, false>;
    t.rgb24ToI420Row2 = RgbToI420Row2<3, false>;
    t.rgb24ToPackedRow = Rgb24ToPackedRow;
    t.packedToRgb24Row = PackedToRgb24Row;
#endif
    t.i420ToRgb32Row2 = I420ToRgbRow2<4, false>;
    t.i420ToArgbRow2 = I420ToRgbRow2<4, true>;
    t.rgb32ToI420Row2 = RgbToI420Row2<4, false>;
    t.rgb32ToI420AlphaRow2 = RgbToI420Row2<4, true>;
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
