#include "AsyncSink.h"

#include <utility>

namespace dptool {

AsyncSink::AsyncSink(std::unique_ptr<MediaSink> inner, int videoDepth, int audioDepth)
    : m_inner(std::move(inner)), m_hasVideo(m_inner->HasVideo()), m_description(m_inner->Description())
{
    for (int i = 0; i < videoDepth + audioDepth; ++i) {
        m_items.push_back(std::make_unique<Item>());
        m_items.back()->video = i < videoDepth;
        (i < videoDepth ? m_freeVideo : m_freeAudio).push_back(m_items.back().get());
    }
    m_worker = std::thread(&AsyncSink::Work, this);
}

AsyncSink::~AsyncSink()
{
    {
        std::lock_guard<std::mutex> g(m_lock);
        m_failed = true; // what is still queued is not written
        if (m_error.empty())
            m_error = "the output was abandoned";
    }
    Finish();
}

void AsyncSink::Finish()
{
    {
        std::lock_guard<std::mutex> g(m_lock);
        m_closing = true;
    }
    m_changed.notify_all();
    if (m_worker.joinable())
        m_worker.join();
}

bool AsyncSink::Push(const MEDIA_FRAME* frame, bool video)
{
    std::vector<Item*>& pool = video ? m_freeVideo : m_freeAudio;
    Item* item;
    {
        std::unique_lock<std::mutex> g(m_lock);
        m_changed.wait(g, [&] { return m_failed || m_closing || !pool.empty(); });
        if (m_thrown) {
            std::exception_ptr e = std::exchange(m_thrown, nullptr);
            g.unlock();
            std::rethrow_exception(e);
        }
        if (m_failed || m_closing)
            return false;
        item = pool.back();
        pool.pop_back();
    }
    try {
        item->frame.Assign(frame);
    } catch (...) {
        std::lock_guard<std::mutex> g(m_lock);
        pool.push_back(item);
        throw;
    }
    {
        std::lock_guard<std::mutex> g(m_lock);
        m_queue.push_back(item);
    }
    m_changed.notify_all();
    return true;
}

void AsyncSink::Work()
{
    for (;;) {
        Item* item;
        bool write;
        {
            std::unique_lock<std::mutex> g(m_lock);
            m_changed.wait(g, [this] { return m_closing || !m_queue.empty(); });
            if (m_queue.empty())
                return; // closing, all written
            item = m_queue.front();
            m_queue.pop_front();
            write = !m_failed;
        }
        bool ok = true;
        std::string why;
        if (write) {
            try {
                ok = item->video ? m_inner->WriteVideo(item->frame.Get()) : m_inner->WriteAudio(item->frame.Get());
                if (!ok)
                    why = m_inner->Error();
            } catch (...) {
                ok = false;
                std::lock_guard<std::mutex> g(m_lock);
                m_thrown = std::current_exception();
            }
        }
        {
            std::lock_guard<std::mutex> g(m_lock);
            if (!ok && !m_failed) {
                m_failed = true;
                m_error = why;
            }
            (item->video ? m_freeVideo : m_freeAudio).push_back(item);
        }
        m_changed.notify_all();
    }
}

bool AsyncSink::Commit()
{
    Finish();
    if (m_thrown)
        std::rethrow_exception(std::exchange(m_thrown, nullptr));
    if (m_failed)
        return false;
    return m_inner->Commit();
}

std::string AsyncSink::Error() const
{
    std::lock_guard<std::mutex> g(m_lock);
    if (m_failed)
        return m_error;
    return m_worker.joinable() ? std::string() : m_inner->Error();
}

} // namespace dptool
