// A pass-through decoder that decodes ahead on a thread of its own: while
// the stage works on one picture, the next ones are decoded into a small
// ring of copies, so that Forward hands out the next picture without
// waiting for the decoder.
//
// The pictures, their stamps and offsets are the source's, in its order:
// what the stage reads is the same as from the source itself. The picture
// GetFrame returns stays valid until the next call that moves (Forward,
// a seek), as with any decoder. At the end, Forward returns 0 and the last
// picture stays current.
//
// The source belongs to the worker thread while it runs: seeks and
// SetExDecodeParam stop the worker, reach the source on the caller's thread
// and start the worker again (a seek throws the pictures read ahead away).
// Stop() ends the reading ahead for good, after which the source may be
// asked how its reading went (errors, damaged packets). The information
// records are the source's as they were when this wrapper was made.
#ifndef DATAPROCESS_TOOL_READAHEADVIDEOSOURCE_H
#define DATAPROCESS_TOOL_READAHEADVIDEOSOURCE_H

#include <condition_variable>
#include <deque>
#include <exception>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include <DataProcess/DataProcess.h>

#include "FrameCopy.h"

namespace dptool {

class ReadAheadVideoSource : public VideoDecoder {
public:
    // `depth` pictures in the ring (at least 2): the current one and up to
    // depth - 1 read ahead.
    //
    // `exchange`, when given, trades a spare frame for the source's current
    // one (FfmpegVideoSource::ExchangeFrame): the pictures then move into
    // the ring instead of being copied. It returns null when it cannot.
    using Exchange = std::function<MEDIA_FRAME*(MEDIA_FRAME* spare)>;
    explicit ReadAheadVideoSource(VideoDecoder* source, int depth = 4, Exchange exchange = nullptr);
    ~ReadAheadVideoSource() override;

    int Close() override;
    int Open(const wchar_t* path, const DecParam* param, int* error) override;
    intptr_t SetExDecodeParam(unsigned int code, uintptr_t a, uintptr_t b) override;
    const VideoInfo* GetVideoInfo() const override { return m_hasInfo ? &m_info : nullptr; }
    const VideoStreamInfo* GetVideoStreamInfo() const override { return m_hasStream ? &m_stream : nullptr; }
    double VideoSeekTime(double seconds, unsigned int flags) override;
    int VideoSeek(int frame, unsigned int flags) override;
    const MEDIA_FRAME* GetFrame() const override;
    int GetFrameOffset() const override;
    int Forward(int count) override;

    // Ends the reading ahead; the pictures read ahead stay to be handed out.
    // Rethrows what the worker's decoding threw, if anything.
    void Stop();

private:
    struct Slot {
        FrameCopy frame;
        int offset = 0;
    };

    void Halt();   // stops and joins the worker
    void Resume(); // starts the worker unless the source has ended
    void TakeCurrent(); // the source's current picture becomes the current one
    void Work();
    void Keep(Slot* slot, const MEDIA_FRAME* frame); // the source's current picture into `slot`

    VideoDecoder* m_source;
    Exchange m_exchange;
    std::vector<std::unique_ptr<Slot>> m_slots;
    VideoInfo m_info{};
    VideoStreamInfo m_stream{};
    bool m_hasInfo = false, m_hasStream = false;

    std::mutex m_lock;
    std::condition_variable m_changed;
    std::vector<Slot*> m_free;  // slots the worker may fill
    std::deque<Slot*> m_ready;  // decoded pictures, oldest first
    Slot* m_current = nullptr;  // handed out by GetFrame (the caller's)
    bool m_ended = false;       // the source has no picture after the ready ones
    bool m_quit = false;
    bool m_stopped = false;
    std::exception_ptr m_failure;
    std::thread m_worker;
};

} // namespace dptool

#endif // DATAPROCESS_TOOL_READAHEADVIDEOSOURCE_H
