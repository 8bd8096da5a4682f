// dataprocess video and audio on small generated files: sizes, picture and
// sample counts, where a marked pixel lands, rate conversion, volume,
// captures and pipes.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

#include <functional>

#include <DataProcess/DataProcess.h>

#include "../Video/VideoTestSupport.h"
#include "ToolRunner.h"
#include "WavAudioSource.h"
#include "Y4mVideoSource.h"

namespace tooltest {
namespace {

using Names = std::vector<std::string>;

std::vector<std::string> Join(std::vector<std::string> a, const std::vector<std::string>& b)
{
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

class ToolVideo : public ::testing::Test {
protected:
    // A 10-picture 32x16 clip at 25 fps with a mark at (5, 3).
    void SetUp() override { MakeClip(input, ClipShape{32, 16, 10, 25, 1, 5, 3}); }

    ClipRead RunToFile(const std::vector<std::string>& options)
    {
        const RunResult r = RunTool(Join({"video", input, "-o", output, "-q"}, options));
        EXPECT_EQ(r.status, 0) << r.err;
        EXPECT_EQ(r.out, "");
        return ReadClip(output);
    }

    TempDir dir;
    const std::string input = dir.file("in.y4m");
    const std::string output = dir.file("out.y4m");
};

struct VideoCase {
    std::vector<std::string> options;
    int width, height, rateNum, rateDen;
    std::vector<int> pictures; // the source picture shown by each output picture
    Positions mark;            // of kMarkLuma in every picture (not checked when empty)
    size_t black;              // pixels at luma 16 in every picture
};

// Without --size a quarter turn turns the frame too: 32x16 becomes 16x32.
// The image routine turns about the origin and shifts by one frame side,
// which leaves one row (90) or column (270) of the turned frame black and
// drops one column (90) or row (270) of the source: kept as it is.
//   90:  out(X, Y) = in(W - Y, X)   (counter-clockwise on screen)
//   270: out(X, Y) = in(Y, H - X)
// The constant-rate stage shows the last picture once more when its last
// step could still advance the source (9 after 8 at half the rate).
TEST_F(ToolVideo, GeometryAndRate)
{
    const std::vector<int> all{0, 1, 2, 3, 4, 5, 6, 7, 8, 9};
    const VideoCase cases[] = {
        {{}, 32, 16, 25, 1, all, {{5, 3}}, 0},
        {{"--size", "64x32"}, 64, 32, 25, 1, all, {}, 0},
        {{"--crop", "2,1,18,9"}, 16, 8, 25, 1, all, {{5 - 2, 3 - 1}}, 0},
        {{"--rotate", "90"}, 16, 32, 25, 1, all, {{3, 32 - 5}}, 16},
        {{"--rotate", "270"}, 16, 32, 25, 1, all, {{16 - 3, 5}}, 32},
        {{"--rate", "50"}, 32, 16, 50, 1, {0, 0, 1, 1, 2, 2, 3, 3, 4, 4, 5, 5, 6, 6, 7, 7, 8, 8, 9, 9}, {{5, 3}}, 0},
        {{"--rate", "12.5"}, 32, 16, 25, 2, {0, 2, 4, 6, 8, 9}, {{5, 3}}, 0},
    };
    for (const VideoCase& c : cases) {
        SCOPED_TRACE(c.options.empty() ? "pass-through" : c.options[0] + " " + c.options[1]);
        const ClipRead out = RunToFile(c.options);
        ASSERT_TRUE(out.ok);
        EXPECT_EQ(out.width, c.width);
        EXPECT_EQ(out.height, c.height);
        EXPECT_EQ(int64_t(out.rateNum) * c.rateDen, int64_t(c.rateNum) * out.rateDen)
            << out.rateNum << ":" << out.rateDen;
        ASSERT_EQ(out.luma.size(), c.pictures.size());
        for (size_t k = 0; k < c.pictures.size(); ++k) {
            SCOPED_TRACE("picture " + std::to_string(k));
            // The last pixel is off the mark and off any black edge.
            EXPECT_EQ(out.luma[k].back(), FrameLuma(c.pictures[k]));
            if (!c.mark.empty()) {
                EXPECT_EQ(Find(out.luma[k], c.width, kMarkLuma), c.mark);
            }
            EXPECT_EQ(Find(out.luma[k], c.width, 16).size(), c.black);
        }
        EXPECT_EQ(List(dir.path()), (Names{"in.y4m", "out.y4m"}));
    }
}

TEST_F(ToolVideo, CapturesToJpegAndBmpLeaveOnlyTheFinishedFiles)
{
    const std::string jpg = dir.file("shot.Jpeg"), bmp = dir.file("shot.bmp");
    ASSERT_TRUE(RunToFile({"--size", "48x24", "--capture", "0.1:" + jpg, "--capture", "0.2:" + bmp}).ok);
    EXPECT_EQ(List(dir.path()), (Names{"in.y4m", "out.y4m", "shot.Jpeg", "shot.bmp"}));
    stilltest::Picture pic;
    std::string why;
    ASSERT_TRUE(stilltest::DecodeJpeg(ReadFile(jpg), &pic, &why)) << why;
    EXPECT_EQ(pic.width, 48);
    EXPECT_EQ(pic.height, 24);
    // bfSize, width, height and bit count of a 24-bit bottom-up file.
    const Bytes f = ReadFile(bmp);
    ASSERT_EQ(f.size(), 54u + 48 * 3 * 24);
    for (auto field : {std::pair<size_t, uint32_t>{2, 54 + 48 * 3 * 24}, {18, 48}, {22, 24}, {28, 24}})
        EXPECT_EQ(stilltest::Le(f, field.first, field.first == 28 ? 2 : 4), field.second) << "at " << field.first;
}

// Standard input to standard output gives the bytes of the file-to-file
// run. A stage watermark placed by a rectangle makes the library print a
// line on standard output: with -o - it must go to standard error instead.
TEST_F(ToolVideo, PipeGivesTheFileResultAndKeepsMessagesOutOfTheData)
{
    const std::string logo = dir.file("logo.bmp");
    WriteFile(logo, stilltest::BuildBmp24(stilltest::MakeFlat(8, 4, 255, 0, 0)));
    const std::vector<std::string> opts{"-q", "--watermark", logo, "--watermark-rect", "4,4,12,8"};
    const RunResult piped = RunTool(Join({"video", "-", "-o", "-"}, opts), input);
    ASSERT_EQ(piped.status, 0) << piped.err;
    const RunResult filed = RunTool(Join({"video", input, "-o", output}, opts));
    ASSERT_EQ(filed.status, 0) << filed.err;
    EXPECT_EQ(filed.out, "\t\t (100, 4, 4, 12)\r\n");
    EXPECT_EQ(piped.err, filed.out);
    EXPECT_EQ(Bytes(piped.out.begin(), piped.out.end()), ReadFile(output));
}

// Each video option gives the picture the library gives with the setting it
// names (on a coloured clip, so that every setting shows). An output without
// an extension is y4m.
TEST(ToolOptions, VideoOptionsAreTheStageSettings)
{
    TempDir dir;
    const std::string input = dir.file("in.y4m"), output = dir.file("out"), logo = dir.file("logo.bmp");
    MakeClip(input, ClipShape{64, 48, 2, 25, 1, 20, 11, 90});
    WriteFile(logo, stilltest::BuildBmp24(stilltest::MakeFlat(8, 4, 255, 0, 0)));
    std::vector<unsigned char> mark = Flat32(8, 4, Bgra{0, 0, 255, 255});
    tagFRECT frect = {0.5f, 0.1f, 0.9f, 0.4f};
    const struct {
        std::vector<std::string> options;
        std::function<void(VideoDecoder*)> settings;
        RESIZE_PARAM resize = {};
    } cases[] = {
        {{"--brightness", "30"}, [](VideoDecoder* h) { PCSetVideoBrightness(h, 30); }},
        {{"--contrast", "-30"}, [](VideoDecoder* h) { PCSetContrast(h, -30); }},
        {{"--saturation", "-50"}, [](VideoDecoder* h) { PCSetVideoSaturation(h, -50); }},
        {{"--filter", "gray"}, [](VideoDecoder* h) { PCSetExFilterFlag(h, 1); }},
        {{"--filter", "emboss,old-photo"}, [](VideoDecoder* h) { PCSetExFilterFlag(h, 2 | 32); }},
        {{"--flip", "vertical"}, [](VideoDecoder* h) { PCSetFlipFlag(h, 2); }},
        {{"--deinterlace", "blend-even"}, [](VideoDecoder* h) { PCSetVideoDeintelace(h, DEINTERLACE_BLEND_EVEN); }},
        {{"--size", "48x40", "--resize", "crop-fill", "--interpolation", "nearest"}, [](VideoDecoder*) {},
         {48, 40, IMAGE_INTERPOLATION_NEAREST, IMAGE_RESIZE_CROP_FILL}},
        {{"--watermark", logo, "--watermark-align", "1", "--watermark-opacity", "50"},
         [&](VideoDecoder* h) { PCSetWatermarkImageAlign(h, Info(mark), nullptr, 1, 50); }},
        {{"--user-watermark", logo, "--user-watermark-rect", "0.5,0.1,0.9,0.4", "--user-watermark-opacity", "40"},
         [&](VideoDecoder* h) { PCSetUserWatermarkImage(h, Info(mark), nullptr, &frect, 40); }},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.options[0] + " " + c.options[1]);
        std::vector<std::string> args{"video", input, "-o", output, "-q"};
        args.insert(args.end(), c.options.begin(), c.options.end());
        const RunResult r = RunTool(args);
        ASSERT_EQ(r.status, 0) << r.err;
        Y4mVideoSource src, out;
        ASSERT_EQ(src.OpenPath(input), HOSTFILE_OK);
        ASSERT_EQ(out.OpenPath(output), HOSTFILE_OK);
        VideoDecoder* h = PCVideoCreate(&src, c.resize.nWidth ? &c.resize : nullptr, 0.0);
        c.settings(h);
        EXPECT_EQ(Planes(out.GetFrame()), Planes(PCGetVideoFrame(h)));
        PCVideoDestroy(h);
    }
}

// Fades, volume and conversions give the samples of the library's stage with
// the settings they name: --fade-out LENGTH ends with the input, a channel
// change alone keeps the rate, the high-quality resampler where there is one.
TEST(ToolOptions, AudioOptionsAreTheStageSettings)
{
    TempDir dir;
    const std::string output = dir.file("out.wav");
    MakeTone(dir.file("stereo.wav"), 44100, 2, 44100);
    MakeTone(dir.file("mono.wav"), 44100, 1, 44100);
    const struct {
        const char* input;
        std::vector<std::string> options;
        int rate, channels, volume;
        double fade[4];
    } cases[] = {
        {"stereo.wav", {"--fade-out", "0.25"}, 0, 0, 100, {0, 0, 0.75, 0.25}},
        {"stereo.wav", {"--fade-in", "0.5:0.25", "--fade-out", "0.2:0.1"}, 0, 0, 100, {0.5, 0.25, 0.2, 0.1}},
        {"stereo.wav", {"--volume", "50"}, 0, 0, 50, {}},
        {"stereo.wav", {"--channels", "1"}, 44100, 1, 100, {}},
        {"stereo.wav", {"--rate", "48000"}, 48000, 2, 100, {}},
        {"mono.wav", {"--rate", "22050"}, 22050, 1, 100, {}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.options[0] + " " + c.options[1]);
        std::vector<std::string> args{"audio", dir.file(c.input), "-o", output, "-q", "--no-timeline"};
        args.insert(args.end(), c.options.begin(), c.options.end());
        const RunResult r = RunTool(args);
        ASSERT_EQ(r.status, 0) << r.err;
        WavAudioSource src;
        ASSERT_EQ(src.OpenPath(dir.file(c.input)), HOSTFILE_OK);
        AudioDecoder* h = PCAudioCreate(&src, c.rate, c.channels, c.rate ? 16 : 0, 0);
        PCSetAudioResampler(h, DPAudioResamplerAvailable(AUDIO_RESAMPLER_HQ) == 1 ? AUDIO_RESAMPLER_HQ : AUDIO_RESAMPLER_LINEAR);
        PCSetVolum(h, c.volume);
        PCSetFadeInOutTime(h, c.fade[0], c.fade[1], c.fade[2], c.fade[3]);
        std::vector<int16_t> want;
        while (MEDIA_FRAME* b = PCGetNextAudioFrame(h))
            want.insert(want.end(), reinterpret_cast<int16_t*>(b->pData),
                        reinterpret_cast<int16_t*>(b->pData) + b->nDataSize / 2);
        PCAudioDestroy(h);
        const WavRead out = ReadWav(output);
        EXPECT_EQ(out.channels, c.channels ? c.channels : 2);
        EXPECT_EQ(out.samples, want);
    }
}

} // namespace
} // namespace tooltest
