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

TEST(ReverseBitMapInfo, ReadsFileByteOrder)
{
    // Header bytes as stored in a file (little-endian).
    unsigned char raw[44] = {};
    const unsigned char le[] = {40, 0, 0, 0, 3, 0, 0, 0, 0xFE, 0xFF, 0xFF, 0xFF, 1, 0, 24, 0};
    std::memcpy(raw, le, sizeof(le));
    tagBITMAPINFO info;
    std::memcpy(&info, raw, sizeof(info));
    ReverseBitMapInfo(&info);
    EXPECT_EQ(info.bmiHeader.biSize, 40u);
    EXPECT_EQ(info.bmiHeader.biWidth, 3);
    EXPECT_EQ(info.bmiHeader.biHeight, -2);
    EXPECT_EQ(info.bmiHeader.biPlanes, 1);
    EXPECT_EQ(info.bmiHeader.biBitCount, 24);
    ReverseBitMapInfo(nullptr);
}

TEST(Locks, ScopedLockSerialisesWriters)
{
    CCritical cs;
    long counter = 0;
    std::vector<std::thread> threads;
    for (int t = 0; t < 4; ++t)
        threads.emplace_back([&] {
            for (int i = 0; i < 10000; ++i) {
                CSingleLock lock(&cs);
                ++counter;
            }
        });
    for (auto& t : threads)
        t.join();
    EXPECT_EQ(counter, 40000);
    EXPECT_EQ(cs.Lock(), 0);
    EXPECT_EQ(cs.Unlock(), 0);
}

TEST(FourCC, YV12IsTheLittleEndianValueOfItsBytes)
{
    const unsigned char bytes[4] = {'Y', 'V', '1', '2'};
    uint32_t v;
    std::memcpy(&v, bytes, 4);
    EXPECT_EQ(DP_FOURCC_YV12, v);
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

TEST(VideoDecoderBase, ModifyInfoDefaultsToOneAndCreateTypeIsATag)
{
    MinimalDecoder d;
    VideoModifyRequest req{480, 640, 25.0};
    EXPECT_EQ(d.ModifyInfo(0, reinterpret_cast<uintptr_t>(&req)), 1);
    EXPECT_EQ(req.nWidth, 640);
    d.SetCreateType(7);
    EXPECT_EQ(d.GetCreateType(), 7);
}

} // namespace
