// The high-quality resampling mode (libsoxr) of the converter and the audio
// stage: its sound (signal-to-noise ratio against the best-fitting sine,
// alias rejection), its stream semantics against the linear mode (counts,
// time stamps, any block division, an hour without drift) and what it
// refuses. Built without libsoxr, only the refusals run.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "AudioConverter.h"
#include "AudioProcess.h"
#include "AudioSharedState.h"
#include "DataProcessC.h"
#include "OrvLog.h"
#include "SyntheticAudioSource.h"

namespace {

using Samples = std::vector<short>;
using Lines = std::vector<std::string>;

const bool kHaveHq = DPAudioResamplerAvailable(AUDIO_RESAMPLER_HQ) == 1;

#define REQUIRE_HQ()                                                                                                  \
    if (!kHaveHq)                                                                                                     \
    GTEST_SKIP() << "built without libsoxr"

class HqTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        dp_audio::SetResamplerCarry(0.0);
        OrvLogSetSink([](void* ctx, const char* line) { static_cast<Lines*>(ctx)->push_back(line); }, &lines);
    }
    void TearDown() override
    {
        OrvLogSetSink(nullptr, nullptr);
        dp_audio::SetResamplerCarry(0.0);
    }
    Lines lines;
};

Samples Sine(double frequency, int rate, int channels, int frames, double amplitude = 16000)
{
    Samples s(static_cast<size_t>(frames) * channels);
    for (int k = 0; k < frames; ++k)
        for (int c = 0; c < channels; ++c)
            s[static_cast<size_t>(k) * channels + c] =
                static_cast<short>(std::lround(amplitude * std::sin(2 * M_PI * frequency * k / rate)));
    return s;
}

// Through a converter in one mode, in chunks of `chunk` samples, flushed.
Samples Resample(int mode, int srcRate, int dstRate, int srcChannels, int dstChannels, const Samples& in,
                 int chunk)
{
    CAudioConverter c(srcChannels, dstChannels, srcRate, dstRate, 0);
    EXPECT_EQ(c.SetResampler(mode), 1);
    Samples out;
    auto drain = [&] {
        const size_t at = out.size();
        out.resize(at + static_cast<size_t>(c.GetValidSize()));
        c.Get(out.data() + at, static_cast<int>(out.size() - at));
    };
    for (size_t pos = 0; pos < in.size(); pos += static_cast<size_t>(chunk)) {
        c.Put(in.data() + pos, static_cast<int>(std::min<size_t>(chunk, in.size() - pos)));
        drain();
    }
    c.Flush();
    drain();
    return out;
}

// Signal-to-noise ratio (dB) of channel 0 against the input's sine at the
// output's own sample times: high only when the sound is clean and sample k
// belongs at k / rate (the filter's delay compensated). The first and last
// 50 ms are left out: the tone switches on and off there, and every
// band-limited converter rings at such a step (sox alike).
double SnrDb(const Samples& s, int channels, double frequency, int rate, double amplitude = 16000)
{
    double signal = 0, noise = 0;
    const size_t edge = static_cast<size_t>(rate / 20);
    for (size_t k = edge; k + edge < s.size() / channels; ++k) {
        const double ideal = amplitude * std::sin(2 * M_PI * frequency * k / rate);
        signal += ideal * ideal;
        noise += (s[k * channels] - ideal) * (s[k * channels] - ideal);
    }
    return 10 * std::log10(signal / std::max(noise, 1e-9));
}

// Root mean square, the first and last 50 ms at `rate` left out.
double RmsOf(const Samples& s, int rate)
{
    double e = 0;
    const size_t edge = static_cast<size_t>(rate / 20);
    for (size_t i = edge; i + edge < s.size(); ++i)
        e += double(s[i]) * s[i];
    return std::sqrt(e / double(s.size() - 2 * edge));
}

