#include "ImageConvert.h"

#include "ImageConvertKernels.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

using dpconv::GetConvertKernels;

namespace {

// Preconditions of the converters stop the program in every build type; the
// message names the condition, the function and this file with the line.
[[noreturn]] void ConvertAssertFailed(const char* condition, const char* function, int line)
{
    std::fprintf(stderr, "Assertion failed: (%s), function %s, file %s, line %d.\n", condition, function,
                 "Common/Image/ImageConvert.cpp", line);
    std::fflush(stderr);
    std::abort();
}

} // namespace

// CONVERT_ASSERT_TEXT evaluates `cond` and reports `text`: used where the
// reported condition is evaluated in wider arithmetic than it reads.
#define CONVERT_ASSERT_TEXT(cond, text)                                                                       \
    do {                                                                                                      \
        if (!(cond))                                                                                          \
            ConvertAssertFailed(text, __func__, __LINE__);                                                    \
    } while (0)
#define CONVERT_ASSERT(cond) CONVERT_ASSERT_TEXT(cond, #cond)

namespace {

// Row length of a 24-bit bitmap: padded to whole 32-bit words.
ptrdiff_t RowBytes24(int width) { return ((static_cast<ptrdiff_t>(width) * 24 + 31) & ~ptrdiff_t{31}) / 8; }

ptrdiff_t RowBytes32(int width) { return static_cast<ptrdiff_t>(width) * 4; }

// Picture row y (0 = top) of a bitmap of `height` rows: bottom-up bitmaps
// keep the top row last in memory.
unsigned char* BitmapRow(unsigned char* bits, ptrdiff_t rowBytes, int height, int y, bool topDown)
{
    return bits + (topDown ? static_cast<ptrdiff_t>(y) : static_cast<ptrdiff_t>(height) - 1 - y) * rowBytes;
}

unsigned char* PlaneRow(unsigned char* plane, int pitch, int row)
{
    return plane + static_cast<ptrdiff_t>(row) * pitch;
}

// Planes to bitmap over biWidth x biHeight rounded down to even.
void PlanesToBitmap(const BITMAPINFOHEADER* bmi, unsigned char* bits, unsigned char* pY, unsigned char* pU,
                    unsigned char* pV, int nPitchY, int nPitchU, int nPitchV, ptrdiff_t rowBytes,
                    dpconv::I420ToRgbRow2Fn kernel)
{
    if (bmi->biWidth <= 0 || bmi->biHeight <= 0)
        return;
    const int height = bmi->biHeight;
    const int pairs = bmi->biWidth / 2;
    for (int y = 0; y + 1 < height; y += 2) {
        kernel(PlaneRow(pY, nPitchY, y), PlaneRow(pY, nPitchY, y + 1), PlaneRow(pU, nPitchU, y / 2),
               PlaneRow(pV, nPitchV, y / 2), BitmapRow(bits, rowBytes, height, y, false),
               BitmapRow(bits, rowBytes, height, y + 1, false), pairs);
    }
}

// Bitmap to planes with the 14-bit formulas. Rows go two at a time; an odd
// last row is passed as both rows of its pair, which makes the chroma the
// mean of each horizontal pair ((2a + 2b) >> 2 == (a + b) >> 1) and writes
// each Y twice to the same byte.
void BitmapToPlanes(unsigned char* pY, unsigned char* pU, unsigned char* pV, unsigned char* pA, int nPitchY,
                    int nPitchU, int nPitchV, const BITMAPINFOHEADER* bmi, unsigned char* bits, int bpp, bool topDown,
                    dpconv::RgbToI420Row2Fn kernel)
{
    const int width = bmi->biWidth;
    const int height = bmi->biHeight;
    if (width <= 0 || height <= 0)
        return;
    const ptrdiff_t rowBytes = bpp == 3 ? RowBytes24(width) : RowBytes32(width);
    const int pairs = width / 2;
    const int last = width - 1;
    for (int y = 0; y < height; y += 2) {
        const bool single = y + 1 == height;
        const unsigned char* s0 = BitmapRow(bits, rowBytes, height, y, topDown);
        const unsigned char* s1 = single ? s0 : BitmapRow(bits, rowBytes, height, y + 1, topDown);
        unsigned char* y0 = PlaneRow(pY, nPitchY, y);
        unsigned char* y1 = single ? y0 : y0 + nPitchY;
        unsigned char* a0 = pA ? PlaneRow(pA, nPitchY, y) : nullptr;
        unsigned char* a1 = pA && !single ? a0 + nPitchY : a0;
        unsigned char* u = PlaneRow(pU, nPitchU, y / 2);
        unsigned char* v = PlaneRow(pV, nPitchV, y / 2);
        kernel(s0, s1, y0, y1, u, v, a0, a1, pairs);
        if (width & 1) {
            // The last column of the pair of rows: Y for both pixels and the
            // chroma mean of the two.
            const unsigned char* p0 = s0 + static_cast<ptrdiff_t>(last) * bpp;
            const unsigned char* p1 = s1 + static_cast<ptrdiff_t>(last) * bpp;
            int ya, ua, va, yb, ub, vb;
            dpconv::RgbToYuv14(p0[2], p0[1], p0[0], ya, ua, va);
            dpconv::RgbToYuv14(p1[2], p1[1], p1[0], yb, ub, vb);
            y0[last] = static_cast<unsigned char>(ya);
            y1[last] = static_cast<unsigned char>(yb);
            // Kept deliberately: the Y is copied into the byte after the last
            // column as well, so a plane whose pitch is the width rounded up
            // to even has its padding column filled. Done only when that byte
            // lies in the same row; otherwise it would be the first pixel of
            // the next row or lie past the plane.
            if (nPitchY > width) {
                y0[width] = y0[last];
                y1[width] = y1[last];
            }
            u[last / 2] = static_cast<unsigned char>((ua + ub) >> 1);
            v[last / 2] = static_cast<unsigned char>((va + vb) >> 1);
            if (pA) {
                a0[last] = p0[3];
                a1[last] = p1[3];
            }
        }
    }
}

} // namespace

