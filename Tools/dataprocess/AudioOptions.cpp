#include "AudioOptions.h"

#include <CLI/CLI.hpp>

#include <cstdlib>

#include "MediaInputs.h"
#include "ToolErrors.h"

namespace dptool {

namespace {

// "LENGTH" or "START:LENGTH", in seconds.
FadeSpan ParseFade(const std::string& option, const std::string& text, bool* hasStart)
{
    FadeSpan f;
    const auto colon = text.find(':');
    char* end = nullptr;
    const std::string len = colon == std::string::npos ? text : text.substr(colon + 1);
    f.length = std::strtod(len.c_str(), &end);
    bool ok = !len.empty() && *end == '\0' && f.length > 0;
    *hasStart = colon != std::string::npos;
    if (*hasStart) {
        const std::string start = text.substr(0, colon);
        f.start = std::strtod(start.c_str(), &end);
        ok = ok && !start.empty() && *end == '\0' && f.start >= 0;
    }
    if (!ok)
        throw UsageError(option + ": invalid value '" + text +
                         "' (expected LENGTH or START:LENGTH in seconds, e.g. 2 or 10:1.5)");
    return f;
}

} // namespace

AudioSettings MakeAudioSettings(const AudioArgs& a, const AudioInput& source)
{
    AudioSettings s;
    s.rate = a.rate;
    s.channels = a.channels;
    s.volume = a.volume;
    s.timeline = !a.noTimeline;
    const bool haveHq = DPAudioResamplerAvailable(AUDIO_RESAMPLER_HQ) == 1;
    if (a.resampler == "hq" && !haveHq)
        throw UsageError("--resampler hq: this build of the library has no high-quality resampler (it was built "
                         "without libsoxr); use --resampler linear");
    s.resampler = a.resampler == "linear" || !haveHq ? AUDIO_RESAMPLER_LINEAR : AUDIO_RESAMPLER_HQ;
    bool fadeInStart = false, fadeOutStart = false;
    if (!a.fadeIn.empty())
        s.fadeIn = ParseFade("--fade-in", a.fadeIn, &fadeInStart);
    if (!a.fadeOut.empty())
        s.fadeOut = ParseFade("--fade-out", a.fadeOut, &fadeOutStart);
    // A rate outside what the stages are made for is a damaged header more
    // often than real audio, and converting one block of it to a normal
    // rate would take memory out of all proportion to the file.
    if (source.SampleRate() < kMinSampleRate || source.SampleRate() > kMaxSampleRate)
        throw ProcessingError(source.Path() + ": sample rate " + std::to_string(source.SampleRate()) +
                              " Hz is outside " + std::to_string(kMinSampleRate) + ".." +
                              std::to_string(kMaxSampleRate) + " Hz (a damaged header?)");
    if (source.BitsPerSample() != 16 && (s.rate || s.channels))
        throw ProcessingError(source.Path() + ": " + std::to_string(source.BitsPerSample()) +
                              "-bit audio cannot be converted (rate and channel conversion take 16-bit PCM)");
    if (s.fadeOut && !fadeOutStart) {
        // A fade-out given by its length ends with the input.
        const double duration = source.DurationSeconds();
        if (duration < 0)
            throw UsageError("--fade-out: the input's length is unknown (a stream); give START:LENGTH");
        s.fadeOut->start = duration - s.fadeOut->length;
        if (s.fadeOut->start < 0)
            s.fadeOut->start = 0;
    }
    return s;
}

void AddAudioOptions(CLI::App* cmd, AudioArgs* args, const std::string& rateOption)
{
    cmd->add_option(rateOption, args->rate, "Output sample rate in Hz (default: the input's)")
        ->check(CLI::Range(kMinSampleRate, kMaxSampleRate));
    cmd->add_option("--channels", args->channels, "Output channels: 1, 2 or 6 (default: the input's)")
        ->check(CLI::IsMember({1, 2, 6}));
    cmd->add_option("--volume", args->volume, "Volume in percent (100 = unchanged)")->check(CLI::Range(0, 1000));
    cmd->add_option("--fade-in", args->fadeIn, "Fade in: LENGTH seconds from the start, or START:LENGTH");
    cmd->add_option("--fade-out", args->fadeOut, "Fade out: the last LENGTH seconds, or START:LENGTH");
    cmd->add_option("--resampler", args->resampler,
                    "Sample rate conversion: hq (libsoxr's high-quality resampler, about 90 dB signal-to-noise "
                    "on a tone; the default where the library has it) or linear (the library's own linear "
                    "interpolation: faster, but distortion about 30 dB down is audible)")
        ->check(CLI::IsMember({"linear", "hq"}));
    cmd->add_option("--audio-stream", args->audioStream,
                    "Which audio stream, counted from 0 among the file's audio streams (default: the best)")
        ->check(CLI::Range(0, 1000));
    cmd->add_flag("--no-timeline", args->noTimeline,
                  "Do not even out the timeline (by default gaps in the time stamps are filled with silence and "
                  "overlaps trimmed)");
    cmd->add_flag("-v,--verbose", args->verbose, "Show the timeline stage's messages");
}

} // namespace dptool
