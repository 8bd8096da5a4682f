#include "ReadAheadVideoSource.h"

#include <algorithm>
#include <utility>

namespace dptool {

ReadAheadVideoSource::ReadAheadVideoSource(VideoDecoder* source, int depth, Exchange exchange)
    : m_source(source), m_exchange(std::move(exchange))
{
    for (int i = 0; i < std::max(depth, 2); ++i)
        m_slots.push_back(std::make_unique<Slot>());
    if (const VideoInfo* vi = source->GetVideoInfo())
        m_info = *vi, m_hasInfo = true;
    if (const VideoStreamInfo* si = source->GetVideoStreamInfo())
        m_stream = *si, m_hasStream = true;
    TakeCurrent();
    Resume();
}

ReadAheadVideoSource::~ReadAheadVideoSource() { Halt(); }

void ReadAheadVideoSource::Halt()
{
    {
        std::lock_guard<std::mutex> g(m_lock);
        m_quit = true;
    }
    m_changed.notify_all();
    if (m_worker.joinable())
        m_worker.join();
    m_quit = false;
}

void ReadAheadVideoSource::Resume()
{
    if (!m_ended && !m_stopped)
        m_worker = std::thread(&ReadAheadVideoSource::Work, this);
}

// With the worker halted: every slot free, the source's picture current.
void ReadAheadVideoSource::TakeCurrent()
{
    m_ready.clear();
    m_free.clear();
    for (auto& s : m_slots)
        m_free.push_back(s.get());
    m_current = nullptr;
    m_ended = false;
    if (const MEDIA_FRAME* f = m_source->GetFrame()) {
        m_current = m_free.back();
        m_free.pop_back();
        m_current->frame.Assign(f);
        m_current->offset = m_source->GetFrameOffset();
    }
}

void ReadAheadVideoSource::Work()
{
    for (;;) {
        Slot* slot;
        {
            std::unique_lock<std::mutex> g(m_lock);
            m_changed.wait(g, [this] { return m_quit || !m_free.empty(); });
            if (m_quit)
                return;
            slot = m_free.back();
            m_free.pop_back();
        }
        bool got = false;
        try {
            const MEDIA_FRAME* f = m_source->Forward(1) >= 1 ? m_source->GetFrame() : nullptr;
            if (f) {
                slot->offset = m_source->GetFrameOffset();
                Keep(slot, f);
                got = true;
            }
        } catch (...) {
            std::lock_guard<std::mutex> g(m_lock);
            m_failure = std::current_exception();
        }
        {
            std::lock_guard<std::mutex> g(m_lock);
            if (got) {
                m_ready.push_back(slot);
            } else {
                m_free.push_back(slot);
                m_ended = true;
            }
        }
        m_changed.notify_all();
        if (!got)
            return;
    }
}

void ReadAheadVideoSource::Keep(Slot* slot, const MEDIA_FRAME* f)
{
    if (m_exchange) {
        MEDIA_FRAME* spare = slot->frame.Take();
        if (!spare || spare->nWidth != f->nWidth || spare->nHeight != f->nHeight) {
            ReleaseYV12Frame(spare);
            spare = CreateYV12Frame(f->nWidth, f->nHeight, 0, 0);
        }
        if (MEDIA_FRAME* got = spare ? m_exchange(spare) : nullptr) {
            slot->frame.Own(got);
            return;
        }
        slot->frame.Own(spare);
    }
    slot->frame.Assign(f);
}

int ReadAheadVideoSource::Forward(int count)
{
    int moved = 0;
    std::unique_lock<std::mutex> g(m_lock);
    while (moved < count) {
        m_changed.wait(g, [this] { return !m_ready.empty() || m_ended || m_stopped; });
        if (m_ready.empty())
            break;
        if (m_current)
            m_free.push_back(m_current);
        m_current = m_ready.front();
        m_ready.pop_front();
        ++moved;
        m_changed.notify_all();
    }
    return moved;
}

const MEDIA_FRAME* ReadAheadVideoSource::GetFrame() const { return m_current ? m_current->frame.Get() : nullptr; }

int ReadAheadVideoSource::GetFrameOffset() const { return m_current ? m_current->offset : 0; }

double ReadAheadVideoSource::VideoSeekTime(double seconds, unsigned int flags)
{
    Halt();
    const double reached = m_source->VideoSeekTime(seconds, flags);
    TakeCurrent();
    Resume();
    return reached;
}

int ReadAheadVideoSource::VideoSeek(int frame, unsigned int flags)
{
    Halt();
    const int reached = m_source->VideoSeek(frame, flags);
    TakeCurrent();
    Resume();
    return reached;
}

intptr_t ReadAheadVideoSource::SetExDecodeParam(unsigned int code, uintptr_t a, uintptr_t b)
{
    Halt();
    const intptr_t r = m_source->SetExDecodeParam(code, a, b);
    Resume();
    return r;
}

int ReadAheadVideoSource::Close()
{
    Halt();
    m_stopped = true;
    return m_source->Close();
}

int ReadAheadVideoSource::Open(const wchar_t* path, const DecParam* param, int* error)
{
    Halt();
    const int r = m_source->Open(path, param, error);
    m_hasInfo = m_hasStream = false;
    if (const VideoInfo* vi = m_source->GetVideoInfo())
        m_info = *vi, m_hasInfo = true;
    if (const VideoStreamInfo* si = m_source->GetVideoStreamInfo())
        m_stream = *si, m_hasStream = true;
    m_stopped = false;
    TakeCurrent();
    Resume();
    return r;
}

void ReadAheadVideoSource::Stop()
{
    Halt();
    m_stopped = true;
    if (m_failure)
        std::rethrow_exception(std::exchange(m_failure, nullptr));
}

} // namespace dptool
