#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <thread>
#include <vector>

#include "AudioConverter.h"
#include "AudioSharedState.h"

namespace {

using Samples = std::vector<short>;

Samples operator+(Samples a, const Samples& b)
{
    a.insert(a.end(), b.begin(), b.end());
    return a;
}

// The resampler carry belongs to the process: every test starts from zero
// so that what one test leaves does not change the counts of the next.
class AudioConverterTest : public ::testing::Test {
protected:
    void SetUp() override { dp_audio::SetResamplerCarry(0.0); }
    void TearDown() override { dp_audio::SetResamplerCarry(0.0); }
};

Samples Drain(CAudioConverter& c)
{
    Samples out(static_cast<size_t>(c.GetValidSize()));
    EXPECT_EQ(c.Get(out.data(), static_cast<int>(out.size())), static_cast<int>(out.size()));
    return out;
}

// Feeds `in` in chunks of the given sizes (the last size repeats), draining
// after every call. With endsOnInput, each call's last output sample must be
// its last input sample.
Samples FeedInChunks(CAudioConverter& c, const Samples& in, const std::vector<int>& sizes, bool endsOnInput = false)
{
    Samples out;
    for (size_t pos = 0, k = 0; pos < in.size(); ++k) {
        const size_t n = std::min(static_cast<size_t>(sizes[std::min(k, sizes.size() - 1)]), in.size() - pos);
        c.Put(in.data() + pos, static_cast<int>(n));
        pos += n;
        const Samples got = Drain(c);
        if (endsOnInput && !got.empty()) {
            EXPECT_EQ(got.back(), in[pos - 1]);
        }
        out = out + got;
    }
    return out;
}

// Puts `calls` times the same input, emptying the FIFO after each call;
// returns the sum of the counts.
long long PutOneByOne(CAudioConverter& c, const Samples& in, int calls)
{
    long long total = 0;
    for (int i = 0; i < calls; ++i, c.Reset())
        total += c.Put(in.data(), static_cast<int>(in.size()));
    return total;
}

Samples Convert(int src, int dst, const Samples& in)
{
    CAudioConverter c(src, dst, 8000, 8000, 0);
    return FeedInChunks(c, in, {static_cast<int>(in.size())});
}

TEST_F(AudioConverterTest, EveryChannelPairAtEqualRates)
{
    // Every division truncates toward zero, term by term. Only the
    // six-channel down-mixes clip (to +-32767). A trailing partial frame is
    // dropped, but copied as it is when the formats are equal.
    const short kMin = -32768, kMax = 32767;
    struct Row { int src, dst; Samples in, out; };
    const Row rows[] = {
        {2, 2, {1, -2, 3}, {1, -2, 3}}, // equal formats
        {1, 2, {5, -7}, {5, 5, -7, -7}},
        {1, 6, {5}, {5, 5, 0, 0, 0, 0}},
        {2, 1, {-3, -3, kMin, kMin, kMax, kMax, 9}, {-2, kMin, 32766}},
        {2, 6, {1, 2}, {1, 2, 0, 0, 0, 0}},
        // C/2 + FL/2 + FR/2 + LFE/2 + SL/4 + SR/4
        {6, 1, Samples{100, 200, 300, 400, 500, 600} + Samples(6, 30000) + Samples(6, kMin), {775, kMax, -kMax}},
        // FL + C/2 + LFE/2 + SL/4 and FR + C/2 + LFE/2 + SR/4
        {6, 2, Samples{100, 200, 300, 400, 500, 600} + Samples(6, 30000) + Samples(6, -30000),
         {575, 700, kMax, kMax, -kMax, -kMax}},
        {7, 1, {7, 14, 21, 28, 35, -7, 6}, {14}},
        // Kept as it is: three channels to the left, four to the right, and
        // no clip, so a full negative frame reaches -32768 on the right.
        {7, 2, Samples{3, 6, 9, 4, 8, 12, 16} + Samples(7, kMin), {6, 10, -32766, kMin}},
        {7, 6, {1, 2, 3, 4, 5, 6, 7}, {1, 2, 3, 4, 5, 6}},
        {8, 1, {8, 16, 24, 32, 40, 48, 56, 64}, {36}},
        {8, 2, {4, 8, 12, 16, 20, 24, 28, 32}, {10, 26}},
        {8, 6, {1, 2, 3, 4, 5, 6, 7, 8}, {1, 2, 3, 4, 5, 6}},
        // Unlisted pairs: silence of the same count.
        {5, 2, Samples(10, 1000), Samples(10, 0)},
        {2, 4, Samples(8, 1000), Samples(8, 0)},
    };
    for (const Row& r : rows) {
        SCOPED_TRACE(testing::Message() << r.src << " -> " << r.dst);
        EXPECT_EQ(Convert(r.src, r.dst, r.in), r.out);
    }

    // The five-channel fallback resamples its silence: 2205 samples at
    // 44100 become 2400 at 48000.
    CAudioConverter c(5, 2, 44100, 48000, 0);
    const Samples in(2205, 12345);
    EXPECT_EQ(c.Put(in.data(), 2205), 2400);
    EXPECT_EQ(Drain(c), Samples(2400, 0));
}

TEST_F(AudioConverterTest, ResamplingInterpolatesFromTheHistory)
{
    // Output frame i sits at input position (i + 1) * n / out - 1, so the
    // last output of a call lands on its last input, and position -1 is the
    // last frame of the previous call (silence in a fresh converter).
    struct Step { Samples in, out; };
    struct Case { int channels, srcRate, dstRate; std::vector<Step> steps; };
    const Case cases[] = {
        {1, 1000, 2000,
         {{{100, 200, 300, 400}, {50, 100, 150, 200, 250, 300, 350, 400}}, {{500, 600}, {450, 500, 550, 600}}}},
        {2, 1000, 2000, {{{100, -100, 300, -300}, {50, -50, 100, -100, 200, -200, 300, -300}}}},
        // Seven samples round up to four outputs (positions 0.75, 2.5, 4.25
        // and 6) and leave a carry of -1.
        {1, 2000, 1000,
         {{{10, 20, 30, 40, 50, 60, 70, 80}, {20, 40, 60, 80}}, {{10, 20, 30, 40, 50, 60, 70}, {17, 35, 52, 70}}}},
    };
    for (const Case& k : cases) {
        SCOPED_TRACE(testing::Message() << k.channels << " channels, " << k.srcRate << " -> " << k.dstRate);
        dp_audio::SetResamplerCarry(0.0);
        CAudioConverter c(k.channels, k.channels, k.srcRate, k.dstRate, 0);
        for (const Step& s : k.steps) {
            EXPECT_EQ(c.Put(s.in.data(), static_cast<int>(s.in.size())), static_cast<int>(s.out.size()));
            EXPECT_EQ(Drain(c), s.out);
            c.Reset(); // keeps the history
        }
    }
    EXPECT_DOUBLE_EQ(dp_audio::GetResamplerCarry(), -1.0);
}

TEST_F(AudioConverterTest, CarryLeftByAnotherRateChangesAnEqualRateCount)
{
    // Kept deliberately: the carry is the process's, not the converter's,
    // so even an equal-rate conversion counts it in: trunc(0.6 + 2 + 0.5) = 3
    // is two converted samples and one stale slot (zero in a fresh FIFO).
    dp_audio::SetResamplerCarry(0.6);
    CAudioConverter mix(2, 1, 8000, 8000, 0);
    const Samples st{10, 10, 20, 20};
    EXPECT_EQ(mix.Put(st.data(), 4), 3);
    EXPECT_NEAR(dp_audio::GetResamplerCarry(), -0.4, 1e-12);
    EXPECT_EQ(Drain(mix), (Samples{10, 20, 0}));
}

TEST_F(AudioConverterTest, GetTakesOnlyWhatIsValid)
{
    CAudioConverter c(1, 1, 8000, 8000, 0);
    const Samples a{1, 2, 3, 4, 5};
    EXPECT_EQ(c.Put(a.data(), 3), 3);
    EXPECT_EQ(c.Put(a.data() + 3, 2), 5); // equal formats: copied, counted up
    Samples out(8, -1); // sentinels behind what may be written
    EXPECT_EQ(c.Get(out.data(), 2), 2);
    EXPECT_EQ(c.Get(out.data() + 2, 100), 3);
    EXPECT_EQ(out, (Samples{1, 2, 3, 4, 5, -1, -1, -1}));
    EXPECT_EQ(c.Get(out.data(), 4), 0);
    // Missing or negative input does nothing.
    EXPECT_EQ(c.Get(nullptr, 4) + c.Put(nullptr, 10) + c.Put(a.data(), -4) + c.ConvertData(nullptr, 3), 0);
}

TEST(AudioConverterThreads, TwoConvertersOnTwoThreadsShareTheCarryRaceFree)
{
    dp_audio::SetResamplerCarry(0.0);
    long long total[2] = {0, 0};
    auto run = [&total](int k, int srcRate, int dstRate) {
        CAudioConverter c(2, 2, srcRate, dstRate, 0);
        total[k] = PutOneByOne(c, {100, -100, 200, -200, 300, -300}, 20000);
    };
    std::thread a(run, 0, 44100, 48000), b(run, 1, 48000, 44100);
    a.join();
    b.join();
    // Each call reads and updates the carry as one step: it stays bounded
    // and no update is lost, so the input both consumed equals what was fed
    // less the carry.
    const double carry = dp_audio::GetResamplerCarry();
    EXPECT_LT(std::abs(carry), 8.0);
    EXPECT_NEAR(total[0] * (44100.0 / 48000) + total[1] * (48000.0 / 44100), 2 * 20000 * 6 - carry, 1e-6);
    dp_audio::SetResamplerCarry(0.0);
}

} // namespace
