// dataprocess demo [--out DIR]: the main job on built-in sources.
//
// A 1920x1080 anamorphic 4:3 source at 25 fps with jittery time stamps and a
// dropped frame goes through a realistic stack: 1280x720 letterboxed (here
// pillarboxed) at 30 fps, picture adjustments, a stage watermark and a user
// watermark drawn from generated 32-bit bitmaps with alpha, captures to JPEG
// and BMP. A 44.1 kHz stereo tone with a hole and an overlap in its time
// stamps goes through the timeline stage to 48 kHz stereo with a fade in and
// a fade out.
#include <CLI/CLI.hpp>

#include <cerrno>
#include <cmath>
#include <cstring>
#include <memory>
#include <string>
#include <sys/stat.h>

#include "AudioPipeline.h"
#include "BitmapFile.h"
#include "Commands.h"
#include "CountingVideoSource.h"
#include "InclusiveStopSource.h"
#include "Progress.h"
#include "SyntheticAudioSource.h"
#include "SyntheticVideoSource.h"
#include "ToolErrors.h"
#include "VideoPipeline.h"
#include "MediaOutputs.h"

namespace dptool {

namespace {

struct DemoArgs {
    std::string out = "out";
    double seconds = 4.0;
    bool quiet = false;
};

// A 32-bit bottom-up bitmap: a filled disc in `bgr` whose alpha falls off
// towards its rim, with a transparent surround and a ring in white.
Bitmap MakeBadge(int w, int h, const unsigned char bgr[3])
{
    Bitmap b;
    tagBITMAPINFOHEADER& hd = b.info.bmiHeader;
    hd.biSize = 40;
    hd.biWidth = w;
    hd.biHeight = h;
    hd.biPlanes = 1;
    hd.biBitCount = 32;
    hd.biSizeImage = static_cast<uint32_t>(w * h * 4);
    b.bits.assign(static_cast<size_t>(w) * h * 4, 0);
    const double cx = (w - 1) / 2.0, cy = (h - 1) / 2.0, r = std::min(w, h) / 2.0 - 1;
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            unsigned char* p = &b.bits[(static_cast<size_t>(y) * w + x) * 4];
            const double d = std::hypot((x - cx) * std::min(w, h) / w, (y - cy) * std::min(w, h) / h);
            if (d > r)
                continue;
            const bool ring = d > r * 0.8;
            p[0] = ring ? 255 : bgr[0];
            p[1] = ring ? 255 : bgr[1];
            p[2] = ring ? 255 : bgr[2];
            p[3] = static_cast<unsigned char>(ring ? 255 : 255 - 140 * d / r);
        }
    return b;
}

void MakeFolder(const std::string& dir)
{
    std::string sofar;
    size_t pos = 0;
    while (pos != std::string::npos) {
        pos = dir.find('/', pos + 1);
        sofar = dir.substr(0, pos);
        if (!sofar.empty() && mkdir(sofar.c_str(), 0777) != 0 && errno != EEXIST)
            throw ProcessingError(sofar + ": cannot create the folder: " + std::strerror(errno));
    }
    struct stat st;
    if (stat(dir.c_str(), &st) != 0 || !S_ISDIR(st.st_mode))
        throw ProcessingError(dir + ": not a folder");
}

int RunDemo(const DemoArgs& a)
{
    MakeFolder(a.out);
    const std::string dir = a.out + "/";

    // --- video ---
    SyntheticVideoConfig vc;
    vc.width = 1920;
    vc.height = 1080;
    vc.frameRate = 25.0;
    vc.frameCount = static_cast<int>(a.seconds * 25);
    vc.aspectX = 4; // anamorphic: shown at 4:3
    vc.aspectY = 3;
    vc.jitter = 150000; // +-15 ms
    vc.dropped = {37};
    SyntheticVideoSource video(vc);
    CountingVideoSource counter(&video);
    InclusiveStopSource stamped(&counter);

    VideoSettings vs;
    vs.size = SizeValue{1280, 720};
    vs.resizeMethod = IMAGE_RESIZE_LETTERBOX;
    vs.rate = 30.0;
    vs.brightness = 5;
    vs.contrast = 10;
    vs.saturation = 15;
    const unsigned char orange[3] = {0, 140, 255}, blue[3] = {200, 90, 20};
    vs.watermark = MakeBadge(160, 80, orange);
    vs.watermarkRect = tagRECT{1080, 610, 1240, 690};
    vs.watermarkOpacity = 70;
    vs.userWatermark = MakeBadge(96, 96, blue);
    vs.userWatermarkRect = tagFRECT{0.04f, 0.05f, 0.14f, 0.23f};
    vs.userWatermarkOpacity = 90;
    vs.captures = {CaptureRequest{a.seconds / 2, dir + "capture.jpg", true},
                   CaptureRequest{a.seconds / 2, dir + "capture.bmp", false}};

    std::unique_ptr<VideoDecoder, void (*)(VideoDecoder*)> vstage(CreateVideoStage(&stamped, vs), PCVideoDestroy);
    const VideoInfo* vi = PCGetVideoInfo(vstage.get());
    VideoOutputFormat yf;
    yf.width = vi->nWidth;
    yf.height = vi->nHeight;
    yf.rate = 30;
    std::unique_ptr<MediaSink> y4m = OpenOutput(dir + "demo.y4m", nullptr, &yf, nullptr, EncodeArgs{});
    Progress vprogress(a.quiet, "frames");
    VideoRunStats v = RunVideo(vstage.get(), counter, *y4m, vs.captures, vprogress, vi->nFrameCount);
    vprogress.Finish();
    if (!y4m->Commit())
        throw ProcessingError(y4m->Error());

    // --- audio ---
    SyntheticAudioConfig ac;
    ac.sampleRate = 44100;
    ac.channels = 2;
    ac.totalFrames = static_cast<int64_t>(a.seconds * 44100);
    ac.blockFrames = {1024, 1536, 700};
    const int64_t blocks = ac.totalFrames / 1087; // about 1087 frames a block on average
    ac.shifts = {SyntheticAudioShift{blocks / 3, 2500000},       // a 0.25 s hole
                 SyntheticAudioShift{2 * blocks / 3, -1000000}}; // then a 0.1 s overlap
    SyntheticAudioSource audio(ac);
    AudioSettings as;
    as.rate = 48000;
    as.channels = 2;
    as.fadeIn = FadeSpan{0.0, 0.5};
    as.fadeOut = FadeSpan{a.seconds - 0.5, 0.5};
    LogTally tally(false);
    AudioStack stack(&audio, as);
    AudioDecoder* astage = stack.Top();
    const AudioInfo* ai = PCGetAudioInfo(astage);
    AudioOutputFormat wf;
    wf.sampleRate = ai->nSampleRate;
    wf.channels = ai->nChannels;
    wf.bitsPerSample = ai->nBitsPerSample;
    std::unique_ptr<MediaSink> wav = OpenOutput(dir + "demo.wav", nullptr, nullptr, &wf, EncodeArgs{});
    Progress aprogress(a.quiet, "s of audio");
    AudioRunStats au = RunAudio(astage, *wav, aprogress, a.seconds);
    aprogress.Finish();
    if (!wav->Commit())
        throw ProcessingError(wav->Error());

    const TimelineFigures t = SummariseTimeline(stack, tally.Tally(), audio.GetAudioInfo());
    const double videoSeconds = v.framesOut / 30.0;
    const double audioSeconds = double(au.sampleFramesOut) / wf.sampleRate;
    std::printf("DataProcess demo\n");
    std::printf("  video: %lld frames in (1920x1080, 25 fps, 4:3 display, jittered stamps, 1 dropped)\n",
                v.sourceFrames);
    std::printf("         %lld frames out (%dx%d, 30 fps, letterboxed): %lld repeats, %lld skips\n", v.framesOut,
                yf.width, yf.height, v.repeats, v.skips);
    std::printf("         %.1f frames/s, %.1fx real time\n", v.seconds > 0 ? v.framesOut / v.seconds : 0.0,
                v.seconds > 0 ? videoSeconds / v.seconds : 0.0);
    std::printf("  audio: 44100 Hz stereo -> %d Hz, %d channels, %.3f s out, fade in 0.5 s, fade out 0.5 s\n",
                wf.sampleRate, wf.channels, audioSeconds);
    std::printf("         filler %.3f s (%lld bytes), trimmed %.3f s (%lld bytes), %.0fx real time\n",
                t.fillerSeconds, t.fillerBytes, t.trimmedSeconds, t.trimmedBytes,
                au.seconds > 0 ? audioSeconds / au.seconds : 0.0);
    std::printf("  wrote %sdemo.y4m, %sdemo.wav, %scapture.jpg, %scapture.bmp\n", dir.c_str(), dir.c_str(),
                dir.c_str(), dir.c_str());
    return kExitOk;
}

} // namespace

void AddDemoCommand(CLI::App& app, Runner& run)
{
    auto args = std::make_shared<DemoArgs>();
    CLI::App* cmd = app.add_subcommand("demo", "Run the built-in demo: synthetic video and audio through a "
                                               "realistic stack, no input needed");
    cmd->add_option("--out", args->out, "Folder for demo.y4m, demo.wav, capture.jpg, capture.bmp (default: out)");
    cmd->add_option("--seconds", args->seconds, "Length of the demo in seconds (default 4)")
        ->check(CLI::Range(1.0, 60.0));
    cmd->add_flag("-q,--quiet", args->quiet, "No progress on standard error");
    cmd->footer("Example:\n  dataprocess demo --out out && ffplay out/demo.y4m");
    cmd->callback([args, &run] { run = [args] { return RunDemo(*args); }; });
}

} // namespace dptool
