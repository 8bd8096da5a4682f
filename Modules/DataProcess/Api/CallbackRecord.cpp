#include "CallbackRecord.h"

namespace dpcallback {

namespace {

// Pictures up to 16384 on a side keep every plane size, and the stages'
// row arithmetic, well inside 32 bits.
constexpr int kMaxSide = 16384;

std::string Num(long long v) { return std::to_string(v); }

} // namespace

void WriteError(char* error, size_t errorSize, const std::string& why)
{
    if (!error || errorSize == 0)
        return;
    const size_t n = why.size() < errorSize - 1 ? why.size() : errorSize - 1;
    std::memcpy(error, why.data(), n);
    error[n] = '\0';
}

bool CheckVideoInfo(const VideoInfo& info, std::string* why)
{
    if (info.nWidth < 1 || info.nHeight < 1 || info.nWidth > kMaxSide || info.nHeight > kMaxSide) {
        *why = "picture size " + Num(info.nWidth) + "x" + Num(info.nHeight) + " is outside 1..16384";
        return false;
    }
    if (!(info.dFrameRate > 0.0 && info.dFrameRate <= 1000.0)) {
        *why = "frame rate " + std::to_string(info.dFrameRate) + " is outside (0, 1000]";
        return false;
    }
    if (info.nFrameCount < 0 || info.nAspectX < 0 || info.nAspectY < 0) {
        *why = "negative frame count or display aspect";
        return false;
    }
    return true;
}

bool CheckVideoFrame(const MEDIA_FRAME& f, const VideoInfo& info, std::string* why)
{
    const int cw = (info.nWidth + 1) / 2;
    if (f.nFrameType != MEDIA_FRAME_VIDEO)
        *why = "nFrameType " + Num(f.nFrameType) + " is not MEDIA_FRAME_VIDEO";
    else if (f.nWidth != info.nWidth || f.nHeight != info.nHeight)
        *why = "size " + Num(f.nWidth) + "x" + Num(f.nHeight) + " differs from the stream's " + Num(info.nWidth) +
               "x" + Num(info.nHeight);
    else if (!f.pY || !f.pU || !f.pV)
        *why = "a null plane pointer";
    else if (f.nPitchY < info.nWidth || f.nPitchU < cw || f.nPitchV < cw)
        *why = "pitches " + Num(f.nPitchY) + "/" + Num(f.nPitchU) + "/" + Num(f.nPitchV) +
               " are narrower than the planes (" + Num(info.nWidth) + "/" + Num(cw) + ")";
    else
        return true;
    return false;
}

bool CheckAudioInfo(AudioInfo* info, std::string* why)
{
    if (info->nSampleRate < 1 || info->nSampleRate > 768000) {
        *why = "sample rate " + Num(info->nSampleRate) + " is outside 1..768000";
        return false;
    }
    if (info->nChannels < 1 || info->nChannels > 8) {
        *why = Num(info->nChannels) + " channels: 1 to 8 are supported";
        return false;
    }
    if (info->nBitsPerSample != 8 && info->nBitsPerSample != 16) {
        *why = Num(info->nBitsPerSample) + " bits per sample: 8 or 16 are supported";
        return false;
    }
    if (info->nBytesPerSecond == 0)
        info->nBytesPerSecond = info->nSampleRate * info->nChannels * (info->nBitsPerSample / 8);
    return true;
}

bool CheckAudioFrame(const MEDIA_FRAME& f, const AudioInfo& info, std::string* why)
{
    const int align = info.nChannels * (info.nBitsPerSample / 8);
    if (f.nFrameType != MEDIA_FRAME_AUDIO)
        *why = "nFrameType " + Num(f.nFrameType) + " is not MEDIA_FRAME_AUDIO";
    else if (f.nSampleRate != info.nSampleRate || f.nChannels != info.nChannels ||
             f.nBitsPerSample != info.nBitsPerSample)
        *why = "format " + Num(f.nSampleRate) + " Hz/" + Num(f.nChannels) + " ch/" + Num(f.nBitsPerSample) +
               " bits differs from the stream's " + Num(info.nSampleRate) + "/" + Num(info.nChannels) + "/" +
               Num(info.nBitsPerSample);
    else if (f.nDataSize < 0 || f.nDataSize > f.nBufferSize || (f.nDataSize > 0 && !f.pData))
        *why = "nDataSize " + Num(f.nDataSize) + " does not fit the buffer (" + Num(f.nBufferSize) + " bytes)";
    else if (f.nDataSize % align != 0)
        *why = "nDataSize " + Num(f.nDataSize) + " is not a whole number of " + Num(align) + "-byte sample frames";
    else
        return true;
    return false;
}

} // namespace dpcallback
