// dataprocess on media files through FFmpeg: the encoding options and the
// one-line refusals of unsuitable input and output. (Every command on
// containers of every shape: ToolInputShapesTest.cpp.)
#include <gtest/gtest.h>

#include <string>

#include "FfmpegTestMedia.h"
#include "ToolRunner.h"

namespace tooltest {
namespace {

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
