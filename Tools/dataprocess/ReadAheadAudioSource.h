// A pass-through audio decoder that decodes ahead on a thread of its own:
// the next blocks wait in a ring of copies, so that GetNextFrame hands one
// out without waiting for the decoder. Blocks, stamps and GetOffset are the
// source's, in its order; a block handed out stays valid (and may be
// changed by the caller) until the next call.
//
// AudioSeek stops the worker, throws the blocks read ahead away, seeks the
// source on the caller's thread and starts the worker again. Stop() ends
// the reading ahead for good, after which the source may be asked how its
// reading went. The information records are the source's as they were when
// this wrapper was made.
#ifndef DATAPROCESS_TOOL_READAHEADAUDIOSOURCE_H
#define DATAPROCESS_TOOL_READAHEADAUDIOSOURCE_H

#include <condition_variable>
#include <deque>
#include <exception>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include <DataProcess/DataProcess.h>

#include "FrameCopy.h"

namespace dptool {

class ReadAheadAudioSource : public AudioDecoder {
public:
    // `depth` blocks in the ring (at least 2): the one handed out last and
    // up to depth - 1 read ahead.
    explicit ReadAheadAudioSource(AudioDecoder* source, int depth = 32);
    ~ReadAheadAudioSource() override;

    int Close() override;
    int Open(const wchar_t* path, const DecParam* param, int* error) override;
    double AudioSeek(double seconds) override;
    MEDIA_FRAME* GetNextFrame() override;
    double GetOffset() const override { return m_offset; }
    const AudioInfo* GetAudioInfo() const override { return m_hasInfo ? &m_info : nullptr; }
    const AudioStreamInfo* GetAudioStreamInfo() const override { return m_hasStream ? &m_stream : nullptr; }

    // Ends the reading ahead; the blocks read ahead stay to be handed out.
    // Rethrows what the worker's decoding threw, if anything.
    void Stop();

private:
    struct Slot {
        FrameCopy block;
        double offset = 0.0; // the source's GetOffset after this block
    };

    void Halt();
    void Resume();
    void Reset(); // with the worker halted: nothing read ahead, the source's offset
    void ReadInfo();
    void Work();

    AudioDecoder* m_source;
    std::vector<std::unique_ptr<Slot>> m_slots;
    AudioInfo m_info{};
    AudioStreamInfo m_stream{};
    bool m_hasInfo = false, m_hasStream = false;
    double m_offset = 0.0; // the caller's position

    std::mutex m_lock;
    std::condition_variable m_changed;
    std::vector<Slot*> m_free;
    std::deque<Slot*> m_ready;
    Slot* m_current = nullptr; // handed out last
    bool m_ended = false;
    bool m_quit = false;
    bool m_stopped = false;
    std::exception_ptr m_failure;
    std::thread m_worker;
};

} // namespace dptool

#endif // DATAPROCESS_TOOL_READAHEADAUDIOSOURCE_H
