#include "AudioEvenProcess.h"

#include <algorithm>
#include <atomic>
#include <climits>
#include <cmath>
#include <cstring>

#include "AudioSharedState.h"
#include "OrvLog.h"

namespace {

const int kSilenceSize = 4096; // bytes of the filler buffer, and the largest filler chunk

// Small blocks (under 512 bytes) thrown away whole, counted across every
// instance in the process; their message is logged for every hundredth.
std::atomic<int>& SmallDiscards()
{
    static std::atomic<int> cnt{0};
    return cnt;
}

// truncate() of the formulas, made total: out-of-range values saturate and
// NaN gives 0 instead of undefined behaviour. In range it is the plain cast.
int64_t TruncToInt64(double v)
{
    if (std::isnan(v))
        return 0;
    if (v >= 9223372036854775807.0)
        return INT64_MAX;
    if (v <= -9223372036854775808.0)
        return INT64_MIN;
    return static_cast<int64_t>(v);
}

int32_t TruncToInt32(double v)
{
    if (std::isnan(v))
        return 0;
    if (v >= 2147483647.0)
        return INT32_MAX;
    if (v <= -2147483648.0)
        return INT32_MIN;
    return static_cast<int32_t>(v);
}

// a * b saturated to the int64 range (b small and non-negative in practice).
int64_t MulSat(int64_t a, int64_t b)
{
    int64_t r;
    if (__builtin_mul_overflow(a, b, &r))
        return ((a < 0) != (b < 0)) ? INT64_MIN : INT64_MAX;
    return r;
}

// a - b + c with two's-complement wrap-around instead of signed overflow.
int64_t WrapSubAdd(int64_t a, int64_t b, int64_t c)
{
    return static_cast<int64_t>(static_cast<uint64_t>(a) - static_cast<uint64_t>(b) + static_cast<uint64_t>(c));
}

// A frame's time in seconds.
double FrameTime(const MEDIA_FRAME* f) { return static_cast<double>(f->llStartTime) / 1e7; }

// x / y for the messages, 0 when y is 0.
double Ratio(double x, double y) { return y != 0.0 ? x / y : 0.0; }

} // namespace

namespace dp_audio {

int GetSmallDiscardCount() { return SmallDiscards().load(); }

void SetSmallDiscardCount(int nCount) { SmallDiscards().store(nCount); }

} // namespace dp_audio

AudioEvenProcess::AudioEvenProcess(AudioDecoder* pSource_)
    : pSource(pSource_), pSilence(nullptr), nBlockAlign(0), pPending(nullptr), dCurTime(0.0), llBytesOut(0),
      nFillRemain(0)
{
    std::memset(abLastSample, 0, sizeof abLastSample);
    std::memset(&OutFrame, 0, sizeof OutFrame);
    OutFrame.nFrameType = MEDIA_FRAME_AUDIO;
    const AudioStreamInfo* s = pSource ? pSource->GetAudioStreamInfo() : nullptr;
    if (s) {
        OutFrame.nSampleRate = s->audioInfo.nSampleRate;
        OutFrame.nChannels = s->audioInfo.nChannels;
        OutFrame.nBitsPerSample = s->audioInfo.nBitsPerSample;
        nBlockAlign = s->audioInfo.nChannels * s->audioInfo.nBitsPerSample / 8;
    }
}

AudioEvenProcess::~AudioEvenProcess() { Close(); }

int AudioEvenProcess::Close()
{
    delete[] pSilence;
    pSilence = nullptr;
    return 1;
}

int AudioEvenProcess::Open(const wchar_t*, const DecParam*, int*) { return 1; }

double AudioEvenProcess::AudioSeek(double dTime)
{
    if (!pSource)
        return 0.0;
    pSource->AudioSeek(std::max(dTime - 0.5, 0.0));
    const AudioStreamInfo* s = pSource->GetAudioStreamInfo();
    const int rate = s ? s->audioInfo.nSampleRate : 0;
    const int channels = s ? s->audioInfo.nChannels : 0;
    dCurTime = dTime;
    // The factor 2 is fixed, whatever the sample width.
    llBytesOut = MulSat(TruncToInt64(dTime * rate + 0.5), static_cast<int64_t>(channels) * 2);
    nFillRemain = 0;
    return dTime;
}

double AudioEvenProcess::GetOffset() const { return dCurTime; }

