// A pass-through audio decoder that starts the stream at time 0: when the
// source's first block starts later (a container whose audio begins a few
// milliseconds after the file's start, the origin of the video stamps too),
// silence stamped from 0 comes first. The timeline stage fills only gaps of
// 10 ms or more, so without this a late start under that would move the
// whole audio earlier against the video.
#ifndef DATAPROCESS_TOOL_LEADINGSILENCESOURCE_H
#define DATAPROCESS_TOOL_LEADINGSILENCESOURCE_H

#include <algorithm>
#include <cmath>
#include <vector>

#include <DataProcess/DataProcess.h>

namespace dptool {

class LeadingSilenceSource : public AudioDecoder {
public:
    explicit LeadingSilenceSource(AudioDecoder* source) : m_source(source) {}

    int Close() override { return m_source->Close(); }
    int Open(const wchar_t* path, const DecParam* param, int* error) override
    {
        return m_source->Open(path, param, error);
    }
    double AudioSeek(double seconds) override
    {
        m_started = true; // a seek asks for its own position
        m_held = nullptr;
        return m_source->AudioSeek(seconds);
    }
    MEDIA_FRAME* GetNextFrame() override
    {
        if (m_held && m_silentFrames <= 0) {
            MEDIA_FRAME* f = m_held;
            m_held = nullptr;
            return f;
        }
        if (m_held)
            return NextSilence();
        MEDIA_FRAME* f = m_source->GetNextFrame();
        if (m_started || !f)
            return f;
        m_started = true;
        const AudioInfo* ai = m_source->GetAudioInfo();
        if (f->llStartTime <= 0 || !ai || ai->nSampleRate <= 0 || ai->nChannels <= 0)
            return f;
        m_silentFrames = std::llround(double(f->llStartTime) * ai->nSampleRate / 1e7);
        if (m_silentFrames <= 0)
            return f;
        m_held = f; // stays valid: the source is not called until it is handed out
        m_rate = ai->nSampleRate;
        m_frameBytes = ai->nChannels * 2;
        m_silence = *f;
        return NextSilence();
    }
    double GetOffset() const override { return m_source->GetOffset(); }
    const AudioInfo* GetAudioInfo() const override { return m_source->GetAudioInfo(); }
    const AudioStreamInfo* GetAudioStreamInfo() const override { return m_source->GetAudioStreamInfo(); }

private:
    // The next piece of the silence, at most kChunk sample frames.
    MEDIA_FRAME* NextSilence()
    {
        constexpr long long kChunk = 8192;
        const long long n = std::min(kChunk, m_silentFrames);
        m_zeros.assign(static_cast<size_t>(n * m_frameBytes), 0);
        const long long start = m_done;
        m_done += n;
        m_silentFrames -= n;
        m_silence.pData = m_zeros.data();
        m_silence.nDataSize = static_cast<int>(m_zeros.size());
        m_silence.nBufferSize = m_silence.nDataSize;
        m_silence.llStartTime = std::llround(start * 1e7 / m_rate);
        m_silence.llStopTime = m_silence.llStartTime;
        m_silence.nDuration = static_cast<int>(std::llround(m_done * 1e7 / m_rate) - m_silence.llStartTime);
        return &m_silence;
    }

    AudioDecoder* m_source;
    bool m_started = false;
    MEDIA_FRAME* m_held = nullptr; // the source's first block, after the silence
    long long m_silentFrames = 0;  // silence still to hand out
    long long m_done = 0;          // silence handed out
    int m_rate = 0, m_frameBytes = 0;
    MEDIA_FRAME m_silence{};
    std::vector<unsigned char> m_zeros;
};

} // namespace dptool

#endif // DATAPROCESS_TOOL_LEADINGSILENCESOURCE_H
