// dataprocess audio IN -o OUT [options]
#include <CLI/CLI.hpp>

#include <cstdio>
#include <memory>
#include <string>

#include "AudioOptions.h"
#include "AudioPipeline.h"
#include "AsyncSink.h"
#include "Commands.h"
#include "DistinctFiles.h"
#include "MediaInputs.h"
#include "MediaOutputs.h"
#include "Progress.h"
#include "StdoutData.h"
#include "ThreadsOption.h"
#include "ToolErrors.h"

namespace dptool {

namespace {

struct AudioCommandArgs {
    std::string input, output;
    AudioArgs audio;
    EncodeArgs encode;
    bool quiet = false;
    int threads = 0;
};

int RunAudioCommand(const AudioCommandArgs& a)
{
    CheckDistinctFiles({{"input", a.input}}, {{"-o", a.output}});
    // Standard output carries the data alone: claim it before the library
    // can print anything.
    std::unique_ptr<FILE, int (*)(FILE*)> dataOut(nullptr, std::fclose);
    if (a.output == "-")
        dataOut.reset(ClaimStdoutForData());

    AudioInput source(a.input, false, a.audio.audioStream);
    const AudioSettings s = MakeAudioSettings(a.audio, source);
    LogTally tally(a.audio.verbose);
    const double duration = source.DurationSeconds();
    const bool overlap = OverlapWork(a.threads);
    if (overlap)
        source.ReadAhead();
    AudioStack stack(source.Decoder(), s);
    AudioDecoder* stage = stack.Top();
    const AudioInfo* info = PCGetAudioInfo(stage);
    AudioOutputFormat fmt;
    fmt.sampleRate = info->nSampleRate;
    fmt.channels = info->nChannels;
    fmt.bitsPerSample = info->nBitsPerSample;
    std::unique_ptr<MediaSink> sink = OpenOutput(a.output, dataOut.get(), nullptr, &fmt, a.encode);
    if (overlap)
        sink = std::make_unique<AsyncSink>(std::move(sink));
    Progress progress(a.quiet, "s of audio");
    AudioRunStats st = RunAudio(stage, *sink, progress, duration);
    progress.Finish();
    source.Finish();
    if (!sink->Commit())
        throw ProcessingError(sink->Error());
    if (!a.quiet) {
        const TimelineFigures t = SummariseTimeline(stack, tally.Tally(), source.Decoder()->GetAudioInfo());
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
    auto args = std::make_shared<AudioCommandArgs>();
    CLI::App* cmd = app.add_subcommand("audio", "Process audio: sample rate, channels, volume, fades, "
                                                "continuous timeline");
    cmd->add_option("input", args->input, "Input audio: .wav (PCM 8/16-bit, 1-8 channels; - for standard input), "
                                          "or any file FFmpeg reads (its best audio stream)")
        ->required();
    cmd->add_option("-o,--output", args->output, "Output: .wav (or - for standard output), or .m4a/.mp4/.mkv/"
                                                 ".flac/.mka (encoded; see --codec)")
        ->required();
    AddAudioOptions(cmd, &args->audio, "--rate");
    AddEncodeOptions(cmd->add_option_group("Encoding", "for container outputs (.mp4, .mkv, ...)"), &args->encode, false, true);
    cmd->add_flag("-q,--quiet", args->quiet, "No progress or summary on standard error");
    AddThreadsOption(cmd, &args->threads);
    cmd->footer("Examples:\n"
                "  dataprocess audio in.wav -o out.wav --rate 48000 --channels 2\n"
                "  dataprocess audio in.mkv -o out.m4a --rate 48000 --audio-bitrate 192k\n"
                "  dataprocess audio in.wav -o out.wav --volume 80 --fade-in 2 --fade-out 3\n"
                "  ffmpeg -i in.mp4 -f wav - | dataprocess audio - -o - --rate 48000 | ffmpeg -i - out.m4a");
    cmd->callback([args, &run] { run = [args] { return RunAudioCommand(*args); }; });
}

} // namespace dptool
