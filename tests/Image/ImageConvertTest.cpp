// Colour conversion: expected values are worked by hand from the fixed-point
// formulas (10-bit pixel routines, 13-bit planes-to-RGB, 14-bit RGB-to-planes).
// Planes and bitmaps end at their last pixel and start out as kSent.
#include "ImageConvert.h"
#include "ImageTestPlane.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <random>
#include <string>

namespace {

using Bytes = std::vector<uint8_t>;
using Ints = std::vector<int>;

struct Rgb {
    int r, g, b;
};
constexpr Rgb kRed{255, 0, 0}, kGreen{0, 255, 0}, kBlue{0, 0, 255}, kWhite{255, 255, 255}, kBlack{0, 0, 0};

// A plane of exactly pitch x rows bytes.
TestPlane Plane(int pitch, int rows, uint8_t fill = kSent) { return TestPlane(pitch, rows, pitch, 1, fill); }

// A bitmap, bottom-up unless topDown; 24-bit rows padded to four bytes (the
// last row in memory only up to its last pixel).
struct Bitmap : TestPlane {
    BITMAPINFOHEADER header{};
    bool topDown;
    Bitmap(int w, int h, int bits, uint8_t fill = kSent, bool td = false)
        : TestPlane(w, h, bits == 24 ? (w * 3 + 3) / 4 * 4 : w * 4, bits / 8, fill), topDown(td)
    {
        header.biSize = sizeof(header), header.biWidth = w, header.biHeight = h, header.biPlanes = 1;
        header.biBitCount = static_cast<uint16_t>(bits);
    }
    uint8_t* Px(int x, int y) { return &(topDown ? at(x, y) : bu(x, y)); }
    void Set(int x, int y, Rgb c, int fourth = 0)
    {
        uint8_t* p = Px(x, y);
        p[0] = static_cast<uint8_t>(c.b), p[1] = static_cast<uint8_t>(c.g), p[2] = static_cast<uint8_t>(c.r);
        if (bpp == 4)
            p[3] = static_cast<uint8_t>(fourth);
    }
    // {R, G, B} of the pixels of the top-left w x h, row by row.
    Grid RgbOf(int w, int h)
    {
        Grid g;
        for (int i = 0; i < w * h; ++i)
            g.push_back({Px(i % w, i / w)[2], Px(i % w, i / w)[1], Px(i % w, i / w)[0]});
        return g;
    }
};

// Single pixels, 10-bit, both ways: the studio-range ends, the primaries
// (red: Y (263*255 + 16896) >> 10 = 81, U (-38760 + 131584) >> 10 = 90,
// V (114750 + 131584) >> 10 = 240) and clamping of input and output.
TEST(PixelConvert, RgbToYuvAndBack)
{
    using Fn = void (*)(int, int, int, int&, int&, int&);
    const std::pair<Fn, std::array<int, 6>> cases[] = {
        {PixelRGB_2_YUV, {0, 0, 0, 16, 128, 128}},       {PixelRGB_2_YUV, {255, 255, 255, 235, 128, 128}},
        {PixelRGB_2_YUV, {255, 0, 0, 81, 90, 240}},      {PixelRGB_2_YUV, {0, 255, 0, 144, 54, 34}},
        {PixelRGB_2_YUV, {0, 0, 255, 41, 240, 110}},     {PixelRGB_2_YUV, {1000, 1000, 1000, 235, 128, 128}},
        {PixelRGB_2_YUV, {0, 0, 2000, 211, 240, 16}},    {PixelYUV_2_RGB, {16, 128, 128, 0, 0, 0}},
        {PixelYUV_2_RGB, {235, 128, 128, 255, 255, 255}},
        // R (96552 + 392160 - 227712) >> 10 = 254, G and B clamped.
        {PixelYUV_2_RGB, {81, 90, 240, 254, 0, 0}},
        // G (280120 - 199920 - 36090 + 139392) >> 10 = 179, B 183090 >> 10 = 178.
        {PixelYUV_2_RGB, {235, 90, 240, 255, 179, 178}}};
    for (const auto& c : cases) {
        const std::array<int, 6>& v = c.second;
        int a, b, d;
        c.first(v[0], v[1], v[2], a, b, d);
        EXPECT_EQ((Ints{v[3], v[4], v[5]}), (Ints{a, b, d})) << v[0] << "," << v[1] << "," << v[2];
    }
}

// Planes to bitmap, 13-bit. A 2 x 2 picture Y {16, 81 / 126, 235}, U 90,
// V 240, pitches wider than the picture; block terms rv = 1311665,
// gv = -776752, bv = -780714 and y9 = 9536 Y:
//  Y 16: R 1464241 >> 13 = 178;  Y 81: 2084081 >> 13 = 254;
//  Y 126: R clamped, G 424784 >> 13 = 51, B 420822 >> 13 = 51;  Y 235: 255, 178, 178.
struct RedBlock {
    TestPlane y = Plane(4, 2, 0), u = Plane(3, 1, 0), v = Plane(3, 1, 0);
    RedBlock()
    {
        y.at(0, 0) = 16, y.at(1, 0) = 81, y.at(0, 1) = 126, y.at(1, 1) = 235;
        u.at(0, 0) = 90, v.at(0, 0) = 240;
    }
};

TEST(PlanesToBitmap, BlockValuesRowOrderAndFourthByte)
{
    RedBlock p;
    Bitmap b24(2, 2, 24), b32(2, 2, 32, 0x5A), argb(2, 2, 32, 0x5A);
    Yuv420_2_rgb24(&b24.header, b24.data(), p.y.data(), p.u.data(), p.v.data(), 4, 3, 3);
    Yuv420_2_rgb32(&b32.header, b32.data(), p.y.data(), p.u.data(), p.v.data(), 4, 3, 3);
    Yuv420_2_Argb(&argb.header, argb.data(), p.y.data(), p.u.data(), p.v.data(), 4, 3, 3);
    for (Bitmap* b : {&b24, &b32, &argb})
        EXPECT_EQ((Grid{{178, 0, 0}, {254, 0, 0}, {255, 51, 51}, {255, 178, 178}}), b->RgbOf(2, 2));
    // The top picture row is the last in memory; row padding is not written.
    EXPECT_EQ(178, b24.bytes[8 + 2]);
    EXPECT_EQ(S, b24.bytes[6]);
    EXPECT_EQ(S, b24.bytes[7]);
    // rgb32 keeps the fourth byte, Argb writes 255.
    EXPECT_EQ(Grid(2, Ints(2, 0x5A)), b32.Read(0, 0, 2, 2, false, 3));
    EXPECT_EQ(Grid(2, Ints(2, 255)), argb.Read(0, 0, 2, 2, false, 3));
}

// Y 235 with neutral chroma gives 2088337 >> 13 = 254: the fast path lands
// one below white. A 3 x 3 bitmap has only its even 2 x 2 part converted,
// also by the simple form, which goes through PixelYUV_2_RGB: Y 16 -> R
// 183520 >> 10 = 179, Y 126 -> G 53574 >> 10 = 52, B 53162 >> 10 = 51.
TEST(PlanesToBitmap, NearWhiteOddSizeAndSimpleForm)
{
    TestPlane y = Plane(2, 2, 16), u = Plane(1, 1, 128), v = Plane(1, 1, 128);
    y.at(1, 1) = 235;
    Bitmap bmp(2, 2, 24);
    Yuv420_2_rgb24(&bmp.header, bmp.data(), y.data(), u.data(), v.data(), 2, 1, 1);
    EXPECT_EQ((Grid{{0, 0, 0}, {0, 0, 0}, {0, 0, 0}, {254, 254, 254}}), bmp.RgbOf(2, 2));
    TestPlane y3 = Plane(3, 3, 81), u3 = Plane(2, 2, 90), v3 = Plane(2, 2, 240);
    Bitmap odd(3, 3, 24);
    Yuv420_2_rgb24(&odd.header, odd.data(), y3.data(), u3.data(), v3.data(), 3, 2, 2);
    const Ints red{254, 0, 0}, none{S, S, S};
    EXPECT_EQ((Grid{red, red, none, red, red, none, none, none, none}), odd.RgbOf(3, 3));
    RedBlock p;
    Bitmap simple(3, 3, 24);
    EXPECT_EQ(2, Yuv420_2_rgb24Simple(&simple.header, simple.data(), p.y.data(), p.u.data(), p.v.data(), 4, 3, 3));
    EXPECT_EQ((Grid{{179, 0, 0}, {254, 0, 0}, none, {255, 52, 51}, {255, 179, 178}, none, none, none, none}),
              simple.RgbOf(3, 3));
}

// Bitmap to planes, 14-bit. Per pixel: red (81, 90, 239), green (144, 53,
// 34), blue (40, 239, 109), white (235, 128, 128), black (16, 128, 128).
// The block red green / blue white: U (90 + 53 + 239 + 128) >> 2 = 127,
// V (239 + 34 + 109 + 128) >> 2 = 127. Nothing is written past an even
// width, and alpha only at the pixel.
TEST(BitmapToPlanes, BlockThroughEveryFormWithWidePitches)
{
    using Fn = void (*)(uint8_t*, uint8_t*, uint8_t*, int, int, int, BITMAPINFOHEADER*, uint8_t*);
    const Fn forms[] = {Rgb24_2_yuv420, Rgb32_2_yuv420, Argb_2_yuv420};
    for (int form = 0; form < 4; ++form) { // the three above (Argb top-down), then Rgb32 with alpha
        SCOPED_TRACE(form);
        Bitmap bmp(2, 2, form == 0 ? 24 : 32, 0, form == 2);
        bmp.Set(0, 0, kRed, 10), bmp.Set(1, 0, kGreen, 20), bmp.Set(0, 1, kBlue, 30), bmp.Set(1, 1, kWhite, 40);
        TestPlane y = Plane(5, 2), u = Plane(3, 1), v = Plane(3, 1), a = Plane(5, 2);
        if (form < 3)
            forms[form](y.data(), u.data(), v.data(), 5, 3, 3, &bmp.header, bmp.data());
        else
            Rgb32_2_yuv420A(y.data(), u.data(), v.data(), a.data(), 5, 3, 3, &bmp.header, bmp.data());
        EXPECT_EQ((Grid{{81, 144, S, S, S}, {40, 235, S, S, S}}), y.Read());
        EXPECT_EQ((Grid{{127, S, S}}), u.Read());
        EXPECT_EQ((Grid{{127, S, S}}), v.Read());
        EXPECT_EQ((form == 3 ? Grid{{10, 20, S, S, S}, {30, 40, S, S, S}} : Grid(2, Ints(5, S))), a.Read());
    }
}

// 3 x 3 picture: red green blue / white black red / green blue white,
// fourth bytes 0..8.
void PaintThreeByThree(Bitmap& bmp)
{
    const Rgb rows[3][3] = {{kRed, kGreen, kBlue}, {kWhite, kBlack, kRed}, {kGreen, kBlue, kWhite}};
    for (int i = 0; i < 9; ++i)
        bmp.Set(i % 3, i / 3, rows[i / 3][i % 3], i);
}

// Chroma: block (90 + 53 + 128 + 128) >> 2 = 99 and (239 + 34 + 128 + 128) >> 2
// = 132; last column (239 + 90) >> 1 = 164, (109 + 239) >> 1 = 174; last row
// (53 + 239) >> 1 = 146, (34 + 109) >> 1 = 71; the corner white alone. With a
// padded luma pitch the last column's Y is copied into the byte after it;
// with pitch == width (planes of exactly 9 bytes) no such copy is made.
TEST(BitmapToPlanes, OddSizeWithPaddedAndTightPitch)
{
    for (int pitch : {4, 3}) {
        SCOPED_TRACE(pitch);
        Bitmap bmp(3, 3, pitch == 4 ? 24 : 32, 0);
        PaintThreeByThree(bmp);
        TestPlane y = Plane(pitch, pitch), u = Plane(2, 2), v = Plane(2, 2), a = Plane(3, 3);
        if (pitch == 4) {
            Rgb24_2_yuv420(y.data(), u.data(), v.data(), 4, 2, 2, &bmp.header, bmp.data());
            EXPECT_EQ((Grid{{81, 144, 40, 40}, {235, 16, 81, 81}, {144, 40, 235, 235}, {S, S, S, S}}), y.Read());
        } else {
            Rgb32_2_yuv420A(y.data(), u.data(), v.data(), a.data(), 3, 2, 2, &bmp.header, bmp.data());
            EXPECT_EQ((Grid{{81, 144, 40}, {235, 16, 81}, {144, 40, 235}}), y.Read());
            EXPECT_EQ((Grid{{0, 1, 2}, {3, 4, 5}, {6, 7, 8}}), a.Read());
        }
        EXPECT_EQ((Grid{{99, 164}, {146, 128}}), u.Read());
        EXPECT_EQ((Grid{{132, 174}, {71, 128}}), v.Read());
    }
}

// Through PixelRGB_2_YUV (green U 54, red V 240): U (90 + 54 + 128 + 128) >> 2
// = 100, V (240 + 34 + 128 + 128) >> 2 = 132. The odd last column and row stay.
TEST(BitmapToPlanes, SimpleLeavesOddColumnAndRowUntouched)
{
    Bitmap bmp(3, 3, 24, 0);
    PaintThreeByThree(bmp);
    TestPlane y = Plane(3, 3), u = Plane(2, 2), v = Plane(2, 2);
    EXPECT_EQ(2, Rgb24_2_yuv420Simple(y.data(), u.data(), v.data(), 3, 2, 2, &bmp.header, bmp.data()));
    EXPECT_EQ((Grid{{81, 144, S}, {235, 16, S}, {S, S, S}}), y.Read());
    EXPECT_EQ((Grid{{100, S}, {S, S}}), u.Read());
    EXPECT_EQ((Grid{{132, S}, {S, S}}), v.Read());
}

// ---- packed 4:2:2 ----

// Red, green, blue from column 1 of source row 1 into row 1 from column 2:
// the pair shares U (90 + 53) >> 1 = 71 and V (239 + 34) >> 1 = 136; blue
// makes a half group, Y 40 and its own U 239. Back: groups (81, 90, 235, 240)
// and (16, 90, -, 240); an odd last pixel takes the chroma of its group.
TEST(Packed, Rgb24ToPackedAndBackWithOddWidth)
{
    Bitmap src(5, 2, 24, 0, true);
    src.Set(1, 1, kRed), src.Set(2, 1, kGreen), src.Set(3, 1, kBlue);
    const Bytes yuy2{81, 90, 235, 240, 16, 90, 99, 240}, uyvy{90, 81, 240, 235, 90, 16, 240, 99};
    for (int order = 0; order < 2; ++order) { // UYVY, YUY2
        TestPlane dst = Plane(12, 3), rgb = Plane(12, 1);
        Rgb24_2_YUY2(dst.data(), 12, 2, 1, 3, 1, order, src.data(), src.pitch, 1, 1, 0);
        EXPECT_EQ((order ? Ints{81, 71, 144, 136, 40, 239} : Ints{71, 81, 136, 144, 239, 40}), dst.Read(4, 1, 6, 1)[0]);
        EXPECT_TRUE(dst.UntouchedOutside(4, 1, 6, 1)) << order;
        Bytes packed = order ? yuy2 : uyvy;
        YUY2_2_Rgb24(rgb.data(), 12, 1, 0, 3, 1, order, packed.data(), 8, 0, 0, 0);
        EXPECT_EQ((Bytes{S, S, S, 0, 0, 254, 178, 178, 255, 0, 0, 178}), rgb.bytes) << order;
    }
}

// YUY2_Blt_fast copies the rectangle's byte pairs, swapped when the orders
// differ. YV12_Blt_fast copies (1, 1, 3, 3); the chroma rectangle starts at
// (1 + 1) / 2 = 1 and is (3 + 1) / 2 = 2 wide and high.
TEST(Packed, BltCopiesOnlyTheRectangle)
{
    TestPlane src = Plane(8, 3, 0), same = Plane(8, 3), swapped = Plane(8, 3);
    src.Fill([](int x, int y) { return 8 * y + x + 1; });
    YUY2_Blt_fast(same.data(), 8, 99, 99, 2, 2, 1, src.data(), 8, 1, 1, 1);
    YUY2_Blt_fast(swapped.data(), 8, 0, 0, 2, 2, 0, src.data(), 8, 1, 1, 1);
    EXPECT_EQ(src.Read(2, 1, 4, 2), same.Read(2, 1, 4, 2));
    EXPECT_EQ((Grid{{12, 11, 14, 13}, {20, 19, 22, 21}}), swapped.Read(2, 1, 4, 2));
    EXPECT_TRUE(same.UntouchedOutside(2, 1, 4, 2) && swapped.UntouchedOutside(2, 1, 4, 2));

    TestPlane sy = Plane(6, 6, 0), su = Plane(3, 3, 0), sv = Plane(3, 3, 0);
    TestPlane dy = Plane(6, 6), du = Plane(3, 3), dv = Plane(3, 3);
    sy.Fill([](int x, int y) { return 6 * y + x + 1; });
    su.Fill([](int x, int y) { return 100 + 3 * y + x; });
    sv.Fill([](int x, int y) { return 200 + 3 * y + x; });
    YV12_Blt_fast(dy.data(), du.data(), dv.data(), 6, 3, 3, 3, 3, sy.data(), su.data(), sv.data(), 6, 3, 3, 1, 1);
    EXPECT_EQ(sy.Read(1, 1, 3, 3), dy.Read(1, 1, 3, 3));
    EXPECT_EQ(su.Read(1, 1, 2, 2), du.Read(1, 1, 2, 2));
    EXPECT_EQ(sv.Read(1, 1, 2, 2), dv.Read(1, 1, 2, 2));
    EXPECT_TRUE(dy.UntouchedOutside(1, 1, 3, 3) && du.UntouchedOutside(1, 1, 2, 2) && dv.UntouchedOutside(1, 1, 2, 2));
}

// Rows 1 and 2 of the source, three pixels each, to (2, 2) of the planes:
// U (100 + 103) >> 1 = 101, (50 + 51) >> 1 = 50; V (200 + 205) >> 1 = 202,
// (60 + 63) >> 1 = 61. A lone last row takes its chroma as it is.
TEST(Packed, Yuy2ToPlanesAveragesChromaVertically)
{
    TestPlane src = Plane(8, 3, 0);
    const Bytes r1{10, 100, 11, 200, 12, 50, 99, 60}, r2{20, 103, 21, 205, 22, 51, 99, 63};
    std::copy(r1.begin(), r1.end(), &src.at(0, 1));
    std::copy(r2.begin(), r2.end(), &src.at(0, 2));
    TestPlane y = Plane(5, 4), u = Plane(3, 2), v = Plane(3, 2);
    YUY2_2_Yuv420(y.data(), u.data(), v.data(), 5, 3, 3, 2, 2, 3, 2, src.data(), 8, 1, 0, 1);
    EXPECT_EQ((Grid{{10, 11, 12}, {20, 21, 22}}), y.Read(2, 2, 3, 2));
    EXPECT_TRUE(y.UntouchedOutside(2, 2, 3, 2));
    EXPECT_EQ((Grid{{S, S, S}, {S, 101, 50}}), u.Read());
    EXPECT_EQ((Grid{{S, S, S}, {S, 202, 61}}), v.Read());

    Bytes row{10, 100, 11, 200};
    TestPlane y1 = Plane(2, 1), u1 = Plane(1, 1), v1 = Plane(1, 1);
    YUY2_2_Yuv420(y1.data(), u1.data(), v1.data(), 2, 1, 1, 0, 0, 2, 1, row.data(), 4, 1, 0, 0);
    EXPECT_EQ((Bytes{10, 11, 100, 200}), (Bytes{y1.at(0, 0), y1.at(1, 0), u1.at(0, 0), v1.at(0, 0)}));
}

// Source rectangle from (1, 1), 3 x 3 (odd both ways), UYVY: pixels 1 and 2
// share chroma column (1 or 2) / 2 = 0, the half group of pixel 3 uses
// column 1. Rows 1, 2 use chroma row 0, row 3 chroma row 1.
TEST(Packed, PlanesToYuy2PlacesBytes)
{
    TestPlane y = Plane(4, 4, 0), u = Plane(2, 2, 0), v = Plane(2, 2, 0), dst = Plane(8, 4);
    y.Fill([](int x, int yy) { return 10 * yy + x; });
    u.Fill([](int x, int yy) { return 100 + 2 * yy + x; });
    v.Fill([](int x, int yy) { return 200 + 2 * yy + x; });
    Yuv420_2_YUY2(dst.data(), 8, 99, 1, 3, 3, 0, y.data(), u.data(), v.data(), 4, 2, 2, 1, 1);
    EXPECT_EQ((Grid{Ints(8, S), {100, 11, 200, 12, 101, 13, S, S}, {100, 21, 200, 22, 101, 23, S, S},
                    {102, 31, 202, 32, 103, 33, S, S}}),
              dst.Read());
}

// ---- preconditions ----

// Each checked precondition stops the process with a message naming the
// condition, the function and the source file; the header's bit count is
// checked before the pointers.
TEST(ConvertDeathTest, PreconditionsStopWithTheirMessage)
{
    Bytes y(64, 16), u(16, 128), v(16, 128), bits(256, 0), tall(64, 0);
    uint8_t *Y = y.data(), *U = u.data(), *V = v.data(), *B = bits.data(), *T = tall.data();
    BITMAPINFOHEADER h24 = Bitmap(2, 2, 24).header, h32 = Bitmap(2, 2, 32).header;
    const char* src24 = "lpSrcBmi && lpSrcBmi->biBitCount == 24";
    const char* src32 = "lpSrcBmi && lpSrcBmi->biBitCount == 32";
    const char* srcPtrs = "lpSrcBits && pY && pU && pV";
    const char* dst32 = "lpDstBmi && lpDstBmi->biBitCount == 32";
    const char* dstPtrs = "lpDstBits && pY && pU && pV";
    const char* packedPtrs = "lpBitsDst && lpBitsSrc";
    struct Case {
        std::function<void()> call;
        const char* condition;
        const char* function;
    };
    const Case cases[] = {
        {[&] { Rgb32_2_yuv420(Y, U, V, 2, 1, 1, &h24, B); }, src32, "Rgb32_2_yuv420"},
        {[&] { Argb_2_yuv420(Y, U, V, 2, 1, 1, &h24, B); }, src32, "Argb_2_yuv420"},
        {[&] { Rgb32_2_yuv420A(Y, U, V, nullptr, 2, 1, 1, nullptr, B); }, src32, "Rgb32_2_yuv420A"},
        {[&] { Rgb24_2_yuv420(Y, U, V, 2, 1, 1, &h32, B); }, src24, "Rgb24_2_yuv420"},
        {[&] { Rgb24_2_yuv420(Y, U, V, 2, 1, 1, &h24, nullptr); }, srcPtrs, "Rgb24_2_yuv420"},
        {[&] { Rgb32_2_yuv420A(Y, U, nullptr, Y, 2, 1, 1, &h32, B); }, srcPtrs, "Rgb32_2_yuv420A"},
        {[&] { Yuv420_2_rgb24(nullptr, B, Y, U, V, 2, 1, 1); }, "lpDstBmi && lpDstBmi->biBitCount == 24",
         "Yuv420_2_rgb24"},
        {[&] { Yuv420_2_rgb32(&h24, B, Y, U, V, 2, 1, 1); }, dst32, "Yuv420_2_rgb32"},
        {[&] { Yuv420_2_Argb(&h24, B, Y, U, V, 2, 1, 1); }, dst32, "Yuv420_2_Argb"},
        {[&] { Yuv420_2_rgb24(&h24, B, nullptr, U, V, 2, 1, 1); }, dstPtrs, "Yuv420_2_rgb24"},
        {[&] { Yuv420_2_Argb(&h32, nullptr, Y, U, V, 2, 1, 1); }, dstPtrs, "Yuv420_2_Argb"},
        {[&] { Rgb24_2_YUY2(nullptr, 8, 0, 0, 2, 1, 1, B, 6, 0, 0, 0); }, packedPtrs, "Rgb24_2_YUY2"},
        // (1 + 4) * 2 = 10 > 8.
        {[&] { Rgb24_2_YUY2(Y, 8, 1, 0, 4, 1, 1, B, 12, 0, 0, 0); }, "(xDst + cxDst) * 2 <= nPitchDst", "Rgb24_2_YUY2"},
        // 12 / 3 - 1 = 3 < 4.
        {[&] { Rgb24_2_YUY2(Y, 8, 0, 0, 4, 1, 1, B, 12, 1, 0, 0); }, "nPitchSrc / 3 - xSrc >= cxDst", "Rgb24_2_YUY2"},
        {[&] { YUY2_2_Rgb24(B, 12, 0, 0, 2, 1, 1, nullptr, 4, 0, 0, 0); }, packedPtrs, "YUY2_2_Rgb24"},
        // Destination row 8 puts V at chroma row 4: offset 8 > (0 + 2) * 2.
        {[&] { YUY2_2_Yuv420(T, T, T, 4, 2, 2, 0, 8, 4, 2, B, 8, 1, 0, 0); },
         "(char*)V <= ((char*)pV + (ySrc + cy) * nPt_V)", "YUY2_2_Yuv420"},
    };
    for (const Case& c : cases) {
        const std::string text = std::string("Assertion failed: (") + c.condition + "), function " + c.function +
                                 ", file Common/Image/ImageConvert.cpp, line ";
        EXPECT_DEATH(c.call(), testing::AllOf(testing::HasSubstr(text), testing::ContainsRegex("line [0-9]+\\.")))
            << c.function;
    }
    // The bound itself is allowed: chroma row 1 of pitch 2 ends at offset 3 <= 4.
    YUY2_2_Yuv420(T, T + 32, T + 48, 4, 2, 2, 0, 2, 4, 2, B, 8, 1, 0, 0);
    // The unchecked routines take null arguments as "nothing to do".
    EXPECT_EQ(0, Rgb24_2_yuv420Simple(nullptr, U, V, 2, 1, 1, &h24, B));
    EXPECT_EQ(0, Yuv420_2_rgb24Simple(nullptr, B, Y, U, V, 2, 1, 1));
    YUY2_Blt_fast(nullptr, 8, 0, 0, 2, 2, 1, B, 8, 1, 0, 0);
    YV12_Blt_fast(nullptr, U, V, 2, 1, 1, 2, 2, Y, U, V, 2, 1, 1, 0, 0);
    Yuv420_2_YUY2(nullptr, 8, 0, 0, 2, 2, 1, Y, U, V, 2, 1, 1, 0, 0);
}

} // namespace
