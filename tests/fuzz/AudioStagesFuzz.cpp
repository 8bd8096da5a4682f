// The audio stages over a host decoder whose blocks carry fuzzed stamps,
// sizes, rates, channel counts and sample widths; the processing stage in
// both resampling modes (modes 3 and 4: the high-quality one, where built).
#include <cstring>
#include <vector>

#include <DataProcess/DataProcess.h>

#include "FuzzInput.h"

namespace {

class FuzzedAudio : public AudioDecoder {
public:
    explicit FuzzedAudio(FuzzInput& in) : m_in(in)
    {
        m_info.nSampleRate = in.Range(0, 200000);
        m_info.nChannels = in.Range(0, 9);
        m_info.nBitsPerSample = in.Range(0, 2) * 8;
        m_info.nBytesPerSecond = m_info.nSampleRate * m_info.nChannels * m_info.nBitsPerSample / 8;
        std::memset(&m_stream, 0, sizeof m_stream);
    }
    ~FuzzedAudio() override { ReleaseAudioFrame(m_frame); }
    int Close() override { return 1; }
    int Open(const wchar_t*, const DecParam*, int*) override { return 1; }
    double AudioSeek(double s) override { return s; }
    MEDIA_FRAME* GetNextFrame() override
    {
        if (m_in.RestSize() == 0 || ++m_blocks > 64)
            return nullptr;
        ReleaseAudioFrame(m_frame);
        const int bytes = m_in.Range(0, 6000);
        m_frame = CreateAudioFrame(m_in.Range(0, 200000), m_in.Range(0, 9), m_in.Range(0, 2) * 8, bytes);
        if (!m_frame)
            return nullptr;
        for (int i = 0; i < bytes; ++i)
            m_frame->pData[i] = m_in.Take<uint8_t>();
        m_frame->nDataSize = m_in.Range(-2, bytes);
        m_frame->llStartTime = m_in.Take<int64_t>() % 1000000000;
        m_frame->llStopTime = m_in.Take<uint8_t>() & 1 ? m_frame->llStartTime : m_in.Take<int64_t>() % 1000000000;
        m_frame->nDuration = m_in.Take<int32_t>();
        return m_frame;
    }
    double GetOffset() const override { return 0.0; }
    const AudioInfo* GetAudioInfo() const override { return &m_info; }
    const AudioStreamInfo* GetAudioStreamInfo() const override { return &m_stream; }

private:
    FuzzInput& m_in;
    AudioInfo m_info{};
    AudioStreamInfo m_stream;
    MEDIA_FRAME* m_frame = nullptr;
    int m_blocks = 0;
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzInput in(data, size);
    const int mode = in.Range(0, 4);
    const int rate = in.Range(0, 96000), channels = in.Range(0, 8), bits = in.Range(0, 2) * 8;
    FuzzedAudio source(in);
    if (mode == 0) {
        AudioEvenProcess even(&source);
        for (int i = 0; i < 200 && even.GetNextFrame(); ++i) {
        }
    } else {
        AudioProcess stage(&source, rate, channels, bits, mode % 2 == 0);
        if (mode >= 3)
            stage.SetResampler(AUDIO_RESAMPLER_HQ);
        stage.SetVolum(in.Range(0, 300));
        stage.FadeInOut(in.Range(0, 3), in.Range(0, 3), in.Range(0, 3), in.Range(0, 3));
        for (int i = 0; i < 200 && stage.GetNextFrame(); ++i) {
        }
    }
    return 0;
}
