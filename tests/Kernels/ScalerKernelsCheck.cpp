// Every SIMD twin of the own 12-bit scalers' row kernels against its
// reference, slot by slot. Source rows are exactly as long as the reference
// reads them (they end at their allocation), for steps that enlarge, keep,
// shrink, and hit whole columns.
#include <algorithm>

#include "KernelCheck.h"
#include "ResizeKernels.h"

namespace {

// Steps in 1/4096 pixel: enlargements, identity, odd shrinks, exact
// integers, and a zero step (every column samples the first).
const int64_t kSteps[] = {0, 1, 1365, 2731, 4095, 4096, 4097, 6144, 8192, 9011, 20480};

// The last source column a row of n pixels reads (bilinear reads the
// neighbour of a column with a fraction).
int64_t LastColumn(int64_t step, int n, bool bilinear)
{
    const int64_t pos = static_cast<int64_t>(n - 1) * step;
    return (pos >> 12) + (bilinear && (pos & 4095) ? 1 : 0);
}

struct RowCase {
    const char* name;
    int bpp;          // destination bytes per pixel
    int srcBpp;       // source bytes per pixel
    bool bilinear;    // reads the neighbour column
    bool twoRows;     // reads a second source row
    // Runs the slot of the active table.
    void (*run)(uint8_t* dst, const uint8_t* r0, const uint8_t* r1, int fy, int64_t step, int n);
};

const RowCase kRowCases[] = {
    {"Plane8 bilinear", 1, 1, true, true,
     [](uint8_t* d, const uint8_t* a, const uint8_t* b, int fy, int64_t s, int n) { GetPlane8Kernels().bilinear(d, a, b, fy, s, n); }},
    {"Plane8 nearest", 1, 1, false, false,
     [](uint8_t* d, const uint8_t* a, const uint8_t*, int, int64_t s, int n) { GetPlane8Kernels().nearest(d, a, s, n); }},
    {"Scale32 bilinear", 4, 4, true, true,
     [](uint8_t* d, const uint8_t* a, const uint8_t* b, int fy, int64_t s, int n) { GetScale32Kernels().bilinear(d, a, b, fy, s, n); }},
    {"Scale32 nearest", 4, 4, false, false,
     [](uint8_t* d, const uint8_t* a, const uint8_t*, int, int64_t s, int n) { GetScale32Kernels().nearest(d, a, s, n); }},
    {"Overlay alpha bilinear", 4, 4, true, true,
     [](uint8_t* d, const uint8_t* a, const uint8_t* b, int fy, int64_t s, int n) { GetOverlayKernels().alphaBilinear(d, a, b, fy, s, n); }},
    {"Overlay alpha nearest", 4, 4, false, false,
     [](uint8_t* d, const uint8_t* a, const uint8_t*, int, int64_t s, int n) { GetOverlayKernels().alphaNearest(d, a, s, n); }},
    {"Overlay mask bilinear", 4, 1, true, true,
     [](uint8_t* d, const uint8_t* a, const uint8_t* b, int fy, int64_t s, int n) { GetOverlayKernels().maskBilinear(d, a, b, fy, s, n); }},
    {"Overlay mask nearest", 4, 1, false, false,
     [](uint8_t* d, const uint8_t* a, const uint8_t*, int, int64_t s, int n) { GetOverlayKernels().maskNearest(d, a, s, n); }},
};

TEST(ScalerKernelsCheck, RowSlotsEqualReference)
{
    std::mt19937 rng(11);
    for (const RowCase& rc : kRowCases) {
        for (int64_t step : kSteps) {
            for (int n : CheckWidths()) {
                const size_t srcBytes = static_cast<size_t>(LastColumn(step, n, rc.bilinear) + 1) * rc.srcBpp;
                EdgeBuffer top(srcBytes, 1), bottom(srcBytes, 2), dst(static_cast<size_t>(n) * rc.bpp, 3);
                top.Random(rng);
                bottom.Random(rng);
                // The overlays blend over what the destination holds.
                EdgeBuffer before(dst.size());
                before.Random(rng);
                const int fy = static_cast<int>(rng() % 4096);
                ExpectSameAtEveryLevel(dst, std::string(rc.name) + ", step " + std::to_string(step) + ", n " +
                                                std::to_string(n), [&] {
                    std::copy(before.data(), before.data() + before.size(), dst.data());
                    rc.run(dst.data(), top.data(), rc.twoRows ? bottom.data() : nullptr, fy, step, n);
                });
                // Rows of pixels without the prior contents: the sentinel is what stays.
                if (rc.bpp == rc.srcBpp && rc.srcBpp == 1)
                    ExpectSameAtEveryLevel(dst, std::string(rc.name) + " over sentinels",
                                           [&] { rc.run(dst.data(), top.data(), bottom.data(), fy, step, n); });
            }
        }
    }
}

TEST(ScalerKernelsCheck, ChromaSlotsEqualReference)
{
    std::mt19937 rng(13);
    for (int64_t step : kSteps) {
        for (int x : {0, 1, 6, 7}) {
            for (int n : CheckWidths()) {
                const int64_t pos = 2 * static_cast<int64_t>(n - 1) * step;
                const int64_t sx = x + (pos >> 12);
                const size_t bilinearBytes = static_cast<size_t>((pos & 4095) ? (sx + 1) / 2 : sx / 2) + 1;
                const size_t nearestBytes = static_cast<size_t>(sx / 2) + 1;
                EdgeBuffer top(bilinearBytes, 1), bottom(bilinearBytes, 2), near(nearestBytes, 3);
                EdgeBuffer dst(static_cast<size_t>(n), 4);
                top.Random(rng);
                bottom.Random(rng);
                near.Random(rng);
                const int fy = static_cast<int>(rng() % 4096);
                const std::string where = ", step " + std::to_string(step) + ", x " + std::to_string(x) + ", n " +
                                          std::to_string(n);
                ExpectSameAtEveryLevel(dst, "Chroma bilinear" + where, [&] {
                    GetChromaKernels().bilinear(dst.data(), top.data(), bottom.data(), fy, x, step, n);
                });
                ExpectSameAtEveryLevel(dst, "Chroma nearest" + where,
                                       [&] { GetChromaKernels().nearest(dst.data(), near.data(), x, step, n); });
            }
        }
    }
}

} // namespace
