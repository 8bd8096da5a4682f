// Small shared helpers: tolerant comparison of doubles, rectangle offsets,
// bitmap header byte order and the picture-trace hook.
#ifndef DATAPROCESS_UTILITY_H
#define DATAPROCESS_UTILITY_H

#include "DataProcessExport.h"
#include "MediaTypes.h"
#include "WinTypes.h"

// The tolerance the stages hand to FloatCompare: 0.001.
DP_API extern const double DefaultPrecision;

// 1 if a - b >= eps, -1 if -eps >= a - b, else 0 (equal within eps).
DP_API int FloatCompare(double a, double b, double eps);

// Adds dx to left and right and dy to top and bottom. Returns 0 for a null
// rectangle, else 1.
DP_API int OffsetRect(tagRECT* rc, int dx, int dy);

// Brings the header fields of a bitmap from file byte order (little-endian)
// to host order: a no-op on little-endian hosts. Null is allowed.
DP_API void ReverseBitMapInfo(tagBITMAPINFO* info);

// Debugging hook called after each rotation or scaling step; it has no
// visible effect.
DP_API void xTraceImage(const VideoImage* image);

#endif // DATAPROCESS_UTILITY_H
