// Row kernel of the horizontal mirror (internal to the library): the plain
// reference in ImageFlip.cpp, a vector twin in ImageFlipKernelsSimd.cpp,
// chosen by the SIMD level (KernelDispatch.h).
#ifndef DATAPROCESS_IMAGEFLIPKERNELS_H
#define DATAPROCESS_IMAGEFLIPKERNELS_H

#include "KernelDispatch.h"

struct FlipKernels {
    // Reverses one row of n samples in place (the middle one of an odd row stays).
    void (*mirrorRow)(unsigned char* row, int n);
};

const FlipKernels& GetFlipKernels();
const FlipKernels& ReferenceFlipKernels();
SimdFillers<FlipKernels> FlipSimdFillers();

#endif // DATAPROCESS_IMAGEFLIPKERNELS_H
