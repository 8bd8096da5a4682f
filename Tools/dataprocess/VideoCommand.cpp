// dataprocess video IN -o OUT [options]
#include <CLI/CLI.hpp>

#include <cmath>
#include <cstdlib>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "Commands.h"
#include "CountingVideoSource.h"
#include "InclusiveStopSource.h"
#include "OptionParsers.h"
#include "Progress.h"
#include "StdoutData.h"
#include "ToolErrors.h"
#include "VideoPipeline.h"
#include "Y4mFormat.h"
#include "Y4mVideoSource.h"
#include "Y4mWriter.h"

namespace dptool {

namespace {

struct VideoArgs {
    std::string input, output;
    std::string size, resize = "letterbox", interpolation = "bilinear", crop, filter, flip, deinterlace = "none";
    int rotate = 0;
    double rate = 0.0;
    int brightness = 0, contrast = 0, saturation = 0;
    std::string watermark, watermarkRect;
    int watermarkAlign = 9, watermarkOpacity = 100;
    std::string userWatermark, userWatermarkRect = "0.05,0.05,0.25,0.2";
    int userWatermarkOpacity = 100;
    std::vector<std::string> captures;
    bool quiet = false;
};

int RunVideoCommand(const VideoArgs& a)
{
    VideoSettings s;
    if (!a.size.empty())
        s.size = ParseSize("--size", a.size);
    s.resizeMethod = ParseChoice("--resize", a.resize, kResizeMethodNames, 6);
    s.interpolation = ParseChoice("--interpolation", a.interpolation, kInterpolationNames, 4);
    if (!a.crop.empty())
        s.crop = ParseRect("--crop", a.crop);
    s.rotation = a.rotate;
    s.rate = a.rate;
    s.brightness = a.brightness;
    s.contrast = a.contrast;
    s.saturation = a.saturation;
    if (!a.filter.empty())
        s.filters = ParseFlags("--filter", a.filter, kFilterNames, 6);
    if (!a.flip.empty())
        s.flips = ParseFlags("--flip", a.flip, kFlipNames, 2);
    s.deinterlace = ParseChoice("--deinterlace", a.deinterlace, kDeinterlaceNames, 5);
    if (!a.watermarkRect.empty())
        s.watermarkRect = ParseRect("--watermark-rect", a.watermarkRect);
    s.watermarkAlign = a.watermarkAlign;
    s.watermarkOpacity = a.watermarkOpacity;
    s.userWatermarkRect = ParseFRect("--user-watermark-rect", a.userWatermarkRect);
    s.userWatermarkOpacity = a.userWatermarkOpacity;
    for (const auto& c : a.captures)
        s.captures.push_back(ParseCapture(c));
    if (a.output != "-" && a.output == a.input)
        throw UsageError("-o: the output must not be the input file");
    // Standard output carries the data alone: claim it before the library
    // can print anything.
    std::unique_ptr<FILE, int (*)(FILE*)> dataOut(nullptr, std::fclose);
    if (a.output == "-")
        dataOut.reset(ClaimStdoutForData());

    // Inputs are checked before any output is started.
    if (!a.watermark.empty())
        s.watermark = LoadBitmapFile(a.watermark);
    if (!a.userWatermark.empty())
        s.userWatermark = LoadBitmapFile(a.userWatermark);
    Y4mVideoSource source;
    if (source.OpenPath(a.input) != HOSTFILE_OK)
        throw ProcessingError(source.LastError());
    CountingVideoSource counter(&source);
    InclusiveStopSource stamped(&counter);
    std::unique_ptr<VideoDecoder, void (*)(VideoDecoder*)> stage(CreateVideoStage(&stamped, s), PCVideoDestroy);

    const VideoInfo* vi = PCGetVideoInfo(stage.get());
    Y4mStreamFormat fmt;
    fmt.width = vi->nWidth;
    fmt.height = vi->nHeight;
    const double rate = vi->dFrameRate > 0 ? vi->dFrameRate : source.RateNum() / double(source.RateDen());
    y4m::RateToFraction(rate, &fmt.rateNum, &fmt.rateDen);
    fmt.aspectX = vi->nAspectX;
    fmt.aspectY = vi->nAspectY;
    fmt.interlace = s.deinterlace ? 'p' : ((source.Interlacing() == '?' ? 'p' : source.Interlacing()));
    Y4mWriter writer;
    if (dataOut) {
        if (!writer.Attach(dataOut.get(), "standard output", fmt))
            throw ProcessingError(writer.LastError());
    } else if (!writer.Open(a.output, fmt)) {
        throw ProcessingError(writer.LastError());
    }

    Progress progress(a.quiet, "frames");
    VideoRunStats st = RunVideo(stage.get(), counter, writer, s.captures, progress, vi->nFrameCount);
    progress.Finish();
    if (source.Truncated() || !source.LastError().empty())
        throw ProcessingError(source.LastError().empty() ? a.input + ": truncated stream" : source.LastError());
    if (!writer.Commit())
        throw ProcessingError(writer.LastError());
    if (!a.quiet)
        std::fprintf(stderr, "video: %lld source frames -> %lld frames %dx%d at %.3f fps (%lld repeated, %lld skipped), "
                             "%.1f frames/s\n",
                     st.sourceFrames, st.framesOut, fmt.width, fmt.height, rate, st.repeats, st.skips,
                     st.seconds > 0 ? st.framesOut / st.seconds : 0.0);
    return kExitOk;
}

} // namespace

void AddVideoCommand(CLI::App& app, Runner& run)
{
    auto args = std::make_shared<VideoArgs>();
    CLI::App* cmd = app.add_subcommand("video", "Process a YUV4MPEG2 video: size, crop, turn, rate, adjust, "
                                                "filter, flip, deinterlace, watermark, capture");
    cmd->add_option("input", args->input, "Input .y4m file, or - for standard input")->required();
    cmd->add_option("-o,--output", args->output, "Output .y4m file, or - for standard output")->required();
    cmd->add_option("--size", args->size, "Output size WIDTHxHEIGHT (default: the source's, widened to its "
                                          "display aspect)");
    cmd->add_option("--resize", args->resize,
                    "How the picture fits the size: stretch, letterbox (default), fit16x9, fit4x3, "
                    "letterbox-plain, crop-fill");
    cmd->add_option("--interpolation", args->interpolation, "nearest, bilinear (default) or default");
    cmd->add_option("--crop", args->crop, "Source rectangle LEFT,TOP,RIGHT,BOTTOM in pixels");
    cmd->add_option("--rotate", args->rotate, "Quarter turn: 90 or 270 (counter-clockwise on screen for 90)")
        ->check(CLI::IsMember({0, 90, 270}));
    cmd->add_option("--rate", args->rate, "Output frame rate; frames are repeated or skipped to keep a constant "
                                          "grid (default: the source's)")
        ->check(CLI::Validator(
            [](std::string& text) {
                // A range check alone lets "nan" through (it compares false both ways).
                char* end = nullptr;
                const double v = std::strtod(text.c_str(), &end);
                return end != text.c_str() && *end == '\0' && std::isfinite(v) ? std::string()
                                                                                : "not a finite number: " + text;
            },
            "FPS"))
        ->check(CLI::Range(0.0, 200.0));
    cmd->add_option("--brightness", args->brightness, "-100..100")->check(CLI::Range(-100, 100));
    cmd->add_option("--contrast", args->contrast, "-100..100")->check(CLI::Range(-100, 100));
    cmd->add_option("--saturation", args->saturation, "-100..100 (-100 = grey)")->check(CLI::Range(-100, 100));
    cmd->add_option("--filter", args->filter,
                    "Comma-separated: gray, emboss, negative, black-white, white-black, old-photo");
    cmd->add_option("--flip", args->flip, "Comma-separated: horizontal, vertical");
    cmd->add_option("--deinterlace", args->deinterlace,
                    "none (default), double-even, double-odd, blend-odd, blend-even");
    cmd->add_option("--watermark", args->watermark, "Stage watermark: a 32-bit BMP with alpha (or 24-bit)");
    cmd->add_option("--watermark-rect", args->watermarkRect,
                    "Place the watermark in LEFT,TOP,RIGHT,BOTTOM (output pixels) instead of by alignment");
    cmd->add_option("--watermark-align", args->watermarkAlign,
                    "0 centre, 1 top-left, 2 top, 3 top-right, 4 left, 5 centre, 6 right, 7 bottom-left, "
                    "8 bottom, 9 bottom-right (default)")
        ->check(CLI::Range(0, 9));
    cmd->add_option("--watermark-opacity", args->watermarkOpacity, "Percent, default 100")
        ->check(CLI::Range(0, 100));
    cmd->add_option("--user-watermark", args->userWatermark, "User watermark: a 32-bit BMP with alpha (or 24-bit)");
    cmd->add_option("--user-watermark-rect", args->userWatermarkRect,
                    "Where it goes, as fractions of the picture LEFT,TOP,RIGHT,BOTTOM (default 0.05,0.05,0.25,0.2)");
    cmd->add_option("--user-watermark-opacity", args->userWatermarkOpacity, "Percent, default 100")
        ->check(CLI::Range(0, 100));
    cmd->add_option("--capture", args->captures,
                    "SECONDS:FILE.jpg or SECONDS:FILE.bmp - save the output picture at that time (repeatable)");
    cmd->add_flag("-q,--quiet", args->quiet, "No progress or summary on standard error");
    cmd->footer("Examples:\n"
                "  dataprocess video in.y4m -o out.y4m --size 1280x720 --rate 30\n"
                "  dataprocess video in.y4m -o out.y4m --crop 100,50,740,530 --rotate 90\n"
                "  dataprocess video in.y4m -o out.y4m --brightness 10 --saturation -20 --filter old-photo\n"
                "  dataprocess video in.y4m -o out.y4m --watermark logo.bmp --watermark-align 3 --watermark-opacity 60\n"
                "  dataprocess video in.y4m -o out.y4m --capture 2.5:shot.jpg --capture 5:shot.bmp\n"
                "  ffmpeg -i in.mp4 -f yuv4mpegpipe - | dataprocess video - -o - --size 640x360 | ffmpeg -i - out.mp4");
    cmd->callback([args, &run] { run = [args] { return RunVideoCommand(*args); }; });
}

} // namespace dptool
