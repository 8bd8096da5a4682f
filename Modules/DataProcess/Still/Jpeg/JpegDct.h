// Quantisation tables and the forward DCT with quantisation of the baseline
// JPEG encoder.
#ifndef DATAPROCESS_JPEG_JPEGDCT_H
#define DATAPROCESS_JPEG_JPEGDCT_H

#include <cstdint>

namespace bmp2jpeg {

// Scales a basic table (natural order) by scale_factor percent:
// q = (scale_factor * basic[i] + 50) / 100, clamped to 1..255, stored at
// newtable[zigzag[i]] (so newtable is in zig-zag order, as DQT wants it).
void set_quant_table(const uint8_t* basic_table, int scale_factor, uint8_t* newtable);

// Folds a quantisation table (zig-zag order) and the scale of the AAN DCT
// into per-coefficient factors, natural order:
// fdtbl[i] = 1 / (q[zigzag[i]] * s[row] * s[col] * 8).
void prepare_quant_tables(const uint8_t* qtable, float* fdtbl);

// Floating-point AAN forward DCT of one block of level-shifted samples
// (natural order), each coefficient quantised as
// trunc(16384.5 + c * fdtbl[i]) - 16384, stored in zig-zag order.
void fdct_and_quantization(const int8_t* data, const float* fdtbl, int16_t* outdata);

} // namespace bmp2jpeg

#endif // DATAPROCESS_JPEG_JPEGDCT_H
