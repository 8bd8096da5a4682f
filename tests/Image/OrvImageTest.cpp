// The image-routine library: resize, centred resize, rotation and alpha
// compositing of 8-bit planes. Expected values are worked out by hand from
// the position and weight formulas (16.16 positions, 8-bit weights, one
// rounding).
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

#include "OrvImage.h"
#include "ScaleTestPlane.h"

namespace {

constexpr uint8_t kSent = 0xEE;

// Rows of a region of a plane as vectors, for readable expectations.
std::vector<std::vector<int>> Rows(TestPlane& p, int x, int y, int w, int h)
{
    std::vector<std::vector<int>> out;
    for (int r = 0; r < h; ++r) {
        std::vector<int> row;
        for (int c = 0; c < w; ++c)
            row.push_back(p.at(x + c, y + r));
        out.push_back(row);
    }
    return out;
}

const int S = kSent;

// ---- status codes ----

TEST(OrvResize, StatusCodesInTheirOrderAndNothingWritten)
{
    TestPlane src(4, 4, 4, 1, 9);
    TestPlane dst(4, 4, 4, 1, kSent);
    const IppiSize size{4, 4};
    const IppiRect roi{0, 0, 4, 4};
    // Every argument wrong at once, then fixed one by one: each code shows up
    // only once the earlier ones are fixed.
    EXPECT_EQ(ippStsNullPtrErr, orv_ippiResize_8u_C1R(nullptr, IppiSize{0, 0}, 0, IppiRect{9, 9, 0, 0}, dst.data(),
                                                      0, IppiSize{0, 0}, 0.0, 0.0, 7));
    EXPECT_EQ(ippStsNullPtrErr, orv_ippiResize_8u_C1R(src.data(), size, 4, roi, nullptr, 4, size, 1, 1, 1));
    EXPECT_EQ(ippStsStepErr, orv_ippiResize_8u_C1R(src.data(), IppiSize{0, 0}, 0, IppiRect{9, 9, 0, 0}, dst.data(),
                                                   4, IppiSize{0, 0}, 0.0, 0.0, 7));
    EXPECT_EQ(ippStsStepErr, orv_ippiResize_8u_C1R(src.data(), size, 4, roi, dst.data(), -4, size, 1, 1, 1));
    EXPECT_EQ(ippStsSizeErr, orv_ippiResize_8u_C1R(src.data(), IppiSize{0, 0}, 4, IppiRect{9, 9, 0, 0}, dst.data(),
                                                   4, IppiSize{0, 0}, 0.0, 0.0, 7));
    EXPECT_EQ(ippStsSizeErr, orv_ippiResize_8u_C1R(src.data(), size, 4, IppiRect{0, 0, 4, 0}, dst.data(), 4, size,
                                                   0.0, 0.0, 7));
    EXPECT_EQ(ippStsSizeErr, orv_ippiResize_8u_C1R(src.data(), size, 4, roi, dst.data(), 4, IppiSize{4, -1}, 0.0,
                                                   0.0, 7));
    EXPECT_EQ(ippStsResizeFactorErr,
              orv_ippiResize_8u_C1R(src.data(), size, 4, IppiRect{9, 9, 1, 1}, dst.data(), 4, size, 0.0, 1.0, 7));
    EXPECT_EQ(ippStsResizeFactorErr,
              orv_ippiResize_8u_C1R(src.data(), size, 4, roi, dst.data(), 4, size, 1.0, std::nan(""), 1));
    EXPECT_EQ(ippStsInterpolationErr,
              orv_ippiResize_8u_C1R(src.data(), size, 4, IppiRect{9, 9, 1, 1}, dst.data(), 4, size, 0.1, 0.1, 7));
    EXPECT_EQ(ippStsWrongIntersectROI,
              orv_ippiResize_8u_C1R(src.data(), size, 4, IppiRect{4, 0, 1, 1}, dst.data(), 4, size, 0.1, 0.1, 1));
    EXPECT_EQ(ippStsWrongIntersectROI,
              orv_ippiResize_8u_C1R(src.data(), size, 4, IppiRect{-3, 0, 3, 4}, dst.data(), 4, size, 1, 1, 2));
    // 3 columns at factor 0.25 would give 0.75 of a pixel.
    EXPECT_EQ(ippStsResizeNoOperationErr,
              orv_ippiResize_8u_C1R(src.data(), size, 4, IppiRect{1, 0, 3, 4}, dst.data(), 4, size, 0.25, 1, 2));
    // The same region clipped: only 1 row of 4 lies inside, times 0.5.
    EXPECT_EQ(ippStsResizeNoOperationErr,
              orv_ippiResize_8u_C1R(src.data(), size, 4, IppiRect{0, 3, 4, 9}, dst.data(), 4, size, 1, 0.5, 2));
    for (uint8_t b : dst.bytes)
        ASSERT_EQ(kSent, b);
    EXPECT_EQ(ippStsNoErr, orv_ippiResize_8u_C1R(src.data(), size, 4, roi, dst.data(), 4, size, 1, 1, 2));
}

TEST(OrvResizeCenter, StatusCodesInTheirOrder)
{
    TestPlane src(4, 4, 4, 1, 9);
    TestPlane dst(4, 4, 4, 1, kSent);
    const IppiSize size{4, 4};
    EXPECT_EQ(ippStsNullPtrErr, orv_ippiResizeCenter_8u_C1R(src.data(), size, 0, IppiRect{0, 0, 0, 0}, nullptr, 0,
                                                            size, 0, 0, 2, 2, 9));
    EXPECT_EQ(ippStsStepErr, orv_ippiResizeCenter_8u_C1R(src.data(), size, 0, IppiRect{0, 0, 0, 0}, dst.data(), 4,
                                                         size, 0, 0, 2, 2, 9));
    EXPECT_EQ(ippStsSizeErr, orv_ippiResizeCenter_8u_C1R(src.data(), size, 4, IppiRect{0, 0, 0, 0}, dst.data(), 4,
                                                         size, 0, 0, 2, 2, 9));
    EXPECT_EQ(ippStsResizeFactorErr, orv_ippiResizeCenter_8u_C1R(src.data(), size, 4, IppiRect{8, 0, 1, 1},
                                                                 dst.data(), 4, size, -1, 1, 2, 2, 9));
    EXPECT_EQ(ippStsInterpolationErr, orv_ippiResizeCenter_8u_C1R(src.data(), size, 4, IppiRect{8, 0, 1, 1},
                                                                  dst.data(), 4, size, 1, 1, 2, 2, 0));
    EXPECT_EQ(ippStsWrongIntersectROI, orv_ippiResizeCenter_8u_C1R(src.data(), size, 4, IppiRect{8, 0, 1, 1},
                                                                   dst.data(), 4, size, 0.01, 1, 2, 2, 1));
    EXPECT_EQ(ippStsResizeNoOperationErr, orv_ippiResizeCenter_8u_C1R(src.data(), size, 4, IppiRect{0, 0, 4, 4},
                                                                      dst.data(), 4, size, 0.2, 1, 2, 2, 1));
    for (uint8_t b : dst.bytes)
        ASSERT_EQ(kSent, b);
}

TEST(OrvRotate, StatusCodesInTheirOrder)
{
    TestPlane src(4, 4, 4, 1, 9);
    TestPlane dst(4, 4, 4, 1, kSent);
    const IppiSize size{4, 4};
    const IppiRect whole{0, 0, 4, 4};
    EXPECT_EQ(ippStsNullPtrErr,
              orv_ippiRotate_8u_C1R(nullptr, size, 0, IppiRect{0, 0, 0, 0}, dst.data(), 0, whole, 0, 0, 0, 9));
    EXPECT_EQ(ippStsStepErr,
              orv_ippiRotate_8u_C1R(src.data(), size, 4, IppiRect{0, 0, 0, 0}, dst.data(), 0, whole, 0, 0, 0, 9));
    EXPECT_EQ(ippStsSizeErr, orv_ippiRotate_8u_C1R(src.data(), size, 4, whole, dst.data(), 4, IppiRect{0, 0, 4, 0},
                                                   0, 0, 0, 9));
    EXPECT_EQ(ippStsInterpolationErr,
              orv_ippiRotate_8u_C1R(src.data(), size, 4, IppiRect{5, 5, 1, 1}, dst.data(), 4, whole, 0, 0, 0, 3));
    EXPECT_EQ(ippStsWrongIntersectROI,
              orv_ippiRotate_8u_C1R(src.data(), size, 4, IppiRect{5, 5, 1, 1}, dst.data(), 4, whole, 0, 0, 0, 2));
    for (uint8_t b : dst.bytes)
        ASSERT_EQ(kSent, b);
}

TEST(OrvAlphaCompC, StatusCodesInTheirOrder)
{
    TestPlane a(2, 2, 2, 1, 1), b(2, 2, 2, 1, 2), d(2, 2, 2, 1, kSent);
    const IppiSize size{2, 2};
    EXPECT_EQ(ippStsNullPtrErr,
              orv_ippiAlphaCompC_8u_C1R(a.data(), 0, 1, nullptr, 0, 1, d.data(), 0, IppiSize{0, 0}, 99));
    EXPECT_EQ(ippStsStepErr, orv_ippiAlphaCompC_8u_C1R(a.data(), 2, 1, b.data(), 0, 1, d.data(), 2, IppiSize{0, 0}, 99));
    EXPECT_EQ(ippStsSizeErr, orv_ippiAlphaCompC_8u_C1R(a.data(), 2, 1, b.data(), 2, 1, d.data(), 2, IppiSize{2, 0}, 99));
    EXPECT_EQ(ippStsAlphaTypeErr, orv_ippiAlphaCompC_8u_C1R(a.data(), 2, 1, b.data(), 2, 1, d.data(), 2, size, 12));
    EXPECT_EQ(ippStsAlphaTypeErr, orv_ippiAlphaCompC_8u_C1R(a.data(), 2, 1, b.data(), 2, 1, d.data(), 2, size, -1));
    for (uint8_t v : d.bytes)
        ASSERT_EQ(kSent, v);
}

// ---- resize ----

// Source {0, 255} enlarged 3 times: positions 0, 1/3, 2/3, 1, 4/3, 5/3.
// 1/3 snaps to 21845 (weight 85), 2/3 to 43691 (weight 170):
// (65280 * 85 + 32768) >> 16 = 85, (65280 * 170 + 32768) >> 16 = 169.
// Position 2 is past the region: columns 6 and 7 stay unwritten, and so does
// the third row (rows at 0 and 0.5 only).
TEST(OrvResize, LinearThirdsAndUnwrittenTail)
{
    TestPlane src(2, 1, 2, 1, 0);
    src.at(1, 0) = 255;
    TestPlane dst(8, 3, 9, 1, kSent);
    ASSERT_EQ(ippStsNoErr, orv_ippiResize_8u_C1R(src.data(), IppiSize{2, 1}, 2, IppiRect{0, 0, 2, 1}, dst.data(), 9,
                                                 IppiSize{8, 3}, 3.0, 2.0, IPPI_INTER_LINEAR));
    const std::vector<int> row = {0, 85, 169, 255, 255, 255, S, S};
    EXPECT_EQ((std::vector<std::vector<int>>{row, row, std::vector<int>(8, S)}), Rows(dst, 0, 0, 8, 3));
}

// Nearest rounds half up: position 0.5 takes pixel 1; 1.5 is clamped to the
// last pixel.
TEST(OrvResize, NearestHalfUpAndClamp)
{
    TestPlane src(2, 1, 2, 1, 0);
    src.at(1, 0) = 255;
    TestPlane dst(4, 1, 4, 1, kSent);
    ASSERT_EQ(ippStsNoErr, orv_ippiResize_8u_C1R(src.data(), IppiSize{2, 1}, 2, IppiRect{0, 0, 2, 1}, dst.data(), 4,
                                                 IppiSize{4, 1}, 2.0, 1.0, IPPI_INTER_NN));
    EXPECT_EQ((std::vector<std::vector<int>>{{0, 255, 255, 255}}), Rows(dst, 0, 0, 4, 1));
    // Factor 3: 1/3 -> 0, 2/3 -> 1.
    TestPlane dst3(3, 1, 3, 1, kSent);
    ASSERT_EQ(ippStsNoErr, orv_ippiResize_8u_C1R(src.data(), IppiSize{2, 1}, 2, IppiRect{0, 0, 2, 1}, dst3.data(), 3,
                                                 IppiSize{3, 1}, 3.0, 1.0, IPPI_INTER_NN));
    EXPECT_EQ((std::vector<std::vector<int>>{{0, 0, 255}}), Rows(dst3, 0, 0, 3, 1));
}

// A region with an offset, clipped by the image, pitches larger than the
// widths and a destination inside a larger buffer. Rows 1 and 2 of the
// source hold 10 and 21; y factor 2 samples rows 1, 1.5, 2, 2.5: at 1.5
// (31 * 128 * 256 + 32768) >> 16 = 16 (15.5 rounded up); 2.5 clamps to row 2.
TEST(OrvResize, OffsetClippedRegionVertical)
{
    TestPlane src(5, 4, 7, 1, 0);
    for (int x = 0; x < 5; ++x) {
        src.at(x, 0) = 99;
        src.at(x, 1) = static_cast<uint8_t>(10 + 100 * (x == 0));
        src.at(x, 2) = static_cast<uint8_t>(21 + 100 * (x == 0));
        src.at(x, 3) = 99;
    }
    TestPlane dst(7, 6, 9, 1, kSent);
    ASSERT_EQ(ippStsNoErr, orv_ippiResize_8u_C1R(src.data(), IppiSize{5, 4}, 7, IppiRect{1, 1, 10, 2},
                                                 dst.data() + 9 + 1, 9, IppiSize{5, 5}, 1.0, 2.0, IPPI_INTER_LINEAR));
    const std::vector<int> s(7, S);
    EXPECT_EQ((std::vector<std::vector<int>>{s,
                                             {S, 10, 10, 10, 10, S, S},
                                             {S, 16, 16, 16, 16, S, S},
                                             {S, 21, 21, 21, 21, S, S},
                                             {S, 21, 21, 21, 21, S, S},
                                             s}),
              Rows(dst, 0, 0, 7, 6));
}

// xFactor = dw / rw writes exactly dw columns (x'/xFactor snaps to an exact
// value; position rw is not written).
TEST(OrvResize, FactorDwOverRwWritesDwColumns)
{
    TestPlane src(3, 1, 3, 1, 50);
    for (int dw : {7, 5, 11, 301}) {
        TestPlane dst(dw + 3, 1, dw + 3, 1, kSent);
        ASSERT_EQ(ippStsNoErr, orv_ippiResize_8u_C1R(src.data(), IppiSize{3, 1}, 3, IppiRect{0, 0, 3, 1}, dst.data(),
                                                     dw + 3, IppiSize{dw + 3, 1}, dw / 3.0, 1.0, IPPI_INTER_LINEAR));
        int written = 0;
        for (uint8_t b : dst.bytes)
            written += b != kSent;
        EXPECT_EQ(dw, written) << dw;
        EXPECT_EQ(kSent, dst.at(dw, 0));
    }
}

// ---- centred resize ----

// Halving a 4 x 4 picture about (2, 2): xs = 2 + 2 (x' - 2) gives -2, 0, 2, 4
// for x' = 0..3; only 0 and 2 lie in [0, 4), so the margin stays unwritten.
TEST(OrvResizeCenter, ShrinkLeavesMarginUnwritten)
{
    TestPlane src(4, 4, 5, 1, 0);
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 4; ++x)
            src.at(x, y) = static_cast<uint8_t>(10 * y + x);
    for (int interp : {IPPI_INTER_NN, IPPI_INTER_LINEAR}) {
        TestPlane dst(4, 4, 6, 1, kSent);
        ASSERT_EQ(ippStsNoErr, orv_ippiResizeCenter_8u_C1R(src.data(), IppiSize{4, 4}, 5, IppiRect{0, 0, 4, 4},
                                                           dst.data(), 6, IppiSize{4, 4}, 0.5, 0.5, 2.0, 2.0, interp));
        EXPECT_EQ((std::vector<std::vector<int>>{{S, S, S, S}, {S, 0, 2, S}, {S, 20, 22, S}, {S, S, S, S}}),
                  Rows(dst, 0, 0, 4, 4));
    }
}

