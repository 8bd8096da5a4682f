// Preconditions of the colour converters: each stops the process with a
// message naming the condition, the function and the source file.
#include "ImageConvert.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace {

// The literal text as a regular expression.
std::string Literal(const std::string& text)
{
    std::string out;
    for (char c : text) {
        if (std::strchr("\\^$.|?*+()[]{}", c))
            out += '\\';
        out += c;
    }
    return out;
}

std::string Failure(const std::string& condition, const std::string& function)
{
    return Literal("Assertion failed: (" + condition + "), function " + function +
                   ", file Common/Image/ImageConvert.cpp, line ") +
           "[0-9]+\\.";
}

BITMAPINFOHEADER Header(int width, int height, int bitCount)
{
    BITMAPINFOHEADER h;
    std::memset(&h, 0, sizeof(h));
    h.biSize = sizeof(h);
    h.biWidth = width;
    h.biHeight = height;
    h.biBitCount = static_cast<uint16_t>(bitCount);
    return h;
}

class ConvertDeathTest : public ::testing::Test {
protected:
    std::vector<unsigned char> y = std::vector<unsigned char>(64, 16);
    std::vector<unsigned char> u = std::vector<unsigned char>(16, 128);
    std::vector<unsigned char> v = std::vector<unsigned char>(16, 128);
    std::vector<unsigned char> bits = std::vector<unsigned char>(256, 0);
};

} // namespace

TEST_F(ConvertDeathTest, BitmapToPlanesChecksBitCountThenPointers)
{
    BITMAPINFOHEADER h24 = Header(2, 2, 24);
    BITMAPINFOHEADER h32 = Header(2, 2, 32);
    EXPECT_DEATH(Rgb32_2_yuv420(y.data(), u.data(), v.data(), 2, 1, 1, &h24, bits.data()),
                 Failure("lpSrcBmi && lpSrcBmi->biBitCount == 32", "Rgb32_2_yuv420"));
    EXPECT_DEATH(Argb_2_yuv420(y.data(), u.data(), v.data(), 2, 1, 1, &h24, bits.data()),
                 Failure("lpSrcBmi && lpSrcBmi->biBitCount == 32", "Argb_2_yuv420"));
    EXPECT_DEATH(Rgb32_2_yuv420A(y.data(), u.data(), v.data(), nullptr, 2, 1, 1, nullptr, bits.data()),
                 Failure("lpSrcBmi && lpSrcBmi->biBitCount == 32", "Rgb32_2_yuv420A"));
    EXPECT_DEATH(Rgb24_2_yuv420(y.data(), u.data(), v.data(), 2, 1, 1, &h32, bits.data()),
                 Failure("lpSrcBmi && lpSrcBmi->biBitCount == 24", "Rgb24_2_yuv420"));
    EXPECT_DEATH(Rgb24_2_yuv420(y.data(), u.data(), v.data(), 2, 1, 1, &h24, nullptr),
                 Failure("lpSrcBits && pY && pU && pV", "Rgb24_2_yuv420"));
    EXPECT_DEATH(Rgb32_2_yuv420A(y.data(), u.data(), nullptr, y.data(), 2, 1, 1, &h32, bits.data()),
                 Failure("lpSrcBits && pY && pU && pV", "Rgb32_2_yuv420A"));
}

