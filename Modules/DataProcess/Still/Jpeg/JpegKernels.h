// The per-block kernels of the baseline JPEG encoder in one table: colour
// conversion of an 8 x 8 block and its DCT with quantisation. The reference
// kernels are the stage functions of JpegColor.cpp and JpegDct.cpp; vector
// twins (JpegKernelsSimd.cpp) give the same samples and coefficients,
// chosen by the SIMD level (KernelDispatch.h).
#ifndef DATAPROCESS_JPEG_JPEGKERNELS_H
#define DATAPROCESS_JPEG_JPEGKERNELS_H

#include <cstddef>
#include <cstdint>

#include "JpegColor.h"
#include "JpegTables.h"
#include "KernelDispatch.h"

namespace bmp2jpeg {

// Quantised coefficients of one block as a DCT kernel leaves them: out[k]
// holds the coefficient at zig-zag position p where order[p] == k, and bit
// p of `nonzero` is set when that coefficient is not 0.
struct QuantisedBlock {
    int16_t out[64];
    const uint8_t* order;
    uint64_t nonzero;
};

struct JpegKernels {
    // As load_data_units_from_RGB_buffer.
    void (*loadBlock)(const YCbCrTables& t, const unsigned char* rgb, size_t stride_pixels, size_t xpos, size_t ypos,
                      int8_t* YDU, int8_t* CbDU, int8_t* CrDU);
    // As fdct_and_quantization, into a QuantisedBlock.
    void (*fdctQuant)(const int8_t* data, const float* fdtbl, QuantisedBlock& q);
    // Two blocks with the same table: the same as two fdctQuant calls
    // (wide vectors take both at once).
    void (*fdctQuantPair)(const int8_t* a, const int8_t* b, const float* fdtbl, QuantisedBlock& qa, QuantisedBlock& qb);
};

const JpegKernels& GetJpegKernels();
const JpegKernels& ReferenceJpegKernels();
SimdFillers<JpegKernels> JpegSimdFillers();

// Order tables: zig-zag position -> index (identity for zig-zag storage,
// the natural index for row-major storage), made by the compiler.
struct OrderTable {
    uint8_t v[64];
};
constexpr OrderTable MakeIdentityOrder()
{
    OrderTable t{};
    for (int i = 0; i < 64; ++i)
        t.v[i] = static_cast<uint8_t>(i);
    return t;
}
constexpr OrderTable MakeNaturalOrder()
{
    OrderTable t{};
    for (int i = 0; i < 64; ++i)
        t.v[zigzag[i]] = static_cast<uint8_t>(i);
    return t;
}
inline constexpr OrderTable kZigzagIdentity = MakeIdentityOrder();
inline constexpr OrderTable kNaturalOfZigzag = MakeNaturalOrder();

} // namespace bmp2jpeg

#endif // DATAPROCESS_JPEG_JPEGKERNELS_H
