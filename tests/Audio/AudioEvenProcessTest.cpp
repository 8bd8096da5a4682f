#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "AudioEvenProcess.h"
#include "AudioSharedState.h"
#include "OrvLog.h"
#include "SyntheticAudioSource.h"

namespace {

// One block handed out by the stage, copied (the frame is reused).
struct Block {
    std::vector<unsigned char> data;
    int64_t start;
    int64_t stop;
    int32_t duration;
};

// Captures the stage's messages and starts the process-wide counter of
// small discards at 0.
class AudioEvenProcessTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        dp_audio::SetSmallDiscardCount(0);
        OrvLogSetSink(&AudioEvenProcessTest::Capture, &lines);
    }
    void TearDown() override { OrvLogSetSink(nullptr, nullptr); }

    static void Capture(void* ctx, const char* line)
    {
        static_cast<std::vector<std::string>*>(ctx)->push_back(line);
    }

    static bool Next(AudioDecoder& stage, Block* b)
    {
        MEDIA_FRAME* f = stage.GetNextFrame();
        if (!f)
            return false;
        EXPECT_EQ(f->nFrameType, MEDIA_FRAME_AUDIO);
        b->data.assign(f->pData, f->pData + f->nDataSize);
        b->start = f->llStartTime;
        b->stop = f->llStopTime;
        b->duration = f->nDuration;
        return true;
    }

    static std::vector<Block> ReadAll(AudioDecoder& stage)
    {
        std::vector<Block> all;
        Block b;
        while (Next(stage, &b))
            all.push_back(b);
        return all;
    }

    // The bytes the source holds for sample frames [first, first + count).
    static std::vector<unsigned char> SourceBytes(const SyntheticAudioSource& src, int64_t first, int64_t count,
                                                  int channels)
    {
        std::vector<unsigned char> out;
        for (int64_t k = first; k < first + count; ++k)
            for (int c = 0; c < channels; ++c) {
                const int16_t s = static_cast<int16_t>(src.Sample(k, c));
                unsigned char b[2];
                std::memcpy(b, &s, 2);
                out.insert(out.end(), b, b + 2);
            }
        return out;
    }

    std::vector<std::string> lines;
};

SyntheticAudioConfig Stereo16(int64_t totalFrames, int blockFrames)
{
    SyntheticAudioConfig cfg;
    cfg.sampleRate = 44100;
    cfg.channels = 2;
    cfg.bitsPerSample = 16;
    cfg.totalFrames = totalFrames;
    cfg.blockFrames = {blockFrames};
    cfg.waveform = SyntheticAudioConfig::Ramp;
    return cfg;
}

TEST_F(AudioEvenProcessTest, ContinuousBlocksPassAndAreRestampedFromTheClock)
{
    SyntheticAudioConfig cfg = Stereo16(44100, 1024);
    cfg.streamStart = 50000000; // stamps start at 5 s, the origin maps them to 0
    cfg.shifts = {{20, 150000}}; // 15 ms late: inside the 20 ms tolerance
    SyntheticAudioSource src(cfg);
    AudioEvenProcess stage(&src);
    EXPECT_EQ(stage.GetAudioStreamInfo(), src.GetAudioStreamInfo());
    EXPECT_EQ(stage.GetAudioInfo(), src.GetAudioInfo());

    const std::vector<Block> out = ReadAll(stage);
    ASSERT_EQ(out.size(), static_cast<size_t>(src.BlockCount()));
    int64_t bytes = 0;
    for (size_t b = 0; b < out.size(); ++b) {
        ASSERT_EQ(out[b].data, SourceBytes(src, src.BlockOffset(static_cast<int64_t>(b)),
                                           src.BlockFrames(static_cast<int64_t>(b)), 2));
        // Stamped from the running clock, start = stop.
        EXPECT_NEAR(static_cast<double>(out[b].start), bytes / 176400.0 * 1e7, 1.0);
        EXPECT_EQ(out[b].stop, out[b].start);
        bytes += static_cast<int64_t>(out[b].data.size());
    }
    EXPECT_EQ(out[0].start, 0);
    EXPECT_EQ(out[0].duration, 232200); // trunc(0.5 + 4096 / 176400 * 1e7)
    EXPECT_NEAR(stage.GetOffset(), 1.0, 1e-9);
    EXPECT_TRUE(lines.empty());
}

