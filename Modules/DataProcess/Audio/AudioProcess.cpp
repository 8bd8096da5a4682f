#include "AudioProcess.h"

#include "AudioKernels.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>
#include <memory>

#include "AudioConverter.h"
#include "AudioEvenProcess.h"
#include "AudioTimeMap.h"
#include "Frame.h"
#include "OrvLog.h"

namespace {

const int kConverterBufSize = 336000; // samples
const int kOutFrameSize = 131072;     // bytes of the first output buffer
const int kGatherSize = 4096;         // bytes gathered from small source frames
const int kGatherMin = 1024;          // frames below this are gathered

// truncate() of the volume formulas, total over doubles.
int TruncToInt(double v)
{
    if (std::isnan(v))
        return 0;
    if (v >= 2147483647.0)
        return INT_MAX;
    if (v <= -2147483648.0)
        return INT_MIN;
    return static_cast<int>(v);
}

// Samples handed to the converter for `bytes` bytes at `bytesPerSample`.
// The converter reads 16-bit samples, so the count never reaches past the
// bytes there are (for 16-bit input it is simply bytes / 2).
int SampleCount(int bytes, int bytesPerSample)
{
    if (bytesPerSample <= 0 || bytes <= 0)
        return 0;
    return std::min(bytes / bytesPerSample, bytes / 2);
}

} // namespace

AudioProcess::AudioProcess(AudioDecoder* pDecoder_, int nSampleRate, int nChannels, int nBitsPerSample,
                           unsigned int bEven)
    : pSource(pDecoder_), pDecoder(pDecoder_), nVolume(100), pAudioInfo(nullptr), pAudioStreamInfo(nullptr),
      pConverter(nullptr), pOutFrame(nullptr), nOutFrameSize(0), dFadeInStart(0.0), dFadeInEnd(0.0),
      dFadeOutStart(0.0), dFadeOutEnd(0.0), llTotalDuration(0), nResampler(AUDIO_RESAMPLER_LINEAR),
      pTimeMap(nullptr), llFramesOut(0), bFlushed(false)
{
    std::unique_ptr<AudioInfo> info;
    std::unique_ptr<AudioStreamInfo> stream;
    std::unique_ptr<AudioEvenProcess> even;
    if (nSampleRate != 0) {
        info.reset(new AudioInfo());
        info->nSampleRate = nSampleRate;
        info->nChannels = nChannels;
        info->nBitsPerSample = nBitsPerSample;
        info->nBytesPerSecond =
            static_cast<int32_t>(static_cast<int64_t>(nSampleRate) * nChannels * nBitsPerSample / 8);
        const AudioInfo* src = pDecoder ? pDecoder->GetAudioInfo() : nullptr;
        if (src) {
            info->dReserved = src->dReserved;
            info->nReserved = src->nReserved;
        }
        stream.reset(new AudioStreamInfo());
        const AudioStreamInfo* srcStream = pDecoder ? pDecoder->GetAudioStreamInfo() : nullptr;
        if (srcStream)
            std::memcpy(stream.get(), srcStream, sizeof(AudioStreamInfo));
        stream->audioInfo = *info;
    }
    if (bEven && pDecoder)
        even.reset(new AudioEvenProcess(pDecoder));
    pAudioInfo = info.release();
    pAudioStreamInfo = stream.release();
    if (even)
        pSource = even.release();
}

AudioProcess::~AudioProcess()
{
    delete pAudioInfo;
    delete pAudioStreamInfo;
    delete pConverter;
    delete pTimeMap;
    ReleaseAudioFrame(pOutFrame);
    if (pSource != pDecoder)
        delete pSource;
}

int AudioProcess::Close() { return pSource ? pSource->Close() : 0; }

int AudioProcess::Open(const wchar_t*, const DecParam*, int*) { return 1; }

double AudioProcess::AudioSeek(double dTime) { return pSource ? pSource->AudioSeek(dTime) : 0.0; }

double AudioProcess::GetOffset() const { return pSource ? pSource->GetOffset() : 0.0; }

const AudioInfo* AudioProcess::GetAudioInfo() const
{
    if (pAudioInfo)
        return pAudioInfo;
    return pSource ? pSource->GetAudioInfo() : nullptr;
}

const AudioStreamInfo* AudioProcess::GetAudioStreamInfo() const
{
    if (pAudioStreamInfo)
        return pAudioStreamInfo;
    return pSource ? pSource->GetAudioStreamInfo() : nullptr;
}

void AudioProcess::SetVolum(int nVolume_) { nVolume = nVolume_; }

void AudioProcess::FadeInOut(double dInStart, double dInLength, double dOutStart, double dOutLength)
{
    dFadeInStart = dInStart;
    dFadeInEnd = dInStart + dInLength;
    dFadeOutStart = dOutStart;
    dFadeOutEnd = dOutStart + dOutLength;
}

