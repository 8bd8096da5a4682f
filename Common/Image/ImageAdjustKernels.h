// Row kernels of the picture adjustments (internal to the library). The
// reference applies the adjustment maps (ImageAdjust.cpp) one after the
// other; vector twins (ImageAdjustKernelsSimd.cpp) compute the same values
// from the maps' formulas, chosen by the SIMD level (KernelDispatch.h).
#ifndef DATAPROCESS_IMAGEADJUSTKERNELS_H
#define DATAPROCESS_IMAGEADJUSTKERNELS_H

#include <cstdint>

#include "KernelDispatch.h"

#include <climits>
#include <cstddef>

constexpr int kNoAdjustStep = INT_MIN;

struct AdjustKernels {
    // One row of n samples, in place: the brightness map of setting
    // `brightness` (-100..100, kNoAdjustStep = no brightness step), then the
    // contrast map of setting `contrast` (likewise) with upper limit `hi`
    // (235 for luma, 240 for chroma). Settings outside -100..100 act as the
    // nearest end; a step at setting 0 still clamps to the video range.
    //   brightness: clamp(v + b, 16, 235)
    //   contrast:   clamp((v - 128) * c / 100 + v, 16, hi), truncating division
    void (*brightnessContrast)(uint8_t* row, int n, int brightness, int contrast, int hi);
    // The saturation map of index `index` (200..600; factor index - 300):
    //   clamp((v - 128) * (index - 300) / 100 + v, 16, 240), truncating division
    void (*saturation)(uint8_t* row, int n, int index);
    // Emboss of n luma samples: y[i] = clamp(y[i] - y[i + step] + 128, 16, 235),
    // in increasing order (a neighbour is read before it is rewritten).
    void (*emboss)(uint8_t* y, std::size_t n, std::size_t step);
    // Luma below 129 becomes `low`, the rest `high`.
    void (*threshold)(uint8_t* y, std::size_t n, uint8_t low, uint8_t high);
    // dst = (a + b) >> 1 per sample (deinterlacing by blending).
    void (*averageRows)(const uint8_t* a, const uint8_t* b, uint8_t* dst, int n);
};

const AdjustKernels& GetAdjustKernels();
const AdjustKernels& ReferenceAdjustKernels();
SimdFillers<AdjustKernels> AdjustSimdFillers();

// The reference maps (256 entries) of one setting.
const uint8_t* BrightnessMap(int brightness);
const uint8_t* ContrastMap(int contrast, int hi);
const uint8_t* SaturationMap(int index);

#endif // DATAPROCESS_IMAGEADJUSTKERNELS_H
