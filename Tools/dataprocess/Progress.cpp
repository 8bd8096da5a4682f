#include "Progress.h"

#include <cstdio>
#include <unistd.h>

namespace dptool {

Progress::Progress(bool quiet, std::string unit)
    : m_enabled(!quiet && isatty(STDERR_FILENO)), m_unit(std::move(unit)), m_start(std::chrono::steady_clock::now()),
      m_last(m_start)
{
}

Progress::~Progress() { Finish(); }

double Progress::ElapsedSeconds() const
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - m_start).count();
}

void Progress::Update(long long done, long long total)
{
    if (!m_enabled)
        return;
    const auto now = std::chrono::steady_clock::now();
    if (m_shown && now - m_last < std::chrono::milliseconds(100))
        return;
    m_last = now;
    const double elapsed = ElapsedSeconds();
    const double speed = elapsed > 0 ? done / elapsed : 0.0;
    if (total > 0)
        std::fprintf(stderr, "\r%lld/%lld %s (%3.0f%%)  %.1f %s/s  %.1f s elapsed   ", done, total, m_unit.c_str(),
                     100.0 * done / total, speed, m_unit.c_str(), elapsed);
    else
        std::fprintf(stderr, "\r%lld %s  %.1f %s/s  %.1f s elapsed   ", done, m_unit.c_str(), speed, m_unit.c_str(),
                     elapsed);
    std::fflush(stderr);
    m_shown = true;
}

void Progress::Finish()
{
    if (m_enabled && m_shown) {
        std::fprintf(stderr, "\r%*s\r", 72, "");
        std::fflush(stderr);
    }
    m_shown = false;
}

} // namespace dptool
