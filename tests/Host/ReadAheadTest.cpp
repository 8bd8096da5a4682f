// The tool's threads that read ahead and write behind: what passes through
// them is what the source gave (pictures, blocks, stamps, offsets, order),
// across seeks and the end of the stream, and a failing writer is reported
// rather than lost. Run by the TSan build too, which watches the hand-over
// between the threads.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "AsyncSink.h"
#include "ReadAheadAudioSource.h"
#include "ReadAheadVideoSource.h"
#include "SyntheticAudioSource.h"
#include "SyntheticVideoSource.h"

namespace {

using dptool::AsyncSink;
using dptool::ReadAheadAudioSource;
using dptool::ReadAheadVideoSource;

// A picture's record and pixels as bytes (pitch padding left out).
std::string Picture(const MEDIA_FRAME* f, int offset)
{
    if (!f)
        return "none";
    std::string s = std::to_string(f->llStartTime) + "/" + std::to_string(f->llStopTime) + "/" +
                    std::to_string(f->nDuration) + "/" + std::to_string(f->nWidth) + "x" +
                    std::to_string(f->nHeight) + "@" + std::to_string(offset) + ":";
    auto rows = [&](const unsigned char* p, int pitch, int w, int h) {
        for (int y = 0; y < h; ++y)
            s.append(reinterpret_cast<const char*>(p + static_cast<ptrdiff_t>(y) * pitch), static_cast<size_t>(w));
    };
    rows(f->pY, f->nPitchY, f->nWidth, f->nHeight);
    rows(f->pU, f->nPitchU, (f->nWidth + 1) / 2, (f->nHeight + 1) / 2);
    rows(f->pV, f->nPitchV, (f->nWidth + 1) / 2, (f->nHeight + 1) / 2);
    if (f->pAlpha)
        rows(f->pAlpha, f->nPitchY, f->nWidth, f->nHeight);
    return s;
}

// Steps through a decoder: Forward(step) until it returns 0, a seek to
// `seekAt` seconds after `seekAfter` steps. Each step's return and picture.
std::vector<std::string> Walk(VideoDecoder* d, int step, int seekAfter, double seekAt)
{
    std::vector<std::string> seen{Picture(d->GetFrame(), d->GetFrameOffset())};
    for (int i = 0; i < 1000; ++i) {
        if (i == seekAfter)
            seen.push_back("seek " + std::to_string(d->VideoSeekTime(seekAt, 0)) + " " +
                           Picture(d->GetFrame(), d->GetFrameOffset()));
        const int n = d->Forward(step);
        seen.push_back(std::to_string(n) + " " + Picture(d->GetFrame(), d->GetFrameOffset()));
        if (n == 0)
            break;
    }
    return seen;
}

TEST(ReadAhead, VideoGivesTheSourcesPicturesInOrder)
{
    struct Case {
        const char* name;
        int width, height, frames, step, depth, seekAfter;
        double seekAt;
        bool alpha;
        int padding;
    };
    const Case cases[] = {
        {"one step at a time", 33, 17, 40, 1, 4, -1, 0, false, 0},
        {"three steps, partial at the end", 32, 16, 41, 3, 4, -1, 0, true, 5},
        {"smallest ring", 16, 8, 25, 1, 2, -1, 0, false, 0},
        {"seek back after reading ahead", 32, 16, 60, 1, 4, 30, 0.4, false, 3},
        {"seek forward", 32, 16, 60, 2, 6, 5, 1.9, false, 0},
        {"one picture", 8, 8, 1, 1, 4, -1, 0, false, 0},
    };
    for (const Case& c : cases) {
        SyntheticVideoConfig cfg;
        cfg.width = c.width;
        cfg.height = c.height;
        cfg.frameCount = c.frames;
        cfg.withAlpha = c.alpha;
        cfg.pitchPadding = c.padding;
        cfg.jitter = 2000;
        cfg.dropped = {3, 4, 17};
        SyntheticVideoSource serial(cfg), threaded(cfg);
        ReadAheadVideoSource ahead(&threaded, c.depth);
        EXPECT_EQ(ahead.GetVideoInfo()->nWidth, c.width) << c.name;
        EXPECT_EQ(Walk(&ahead, c.step, c.seekAfter, c.seekAt), Walk(&serial, c.step, c.seekAfter, c.seekAt))
            << c.name;
        ahead.Stop();
        EXPECT_EQ(ahead.Forward(1), 0) << c.name; // stopped at the end: the last picture stays
        EXPECT_NE(ahead.GetFrame(), nullptr) << c.name;
    }
}

// Stopped early (the stage wanted no more): the worker ends while it waits
// for a free slot, and the pictures read ahead are still handed out.
TEST(ReadAhead, VideoStopsWhileTheRingIsFull)
{
    SyntheticVideoConfig cfg;
    cfg.frameCount = 100;
    SyntheticVideoSource source(cfg);
    auto ahead = std::make_unique<ReadAheadVideoSource>(&source, 3);
    ASSERT_EQ(ahead->Forward(1), 1);
    ahead->Stop();
    const int left = ahead->Forward(10);
    EXPECT_GE(left, 0);
    EXPECT_LE(left, 2);
    EXPECT_EQ(ahead->Forward(1), 0);
    EXPECT_LT(source.ForwardCalls(), 100);
}

std::vector<std::string> WalkAudio(AudioDecoder* d, int seekAfter, double seekAt)
{
    std::vector<std::string> seen{std::to_string(d->GetOffset())};
    for (int i = 0; i < 10000; ++i) {
        if (i == seekAfter)
            seen.push_back("seek " + std::to_string(d->AudioSeek(seekAt)) + " " + std::to_string(d->GetOffset()));
        MEDIA_FRAME* b = d->GetNextFrame();
        if (!b) {
            seen.push_back("end " + std::to_string(d->GetOffset()));
            break;
        }
        seen.push_back(std::to_string(b->llStartTime) + "/" + std::to_string(b->nDuration) + "/" +
                       std::to_string(b->nSampleRate) + "/" + std::to_string(b->nChannels) + "@" +
                       std::to_string(d->GetOffset()) + ":" +
                       std::string(reinterpret_cast<const char*>(b->pData), static_cast<size_t>(b->nDataSize)));
        std::memset(b->pData, 0x5a, static_cast<size_t>(b->nDataSize)); // the caller may change its block
    }
    return seen;
}

TEST(ReadAhead, AudioGivesTheSourcesBlocksInOrder)
{
    struct Case {
        const char* name;
        int channels, depth, seekAfter;
        double seekAt;
    };
    const Case cases[] = {
        {"stereo", 2, 32, -1, 0},
        {"smallest ring", 1, 2, -1, 0},
        {"seek back", 6, 8, 20, 0.25},
        {"seek forward", 2, 16, 3, 0.9},
    };
    for (const Case& c : cases) {
        SyntheticAudioConfig cfg;
        cfg.channels = c.channels;
        cfg.totalFrames = 48000;
        cfg.blockFrames = {1024, 100, 3000};
        cfg.shifts = {{5, 100000}, {12, -30000}};
        SyntheticAudioSource serial(cfg), threaded(cfg);
        ReadAheadAudioSource ahead(&threaded, c.depth);
        EXPECT_EQ(ahead.GetAudioInfo()->nChannels, c.channels) << c.name;
        EXPECT_EQ(WalkAudio(&ahead, c.seekAfter, c.seekAt), WalkAudio(&serial, c.seekAfter, c.seekAt)) << c.name;
        ahead.Stop();
        EXPECT_EQ(ahead.GetNextFrame(), nullptr) << c.name;
    }
}

// A sink that keeps what it is given and fails at write number `failAt`.
class RecordingSink : public dptool::MediaSink {
public:
    explicit RecordingSink(std::vector<std::string>* log, int failAt = -1) : m_log(log), m_failAt(failAt) {}
    bool WriteVideo(const MEDIA_FRAME* f) override { return Write("v" + Picture(f, 0)); }
    bool WriteAudio(const MEDIA_FRAME* b) override
    {
        return Write("a" + std::to_string(b->llStartTime) + ":" +
                     std::string(reinterpret_cast<const char*>(b->pData), static_cast<size_t>(b->nDataSize)));
    }
    bool Commit() override
    {
        m_log->push_back("commit");
        return true;
    }
    std::string Error() const override { return m_error; }
    bool HasVideo() const override { return true; }
    std::string Description() const override { return "recording"; }

private:
    bool Write(const std::string& what)
    {
        if (static_cast<int>(m_log->size()) == m_failAt) {
            m_error = "disk full at write " + std::to_string(m_failAt);
            return false;
        }
        m_log->push_back(what);
        return true;
    }
    std::vector<std::string>* m_log;
    int m_failAt;
    std::string m_error;
};

// Pictures and blocks interleaved as convert writes them; the frames are
// changed right after each write, as the stage reuses its buffers.
std::vector<std::string> Feed(dptool::MediaSink& sink, int count, bool* allWritten)
{
    SyntheticVideoConfig vcfg;
    vcfg.width = 24;
    vcfg.height = 10;
    SyntheticVideoSource video(vcfg);
    SyntheticAudioConfig acfg;
    SyntheticAudioSource audio(acfg);
    std::vector<std::string> expected;
    *allWritten = true;
    for (int i = 0; i < count; ++i) {
        MEDIA_FRAME* b = audio.GetNextFrame();
        const MEDIA_FRAME* f = video.GetFrame();
        expected.push_back("v" + Picture(f, 0));
        expected.push_back("a" + std::to_string(b->llStartTime) + ":" +
                           std::string(reinterpret_cast<const char*>(b->pData), static_cast<size_t>(b->nDataSize)));
        *allWritten = *allWritten && sink.WriteVideo(f) && sink.WriteAudio(b);
        std::memset(b->pData, 0, static_cast<size_t>(b->nDataSize));
        video.Forward(1);
    }
    return expected;
}

TEST(AsyncSink, WritesWhatItIsGivenInOrder)
{
    std::vector<std::string> log;
    bool written = false;
    std::vector<std::string> expected;
    {
        AsyncSink sink(std::make_unique<RecordingSink>(&log), 2, 3);
        EXPECT_EQ(sink.Description(), "recording");
        expected = Feed(sink, 30, &written);
        EXPECT_TRUE(sink.Commit()) << sink.Error();
    }
    EXPECT_TRUE(written);
    expected.push_back("commit");
    EXPECT_EQ(log, expected);
}

TEST(AsyncSink, AFailureIsReportedAtALaterWriteOrAtCommit)
{
    for (int failAt : {0, 7, 59}) {
        std::vector<std::string> log;
        bool written = true;
        AsyncSink sink(std::make_unique<RecordingSink>(&log, failAt), 2, 2);
        Feed(sink, 30, &written);
        EXPECT_FALSE(sink.Commit()) << failAt;
        EXPECT_EQ(sink.Error(), "disk full at write " + std::to_string(failAt));
        EXPECT_EQ(static_cast<int>(log.size()), failAt); // nothing after the failure, no commit
        if (failAt < 50) {
            EXPECT_FALSE(written) << failAt;
        }
    }
}

TEST(AsyncSink, DestroyedWithoutCommitWritesNoMore)
{
    std::vector<std::string> log;
    {
        AsyncSink sink(std::make_unique<RecordingSink>(&log), 4, 4);
        bool written = false;
        Feed(sink, 10, &written);
    }
    EXPECT_LE(log.size(), 20u);
    for (const std::string& s : log)
        EXPECT_NE(s, "commit");
}

} // namespace
