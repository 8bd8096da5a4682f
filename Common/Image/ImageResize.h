// Plane scaling: one rectangle of a picture buffer scaled into a rectangle
// of another buffer.
//
// Buffers are described by IMG_PARAM records (ImageTypes.h); a record never
// owns its buffer, and every scaler writes inside the destination region
// only. Three kinds of buffer are served:
//  - 32-bit bitmaps: four bytes a pixel (blue, green, red, alpha), rows
//    stored bottom-up (row r at (nHeight - r - 1) * nPitch);
//  - 8-bit planes;
//  - planes of a YUV 4:2:0 picture (full-size luma, chroma of half width
//    and height).
// The own scalers work in 12-bit fixed point: destination index i samples
// the source at i * step / 4096 with step = ((srcLen << 12) - 4096) /
// (dstLen - 1), so first and last samples meet. Luma planes go through the
// image-routine library.
//
// Results: nonzero = success, 0 = failure or nothing done (an unknown
// IMAGE_INTERPOLATION, a null pBits, a destination region narrower or lower
// than 2 pixels where the 12-bit steps need it, a failing library call, or a
// region that does not lie inside its buffer). No routine clears or
// restores the destination on failure.
#ifndef DATAPROCESS_IMAGERESIZE_H
#define DATAPROCESS_IMAGERESIZE_H

#include "DataProcessExport.h"
#include "ImageTypes.h"
#include "MediaTypes.h"

// ---- Dispatchers. IMAGE_INTERPOLATION_DEFAULT acts as bilinear. ----

// 32-bit bitmaps: bilinear, nearest or cubic convolution.
DP_API int ImageResize(const IMG_PARAM& src, IMG_PARAM& dst, IMAGE_INTERPOLATION nInterpolation);
// 8-bit bottom-up planes (bilinear) / top-down planes (nearest, table-driven).
// Convolution is refused (0).
DP_API int ImageResize8(const IMG_PARAM& src, IMG_PARAM& dst, IMAGE_INTERPOLATION nInterpolation);
// One 4:2:0 chroma plane; the records' x, y, cx, cy (and nWidth, nHeight)
// are luma coordinates. Convolution is refused (0).
DP_API int ImageResizeUV(const IMG_PARAM& src, IMG_PARAM& dst, IMAGE_INTERPOLATION nInterpolation);
// Luma (any 8-bit top-down plane) through the image library. Nearest
// shrinks the picture further so that it fits the region after a turn by
// nAngle degrees; bilinear does not. Convolution is refused (0).
DP_API int ImageResizeY(const IMG_PARAM& src, IMG_PARAM& dst, IMAGE_INTERPOLATION nInterpolation, int nAngle);
// Scales a 32-bit bitmap and lays it over the destination by its alpha;
// always bilinear, whatever nInterpolation says.
DP_API int ImageAlphaResize(const IMG_PARAM& src, IMG_PARAM& dst, IMAGE_INTERPOLATION nInterpolation);
// Scales an 8-bit mask onto the fourth bytes of a 32-bit bitmap (bilinear).
DP_API int ImageStretchMask(const IMG_PARAM& src, IMG_PARAM& dst);

// ---- Scalers ----

// 32-bit, bottom-up. The last destination column copies the region's last
// source column, and the last destination row is not interpolated: it is
// taken nearest-neighbour from the region's last source row. The fourth
// byte is copied from the source pixel, never interpolated. Returns 0 for a
// destination 1 pixel wide or high, or a null pBits.
DP_API int DIB_ResizeBiLiner(const IMG_PARAM& src, IMG_PARAM& dst);
// 32-bit, bottom-up, nearest, with the same last column and last row.
DP_API int DIB_ResizeNear(const IMG_PARAM& src, IMG_PARAM& dst);
// 32-bit, bottom-up, cubic convolution (parameter -1) of the three colour
// bytes; when a direction is enlarged more than twice or reduced below
// half, its samples are pre-smoothed. The fourth byte is copied.
DP_API int DIB_ResizeConvolve(const IMG_PARAM& src, IMG_PARAM& dst);
// 8-bit, bottom-up: DIB_ResizeBiLiner for one byte a pixel.
DP_API int DIB_ResizeBiLiner8(const IMG_PARAM& src, IMG_PARAM& dst);
// 8-bit, top-down, nearest by rounded tables. Two kept peculiarities: the
// last destination row is left untouched, and the last destination column
// reads source column src.x + src.cx (one past the region). The source row
// is addressed at nPitch * (table row + src.y), the table already holding
// src.y: the source y offset counts twice.
DP_API int DIB_ResizeNear8(const IMG_PARAM& src, IMG_PARAM& dst);
// One 4:2:0 chroma plane, top-down, luma coordinates: chroma byte (r/2, c/2)
// for every even luma offset (r, c) of the destination region. The last
// chroma row is taken nearest-neighbour from the source's last region row
// and its last sample is left unwritten.
DP_API int DIB_ResizeBiLinerUV(const IMG_PARAM& src, IMG_PARAM& dst);
DP_API int DIB_ResizeNearUV(const IMG_PARAM& src, IMG_PARAM& dst);
// Luma planes through the image library (orv_ippiResize_8u_C1R). Return 1
// when the library succeeds, else 0.
DP_API int DIB_ResizeNearY(const IMG_PARAM& src, IMG_PARAM& dst, int nAngle);
DP_API int DIB_ResizeBiLinerY(const IMG_PARAM& src, IMG_PARAM& dst, int nAngle);
// An own 8-bit top-down luma scaler that no dispatcher calls: each pixel is
// the mean of four source pixels; the last row is written at every second
// column only. nAngle plays no part.
DP_API int DIB_ResizeBiLinerY_Simulate(const IMG_PARAM& src, IMG_PARAM& dst, int nAngle = 0);
// 32-bit, bottom-up: the scaled source laid over the destination by the
// source's fourth byte. The destination's fourth byte is updated in the
// interpolated part only.
DP_API int DIB_AlphaResizeBiLiner(const IMG_PARAM& src, IMG_PARAM& dst);
// An 8-bit mask (both buffers bottom-up) scaled onto the fourth bytes of a
// 32-bit destination: a mask value of 0 clears the pixel; otherwise the
// fourth byte becomes m * byte / 255. The mask byte of a column is read at
// byte offset (src.nBitCount / 8 - 1) past it.
DP_API int StretchMaskResizeBiLiner(const IMG_PARAM& src, IMG_PARAM& dst);
DP_API int StretchMaskResizeNear(const IMG_PARAM& src, IMG_PARAM& dst);

