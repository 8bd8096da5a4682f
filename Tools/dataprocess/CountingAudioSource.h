// A pass-through audio decoder that counts the bytes its source hands out,
// so that the tool can report what the timeline stage added and removed.
#ifndef DATAPROCESS_TOOL_COUNTINGAUDIOSOURCE_H
#define DATAPROCESS_TOOL_COUNTINGAUDIOSOURCE_H

#include <DataProcess/DataProcess.h>

namespace dptool {

class CountingAudioSource : public AudioDecoder {
public:
    explicit CountingAudioSource(AudioDecoder* source) : m_source(source) {}

    int Close() override { return m_source->Close(); }
    int Open(const wchar_t* path, const DecParam* param, int* error) override
    {
        return m_source->Open(path, param, error);
    }
    double AudioSeek(double seconds) override { return m_source->AudioSeek(seconds); }
    MEDIA_FRAME* GetNextFrame() override
    {
        MEDIA_FRAME* f = m_source->GetNextFrame();
        if (f && f->nDataSize > 0)
            m_bytes += f->nDataSize;
        return f;
    }
    double GetOffset() const override { return m_source->GetOffset(); }
    const AudioInfo* GetAudioInfo() const override { return m_source->GetAudioInfo(); }
    const AudioStreamInfo* GetAudioStreamInfo() const override { return m_source->GetAudioStreamInfo(); }

    long long Bytes() const { return m_bytes; }

private:
    AudioDecoder* m_source;
    long long m_bytes = 0;
};

} // namespace dptool

#endif // DATAPROCESS_TOOL_COUNTINGAUDIOSOURCE_H