TEST_F(AudioEvenProcessTest, OneSecondHoleIsFilledInChunks)
{
    SyntheticAudioConfig cfg = Stereo16(20 * 1024, 1024);
    cfg.shifts = {{10, 10000000}};
    SyntheticAudioSource src(cfg);
    AudioEvenProcess stage(&src);
    const std::vector<Block> out = ReadAll(stage);

    // 10 blocks, 44 filler chunks (43 of 4096 bytes and 272 bytes: 176400),
    // then the held block and the rest.
    ASSERT_EQ(out.size(), 10u + 44u + 10u);
    int64_t filler = 0;
    for (size_t i = 10; i < 54; ++i) {
        EXPECT_EQ(out[i].data.size(), i < 53 ? 4096u : 272u);
        filler += static_cast<int64_t>(out[i].data.size());
    }
    EXPECT_EQ(filler, 176400);
    // The first chunk repeats the last sample frame handed out; the others
    // are zeros.
    const std::vector<unsigned char> last = SourceBytes(src, 10 * 1024 - 1, 1, 2);
    for (size_t k = 0; k < 4096; k += 4)
        ASSERT_TRUE(std::equal(last.begin(), last.end(), out[10].data.begin() + static_cast<ptrdiff_t>(k)));
    for (size_t i = 11; i < 54; ++i)
        for (unsigned char v : out[i].data)
            ASSERT_EQ(v, 0);
    EXPECT_EQ(out[54].data, SourceBytes(src, 10 * 1024, 1024, 2));
    // The block after the hole is stamped where it belongs.
    EXPECT_NEAR(static_cast<double>(out[54].start), static_cast<double>(src.BlockStartTime(10)), 1.0);

    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0], "AudioEvenProcess:: Fill Blank Audio Data [1.00 sec/176400 bytes] before 1.23 sec.");
}

TEST_F(AudioEvenProcessTest, TimeOffsetOpensALeadingHole)
{
    SyntheticAudioConfig cfg = Stereo16(4096, 1024);
    cfg.streamStart = 30000000;
    cfg.timeOffset = 5000000; // every stamp maps 0.5 s later
    SyntheticAudioSource src(cfg);
    AudioEvenProcess stage(&src);
    const std::vector<Block> out = ReadAll(stage);
    int64_t filler = 0;
    size_t i = 0;
    for (; i < out.size() && out[i].data != SourceBytes(src, 0, 1024, 2); ++i)
        filler += static_cast<int64_t>(out[i].data.size());
    EXPECT_EQ(filler, 88200);
    EXPECT_EQ(out.size(), i + 4);
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0], "AudioEvenProcess:: Fill Blank Audio Data [0.50 sec/88200 bytes] before 3.00 sec.");
}

TEST_F(AudioEvenProcessTest, ToleranceIsHalvedForEightBitAudio)
{
    // 15 ms late: within the 20 ms of 16-bit audio, beyond the 10 ms of
    // 8-bit audio (the threshold compares samples with bytes per second).
    for (int bits : {16, 8}) {
        lines.clear();
        SyntheticAudioConfig cfg = Stereo16(8 * 1024, 1024);
        cfg.bitsPerSample = bits;
        cfg.shifts = {{4, 150000}};
        SyntheticAudioSource src(cfg);
        AudioEvenProcess stage(&src);
        ReadAll(stage);
        EXPECT_EQ(lines.size(), bits == 8 ? 1u : 0u) << bits << " bits";
    }
}

TEST_F(AudioEvenProcessTest, OverlapInsideOneBlockIsCutThenTheBlockRepeats)
{
    // Blocks of 100 ms; block 10 is stamped 50 ms early.
    SyntheticAudioConfig cfg = Stereo16(20 * 4410, 4410);
    cfg.shifts = {{10, -500000}};
    SyntheticAudioSource src(cfg);
    AudioEvenProcess stage(&src);
    const std::vector<Block> out = ReadAll(stage);

    ASSERT_GE(out.size(), 13u);
    // Cut at the exact sample: 2205 frames (8820 bytes) into block 10.
    EXPECT_EQ(out[10].data, SourceBytes(src, 10 * 4410 + 2205, 2205, 2));
    EXPECT_EQ(out[10].start, 10000000);
    // Kept deliberately: the same block then comes out again, whole.
    EXPECT_EQ(out[11].data, SourceBytes(src, 10 * 4410, 4410, 2));
    EXPECT_EQ(out[11].start, 10500000);
    // That repeat puts the data 100 ms ahead of block 11, which is thrown
    // away whole; block 12 is handed out whole and the timeline is even
    // again.
    EXPECT_EQ(out[12].data, SourceBytes(src, 12 * 4410, 4410, 2));
    EXPECT_EQ(out.size(), 10u + 2u + 8u);

    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0], "AudioEvenProcess::Throw away Audio Data [0.050 sec/8820 bytes] before 0.95 sec.");
    EXPECT_EQ(lines[1], "AudioEvenProcess::Throw away Audio Data [0.100 sec/17640 bytes] before 1.05 sec.");
}