// A 1 kHz tone keeps at least 80 dB (16-bit output) and its timing; the
// linear mode does not come close. The whole stream comes out, the tail
// flushed.
TEST_F(HqTest, ToneKeepsEightyDecibelsOnEveryPair)
{
    REQUIRE_HQ();
    const int pairs[][2] = {{44100, 48000}, {48000, 44100}, {22050, 48000}, {8000, 48000}};
    for (const auto& p : pairs) {
        SCOPED_TRACE(std::to_string(p[0]) + " -> " + std::to_string(p[1]));
        const Samples in = Sine(1000, p[0], 2, p[0] / 4);
        const Samples hq = Resample(AUDIO_RESAMPLER_HQ, p[0], p[1], 2, 2, in, 2048);
        EXPECT_EQ(hq.size(), static_cast<size_t>((p[0] / 4 * p[1] + p[0] / 2) / p[0] * 2));
        EXPECT_GE(SnrDb(hq, 2, 1000, p[1]), 80.0);
        EXPECT_LT(SnrDb(Resample(AUDIO_RESAMPLER_LINEAR, p[0], p[1], 2, 2, in, 2048), 2, 1000, p[1]), 40.0);
    }
}

// A 23 kHz tone lies above the new Nyquist frequency of 44.1 kHz: what
// comes out (its alias at 21.1 kHz) stays 80 dB below the tone.
TEST_F(HqTest, ToneAboveTheNewNyquistFrequencyIsRemoved)
{
    REQUIRE_HQ();
    const Samples in = Sine(23000, 48000, 1, 12000);
    const Samples out = Resample(AUDIO_RESAMPLER_HQ, 48000, 44100, 1, 1, in, 1000);
    EXPECT_LE(20 * std::log10(std::max(RmsOf(out, 44100), 1e-3) / RmsOf(in, 48000)), -80.0);
}

// However the input is cut, even inside a sample frame, the output is the
// same; channel conversion comes first; the count is the rounded ratio.
TEST_F(HqTest, AnyDivisionOfTheInputGivesTheSameOutput)
{
    REQUIRE_HQ();
    const struct {
        int srcRate, dstRate, srcChannels, dstChannels;
    } cases[] = {{44100, 48000, 2, 2}, {48000, 22050, 6, 2}, {11025, 8000, 1, 2}, {8000, 44100, 2, 1}};
    for (const auto& c : cases) {
        SCOPED_TRACE(std::to_string(c.srcRate) + " " + std::to_string(c.srcChannels) + " -> " +
                     std::to_string(c.dstRate) + " " + std::to_string(c.dstChannels));
        const int frames = 5003;
        const Samples in = Sine(440, c.srcRate, c.srcChannels, frames, 9000);
        const Samples whole = Resample(AUDIO_RESAMPLER_HQ, c.srcRate, c.dstRate, c.srcChannels, c.dstChannels, in,
                                       static_cast<int>(in.size()));
        const long long expected = (static_cast<long long>(frames) * c.dstRate + c.srcRate / 2) / c.srcRate;
        EXPECT_EQ(static_cast<long long>(whole.size()), expected * c.dstChannels);
        for (int chunk : {1, 3, 7, 1000, 4097})
            EXPECT_EQ(Resample(AUDIO_RESAMPLER_HQ, c.srcRate, c.dstRate, c.srcChannels, c.dstChannels, in, chunk),
                      whole)
                << "chunks of " << chunk;
    }
}

// Equal rates need no rate conversion: both modes give the same bytes.
TEST_F(HqTest, EqualRatesGiveTheLinearBytes)
{
    REQUIRE_HQ();
    const Samples in = Sine(440, 44100, 6, 3000);
    EXPECT_EQ(Resample(AUDIO_RESAMPLER_HQ, 44100, 44100, 6, 2, in, 999),
              Resample(AUDIO_RESAMPLER_LINEAR, 44100, 44100, 6, 2, in, 999));
}

struct StageBlock {
    int64_t firstFrame; // output frames before it
    int64_t frames;
    int64_t start;
};
struct StageRun {
    Samples samples;
    std::vector<StageBlock> blocks;
    int mode; // in use at the end
};

