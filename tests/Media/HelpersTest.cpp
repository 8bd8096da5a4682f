#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <thread>
#include <vector>

#include "Decoder.h"
#include "Lock.h"
#include "Utility.h"

namespace {

TEST(FloatCompare, ToleranceIsInclusiveAtEpsilon)
{
    EXPECT_EQ(DefaultPrecision, 0.001);
    EXPECT_EQ(FloatCompare(0.0005, 0.0, 0.001), 0);
    EXPECT_EQ(FloatCompare(0.001, 0.0, 0.001), 1);
    EXPECT_EQ(FloatCompare(0.0, 0.001, 0.001), -1);
    EXPECT_EQ(FloatCompare(25.0, 30.0, DefaultPrecision), -1);
}

TEST(OffsetRect, MovesAllEdgesAndRefusesNull)
{
    tagRECT rc{120, 60, 220, 110};
    EXPECT_EQ(OffsetRect(&rc, -100, -50), 1);
    EXPECT_EQ(rc.left, 20);
    EXPECT_EQ(rc.top, 10);
    EXPECT_EQ(rc.right, 120);
    EXPECT_EQ(rc.bottom, 60);
    EXPECT_EQ(OffsetRect(nullptr, 1, 1), 0);
}

struct MinimalDecoder : VideoDecoder {
    int Close() override { return 1; }
    int Open(const wchar_t*, const DecParam*, int*) override { return 1; }
    intptr_t SetExDecodeParam(unsigned int, uintptr_t, uintptr_t) override { return 0; }
    const VideoInfo* GetVideoInfo() const override { return nullptr; }
    const VideoStreamInfo* GetVideoStreamInfo() const override { return nullptr; }
    double VideoSeekTime(double s, unsigned int) override { return s; }
    int VideoSeek(int f, unsigned int) override { return f; }
    const MEDIA_FRAME* GetFrame() const override { return nullptr; }
    int GetFrameOffset() const override { return 0; }
    int Forward(int) override { return 0; }
};

} // namespace