// Enlarging about (1.5, 0): xs = 1.5 + (x' - 1.5) / 2 = 0.75, 1.25, 1.75, 2.25.
// Weights 192, 64, 192, 64 over {0, 100, 200, 255}:
// (0*64 + 100*192)*256 + 32768 >> 16 = 75, (100*192 + 200*64) -> 125,
// (100*64 + 200*192) -> 175, (200*192 + 255*64) -> 214.
TEST(OrvResizeCenter, EnlargeLinearWeights)
{
    TestPlane src(4, 1, 4, 1, 0);
    src.at(1, 0) = 100;
    src.at(2, 0) = 200;
    src.at(3, 0) = 255;
    TestPlane dst(4, 1, 4, 1, kSent);
    ASSERT_EQ(ippStsNoErr, orv_ippiResizeCenter_8u_C1R(src.data(), IppiSize{4, 1}, 4, IppiRect{0, 0, 4, 1},
                                                       dst.data(), 4, IppiSize{4, 1}, 2.0, 1.0, 1.5, 0.0,
                                                       IPPI_INTER_LINEAR));
    EXPECT_EQ((std::vector<std::vector<int>>{{75, 125, 175, 214}}), Rows(dst, 0, 0, 4, 1));
}

// ---- rotation ----

// Source 4 x 2 {1 2 3 4 / 5 6 7 8} into a cleared 2 x 4 frame.
// 90 with yShift 4: dst(X, Y) = src(4 - Y, X): rows (-,-) (4,8) (3,7) (2,6).
// 270 with xShift 2: dst(X, Y) = src(Y, 2 - X): rows (-,5) (-,6) (-,7) (-,8).
TEST(OrvRotate, QuarterTurnsOfFourByTwo)
{
    TestPlane src(4, 2, 4, 1, 0);
    for (int i = 0; i < 8; ++i)
        src.bytes[static_cast<size_t>(i)] = static_cast<uint8_t>(i + 1);
    for (int interp : {IPPI_INTER_NN, IPPI_INTER_LINEAR}) {
        TestPlane d90(2, 4, 2, 1, kSent);
        ASSERT_EQ(ippStsNoErr, orv_ippiRotate_8u_C1R(src.data(), IppiSize{4, 2}, 4, IppiRect{0, 0, 4, 2},
                                                     d90.data(), 2, IppiRect{0, 0, 2, 4}, 90.0, 0.0, 4.0, interp));
        EXPECT_EQ((std::vector<std::vector<int>>{{S, S}, {4, 8}, {3, 7}, {2, 6}}), Rows(d90, 0, 0, 2, 4));
        TestPlane d270(2, 4, 2, 1, kSent);
        ASSERT_EQ(ippStsNoErr, orv_ippiRotate_8u_C1R(src.data(), IppiSize{4, 2}, 4, IppiRect{0, 0, 4, 2},
                                                     d270.data(), 2, IppiRect{0, 0, 2, 4}, 270.0, 2.0, 0.0, interp));
        EXPECT_EQ((std::vector<std::vector<int>>{{S, 5}, {S, 6}, {S, 7}, {S, 8}}), Rows(d270, 0, 0, 2, 4));
    }
}

