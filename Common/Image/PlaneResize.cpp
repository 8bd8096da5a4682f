// Own scalers of 8-bit planes and 4:2:0 chroma planes.
#include <algorithm>
#include <vector>

#include "ImageResize.h"
#include "ResizeCommon.h"
#include "ResizeKernels.h"

using namespace dp_resize;

int DIB_ResizeBiLiner8(const IMG_PARAM& src, IMG_PARAM& dst)
{
    if (dst.cx == 1 || dst.cy == 1 || !src.pBits || !dst.pBits)
        return 0;
    if (dst.cx < 2 || dst.cy < 2 || !RegionInside(src) || !RegionInside(dst))
        return 0;
    // Bottom-up, like the 32-bit scaler it mirrors.
    const int64_t stepX = Step12(src.cx, dst.cx);
    const int64_t stepY = Step12(src.cy, dst.cy);
    const Plane8Kernels& k = GetPlane8Kernels();
    const int lastCol = src.cx - 1;
    const int n = dst.cx - 1;
    for (int r = 0; r < dst.cy - 1; ++r) {
        int sy, fy;
        Position(r, stepY, src.y, &sy, &fy);
        const uint8_t* top = RowBU(src, sy) + src.x;
        const uint8_t* bottom = fy ? RowBU(src, sy + 1) + src.x : top;
        uint8_t* d = RowBU(dst, dst.y + r) + dst.x;
        k.bilinear(d, top, bottom, fy, stepX, n);
        d[n] = top[lastCol];
    }
    // Kept deliberately: the last row is not interpolated.
    const uint8_t* last = RowBU(src, src.y + src.cy - 1) + src.x;
    uint8_t* d = RowBU(dst, dst.y + dst.cy - 1) + dst.x;
    k.nearest(d, last, stepX, n);
    d[n] = last[lastCol];
    return 1;
}

int DIB_ResizeNear8(const IMG_PARAM& src, IMG_PARAM& dst)
{
    if (dst.cx < 1 || dst.cy < 1 || !src.pBits || !dst.pBits)
        return 0;
    if (src.nPitch <= 0 || src.x < 0 || src.y < 0 || src.cx < 1 || src.cy < 1 || !RegionInside(dst))
        return 0;

    // Rounded nearest mapping, (i * cx + dcx / 2) / dcx + x. Kept as it is:
    // the last entry is x + cx, one past the region's last column (and row).
    std::vector<int32_t> cols(static_cast<size_t>(dst.cx));
    std::vector<int32_t> rows(static_cast<size_t>(dst.cy));
    auto build = [](std::vector<int32_t>& table, int srcStart, int srcLen, int dstLen) {
        for (int i = 0; i < dstLen - 1; ++i)
            table[static_cast<size_t>(i)] =
                static_cast<int32_t>((static_cast<int64_t>(i) * srcLen + dstLen / 2) / dstLen + srcStart);
        table[static_cast<size_t>(dstLen - 1)] = srcStart + srcLen;
    };
    if (static_cast<int64_t>(src.x) + src.cx > INT32_MAX || static_cast<int64_t>(src.y) + src.cy > INT32_MAX)
        return 0;
    build(cols, src.x, src.cx, dst.cx);
    build(rows, src.y, src.cy, dst.cy);
    if (dst.cy < 2)
        return 1; // only the untouched last row

    // Every byte read, including the one-past column and the doubled y
    // offset, must lie in the source buffer.
    const int64_t maxCol = *std::max_element(cols.begin(), cols.end());
    const int64_t maxRow = static_cast<int64_t>(rows[static_cast<size_t>(dst.cy - 2)]) + src.y;
    if (maxRow * src.nPitch + maxCol >= Extent(src, 1))
        return 0;

    const Plane8Kernels& k = GetPlane8Kernels();
    // Kept deliberately: the last destination row is left untouched, and the
    // source row is addressed at nPitch * (table[r] + src.y) although the
    // table already holds src.y.
    for (int r = 0; r < dst.cy - 1; ++r) {
        const uint8_t* s = src.pBits + static_cast<ptrdiff_t>(rows[static_cast<size_t>(r)] + src.y) * src.nPitch;
        k.table(RowTD(dst, dst.y + r) + dst.x, s, cols.data(), dst.cx);
    }
    return 1;
}

