// The planes of a YV12 frame in the packed layout of CreateYV12Frame, as
// the in-place picture effects see them (internal to the library).
#ifndef DATAPROCESS_FRAMEPLANES_H
#define DATAPROCESS_FRAMEPLANES_H

#include "MediaTypes.h"

#include <cstddef>

namespace dpimage {

// Luma rows are w bytes apart and chroma rows cw; the frame's pitch fields
// are not read.
struct FramePlanes {
    unsigned char* y;
    unsigned char* u;
    unsigned char* v;
    int w;  // luma width
    int h;  // luma height
    int cw; // chroma width, (w + 1) / 2
    int ch; // chroma height, (h + 1) / 2

    size_t ChromaBytes() const { return static_cast<size_t>(cw) * static_cast<size_t>(ch); }
};

// False (nothing to do) for a null frame, a missing plane or an empty
// picture.
inline bool GetFramePlanes(const MEDIA_FRAME* frame, FramePlanes& out)
{
    if (!frame || !frame->pY || !frame->pU || !frame->pV || frame->nWidth <= 0 || frame->nHeight <= 0)
        return false;
    out.y = frame->pY;
    out.u = frame->pU;
    out.v = frame->pV;
    out.w = frame->nWidth;
    out.h = frame->nHeight;
    out.cw = static_cast<int>((static_cast<int64_t>(out.w) + 1) / 2); // no overflow at INT_MAX
    out.ch = static_cast<int>((static_cast<int64_t>(out.h) + 1) / 2);
    return true;
}

} // namespace dpimage

#endif // DATAPROCESS_FRAMEPLANES_H
