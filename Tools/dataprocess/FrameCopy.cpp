#include "FrameCopy.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace dptool {

void FrameCopy::Release()
{
    if (m_audio)
        ReleaseAudioFrame(m_frame);
    else
        ReleaseYV12Frame(m_frame);
    m_frame = nullptr;
}

MEDIA_FRAME* FrameCopy::Take()
{
    if (m_audio)
        return nullptr;
    MEDIA_FRAME* f = m_frame;
    m_frame = nullptr;
    return f;
}

void FrameCopy::Own(MEDIA_FRAME* frame)
{
    Release();
    m_audio = false;
    m_frame = frame;
}

void FrameCopy::Assign(const MEDIA_FRAME* s)
{
    if (s->nFrameType == MEDIA_FRAME_VIDEO) {
        const bool alpha = s->pAlpha != nullptr;
        if (!m_frame || m_audio || m_frame->nWidth != s->nWidth || m_frame->nHeight != s->nHeight ||
            (m_frame->pAlpha != nullptr) != alpha) {
            Release();
            m_audio = false;
            m_frame = CreateYV12Frame(s->nWidth, s->nHeight, alpha ? 1 : 0, 0);
            if (!m_frame)
                throw std::bad_alloc();
        }
        // The record as the source has it (kind, format, stamps), the
        // planes and pitches this frame's own.
        const MEDIA_FRAME own = *m_frame;
        *m_frame = *s;
        m_frame->pY = own.pY;
        m_frame->pU = own.pU;
        m_frame->pV = own.pV;
        m_frame->pAlpha = own.pAlpha;
        m_frame->nPitchY = own.nPitchY;
        m_frame->nPitchU = own.nPitchU;
        m_frame->nPitchV = own.nPitchV;
        CopyVideoFrame(m_frame, s, 1);
        return;
    }
    const int bytes = std::max(s->nDataSize, 0);
    if (!m_frame || !m_audio || m_frame->nBufferSize < bytes) {
        Release();
        m_audio = true;
        m_frame = CreateAudioFrame(s->nSampleRate, s->nChannels, s->nBitsPerSample, bytes);
        if (!m_frame)
            throw std::bad_alloc();
    }
    unsigned char* data = m_frame->pData;
    const int32_t capacity = m_frame->nBufferSize;
    *m_frame = *s;
    m_frame->pData = data;
    m_frame->nBufferSize = capacity;
    if (bytes > 0)
        std::memcpy(data, s->pData, static_cast<size_t>(bytes));
}

} // namespace dptool
