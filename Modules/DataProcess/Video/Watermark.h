// Blending a watermark picture (a YV12 frame with an alpha plane) into a
// YV12 frame.
#ifndef DATAPROCESS_WATERMARK_H
#define DATAPROCESS_WATERMARK_H

#include "DataProcessExport.h"
#include "MediaTypes.h"
#include "WinTypes.h"

// Watermark alignment codes of AddWaterMark: the position of the
// watermark's top-left corner in the frame (W x H frame, w x h watermark,
// halves as signed integer divisions).
enum {
    WATERMARK_ALIGN_CENTER = 0,        // ((W - w) / 2, (H - h) / 2)
    WATERMARK_ALIGN_TOP_LEFT = 1,      // (0, 0)
    WATERMARK_ALIGN_TOP = 2,           // ((W - w) / 2, 0)
    WATERMARK_ALIGN_TOP_RIGHT = 3,     // (W - w, 0)
    WATERMARK_ALIGN_LEFT = 4,          // (0, (H - h) / 2)
    WATERMARK_ALIGN_MIDDLE = 5,        // ((W - w) / 2, (H - h) / 2)
    WATERMARK_ALIGN_RIGHT = 6,         // (W - w, (H - h) / 2)
    WATERMARK_ALIGN_BOTTOM_LEFT = 7,   // (0, H - h)
    WATERMARK_ALIGN_BOTTOM = 8,        // ((W - w) / 2, H - h)
    WATERMARK_ALIGN_BOTTOM_RIGHT = 9   // (W - w, H - h); any other code: (0, 0)
};

// Blends pMark into pDst. With pRect the call is AddWaterMarkEx(pDst, pMark,
// left, top, right - left, bottom - top, 0, 0, nPercent, bUseAlpha).
// Otherwise the watermark is placed by nAlign and blended with its own
// alpha scaled by nPercent / 100 (bUseAlpha plays no part); planes are
// addressed with their widths as pitches, and the watermark's last row is
// not drawn. The watermark is meant to fit the frame; pixels that would
// fall outside a plane of pDst are left out.
DP_API void AddWaterMark(MEDIA_FRAME* pDst, MEDIA_FRAME* pMark, tagRECT* pRect, int nPercent, int nAlign,
                         unsigned int bUseAlpha);

// Blends the part of pMark from (xSrc, ySrc) into the rectangle (x, y, cx,
// cy) of pDst, clipped to both frames (cx or cy of -1 means the frame's
// width or height). bUseAlpha nonzero: per-pixel alpha times nPercent / 100.
// Zero: one constant opacity nPercent * 255 / 100 ("over" compositing), the
// watermark read from its top-left corner whatever xSrc and ySrc say. Does
// nothing for a missing frame or a negative xSrc or ySrc.
DP_API void AddWaterMarkEx(MEDIA_FRAME* pDst, MEDIA_FRAME* pMark, int x, int y, int cx, int cy, int xSrc, int ySrc,
                           int nPercent, unsigned int bUseAlpha);

#endif // DATAPROCESS_WATERMARK_H