StageRun RunStage(const SyntheticAudioConfig& cfg, int rate, int channels, int mode)
{
    dp_audio::SetResamplerCarry(0.0);
    SyntheticAudioSource source(cfg);
    AudioProcess stage(&source, rate, channels, 16, 0);
    EXPECT_EQ(stage.SetResampler(mode), 1);
    StageRun r;
    while (const MEDIA_FRAME* f = stage.GetNextFrame()) {
        const short* p = reinterpret_cast<const short*>(f->pData);
        r.blocks.push_back({static_cast<int64_t>(r.samples.size() / channels), f->nDataSize / 2 / channels,
                            f->llStartTime});
        r.samples.insert(r.samples.end(), p, p + f->nDataSize / 2);
    }
    r.mode = stage.GetResampler();
    return r;
}

// Through the stage over many block sizes: the same output every time, a
// total within one frame of the linear mode's, and each block stamped with
// the time of its first sample, as the linear mode's blocks are (within a
// sample of the input).
TEST_F(HqTest, StageCountsAndStampsFollowTheLinearMode)
{
    REQUIRE_HQ();
    const struct {
        int srcRate, srcChannels, dstRate, dstChannels;
    } formats[] = {{44100, 2, 48000, 2}, {48000, 2, 22050, 1}, {8000, 1, 48000, 2}};
    const std::vector<std::vector<int>> divisions = {{1024}, {1}, {7}, {100, 3, 2000}, {1021}, {4096}, {12345}};
    for (const auto& fmt : formats) {
        SCOPED_TRACE(std::to_string(fmt.srcRate) + " -> " + std::to_string(fmt.dstRate));
        SyntheticAudioConfig cfg;
        cfg.sampleRate = fmt.srcRate;
        cfg.channels = fmt.srcChannels;
        cfg.totalFrames = fmt.srcRate * 23 / 10 + 17; // the last block is cut short
        cfg.baseFrequency = 1000;
        Samples first;
        for (const auto& blocks : divisions) {
            SCOPED_TRACE("blocks of " + std::to_string(blocks[0]));
            cfg.blockFrames = blocks;
            const StageRun hq = RunStage(cfg, fmt.dstRate, fmt.dstChannels, AUDIO_RESAMPLER_HQ);
            const StageRun lin = RunStage(cfg, fmt.dstRate, fmt.dstChannels, AUDIO_RESAMPLER_LINEAR);
            EXPECT_EQ(hq.mode, AUDIO_RESAMPLER_HQ);
            if (first.empty())
                first = hq.samples;
            EXPECT_EQ(hq.samples, first);
            const long long hqFrames = hq.samples.size() / fmt.dstChannels;
            const long long linFrames = lin.samples.size() / fmt.dstChannels;
            EXPECT_LE(std::llabs(hqFrames - linFrames), 1);
            EXPECT_EQ(hqFrames, (cfg.totalFrames * fmt.dstRate + fmt.srcRate / 2) / fmt.srcRate);
            const double outTick = 1e7 / fmt.dstRate, inTick = 1e7 / fmt.srcRate;
            for (const StageBlock& b : hq.blocks)
                ASSERT_NEAR(double(b.start), b.firstFrame * outTick, 1.0) << "hq block at " << b.firstFrame;
            for (const StageBlock& b : lin.blocks)
                ASSERT_NEAR(double(b.start), b.firstFrame * outTick, outTick + inTick)
                    << "linear block at " << b.firstFrame;
        }
    }
}

