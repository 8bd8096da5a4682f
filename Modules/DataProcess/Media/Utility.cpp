#include "Utility.h"

#include <cstdint>

const double DefaultPrecision = 0.001;

int FloatCompare(double a, double b, double eps)
{
    const double d = a - b;
    if (d >= eps)
        return 1;
    if (-eps >= d)
        return -1;
    return 0;
}

int OffsetRect(tagRECT* rc, int dx, int dy)
{
    if (!rc)
        return 0;
    rc->left += dx;
    rc->right += dx;
    rc->top += dy;
    rc->bottom += dy;
    return 1;
}

namespace {

// Reads the little-endian bytes of a field in place, whatever the host order.
uint32_t Le32(uint32_t v)
{
    const unsigned char* b = reinterpret_cast<const unsigned char*>(&v);
    return uint32_t(b[0]) | (uint32_t(b[1]) << 8) | (uint32_t(b[2]) << 16) | (uint32_t(b[3]) << 24);
}

uint16_t Le16(uint16_t v)
{
    const unsigned char* b = reinterpret_cast<const unsigned char*>(&v);
    return static_cast<uint16_t>(b[0] | (b[1] << 8));
}

int32_t Le32s(int32_t v) { return static_cast<int32_t>(Le32(static_cast<uint32_t>(v))); }

} // namespace

void ReverseBitMapInfo(tagBITMAPINFO* info)
{
    if (!info)
        return;
    tagBITMAPINFOHEADER& h = info->bmiHeader;
    h.biSize = Le32(h.biSize);
    h.biWidth = Le32s(h.biWidth);
    h.biHeight = Le32s(h.biHeight);
    h.biPlanes = Le16(h.biPlanes);
    h.biBitCount = Le16(h.biBitCount);
    h.biCompression = Le32(h.biCompression);
    h.biSizeImage = Le32(h.biSizeImage);
    h.biXPelsPerMeter = Le32s(h.biXPelsPerMeter);
    h.biYPelsPerMeter = Le32s(h.biYPelsPerMeter);
    h.biClrUsed = Le32(h.biClrUsed);
    h.biClrImportant = Le32(h.biClrImportant);
}

void xTraceImage(const VideoImage*) {}
