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

// One bitmap row from a Y row and the chroma terms of its pixels.
template <int Bpp, bool Alpha255>
HWY_INLINE void StoreRow(const uint8_t* y, uint8_t* dst, VI rv, VI gv, VI bv)
{
    const D8 d8;
    const VI y9 = hn::Mul(Widen(hn::LoadU(d8, y)), K(9536));
    const V8 b = Narrow(hn::ShiftRight<13>(hn::Add(bv, y9)));
    const V8 g = Narrow(hn::ShiftRight<13>(hn::Add(gv, y9)));
    const V8 r = Narrow(hn::ShiftRight<13>(hn::Add(rv, y9)));
    hn::StoreInterleaved3(b, g, r, d8, dst);
}

// 32-bit pixels are formed whole in 32-bit lanes: blue | green << 8 |
// red << 16 | the fourth byte (255, or the byte the pixel held).
template <bool Alpha255>
HWY_INLINE void StoreRow32(const uint8_t* y, uint8_t* dst, VI rv, VI gv, VI bv)
{
    const DI di;
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
    // n lie inside the row.
    for (; i + n <= pairs; i += n / 2) {
        // Each chroma sample stands for two pixels: duplicate the bytes.
        const V8 u8 = hn::LoadU(d8, u + i), v8 = hn::LoadU(d8, v + i);
        const VI U = Widen(hn::InterleaveLower(d8, u8, u8)), V = Widen(hn::InterleaveLower(d8, v8, v8));
        // The reference's terms: 13074 v - 1826095, -3203 u - 6660 v + 1109918, 16532 u - 2268594.
        const VI rv = hn::Sub(hn::Mul(V, K(13074)), K(1826095));
        const VI gv = hn::Add(hn::Sub(hn::Mul(U, K(-3203)), hn::Mul(V, K(6660))), K(1109918));
        const VI bv = hn::Sub(hn::Mul(U, K(16532)), K(2268594));
        if (Bpp == 3) {
            StoreRow<Bpp, Alpha255>(y0 + 2 * i, dst0 + 2 * i * Bpp, rv, gv, bv);
            StoreRow<Bpp, Alpha255>(y1 + 2 * i, dst1 + 2 * i * Bpp, rv, gv, bv);
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

struct Rgb {
    VI r, g, b;
    V8 a;
};

template <int Bpp>
HWY_INLINE Rgb LoadPixels(const uint8_t* src)
{
    const D8 d8;
    if (Bpp == 4) {
        // Whole pixels in 32-bit lanes, the bytes taken apart by shifts.
        const DI di;
        const hn::Repartition<uint8_t, DI> dbytes;
        const VI p = hn::BitCast(di, hn::LoadU(dbytes, src));
        const VI m = K(255);
        const hn::RebindToUnsigned<DI> du;
        const V8 a = hn::DemoteTo(d8, hn::BitCast(di, hn::ShiftRight<24>(hn::BitCast(du, p))));
        return Rgb{hn::And(hn::ShiftRight<16>(p), m), hn::And(hn::ShiftRight<8>(p), m), hn::And(p, m), a};
    }
    V8 b, g, r;
    hn::LoadInterleaved3(d8, src, b, g, r);
    return Rgb{Widen(r), Widen(g), Widen(b), hn::Zero(d8)};
}

// Y = ((8258 G + 4211 R + 1606 B) >> 14) + 16.
HWY_INLINE VI Luma(const Rgb& p)
{
    return hn::Add(hn::ShiftRight<14>(hn::Add(hn::Add(hn::Mul(p.g, K(8258)), hn::Mul(p.r, K(4211))), hn::Mul(p.b, K(1606)))),
                   K(16));
}
// U = ((7193 B - (2425 R + 4768 G)) >> 14) + 128.
HWY_INLINE VI ChromaU(const Rgb& p)
{
    return hn::Add(hn::ShiftRight<14>(hn::Sub(hn::Mul(p.b, K(7193)), hn::Add(hn::Mul(p.r, K(2425)), hn::Mul(p.g, K(4768))))),
                   K(128));
}
// V = ((7193 R - (6029 G + 1163 B)) >> 14) + 128.
HWY_INLINE VI ChromaV(const Rgb& p)
{
    return hn::Add(hn::ShiftRight<14>(hn::Sub(hn::Mul(p.r, K(7193)), hn::Add(hn::Mul(p.g, K(6029)), hn::Mul(p.b, K(1163))))),
                   K(128));
}

template <int Bpp, bool WithAlpha>
void RgbToI420Row2(const uint8_t* src0, const uint8_t* src1, uint8_t* y0, uint8_t* y1, uint8_t* u, uint8_t* v,
                   uint8_t* a0, uint8_t* a1, int pairs)
{
    const DI di;
    const D8 d8;
    const int n = static_cast<int>(hn::Lanes(d8)); // a step: 2n pixels of each row, n chroma samples
    int i = 0;
    for (; i + n <= pairs; i += n) {
        VI su[2], sv[2];
        for (int h = 0; h < 2; ++h) {
            const int x = 2 * i + h * n;
            const Rgb p0 = LoadPixels<Bpp>(src0 + x * Bpp), p1 = LoadPixels<Bpp>(src1 + x * Bpp);
            hn::StoreU(Narrow(Luma(p0)), d8, y0 + x);
            hn::StoreU(Narrow(Luma(p1)), d8, y1 + x);
            if (WithAlpha) {
                hn::StoreU(p0.a, d8, a0 + x);
                hn::StoreU(p1.a, d8, a1 + x);
            }
            su[h] = hn::Add(ChromaU(p0), ChromaU(p1));
            sv[h] = hn::Add(ChromaV(p0), ChromaV(p1));
        }
        // The block sums: each pixel pair's two columns added, then >> 2.
        const VI bu = hn::ShiftRight<2>(hn::Add(hn::ConcatEven(di, su[1], su[0]), hn::ConcatOdd(di, su[1], su[0])));
        const VI bv = hn::ShiftRight<2>(hn::Add(hn::ConcatEven(di, sv[1], sv[0]), hn::ConcatOdd(di, sv[1], sv[0])));
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

#endif // DP_SIMD_TARGET_USED

void FillConvert(ConvertKernels& t)
{
#if DP_SIMD_TARGET_USED
    t.i420ToRgb24Row2 = I420ToRgbRow2<3, false>;
    t.i420ToRgb32Row2 = I420ToRgbRow2<4, false>;
    t.i420ToArgbRow2 = I420ToRgbRow2<4, true>;
    t.rgb24ToI420Row2 = RgbToI420Row2<3, false>;
    t.rgb32ToI420Row2 = RgbToI420Row2<4, false>;
    t.rgb32ToI420AlphaRow2 = RgbToI420Row2<4, true>;
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
