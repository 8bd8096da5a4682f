#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <tuple>

#include "SyntheticVideoSource.h"

namespace {

SyntheticVideoConfig Config(int w, int h, int frames)
{
    SyntheticVideoConfig cfg;
    cfg.width = w;
    cfg.height = h;
    cfg.frameCount = frames;
    return cfg;
}

// The stream block is read at fixed offsets by the stages; a seek lands on
// the frame shown at the time asked for.
TEST(SyntheticVideo, StreamBlockAndSeek)
{
    SyntheticVideoConfig cfg = Config(720, 576, 50);
    cfg.aspectX = 4;
    cfg.aspectY = 3;
    cfg.streamStart = 10000000;
    cfg.timeOffset = 123;
    SyntheticVideoSource src(cfg);
    const char* block = reinterpret_cast<const char*>(src.GetVideoStreamInfo());
    EXPECT_EQ(reinterpret_cast<const char*>(src.GetVideoInfo()), block + 796);
    double rate;
    int64_t times[2];
    std::memcpy(&rate, block + 804, sizeof(rate));
    std::memcpy(times, block + 864, sizeof(times));
    EXPECT_EQ(std::make_tuple(rate, times[0], times[1]), std::make_tuple(25.0, int64_t(10000000), int64_t(123)));
    EXPECT_EQ(std::make_tuple(src.GetVideoInfo()->nAspectX, src.GetVideoInfo()->nFrameCount), std::make_tuple(4, 50));

    EXPECT_DOUBLE_EQ(src.VideoSeekTime(0.5, 0), 0.48);
    EXPECT_EQ(src.CurrentIndex(), 12);
    EXPECT_EQ(src.GetFrame()->llStartTime, 10000000 + 4800000);
    EXPECT_EQ(src.LastSeekTime(), 0.5);
    EXPECT_DOUBLE_EQ(src.VideoSeekTime(100.0, 0), 49 / 25.0);
    EXPECT_DOUBLE_EQ(src.VideoSeekTime(-1.0, 0), 0.0);
    EXPECT_EQ(src.VideoSeek(7, 0), 7);
    EXPECT_EQ(src.SeekCalls(), 4);
}

TEST(SyntheticVideo, FramesFollowTheRateAndThePatternIsExact)
{
    SyntheticVideoConfig cfg = Config(33, 17, 10); // odd sizes, padded pitches
    cfg.frameRate = 30.0;
    cfg.pitchPadding = 3;
    cfg.withAlpha = true;
    SyntheticVideoSource src(cfg);
    EXPECT_EQ(src.GetFrame()->llStartTime, 0);
    EXPECT_EQ(src.Forward(2), 2);
    const MEDIA_FRAME* f = src.GetFrame();
    EXPECT_EQ(std::make_tuple(src.GetFrameOffset(), f->nPitchY, f->nPitchU), std::make_tuple(2, 36, 20));
    EXPECT_EQ(std::make_tuple(f->llStartTime, f->llStopTime, f->nDuration),
              std::make_tuple(int64_t(666667), int64_t(666667 + 333333), 333333));
    for (int y = 0; y < 17; ++y)
        for (int x = 0; x < 33; ++x) {
            ASSERT_EQ(f->pY[y * 36 + x], SyntheticVideoSource::PatternY(x, y, 2, 33, 17));
            ASSERT_EQ(f->pAlpha[y * 36 + x], SyntheticVideoSource::PatternAlpha(x, y, 33));
            if (x < 17 && y < 9) {
                ASSERT_EQ(f->pU[y * 20 + x], SyntheticVideoSource::PatternU(x, y, 2, 33, 17));
                ASSERT_EQ(f->pV[y * 20 + x], SyntheticVideoSource::PatternV(x, y, 2, 33, 17));
            }
        }
    // Corner markers: red top-left, white bottom-right.
    EXPECT_EQ(std::make_tuple(f->pY[0], f->pV[0], f->pY[16 * 36 + 32]), std::make_tuple(81, 240, 235));
}

TEST(SyntheticVideo, DroppedFramesAreSkippedAndTheEndStopsForward)
{
    SyntheticVideoConfig cfg = Config(16, 16, 5);
    cfg.dropped = {2};
    SyntheticVideoSource src(cfg);
    EXPECT_EQ(src.Forward(1), 1);
    EXPECT_EQ(src.Forward(1), 1);
    EXPECT_EQ(src.CurrentIndex(), 3) << "frame 2 is never delivered";
    EXPECT_EQ(src.Forward(5), 1);
    EXPECT_EQ(src.Forward(1), 0);
    EXPECT_EQ(src.CurrentIndex(), 4);
    EXPECT_NE(src.GetFrame(), nullptr) << "the last frame stays current";

    cfg.nullAfterEnd = true;
    SyntheticVideoSource ending(cfg);
    EXPECT_EQ(ending.Forward(10), 3);
    EXPECT_EQ(ending.GetFrame(), nullptr);
    EXPECT_EQ(ending.Forward(1), 0);
}

TEST(SyntheticVideo, JitterStaysWithinItsBoundAndIsRepeatable)
{
    SyntheticVideoConfig cfg = Config(8, 8, 200);
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
