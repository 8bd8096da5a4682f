// dataprocess on media files through FFmpeg: convert of an H.264 + AAC
// file with both stages at work, the video and audio commands on
// containers, and the one-line refusals of unsuitable input and output.
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <string>

#include "FfmpegAudioSource.h"
#include "FfmpegTestMedia.h"
#include "FfmpegVideoSource.h"
#include "HostFile.h"
#include "ToolRunner.h"

namespace tooltest {
namespace {

struct VideoSummary {
    int width = 0, height = 0, frames = 0;
    double rate = 0, firstStart = -1, lastStart = 0;
};

VideoSummary ReadVideo(const std::string& path)
{
    VideoSummary s;
    FfmpegVideoSource v;
    if (v.OpenPath(path) != HOSTFILE_OK)
        return s;
    s.width = v.Width();
    s.height = v.Height();
    s.rate = v.FrameRate();
    s.firstStart = v.GetFrame()->llStartTime / 1e7;
    do {
        ++s.frames;
        s.lastStart = v.GetFrame()->llStartTime / 1e7;
    } while (v.Forward(1));
    return s;
}

// Sample frames and rate of the best audio stream (0 when there is none).
std::pair<int64_t, int> ReadAudio(const std::string& path, int* channels = nullptr)
{
    FfmpegAudioSource a;
    if (a.OpenPath(path) != HOSTFILE_OK)
        return {0, 0};
    int64_t frames = 0;
    while (MEDIA_FRAME* b = a.GetNextFrame())
        frames += b->nDataSize / (2 * a.Channels());
    if (channels)
        *channels = a.Channels();
    return {frames, a.SampleRate()};
}

// The converter's whole job: a 1080p25 H.264 + AAC 44.1 kHz file becomes
// 720p30 with a watermark, fades and 48 kHz audio, both streams as long as
// the input.
TEST(ToolConvert, Mp4To720p30WithWatermarkFadesAnd48kHz)
{
    mediatest::MediaSpec clip;
    clip.width = 1920;
    clip.height = 1080;
    clip.frames = 50;
    clip.samples = 88200;
    std::string error;
    const std::string input = mediatest::SharedMedia("source-1080p25.mp4", clip, &error);
    ASSERT_EQ(error, "");
    TempDir dir;
    const std::string logo = dir.file("logo.bmp");
    WriteFile(logo, stilltest::BuildBmp24(stilltest::MakeFlat(64, 32, 255, 0, 0)));
    const std::string output = dir.file("out.mp4");
    const RunResult r = RunTool({"convert", input, "-o", output, "--size", "1280x720", "--rate", "30", "--watermark",
                                 logo, "--fade-in", "0.5", "--fade-out", "0.5", "--audio-rate", "48000",
                                 "--preset", "ultrafast"});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_NE(r.err.find("convert: 60 frames 1280x720 at 30.000 fps"), std::string::npos) << r.err;
    EXPECT_NE(r.err.find("(libx264 video + aac audio in mp4)"), std::string::npos) << r.err;

    const VideoSummary v = ReadVideo(output);
    EXPECT_EQ(v.width, 1280);
    EXPECT_EQ(v.height, 720);
    EXPECT_DOUBLE_EQ(v.rate, 30.0);
    EXPECT_EQ(v.frames, 60);
    EXPECT_DOUBLE_EQ(v.firstStart, 0.0);
    EXPECT_NEAR(v.lastStart, 59 / 30.0, 1e-4);
    int channels = 0;
    const auto audio = ReadAudio(output, &channels);
    EXPECT_EQ(audio.second, 48000);
    EXPECT_EQ(channels, 2);
    EXPECT_NEAR(double(audio.first), 96000.0, 1024.0); // two seconds, to within one AAC frame
}

// The video and audio commands read and write containers too; FFV1 and
// FLAC keep every byte.
TEST(ToolConvert, VideoAndAudioCommandsOnContainers)
{
    TempDir dir;
    mediatest::MediaSpec clip;
    clip.videoCodec = "ffv1";
    const std::string input = dir.file("in.mkv");
    ASSERT_EQ(mediatest::WriteMedia(input, clip), "");

    ASSERT_EQ(RunTool({"video", input, "-o", dir.file("copy.mkv"), "--codec", "ffv1", "-q"}).status, 0);
    ASSERT_EQ(RunTool({"video", input, "-o", dir.file("a.y4m"), "-q"}).status, 0);
    ASSERT_EQ(RunTool({"video", dir.file("copy.mkv"), "-o", dir.file("b.y4m"), "-q"}).status, 0);
    EXPECT_EQ(ReadFile(dir.file("a.y4m")), ReadFile(dir.file("b.y4m")));
    const ClipRead decoded = ReadClip(dir.file("a.y4m"));
    EXPECT_TRUE(decoded.ok);
    EXPECT_EQ(decoded.luma.size(), 25u);

    const RunResult r = RunTool({"audio", input, "-o", dir.file("out.m4a"), "--rate", "48000", "--channels", "1"});
    ASSERT_EQ(r.status, 0) << r.err;
    int channels = 0;
    const auto audio = ReadAudio(dir.file("out.m4a"), &channels);
    EXPECT_EQ(audio.second, 48000);
    EXPECT_EQ(channels, 1);
    EXPECT_NEAR(double(audio.first), 48000.0, 1024.0);
    ASSERT_EQ(RunTool({"audio", input, "-o", dir.file("out.wav"), "-q"}).status, 0);
    const WavRead wav = ReadWav(dir.file("out.wav"));
    EXPECT_EQ(wav.samples.size(), 2u * 44100u);
}

// The encoding options reach the file: the settings x264 records in it name
// the preset's choices and the bit rate or constant quantiser asked for, and
// FFV1 takes lossless FLAC audio beside it.
TEST(ToolConvert, EncodingOptionsReachTheFile)
{
    TempDir dir;
    mediatest::MediaSpec clip;
    clip.frames = 5;
    clip.samples = 4410;
    const std::string input = dir.file("in.mkv"), output = dir.file("out.mkv");
    ASSERT_EQ(mediatest::WriteMedia(input, clip), "");
    const struct {
        std::vector<std::string> options;
        std::vector<std::string> recorded; // in the file's bytes (x264) or the summary line
    } cases[] = {
        {{"--preset", "ultrafast", "--bitrate", "300k"}, {"subme=0", "bitrate=300 "}},
        {{"--crf", "0"}, {"rc=cqp mbtree=0 qp=0"}},
        {{"--codec", "ffv1"}, {"(ffv1 video + flac audio in matroska)"}},
    };
    for (const auto& c : cases) {
        std::vector<std::string> args{"convert", input, "-o", output};
        args.insert(args.end(), c.options.begin(), c.options.end());
        const RunResult r = RunTool(args);
        ASSERT_EQ(r.status, 0) << r.err;
        const Bytes file = ReadFile(output);
        const std::string text = r.err + std::string(file.begin(), file.end());
        for (const std::string& s : c.recorded)
            EXPECT_NE(text.find(s), std::string::npos) << c.options[0] << ": " << s;
    }
}

TEST(ToolConvert, BadInputAndOutputGiveOneLineAndNoFile)
{
    TempDir dir;
    WriteFile(dir.file("notes.mp4"), Bytes{'h', 'e', 'l', 'l', 'o'});
    mediatest::MediaSpec audioOnly;
    audioOnly.videoCodec = "";
    ASSERT_EQ(mediatest::WriteMedia(dir.file("sound.m4a"), audioOnly), "");
    MakeClip(dir.file("in.y4m"), ClipShape{});
    const std::string out = dir.file("out.mp4");
    const struct {
        std::vector<std::string> args;
        int status;
        std::string text;
    } cases[] = {
        {{"video", dir.file("notes.mp4"), "-o", out}, 1, "notes.mp4: cannot open ("},
        {{"convert", dir.file("notes.mp4"), "-o", out}, 1, "notes.mp4: cannot open ("},
        {{"video", dir.file("sound.m4a"), "-o", out}, 1, "sound.m4a: no video stream"},
        {{"video", dir.file("in.y4m"), "-o", out, "--codec", "ffv1"}, 2, "cannot hold ffv1 video (use .mkv)"},
        {{"video", dir.file("in.y4m"), "-o", dir.file("out.xyz")}, 2, "unknown output container '.xyz'"},
        {{"video", dir.file("in.y4m"), "-o", dir.file("out.m4a")}, 2, ".m4a holds audio only"},
        {{"convert", dir.file("in.y4m"), "-o", "-"}, 2, "convert writes a file"},
        {{"video", dir.file("in.y4m"), "-o", out, "--bitrate", "fast"}, 2, "--bitrate: invalid value 'fast'"},
    };
    for (const auto& c : cases) {
        const RunResult r = RunTool(c.args);
        EXPECT_EQ(r.status, c.status) << c.args[1] << " " << r.err;
        EXPECT_TRUE(IsOneLine(r.err)) << r.err;
        EXPECT_NE(r.err.find(c.text), std::string::npos) << r.err;
    }
    EXPECT_EQ(List(dir.path()), (std::vector<std::string>{"in.y4m", "notes.mp4", "sound.m4a"}));
}

} // namespace
} // namespace tooltest
