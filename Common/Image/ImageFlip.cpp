#include "ImageFlip.h"

#include "FramePlanes.h"
#include "ImageFlipKernels.h"

#include <cstddef>
#include <cstring>
#include <memory>
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

// Exchanges row r with row rows - 1 - r for r < rows / 2 through `tmp`.
void FlipPlane(unsigned char* plane, int width, int rows, unsigned char* tmp)
{
    const size_t n = static_cast<size_t>(width);
    for (int r = 0; r < rows / 2; ++r) {
        unsigned char* a = plane + static_cast<ptrdiff_t>(r) * width;
        unsigned char* b = plane + static_cast<ptrdiff_t>(rows - 1 - r) * width;
        std::memcpy(tmp, a, n);
        std::memcpy(a, b, n);
        std::memcpy(b, tmp, n);
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
    // One row of w bytes serves all three planes (chroma uses its first cw).
    std::unique_ptr<unsigned char[]> tmp(new unsigned char[static_cast<size_t>(p.w)]);
    FlipPlane(p.y, p.w, p.h, tmp.get());
    FlipPlane(p.u, p.cw, p.ch, tmp.get());
    FlipPlane(p.v, p.cw, p.ch, tmp.get());
}