// ---------------------------------------------------------------------------
// Planes to bitmap.

void Yuv420_2_rgb24(BITMAPINFOHEADER* lpDstBmi, unsigned char* lpDstBits, unsigned char* pY, unsigned char* pU,
                    unsigned char* pV, int nPitchY, int nPitchU, int nPitchV)
{
    CONVERT_ASSERT(lpDstBmi && lpDstBmi->biBitCount == 24);
    CONVERT_ASSERT(lpDstBits && pY && pU && pV);
    PlanesToBitmap(lpDstBmi, lpDstBits, pY, pU, pV, nPitchY, nPitchU, nPitchV, RowBytes24(lpDstBmi->biWidth),
                   GetConvertKernels().i420ToRgb24Row2);
}

void Yuv420_2_rgb32(BITMAPINFOHEADER* lpDstBmi, unsigned char* lpDstBits, unsigned char* pY, unsigned char* pU,
                    unsigned char* pV, int nPitchY, int nPitchU, int nPitchV)
{
    CONVERT_ASSERT(lpDstBmi && lpDstBmi->biBitCount == 32);
    CONVERT_ASSERT(lpDstBits && pY && pU && pV);
    PlanesToBitmap(lpDstBmi, lpDstBits, pY, pU, pV, nPitchY, nPitchU, nPitchV, RowBytes32(lpDstBmi->biWidth),
                   GetConvertKernels().i420ToRgb32Row2);
}

void Yuv420_2_Argb(BITMAPINFOHEADER* lpDstBmi, unsigned char* lpDstBits, unsigned char* pY, unsigned char* pU,
                   unsigned char* pV, int nPitchY, int nPitchU, int nPitchV)
{
    CONVERT_ASSERT(lpDstBmi && lpDstBmi->biBitCount == 32);
    CONVERT_ASSERT(lpDstBits && pY && pU && pV);
    PlanesToBitmap(lpDstBmi, lpDstBits, pY, pU, pV, nPitchY, nPitchU, nPitchV, RowBytes32(lpDstBmi->biWidth),
                   GetConvertKernels().i420ToArgbRow2);
}

