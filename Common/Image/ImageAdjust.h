// Brightness, contrast and saturation of YUV 4:2:0 pictures, in place,
// through lookup tables built once per process.
//
// The three settings range from -100 to 100 (values outside are taken as
// the nearest end); 0 means unchanged. Results stay in video range: luma
// 16..235, chroma 16..240. Null planes and sizes that are not positive do
// nothing. Chroma planes are (nWidth + 1) / 2 x (nHeight + 1) / 2.
#ifndef DATAPROCESS_IMAGEADJUST_H
#define DATAPROCESS_IMAGEADJUST_H

#include "DataProcessExport.h"
#include "MediaTypes.h"

// Adds nBrightness to every luma sample of nWidth x nHeight (rows nPitchY
// apart), clamped to 16..235. Chroma is not changed.
DP_API void AdjustBrightness(unsigned char* pY, unsigned char* pU, unsigned char* pV, int nPitchY, int nPitchU,
                             int nPitchV, int nWidth, int nHeight, int nBrightness);

// Scales every sample's distance from 128 by (100 + nContrast) / 100
// (v + (v - 128) x nContrast / 100, truncated toward zero): luma clamped to
// 16..235, both chroma planes to 16..240. Both chroma planes are walked with
// nPitchU; nPitchV is not read.
DP_API void AdjustContrast(unsigned char* pY, unsigned char* pU, unsigned char* pV, int nPitchY, int nPitchU,
                           int nPitchV, int nWidth, int nHeight, int nContrast);

// Scales the chroma distance from 128: +100 multiplies it by 4, -100 makes
// it 0 (grey); a positive setting counts three times. Both chroma planes
// are walked with nPitchU; nPitchV is not read. Luma is not changed.
DP_API void AdjustSaturation(unsigned char* pY, unsigned char* pU, unsigned char* pV, int nPitchY, int nPitchU,
                             int nPitchV, int nWidth, int nHeight, int nSaturation);

// AdjustBrightness, AdjustContrast and AdjustSaturation in this order, each
// only when its setting is not 0.
DP_API void AdjustImage(unsigned char* pY, unsigned char* pU, unsigned char* pV, int nPitchY, int nPitchU,
                        int nPitchV, int nWidth, int nHeight, int nBrightness, int nContrast, int nSaturation);

// The plane form on a frame of the packed layout made by CreateYV12Frame:
// pitches nWidth and (nWidth + 1) / 2 (the frame's pitch fields are not
// read). A null frame does nothing.
DP_API void AdjustImage(MEDIA_FRAME* pFrame, int nBrightness, int nContrast, int nSaturation);

#endif // DATAPROCESS_IMAGEADJUST_H
