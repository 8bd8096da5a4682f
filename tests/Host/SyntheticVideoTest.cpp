#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>

#include "SyntheticVideoSource.h"

namespace {

TEST(SyntheticVideo, StreamBlockCarriesInfoAtItsOffsets)
{
    SyntheticVideoConfig cfg;
    cfg.width = 720;
    cfg.height = 576;
    cfg.frameRate = 25.0;
    cfg.frameCount = 100;
    cfg.aspectX = 4;
    cfg.aspectY = 3;
    cfg.streamStart = 5000000;
    cfg.timeOffset = 123;
    SyntheticVideoSource src(cfg);
    const unsigned char* block = reinterpret_cast<const unsigned char*>(src.GetVideoStreamInfo());
    EXPECT_EQ(reinterpret_cast<const unsigned char*>(src.GetVideoInfo()), block + 796);
    double rate;
    std::memcpy(&rate, block + 804, sizeof(rate));
    EXPECT_EQ(rate, 25.0);
    int64_t start, offset;
    std::memcpy(&start, block + 864, 8);
    std::memcpy(&offset, block + 872, 8);
    EXPECT_EQ(start, 5000000);
    EXPECT_EQ(offset, 123);
    EXPECT_EQ(src.GetVideoInfo()->nAspectX, 4);
    EXPECT_EQ(src.GetVideoInfo()->nFrameCount, 100);
}

TEST(SyntheticVideo, FramesFollowTheRateAndThePatternIsExact)
{
    SyntheticVideoConfig cfg;
    cfg.width = 33; // odd sizes, padded pitches
    cfg.height = 17;
    cfg.frameRate = 30.0;
    cfg.frameCount = 10;
    cfg.pitchPadding = 3;
    cfg.withAlpha = true;
    SyntheticVideoSource src(cfg);
    const MEDIA_FRAME* f = src.GetFrame();
    ASSERT_NE(f, nullptr);
    EXPECT_EQ(f->nPitchY, 36);
    EXPECT_EQ(f->nPitchU, 20);
    EXPECT_EQ(f->llStartTime, 0);
    EXPECT_EQ(src.Forward(2), 2);
    f = src.GetFrame();
    EXPECT_EQ(src.GetFrameOffset(), 2);
    EXPECT_EQ(f->llStartTime, 666667);
    EXPECT_EQ(f->llStopTime, 666667 + 333333);
    EXPECT_EQ(f->nDuration, 333333);
    for (int y = 0; y < 17; ++y)
        for (int x = 0; x < 33; ++x) {
            ASSERT_EQ(f->pY[y * 36 + x], SyntheticVideoSource::PatternY(x, y, 2, 33, 17));
            ASSERT_EQ(f->pAlpha[y * 36 + x], SyntheticVideoSource::PatternAlpha(x, y, 33));
        }
    for (int y = 0; y < 9; ++y)
        for (int x = 0; x < 17; ++x) {
            ASSERT_EQ(f->pU[y * 20 + x], SyntheticVideoSource::PatternU(x, y, 2, 33, 17));
            ASSERT_EQ(f->pV[y * 20 + x], SyntheticVideoSource::PatternV(x, y, 2, 33, 17));
        }
    // Corner markers: red top-left, white bottom-right.
    EXPECT_EQ(f->pY[0], 81);
    EXPECT_EQ(f->pV[0], 240);
    EXPECT_EQ(f->pY[16 * 36 + 32], 235);
}

TEST(SyntheticVideo, DroppedFramesAreSkippedAndTheEndStopsForward)
{
    SyntheticVideoConfig cfg;
    cfg.width = 16;
    cfg.height = 16;
    cfg.frameCount = 5;
    cfg.dropped = {2};
    SyntheticVideoSource src(cfg);
    EXPECT_EQ(src.Forward(1), 1);
    EXPECT_EQ(src.CurrentIndex(), 1);
    EXPECT_EQ(src.Forward(1), 1);
    EXPECT_EQ(src.CurrentIndex(), 3) << "frame 2 is never delivered";
    EXPECT_EQ(src.Forward(5), 1);
    EXPECT_EQ(src.CurrentIndex(), 4);
    EXPECT_EQ(src.Forward(1), 0);
    EXPECT_NE(src.GetFrame(), nullptr) << "the last frame stays current";

    cfg.nullAfterEnd = true;
    SyntheticVideoSource ending(cfg);
    EXPECT_EQ(ending.Forward(10), 3);
    EXPECT_EQ(ending.GetFrame(), nullptr);
    EXPECT_EQ(ending.Forward(1), 0);
}

TEST(SyntheticVideo, SeekLandsOnTheFrameAtOrBeforeTheTime)
{
    SyntheticVideoConfig cfg;
    cfg.width = 8;
    cfg.height = 8;
    cfg.frameRate = 25.0;
    cfg.frameCount = 50;
    cfg.streamStart = 10000000;
    SyntheticVideoSource src(cfg);
    EXPECT_DOUBLE_EQ(src.VideoSeekTime(0.5, 0), 0.48);
    EXPECT_EQ(src.CurrentIndex(), 12);
    EXPECT_EQ(src.GetFrame()->llStartTime, 10000000 + 4800000);
    EXPECT_EQ(src.LastSeekTime(), 0.5);
    EXPECT_DOUBLE_EQ(src.VideoSeekTime(100.0, 0), 49 / 25.0);
    EXPECT_DOUBLE_EQ(src.VideoSeekTime(-1.0, 0), 0.0);
    EXPECT_EQ(src.VideoSeek(7, 0), 7);
    EXPECT_EQ(src.SeekCalls(), 4);
}

TEST(SyntheticVideo, JitterStaysWithinItsBoundAndIsRepeatable)
{
    SyntheticVideoConfig cfg;
    cfg.width = 8;
    cfg.height = 8;
    cfg.frameCount = 200;
    cfg.jitter = 50000;
    SyntheticVideoSource a(cfg), b(cfg);
    bool moved = false;
    for (int i = 1; i < 200; ++i) {
        const int64_t nominal = static_cast<int64_t>(i) * 400000;
        EXPECT_LE(std::llabs(a.FrameStartTime(i) - nominal), 50000);
        EXPECT_EQ(a.FrameStartTime(i), b.FrameStartTime(i));
        moved = moved || a.FrameStartTime(i) != nominal;
    }
    EXPECT_TRUE(moved);
}

} // namespace