int Yuv420_2_rgb24Simple(BITMAPINFOHEADER* lpDstBmi, unsigned char* lpDstBits, unsigned char* pY,
                         unsigned char* pU, unsigned char* pV, int nPitchY, int nPitchU, int nPitchV)
{
    if (!lpDstBmi || !lpDstBits || !pY || !pU || !pV || lpDstBmi->biWidth <= 0 || lpDstBmi->biHeight <= 0)
        return 0;
    const int height = lpDstBmi->biHeight;
    const int w = lpDstBmi->biWidth & ~1;
    const int h = height & ~1;
    const ptrdiff_t rowBytes = RowBytes24(lpDstBmi->biWidth);
    int y = 0;
    for (; y < h; y += 2) {
        const unsigned char* rowsY[2] = {PlaneRow(pY, nPitchY, y), PlaneRow(pY, nPitchY, y + 1)};
        const unsigned char* u = PlaneRow(pU, nPitchU, y / 2);
        const unsigned char* v = PlaneRow(pV, nPitchV, y / 2);
        unsigned char* rowsDst[2] = {BitmapRow(lpDstBits, rowBytes, height, y, false),
                                     BitmapRow(lpDstBits, rowBytes, height, y + 1, false)};
        for (int x = 0; x < w; x += 2) {
            for (int r = 0; r < 2; ++r) {
                for (int c = 0; c < 2; ++c) {
                    int R, G, B;
                    PixelYUV_2_RGB(rowsY[r][x + c], u[x / 2], v[x / 2], R, G, B);
                    unsigned char* d = rowsDst[r] + static_cast<ptrdiff_t>(x + c) * 3;
                    d[0] = static_cast<unsigned char>(B);
                    d[1] = static_cast<unsigned char>(G);
                    d[2] = static_cast<unsigned char>(R);
                }
            }
        }
    }
    return y;
}

// ---------------------------------------------------------------------------
// Bitmap to planes.

void Rgb24_2_yuv420(unsigned char* pY, unsigned char* pU, unsigned char* pV, int nPitchY, int nPitchU, int nPitchV,
                    BITMAPINFOHEADER* lpSrcBmi, unsigned char* lpSrcBits)
{
    CONVERT_ASSERT(lpSrcBmi && lpSrcBmi->biBitCount == 24);
    CONVERT_ASSERT(lpSrcBits && pY && pU && pV);
    BitmapToPlanes(pY, pU, pV, nullptr, nPitchY, nPitchU, nPitchV, lpSrcBmi, lpSrcBits, 3, false,
                   GetConvertKernels().rgb24ToI420Row2);
}

void Rgb32_2_yuv420(unsigned char* pY, unsigned char* pU, unsigned char* pV, int nPitchY, int nPitchU, int nPitchV,
                    BITMAPINFOHEADER* lpSrcBmi, unsigned char* lpSrcBits)
{
    CONVERT_ASSERT(lpSrcBmi && lpSrcBmi->biBitCount == 32);
    CONVERT_ASSERT(lpSrcBits && pY && pU && pV);
    BitmapToPlanes(pY, pU, pV, nullptr, nPitchY, nPitchU, nPitchV, lpSrcBmi, lpSrcBits, 4, false,
                   GetConvertKernels().rgb32ToI420Row2);
}

void Argb_2_yuv420(unsigned char* pY, unsigned char* pU, unsigned char* pV, int nPitchY, int nPitchU, int nPitchV,
                   BITMAPINFOHEADER* lpSrcBmi, unsigned char* lpSrcBits)
{
    CONVERT_ASSERT(lpSrcBmi && lpSrcBmi->biBitCount == 32);
    CONVERT_ASSERT(lpSrcBits && pY && pU && pV);
    BitmapToPlanes(pY, pU, pV, nullptr, nPitchY, nPitchU, nPitchV, lpSrcBmi, lpSrcBits, 4, true,
                   GetConvertKernels().rgb32ToI420Row2);
}