TEST_F(ConvertDeathTest, PlanesToBitmapChecksBitCountThenPointers)
{
    BITMAPINFOHEADER h24 = Header(2, 2, 24);
    BITMAPINFOHEADER h32 = Header(2, 2, 32);
    EXPECT_DEATH(Yuv420_2_rgb24(nullptr, bits.data(), y.data(), u.data(), v.data(), 2, 1, 1),
                 Failure("lpDstBmi && lpDstBmi->biBitCount == 24", "Yuv420_2_rgb24"));
    EXPECT_DEATH(Yuv420_2_rgb32(&h24, bits.data(), y.data(), u.data(), v.data(), 2, 1, 1),
                 Failure("lpDstBmi && lpDstBmi->biBitCount == 32", "Yuv420_2_rgb32"));
    EXPECT_DEATH(Yuv420_2_Argb(&h24, bits.data(), y.data(), u.data(), v.data(), 2, 1, 1),
                 Failure("lpDstBmi && lpDstBmi->biBitCount == 32", "Yuv420_2_Argb"));
    EXPECT_DEATH(Yuv420_2_rgb24(&h24, bits.data(), nullptr, u.data(), v.data(), 2, 1, 1),
                 Failure("lpDstBits && pY && pU && pV", "Yuv420_2_rgb24"));
    EXPECT_DEATH(Yuv420_2_Argb(&h32, nullptr, y.data(), u.data(), v.data(), 2, 1, 1),
                 Failure("lpDstBits && pY && pU && pV", "Yuv420_2_Argb"));
}

TEST_F(ConvertDeathTest, PackedRoutinesCheckPointersAndRectangles)
{
    EXPECT_DEATH(Rgb24_2_YUY2(nullptr, 8, 0, 0, 2, 1, 1, bits.data(), 6, 0, 0, 0),
                 Failure("lpBitsDst && lpBitsSrc", "Rgb24_2_YUY2"));
    // (1 + 4) * 2 = 10 > 8.
    EXPECT_DEATH(Rgb24_2_YUY2(y.data(), 8, 1, 0, 4, 1, 1, bits.data(), 12, 0, 0, 0),
                 Failure("(xDst + cxDst) * 2 <= nPitchDst", "Rgb24_2_YUY2"));
    // 12 / 3 - 1 = 3 < 4.
    EXPECT_DEATH(Rgb24_2_YUY2(y.data(), 8, 0, 0, 4, 1, 1, bits.data(), 12, 1, 0, 0),
                 Failure("nPitchSrc / 3 - xSrc >= cxDst", "Rgb24_2_YUY2"));
    EXPECT_DEATH(YUY2_2_Rgb24(bits.data(), 12, 0, 0, 2, 1, 1, nullptr, 4, 0, 0, 0),
                 Failure("lpBitsDst && lpBitsSrc", "YUY2_2_Rgb24"));
}

TEST_F(ConvertDeathTest, Yuy2ToPlanesChecksTheChromaBound)
{
    // Destination row 8 puts V at chroma row 4: offset 8 > (0 + 2) * 2.
    std::vector<unsigned char> src(16, 0);
    std::vector<unsigned char> tall(64, 0);
    EXPECT_DEATH(YUY2_2_Yuv420(tall.data(), tall.data(), tall.data(), 4, 2, 2, 0, 8, 4, 2, src.data(), 8, 1, 0, 0),
                 Failure("(char*)V <= ((char*)pV + (ySrc + cy) * nPt_V)", "YUY2_2_Yuv420"));
    // The bound itself is allowed: chroma row 1 of pitch 2 ends at offset 3 <= 4.
    YUY2_2_Yuv420(tall.data(), tall.data() + 32, tall.data() + 48, 4, 2, 2, 0, 2, 4, 2, src.data(), 8, 1, 0, 0);
}

TEST_F(ConvertDeathTest, UncheckedRoutinesIgnoreNullArguments)
{
    BITMAPINFOHEADER h24 = Header(2, 2, 24);
    EXPECT_EQ(0, Rgb24_2_yuv420Simple(nullptr, u.data(), v.data(), 2, 1, 1, &h24, bits.data()));
    EXPECT_EQ(0, Yuv420_2_rgb24Simple(nullptr, bits.data(), y.data(), u.data(), v.data(), 2, 1, 1));
    YUY2_Blt_fast(nullptr, 8, 0, 0, 2, 2, 1, bits.data(), 8, 1, 0, 0);
    YV12_Blt_fast(nullptr, u.data(), v.data(), 2, 1, 1, 2, 2, y.data(), u.data(), v.data(), 2, 1, 1, 0, 0);
    Yuv420_2_YUY2(nullptr, 8, 0, 0, 2, 2, 1, y.data(), u.data(), v.data(), 2, 1, 1, 0, 0);
}