// A half turn with shifts (W, H) = (5, 3) flips both ways, one pixel down
// and right; the destination region {1, 1, 5, 3} of a larger plane limits
// what is written.
TEST(OrvRotate, HalfTurnInsideDestinationRegion)
{
    TestPlane src(5, 3, 8, 1, 0);
    for (int y = 0; y < 3; ++y)
        for (int x = 0; x < 5; ++x)
            src.at(x, y) = static_cast<uint8_t>(10 * y + x);
    TestPlane dst(7, 5, 7, 1, kSent);
    ASSERT_EQ(ippStsNoErr, orv_ippiRotate_8u_C1R(src.data(), IppiSize{5, 3}, 8, IppiRect{0, 0, 5, 3}, dst.data(), 7,
                                                 IppiRect{1, 1, 5, 3}, 180.0, 5.0, 3.0, IPPI_INTER_LINEAR));
    // dst(X, Y) = src(5 - X, 3 - Y), written for X, Y in the region where the
    // source position exists: X in 1..5, Y in 1..3.
    for (int Y = 0; Y < 5; ++Y)
        for (int X = 0; X < 7; ++X) {
            const bool in = X >= 1 && X <= 5 && Y >= 1 && Y <= 3;
            EXPECT_EQ(in ? 10 * (3 - Y) + (5 - X) : S, dst.at(X, Y)) << X << "," << Y;
        }
}