void Rgb32_2_yuv420A(unsigned char* pY, unsigned char* pU, unsigned char* pV, unsigned char* pA, int nPitchY,
                     int nPitchU, int nPitchV, BITMAPINFOHEADER* lpSrcBmi, unsigned char* lpSrcBits)
{
    CONVERT_ASSERT(lpSrcBmi && lpSrcBmi->biBitCount == 32);
    CONVERT_ASSERT(lpSrcBits && pY && pU && pV);
    // Without an alpha plane the call is a plain Rgb32_2_yuv420.
    const dpconv::ConvertKernels& k = GetConvertKernels();
    BitmapToPlanes(pY, pU, pV, pA, nPitchY, nPitchU, nPitchV, lpSrcBmi, lpSrcBits, 4, false,
                   pA ? k.rgb32ToI420AlphaRow2 : k.rgb32ToI420Row2);
}

int Rgb24_2_yuv420Simple(unsigned char* pY, unsigned char* pU, unsigned char* pV, int nPitchY, int nPitchU,
                         int nPitchV, BITMAPINFOHEADER* lpSrcBmi, unsigned char* lpSrcBits)
{
    if (!lpSrcBmi || !lpSrcBits || !pY || !pU || !pV || lpSrcBmi->biWidth <= 0 || lpSrcBmi->biHeight <= 0)
        return 0;
    const int height = lpSrcBmi->biHeight;
    const int w = lpSrcBmi->biWidth & ~1;
    const int h = height & ~1;
    const ptrdiff_t rowBytes = RowBytes24(lpSrcBmi->biWidth);
    int y = 0;
    for (; y < h; y += 2) {
        // The current bitmap row and the one a row length below it in memory.
        const unsigned char* rowsSrc[2] = {BitmapRow(lpSrcBits, rowBytes, height, y, false),
                                           BitmapRow(lpSrcBits, rowBytes, height, y + 1, false)};
        unsigned char* rowsY[2] = {PlaneRow(pY, nPitchY, y), PlaneRow(pY, nPitchY, y + 1)};
        unsigned char* u = PlaneRow(pU, nPitchU, y / 2);
        unsigned char* v = PlaneRow(pV, nPitchV, y / 2);
        for (int x = 0; x < w; x += 2) {
            int sumU = 0, sumV = 0;
            for (int r = 0; r < 2; ++r) {
                for (int c = 0; c < 2; ++c) {
                    const unsigned char* s = rowsSrc[r] + static_cast<ptrdiff_t>(x + c) * 3;
                    int Y, U, V;
                    PixelRGB_2_YUV(s[2], s[1], s[0], Y, U, V);
                    rowsY[r][x + c] = static_cast<unsigned char>(Y);
                    sumU += U;
                    sumV += V;
                }
            }
            u[x / 2] = static_cast<unsigned char>(sumU >> 2);
            v[x / 2] = static_cast<unsigned char>(sumV >> 2);
        }
    }
    return y;
}

// ---------------------------------------------------------------------------
// Packed 4:2:2.

namespace {

// Byte offsets of Y0 and of the first chroma byte in a packed group.
inline int PackedY0(int bYUY2) { return bYUY2 ? 0 : 1; }
inline int PackedU(int bYUY2) { return bYUY2 ? 1 : 0; }
inline int PackedV(int bYUY2) { return bYUY2 ? 3 : 2; }

} // namespace

