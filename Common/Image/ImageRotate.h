// Rotation and placement of YUV 4:2:0 pictures, plane by plane, through the
// image-routine library.
//
// Geometry is given by two IMG_PARAM records in luma units; chroma planes
// are addressed with halved values. The library's interpolation is derived
// from IMAGE_INTERPOLATION the same way everywhere: NEAREST gives nearest,
// DEFAULT and BILINEAR give linear, any other value nearest.
//
// The plane-level operations return 0 only when the destination region is
// narrower or lower than 2 pixels (or, beyond that, when the destination
// region does not lie inside its buffer); otherwise 1, whatever the library
// reports. Nothing outside the destination region is written, and what the
// library leaves uncovered keeps its old value.
#ifndef DATAPROCESS_IMAGEROTATE_H
#define DATAPROCESS_IMAGEROTATE_H

#include "DataProcessExport.h"
#include "ImageTypes.h"
#include "MediaTypes.h"

// Quarter turns only: nAngle 90 or 270 (any other value draws nothing and
// returns 1). A positive angle turns the picture counter-clockwise on
// screen. The source luma plane is addressed with pitch src.cx and the
// destination planes with pitch dst.nWidth (halved for chroma); the pitch
// arguments are not used. The turned picture lands in the destination
// offset by one pixel (90: destination row 0 stays unwritten, source column
// 0 is dropped; 270: destination column 0 stays unwritten, source row 0 is
// dropped).
DP_API int ImageRotateYV12(const IMG_PARAM& src, unsigned char* pSrcY, unsigned char* pSrcU, unsigned char* pSrcV,
                           int nPitchSrcY, int nPitchSrcU, int nPitchSrcV, IMG_PARAM& dst, unsigned char* pDstY,
                           unsigned char* pDstU, unsigned char* pDstV, int nPitchDstY, int nPitchDstU,
                           int nPitchDstV, IMAGE_INTERPOLATION nInterpolation, int nAngle);

// Scales the source region into the destination region, which places the
// picture inside the destination frame. Luma is taken from the records
// (src.pBits, src.nPitch, dst.pBits, dst.nPitch): the luma pointer and pitch
// arguments are not used. nAngle plays no part.
DP_API int ImageDragYUV(const IMG_PARAM& src, unsigned char* pSrcY, unsigned char* pSrcU, unsigned char* pSrcV,
                        int nPitchSrcY, int nPitchSrcU, int nPitchSrcV, IMG_PARAM& dst, unsigned char* pDstY,
                        unsigned char* pDstU, unsigned char* pDstV, int nPitchDstY, int nPitchDstU, int nPitchDstV,
                        IMAGE_INTERPOLATION nInterpolation, int nAngle);

// Shrinks the picture by CalcResizeScaleforRotate(dst, nAngle) about the
// centre of the turned frame (x centre dst.nHeight / 2, y centre
// dst.nWidth / 2), always with linear interpolation; the margin stays
// unwritten. Luma is taken from the records as in ImageDragYUV.
DP_API int ImageRotateResizeYUV(const IMG_PARAM& src, unsigned char* pSrcY, unsigned char* pSrcU,
                                unsigned char* pSrcV, int nPitchSrcY, int nPitchSrcU, int nPitchSrcV,
                                IMG_PARAM& dst, unsigned char* pDstY, unsigned char* pDstU, unsigned char* pDstV,
                                int nPitchDstY, int nPitchDstU, int nPitchDstV, IMAGE_INTERPOLATION nInterpolation,
                                int nAngle);

// Frame-level forms: ImageRotateYV12 / ImageDragYUV over each frame's planes
// and pitches. Nothing when either frame is null. The destination frame is
// only read for its plane pointers; its pixels are written.
DP_API void ImageRotateYUV(const IMG_PARAM& src, const MEDIA_FRAME* pSrc, IMG_PARAM& dst, const MEDIA_FRAME* pDst,
                           IMAGE_INTERPOLATION nInterpolation, int nAngle);
DP_API void ImageDragYUV(const IMG_PARAM& src, const MEDIA_FRAME* pSrc, IMG_PARAM& dst, const MEDIA_FRAME* pDst,
                         IMAGE_INTERPOLATION nInterpolation, int nAngle);

#endif // DATAPROCESS_IMAGEROTATE_H
