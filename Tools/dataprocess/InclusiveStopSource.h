// A pass-through decoder that hands the constant-rate stage stop times it
// can compare with its grid.
//
// The constant-rate stage keeps a source picture for grid time T while the
// picture's llStopTime is at or after T: it reads the stop time as the last
// tick the picture covers. File decoders stamp the end of the picture
// instead (stop = start + one period), the first tick of the next one; taken
// as it is, every picture would also be shown at the grid time where its
// successor starts, so a 25 fps file on a 25 fps grid would come out one
// picture late with its first picture doubled, and 25 -> 50 fps would give
// 2n + 1 pictures. This wrapper presents each picture's stop time a few
// ticks early, so that a grid time at a picture boundary belongs to the
// picture that starts there.
//
// Why three ticks: start stamps are rounded to the tick (up to 1/2 off), the
// period added to them is rounded too (1/2 more), and the stage truncates its
// grid time, which can come out one tick low after the division in double
// (1 more): a boundary can lie up to 2.5 ticks before the stop time as
// stamped. Three ticks are 300 ns, far below any picture's length, so no
// grid time inside a picture is affected.
#ifndef DATAPROCESS_TOOL_INCLUSIVESTOPSOURCE_H
#define DATAPROCESS_TOOL_INCLUSIVESTOPSOURCE_H

#include <DataProcess/DataProcess.h>

namespace dptool {

class InclusiveStopSource : public VideoDecoder {
public:
    static constexpr long long kBoundaryTicks = 3;

    explicit InclusiveStopSource(VideoDecoder* source) : m_source(source) {}

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
        return m_source->VideoSeekTime(seconds, flags);
    }
    int VideoSeek(int frame, unsigned int flags) override { return m_source->VideoSeek(frame, flags); }
    int GetFrameOffset() const override { return m_source->GetFrameOffset(); }
    int Forward(int count) override { return m_source->Forward(count); }

    // A copy of the source's current record (the planes stay the source's),
    // refreshed on every call: it is valid as long as the source's frame.
    const MEDIA_FRAME* GetFrame() const override
    {
        const MEDIA_FRAME* f = m_source->GetFrame();
        if (!f)
            return nullptr;
        m_frame = *f;
        // Unknown stops, and stops that already name the start (a stage's
        // own pictures carry the start in both stamps), stay as they are.
        if (f->llStartTime >= 0 && f->llStopTime > f->llStartTime && f->llStopTime - f->llStartTime >= kBoundaryTicks)
            m_frame.llStopTime = f->llStopTime - kBoundaryTicks;
        return &m_frame;
    }

private:
    VideoDecoder* m_source;
    mutable MEDIA_FRAME m_frame{};
};

} // namespace dptool

#endif // DATAPROCESS_TOOL_INCLUSIVESTOPSOURCE_H
