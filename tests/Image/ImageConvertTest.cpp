// Colour conversion: expected values are worked by hand from the fixed-point
// formulas (10-bit pixel routines, 13-bit planes-to-RGB, 14-bit RGB-to-planes).
#include "ImageConvert.h"
#include "KernelDispatch.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <random>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;

struct Rgb {
    int r, g, b;
};

constexpr Rgb kRed{255, 0, 0};
constexpr Rgb kGreen{0, 255, 0};
constexpr Rgb kBlue{0, 0, 255};
constexpr Rgb kWhite{255, 255, 255};
constexpr Rgb kBlack{0, 0, 0};

BITMAPINFOHEADER MakeHeader(int width, int height, int bitCount)
{
    BITMAPINFOHEADER h;
    std::memset(&h, 0, sizeof(h));
    h.biSize = sizeof(h);
    h.biWidth = width;
    h.biHeight = height;
    h.biPlanes = 1;
    h.biBitCount = static_cast<uint16_t>(bitCount);
    return h;
}

int RowBytes(int width, int bitCount) { return bitCount == 24 ? (width * 24 + 31) / 32 * 4 : width * 4; }

// A bottom-up (or top-down) bitmap buffer of exactly its size.
struct Bitmap {
    BITMAPINFOHEADER header;
    int rowBytes;
    bool topDown;
    Bytes bits;

    Bitmap(int width, int height, int bitCount, unsigned char fill, bool topDownRows = false)
        : header(MakeHeader(width, height, bitCount)), rowBytes(RowBytes(width, bitCount)), topDown(topDownRows),
          bits(static_cast<size_t>(RowBytes(width, bitCount)) * height, fill)
    {
    }

    unsigned char* Pixel(int x, int y)
    {
        const int row = topDown ? y : header.biHeight - 1 - y;
        return &bits[static_cast<size_t>(row) * rowBytes + static_cast<size_t>(x) * (header.biBitCount / 8)];
    }

    void Set(int x, int y, Rgb c, unsigned char fourth = 0)
    {
        unsigned char* p = Pixel(x, y);
        p[0] = static_cast<unsigned char>(c.b);
        p[1] = static_cast<unsigned char>(c.g);
        p[2] = static_cast<unsigned char>(c.r);
        if (header.biBitCount == 32)
            p[3] = fourth;
    }

    // {B, G, R} of a pixel.
    std::vector<int> Bgr(int x, int y)
    {
        const unsigned char* p = Pixel(x, y);
        return {p[0], p[1], p[2]};
    }
};

// A plane of exactly pitch x rows bytes.
struct Plane {
    int pitch;
    Bytes data;
    Plane(int pitchBytes, int rows, unsigned char fill)
        : pitch(pitchBytes), data(static_cast<size_t>(pitchBytes) * rows, fill)
    {
    }
    unsigned char* Ptr() { return data.data(); }
    unsigned char& At(int x, int y) { return data[static_cast<size_t>(y) * pitch + x]; }
};

std::vector<int> BgrOf(int r, int g, int b) { return {b, g, r}; }

} // namespace

// ---------------------------------------------------------------------------
// Single pixels, 10-bit.

TEST(PixelConvert, RgbToYuvStudioRangeEnds)
{
    int y, u, v;
    PixelRGB_2_YUV(0, 0, 0, y, u, v);
    EXPECT_EQ(16, y);
    EXPECT_EQ(128, u);
    EXPECT_EQ(128, v);
    PixelRGB_2_YUV(255, 255, 255, y, u, v);
    EXPECT_EQ(235, y);
    EXPECT_EQ(128, u);
    EXPECT_EQ(128, v);
}

