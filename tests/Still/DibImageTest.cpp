// DibImage: creation, header sizes and the BMP file it saves, read back by
// a parser written from the file format.
#include <gtest/gtest.h>

#include <cstring>

#include "DibImage.h"
#include "StillTestUtil.h"

using namespace stilltest;

namespace {

uint32_t Le32(const std::vector<uint8_t>& f, size_t at)
{
    return uint32_t(f[at]) | uint32_t(f[at + 1]) << 8 | uint32_t(f[at + 2]) << 16 | uint32_t(f[at + 3]) << 24;
}

unsigned Le16(const std::vector<uint8_t>& f, size_t at)
{
    return unsigned(f[at]) | unsigned(f[at + 1]) << 8;
}

} // namespace

TEST(DibImage, ThreeByTwoSavesAs78ByteFile)
{
    DibImage dib;
    ASSERT_EQ(dib.Create(3, 2, 24), 1);
    EXPECT_EQ(dib.Width(), 3);
    EXPECT_EQ(dib.Height(), 2);
    EXPECT_EQ(dib.BitCount(), 24);
    EXPECT_EQ(dib.HeaderSize(), 40u);
    EXPECT_EQ(dib.ImageSize(), 24u); // stride 12 (9 bytes and 3 of padding) x 2
    for (unsigned i = 0; i < 24 + 4; ++i) // the 4 bytes of slack are there too
        ASSERT_EQ(dib.GetBits()[i], 0) << i;
    for (unsigned i = 0; i < 24; ++i)
        dib.GetBits()[i] = uint8_t(i * 7 + 1);

    TempDir dir;
    const std::string path = dir.file("three by two.bmp");
    ASSERT_EQ(dib.Save(path.c_str()), 1);
    const std::vector<uint8_t> f = ReadFile(path);
    ASSERT_EQ(f.size(), 78u);
    EXPECT_EQ(f[0], 'B');
    EXPECT_EQ(f[1], 'M');
    EXPECT_EQ(Le32(f, 2), 78u);  // bfSize
    EXPECT_EQ(Le32(f, 6), 0u);   // both reserved words
    EXPECT_EQ(Le32(f, 10), 54u); // bfOffBits
    EXPECT_EQ(Le32(f, 14), 40u); // biSize
    EXPECT_EQ(Le32(f, 18), 3u);
    EXPECT_EQ(Le32(f, 22), 2u); // positive: bottom-up
    EXPECT_EQ(Le16(f, 26), 1u);
    EXPECT_EQ(Le16(f, 28), 24u);
    EXPECT_EQ(Le32(f, 30), 0u); // BI_RGB
    EXPECT_EQ(Le32(f, 34), 24u);
    for (size_t at = 38; at < 54; ++at)
        EXPECT_EQ(f[at], 0) << at;
    EXPECT_EQ(0, std::memcmp(&f[54], dib.GetBits(), 24));
}

TEST(DibImage, CreateWithTheSameShapeKeepsThePixels)
{
    DibImage dib;
    ASSERT_EQ(dib.Create(5, 4, 24), 1);
    unsigned char* bits = dib.GetBits();
    bits[0] = 0xAB;
    bits[dib.ImageSize() - 1] = 0xCD;
    ASSERT_EQ(dib.Create(5, 4, 24), 1);
    EXPECT_EQ(dib.GetBits(), bits);
    EXPECT_EQ(dib.GetBits()[0], 0xAB);

    // Another shape starts again from zeroed pixels.
    ASSERT_EQ(dib.Create(5, 4, 32), 1);
    EXPECT_EQ(dib.ImageSize(), 80u);
    EXPECT_EQ(dib.GetBits()[0], 0);
    ASSERT_EQ(dib.Create(6, 4, 32), 1);
    EXPECT_EQ(dib.Width(), 6);
}

