#include "BitmapFile.h"

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <memory>

#include "ToolErrors.h"

namespace dptool {

namespace {

struct FileCloser {
    void operator()(FILE* f) const { std::fclose(f); }
};

uint32_t Le32(const unsigned char* p) { return p[0] | (p[1] << 8) | (p[2] << 16) | (uint32_t(p[3]) << 24); }
uint16_t Le16(const unsigned char* p) { return static_cast<uint16_t>(p[0] | (p[1] << 8)); }

struct Header {
    uint32_t offBits;
    tagBITMAPINFOHEADER h;
};

Header ReadHeader(FILE* f, const std::string& path)
{
    unsigned char raw[54];
    if (std::fread(raw, 1, sizeof(raw), f) != sizeof(raw))
        throw ProcessingError(path + ": not a BMP file (shorter than a bitmap header)");
    if (raw[0] != 'B' || raw[1] != 'M')
        throw ProcessingError(path + ": not a BMP file (no \"BM\" signature)");
    Header hd{};
    hd.offBits = Le32(raw + 10);
    const unsigned char* p = raw + 14;
    hd.h.biSize = Le32(p);
    hd.h.biWidth = static_cast<int32_t>(Le32(p + 4));
    hd.h.biHeight = static_cast<int32_t>(Le32(p + 8));
    hd.h.biPlanes = Le16(p + 12);
    hd.h.biBitCount = Le16(p + 14);
    hd.h.biCompression = Le32(p + 16);
    hd.h.biSizeImage = Le32(p + 20);
    if (hd.h.biSize < 40)
        throw ProcessingError(path + ": unsupported BMP header (an OS/2 bitmap?)");
    return hd;
}

} // namespace

Bitmap LoadBitmapFile(const std::string& path)
{
    std::unique_ptr<FILE, FileCloser> f(std::fopen(path.c_str(), "rb"));
    if (!f)
        throw ProcessingError(path + ": cannot open: " + std::strerror(errno));
    Header hd = ReadHeader(f.get(), path);
    const int bpp = hd.h.biBitCount;
    const int64_t w = hd.h.biWidth;
    const int64_t h = hd.h.biHeight < 0 ? -int64_t(hd.h.biHeight) : hd.h.biHeight;
    if (bpp != 24 && bpp != 32)
        throw ProcessingError(path + ": " + std::to_string(bpp) +
                              "-bit bitmap (a watermark must be a 32-bit BMP with alpha, or 24-bit)");
    if (hd.h.biCompression != 0 && !(bpp == 32 && hd.h.biCompression == 3))
        throw ProcessingError(path + ": compressed bitmaps are not supported");
    if (w < 1 || h < 1 || w > 16384 || h > 16384)
        throw ProcessingError(path + ": unusable size " + std::to_string(w) + "x" + std::to_string(h));
    const int64_t srcRow = ((w * bpp + 31) / 32) * 4;
    std::vector<unsigned char> src(static_cast<size_t>(srcRow * h));
    if (std::fseek(f.get(), static_cast<long>(hd.offBits), SEEK_SET) != 0 ||
        std::fread(src.data(), 1, src.size(), f.get()) != src.size())
        throw ProcessingError(path + ": truncated pixel data (expected " + std::to_string(src.size()) + " bytes)");

    Bitmap bmp;
    bmp.info.bmiHeader = hd.h;
    bmp.info.bmiHeader.biSize = 40;
    bmp.info.bmiHeader.biBitCount = 32;
    bmp.info.bmiHeader.biCompression = 0;
    bmp.info.bmiHeader.biSizeImage = static_cast<uint32_t>(w * h * 4);
    if (bpp == 32) {
        bmp.bits = std::move(src);
    } else {
        bmp.bits.resize(static_cast<size_t>(w * h * 4));
        for (int64_t r = 0; r < h; ++r)
            for (int64_t c = 0; c < w; ++c) {
                const unsigned char* s = &src[static_cast<size_t>(r * srcRow + c * 3)];
                unsigned char* d = &bmp.bits[static_cast<size_t>((r * w + c) * 4)];
                d[0] = s[0];
                d[1] = s[1];
                d[2] = s[2];
                d[3] = 255;
            }
    }
    return bmp;
}

void CheckBmp24(const std::string& path)
{
    std::unique_ptr<FILE, FileCloser> f(std::fopen(path.c_str(), "rb"));
    if (!f)
        throw ProcessingError(path + ": cannot open: " + std::strerror(errno));
    Header hd = ReadHeader(f.get(), path);
    if (hd.h.biBitCount != 24)
        throw ProcessingError(path + ": " + std::to_string(hd.h.biBitCount) +
                              "-bit bitmap (the JPEG encoder takes 24-bit BMP files)");
    if (hd.h.biCompression != 0)
        throw ProcessingError(path + ": compressed bitmaps are not supported");
    if (hd.h.biHeight < 0)
        throw ProcessingError(path + ": top-down bitmap (the JPEG encoder takes bottom-up 24-bit BMP files)");
    const int64_t w = hd.h.biWidth, h = hd.h.biHeight;
    if (w < 1 || h < 1 || w > 65535 || h > 65535)
        throw ProcessingError(path + ": unusable size " + std::to_string(w) + "x" + std::to_string(h));
    const int64_t need = int64_t(hd.offBits) + ((w * 24 + 31) / 32) * 4 * h;
    if (std::fseek(f.get(), 0, SEEK_END) != 0 || std::ftell(f.get()) < need)
        throw ProcessingError(path + ": truncated pixel data (the file is shorter than its header says)");
}

} // namespace dptool
