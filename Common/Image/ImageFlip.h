// Mirror flips of a YV12 frame, in place.
//
// Both take the geometry from the frame and assume the packed layout of
// CreateYV12Frame (luma rows nWidth bytes apart, chroma rows
// (nWidth + 1) / 2); the pitch fields are not read and the alpha plane is
// not touched. A null frame does nothing.
#ifndef DATAPROCESS_IMAGEFLIP_H
#define DATAPROCESS_IMAGEFLIP_H

#include "DataProcessExport.h"
#include "MediaTypes.h"

// Mirrors every row of Y, U and V left to right.
DP_API void FlipImageHorz(MEDIA_FRAME* pFrame);

// Mirrors Y, U and V top to bottom. Allocates one temporary row.
DP_API void FlipImageVert(MEDIA_FRAME* pFrame);

#endif // DATAPROCESS_IMAGEFLIP_H
