// The tool's --resampler: linear gives exactly what the audio stage gives in
// its linear mode over the same input stack (the library's own output), the
// default is the high-quality mode where the library has it, for the audio
// and the convert command alike.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include <DataProcess/DataProcess.h>

#include "AudioSharedState.h"
#include "ToolRunner.h"
#include "WavAudioSource.h"

namespace tooltest {
namespace {

// The tool's stack read directly: WAV blocks of 1024 frames, the timeline
// stage, the processing stage in `mode`, a fresh resampler carry (as in a
// new process).
std::vector<int16_t> StageOutput(const std::string& path, int rate, int mode)
{
    dp_audio::SetResamplerCarry(0.0);
    WavAudioSource wav;
    EXPECT_EQ(wav.OpenPath(path), HOSTFILE_OK);
    AudioDecoder* even = PEAudioCreate(&wav);
    AudioDecoder* stage = PCAudioCreate(even, rate, wav.Channels(), 16, 0);
    EXPECT_EQ(PCSetAudioResampler(stage, mode), 1);
    std::vector<int16_t> out;
    while (const MEDIA_FRAME* f = PCGetNextAudioFrame(stage))
        out.insert(out.end(), reinterpret_cast<const int16_t*>(f->pData),
                   reinterpret_cast<const int16_t*>(f->pData + f->nDataSize));
    PCAudioDestroy(stage);
    PEAudioDestroy(even);
    return out;
}

TEST(ToolResampler, LinearIsTheStageOutputAndTheDefaultIsHq)
{
    const bool haveHq = DPAudioResamplerAvailable(AUDIO_RESAMPLER_HQ) == 1;
    TempDir dir;
    const std::string input = dir.file("in.wav"), output = dir.file("out.wav");
    MakeTone(input, 44100, 2, 30000);
    const std::vector<int16_t> linear = StageOutput(input, 48000, AUDIO_RESAMPLER_LINEAR);
    const std::vector<int16_t> hq = haveHq ? StageOutput(input, 48000, AUDIO_RESAMPLER_HQ) : linear;
    EXPECT_NE(haveHq, linear == hq);
    const struct {
        std::vector<std::string> args;
        const std::vector<int16_t>& expected;
    } cases[] = {
        {{"audio", input, "-o", output, "--rate", "48000", "--resampler", "linear"}, linear},
        {{"audio", input, "-o", output, "--rate", "48000"}, hq},
        {{"convert", input, "-o", output, "--audio-rate", "48000", "--resampler", "linear"}, linear},
        {{"convert", input, "-o", output, "--audio-rate", "48000"}, hq},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.args[0] + " " + c.args.back());
        const RunResult r = RunTool(c.args);
        ASSERT_EQ(r.status, 0) << r.err;
        const WavRead out = ReadWav(output);
        ASSERT_TRUE(out.ok);
        EXPECT_EQ(out.samples, c.expected);
    }
    if (!haveHq) {
        const RunResult r = RunTool({"audio", input, "-o", output, "--rate", "48000", "--resampler", "hq"});
        EXPECT_EQ(r.status, 2);
        EXPECT_TRUE(IsOneLine(r.err)) << r.err;
        EXPECT_NE(r.err.find("built without libsoxr"), std::string::npos) << r.err;
    }
}

} // namespace
} // namespace tooltest
