// Picture effects on a YV12 frame, in place.
//
// All take the geometry from the frame and assume the packed layout of
// CreateYV12Frame (luma rows nWidth bytes apart, chroma planes
// (nWidth + 1) / 2 x (nHeight + 1) / 2 bytes, V right after Y); the pitch
// fields are not read and the alpha plane is not touched. A null frame does
// nothing.
#ifndef DATAPROCESS_IMAGEFILTER_H
#define DATAPROCESS_IMAGEFILTER_H

#include "DataProcessExport.h"
#include "MediaTypes.h"

// Grey picture: U and V become 128; luma is unchanged.
DP_API void FilterGray(MEDIA_FRAME* pFrame);

// Relief: U and V become 128, then, row by row from the top, every luma
// sample Y becomes clamp(Y - N + 128, 16, 235) with N the byte nWidth + 1
// further in memory (one row down, one column right). At the right edge N is
// the first sample of the row after next, and on the last row it is read
// from the memory after the luma plane (the chroma planes, already 128), so
// the last row keeps its values, clamped.
DP_API void FilterEmboss(MEDIA_FRAME* pFrame);

// Two-tone picture: U and V become 128; luma below 129 becomes 16, the rest
// 235.
DP_API void FilterBlackWhite(MEDIA_FRAME* pFrame);

// Inverted two-tone picture: U and V become 128; luma below 129 becomes 235,
// the rest 16.
DP_API void FilterWhiteBlack(MEDIA_FRAME* pFrame);

// Sepia tint: U becomes 116 and V 137; luma is unchanged.
DP_API void FilterOldPhoto(MEDIA_FRAME* pFrame);

// Inverts the colours and keeps the brightness: every U and V byte is XORed
// with 255; luma is unchanged.
DP_API void FilterNegative(MEDIA_FRAME* pFrame);

#endif // DATAPROCESS_IMAGEFILTER_H