namespace {

// A 4:2:0 chroma plane addressed by luma records: rows r/2, columns c/2.
int ScaleChroma(const IMG_PARAM& src, const IMG_PARAM& dst, bool interpolate)
{
    if (dst.cx < 2 || dst.cy < 2 || !src.pBits || !dst.pBits)
        return 0;
    if (!RegionInside(src) || !RegionInside(dst))
        return 0;
    const int64_t stepX = Step12(src.cx, dst.cx);
    const int64_t stepY = Step12(src.cy, dst.cy);
    const ChromaKernels& k = GetChromaKernels();
    // One output per even luma offset c - dst.x below dst.cx.
    const int n = (dst.cx + 1) / 2;
    int r = dst.y;
    for (; r < dst.y + dst.cy - 2; r += 2) {
        int sy, fy;
        Position(r - dst.y, stepY, src.y, &sy, &fy);
        const uint8_t* top = RowTD(src, sy / 2);
        uint8_t* d = RowTD(dst, r / 2) + dst.x / 2;
        if (interpolate) {
            // Chroma rows sy/2 and (sy+1)/2: they differ only for odd sy.
            const uint8_t* bottom = fy ? RowTD(src, (sy + 1) / 2) : top;
            k.bilinear(d, top, bottom, fy, src.x, stepX, n);
        } else {
            k.nearest(d, top, src.x, stepX, n);
        }
    }
    // The final chroma row, where the loop stopped, nearest from the
    // region's last row. Kept deliberately: its bound c < dst.x + dst.cx - 2
    // leaves the row's last sample unwritten.
    k.nearest(RowTD(dst, r / 2) + dst.x / 2, RowTD(src, (src.y + src.cy - 1) / 2), src.x, stepX, (dst.cx - 1) / 2);
    return 1;
}

} // namespace

int DIB_ResizeBiLinerUV(const IMG_PARAM& src, IMG_PARAM& dst) { return ScaleChroma(src, dst, true); }

int DIB_ResizeNearUV(const IMG_PARAM& src, IMG_PARAM& dst) { return ScaleChroma(src, dst, false); }

int DIB_ResizeBiLinerY_Simulate(const IMG_PARAM& src, IMG_PARAM& dst, int /*nAngle*/)
{
    if (dst.cx < 2 || dst.cy < 2 || !RegionInside(src) || !RegionInside(dst))
        return 0;
    const int64_t stepX = Step12(src.cx, dst.cx);
    const int64_t stepY = Step12(src.cy, dst.cy);
    // The right neighbour of the last column, ((i + 1) * stepX) >> 12, lies
    // past the region when enlarging; it must still lie in the buffer.
    const int64_t maxCol = src.x + ((dst.cx * stepX) >> 12);
    const int64_t maxRow = src.y + (((dst.cy - 1) * stepY) >> 12);
    if (maxRow * src.nPitch + maxCol >= Extent(src, 1))
        return 0;
    const Plane8Kernels& k = GetPlane8Kernels();
    for (int j = 0; j < dst.cy - 1; ++j) {
        int y0, y1, f;
        Position(j, stepY, src.y, &y0, &f);
        Position(j + 1, stepY, src.y, &y1, &f);
        k.average4(RowTD(dst, dst.y + j) + dst.x, RowTD(src, y0) + src.x, RowTD(src, y1) + src.x, stepX, dst.cx);
    }
    // The last row copies every second column only (c - dst.x even, below
    // dst.cx - 1), nearest from the region's last row; kept as it is.
    const uint8_t* last = RowTD(src, src.y + src.cy - 1) + src.x;
    uint8_t* d = RowTD(dst, dst.y + dst.cy - 1) + dst.x;
    for (int i = 0; i < dst.cx - 1; i += 2)
        d[i] = last[(i * stepX) >> 12];
    return 1;
}
