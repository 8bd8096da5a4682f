// dataprocess audio IN -o OUT [options]
#include <CLI/CLI.hpp>

#include <cstdlib>
#include <memory>
#include <string>

#include "AudioPipeline.h"
#include "Commands.h"
#include "Progress.h"
#include "StdoutData.h"
#include "ToolErrors.h"
#include "WavAudioSource.h"
#include "WavWriter.h"

namespace dptool {

namespace {

struct AudioArgs {
    std::string input, output;
    int rate = 0, channels = 0, volume = 100;
    std::string fadeIn, fadeOut;
    bool noTimeline = false;
    bool quiet = false;
    bool verbose = false;
};

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

int RunAudioCommand(const AudioArgs& a)
{
    AudioSettings s;
    s.rate = a.rate;
    s.channels = a.channels;
    s.volume = a.volume;
    s.timeline = !a.noTimeline;
    bool fadeInStart = false, fadeOutStart = false;
    if (!a.fadeIn.empty())
        s.fadeIn = ParseFade("--fade-in", a.fadeIn, &fadeInStart);
    if (!a.fadeOut.empty())
        s.fadeOut = ParseFade("--fade-out", a.fadeOut, &fadeOutStart);
    if (a.output != "-" && a.output == a.input)
        throw UsageError("-o: the output must not be the input file");
    // Standard output carries the data alone: claim it before the library
    // can print anything.
    std::unique_ptr<FILE, int (*)(FILE*)> dataOut(nullptr, std::fclose);
    if (a.output == "-")
        dataOut.reset(ClaimStdoutForData());

    WavAudioSource source;
    if (source.OpenPath(a.input) != HOSTFILE_OK)
        throw ProcessingError(source.LastError());
    if (source.BitsPerSample() != 16 && (s.rate || s.channels))
        throw ProcessingError(a.input + ": " + std::to_string(source.BitsPerSample()) +
                              "-bit audio cannot be converted (rate and channel conversion take 16-bit PCM)");
    if (s.fadeOut && !fadeOutStart) {
        // A fade-out given by its length ends with the input.
        if (source.SampleFrameCount() < 0)
            throw UsageError("--fade-out: the input's length is unknown (a stream); give START:LENGTH");
        const double duration = double(source.SampleFrameCount()) / source.SampleRate();
        s.fadeOut->start = duration - s.fadeOut->length;
        if (s.fadeOut->start < 0)
            s.fadeOut->start = 0;
    }

    LogTally tally(a.verbose);
    AudioStack stack(&source, s);
    AudioDecoder* stage = stack.Top();
    const AudioInfo* info = PCGetAudioInfo(stage);
    WavStreamFormat fmt;
    fmt.sampleRate = info->nSampleRate;
    fmt.channels = info->nChannels;
    fmt.bitsPerSample = info->nBitsPerSample;
    WavWriter writer;
    if (dataOut) {
        if (!writer.Attach(dataOut.get(), "standard output", fmt))
            throw ProcessingError(writer.LastError());
    } else if (!writer.Open(a.output, fmt)) {
        throw ProcessingError(writer.LastError());
    }
    Progress progress(a.quiet, "s of audio");
    AudioRunStats st = RunAudio(stage, writer, progress);
    progress.Finish();
    if (source.Truncated())
        throw ProcessingError(source.LastError().empty() ? a.input + ": truncated stream" : source.LastError());
    if (!writer.Commit())
        throw ProcessingError(writer.LastError());
    if (!a.quiet) {
        const TimelineFigures t = SummariseTimeline(stack, tally.Tally(), source.GetAudioInfo());
        std::fprintf(stderr,
                     "audio: %.3f s at %d Hz, %d channel%s; filler %.3f s (%lld bytes), trimmed %.3f s (%lld bytes); "
                     "%.0fx real time\n",
                     double(st.sampleFramesOut) / fmt.sampleRate, fmt.sampleRate, fmt.channels,
                     fmt.channels == 1 ? "" : "s", t.fillerSeconds, t.fillerBytes, t.trimmedSeconds, t.trimmedBytes,
                     st.seconds > 0 ? double(st.sampleFramesOut) / fmt.sampleRate / st.seconds : 0.0);
    }
    return kExitOk;
}

} // namespace

void AddAudioCommand(CLI::App& app, Runner& run)
{
    auto args = std::make_shared<AudioArgs>();
    CLI::App* cmd = app.add_subcommand("audio", "Process a WAV file: sample rate, channels, volume, fades, "
                                                "continuous timeline");
    cmd->add_option("input", args->input, "Input .wav file (PCM 8/16-bit, 1-8 channels), or - for standard input")
        ->required();
    cmd->add_option("-o,--output", args->output, "Output .wav file, or - for standard output")->required();
    cmd->add_option("--rate", args->rate, "Output sample rate in Hz (default: the input's)")
        ->check(CLI::Range(1000, 384000));
    cmd->add_option("--channels", args->channels, "Output channels: 1, 2 or 6 (default: the input's)")
        ->check(CLI::IsMember({1, 2, 6}));
    cmd->add_option("--volume", args->volume, "Volume in percent (100 = unchanged)")->check(CLI::Range(0, 1000));
    cmd->add_option("--fade-in", args->fadeIn, "Fade in: LENGTH seconds from the start, or START:LENGTH");
    cmd->add_option("--fade-out", args->fadeOut, "Fade out: the last LENGTH seconds, or START:LENGTH");
    cmd->add_flag("--no-timeline", args->noTimeline,
                  "Do not even out the timeline (by default gaps in the time stamps are filled with silence and "
                  "overlaps trimmed)");
    cmd->add_flag("-q,--quiet", args->quiet, "No progress or summary on standard error");
    cmd->add_flag("-v,--verbose", args->verbose, "Show the timeline stage's messages");
    cmd->footer("Examples:\n"
                "  dataprocess audio in.wav -o out.wav --rate 48000 --channels 2\n"
                "  dataprocess audio in.wav -o out.wav --volume 80 --fade-in 2 --fade-out 3\n"
                "  ffmpeg -i in.mp4 -f wav - | dataprocess audio - -o - --rate 48000 | ffmpeg -i - out.m4a");
    cmd->callback([args, &run] { run = [args] { return RunAudioCommand(*args); }; });
}

} // namespace dptool
