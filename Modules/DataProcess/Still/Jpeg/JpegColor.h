// Colour conversion of the baseline JPEG encoder: blue-green-red pixels to
// level-shifted Y, Cb and Cr samples, one 8 x 8 block at a time.
#ifndef DATAPROCESS_JPEG_JPEGCOLOR_H
#define DATAPROCESS_JPEG_JPEGCOLOR_H

#include <cstddef>
#include <cstdint>

namespace bmp2jpeg {

// Products k * i for i = 0..255 of the nine 16-bit fixed-point coefficients.
struct YCbCrTables {
    int32_t YRtab[256], YGtab[256], YBtab[256];
    int32_t CbRtab[256], CbGtab[256], CbBtab[256];
    int32_t CrRtab[256], CrGtab[256], CrBtab[256];
};

// The tables, built on the first call (race-free) and shared afterwards.
const YCbCrTables& precalculate_YCbCr_tables();

// Converts one pixel (the reference formulas, tables folded in).
void rgb_to_YCbCr(const YCbCrTables& t, uint8_t r, uint8_t g, uint8_t b, int8_t* y, int8_t* cb, int8_t* cr);

// Converts the 8 x 8 block whose top-left pixel is (xpos, ypos) of a
// top-down picture of 3-byte pixels (blue, green, red) with `stride_pixels`
// pixels a row; the block must lie inside the buffer. Outputs are in natural
// (row-major) order.
void load_data_units_from_RGB_buffer(const YCbCrTables& t, const unsigned char* rgb, size_t stride_pixels,
                                     size_t xpos, size_t ypos, int8_t* YDU, int8_t* CbDU, int8_t* CrDU);

} // namespace bmp2jpeg

#endif // DATAPROCESS_JPEG_JPEGCOLOR_H
