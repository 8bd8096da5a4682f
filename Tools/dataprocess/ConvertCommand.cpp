// dataprocess convert IN -o OUT [video options] [audio options]: the video
// and the audio of one file through their stages together, into one
// container with both streams kept in step.
#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdio>
#include <memory>
#include <string>

#include "AudioOptions.h"
#include "AsyncSink.h"
#include "AudioPipeline.h"
#include "Commands.h"
#include "CountingVideoSource.h"
#include "InclusiveStopSource.h"
#include "LeadingSilenceSource.h"
#include "MediaInputs.h"
#include "MediaOutputs.h"
#include "Progress.h"
#include "ThreadsOption.h"
#include "ToolErrors.h"
#include "VideoOptions.h"
#include "VideoPipeline.h"

namespace dptool {

namespace {

struct ConvertArgs {
    std::string input, output;
    VideoArgs video;
    AudioArgs audio;
    EncodeArgs encode;
    bool quiet = false;
    int threads = 0;
};

int RunConvertCommand(const ConvertArgs& a)
{
    if (a.output == "-")
        throw UsageError("-o: convert writes a file (.mp4, .mkv, ...); for a pipe use the video or audio command");
    VideoSettings vs = MakeVideoSettings(a.video);
    std::vector<NamedPath> inputs{{"input", a.input}}, outputs{{"-o", a.output}};
    AddVideoOptionFiles(a.video, vs, &inputs, &outputs);
    CheckDistinctFiles(inputs, outputs);

    // Both streams of the input, each through its own reader; a file may
    // lack either, not both (cover art is no video).
    VideoInput videoIn(a.input, true, a.video.videoStream);
    AudioInput audioIn(a.input, true, a.audio.audioStream);
    if (!videoIn.Decoder() && !audioIn.Decoder())
        throw ProcessingError(a.input + ": neither a video nor an audio stream");
    if (!videoIn.Decoder() && !vs.captures.empty())
        throw UsageError("--capture: " + a.input + " has no video stream");
    const double duration = std::max(videoIn.DurationSeconds(), audioIn.DurationSeconds());
    const bool overlap = OverlapWork(a.threads);

    std::unique_ptr<CountingVideoSource> counter;
    std::unique_ptr<InclusiveStopSource> stamped;
    std::unique_ptr<VideoDecoder, void (*)(VideoDecoder*)> videoStage(nullptr, PCVideoDestroy);
    VideoOutputFormat vf;
    if (videoIn.Decoder()) {
        videoIn.NoteVariableRate(vs.rate);
        int orientation[4];
        videoIn.DisplayOrientation(orientation);
        ApplyDisplayOrientation(a.video, orientation, &vs);
        if (overlap)
            videoIn.ReadAhead();
        counter = std::make_unique<CountingVideoSource>(videoIn.Decoder());
        stamped = std::make_unique<InclusiveStopSource>(counter.get());
        videoStage.reset(CreateVideoStage(stamped.get(), vs));
        const VideoInfo* vi = PCGetVideoInfo(videoStage.get());
        vf.width = vi->nWidth;
        vf.height = vi->nHeight;
        vf.rate = vi->dFrameRate > 0 ? vi->dFrameRate : videoIn.Rate();
        vf.aspectX = vi->nAspectX;
        vf.aspectY = vi->nAspectY;
    }
    std::unique_ptr<LogTally> tally;
    std::unique_ptr<LeadingSilenceSource> leading;
    std::unique_ptr<AudioStack> audioStack;
    AudioOutputFormat af;
    if (audioIn.Decoder()) {
        const AudioSettings as = MakeAudioSettings(a.audio, audioIn);
        tally = std::make_unique<LogTally>(a.audio.verbose);
        if (overlap)
            audioIn.ReadAhead();
        // The audio starts at the file's start, as the video's grid does.
        leading = std::make_unique<LeadingSilenceSource>(audioIn.Decoder());
        audioStack = std::make_unique<AudioStack>(leading.get(), as);
        const AudioInfo* ai = PCGetAudioInfo(audioStack->Top());
        af.sampleRate = ai->nSampleRate;
        af.channels = ai->nChannels;
        af.bitsPerSample = ai->nBitsPerSample;
    }
    std::unique_ptr<MediaSink> sink =
        OpenOutput(a.output, nullptr, videoStage ? &vf : nullptr, audioStack ? &af : nullptr, a.encode);
    if (overlap)
        sink = std::make_unique<AsyncSink>(std::move(sink));

    // The stream that is behind goes next, so that the container receives
    // both in time order.
    Progress progress(a.quiet, "");
    std::unique_ptr<VideoLoop> video;
    if (videoStage && !sink->HasVideo())
        videoStage.reset(); // an audio-only container: the audio alone
    if (videoStage)
        video = std::make_unique<VideoLoop>(videoStage.get(), *counter, *sink, vs.captures);
    bool videoLeft = video != nullptr, audioLeft = audioStack != nullptr;
    AudioDecoder* audioStage = audioStack ? audioStack->Top() : nullptr;
    long long samplesOut = 0;
    double audioTime = 0.0;
    while (videoLeft || audioLeft) {
        if (videoLeft && (!audioLeft || video->NextTime() <= audioTime)) {
            videoLeft = video->Step();
        } else if (MEDIA_FRAME* block = PCGetNextAudioFrame(audioStage)) {
            if (block->nDataSize <= 0)
                continue;
            if (!sink->WriteAudio(block))
                throw ProcessingError(sink->Error());
            samplesOut += block->nDataSize / (af.channels * af.bitsPerSample / 8);
            audioTime = double(samplesOut) / af.sampleRate;
        } else {
            audioLeft = false;
        }
        const double videoTime = video ? video->NextTime() : 0.0;
        progress.UpdateSeconds(videoLeft && audioLeft ? std::min(videoTime, audioTime)
                                                      : std::max(videoLeft ? videoTime : 0.0, audioTime),
                               duration);
    }
    progress.Finish();
    const double seconds = progress.ElapsedSeconds();
    VideoRunStats vst;
    if (video)
        vst = video->Finish(seconds);
    videoIn.Finish();
    audioIn.Finish();
    if (!sink->Commit())
        throw ProcessingError(sink->Error());
    if (!a.quiet) {
        std::string parts;
        char text[160];
        if (video) {
            std::snprintf(text, sizeof(text), "%lld frames %dx%d at %.3f fps (%lld repeated, %lld skipped)",
                          vst.framesOut, vf.width, vf.height, vf.rate, vst.repeats, vst.skips);
            parts += text;
        }
        if (audioStack) {
            std::snprintf(text, sizeof(text), "%s%.3f s of audio at %d Hz, %d channel%s", parts.empty() ? "" : " + ",
                          double(samplesOut) / af.sampleRate, af.sampleRate, af.channels,
                          af.channels == 1 ? "" : "s");
            parts += text;
        }
        std::fprintf(stderr, "convert: %s -> %s (%s) in %.1f s, %.1fx real time\n", parts.c_str(),
                     a.output.c_str(), sink->Description().c_str(), seconds,
                     seconds > 0 ? std::max(video ? vst.framesOut / vf.rate : 0.0, audioTime) / seconds : 0.0);
    }
    return kExitOk;
}

} // namespace

void AddConvertCommand(CLI::App& app, Runner& run)
{
    auto args = std::make_shared<ConvertArgs>();
    CLI::App* cmd = app.add_subcommand(
        "convert", "Process the video and the audio of one file together into one container (.mp4, .mkv, ...)");
    cmd->add_option("input", args->input, "Input: any file FFmpeg reads (its best video and audio streams)")
        ->required();
    cmd->add_option("-o,--output", args->output, "Output container: .mp4/.mov (H.264 + AAC), .mkv (H.264 + AAC, "
                                                 "or FFV1 + FLAC with --codec ffv1), ...")
        ->required();
    AddVideoOptions(cmd->add_option_group("Video stage", "as for the video command"), &args->video);
    AddAudioOptions(cmd->add_option_group("Audio stage", "as for the audio command; the sample rate is --audio-rate"),
                    &args->audio, "--audio-rate");
    AddEncodeOptions(cmd->add_option_group("Encoding"), &args->encode, true, true);
    cmd->add_flag("-q,--quiet", args->quiet, "No progress or summary on standard error");
    AddThreadsOption(cmd, &args->threads);
    cmd->footer("Examples:\n"
                "  dataprocess convert in.mp4 -o out.mp4 --size 1280x720 --rate 30 --audio-rate 48000\n"
                "  dataprocess convert in.mp4 -o out.mp4 --size 1280x720 --watermark logo.bmp --fade-in 1 --fade-out 2\n"
                "  dataprocess convert in.mov -o out.mkv --codec ffv1   (lossless: FFV1 + FLAC)\n"
                "  dataprocess convert in.mkv -o out.mp4 --crf 20 --preset fast --audio-bitrate 192k");
    cmd->callback([args, &run] { run = [args] { return RunConvertCommand(*args); }; });
}

} // namespace dptool
