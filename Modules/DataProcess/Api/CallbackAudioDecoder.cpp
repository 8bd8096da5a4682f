// An AudioDecoder over a host's C callbacks (DPAudioCallbacks).
#include "DataProcessCallbacks.h"

#include <string>

#include "CallbackRecord.h"
#include "Decoder.h"

namespace {

class CallbackAudioDecoder final : public AudioDecoder {
public:
    CallbackAudioDecoder(const DPAudioCallbacks& cb, const AudioInfo& info) : m_cb(cb)
    {
        m_stream.audioInfo = info;
    }
    ~CallbackAudioDecoder() override
    {
        if (m_cb.Close)
            m_cb.Close(m_cb.pUser);
    }

    int Close() override { return 1; }
    int Open(const wchar_t*, const DecParam*, int*) override { return 1; }
    const AudioInfo* GetAudioInfo() const override { return &m_stream.audioInfo; }
    const AudioStreamInfo* GetAudioStreamInfo() const override { return &m_stream; }

    double AudioSeek(double seconds) override
    {
        if (m_status < 0 || !m_cb.Seek)
            return -1.0;
        const double reached = m_cb.Seek(m_cb.pUser, seconds);
        if (reached >= 0) {
            m_status = DP_CALLBACK_OK;
            m_offset = reached;
        }
        return reached;
    }

    // The host's block is copied as a record (its samples are not), so that
    // a stage may move the copy's data pointer without touching the host's.
    MEDIA_FRAME* GetNextFrame() override
    {
        if (m_status < 0)
            return nullptr;
        int status = 0;
        const MEDIA_FRAME* f = m_cb.GetNextFrame(m_cb.pUser, &status);
        if (status < 0) {
            Fail(status, "GetNextFrame reported failure (" + std::to_string(status) + ")");
            return nullptr;
        }
        if (!f) {
            m_status = DP_CALLBACK_ENDED;
            return nullptr;
        }
        std::string why;
        if (!dpcallback::CheckAudioFrame(*f, m_stream.audioInfo, &why)) {
            Fail(DP_CALLBACK_BAD_FRAME, "block " + std::to_string(m_blocks) + ": " + why);
            return nullptr;
        }
        ++m_blocks;
        m_block = *f;
        const AudioInfo& ai = m_stream.audioInfo;
        m_offset = (f->llStartTime >= 0 ? f->llStartTime / 1e7 : m_offset) +
                   double(f->nDataSize) / (ai.nChannels * (ai.nBitsPerSample / 8)) / ai.nSampleRate;
        return &m_block;
    }

    double GetOffset() const override { return m_cb.GetOffset ? m_cb.GetOffset(m_cb.pUser) : m_offset; }

    int Status(const char** message) const
    {
        if (message)
            *message = m_message.c_str();
        return m_status;
    }

private:
    void Fail(int code, const std::string& what)
    {
        m_status = code;
        m_message = "audio callback: " + what;
    }

    DPAudioCallbacks m_cb;
    AudioStreamInfo m_stream{};
    MEDIA_FRAME m_block{};
    double m_offset = 0.0;
    long long m_blocks = 0;
    int m_status = DP_CALLBACK_OK;
    std::string m_message;
};

} // namespace

AudioDecoder* PCAudioFromCallbacks(const DPAudioCallbacks* callbacks, char* error, size_t errorSize)
{
    DPAudioCallbacks cb;
    std::string why;
    if (!dpcallback::CopyRecord(callbacks, &cb, offsetof(DPAudioCallbacks, Close) + sizeof cb.Close, &why))
        return dpcallback::Refuse<AudioDecoder>(error, errorSize, why);
    if (!cb.GetInfo || !cb.GetNextFrame)
        return dpcallback::Refuse<AudioDecoder>(error, errorSize,
                                                "audio callbacks: GetInfo and GetNextFrame are required");
    AudioInfo info{};
    const int ok = cb.GetInfo(cb.pUser, &info);
    if (ok <= 0)
        return dpcallback::Refuse<AudioDecoder>(error, errorSize,
                                                "audio callbacks: GetInfo reported failure (" + std::to_string(ok) + ")");
    if (!dpcallback::CheckAudioInfo(&info, &why))
        return dpcallback::Refuse<AudioDecoder>(error, errorSize, "audio callbacks: " + why);
    return new CallbackAudioDecoder(cb, info);
}

int PCAudioCallbackStatus(AudioDecoder* decoder, const char** message)
{
    const auto* wrapper = dynamic_cast<const CallbackAudioDecoder*>(decoder);
    if (!wrapper) {
        if (message)
            *message = "not a callback decoder";
        return DP_CALLBACK_FAILED;
    }
    return wrapper->Status(message);
}
