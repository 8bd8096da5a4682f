// A sink that writes behind on a thread of its own: WriteVideo and
// WriteAudio copy the picture or block into a bounded queue and return,
// and the worker hands the copies to the inner sink (an encoder and muxer,
// a y4m or WAV writer) in the order they came. The output is the inner
// sink's, byte for byte.
//
// A failure of the inner sink is reported at the next write or at Commit:
// the write returns false and Error() says why; what was queued after the
// failure is dropped. Commit waits for the queue to drain, then completes
// the inner sink. Destroyed without Commit, nothing more is written and the
// inner sink is destroyed as it would be (a partial output is removed).
#ifndef DATAPROCESS_TOOL_ASYNCSINK_H
#define DATAPROCESS_TOOL_ASYNCSINK_H

#include <condition_variable>
#include <deque>
#include <exception>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "FrameCopy.h"
#include "MediaOutputs.h"

namespace dptool {

class AsyncSink : public MediaSink {
public:
    // Up to `videoDepth` pictures and `audioDepth` audio blocks wait at once.
    explicit AsyncSink(std::unique_ptr<MediaSink> inner, int videoDepth = 16, int audioDepth = 256);
    ~AsyncSink() override;

    bool WriteVideo(const MEDIA_FRAME* frame) override { return Push(frame, true); }
    bool WriteAudio(const MEDIA_FRAME* block) override { return Push(block, false); }
    bool Commit() override;
    std::string Error() const override;
    bool HasVideo() const override { return m_hasVideo; }
    std::string Description() const override { return m_description; }

private:
    struct Item {
        FrameCopy frame;
        bool video = false;
    };

    bool Push(const MEDIA_FRAME* frame, bool video);
    void Finish(); // drains the queue and joins the worker
    void Work();

    std::unique_ptr<MediaSink> m_inner;
    const bool m_hasVideo;
    const std::string m_description;
    std::vector<std::unique_ptr<Item>> m_items;

    mutable std::mutex m_lock;
    std::condition_variable m_changed;
    std::vector<Item*> m_freeVideo, m_freeAudio;
    std::deque<Item*> m_queue;
    bool m_closing = false; // no more items come: the worker ends when the queue is empty
    bool m_failed = false;
    std::string m_error;
    std::exception_ptr m_thrown;
    std::thread m_worker;
};

} // namespace dptool

#endif // DATAPROCESS_TOOL_ASYNCSINK_H
