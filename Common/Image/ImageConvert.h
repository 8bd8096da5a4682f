// Colour-space conversion between planar YUV 4:2:0, packed 4:2:2 and
// 24- or 32-bit device-independent bitmaps.
//
// Colour model: BT.601 studio range (Y 16..235, U = Cb and V = Cr centred on
// 128). Planes are top-down and always passed in the order Y, U, V with
// their pitches in the same order; U and V are half width and half height
// and addressed with halved luma coordinates.
//
// Bitmaps are described by a BITMAPINFOHEADER: biWidth x biHeight pixels,
// rows bottom-up (the top picture row is the last row in memory), blue,
// green, red byte order. A 24-bit row is padded to a multiple of four bytes
// ((biWidth * 24 + 31) / 32 * 4 bytes); a 32-bit row is biWidth * 4 bytes.
//
// None of the routines allocates or keeps a buffer: the caller owns every
// plane and bitmap and must make them large enough for the sizes given.
//
// Preconditions listed under "Stops on" are always checked, also in release
// builds: a failed one prints
//   Assertion failed: (<condition>), function <name>, file Common/Image/ImageConvert.cpp, line <n>.
// to standard error and aborts the process. Nothing is returned to the
// caller in that case.
#ifndef DATAPROCESS_IMAGECONVERT_H
#define DATAPROCESS_IMAGECONVERT_H

#include "DataProcessExport.h"
#include "WinTypes.h"

// ---------------------------------------------------------------------------
// Planes to bitmap, 13-bit fixed point, 2 x 2 blocks. The converted size is
// biWidth x biHeight rounded down to even; an odd last column or row of the
// bitmap is not written.

// 24-bit bitmap. Stops on "lpDstBmi && lpDstBmi->biBitCount == 24" and
// "lpDstBits && pY && pU && pV".
DP_API void Yuv420_2_rgb24(BITMAPINFOHEADER* lpDstBmi, unsigned char* lpDstBits, unsigned char* pY,
                           unsigned char* pU, unsigned char* pV, int nPitchY, int nPitchU, int nPitchV);

// 32-bit bitmap; writes blue, green and red and leaves the fourth byte of
// every pixel as it was. Stops on "lpDstBmi && lpDstBmi->biBitCount == 32"
// and "lpDstBits && pY && pU && pV".
DP_API void Yuv420_2_rgb32(BITMAPINFOHEADER* lpDstBmi, unsigned char* lpDstBits, unsigned char* pY,
                           unsigned char* pU, unsigned char* pV, int nPitchY, int nPitchU, int nPitchV);

// As Yuv420_2_rgb32, and writes 255 into the fourth byte of every pixel.
DP_API void Yuv420_2_Argb(BITMAPINFOHEADER* lpDstBmi, unsigned char* lpDstBits, unsigned char* pY,
                          unsigned char* pU, unsigned char* pV, int nPitchY, int nPitchU, int nPitchV);

// 24-bit bitmap through PixelYUV_2_RGB, one U and V shared by each 2 x 2
// block. Checks nothing (the header is taken as 24-bit). Returns the number
// of picture rows converted (biHeight rounded down to even; 0 when an
// argument is null or the size is not positive).
DP_API int Yuv420_2_rgb24Simple(BITMAPINFOHEADER* lpDstBmi, unsigned char* lpDstBits, unsigned char* pY,
                                unsigned char* pU, unsigned char* pV, int nPitchY, int nPitchU, int nPitchV);

// ---------------------------------------------------------------------------
// Bitmap to planes, 14-bit fixed point, no clamping. Chroma of a 2 x 2 block
// is the truncated mean of its four values. With an odd width the last
// column is converted per pair of rows: Y for both pixels, chroma the
// truncated mean of the two; its Y is also copied into the byte after it in
// the row when the luma pitch leaves room for it (nPitchY > biWidth). An odd
// last row is converted the same way along the row (chroma the mean of each
// horizontal pair; nothing is written below the last row).

// 24-bit bitmap. Stops on "lpSrcBmi && lpSrcBmi->biBitCount == 24" and
// "lpSrcBits && pY && pU && pV".
DP_API void Rgb24_2_yuv420(unsigned char* pY, unsigned char* pU, unsigned char* pV, int nPitchY, int nPitchU,
                           int nPitchV, BITMAPINFOHEADER* lpSrcBmi, unsigned char* lpSrcBits);

// 32-bit bitmap (fourth byte ignored). Stops on
// "lpSrcBmi && lpSrcBmi->biBitCount == 32" and "lpSrcBits && pY && pU && pV".
DP_API void Rgb32_2_yuv420(unsigned char* pY, unsigned char* pU, unsigned char* pV, int nPitchY, int nPitchU,
                           int nPitchV, BITMAPINFOHEADER* lpSrcBmi, unsigned char* lpSrcBits);

// As Rgb32_2_yuv420 with the rows taken top-down: the first row in memory is
// the top picture row.
DP_API void Argb_2_yuv420(unsigned char* pY, unsigned char* pU, unsigned char* pV, int nPitchY, int nPitchU,
                          int nPitchV, BITMAPINFOHEADER* lpSrcBmi, unsigned char* lpSrcBits);

// As Rgb32_2_yuv420, and copies the fourth byte of every pixel into the
// alpha plane pA at the pixel's position (pA uses nPitchY).
DP_API void Rgb32_2_yuv420A(unsigned char* pY, unsigned char* pU, unsigned char* pV, unsigned char* pA,
                            int nPitchY, int nPitchU, int nPitchV, BITMAPINFOHEADER* lpSrcBmi,
                            unsigned char* lpSrcBits);

