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

// Same-size scaling: steps 4096, fractions 0; every path copies exactly.
// For the chroma scalers luma 2 x 2 is one chroma sample, the final row's
// only one: left unwritten.
TEST(OwnScalers, TwoByTwoToTwoByTwoCopiesExactly)
{
    TestPlane src(2, 2, 8, 4, 0), src8(2, 2, 2, 1, 0);
    for (size_t i = 0; i < src.bytes.size(); ++i)
        src.bytes[i] = static_cast<uint8_t>(3 + 7 * i);
    src8.bytes = {11, 22, 33, 44};
    for (Scaler fn : {DIB_ResizeBiLiner, DIB_ResizeNear, DIB_ResizeConvolve, DIB_ResizeBiLiner8, DIB_ResizeBiLinerUV,
                      DIB_ResizeNearUV}) {
        const bool is32 = fn == DIB_ResizeBiLiner || fn == DIB_ResizeNear || fn == DIB_ResizeConvolve;
        TestPlane& s = is32 ? src : src8;
        TestPlane dst(2, 2, s.pitch, s.bpp);
        ASSERT_EQ(1, Scale(fn, s.Param(0, 0, 2, 2), dst.Param(0, 0, 2, 2)));
        EXPECT_EQ(fn == DIB_ResizeBiLinerUV || fn == DIB_ResizeNearUV ? Bytes(4, kSent) : s.bytes, dst.bytes);
    }
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

// DEFAULT acts as bilinear; convolution (3) is served by ImageResize only;
// other values fail without writing. ImageAlphaResize is bilinear whatever
// it is told.
TEST(Dispatchers, DefaultIsBilinearAndConvolveOnlyFor32Bit)
{
    std::mt19937 rng(5);
    TestPlane src32(7, 5, 32, 4, 0), src8(7, 5, 9, 1, 0);
    src32.FillBytes(rng), src8.FillBytes(rng);
    using Fn = int (*)(const IMG_PARAM&, IMG_PARAM&, IMAGE_INTERPOLATION);
    auto luma = [](const IMG_PARAM& s, IMG_PARAM& d, IMAGE_INTERPOLATION i) { return ImageResizeY(s, d, i, 90); };
    for (Fn fn : std::initializer_list<Fn>{ImageResize, ImageResize8, ImageResizeUV, luma, ImageAlphaResize}) {
        const bool alpha = fn == ImageAlphaResize, convolve = fn == ImageResize, is32 = alpha || convolve;
        std::vector<int> got;
        std::vector<Bytes> out; // empty when nothing was written
        for (int interp : {0, 2, 3, 4, -1}) {
            TestPlane dst = is32 ? TestPlane(9, 7, 36, 4) : TestPlane(9, 7, 10);
            IMG_PARAM d = dst.Param(0, 0, 9, 7);
            got.push_back(fn((is32 ? src32 : src8).Param(1, 1, 5, 4), d, static_cast<IMAGE_INTERPOLATION>(interp)));
            out.push_back(dst.Untouched() ? Bytes() : dst.bytes);
        }
        const Bytes bilinear = out[0], none;
        EXPECT_EQ((std::vector<int>{1, 1, is32, alpha, alpha}), got);
        EXPECT_FALSE(bilinear.empty() || (is32 && out[2].empty()));
        EXPECT_EQ((std::vector<Bytes>{bilinear, bilinear, is32 ? out[2] : none, alpha ? bilinear : none,
                                      alpha ? bilinear : none}),
                  out);
    }
}

// Source values 16 y + x. Region {1, 1, 4, 2} into {1, 0, 4, 3}:
//  columns (i*4 + 2)/4 + 1 = 1, 2, 3, then x + cx = 5 (one past the region);
//  rows (i*2 + 1)/3 + 1 = 1, 2; the source row adds src.y again: rows 2, 3.
// The last destination row stays untouched. A whole 4 x 4 plane to 8 x 8
// would read the byte after the buffer (the one-past column of row 3) and is
// refused; with a fifth column it is not.
TEST(DibResizeNear8, TablesDoubledRowOffsetAndUntouchedLastRow)
{
    TestPlane src(8, 6, 8, 1, 0), dst(5, 4, 6), tight(4, 4, 4, 1, 1), padded(5, 4, 5, 1, 1), big(8, 8, 8);
    src.Fill([](int x, int y) { return 16 * y + x; });
    ASSERT_EQ(1, Scale(DIB_ResizeNear8, src.Param(1, 1, 4, 2), dst.Param(1, 0, 4, 3)));
    EXPECT_EQ((Grid{{S, 33, 34, 35, 37}, {S, 49, 50, 51, 53}, {S, S, S, S, S}, {S, S, S, S, S}}), dst.Read());
    EXPECT_EQ(0, Scale(DIB_ResizeNear8, tight.Param(0, 0, 4, 4), big.Param(0, 0, 8, 8)));
    EXPECT_TRUE(big.Untouched());
    EXPECT_EQ(1, Scale(DIB_ResizeNear8, padded.Param(0, 0, 4, 4), big.Param(0, 0, 8, 8)));
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

// nAngle 90 on an 8 x 4 region: k = 4 / 8. Nearest shrinks by it (4 x 2
// written from the corner, src(2x, 2y)); bilinear does not (a plain copy).
// ResizeY takes the destination first: {0, 200} doubled gives 0, 100, 200,
// 200 ((200 * 256 * 128 + 32768) >> 16 = 100).
TEST(LumaScalers, QuarterTurnShrinksNearestButNotBilinear)
{
    TestPlane src(8, 4, 11, 1, 0), dn(8, 4, 9), db(8, 4, 9), two(2, 1, 2, 1, 0), out(4, 2, 5);
    src.Fill([](int x, int y) { return x + 10 * y; });
    auto nearest = [](const IMG_PARAM& s, IMG_PARAM& d) { return DIB_ResizeNearY(s, d, 90); };
    auto bilinear = [](const IMG_PARAM& s, IMG_PARAM& d) { return DIB_ResizeBiLinerY(s, d, 90); };
    ASSERT_EQ(1, Scale(nearest, src.Param(0, 0, 8, 4), dn.Param(0, 0, 8, 4)));
    ASSERT_EQ(1, Scale(bilinear, src.Param(0, 0, 8, 4), db.Param(0, 0, 8, 4)));
    for (int i = 0; i < 32; ++i) {
        const int x = i % 8, y = i / 8;
        EXPECT_EQ(x < 4 && y < 2 ? src.at(2 * x, 2 * y) : S, dn.at(x, y)) << x << "," << y;
        EXPECT_EQ(src.at(x, y), db.at(x, y)) << x << "," << y;
    }
    two.bytes = {0, 200};
    ASSERT_EQ(1, ResizeY(out.data(), 4, 2, 5, two.data(), 2, 1, 2, IMAGE_INTERPOLATION_BILINEAR));
    EXPECT_EQ((Grid{{0, 100, 200, 200}, {0, 100, 200, 200}}), out.Read());
}

// 1 for multiples of 180, min / max of the region's sides otherwise; 0 for
// an empty region.
TEST(LumaScalers, CalcResizeScaleforRotate)
{
    IMG_PARAM d = {};
    d.cx = 640, d.cy = 480;
    for (int a : {0, 180, 360, -180, 540})
        EXPECT_DOUBLE_EQ(1.0, CalcResizeScaleforRotate(d, a)) << a;
    for (int a : {90, 270, 45, -90})
        EXPECT_DOUBLE_EQ(0.75, CalcResizeScaleforRotate(d, a)) << a;
    std::swap(d.cx, d.cy);
    EXPECT_DOUBLE_EQ(0.75, CalcResizeScaleforRotate(d, 90));
    d.cx = d.cy = 0;
    EXPECT_DOUBLE_EQ(0.0, CalcResizeScaleforRotate(d, 90));
}

// A 4 x 4 picture copied (factor 1) into the region {2, 2, 4, 4} of an 8 x 8
// frame: luma at rows and columns 2..5, chroma (records halved) at 1..2. An
// unknown filter fails in every plane, yet the picture reports 1. The frame
// form forwards the frames' planes and pitches, and ignores null frames.
TEST(ImageResizeYV12, RegionWithOffsetAndHalvedChroma)
{
    TestPlane sy(4, 4, 5, 1, 0), su(2, 2, 3, 1, 0), sv(2, 2, 3, 1, 0);
    sy.Fill([](int x, int y) { return 4 * y + x + 1; });
    su.Fill([](int x, int y) { return 100 + 2 * y + x; });
    sv.Fill([](int x, int y) { return 200 + 2 * y + x; });
    IMG_PARAM s = sy.Param(0, 0, 4, 4);
    MEDIA_FRAME fs = {}, fd = {};
    fs.pY = sy.data(), fs.pU = su.data(), fs.pV = sv.data(), fs.nPitchY = 5, fs.nPitchU = fs.nPitchV = 3;
    for (int interp : {0, 1, 2, 3, 10}) { // 10: the frame form, bilinear
        SCOPED_TRACE(interp);
        TestPlane dy(8, 8, 9), du(4, 4, 5), dv(4, 4, 5);
        IMG_PARAM d = dy.Param(2, 2, 4, 4);
        fd.pY = dy.data(), fd.pU = du.data(), fd.pV = dv.data(), fd.nPitchY = 9, fd.nPitchU = fd.nPitchV = 5;
        if (interp == 10) {
            ImageResizeYUV(s, nullptr, d, &fd, IMAGE_INTERPOLATION_BILINEAR, 0);
            ImageResizeYUV(s, &fs, d, nullptr, IMAGE_INTERPOLATION_BILINEAR, 0);
            ImageResizeYUV(s, &fs, d, &fd, IMAGE_INTERPOLATION_BILINEAR, 0);
        } else {
            ASSERT_EQ(1, ImageResizeYV12(s, sy.data(), su.data(), sv.data(), 5, 3, 3, d, dy.data(), du.data(),
                                         dv.data(), 9, 5, 5, static_cast<IMAGE_INTERPOLATION>(interp), 0));
        }
        const bool none = interp == IMAGE_INTERPOLATION_CONVOLVE;
        EXPECT_EQ(none ? Grid(4, std::vector<int>(4, S)) : sy.Read(), dy.Read(2, 2, 4, 4));
        EXPECT_EQ(none ? Grid(2, std::vector<int>(2, S)) : su.Read(), du.Read(1, 1, 2, 2));
        EXPECT_EQ(none ? Grid(2, std::vector<int>(2, S)) : sv.Read(), dv.Read(1, 1, 2, 2));
        EXPECT_TRUE(dy.UntouchedOutside(2, 2, 4, 4) && du.UntouchedOutside(1, 1, 2, 2) &&
                    dv.UntouchedOutside(1, 1, 2, 2));
    }
}

// Four full-size planes (three colours and alpha), each scaled alike.
TEST(ImageResizeYV444, FourFullSizePlanes)
{
    std::vector<TestPlane> in, out(4, TestPlane(4, 4, 4));
    for (int i = 0; i < 4; ++i)
        in.emplace_back(2, 2, 3, 1, static_cast<uint8_t>(10 * (i + 1)));
    IMG_PARAM s = in[0].Param(0, 0, 2, 2), d = out[0].Param(0, 0, 4, 4);
    ASSERT_EQ(1, ImageResizeYV444(s, in[0].data(), in[1].data(), in[2].data(), in[3].data(), 3, 3, 3, 3, d,
                                  out[0].data(), out[1].data(), out[2].data(), out[3].data(), 4, 4, 4, 4,
                                  IMAGE_INTERPOLATION_NEAREST));
    for (size_t i = 0; i < 4; ++i)
        EXPECT_EQ(Bytes(16, static_cast<uint8_t>(10 * (i + 1))), out[i].bytes) << i;
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

// Alpha overlay, 2 x 2 to 2 x 2 over a destination of all bytes 100.
//  (0,0) interpolated: colour 200, a 128 -> (25600 + 12700)/255 = 150;
//        fourth 127*100/255 + 128 = 177
//  (1,0) last column: colour 50, a 255 -> 50; fourth byte kept
//  (0,1) last row: a 0 -> 100;  (1,1): (20*51 + 204*100)/255 = 84
// Mask {0, 128 / 255, 51} onto the same destination: 0 clears the pixel,
// 128*100/255 = 50, 255 keeps 100, 51*100/255 = 20.
TEST(Overlays, AlphaBlendAndMaskOntoFourthBytes)
{
    TestPlane src(2, 2, 8, 4, 0), mask(3, 2, 4, 1, 0);
    const int colour[2][2] = {{200, 50}, {100, 20}}, alpha[2][2] = {{128, 255}, {0, 51}};
    src.Fill(0, 0, 2, 2, [&](int x, int y) { return colour[y][x]; }, true);
    for (int i = 0; i < 4; ++i)
        src.bu(i % 2, i / 2, 3) = static_cast<uint8_t>(alpha[i / 2][i % 2]);
    mask.bu(1, 0) = 0, mask.bu(2, 0) = 128, mask.bu(1, 1) = 255, mask.bu(2, 1) = 51;
    TestPlane dst(2, 2, 8, 4, 100);
    IMG_PARAM d = dst.Param(0, 0, 2, 2);
    ASSERT_EQ(1, ImageAlphaResize(src.Param(0, 0, 2, 2), d, IMAGE_INTERPOLATION_NEAREST));
    for (int b = 0; b < 3; ++b)
        EXPECT_EQ((Grid{{150, 50}, {100, 84}}), dst.Read(0, 0, 2, 2, true, b));
    EXPECT_EQ((Grid{{177, 100}, {100, 100}}), dst.Read(0, 0, 2, 2, true, 3));
    for (Scaler fn : {ImageStretchMask, StretchMaskResizeNear}) {
        TestPlane masked(2, 2, 8, 4, 100);
        ASSERT_EQ(1, Scale(fn, mask.Param(1, 0, 2, 2), masked.Param(0, 0, 2, 2)));
        EXPECT_EQ((Grid{{0, 100}, {100, 100}}), masked.Read(0, 0, 2, 2, true, 0));
        EXPECT_EQ((Grid{{0, 50}, {100, 20}}), masked.Read(0, 0, 2, 2, true, 3));
    }
}

// The uncalled luma simulation: region 3 x 2 of a 4-wide plane to 3 x 2
// (steps 4096); row 0 averages (x, x+1) x (row 0, row 1), the right
// neighbour of the last column being column 3 of the buffer; the last row
// copies every second column only. In a 3-wide plane that neighbour lies
// past the buffer: refused.
TEST(DibResizeBiLinerYSimulate, AveragesAndSparseLastRow)
{
    TestPlane src(4, 2, 4, 1, 0), narrow(3, 2, 3, 1, 1), dst(3, 2, 3), dst2(3, 2, 3);
    src.bytes = {10, 20, 30, 40, 50, 60, 70, 81};
    auto simulate = [](const IMG_PARAM& s, IMG_PARAM& d) { return DIB_ResizeBiLinerY_Simulate(s, d); };
    ASSERT_EQ(1, Scale(simulate, src.Param(0, 0, 3, 2), dst.Param(0, 0, 3, 2)));
    EXPECT_EQ((Grid{{35, 45, 55}, {50, S, S}}), dst.Read());
    EXPECT_EQ(0, Scale(simulate, narrow.Param(0, 0, 3, 2), dst2.Param(0, 0, 3, 2)));
    EXPECT_TRUE(dst2.Untouched());
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

// 90: dst(X, Y) = src(4 - Y, X), destination row 0 unwritten; chroma 2 x 1
// into 1 x 2 with yShift 2: only (0, 1) = src(1, 0).
// 270: dst(X, Y) = src(Y, 2 - X), column 0 unwritten; chroma with xShift 1
// maps column 0 to source row 1, which does not exist: nothing written.
// Other angles (180 among them) draw nothing; a destination under 2 pixels
// fails. The frame form forwards the planes and ignores null frames.
TEST(ImageRotateYV12, QuarterTurnsOfFourByTwo)
{
    for (auto interp : {IMAGE_INTERPOLATION_NEAREST, IMAGE_INTERPOLATION_BILINEAR, IMAGE_INTERPOLATION_DEFAULT}) {
        Turn t90, t270;
        EXPECT_EQ(1, t90.Run(90, interp));
        EXPECT_EQ((Grid{{S, S}, {4, 8}, {3, 7}, {2, 6}}), t90.dy.Read());
        EXPECT_EQ((Grid{{S}, {31}}), t90.du.Read());
        EXPECT_EQ((Grid{{S}, {41}}), t90.dv.Read());
        EXPECT_EQ(1, t270.Run(270, interp));
        EXPECT_EQ((Grid{{S, 5}, {S, 6}, {S, 7}, {S, 8}}), t270.dy.Read());
        EXPECT_TRUE(t270.du.Untouched() && t270.dv.Untouched());
    }
    for (int a : {0, 180, -90, -270, 450, 45}) {
        Turn t;
        EXPECT_EQ(1, t.Run(a)) << a;
        EXPECT_TRUE(t.Untouched()) << a;
    }
    Turn narrow, low;
    narrow.dst.cx = 1, low.dst.cy = 1;
    EXPECT_EQ(0, narrow.Run(90));
    EXPECT_EQ(0, low.Run(90));
    EXPECT_TRUE(narrow.Untouched() && low.Untouched());
    Turn t;
    MEDIA_FRAME fs = {}, fd = {};
    fs.pY = t.sy.data(), fs.pU = t.su.data(), fs.pV = t.sv.data();
    fd.pY = t.dy.data(), fd.pU = t.du.data(), fd.pV = t.dv.data();
    ImageRotateYUV(t.src, nullptr, t.dst, &fd, IMAGE_INTERPOLATION_BILINEAR, 90);
    ImageRotateYUV(t.src, &fs, t.dst, nullptr, IMAGE_INTERPOLATION_BILINEAR, 90);
    ImageRotateYUV(t.src, &fs, t.dst, &fd, IMAGE_INTERPOLATION_BILINEAR, 90);
    EXPECT_EQ((Grid{{S, S}, {4, 8}, {3, 7}, {2, 6}}), t.dy.Read());
    EXPECT_EQ((Grid{{S}, {31}}), t.du.Read());
}

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

TEST(ImageDragYUV, PlacesPictureAtRegionOffsetAlsoThroughFrames)
{
    Drag d, f;
    ASSERT_EQ(1, d.Run(IMAGE_INTERPOLATION_BILINEAR));
    MEDIA_FRAME fs = {}, fd = {};
    fs.pU = f.su.data(), fs.pV = f.sv.data(), fs.nPitchU = f.su.pitch, fs.nPitchV = f.sv.pitch;
    fd.pU = f.du.data(), fd.pV = f.dv.data(), fd.nPitchU = f.du.pitch, fd.nPitchV = f.dv.pitch;
    ImageDragYUV(f.src, nullptr, f.dst, &fd, IMAGE_INTERPOLATION_BILINEAR, 0);
    ImageDragYUV(f.src, &fs, f.dst, nullptr, IMAGE_INTERPOLATION_BILINEAR, 0);
    ImageDragYUV(f.src, &fs, f.dst, &fd, IMAGE_INTERPOLATION_BILINEAR, 0);
    for (Drag* p : {&d, &f}) {
        EXPECT_EQ(p->sy.Read(), p->dy.Read(100, 50, 64, 32));
        EXPECT_EQ(p->su.Read(), p->du.Read(50, 25, 32, 16));
        EXPECT_EQ(p->sv.Read(), p->dv.Read(50, 25, 32, 16));
        EXPECT_TRUE(p->dy.UntouchedOutside(100, 50, 64, 32) && p->du.UntouchedOutside(50, 25, 32, 16) &&
                    p->dv.UntouchedOutside(50, 25, 32, 16));
    }
}

// A destination under 2 pixels or leaving its frame is refused. Unknown
// interpolation values reach the library as nearest.
TEST(ImageDragYUV, RefusalsAndUnknownInterpolationIsNearest)
{
    Drag d;
    d.dst.cx = 1;
    EXPECT_EQ(0, d.Run(IMAGE_INTERPOLATION_BILINEAR));
    d.dst.cx = 64, d.dst.x = 257;
    EXPECT_EQ(0, d.Run(IMAGE_INTERPOLATION_BILINEAR));
    EXPECT_TRUE(d.Untouched());
    auto run = [](int interp) {
        Drag e;
        e.dst.cx = 128, e.dst.cy = 64;
        e.Run(interp);
        return e.dy.bytes;
    };
    const Bytes nearest = run(IMAGE_INTERPOLATION_NEAREST), bilinear = run(IMAGE_INTERPOLATION_BILINEAR);
    EXPECT_NE(nearest, bilinear);
    EXPECT_EQ(bilinear, run(IMAGE_INTERPOLATION_DEFAULT));
    EXPECT_EQ(nearest, run(IMAGE_INTERPOLATION_CONVOLVE));
    EXPECT_EQ(nearest, run(-3));
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

} // namespace