bool AudioProcess::IsFadeInOut(const MEDIA_FRAME*& pFrame)
{
    if (!pFrame)
        return false;
    const double t = static_cast<double>(pFrame->llStartTime) / 1e7;
    if (dFadeInStart != dFadeInEnd && dFadeInStart <= t && t <= dFadeInEnd)
        return true;
    return dFadeOutStart != dFadeOutEnd && dFadeOutStart <= t && t <= dFadeOutEnd;
}

int AudioProcess::GetFadeInOutVolum(const MEDIA_FRAME*& pFrame, int nVolume_)
{
    if (!pFrame)
        return nVolume_;
    const double T = static_cast<double>(pFrame->llStartTime);
    const double t = T / 1e7;
    if (dFadeInEnd > dFadeInStart && dFadeInStart <= t && t <= dFadeInEnd)
        return TruncToInt(nVolume_ * (T - 1e7 * dFadeInStart) / (1e7 * (dFadeInEnd - dFadeInStart)));
    // The fade-out span is not tested here: the caller asked IsFadeInOut.
    const double span = 1e7 * (dFadeOutEnd - dFadeOutStart);
    if (span == 0.0)
        return nVolume_; // no fade-out to ramp over
    return TruncToInt(nVolume_ * (1e7 * dFadeOutEnd - T) / span);
}

int AudioProcess::SetResampler(int nMode)
{
    if (nMode != AUDIO_RESAMPLER_LINEAR && nMode != AUDIO_RESAMPLER_HQ) {
        OrvLogEx(L"AudioProcess: unknown resampler %d (0 linear, 1 hq); the mode is unchanged", nMode);
        return 0;
    }
    if (pConverter) {
        if (pConverter->GetResampler() == nMode)
            return 1;
        OrvLogEx(L"AudioProcess: the resampler is chosen before the first block; the %s resampler stays in use",
                 pConverter->GetResampler() == AUDIO_RESAMPLER_HQ ? "hq" : "linear");
        return 0;
    }
    if (!DPAudioResamplerAvailable(nMode)) {
        OrvLogEx(L"AudioProcess: the hq resampler is not in this build (DataProcess was built without libsoxr); the "
                 L"linear resampler stays in use");
        return 0;
    }
    nResampler = nMode;
    return 1;
}

int AudioProcess::GetResampler() const { return pConverter ? pConverter->GetResampler() : nResampler; }

