// The timeline stage (AudioEvenProcess) and the processing stage
// (AudioProcess) over the synthetic host decoder, whose ramp says where
// every sample came from.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "AudioEvenProcess.h"
#include "AudioProcess.h"
#include "AudioSharedState.h"
#include "OrvLog.h"
#include "SyntheticAudioSource.h"

namespace {

using Bytes = std::vector<unsigned char>;
using Lines = std::vector<std::string>;


// One frame handed out, copied (the stages reuse their frames).
struct Out { Bytes data; int64_t start, stop; int32_t duration; };

Bytes FrameBytes(const MEDIA_FRAME* f) { return f ? Bytes(f->pData, f->pData + f->nDataSize) : Bytes(); }

std::vector<Out> ReadAll(AudioDecoder& stage)
{
    std::vector<Out> all;
    while (const MEDIA_FRAME* f = stage.GetNextFrame())
        all.push_back({FrameBytes(f), f->llStartTime, f->llStopTime, f->nDuration});
    return all;
}

Bytes Joined(const std::vector<Out>& outs)
{
    Bytes all;
    for (const Out& o : outs)
        all.insert(all.end(), o.data.begin(), o.data.end());
    return all;
}

// The bytes the source holds for sample frames [first, first + count).
Bytes SourceBytes(const SyntheticAudioSource& src, int64_t first, int64_t count)
{
    const int channels = src.GetAudioInfo()->nChannels, bits = src.GetAudioInfo()->nBitsPerSample;
    Bytes out;
    for (int64_t k = first; k < first + count; ++k)
        for (int c = 0; c < channels; ++c) {
            const unsigned v = static_cast<uint16_t>(src.Sample(k, c)); // little-endian
            out.push_back(static_cast<unsigned char>(v));
            if (bits == 16)
                out.push_back(static_cast<unsigned char>(v >> 8));
        }
    return out;
}

SyntheticAudioConfig Ramp(int64_t totalFrames, std::vector<int> blockFrames, int bits = 16)
{
    SyntheticAudioConfig cfg; // stereo at 44100
    cfg.totalFrames = totalFrames;
    cfg.blockFrames = std::move(blockFrames);
    cfg.bitsPerSample = bits;
    cfg.waveform = SyntheticAudioConfig::Ramp;
    return cfg;
}

// Captures the messages; starts the process-wide counter of small discards
// and the resampler carry at 0.
class AudioStageTest : public ::testing::Test {
protected:
    void SetUp() override
    {
        dp_audio::SetSmallDiscardCount(0);
        dp_audio::SetResamplerCarry(0.0);
        OrvLogSetSink([](void* ctx, const char* line) { static_cast<Lines*>(ctx)->push_back(line); }, &lines);
    }
    void TearDown() override { OrvLogSetSink(nullptr, nullptr); }
    Lines lines;
};

TEST_F(AudioStageTest, TimelineIsContinuousAndSampleExact)
{
    // What comes out, in order: `repeat` frames of `frames` source sample
    // frames each from `first` on, or (first < 0) `frames` bytes of filler.
    struct Piece { int64_t first, frames; int repeat = 1; };
    struct Row {
        const char* name;
        SyntheticAudioShift shift;
        double seek; // 0: none
        std::vector<Piece> out;
        Lines messages;
        int blockFrames = 1024, totalFrames = 20 * 1024, bits = 16;
        int64_t streamStart = 0, timeOffset = 0;
    };
    const Row rows[] = {
        // 15 ms late: inside the tolerance of 16-bit audio. The stamps,
        // which start at the origin of 5 s, are replaced from 0.
        {"late 16-bit", {4, 150000}, 0.0, {{0, 1024, 20}}, {}, 1024, 20 * 1024, 16, 50000000},
        // Kept deliberately: the tolerance compares samples with bytes per
        // second, so it is only 10 ms for 8-bit audio.
        {"late 8-bit", {4, 150000}, 0.0, {{0, 1024, 4}, {-1, 1322}, {4096, 1024, 16}},
         {"AudioEvenProcess:: Fill Blank Audio Data [0.01 sec/1322 bytes] before 5.11 sec."}, 1024, 20 * 1024, 8,
         50000000},
        {"one-second hole", {10, 10000000}, 0.0, {{0, 1024, 10}, {-1, 176400}, {10240, 1024, 10}},
         {"AudioEvenProcess:: Fill Blank Audio Data [1.00 sec/176400 bytes] before 1.23 sec."}},
        // The stream's time offset maps every stamp half a second later.
        {"time offset", {0, 0}, 0.0, {{-1, 88200}, {0, 1024, 20}},
         {"AudioEvenProcess:: Fill Blank Audio Data [0.50 sec/88200 bytes] before 3.00 sec."}, 1024, 20 * 1024, 16,
         30000000, 5000000},
        // The source goes to 0.0, the clock to -2 s; the byte count starts
        // at trunc(-88200 + 0.5) * 2 * 2 = -352796.
        {"negative seek", {0, 0}, -2.0, {{-1, 352796}, {0, 1024, 20}},
         {"AudioEvenProcess:: Fill Blank Audio Data [2.00 sec/352796 bytes] before 0.00 sec."}},
        // Block 10 (100 ms) stamped 50 ms early is cut at the exact sample.
        // Kept deliberately: the same block then comes out again whole,
        // which puts the data 100 ms ahead: block 11 is thrown away whole.
        {"overlap inside a block", {10, -500000}, 0.0, {{0, 4410, 10}, {46305, 2205}, {44100, 4410}, {52920, 4410, 8}},
         {"AudioEvenProcess::Throw away Audio Data [0.050 sec/8820 bytes] before 0.95 sec.",
          "AudioEvenProcess::Throw away Audio Data [0.100 sec/17640 bytes] before 1.05 sec."}, 4410, 20 * 4410},
        // 100 ms early: block 10 goes whole (logged), 11 to 13 silently,
        // block 14 is cut 314 frames in; no repeat on this path.
        {"overlap across blocks", {10, -1000000}, 0.0, {{0, 1024, 10}, {14650, 710}, {15360, 1024, 5}},
         {"AudioEvenProcess::Throw away Audio Data [0.023 sec/4096 bytes] before 0.13 sec."}},
        // The discard runs into the end of the source: the stream ends.
        {"discard into the end", {7, -10000000}, 0.0, {{0, 1024, 7}},
         {"AudioEvenProcess::Throw away Audio Data [0.023 sec/4096 bytes] before -0.84 sec."}, 1024, 8 * 1024},
        // The source goes back to 9.5 s; everything before 10.0 s is thrown
        // away and the block that straddles it is cut at the exact sample.
        {"seek", {0, 0}, 10.0, {{441000, 344}, {441344, 1024, 42}, {484352, 748}},
         {"AudioEvenProcess::Throw away Audio Data [0.023 sec/4096 bytes] before 9.50 sec."}, 1024, 11 * 44100},
        // 1.5 s blocks: the first one read (from 9.0 s) holds 10.0 s. It is
        // cut, then (kept deliberately) comes out again whole.
        {"seek into a long block", {0, 0}, 10.0, {{441000, 22050}, {396900, 66150}},
         {"AudioEvenProcess::Throw away Audio Data [1.000 sec/176400 bytes] before 9.00 sec.",
          "AudioEvenProcess::Throw away Audio Data [1.500 sec/264600 bytes] before 10.50 sec."}, 66150, 8 * 66150},
    };
    for (const Row& r : rows) {
        SCOPED_TRACE(r.name);
        lines.clear();
        SyntheticAudioConfig cfg = Ramp(r.totalFrames, {r.blockFrames}, r.bits);
        cfg.streamStart = r.streamStart;
        cfg.timeOffset = r.timeOffset;
        cfg.shifts = {r.shift};
        SyntheticAudioSource src(cfg);
        AudioEvenProcess stage(&src);
        if (r.seek != 0.0) {
            EXPECT_DOUBLE_EQ(stage.AudioSeek(r.seek), r.seek);
            EXPECT_DOUBLE_EQ(src.LastSeekTime(), std::max(0.0, r.seek - 0.5));
        }
        const std::vector<Out> out = ReadAll(stage);
        const size_t align = static_cast<size_t>(r.bits / 4);
        size_t i = 0;
        for (const Piece& p : r.out) {
            for (int64_t left = p.frames; p.first < 0 && left > 0; left -= 4096, ++i) {
                ASSERT_LT(i, out.size());
                // Filler in chunks of 4096 bytes: the first repeats the last
                // sample frame handed out (silence before any), then zeros.
                Bytes frame(align, 0), want;
                if (left == p.frames && i > 0)
                    frame.assign(out[i - 1].data.end() - static_cast<ptrdiff_t>(align), out[i - 1].data.end());
                for (int64_t k = 0; k < std::min<int64_t>(left, 4096); k += static_cast<int64_t>(align))
                    want.insert(want.end(), frame.begin(), frame.end());
                EXPECT_EQ(out[i].data, want) << i;
            }
            for (int j = 0; p.first >= 0 && j < p.repeat; ++j, ++i) {
                ASSERT_LT(i, out.size());
                EXPECT_EQ(out[i].data, SourceBytes(src, p.first + j * p.frames, p.frames)) << i;
            }
        }
        EXPECT_EQ(i, out.size());
        // Every frame is stamped from the running clock (start = stop), which
        // begins at the seek time and advances by the bytes handed out.
        const double bytesPerSecond = 44100.0 * static_cast<double>(align);
        double bytes = 0;
        for (size_t k = 0; k < out.size(); ++k) {
            const double size = static_cast<double>(out[k].data.size());
            EXPECT_NEAR(static_cast<double>(out[k].start), (r.seek + bytes / bytesPerSecond) * 1e7, 1.5) << k;
            EXPECT_EQ(out[k].stop, out[k].start) << k;
            EXPECT_NEAR(out[k].duration, size / bytesPerSecond * 1e7, 0.5) << k;
            bytes += size;
        }
        EXPECT_NEAR(stage.GetOffset(), r.seek + bytes / bytesPerSecond, 1e-9);
        EXPECT_EQ(lines, r.messages);

        // The processing stage with the timeline stage in front hands out
        // the same bytes, with a conversion behind it (16 bits only) or
        // without; seeks go through to the source.
        for (int rate : {0, 44100}) {
            SyntheticAudioSource again(cfg);
            AudioProcess proc(&again, r.bits == 16 ? rate : 0, 2, 16, 1);
            if (r.seek != 0.0)
                proc.AudioSeek(r.seek);
            EXPECT_EQ(Joined(ReadAll(proc)), Joined(out)) << "processing stage at " << rate;
            EXPECT_DOUBLE_EQ(again.LastSeekTime(), src.LastSeekTime());
        }
    }
}

TEST_F(AudioStageTest, TimelineLogsEveryHundredthSmallDiscard)
{
    // 100-frame blocks (400 bytes): after each seek to 10.0 s the first
    // block read (from 9.5 s) is small and thrown away whole.
    SyntheticAudioSource src(Ramp(11 * 44100, {100}));
    AudioEvenProcess stage(&src);
    for (int i = 0; i < 250; ++i) {
        stage.AudioSeek(10.0);
        ASSERT_EQ(FrameBytes(stage.GetNextFrame()), SourceBytes(src, 441000, 100)); // the first of 10.0 s, whole
    }
    EXPECT_EQ(dp_audio::GetSmallDiscardCount(), 250);
    EXPECT_EQ(lines, (Lines{"AudioEvenProcess::Throw away Audio Data 0 [0.002 sec/400 bytes] before 9.50 sec.",
                            "AudioEvenProcess::Throw away Audio Data 100 [0.002 sec/400 bytes] before 9.50 sec.",
                            "AudioEvenProcess::Throw away Audio Data 200 [0.002 sec/400 bytes] before 9.50 sec."}));
}

TEST(ChangeVolume, ClampsToTheSignedLimits)
{
    struct Row { int volume, in, out; };
    // 16 bits: truncation toward zero, clamped to +-32767; 100 leaves even
    // -32768 alone.
    for (const Row& r : {Row{150, 30000, 32767}, Row{150, -30000, -32767}, Row{50, -3, -1}, Row{100, -32768, -32768},
                         Row{99, -32768, -32440}}) {
        short s = static_cast<short>(r.in);
        ChangeVolume16(&s, 1, r.volume);
        EXPECT_EQ(s, r.out) << r.volume << "% of " << r.in;
    }
    // Kept deliberately: 8-bit bytes are read unsigned and limited to +-127,
    // so whatever comes out above 127 is 127; the low byte is stored.
    for (const Row& r : {Row{50, 200, 100}, Row{80, 200, 127}, Row{150, 60, 90}, Row{-50, 200, 0x9C}}) {
        unsigned char b = static_cast<unsigned char>(r.in);
        ChangeVolume8(&b, 1, r.volume);
        EXPECT_EQ(b, r.out) << r.volume << "% of " << r.in;
    }
}

TEST_F(AudioStageTest, FadeRampsFollowTheStartTime)
{
    struct Row { double inStart, inLength, outStart, outLength, t; int volume, faded; }; // faded < 0: no fade
    const Row rows[] = {
        {2.0, 1.0, 0.0, 0.0, 2.5, 100, 50},  {2.0, 1.0, 0.0, 0.0, 2.0, 80, 0}, // both ends are inside
        {2.0, 1.0, 0.0, 0.0, 3.0, 100, 100}, {2.0, 1.0, 0.0, 0.0, 3.1, 100, -1},
        {0.0, 0.0, 5.0, 1.0, 5.5, 150, 75},  {0.0, 0.0, 5.0, 1.0, 6.0, 100, 0}, // the end of the fade-out
        {0.0, 0.0, 5.0, 1.0, 4.9, 100, -1},  {1.0, 0.0, 1.0, 0.0, 1.0, 100, -1}, // empty spans: no fade
    };
    SyntheticAudioSource src(Ramp(4410, {4410}));
    AudioProcess stage(&src, 0, 0, 0, 0);
    MEDIA_FRAME f{};
    const MEDIA_FRAME* p = &f;
    for (const Row& r : rows) {
        stage.FadeInOut(r.inStart, r.inLength, r.outStart, r.outLength);
        f.llStartTime = static_cast<int64_t>(r.t * 1e7 + 0.5);
        EXPECT_EQ(stage.IsFadeInOut(p), r.faded >= 0) << "at " << r.t << " s";
        EXPECT_EQ(r.faded < 0 ? -1 : stage.GetFadeInOutVolum(p, r.volume), r.faded) << "at " << r.t << " s";
    }
}

} // namespace