TEST(PixelConvert, RgbToYuvPrimaries)
{
    int y, u, v;
    // Red: Y = (263*255 + 16896) >> 10 = 81, U = (-38760 + 131584) >> 10 = 90,
    // V = (114750 + 131584) >> 10 = 240.
    PixelRGB_2_YUV(255, 0, 0, y, u, v);
    EXPECT_EQ(81, y);
    EXPECT_EQ(90, u);
    EXPECT_EQ(240, v);
    // Green: 148476 >> 10 = 144, 55594 >> 10 = 54, 35449 >> 10 = 34.
    PixelRGB_2_YUV(0, 255, 0, y, u, v);
    EXPECT_EQ(144, y);
    EXPECT_EQ(54, u);
    EXPECT_EQ(34, v);
    // Blue: 42396 >> 10 = 41, 246334 >> 10 = 240, 112969 >> 10 = 110.
    PixelRGB_2_YUV(0, 0, 255, y, u, v);
    EXPECT_EQ(41, y);
    EXPECT_EQ(240, u);
    EXPECT_EQ(110, v);
}

TEST(PixelConvert, RgbToYuvClampsOutOfRangeInput)
{
    int y, u, v;
    PixelRGB_2_YUV(1000, 1000, 1000, y, u, v);
    EXPECT_EQ(235, y);
    PixelRGB_2_YUV(0, 0, 2000, y, u, v);
    EXPECT_EQ(240, u);
    EXPECT_EQ(16, v);
}

TEST(PixelConvert, YuvToRgb)
{
    int r, g, b;
    PixelYUV_2_RGB(16, 128, 128, r, g, b);
    EXPECT_EQ(0, r);
    EXPECT_EQ(0, g);
    EXPECT_EQ(0, b);
    PixelYUV_2_RGB(235, 128, 128, r, g, b);
    EXPECT_EQ(255, r);
    EXPECT_EQ(255, g);
    EXPECT_EQ(255, b);
    // R = (96552 + 392160 - 227712) >> 10 = 254; G and B negative, clamped.
    PixelYUV_2_RGB(81, 90, 240, r, g, b);
    EXPECT_EQ(254, r);
    EXPECT_EQ(0, g);
    EXPECT_EQ(0, b);
    // G = (280120 - 199920 - 36090 + 139392) >> 10 = 179, B = 183090 >> 10 = 178.
    PixelYUV_2_RGB(235, 90, 240, r, g, b);
    EXPECT_EQ(255, r);
    EXPECT_EQ(179, g);
    EXPECT_EQ(178, b);
}

// ---------------------------------------------------------------------------
// Planes to bitmap, 13-bit. With U 90, V 240 the block terms are
// rv = 1311665, gv = -776752, bv = -780714; y9 = 9536 Y.

namespace {

// Planes of a 2 x 2 picture Y {16, 81 / 126, 235}, U 90, V 240, with pitches
// wider than the picture.
struct RedBlock {
    Plane y{4, 2, 0};
    Plane u{3, 1, 0};
    Plane v{3, 1, 0};
    RedBlock()
    {
        y.At(0, 0) = 16;
        y.At(1, 0) = 81;
        y.At(0, 1) = 126;
        y.At(1, 1) = 235;
        u.At(0, 0) = 90;
        v.At(0, 0) = 240;
    }
};

void ExpectRedBlock(Bitmap& bmp)
{
    EXPECT_EQ(BgrOf(178, 0, 0), bmp.Bgr(0, 0));     // Y 16: 1464241 >> 13
    EXPECT_EQ(BgrOf(254, 0, 0), bmp.Bgr(1, 0));     // Y 81: 2084081 >> 13
    EXPECT_EQ(BgrOf(255, 51, 51), bmp.Bgr(0, 1));   // Y 126: R clamped, 424784 >> 13, 420822 >> 13
    EXPECT_EQ(BgrOf(255, 178, 178), bmp.Bgr(1, 1)); // Y 235
}

} // namespace

TEST(PlanesToBitmap, Rgb24BlockValuesAndRowOrder)
{
    RedBlock p;
    Bitmap bmp(2, 2, 24, 0xEE);
    Yuv420_2_rgb24(&bmp.header, bmp.bits.data(), p.y.Ptr(), p.u.Ptr(), p.v.Ptr(), p.y.pitch, p.u.pitch, p.v.pitch);
    ExpectRedBlock(bmp);
    // The top picture row is the last row in memory.
    EXPECT_EQ(178, bmp.bits[8 + 2]);
    // Row padding (bytes 6, 7 of each 8-byte row) is not written.
    for (size_t row = 0; row < 2; ++row) {
        EXPECT_EQ(0xEE, bmp.bits[row * 8 + 6]);
        EXPECT_EQ(0xEE, bmp.bits[row * 8 + 7]);
    }
}

