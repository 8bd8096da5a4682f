#include <algorithm>
#include <cstddef>
#include <cstdint>

#include "OrvImage.h"
#include "Watermark.h"
#include "WatermarkKernels.h"

namespace {

// Alpha of a watermark pixel scaled by the opacity (integer division).
// 64-bit so that an absurd percentage cannot overflow; for 0..100 it is the
// plain int arithmetic.
inline int64_t ScaledAlpha(const unsigned char* alpha, ptrdiff_t offset, int nPercent)
{
    const int64_t a = alpha ? alpha[offset] : 255;
    return a * nPercent / 100;
}

int64_t Min3(int64_t a, int64_t b, int64_t c)
{
    const int64_t m = a < b ? a : b;
    return m < c ? m : c;
}

// "Over" compositing of a constant-opacity watermark plane onto a region of
// a destination plane of `planeRows` rows. A region reaching past the
// plane's last row is cut at the plane's end (rows past it are dropped, the
// last row is shortened); rows that run past their own end and into the next
// row of the plane are composited as the library does.
void CompositePlane(const unsigned char* mark, int markPitch, Ipp8u opacity, unsigned char* plane, int pitch,
                    int planeRows, int x0, int y0, int width, int height)
{
    if (!mark || !plane || width <= 0 || height <= 0 || pitch <= 0 || x0 < 0 || y0 < 0 || y0 >= planeRows ||
        x0 >= pitch)
        return;
    if (height > planeRows - y0)
        height = planeRows - y0;
    unsigned char* dst = plane + static_cast<ptrdiff_t>(y0) * pitch + x0;
    int fullRows = height;
    int lastWidth = width;
    if (y0 + height == planeRows && x0 + width > pitch) {
        fullRows = height - 1;
        lastWidth = pitch - x0;
    }
    if (fullRows > 0)
        orv_ippiAlphaCompC_8u_C1R(mark, markPitch, opacity, dst, pitch, 255, dst, pitch, IppiSize{width, fullRows},
                                  ippAlphaOver);
    if (fullRows < height) {
        const unsigned char* markRow = mark + static_cast<ptrdiff_t>(fullRows) * markPitch;
        unsigned char* dstRow = dst + static_cast<ptrdiff_t>(fullRows) * pitch;
        orv_ippiAlphaCompC_8u_C1R(markRow, markPitch, opacity, dstRow, pitch, 255, dstRow, pitch,
                                  IppiSize{lastWidth, 1}, ippAlphaOver);
    }
}

void BlendLuma_C(uint8_t* dst, const uint8_t* mark, const uint8_t* alpha, int n, int percent)
{
    for (int c = 0; c < n; ++c) {
        const int64_t a = ScaledAlpha(alpha, c, percent);
        // One division of the sum, unlike AddWaterMark.
        dst[c] = static_cast<unsigned char>((mark[c] * a + dst[c] * (255 - a)) / 255);
    }
}

void BlendChroma_C(uint8_t* dstU, uint8_t* dstV, const uint8_t* markU, const uint8_t* markV, const uint8_t* alpha,
                   int n, int percent)
{
    for (int k = 0; k < n; ++k) {
        const int64_t a = ScaledAlpha(alpha, 2 * static_cast<ptrdiff_t>(k), percent);
        dstU[k] = static_cast<unsigned char>((markU[k] * a + dstU[k] * (255 - a)) / 255);
        dstV[k] = static_cast<unsigned char>((markV[k] * a + dstV[k] * (255 - a)) / 255);
    }
}

void BlendLumaSplit_C(uint8_t* dst, const uint8_t* mark, const uint8_t* alpha, int n, int percent)
{
    for (int c = 0; c < n; ++c) {
        const int64_t a = ScaledAlpha(alpha, c, percent);
        dst[c] = static_cast<unsigned char>(mark[c] * a / 255 + dst[c] * (255 - a) / 255);
    }
}

const WatermarkKernels kWatermarkReference = {BlendLuma_C, BlendChroma_C, BlendLumaSplit_C};

// A watermark placed at (X, Y) of a frame, every plane addressed with its
// width as pitch (AddWaterMark by alignment).
struct AlignedMark {
    MEDIA_FRAME* dst;
    const MEDIA_FRAME* mark;
    int64_t W, X, Y, w, cw, mcw, lumaSize, chromaSize;
    int percent;