// ---- alpha compositing ----

// D = min(255, M(a1, A) + M(M(255 - a1, a2), B)), M(a, b) = round(a b / 255):
//  a1 128, a2 255, A 200, B 100: M(128,200) = 100, M(127,255) = 127, M(127,100) = 50 -> 150
//  a1 255, a2 0:   A 37 -> 37
//  a1 0, a2 128:   B 255 -> M(128, 255) = 128
//  a1 64, a2 200, A 10, B 90: M(64,10) = 3, M(191,200) = 150, M(150,90) = 53 -> 56
TEST(OrvAlphaCompC, OverValues)
{
    struct Case {
        int a1, a2, A, B, D;
    };
    const Case cases[] = {{128, 255, 200, 100, 150}, {255, 0, 37, 250, 37}, {0, 128, 99, 255, 128},
                          {64, 200, 10, 90, 56},     {0, 128, 0, 1, 1},     {255, 255, 255, 255, 255}};
    for (const Case& c : cases) {
        TestPlane a(3, 2, 4, 1, static_cast<uint8_t>(c.A));
        TestPlane b(3, 2, 5, 1, static_cast<uint8_t>(c.B));
        TestPlane d(4, 3, 6, 1, kSent);
        ASSERT_EQ(ippStsNoErr, orv_ippiAlphaCompC_8u_C1R(a.data(), 4, static_cast<Ipp8u>(c.a1), b.data(), 5,
                                                         static_cast<Ipp8u>(c.a2), d.data() + 6 + 1, 6,
                                                         IppiSize{3, 2}, ippAlphaOver));
        for (int y = 0; y < 3; ++y)
            for (int x = 0; x < 4; ++x)
                EXPECT_EQ((x >= 1 && y >= 1) ? c.D : S, d.at(x, y)) << c.a1 << " " << c.a2;
    }
}

