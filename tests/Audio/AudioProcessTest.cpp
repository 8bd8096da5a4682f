#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "AudioProcess.h"
#include "AudioSharedState.h"
#include "OrvLog.h"
#include "SyntheticAudioSource.h"

namespace {

SyntheticAudioConfig Ramp16(int channels, int64_t totalFrames, std::vector<int> blockFrames)
{
    SyntheticAudioConfig cfg;
    cfg.sampleRate = 44100;
    cfg.channels = channels;
    cfg.totalFrames = totalFrames;
    cfg.blockFrames = std::move(blockFrames);
    cfg.waveform = SyntheticAudioConfig::Ramp;
    return cfg;
}

std::vector<int16_t> Samples(const MEDIA_FRAME* f)
{
    std::vector<int16_t> s(static_cast<size_t>(f->nDataSize / 2));
    std::memcpy(s.data(), f->pData, s.size() * 2);
    return s;
}

std::vector<int16_t> SourceSamples(const SyntheticAudioSource& src, int64_t first, int64_t frames, int channels)
{
    std::vector<int16_t> s;
    for (int64_t k = first; k < first + frames; ++k)
        for (int c = 0; c < channels; ++c)
            s.push_back(static_cast<int16_t>(src.Sample(k, c)));
    return s;
}

class AudioProcessTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        dp_audio::SetResamplerCarry(0.0);
        OrvLogSetSilent(1);
    }
    void TearDown() override
    {
        OrvLogSetSilent(0);
        dp_audio::SetResamplerCarry(0.0);
    }
};

TEST(ChangeVolume, SixteenBitClampsSymmetrically)
{
    short s[] = {30000, -30000, -3, 7, -32768};
    ChangeVolume16(s, 2, 150);
    EXPECT_EQ(s[0], 32767);
    EXPECT_EQ(s[1], -32767);
    ChangeVolume16(s + 2, 2, 50); // truncation toward zero
    EXPECT_EQ(s[2], -1);
    EXPECT_EQ(s[3], 3);
    ChangeVolume16(s + 4, 1, 100); // 100 leaves even -32768 alone
    EXPECT_EQ(s[4], -32768);
    ChangeVolume16(s + 4, 1, 99);
    EXPECT_EQ(s[4], -32440); // -3244032 / 100
    ChangeVolume16(nullptr, 4, 50);
}

TEST(ChangeVolume, EightBitKeepsItsSignedLimits)
{
    // Kept as it behaves: bytes read unsigned, limited to +-127.
    unsigned char b[] = {200, 200, 60, 250, 200};
    ChangeVolume8(b, 1, 50);
    EXPECT_EQ(b[0], 100);
    ChangeVolume8(b + 1, 1, 80); // 160 is above the limit
    EXPECT_EQ(b[1], 127);
    ChangeVolume8(b + 2, 1, 150);
    EXPECT_EQ(b[2], 90);
    ChangeVolume8(b + 3, 1, 100);
    EXPECT_EQ(b[3], 250);
    ChangeVolume8(b + 4, 1, -50); // -100: its low byte
    EXPECT_EQ(b[4], 0x9C);
}

