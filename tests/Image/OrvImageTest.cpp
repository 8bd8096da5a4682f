// The image-routine library: status codes, resize, centred resize, rotation
// and alpha compositing of 8-bit planes. Expected values are worked by hand
// from the position and weight formulas (16.16 positions, 8-bit weights, one
// rounding); a per-pixel model then covers many sizes, across the run length.
#include <gtest/gtest.h>

#include <cmath>
#include <iterator>
#include <random>
#include <utility>

#include "ImageTestPlane.h"
#include "OrvImage.h"

namespace {

// Every argument from the one under test on is wrong as well: each code shows
// up only once the earlier checks pass. Nothing is written on a failure.
TEST(OrvStatus, CodesInTheirOrderAndNothingWritten)
{
    TestPlane src(4, 4, 4, 1, 9), dst(4, 4, 4);
    uint8_t *s = src.data(), *d = dst.data();
    const IppiSize z{0, 0}, sz{4, 4};
    const IppiRect none{9, 9, 0, 0}, away{9, 9, 1, 1}, all{0, 0, 4, 4}, empty{0, 0, 0, 0}, off{8, 0, 1, 1};
    const std::pair<IppStatus, IppStatus> cases[] = {
        {ippStsNullPtrErr, orv_ippiResize_8u_C1R(nullptr, z, 0, none, d, 0, z, 0, 0, 7)},
        {ippStsNullPtrErr, orv_ippiResize_8u_C1R(s, sz, 4, all, nullptr, 4, sz, 1, 1, 1)},
        {ippStsStepErr, orv_ippiResize_8u_C1R(s, z, 0, none, d, 4, z, 0, 0, 7)},
        {ippStsStepErr, orv_ippiResize_8u_C1R(s, sz, 4, all, d, -4, sz, 1, 1, 1)},
        {ippStsSizeErr, orv_ippiResize_8u_C1R(s, z, 4, none, d, 4, z, 0, 0, 7)},
        {ippStsSizeErr, orv_ippiResize_8u_C1R(s, sz, 4, {0, 0, 4, 0}, d, 4, sz, 0, 0, 7)},
        {ippStsSizeErr, orv_ippiResize_8u_C1R(s, sz, 4, all, d, 4, {4, -1}, 0, 0, 7)},
        {ippStsResizeFactorErr, orv_ippiResize_8u_C1R(s, sz, 4, away, d, 4, sz, 0, 1, 7)},
        {ippStsResizeFactorErr, orv_ippiResize_8u_C1R(s, sz, 4, all, d, 4, sz, 1, std::nan(""), 1)},
        {ippStsInterpolationErr, orv_ippiResize_8u_C1R(s, sz, 4, away, d, 4, sz, 0.1, 0.1, 7)},
        {ippStsWrongIntersectROI, orv_ippiResize_8u_C1R(s, sz, 4, {4, 0, 1, 1}, d, 4, sz, 0.1, 0.1, 1)},
        {ippStsWrongIntersectROI, orv_ippiResize_8u_C1R(s, sz, 4, {-3, 0, 3, 4}, d, 4, sz, 1, 1, 2)},
        // 3 columns at 0.25 give 0.75 of a pixel; the clipped region is 1 row, at 0.5.
        {ippStsResizeNoOperationErr, orv_ippiResize_8u_C1R(s, sz, 4, {1, 0, 3, 4}, d, 4, sz, 0.25, 1, 2)},
        {ippStsResizeNoOperationErr, orv_ippiResize_8u_C1R(s, sz, 4, {0, 3, 4, 9}, d, 4, sz, 1, 0.5, 2)},
        {ippStsNullPtrErr, orv_ippiResizeCenter_8u_C1R(s, sz, 0, empty, nullptr, 0, sz, 0, 0, 2, 2, 9)},
        {ippStsStepErr, orv_ippiResizeCenter_8u_C1R(s, sz, 0, empty, d, 4, sz, 0, 0, 2, 2, 9)},
        {ippStsSizeErr, orv_ippiResizeCenter_8u_C1R(s, sz, 4, empty, d, 4, sz, 0, 0, 2, 2, 9)},
        {ippStsResizeFactorErr, orv_ippiResizeCenter_8u_C1R(s, sz, 4, off, d, 4, sz, -1, 1, 2, 2, 9)},
        {ippStsInterpolationErr, orv_ippiResizeCenter_8u_C1R(s, sz, 4, off, d, 4, sz, 1, 1, 2, 2, 0)},
        {ippStsWrongIntersectROI, orv_ippiResizeCenter_8u_C1R(s, sz, 4, off, d, 4, sz, 0.01, 1, 2, 2, 1)},
        {ippStsResizeNoOperationErr, orv_ippiResizeCenter_8u_C1R(s, sz, 4, all, d, 4, sz, 0.2, 1, 2, 2, 1)},
        {ippStsNullPtrErr, orv_ippiRotate_8u_C1R(nullptr, sz, 0, empty, d, 0, all, 0, 0, 0, 9)},
        {ippStsStepErr, orv_ippiRotate_8u_C1R(s, sz, 4, empty, d, 0, all, 0, 0, 0, 9)},
        {ippStsSizeErr, orv_ippiRotate_8u_C1R(s, sz, 4, all, d, 4, {0, 0, 4, 0}, 0, 0, 0, 9)},
        {ippStsInterpolationErr, orv_ippiRotate_8u_C1R(s, sz, 4, {5, 5, 1, 1}, d, 4, all, 0, 0, 0, 3)},
        {ippStsWrongIntersectROI, orv_ippiRotate_8u_C1R(s, sz, 4, {5, 5, 1, 1}, d, 4, all, 0, 0, 0, 2)},
        {ippStsNullPtrErr, orv_ippiAlphaCompC_8u_C1R(s, 0, 1, nullptr, 0, 1, d, 0, z, 99)},
        {ippStsStepErr, orv_ippiAlphaCompC_8u_C1R(s, 2, 1, s, 0, 1, d, 2, z, 99)},
        {ippStsSizeErr, orv_ippiAlphaCompC_8u_C1R(s, 2, 1, s, 2, 1, d, 2, {2, 0}, 99)},
        {ippStsAlphaTypeErr, orv_ippiAlphaCompC_8u_C1R(s, 2, 1, s, 2, 1, d, 2, {2, 2}, 12)},
        {ippStsAlphaTypeErr, orv_ippiAlphaCompC_8u_C1R(s, 2, 1, s, 2, 1, d, 2, {2, 2}, -1)},
    };
    for (size_t i = 0; i < std::size(cases); ++i)
        EXPECT_EQ(cases[i].first, cases[i].second) << "case " << i;
    EXPECT_TRUE(dst.Untouched());
    EXPECT_EQ(ippStsNoErr, orv_ippiResize_8u_C1R(s, sz, 4, all, d, 4, sz, 1, 1, 2));
}

// Source {0, 255}. Linear x3 (y x2): positions 0, 1/3, 2/3, 1, 4/3, 5/3; 1/3
// snaps to 21845 (weight 85), 2/3 to 43691 (170): (65280 * 85 + 32768) >> 16
// = 85, likewise 169. Position 2 (and row 1.0) lies past the region: unwritten.
// Nearest rounds half up (0.5 takes pixel 1, 2/3 too) and clamps 1.5 to 1.
TEST(OrvResize, TwoPixelSourceEnlarged)
{
    TestPlane src(2, 1, 2, 1, 0), linear(8, 3, 9), nearest2(4, 1, 5), nearest3(3, 1, 4);
    src.at(1, 0) = 255;
    auto resize = [&](TestPlane& dst, double xf, double yf, int interp) {
        return orv_ippiResize_8u_C1R(src.data(), {2, 1}, 2, {0, 0, 2, 1}, dst.data(), dst.pitch,
                                     {dst.width, dst.height}, xf, yf, interp);
    };
    ASSERT_EQ(ippStsNoErr, resize(linear, 3, 2, IPPI_INTER_LINEAR));
    ASSERT_EQ(ippStsNoErr, resize(nearest2, 2, 1, IPPI_INTER_NN));
    ASSERT_EQ(ippStsNoErr, resize(nearest3, 3, 1, IPPI_INTER_NN));
    const std::vector<int> thirds{0, 85, 169, 255, 255, 255, S, S};
    EXPECT_EQ((Grid{thirds, thirds, std::vector<int>(8, S)}), linear.Read());
    EXPECT_EQ((Grid{{0, 255, 255, 255}}), nearest2.Read());
    EXPECT_EQ((Grid{{0, 0, 255}}), nearest3.Read());
    // xFactor = dw / rw writes exactly dw columns, though dw / 3 is inexact.
    TestPlane src3(3, 1, 3, 1, 50);
    for (int dw : {7, 5, 11, 301}) {
        TestPlane dst(dw + 3, 1, dw + 3);
        orv_ippiResize_8u_C1R(src3.data(), {3, 1}, 3, {0, 0, 3, 1}, dst.data(), dw + 3, {dw + 3, 1}, dw / 3.0, 1.0,
                              IPPI_INTER_LINEAR);
        EXPECT_EQ(dw, std::count_if(dst.bytes.begin(), dst.bytes.end(), [](uint8_t b) { return b != kSent; }));
    }
}

// D = min(255, M(a1, A) + M(M(255 - a1, a2), B)), M(a, b) = round(a b / 255):
//  a1 128, a2 255, A 200, B 100: M(128,200) = 100, M(127,255) = 127, M(127,100) = 50 -> 150
//  a1 64, a2 200, A 10, B 90: M(64,10) = 3, M(191,200) = 150, M(150,90) = 53 -> 56
TEST(OrvAlphaCompC, OverValuesAndInPlace)
{
    struct Case {
        int a1, a2, A, B, D;
    };
    const Case cases[] = {{128, 255, 200, 100, 150}, {255, 0, 37, 250, 37}, {0, 128, 99, 255, 128},
                          {64, 200, 10, 90, 56},     {0, 128, 0, 1, 1},     {255, 255, 255, 255, 255}};
    for (const Case& c : cases) {
        TestPlane a(3, 2, 4, 1, static_cast<uint8_t>(c.A)), b(3, 2, 5, 1, static_cast<uint8_t>(c.B)), d(4, 3, 6);
        ASSERT_EQ(ippStsNoErr, orv_ippiAlphaCompC_8u_C1R(a.data(), 4, static_cast<Ipp8u>(c.a1), b.data(), 5,
                                                         static_cast<Ipp8u>(c.a2), d.data() + 6 + 1, 6, {3, 2},
                                                         ippAlphaOver));
        const std::vector<int> row{S, c.D, c.D, c.D};
        EXPECT_EQ((Grid{std::vector<int>(4, S), row, row}), d.Read()) << c.a1 << " " << c.a2;
    }
    // The second source may be the destination.
    TestPlane a(3, 2, 3, 1, 200), b(3, 2, 3, 1, 100);
    ASSERT_EQ(ippStsNoErr,
              orv_ippiAlphaCompC_8u_C1R(a.data(), 3, 128, b.data(), 3, 255, b.data(), 3, {3, 2}, ippAlphaOver));
    EXPECT_EQ(std::vector<uint8_t>(6, 150), b.bytes);
}

// The routines work in runs and tables; this model works pixel by pixel from
// the formulas, over random regions (clipped by the image), factors, centres,
// angles and shifts. Some sources are wider than the run length (1024).
int64_t Snap(double t) { return static_cast<int64_t>(std::floor(t * 65536.0 + 0.5)); }

int Sample(TestPlane& src, int lastX, int lastY, int64_t px, int64_t py, int interp)
{
    if (interp == IPPI_INTER_NN)
        return src.at(static_cast<int>(std::min<int64_t>((px + 32768) >> 16, lastX)),
                      static_cast<int>(std::min<int64_t>((py + 32768) >> 16, lastY)));
    const int i0 = static_cast<int>(px >> 16), j0 = static_cast<int>(py >> 16);
    const int i1 = std::min(i0 + 1, lastX), j1 = std::min(j0 + 1, lastY);
    const int f = static_cast<int>((px >> 8) & 0xFF), g = static_cast<int>((py >> 8) & 0xFF);
    const int c0 = src.at(i0, j0) * (256 - g) + src.at(i0, j1) * g;
    const int c1 = src.at(i1, j0) * (256 - g) + src.at(i1, j1) * g;
    return (c0 * (256 - f) + c1 * f + 32768) >> 16;
}

TEST(OrvModel, ResizeCentredResizeAndRotateMatchPerPixelModel)
{
    std::mt19937 rng(12345);
    auto uni = [&](int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng); };
    auto real = [&](double lo, double hi) { return std::uniform_real_distribution<double>(lo, hi)(rng); };
    const double kPi = 3.14159265358979323846;
    for (int iter = 0; iter < 180; ++iter) {
        const int kind = iter % 3; // resize, centred resize, rotation
        const bool wide = iter % 20 < 3;
        const int sw = wide ? uni(1000, 1400) : uni(1, 19), sh = uni(1, 9);
        TestPlane src(sw, sh, sw + uni(0, 3), 1, 0);
        src.FillBytes(rng);
        const IppiRect roi{uni(-2, sw - 1), uni(-2, sh - 1), uni(1, sw + 2), uni(1, sh + 2)};
        const int rx = std::max(roi.x, 0), ry = std::max(roi.y, 0);
        const int rw = std::min(roi.x + roi.width, sw) - rx, rh = std::min(roi.y + roi.height, sh) - ry;
        if (rw <= 0 || rh <= 0)
            continue;
        const double xf = real(1.01 / rw, 3.5), yf = real(1.01 / rh, 3.5);
        // Quarter turns take exact cos and sin; keep general angles away from
        // them. Wide sources are turned by half turns, to fill long rows.
        const double angle = wide ? 180.0 * uni(-2, 2) : iter % 4 == 0 ? 90.0 * uni(-4, 4) : real(-400, 400);
        const bool quarter = std::fmod(angle, 90.0) == 0.0;
        const double c = quarter ? std::round(std::cos(angle * kPi / 180)) : std::cos(angle * kPi / 180);
        const double s = quarter ? std::round(std::sin(angle * kPi / 180)) : std::sin(angle * kPi / 180);
        // Centred resizes keep their centre in the region, rotations take shifts
        // that bring the turned region's middle near the destination's.
        const int dw = kind == 2 ? std::min(std::max(sw, sh), 1300) + 7 : uni(1, kind * rx + int(rw * xf) + 3);
        const int dh = kind == 2 ? std::min(std::max(sw, sh), 40) + 7 : uni(1, kind * ry + int(rh * yf) + 3);
        const double mx = rx + rw / 2.0, my = ry + rh / 2.0;
        const double xc = kind == 2 ? dw / 2.0 - (mx * c + my * s) + real(-3, 3) : real(rx - 2, rx + rw + 2);
        const double yc = kind == 2 ? dh / 2.0 - (my * c - mx * s) + real(-3, 3) : real(ry - 2, ry + rh + 2);
        const int ox = uni(-2, 3), oy = uni(-2, 3);
        const int rox = dw - std::max(ox, 0) - uni(0, 3), roy = dh - std::max(oy, 0) - uni(0, 3);
        const IppiRect droi = kind == 2 ? IppiRect{ox, oy, rox, roy} : IppiRect{0, 0, dw, dh};
        // Bounds of the snapped source position, 16.16, upper one excluded;
        // rotation includes the last pixel itself.
        const int64_t loX = int64_t(rx) << 16, loY = int64_t(ry) << 16;
        const int64_t hiX = kind == 2 ? (int64_t(rx + rw - 1) << 16) + 1 : int64_t(rx + rw) << 16;
        const int64_t hiY = kind == 2 ? (int64_t(ry + rh - 1) << 16) + 1 : int64_t(ry + rh) << 16;
        for (int interp : {IPPI_INTER_NN, IPPI_INTER_LINEAR}) {
            TestPlane dst(dw, dh, dw + uni(0, 2));
            const IppiSize ss{sw, sh}, ds{dw, dh};
            uint8_t *s0 = src.data(), *d0 = dst.data();
            const int sp = src.pitch, dp = dst.pitch;
            const IppStatus st =
                kind == 0   ? orv_ippiResize_8u_C1R(s0, ss, sp, roi, d0, dp, ds, xf, yf, interp)
                : kind == 1 ? orv_ippiResizeCenter_8u_C1R(s0, ss, sp, roi, d0, dp, ds, xf, yf, xc, yc, interp)
                            : orv_ippiRotate_8u_C1R(s0, ss, sp, roi, d0, dp, droi, angle, xc, yc, interp);
            ASSERT_EQ(ippStsNoErr, st);
            for (int y = 0; y < dh; ++y)
                for (int x = 0; x < dw; ++x) {
                    const double u = x - xc, v = y - yc;
                    const double tx = kind == 0 ? rx + x / xf : kind == 1 ? xc + u / xf : u * c - v * s;
                    const double ty = kind == 0 ? ry + y / yf : kind == 1 ? yc + v / yf : u * s + v * c;
                    const int64_t px = Snap(tx), py = Snap(ty);
                    const bool in = x >= droi.x && x < droi.x + droi.width && y >= droi.y &&
                                    y < droi.y + droi.height && px >= loX && px < hiX && py >= loY && py < hiY;
                    ASSERT_EQ(in ? Sample(src, rx + rw - 1, ry + rh - 1, px, py, interp) : S, dst.at(x, y))
                        << "iter " << iter << " kind " << kind << " interp " << interp << " at " << x << "," << y;
                }
        }
    }
}

} // namespace
