// The tool with its decoders reading ahead and its writers writing behind
// on threads (the default) writes what the one-thread run (--threads 1)
// writes: the same y4m and WAV bytes, the same captures, and an FFV1 + FLAC
// file that decodes to the same pictures and samples.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "FfmpegAudioSource.h"
#include "FfmpegTestMedia.h"
#include "FfmpegVideoSource.h"
#include "HostFile.h"
#include "ToolRunner.h"

namespace tooltest {
namespace {

// Every picture (stamps and planes) and every audio block (stamp and
// samples) of a file, as FFmpeg decodes it.
std::string Decoded(const std::string& path)
{
    std::string s;
    FfmpegVideoSource v;
    if (v.OpenPath(path) == HOSTFILE_OK) {
        do {
            const MEDIA_FRAME* f = v.GetFrame();
            s += "v" + std::to_string(f->llStartTime) + ":";
            for (int y = 0; y < f->nHeight; ++y)
                s.append(reinterpret_cast<const char*>(f->pY + y * f->nPitchY), f->nWidth);
            for (int y = 0; y < (f->nHeight + 1) / 2; ++y) {
                s.append(reinterpret_cast<const char*>(f->pU + y * f->nPitchU), (f->nWidth + 1) / 2);
                s.append(reinterpret_cast<const char*>(f->pV + y * f->nPitchV), (f->nWidth + 1) / 2);
            }
        } while (v.Forward(1));
    }
    FfmpegAudioSource a;
    if (a.OpenPath(path) == HOSTFILE_OK)
        while (MEDIA_FRAME* b = a.GetNextFrame())
            s += "a" + std::to_string(b->llStartTime) + ":" +
                 std::string(reinterpret_cast<const char*>(b->pData), static_cast<size_t>(b->nDataSize));
    return s;
}

TEST(ToolThreads, ThreadedRunsWriteWhatTheOneThreadRunWrites)
{
    mediatest::MediaSpec clip;
    clip.width = 320;
    clip.height = 240;
    clip.frames = 40;
    clip.samples = 70000;
    std::string error;
    const std::string input = mediatest::SharedMedia("threads-240p25.mp4", clip, &error);
    ASSERT_EQ(error, "");
    TempDir dir;
    const std::string logo = dir.file("logo.bmp");
    WriteFile(logo, stilltest::BuildBmp24(stilltest::MakeFlat(32, 16, 0, 200, 40)));

    struct Job {
        const char* name;
        std::vector<std::string> args; // OUT and CAP stand for the run's output and capture names
        const char* output;
        bool decode; // compare what the output decodes to (a container's own bytes vary)
    };
    const std::vector<Job> jobs = {
        {"video to y4m with captures",
         {"video", input, "-o", "OUT", "--size", "176x144", "--rate", "30", "--watermark", logo, "--capture",
          "0.5:CAP.jpg", "--capture", "1.2:CAP.bmp"},
         "v.y4m", false},
        {"video to standard output", {"video", input, "-o", "-", "--brightness", "12", "--rotate", "90"}, "", false},
        {"audio to WAV", {"audio", input, "-o", "OUT", "--rate", "48000", "--fade-in", "0.5", "--channels", "1"},
         "a.wav", false},
        {"convert to FFV1 + FLAC with a capture",
         {"convert", input, "-o", "OUT", "--codec", "ffv1", "--size", "160x120", "--watermark", logo,
          "--fade-out", "0.5", "--audio-rate", "32000", "--capture", "1:CAP.jpg"},
         "c.mkv", true},
    };
    for (size_t j = 0; j < jobs.size(); ++j) {
        const Job& job = jobs[j];
        std::string results[2];
        for (int threaded = 0; threaded < 2; ++threaded) {
            const std::string tag = std::to_string(j) + (threaded ? "t-" : "s-");
            const std::string out = dir.file(tag + job.output), cap = dir.file(tag + "cap");
            std::vector<std::string> args;
            for (std::string a : job.args) {
                if (a == "OUT")
                    a = out;
                else if (a.compare(0, 4, "CAP.") == 0 || a.find(":CAP.") != std::string::npos)
                    a.replace(a.find("CAP"), 3, cap);
                args.push_back(a);
            }
            args.push_back("-q");
            if (!threaded)
                args.insert(args.end(), {"--threads", "1"});
            const RunResult r = RunTool(args);
            ASSERT_EQ(r.status, 0) << job.name << ": " << r.err;
            std::string& got = results[threaded];
            if (!*job.output) {
                got = r.out;
            } else if (job.decode) {
                got = Decoded(out);
            } else {
                const Bytes bytes = ReadFile(out);
                got = std::string(bytes.begin(), bytes.end());
            }
            for (const char* ext : {".jpg", ".bmp"}) {
                const Bytes shot = ReadFile(cap + ext);
                got += "|" + std::string(shot.begin(), shot.end());
            }
        }
        EXPECT_GT(results[0].size(), 10000u) << job.name;
        EXPECT_TRUE(results[0] == results[1]) << job.name << ": the threaded run wrote other bytes";
    }
}

} // namespace
} // namespace tooltest
