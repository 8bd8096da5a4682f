// dataprocess audio on a generated WAV: sample counts after rate and
// channel conversion, volume, and pipes.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

#include "ToolRunner.h"

namespace tooltest {
namespace {

int Peak(const std::vector<int16_t>& s)
{
    int p = 0;
    for (int16_t v : s)
        p = std::max(p, std::abs(static_cast<int>(v)));
    return p;
}

class ToolAudio : public ::testing::Test {
protected:
    // One second of 44.1 kHz stereo.
    void SetUp() override { MakeTone(input, 44100, 2, 44100); }

    WavRead RunToFile(std::vector<std::string> options)
    {
        std::vector<std::string> args{"audio", input, "-o", output, "-q"};
        args.insert(args.end(), options.begin(), options.end());
        const RunResult r = RunTool(args);
        EXPECT_EQ(r.status, 0) << r.err;
        EXPECT_EQ(r.err, "");
        return ReadWav(output);
    }

    ScratchDir dir;
    const std::string input = dir.File("in.wav");
    const std::string output = dir.File("out.wav");
};

TEST_F(ToolAudio, ResamplingTo48kKeepsTheDuration)
{
    const WavRead out = RunToFile({"--rate", "48000"});
    ASSERT_TRUE(out.ok) << out.error;
    EXPECT_EQ(out.rate, 48000);
    EXPECT_EQ(out.channels, 2);
    EXPECT_EQ(out.bits, 16);
    const long frames = static_cast<long>(out.samples.size() / 2);
    EXPECT_NEAR(frames, 48000, 2) << "one second, within the converter's rounding";
    EXPECT_NEAR(Peak(out.samples), 8000, 100);
    EXPECT_EQ(dir.List(), (std::vector<std::string>{"in.wav", "out.wav"}));
}

TEST_F(ToolAudio, MixingToOneChannelKeepsTheRate)
{
    const WavRead out = RunToFile({"--channels", "1"});
    ASSERT_TRUE(out.ok) << out.error;
    EXPECT_EQ(out.rate, 44100);
    EXPECT_EQ(out.channels, 1);
    EXPECT_NEAR(static_cast<long>(out.samples.size()), 44100, 2);
    EXPECT_GT(Peak(out.samples), 2000);
    EXPECT_LE(Peak(out.samples), 16000);
}

TEST_F(ToolAudio, HalfVolumeHalvesEverySample)
{
    const WavRead in = ReadWav(input);
    const WavRead out = RunToFile({"--volume", "50"});
    ASSERT_TRUE(out.ok) << out.error;
    ASSERT_EQ(out.samples.size(), in.samples.size());
    for (size_t i = 0; i < in.samples.size(); ++i)
        ASSERT_EQ(out.samples[i], in.samples[i] * 50 / 100) << "sample " << i;
}

TEST_F(ToolAudio, PipeThroughTwoStages)
{
    const PipeResult r = RunToolPipe({"audio", "-", "-o", "-", "-q", "--rate", "48000"},
                                 {"audio", "-", "-o", output, "-q", "--channels", "1"}, input);
    EXPECT_EQ(r.first.status, 0) << r.first.err;
    EXPECT_EQ(r.second.status, 0) << r.second.err;
    const WavRead out = ReadWav(output);
    ASSERT_TRUE(out.ok) << out.error;
    EXPECT_EQ(out.rate, 48000);
    EXPECT_EQ(out.channels, 1);
    EXPECT_NEAR(static_cast<long>(out.samples.size()), 48000, 4);
}

} // namespace
} // namespace tooltest