    AlignedMark(MEDIA_FRAME* d, const MEDIA_FRAME* mk, int64_t x, int64_t y, int p)
        : dst(d), mark(mk), W(d->nWidth), X(x), Y(y), w(mk->nWidth), cw((W + 1) / 2), mcw((w + 1) / 2),
          lumaSize(W * d->nHeight), chromaSize(cw * ((d->nHeight + 1) / 2)), percent(p)
    {
    }

    // Watermark row r, columns cBegin .. cEnd - 1, pixel by pixel; its
    // chroma (even rows and columns) goes to destination chroma row chromaRow.
    void Pixels(int64_t r, int64_t chromaRow, int64_t cBegin, int64_t cEnd) const
    {
        const ptrdiff_t markOff = static_cast<ptrdiff_t>(r * w);
        const ptrdiff_t markChroma = static_cast<ptrdiff_t>((r / 2) * mcw);
        const int64_t dstRow = (Y + r) * W + X;
        for (int64_t c = cBegin; c < cEnd; ++c) {
            const int64_t a = ScaledAlpha(mark->pAlpha, markOff + c, percent);
            const int64_t off = dstRow + c;
            if (off >= 0 && off < lumaSize) {
                unsigned char& d = dst->pY[off];
                // Two separately truncated quotients, unlike AddWaterMarkEx.
                d = static_cast<unsigned char>(mark->pY[markOff + c] * a / 255 + d * (255 - a) / 255);
            }
            if ((r & 1) == 0 && (c & 1) == 0) {
                const int64_t coff = chromaRow * cw + (X + c) / 2;
                if (coff >= 0 && coff < chromaSize) {
                    unsigned char& u = dst->pU[coff];
                    unsigned char& v = dst->pV[coff];
                    u = static_cast<unsigned char>((mark->pU[markChroma + c / 2] * a + u * (255 - a)) / 255);
                    v = static_cast<unsigned char>((mark->pV[markChroma + c / 2] * a + v * (255 - a)) / 255);
                }
            }
        }
    }

    // True when no destination plane overlaps another plane of either
    // frame (the row kernels then see the reads and writes of the
    // per-pixel loop in the same order).
    bool PlanesApart() const
    {
        const int64_t h = mark->nHeight;
        const int64_t markLuma = w * h, markChroma = mcw * ((h + 1) / 2);
        struct Span {
            uintptr_t at;
            int64_t size;
        };
        auto at = [](const void* p) { return reinterpret_cast<uintptr_t>(p); };
        const Span writes[] = {{at(dst->pY), lumaSize}, {at(dst->pU), chromaSize}, {at(dst->pV), chromaSize}};
        const Span all[] = {writes[0],
                            writes[1],
                            writes[2],
                            {at(mark->pY), markLuma},
                            {at(mark->pU), markChroma},
                            {at(mark->pV), markChroma},
                            {at(mark->pAlpha), mark->pAlpha ? markLuma : 0}};
        for (int i = 0; i < 3; ++i)
            for (int j = 0; j < 7; ++j) {
                if (i == j || writes[i].size <= 0 || all[j].size <= 0)
                    continue;
                const Span& a = writes[i];
                const Span& b = all[j];
                if (a.at < b.at + static_cast<uintptr_t>(b.size) && b.at < a.at + static_cast<uintptr_t>(a.size))
                    return false;
            }
        return true;
    }
};


} // namespace

#if !DP_HAVE_HIGHWAY
SimdFillers<WatermarkKernels> WatermarkSimdFillers() { return {}; }
#endif

const WatermarkKernels& ReferenceWatermarkKernels() { return kWatermarkReference; }

const WatermarkKernels& GetWatermarkKernels()
{
    static const KernelLadder<WatermarkKernels> ladder(kWatermarkReference, WatermarkSimdFillers());
    return ladder.Get();
}

