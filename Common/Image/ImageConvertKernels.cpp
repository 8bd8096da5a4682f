#include "ImageConvertKernels.h"

#include "KernelDispatch.h"

namespace dpconv {

namespace {

// Byte positions inside a two-pixel group of packed 4:2:2.
struct PackedOrder {
    int y0, u, y1, v;
};

inline PackedOrder OrderOf(int bYUY2)
{
    return bYUY2 ? PackedOrder{0, 1, 2, 3} : PackedOrder{1, 0, 3, 2};
}

// Bitmap rows to planes. Bpp is 3 or 4; with WithAlpha the fourth byte of
// every pixel goes to a0/a1.
template <int Bpp, bool WithAlpha>
void RgbToI420Row2_C(const uint8_t* src0, const uint8_t* src1, uint8_t* y0, uint8_t* y1, uint8_t* u, uint8_t* v,
                     uint8_t* a0, uint8_t* a1, int pairs)
{
    for (int i = 0; i < pairs; ++i) {
        const uint8_t* p[4] = {src0, src0 + Bpp, src1, src1 + Bpp};
        int yy[4], uu[4], vv[4];
        for (int k = 0; k < 4; ++k)
            RgbToYuv14(p[k][2], p[k][1], p[k][0], yy[k], uu[k], vv[k]);
        y0[0] = static_cast<uint8_t>(yy[0]);
        y0[1] = static_cast<uint8_t>(yy[1]);
        y1[0] = static_cast<uint8_t>(yy[2]);
        y1[1] = static_cast<uint8_t>(yy[3]);
        // Truncated mean of the block; the +128 of each value sums to 512,
        // a multiple of 4, so it passes through the shift unchanged.
        u[i] = static_cast<uint8_t>((uu[0] + uu[1] + uu[2] + uu[3]) >> 2);
        v[i] = static_cast<uint8_t>((vv[0] + vv[1] + vv[2] + vv[3]) >> 2);
        if (WithAlpha) {
            a0[0] = src0[3];
            a0[1] = src0[3 + Bpp];
            a1[0] = src1[3];
            a1[1] = src1[3 + Bpp];
            a0 += 2;
            a1 += 2;
        }
        src0 += 2 * Bpp;
        src1 += 2 * Bpp;
        y0 += 2;
        y1 += 2;
    }
}

// Planes to bitmap rows. Bpp is 3 or 4; Alpha255 writes 255 into the fourth
// byte, otherwise a fourth byte is left as it was.
template <int Bpp, bool Alpha255>
void I420ToRgbRow2_C(const uint8_t* y0, const uint8_t* y1, const uint8_t* u, const uint8_t* v, uint8_t* dst0,
                     uint8_t* dst1, int pairs)
{
    for (int i = 0; i < pairs; ++i) {
        const ChromaTerms13 c = MakeChromaTerms13(u[i], v[i]);
        StoreBgr13(dst0, y0[0], c);
        StoreBgr13(dst0 + Bpp, y0[1], c);
        StoreBgr13(dst1, y1[0], c);
        StoreBgr13(dst1 + Bpp, y1[1], c);
        if (Alpha255) {
            dst0[3] = dst0[3 + Bpp] = 255;
            dst1[3] = dst1[3 + Bpp] = 255;
        }
        y0 += 2;
        y1 += 2;
        dst0 += 2 * Bpp;
        dst1 += 2 * Bpp;
    }
}

void Rgb24ToPackedRow_C(const uint8_t* src, uint8_t* dst, int pairs, int bYUY2)
{
    const PackedOrder o = OrderOf(bYUY2);
    for (int i = 0; i < pairs; ++i) {
        int ya, ua, va, yb, ub, vb;
        RgbToYuv14(src[2], src[1], src[0], ya, ua, va);
        RgbToYuv14(src[5], src[4], src[3], yb, ub, vb);
        dst[o.y0] = static_cast<uint8_t>(ya);
        dst[o.y1] = static_cast<uint8_t>(yb);
        dst[o.u] = static_cast<uint8_t>((ua + ub) >> 1);
        dst[o.v] = static_cast<uint8_t>((va + vb) >> 1);
        src += 6;
        dst += 4;
    }
}

void PackedToRgb24Row_C(const uint8_t* src, uint8_t* dst, int pairs, int bYUY2)
{
    const PackedOrder o = OrderOf(bYUY2);
    for (int i = 0; i < pairs; ++i) {
        const ChromaTerms13 c = MakeChromaTerms13(src[o.u], src[o.v]);
        StoreBgr13(dst, src[o.y0], c);
        StoreBgr13(dst + 3, src[o.y1], c);
        src += 4;
        dst += 6;
    }
}

void PackedToI420Row2_C(const uint8_t* src0, const uint8_t* src1, uint8_t* y0, uint8_t* y1, uint8_t* u,
                        uint8_t* v, int pairs, int bYUY2)
{
    const PackedOrder o = OrderOf(bYUY2);
    for (int i = 0; i < pairs; ++i) {
        y0[0] = src0[o.y0];
        y0[1] = src0[o.y1];
        y1[0] = src1[o.y0];
        y1[1] = src1[o.y1];
        u[i] = static_cast<uint8_t>((src0[o.u] + src1[o.u]) >> 1);
        v[i] = static_cast<uint8_t>((src0[o.v] + src1[o.v]) >> 1);
        src0 += 4;
        src1 += 4;
        y0 += 2;
        y1 += 2;
    }
}

void I420ToPackedRow_C(const uint8_t* y, const uint8_t* u, const uint8_t* v, uint8_t* dst, int pairs, int bYUY2)
{
    const PackedOrder o = OrderOf(bYUY2);
    for (int i = 0; i < pairs; ++i) {
        dst[o.y0] = y[0];
        dst[o.y1] = y[1];
        dst[o.u] = u[i];
        dst[o.v] = v[i];
        y += 2;
        dst += 4;
    }
}

void SwapBytePairsRow_C(const uint8_t* src, uint8_t* dst, int pairs)
{
    for (int i = 0; i < pairs; ++i) {
        const uint8_t b0 = src[0];
        const uint8_t b1 = src[1];
        dst[0] = b1;
        dst[1] = b0;
        src += 2;
        dst += 2;
    }
}

constexpr ConvertKernels kReferenceKernels = {
    RgbToI420Row2_C<3, false>,
    RgbToI420Row2_C<4, false>,
    RgbToI420Row2_C<4, true>,
    I420ToRgbRow2_C<3, false>,
    I420ToRgbRow2_C<4, false>,
    I420ToRgbRow2_C<4, true>,
    Rgb24ToPackedRow_C,
    PackedToRgb24Row_C,
    PackedToI420Row2_C,
    I420ToPackedRow_C,
    SwapBytePairsRow_C,
};

} // namespace

const ConvertKernels& ReferenceConvertKernels() { return kReferenceKernels; }

#if !DP_HAVE_HIGHWAY
SimdFillers<ConvertKernels> ConvertSimdFillers() { return {}; }
#endif

const ConvertKernels& GetConvertKernels()
{
    static const KernelLadder<ConvertKernels> ladder(kReferenceKernels, ConvertSimdFillers());
    return ladder.Get();
}

} // namespace dpconv