// 24-bit bitmap through PixelRGB_2_YUV; chroma of each 2 x 2 block is the
// truncated mean of the four. Only biWidth x biHeight rounded down to even
// is converted: an odd last column or row of the planes is left untouched.
// Checks nothing (the header is taken as 24-bit). Returns the number of
// picture rows converted (0 when an argument is null or the size is not
// positive).
DP_API int Rgb24_2_yuv420Simple(unsigned char* pY, unsigned char* pU, unsigned char* pV, int nPitchY,
                                int nPitchU, int nPitchV, BITMAPINFOHEADER* lpSrcBmi, unsigned char* lpSrcBits);

// ---------------------------------------------------------------------------
// Packed 4:2:2. A format flag chooses the byte order of each two-pixel
// group: nonzero = Y0 U Y1 V (YUY2), zero = U Y0 V Y1 (UYVY). Packed rows
// hold whole groups: a rectangle starts on an even pixel column, and an odd
// width ends in a half group (its Y and first chroma byte).

// A rectangle of top-down 24-bit rows (blue, green, red; row r at
// lpBitsSrc + r * nPitchSrc) converted with the 14-bit formulas into packed
// rows: pixel (xSrc + i, ySrc + j) goes to (xDst + i, yDst + j). Each pair
// shares U = (U0 + U1) >> 1 and V = (V0 + V1) >> 1. bYUY2 is the packed
// format flag; nReserved is ignored. Stops on "lpBitsDst && lpBitsSrc",
// "(xDst + cxDst) * 2 <= nPitchDst" and "nPitchSrc / 3 - xSrc >= cxDst".
DP_API void Rgb24_2_YUY2(unsigned char* lpBitsDst, int nPitchDst, int xDst, int yDst, int cxDst, int cyDst,
                         int bYUY2, unsigned char* lpBitsSrc, int nPitchSrc, int xSrc, int ySrc, int nReserved);

// The reverse of Rgb24_2_YUY2 with the 13-bit formulas: packed rows of
// lpBitsSrc (format flag bYUY2) to top-down 24-bit rows of lpBitsDst. An odd
// last pixel takes the chroma of its whole group. nReserved is ignored.
// Stops on "lpBitsDst && lpBitsSrc".
DP_API void YUY2_2_Rgb24(unsigned char* lpBitsDst, int nPitchDst, int xDst, int yDst, int cxDst, int cyDst,
                         int bYUY2, unsigned char* lpBitsSrc, int nPitchSrc, int xSrc, int ySrc, int nReserved);

// Copies rows y .. y + cy - 1, columns x .. x + cx - 1 (two bytes a pixel)
// from pSrc to the same position in pDst. When the two format flags differ
// the bytes of every pair are swapped, which turns one order into the
// other. The third and fourth arguments play no part. Checks nothing; null
// pointers or an empty rectangle do nothing.
DP_API void YUY2_Blt_fast(unsigned char* pDst, int nPitchDst, int nUnused1, int nUnused2, int cx, int cy,
                          int bDstYUY2, unsigned char* pSrc, int nPitchSrc, int bSrcYUY2, int x, int y);

// Copies the rectangle (x, y, cx, cy) of a 4:2:0 picture to the same
// position of another, plane by plane, two luma rows and one chroma row a
// step. The chroma rectangle starts at column (x + 1) / 2 and row
// (y + 1) / 2 and is (cx + 1) / 2 wide and (cy + 1) / 2 high. Checks
// nothing; null pointers or an empty rectangle do nothing.
DP_API void YV12_Blt_fast(unsigned char* pDstY, unsigned char* pDstU, unsigned char* pDstV, int nPitchDstY,
                          int nPitchDstU, int nPitchDstV, int cx, int cy, unsigned char* pSrcY,
                          unsigned char* pSrcU, unsigned char* pSrcV, int nPitchSrcY, int nPitchSrcU,
                          int nPitchSrcV, int x, int y);

// Packed rows of pSrc, two at a time from row ySrc and column 0, to the
// planes at (xDst, yDst): four Y values a 2 x 2 block, U = (U of the upper
// row + U of the lower row) >> 1 and V likewise. An odd cy ends with one row
// whose chroma is taken as it is. nUnused plays no part. Stops, before each
// chroma write, on "(char*)V <= ((char*)pV + (ySrc + cy) * nPt_V)" where V
// is the V byte about to be written and nPt_V = nPitchV.
DP_API void YUY2_2_Yuv420(unsigned char* pY, unsigned char* pU, unsigned char* pV, int nPitchY, int nPitchU,
                          int nPitchV, int xDst, int yDst, int cx, int cy, unsigned char* pSrc, int nPitchSrc,
                          int bYUY2, int nUnused, int ySrc);

// Planes to packed rows: for source rows ySrc, ySrc + 2, ... below
// ySrc + cy and columns xSrc, xSrc + 2, ... below xSrc + cx, two output rows
// (from row yDst of pDst, column 0) whose groups share the chroma sample of
// the 2 x 2 block. Only bytes are moved. An odd cy ends with one output row.
// nUnused plays no part. Checks nothing; null pointers or an empty
// rectangle do nothing.
DP_API void Yuv420_2_YUY2(unsigned char* pDst, int nPitchDst, int nUnused, int yDst, int cx, int cy, int bYUY2,
                          unsigned char* pY, unsigned char* pU, unsigned char* pV, int nPitchY, int nPitchU,
                          int nPitchV, int xSrc, int ySrc);

// ---------------------------------------------------------------------------
// Single pixels, 10-bit fixed point.

// Y clamped to 16..235, U and V to 16..240.
DP_API void PixelRGB_2_YUV(int R, int G, int B, int& Y, int& U, int& V);

// R, G and B clamped to 0..255.
DP_API void PixelYUV_2_RGB(int Y, int U, int V, int& R, int& G, int& B);

#endif // DATAPROCESS_IMAGECONVERT_H
