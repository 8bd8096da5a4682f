// Sample kernels of the audio stages (internal to the library), grouped in
// one table like the image kernels: the plain C++ references here, vector
// twins in AudioKernelsSimd.cpp that give the same samples, chosen by the
// SIMD level (KernelDispatch.h).
#ifndef DATAPROCESS_AUDIOKERNELS_H
#define DATAPROCESS_AUDIOKERNELS_H

#include <cstdint>

#include "KernelDispatch.h"

struct AudioKernels {
    // The converter's rate stage: `frames` output frames of ch channels from
    // W (n input samples, frame -1 is the history frame), `out` being the
    // call's output sample count. Output frame i lies at
    //   pos = (i + 1.0) * n / out - 1.0
    // between input frames idx = trunc(pos + 1.0) - 1 (at least -1) and
    // idx + 1, pos clamped into [idx, idx + 1]; each sample is
    //   a + trunc((pos - idx) * (b - a)), clipped to [-32767, 32767].
    void (*interpolate)(short* out, const short* W, long long frames, int ch, long long n, long long outCount);
    // The 6 -> 2 channel stage over `frames` whole frames (FL FR C LFE SL SR):
    //   L = clip(FL + C/2 + LFE/2 + SL/4), R = clip(FR + C/2 + LFE/2 + SR/4),
    // divisions truncating toward zero. src may sit at any address.
    void (*mix6to2)(short* dst, const short* src, long long frames);
    // v = s * vol / 100 truncating toward zero, clipped to [-32767, 32767],
    // in place; p may sit at any address.
    void (*volume16)(short* p, int n, int vol);
    // v = b * vol / 100 with the byte read unsigned, clipped to [-127, 127],
    // low byte stored.
    void (*volume8)(unsigned char* p, int n, int vol);
};

const AudioKernels& GetAudioKernels();
const AudioKernels& ReferenceAudioKernels();
SimdFillers<AudioKernels> AudioSimdFillers();

#endif // DATAPROCESS_AUDIOKERNELS_H