TEST(PlanesToBitmap, BlackAndNearWhite)
{
    // Y 235 gives 2088337 >> 13 = 254: the fast path lands one below white.
    Plane y(2, 2, 16), u(1, 1, 128), v(1, 1, 128);
    y.At(1, 1) = 235;
    Bitmap bmp(2, 2, 24, 0xEE);
    Yuv420_2_rgb24(&bmp.header, bmp.bits.data(), y.Ptr(), u.Ptr(), v.Ptr(), 2, 1, 1);
    EXPECT_EQ(BgrOf(0, 0, 0), bmp.Bgr(0, 0));
    EXPECT_EQ(BgrOf(254, 254, 254), bmp.Bgr(1, 1));
}

TEST(PlanesToBitmap, Rgb32KeepsFourthByteArgbWrites255)
{
    RedBlock p;
    Bitmap rgb32(2, 2, 32, 0x5A);
    Yuv420_2_rgb32(&rgb32.header, rgb32.bits.data(), p.y.Ptr(), p.u.Ptr(), p.v.Ptr(), 4, 3, 3);
    ExpectRedBlock(rgb32);
    Bitmap argb(2, 2, 32, 0x5A);
    Yuv420_2_Argb(&argb.header, argb.bits.data(), p.y.Ptr(), p.u.Ptr(), p.v.Ptr(), 4, 3, 3);
    ExpectRedBlock(argb);
    for (int yy = 0; yy < 2; ++yy)
        for (int xx = 0; xx < 2; ++xx) {
            EXPECT_EQ(0x5A, rgb32.Pixel(xx, yy)[3]);
            EXPECT_EQ(255, argb.Pixel(xx, yy)[3]);
        }
}

TEST(PlanesToBitmap, OddSizeLeavesLastColumnAndRow)
{
    Plane y(3, 3, 81), u(2, 2, 90), v(2, 2, 240);
    Bitmap bmp(3, 3, 24, 0xEE);
    Yuv420_2_rgb24(&bmp.header, bmp.bits.data(), y.Ptr(), u.Ptr(), v.Ptr(), 3, 2, 2);
    for (int yy = 0; yy < 3; ++yy)
        for (int xx = 0; xx < 3; ++xx) {
            const bool converted = xx < 2 && yy < 2;
            EXPECT_EQ(converted ? BgrOf(254, 0, 0) : BgrOf(0xEE, 0xEE, 0xEE), bmp.Bgr(xx, yy)) << xx << "," << yy;
        }
}

TEST(PlanesToBitmap, SimpleUsesPixelFormula)
{
    RedBlock p;
    Bitmap bmp(3, 3, 24, 0xEE); // odd size: only the 2 x 2 block is written
    EXPECT_EQ(2, Yuv420_2_rgb24Simple(&bmp.header, bmp.bits.data(), p.y.Ptr(), p.u.Ptr(), p.v.Ptr(), 4, 3, 3));
    EXPECT_EQ(BgrOf(179, 0, 0), bmp.Bgr(0, 0));   // 183520 >> 10
    EXPECT_EQ(BgrOf(254, 0, 0), bmp.Bgr(1, 0));   // 261000 >> 10
    EXPECT_EQ(BgrOf(255, 52, 51), bmp.Bgr(0, 1)); // 53574 >> 10, 53162 >> 10
    EXPECT_EQ(BgrOf(255, 179, 178), bmp.Bgr(1, 1));
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(BgrOf(0xEE, 0xEE, 0xEE), bmp.Bgr(2, i));
        EXPECT_EQ(BgrOf(0xEE, 0xEE, 0xEE), bmp.Bgr(i, 2));
    }
    EXPECT_EQ(0, Yuv420_2_rgb24Simple(&bmp.header, nullptr, p.y.Ptr(), p.u.Ptr(), p.v.Ptr(), 4, 3, 3));
}

