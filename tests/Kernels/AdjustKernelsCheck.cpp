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

TEST(AdjustKernelsCheck, MirrorEqualsReference)
{
    std::mt19937 rng(51);
    for (int n : CheckWidths()) {
        EdgeBuffer input(static_cast<size_t>(n)), row(static_cast<size_t>(n), 1);
        input.Random(rng);
        ExpectSameAtEveryLevel(row, "mirror, width " + std::to_string(n), [&] {
            std::memcpy(row.data(), input.data(), input.size());
            GetFlipKernels().mirrorRow(row.data(), n);
        });
    }
}

} // namespace
