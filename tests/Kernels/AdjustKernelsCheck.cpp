// The adjustment and mirror twins against their references: every sample
// value under every brightness and contrast setting (and both upper limits),
// rows of every width; mirrored rows of odd and even widths at odd addresses.
#include "ImageAdjustKernels.h"
#include "ImageFlipKernels.h"
#include "KernelCheck.h"

namespace {

TEST(AdjustKernelsCheck, EveryValueAndSettingEqualsTheMaps)
{
    // A row holding every sample value, and more, so the vectors and the tail both see each.
    EdgeBuffer input(256 + 67, 1), row(256 + 67, 3);
    for (size_t i = 0; i < input.size(); ++i)
        input.data()[i] = static_cast<uint8_t>(i * 7);
    std::vector<int> brightness{kNoAdjustStep};
    for (int b = -101; b <= 101; ++b)
        brightness.push_back(b);
    for (int b : brightness) {
        for (int c : {kNoAdjustStep, -1000, -100, -99, -50, -1, 0, 1, 37, 99, 100, 101}) {
            for (int hi : {235, 240}) {
                if (hi == 240 && b != kNoAdjustStep)
                    continue; // chroma has no brightness step
                ExpectSameAtEveryLevel(row, "brightness " + std::to_string(b) + ", contrast " + std::to_string(c), [&] {
                    std::memcpy(row.data(), input.data(), input.size());
                    GetAdjustKernels().brightnessContrast(row.data(), static_cast<int>(row.size()), b, c, hi);
                });
            }
        }
    }
}

TEST(AdjustKernelsCheck, SaturationEveryValueAndIndexEqualsTheMaps)
{
    EdgeBuffer input(256 + 67, 1), row(256 + 67, 3);
    for (size_t i = 0; i < input.size(); ++i)
        input.data()[i] = static_cast<uint8_t>(i * 11);
    for (int index = 190; index <= 610; ++index)
        ExpectSameAtEveryLevel(row, "saturation index " + std::to_string(index), [&] {
            std::memcpy(row.data(), input.data(), input.size());
            GetAdjustKernels().saturation(row.data(), static_cast<int>(row.size()), index);
        });
}

// Emboss (neighbours one row and one sample on, and closer than a vector),
// the threshold filters and the blending deinterlacer.
TEST(AdjustKernelsCheck, FilterAndDeinterlaceRowsEqualReference)
{
    std::mt19937 rng(52);
    for (int n : CheckWidths()) {
        for (size_t step : {size_t(1), size_t(5), size_t(n) + 1}) {
            EdgeBuffer input(static_cast<size_t>(n) + step), plane(static_cast<size_t>(n) + step, 1);
            input.Random(rng);
            ExpectSameAtEveryLevel(plane, "emboss, " + std::to_string(n) + " samples, step " + std::to_string(step), [&] {
                std::memcpy(plane.data(), input.data(), input.size());
                GetAdjustKernels().emboss(plane.data(), static_cast<size_t>(n), step);
            });
        }
        EdgeBuffer a(static_cast<size_t>(n), 1), b(static_cast<size_t>(n), 2), out(static_cast<size_t>(n), 3);
        a.Random(rng);
        b.Random(rng);
        ExpectSameAtEveryLevel(out, "threshold, " + std::to_string(n), [&] {
            std::memcpy(out.data(), a.data(), a.size());
            GetAdjustKernels().threshold(out.data(), static_cast<size_t>(n), 235, 16);
        });
        ExpectSameAtEveryLevel(out, "average rows, " + std::to_string(n),
                               [&] { GetAdjustKernels().averageRows(a.data(), b.data(), out.data(), n); });
    }
}

TEST(AdjustKernelsCheck, MirrorEqualsReference)
{
    std::mt19937 rng(51);
    // + two and a little over two of the widest SVE vectors (256 bytes): the
    // byte-reversal table once held 64 bytes and 2048-bit vectors read past it.
    std::vector<int> widths = CheckWidths();
    widths.insert(widths.end(), {512, 513});
    for (int n : widths) {
        EdgeBuffer input(static_cast<size_t>(n)), row(static_cast<size_t>(n), 1);
        input.Random(rng);
        ExpectSameAtEveryLevel(row, "mirror, width " + std::to_string(n), [&] {
            std::memcpy(row.data(), input.data(), input.size());
            GetFlipKernels().mirrorRow(row.data(), n);
        });
    }
}

} // namespace
