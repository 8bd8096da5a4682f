#include "JpegBitmap.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace bmp2jpeg {

namespace {

struct FileCloser {
    FILE* fp;
    ~FileCloser()
    {
        if (fp)
            std::fclose(fp);
    }
};

// Size of the file in bytes, or -1 when it cannot be told.
long long FileSize(FILE* fp)
{
    const long here = std::ftell(fp);
    if (here < 0 || std::fseek(fp, 0, SEEK_END) != 0)
        return -1;
    const long size = std::ftell(fp);
    if (std::fseek(fp, here, SEEK_SET) != 0)
        return -1;
    return size;
}

} // namespace

bool load_bitmap(const char* bmp, LoadedBitmap* out)
{
    if (!bmp || !out)
        return false;
    FileCloser file{std::fopen(bmp, "rb")};
    if (!file.fp)
        return false;

    unsigned char header[54];
    if (std::fread(header, 1, sizeof(header), file.fp) != sizeof(header))
        return false;
    if (header[0] != 'B' || header[1] != 'M')
        return false;
    const unsigned bitcount = header[28] | (header[29] << 8);
    if (bitcount != 24)
        return false;
    // Only the low 16 bits of biWidth and biHeight count: pictures up to
    // 65535 pixels a side. Kept deliberately: the rows are taken to follow
    // the 54-byte header directly, whatever bfOffBits says.
    const uint16_t w = static_cast<uint16_t>(header[18] | (header[19] << 8));
    const uint16_t h = static_cast<uint16_t>(header[22] | (header[23] << 8));
    if (w == 0 || h == 0)
        return false;

    const size_t row_bytes = size_t(w) * 3;
    const size_t file_stride = (row_bytes + 3) & ~size_t(3);
    const size_t padded_width = (size_t(w) + 7) & ~size_t(7);
    const size_t padded_height = (size_t(h) + 7) & ~size_t(7);
    const size_t buffer_row = padded_width * 3;

    // A header that promises more rows than the file holds is refused before
    // anything is allocated (the last row's padding may be missing).
    const long long file_size = FileSize(file.fp);
    if (file_size >= 0) {
        const unsigned long long needed = 54ull + file_stride * (size_t(h) - 1) + row_bytes;
        if (static_cast<unsigned long long>(file_size) < needed)
            return false;
    }

    // At most 65536 * 65536 * 3 bytes: no overflow of a 64-bit size_t.
    unsigned char* rgb = static_cast<unsigned char*>(std::malloc(buffer_row * padded_height));
    if (!rgb)
        return false;

    // File rows (bottom-up) go straight to their top-down buffer rows; the
    // columns beyond the picture repeat its last pixel.
    const size_t row_padding = file_stride - row_bytes;
    bool ok = true;
    for (size_t r = 0; r < h && ok; ++r) {
        unsigned char* row = rgb + (size_t(h) - 1 - r) * buffer_row;
        if (std::fread(row, 1, row_bytes, file.fp) != row_bytes) {
            ok = false;
            continue;
        }
        for (size_t x = w; x < padded_width; ++x)
            std::memcpy(row + x * 3, row + (size_t(w) - 1) * 3, 3);
        unsigned char pad[3];
        if (row_padding && std::fread(pad, 1, row_padding, file.fp) != row_padding && r + 1 < h)
            ok = false;
    }
    if (!ok) {
        std::free(rgb);
        return false;
    }

    // Repeat the last picture row in the padding rows below it.
    for (size_t r = h; r < padded_height; ++r)
        std::memcpy(rgb + r * buffer_row, rgb + (size_t(h) - 1) * buffer_row, buffer_row);

    out->rgb = rgb;
    out->padded_width = padded_width;
    out->padded_height = padded_height;
    out->image_width = w;
    out->image_height = h;
    return true;
}

} // namespace bmp2jpeg