void AddWaterMark(MEDIA_FRAME* pDst, MEDIA_FRAME* pMark, tagRECT* pRect, int nPercent, int nAlign,
                  unsigned int bUseAlpha)
{
    if (pRect) {
        const int64_t cx = int64_t(pRect->right) - pRect->left;
        const int64_t cy = int64_t(pRect->bottom) - pRect->top;
        if (cx > INT32_MAX || cx < INT32_MIN || cy > INT32_MAX || cy < INT32_MIN)
            return;
        AddWaterMarkEx(pDst, pMark, pRect->left, pRect->top, static_cast<int>(cx), static_cast<int>(cy), 0, 0,
                       nPercent, bUseAlpha);
        return;
    }
    if (!pDst || !pMark || !pDst->pY || !pDst->pU || !pDst->pV || !pMark->pY || !pMark->pU || !pMark->pV)
        return;

    const int64_t W = pDst->nWidth, H = pDst->nHeight;
    const int64_t w = pMark->nWidth, h = pMark->nHeight;
    int64_t X = 0, Y = 0;
    switch (nAlign) {
    case WATERMARK_ALIGN_CENTER: X = (W - w) / 2; Y = (H - h) / 2; break;
    case WATERMARK_ALIGN_TOP_LEFT: break;
    case WATERMARK_ALIGN_TOP: X = (W - w) / 2; break;
    case WATERMARK_ALIGN_TOP_RIGHT: X = W - w; break;
    case WATERMARK_ALIGN_LEFT: Y = (H - h) / 2; break;
    case WATERMARK_ALIGN_MIDDLE: X = (W - w) / 2; Y = (H - h) / 2; break;
    case WATERMARK_ALIGN_RIGHT: X = W - w; Y = (H - h) / 2; break;
    case WATERMARK_ALIGN_BOTTOM_LEFT: Y = H - h; break;
    case WATERMARK_ALIGN_BOTTOM: X = (W - w) / 2; Y = H - h; break;
    case WATERMARK_ALIGN_BOTTOM_RIGHT: X = W - w; Y = H - h; break;
    default: break;
    }

    // Every plane is addressed with its width as pitch. No clipping is
    // done (the watermark is meant to fit): a pixel whose address falls
    // outside its destination plane is left out, while a row running past
    // the frame's right edge continues into the next row as it always did.
    const AlignedMark m(pDst, pMark, X, Y, nPercent);
    // The watermark's last row is never drawn (kept deliberately).
    if (DpActiveSimdLevel() == 0 || !m.PlanesApart()) {
        int64_t chromaRow = (Y + 1) / 2;
        for (int64_t r = 0; r + 1 < h; ++r) {
            m.Pixels(r, chromaRow, 0, w);
            if ((r & 1) == 0)
                ++chromaRow;
        }
        return;
    }
    // The same work a row at a time through the row kernels. Columns left
    // of the frame's edge (X + c < 0, a watermark wider than the frame) go
    // pixel by pixel first: there two chroma samples can share an address.
    const WatermarkKernels& k = GetWatermarkKernels();
    const int64_t split = X < 0 ? (-X < w ? -X : w) : 0;
    const int64_t firstEven = split + (split & 1);
    const int64_t chromaCount = firstEven < w ? (w - firstEven + 1) / 2 : 0;
    const unsigned char* markA = pMark->pAlpha;
    int64_t chromaRow = (Y + 1) / 2;
    for (int64_t r = 0; r + 1 < h; ++r) {
        m.Pixels(r, chromaRow, 0, split);
        const int64_t markOff = r * w;
        const int64_t dstRow = (Y + r) * W + X;
        const int64_t lo = std::max(split, -dstRow), hi = std::min(w, m.lumaSize - dstRow);
        if (lo < hi)
            k.blendLumaSplit(pDst->pY + (dstRow + lo), pMark->pY + (markOff + lo),
                             markA ? markA + (markOff + lo) : nullptr, static_cast<int>(hi - lo), nPercent);
        if ((r & 1) == 0 && chromaCount > 0) {
            // Sample j of the row: column c = firstEven + 2j, address
            // start + j (X + c >= 0, so the halves are floors).
            const int64_t start = chromaRow * m.cw + (X + firstEven) / 2;
            const int64_t jLo = std::max<int64_t>(0, -start), jHi = std::min(chromaCount, m.chromaSize - start);
            if (jLo < jHi) {
                const int64_t c = firstEven + 2 * jLo;
                const int64_t markChroma = (r / 2) * m.mcw + c / 2;
                k.blendChroma(pDst->pU + (start + jLo), pDst->pV + (start + jLo), pMark->pU + markChroma,
                              pMark->pV + markChroma, markA ? markA + (markOff + c) : nullptr,
                              static_cast<int>(jHi - jLo), nPercent);
            }
        }
        if ((r & 1) == 0)
            ++chromaRow;
    }
}

