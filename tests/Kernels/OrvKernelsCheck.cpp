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

namespace {

// Quarter turns (the turn kernel) against the general rotation path of the
// reference level: odd sizes, clipped source regions, shifts that leave
// edges unwritten or cut the picture, both interpolations; a non-quarter
// angle and a fractional shift stay on the general path at every level.
TEST(OrvKernelsCheck, RotationEqualsGeneralPath)
{
    std::mt19937 rng(9);
    const struct {
        int w, h;
    } sizes[] = {{1, 1}, {7, 5}, {8, 8}, {17, 9}, {33, 64}, {67, 13}, {128, 72}};
    for (auto [w, h] : sizes) {
        for (double angle : {90.0, 270.0, -90.0, 450.0, 30.0}) {
            for (int interp : {1, 2}) {
                const int srcStep = w + 3, dstStep = h + 5, dstRows = w + 4;
                EdgeBuffer src(static_cast<size_t>(h - 1) * srcStep + w, 3), dst(static_cast<size_t>(dstRows) * dstStep, 1);
                src.Random(rng);
                const IppiRect roi = (rng() % 2) ? IppiRect{0, 0, w, h} : IppiRect{w / 3, h / 4, w, h};
                for (double xs : {0.0, double(h), double(h) - 2, 1.0}) {
                    for (double ys : {0.0, double(w), double(w) + 3, 0.5}) {
                        ExpectSameAtEveryLevel(dst, "rotate " + std::to_string(angle) + " " + std::to_string(w) + "x" +
                                                        std::to_string(h) + " shift " + std::to_string(xs) + "," +
                                                        std::to_string(ys),
                                               [&] {
                                                   orv_ippiRotate_8u_C1R(src.data(), IppiSize{w, h}, srcStep, roi,
                                                                         dst.data(), dstStep,
                                                                         IppiRect{0, 0, h + 5, dstRows}, angle, xs, ys,
                                                                         interp);
                                               });
                    }
                }
            }
        }
    }
}

} // namespace

namespace {

// Resize and centred resize (the row kernels) against the reference level:
// enlargements and reductions by odd factors, source regions inside and
// across the image edge, both interpolations, widths 1 to 67 and large.
TEST(OrvKernelsCheck, ResizeEqualsReference)
{
    std::mt19937 rng(10);
    const int srcW = 150, srcH = 21, srcStep = 157;
    EdgeBuffer src(static_cast<size_t>(srcH - 1) * srcStep + srcW, 1);
    src.Random(rng);
    for (int dw : CheckWidths()) {
        if (dw > 67 && dw != 1921)
            continue;
        for (int interp : {1, 2}) {
            for (IppiRect roi : {IppiRect{0, 0, srcW, srcH}, IppiRect{5, 3, 97, 11}, IppiRect{130, 10, 40, 20}}) {
                const int rw = std::min(roi.width, srcW - roi.x), dh = 7, dstStep = dw + 9;
                EdgeBuffer dst(static_cast<size_t>(dh - 1) * dstStep + dw, 2);
                const double xf = static_cast<double>(dw) / rw, yf = 0.61;
                const std::string at = std::to_string(dw) + " wide, roi x " + std::to_string(roi.x) + ", interpolation " +
                                       std::to_string(interp);
                ExpectSameAtEveryLevel(dst, "resize " + at, [&] {
                    orv_ippiResize_8u_C1R(src.data(), IppiSize{srcW, srcH}, srcStep, roi, dst.data(), dstStep,
                                          IppiSize{dw, dh}, xf, yf, interp);
                });
                ExpectSameAtEveryLevel(dst, "centred resize " + at, [&] {
                    orv_ippiResizeCenter_8u_C1R(src.data(), IppiSize{srcW, srcH}, srcStep, roi, dst.data(), dstStep,
                                                IppiSize{dw, dh}, xf * 1.3, yf, 40.5, 7.0, interp);
                });
            }
        }
    }
}

} // namespace
