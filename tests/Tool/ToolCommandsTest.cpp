// dataprocess help, version, demo and bmp2jpeg, and every way a run can go
// wrong.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ToolRunner.h"

namespace tooltest {
namespace {

TEST(ToolCommands, HelpOfEveryCommandAndVersion)
{
    for (const char* command : {"", "demo", "video", "audio", "convert", "bmp2jpeg"}) {
        SCOPED_TRACE(command);
        std::vector<std::string> args{"--help"};
        if (*command)
            args.insert(args.begin(), command);
        const RunResult r = RunTool(args);
        EXPECT_EQ(r.status, 0);
        EXPECT_NE(r.out.find("Usage:"), std::string::npos) << r.out;
        EXPECT_NE(r.out.find("Example"), std::string::npos) << r.out;
        EXPECT_NE(r.out.find("dataprocess " + std::string(command)), std::string::npos) << r.out;
        EXPECT_EQ(r.err, "");
    }
    const RunResult r = RunTool({"--version"});
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.out.rfind("dataprocess " DP_EXPECTED_VERSION " (SIMD kernels: ", 0), 0u) << r.out;
}

TEST(ToolCommands, DemoWritesItsFourFilesAndSummary)
{
    TempDir dir;
    const RunResult r = RunTool({"demo", "--out", dir.path(), "--seconds", "1", "-q"});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(List(dir.path()), (std::vector<std::string>{"capture.bmp", "capture.jpg", "demo.wav", "demo.y4m"}));
    for (const std::string& line : {std::string("DataProcess demo"), std::string("frames out (1280x720, 30 fps"),
                                    std::string("-> 48000 Hz"), "wrote " + dir.file("demo.y4m")})
        EXPECT_NE(r.out.find(line), std::string::npos) << line << " in\n" << r.out;
    const ClipRead video = ReadClip(dir.file("demo.y4m"));
    ASSERT_TRUE(video.ok);
    EXPECT_EQ(video.width, 1280);
    EXPECT_EQ(video.height, 720);
    EXPECT_NEAR(double(video.luma.size()), 30, 1);
    const WavRead audio = ReadWav(dir.file("demo.wav"));
    ASSERT_TRUE(audio.ok);
    EXPECT_EQ(audio.rate, 48000);
    stilltest::Picture pic;
    std::string why;
    EXPECT_TRUE(stilltest::DecodeJpeg(ReadFile(dir.file("capture.jpg")), &pic, &why)) << why;
    EXPECT_EQ(pic.width, 1280);
    // bmp2jpeg on the captured bitmap: the same picture.
    const std::string again = dir.file("again.jpg");
    ASSERT_EQ(RunTool({"bmp2jpeg", dir.file("capture.bmp"), again}).status, 0);
    stilltest::Picture same;
    ASSERT_TRUE(stilltest::DecodeJpeg(ReadFile(again), &same, &why)) << why;
    EXPECT_EQ(std::make_pair(same.width, same.height), std::make_pair(1280, 720));
}

// Every failure gives one line on standard error that starts with the
// tool's name and names what is wrong, exit status 1 (processing) or 2
// (usage), nothing on standard output, and leaves the folder as it was: no
// output under its final name and no temporary file.
TEST(ToolCommands, BadInputs)
{
    struct BadCase {
        std::vector<std::string> args; // "@" stands for the folder
        int status;
        const char* mentions;
        const char* in = "";  // standard input
        const char* out = ""; // standard output, when not collected
    };
    const BadCase cases[] = {
        // The input.
        {{"video", "@/none.y4m", "-o", "@/out.y4m"}, 1, "none.y4m"},
        {{"video", "@/short.y4m", "-o", "@/out.y4m"}, 1, "short.y4m: truncated frame"},
        {{"video", "-", "-o", "@/out.y4m"}, 1, "truncated", "@/short.y4m"},
        {{"audio", "@/junk.wav", "-o", "@/out.wav"}, 1, "junk.wav"},
        {{"audio", "@/cut.wav", "-o", "@/out.wav"}, 1, "cut.wav"},
        {{"bmp2jpeg", "@/none.bmp", "@/out.jpg"}, 1, "none.bmp"},
        {{"bmp2jpeg", "@/pic32.bmp", "@/out.jpg"}, 1, "pic32.bmp"},
        {{"video", "@/in.y4m", "-o", "@/out.y4m", "--watermark", "@/none.bmp"}, 1, "none.bmp"},
        // The output.
        {{"video", "@/in.y4m", "-o", "@/gone/out.y4m"}, 1, "gone/out.y4m"},
        {{"video", "@/in.y4m", "-o", "@/out.y4m", "--capture", "0:@/gone/shot.jpg"}, 1, "gone/shot.jpg"},
        {{"video", "@/in.y4m", "-o", "@/out.y4m", "--capture", "30:@/shot.bmp"}, 1, "shot.bmp: capture at 30 s"},
        {{"video", "@/in.y4m", "-o", "-", "-q"}, 1, "standard output", "", "/dev/full"},
        {{"video", "@/in.y4m", "-o", "@/in.y4m"}, 2, "-o"},
        // Option values.
        {{"video", "@/in.y4m", "-o", "@/out.y4m", "--size", "12"}, 2, "--size"},
        {{"video", "@/in.y4m", "-o", "@/out.y4m", "--size", "1x8"}, 2, "--size"},
        {{"video", "@/in.y4m", "-o", "@/out.y4m", "--crop", "1,2"}, 2, "--crop"},
        {{"video", "@/in.y4m", "-o", "@/out.y4m", "--crop", "0,10,16,5"}, 2, "--crop"},
        {{"video", "@/in.y4m", "-o", "@/out.y4m", "--rotate", "45"}, 2, "--rotate"},
        {{"video", "@/in.y4m", "-o", "@/out.y4m", "--rate", "500"}, 2, "--rate"},
        {{"video", "@/in.y4m", "-o", "@/out.y4m", "--start", "-1"}, 2, "--start"},
        {{"video", "@/in.y4m", "-o", "@/out.y4m", "--start", "0.5", "--end", "0.5"}, 2, "--end"},
        {{"video", "@/in.y4m", "-o", "@/out.y4m", "--start", "0.01", "--end", "0.02"}, 2, "no frame of the"},
        {{"video", "@/in.y4m", "-o", "@/out.y4m", "--start", "1000"}, 1, "video ends before 1000 s"},
        {{"audio", "@/in.wav", "-o", "@/out.wav", "--channels", "3"}, 2, "--channels"},
        {{"audio", "@/in.wav", "-o", "@/out.wav", "--fade-in", "0"}, 2, "--fade-in"},
        {{"audio", "@/8bit.wav", "-o", "@/out.wav", "--channels", "1"}, 1, "8-bit audio cannot be converted"},
        // Missing arguments.
        {{"video", "@/in.y4m"}, 2, "--output"},
        {{"audio", "-o", "@/out.wav"}, 2, "input"},
        {{}, 2, "subcommand"},
    };
    TempDir dir;
    auto text = [&dir](const char* name, const std::string& s) {
        WriteFile(dir.file(name), Bytes(s.begin(), s.end()));
    };
    MakeClip(dir.file("in.y4m"), ClipShape{});
    const Bytes clip = ReadFile(dir.file("in.y4m"));
    WriteFile(dir.file("short.y4m"), Bytes(clip.begin(), clip.end() - 50));
    MakeTone(dir.file("in.wav"), 44100, 2, 4410);
    text("junk.wav", "JUNK" + std::string(60, 'j'));
    WriteFile(dir.file("cut.wav"), Wav(44100, 1, 1, 16, Bytes(399), 400));
    WriteFile(dir.file("8bit.wav"), Wav(8000, 2, 1, 8, Bytes(400, 128)));
    WriteFile(dir.file("pic24.bmp"), stilltest::BuildBmp24(stilltest::MakeFlat(3, 4, 1, 2, 3)));
    // Three pixels of 24 bits pad their rows to 12 bytes, as three of 32
    // bits fill them: with its bit count changed the file is a valid
    // 32-bit bitmap.
    Bytes pic32 = ReadFile(dir.file("pic24.bmp"));
    pic32[28] = 32;
    WriteFile(dir.file("pic32.bmp"), pic32);
    const std::vector<std::string> before = List(dir.path());
    auto place = [&dir](std::string s) {
        for (size_t at; (at = s.find('@')) != std::string::npos;)
            s.replace(at, 1, dir.path());
        return s;
    };

    for (const BadCase& c : cases) {
        std::vector<std::string> args;
        for (const std::string& a : c.args)
            args.push_back(place(a));
        SCOPED_TRACE(testing::PrintToString(args));
        if (*c.out && !stilltest::FileExists(c.out))
            continue; // no /dev/full here
        const RunResult r = RunTool(args, place(c.in), c.out);
        EXPECT_EQ(r.status, c.status) << r.err;
        EXPECT_TRUE(IsOneLine(r.err)) << r.err;
        EXPECT_EQ(r.err.rfind("dataprocess: ", 0), 0u) << r.err;
        EXPECT_NE(r.err.find(c.mentions), std::string::npos) << r.err;
        EXPECT_EQ(r.out, "");
        EXPECT_EQ(List(dir.path()), before);
    }
}

} // namespace
} // namespace tooltest
