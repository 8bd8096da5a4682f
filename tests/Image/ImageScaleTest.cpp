// Plane scaling, rotation and placement: the own 12-bit scalers, the
// dispatchers and the picture-level operations. Expected values are worked
// out by hand from the 12-bit mapping (step = ((cx << 12) - 4096) /
// (dcx - 1)), the truncating two-stage arithmetic and the library's position
// formulas.
#include <gtest/gtest.h>

#include <random>
#include <utility>

#include "ImageResize.h"
#include "ImageRotate.h"
#include "ImageTestPlane.h"

namespace {

using Bytes = std::vector<uint8_t>;
using Scaler = int (*)(const IMG_PARAM&, IMG_PARAM&);

// The scalers take the destination record by reference; tests pass temporaries.
int Scale(Scaler fn, IMG_PARAM src, IMG_PARAM dst) { return fn(src, dst); }

// The record of a chroma plane in luma units, for a w x h luma picture.
IMG_PARAM LumaUnits(TestPlane& p, int w, int h, int x, int y, int cx, int cy)
{
    IMG_PARAM r = p.Param(x, y, cx, cy);
    r.nWidth = w, r.nHeight = h;
    return r;
}

// Source 3 x 2 {10 20 40 / 50 70 101} to 5 x 3: steps 2048 both ways.
//  row 0 (sy 0, fy 0):      10, 15, 20, 30, 40 (last column = source column 2)
//  row 1 (sy 0, fy 2048):   30, (15+60)/2 = 37, 45, (30+85)/2 = 57, 40
//                           (last column of row sy, not interpolated)
//  row 2 (last, nearest from source row 1): 50, 50, 70, 70, 101
// The fourth byte comes from source pixel (sx, sy), never interpolated
// (source alpha 100 + 10 y + x).
TEST(OwnScalers, BilinearEnlargementWithNearestLastRowAndColumn)
{
    const Grid want{{10, 15, 20, 30, 40}, {30, 37, 45, 57, 40}, {50, 50, 70, 70, 101}};
    const int v[2][3] = {{10, 20, 40}, {50, 70, 101}};
    TestPlane src(5, 4, 24, 4, 0), dst(7, 5, 36, 4), src8(4, 3, 6, 1, 0), dst8(6, 4, 7);
    src.Fill(1, 1, 3, 2, [&](int x, int y) { return v[y - 1][x - 1]; }, true);
    src8.Fill(1, 0, 3, 2, [&](int x, int y) { return v[y][x - 1]; }, true);
    for (int i = 0; i < 6; ++i)
        src.bu(1 + i % 3, 1 + i / 3, 3) = static_cast<uint8_t>(100 + 10 * (i / 3) + i % 3);
    ASSERT_EQ(1, Scale(DIB_ResizeBiLiner, src.Param(1, 1, 3, 2), dst.Param(1, 1, 5, 3)));
    for (int b = 0; b < 3; ++b)
        EXPECT_EQ(want, dst.Read(1, 1, 5, 3, true, b)) << "byte " << b;
    EXPECT_EQ((Grid{{100, 100, 101, 101, 102}, {100, 100, 101, 101, 102}, {110, 110, 111, 111, 112}}),
              dst.Read(1, 1, 5, 3, true, 3));
    EXPECT_TRUE(dst.UntouchedOutside(1, 1, 5, 3, true));
    // 8-bit, bottom-up: region (1, 0) into (0, 1) of a 6 x 4 plane.
    ASSERT_EQ(1, Scale(DIB_ResizeBiLiner8, src8.Param(1, 0, 3, 2), dst8.Param(0, 1, 5, 3)));
    EXPECT_EQ(want, dst8.Read(0, 1, 5, 3, true));
    EXPECT_TRUE(dst8.UntouchedOutside(0, 1, 5, 3, true));
}

// A destination under 2 pixels either way is refused (the rule of the two
// bilinear scalers; elsewhere the 12-bit steps would divide by zero), and so
// is a region outside its buffer. Nothing is written.
TEST(OwnScalers, NarrowDestinationsAndRegionsOutsideBuffersAreRefused)
{
    TestPlane src(4, 4, 16, 4, 7), src8(4, 4, 4, 1, 7), dst(4, 4, 16, 4), dst8(4, 4, 4);
    const auto scalers32 = {DIB_ResizeBiLiner, DIB_ResizeNear, DIB_ResizeConvolve, DIB_AlphaResizeBiLiner};
    for (auto size : {std::make_pair(1, 3), std::make_pair(3, 1), std::make_pair(1, 1), std::make_pair(0, 3)}) {
        IMG_PARAM s8 = src8.Param(0, 0, 4, 4), d = dst.Param(0, 0, size.first, size.second);
        IMG_PARAM d8 = dst8.Param(0, 0, size.first, size.second);
        for (Scaler fn : scalers32)
            EXPECT_EQ(0, Scale(fn, src.Param(0, 0, 4, 4), d));
        for (Scaler fn : {DIB_ResizeBiLiner8, DIB_ResizeBiLinerUV, DIB_ResizeNearUV})
            EXPECT_EQ(0, Scale(fn, s8, d8));
        EXPECT_EQ(0, Scale(StretchMaskResizeBiLiner, s8, d));
        EXPECT_EQ(0, DIB_ResizeBiLinerY_Simulate(s8, d8));
        EXPECT_EQ(0, ImageResizeYV12(s8, src8.data(), src8.data(), src8.data(), 4, 2, 2, d8, dst8.data(), dst8.data(),
                                     dst8.data(), 4, 2, 2, IMAGE_INTERPOLATION_BILINEAR, 0));
    }
    const IMG_PARAM s = src.Param(0, 0, 4, 4), d = dst.Param(0, 0, 4, 4);
    auto with = [](IMG_PARAM p, auto field, auto value) { return p.*field = value, p; };
    const std::pair<IMG_PARAM, IMG_PARAM> bad[] = { // source one column past, destination one row past, ...
        {with(s, &IMG_PARAM::x, 1), d},      {with(s, &IMG_PARAM::y, -1), d}, {with(s, &IMG_PARAM::cx, 0), d},
        {with(s, &IMG_PARAM::nPitch, 0), d}, {s, with(d, &IMG_PARAM::cy, 5)}, {s, with(d, &IMG_PARAM::x, -1)},
        {s, with(d, &IMG_PARAM::pBits, nullptr)}};
    for (auto& sd : bad)
        for (Scaler fn : scalers32)
            EXPECT_EQ(0, Scale(fn, sd.first, sd.second));
    EXPECT_TRUE(dst.Untouched() && dst8.Untouched());
}

// Luma 8 x 4 source (chroma 4 x 2, C = 10 y + x + 1) to a 6 x 6 luma region
// (chroma 3 x 3). stepX = 28672 / 5 = 5734, stepY = 12288 / 5 = 2457.
//  luma row 0: sy 0; luma columns 0, 2, 4 -> sx 0, 2 (frac 3276), 5 (frac 2456)
//  luma row 2: sy 1 (frac 818) -> chroma rows 0 and 1 mixed
//  final chroma row 2: from chroma row (0 + 4 - 1)/2 = 1, luma columns 0, 2
//  only: its last sample is not written.
// Bilinear, e.g. row 1 sample 0: (3278 * 1 + 818 * 11) / 4096 = 2 (2.997).
// ResizeUV, given the luma sizes, does the same.
TEST(ChromaScalers, HandWorkedValuesAndLoopBounds)
{
    TestPlane src(4, 2, 5, 1, 0);
    src.Fill([](int x, int y) { return 10 * y + x + 1; });
    const Grid nearest{{1, 2, 3}, {1, 2, 3}, {11, 12, S}}, bilinear{{1, 2, 3}, {2, 3, 4}, {11, 12, S}};
    for (int interp : {IMAGE_INTERPOLATION_NEAREST, IMAGE_INTERPOLATION_BILINEAR}) {
        const bool nn = interp == IMAGE_INTERPOLATION_NEAREST;
        TestPlane dst(3, 3, 4), viaResizeUV(3, 3, 4);
        ASSERT_EQ(1, Scale(nn ? DIB_ResizeNearUV : DIB_ResizeBiLinerUV, LumaUnits(src, 8, 4, 0, 0, 8, 4),
                         LumaUnits(dst, 6, 6, 0, 0, 6, 6)));
        EXPECT_EQ(nn ? nearest : bilinear, dst.Read());
        const auto filter = static_cast<IMAGE_INTERPOLATION>(interp);
        ASSERT_EQ(1, ResizeUV(viaResizeUV.data(), 6, 6, 4, src.data(), 8, 4, 5, filter));
        EXPECT_EQ(dst.bytes, viaResizeUV.bytes);
    }
    // Region {1, 1, 5, 5} of a 9 x 9 luma picture: luma columns 1, 3, 5 ->
    // chroma 0, 1, 2; rows 1, 3 -> chroma 0, 1; the final row 5 -> chroma 2,
    // columns 1, 3 only.
    TestPlane flat(5, 5, 5, 1, 77);
    for (Scaler fn : {DIB_ResizeNearUV, DIB_ResizeBiLinerUV}) {
        TestPlane dst(5, 5, 6);
        ASSERT_EQ(1, Scale(fn, LumaUnits(flat, 9, 9, 0, 0, 9, 9), LumaUnits(dst, 9, 9, 1, 1, 5, 5)));
        EXPECT_EQ((Grid{{77, 77, 77, S, S}, {77, 77, 77, S, S}, {77, 77, S, S, S}, {S, S, S, S, S}, {S, S, S, S, S}}),
                  dst.Read());
    }
}

// Cubic convolution (parameter -1) to 5 columns.
// {0, 100}: stepX 1024 (enlarged more than twice) switches the
// pre-smoothing on. For sx 0 the samples {0, 0, 100, 100} become
// {0, (0+0+33)/2 = 16, (0+100+66)/2 = 83, 100}; weights at u = 0, .25, .5, .75:
//  u 0: 16;  u .25: 16*.890625 + 83*.296875 - 100*.046875 = 34.20 -> 34
//  u .5: 16*.625 + 83*.625 - 100*.125 = 49.375 -> 49
//  u .75: 16*.296875 + 83*.890625 - 100*.140625 = 64.61 -> 65
//  sx 1: {0, 100, 100, 100} -> p1 = (0+100+33)/2 = 66. The fourth byte is copied.
// {0, 0, 255, 255}: stepX 3072, no smoothing; the negative lobe gives -35
// (clamped to 0), u .5 at sx 1 127.5 -> 128, the overshoot 291 -> 255.
TEST(DibResizeConvolve, SmoothedEnlargementAndClampedOvershoot)
{
    TestPlane two(2, 2, 8, 4, 0), four(4, 1, 16, 4, 0), d1(5, 2, 20, 4), d2(5, 2, 20, 4);
    two.Fill(1, 0, 1, 2, [](int, int) { return 100; });
    four.Fill(2, 0, 2, 1, [](int, int) { return 255; });
    for (int i = 0; i < 4; ++i)
        two.bu(i % 2, i / 2, 3) = static_cast<uint8_t>(1 + 2 * (i % 2) + i / 2);
    ASSERT_EQ(1, Scale(DIB_ResizeConvolve, two.Param(0, 0, 2, 2), d1.Param(0, 0, 5, 2)));
    ASSERT_EQ(1, Scale(DIB_ResizeConvolve, four.Param(0, 0, 4, 1), d2.Param(0, 0, 5, 2)));
    for (int b = 0; b < 3; ++b) {
        EXPECT_EQ((Grid{{16, 34, 49, 65, 66}, {16, 34, 49, 65, 66}}), d1.Read(0, 0, 5, 2, true, b));
        EXPECT_EQ((Grid{{0, 0, 128, 255, 255}, {0, 0, 128, 255, 255}}), d2.Read(0, 0, 5, 2, true, b));
    }
    EXPECT_EQ((Grid{{1, 1, 1, 1, 3}, {2, 2, 2, 2, 4}}), d1.Read(0, 0, 5, 2, true, 3));
}

// ---- rotation and placement ----

// A 4 x 2 picture {1 2 3 4 / 5 6 7 8} with chroma U {30 31}, V {40 41},
// turned into a 2 x 4 frame.
struct Turn {
    TestPlane sy{4, 2, 4, 1, 0}, su{2, 1, 2, 1, 30}, sv{2, 1, 2, 1, 40}, dy{2, 4, 2}, du{1, 2, 1}, dv{1, 2, 1};
    IMG_PARAM src = sy.Param(0, 0, 4, 2), dst = dy.Param(0, 0, 2, 4);

