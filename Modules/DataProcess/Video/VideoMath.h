// Conversions of the video stages from double to integer, and the region
// records their geometry fills.
//
// The stages round with trunc(x + 0.5) and truncate elsewhere, exactly as the
// arithmetic of each step says. A value outside the target range (a host's
// absurd size, rate or time) has no defined conversion in C++; it saturates
// here instead, which changes nothing for values that fit.
#ifndef DATAPROCESS_VIDEOMATH_H
#define DATAPROCESS_VIDEOMATH_H

#include <cstdint>
#include <limits>

#include "ImageTypes.h"
#include "WinTypes.h"

namespace dpvideo {

// Truncation toward zero into int32; NaN gives 0, out-of-range saturates.
inline int32_t TruncToInt(double v)
{
    if (!(v == v))
        return 0;
    if (v >= 2147483647.0)
        return std::numeric_limits<int32_t>::max();
    if (v <= -2147483648.0)
        return std::numeric_limits<int32_t>::min();
    return static_cast<int32_t>(v);
}

// Truncation toward zero into int64; NaN gives 0, out-of-range saturates.
inline int64_t TruncToInt64(double v)
{
    if (!(v == v))
        return 0;
    if (v >= 9223372036854775807.0)
        return std::numeric_limits<int64_t>::max();
    if (v <= -9223372036854775808.0)
        return std::numeric_limits<int64_t>::min();
    return static_cast<int64_t>(v);
}

// A 64-bit intermediate brought back to int32 (saturating).
inline int32_t ClampToInt(int64_t v)
{
    if (v > std::numeric_limits<int32_t>::max())
        return std::numeric_limits<int32_t>::max();
    if (v < std::numeric_limits<int32_t>::min())
        return std::numeric_limits<int32_t>::min();
    return static_cast<int32_t>(v);
}

// An 8-bit plane region as the geometry fills it: the whole buffer is
// width x height with pitch width, the region is the rectangle r.
inline void FillRegion(IMG_PARAM& p, int width, int height, const tagRECT& r)
{
    p.pBits = nullptr;
    p.nWidth = width;
    p.nHeight = height;
    p.nPitch = width;
    p.nBitCount = 8;
    p.x = r.left;
    p.y = r.top;
    p.cx = ClampToInt(int64_t(r.right) - r.left);
    p.cy = ClampToInt(int64_t(r.bottom) - r.top);
}

} // namespace dpvideo

#endif // DATAPROCESS_VIDEOMATH_H