TEST(OrvAlphaCompC, InPlaceOverSecondSource)
{
    TestPlane a(3, 2, 3, 1, 200);
    TestPlane b(3, 2, 3, 1, 100);
    ASSERT_EQ(ippStsNoErr, orv_ippiAlphaCompC_8u_C1R(a.data(), 3, 128, b.data(), 3, 255, b.data(), 3, IppiSize{3, 2},
                                                     ippAlphaOver));
    for (uint8_t v : b.bytes)
        EXPECT_EQ(150, v);
}

// ---- all routines against a per-pixel model, over many sizes ----
//
// The model is written pixel by pixel from the formulas; the library works
// in runs and tables. Sizes cross the library's run length (1024).

int64_t SnapModel(double t) { return static_cast<int64_t>(std::floor(t * 65536.0 + 0.5)); }

int SampleModel(TestPlane& src, int rx, int ry, int rw, int rh, int64_t px, int64_t py, int interp)
{
    const int lastX = rx + rw - 1, lastY = ry + rh - 1;
    if (interp == IPPI_INTER_NN) {
        int64_t ix = (px + 32768) >> 16, iy = (py + 32768) >> 16;
        return src.at(static_cast<int>(std::min<int64_t>(ix, lastX)), static_cast<int>(std::min<int64_t>(iy, lastY)));
    }
    const int i0 = static_cast<int>(px >> 16), j0 = static_cast<int>(py >> 16);
    const int i1 = std::min(i0 + 1, lastX), j1 = std::min(j0 + 1, lastY);
    const int f = static_cast<int>((px >> 8) & 0xFF), g = static_cast<int>((py >> 8) & 0xFF);
    const int c0 = src.at(i0, j0) * (256 - g) + src.at(i0, j1) * g;
    const int c1 = src.at(i1, j0) * (256 - g) + src.at(i1, j1) * g;
    return (c0 * (256 - f) + c1 * f + 32768) >> 16;
}

