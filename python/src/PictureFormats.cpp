#include "PictureFormats.h"

#include <cstring>
#include <stdexcept>

namespace dppy {

namespace {

// Rows of a bottom-up bitmap are padded to four bytes.
size_t BitmapRow(int width, int bytes) { return (size_t(width) * bytes + 3) & ~size_t(3); }

BITMAPINFOHEADER Header(int width, int height, int bits)
{
    BITMAPINFOHEADER h{};
    h.biSize = sizeof h;
    h.biWidth = width;
    h.biHeight = height;
    h.biPlanes = 1;
    h.biBitCount = static_cast<uint16_t>(bits);
    h.biSizeImage = static_cast<uint32_t>(BitmapRow(width, bits / 8) * height);
    return h;
}

} // namespace

PixelFormat ParsePixelFormat(const std::string& name)
{
    if (name == "yuv420p")
        return PixelFormat::YUV420P;
    if (name == "rgb24")
        return PixelFormat::RGB24;
    if (name == "bgr24")
        return PixelFormat::BGR24;
    if (name == "rgba")
        return PixelFormat::RGBA;
    throw std::invalid_argument("format: '" + name + "' is not one of yuv420p, rgb24, bgr24, rgba");
}

int PackedBytes(PixelFormat f) { return f == PixelFormat::RGBA ? 4 : 3; }

size_t PictureBytes(PixelFormat f, int width, int height)
{
    if (f == PixelFormat::YUV420P)
        return size_t(width) * height + 2 * size_t((width + 1) / 2) * ((height + 1) / 2);
    return size_t(width) * height * PackedBytes(f);
}

void WritePicture(const MEDIA_FRAME& frame, PixelFormat f, unsigned char* out, std::vector<unsigned char>* scratch)
{
    const int w = frame.nWidth, h = frame.nHeight;
    if (f == PixelFormat::YUV420P) {
        const int cw = (w + 1) / 2, ch = (h + 1) / 2;
        const struct {
            const unsigned char* src;
            int pitch, width, height;
        } planes[3] = {{frame.pY, frame.nPitchY, w, h}, {frame.pU, frame.nPitchU, cw, ch}, {frame.pV, frame.nPitchV, cw, ch}};
        for (const auto& p : planes)
            for (int y = 0; y < p.height; ++y, out += p.width)
                std::memcpy(out, p.src + ptrdiff_t(y) * p.pitch, size_t(p.width));
        return;
    }
    // The colour routines write bottom-up BGR(A) bitmaps; the rows are then
    // turned top-down in the order asked for. An odd last row or column,
    // which they leave alone, stays black.
    const int bytes = f == PixelFormat::RGBA ? 4 : 3;
    BITMAPINFOHEADER hdr = Header(w, h, bytes * 8);
    const size_t row = BitmapRow(w, bytes);
    scratch->assign(row * h, 0);
    if (bytes == 4)
        Yuv420_2_Argb(&hdr, scratch->data(), frame.pY, frame.pU, frame.pV, frame.nPitchY, frame.nPitchU, frame.nPitchV);
    else
        Yuv420_2_rgb24(&hdr, scratch->data(), frame.pY, frame.pU, frame.pV, frame.nPitchY, frame.nPitchU,
                       frame.nPitchV);
    const bool swap = f != PixelFormat::BGR24;
    for (int y = 0; y < h; ++y) {
        const unsigned char* s = scratch->data() + row * size_t(h - 1 - y);
        unsigned char* d = out + size_t(y) * w * bytes;
        if (!swap) {
            std::memcpy(d, s, size_t(w) * bytes);
            continue;
        }
        for (int x = 0; x < w; ++x, s += bytes, d += bytes) {
            d[0] = s[2];
            d[1] = s[1];
            d[2] = s[0];
            if (bytes == 4)
                d[3] = s[3];
        }
    }
}

void RgbToFrame(const unsigned char* rgb, ptrdiff_t rowBytes, MEDIA_FRAME* frame, std::vector<unsigned char>* scratch)
{
    const int w = frame->nWidth, h = frame->nHeight;
    BITMAPINFOHEADER hdr = Header(w, h, 24);
    const size_t row = BitmapRow(w, 3);
    scratch->assign(row * h, 0);
    for (int y = 0; y < h; ++y) {
        const unsigned char* s = rgb + rowBytes * y;
        unsigned char* d = scratch->data() + row * size_t(h - 1 - y);
        for (int x = 0; x < w; ++x, s += 3, d += 3) {
            d[0] = s[2];
            d[1] = s[1];
            d[2] = s[0];
        }
    }
    Rgb24_2_yuv420(frame->pY, frame->pU, frame->pV, frame->nPitchY, frame->nPitchU, frame->nPitchV, &hdr,
                   scratch->data());
}

dptool::Bitmap RgbaToBitmap(const unsigned char* rgba, ptrdiff_t rowBytes, int width, int height)
{
    dptool::Bitmap b;
    b.info.bmiHeader = Header(width, height, 32);
    b.bits.resize(size_t(width) * height * 4);
    for (int y = 0; y < height; ++y) {
        const unsigned char* s = rgba + rowBytes * y;
        unsigned char* d = b.bits.data() + size_t(height - 1 - y) * width * 4;
        for (int x = 0; x < width; ++x, s += 4, d += 4) {
            d[0] = s[2];
            d[1] = s[1];
            d[2] = s[0];
            d[3] = s[3];
        }
    }
    return b;
}

} // namespace dppy
