// Capture of the current picture to BMP and JPEG files.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <sys/stat.h>

#include "PlaneSource.h"
#include "VideoProcess.h"

namespace {

long FileSize(const std::string& path)
{
    struct stat st;
    return stat(path.c_str(), &st) == 0 ? static_cast<long>(st.st_size) : -1;
}

std::wstring Wide(const std::string& s) { return std::wstring(s.begin(), s.end()); }

TEST(CaptureImage, SavesTheCurrentPicture)
{
    PlaneSource src(6, 4, 0.0, 5); // padded pitches
    src.FillFlat(120, 100, 150);
    VideoProcess vp(&src, nullptr, 0.0);
    const std::string dir = ::testing::TempDir();

    // Without an output frame the source's picture is taken.
    const std::string bmp = dir + "dp_capture_src.bmp";
    std::remove(bmp.c_str());
    std::wstring wbmp = Wide(bmp);
    EXPECT_EQ(vp.CaptureImage(&wbmp[0], 0, 0), 1);
    EXPECT_EQ(FileSize(bmp), 14 + 40 + 20 * 4); // 24-bit rows of 18 bytes padded to 20
    std::remove(bmp.c_str());

    // With one, the processed picture (here turned into a cropped 4 x 2).
    const tagRECT crop = {1, 1, 5, 3};
    vp.SetCropRect(&crop, IMAGE_RESIZE_LETTERBOX);
    ASSERT_NE(vp.GetFrame(), nullptr);
    EXPECT_EQ(vp.CaptureImage(&wbmp[0], 0, 0), 1);
    EXPECT_EQ(FileSize(bmp), 14 + 40 + 12 * 2);
    std::remove(bmp.c_str());

    const std::string jpg = dir + "dp_capture.jpg";
    const std::string tmp = dir + "dp_capturetmp.bmp";
    std::remove(jpg.c_str());
    std::wstring wjpg = Wide(jpg);
    EXPECT_EQ(vp.CaptureImage(&wjpg[0], 1, 0), 1);
    EXPECT_GT(FileSize(jpg), 0);
    EXPECT_EQ(FileSize(tmp), -1); // the temporary bitmap is gone
    std::remove(jpg.c_str());
}

TEST(CaptureImage, NothingToSave)
{
    PlaneSource src(6, 4);
    VideoProcess vp(&src, nullptr, 0.0);
    EXPECT_EQ(vp.CaptureImage(nullptr, 0, 0), 0);
    src.SetEnded(true);
    std::wstring path = Wide(::testing::TempDir() + "dp_capture_none.bmp");
    EXPECT_EQ(vp.CaptureImage(&path[0], 0, 0), 0);
    VideoProcess orphan(nullptr, nullptr, 0.0);
    EXPECT_EQ(orphan.CaptureImage(&path[0], 0, 0), 0);
}

} // namespace
