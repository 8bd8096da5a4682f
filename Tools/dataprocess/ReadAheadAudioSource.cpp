#include "ReadAheadAudioSource.h"

#include <algorithm>
#include <utility>

namespace dptool {

ReadAheadAudioSource::ReadAheadAudioSource(AudioDecoder* source, int depth) : m_source(source)
{
    for (int i = 0; i < std::max(depth, 2); ++i)
        m_slots.push_back(std::make_unique<Slot>());
    ReadInfo();
    Reset();
    Resume();
}

ReadAheadAudioSource::~ReadAheadAudioSource() { Halt(); }

void ReadAheadAudioSource::ReadInfo()
{
    m_hasInfo = m_hasStream = false;
    if (const AudioInfo* ai = m_source->GetAudioInfo())
        m_info = *ai, m_hasInfo = true;
    if (const AudioStreamInfo* si = m_source->GetAudioStreamInfo())
        m_stream = *si, m_hasStream = true;
}

void ReadAheadAudioSource::Halt()
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

void ReadAheadAudioSource::Resume()
{
    if (!m_ended && !m_stopped)
        m_worker = std::thread(&ReadAheadAudioSource::Work, this);
}

void ReadAheadAudioSource::Reset()
{
    m_ready.clear();
    m_free.clear();
    for (auto& s : m_slots)
        m_free.push_back(s.get());
    m_current = nullptr;
    m_ended = false;
    m_offset = m_source->GetOffset();
}

void ReadAheadAudioSource::Work()
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
            if (const MEDIA_FRAME* b = m_source->GetNextFrame()) {
                slot->block.Assign(b);
                slot->offset = m_source->GetOffset();
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

MEDIA_FRAME* ReadAheadAudioSource::GetNextFrame()
{
    std::unique_lock<std::mutex> g(m_lock);
    if (m_current) {
        m_free.push_back(m_current);
        m_current = nullptr;
        m_changed.notify_all();
    }
    m_changed.wait(g, [this] { return !m_ready.empty() || m_ended || m_stopped; });
    if (m_ready.empty())
        return nullptr;
    m_current = m_ready.front();
    m_ready.pop_front();
    m_offset = m_current->offset;
    m_changed.notify_all();
    return m_current->block.Get();
}

double ReadAheadAudioSource::AudioSeek(double seconds)
{
    Halt();
    const double reached = m_source->AudioSeek(seconds);
    Reset();
    Resume();
    return reached;
}

int ReadAheadAudioSource::Close()
{
    Halt();
    m_stopped = true;
    return m_source->Close();
}

int ReadAheadAudioSource::Open(const wchar_t* path, const DecParam* param, int* error)
{
    Halt();
    const int r = m_source->Open(path, param, error);
    ReadInfo();
    m_stopped = false;
    Reset();
    Resume();
    return r;
}

void ReadAheadAudioSource::Stop()
{
    Halt();
    m_stopped = true;
    if (m_failure)
        std::rethrow_exception(std::exchange(m_failure, nullptr));
}

} // namespace dptool