TEST(OrvModel, ResizeAndCentredResizeMatchPerPixelModel)
{
    std::mt19937 rng(12345);
    auto uni = [&](int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng); };
    for (int iter = 0; iter < 120; ++iter) {
        const bool wide = iter % 20 == 0;
        const int sw = wide ? uni(900, 1500) : uni(1, 19), sh = uni(1, 9);
        TestPlane src(sw, sh, sw + uni(0, 3), 1, 0);
        for (auto& b : src.bytes)
            b = static_cast<uint8_t>(uni(0, 255));
        IppiRect roi{uni(-2, sw - 1), uni(-2, sh - 1), uni(1, sw + 2), uni(1, sh + 2)};
        const int rx = std::max(roi.x, 0), ry = std::max(roi.y, 0);
        const int rw = std::min(roi.x + roi.width, sw) - rx, rh = std::min(roi.y + roi.height, sh) - ry;
        if (rw <= 0 || rh <= 0)
            continue;
        const double xf = std::uniform_real_distribution<double>(1.01 / rw, 3.5)(rng);
        const double yf = std::uniform_real_distribution<double>(1.01 / rh, 3.5)(rng);
        const int dw = uni(1, static_cast<int>(rw * xf) + 3), dh = uni(1, static_cast<int>(rh * yf) + 3);
        const int dpitch = dw + uni(0, 2);
        const double xc = std::uniform_real_distribution<double>(-2, sw + 2)(rng);
        const double yc = std::uniform_real_distribution<double>(-2, sh + 2)(rng);
        for (int interp : {IPPI_INTER_NN, IPPI_INTER_LINEAR})
            for (int centred = 0; centred < 2; ++centred) {
                TestPlane dst(dw, dh, dpitch, 1, kSent);
                const IppStatus st =
                    centred ? orv_ippiResizeCenter_8u_C1R(src.data(), IppiSize{sw, sh}, src.pitch, roi, dst.data(),
                                                          dpitch, IppiSize{dw, dh}, xf, yf, xc, yc, interp)
                            : orv_ippiResize_8u_C1R(src.data(), IppiSize{sw, sh}, src.pitch, roi, dst.data(), dpitch,
                                                    IppiSize{dw, dh}, xf, yf, interp);
                ASSERT_EQ(ippStsNoErr, st);
                for (int y = 0; y < dh; ++y)
                    for (int x = 0; x < dw; ++x) {
                        const double tx = centred ? xc + (x - xc) / xf : rx + x / xf;
                        const double ty = centred ? yc + (y - yc) / yf : ry + y / yf;
                        const int64_t px = SnapModel(tx), py = SnapModel(ty);
                        const bool in = px >= int64_t(rx) * 65536 && px < int64_t(rx + rw) * 65536 &&
                                        py >= int64_t(ry) * 65536 && py < int64_t(ry + rh) * 65536;
                        const int want = in ? SampleModel(src, rx, ry, rw, rh, px, py, interp) : S;
                        ASSERT_EQ(want, dst.at(x, y)) << "iter " << iter << " centred " << centred << " interp "
                                                      << interp << " at " << x << "," << y;
                    }
            }
    }
}

