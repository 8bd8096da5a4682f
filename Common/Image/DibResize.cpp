// Own scalers of 32-bit bottom-up bitmaps: bilinear, nearest, cubic
// convolution, alpha overlay and mask stretching.
#include <cmath>

#include "ImageResize.h"
#include "ResizeCommon.h"
#include "ResizeKernels.h"

using namespace dp_resize;

namespace {

// Both regions usable by a 12-bit scaler: a destination at least 2 x 2 (the
// steps divide by cx - 1 and cy - 1) and both regions inside their buffers.
bool Usable32(const IMG_PARAM& src, const IMG_PARAM& dst)
{
    return dst.cx >= 2 && dst.cy >= 2 && RegionInside(src) && RegionInside(dst);
}

inline uint8_t* Pixel32(uint8_t* row, int x) { return row + static_cast<ptrdiff_t>(x) * 4; }
inline const uint8_t* Pixel32(const uint8_t* row, int x) { return row + static_cast<ptrdiff_t>(x) * 4; }

// Bilinear (interpolate) or nearest rows 0 .. dst.cy - 2 with the last
// column copied, then the last row nearest from the region's last row.
int Scale32(const IMG_PARAM& src, const IMG_PARAM& dst, bool interpolate)
{
    const int64_t stepX = Step12(src.cx, dst.cx);
    const int64_t stepY = Step12(src.cy, dst.cy);
    const Scale32Kernels& k = GetScale32Kernels();
    const int lastCol = src.cx - 1;
    const int n = dst.cx - 1;
    for (int r = 0; r < dst.cy - 1; ++r) {
        int sy, fy;
        Position(r, stepY, src.y, &sy, &fy);
        const uint8_t* top = Pixel32(RowBU(src, sy), src.x);
        uint8_t* d = Pixel32(RowBU(dst, dst.y + r), dst.x);
        if (interpolate) {
            // The row below in picture order lies one pitch lower in memory.
            const uint8_t* bottom = fy ? Pixel32(RowBU(src, sy + 1), src.x) : top;
            k.bilinear(d, top, bottom, fy, stepX, n);
        } else {
            k.nearest(d, top, stepX, n);
        }
        k.nearest(Pixel32(d, n), Pixel32(top, lastCol), 0, 1);
    }
    // Kept deliberately: the last row is not interpolated.
    const uint8_t* last = Pixel32(RowBU(src, src.y + src.cy - 1), src.x);
    uint8_t* d = Pixel32(RowBU(dst, dst.y + dst.cy - 1), dst.x);
    k.nearest(d, last, stepX, n);
    k.nearest(Pixel32(d, n), Pixel32(last, lastCol), 0, 1);
    return 1;
}

} // namespace

int DIB_ResizeBiLiner(const IMG_PARAM& src, IMG_PARAM& dst)
{
    if (dst.cx == 1 || dst.cy == 1 || !src.pBits || !dst.pBits)
        return 0;
    if (!Usable32(src, dst))
        return 0;
    return Scale32(src, dst, true);
}

int DIB_ResizeNear(const IMG_PARAM& src, IMG_PARAM& dst)
{
    if (!Usable32(src, dst))
        return 0;
    return Scale32(src, dst, false);
}

int DIB_ResizeConvolve(const IMG_PARAM& src, IMG_PARAM& dst)
{
    if (!Usable32(src, dst))
        return 0;
    const int64_t stepX = Step12(src.cx, dst.cx);
    const int64_t stepY = Step12(src.cy, dst.cy);
    // Pre-smoothing when a direction is enlarged more than twice or reduced
    // to less than half (step outside (2048, 8192)).
    const bool hSmooth = !(stepX > 2048 && stepX < 8192);
    const bool vSmooth = !(stepY > 2048 && stepY < 8192);
    const Scale32Kernels& k = GetScale32Kernels();
    const int lastY = src.y + src.cy - 1;
    for (int r = 0; r < dst.cy; ++r) {
        int sy, fy;
        Position(r, stepY, src.y, &sy, &fy);
        const double t = static_cast<double>(fy) / 4096.0;
        const double wy[4] = {CubicWeight(1.0 + t), CubicWeight(t), CubicWeight(1.0 - t), CubicWeight(2.0 - t)};
        // Rows sy - 1 .. sy + 2 in picture order. Kept deliberately: near the
        // bottom the row sy + 2 falls back to sy itself, not to the last row.
        const int above = sy <= src.y ? sy : sy - 1;
        const int below = sy >= lastY ? sy : sy + 1;
        const int below2 = sy >= lastY - 1 ? sy : sy + 2;
        const uint8_t* rows[4] = {Pixel32(RowBU(src, above), src.x), Pixel32(RowBU(src, sy), src.x),
                                  Pixel32(RowBU(src, below), src.x), Pixel32(RowBU(src, below2), src.x)};
        k.convolve(Pixel32(RowBU(dst, dst.y + r), dst.x), rows, wy, src.cx - 1, stepX, dst.cx, hSmooth, vSmooth);
    }
    return 1;
}

