// dataprocess video IN -o OUT [options]
#include <CLI/CLI.hpp>

#include <cstdio>
#include <memory>
#include <string>

#include "AsyncSink.h"
#include "Commands.h"
#include "CountingVideoSource.h"
#include "FrameRange.h"
#include "InclusiveStopSource.h"
#include "MediaInputs.h"
#include "MediaOutputs.h"
#include "Progress.h"
#include "StdoutData.h"
#include "ThreadsOption.h"
#include "ToolErrors.h"
#include "VideoOptions.h"
#include "VideoPipeline.h"

namespace dptool {

namespace {

struct VideoCommandArgs {
    std::string input, output;
    VideoArgs video;
    EncodeArgs encode;
    FrameRange range;
    bool quiet = false;
    int threads = 0;
};

int RunVideoCommand(const VideoCommandArgs& a)
{
    if (a.range.end >= 0.0 && a.range.end <= a.range.start)
        throw UsageError("--end: must come after --start");
    VideoSettings s = MakeVideoSettings(a.video);
    std::vector<NamedPath> inputs{{"input", a.input}}, outputs{{"-o", a.output}};
    AddVideoOptionFiles(a.video, s, &inputs, &outputs);
    CheckDistinctFiles(inputs, outputs);
    // Standard output carries the data alone: claim it before the library
    // can print anything.
    std::unique_ptr<FILE, int (*)(FILE*)> dataOut(nullptr, std::fclose);
    if (a.output == "-")
        dataOut.reset(ClaimStdoutForData());

    // Inputs are checked before any output is started.
    VideoInput source(a.input, false, a.video.videoStream);
    source.NoteVariableRate(s.rate);
    int orientation[4];
    source.DisplayOrientation(orientation);
    ApplyDisplayOrientation(a.video, orientation, &s);
    const bool overlap = OverlapWork(a.threads);
    if (overlap)
        source.ReadAhead();
    CountingVideoSource counter(source.Decoder());
    InclusiveStopSource stamped(&counter);
    std::unique_ptr<VideoDecoder, void (*)(VideoDecoder*)> stage(CreateVideoStage(&stamped, s), PCVideoDestroy);

    const VideoInfo* vi = PCGetVideoInfo(stage.get());
    VideoOutputFormat fmt;
    fmt.width = vi->nWidth;
    fmt.height = vi->nHeight;
    fmt.rate = vi->dFrameRate > 0 ? vi->dFrameRate : source.Rate();
    fmt.aspectX = vi->nAspectX;
    fmt.aspectY = vi->nAspectY;
    fmt.interlace = s.deinterlace ? 'p' : ((source.Interlacing() == '?' ? 'p' : source.Interlacing()));
    std::unique_ptr<MediaSink> sink = OpenOutput(a.output, dataOut.get(), &fmt, nullptr, a.encode);
    if (overlap)
        sink = std::make_unique<AsyncSink>(std::move(sink));

    Progress progress(a.quiet, "frames");
    VideoRunStats st;
    if (a.range.Active()) {
        const long long first = FirstGridFrameAt(a.range.start, fmt.rate);
        const long long count =
            a.range.end >= 0.0 ? FirstGridFrameAt(a.range.end, fmt.rate) - first : vi->nFrameCount - first;
        char rate[32], at[32];
        std::snprintf(rate, sizeof(rate), "%g", fmt.rate);
        std::snprintf(at, sizeof(at), "%g", a.range.start);
        if (a.range.end >= 0.0 && count <= 0)
            throw UsageError(std::string("--start/--end: no frame of the ") + rate + " fps output lies in the range");
        if (!EnterFrameRange(stage.get(), first))
            throw ProcessingError(a.input + ": no frames in the range (the video ends before " + at + " s)");
        VideoLoop loop(stage.get(), counter, *sink, s.captures);
        while ((a.range.end < 0.0 || loop.FramesOut() < count) && loop.Step())
            progress.Update(loop.FramesOut(), count > 0 ? count : 0);
        st = loop.Finish(progress.ElapsedSeconds());
    } else {
        st = RunVideo(stage.get(), counter, *sink, s.captures, progress, vi->nFrameCount);
    }
    progress.Finish();
    source.Finish();
    if (!sink->Commit())
        throw ProcessingError(sink->Error());
    if (!a.quiet)
        std::fprintf(stderr, "video: %lld source frames -> %lld frames %dx%d at %.3f fps (%lld repeated, %lld skipped), "
                             "%.1f frames/s\n",
                     st.sourceFrames, st.framesOut, fmt.width, fmt.height, fmt.rate, st.repeats, st.skips,
                     st.seconds > 0 ? st.framesOut / st.seconds : 0.0);
    return kExitOk;
}

} // namespace

void AddVideoCommand(CLI::App& app, Runner& run)
{
    auto args = std::make_shared<VideoCommandArgs>();
    CLI::App* cmd = app.add_subcommand("video", "Process a video: size, crop, turn, rate, adjust, filter, flip, "
                                                "deinterlace, watermark, capture");
    cmd->add_option("input", args->input, "Input video: .y4m (or - for a YUV4MPEG2 stream on standard input), "
                                          "or any file FFmpeg reads (.mp4, .mkv, .mov, ...)")
        ->required();
    cmd->add_option("-o,--output", args->output, "Output: .y4m (or - for standard output), or .mp4/.mkv/.mov "
                                                 "(encoded; see --codec)")
        ->required();
    AddVideoOptions(cmd, &args->video);
    AddEncodeOptions(cmd->add_option_group("Encoding", "for container outputs (.mp4, .mkv, ...)"), &args->encode, true, false);
    AddFrameRangeOptions(cmd->add_option_group("Range", "a piece of the output, e.g. one of several workers' share"),
                         &args->range);
    cmd->add_flag("-q,--quiet", args->quiet, "No progress or summary on standard error");
    AddThreadsOption(cmd, &args->threads);
    cmd->footer("Examples:\n"
                "  dataprocess video in.mp4 -o out.mp4 --size 1280x720 --rate 30\n"
                "  dataprocess video in.mkv -o out.mkv --codec ffv1 --crop 0,0,1280,720\n"
                "  dataprocess video in.y4m -o out.y4m --crop 100,50,740,530 --rotate 90\n"
                "  dataprocess video in.y4m -o out.y4m --brightness 10 --saturation -20 --filter old-photo\n"
                "  dataprocess video in.y4m -o out.y4m --watermark logo.bmp --watermark-align 3 --watermark-opacity 60\n"
                "  dataprocess video in.y4m -o out.y4m --capture 2.5:shot.jpg --capture 5:shot.bmp\n"
                "  dataprocess video in.mp4 -o part2.mkv --codec ffv1 --rate 30 --start 10 --end 20\n"
                "  ffmpeg -i in.mp4 -f yuv4mpegpipe - | dataprocess video - -o - --size 640x360 | ffmpeg -i - out.mp4");
    cmd->callback([args, &run] { run = [args] { return RunVideoCommand(*args); }; });
}

} // namespace dptool