    Turn() { sy.bytes = {1, 2, 3, 4, 5, 6, 7, 8}, su.bytes[1] = 31, sv.bytes[1] = 41; }
    int Run(int nAngle, IMAGE_INTERPOLATION interp = IMAGE_INTERPOLATION_BILINEAR)
    {
        return ImageRotateYV12(src, sy.data(), su.data(), sv.data(), 4, 2, 2, dst, dy.data(), du.data(), dv.data(), 2,
                               1, 1, interp, nAngle);
    }
    bool Untouched() const { return dy.Untouched() && du.Untouched() && dv.Untouched(); }
};

// A 64 x 32 picture dragged unscaled to (100, 50) of a 320 x 240 frame: luma
// from row 50, column 100 (the luma plane comes from the records, not from
// the arguments), chroma from row 25, column 50. Nothing else is written.
struct Drag {
    TestPlane sy{64, 32, 70, 1, 0}, su{32, 16, 35, 1, 0}, sv{32, 16, 33, 1, 0};
    TestPlane dy{320, 240, 336}, du{160, 120, 170}, dv{160, 120, 161};
    IMG_PARAM src = sy.Param(0, 0, 64, 32), dst = dy.Param(100, 50, 64, 32);

    Drag()
    {
        sy.Fill([](int x, int y) { return 3 * x + 7 * y; });
        su.Fill([](int x, int y) { return 5 * x + y; });
        sv.Fill([](int x, int y) { return x + 9 * y; });
    }
    int Run(int interp)
    {
        return ImageDragYUV(src, nullptr, su.data(), sv.data(), 0, su.pitch, sv.pitch, dst, nullptr, du.data(),
                            dv.data(), 0, du.pitch, dv.pitch, static_cast<IMAGE_INTERPOLATION>(interp), 90);
    }
    bool Untouched() const { return dy.Untouched() && du.Untouched() && dv.Untouched(); }
};

// A 4 x 3 frame, nAngle 90: k = 3/4, centre (x 3/2 = 1, y 4/2 = 2).
// Columns xs = 1 + (x' - 1) / 0.75 = -0.33, 1, 2.33, 3.67; rows ys = -0.67,
// 0.67, 2. With source columns 0, 60, 120, 180 (all rows alike), linear:
// 2.33 snaps to 152917, weight 85: (120*256*171 + 180*256*85 + 32768) >> 16
// = 140 (nearest would give 120); 3.67 clamps to column 3: 180.
// Chroma (2 x 1, centre (0, 1)): row position -0.33, nothing written.
TEST(ImageRotateResizeYUV, AlwaysLinearAboutTurnedCentre)
{
    for (auto interp : {IMAGE_INTERPOLATION_NEAREST, IMAGE_INTERPOLATION_BILINEAR}) {
        TestPlane sy(4, 3, 5, 1, 0), su(2, 1, 2, 1, 9), sv(2, 1, 2, 1, 9), dy(4, 3, 4), du(2, 1, 2), dv(2, 1, 2);
        sy.Fill([](int x, int) { return 60 * x; });
        IMG_PARAM src = sy.Param(0, 0, 4, 3), dst = dy.Param(0, 0, 4, 3);
        auto run = [&] {
            return ImageRotateResizeYUV(src, nullptr, su.data(), sv.data(), 0, 2, 2, dst, nullptr, du.data(), dv.data(),
                                        0, 2, 2, interp, 90);
        };
        ASSERT_EQ(1, run());
        EXPECT_EQ((Grid{{S, S, S, S}, {S, 60, 140, 180}, {S, 60, 140, 180}}), dy.Read());
        EXPECT_TRUE(du.Untouched() && dv.Untouched());
        dst.cy = 1;
        EXPECT_EQ(0, run());
    }
}

// An odd-width picture turned by 90: its chroma is read with half the luma
// width, truncated, as both size and row step (kept deliberately), so the
// 3-wide chroma rows of a 5 x 4 picture are read 2 bytes apart and their
// third column never. Turned chroma (X, Y) = source chroma (2 - Y, X), row 0
// out of reach: unwritten.
TEST(ImageRotateYV12, OddWidthChromaUsesTheTruncatedHalfWidth)
{
    TestPlane sy(5, 4, 5, 1, 0), su(3, 2, 3, 1, 0), sv(3, 2, 3, 1, 0), dy(4, 5, 4), du(2, 2, 2), dv(2, 2, 2);
    su.bytes = {10, 11, 12, 13, 14, 15};
    sv.bytes = {20, 21, 22, 23, 24, 25};
    IMG_PARAM dst = dy.Param(0, 0, 4, 5);
    ASSERT_EQ(1, ImageRotateYV12(sy.Param(0, 0, 5, 4), sy.data(), su.data(), sv.data(), 5, 3, 3, dst, dy.data(),
                                 du.data(), dv.data(), 4, 2, 2, IMAGE_INTERPOLATION_NEAREST, 90));
    EXPECT_EQ((Grid{{S, S}, {11, 13}}), du.Read());
    EXPECT_EQ((Grid{{S, S}, {21, 23}}), dv.Read());
}

} // namespace