void Rgb24_2_YUY2(unsigned char* lpBitsDst, int nPitchDst, int xDst, int yDst, int cxDst, int cyDst, int bYUY2,
                  unsigned char* lpBitsSrc, int nPitchSrc, int xSrc, int ySrc, int /*nReserved*/)
{
    CONVERT_ASSERT(lpBitsDst && lpBitsSrc);
    CONVERT_ASSERT_TEXT((static_cast<int64_t>(xDst) + cxDst) * 2 <= nPitchDst, "(xDst + cxDst) * 2 <= nPitchDst");
    CONVERT_ASSERT_TEXT(static_cast<int64_t>(nPitchSrc / 3) - xSrc >= cxDst, "nPitchSrc / 3 - xSrc >= cxDst");
    if (cxDst <= 0 || cyDst <= 0 || xDst < 0 || yDst < 0 || xSrc < 0 || ySrc < 0)
        return;
    const dpconv::Rgb24ToPackedRowFn kernel = GetConvertKernels().rgb24ToPackedRow;
    const int last = cxDst - 1;
    for (int r = 0; r < cyDst; ++r) {
        const unsigned char* src = PlaneRow(lpBitsSrc, nPitchSrc, ySrc + r) + static_cast<ptrdiff_t>(xSrc) * 3;
        unsigned char* dst = PlaneRow(lpBitsDst, nPitchDst, yDst + r) + static_cast<ptrdiff_t>(xDst) * 2;
        kernel(src, dst, cxDst / 2, bYUY2);
        if (cxDst & 1) {
            // A lone last pixel makes a half group: its Y and its own U.
            const unsigned char* s = src + static_cast<ptrdiff_t>(last) * 3;
            int Y, U, V;
            dpconv::RgbToYuv14(s[2], s[1], s[0], Y, U, V);
            unsigned char* d = dst + static_cast<ptrdiff_t>(last) * 2;
            d[PackedY0(bYUY2)] = static_cast<unsigned char>(Y);
            d[PackedU(bYUY2)] = static_cast<unsigned char>(U);
        }
    }
}

void YUY2_2_Rgb24(unsigned char* lpBitsDst, int nPitchDst, int xDst, int yDst, int cxDst, int cyDst, int bYUY2,
                  unsigned char* lpBitsSrc, int nPitchSrc, int xSrc, int ySrc, int /*nReserved*/)
{
    CONVERT_ASSERT(lpBitsDst && lpBitsSrc);
    if (cxDst <= 0 || cyDst <= 0 || xDst < 0 || yDst < 0 || xSrc < 0 || ySrc < 0)
        return;
    const dpconv::PackedToRgb24RowFn kernel = GetConvertKernels().packedToRgb24Row;
    const int last = cxDst - 1;
    for (int r = 0; r < cyDst; ++r) {
        const unsigned char* src = PlaneRow(lpBitsSrc, nPitchSrc, ySrc + r) + static_cast<ptrdiff_t>(xSrc) * 2;
        unsigned char* dst = PlaneRow(lpBitsDst, nPitchDst, yDst + r) + static_cast<ptrdiff_t>(xDst) * 3;
        kernel(src, dst, cxDst / 2, bYUY2);
        if (cxDst & 1) {
            // The last pixel is the first of its group and takes the group's
            // chroma.
            const unsigned char* g = src + static_cast<ptrdiff_t>(last) * 2;
            dpconv::StoreBgr13(dst + static_cast<ptrdiff_t>(last) * 3, g[PackedY0(bYUY2)],
                               dpconv::MakeChromaTerms13(g[PackedU(bYUY2)], g[PackedV(bYUY2)]));
        }
    }
}

void YUY2_Blt_fast(unsigned char* pDst, int nPitchDst, int /*nUnused1*/, int /*nUnused2*/, int cx, int cy,
                   int bDstYUY2, unsigned char* pSrc, int nPitchSrc, int bSrcYUY2, int x, int y)
{
    if (!pDst || !pSrc || cx <= 0 || cy <= 0 || x < 0 || y < 0)
        return;
    const bool sameOrder = (bDstYUY2 != 0) == (bSrcYUY2 != 0);
    const dpconv::SwapBytePairsRowFn swap = GetConvertKernels().swapBytePairsRow;
    const size_t rowBytes = static_cast<size_t>(cx) * 2;
    for (int r = y; r < y + cy; ++r) {
        const unsigned char* s = PlaneRow(pSrc, nPitchSrc, r) + static_cast<ptrdiff_t>(x) * 2;
        unsigned char* d = PlaneRow(pDst, nPitchDst, r) + static_cast<ptrdiff_t>(x) * 2;
        if (sameOrder)
            std::memmove(d, s, rowBytes);
        else
            swap(s, d, cx);
    }
}