// ---------------------------------------------------------------------------
// Bitmap to planes, 14-bit. Per pixel: red (81, 90, 239), green (144, 53,
// 34), blue (40, 239, 109), white (235, 128, 128), black (16, 128, 128).

namespace {

void PaintFourColours(Bitmap& bmp)
{
    bmp.Set(0, 0, kRed, 10);
    bmp.Set(1, 0, kGreen, 20);
    bmp.Set(0, 1, kBlue, 30);
    bmp.Set(1, 1, kWhite, 40);
}

void ExpectFourColours(Plane& y, Plane& u, Plane& v)
{
    EXPECT_EQ(81, y.At(0, 0));
    EXPECT_EQ(144, y.At(1, 0));
    EXPECT_EQ(40, y.At(0, 1));
    EXPECT_EQ(235, y.At(1, 1));
    EXPECT_EQ(127, u.At(0, 0)); // (90 + 53 + 239 + 128) >> 2
    EXPECT_EQ(127, v.At(0, 0)); // (239 + 34 + 109 + 128) >> 2
}

} // namespace

TEST(BitmapToPlanes, Rgb24BlockWithWidePitches)
{
    Bitmap bmp(2, 2, 24, 0);
    PaintFourColours(bmp);
    Plane y(5, 2, 0xEE), u(3, 1, 0xEE), v(3, 1, 0xEE);
    Rgb24_2_yuv420(y.Ptr(), u.Ptr(), v.Ptr(), 5, 3, 3, &bmp.header, bmp.bits.data());
    ExpectFourColours(y, u, v);
    for (int row = 0; row < 2; ++row)
        for (int x = 2; x < 5; ++x)
            EXPECT_EQ(0xEE, y.At(x, row)); // even width: nothing past it
    EXPECT_EQ(0xEE, u.At(1, 0));
    EXPECT_EQ(0xEE, v.At(2, 0));
}

TEST(BitmapToPlanes, Rgb32AndTopDownArgb)
{
    Bitmap bottomUp(2, 2, 32, 0);
    PaintFourColours(bottomUp);
    Plane y(2, 2, 0), u(1, 1, 0), v(1, 1, 0);
    Rgb32_2_yuv420(y.Ptr(), u.Ptr(), v.Ptr(), 2, 1, 1, &bottomUp.header, bottomUp.bits.data());
    ExpectFourColours(y, u, v);

    Bitmap topDown(2, 2, 32, 0, true);
    PaintFourColours(topDown);
    Plane y2(2, 2, 0), u2(1, 1, 0), v2(1, 1, 0);
    Argb_2_yuv420(y2.Ptr(), u2.Ptr(), v2.Ptr(), 2, 1, 1, &topDown.header, topDown.bits.data());
    ExpectFourColours(y2, u2, v2);
}

TEST(BitmapToPlanes, AlphaPlaneTakesFourthBytes)
{
    Bitmap bmp(2, 2, 32, 0);
    PaintFourColours(bmp);
    Plane y(3, 2, 0), u(1, 1, 0), v(1, 1, 0), a(3, 2, 0xEE);
    Rgb32_2_yuv420A(y.Ptr(), u.Ptr(), v.Ptr(), a.Ptr(), 3, 1, 1, &bmp.header, bmp.bits.data());
    ExpectFourColours(y, u, v);
    EXPECT_EQ(10, a.At(0, 0));
    EXPECT_EQ(20, a.At(1, 0));
    EXPECT_EQ(30, a.At(0, 1));
    EXPECT_EQ(40, a.At(1, 1));
    EXPECT_EQ(0xEE, a.At(2, 0)); // alpha is written at the pixel only
    EXPECT_EQ(0xEE, a.At(2, 1));
}

