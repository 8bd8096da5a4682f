#include <gtest/gtest.h>

#include <cstring>

#include "SyntheticAudioSource.h"

namespace {

int16_t Sample16(const MEDIA_FRAME* f, int i)
{
    int16_t s;
    std::memcpy(&s, f->pData + 2 * i, sizeof s);
    return s;
}

TEST(SyntheticAudioSource, StreamRecordKeepsTheEmbeddedOffsets)
{
    SyntheticAudioConfig cfg;
    cfg.sampleRate = 48000;
    cfg.channels = 6;
    cfg.streamStart = 12345;
    cfg.timeOffset = -500;
    SyntheticAudioSource src(cfg);
    const AudioStreamInfo* s = src.GetAudioStreamInfo();
    ASSERT_NE(s, nullptr);
    const unsigned char* raw = reinterpret_cast<const unsigned char*>(s);
    int32_t rate, channels, bits, bps;
    std::memcpy(&rate, raw + 836, 4);
    std::memcpy(&channels, raw + 840, 4);
    std::memcpy(&bits, raw + 844, 4);
    std::memcpy(&bps, raw + 848, 4);
    EXPECT_EQ(rate, 48000);
    EXPECT_EQ(channels, 6);
    EXPECT_EQ(bits, 16);
    EXPECT_EQ(bps, 48000 * 12);
    int64_t start, offset;
    std::memcpy(&start, raw + 864, 8);
    std::memcpy(&offset, raw + 872, 8);
    EXPECT_EQ(start, 12345);
    EXPECT_EQ(offset, -500);
    // GetAudioInfo points into the block, as a host decoder's does.
    EXPECT_EQ(reinterpret_cast<const unsigned char*>(src.GetAudioInfo()), raw + 836);
}

TEST(SyntheticAudioSource, RepeatingBlockSizesCoverTheStreamAndEndWithNull)
{
    SyntheticAudioConfig cfg;
    cfg.totalFrames = 1000;
    cfg.blockFrames = {100, 250, 7};
    cfg.stopAtEnd = true;
    SyntheticAudioSource src(cfg);
    // 357 frames per cycle: two cycles (714), then 100 and the 186 left.
    ASSERT_EQ(src.BlockCount(), 8);
    int64_t frames = 0;
    for (int b = 0; b < 8; ++b) {
        MEDIA_FRAME* f = src.GetNextFrame();
        ASSERT_NE(f, nullptr);
        EXPECT_EQ(f->nFrameType, MEDIA_FRAME_AUDIO);
        EXPECT_EQ(f->nDataSize, src.BlockFrames(b) * 4);
        EXPECT_EQ(f->llStartTime, (frames * 20000000 + 44100) / 88200);
        EXPECT_EQ(f->llStopTime, ((frames + src.BlockFrames(b)) * 20000000 + 44100) / 88200);
        EXPECT_EQ(f->nDuration, (src.BlockFrames(b) * 20000000LL + 44100) / 88200);
        EXPECT_EQ(Sample16(f, 0), src.Sample(frames, 0));
        frames += src.BlockFrames(b);
    }
    EXPECT_EQ(src.BlockFrames(6), 100);
    EXPECT_EQ(src.BlockFrames(7), 186);
    EXPECT_EQ(frames, 1000);
    EXPECT_EQ(src.GetNextFrame(), nullptr);
    EXPECT_EQ(src.GetNextFrame(), nullptr);
    EXPECT_EQ(src.FrameCalls(), 10);
}

TEST(SyntheticAudioSource, ToneHasOneFrequencyPerChannel)
{
    SyntheticAudioConfig cfg;
    cfg.channels = 3;
    cfg.totalFrames = 44100;
    cfg.blockFrames = {44100};
    cfg.baseFrequency = 100.0;
    SyntheticAudioSource src(cfg);
    MEDIA_FRAME* f = src.GetNextFrame();
    ASSERT_NE(f, nullptr);
    // Sign changes over one second: two per period.
    for (int c = 0; c < 3; ++c) {
        int changes = 0, peak = 0;
        for (int i = 1; i < 44100; ++i) {
            const int a = Sample16(f, (i - 1) * 3 + c), b = Sample16(f, i * 3 + c);
            changes += (a < 0) != (b < 0);
            peak = std::max(peak, b);
        }
        EXPECT_NEAR(changes, 200 * (c + 1), 2) << "channel " << c;
        EXPECT_NEAR(peak, 16384, 2);
    }
}

TEST(SyntheticAudioSource, EightBitRampAndTone)
{
    SyntheticAudioConfig cfg;
    cfg.bitsPerSample = 8;
    cfg.channels = 1;
    cfg.waveform = SyntheticAudioConfig::Ramp;
    cfg.blockFrames = {300};
    SyntheticAudioSource ramp(cfg);
    MEDIA_FRAME* f = ramp.GetNextFrame();
    ASSERT_NE(f, nullptr);
    EXPECT_EQ(f->nBitsPerSample, 8);
    ASSERT_EQ(f->nDataSize, 300);
    EXPECT_EQ(f->pData[0], 0);
    EXPECT_EQ(f->pData[255], 255);
    EXPECT_EQ(f->pData[256], 0);

    cfg.waveform = SyntheticAudioConfig::Tone;
    SyntheticAudioSource tone(cfg);
    f = tone.GetNextFrame();
    ASSERT_NE(f, nullptr);
    EXPECT_EQ(f->pData[0], 128);
    for (int i = 0; i < 300; ++i)
        EXPECT_NEAR(f->pData[i], 128, 64);
}

TEST(SyntheticAudioSource, ShiftsOpenHolesAndOverlapsInTheStamps)
{
    SyntheticAudioConfig cfg;
    cfg.sampleRate = 1000;
    cfg.channels = 1;
    cfg.totalFrames = 1000;
    cfg.blockFrames = {100};
    cfg.streamStart = 5000000;
    cfg.shifts = {{3, 10000000}, {6, -2000000}};
    SyntheticAudioSource src(cfg);
    const int64_t expected[] = {0, 1, 2, 13, 14, 15, 14, 15, 16, 17};
    for (int b = 0; b < 10; ++b) {
        MEDIA_FRAME* f = src.GetNextFrame();
        ASSERT_NE(f, nullptr);
        EXPECT_EQ(f->llStartTime, 5000000 + expected[b] * 1000000) << "block " << b;
        EXPECT_EQ(f->llStopTime, f->llStartTime);
    }
}

TEST(SyntheticAudioSource, SeekPositionsToTheBlockHoldingTheTime)
{
    SyntheticAudioConfig cfg;
    cfg.sampleRate = 1000;
    cfg.channels = 2;
    cfg.totalFrames = 1000;
    cfg.blockFrames = {100};
    cfg.streamStart = 30000000; // stream time = stamp - start + offset
    cfg.timeOffset = 10000000;
    SyntheticAudioSource src(cfg);
    EXPECT_DOUBLE_EQ(src.AudioSeek(1.55), 1.5);
    EXPECT_EQ(src.SeekCalls(), 1);
    EXPECT_DOUBLE_EQ(src.LastSeekTime(), 1.55);
    EXPECT_DOUBLE_EQ(src.GetOffset(), 1.5);
    MEDIA_FRAME* f = src.GetNextFrame();
    ASSERT_NE(f, nullptr);
    EXPECT_EQ(f->llStartTime, 30000000 + 5000000);
    EXPECT_EQ(Sample16(f, 0), src.Sample(500, 0));

    EXPECT_DOUBLE_EQ(src.AudioSeek(-3.0), 1.0); // before the first block
    EXPECT_EQ(src.NextBlock(), 0);
    EXPECT_DOUBLE_EQ(src.AudioSeek(2.0), 2.0); // exactly the end
    EXPECT_EQ(src.GetNextFrame(), nullptr);
    EXPECT_DOUBLE_EQ(src.AudioSeek(1.9999), 1.9);
    EXPECT_NE(src.GetNextFrame(), nullptr);
    EXPECT_EQ(src.GetNextFrame(), nullptr);
}

} // namespace
