#include "ImageFlip.h"

#include "FramePlanes.h"
#include "ImageFlipKernels.h"

#include <cstddef>
#include <cstring>
#include <utility>

namespace {

// Reverses one row in place; the middle sample of an odd row stays.
void MirrorRowInPlace(unsigned char* row, int width)
{
    for (int x = 0, e = width - 1; x < width / 2; ++x, --e)
        std::swap(row[x], row[e]);
}

const FlipKernels kFlipReference = {MirrorRowInPlace};

void MirrorPlane(unsigned char* plane, int width, int rows)
{
    const FlipKernels& k = GetFlipKernels();
    for (int r = 0; r < rows; ++r)
        k.mirrorRow(plane + static_cast<ptrdiff_t>(r) * width, width);
}

// Exchanges row r with row rows - 1 - r for r < rows / 2, a stack-sized
// piece at a time (no allocation per frame).
void FlipPlane(unsigned char* plane, int width, int rows)
{
    unsigned char tmp[4096];
    const size_t n = static_cast<size_t>(width);
    for (int r = 0; r < rows / 2; ++r) {
        unsigned char* a = plane + static_cast<ptrdiff_t>(r) * width;
        unsigned char* b = plane + static_cast<ptrdiff_t>(rows - 1 - r) * width;
        for (size_t at = 0; at < n; at += sizeof tmp) {
            const size_t k = n - at < sizeof tmp ? n - at : sizeof tmp;
            std::memcpy(tmp, a + at, k);
            std::memcpy(a + at, b + at, k);
            std::memcpy(b + at, tmp, k);
        }
    }
}

} // namespace

#if !DP_HAVE_HIGHWAY
SimdFillers<FlipKernels> FlipSimdFillers() { return {}; }
#endif

const FlipKernels& ReferenceFlipKernels() { return kFlipReference; }

const FlipKernels& GetFlipKernels()
{
    static const KernelLadder<FlipKernels> ladder(kFlipReference, FlipSimdFillers());
    return ladder.Get();
}

void FlipImageHorz(MEDIA_FRAME* pFrame)
{
    dpimage::FramePlanes p;
    if (!dpimage::GetFramePlanes(pFrame, p))
        return;
    MirrorPlane(p.y, p.w, p.h);
    MirrorPlane(p.u, p.cw, p.ch);
    MirrorPlane(p.v, p.cw, p.ch);
}

void FlipImageVert(MEDIA_FRAME* pFrame)
{
    dpimage::FramePlanes p;
    if (!dpimage::GetFramePlanes(pFrame, p))
        return;
    FlipPlane(p.y, p.w, p.h);
    FlipPlane(p.u, p.cw, p.ch);
    FlipPlane(p.v, p.cw, p.ch);
}
