#include <gtest/gtest.h>

#include <cstring>

#include "SyntheticAudioSource.h"

namespace {

TEST(SyntheticAudioSource, LayoutStampsShiftsAndSeek)
{
    SyntheticAudioConfig cfg;
    cfg.sampleRate = 1000;
    cfg.channels = 6;
    cfg.totalFrames = 1000;
    cfg.blockFrames = {100, 250, 7}; // repeated: 357 per cycle, then 100 and the 186 left
    cfg.waveform = SyntheticAudioConfig::Ramp;
    cfg.streamStart = 30000000; // stream time = stamp - start + offset
    cfg.timeOffset = 10000000;
    cfg.shifts = {{3, 2000000}, {6, -500000}}; // a hole before block 3, an overlap at 6
    cfg.stopAtEnd = true;
    SyntheticAudioSource src(cfg);

    // The 888-byte stream record: the AudioInfo at byte 836, the stream
    // times at 864 and 872; GetAudioInfo points into it, as a host
    // decoder's does.
    const unsigned char* raw = reinterpret_cast<const unsigned char*>(src.GetAudioStreamInfo());
    const int32_t info[4] = {1000, 6, 16, 12000};
    const int64_t times[2] = {30000000, 10000000};
    EXPECT_EQ(std::memcmp(raw + 836, info, sizeof info), 0);
    EXPECT_EQ(std::memcmp(raw + 864, times, sizeof times), 0);
    EXPECT_EQ(reinterpret_cast<const unsigned char*>(src.GetAudioInfo()), raw + 836);

    ASSERT_EQ(src.BlockCount(), 8);
    const int frames[] = {100, 250, 7, 100, 250, 7, 100, 186};
    const int64_t shift[] = {0, 0, 0, 2000000, 2000000, 2000000, 1500000, 1500000};
    int64_t first = 0;
    for (int b = 0; b < 8; ++b) {
        SCOPED_TRACE(b);
        const MEDIA_FRAME* f = src.GetNextFrame();
        ASSERT_NE(f, nullptr);
        EXPECT_EQ(f->nDataSize, frames[b] * 12);
        EXPECT_EQ(f->llStartTime, 30000000 + first * 10000 + shift[b]);
        EXPECT_EQ(f->llStopTime, f->llStartTime + frames[b] * 10000);
        EXPECT_EQ(f->nDuration, frames[b] * 10000);
        int16_t last;
        std::memcpy(&last, f->pData + f->nDataSize - 2, sizeof last);
        EXPECT_EQ(last, src.Sample(first + frames[b] - 1, 5));
        first += frames[b];
    }
    EXPECT_EQ(src.GetNextFrame(), nullptr);

    // Seek goes to the block holding the time and returns its time; before
    // the first block, the first; at the end, nothing more.
    EXPECT_NEAR(src.AudioSeek(1.5), 1.35, 1e-9);
    EXPECT_EQ(src.NextBlock(), 2);
    EXPECT_DOUBLE_EQ(src.LastSeekTime(), 1.5);
    EXPECT_NEAR(src.AudioSeek(-3.0), 1.0, 1e-9);
    EXPECT_EQ(src.NextBlock(), 0);
    EXPECT_NEAR(src.AudioSeek(2.5), 2.15, 1e-9);
    EXPECT_EQ(src.GetNextFrame(), nullptr);
    EXPECT_EQ(src.SeekCalls(), 3);
}

} // namespace