int DIB_AlphaResizeBiLiner(const IMG_PARAM& src, IMG_PARAM& dst)
{
    if (!src.pBits || !dst.pBits)
        return 0;
    if (!Usable32(src, dst))
        return 0;
    const int64_t stepX = Step12(src.cx, dst.cx);
    const int64_t stepY = Step12(src.cy, dst.cy);
    const OverlayKernels& k = GetOverlayKernels();
    const int lastCol = src.cx - 1;
    const int n = dst.cx - 1;
    for (int r = 0; r < dst.cy - 1; ++r) {
        int sy, fy;
        Position(r, stepY, src.y, &sy, &fy);
        const uint8_t* top = Pixel32(RowBU(src, sy), src.x);
        const uint8_t* bottom = fy ? Pixel32(RowBU(src, sy + 1), src.x) : top;
        uint8_t* d = Pixel32(RowBU(dst, dst.y + r), dst.x);
        k.alphaBilinear(d, top, bottom, fy, stepX, n);
        k.alphaNearest(Pixel32(d, n), Pixel32(top, lastCol), 0, 1);
    }
    // The last row, nearest from the region's last row, blended like the
    // last column (colour bytes only).
    const uint8_t* last = Pixel32(RowBU(src, src.y + src.cy - 1), src.x);
    uint8_t* d = Pixel32(RowBU(dst, dst.y + dst.cy - 1), dst.x);
    k.alphaNearest(d, last, stepX, n);
    k.alphaNearest(Pixel32(d, n), Pixel32(last, lastCol), 0, 1);
    return 1;
}

namespace {

// The mask is one byte a pixel, read at a fixed byte offset
// (nBitCount / 8 - 1) past the pixel's column. Checks that every byte read
// lies in the mask's buffer.
bool MaskReadable(const IMG_PARAM& m, int offset)
{
    if (!m.pBits || m.nPitch <= 0 || m.x < 0 || m.y < 0 || m.cx < 1 || m.cy < 1 ||
        static_cast<int64_t>(m.y) + m.cy > m.nHeight)
        return false;
    const int bpp = m.nBitCount >= 8 ? m.nBitCount / 8 : 1;
    // Bottom-up: the region's last row lies lowest in memory.
    const int64_t lowRow = static_cast<int64_t>(m.nHeight) - m.y - m.cy;
    const int64_t highRow = static_cast<int64_t>(m.nHeight) - m.y - 1;
    const int64_t first = lowRow * m.nPitch + m.x + offset;
    const int64_t last = highRow * m.nPitch + m.x + m.cx - 1 + offset;
    return first >= 0 && last < Extent(m, bpp);
}

int StretchMask(const IMG_PARAM& src, const IMG_PARAM& dst, bool interpolate)
{
    if (!src.pBits || !dst.pBits)
        return 0;
    const int offset = src.nBitCount / 8 - 1;
    if (dst.cx < 2 || dst.cy < 2 || !RegionInside(dst) || !MaskReadable(src, offset))
        return 0;
    const int64_t stepX = Step12(src.cx, dst.cx);
    const int64_t stepY = Step12(src.cy, dst.cy);
    const OverlayKernels& k = GetOverlayKernels();
    const int lastCol = src.cx - 1;
    const int n = dst.cx - 1;
    const ptrdiff_t first = static_cast<ptrdiff_t>(src.x) + offset;
    for (int r = 0; r < dst.cy - 1; ++r) {
        int sy, fy;
        Position(r, stepY, src.y, &sy, &fy);
        const uint8_t* top = RowBU(src, sy) + first;
        uint8_t* d = Pixel32(RowBU(dst, dst.y + r), dst.x);
        if (interpolate) {
            const uint8_t* bottom = fy ? RowBU(src, sy + 1) + first : top;
            k.maskBilinear(d, top, bottom, fy, stepX, n);
        } else {
            k.maskNearest(d, top, stepX, n);
        }
        k.maskNearest(Pixel32(d, n), top + lastCol, 0, 1);
    }
    const uint8_t* last = RowBU(src, src.y + src.cy - 1) + first;
    uint8_t* d = Pixel32(RowBU(dst, dst.y + dst.cy - 1), dst.x);
    k.maskNearest(d, last, stepX, n);
    k.maskNearest(Pixel32(d, n), last + lastCol, 0, 1);
    return 1;
}

} // namespace

int StretchMaskResizeBiLiner(const IMG_PARAM& src, IMG_PARAM& dst) { return StretchMask(src, dst, true); }

int StretchMaskResizeNear(const IMG_PARAM& src, IMG_PARAM& dst) { return StretchMask(src, dst, false); }
