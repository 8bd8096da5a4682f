// Rotation and drag of YUV 4:2:0 pictures, plane by plane. Expected values
// follow from the library's position formulas worked by hand.
#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

#include "ImageResize.h"
#include "ImageRotate.h"
#include "ScaleTestPlane.h"

namespace {

constexpr uint8_t kSent = 0xEE;
const int S = kSent;
using Grid = std::vector<std::vector<int>>;

Grid Read(TestPlane& p)
{
    Grid g;
    for (int y = 0; y < p.height; ++y) {
        std::vector<int> row;
        for (int x = 0; x < p.width; ++x)
            row.push_back(p.at(x, y));
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

// A 4 x 2 picture {1 2 3 4 / 5 6 7 8} with chroma U {30 31}, V {40 41},
// turned into a 2 x 4 frame.
struct Turn {
    TestPlane sy{4, 2, 4, 1, 0}, su{2, 1, 2, 1, 30}, sv{2, 1, 2, 1, 40};
    TestPlane dy{2, 4, 2, 1, kSent}, du{1, 2, 1, 1, kSent}, dv{1, 2, 1, 1, kSent};
    IMG_PARAM src = sy.Param(0, 0, 4, 2), dst = dy.Param(0, 0, 2, 4);

    Turn()
    {
        for (int i = 0; i < 8; ++i)
            sy.bytes[static_cast<size_t>(i)] = static_cast<uint8_t>(i + 1);
        su.bytes[1] = 31;
        sv.bytes[1] = 41;
    }
    int Run(int nAngle, IMAGE_INTERPOLATION interp = IMAGE_INTERPOLATION_BILINEAR)
    {
        return ImageRotateYV12(src, sy.data(), su.data(), sv.data(), 4, 2, 2, dst, dy.data(), du.data(), dv.data(), 2,
                               1, 1, interp, nAngle);
    }
};

// 90: dst(X, Y) = src(4 - Y, X), destination row 0 unwritten; chroma 2 x 1
// into 1 x 2 with yShift 2: only (0, 1) = src(1, 0).
// 270: dst(X, Y) = src(Y, 2 - X), column 0 unwritten; chroma with xShift 1
// maps column 0 to source row 1, which does not exist: nothing written.
TEST(ImageRotateYV12, QuarterTurnsOfFourByTwo)
{
    for (auto interp : {IMAGE_INTERPOLATION_NEAREST, IMAGE_INTERPOLATION_BILINEAR, IMAGE_INTERPOLATION_DEFAULT}) {
        Turn t90;
        EXPECT_EQ(1, t90.Run(90, interp));
        EXPECT_EQ((Grid{{S, S}, {4, 8}, {3, 7}, {2, 6}}), Read(t90.dy));
        EXPECT_EQ((Grid{{S}, {31}}), Read(t90.du));
        EXPECT_EQ((Grid{{S}, {41}}), Read(t90.dv));
        Turn t270;
        EXPECT_EQ(1, t270.Run(270, interp));
        EXPECT_EQ((Grid{{S, 5}, {S, 6}, {S, 7}, {S, 8}}), Read(t270.dy));
        EXPECT_TRUE(AllSentinel(t270.du) && AllSentinel(t270.dv));
    }
}

TEST(ImageRotateYV12, OtherAnglesDrawNothingAndNarrowDestinationFails)
{
    for (int a : {0, 180, -90, -270, 450, 45}) {
        Turn t;
        EXPECT_EQ(1, t.Run(a)) << a;
        EXPECT_TRUE(AllSentinel(t.dy) && AllSentinel(t.du) && AllSentinel(t.dv)) << a;
    }
    Turn t;
    t.dst.cx = 1;
    EXPECT_EQ(0, t.Run(90));
    t.dst.cx = 2;
    t.dst.cy = 1;
    EXPECT_EQ(0, t.Run(90));
    EXPECT_TRUE(AllSentinel(t.dy) && AllSentinel(t.du) && AllSentinel(t.dv));
}

TEST(ImageRotateYUV, FrameFormForwardsPlanesAndIgnoresNull)
{
    Turn t;
    MEDIA_FRAME fs = {}, fd = {};
    fs.pY = t.sy.data(), fs.pU = t.su.data(), fs.pV = t.sv.data();
    fd.pY = t.dy.data(), fd.pU = t.du.data(), fd.pV = t.dv.data();
    ImageRotateYUV(t.src, nullptr, t.dst, &fd, IMAGE_INTERPOLATION_BILINEAR, 90);
    ImageRotateYUV(t.src, &fs, t.dst, nullptr, IMAGE_INTERPOLATION_BILINEAR, 90);
    EXPECT_TRUE(AllSentinel(t.dy));
    ImageRotateYUV(t.src, &fs, t.dst, &fd, IMAGE_INTERPOLATION_BILINEAR, 90);
    EXPECT_EQ((Grid{{S, S}, {4, 8}, {3, 7}, {2, 6}}), Read(t.dy));
    EXPECT_EQ((Grid{{S}, {31}}), Read(t.du));
}

// A 64 x 32 picture dragged unscaled to (100, 50) of a 320 x 240 frame: luma
// from row 50, column 100; chroma from row 25, column 50. Nothing else is
// written; the luma plane comes from the records, not from the arguments.
struct Drag {
    TestPlane sy{64, 32, 70, 1, 0}, su{32, 16, 35, 1, 0}, sv{32, 16, 33, 1, 0};
    TestPlane dy{320, 240, 336, 1, kSent}, du{160, 120, 170, 1, kSent}, dv{160, 120, 161, 1, kSent};
    IMG_PARAM src = sy.Param(0, 0, 64, 32), dst = dy.Param(100, 50, 64, 32);

    Drag()
    {
        for (int y = 0; y < 32; ++y)
            for (int x = 0; x < 64; ++x)
                sy.at(x, y) = static_cast<uint8_t>(3 * x + 7 * y);
        for (int y = 0; y < 16; ++y)
            for (int x = 0; x < 32; ++x) {
                su.at(x, y) = static_cast<uint8_t>(5 * x + y);
                sv.at(x, y) = static_cast<uint8_t>(x + 9 * y);
            }
    }
    int Run(IMAGE_INTERPOLATION interp)
    {
        return ImageDragYUV(src, nullptr, su.data(), sv.data(), 0, su.pitch, sv.pitch, dst, nullptr, du.data(),
                            dv.data(), 0, du.pitch, dv.pitch, interp, 90);
    }
};

void ExpectPlaced(TestPlane& dst, TestPlane& src, int x0, int y0)
{
    for (int y = 0; y < dst.height; ++y)
        for (int x = 0; x < dst.width; ++x) {
            const bool in = x >= x0 && x < x0 + src.width && y >= y0 && y < y0 + src.height;
            ASSERT_EQ(in ? src.at(x - x0, y - y0) : S, dst.at(x, y)) << x << "," << y;
        }
}

TEST(ImageDragYUV, PlacesPictureAtRegionOffset)
{
    Drag d;
    ASSERT_EQ(1, d.Run(IMAGE_INTERPOLATION_BILINEAR));
    ExpectPlaced(d.dy, d.sy, 100, 50);
    ExpectPlaced(d.du, d.su, 50, 25);
    ExpectPlaced(d.dv, d.sv, 50, 25);
}

TEST(ImageDragYUV, FrameFormAndRefusals)
{
    Drag d;
    MEDIA_FRAME fs = {}, fd = {};
    fs.pU = d.su.data(), fs.pV = d.sv.data(), fs.nPitchU = d.su.pitch, fs.nPitchV = d.sv.pitch;
    fd.pU = d.du.data(), fd.pV = d.dv.data(), fd.nPitchU = d.du.pitch, fd.nPitchV = d.dv.pitch;
    ImageDragYUV(d.src, &fs, d.dst, nullptr, IMAGE_INTERPOLATION_BILINEAR, 0);
    EXPECT_TRUE(AllSentinel(d.dy) && AllSentinel(d.du));
    // Narrow destination region; a region leaving its frame.
    d.dst.cx = 1;
    EXPECT_EQ(0, d.Run(IMAGE_INTERPOLATION_BILINEAR));
    d.dst.cx = 64;
    d.dst.x = 257;
    EXPECT_EQ(0, d.Run(IMAGE_INTERPOLATION_BILINEAR));
    EXPECT_TRUE(AllSentinel(d.dy) && AllSentinel(d.du) && AllSentinel(d.dv));
    d.dst.x = 100;
    ImageDragYUV(d.src, &fs, d.dst, &fd, IMAGE_INTERPOLATION_BILINEAR, 0);
    ExpectPlaced(d.dy, d.sy, 100, 50);
    ExpectPlaced(d.dv, d.sv, 50, 25);
}

// Unknown interpolation values are handed to the library as nearest.
TEST(ImageDragYUV, UnknownInterpolationIsNearest)
{
    auto run = [](IMAGE_INTERPOLATION interp) {
        Drag d;
        d.dst.cx = 128;
        d.dst.cy = 64;
        d.Run(interp);
        return d.dy.bytes;
    };
    const auto nearest = run(IMAGE_INTERPOLATION_NEAREST);
    EXPECT_NE(nearest, run(IMAGE_INTERPOLATION_BILINEAR));
    EXPECT_EQ(run(IMAGE_INTERPOLATION_BILINEAR), run(IMAGE_INTERPOLATION_DEFAULT));
    EXPECT_EQ(nearest, run(IMAGE_INTERPOLATION_CONVOLVE));
    EXPECT_EQ(nearest, run(static_cast<IMAGE_INTERPOLATION>(-3)));
}

// A 4 x 3 frame, nAngle 90: k = 3/4, centre (x 3/2 = 1, y 4/2 = 2).
// Columns xs = 1 + (x' - 1) / 0.75 = -0.33, 1, 2.33, 3.67; rows ys = -0.67,
// 0.67, 2. With source columns 0, 60, 120, 180 (all rows alike), linear:
// 2.33 snaps to 152917, weight 85: (120*256*171 + 180*256*85 + 32768) >> 16
// = 140 (nearest would give 120); 3.67 clamps to column 3: 180.
// Chroma (2 x 1, centre (0, 1)): row position -0.33, nothing written.
TEST(ImageRotateResizeYUV, AlwaysLinearAboutTurnedCentre)
{
    for (auto interp : {IMAGE_INTERPOLATION_NEAREST, IMAGE_INTERPOLATION_BILINEAR}) {
        TestPlane sy(4, 3, 5, 1, 0), su(2, 1, 2, 1, 9), sv(2, 1, 2, 1, 9);
        for (int y = 0; y < 3; ++y)
            for (int x = 0; x < 4; ++x)
                sy.at(x, y) = static_cast<uint8_t>(60 * x);
        TestPlane dy(4, 3, 4, 1, kSent), du(2, 1, 2, 1, kSent), dv(2, 1, 2, 1, kSent);
        IMG_PARAM src = sy.Param(0, 0, 4, 3), dst = dy.Param(0, 0, 4, 3);
        ASSERT_EQ(1, ImageRotateResizeYUV(src, nullptr, su.data(), sv.data(), 0, 2, 2, dst, nullptr, du.data(),
                                          dv.data(), 0, 2, 2, interp, 90));
        EXPECT_EQ((Grid{{S, S, S, S}, {S, 60, 140, 180}, {S, 60, 140, 180}}), Read(dy));
        EXPECT_TRUE(AllSentinel(du) && AllSentinel(dv));
        dst.cy = 1;
        EXPECT_EQ(0, ImageRotateResizeYUV(src, nullptr, su.data(), sv.data(), 0, 2, 2, dst, nullptr, du.data(),
                                          dv.data(), 0, 2, 2, interp, 90));
    }
}

} // namespace