TEST_F(AudioEvenProcessTest, OverlapAcrossBlocksIsDiscardedToTheExactSample)
{
    // Block 10 is stamped 100 ms early: it goes whole, blocks 11 to 13 go
    // silently, block 14 is cut 1256 bytes in.
    SyntheticAudioConfig cfg = Stereo16(20 * 1024, 1024);
    cfg.shifts = {{10, -1000000}};
    SyntheticAudioSource src(cfg);
    AudioEvenProcess stage(&src);
    const std::vector<Block> out = ReadAll(stage);
    ASSERT_EQ(out.size(), 10u + 1u + 5u);
    EXPECT_EQ(out[10].data, SourceBytes(src, 14 * 1024 + 314, 1024 - 314, 2));
    // No repeat on this path: the next block follows.
    EXPECT_EQ(out[11].data, SourceBytes(src, 15 * 1024, 1024, 2));
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0], "AudioEvenProcess::Throw away Audio Data [0.023 sec/4096 bytes] before 0.13 sec.");
}

TEST_F(AudioEvenProcessTest, SeekIsSampleExact)
{
    // 1024-frame blocks: the source goes back to 9.5 s, the stage throws
    // away everything before 10.0 s and cuts the block that straddles it.
    SyntheticAudioSource src(Stereo16(12 * 44100, 1024));
    AudioEvenProcess stage(&src);
    EXPECT_DOUBLE_EQ(stage.AudioSeek(10.0), 10.0);
    EXPECT_DOUBLE_EQ(src.LastSeekTime(), 9.5);
    EXPECT_DOUBLE_EQ(stage.GetOffset(), 10.0);
    Block b;
    ASSERT_TRUE(Next(stage, &b));
    EXPECT_EQ(b.data, SourceBytes(src, 441000, 1024 - 680, 2));
    EXPECT_EQ(b.start, 100000000);
    ASSERT_TRUE(Next(stage, &b));
    EXPECT_EQ(b.data, SourceBytes(src, 431 * 1024, 1024, 2));
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0], "AudioEvenProcess::Throw away Audio Data [0.023 sec/4096 bytes] before 9.50 sec.");
}

TEST_F(AudioEvenProcessTest, SeekIntoALongBlockCutsItThenRepeatsIt)
{
    // 1.5 s blocks: the block from 9.0 s holds both 9.5 s and 10.0 s.
    SyntheticAudioSource src(Stereo16(8 * 66150, 66150));
    AudioEvenProcess stage(&src);
    stage.AudioSeek(10.0);
    Block b;
    ASSERT_TRUE(Next(stage, &b));
    EXPECT_EQ(b.data, SourceBytes(src, 441000, 22050, 2));
    EXPECT_EQ(b.start, 100000000);
    EXPECT_EQ(b.duration, 5000000);
    ASSERT_TRUE(Next(stage, &b)); // kept deliberately: the whole block again
    EXPECT_EQ(b.data, SourceBytes(src, 6 * 66150, 66150, 2));
    EXPECT_EQ(b.start, 105000000);
    EXPECT_DOUBLE_EQ(stage.GetOffset(), 12.0);
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0], "AudioEvenProcess::Throw away Audio Data [1.000 sec/176400 bytes] before 9.00 sec.");
}

TEST_F(AudioEvenProcessTest, SmallDiscardsAreLoggedEveryHundredth)
{
    // 100-frame blocks (400 bytes): after each seek to 10.0 s the first
    // block read (from 9.5 s) is small and thrown away whole.
    SyntheticAudioSource src(Stereo16(11 * 44100, 100));
    AudioEvenProcess stage(&src);
    Block b;
    for (int i = 0; i < 250; ++i) {
        stage.AudioSeek(10.0);
        ASSERT_TRUE(Next(stage, &b));
        ASSERT_EQ(b.data, SourceBytes(src, 441000, 100, 2)); // the first block of 10.0 s, whole
    }
    EXPECT_EQ(dp_audio::GetSmallDiscardCount(), 250);
    ASSERT_EQ(lines.size(), 3u);
    EXPECT_EQ(lines[0], "AudioEvenProcess::Throw away Audio Data 0 [0.002 sec/400 bytes] before 9.50 sec.");
    EXPECT_EQ(lines[1], "AudioEvenProcess::Throw away Audio Data 100 [0.002 sec/400 bytes] before 9.50 sec.");
    EXPECT_EQ(lines[2], "AudioEvenProcess::Throw away Audio Data 200 [0.002 sec/400 bytes] before 9.50 sec.");
}

