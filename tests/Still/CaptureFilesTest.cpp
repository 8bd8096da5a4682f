// Captures from a running VideoProcess: the file left behind is the finished
// one only (no temporary bitmap beside a JPEG), its picture is the right way
// up, and captures on several threads, while another thread pulls frames,
// each produce a whole, valid file. Run under the sanitizers to be
// meaningful for the threads.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <dirent.h>
#include <string>
#include <thread>
#include <vector>

#include "StillTestUtil.h"
#include "SyntheticVideoSource.h"
#include "VideoProcess.h"

namespace {

using stilltest::Picture;

SyntheticVideoConfig Clip(int w, int h)
{
    SyntheticVideoConfig c;
    c.width = w;
    c.height = h;
    c.frameRate = 25.0;
    c.frameCount = 100000;
    return c;
}

std::vector<std::string> Names(const std::string& dir)
{
    std::vector<std::string> names;
    if (DIR* d = opendir(dir.c_str())) {
        while (dirent* e = readdir(d)) {
            const std::string n = e->d_name;
            if (n != "." && n != "..")
                names.push_back(n);
        }
        closedir(d);
    }
    std::sort(names.begin(), names.end());
    return names;
}

int Capture(VideoProcess& vp, const std::string& path, bool jpeg)
{
    std::wstring wide(path.begin(), path.end());
    return vp.CaptureImage(&wide[0], jpeg ? 1 : 0, 0);
}

uint32_t Le(const std::vector<uint8_t>& f, size_t at, int bytes)
{
    uint32_t v = 0;
    for (int i = bytes - 1; i >= 0; --i)
        v = (v << 8) | f[at + i];
    return v;
}

// A 24-bit BMP file read back by its header: false unless the sizes in the
// header agree with the file.
bool ReadBmp24(const std::string& path, Picture* out)
{
    const std::vector<uint8_t> f = stilltest::ReadFile(path);
    if (f.size() < 54 || f[0] != 'B' || f[1] != 'M')
        return false;
    const uint32_t size = Le(f, 2, 4), off = Le(f, 10, 4);
    const int w = static_cast<int32_t>(Le(f, 18, 4)), h = static_cast<int32_t>(Le(f, 22, 4));
    const uint32_t stride = (static_cast<uint32_t>(w) * 3 + 3) & ~3u;
    if (size != f.size() || off != 54 || Le(f, 14, 4) != 40 || Le(f, 28, 2) != 24 || w <= 0 ||
        h <= 0 || 54 + size_t(stride) * h != f.size())
        return false;
    out->width = w;
    out->height = h;
    out->rgb.assign(size_t(w) * h * 3, 0);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            const uint8_t* p = &f[54 + size_t(h - 1 - y) * stride + size_t(x) * 3];
            uint8_t* d = out->at(x, y);
            d[0] = p[2];
            d[1] = p[1];
            d[2] = p[0];
        }
    return true;
}

bool ReadJpeg(const std::string& path, Picture* out, std::string* why)
{
    return stilltest::DecodeJpeg(stilltest::ReadFile(path), out, why);
}

// The test pattern's corner markers: red at the top left, blue at the
// bottom left.
void ExpectUpright(const Picture& p)
{
    const uint8_t* tl = p.at(2, 2);
    const uint8_t* bl = p.at(2, p.height - 3);
    EXPECT_GT(tl[0], tl[2] + 60) << "red at the top left";
    EXPECT_GT(bl[2], bl[0] + 60) << "blue at the bottom left";
}

TEST(CaptureFiles, BmpAndJpegLeaveOnlyTheFinishedFile)
{
    stilltest::TempDir dir;
    SyntheticVideoSource src(Clip(64, 48));
    const RESIZE_PARAM box = {96, 72, IMAGE_INTERPOLATION_BILINEAR, IMAGE_RESIZE_LETTERBOX};
    VideoProcess vp(&src, &box, 0.0);
    ASSERT_NE(vp.GetFrame(), nullptr);

    ASSERT_EQ(Capture(vp, dir.file("shot.bmp"), false), 1);
    EXPECT_EQ(Names(dir.path()), (std::vector<std::string>{"shot.bmp"}));
    Picture bmp;
    ASSERT_TRUE(ReadBmp24(dir.file("shot.bmp"), &bmp));
    EXPECT_EQ(bmp.width, 96);
    EXPECT_EQ(bmp.height, 72);
    ExpectUpright(bmp);

    ASSERT_EQ(Capture(vp, dir.file("shot.jpg"), true), 1);
    EXPECT_EQ(Names(dir.path()), (std::vector<std::string>{"shot.bmp", "shot.jpg"}))
        << "no shottmp.bmp is left beside the JPEG";
    Picture jpg;
    std::string why;
    ASSERT_TRUE(ReadJpeg(dir.file("shot.jpg"), &jpg, &why)) << why;
    EXPECT_EQ(jpg.width, 96);
    EXPECT_EQ(jpg.height, 72);
    ExpectUpright(jpg);
    EXPECT_GT(stilltest::Psnr(jpg, bmp), 30.0);
}

} // namespace
