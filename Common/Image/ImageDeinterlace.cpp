#include "ImageDeinterlace.h"

#include "FramePlanes.h"
#include "ImageAdjustKernels.h"

#include <cstddef>
#include <cstring>

namespace {

void CopyRow(const unsigned char* src, unsigned char* dst, int width)
{
    std::memcpy(dst, src, static_cast<size_t>(width));
}

// dst = (a + b) >> 1 per sample, truncating.
void AverageRows(const unsigned char* a, const unsigned char* b, unsigned char* dst, int width)
{
    GetAdjustKernels().averageRows(a, b, dst, width);
}

void DeinterlacePlane(unsigned char* plane, int width, int rows, int style)
{
    auto row = [plane, width](int r) { return plane + static_cast<ptrdiff_t>(r) * width; };
    switch (style) {
    case DEINTERLACE_DOUBLE_EVEN:
        for (int r = 1; r < rows; r += 2)
            CopyRow(row(r - 1), row(r), width);
        break;
    case DEINTERLACE_DOUBLE_ODD:
        for (int r = 1; r < rows; r += 2)
            CopyRow(row(r), row(r - 1), width);
        break;
    case DEINTERLACE_BLEND_ODD:
        for (int r = 1; r < rows - 1; r += 2)
            AverageRows(row(r - 1), row(r + 1), row(r), width);
        break;
    case DEINTERLACE_BLEND_EVEN:
        for (int r = 2; r < rows - 1; r += 2)
            AverageRows(row(r - 1), row(r + 1), row(r), width);
        break;
    default:
        break;
    }
}

} // namespace

void DeinterlaceImage(MEDIA_FRAME* pFrame, DEINTERLACE_STYLE nStyle)
{
    const int style = static_cast<int>(nStyle);
    if (style < DEINTERLACE_DOUBLE_EVEN || style > DEINTERLACE_BLEND_EVEN)
        return;
    dpimage::FramePlanes p;
    if (!dpimage::GetFramePlanes(pFrame, p))
        return;
    DeinterlacePlane(p.y, p.w, p.h, style);
    DeinterlacePlane(p.u, p.cw, p.ch, style);
    DeinterlacePlane(p.v, p.cw, p.ch, style);
}
