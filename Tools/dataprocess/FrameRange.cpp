#include "FrameRange.h"

#include <CLI/CLI.hpp>

#include <cmath>

namespace dptool {

namespace {

constexpr double kTicksPerSecond = 1e7;

// The constant-rate stage's stamp of frame k.
long long GridTicks(long long k, double rate) { return static_cast<long long>(k / rate * kTicksPerSecond + 0.5); }

} // namespace

void AddFrameRangeOptions(CLI::App* cmd, FrameRange* range)
{
    const auto finiteNonNegative = CLI::Validator(
        [](std::string& text) {
            const double v = std::strtod(text.c_str(), nullptr);
            return std::isfinite(v) && v >= 0.0 ? std::string() : "a time in seconds, 0 or more";
        },
        "SECONDS");
    cmd->add_option("--start", range->start,
                    "Write only the frames from this time of the output (seconds; stamps stay as in a whole run)")
        ->check(finiteNonNegative);
    cmd->add_option("--end", range->end, "... and before this time (seconds; default: to the end)")
        ->check(finiteNonNegative);
}

long long FirstGridFrameAt(double seconds, double rate)
{
    const long long ticks = std::llround(seconds * kTicksPerSecond);
    long long k = static_cast<long long>(std::floor(seconds * rate)) - 1;
    if (k < 0)
        k = 0;
    while (GridTicks(k, rate) < ticks)
        ++k;
    while (k > 0 && GridTicks(k - 1, rate) >= ticks)
        --k;
    return k;
}

bool EnterFrameRange(VideoDecoder* stage, long long first)
{
    if (first <= 0)
        return PCGetVideoFrame(stage) != nullptr;
    const double rate = PCGetVideoInfo(stage)->dFrameRate;
    // The stage's seek puts its count at frame first - 2 with the source
    // picture shown half a second earlier as current, which lies at or before
    // the picture any later frame shows. Two steps from there search the
    // source exactly as a whole run does: the first settles frame first - 1,
    // and the second repeats the whole run's step to `first`, including how
    // it ends when the video does.
    if (first >= 2)
        PCVideoSeek(stage, static_cast<double>(first - 2) / rate, 0);
    if (first >= 2 && PCVideoForward(stage, 1) < 1)
        return false;
    return PCVideoForward(stage, 1) >= 1 && PCGetVideoFrame(stage) != nullptr;
}

} // namespace dptool
