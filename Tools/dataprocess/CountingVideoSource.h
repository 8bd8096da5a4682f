// A pass-through decoder that counts the pictures its source delivers, so
// that the tool can report how many source frames a constant-rate stage
// repeated or skipped.
#ifndef DATAPROCESS_TOOL_COUNTINGVIDEOSOURCE_H
#define DATAPROCESS_TOOL_COUNTINGVIDEOSOURCE_H

#include <DataProcess/DataProcess.h>

namespace dptool {

class CountingVideoSource : public VideoDecoder {
public:
    explicit CountingVideoSource(VideoDecoder* source) : m_source(source) {}

    int Close() override { return m_source->Close(); }
    int Open(const wchar_t* path, const DecParam* param, int* error) override
    {
        return m_source->Open(path, param, error);
    }
    intptr_t SetExDecodeParam(unsigned int code, uintptr_t a, uintptr_t b) override
    {
        return m_source->SetExDecodeParam(code, a, b);
    }
    const VideoInfo* GetVideoInfo() const override { return m_source->GetVideoInfo(); }
    const VideoStreamInfo* GetVideoStreamInfo() const override { return m_source->GetVideoStreamInfo(); }
    double VideoSeekTime(double seconds, unsigned int flags) override
    {
        ++m_position; // a seek lands on a new picture
        return m_source->VideoSeekTime(seconds, flags);
    }
    int VideoSeek(int frame, unsigned int flags) override
    {
        ++m_position;
        return m_source->VideoSeek(frame, flags);
    }
    const MEDIA_FRAME* GetFrame() const override { return m_source->GetFrame(); }
    int GetFrameOffset() const override { return m_source->GetFrameOffset(); }
    int Forward(int count) override
    {
        const int n = m_source->Forward(count);
        if (n > 0)
            m_position += n;
        return n;
    }

    // Pictures delivered so far, counting the first one as 1: the number of
    // the current source picture.
    long long Position() const { return m_position; }

private:
    VideoDecoder* m_source;
    long long m_position = 1;
};

} // namespace dptool

#endif // DATAPROCESS_TOOL_COUNTINGVIDEOSOURCE_H