MEDIA_FRAME* AudioProcess::GetNextFrame()
{
    const AudioInfo* info = GetAudioInfo();
    if (!info || !pSource)
        return nullptr;

    // Small source frames are gathered to at least 1024 bytes before they
    // are converted. The gather buffer lives only during this call.
    alignas(short) unsigned char gather[kGatherSize];
    bool haveGather = false;
    int used = 0;
    int64_t start = -1;
    int64_t stop = -1;
    int64_t duration = 0;
    int bytesPerSample = 2;

    MEDIA_FRAME* frame = nullptr;
    MEDIA_FRAME* result = nullptr;
    for (;;) {
        frame = pSource->GetNextFrame();
        // At the end the high-quality mode still owes its resampler's tail.
        if (!frame && !haveGather && (!pTimeMap || bFlushed))
            return nullptr;
        if (frame) {
            if (start == -1)
                start = frame->llStartTime;
            if (stop == -1)
                stop = frame->llStopTime;
            duration += frame->nDuration;
            llTotalDuration += frame->nDuration;
            bytesPerSample = frame->nBitsPerSample / 8;
            if (!pConverter && pAudioInfo) {
                std::unique_ptr<CAudioConverter> conv(new CAudioConverter(
                    frame->nChannels, pAudioInfo->nChannels, frame->nSampleRate, pAudioInfo->nSampleRate,
                    kConverterBufSize));
                std::unique_ptr<dp_audio::AudioTimeMap> map;
                if (nResampler == AUDIO_RESAMPLER_HQ && conv->SetResampler(AUDIO_RESAMPLER_HQ) &&
                    frame->nSampleRate != pAudioInfo->nSampleRate)
                    map.reset(new dp_audio::AudioTimeMap(frame->nSampleRate, frame->nChannels,
                                                         pAudioInfo->nSampleRate));
                pOutFrame = CreateAudioFrame(pAudioInfo->nSampleRate, pAudioInfo->nChannels,
                                             pAudioInfo->nBitsPerSample, kOutFrameSize);
                nOutFrameSize = kOutFrameSize;
                pConverter = conv.release();
                pTimeMap = map.release();
            }
            if (pTimeMap) {
                if (bFlushed) {
                    // A block after the end (a seek back, say) starts a new stream.
                    pTimeMap->Restart();
                    llFramesOut = 0;
                    bFlushed = false;
                }
                const int bytes = frame->pData && frame->nDataSize > 0 ? frame->nDataSize : 0;
                pTimeMap->AddBlock({frame->llStartTime, frame->llStopTime}, SampleCount(bytes, bytesPerSample));
            }
        }
        if (!pConverter) {
            result = frame; // no target format: the source's own frame
            break;
        }

        if (frame) {
            const short* data = reinterpret_cast<const short*>(frame->pData);
            // A negative size from a decoder counts as an empty block.
            const int bytes = frame->pData && frame->nDataSize > 0 ? frame->nDataSize : 0;
            if (!haveGather && bytes < kGatherMin) {
                haveGather = true;
                used = 0;
            }
            if (!haveGather) {
                pConverter->Put(data, SampleCount(bytes, bytesPerSample));
            } else if (used + bytes > kGatherSize) {
                pConverter->Put(reinterpret_cast<const short*>(gather), SampleCount(used, bytesPerSample));
                pConverter->Put(data, SampleCount(bytes, bytesPerSample));
                haveGather = false;
                used = 0;
            } else {
                if (bytes > 0)
                    std::memcpy(gather + used, frame->pData, static_cast<size_t>(bytes));
                used += bytes;
                if (used < kGatherMin)
                    continue; // another frame to gather
                pConverter->Put(reinterpret_cast<const short*>(gather), SampleCount(used, bytesPerSample));
                haveGather = false;
                used = 0;
            }
        } else {
            // End of source: what was gathered is still converted.
            pConverter->Put(reinterpret_cast<const short*>(gather), SampleCount(used, bytesPerSample));
            haveGather = false;
            used = 0;
            if (pTimeMap) {
                pConverter->Flush();
                bFlushed = true;
            }
        }

        int valid = pConverter->GetValidSize();
        if (static_cast<int64_t>(valid) * 2 > nOutFrameSize) {
            const int64_t size = std::min<int64_t>(static_cast<int64_t>(valid) * 3, INT_MAX);
            delete[] pOutFrame->pData;
            pOutFrame->pData = nullptr;
            pOutFrame->pData = new unsigned char[static_cast<size_t>(size)];
            pOutFrame->nBufferSize = static_cast<int32_t>(size);
            nOutFrameSize = static_cast<int32_t>(size);
            valid = static_cast<int>(std::min<int64_t>(valid, size / 2));
        }
        const int got = pConverter->Get(reinterpret_cast<short*>(pOutFrame->pData), valid);
        pOutFrame->nDataSize = got * bytesPerSample;
        pOutFrame->llStartTime = start;
        pOutFrame->llStopTime = stop;
        pOutFrame->nDuration = static_cast<int32_t>(duration);
        if (pTimeMap && got > 0) {
            // Stamped by where its first sample belongs; the resampler's
            // output is whole frames, and the duration is their length.
            const int64_t frames = got / pAudioInfo->nChannels;
            const dp_audio::AudioTimeMap::Stamps t = pTimeMap->TimeOf(llFramesOut);
            llFramesOut += frames;
            pOutFrame->llStartTime = t.start;
            pOutFrame->llStopTime = t.stop;
            pOutFrame->nDuration = static_cast<int32_t>(std::min<int64_t>(
                std::llround(static_cast<double>(frames) * 1e7 / pAudioInfo->nSampleRate), INT32_MAX));
        }
        if (pOutFrame->nDataSize != 0) {
            result = pOutFrame;
            break;
        }
    }

    const MEDIA_FRAME* view = result;
    const bool apply = nVolume != 100 || IsFadeInOut(view);
    if (apply && bytesPerSample > 0 && result->pData) {
        const int vol = IsFadeInOut(view) ? GetFadeInOutVolum(view, nVolume) : nVolume;
        // A block's stated size beyond its buffer (a decoder's mistake) is
        // taken only as far as the buffer goes.
        int bytes = result->nDataSize;
        if (result->nBufferSize > 0 && bytes > result->nBufferSize)
            bytes = result->nBufferSize;
        const int count = bytes / bytesPerSample;
        if (result->nBitsPerSample == 8)
            ChangeVolume8(result->pData, count, vol);
        else
            ChangeVolume16(reinterpret_cast<short*>(result->pData), count, vol);
    }
    return result;
}

void ChangeVolume16(short* pData, int nCount, int nVolume)
{
    if (nVolume == 100 || !pData || nCount <= 0)
        return;
    GetAudioKernels().volume16(pData, nCount, nVolume);
}

void ChangeVolume8(unsigned char* pData, int nCount, int nVolume)
{
    if (nVolume == 100 || !pData || nCount <= 0)
        return;
    GetAudioKernels().volume8(pData, nCount, nVolume);
}