const AudioInfo* AudioEvenProcess::GetAudioInfo() const { return pSource ? pSource->GetAudioInfo() : nullptr; }

const AudioStreamInfo* AudioEvenProcess::GetAudioStreamInfo() const
{
    return pSource ? pSource->GetAudioStreamInfo() : nullptr;
}

// Hands the pending block out whole and keeps its last sample frame for the
// next gap.
void AudioEvenProcess::HandOutPending()
{
    MEDIA_FRAME* f = pPending;
    std::memcpy(&OutFrame, f, sizeof OutFrame);
    pPending = nullptr;
    if (nBlockAlign > 0 && f->pData && f->nDataSize >= nBlockAlign)
        std::memcpy(abLastSample, f->pData + (f->nDataSize - nBlockAlign),
                    static_cast<size_t>(std::min<int32_t>(nBlockAlign, sizeof abLastSample)));
}

// Re-stamps the block from the running clock and advances the clock.
MEDIA_FRAME* AudioEvenProcess::Finish(int nBytesPerSecond)
{
    const int size = OutFrame.nDataSize;
    OutFrame.llStartTime = OutFrame.llStopTime = TruncToInt64(dCurTime * 1e7 + 0.5);
    if (nBytesPerSecond > 0) {
        const double seconds = static_cast<double>(size) / nBytesPerSecond;
        OutFrame.nDuration = TruncToInt32(0.5 + seconds * 1e7);
        dCurTime += seconds;
    } else {
        OutFrame.nDuration = 0;
    }
    llBytesOut += size;
    return &OutFrame;
}