TEST(DibImage, StrideFollowsTheBitCount)
{
    struct Case {
        int w, bits;
        unsigned stride;
    } cases[] = {{1, 24, 4}, {4, 24, 12}, {5, 24, 16}, {1, 1, 4}, {33, 1, 8}, {3, 8, 4}, {7, 16, 16}, {3, 32, 12}};
    for (const Case& c : cases) {
        DibImage dib;
        ASSERT_EQ(dib.Create(c.w, 3, c.bits), 1);
        EXPECT_EQ(dib.ImageSize(), 3 * c.stride) << c.w << " x " << c.bits;
    }
}

TEST(DibImage, HeaderSizeCountsTheColourTable)
{
    DibImage dib;
    EXPECT_EQ(dib.HeaderSize(), 0u);
    EXPECT_EQ(dib.ImageSize(), 0u);
    EXPECT_EQ(dib.Width(), 0);
    EXPECT_EQ(dib.BitCount(), 0);

    ASSERT_EQ(dib.Create(4, 4, 8), 1);
    EXPECT_EQ(dib.HeaderSize(), 40u + 4 * 256);
    dib.GetBitmapInfo()->bmiHeader.biClrUsed = 16;
    EXPECT_EQ(dib.HeaderSize(), 40u + 4 * 16);

    tagBITMAPINFO other = {};
    other.bmiHeader.biBitCount = 4;
    EXPECT_EQ(dib.HeaderSize(&other), 40u + 4 * 16);
    other.bmiHeader.biBitCount = 32;
    EXPECT_EQ(dib.HeaderSize(&other), 40u);

    // An 8-bit image is written with its declared header size; only the
    // first 44 bytes come from the header, the rest of the table is zeros.
    dib.GetBitmapInfo()->bmiColors[0] = tagRGBQUAD{1, 2, 3, 0};
    TempDir dir;
    ASSERT_EQ(dib.Save(dir.file("eight.bmp").c_str()), 1);
    const std::vector<uint8_t> f = ReadFile(dir.file("eight.bmp"));
    ASSERT_EQ(f.size(), 14u + 104 + 16);
    EXPECT_EQ(Le32(f, 10), 14u + 104);
    EXPECT_EQ(f[54], 1);
    EXPECT_EQ(f[56], 3);
    for (size_t at = 58; at < 118; ++at)
        EXPECT_EQ(f[at], 0) << at;
}

TEST(DibImage, FailuresReturnZero)
{
    TempDir dir;
    DibImage dib;
    EXPECT_EQ(dib.Save(dir.file("empty.bmp").c_str()), 0); // no pixels
    EXPECT_FALSE(FileExists(dir.file("empty.bmp")));

    EXPECT_EQ(dib.Create(-1, 2, 24), 0);
    EXPECT_EQ(dib.Create(2, -1, 24), 0);
    EXPECT_EQ(dib.Create(2, 2, 0), 0);
    EXPECT_EQ(dib.Create(2, 2, 33), 0);
    EXPECT_EQ(dib.Create(0x7FFFFFFF, 0x7FFFFFFF, 32), 0); // far beyond 4 GiB
    EXPECT_EQ(dib.GetBitmapInfo(), nullptr);
    EXPECT_EQ(dib.GetBits(), nullptr);

    ASSERT_EQ(dib.Create(2, 2, 24), 1);
    EXPECT_EQ(dib.Save(dir.file("no such folder/x.bmp").c_str()), 0);
    EXPECT_EQ(dib.Save(nullptr), 0);

    // A failed Create leaves nothing behind, and Clear empties the image.
    EXPECT_EQ(dib.Create(2, -2, 24), 0);
    EXPECT_EQ(dib.GetBits(), nullptr);
    ASSERT_EQ(dib.Create(0, 0, 24), 1); // an empty picture is still a bitmap
    EXPECT_EQ(dib.ImageSize(), 0u);
    EXPECT_EQ(dib.Save(dir.file("zero.bmp").c_str()), 1);
    EXPECT_EQ(ReadFile(dir.file("zero.bmp")).size(), 54u);
    dib.Clear();
    EXPECT_EQ(dib.GetBitmapInfo(), nullptr);
    EXPECT_EQ(dib.Width(), 0);
}
