// Plane scaling: the own 12-bit scalers, the dispatchers and the
// picture-level operations. Expected values are worked out by hand from the
// 12-bit mapping (step = ((cx << 12) - 4096) / (dcx - 1)) and the truncating
// two-stage arithmetic.
#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <vector>

#include "ImageResize.h"
#include "KernelDispatch.h"
#include "ScaleTestPlane.h"

namespace {

constexpr uint8_t kSent = 0xEE;
const int S = kSent;
using Grid = std::vector<std::vector<int>>;

// Byte b of the pixels of a region, rows in picture order.
Grid Read(TestPlane& p, int x, int y, int w, int h, bool bottomUp, int b = 0)
{
    Grid g;
    for (int r = 0; r < h; ++r) {
        std::vector<int> row;
        for (int c = 0; c < w; ++c)
            row.push_back(bottomUp ? p.bu(x + c, y + r, b) : p.at(x + c, y + r, b));
        g.push_back(row);
    }
    return g;
}

bool AllSentinel(const TestPlane& p)
{
    for (uint8_t b : p.bytes)
        if (b != kSent)
            return false;
    return true;
}

// Source 3 x 2 {10 20 40 / 50 70 101} to 5 x 3: steps 2048 both ways.
//  row 0 (sy 0, fy 0):      10, 15, 20, 30, 40 (last column = source column 2)
//  row 1 (sy 0, fy 2048):   30, (15+60)/2 = 37, 45, (30+85)/2 = 57, 40
//                           (last column of row sy, not interpolated)
//  row 2 (last, nearest from source row 1): 50, 50, 70, 70, 101
const Grid kEnlarged = {{10, 15, 20, 30, 40}, {30, 37, 45, 57, 40}, {50, 50, 70, 70, 101}};
const int kSrc3x2[2][3] = {{10, 20, 40}, {50, 70, 101}};

TEST(DibResizeBiLiner, HandWorkedEnlargementWithLastRowAndColumnPaths)
{
    // Source region at (1, 1) of a 5 x 4 bitmap, pitch with padding;
    // destination region at (1, 1) of a 7 x 5 bitmap. Alpha of source pixel
    // (x, y) of the region is 100 + 10 y + x.
    TestPlane src(5, 4, 5 * 4 + 4, 4, 0);
    for (int y = 0; y < 2; ++y)
        for (int x = 0; x < 3; ++x) {
            for (int b = 0; b < 3; ++b)
                src.bu(1 + x, 1 + y, b) = static_cast<uint8_t>(kSrc3x2[y][x]);
            src.bu(1 + x, 1 + y, 3) = static_cast<uint8_t>(100 + 10 * y + x);
        }
    TestPlane dst(7, 5, 7 * 4 + 8, 4, kSent);
    IMG_PARAM s = src.Param(1, 1, 3, 2), d = dst.Param(1, 1, 5, 3);
    ASSERT_EQ(1, DIB_ResizeBiLiner(s, d));
    for (int b = 0; b < 3; ++b)
        EXPECT_EQ(kEnlarged, Read(dst, 1, 1, 5, 3, true, b)) << "byte " << b;
    // The fourth byte comes from source pixel (sx, sy), never interpolated.
    EXPECT_EQ((Grid{{100, 100, 101, 101, 102}, {100, 100, 101, 101, 102}, {110, 110, 111, 111, 112}}),
              Read(dst, 1, 1, 5, 3, true, 3));
    // Nothing outside the region.
    int outside = 0;
    for (int y = 0; y < 5; ++y)
        for (int x = 0; x < 7; ++x)
            if (x < 1 || x > 5 || y < 1 || y > 3)
                for (int b = 0; b < 4; ++b)
                    outside += dst.bu(x, y, b) != kSent;
    EXPECT_EQ(0, outside);
}

TEST(DibResizeBiLiner8, HandWorkedEnlargementBottomUp)
{
    TestPlane src(4, 3, 6, 1, 0);
    for (int y = 0; y < 2; ++y)
        for (int x = 0; x < 3; ++x)
            src.bu(1 + x, y, 0) = static_cast<uint8_t>(kSrc3x2[y][x]);
    TestPlane dst(6, 4, 7, 1, kSent);
    IMG_PARAM s = src.Param(1, 0, 3, 2), d = dst.Param(0, 1, 5, 3);
    ASSERT_EQ(1, DIB_ResizeBiLiner8(s, d));
    EXPECT_EQ(kEnlarged, Read(dst, 0, 1, 5, 3, true));
    EXPECT_EQ((Grid{{S, S, S, S, S, S}}), Read(dst, 0, 0, 6, 1, true));
    EXPECT_EQ(S, dst.bu(5, 2));
}

// Same-size scaling: steps 4096, fractions 0; every path copies exactly.
TEST(OwnScalers, TwoByTwoToTwoByTwoCopiesExactly)
{
    TestPlane src(2, 2, 8, 4, 0);
    for (size_t i = 0; i < src.bytes.size(); ++i)
        src.bytes[i] = static_cast<uint8_t>(3 + 7 * i);
    IMG_PARAM s = src.Param(0, 0, 2, 2);
    for (auto fn : {DIB_ResizeBiLiner, DIB_ResizeNear, DIB_ResizeConvolve}) {
        TestPlane dst(2, 2, 8, 4, kSent);
        IMG_PARAM d = dst.Param(0, 0, 2, 2);
        ASSERT_EQ(1, fn(s, d));
        EXPECT_EQ(src.bytes, dst.bytes);
    }
    TestPlane src8(2, 2, 2, 1, 0);
    src8.bytes = {11, 22, 33, 44};
    IMG_PARAM s8 = src8.Param(0, 0, 2, 2);
    for (auto fn : {DIB_ResizeBiLiner8, DIB_ResizeBiLinerUV, DIB_ResizeNearUV}) {
        TestPlane dst(2, 2, 2, 1, kSent);
        IMG_PARAM d = dst.Param(0, 0, 2, 2);
        ASSERT_EQ(1, fn(s8, d));
        if (fn == DIB_ResizeBiLiner8)
            EXPECT_EQ(src8.bytes, dst.bytes);
        else // luma 2 x 2 is one chroma sample; the final row's only sample stays unwritten
            EXPECT_EQ((std::vector<uint8_t>{kSent, kSent, kSent, kSent}), dst.bytes);
    }
}

TEST(OwnScalers, OnePixelWideOrHighDestinationIsRefused)
{
    TestPlane src(4, 4, 16, 4, 7);
    TestPlane src8(4, 4, 4, 1, 7);
    for (auto size : {std::make_pair(1, 3), std::make_pair(3, 1), std::make_pair(1, 1), std::make_pair(0, 3)}) {
        TestPlane dst(4, 4, 16, 4, kSent);
        TestPlane dst8(4, 4, 4, 1, kSent);
        IMG_PARAM s = src.Param(0, 0, 4, 4), d = dst.Param(0, 0, size.first, size.second);
        IMG_PARAM s8 = src8.Param(0, 0, 4, 4), d8 = dst8.Param(0, 0, size.first, size.second);
        // The rule of the two bilinear scalers...
        EXPECT_EQ(0, DIB_ResizeBiLiner(s, d));
        EXPECT_EQ(0, DIB_ResizeBiLiner8(s8, d8));
        // ...and a safe refusal where the 12-bit steps would divide by zero.
        EXPECT_EQ(0, DIB_ResizeNear(s, d));
        EXPECT_EQ(0, DIB_ResizeConvolve(s, d));
        EXPECT_EQ(0, DIB_AlphaResizeBiLiner(s, d));
        EXPECT_EQ(0, StretchMaskResizeBiLiner(s8, d));
        EXPECT_EQ(0, DIB_ResizeBiLinerUV(s8, d8));
        EXPECT_EQ(0, DIB_ResizeNearUV(s8, d8));
        EXPECT_EQ(0, DIB_ResizeBiLinerY_Simulate(s8, d8));
        EXPECT_EQ(0, ImageResizeYV12(s8, src8.data(), src8.data(), src8.data(), 4, 2, 2, d8, dst8.data(),
                                     dst8.data(), dst8.data(), 4, 2, 2, IMAGE_INTERPOLATION_BILINEAR, 0));
        EXPECT_TRUE(AllSentinel(dst));
        EXPECT_TRUE(AllSentinel(dst8));
    }
}

TEST(OwnScalers, RegionsOutsideTheirBuffersAreRefused)
{
    TestPlane src(4, 4, 16, 4, 7);
    TestPlane dst(4, 4, 16, 4, kSent);
    const IMG_PARAM okS = src.Param(0, 0, 4, 4), okD = dst.Param(0, 0, 4, 4);
    std::vector<std::pair<IMG_PARAM, IMG_PARAM>> bad;
    IMG_PARAM t;
    t = okS; t.x = 1; bad.push_back({t, okD});          // source one column past
    t = okS; t.y = -1; bad.push_back({t, okD});
    t = okS; t.cx = 0; bad.push_back({t, okD});
    t = okS; t.nPitch = 0; bad.push_back({t, okD});
    t = okD; t.cy = 5; bad.push_back({okS, t});         // destination one row past
    t = okD; t.x = -1; bad.push_back({okS, t});
    t = okD; t.pBits = nullptr; bad.push_back({okS, t});
    for (auto& sd : bad) {
        EXPECT_EQ(0, DIB_ResizeBiLiner(sd.first, sd.second));
        EXPECT_EQ(0, DIB_ResizeNear(sd.first, sd.second));
        EXPECT_EQ(0, DIB_ResizeConvolve(sd.first, sd.second));
        EXPECT_EQ(0, DIB_AlphaResizeBiLiner(sd.first, sd.second));
    }
    EXPECT_TRUE(AllSentinel(dst));
}

// ---- dispatchers ----

TEST(Dispatchers, DefaultEqualsBilinearAndConvolveOnlyFor32Bit)
{
    std::mt19937 rng(5);
    TestPlane src32(7, 5, 7 * 4 + 4, 4, 0), src8(7, 5, 9, 1, 0);
    for (auto& b : src32.bytes)
        b = static_cast<uint8_t>(rng());
    for (auto& b : src8.bytes)
        b = static_cast<uint8_t>(rng());
    IMG_PARAM s32 = src32.Param(1, 1, 5, 4), s8 = src8.Param(1, 1, 5, 4);
    using Fn = int (*)(const IMG_PARAM&, IMG_PARAM&, IMAGE_INTERPOLATION);
    auto luma = [](const IMG_PARAM& s, IMG_PARAM& d, IMAGE_INTERPOLATION i) { return ImageResizeY(s, d, i, 90); };
    struct Case {
        Fn fn;
        bool is32;
        bool convolve;
    };
    const Case cases[] = {{ImageResize, true, true},
                          {ImageResize8, false, false},
                          {ImageResizeUV, false, false},
                          {luma, false, false},
                          {ImageAlphaResize, true, true}};
    for (const Case& c : cases) {
        auto run = [&](int interp, TestPlane& out) {
            IMG_PARAM d = out.Param(0, 0, 9, 7);
            return c.fn(c.is32 ? s32 : s8, d, static_cast<IMAGE_INTERPOLATION>(interp));
        };
        auto fresh = [&]() { return c.is32 ? TestPlane(9, 7, 36, 4, kSent) : TestPlane(9, 7, 10, 1, kSent); };
        TestPlane d0 = fresh(), d2 = fresh(), d3 = fresh(), d4 = fresh(), dm = fresh();
        EXPECT_EQ(1, run(0, d0));
        EXPECT_EQ(1, run(2, d2));
        EXPECT_FALSE(AllSentinel(d0));
        EXPECT_EQ(d0.bytes, d2.bytes);
        EXPECT_EQ(c.convolve ? 1 : 0, run(3, d3));
        EXPECT_EQ(c.convolve, !AllSentinel(d3));
        if (c.fn == ImageAlphaResize) {
            // Bilinear whatever the value says.
            EXPECT_EQ(1, run(4, d4));
            EXPECT_EQ(d0.bytes, d4.bytes);
            continue;
        }
        EXPECT_EQ(0, run(4, d4));
        EXPECT_EQ(0, run(-1, dm));
        EXPECT_TRUE(AllSentinel(d4));
        EXPECT_TRUE(AllSentinel(dm));
    }
}

// ---- 8-bit nearest by tables ----

// Source values 16 y + x. Region {1, 1, 4, 2} into {1, 0, 4, 3}:
//  columns (i*4 + 2)/4 + 1 = 1, 2, 3, then x + cx = 5 (one past the region);
//  rows (i*2 + 1)/3 + 1 = 1, 2; the source row adds src.y again: rows 2, 3.
// The last destination row stays untouched.
TEST(DibResizeNear8, TablesDoubledRowOffsetAndUntouchedLastRow)
{
    TestPlane src(8, 6, 8, 1, 0);
    for (int y = 0; y < 6; ++y)
        for (int x = 0; x < 8; ++x)
            src.at(x, y) = static_cast<uint8_t>(16 * y + x);
    TestPlane dst(5, 4, 6, 1, kSent);
    IMG_PARAM s = src.Param(1, 1, 4, 2), d = dst.Param(1, 0, 4, 3);
    ASSERT_EQ(1, DIB_ResizeNear8(s, d));
    EXPECT_EQ((Grid{{S, 33, 34, 35, 37}, {S, 49, 50, 51, 53}, {S, S, S, S, S}, {S, S, S, S, S}}),
              Read(dst, 0, 0, 5, 4, false));
}

TEST(DibResizeNear8, ReadPastTheBufferIsRefused)
{
    // Whole 4 x 4 plane enlarged to 8 x 8: the one-past column of row 3 is
    // the byte after the buffer.
    TestPlane src(4, 4, 4, 1, 1);
    TestPlane dst(8, 8, 8, 1, kSent);
    IMG_PARAM s = src.Param(0, 0, 4, 4), d = dst.Param(0, 0, 8, 8);
    EXPECT_EQ(0, DIB_ResizeNear8(s, d));
    EXPECT_TRUE(AllSentinel(dst));
    // In a plane with a fifth column the byte exists and the call goes through.
    TestPlane padded(5, 4, 5, 1, 1);
    IMG_PARAM p = padded.Param(0, 0, 4, 4);
    EXPECT_EQ(1, DIB_ResizeNear8(p, d));
}

// ---- 4:2:0 chroma ----

// Luma 8 x 4 source (chroma 4 x 2, C = 10 y + x + 1) to a 6 x 6 luma region
// (chroma 3 x 3). stepX = 28672 / 5 = 5734, stepY = 12288 / 5 = 2457.
//  luma row 0: sy 0; luma columns 0, 2, 4 -> sx 0, 2 (frac 3276), 5 (frac 2456)
//  luma row 2: sy 1 (frac 818) -> chroma rows 0 and 1 mixed
//  final chroma row 2: from chroma row (0 + 4 - 1)/2 = 1, luma columns 0, 2
//  only: its last sample is not written.
// Bilinear, e.g. row 1 sample 0: (3278 * 1 + 818 * 11) / 4096 = 2 (2.997).
TEST(ChromaScalers, HandWorkedValuesAndLoopBounds)
{
    TestPlane src(4, 2, 5, 1, 0);
    for (int y = 0; y < 2; ++y)
        for (int x = 0; x < 4; ++x)
            src.at(x, y) = static_cast<uint8_t>(10 * y + x + 1);
    IMG_PARAM s = src.Param(0, 0, 8, 4);
    s.nWidth = 8;
    s.nHeight = 4;
    TestPlane nearest(3, 3, 4, 1, kSent), bilinear(3, 3, 4, 1, kSent);
    IMG_PARAM dn = nearest.Param(0, 0, 6, 6), db = bilinear.Param(0, 0, 6, 6);
    dn.nWidth = db.nWidth = 6;
    dn.nHeight = db.nHeight = 6;
    ASSERT_EQ(1, DIB_ResizeNearUV(s, dn));
    ASSERT_EQ(1, DIB_ResizeBiLinerUV(s, db));
    EXPECT_EQ((Grid{{1, 2, 3}, {1, 2, 3}, {11, 12, S}}), Read(nearest, 0, 0, 3, 3, false));
    EXPECT_EQ((Grid{{1, 2, 3}, {2, 3, 4}, {11, 12, S}}), Read(bilinear, 0, 0, 3, 3, false));
}

// Destination region {1, 1, 5, 5} of a 9 x 9 luma picture: luma columns 1, 3,
// 5 -> chroma 0, 1, 2; luma rows 1, 3 -> chroma 0, 1; the final row 5 ->
// chroma 2 with columns 1, 3 only.
TEST(ChromaScalers, OddOffsetRegionWritesEvenLumaOffsetsOnly)
{
    TestPlane src(5, 5, 5, 1, 77);
    IMG_PARAM s = src.Param(0, 0, 9, 9);
    s.nWidth = s.nHeight = 9;
    for (auto fn : {DIB_ResizeNearUV, DIB_ResizeBiLinerUV}) {
        TestPlane dst(5, 5, 6, 1, kSent);
        IMG_PARAM d = dst.Param(1, 1, 5, 5);
        d.nWidth = d.nHeight = 9;
        ASSERT_EQ(1, fn(s, d));
        EXPECT_EQ((Grid{{77, 77, 77, S, S}, {77, 77, 77, S, S}, {77, 77, S, S, S}, {S, S, S, S, S}, {S, S, S, S, S}}),
                  Read(dst, 0, 0, 5, 5, false));
    }
}

// ResizeUV over whole chroma planes of a 4 x 4 luma picture: identity steps;
// the final chroma row writes luma column 0 only.
TEST(ChromaScalers, ResizeUVTakesLumaSizesAndLeavesLastSample)
{
    TestPlane src(2, 2, 2, 1, 0);
    src.bytes = {5, 6, 7, 8};
    TestPlane dst(2, 2, 2, 1, kSent);
    ASSERT_EQ(1, ResizeUV(dst.data(), 4, 4, 2, src.data(), 4, 4, 2, IMAGE_INTERPOLATION_BILINEAR));
    EXPECT_EQ((std::vector<uint8_t>{5, 6, 7, kSent}), dst.bytes);
}

// ---- luma through the image library ----

TEST(LumaScalers, QuarterTurnShrinksNearestButNotBilinear)
{
    TestPlane src(200, 100, 203, 1, 0);
    for (int y = 0; y < 100; ++y)
        for (int x = 0; x < 200; ++x)
            src.at(x, y) = static_cast<uint8_t>((x + 3 * y) & 0xFF);
    IMG_PARAM s = src.Param(0, 0, 200, 100);

    TestPlane dn(200, 100, 201, 1, kSent);
    IMG_PARAM d = dn.Param(0, 0, 200, 100);
    ASSERT_EQ(1, DIB_ResizeNearY(s, d, 90));
    // Factor 0.5 both ways: 100 x 50 written from the corner, src(2x, 2y).
    for (int y = 0; y < 100; ++y)
        for (int x = 0; x < 200; ++x)
            ASSERT_EQ((x < 100 && y < 50) ? src.at(2 * x, 2 * y) : S, dn.at(x, y)) << x << "," << y;

    TestPlane db(200, 100, 201, 1, kSent);
    d = db.Param(0, 0, 200, 100);
    ASSERT_EQ(1, DIB_ResizeBiLinerY(s, d, 90));
    for (int y = 0; y < 100; ++y)
        for (int x = 0; x < 200; ++x)
            ASSERT_EQ(src.at(x, y), db.at(x, y));
}

TEST(LumaScalers, CalcResizeScaleforRotate)
{
    TestPlane p(640, 1, 640, 1, 0);
    IMG_PARAM d = p.Param(0, 0, 640, 480);
    for (int a : {0, 180, 360, -180, 540})
        EXPECT_DOUBLE_EQ(1.0, CalcResizeScaleforRotate(d, a)) << a;
    for (int a : {90, 270, 45, -90})
        EXPECT_DOUBLE_EQ(0.75, CalcResizeScaleforRotate(d, a)) << a;
    d.cx = 480;
    d.cy = 640;
    EXPECT_DOUBLE_EQ(0.75, CalcResizeScaleforRotate(d, 90));
    d.cx = d.cy = 0;
    EXPECT_DOUBLE_EQ(0.0, CalcResizeScaleforRotate(d, 90));
}

// ResizeY takes the destination first: {0, 200} doubled gives 0, 100, 200,
// 200 ((200 * 256 * 128 + 32768) >> 16 = 100), and the source is not touched.
TEST(LumaScalers, ResizeYDestinationFirst)
{
    TestPlane src(2, 1, 2, 1, 0);
    src.bytes = {0, 200};
    TestPlane dst(4, 2, 5, 1, kSent);
    ASSERT_EQ(1, ResizeY(dst.data(), 4, 2, 5, src.data(), 2, 1, 2, IMAGE_INTERPOLATION_BILINEAR));
    EXPECT_EQ((Grid{{0, 100, 200, 200}, {0, 100, 200, 200}}), Read(dst, 0, 0, 4, 2, false));
    EXPECT_EQ((std::vector<uint8_t>{0, 200}), src.bytes);
}

// ---- pictures ----

// A 4 x 4 picture copied (factor 1) into the region {2, 2, 4, 4} of an 8 x 8
// frame: luma lands at rows/columns 2..5, chroma (records halved) at 1..2.
TEST(ImageResizeYV12, RegionWithOffsetAndHalvedChroma)
{
    TestPlane sy(4, 4, 5, 1, 0), su(2, 2, 3, 1, 0), sv(2, 2, 3, 1, 0);
    for (int i = 0; i < 16; ++i)
        sy.at(i % 4, i / 4) = static_cast<uint8_t>(i + 1);
    for (int i = 0; i < 4; ++i) {
        su.at(i % 2, i / 2) = static_cast<uint8_t>(100 + i);
        sv.at(i % 2, i / 2) = static_cast<uint8_t>(200 + i);
    }
    TestPlane dy(8, 8, 9, 1, kSent), du(4, 4, 5, 1, kSent), dv(4, 4, 5, 1, kSent);
    IMG_PARAM s = sy.Param(0, 0, 4, 4), d = dy.Param(2, 2, 4, 4);
    for (int interp : {0, 1, 2}) {
        ASSERT_EQ(1, ImageResizeYV12(s, sy.data(), su.data(), sv.data(), 5, 3, 3, d, dy.data(), du.data(), dv.data(),
                                     9, 5, 5, static_cast<IMAGE_INTERPOLATION>(interp), 0));
        for (int y = 0; y < 8; ++y)
            for (int x = 0; x < 8; ++x) {
                const bool in = x >= 2 && x < 6 && y >= 2 && y < 6;
                ASSERT_EQ(in ? sy.at(x - 2, y - 2) : S, dy.at(x, y)) << x << "," << y;
            }
        for (int y = 0; y < 4; ++y)
            for (int x = 0; x < 4; ++x) {
                const bool in = x >= 1 && x < 3 && y >= 1 && y < 3;
                ASSERT_EQ(in ? su.at(x - 1, y - 1) : S, du.at(x, y));
                ASSERT_EQ(in ? sv.at(x - 1, y - 1) : S, dv.at(x, y));
            }
    }
    // An unknown filter fails in every plane, yet the picture reports 1.
    TestPlane ey(8, 8, 9, 1, kSent), eu(4, 4, 5, 1, kSent), ev(4, 4, 5, 1, kSent);
    EXPECT_EQ(1, ImageResizeYV12(s, sy.data(), su.data(), sv.data(), 5, 3, 3, d, ey.data(), eu.data(), ev.data(), 9,
                                 5, 5, IMAGE_INTERPOLATION_CONVOLVE, 0));
    EXPECT_TRUE(AllSentinel(ey) && AllSentinel(eu) && AllSentinel(ev));
}

TEST(ImageResizeYUV, NullFrameDoesNothingAndFramesForwardPlanes)
{
    TestPlane sy(4, 4, 4, 1, 50), su(2, 2, 2, 1, 60), sv(2, 2, 2, 1, 70);
    TestPlane dy(4, 4, 4, 1, kSent), du(2, 2, 2, 1, kSent), dv(2, 2, 2, 1, kSent);
    MEDIA_FRAME fs = {}, fd = {};
    fs.pY = sy.data(), fs.pU = su.data(), fs.pV = sv.data(), fs.nPitchY = 4, fs.nPitchU = fs.nPitchV = 2;
    fd.pY = dy.data(), fd.pU = du.data(), fd.pV = dv.data(), fd.nPitchY = 4, fd.nPitchU = fd.nPitchV = 2;
    IMG_PARAM s = sy.Param(0, 0, 4, 4), d = dy.Param(0, 0, 4, 4);
    ImageResizeYUV(s, nullptr, d, &fd, IMAGE_INTERPOLATION_BILINEAR, 0);
    ImageResizeYUV(s, &fs, d, nullptr, IMAGE_INTERPOLATION_BILINEAR, 0);
    EXPECT_TRUE(AllSentinel(dy) && AllSentinel(du) && AllSentinel(dv));
    ImageResizeYUV(s, &fs, d, &fd, IMAGE_INTERPOLATION_BILINEAR, 0);
    EXPECT_EQ(std::vector<uint8_t>(16, 50), dy.bytes);
    EXPECT_EQ(std::vector<uint8_t>(4, 60), du.bytes);
    EXPECT_EQ(std::vector<uint8_t>(4, 70), dv.bytes);
}

TEST(ImageResizeYV444, FourFullSizePlanes)
{
    std::vector<TestPlane> src, dst;
    for (int i = 0; i < 4; ++i) {
        src.emplace_back(2, 2, 3, 1, static_cast<uint8_t>(10 * (i + 1)));
        dst.emplace_back(4, 4, 4, 1, kSent);
    }
    IMG_PARAM s = src[0].Param(0, 0, 2, 2), d = dst[0].Param(0, 0, 4, 4);
    ASSERT_EQ(1, ImageResizeYV444(s, src[0].data(), src[1].data(), src[2].data(), src[3].data(), 3, 3, 3, 3, d,
                                  dst[0].data(), dst[1].data(), dst[2].data(), dst[3].data(), 4, 4, 4, 4,
                                  IMAGE_INTERPOLATION_NEAREST));
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(std::vector<uint8_t>(16, static_cast<uint8_t>(10 * (i + 1))), dst[i].bytes) << i;
    d.cy = 1;
    EXPECT_EQ(0, ImageResizeYV444(s, src[0].data(), src[1].data(), src[2].data(), src[3].data(), 3, 3, 3, 3, d,
                                  dst[0].data(), dst[1].data(), dst[2].data(), dst[3].data(), 4, 4, 4, 4,
                                  IMAGE_INTERPOLATION_NEAREST));
}

// ---- cubic convolution ----

// Source row {0, 100} to 5 columns: stepX 1024 (more than twice) switches
// the pre-smoothing on. For sx 0 the samples {0, 0, 100, 100} become
// {0, (0+0+33)/2 = 16, (0+100+66)/2 = 83, 100}; weights at u = 0, .25, .5, .75:
//  u 0: 16;  u .25: 16*.890625 + 83*.296875 - 100*.046875 = 34.20 -> 34
//  u .5: 16*.625 + 83*.625 - 100*.125 = 49.375 -> 49
//  u .75: 16*.296875 + 83*.890625 - 100*.140625 = 64.61 -> 65
//  sx 1: {0, 100, 100, 100} -> p1 = (0+100+33)/2 = 66 -> 66.
TEST(DibResizeConvolve, SmoothedEnlargementHandWorked)
{
    TestPlane src(2, 2, 8, 4, 0);
    for (int y = 0; y < 2; ++y) {
        for (int b = 0; b < 3; ++b)
            src.bu(1, y, b) = 100;
        src.bu(0, y, 3) = static_cast<uint8_t>(1 + y);
        src.bu(1, y, 3) = static_cast<uint8_t>(3 + y);
    }
    TestPlane dst(5, 2, 20, 4, kSent);
    IMG_PARAM s = src.Param(0, 0, 2, 2), d = dst.Param(0, 0, 5, 2);
    ASSERT_EQ(1, DIB_ResizeConvolve(s, d));
    for (int b = 0; b < 3; ++b)
        EXPECT_EQ((Grid{{16, 34, 49, 65, 66}, {16, 34, 49, 65, 66}}), Read(dst, 0, 0, 5, 2, true, b));
    EXPECT_EQ((Grid{{1, 1, 1, 1, 3}, {2, 2, 2, 2, 4}}), Read(dst, 0, 0, 5, 2, true, 3));
}

// {0, 0, 255, 255} to 5 columns: stepX 3072, no smoothing; the negative lobe
// gives -35 (clamped to 0) and the overshoot 291 (clamped to 255):
//  u .75 at sx 0: 255 * -.140625 = -35.86 -> -35 -> 0
//  u .5 at sx 1: 255 * (.625 - .125) = 127.5 -> 128
//  u .25 at sx 2: 255 * (.890625 + .296875 - .046875) = 290.86 -> 291 -> 255
TEST(DibResizeConvolve, ClampsOvershoot)
{
    TestPlane src(4, 1, 16, 4, 0);
    for (int x = 2; x < 4; ++x)
        for (int b = 0; b < 3; ++b)
            src.bu(x, 0, b) = 255;
    TestPlane dst(5, 2, 20, 4, kSent);
    IMG_PARAM s = src.Param(0, 0, 4, 1), d = dst.Param(0, 0, 5, 2);
    ASSERT_EQ(1, DIB_ResizeConvolve(s, d));
    EXPECT_EQ((Grid{{0, 0, 128, 255, 255}, {0, 0, 128, 255, 255}}), Read(dst, 0, 0, 5, 2, true, 1));
}

// ---- overlays ----

// 2 x 2 to 2 x 2 over a destination of colour 100, fourth byte 200.
//  (0,0) interpolated: colour 200, a 128 -> (25600 + 12700)/255 = 150;
//        fourth 127*200/255 + 128 = 227
//  (1,0) last column: colour 50, a 255 -> 50; fourth byte kept
//  (0,1) last row: a 0 -> 100;  (1,1): (20*51 + 204*100)/255 = 84
TEST(DibAlphaResizeBiLiner, BlendsOverDestination)
{
    TestPlane src(2, 2, 8, 4, 0);
    const int colour[2][2] = {{200, 50}, {100, 20}}, alpha[2][2] = {{128, 255}, {0, 51}};
    for (int y = 0; y < 2; ++y)
        for (int x = 0; x < 2; ++x) {
            for (int b = 0; b < 3; ++b)
                src.bu(x, y, b) = static_cast<uint8_t>(colour[y][x]);
            src.bu(x, y, 3) = static_cast<uint8_t>(alpha[y][x]);
        }
    TestPlane dst(2, 2, 8, 4, 100);
    for (int y = 0; y < 2; ++y)
        for (int x = 0; x < 2; ++x)
            dst.bu(x, y, 3) = 200;
    IMG_PARAM s = src.Param(0, 0, 2, 2), d = dst.Param(0, 0, 2, 2);
    ASSERT_EQ(1, ImageAlphaResize(s, d, IMAGE_INTERPOLATION_NEAREST));
    for (int b = 0; b < 3; ++b)
        EXPECT_EQ((Grid{{150, 50}, {100, 84}}), Read(dst, 0, 0, 2, 2, true, b));
    EXPECT_EQ((Grid{{227, 200}, {200, 200}}), Read(dst, 0, 0, 2, 2, true, 3));
}

// Mask {0, 128 / 255, 51} onto fourth bytes of 200: 0 clears the pixel,
// 128*200/255 = 100, 255 keeps 200, 51*200/255 = 40.
TEST(StretchMask, MaskOntoFourthBytes)
{
    TestPlane mask(3, 2, 4, 1, 0);
    mask.bu(1, 0) = 0, mask.bu(2, 0) = 128, mask.bu(1, 1) = 255, mask.bu(2, 1) = 51;
    for (auto fn : {ImageStretchMask, StretchMaskResizeNear}) {
        TestPlane dst(2, 2, 8, 4, 100);
        for (int y = 0; y < 2; ++y)
            for (int x = 0; x < 2; ++x)
                dst.bu(x, y, 3) = 200;
        IMG_PARAM s = mask.Param(1, 0, 2, 2), d = dst.Param(0, 0, 2, 2);
        ASSERT_EQ(1, fn(s, d));
        EXPECT_EQ((Grid{{0, 100}, {100, 100}}), Read(dst, 0, 0, 2, 2, true, 0));
        EXPECT_EQ((Grid{{0, 100}, {200, 40}}), Read(dst, 0, 0, 2, 2, true, 3));
    }
}

// ---- the uncalled luma simulation ----

// Region 3 x 2 of a 4-wide plane to 3 x 2: steps 4096; row 0 averages
// (x, x+1) x (row 0, row 1), the right neighbour of the last column being
// column 3 of the buffer; the last row copies every second column only.
TEST(DibResizeBiLinerYSimulate, AveragesAndSparseLastRow)
{
    TestPlane src(4, 2, 4, 1, 0);
    src.bytes = {10, 20, 30, 40, 50, 60, 70, 81};
    TestPlane dst(3, 2, 3, 1, kSent);
    IMG_PARAM s = src.Param(0, 0, 3, 2), d = dst.Param(0, 0, 3, 2);
    ASSERT_EQ(1, DIB_ResizeBiLinerY_Simulate(s, d));
    EXPECT_EQ((Grid{{35, 45, 55}, {50, S, S}}), Read(dst, 0, 0, 3, 2, false));
    // In a 3-wide plane that neighbour is past the buffer: refused.
    TestPlane narrow(3, 2, 3, 1, 1);
    TestPlane dst2(3, 2, 3, 1, kSent);
    IMG_PARAM n = narrow.Param(0, 0, 3, 2), d2 = dst2.Param(0, 0, 3, 2);
    EXPECT_EQ(0, DIB_ResizeBiLinerY_Simulate(n, d2));
    EXPECT_TRUE(AllSentinel(dst2));
}

// ---- reference and dispatched kernels agree ----
//
// Every scaler runs once with the kernels forced to the reference and once
// with the dispatched tables, over odd sizes, padded pitches and offset
// regions, into buffers pre-filled with different sentinels (overlays,
// which read the destination, into equal random ones).
TEST(KernelDispatch, ForcedReferenceAndDispatchedAgree)
{
    std::mt19937 rng(99);
    auto uni = [&](int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng); };
    using Fn = int (*)(const IMG_PARAM&, IMG_PARAM&);
    const std::pair<Fn, int> scalers[] = {{DIB_ResizeBiLiner, 4},       {DIB_ResizeNear, 4},
                                          {DIB_ResizeConvolve, 4},      {DIB_AlphaResizeBiLiner, 4},
                                          {DIB_ResizeBiLiner8, 1},      {DIB_ResizeNearUV, 1},
                                          {DIB_ResizeBiLinerUV, 1},     {StretchMaskResizeBiLiner, 1},
                                          {StretchMaskResizeNear, 1}};
    for (int iter = 0; iter < 40; ++iter) {
        const int sw = uni(1, 40), sh = uni(1, 20), dw = uni(2, 70), dh = uni(2, 30);
        for (const auto& sc : scalers) {
            const bool mask = sc.first == StretchMaskResizeBiLiner || sc.first == StretchMaskResizeNear;
            const int dstBpp = mask ? 4 : sc.second;
            TestPlane src(sw + 2, sh + 1, (sw + 2) * sc.second + uni(0, 5), sc.second, 0);
            for (auto& b : src.bytes)
                b = static_cast<uint8_t>(rng());
            IMG_PARAM s = src.Param(uni(0, 2), uni(0, 1), sw, sh);
            TestPlane a(dw + 1, dh + 2, (dw + 1) * dstBpp + 3, dstBpp, 0x11);
            TestPlane b(dw + 1, dh + 2, (dw + 1) * dstBpp + 3, dstBpp, 0x22);
            // Overlays read the destination: give both runs the same one.
            const bool blends = mask || sc.first == DIB_AlphaResizeBiLiner;
            if (blends) {
                for (auto& v : a.bytes)
                    v = static_cast<uint8_t>(rng());
                b.bytes = a.bytes;
            }
            const int dx = uni(0, 1), dy = uni(0, 2);
            IMG_PARAM pa = a.Param(dx, dy, dw, dh), pb = b.Param(dx, dy, dw, dh);
            DpSetForceReference(true);
            const int ra = sc.first(s, pa);
            DpSetForceReference(false);
            const int rb = sc.first(s, pb);
            ASSERT_EQ(1, ra);
            ASSERT_EQ(ra, rb);
            if (blends) {
                ASSERT_EQ(a.bytes, b.bytes);
                continue;
            }
            // Unwritten by both, or the same byte written by both.
            for (size_t i = 0; i < a.bytes.size(); ++i)
                ASSERT_TRUE((a.bytes[i] == 0x11 && b.bytes[i] == 0x22) || a.bytes[i] == b.bytes[i]) << i;
        }
    }
    DpSetForceReference(false);
}

} // namespace
