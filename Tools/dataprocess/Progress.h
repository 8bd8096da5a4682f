// Progress line on standard error for long work: shown only when standard
// error is a terminal and the user did not ask for quiet, refreshed at most
// ten times a second. With a known total it shows the percentage done and
// an estimate of the time left.
#ifndef DATAPROCESS_TOOL_PROGRESS_H
#define DATAPROCESS_TOOL_PROGRESS_H

#include <chrono>
#include <string>

namespace dptool {

class Progress {
public:
    Progress(bool quiet, std::string unit);
    ~Progress();

    // `done` units so far; `total` 0 when unknown.
    void Update(long long done, long long total = 0);
    // Seconds of the input done so far out of `total` (0 when unknown); the
    // unit is not used.
    void UpdateSeconds(double done, double total);
    // Clears the line.
    void Finish();
    double ElapsedSeconds() const;

private:
    bool Due();
    void Show(const std::string& done, double fraction, const std::string& speed);

    bool m_enabled;
    bool m_shown = false;
    std::string m_unit;
    std::chrono::steady_clock::time_point m_start;
    std::chrono::steady_clock::time_point m_last;
};

// "1:05" or "1:02:03" for a number of seconds.
std::string ClockText(double seconds);

} // namespace dptool

#endif // DATAPROCESS_TOOL_PROGRESS_H