// An hour of input: the last block still ends exactly at the hour, and the
// count is the rounded ratio.
TEST_F(HqTest, AnHourDoesNotDrift)
{
    REQUIRE_HQ();
    SyntheticAudioConfig cfg;
    cfg.sampleRate = 8000;
    cfg.channels = 1;
    cfg.totalFrames = 8000LL * 3600;
    cfg.blockFrames = {4000};
    SyntheticAudioSource source(cfg);
    AudioProcess stage(&source, 11025, 1, 16, 1);
    ASSERT_EQ(stage.SetResampler(AUDIO_RESAMPLER_HQ), 1);
    long long frames = 0;
    int64_t end = -1;
    while (const MEDIA_FRAME* f = stage.GetNextFrame()) {
        ASSERT_NEAR(double(f->llStartTime), frames * 1e7 / 11025, 1.0) << frames;
        ASSERT_EQ(f->llStopTime, f->llStartTime); // as the source stamps its blocks
        frames += f->nDataSize / 2;
        end = f->llStartTime + f->nDuration;
    }
    EXPECT_EQ(frames, 11025LL * 3600);
    EXPECT_NEAR(double(end), 3600e7, 1.0);
}

// What the mode refuses, each with one line, leaving the linear mode in
// use. Built without libsoxr, the mode itself is refused first.
TEST_F(HqTest, RefusalsSayWhyInOneLine)
{
    auto hqOr = [](const char* reason) { return kHaveHq ? reason : "without libsoxr"; };
    const struct {
        int srcRate, dstRate, dstChannels, mode;
        bool startFirst;
        const char* says;
    } cases[] = {
        {44100, 48000, 2, 7, false, "unknown resampler 7"},
        {44100, 48000, 0, AUDIO_RESAMPLER_HQ, false, hqOr("with 0 channels: it takes 1 to 64 channels")},
        {44100, 48000, 65, AUDIO_RESAMPLER_HQ, false, hqOr("with 65 channels")},
        {0, 48000, 2, AUDIO_RESAMPLER_HQ, false, hqOr("above 0 Hz")},
        {8, 48000, 2, AUDIO_RESAMPLER_HQ, false, hqOr("more than 1024 times apart")},
        {44100, 48000, 2, AUDIO_RESAMPLER_HQ, true, "chosen before the first block"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.says);
        lines.clear();
        CAudioConverter conv(2, c.dstChannels, c.srcRate, c.dstRate, 0);
        const short two[2] = {1, 2};
        if (c.startFirst)
            conv.Put(two, 2);
        EXPECT_EQ(conv.SetResampler(c.mode), 0);
        EXPECT_EQ(conv.GetResampler(), AUDIO_RESAMPLER_LINEAR);
        ASSERT_EQ(lines.size(), 1u);
        EXPECT_NE(lines[0].find(c.says), std::string::npos) << lines[0];
    }
    // The stage refuses at once only what it knows before its first block.
    SyntheticAudioSource source;
    AudioProcess stage(&source, 48000, 2, 16, 0);
    lines.clear();
    EXPECT_EQ(PCSetAudioResampler(&stage, AUDIO_RESAMPLER_HQ), kHaveHq ? 1 : 0);
    EXPECT_EQ(lines.size(), kHaveHq ? 0u : 1u);
    EXPECT_EQ(PCGetAudioResampler(&stage), kHaveHq ? AUDIO_RESAMPLER_HQ : AUDIO_RESAMPLER_LINEAR);
    EXPECT_EQ(PCSetAudioResampler(nullptr, AUDIO_RESAMPLER_HQ), 0);
}

// A stream the mode cannot serve is refused when its first block arrives
// (one line) and converted exactly as the linear mode converts it.
TEST_F(HqTest, StageFallsBackToLinearForAStreamTheModeCannotServe)
{
    REQUIRE_HQ();
    SyntheticAudioConfig cfg;
    cfg.totalFrames = 3000;
    const StageRun hq = RunStage(cfg, 8, 2, AUDIO_RESAMPLER_HQ); // 44100 -> 8 Hz
    EXPECT_EQ(hq.mode, AUDIO_RESAMPLER_LINEAR);
    EXPECT_EQ(hq.samples, RunStage(cfg, 8, 2, AUDIO_RESAMPLER_LINEAR).samples);
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_NE(lines[0].find("more than 1024 times apart"), std::string::npos) << lines[0];
}

} // namespace
