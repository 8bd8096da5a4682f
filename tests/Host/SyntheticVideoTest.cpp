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

} // namespace
