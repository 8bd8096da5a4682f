// Row kernels of the per-pixel alpha watermark blend (internal to the
// library): the plain references in WatermarkBlend.cpp, vector twins in
// WatermarkBlendSimd.cpp, chosen by the SIMD level (KernelDispatch.h).
//
// With a = alpha * percent / 100 (alpha 255 where the picture has none):
//   d = (m * a + d * (255 - a)) / 255                 (blendLuma, blendChroma)
//   d = m * a / 255 + d * (255 - a) / 255             (blendLumaSplit: the
//       placement by alignment, two separately truncated quotients)
#ifndef DATAPROCESS_WATERMARKKERNELS_H
#define DATAPROCESS_WATERMARKKERNELS_H

#include <cstdint>

#include "KernelDispatch.h"

struct WatermarkKernels {
    // n luma samples: dst[c] from mark[c] with alpha[c].
    void (*blendLuma)(uint8_t* dst, const uint8_t* mark, const uint8_t* alpha, int n, int percent);
    // n chroma samples of both planes: dstU[k], dstV[k] from markU[k],
    // markV[k] with the alpha of luma sample 2k (alpha[2k]).
    void (*blendChroma)(uint8_t* dstU, uint8_t* dstV, const uint8_t* markU, const uint8_t* markV,
                        const uint8_t* alpha, int n, int percent);
    // n luma samples with two truncated quotients: dst[c] from mark[c] with alpha[c].
    void (*blendLumaSplit)(uint8_t* dst, const uint8_t* mark, const uint8_t* alpha, int n, int percent);
};

const WatermarkKernels& GetWatermarkKernels();
const WatermarkKernels& ReferenceWatermarkKernels();
SimdFillers<WatermarkKernels> WatermarkSimdFillers();

#endif // DATAPROCESS_WATERMARKKERNELS_H
