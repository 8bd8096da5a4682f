// Every SIMD twin of the image-routine library's kernels against its
// reference, through the public routines.
#include "KernelCheck.h"
#include "OrvImage.h"

namespace {

TEST(OrvKernelsCheck, AlphaCompOverEqualsReference)
{
    std::mt19937 rng(7);
    for (int w : CheckWidths()) {
        const int h = 3, step = w + 5;
        const size_t bytes = static_cast<size_t>(h - 1) * step + w;
        EdgeBuffer a(bytes, 1), b(bytes, 3), dst(bytes, 5);
        a.Random(rng);
        b.Random(rng);
        const int alpha1 = static_cast<int>(rng() % 256), alpha2 = static_cast<int>(rng() % 256);
        const IppiSize roi{w, h};
        ExpectSameAtEveryLevel(dst, "AlphaCompC over, width " + std::to_string(w), [&] {
            orv_ippiAlphaCompC_8u_C1R(a.data(), step, static_cast<Ipp8u>(alpha1), b.data(), step,
                                      static_cast<Ipp8u>(alpha2), dst.data(), step, roi, 0);
        });
        // In place: source 2 is the destination.
        EdgeBuffer inPlace(bytes, 7);
        ExpectSameAtEveryLevel(inPlace, "AlphaCompC over in place, width " + std::to_string(w), [&] {
            std::memcpy(inPlace.data(), b.data(), bytes);
            orv_ippiAlphaCompC_8u_C1R(a.data(), step, static_cast<Ipp8u>(alpha1), inPlace.data(), step,
                                      static_cast<Ipp8u>(alpha2), inPlace.data(), step, roi, 0);
        });
    }
}

} // namespace
