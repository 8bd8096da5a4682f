// dataprocess help, version, demo and bmp2jpeg.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "StillTestUtil.h"
#include "ToolRunner.h"

namespace tooltest {
namespace {

TEST(ToolHelp, EveryCommandExplainsItselfWithExamples)
{
    for (const char* command : {"", "demo", "video", "audio", "bmp2jpeg"}) {
        SCOPED_TRACE(command);
        std::vector<std::string> args;
        if (*command)
            args.push_back(command);
        args.push_back("--help");
        const RunResult r = RunTool(args);
        EXPECT_EQ(r.status, 0);
        EXPECT_NE(r.out.find("Usage:"), std::string::npos) << r.out;
        EXPECT_NE(r.out.find("Example"), std::string::npos) << r.out;
        EXPECT_NE(r.out.find("dataprocess " + std::string(command)), std::string::npos) << r.out;
        EXPECT_EQ(r.err, "");
    }
}

TEST(ToolHelp, Version)
{
    const RunResult r = RunTool({"--version"});
    EXPECT_EQ(r.status, 0);
    EXPECT_EQ(r.out, "dataprocess " DP_EXPECTED_VERSION "\n");
}

TEST(ToolDemo, WritesItsFourFilesAndSummary)
{
    ScratchDir dir;
    const RunResult r = RunTool({"demo", "--out", dir.Path(), "--seconds", "1", "-q"});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(dir.List(), (std::vector<std::string>{"capture.bmp", "capture.jpg", "demo.wav", "demo.y4m"}));
    EXPECT_NE(r.out.find("DataProcess demo"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("frames out (1280x720, 30 fps"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("-> 48000 Hz"), std::string::npos) << r.out;
    EXPECT_NE(r.out.find("wrote " + dir.Path() + "/demo.y4m"), std::string::npos) << r.out;

    const ClipRead video = ReadClip(dir.File("demo.y4m"));
    ASSERT_TRUE(video.ok) << video.error;
    EXPECT_EQ(video.width, 1280);
    EXPECT_EQ(video.height, 720);
    EXPECT_NEAR(static_cast<double>(video.luma.size()), 30, 1);
    const WavRead audio = ReadWav(dir.File("demo.wav"));
    ASSERT_TRUE(audio.ok) << audio.error;
    EXPECT_EQ(audio.rate, 48000);
    int w = 0, h = 0, bits = 0;
    EXPECT_TRUE(ParseBmp(ReadBytes(dir.File("capture.bmp")), &w, &h, &bits));
    EXPECT_EQ(w, 1280);
    stilltest::Picture pic;
    std::string why;
    EXPECT_TRUE(stilltest::DecodeJpeg(ReadBytes(dir.File("capture.jpg")), &pic, &why)) << why;
    EXPECT_EQ(pic.width, 1280);
}

TEST(ToolBmp2Jpeg, ConvertsA24BitBitmap)
{
    ScratchDir dir;
    WriteBytes(dir.File("in.bmp"), MakeBmp(24, 16, 24, 40, 160, 220));
    const RunResult r = RunTool({"bmp2jpeg", dir.File("in.bmp"), dir.File("out.jpg")});
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out, "");
    EXPECT_EQ(dir.List(), (std::vector<std::string>{"in.bmp", "out.jpg"}));
    stilltest::Picture pic;
    std::string why;
    ASSERT_TRUE(stilltest::DecodeJpeg(ReadBytes(dir.File("out.jpg")), &pic, &why)) << why;
    EXPECT_EQ(pic.width, 24);
    EXPECT_EQ(pic.height, 16);
    EXPECT_NEAR(pic.at(12, 8)[0], 220, 4);
    EXPECT_NEAR(pic.at(12, 8)[1], 160, 4);
    EXPECT_NEAR(pic.at(12, 8)[2], 40, 4);
}

} // namespace
} // namespace tooltest
