// Reading of the 24-bit BMP file that the baseline JPEG encoder converts.
#ifndef DATAPROCESS_JPEG_JPEGBITMAP_H
#define DATAPROCESS_JPEG_JPEGBITMAP_H

#include <cstddef>
#include <cstdint>

namespace bmp2jpeg {

// The picture as the encoder holds it: top-down rows of 3-byte pixels
// (blue, green, red), padded on the right and at the bottom to multiples of
// 8 by repeating the last column and the last row.
struct LoadedBitmap {
    unsigned char* rgb = nullptr; // malloc'ed, padded_width * padded_height * 3 bytes; the caller frees it
    size_t padded_width = 0;
    size_t padded_height = 0;
    uint16_t image_width = 0; // the picture size (low 16 bits of the header's fields)
    uint16_t image_height = 0;
};

// Reads a BMP file: a 54-byte header starting with "BM" and with a bit count
// of 24, then the rows bottom-up, each padded to 4 bytes. Returns false,
// with nothing allocated, when the file is missing, is not such a bitmap,
// has a zero size, is shorter than its header says, or memory runs out.
bool load_bitmap(const char* bmp, LoadedBitmap* out);

} // namespace bmp2jpeg

#endif // DATAPROCESS_JPEG_JPEGBITMAP_H