TEST_F(AudioEvenProcessTest, NegativeSeekFillsUpToTheStart)
{
    SyntheticAudioSource src(Stereo16(4096, 1024));
    AudioEvenProcess stage(&src);
    EXPECT_DOUBLE_EQ(stage.AudioSeek(-2.0), -2.0);
    EXPECT_DOUBLE_EQ(src.LastSeekTime(), 0.0);
    EXPECT_DOUBLE_EQ(stage.GetOffset(), -2.0);
    const std::vector<Block> out = ReadAll(stage);
    ASSERT_FALSE(out.empty());
    EXPECT_EQ(out[0].start, -19999999); // trunc(-2e7 + 0.5)
    // The byte count starts at trunc(-88200 + 0.5) * 2 * 2 = -352796.
    int64_t filler = 0;
    for (size_t i = 0; i + 4 < out.size(); ++i)
        filler += static_cast<int64_t>(out[i].data.size());
    EXPECT_EQ(filler, 352796);
    EXPECT_EQ(out[out.size() - 4].data, SourceBytes(src, 0, 1024, 2));
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0], "AudioEvenProcess:: Fill Blank Audio Data [2.00 sec/352796 bytes] before 0.00 sec.");
}

TEST_F(AudioEvenProcessTest, EndOfSourceEndsAtOnceEvenWhileDiscarding)
{
    // The last block is stamped a second early: the discard runs into the
    // end of the source.
    SyntheticAudioConfig cfg = Stereo16(8 * 1024, 1024);
    cfg.shifts = {{7, -10000000}};
    SyntheticAudioSource src(cfg);
    AudioEvenProcess stage(&src);
    EXPECT_EQ(ReadAll(stage).size(), 7u);
    EXPECT_EQ(stage.GetNextFrame(), nullptr);
}

TEST_F(AudioEvenProcessTest, FillerOwedOverASeekIsDroppedAndCloseIsSafe)
{
    SyntheticAudioConfig cfg = Stereo16(40 * 1024, 1024);
    cfg.shifts = {{2, 10000000}};
    SyntheticAudioSource src(cfg);
    AudioEvenProcess stage(&src);
    Block b;
    for (int i = 0; i < 4; ++i) // two blocks, then two filler chunks
        ASSERT_TRUE(Next(stage, &b));
    EXPECT_EQ(stage.Close(), 1);
    EXPECT_EQ(stage.Open(nullptr, nullptr, nullptr), 1);
    ASSERT_TRUE(Next(stage, &b)); // more filler after Close: a new buffer
    EXPECT_EQ(b.data, std::vector<unsigned char>(4096, 0));
    // The seek drops the owed filler; the block held back comes out next.
    stage.AudioSeek(1.0 + 2 * 1024 / 44100.0);
    ASSERT_TRUE(Next(stage, &b));
    EXPECT_EQ(b.data, SourceBytes(src, 2 * 1024, 1024, 2));
}

TEST(AudioEvenProcessApi, CreateAndDestroy)
{
    EXPECT_EQ(PEAudioCreate(nullptr), nullptr);
    PEAudioDestroy(nullptr);
    SyntheticAudioSource src(Stereo16(2048, 1024));
    AudioDecoder* stage = PEAudioCreate(&src);
    ASSERT_NE(stage, nullptr);
    MEDIA_FRAME* f = stage->GetNextFrame();
    ASSERT_NE(f, nullptr);
    EXPECT_EQ(f->nDataSize, 4096);
    PEAudioDestroy(stage); // the source stays alive
    EXPECT_EQ(src.CloseCalls(), 0);
    EXPECT_NE(src.GetNextFrame(), nullptr);

    AudioEvenProcess none(nullptr);
    EXPECT_EQ(none.GetNextFrame(), nullptr);
    EXPECT_DOUBLE_EQ(none.AudioSeek(3.0), 0.0);
    EXPECT_EQ(none.GetAudioInfo(), nullptr);
}

} // namespace
