// DibImage and the BMP files it saves (read back field by field from the
// file format), SaveYUVImage, and the JPEG library wrapper without its
// library ("IJL15.DLL" is nowhere this executable looks).
#include <gtest/gtest.h>

#include <array>
#include <cstring>

#include "DibImage.h"
#include "IjlObj.h"
#include "ImageConvert.h"
#include "SaveYUVImage.h"
#include "StillTestUtil.h"

using namespace stilltest;

namespace {

size_t FilesIn(const std::string& dir)
{
    return size_t(std::distance(std::filesystem::directory_iterator(dir), {}));
}

} // namespace

TEST(DibImage, CreateKeepsThePixelsOfTheSameShapeAndPadsRowsToFourBytes)
{
    DibImage dib;
    ASSERT_EQ(dib.Create(5, 4, 24), 1);
    unsigned char* bits = dib.GetBits();
    bits[0] = 0xAB;
    ASSERT_EQ(dib.Create(5, 4, 24), 1);
    EXPECT_EQ(dib.GetBits(), bits);
    EXPECT_EQ(dib.GetBits()[0], 0xAB);
    ASSERT_EQ(dib.Create(5, 4, 32), 1); // another shape starts from zeros
    EXPECT_EQ(dib.GetBits()[0], 0);
    // {width, bits a pixel, stride}
    for (const auto& c : {std::array<int, 3>{1, 24, 4}, {5, 24, 16}, {1, 1, 4}, {33, 1, 8}, {3, 8, 4}, {7, 16, 16},
                          {3, 32, 12}}) {
        ASSERT_EQ(dib.Create(c[0], 3, c[1]), 1);
        EXPECT_EQ(dib.ImageSize(), 3u * c[2]) << c[0] << " x " << c[1];
    }
}

TEST(DibImage, ColourTableSizeAndItsDeliberatelyPartialSave)
{
    DibImage dib;
    ASSERT_EQ(dib.Create(4, 4, 8), 1);
    EXPECT_EQ(dib.HeaderSize(), 40u + 4 * 256);
    dib.GetBitmapInfo()->bmiHeader.biClrUsed = 16; // 40 + 4 * 16 bytes of header
    // Kept deliberately: only the first 44 bytes of the header block are
    // copied, the rest of the declared colour table is written as zeros.
    dib.GetBitmapInfo()->bmiColors[0] = tagRGBQUAD{1, 2, 3, 0};
    dib.GetBitmapInfo()->bmiColors[1] = tagRGBQUAD{4, 5, 6, 0};
    TempDir dir;
    ASSERT_EQ(dib.Save(dir.file("eight.bmp").c_str()), 1);
    const std::vector<uint8_t> f = ReadFile(dir.file("eight.bmp"));
    ASSERT_EQ(f.size(), 14u + 104 + 16);
    EXPECT_EQ(Le(f, 10, 4), 14u + 104);
    EXPECT_EQ(Le(f, 54, 4), 0x030201u);
    EXPECT_EQ(std::vector<uint8_t>(f.begin() + 58, f.begin() + 118), std::vector<uint8_t>(60, 0));
}

namespace {

// A w x h 4:2:0 picture with pitches wider than the planes.
struct Yuv {
    int w, h, pitchY, pitchC;
    std::vector<uint8_t> y, u, v;
    Yuv(int width, int height) : w(width), h(height), pitchY(width + 5), pitchC((width + 1) / 2 + 3)
    {
        for (int i = 0; i < pitchY * h; ++i)
            y.push_back(uint8_t(16 + i * 37 % 220));
        for (int i = 0; i < pitchC * ((h + 1) / 2); ++i)
            u.push_back(uint8_t(100 + i * 3 % 50)), v.push_back(uint8_t(150 - i * 7 % 60));
    }
    int Save(const std::wstring& path, int jpeg)
    {
        return SaveYUVImage(path.c_str(), jpeg, w, h, y.data(), u.data(), v.data(), pitchY, pitchC, pitchC);
    }
    int Save(const std::string& path, int jpeg) { return Save(std::wstring(path.begin(), path.end()), jpeg); }
};

} // namespace

TEST(SaveYUVImage, BmpHoldsTheConvertedPictureAndJpegLeavesOnlyTheTarget)
{
    Yuv yuv(6, 4);
    TempDir dir;
    ASSERT_EQ(yuv.Save(dir.file("shot.bmp"), 0), 1);
    DibImage expected;
    ASSERT_EQ(expected.Create(6, 4, 24), 1);
    Yuv420_2_rgb24(&expected.GetBitmapInfo()->bmiHeader, expected.GetBits(), yuv.y.data(), yuv.u.data(),
                   yuv.v.data(), yuv.pitchY, yuv.pitchC, yuv.pitchC);
    const std::vector<uint8_t> f = ReadFile(dir.file("shot.bmp"));
    ASSERT_EQ(f.size(), 54u + 4 * 20);
    EXPECT_EQ(0, std::memcmp(&f[54], expected.GetBits(), 80));

    // A wide name reaches the file system as UTF-8; no temporary bitmap is left.
    TempDir jpegDir;
    Yuv big(48, 32);
    const std::wstring wideDir(jpegDir.path().begin(), jpegDir.path().end());
    ASSERT_EQ(big.Save(wideDir + L"/\u00e9t\u00e9 \u6c34.jpg", 1), 1);
    EXPECT_EQ(FilesIn(jpegDir.path()), 1u);
    Picture out;
    std::string error;
    ASSERT_TRUE(DecodeJpeg(ReadFile(jpegDir.file("\xc3\xa9t\xc3\xa9 \xe6\xb0\xb4.jpg")), &out, &error)) << error;
    EXPECT_EQ(out.width, 48);
    EXPECT_EQ(out.height, 32);
}

