// SaveYUVImage: the BMP and JPEG paths and the temporary bitmap.
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <vector>

#include "DibImage.h"
#include "ImageConvert.h"
#include "SaveYUVImage.h"
#include "StillTestUtil.h"

using namespace stilltest;

namespace {

// A w x h 4:2:0 picture with pitches wider than the planes.
struct Yuv {
    int w, h, pitchY, pitchC;
    std::vector<uint8_t> y, u, v;
    Yuv(int width, int height) : w(width), h(height), pitchY(width + 5), pitchC((width + 1) / 2 + 3)
    {
        const int ch = (height + 1) / 2;
        y.assign(size_t(pitchY) * height, 0);
        u.assign(size_t(pitchC) * ch, 0);
        v.assign(size_t(pitchC) * ch, 0);
        for (int r = 0; r < height; ++r)
            for (int c = 0; c < width; ++c)
                y[size_t(r) * pitchY + c] = uint8_t(16 + (r * 37 + c * 11) % 220);
        for (int r = 0; r < ch; ++r)
            for (int c = 0; c < (width + 1) / 2; ++c) {
                u[size_t(r) * pitchC + c] = uint8_t(100 + (r * 5 + c * 3) % 50);
                v[size_t(r) * pitchC + c] = uint8_t(150 - (r * 3 + c * 7) % 60);
            }
    }
    int Save(const std::wstring& path, int jpeg)
    {
        return SaveYUVImage(path.c_str(), jpeg, w, h, y.data(), u.data(), v.data(), pitchY, pitchC, pitchC);
    }
};

std::wstring Wide(const std::string& s)
{
    return std::wstring(s.begin(), s.end());
}

} // namespace

TEST(SaveYUVImage, BmpHoldsTheConvertedPicture)
{
    Yuv yuv(6, 4);
    TempDir dir;
    const std::string path = dir.file("shot.bmp");
    ASSERT_EQ(yuv.Save(Wide(path), 0), 1);

    DibImage expected;
    ASSERT_EQ(expected.Create(6, 4, 24), 1);
    Yuv420_2_rgb24(&expected.GetBitmapInfo()->bmiHeader, expected.GetBits(), yuv.y.data(), yuv.u.data(),
                   yuv.v.data(), yuv.pitchY, yuv.pitchC, yuv.pitchC);
    const std::vector<uint8_t> f = ReadFile(path);
    ASSERT_EQ(f.size(), 54u + 4 * 20);
    EXPECT_EQ(f[28], 24);
    EXPECT_EQ(0, std::memcmp(&f[54], expected.GetBits(), 80));
}

TEST(SaveYUVImage, JpegLeavesTheTargetAndNoTemporaryBitmap)
{
    Yuv yuv(48, 32);
    TempDir dir;
    ASSERT_EQ(yuv.Save(Wide(dir.file("a.jpg")), 1), 1);
    EXPECT_FALSE(FileExists(dir.file("atmp.bmp")));
    Picture out;
    std::string error;
    ASSERT_TRUE(DecodeJpeg(ReadFile(dir.file("a.jpg")), &out, &error)) << error;
    EXPECT_EQ(out.width, 48);
    EXPECT_EQ(out.height, 32);
    // Only the target is left in the folder.
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.path()), {}), 1);
}

TEST(SaveYUVImage, WideNamesReachTheFileSystemAsUtf8)
{
    Yuv yuv(8, 8);
    TempDir dir;
    const std::wstring name = Wide(dir.path()) + L"/\u00e9t\u00e9 \u6c34.jpg";
    ASSERT_EQ(yuv.Save(name, 1), 1);
    EXPECT_TRUE(FileExists(dir.path() + "/\xc3\xa9t\xc3\xa9 \xe6\xb0\xb4.jpg"));
    EXPECT_FALSE(FileExists(dir.path() + "/\xc3\xa9t\xc3\xa9 \xe6\xb0\xb4tmp.bmp"));
}

TEST(SaveYUVImage, TemporaryNameReplacesTheTextFromTheLastDot)
{
    // The last "." is in the folder name: the temporary bitmap goes beside
    // the folder, and is removed all the same.
    Yuv yuv(8, 8);
    TempDir dir;
    std::filesystem::create_directory(dir.file("my.dir"));
    ASSERT_EQ(yuv.Save(Wide(dir.file("my.dir/shot")), 1), 1);
    EXPECT_TRUE(FileExists(dir.file("my.dir/shot")));
    EXPECT_FALSE(FileExists(dir.file("mytmp.bmp")));
}

TEST(SaveYUVImage, FailuresReturnZero)
{
    Yuv yuv(8, 8);
    TempDir dir;
    // No "." for the temporary name.
    EXPECT_EQ(yuv.Save(Wide(dir.path() + "/noext"), 1), 0);
    EXPECT_FALSE(FileExists(dir.file("noext")));
    // The temporary bitmap cannot be written in a missing folder.
    EXPECT_EQ(yuv.Save(Wide(dir.file("missing/a.jpg")), 1), 0);
    EXPECT_EQ(yuv.Save(Wide(dir.file("missing/a.bmp")), 0), 0);

    EXPECT_EQ(SaveYUVImage(nullptr, 0, 8, 8, yuv.y.data(), yuv.u.data(), yuv.v.data(), 8, 4, 4), 0);
    EXPECT_EQ(SaveYUVImage(L"/tmp/x.bmp", 0, 8, 8, nullptr, yuv.u.data(), yuv.v.data(), 8, 4, 4), 0);
    EXPECT_EQ(SaveYUVImage(Wide(dir.file("neg.bmp")).c_str(), 0, -8, 8, yuv.y.data(), yuv.u.data(),
                           yuv.v.data(), 8, 4, 4),
              0);
    EXPECT_FALSE(FileExists(dir.file("neg.bmp")));
}
