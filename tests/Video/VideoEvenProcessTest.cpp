// The constant-rate stage driven as a host would: repeats, skips, the end of
// the stream, seeks and the extension channel.
#include <gtest/gtest.h>

#include <cstring>

#include "SyntheticVideoSource.h"
#include "VideoEvenProcess.h"

namespace {

SyntheticVideoConfig Config(double rate, int frames)
{
    SyntheticVideoConfig c;
    c.width = 32;
    c.height = 16;
    c.frameRate = rate;
    c.frameCount = frames;
    return c;
}

// Grid time of frame k at rate r, rounded as the stage stamps it.
int64_t Stamp(int k, double r) { return static_cast<int64_t>(k / r * 10000000.0 + 0.5); }

TEST(VideoEvenProcess, RateChoice)
{
    SyntheticVideoSource src(Config(25.0, 10));
    VideoEvenProcess adopt(&src, 0.0);
    EXPECT_DOUBLE_EQ(adopt.GetVideoInfo()->dFrameRate, 25.0);
    VideoEvenProcess tiny(&src, 0.0005);
    EXPECT_DOUBLE_EQ(tiny.GetFrameRate(), 25.0);
    VideoEvenProcess high(&src, 250.0);
    EXPECT_DOUBLE_EQ(high.GetFrameRate(), 30.0);

    SyntheticVideoSource fast(Config(240.0, 10));
    VideoEvenProcess adoptFast(&fast, 0.0);
    EXPECT_DOUBLE_EQ(adoptFast.GetFrameRate(), 30.0);

    VideoEvenProcess fifty(&src, 50.0);
    EXPECT_DOUBLE_EQ(fifty.GetVideoInfo()->dFrameRate, 50.0);
    EXPECT_DOUBLE_EQ(fifty.GetVideoStreamInfo()->videoInfo.dFrameRate, 50.0);
    // The source's own record is untouched; the rest of the block is a copy.
    EXPECT_DOUBLE_EQ(src.GetVideoInfo()->dFrameRate, 25.0);
    EXPECT_EQ(0, std::memcmp(fifty.GetVideoStreamInfo()->abHostData, src.GetVideoStreamInfo()->abHostData, 796));
    EXPECT_EQ(fifty.GetVideoInfo()->nWidth, 32);
}

TEST(VideoEvenProcess, ConstructionStampsTheFirstPicture)
{
    SyntheticVideoSource src(Config(25.0, 10));
    VideoEvenProcess even(&src, 50.0);
    const MEDIA_FRAME* f = even.GetFrame();
    ASSERT_NE(f, nullptr);
    EXPECT_EQ(f->pY, src.GetFrame()->pY); // the source's planes, not a copy
    EXPECT_EQ(f->llStartTime, 0);
    EXPECT_EQ(f->llStopTime, 0);
    EXPECT_EQ(f->nDuration, 200000);
    EXPECT_EQ(even.GetFrameOffset(), 0);

    SyntheticVideoSource empty(Config(25.0, 0));
    VideoEvenProcess none(&empty, 25.0);
    EXPECT_EQ(none.GetFrame(), nullptr);
    EXPECT_EQ(none.Forward(1), 0);
}

TEST(VideoEvenProcess, SlowSourceIsRepeated)
{
    for (int64_t start : {int64_t(0), int64_t(10000000)}) {
        SyntheticVideoConfig c = Config(25.0, 20);
        c.streamStart = start; // mapped away through llStreamStart
        SyntheticVideoSource src(c);
        VideoEvenProcess even(&src, 50.0);
        for (int k = 1; k <= 8; ++k) {
            ASSERT_EQ(even.Forward(1), 1);
            // Source picture i stops at (i + 1) / 25 s and covers grid k while
            // that is at or after k / 50 s.
            EXPECT_EQ(src.CurrentIndex(), (k + 1) / 2 - 1) << "grid " << k;
            const MEDIA_FRAME* f = even.GetFrame();
            ASSERT_NE(f, nullptr);
            EXPECT_EQ(f->llStartTime, Stamp(k, 50.0));
            EXPECT_EQ(f->llStopTime, Stamp(k, 50.0));
            EXPECT_EQ(f->nDuration, 200000);
            EXPECT_EQ(even.GetFrameOffset(), k);
        }
    }
}

TEST(VideoEvenProcess, FastSourceIsSkipped)
{
    SyntheticVideoSource src(Config(60.0, 100));
    VideoEvenProcess even(&src, 30.0);
    ASSERT_EQ(even.Forward(1), 1);
    EXPECT_EQ(src.CurrentIndex(), 1);
    for (int k = 2; k <= 10; ++k) {
        ASSERT_EQ(even.Forward(1), 1);
        EXPECT_EQ(src.CurrentIndex(), 2 * k - 1) << "grid " << k;
        EXPECT_EQ(even.GetFrame()->nDuration, 333333);
    }
    // A step of several grid frames skips all the source pictures between.
    ASSERT_EQ(even.Forward(5), 5);
    EXPECT_EQ(src.CurrentIndex(), 29);
    EXPECT_EQ(even.GetFrameOffset(), 15);
}

TEST(VideoEvenProcess, BadCountsChangeNothing)
{
    SyntheticVideoSource src(Config(25.0, 10));
    VideoEvenProcess even(&src, 25.0);
    EXPECT_EQ(even.Forward(0), 0);
    EXPECT_EQ(even.Forward(-1), 0);
    EXPECT_EQ(even.GetFrameOffset(), 0);
    EXPECT_EQ(src.ForwardCalls(), 0);
}

TEST(VideoEvenProcess, EndOfStream)
{
    SyntheticVideoSource src(Config(25.0, 5));
    VideoEvenProcess even(&src, 25.0);
    ASSERT_EQ(even.Forward(3), 3);
    EXPECT_EQ(src.CurrentIndex(), 2); // picture 2 stops at 3/25 s
    // Can advance the source twice more, then it ends: the whole step counts.
    EXPECT_EQ(even.Forward(3), 3);
    EXPECT_EQ(even.GetFrameOffset(), 6);
    EXPECT_EQ(src.CurrentIndex(), 4);
    EXPECT_EQ(even.GetFrame()->llStartTime, Stamp(6, 25.0));
    // Nothing left to advance: 0, index unchanged, last picture still there.
    EXPECT_EQ(even.Forward(1), 0);
    EXPECT_EQ(even.GetFrameOffset(), 6);
    ASSERT_NE(even.GetFrame(), nullptr);
}

TEST(VideoEvenProcess, SourceWithoutPictureAfterItsEnd)
{
    SyntheticVideoConfig c = Config(25.0, 2);
    c.nullAfterEnd = true;
    SyntheticVideoSource src(c);
    VideoEvenProcess even(&src, 25.0);
    EXPECT_EQ(even.Forward(1), 1); // repeat: picture 0 stops at 1/25 s
    EXPECT_EQ(even.Forward(1), 1); // picture 1
    EXPECT_EQ(even.Forward(1), 0); // ended without advancing, picture gone
    EXPECT_EQ(even.GetFrame(), nullptr);
    EXPECT_EQ(even.Forward(1), 0);
    // A seek brings a picture back.
    even.VideoSeekTime(0.0, 0);
    EXPECT_NE(even.GetFrame(), nullptr);
    EXPECT_EQ(even.Forward(1), 1);
}

TEST(VideoEvenProcess, SeekTime)
{
    SyntheticVideoSource src(Config(25.0, 250));
    VideoEvenProcess even(&src, 50.0);

    // Pre-roll clamped at 0; the nearest grid frame to 0.33 s is 17 (16.5 + 0.5).
    EXPECT_DOUBLE_EQ(even.VideoSeekTime(0.33, 7), Stamp(17, 50.0) / 1e7);
    EXPECT_DOUBLE_EQ(src.LastSeekTime(), 0.0);
    EXPECT_EQ(even.GetFrameOffset(), 17);

    // A negative time is a seek to 0.
    EXPECT_DOUBLE_EQ(even.VideoSeekTime(-2.0, 0), 0.0);
    EXPECT_EQ(even.GetFrameOffset(), 0);

    // The source lands half a second early; the stamp is the grid time and
    // the duration stays the source's (a seek does not rewrite it).
    EXPECT_DOUBLE_EQ(even.VideoSeekTime(2.0, 0), 2.0);
    EXPECT_DOUBLE_EQ(src.LastSeekTime(), 1.5);
    EXPECT_EQ(src.CurrentIndex(), 37);
    const MEDIA_FRAME* f = even.GetFrame();
    ASSERT_NE(f, nullptr);
    EXPECT_EQ(f->llStartTime, 20000000);
    EXPECT_EQ(f->llStopTime, 20000000);
    EXPECT_EQ(f->nDuration, 400000);
    // The following steps bring the source up to the grid; Forward writes
    // the grid period.
    EXPECT_EQ(even.Forward(1), 1);
    EXPECT_EQ(src.CurrentIndex(), 50);
    EXPECT_EQ(even.GetFrame()->nDuration, 200000);
    EXPECT_EQ(even.GetFrame()->llStartTime, Stamp(101, 50.0));
}

TEST(VideoEvenProcess, SeekByFrameMultipliesByTheRate)
{
    SyntheticVideoSource src(Config(25.0, 10000));
    VideoEvenProcess even(&src, 25.0);
    // Frame 10 at 25 fps: the time is 10 x 25 = 250 s, not 0.4 s.
    EXPECT_EQ(even.VideoSeek(10, 0), 6250);
    EXPECT_DOUBLE_EQ(src.LastSeekTime(), 249.5);
    EXPECT_EQ(even.GetFrame()->llStartTime, 2500000000LL);
}

TEST(VideoEvenProcess, ExtensionCodes)
{
    SyntheticVideoSource src(Config(25.0, 10));
    VideoEvenProcess even(&src, 25.0);
    EXPECT_EQ(even.SetExDecodeParam(1002, 5, 6), 0);
    EXPECT_EQ(src.LastExCode(), 0u); // swallowed
    even.SetExDecodeParam(8888, 1234, 1);
    EXPECT_EQ(src.LastExCode(), 8888u);
    EXPECT_EQ(src.LastExParam1(), 1234u);
}

TEST(VideoEvenProcess, WithoutSource)
{
    EXPECT_EQ(PEVideoCreate(nullptr, 25.0), nullptr);
    PEVideoDestroy(nullptr);
    VideoEvenProcess none(nullptr, 25.0);
    EXPECT_EQ(none.GetVideoInfo(), nullptr);
    EXPECT_EQ(none.GetVideoStreamInfo(), nullptr);
    EXPECT_EQ(none.GetFrame(), nullptr);
    EXPECT_EQ(none.GetFrameOffset(), 0);
    EXPECT_EQ(none.Forward(1), 0);
    EXPECT_EQ(none.VideoSeek(3, 0), 0);
    EXPECT_DOUBLE_EQ(none.VideoSeekTime(1.0, 0), 0.0);
    EXPECT_EQ(none.SetExDecodeParam(7, 0, 0), 0);
}

TEST(VideoEvenProcess, CreateAndDestroyLeaveTheSource)
{
    SyntheticVideoSource src(Config(25.0, 10));
    VideoDecoder* even = PEVideoCreate(&src, 50.0);
    ASSERT_NE(even, nullptr);
    EXPECT_EQ(even->Open(nullptr, nullptr, nullptr), 1);
    EXPECT_EQ(even->Forward(2), 2);
    even->Close(); // drops the stage's record, the source stays usable
    PEVideoDestroy(even);
    EXPECT_NE(src.GetFrame(), nullptr);
    EXPECT_EQ(src.Forward(1), 1);
}

} // namespace