TEST(OrvModel, RotateMatchesPerPixelModel)
{
    std::mt19937 rng(777);
    auto uni = [&](int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng); };
    const double kPi = 3.14159265358979323846;
    for (int iter = 0; iter < 80; ++iter) {
        const int sw = iter % 16 == 0 ? uni(1100, 1300) : uni(1, 17), sh = uni(1, 9);
        TestPlane src(sw, sh, sw + uni(0, 2), 1, 0);
        for (auto& b : src.bytes)
            b = static_cast<uint8_t>(uni(0, 255));
        const IppiRect roi{uni(-1, sw - 1), uni(-1, sh - 1), uni(1, sw + 1), uni(1, sh + 1)};
        const int rx = std::max(roi.x, 0), ry = std::max(roi.y, 0);
        const int rw = std::min(roi.x + roi.width, sw) - rx, rh = std::min(roi.y + roi.height, sh) - ry;
        if (rw <= 0 || rh <= 0)
            continue;
        // Quarter turns use exact cos/sin in the library; keep the model's
        // general angles away from them.
        const double angle = iter % 4 == 0 ? 90.0 * uni(-4, 4) : std::uniform_real_distribution<double>(-400, 400)(rng);
        const bool quarter = std::fmod(angle, 90.0) == 0.0;
        const double c = quarter ? std::round(std::cos(angle * kPi / 180.0)) : std::cos(angle * kPi / 180.0);
        const double s = quarter ? std::round(std::sin(angle * kPi / 180.0)) : std::sin(angle * kPi / 180.0);
        const int dw = std::max(sw, sh) + 4, dh = std::min(std::max(sw, sh), 40) + 4;
        const double xs = std::uniform_real_distribution<double>(-sw, sw + 2.0)(rng);
        const double ys = std::uniform_real_distribution<double>(-sh, dh)(rng);
        const IppiRect droi{uni(-2, 3), uni(-2, 3), uni(1, dw), uni(1, dh)};
        for (int interp : {IPPI_INTER_NN, IPPI_INTER_LINEAR}) {
            TestPlane dst(dw + 3, dh + 3, dw + 3, 1, kSent);
            ASSERT_EQ(ippStsNoErr, orv_ippiRotate_8u_C1R(src.data(), IppiSize{sw, sh}, src.pitch, roi, dst.data(),
                                                         dst.pitch, droi, angle, xs, ys, interp));
            for (int Y = 0; Y < dst.height; ++Y)
                for (int X = 0; X < dst.width; ++X) {
                    const bool inDst = X >= droi.x && X < droi.x + droi.width && Y >= droi.y &&
                                       Y < droi.y + droi.height;
                    const double u = X - xs, v = Y - ys;
                    const int64_t px = SnapModel(u * c - v * s), py = SnapModel(u * s + v * c);
                    const bool in = inDst && px >= int64_t(rx) * 65536 && px <= int64_t(rx + rw - 1) * 65536 &&
                                    py >= int64_t(ry) * 65536 && py <= int64_t(ry + rh - 1) * 65536;
                    const int want = in ? SampleModel(src, rx, ry, rw, rh, px, py, interp) : S;
                    ASSERT_EQ(want, dst.at(X, Y)) << "iter " << iter << " angle " << angle << " at " << X << "," << Y;
                }
        }
    }
}

} // namespace
