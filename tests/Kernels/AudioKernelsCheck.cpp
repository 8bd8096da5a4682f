// The audio twins against their references: the rate stage, the 6 -> 2 mix
// and the volume kernels slot by slot, and whole converters of every
// channel pair fed in several chunkings, at every SIMD level.
#include <algorithm>
#include <cstring>

#include "AudioConverter.h"
#include "AudioKernels.h"
#include "AudioSharedState.h"
#include "KernelCheck.h"

namespace {

// Random 16-bit samples with the extremes mixed in.
void RandomSamples(EdgeBuffer& b, std::mt19937& rng)
{
    b.Random(rng);
    for (size_t i = 0; i + 1 < b.size(); i += 14) {
        b.data()[i] = 0x00;
        b.data()[i + 1] = (i & 16) ? 0x80 : 0x7F; // -32768 or 32512
    }
}

TEST(AudioKernelsCheck, RateStageEqualsReference)
{
    std::mt19937 rng(21);
    for (int ch : {1, 2, 3}) {
        // (input frames, output frames): up, down, equal, and across chunks.
        for (auto [inFrames, outFrames] : {std::pair{441, 480}, {480, 441}, {7, 9}, {9, 7}, {1, 1}, {1, 3}, {600, 653},
                                           {1024, 1115}, {3000, 1000}}) {
            const long long n = static_cast<long long>(inFrames) * ch, out = static_cast<long long>(outFrames) * ch;
            // History frame, the input, and the two cleared frames behind it
            // (the last output frame reads the first of them): exactly what
            // the stage provides.
            EdgeBuffer w(static_cast<size_t>(n + 3 * ch) * 2, 2);
            RandomSamples(w, rng);
            std::memset(w.data() + (n + ch) * 2, 0, static_cast<size_t>(2 * ch) * 2);
            EdgeBuffer dst(static_cast<size_t>(out) * 2, 6);
            const short* W = reinterpret_cast<const short*>(w.data()) + ch;
            ExpectSameAtEveryLevel(dst, "rate stage " + std::to_string(inFrames) + " -> " + std::to_string(outFrames) +
                                            ", " + std::to_string(ch) + " channels", [&] {
                GetAudioKernels().interpolate(reinterpret_cast<short*>(dst.data()), W, outFrames, ch, n, out);
            });
        }
    }
}

TEST(AudioKernelsCheck, MixAndVolumeEqualReference)
{
    std::mt19937 rng(22);
    for (int frames : CheckWidths()) {
        // The source at an odd address: hosts hand in any byte offset.
        EdgeBuffer src(static_cast<size_t>(frames) * 12, 1), dst(static_cast<size_t>(frames) * 4, 4);
        RandomSamples(src, rng);
        ExpectSameAtEveryLevel(dst, "6 -> 2, " + std::to_string(frames) + " frames", [&] {
            GetAudioKernels().mix6to2(reinterpret_cast<short*>(dst.data()), reinterpret_cast<const short*>(src.data()),
                                      frames);
        });
        for (int vol : {0, 1, 37, 99, 101, 150, -50, 1000, 70000}) {
            EdgeBuffer samples(static_cast<size_t>(frames) * 2, 3), bytes(static_cast<size_t>(frames), 5);
            RandomSamples(samples, rng);
            bytes.Random(rng);
            EdgeBuffer v16(samples.size(), 1), v8(bytes.size(), 7);
            const std::string at = ", volume " + std::to_string(vol) + ", " + std::to_string(frames) + " samples";
            ExpectSameAtEveryLevel(v16, "16-bit" + at, [&] {
                std::copy(samples.data(), samples.data() + samples.size(), v16.data());
                GetAudioKernels().volume16(reinterpret_cast<short*>(v16.data()), frames, vol);
            });
            ExpectSameAtEveryLevel(v8, "8-bit" + at, [&] {
                std::copy(bytes.data(), bytes.data() + bytes.size(), v8.data());
                GetAudioKernels().volume8(v8.data(), frames, vol);
            });
        }
    }
}

// A whole converter over `signal` fed in chunks of `chunk` samples (the
// carry starting at 0), everything it outputs.
std::vector<short> Convert(int srcCh, int dstCh, int srcRate, int dstRate, const std::vector<short>& signal, int chunk)
{
    dp_audio::SetResamplerCarry(0.0);
    CAudioConverter c(srcCh, dstCh, srcRate, dstRate, 0);
    std::vector<short> out, part(1 << 16);
    for (size_t at = 0; at < signal.size(); at += static_cast<size_t>(chunk)) {
        const int k = static_cast<int>(std::min(signal.size() - at, static_cast<size_t>(chunk)));
        c.Put(signal.data() + at, k);
        const int got = c.Get(part.data(), static_cast<int>(part.size()));
        out.insert(out.end(), part.begin(), part.begin() + got);
    }
    return out;
}

TEST(AudioKernelsCheck, ConvertersEqualReferenceForEveryChunking)
{
    std::mt19937 rng(23);
    const std::pair<int, int> pairs[] = {{1, 1}, {1, 2}, {1, 6}, {2, 1}, {2, 2}, {2, 6}, {6, 1}, {6, 2}, {6, 6},
                                         {7, 1}, {7, 2}, {7, 6}, {8, 1}, {8, 2}, {8, 6}, {5, 2}};
    const std::pair<int, int> rates[] = {{44100, 48000}, {48000, 44100}, {48000, 48000}};
    for (auto [srcCh, dstCh] : pairs) {
        std::vector<short> signal(static_cast<size_t>(srcCh) * 700);
        for (short& s : signal)
            s = static_cast<short>(rng());
        const int n = static_cast<int>(signal.size());
        for (auto [srcRate, dstRate] : rates) {
            for (int chunk : {1, 2, 7, n - 3, n}) {
                DPSetSimdLevel("none");
                const std::vector<short> expected = Convert(srcCh, dstCh, srcRate, dstRate, signal, chunk);
                ForEachSimdLevel([&](const std::string& level) {
                    EXPECT_EQ(Convert(srcCh, dstCh, srcRate, dstRate, signal, chunk), expected)
                        << srcCh << " -> " << dstCh << " channels, " << srcRate << " -> " << dstRate << " Hz, chunks of "
                        << chunk << ", at " << level;
                });
            }
        }
    }
    dp_audio::SetResamplerCarry(0.0);
}

} // namespace
