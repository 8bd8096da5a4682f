#include "ImageFilter.h"

#include "FramePlanes.h"
#include "ImageAdjustKernels.h"
#include "OrvImage.h"

#include <climits>
#include <cstddef>
#include <cstring>

namespace {

void FillChroma(const dpimage::FramePlanes& p, unsigned char u, unsigned char v)
{
    std::memset(p.u, u, p.ChromaBytes());
    std::memset(p.v, v, p.ChromaBytes());
}

// Luma below 129 becomes `low`, the rest `high`.
void Threshold(const dpimage::FramePlanes& p, unsigned char low, unsigned char high)
{
    GetAdjustKernels().threshold(p.y, static_cast<size_t>(p.w) * static_cast<size_t>(p.h), low, high);
}

} // namespace

void FilterGray(MEDIA_FRAME* pFrame)
{
    dpimage::FramePlanes p;
    if (dpimage::GetFramePlanes(pFrame, p))
        FillChroma(p, 128, 128);
}

void FilterEmboss(MEDIA_FRAME* pFrame)
{
    dpimage::FramePlanes p;
    if (!dpimage::GetFramePlanes(pFrame, p))
        return;
    FillChroma(p, 128, 128);
    // Kept deliberately: the neighbour is addressed only as the byte w + 1
    // further in the plane, with no edge test. At the right edge it is the
    // first sample of the row after next; on the last row it lies past the
    // luma plane, in the V plane that CreateYV12Frame puts right after it
    // (already 128 here), then in U and what follows U in the frame's block
    // (alpha or the slack), which always cover the w + 1 bytes. Samples are
    // rewritten in increasing address order, so every neighbour is read
    // before it is rewritten.
    const size_t n = static_cast<size_t>(p.w) * static_cast<size_t>(p.h);
    const size_t step = static_cast<size_t>(p.w) + 1;
    unsigned char* y = p.y;
    // A frame of another layout has no such memory after its luma plane:
    // there the neighbours past the plane are taken as 128, the value they
    // have in the packed layout.
    const bool packed = p.v == p.y + n;
    const size_t inside = n > step ? n - step : 0;
    const AdjustKernels& k = GetAdjustKernels();
    if (packed) {
        k.emboss(y, n, step);
        return;
    }
    k.emboss(y, inside, step);
    for (size_t i = inside; i < n; ++i) {
        const int e = y[i]; // v - 128 + 128: the neighbour taken as 128
        y[i] = static_cast<unsigned char>(e < 16 ? 16 : (e > 235 ? 235 : e));
    }
}

void FilterBlackWhite(MEDIA_FRAME* pFrame)
{
    dpimage::FramePlanes p;
    if (!dpimage::GetFramePlanes(pFrame, p))
        return;
    FillChroma(p, 128, 128);
    Threshold(p, 16, 235);
}

void FilterWhiteBlack(MEDIA_FRAME* pFrame)
{
    dpimage::FramePlanes p;
    if (!dpimage::GetFramePlanes(pFrame, p))
        return;
    FillChroma(p, 128, 128);
    Threshold(p, 235, 16);
}

void FilterOldPhoto(MEDIA_FRAME* pFrame)
{
    dpimage::FramePlanes p;
    if (dpimage::GetFramePlanes(pFrame, p))
        FillChroma(p, 116, 137);
}

void FilterNegative(MEDIA_FRAME* pFrame)
{
    dpimage::FramePlanes p;
    if (!dpimage::GetFramePlanes(pFrame, p) || p.ChromaBytes() > static_cast<size_t>(INT_MAX))
        return;
    // Each chroma plane as one row of cw x ch bytes. Luma is deliberately
    // left alone: the colours invert, the brightness stays.
    const int bytes = static_cast<int>(p.ChromaBytes());
    const IppiSize roi = {bytes, 1};
    orv_ippiXorC_8u_C1IR(255, p.u, bytes, roi);
    orv_ippiXorC_8u_C1IR(255, p.v, bytes, roi);
}
