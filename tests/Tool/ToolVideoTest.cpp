// dataprocess video on small y4m clips: sizes, frame counts, where a marked
// pixel lands after a crop or a quarter turn, rate conversion, captures and
// pipes.
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "StillTestUtil.h"
#include "ToolRunner.h"

namespace tooltest {
namespace {

using Positions = std::vector<std::pair<int, int>>;

class ToolVideo : public ::testing::Test {
protected:
    // A 10-picture 32x16 clip at 25 fps with a mark at (5, 3).
    void SetUp() override
    {
        shape.width = 32;
        shape.height = 16;
        shape.markX = 5;
        shape.markY = 3;
        MakeClip(input, shape);
    }

    ClipRead RunToFile(std::vector<std::string> options)
    {
        std::vector<std::string> args{"video", input, "-o", output, "-q"};
        args.insert(args.end(), options.begin(), options.end());
        const RunResult r = RunTool(args);
        EXPECT_EQ(r.status, 0) << r.err;
        EXPECT_EQ(r.out, "");
        return ReadClip(output);
    }

    ScratchDir dir;
    ClipShape shape;
    const std::string input = dir.File("in.y4m");
    const std::string output = dir.File("out.y4m");
};

TEST_F(ToolVideo, PassThroughKeepsEveryPictureInPlace)
{
    const ClipRead out = RunToFile({});
    ASSERT_TRUE(out.ok) << out.error;
    EXPECT_EQ(out.width, 32);
    EXPECT_EQ(out.height, 16);
    EXPECT_EQ(out.rateNum * 1.0 / out.rateDen, 25.0);
    // Picture i of the output is picture i of the input: no picture doubled
    // at the start, none lost at the end.
    ASSERT_EQ(out.luma.size(), 10u);
    for (int i = 0; i < 10; ++i) {
        EXPECT_EQ(out.luma[i][0], FrameLuma(i)) << "picture " << i;
        EXPECT_EQ(Find(out.luma[i], 32, kMarkLuma), (Positions{{5, 3}}));
    }
    EXPECT_EQ(dir.List(), (std::vector<std::string>{"in.y4m", "out.y4m"}));
}

TEST_F(ToolVideo, SizeScalesEveryPicture)
{
    const ClipRead out = RunToFile({"--size", "64x32"});
    ASSERT_TRUE(out.ok) << out.error;
    EXPECT_EQ(out.width, 64);
    EXPECT_EQ(out.height, 32);
    EXPECT_EQ(out.luma.size(), 10u);
}

TEST_F(ToolVideo, CropKeepsTheMarkedPixelAtItsPlaceInTheRegion)
{
    const ClipRead out = RunToFile({"--crop", "2,1,18,9"});
    ASSERT_TRUE(out.ok) << out.error;
    EXPECT_EQ(out.width, 16);
    EXPECT_EQ(out.height, 8);
    ASSERT_EQ(out.luma.size(), 10u);
    EXPECT_EQ(Find(out.luma[4], 16, kMarkLuma), (Positions{{5 - 2, 3 - 1}}));
}

// Without --size the frame turns with the picture: W x H becomes H x W. The
// image routine turns about the origin and shifts by one frame side, which
// leaves one row (90) or column (270) of the turned frame black and drops
// one column (90) or row (270) of the source:
//   90:  out(X, Y) = in(W - Y, X)   (counter-clockwise on screen)
//   270: out(X, Y) = in(Y, H - X)
TEST_F(ToolVideo, QuarterTurnsMoveTheMarkedPixel)
{
    const int W = 32, H = 16;
    const ClipRead ccw = RunToFile({"--rotate", "90"});
    ASSERT_TRUE(ccw.ok) << ccw.error;
    EXPECT_EQ(ccw.width, H);
    EXPECT_EQ(ccw.height, W);
    ASSERT_EQ(ccw.luma.size(), 10u);
    EXPECT_EQ(Find(ccw.luma[0], H, kMarkLuma), (Positions{{shape.markY, W - shape.markX}}));
    EXPECT_EQ(Find(ccw.luma[0], H, 16).size(), size_t(H)) << "only row 0 is left black";

    const ClipRead cw = RunToFile({"--rotate", "270"});
    ASSERT_TRUE(cw.ok) << cw.error;
    EXPECT_EQ(cw.width, H);
    EXPECT_EQ(cw.height, W);
    EXPECT_EQ(Find(cw.luma[0], H, kMarkLuma), (Positions{{H - shape.markY, shape.markX}}));
    EXPECT_EQ(Find(cw.luma[0], H, 16).size(), size_t(W)) << "only column 0 is left black";
}

TEST_F(ToolVideo, DoublingTheRateShowsEachPictureTwice)
{
    const ClipRead out = RunToFile({"--rate", "50"});
    ASSERT_TRUE(out.ok) << out.error;
    EXPECT_EQ(out.rateNum * 1.0 / out.rateDen, 50.0);
    ASSERT_EQ(out.luma.size(), 20u);
    for (int k = 0; k < 20; ++k)
        EXPECT_EQ(out.luma[k][0], FrameLuma(k / 2)) << "grid picture " << k;
}

TEST_F(ToolVideo, HalvingTheRateShowsEveryOtherPicture)
{
    const ClipRead out = RunToFile({"--rate", "12.5"});
    ASSERT_TRUE(out.ok) << out.error;
    EXPECT_EQ(out.rateNum, 25);
    EXPECT_EQ(out.rateDen, 2);
    // The constant-rate stage shows the last picture once more when its
    // last step could still advance the source (9 after 8).
    ASSERT_EQ(out.luma.size(), 6u);
    for (int k = 0; k < 5; ++k)
        EXPECT_EQ(out.luma[k][0], FrameLuma(2 * k)) << "grid picture " << k;
    EXPECT_EQ(out.luma[5][0], FrameLuma(9));
}

TEST_F(ToolVideo, CapturesToJpegAndBmpLeaveOnlyTheFinishedFiles)
{
    const std::string jpg = dir.File("shot.jpg"), bmp = dir.File("shot.bmp");
    const ClipRead out = RunToFile({"--size", "48x24", "--capture", "0.1:" + jpg, "--capture", "0.2:" + bmp});
    ASSERT_TRUE(out.ok) << out.error;
    EXPECT_EQ(dir.List(), (std::vector<std::string>{"in.y4m", "out.y4m", "shot.bmp", "shot.jpg"}));

    stilltest::Picture pic;
    std::string why;
    ASSERT_TRUE(stilltest::DecodeJpeg(ReadBytes(jpg), &pic, &why)) << why;
    EXPECT_EQ(pic.width, 48);
    EXPECT_EQ(pic.height, 24);
    int w = 0, h = 0, bits = 0;
    ASSERT_TRUE(ParseBmp(ReadBytes(bmp), &w, &h, &bits));
    EXPECT_EQ(w, 48);
    EXPECT_EQ(h, 24);
    EXPECT_EQ(bits, 24);
}

TEST_F(ToolVideo, StandardInputToStandardOutputGivesTheFileResult)
{
    const ClipRead viaFile = RunToFile({"--size", "48x24"});
    const RunResult piped = RunTool({"video", "-", "-o", "-", "-q", "--size", "48x24"}, input);
    ASSERT_EQ(piped.status, 0) << piped.err;
    EXPECT_EQ(piped.err, "");
    const Bytes fileBytes = ReadBytes(output);
    EXPECT_EQ(Bytes(piped.out.begin(), piped.out.end()), fileBytes);
    EXPECT_EQ(viaFile.luma.size(), 10u);
}

TEST_F(ToolVideo, TwoStagePipe)
{
    const PipeResult r = RunToolPipe({"video", input, "-o", "-", "-q", "--size", "64x32"},
                                 {"video", "-", "-o", output, "-q", "--rotate", "90"});
    EXPECT_EQ(r.first.status, 0) << r.first.err;
    EXPECT_EQ(r.second.status, 0) << r.second.err;
    const ClipRead out = ReadClip(output);
    ASSERT_TRUE(out.ok) << out.error;
    EXPECT_EQ(out.width, 32);
    EXPECT_EQ(out.height, 64);
    EXPECT_EQ(out.luma.size(), 10u);
}

// A stage watermark placed by a rectangle makes the library print a line on
// standard output; with -o - that line must go elsewhere.
TEST_F(ToolVideo, WatermarkMessageStaysOutOfTheDataOnStandardOutput)
{
    const std::string logo = dir.File("logo.bmp");
    WriteBytes(logo, MakeBmp(8, 4, 32, 0, 0, 255, 255));
    const std::vector<std::string> opts{"--watermark", logo, "--watermark-rect", "4,4,12,8"};

    std::vector<std::string> toStdout{"video", input, "-o", "-", "-q"};
    toStdout.insert(toStdout.end(), opts.begin(), opts.end());
    const RunResult piped = RunTool(toStdout);
    ASSERT_EQ(piped.status, 0) << piped.err;

    // Written to a file, the same run leaves the line on standard output.
    std::vector<std::string> toFile{"video", input, "-o", output, "-q"};
    toFile.insert(toFile.end(), opts.begin(), opts.end());
    const RunResult filed = RunTool(toFile);
    ASSERT_EQ(filed.status, 0) << filed.err;
    EXPECT_EQ(filed.out, "\t\t (100, 4, 4, 12)\r\n");
    EXPECT_EQ(piped.err, filed.out);
    EXPECT_EQ(Bytes(piped.out.begin(), piped.out.end()), ReadBytes(output));
    WriteBytes(dir.File("piped.y4m"), Bytes(piped.out.begin(), piped.out.end()));
    const ClipRead back = ReadClip(dir.File("piped.y4m"));
    ASSERT_TRUE(back.ok) << back.error;
    EXPECT_EQ(back.luma.size(), 10u);
    // The red logo darkens the luma under it.
    EXPECT_NE(back.luma[0][5 * 32 + 6], FrameLuma(0));
}

TEST_F(ToolVideo, FullStandardOutputIsAWriteError)
{
    if (!Exists("/dev/full"))
        GTEST_SKIP() << "no /dev/full here";
    const RunResult r = RunTool({"video", input, "-o", "-", "-q"}, "", "/dev/full");
    EXPECT_EQ(r.status, 1);
    EXPECT_TRUE(IsOneLine(r.err)) << r.err;
    EXPECT_NE(r.err.find("standard output"), std::string::npos) << r.err;
}

} // namespace
} // namespace tooltest