void AddWaterMarkEx(MEDIA_FRAME* pDst, MEDIA_FRAME* pMark, int x, int y, int cx, int cy, int xSrc, int ySrc,
                    int nPercent, unsigned int bUseAlpha)
{
    if (!pDst || !pMark || xSrc < 0 || ySrc < 0)
        return;
    if (!pDst->pY || !pDst->pU || !pDst->pV || !pMark->pY || !pMark->pU || !pMark->pV)
        return;
    const int64_t W = pDst->nWidth, H = pDst->nHeight;
    const int64_t w = pMark->nWidth, h = pMark->nHeight;

    int64_t X = x, Y = y, CX = cx, CY = cy, XS = xSrc, YS = ySrc;
    if (CX == -1)
        CX = W;
    if (CY == -1)
        CY = H;
    // Clip at the left and top, then to both frames.
    if (X < 0) {
        CX += X;
        XS -= X;
        X = 0;
    }
    if (Y < 0) {
        CY += Y;
        YS -= Y;
        Y = 0;
    }
    CX = Min3(CX, W - X, w - XS);
    CY = Min3(CY, H - Y, h - YS);
    if (CX <= 0 || CY <= 0)
        return;

    const ptrdiff_t dPitchY = pDst->nPitchY, dPitchU = pDst->nPitchU, dPitchV = pDst->nPitchV;
    const ptrdiff_t mPitchY = pMark->nPitchY, mPitchU = pMark->nPitchU, mPitchV = pMark->nPitchV;

    if (bUseAlpha) {
        // Row by row: the luma row, then (on even destination rows) the
        // chroma samples of its even destination columns, each with the
        // alpha of its luma position.
        const WatermarkKernels& k = GetWatermarkKernels();
        const int64_t c0 = X & 1; // first column with (X + c) even
        const int nChroma = static_cast<int>((CX - c0 + 1) / 2);
        for (int64_t r = 0; r < CY; ++r) {
            const ptrdiff_t markRow = static_cast<ptrdiff_t>((YS + r) * mPitchY + XS);
            const unsigned char* alpha = pMark->pAlpha ? pMark->pAlpha + markRow : nullptr;
            k.blendLuma(pDst->pY + static_cast<ptrdiff_t>((Y + r) * dPitchY + X), pMark->pY + markRow, alpha,
                        static_cast<int>(CX), nPercent);
            if (((Y + r) & 1) == 0 && nChroma > 0) {
                const int64_t mRow = (r + YS) / 2, mCol = (XS + c0) / 2;
                const int64_t dRow = (r + Y) / 2, dCol = (X + c0) / 2;
                k.blendChroma(pDst->pU + dRow * dPitchU + dCol, pDst->pV + dRow * dPitchV + dCol,
                              pMark->pU + mRow * mPitchU + mCol, pMark->pV + mRow * mPitchV + mCol,
                              alpha ? alpha + c0 : nullptr, nChroma, nPercent);
            }
        }
        return;
    }
    // One constant opacity for the whole rectangle. The watermark planes are
    // read from their top-left corner: xSrc and ySrc are not applied here
    // (kept deliberately).
    const Ipp8u k = static_cast<Ipp8u>(static_cast<int64_t>(nPercent) * 255 / 100);
    const int ix = static_cast<int>(X), iy = static_cast<int>(Y), icx = static_cast<int>(CX),
              icy = static_cast<int>(CY);
    CompositePlane(pMark->pY, pMark->nPitchY, k, pDst->pY, pDst->nPitchY, pDst->nHeight, ix, iy, icx, icy);
    const int chromaRows = (pDst->nHeight + 1) / 2;
    CompositePlane(pMark->pU, pMark->nPitchU, k, pDst->pU, pDst->nPitchU, chromaRows, (ix + 1) / 2, (iy + 1) / 2,
                   (icx + 1) / 2, (icy + 1) / 2);
    CompositePlane(pMark->pV, pMark->nPitchV, k, pDst->pV, pDst->nPitchV, chromaRows, (ix + 1) / 2, (iy + 1) / 2,
                   (icx + 1) / 2, (icy + 1) / 2);
}