void YV12_Blt_fast(unsigned char* pDstY, unsigned char* pDstU, unsigned char* pDstV, int nPitchDstY,
                   int nPitchDstU, int nPitchDstV, int cx, int cy, unsigned char* pSrcY, unsigned char* pSrcU,
                   unsigned char* pSrcV, int nPitchSrcY, int nPitchSrcU, int nPitchSrcV, int x, int y)
{
    if (!pDstY || !pDstU || !pDstV || !pSrcY || !pSrcU || !pSrcV || cx <= 0 || cy <= 0 || x < 0 || y < 0)
        return;
    const size_t lumaBytes = static_cast<size_t>(cx);
    const size_t chromaBytes = static_cast<size_t>((cx + 1) / 2);
    const int xc = (x + 1) / 2;
    const int yc = (y + 1) / 2;
    const int steps = (cy + 1) / 2;
    for (int i = 0; i < steps; ++i) {
        const int r = y + 2 * i;
        std::memmove(PlaneRow(pDstY, nPitchDstY, r) + x, PlaneRow(pSrcY, nPitchSrcY, r) + x, lumaBytes);
        if (2 * i + 1 < cy)
            std::memmove(PlaneRow(pDstY, nPitchDstY, r + 1) + x, PlaneRow(pSrcY, nPitchSrcY, r + 1) + x, lumaBytes);
        std::memmove(PlaneRow(pDstU, nPitchDstU, yc + i) + xc, PlaneRow(pSrcU, nPitchSrcU, yc + i) + xc,
                     chromaBytes);
        std::memmove(PlaneRow(pDstV, nPitchDstV, yc + i) + xc, PlaneRow(pSrcV, nPitchSrcV, yc + i) + xc,
                     chromaBytes);
    }
}

void YUY2_2_Yuv420(unsigned char* pY, unsigned char* pU, unsigned char* pV, int nPitchY, int nPitchU, int nPitchV,
                   int xDst, int yDst, int cx, int cy, unsigned char* pSrc, int nPitchSrc, int bYUY2,
                   int /*nUnused*/, int ySrc)
{
    if (!pY || !pU || !pV || !pSrc || cx <= 0 || cy <= 0 || xDst < 0 || yDst < 0 || ySrc < 0)
        return;
    const int nPt_V = nPitchV;
    const ptrdiff_t vLimit = static_cast<ptrdiff_t>(ySrc + static_cast<int64_t>(cy)) * nPt_V;
    const dpconv::PackedToI420Row2Fn kernel = GetConvertKernels().packedToI420Row2;
    const int chromaCount = (cx + 1) / 2;
    const int last = cx - 1;
    for (int j = 0; j < cy; j += 2) {
        const bool single = j + 1 == cy;
        const unsigned char* s0 = PlaneRow(pSrc, nPitchSrc, ySrc + j);
        const unsigned char* s1 = single ? s0 : s0 + nPitchSrc;
        unsigned char* y0 = PlaneRow(pY, nPitchY, yDst + j) + xDst;
        unsigned char* y1 = single ? y0 : y0 + nPitchY;
        // V only grows along the row, so testing the last V byte of the row
        // before the row is written is the test of every write in it. The
        // test is made on offsets, before any pointer is formed.
        const ptrdiff_t vRow = static_cast<ptrdiff_t>((yDst + j) / 2) * nPt_V + xDst / 2;
        CONVERT_ASSERT_TEXT(vRow + (chromaCount - 1) <= vLimit, "(char*)V <= ((char*)pV + (ySrc + cy) * nPt_V)");
        unsigned char* u = PlaneRow(pU, nPitchU, (yDst + j) / 2) + xDst / 2;
        unsigned char* v = pV + vRow;
        kernel(s0, s1, y0, y1, u, v, cx / 2, bYUY2);
        if (cx & 1) {
            const unsigned char* g0 = s0 + static_cast<ptrdiff_t>(last) * 2;
            const unsigned char* g1 = s1 + static_cast<ptrdiff_t>(last) * 2;
            y0[last] = g0[PackedY0(bYUY2)];
            y1[last] = g1[PackedY0(bYUY2)];
            u[last / 2] = static_cast<unsigned char>((g0[PackedU(bYUY2)] + g1[PackedU(bYUY2)]) >> 1);
            v[last / 2] = static_cast<unsigned char>((g0[PackedV(bYUY2)] + g1[PackedV(bYUY2)]) >> 1);
        }
    }
}

