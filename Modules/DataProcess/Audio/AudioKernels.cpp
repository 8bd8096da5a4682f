#include "AudioKernels.h"

#include <cstddef>
#include <cstring>

namespace {

inline short Clip16(int v) { return static_cast<short>(v > 32767 ? 32767 : (v < -32767 ? -32767 : v)); }

// Samples handed in by a host may sit at any address: read them bytewise.
inline int LoadSample(const short* p, long long i)
{
    short s;
    std::memcpy(&s, reinterpret_cast<const unsigned char*>(p) + i * 2, sizeof s);
    return s;
}

void Interpolate_C(short* pOut, const short* W, long long frames, int ch, long long n, long long out)
{
    for (long long i = 0; i < frames; ++i) {
        double pos = (i + 1.0) * static_cast<double>(n) / static_cast<double>(out) - 1.0;
        long long idx = static_cast<long long>(pos + 1.0) - 1;
        if (idx < -1)
            idx = -1;
        if (static_cast<double>(idx) > pos)
            pos = static_cast<double>(idx);
        else if (pos > static_cast<double>(idx + 1))
            pos = static_cast<double>(idx + 1);
        const double frac = pos - static_cast<double>(idx);
        for (int c = 0; c < ch; ++c) {
            const int a = W[idx * ch + c];
            const int b = W[(idx + 1) * ch + c];
            const int v = a + static_cast<int>(frac * (b - a));
            pOut[i * ch + c] = Clip16(v);
        }
    }
}

void Mix6To2_C(short* pW, const short* pSrc, long long frames)
{
    auto s = [pSrc](long long f, int k) { return LoadSample(pSrc, f * 6 + k); };
    for (long long f = 0; f < frames; ++f) {
        pW[2 * f] = Clip16(s(f, 0) + s(f, 2) / 2 + s(f, 3) / 2 + s(f, 4) / 4);
        pW[2 * f + 1] = Clip16(s(f, 1) + s(f, 2) / 2 + s(f, 3) / 2 + s(f, 5) / 4);
    }
}

void Volume16_C(short* pData, int nCount, int nVolume)
{
    unsigned char* p = reinterpret_cast<unsigned char*>(pData);
    for (int i = 0; i < nCount; ++i) {
        short s;
        std::memcpy(&s, p + 2 * static_cast<ptrdiff_t>(i), sizeof s);
        long long v = static_cast<long long>(s) * nVolume / 100; // truncates toward zero
        if (v > 32767)
            v = 32767;
        else if (v < -32767)
            v = -32767;
        s = static_cast<short>(v);
        std::memcpy(p + 2 * static_cast<ptrdiff_t>(i), &s, sizeof s);
    }
}

void Volume8_C(unsigned char* pData, int nCount, int nVolume)
{
    for (int i = 0; i < nCount; ++i) {
        // Kept deliberately: the byte is read unsigned and limited with
        // signed bounds, so anything above 127 comes out as 127.
        long long v = static_cast<long long>(pData[i]) * nVolume / 100;
        if (v > 127)
            v = 127;
        else if (v < -127)
            v = -127;
        pData[i] = static_cast<unsigned char>(v & 0xFF);
    }
}

const AudioKernels kAudioReference = {Interpolate_C, Mix6To2_C, Volume16_C, Volume8_C};

} // namespace

#if !DP_HAVE_HIGHWAY
SimdFillers<AudioKernels> AudioSimdFillers() { return {}; }
#endif

const AudioKernels& ReferenceAudioKernels() { return kAudioReference; }

const AudioKernels& GetAudioKernels()
{
    static const KernelLadder<AudioKernels> ladder(kAudioReference, AudioSimdFillers());
    return ladder.Get();
}