namespace {

// 3 x 3 picture: red green blue / white black red / green blue white.
void PaintThreeByThree(Bitmap& bmp)
{
    const Rgb rows[3][3] = {{kRed, kGreen, kBlue}, {kWhite, kBlack, kRed}, {kGreen, kBlue, kWhite}};
    for (int yy = 0; yy < 3; ++yy)
        for (int xx = 0; xx < 3; ++xx)
            bmp.Set(xx, yy, rows[yy][xx], static_cast<unsigned char>(yy * 3 + xx));
}

void ExpectThreeByThreeChroma(Plane& u, Plane& v)
{
    EXPECT_EQ(99, u.At(0, 0));  // (90 + 53 + 128 + 128) >> 2
    EXPECT_EQ(132, v.At(0, 0)); // (239 + 34 + 128 + 128) >> 2
    EXPECT_EQ(164, u.At(1, 0)); // last column: (239 + 90) >> 1
    EXPECT_EQ(174, v.At(1, 0)); // (109 + 239) >> 1
    EXPECT_EQ(146, u.At(0, 1)); // last row: (53 + 239) >> 1
    EXPECT_EQ(71, v.At(0, 1));  // (34 + 109) >> 1
    EXPECT_EQ(128, u.At(1, 1)); // corner: white alone
    EXPECT_EQ(128, v.At(1, 1));
}

} // namespace

TEST(BitmapToPlanes, OddSizeWithPaddedPitchFillsNextByte)
{
    Bitmap bmp(3, 3, 24, 0);
    PaintThreeByThree(bmp);
    Plane y(4, 4, 0xEE), u(2, 2, 0xEE), v(2, 2, 0xEE);
    Rgb24_2_yuv420(y.Ptr(), u.Ptr(), v.Ptr(), 4, 2, 2, &bmp.header, bmp.bits.data());
    const int expect[3][4] = {{81, 144, 40, 40}, {235, 16, 81, 81}, {144, 40, 235, 235}};
    for (int row = 0; row < 3; ++row)
        for (int x = 0; x < 4; ++x)
            EXPECT_EQ(expect[row][x], y.At(x, row)) << x << "," << row;
    for (int x = 0; x < 4; ++x)
        EXPECT_EQ(0xEE, y.At(x, 3)); // nothing below the last row
    ExpectThreeByThreeChroma(u, v);
}

TEST(BitmapToPlanes, OddSizeWithTightPitchKeepsNeighbourRows)
{
    // Pitch == width: the byte after the last column is the next row's first
    // pixel (or past the plane), so no copy is made there. The plane is
    // exactly 9 bytes: a write past it trips the address sanitizer.
    Bitmap bmp(3, 3, 32, 0);
    PaintThreeByThree(bmp);
    Plane y(3, 3, 0xEE), u(2, 2, 0xEE), v(2, 2, 0xEE), a(3, 3, 0xEE);
    Rgb32_2_yuv420A(y.Ptr(), u.Ptr(), v.Ptr(), a.Ptr(), 3, 2, 2, &bmp.header, bmp.bits.data());
    const int expect[3][3] = {{81, 144, 40}, {235, 16, 81}, {144, 40, 235}};
    for (int row = 0; row < 3; ++row)
        for (int x = 0; x < 3; ++x) {
            EXPECT_EQ(expect[row][x], y.At(x, row)) << x << "," << row;
            EXPECT_EQ(row * 3 + x, a.At(x, row));
        }
    ExpectThreeByThreeChroma(u, v);
}

TEST(BitmapToPlanes, SimpleLeavesOddColumnAndRowUntouched)
{
    Bitmap bmp(3, 3, 24, 0);
    PaintThreeByThree(bmp);
    Plane y(3, 3, 0xEE), u(2, 2, 0xEE), v(2, 2, 0xEE);
    EXPECT_EQ(2, Rgb24_2_yuv420Simple(y.Ptr(), u.Ptr(), v.Ptr(), 3, 2, 2, &bmp.header, bmp.bits.data()));
    EXPECT_EQ(81, y.At(0, 0));
    EXPECT_EQ(144, y.At(1, 0));
    EXPECT_EQ(235, y.At(0, 1));
    EXPECT_EQ(16, y.At(1, 1));
    EXPECT_EQ(100, u.At(0, 0)); // (90 + 54 + 128 + 128) >> 2
    EXPECT_EQ(132, v.At(0, 0)); // (240 + 34 + 128 + 128) >> 2
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(0xEE, y.At(2, i));
        EXPECT_EQ(0xEE, y.At(i, 2));
    }
    EXPECT_EQ(0xEE, u.At(1, 0));
    EXPECT_EQ(0xEE, u.At(0, 1));
    EXPECT_EQ(0xEE, v.At(1, 1));
    EXPECT_EQ(0, Rgb24_2_yuv420Simple(y.Ptr(), u.Ptr(), nullptr, 3, 2, 2, &bmp.header, bmp.bits.data()));
}