TEST_F(AudioProcessTest, FadeRampsFollowTheStartTime)
{
    SyntheticAudioSource src(Ramp16(2, 4410, {4410}));
    AudioProcess stage(&src, 0, 0, 0, 0);
    MEDIA_FRAME f{};
    const MEDIA_FRAME* p = &f;

    stage.FadeInOut(2.0, 1.0, 0.0, 0.0);
    f.llStartTime = 25000000;
    EXPECT_TRUE(stage.IsFadeInOut(p));
    EXPECT_EQ(stage.GetFadeInOutVolum(p, 100), 50);
    f.llStartTime = 20000000; // both ends are inside
    EXPECT_TRUE(stage.IsFadeInOut(p));
    EXPECT_EQ(stage.GetFadeInOutVolum(p, 80), 0);
    f.llStartTime = 30000000;
    EXPECT_TRUE(stage.IsFadeInOut(p));
    EXPECT_EQ(stage.GetFadeInOutVolum(p, 100), 100);
    f.llStartTime = 31000000;
    EXPECT_FALSE(stage.IsFadeInOut(p));

    stage.FadeInOut(0.0, 0.0, 5.0, 1.0);
    f.llStartTime = 55000000;
    EXPECT_TRUE(stage.IsFadeInOut(p));
    EXPECT_EQ(stage.GetFadeInOutVolum(p, 100), 50);
    EXPECT_EQ(stage.GetFadeInOutVolum(p, 150), 75);
    f.llStartTime = 60000000; // the end of the fade-out
    EXPECT_TRUE(stage.IsFadeInOut(p));
    EXPECT_EQ(stage.GetFadeInOutVolum(p, 100), 0);
    f.llStartTime = 49000000;
    EXPECT_FALSE(stage.IsFadeInOut(p));

    stage.FadeInOut(1.0, 0.0, 1.0, 0.0); // empty spans: no fade at all
    f.llStartTime = 10000000;
    EXPECT_FALSE(stage.IsFadeInOut(p));
}

TEST_F(AudioProcessTest, UnconvertedFramesAreChangedInPlace)
{
    // Half-second blocks: 0, 0.5, ..., 3.5 s. Fade-in over [2, 3] s.
    SyntheticAudioConfig cfg = Ramp16(2, 8 * 22050, {22050});
    SyntheticAudioSource src(cfg);
    SyntheticAudioSource ref(cfg);
    AudioProcess stage(&src, 0, 0, 0, 0);
    EXPECT_EQ(stage.GetAudioInfo(), src.GetAudioInfo());
    EXPECT_EQ(stage.GetAudioStreamInfo(), src.GetAudioStreamInfo());
    stage.FadeInOut(2.0, 1.0, 0.0, 0.0);
    for (int b = 0; b < 8; ++b) {
        MEDIA_FRAME* f = stage.GetNextFrame();
        ASSERT_NE(f, nullptr);
        MEDIA_FRAME* r = ref.GetNextFrame();
        std::vector<int16_t> want = Samples(r);
        if (b == 4 || b == 5) // 2.0 s: volume 0; 2.5 s: half
            ChangeVolume16(want.data(), static_cast<int>(want.size()), b == 4 ? 0 : 50);
        EXPECT_EQ(Samples(f), want) << "block " << b;
        EXPECT_EQ(f->llStartTime, r->llStartTime);
    }
    EXPECT_EQ(stage.GetNextFrame(), nullptr);

    // Volume 100 and no fade: the source's own frame, untouched.
    SyntheticAudioSource plain(cfg);
    AudioProcess pass(&plain, 0, 0, 0, 0);
    MEDIA_FRAME* f = pass.GetNextFrame();
    ASSERT_NE(f, nullptr);
    EXPECT_EQ(Samples(f), SourceSamples(plain, 0, 22050, 2));
    pass.SetVolum(50);
    f = pass.GetNextFrame();
    ASSERT_NE(f, nullptr);
    std::vector<int16_t> half = SourceSamples(plain, 22050, 22050, 2);
    ChangeVolume16(half.data(), static_cast<int>(half.size()), 50);
    EXPECT_EQ(Samples(f), half);
}

