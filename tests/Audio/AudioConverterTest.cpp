#include <gtest/gtest.h>

#include <cstdlib>
#include <thread>
#include <vector>

#include "AudioConverter.h"
#include "AudioSharedState.h"

namespace {

using Samples = std::vector<short>;

// Every test starts from a zero carry: the carry is process-wide, so a test
// that ran before would otherwise leak into the counts.
class AudioConverterTest : public ::testing::Test {
protected:
    void SetUp() override { dp_audio::SetResamplerCarry(0.0); }
    void TearDown() override { dp_audio::SetResamplerCarry(0.0); }
};

Samples Drain(CAudioConverter& c)
{
    Samples out(static_cast<size_t>(c.GetValidSize()));
    if (!out.empty()) {
        EXPECT_EQ(c.Get(out.data(), static_cast<int>(out.size())), static_cast<int>(out.size()));
    }
    return out;
}

Samples Convert(int src, int dst, const Samples& in, int rate = 8000)
{
    CAudioConverter c(src, dst, rate, rate, 0);
    c.Put(in.data(), static_cast<int>(in.size()));
    return Drain(c);
}

// Feeds `in` in chunks of the given sizes (the last size repeats) and
// returns everything that came out.
Samples FeedInChunks(CAudioConverter& c, const Samples& in, const std::vector<int>& sizes)
{
    Samples out;
    size_t pos = 0, k = 0;
    while (pos < in.size()) {
        const int n = static_cast<int>(std::min<size_t>(static_cast<size_t>(sizes[std::min(k, sizes.size() - 1)]),
                                                        in.size() - pos));
        c.Put(in.data() + pos, n);
        pos += static_cast<size_t>(n);
        ++k;
        const Samples got = Drain(c);
        out.insert(out.end(), got.begin(), got.end());
    }
    return out;
}

TEST_F(AudioConverterTest, EqualFormatsCopyAndCountUp)
{
    CAudioConverter c(2, 2, 44100, 44100, 0);
    const Samples a{1, -2, 3, -4};
    EXPECT_EQ(c.Put(a.data(), 4), 4);
    EXPECT_EQ(c.Put(a.data(), 3), 7); // a partial frame is copied as it is
    EXPECT_EQ(c.Put(a.data(), 0), 7);
    EXPECT_EQ(c.GetFreeSize(), 262144 - 7);
    EXPECT_EQ(Drain(c), (Samples{1, -2, 3, -4, 1, -2, 3}));
    EXPECT_DOUBLE_EQ(dp_audio::GetResamplerCarry(), 0.0);
}

TEST_F(AudioConverterTest, EveryListedChannelPairAtEqualRates)
{
    // Divisions truncate toward zero, each term on its own.
    EXPECT_EQ(Convert(1, 2, {5, -7}), (Samples{5, 5, -7, -7}));
    EXPECT_EQ(Convert(1, 6, {5}), (Samples{5, 5, 0, 0, 0, 0}));
    EXPECT_EQ(Convert(2, 1, {-3, -3, -1, -1, 3, 4}), (Samples{-2, 0, 3}));
    EXPECT_EQ(Convert(2, 1, {-32768, -32768, 32767, 32767}), (Samples{-32768, 32766}));
    EXPECT_EQ(Convert(2, 1, {2, 2, 9}), (Samples{2})); // trailing partial frame dropped
    EXPECT_EQ(Convert(2, 6, {1, 2}), (Samples{1, 2, 0, 0, 0, 0}));
    // 300/2 + 100/2 + 200/2 + 400/2 + 500/4 + 600/4
    EXPECT_EQ(Convert(6, 1, {100, 200, 300, 400, 500, 600}), (Samples{775}));
    // FL + C/2 + LFE/2 + SL/4 and FR + C/2 + LFE/2 + SR/4
    EXPECT_EQ(Convert(6, 2, {100, 200, 300, 400, 500, 600}), (Samples{575, 700}));
    EXPECT_EQ(Convert(7, 1, {7, 14, 21, 28, 35, -7, 6}), (Samples{14}));
    // Three channels to the left, four to the right; no clip, so the right
    // side of a full negative frame reaches -32768.
    EXPECT_EQ(Convert(7, 2, {3, 6, 9, 4, 8, 12, 16}), (Samples{6, 10}));
    EXPECT_EQ(Convert(7, 2, Samples(7, -32768)), (Samples{-32766, -32768}));
    EXPECT_EQ(Convert(7, 6, {1, 2, 3, 4, 5, 6, 7}), (Samples{1, 2, 3, 4, 5, 6}));
    EXPECT_EQ(Convert(8, 1, {8, 16, 24, 32, 40, 48, 56, 64}), (Samples{36}));
    EXPECT_EQ(Convert(8, 2, {4, 8, 12, 16, 20, 24, 28, 32}), (Samples{10, 26}));
    EXPECT_EQ(Convert(8, 6, {1, 2, 3, 4, 5, 6, 7, 8}), (Samples{1, 2, 3, 4, 5, 6}));
}

TEST_F(AudioConverterTest, SixChannelDownMixesClip)
{
    EXPECT_EQ(Convert(6, 2, Samples(6, 30000)), (Samples{32767, 32767}));
    EXPECT_EQ(Convert(6, 2, Samples(6, -30000)), (Samples{-32767, -32767}));
    EXPECT_EQ(Convert(6, 1, Samples(6, 30000)), (Samples{32767}));
    EXPECT_EQ(Convert(6, 1, Samples(6, -32768)), (Samples{-32767}));
}

TEST_F(AudioConverterTest, UnlistedPairsGiveSilenceOfTheSameCount)
{
    EXPECT_EQ(Convert(5, 2, Samples(10, 1000)), Samples(10, 0));
    EXPECT_EQ(Convert(3, 1, Samples(9, 1000)), Samples(9, 0));
    EXPECT_EQ(Convert(2, 4, Samples(8, 1000)), Samples(8, 0));

    // Resampled: 2205 samples of 5 channels at 44100 become 2400 silent
    // samples of 2 channels at 48000.
    CAudioConverter c(5, 2, 44100, 48000, 0);
    const Samples in(2205, 12345);
    EXPECT_EQ(c.Put(in.data(), 2205), 2400);
    EXPECT_EQ(Drain(c), Samples(2400, 0));
}

TEST_F(AudioConverterTest, UpsamplingInterpolatesFromTheHistory)
{
    // Ratio 0.5: output frame i sits at input position (i + 1) / 2 - 1, so
    // the first one lies halfway between the zero history and the first
    // input, and the last one on the last input.
    CAudioConverter c(1, 1, 1000, 2000, 0);
    const Samples a{100, 200, 300, 400};
    EXPECT_EQ(c.Put(a.data(), 4), 8);
    EXPECT_EQ(Drain(c), (Samples{50, 100, 150, 200, 250, 300, 350, 400}));
    // The next call starts from the last frame of this one.
    const Samples b{500, 600};
    EXPECT_EQ(c.Put(b.data(), 2), 4);
    EXPECT_EQ(Drain(c), (Samples{450, 500, 550, 600}));
    // Reset empties the FIFO but keeps the history.
    c.Put(a.data(), 1);
    c.Reset();
    EXPECT_EQ(c.GetValidSize(), 0);
    c.Put(b.data(), 1);
    EXPECT_EQ(Drain(c), (Samples{300, 500}));

    // Per channel in a stereo stream.
    CAudioConverter s(2, 2, 1000, 2000, 0);
    const Samples st{100, -100, 300, -300};
    EXPECT_EQ(s.Put(st.data(), 4), 8);
    EXPECT_EQ(Drain(s), (Samples{50, -50, 100, -100, 200, -200, 300, -300}));
}

TEST_F(AudioConverterTest, DownsamplingPicksTheEndOfEachShare)
{
    CAudioConverter c(1, 1, 2000, 1000, 0);
    const Samples a{10, 20, 30, 40, 50, 60, 70, 80};
    EXPECT_EQ(c.Put(a.data(), 8), 4);
    EXPECT_EQ(Drain(c), (Samples{20, 40, 60, 80}));
    // Seven samples round up to four outputs and leave a carry of -1.
    EXPECT_EQ(c.Put(a.data(), 7), 4);
    EXPECT_DOUBLE_EQ(dp_audio::GetResamplerCarry(), -1.0);
    // positions 0.75, 2.5, 4.25, 6
    EXPECT_EQ(Drain(c), (Samples{17, 35, 52, 70}));
}

TEST_F(AudioConverterTest, FortyFourOneToFortyEight)
{
    Samples in(441);
    for (int i = 0; i < 441; ++i)
        in[static_cast<size_t>(i)] = static_cast<short>(1000 + 50 * i);
    CAudioConverter c(1, 1, 44100, 48000, 0);
    // trunc(441 / 0.91875 + 0.5) = 480
    EXPECT_EQ(c.Put(in.data(), 441), 480);
    const Samples out = Drain(c);
    ASSERT_EQ(out.size(), 480u);
    // Output 0 sits at input position 441/480 - 1 = -0.08125: between the
    // zero history and the first sample, 0.91875 of the way.
    EXPECT_EQ(out[0], 918);
    EXPECT_EQ(out[479], in[440]);
    EXPECT_EQ(out[1], 1041); // 1000 + trunc(0.8375 * 50)
    for (size_t i = 2; i < out.size(); ++i) {
        EXPECT_GE(out[i], out[i - 1]);
        EXPECT_LE(out[i] - out[i - 1], 50);
    }
}

TEST_F(AudioConverterTest, SmallCallsTrackTheRateRatio)
{
    struct Case {
        int channels, srcRate, dstRate;
    };
    for (const Case& k : {Case{1, 44100, 48000}, Case{2, 48000, 44100}, Case{2, 22050, 48000}, Case{6, 44100, 32000}}) {
        dp_audio::SetResamplerCarry(0.0);
        CAudioConverter c(k.channels, k.channels, k.srcRate, k.dstRate, 0);
        const Samples frame(static_cast<size_t>(k.channels), 100);
        long long total = 0;
        const int calls = k.srcRate; // one second, one input frame per call
        for (int i = 0; i < calls; ++i) {
            c.Put(frame.data(), k.channels);
            total += c.GetValidSize();
            c.Reset();
        }
        const long long expected = static_cast<long long>(k.dstRate) * k.channels;
        EXPECT_LE(std::llabs(total - expected), k.channels) << k.srcRate << " -> " << k.dstRate;
    }
}

TEST_F(AudioConverterTest, ChunkingLeavesExactRatiosUnchanged)
{
    // Where every call yields whole output frames at fixed input positions
    // (equal rates, or an integer up-sampling ratio), the output does not
    // depend on how the input is cut: the history carries the last frame
    // from call to call.
    Samples in(600);
    for (size_t i = 0; i < in.size(); ++i)
        in[i] = static_cast<short>((static_cast<int>(i) * 7919) % 20011 - 10000);
    const int n = static_cast<int>(in.size());
    const std::vector<std::vector<int>> cuts{{1}, {2}, {7}, {n - 3, 3}, {n}};

    {
        CAudioConverter whole(1, 1, 1000, 2000, 0);
        const Samples ref = FeedInChunks(whole, in, {n});
        ASSERT_EQ(ref.size(), 1200u);
        for (const auto& cut : cuts) {
            CAudioConverter c(1, 1, 1000, 2000, 0);
            EXPECT_EQ(FeedInChunks(c, in, cut), ref) << "chunks of " << cut[0];
        }
    }
    {
        // Channel conversion alone: chunks of whole stereo frames.
        const Samples ref = Convert(2, 1, in);
        for (const auto& cut : std::vector<std::vector<int>>{{2}, {8}, {n - 4, 4}, {n}}) {
            CAudioConverter c(2, 1, 8000, 8000, 0);
            EXPECT_EQ(FeedInChunks(c, in, cut), ref) << "chunks of " << cut[0];
        }
        // A chunk that splits a frame drops that frame (and shifts the
        // pairing of all that follow), so odd chunks differ.
        CAudioConverter c(2, 1, 8000, 8000, 0);
        EXPECT_NE(FeedInChunks(c, in, {7}), ref);
    }
}

TEST_F(AudioConverterTest, ChunkingMovesInterpolationPointsAtOtherRatios)
{
    // At 44100 -> 48000 each call aligns its last output frame with its last
    // input frame, so the interpolation points depend on the cut and the
    // samples differ. What holds for every cut: the count stays within one
    // sample of the whole-signal count (the carry takes the remainder), and
    // every call's last output is its last input sample.
    Samples in(441);
    for (size_t i = 0; i < in.size(); ++i)
        in[i] = static_cast<short>(static_cast<int>(i) * 60 - 13000);
    const int n = static_cast<int>(in.size());
    for (const std::vector<int>& cut : std::vector<std::vector<int>>{{1}, {2}, {7}, {n - 3, 3}}) {
        dp_audio::SetResamplerCarry(0.0);
        CAudioConverter c(1, 1, 44100, 48000, 0);
        size_t pos = 0, k = 0;
        long long total = 0;
        while (pos < in.size()) {
            const int len = std::min(cut[std::min(k, cut.size() - 1)], n - static_cast<int>(pos));
            c.Put(in.data() + pos, len);
            pos += static_cast<size_t>(len);
            ++k;
            const Samples got = Drain(c);
            if (!got.empty()) {
                EXPECT_EQ(got.back(), in[pos - 1]);
            }
            total += static_cast<long long>(got.size());
        }
        EXPECT_LE(std::llabs(total - 480), 1) << "chunks of " << cut[0];
    }
}

TEST_F(AudioConverterTest, SharedCarryCrossesConverters)
{
    // The carry belongs to the process, not to a converter: what one
    // converter leaves changes the count of the next, even at equal rates.
    dp_audio::SetResamplerCarry(0.6);
    CAudioConverter mix(2, 1, 8000, 8000, 0);
    const Samples st{10, 10, 20, 20};
    // trunc(0.6 + 2 + 0.5) = 3: two converted samples and one stale slot
    // (zero in a fresh FIFO).
    EXPECT_EQ(mix.Put(st.data(), 4), 3);
    EXPECT_NEAR(dp_audio::GetResamplerCarry(), -0.4, 1e-12);
    EXPECT_EQ(Drain(mix), (Samples{10, 20, 0}));

    // Two resamplers interleaved: the remainder one leaves is realised by
    // the other at its own ratio, so neither count need match its own ratio;
    // what holds is the input they consumed together: out_a x r_a + out_b x
    // r_b = inputs - carry.
    dp_audio::SetResamplerCarry(0.0);
    CAudioConverter a(1, 1, 44100, 48000, 0), b(1, 1, 48000, 44100, 0);
    const Samples one{100};
    long long ta = 0, tb = 0;
    for (int i = 0; i < 44100; ++i) {
        ta += a.Put(one.data(), 1);
        a.Reset();
        if (i < 48000) {
            tb += b.Put(one.data(), 1);
            b.Reset();
        }
    }
    for (int i = 44100; i < 48000; ++i) {
        tb += b.Put(one.data(), 1);
        b.Reset();
    }
    const double consumed = ta * (44100.0 / 48000) + tb * (48000.0 / 44100);
    EXPECT_NEAR(consumed, 44100 + 48000, 2.0);
    EXPECT_NEAR(consumed, 44100 + 48000 - dp_audio::GetResamplerCarry(), 1e-6);
}

TEST_F(AudioConverterTest, GetTakesOnlyWhatIsValid)
{
    CAudioConverter c(1, 1, 8000, 8000, 0);
    const Samples a{1, 2, 3, 4, 5};
    c.Put(a.data(), 5);
    Samples out(8, -1);
    EXPECT_EQ(c.Get(out.data(), 2), 2);
    EXPECT_EQ(c.GetValidSize(), 3);
    EXPECT_EQ(c.Get(out.data() + 2, 100), 3);
    EXPECT_EQ(out, (Samples{1, 2, 3, 4, 5, -1, -1, -1}));
    EXPECT_EQ(c.Get(out.data(), 4), 0);
    EXPECT_EQ(c.Get(out.data(), 0), 0);
    EXPECT_EQ(c.Get(nullptr, 4), 0);
}

TEST_F(AudioConverterTest, GrowthRuleAndUpMixesBeyondTheEstimate)
{
    // Equal formats: the estimate is 2 x 60 = 120 samples, more than the
    // 100 there are, so both buffers grow by 2 x 120 + 4096.
    CAudioConverter c(1, 1, 8000, 8000, 100);
    const Samples a(60, 7);
    EXPECT_EQ(c.Put(a.data(), 60), 60);
    EXPECT_EQ(c.GetFreeSize(), 100 + 4336 - 60);
    EXPECT_EQ(c.Put(a.data(), 60), 120);
    EXPECT_EQ(Drain(c), Samples(120, 7));

    // 1 -> 6: the estimate ignores the six-fold work area; the buffers
    // still take the whole result.
    CAudioConverter up(1, 6, 8000, 8000, 20000);
    Samples in(2000);
    for (size_t i = 0; i < in.size(); ++i)
        in[i] = static_cast<short>(i);
    EXPECT_EQ(up.Put(in.data(), 2000), 12000);
    const Samples out = Drain(up);
    ASSERT_EQ(out.size(), 12000u);
    for (size_t f = 0; f < 2000; ++f) {
        ASSERT_EQ(out[6 * f], in[f]);
        ASSERT_EQ(out[6 * f + 1], in[f]);
        ASSERT_EQ(out[6 * f + 5], 0);
    }
}

TEST_F(AudioConverterTest, MissingOrNegativeInputDoesNothing)
{
    CAudioConverter c(2, 1, 44100, 48000, 0);
    EXPECT_EQ(c.Put(nullptr, 10), 0);
    EXPECT_EQ(c.Put(nullptr, 0), 0);
    const Samples a{1, 1};
    EXPECT_EQ(c.Put(a.data(), -4), 0);
    EXPECT_EQ(c.ConvertData(nullptr, 3), 0);
}

TEST(IntermixAudio, LimiterDropsAtOnceAndRecoversSlowly)
{
    const int n = 120000;
    std::vector<short> a(n, 10000), b(n, 10000);
    a[0] = b[0] = 30000;
    short* src[2] = {a.data(), b.data()};
    std::vector<short> out(n, 0);
    EXPECT_EQ(IntermixAudio(src, 2, n, out.data()), 0);
    EXPECT_EQ(out[0], 32767); // gain drops to 32767 / 60000
    // trunc(20000 * (32767/60000 + 2/441000))
    EXPECT_EQ(out[1], 10922);
    for (int i = 2; i < n; ++i)
        ASSERT_GE(out[i], out[i - 1]);
    // (1 - 0.546) / (2/441000) ~ 103000 samples later the gain is back.
    EXPECT_EQ(out[n - 1], 20000);
    EXPECT_LT(out[100000], 20000);

    std::vector<short> c(4, -30000), d(4, -30000);
    short* neg[2] = {c.data(), d.data()};
    IntermixAudio(neg, 2, 4, out.data());
    EXPECT_EQ(out[0], -32767);
    EXPECT_EQ(out[1], -32767);

    out[0] = 5;
    EXPECT_EQ(IntermixAudio(nullptr, 2, 4, out.data()), 0);
    EXPECT_EQ(IntermixAudio(src, 0, 4, out.data()), 0);
    EXPECT_EQ(out[0], 5);
}

TEST(AudioConverterThreads, TwoConvertersOnTwoThreadsShareTheCarryRaceFree)
{
    // Each call reads and updates the carry as one step, so the carry
    // stays bounded however the calls interleave.
    dp_audio::SetResamplerCarry(0.0);
    auto run = [](int srcRate, int dstRate, long long* total) {
        CAudioConverter c(2, 2, srcRate, dstRate, 0);
        const Samples frame{100, -100, 200, -200, 300, -300};
        for (int i = 0; i < 20000; ++i) {
            *total += c.Put(frame.data(), 6);
            c.Reset();
        }
    };
    long long t1 = 0, t2 = 0;
    std::thread a(run, 44100, 48000, &t1), b(run, 48000, 44100, &t2);
    a.join();
    b.join();
    const double carry = dp_audio::GetResamplerCarry();
    EXPECT_LT(std::abs(carry), 8.0);
    // No update was lost: the input consumed by both equals what was fed,
    // less the carry.
    const double consumed = t1 * (44100.0 / 48000) + t2 * (48000.0 / 44100);
    EXPECT_NEAR(consumed, 2 * 20000 * 6 - carry, 1e-6);
    dp_audio::SetResamplerCarry(0.0);
}

} // namespace
