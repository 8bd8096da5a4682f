#include "JpegColor.h"

namespace bmp2jpeg {

// JFIF full-range YCbCr in 16-bit fixed point (x 65536):
//   Y  =  0.299   R + 0.587   G + 0.114   B  -> 19595, 38470, 7471 (sum 65536)
//   Cb = -0.16874 R - 0.33126 G + 0.5     B  -> -11058, -21708, 32768
//   Cr =  0.5     R - 0.41869 G - 0.08131 B  -> 32768, -27438, -5328
// The sums are shifted right by 16 (arithmetic shift: floor); Y is then
// level-shifted by 128 so that all three samples are signed 8-bit values.
const YCbCrTables& precalculate_YCbCr_tables()
{
    static const YCbCrTables tables = [] {
        YCbCrTables t{};
        for (int32_t i = 0; i < 256; ++i) {
            t.YRtab[i] = 19595 * i;
            t.YGtab[i] = 38470 * i;
            t.YBtab[i] = 7471 * i;
            t.CbRtab[i] = -11058 * i;
            t.CbGtab[i] = -21708 * i;
            t.CbBtab[i] = 32768 * i;
            t.CrRtab[i] = 32768 * i;
            t.CrGtab[i] = -27438 * i;
            t.CrBtab[i] = -5328 * i;
        }
        return t;
    }();
    return tables;
}

void rgb_to_YCbCr(const YCbCrTables& t, uint8_t r, uint8_t g, uint8_t b, int8_t* y, int8_t* cb, int8_t* cr)
{
    // Y sums lie in 0 .. 255 * 65536, so Y is 0..255 before the level shift;
    // Cb and Cr sums lie in -127.5 .. 127.5 (x 65536), so -128..127.
    *y = static_cast<int8_t>(((t.YRtab[r] + t.YGtab[g] + t.YBtab[b]) >> 16) - 128);
    *cb = static_cast<int8_t>((t.CbRtab[r] + t.CbGtab[g] + t.CbBtab[b]) >> 16);
    *cr = static_cast<int8_t>((t.CrRtab[r] + t.CrGtab[g] + t.CrBtab[b]) >> 16);
}

void load_data_units_from_RGB_buffer(const YCbCrTables& t, const unsigned char* rgb, size_t stride_pixels,
                                     size_t xpos, size_t ypos, int8_t* YDU, int8_t* CbDU, int8_t* CrDU)
{
    int pos = 0;
    for (size_t y = 0; y < 8; ++y) {
        const unsigned char* p = rgb + ((ypos + y) * stride_pixels + xpos) * 3;
        for (size_t x = 0; x < 8; ++x, ++pos, p += 3)
            rgb_to_YCbCr(t, p[2], p[1], p[0], &YDU[pos], &CbDU[pos], &CrDU[pos]);
    }
}

} // namespace bmp2jpeg