MEDIA_FRAME* AudioEvenProcess::GetNextFrame()
{
    if (!pSource)
        return nullptr;
    const AudioStreamInfo* s = pSource->GetAudioStreamInfo();
    if (!s)
        return nullptr;
    const int rate = s->audioInfo.nSampleRate;
    const int channels = s->audioInfo.nChannels;
    const int bits = s->audioInfo.nBitsPerSample;
    int bps = static_cast<int>(std::min<int64_t>(static_cast<int64_t>(nBlockAlign) * rate, INT_MAX));

    // Owed filler: continuation chunks are pure zeros, cut to whole frames.
    if (nBlockAlign > 0 && nFillRemain >= nBlockAlign) {
        const int chunk = std::min(nFillRemain, kSilenceSize) / nBlockAlign * nBlockAlign;
        if (chunk > 0) {
            nFillRemain -= chunk;
            if (!pSilence)
                pSilence = new unsigned char[kSilenceSize];
            std::memset(pSilence, 0, kSilenceSize);
            OutFrame.pData = pSilence;
            OutFrame.nDataSize = chunk;
            return Finish(bps);
        }
        nFillRemain = 0; // a sample frame wider than the filler buffer: the filler is dropped
    }

    if (pPending) {
        HandOutPending();
        return Finish(bps);
    }

    pPending = pSource->GetNextFrame();
    if (!pPending)
        return nullptr;
    MEDIA_FRAME* const f = pPending;
    const int frameBits = f->nBitsPerSample;
    if (frameBits != bits) {
        bps = static_cast<int>(std::min<int64_t>(static_cast<int64_t>(channels) * rate * frameBits / 8, INT_MAX));
        nBlockAlign = channels * frameBits / 8; // kept from now on
    }
    const int sampleBytes = frameBits / 8;
    if (sampleBytes <= 0) {
        // Samples narrower than a byte cannot be placed on the timeline:
        // handed out as they come.
        HandOutPending();
        return Finish(bps);
    }

    // Where the block belongs (sample frames) against where the data handed
    // out so far reaches, in samples of all channels. The threshold compares
    // that sample count with a byte rate, which makes the tolerance 20 ms for
    // 16-bit and 10 ms for 8-bit audio; kept so.
    const double stop = static_cast<double>(WrapSubAdd(f->llStopTime, s->llStreamStart, s->llTimeOffset)) / 1e7;
    const int64_t pos = TruncToInt64(stop * rate + 0.5);
    const int64_t diff = MulSat(pos, channels) - llBytesOut / sampleBytes;
    const double threshold = 0.01 * bps;
    const int streamSampleBytes = bits / 8;
    const double channelRate = static_cast<double>(channels) * rate;

    if (static_cast<double>(diff) > threshold) {
        // Gap: filler first (one buffer of the held last sample frame, then
        // zeros); the block stays pending and comes out after it.
        const int64_t gapBytes = MulSat(diff, frameBits) / 8;
        if (!pSilence)
            pSilence = new unsigned char[kSilenceSize];
        std::memset(pSilence, 0, kSilenceSize);
        const int copies = nBlockAlign > 0 ? kSilenceSize / nBlockAlign : 0;
        const size_t kept = static_cast<size_t>(std::min<int32_t>(std::max(nBlockAlign, 0), sizeof abLastSample));
        for (int k = 0; k < copies; ++k)
            std::memcpy(pSilence + static_cast<ptrdiff_t>(k) * nBlockAlign, abLastSample, kept);
        nFillRemain = static_cast<int32_t>(std::min<int64_t>(gapBytes, INT32_MAX));
        const int chunk = static_cast<int>(std::min<int64_t>(gapBytes, static_cast<int64_t>(nBlockAlign) * copies));
        nFillRemain -= chunk;
        OutFrame.pData = pSilence;
        OutFrame.nDataSize = chunk;
        const double gapSeconds =
            streamSampleBytes > 0 ? Ratio(static_cast<double>(gapBytes) / streamSampleBytes, channelRate) : 0.0;
        OrvLogEx(L"AudioEvenProcess:: Fill Blank Audio Data [%.02f sec/%I64d bytes] before %.02f sec.", gapSeconds,
                 static_cast<long long>(gapBytes), FrameTime(f));
        return Finish(bps);
    }

    if (static_cast<double>(diff) >= -threshold) {
        HandOutPending();
        return Finish(bps);
    }

    // Overlap: the block starts before the data handed out so far ends.
    const int64_t excess = MulSat(-diff, frameBits) / 8;
    if (f->nDataSize > excess) {
        std::memcpy(&OutFrame, f, sizeof OutFrame);
        OutFrame.pData = f->pData + excess;
        OutFrame.nDataSize = f->nDataSize - static_cast<int32_t>(excess);
        // The byte count is passed as int to match its %d.
        OrvLogEx(L"AudioEvenProcess::Throw away Audio Data [%.03f sec/%d bytes] before %.02f sec.",
                 Ratio(static_cast<double>(-diff), channelRate), static_cast<int>(MulSat(streamSampleBytes, -diff)),
                 FrameTime(f));
        // pPending is left set on purpose: the same block is handed out once
        // more, whole, on the next call. Kept deliberately.
        return Finish(bps);
    }

    // The whole block goes, and as much of the following ones as the
    // overlap still covers.
    const int size = f->nDataSize;
    const double seconds = streamSampleBytes > 0 ? Ratio(static_cast<double>(size / streamSampleBytes), channelRate) : 0.0;
    if (size < 512) {
        const int count = SmallDiscards().fetch_add(1);
        if (count % 100 == 0)
            OrvLogEx(L"AudioEvenProcess::Throw away Audio Data %d [%.03f sec/%d bytes] before %.02f sec.", count,
                     seconds, size, FrameTime(f));
    } else {
        OrvLogEx(L"AudioEvenProcess::Throw away Audio Data [%.03f sec/%d bytes] before %.02f sec.", seconds, size,
                 FrameTime(f));
    }
    int64_t remaining = excess - size;
    while (remaining > 0) {
        pPending = pSource->GetNextFrame();
        if (!pPending)
            return nullptr;
        if (pPending->nDataSize > remaining) {
            std::memcpy(&OutFrame, pPending, sizeof OutFrame);
            OutFrame.pData = pPending->pData + remaining;
            OutFrame.nDataSize = pPending->nDataSize - static_cast<int32_t>(remaining);
            break;
        }
        remaining -= pPending->nDataSize;
    }
    if (remaining == 0) {
        pPending = pSource->GetNextFrame();
        if (!pPending)
            return nullptr;
        std::memcpy(&OutFrame, pPending, sizeof OutFrame);
    }
    // abLastSample is not updated on this path.
    pPending = nullptr;
    return Finish(bps);
}

AudioDecoder* PEAudioCreate(AudioDecoder* pDecoder)
{
    if (!pDecoder)
        return nullptr;
    return new AudioEvenProcess(pDecoder);
}

void PEAudioDestroy(AudioDecoder* pDecoder) { delete pDecoder; }
