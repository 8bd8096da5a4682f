// Helpers shared by the own plane scalers: the 12-bit mapping, record
// checks and row addressing.
#ifndef DATAPROCESS_RESIZECOMMON_H
#define DATAPROCESS_RESIZECOMMON_H

#include <cstddef>
#include <cstdint>

#include "ImageTypes.h"

namespace dp_resize {

// Step between destination samples in 1/4096 source pixel:
// ((srcLen << 12) - 4096) / (dstLen - 1), truncating, so that the first
// destination sample lands on the first source sample and the last on the
// last. Callers make sure dstLen >= 2. Computed in 64 bits: the same value
// wherever the 32-bit form does not overflow.
inline int64_t Step12(int srcLen, int dstLen)
{
    return (static_cast<int64_t>(srcLen) * 4096 - 4096) / (static_cast<int64_t>(dstLen) - 1);
}

// Source row (or column) and 12-bit fraction of destination index i.
inline void Position(int i, int64_t step, int origin, int* whole, int* frac)
{
    const int64_t pos = i * step;
    *whole = origin + static_cast<int>(pos >> 12);
    *frac = static_cast<int>(pos & 4095);
}

// The region lies inside its picture and the buffer can be addressed. A
// record's buffer is taken to span nHeight rows of nPitch bytes, the last
// row only as long as its pixels. (Regions outside their buffer are not
// checked by the scalers' own rules; these checks turn what would be an
// out-of-bounds access into a plain failure.)
inline bool RegionInside(const IMG_PARAM& p)
{
    return p.pBits && p.nPitch > 0 && p.x >= 0 && p.y >= 0 && p.cx >= 1 && p.cy >= 1 &&
           static_cast<int64_t>(p.x) + p.cx <= p.nWidth && static_cast<int64_t>(p.y) + p.cy <= p.nHeight;
}

// Bytes the buffer of p spans (see RegionInside).
inline int64_t Extent(const IMG_PARAM& p, int bytesPerPixel)
{
    return static_cast<int64_t>(p.nHeight - 1) * p.nPitch + static_cast<int64_t>(p.nWidth) * bytesPerPixel;
}

// Row r of a top-down buffer.
inline uint8_t* RowTD(const IMG_PARAM& p, int r) { return p.pBits + static_cast<ptrdiff_t>(r) * p.nPitch; }

// Row r of a bottom-up buffer: it lies at (nHeight - r - 1) * nPitch.
inline uint8_t* RowBU(const IMG_PARAM& p, int r)
{
    return p.pBits + (static_cast<ptrdiff_t>(p.nHeight) - r - 1) * p.nPitch;
}

} // namespace dp_resize

#endif // DATAPROCESS_RESIZECOMMON_H