// ---------------------------------------------------------------------------
// Packed 4:2:2.

TEST(Packed, Rgb24ToYuy2AndUyvyWithOddWidth)
{
    // Source row 1 from column 1: red, green, blue.
    Plane src(15, 2, 0);
    const Rgb row[3] = {kRed, kGreen, kBlue};
    for (int i = 0; i < 3; ++i) {
        src.At(3 + 3 * i, 1) = static_cast<unsigned char>(row[i].b);
        src.At(4 + 3 * i, 1) = static_cast<unsigned char>(row[i].g);
        src.At(5 + 3 * i, 1) = static_cast<unsigned char>(row[i].r);
    }
    for (int yuy2 = 0; yuy2 < 2; ++yuy2) {
        Plane dst(12, 3, 0xEE);
        Rgb24_2_YUY2(dst.Ptr(), 12, 2, 1, 3, 1, yuy2, src.Ptr(), 15, 1, 1, 0);
        // Pair: Y 81 and 144, U (90 + 53) >> 1 = 71, V (239 + 34) >> 1 = 136;
        // then a half group for blue: Y 40 and its own U 239.
        const Bytes expect = yuy2 ? Bytes{81, 71, 144, 136, 40, 239} : Bytes{71, 81, 136, 144, 239, 40};
        for (int i = 0; i < 12; ++i) {
            const bool inside = i >= 4 && i < 10;
            EXPECT_EQ(inside ? expect[i - 4] : 0xEE, dst.At(i, 1)) << "yuy2 " << yuy2 << " byte " << i;
            EXPECT_EQ(0xEE, dst.At(i, 0));
            EXPECT_EQ(0xEE, dst.At(i, 2));
        }
    }
}

TEST(Packed, Yuy2ToRgb24)
{
    // Groups (81, 90, 235, 240) and (16, 90, -, 240) in YUY2 order.
    const Bytes yuy2{81, 90, 235, 240, 16, 90, 99, 240};
    const Bytes uyvy{90, 81, 240, 235, 90, 16, 240, 99};
    for (int order = 0; order < 2; ++order) {
        Bytes src = order ? yuy2 : uyvy;
        Plane dst(12, 1, 0xEE);
        YUY2_2_Rgb24(dst.Ptr(), 12, 1, 0, 3, 1, order, src.data(), 8, 0, 0, 0);
        const Bytes expect{0xEE, 0xEE, 0xEE, 0, 0, 254, 178, 178, 255, 0, 0, 178};
        EXPECT_EQ(expect, dst.data) << "order " << order;
    }
}

TEST(Packed, BltCopiesOrSwapsOnlyTheRectangle)
{
    Plane src(8, 3, 0);
    for (size_t i = 0; i < src.data.size(); ++i)
        src.data[i] = static_cast<unsigned char>(i + 1);
    Plane same(8, 3, 0xEE), swapped(8, 3, 0xEE);
    YUY2_Blt_fast(same.Ptr(), 8, 99, 99, 2, 2, 1, src.Ptr(), 8, 1, 1, 1);
    YUY2_Blt_fast(swapped.Ptr(), 8, 0, 0, 2, 2, 0, src.Ptr(), 8, 1, 1, 1);
    for (int row = 0; row < 3; ++row)
        for (int i = 0; i < 8; ++i) {
            const bool inside = row >= 1 && i >= 2 && i < 6;
            EXPECT_EQ(inside ? src.At(i, row) : 0xEE, same.At(i, row));
            EXPECT_EQ(inside ? src.At(i ^ 1, row) : 0xEE, swapped.At(i, row));
        }
}

