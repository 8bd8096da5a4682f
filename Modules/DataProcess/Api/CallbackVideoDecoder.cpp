// A VideoDecoder over a host's C callbacks (DPVideoCallbacks).
#include "DataProcessCallbacks.h"

#include <cstdio>
#include <cstring>
#include <string>

#include "CallbackRecord.h"
#include "Decoder.h"

namespace {

class CallbackVideoDecoder final : public VideoDecoder {
public:
    CallbackVideoDecoder(const DPVideoCallbacks& cb, const VideoInfo& info) : m_cb(cb)
    {
        m_stream.videoInfo = info;
        Refresh(true);
    }
    ~CallbackVideoDecoder() override
    {
        if (m_cb.Close)
            m_cb.Close(m_cb.pUser);
    }

    // The host opened its source before wrapping it; closing happens once,
    // when the wrapper is destroyed.
    int Close() override { return 1; }
    int Open(const wchar_t*, const DecParam*, int*) override { return 1; }
    intptr_t SetExDecodeParam(unsigned int, uintptr_t, uintptr_t) override { return 0; }
    const VideoInfo* GetVideoInfo() const override { return &m_stream.videoInfo; }
    const VideoStreamInfo* GetVideoStreamInfo() const override { return &m_stream; }
    const MEDIA_FRAME* GetFrame() const override { return m_current; }
    int GetFrameOffset() const override { return m_index; }

    int Forward(int count) override
    {
        if (m_status < 0 || !m_current || count < 1)
            return 0;
        const int moved = m_cb.Forward(m_cb.pUser, count);
        if (moved < 0) {
            Fail(moved, "Forward reported failure (" + std::to_string(moved) + ")");
            return 0;
        }
        if (moved == 0) {
            // The end: the last picture may stay current.
            m_status = DP_CALLBACK_ENDED;
            Refresh(false);
            return 0;
        }
        m_index += moved;
        Refresh(true);
        return m_current ? moved : 0;
    }

    double VideoSeekTime(double seconds, unsigned int flags) override
    {
        if (m_status < 0 || !m_cb.SeekTime)
            return -1.0;
        const double reached = m_cb.SeekTime(m_cb.pUser, seconds, flags);
        if (reached < 0)
            return reached;
        m_index = static_cast<int>(reached * m_stream.videoInfo.dFrameRate + 0.5);
        m_status = DP_CALLBACK_OK;
        Refresh(false);
        return reached;
    }

    int VideoSeek(int frame, unsigned int flags) override
    {
        if (m_status < 0)
            return -1;
        if (!m_cb.SeekFrame) {
            const double reached = VideoSeekTime(frame / m_stream.videoInfo.dFrameRate, flags);
            return reached < 0 ? -1 : m_index;
        }
        const int reached = m_cb.SeekFrame(m_cb.pUser, frame, flags);
        if (reached < 0)
            return reached;
        m_index = reached;
        m_status = DP_CALLBACK_OK;
        Refresh(false);
        return reached;
    }

    int Status(const char** message) const
    {
        if (message)
            *message = m_message.c_str();
        return m_status;
    }

private:
    // Takes the host's current picture after a move. `due`: a picture must
    // be there (the source said it moved onto one).
    void Refresh(bool due)
    {
        const MEDIA_FRAME* f = m_cb.GetFrame(m_cb.pUser);
        m_current = nullptr;
        if (!f) {
            if (due && m_index > 0)
                Fail(DP_CALLBACK_FAILED, "GetFrame gave no picture after Forward moved on");
            else if (m_status == DP_CALLBACK_OK)
                m_status = DP_CALLBACK_ENDED;
            return;
        }
        std::string why;
        if (dpcallback::CheckVideoFrame(*f, m_stream.videoInfo, &why))
            m_current = f;
        else
            Fail(DP_CALLBACK_BAD_FRAME, "picture " + std::to_string(m_index) + ": " + why);
    }

    void Fail(int code, const std::string& what)
    {
        m_status = code;
        m_message = "video callback: " + what;
        m_current = nullptr;
    }

    DPVideoCallbacks m_cb;
    VideoStreamInfo m_stream{};
    const MEDIA_FRAME* m_current = nullptr;
    int m_index = 0;
    int m_status = DP_CALLBACK_OK;
    std::string m_message;
};

} // namespace

VideoDecoder* PCVideoFromCallbacks(const DPVideoCallbacks* callbacks, char* error, size_t errorSize)
{
    DPVideoCallbacks cb;
    std::string why;
    if (!dpcallback::CopyRecord(callbacks, &cb, offsetof(DPVideoCallbacks, Close) + sizeof cb.Close, &why))
        return dpcallback::Refuse<VideoDecoder>(error, errorSize, why);
    if (!cb.GetInfo || !cb.GetFrame || !cb.Forward)
        return dpcallback::Refuse<VideoDecoder>(error, errorSize,
                                                "video callbacks: GetInfo, GetFrame and Forward are required");
    VideoInfo info{};
    const int ok = cb.GetInfo(cb.pUser, &info);
    if (ok <= 0)
        return dpcallback::Refuse<VideoDecoder>(error, errorSize,
                                                "video callbacks: GetInfo reported failure (" + std::to_string(ok) + ")");
    if (!dpcallback::CheckVideoInfo(info, &why))
        return dpcallback::Refuse<VideoDecoder>(error, errorSize, "video callbacks: " + why);
    return new CallbackVideoDecoder(cb, info);
}

int PCVideoCallbackStatus(VideoDecoder* decoder, const char** message)
{
    const auto* wrapper = dynamic_cast<const CallbackVideoDecoder*>(decoder);
    if (!wrapper) {
        if (message)
            *message = "not a callback decoder";
        return DP_CALLBACK_FAILED;
    }
    return wrapper->Status(message);
}