// The factor by which a picture must shrink so that it still fits the
// destination region after being turned by nAngle degrees: 1.0 for
// multiples of 180, otherwise min(cx, cy) / max(cx, cy). 0.0 for an empty
// region.
DP_API double CalcResizeScaleforRotate(const IMG_PARAM& dst, int nAngle);

// ---- Pictures ----

// A YV12 picture: the records give the luma geometry, the plane pointers
// and pitches replace each record's pBits and nPitch per plane. Luma, then
// V (the third pair), then U are scaled with ImageResizeY; for chroma the
// records are halved (truncating). Returns 0 unless dst.cx and dst.cy are at
// least 2, else 1 whatever the planes report.
DP_API int ImageResizeYV12(const IMG_PARAM& src, unsigned char* pSrcY, unsigned char* pSrcU, unsigned char* pSrcV,
                           int nPitchSrcY, int nPitchSrcU, int nPitchSrcV, IMG_PARAM& dst, unsigned char* pDstY,
                           unsigned char* pDstU, unsigned char* pDstV, int nPitchDstY, int nPitchDstU,
                           int nPitchDstV, IMAGE_INTERPOLATION nInterpolation, int nAngle);
// Four planes of equal size (three colour planes and alpha), each scaled
// with ImageResizeY and nAngle 0, in the order first, second, fourth,
// third. Returns 0 unless dst.cx and dst.cy are at least 2, else 1.
DP_API int ImageResizeYV444(const IMG_PARAM& src, unsigned char* pSrc0, unsigned char* pSrc1, unsigned char* pSrc2,
                            unsigned char* pSrc3, int nPitchSrc0, int nPitchSrc1, int nPitchSrc2, int nPitchSrc3,
                            IMG_PARAM& dst, unsigned char* pDst0, unsigned char* pDst1, unsigned char* pDst2,
                            unsigned char* pDst3, int nPitchDst0, int nPitchDst1, int nPitchDst2, int nPitchDst3,
                            IMAGE_INTERPOLATION nInterpolation);
// ImageResizeYV12 over the planes and pitches of two frames; nothing when
// either frame is null.
DP_API void ImageResizeYUV(const IMG_PARAM& src, const MEDIA_FRAME* pSrc, IMG_PARAM& dst, MEDIA_FRAME* pDst,
                           IMAGE_INTERPOLATION nInterpolation, int nAngle);
// Whole-plane scaling; the destination comes first. ResizeY scales an 8-bit
// plane with ImageResizeY (nAngle 0); ResizeUV scales a chroma plane with
// ImageResizeUV, the widths and heights being the luma sizes.
DP_API int ResizeY(unsigned char* pDst, int nDstWidth, int nDstHeight, int nDstPitch, unsigned char* pSrc,
                   int nSrcWidth, int nSrcHeight, int nSrcPitch, IMAGE_INTERPOLATION nInterpolation);
DP_API int ResizeUV(unsigned char* pDst, int nDstWidth, int nDstHeight, int nDstPitch, unsigned char* pSrc,
                    int nSrcWidth, int nSrcHeight, int nSrcPitch, IMAGE_INTERPOLATION nInterpolation);

#endif // DATAPROCESS_IMAGERESIZE_H
