// The constant-rate stage driven as a host would: rate choice, repeats,
// skips, the end of the stream, seeks and the extension channel.
#include <gtest/gtest.h>

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

// The synthetic source with each picture's stop time at its end (start plus
// duration), stated here so that the grid arithmetic below does not hang on
// the synthetic source's own stamping convention.
class Source : public SyntheticVideoSource {
public:
    using SyntheticVideoSource::SyntheticVideoSource;
    const MEDIA_FRAME* GetFrame() const override
    {
        const MEDIA_FRAME* f = SyntheticVideoSource::GetFrame();
        if (!f)
            return nullptr;
        m_frame = *f;
        m_frame.llStopTime = f->llStartTime + f->nDuration;
        return &m_frame;
    }

private:
    mutable MEDIA_FRAME m_frame{};
};

// Grid time of frame k at rate r, rounded as the stage stamps it.
int64_t Stamp(int k, double r) { return static_cast<int64_t>(k / r * 10000000.0 + 0.5); }

TEST(VideoEvenProcess, SlowSourceIsRepeated)
{
    for (int64_t start : {int64_t(0), int64_t(10000000)}) {
        SyntheticVideoConfig c = Config(25.0, 20);
        c.streamStart = start; // mapped away through llStreamStart
        Source src(c);
        VideoEvenProcess even(&src, 50.0);
        for (int k = 1; k <= 8; ++k) {
            SCOPED_TRACE(testing::Message() << "start " << start << " grid " << k);
            ASSERT_EQ(even.Forward(1), 1);
            // Source picture i stops at (i + 1) / 25 s and covers grid k
            // while that is at or after k / 50 s.
            EXPECT_EQ(src.CurrentIndex(), (k + 1) / 2 - 1);
            EXPECT_EQ(even.GetFrame()->llStartTime, Stamp(k, 50.0));
            EXPECT_EQ(even.GetFrame()->llStopTime, Stamp(k, 50.0));
            EXPECT_EQ(even.GetFrame()->nDuration, 200000);
            EXPECT_EQ(even.GetFrameOffset(), k);
        }
    }
}

TEST(VideoEvenProcess, FastSourceIsSkipped)
{
    Source src(Config(60.0, 100));
    VideoEvenProcess even(&src, 30.0);
    EXPECT_EQ(even.Forward(0), 0); // changes nothing
    EXPECT_EQ(even.Forward(-1), 0);
    EXPECT_EQ(even.GetFrameOffset(), 0);
    EXPECT_EQ(src.ForwardCalls(), 0);
    for (int k = 1; k <= 10; ++k) {
        ASSERT_EQ(even.Forward(1), 1);
        EXPECT_EQ(src.CurrentIndex(), 2 * k - 1) << "grid " << k;
        EXPECT_EQ(even.GetFrame()->llStartTime, (k * 10000000LL + 15) / 30) << "grid time, rounded";
        EXPECT_EQ(even.GetFrame()->nDuration, 333333);
    }
    // A step of several grid frames skips all the source pictures between.
    ASSERT_EQ(even.Forward(5), 5);
    EXPECT_EQ(src.CurrentIndex(), 29);
    EXPECT_EQ(even.GetFrameOffset(), 15);
    // A rate above 200 becomes 30; 150 stays.
    for (double asked : {150.0, 250.0})
        EXPECT_DOUBLE_EQ(VideoEvenProcess(&src, asked).GetVideoInfo()->dFrameRate, asked > 200 ? 30.0 : asked);
}

TEST(VideoEvenProcess, EndOfStream)
{
    Source src(Config(25.0, 5));
    VideoEvenProcess even(&src, 25.0);
    ASSERT_EQ(even.Forward(3), 3);
    EXPECT_EQ(src.CurrentIndex(), 2); // picture 2 stops at 3/25 s
    // Can advance the source twice more, then it ends: the whole step counts.
    EXPECT_EQ(even.Forward(3), 3);
    EXPECT_EQ(src.CurrentIndex(), 4);
    EXPECT_EQ(even.GetFrame()->llStartTime, Stamp(6, 25.0));
    // Nothing left to advance: 0, index unchanged, last picture still there.
    EXPECT_EQ(even.Forward(1), 0);
    EXPECT_EQ(even.GetFrameOffset(), 6);
    ASSERT_NE(even.GetFrame(), nullptr);

    SyntheticVideoConfig c = Config(25.0, 2);
    c.nullAfterEnd = true; // no picture after the end
    Source gone(c);
    VideoEvenProcess even2(&gone, 25.0);
    EXPECT_EQ(even2.Forward(1), 1); // repeat: picture 0 stops at 1/25 s
    EXPECT_EQ(even2.Forward(1), 1); // picture 1
    EXPECT_EQ(even2.Forward(1), 0); // ended without advancing, picture gone
    EXPECT_EQ(even2.GetFrame(), nullptr);
    EXPECT_EQ(even2.Forward(1), 0);
    even2.VideoSeekTime(0.0, 0); // a seek brings a picture back
    EXPECT_EQ(even2.Forward(1), 1);

    Source empty(Config(25.0, 0)); // no picture at all
    EXPECT_EQ(VideoEvenProcess(&empty, 25.0).Forward(1), 0);
}

} // namespace