TEST(Packed, Yv12BltCopiesLumaAndRoundedChromaRectangle)
{
    Plane sy(6, 6, 0), su(3, 3, 0), sv(3, 3, 0);
    for (size_t i = 0; i < sy.data.size(); ++i)
        sy.data[i] = static_cast<unsigned char>(i + 1);
    for (size_t i = 0; i < su.data.size(); ++i) {
        su.data[i] = static_cast<unsigned char>(100 + i);
        sv.data[i] = static_cast<unsigned char>(200 + i);
    }
    Plane dy(6, 6, 0xEE), du(3, 3, 0xEE), dv(3, 3, 0xEE);
    YV12_Blt_fast(dy.Ptr(), du.Ptr(), dv.Ptr(), 6, 3, 3, 3, 3, sy.Ptr(), su.Ptr(), sv.Ptr(), 6, 3, 3, 1, 1);
    for (int row = 0; row < 6; ++row)
        for (int x = 0; x < 6; ++x) {
            const bool inside = row >= 1 && row < 4 && x >= 1 && x < 4;
            EXPECT_EQ(inside ? sy.At(x, row) : 0xEE, dy.At(x, row)) << x << "," << row;
        }
    // Chroma from column (1 + 1) / 2 = 1, (3 + 1) / 2 = 2 wide; rows likewise.
    for (int row = 0; row < 3; ++row)
        for (int x = 0; x < 3; ++x) {
            const bool inside = row >= 1 && x >= 1;
            EXPECT_EQ(inside ? su.At(x, row) : 0xEE, du.At(x, row));
            EXPECT_EQ(inside ? sv.At(x, row) : 0xEE, dv.At(x, row));
        }
}

TEST(Packed, Yuy2ToPlanesAveragesChromaVertically)
{
    // Rows 1 and 2 of the source, three pixels each (two groups a row).
    Plane src(8, 3, 0);
    const Bytes r1{10, 100, 11, 200, 12, 50, 99, 60};
    const Bytes r2{20, 103, 21, 205, 22, 51, 99, 63};
    std::memcpy(&src.At(0, 1), r1.data(), 8);
    std::memcpy(&src.At(0, 2), r2.data(), 8);
    Plane y(5, 4, 0xEE), u(3, 2, 0xEE), v(3, 2, 0xEE);
    YUY2_2_Yuv420(y.Ptr(), u.Ptr(), v.Ptr(), 5, 3, 3, 2, 2, 3, 2, src.Ptr(), 8, 1, 0, 1);
    const int expectY[4][5] = {
        {0xEE, 0xEE, 0xEE, 0xEE, 0xEE}, {0xEE, 0xEE, 0xEE, 0xEE, 0xEE}, {0xEE, 0xEE, 10, 11, 12}, {0xEE, 0xEE, 20, 21, 22}};
    for (int row = 0; row < 4; ++row)
        for (int x = 0; x < 5; ++x)
            EXPECT_EQ(expectY[row][x], y.At(x, row)) << x << "," << row;
    // Chroma row 1 from column 1: (100 + 103) >> 1, (50 + 51) >> 1.
    EXPECT_EQ(101, u.At(1, 1));
    EXPECT_EQ(50, u.At(2, 1));
    EXPECT_EQ(202, v.At(1, 1)); // (200 + 205) >> 1
    EXPECT_EQ(61, v.At(2, 1));  // (60 + 63) >> 1
    EXPECT_EQ(0xEE, u.At(0, 1));
    for (int x = 0; x < 3; ++x) {
        EXPECT_EQ(0xEE, u.At(x, 0));
        EXPECT_EQ(0xEE, v.At(x, 0));
    }
}

TEST(Packed, Yuy2ToPlanesOddHeightTakesLastRowChroma)
{
    const Bytes row{10, 100, 11, 200};
    Plane y(2, 1, 0xEE), u(1, 1, 0xEE), v(1, 1, 0xEE);
    YUY2_2_Yuv420(y.Ptr(), u.Ptr(), v.Ptr(), 2, 1, 1, 0, 0, 2, 1, const_cast<unsigned char*>(row.data()), 4, 1, 0,
                  0);
    EXPECT_EQ(10, y.At(0, 0));
    EXPECT_EQ(11, y.At(1, 0));
    EXPECT_EQ(100, u.At(0, 0));
    EXPECT_EQ(200, v.At(0, 0));
}

