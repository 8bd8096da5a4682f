// Resize geometry of the video stage: which source rectangle goes into which
// rectangle of the output. All arithmetic is on signed 32-bit integers unless
// a step says double; the exact rounding of each step is part of the result.
#ifndef DATAPROCESS_RESIZEGEOMETRY_H
#define DATAPROCESS_RESIZEGEOMETRY_H

#include "DataProcessExport.h"
#include "ImageTypes.h"
#include "ResizeTypes.h"
#include "WinTypes.h"

// Shrinks rc in place, centred, to the aspect aspect.cx : aspect.cy.
// Nothing happens for a zero aspect or for methods 0 (stretch) and 5 (crop
// fill). Method 2 forces 16:9 and method 3 forces 4:3 on the aspect first, in
// integer arithmetic (so a small aspect such as 4:3 under method 2 becomes
// 5:3).
DP_API void ResizeRect(tagRECT& rc, tagSIZE aspect, IMAGE_RESIZE_METHOD method);

// Fills the source region `src` (in a srcWidth x srcHeight picture) and the
// destination region `dst` (in a dstWidth x dstHeight output) for a crop.
// aspectX/aspectY is the source's display aspect (0 = square pixels). A crop
// whose left equals its right means the whole picture. Does nothing when
// crop is null. Both records get pBits null, pitch = width, 8 bits.
DP_API void CalcResizeParam(IMG_PARAM& src, IMG_PARAM& dst, int aspectX, int aspectY, int srcWidth, int srcHeight,
                            const tagRECT* crop, int dstWidth, int dstHeight, IMAGE_RESIZE_METHOD method);

#endif // DATAPROCESS_RESIZEGEOMETRY_H
