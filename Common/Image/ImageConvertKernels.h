// Row kernels of the colour converters and the fixed-point formulas they
// share (internal to the library).
//
// A public converter in ImageConvert.cpp checks its arguments, walks the
// rows by pitch and hands one or two rows at a time to a kernel of the table
// returned by GetConvertKernels(). Kernels work on whole two-pixel groups
// and know nothing of pitches or regions; an odd last column is finished by
// the public routine with the scalar formulas below. The table holds the
// reference (plain C++) kernels; faster ones plug in at the same boundary.
#ifndef DATAPROCESS_IMAGECONVERTKERNELS_H
#define DATAPROCESS_IMAGECONVERTKERNELS_H

#include "KernelDispatch.h"

#include <cstdint>

namespace dpconv {

// k x i for i = 0..255, built by the compiler: static data, no run-time
// initialisation.
struct MulTable {
    int32_t v[256];
    constexpr int32_t operator[](int i) const { return v[i]; }
};

constexpr MulTable MakeMulTable(int32_t k)
{
    MulTable t{};
    for (int i = 0; i < 256; ++i)
        t.v[i] = k * i;
    return t;
}

// The seven multiplication tables (see the formulas below for their use).
inline constexpr MulTable kMul1163 = MakeMulTable(1163);
inline constexpr MulTable kMul1606 = MakeMulTable(1606);
inline constexpr MulTable kMul4768 = MakeMulTable(4768);
inline constexpr MulTable kMul6660 = MakeMulTable(6660);
inline constexpr MulTable kMul7193 = MakeMulTable(7193);
inline constexpr MulTable kMul8258 = MakeMulTable(8258);
inline constexpr MulTable kMul9536 = MakeMulTable(9536);

inline uint8_t Clamp255(int v) { return static_cast<uint8_t>(v < 0 ? 0 : (v > 255 ? 255 : v)); }

// RGB to YUV, 14-bit fixed point, BT.601 studio range, no clamping:
//   Y = 0.257 R + 0.504 G + 0.098 B + 16    (4211, 8258, 1606 = k x 16384)
//   U = 0.439 B - 0.148 R - 0.291 G + 128   (7193, 2425, 4768)
//   V = 0.439 R - 0.368 G - 0.071 B + 128   (7193, 6029, 1163)
// The shifts floor (arithmetic shift of a possibly negative sum). For 8-bit
// input Y stays in 16..235 and U, V in 16..239.
inline void RgbToYuv14(int r, int g, int b, int& y, int& u, int& v)
{
    y = ((kMul8258[g] + 4211 * r + kMul1606[b]) >> 14) + 16;
    u = ((kMul7193[b] - (2425 * r + kMul4768[g])) >> 14) + 128;
    v = ((kMul7193[r] - (6029 * g + kMul1163[b])) >> 14) + 128;
}

// YUV to RGB, 13-bit fixed point:
//   R = 1.164 (Y - 16) + 1.596 (V - 128)                   (9536, 13074 = k x 8192)
//   G = 1.164 (Y - 16) - 0.813 (V - 128) - 0.391 (U - 128) (6660, 3203)
//   B = 1.164 (Y - 16) + 2.018 (U - 128)                   (16532)
// The chroma terms are computed once per group with the offsets folded in.
// The constants are not the exact folds (1826048, 1109888, 2268672): they
// carry small biases of their own (-47, +30, +78 in 1/8192) and are kept
// bit for bit. The shift floors; no rounding term is added.
struct ChromaTerms13 {
    int32_t rv;
    int32_t gv;
    int32_t bv;
};

inline ChromaTerms13 MakeChromaTerms13(int u, int v)
{
    return ChromaTerms13{13074 * v - 1826095, -3203 * u - kMul6660[v] + 1109918, 16532 * u - 2268594};
}

// Stores one pixel as blue, green, red.
inline void StoreBgr13(uint8_t* dst, int y, const ChromaTerms13& c)
{
    const int32_t y9 = kMul9536[y];
    dst[0] = Clamp255((c.bv + y9) >> 13);
    dst[1] = Clamp255((c.gv + y9) >> 13);
    dst[2] = Clamp255((c.rv + y9) >> 13);
}

// Two picture rows of a bitmap to two Y rows and one U and one V row,
// `pairs` 2 x 2 blocks. a0/a1 receive the fourth bytes (alpha kernel only;
// the others ignore them).
using RgbToI420Row2Fn = void (*)(const uint8_t* src0, const uint8_t* src1, uint8_t* y0, uint8_t* y1,
                                 uint8_t* u, uint8_t* v, uint8_t* a0, uint8_t* a1, int pairs);
// Two Y rows and one U and V row to two bitmap rows, `pairs` 2 x 2 blocks.
using I420ToRgbRow2Fn = void (*)(const uint8_t* y0, const uint8_t* y1, const uint8_t* u, const uint8_t* v,
                                 uint8_t* dst0, uint8_t* dst1, int pairs);
// One 24-bit row to packed 4:2:2 and back, `pairs` groups.
using Rgb24ToPackedRowFn = void (*)(const uint8_t* src, uint8_t* dst, int pairs, int bYUY2);
using PackedToRgb24RowFn = void (*)(const uint8_t* src, uint8_t* dst, int pairs, int bYUY2);
// Two packed rows to two Y rows and one U and V row (vertical chroma mean).
using PackedToI420Row2Fn = void (*)(const uint8_t* src0, const uint8_t* src1, uint8_t* y0, uint8_t* y1,
                                    uint8_t* u, uint8_t* v, int pairs, int bYUY2);
// One Y row and a U and V row to one packed row.
using I420ToPackedRowFn = void (*)(const uint8_t* y, const uint8_t* u, const uint8_t* v, uint8_t* dst,
                                   int pairs, int bYUY2);
// Copies `pairs` byte pairs, swapping the two bytes of each.
using SwapBytePairsRowFn = void (*)(const uint8_t* src, uint8_t* dst, int pairs);

struct ConvertKernels {
    RgbToI420Row2Fn rgb24ToI420Row2;
    RgbToI420Row2Fn rgb32ToI420Row2;
    RgbToI420Row2Fn rgb32ToI420AlphaRow2;
    I420ToRgbRow2Fn i420ToRgb24Row2;
    I420ToRgbRow2Fn i420ToRgb32Row2; // leaves the fourth byte
    I420ToRgbRow2Fn i420ToArgbRow2;  // fourth byte 255
    Rgb24ToPackedRowFn rgb24ToPackedRow;
    PackedToRgb24RowFn packedToRgb24Row;
    PackedToI420Row2Fn packedToI420Row2;
    I420ToPackedRowFn i420ToPackedRow;
    SwapBytePairsRowFn swapBytePairsRow;
};

// The reference kernels.
const ConvertKernels& ReferenceConvertKernels();

// The kernels in use at the active SIMD level (KernelDispatch.h).
const ConvertKernels& GetConvertKernels();

// The vector twins, per level (ImageConvertKernelsSimd.cpp; empty without Highway).
SimdFillers<ConvertKernels> ConvertSimdFillers();

} // namespace dpconv

#endif // DATAPROCESS_IMAGECONVERTKERNELS_H