void Yuv420_2_YUY2(unsigned char* pDst, int nPitchDst, int /*nUnused*/, int yDst, int cx, int cy, int bYUY2,
                   unsigned char* pY, unsigned char* pU, unsigned char* pV, int nPitchY, int nPitchU, int nPitchV,
                   int xSrc, int ySrc)
{
    if (!pDst || !pY || !pU || !pV || cx <= 0 || cy <= 0 || yDst < 0 || xSrc < 0 || ySrc < 0)
        return;
    const dpconv::I420ToPackedRowFn kernel = GetConvertKernels().i420ToPackedRow;
    const int last = cx - 1;
    for (int j = 0; j < cy; j += 2) {
        const int r = ySrc + j;
        const unsigned char* u = PlaneRow(pU, nPitchU, r / 2) + xSrc / 2;
        const unsigned char* v = PlaneRow(pV, nPitchV, r / 2) + xSrc / 2;
        for (int k = 0; k < 2 && j + k < cy; ++k) {
            const unsigned char* y = PlaneRow(pY, nPitchY, r + k) + xSrc;
            unsigned char* d = PlaneRow(pDst, nPitchDst, yDst + j + k);
            kernel(y, u, v, d, cx / 2, bYUY2);
            if (cx & 1) {
                // Half group for a lone last pixel: its Y and the block's U.
                unsigned char* g = d + static_cast<ptrdiff_t>(last) * 2;
                g[PackedY0(bYUY2)] = y[last];
                g[PackedU(bYUY2)] = u[last / 2];
            }
        }
    }
}

// ---------------------------------------------------------------------------
// Single pixels, 10-bit fixed point: 263, 516, 100 = 0.257, 0.504, 0.098 x
// 1024 and so on. 16896 = (16 + 0.5) x 1024 and 131584 = (128 + 0.5) x 1024
// add offset and rounding in one; the reverse offsets fold -16 and -128 with
// +512 for rounding (e.g. 227712 = 1192 x 16 + 1634 x 128 - 512). The sums
// are formed in 64 bits so that no int argument can overflow them.

namespace {

inline int ClampInt(long long v, int lo, int hi) { return static_cast<int>(v < lo ? lo : (v > hi ? hi : v)); }

} // namespace

void PixelRGB_2_YUV(int R, int G, int B, int& Y, int& U, int& V)
{
    const long long r = R, g = G, b = B;
    Y = ClampInt((263 * r + 516 * g + 100 * b + 16896) >> 10, 16, 235);
    U = ClampInt((-152 * r - 298 * g + 450 * b + 131584) >> 10, 16, 240);
    V = ClampInt((450 * r - 377 * g - 73 * b + 131584) >> 10, 16, 240);
}

void PixelYUV_2_RGB(int Y, int U, int V, int& R, int& G, int& B)
{
    const long long y = Y, u = U, v = V;
    R = ClampInt((1192 * y + 1634 * v - 227712) >> 10, 0, 255);
    G = ClampInt((1192 * y - 833 * v - 401 * u + 139392) >> 10, 0, 255);
    B = ClampInt((1192 * y + 2065 * u - 282880) >> 10, 0, 255);
}
