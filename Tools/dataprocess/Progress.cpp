#include "Progress.h"

#include <algorithm>
#include <cmath>
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

std::string ClockText(double seconds)
{
    const long long s = seconds > 0 && std::isfinite(seconds) ? static_cast<long long>(seconds + 0.5) : 0;
    char text[32];
    if (s >= 3600)
        std::snprintf(text, sizeof(text), "%lld:%02lld:%02lld", s / 3600, s / 60 % 60, s % 60);
    else
        std::snprintf(text, sizeof(text), "%lld:%02lld", s / 60, s % 60);
    return text;
}

bool Progress::Due()
{
    if (!m_enabled)
        return false;
    const auto now = std::chrono::steady_clock::now();
    if (m_shown && now - m_last < std::chrono::milliseconds(100))
        return false;
    m_last = now;
    return true;
}

void Progress::Show(const std::string& done, double fraction, const std::string& speed)
{
    const double elapsed = ElapsedSeconds();
    std::string line = "\r" + done;
    char text[96];
    if (fraction > 0) {
        const double left = fraction < 1 ? elapsed * (1 - fraction) / fraction : 0.0;
        std::snprintf(text, sizeof(text), " (%3.0f%%), %s elapsed, about %s left", 100.0 * fraction,
                      ClockText(elapsed).c_str(), ClockText(left).c_str());
    } else {
        std::snprintf(text, sizeof(text), ", %s elapsed", ClockText(elapsed).c_str());
    }
    line += text;
    line += ", " + speed + "   ";
    std::fputs(line.c_str(), stderr);
    std::fflush(stderr);
    m_shown = true;
}

void Progress::Update(long long done, long long total)
{
    if (!Due())
        return;
    const double elapsed = ElapsedSeconds();
    std::string text = std::to_string(done);
    if (total > 0)
        text += "/" + std::to_string(total);
    text += " " + m_unit;
    char speed[48];
    std::snprintf(speed, sizeof(speed), "%.1f %s/s", elapsed > 0 ? done / elapsed : 0.0, m_unit.c_str());
    Show(text, total > 0 ? std::min(1.0, double(done) / total) : 0.0, speed);
}

void Progress::UpdateSeconds(double done, double total)
{
    if (!Due())
        return;
    const double elapsed = ElapsedSeconds();
    char text[64];
    if (total > 0)
        std::snprintf(text, sizeof(text), "%.1f of %.1f s", done, total);
    else
        std::snprintf(text, sizeof(text), "%.1f s", done);
    char speed[48];
    std::snprintf(speed, sizeof(speed), "%.1fx real time", elapsed > 0 ? done / elapsed : 0.0);
    Show(text, total > 0 ? std::min(1.0, std::max(0.0, done / total)) : 0.0, speed);
}

void Progress::Finish()
{
    if (m_enabled && m_shown) {
        std::fprintf(stderr, "\r%*s\r", 100, "");
        std::fflush(stderr);
    }
    m_shown = false;
}

} // namespace dptool
