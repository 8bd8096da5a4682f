// Constant tables of the baseline JPEG encoder: the zig-zag order, the
// example quantisation tables and the typical Huffman tables of ITU-T T.81
// Annex K, and the Huffman code record.
#ifndef DATAPROCESS_JPEG_JPEGTABLES_H
#define DATAPROCESS_JPEG_JPEGTABLES_H

#include <cstdint>

namespace bmp2jpeg {

// One Huffman code (or the extra bits of a value): `length` bits of `value`,
// written from the highest of those bits down.
struct bitstring {
    uint16_t length;
    uint16_t value;
};

// zigzag[i] is the position in zig-zag order of the coefficient at natural
// (row-major) index i.
inline constexpr uint8_t zigzag[64] = {
     0,  1,  5,  6, 14, 15, 27, 28,
     2,  4,  7, 13, 16, 26, 29, 42,
     3,  8, 12, 17, 25, 30, 41, 43,
     9, 11, 18, 24, 31, 40, 44, 53,
    10, 19, 23, 32, 39, 45, 52, 54,
    20, 22, 33, 38, 46, 51, 55, 60,
    21, 34, 37, 47, 50, 56, 59, 61,
    35, 36, 48, 49, 57, 58, 62, 63,
};

// Annex K tables K.1 (luminance) and K.2 (chrominance), natural order.
extern const uint8_t std_luminance_qt[64];
extern const uint8_t std_chrominance_qt[64];

// Annex K tables K.3 to K.6: the number of codes of each length 1..16,
// followed by the symbols in order of increasing code length.
extern const uint8_t std_dc_luminance_nrcodes[16];
extern const uint8_t std_dc_luminance_values[12];
extern const uint8_t std_dc_chrominance_nrcodes[16];
extern const uint8_t std_dc_chrominance_values[12];
extern const uint8_t std_ac_luminance_nrcodes[16];
extern const uint8_t std_ac_luminance_values[162];
extern const uint8_t std_ac_chrominance_nrcodes[16];
extern const uint8_t std_ac_chrominance_values[162];

} // namespace bmp2jpeg

#endif // DATAPROCESS_JPEG_JPEGTABLES_H