TEST_F(AudioProcessTest, OwnFormatAndStreamRecord)
{
    SyntheticAudioSource src(Ramp16(2, 4410, {441}));
    AudioProcess stage(&src, 48000, 1, 16, 0);
    const AudioInfo* info = stage.GetAudioInfo();
    ASSERT_NE(info, nullptr);
    EXPECT_NE(info, src.GetAudioInfo());
    EXPECT_EQ(info->nSampleRate, 48000);
    EXPECT_EQ(info->nChannels, 1);
    EXPECT_EQ(info->nBitsPerSample, 16);
    EXPECT_EQ(info->nBytesPerSecond, 96000);
    // Copied out first: the packed double may sit at a 4-byte boundary.
    const double ownReserved = info->dReserved, srcReserved = src.GetAudioInfo()->dReserved;
    const int ownTail = info->nReserved, srcTail = src.GetAudioInfo()->nReserved;
    EXPECT_EQ(ownReserved, srcReserved);
    EXPECT_EQ(ownTail, srcTail);
    const AudioStreamInfo* s = stage.GetAudioStreamInfo();
    ASSERT_NE(s, nullptr);
    EXPECT_EQ(std::memcmp(s->abHostData, src.GetAudioStreamInfo()->abHostData, sizeof s->abHostData), 0);
    EXPECT_EQ(std::memcmp(&s->audioInfo, info, sizeof *info), 0);
    const int64_t ownStart = s->llStreamStart, srcStart = src.GetAudioStreamInfo()->llStreamStart;
    EXPECT_EQ(ownStart, srcStart);

    EXPECT_EQ(stage.Open(nullptr, nullptr, nullptr), 1);
    EXPECT_EQ(src.OpenCalls(), 0);
    stage.Close();
    EXPECT_EQ(src.CloseCalls(), 1);
    stage.AudioSeek(0.05);
    EXPECT_DOUBLE_EQ(src.LastSeekTime(), 0.05);
    EXPECT_DOUBLE_EQ(stage.GetOffset(), src.GetOffset());
}

TEST_F(AudioProcessTest, ConvertsChannelsThroughTheConverter)
{
    // Stereo to mono at the same rate: (L/2 + R/2) per frame.
    SyntheticAudioSource src(Ramp16(2, 3 * 1024, {1024}));
    AudioProcess stage(&src, 44100, 1, 16, 0);
    for (int b = 0; b < 3; ++b) {
        MEDIA_FRAME* f = stage.GetNextFrame();
        ASSERT_NE(f, nullptr);
        EXPECT_EQ(f->nChannels, 1);
        EXPECT_EQ(f->nSampleRate, 44100);
        ASSERT_EQ(f->nDataSize, 2048);
        const std::vector<int16_t> s = Samples(f);
        for (int i = 0; i < 1024; ++i) {
            const int64_t k = b * 1024 + i;
            ASSERT_EQ(s[static_cast<size_t>(i)], src.Sample(k, 1) / 2 + src.Sample(k, 0) / 2);
        }
        EXPECT_EQ(f->llStartTime, src.BlockStartTime(b));
    }
    EXPECT_EQ(stage.GetNextFrame(), nullptr);
}

TEST_F(AudioProcessTest, SmallFramesAreGathered)
{
    // 600-byte frames: two are gathered and converted together.
    SyntheticAudioSource src(Ramp16(2, 4 * 150, {150}));
    AudioProcess stage(&src, 44100, 2, 16, 0);
    MEDIA_FRAME* f = stage.GetNextFrame();
    ASSERT_NE(f, nullptr);
    EXPECT_EQ(f->nDataSize, 1200);
    EXPECT_EQ(Samples(f), SourceSamples(src, 0, 300, 2));
    EXPECT_EQ(f->llStartTime, src.BlockStartTime(0));
    EXPECT_EQ(f->llStopTime, src.BlockStartTime(0));
    EXPECT_EQ(f->nDuration, 2 * 34014); // trunc(150 / 44100 s + 0.5) twice
    EXPECT_EQ(src.FrameCalls(), 2);
    f = stage.GetNextFrame();
    ASSERT_NE(f, nullptr);
    EXPECT_EQ(f->llStartTime, src.BlockStartTime(2));
    EXPECT_EQ(Samples(f), SourceSamples(src, 300, 300, 2));
    EXPECT_EQ(stage.GetNextFrame(), nullptr);
}

TEST_F(AudioProcessTest, GatheredBytesAreConvertedAtTheEnd)
{
    SyntheticAudioSource src(Ramp16(2, 200, {200})); // one 800-byte frame
    AudioProcess stage(&src, 44100, 2, 16, 0);
    MEDIA_FRAME* f = stage.GetNextFrame();
    ASSERT_NE(f, nullptr);
    EXPECT_EQ(f->nDataSize, 800);
    EXPECT_EQ(Samples(f), SourceSamples(src, 0, 200, 2));
    EXPECT_EQ(stage.GetNextFrame(), nullptr);
}

