// CAudioConverter: channel mixing and linear-interpolation resampling of
// 16-bit signed PCM, with a growing first-in, first-out output buffer.
//
// Every count that crosses this interface is a count of 16-bit sample
// values, interleaved, all channels counted: never bytes, never frames.
//
// The resampler's fractional carry (input not yet turned into output) is one
// value shared by every converter in the process, not one per object. That
// sharing is intended: with two converters in use, the remainder one leaves
// is taken up by the next call of the other at its own rate ratio, so the
// counts each returns depend on how their calls interleave. Access to the
// carry is race-free: each call of ConvertData reads and updates it as one
// atomic step.
//
// The rate conversion described so far is the default mode,
// AUDIO_RESAMPLER_LINEAR. SetResampler(AUDIO_RESAMPLER_HQ) before the first
// Put switches it to libsoxr's high-quality resampler (AudioResampler.h):
// the same channel conversion, then a stream resampler that holds back the
// input its filter still needs, so a stream's last samples come out only
// with Flush. That mode keeps its own counts and leaves the shared carry
// alone.
//
// A converter is used by one thread at a time.
#ifndef DATAPROCESS_AUDIOCONVERTER_H
#define DATAPROCESS_AUDIOCONVERTER_H

#include "AudioResampler.h"
#include "DataProcessExport.h"

class DP_API CAudioConverter {
public:
    // nBufSize is the capacity of the output FIFO (and of the work buffer)
    // in samples; 0 means 262144. Both buffers start zeroed, so the first
    // output frame of a fresh converter interpolates from silence.
    CAudioConverter(int nSrcChannels, int nDstChannels, int nSrcRate, int nDstRate, int nBufSize);
    ~CAudioConverter();
    CAudioConverter(const CAudioConverter&) = delete;
    CAudioConverter& operator=(const CAudioConverter&) = delete;

    // Converts nCount input samples and appends the result to the FIFO;
    // returns the new number of valid samples. The buffers grow as needed.
    // A count of 0 (or less, or a null pSrc) does nothing.
    int Put(const short* pSrc, int nCount);

    // Takes up to nCount samples from the front of the FIFO into pDst and
    // returns how many were copied (0 when the FIFO is empty).
    int Get(short* pDst, int nCount);

    // Capacity left in the FIFO, in samples.
    int GetFreeSize() const;
    // Samples waiting in the FIFO.
    int GetValidSize() const;
    // Empties the FIFO. The interpolation history and the shared carry are
    // kept (in the high-quality mode, the filter's state).
    void Reset();

    // Chooses the rate conversion (AUDIO_RESAMPLER_LINEAR or _HQ) before
    // the first Put; returns 1 when it is in use, 0 when it was refused: an
    // unknown mode, a converter that has already converted, or a stream the
    // high-quality mode cannot serve (a build without libsoxr, no or more
    // than AUDIO_RESAMPLER_HQ_MAX_CHANNELS output channels, a rate of 0 or
    // below, rates more than 1024 times apart). A refusal logs one line
    // (OrvLogEx) and leaves the mode as it was.
    int SetResampler(int nMode);
    // The mode in use.
    int GetResampler() const;
    // Ends the stream: the high-quality mode appends the samples it still
    // holds back (the stream's total is then round(input frames x output
    // rate / input rate) frames) and takes the next Put as the start of a
    // new stream; the linear mode holds nothing back. Returns the new
    // number of valid samples.
    int Flush();

    // The conversion behind Put: writes the converted samples at the end of
    // the FIFO and returns how many were written, without counting them as
    // valid (the caller adds them).
    int ConvertData(const short* pSrc, int nCount);

private:
    bool Grow(long long nGrow);
    bool EnsureCapacity(long long nNeeded);
    int ConvertChannels(const short* pSrc, int nCount, short* pW) const;
    int ConvertHq(const short* pSrc, int nCount);
    int AppendHqOutput();

    short* pOutBuf;  // output FIFO, oldest sample first
    short* pWorkBuf; // history region, then this call's channel-converted input
    int nBufSize;    // capacity of each buffer, samples
    int nValidSize;  // valid samples at the start of pOutBuf
    int nSrcChannels;
    int nDstChannels;
    int nSrcRate;
    int nDstRate;
    int nResampler; // AUDIO_RESAMPLER_LINEAR or _HQ
    bool bStarted;  // Put has converted something
    struct HqState;
    HqState* pHq;   // the high-quality mode's state, when it converts the rate
};

// Mixes nSrcCount buffers of nSamples samples each into pDst with a limiter:
// when the sum leaves [-32767, 32767] the gain drops at once so that the
// sample lands on the limit, then recovers by nSrcCount / 441000 per sample.
// Always returns 0; null buffers or a count of 0 write nothing.
DP_API int IntermixAudio(short** ppSrc, int nSrcCount, int nSamples, short* pDst);

#endif // DATAPROCESS_AUDIOCONVERTER_H
