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

// ---- preconditions ----

} // namespace