TEST_F(AudioProcessTest, LargeFrameFlushesTheGatheredOnes)
{
    // 600 bytes gathered, then a 4000-byte frame: 4600 > 4096, so both go
    // in at once, in order.
    SyntheticAudioSource src(Ramp16(2, 150 + 1000, {150, 1000}));
    AudioProcess stage(&src, 44100, 2, 16, 0);
    MEDIA_FRAME* f = stage.GetNextFrame();
    ASSERT_NE(f, nullptr);
    EXPECT_EQ(Samples(f), SourceSamples(src, 0, 1150, 2));
    EXPECT_EQ(stage.GetNextFrame(), nullptr);
}

TEST_F(AudioProcessTest, OutputFrameGrowsForLargeBlocks)
{
    // One second of stereo at 44100 becomes 96000 samples at 48000:
    // 192000 bytes, more than the first 131072, so the buffer is remade
    // with three bytes per sample.
    SyntheticAudioSource src(Ramp16(2, 2 * 44100, {44100}));
    AudioProcess stage(&src, 48000, 2, 16, 0);
    MEDIA_FRAME* f = stage.GetNextFrame();
    ASSERT_NE(f, nullptr);
    EXPECT_EQ(f->nDataSize, 192000);
    EXPECT_EQ(f->nBufferSize, 288000);
    const std::vector<int16_t> s = Samples(f);
    // The last output frame lands on the last input frame.
    EXPECT_EQ(s[s.size() - 2], src.Sample(44099, 0));
    EXPECT_EQ(s[s.size() - 1], src.Sample(44099, 1));
    f = stage.GetNextFrame();
    ASSERT_NE(f, nullptr);
    EXPECT_EQ(f->nDataSize, 192000);
    EXPECT_EQ(stage.GetNextFrame(), nullptr);
}

TEST_F(AudioProcessTest, WithTheTimelineStage)
{
    // A one-second hole in the source: the stage in front fills it, and
    // the processing stage converts the filler like any other data.
    SyntheticAudioConfig cfg = Ramp16(2, 20 * 1024, {1024});
    cfg.shifts = {{10, 10000000}};
    SyntheticAudioSource src(cfg);
    {
        AudioProcess stage(&src, 44100, 2, 16, 1);
        int64_t bytes = 0;
        while (MEDIA_FRAME* f = stage.GetNextFrame())
            bytes += f->nDataSize;
        EXPECT_EQ(bytes, 20 * 4096 + 176400);
        EXPECT_NEAR(stage.GetOffset(), 20 * 1024 / 44100.0 + 1.0, 1e-9);
        stage.AudioSeek(0.25);
        EXPECT_DOUBLE_EQ(src.LastSeekTime(), 0.0);
        EXPECT_DOUBLE_EQ(stage.GetOffset(), 0.25);
    }
    // Destroying the stage removed its timeline stage, not the source.
    EXPECT_EQ(src.CloseCalls(), 0);
    src.AudioSeek(0.0);
    EXPECT_NE(src.GetNextFrame(), nullptr);

    // Without a target format the timeline stage's own frames come out.
    SyntheticAudioSource src2(cfg);
    AudioProcess pass(&src2, 0, 0, 0, 1);
    EXPECT_EQ(pass.GetAudioInfo(), src2.GetAudioInfo());
    int64_t bytes = 0;
    int frames = 0;
    while (MEDIA_FRAME* f = pass.GetNextFrame()) {
        bytes += f->nDataSize;
        ++frames;
    }
    EXPECT_EQ(bytes, 20 * 4096 + 176400);
    EXPECT_EQ(frames, 20 + 44);
}

TEST_F(AudioProcessTest, NoSourceGivesNothing)
{
    AudioProcess stage(nullptr, 0, 0, 0, 1);
    EXPECT_EQ(stage.GetNextFrame(), nullptr);
    EXPECT_EQ(stage.GetAudioInfo(), nullptr);
    EXPECT_EQ(stage.Close(), 0);
}

} // namespace
