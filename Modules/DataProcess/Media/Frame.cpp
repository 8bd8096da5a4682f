#include "Frame.h"

#include <cstddef>
#include <cstring>
#include <new>

namespace {

void InitTimes(MEDIA_FRAME* f)
{
    f->llStartTime = DP_TIME_UNKNOWN;
    f->llStopTime = DP_TIME_UNKNOWN;
    f->nDuration = 0;
}

// Copies `rows` rows of a plane. Equal pitches copy the plane in one run;
// otherwise each row copies dst's pitch worth of bytes, limited to the
// source pitch so that a narrower source row is never overrun.
void CopyPlane(unsigned char* dst, int dstPitch, const unsigned char* src, int srcPitch, int rows)
{
    if (!dst || !src || rows <= 0 || dstPitch <= 0 || srcPitch <= 0)
        return;
    if (dstPitch == srcPitch) {
        std::memcpy(dst, src, static_cast<size_t>(dstPitch) * static_cast<size_t>(rows));
        return;
    }
    const size_t n = static_cast<size_t>(dstPitch < srcPitch ? dstPitch : srcPitch);
    for (int r = 0; r < rows; ++r)
        std::memcpy(dst + static_cast<ptrdiff_t>(r) * dstPitch, src + static_cast<ptrdiff_t>(r) * srcPitch, n);
}

} // namespace

MEDIA_FRAME* CreateYV12Frame(int width, int height, int withAlpha, int clear)
{
    if (width < 0 || height < 0)
        return nullptr;
    const size_t luma = static_cast<size_t>(width) * static_cast<size_t>(height);
    // Halves rounded up in 64 bits: width + 1 overflows int for INT_MAX.
    const int chromaWidth = static_cast<int>((static_cast<int64_t>(width) + 1) / 2);
    const int chromaHeight = static_cast<int>((static_cast<int64_t>(height) + 1) / 2);
    const size_t chroma = static_cast<size_t>(chromaWidth) * static_cast<size_t>(chromaHeight);
    const size_t planes = (withAlpha ? 2 * luma : luma) + 2 * chroma;

    MEDIA_FRAME* f = new MEDIA_FRAME;
    std::memset(f, 0, sizeof(*f));
    InitTimes(f);
    f->nFrameType = MEDIA_FRAME_VIDEO;
    f->nParam1 = 1;
    f->nParam2 = 2;
    f->nWidth = width;
    f->nHeight = height;
    f->nPitchY = width;
    f->nPitchU = f->nPitchV = chromaWidth;
    try {
        f->pY = new unsigned char[planes + DP_FRAME_SLACK];
    } catch (...) {
        delete f;
        throw;
    }
    f->pV = f->pY + luma;
    f->pU = f->pV + chroma;
    f->pAlpha = withAlpha ? f->pU + chroma : nullptr;
    if (clear) {
        std::memset(f->pY, 16, luma);
        std::memset(f->pV, 128, 2 * chroma);
        if (f->pAlpha)
            std::memset(f->pAlpha, 255, luma);
    }
    return f;
}

void ReleaseYV12Frame(MEDIA_FRAME* frame)
{
    if (!frame)
        return;
    delete[] frame->pY;
    delete frame;
}

void CopyVideoFrame(MEDIA_FRAME* dst, const MEDIA_FRAME* src, int withTime)
{
    if (!dst || !src)
        return;
    if (withTime) {
        dst->llStartTime = src->llStartTime;
        dst->llStopTime = src->llStopTime;
        dst->nDuration = src->nDuration;
    }
    CopyPlane(dst->pY, dst->nPitchY, src->pY, src->nPitchY, dst->nHeight);
    if (src->pAlpha && dst->pAlpha)
        CopyPlane(dst->pAlpha, dst->nPitchY, src->pAlpha, src->nPitchY, dst->nHeight);
    const int chromaRows = (dst->nHeight + 1) / 2;
    CopyPlane(dst->pU, dst->nPitchU, src->pU, src->nPitchU, chromaRows);
    CopyPlane(dst->pV, dst->nPitchV, src->pV, src->nPitchV, chromaRows);
}

MEDIA_FRAME* CreateAudioFrame(int sampleRate, int channels, int bitsPerSample, int bufferSize)
{
    if (bufferSize < 0)
        return nullptr;
    MEDIA_FRAME* f = new MEDIA_FRAME;
    std::memset(f, 0, sizeof(*f));
    InitTimes(f);
    f->nFrameType = MEDIA_FRAME_AUDIO;
    f->nSampleRate = sampleRate;
    f->nChannels = channels;
    f->nBitsPerSample = bitsPerSample;
    try {
        f->pData = new unsigned char[bufferSize > 0 ? static_cast<size_t>(bufferSize) : 1];
    } catch (...) {
        delete f;
        throw;
    }
    f->nBufferSize = bufferSize;
    f->nDataSize = 0;
    return f;
}

void ReleaseAudioFrame(MEDIA_FRAME* frame)
{
    if (!frame)
        return;
    delete[] frame->pData;
    delete frame;
}
