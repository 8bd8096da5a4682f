// Line-based deinterlacing of a YV12 frame, in place.
#ifndef DATAPROCESS_IMAGEDEINTERLACE_H
#define DATAPROCESS_IMAGEDEINTERLACE_H

#include "DataProcessExport.h"
#include "ImageTypes.h"
#include "MediaTypes.h"

// Applies one method to Y (nHeight rows of nWidth) and to U and V
// ((nHeight + 1) / 2 rows of (nWidth + 1) / 2), rows numbered from 0:
//   1 every odd row becomes a copy of the even row above it;
//   2 every even row with an odd row below it becomes a copy of that row;
//   3 every odd row that has a row below it becomes the mean of its two
//     neighbours ((a + b) >> 1); a last odd row stays;
//   4 every even row from 2 that has a row below it becomes the mean of its
//     two neighbours; row 0 stays.
// Styles 0 and 5 and any other value, and a null frame, do nothing. The
// frame must have the packed layout of CreateYV12Frame (the pitch fields are
// not read); the alpha plane is not touched.
DP_API void DeinterlaceImage(MEDIA_FRAME* pFrame, DEINTERLACE_STYLE nStyle);

#endif // DATAPROCESS_IMAGEDEINTERLACE_H