TEST(Packed, PlanesToYuy2PlacesBytes)
{
    Plane y(4, 4, 0), u(2, 2, 0), v(2, 2, 0);
    for (int row = 0; row < 4; ++row)
        for (int x = 0; x < 4; ++x)
            y.At(x, row) = static_cast<unsigned char>(10 * row + x);
    for (int i = 0; i < 4; ++i) {
        u.data[i] = static_cast<unsigned char>(100 + i);
        v.data[i] = static_cast<unsigned char>(200 + i);
    }
    // Source rectangle from (1, 1), 3 x 3: odd width and height.
    Plane dst(8, 4, 0xEE);
    Yuv420_2_YUY2(dst.Ptr(), 8, 99, 1, 3, 3, 0, y.Ptr(), u.Ptr(), v.Ptr(), 4, 2, 2, 1, 1);
    // Pixel pairs (1, 2) share chroma (0 or 1) / 2 = column 0; the half
    // group of pixel 3 uses column 1. Rows 1, 2 use chroma row 0; row 3
    // uses chroma row 1.
    const Bytes r1{100, 11, 200, 12, 101, 13, 0xEE, 0xEE};
    const Bytes r2{100, 21, 200, 22, 101, 23, 0xEE, 0xEE};
    const Bytes r3{102, 31, 202, 32, 103, 33, 0xEE, 0xEE};
    EXPECT_EQ(Bytes(8, 0xEE), Bytes(dst.data.begin(), dst.data.begin() + 8));
    EXPECT_EQ(r1, Bytes(dst.data.begin() + 8, dst.data.begin() + 16));
    EXPECT_EQ(r2, Bytes(dst.data.begin() + 16, dst.data.begin() + 24));
    EXPECT_EQ(r3, Bytes(dst.data.begin() + 24, dst.data.end()));
}

// ---------------------------------------------------------------------------
// Reference and dispatched kernels agree byte for byte. The two runs fill
// their outputs with different sentinels: a byte is either written alike by
// both or left as each run's own sentinel.

namespace {

void ExpectSameWrites(const Bytes& a, unsigned char fillA, const Bytes& b, unsigned char fillB, const char* what)
{
    ASSERT_EQ(a.size(), b.size());
    for (size_t i = 0; i < a.size(); ++i)
        EXPECT_TRUE(a[i] == b[i] || (a[i] == fillA && b[i] == fillB)) << what << " byte " << i;
}

} // namespace

TEST(KernelDispatch, ReferenceAndDispatchedKernelsAgree)
{
    const bool wasForced = DpForceReference();
    const unsigned char fills[2] = {0x22, 0x11};
    std::mt19937 rng(7);
    for (int w : {1, 2, 7, 33}) {
        for (int h : {1, 2, 5}) {
            Bitmap bmp(w, h, 24, 0);
            for (auto& b : bmp.bits)
                b = static_cast<unsigned char>(rng());
            std::vector<Bytes> out[2];
            for (int forced = 0; forced < 2; ++forced) {
                DpSetForceReference(forced != 0);
                const unsigned char fill = fills[forced];
                Plane y(w + 3, h, fill), u((w + 1) / 2 + 1, (h + 1) / 2, fill), v((w + 1) / 2 + 1, (h + 1) / 2, fill);
                Rgb24_2_yuv420(y.Ptr(), u.Ptr(), v.Ptr(), y.pitch, u.pitch, v.pitch, &bmp.header, bmp.bits.data());
                Bitmap back(w, h, 24, fill);
                Yuv420_2_rgb24(&back.header, back.bits.data(), y.Ptr(), u.Ptr(), v.Ptr(), y.pitch, u.pitch, v.pitch);
                out[forced] = {y.data, u.data, v.data, back.bits};
            }
            const char* names[4] = {"Y", "U", "V", "bitmap"};
            for (int k = 0; k < 4; ++k) {
                SCOPED_TRACE(testing::Message() << w << "x" << h);
                ExpectSameWrites(out[0][k], fills[0], out[1][k], fills[1], names[k]);
            }
        }
    }
    DpSetForceReference(wasForced);
}
