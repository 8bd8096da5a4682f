// CIjlObj over the stand-in "IJL15.DLL" (libjpeg-turbo underneath), found
// through this executable's run path or LD_LIBRARY_PATH (see CMakeLists.txt).
#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "Bmp2Jpeg.h"
#include "DibImage.h"
#include "IjlObj.h"
#include "StillTestUtil.h"

using namespace stilltest;

namespace {

// Copies a top-down RGB picture into a 24-bit DibImage (bottom-up BGR).
void ToDib(const Picture& pic, DibImage& dib)
{
    ASSERT_EQ(dib.Create(pic.width, pic.height, 24), 1);
    const size_t stride = dib.ImageSize() / size_t(pic.height);
    for (int y = 0; y < pic.height; ++y) {
        unsigned char* row = dib.GetBits() + size_t(pic.height - 1 - y) * stride;
        for (int x = 0; x < pic.width; ++x) {
            const uint8_t* px = pic.at(x, y);
            row[3 * x] = px[2];
            row[3 * x + 1] = px[1];
            row[3 * x + 2] = px[0];
        }
    }
}

Picture FromDib(const DibImage& dib)
{
    Picture pic = MakeFlat(dib.Width(), dib.Height(), 0, 0, 0);
    const size_t stride = dib.ImageSize() / size_t(pic.height);
    for (int y = 0; y < pic.height; ++y) {
        const unsigned char* row = dib.GetBits() + size_t(pic.height - 1 - y) * stride;
        for (int x = 0; x < pic.width; ++x) {
            uint8_t* px = pic.at(x, y);
            px[0] = row[3 * x + 2];
            px[1] = row[3 * x + 1];
            px[2] = row[3 * x];
        }
    }
    return pic;
}

// Red on the top half, blue below: shows which way up a picture went.
Picture TopRedBottomBlue(int w, int h)
{
    Picture pic = MakeFlat(w, h, 0, 0, 255);
    for (int y = 0; y < h / 2; ++y)
        for (int x = 0; x < w; ++x) {
            pic.at(x, y)[0] = 255;
            pic.at(x, y)[2] = 0;
        }
    return pic;
}

const char* const kNotFound = "IJL15.DLL not found: run through ctest, or with LD_LIBRARY_PATH=" DP_IJL_DIR;

} // namespace

TEST(IjlObj, ConcurrentFirstCallsShareOneLoadedObject)
{
    std::vector<CIjlObj*> seen(4, nullptr);
    std::vector<std::thread> threads;
    for (size_t i = 0; i < seen.size(); ++i)
        threads.emplace_back([&seen, i] { seen[i] = GetIjlObj(); });
    for (auto& t : threads)
        t.join();
    ASSERT_NE(seen[0], nullptr) << kNotFound;
    for (CIjlObj* p : seen)
        EXPECT_EQ(p, seen[0]);
    EXPECT_FALSE(seen[0]->IsEmpty());
    EXPECT_EQ(seen[0]->Init(), seen[0]); // already loaded
}

TEST(IjlObj, SaveWritesTheBitmapAsJpegTheRightWayUp)
{
    CIjlObj* ijl = GetIjlObj();
    ASSERT_NE(ijl, nullptr) << kNotFound;
    TempDir dir;
    const std::string path = dir.file("ijl out.jpg");
    auto roundTrip = [&](const Picture& pic, Picture* out) {
        DibImage dib;
        ToDib(pic, dib);
        ASSERT_EQ(ijl->Save(dib, path.c_str(), 0), 1);
        std::string error;
        ASSERT_TRUE(DecodeJpeg(ReadFile(path), out, &error)) << error;
        ASSERT_EQ(out->width, pic.width);
        ASSERT_EQ(out->height, pic.height);
    };
    const Picture smooth = MakeSmooth(67, 45);
    Picture out;
    roundTrip(smooth, &out);
    EXPECT_GE(Psnr(smooth, out), 30.0);

    roundTrip(TopRedBottomBlue(32, 16), &out);
    EXPECT_GT(out.at(1, 1)[0], 200); // red at the top
    EXPECT_LT(out.at(1, 1)[2], 60);
    EXPECT_GT(out.at(1, 14)[2], 200); // blue at the bottom
}

TEST(IjlObj, ProcessBufferDecodesIntoTheBitmap)
{
    CIjlObj* ijl = GetIjlObj();
    ASSERT_NE(ijl, nullptr) << kNotFound;
    TempDir dir;
    const Picture pic = TopRedBottomBlue(37, 22);
    ASSERT_TRUE(WriteFile(dir.file("in.bmp"), BuildBmp24(pic)));
    BMP2JPEG(dir.file("in.bmp").c_str(), dir.file("in.jpg").c_str());
    std::vector<uint8_t> jpeg = ReadFile(dir.file("in.jpg"));
    ASSERT_FALSE(jpeg.empty());

    // The bitmap is recreated through its virtual Create.
    struct CountingDib : DibImage {
        int calls = 0;
        int Create(int w, int h, int bits) override
        {
            ++calls;
            return DibImage::Create(w, h, bits);
        }
    } dib;
    ASSERT_EQ(dib.Create(3, 3, 32), 1); // replaced by the JPEG's shape
    ASSERT_EQ(ijl->ProcessBuffer(jpeg.data(), jpeg.size(), dib), 1);
    EXPECT_EQ(dib.calls, 2);
    EXPECT_EQ(dib.Width(), 37);
    EXPECT_EQ(dib.Height(), 22);
    EXPECT_EQ(dib.BitCount(), 24);

    // The same decoder reached directly gives the same pixels.
    Picture direct;
    ASSERT_TRUE(DecodeJpeg(jpeg, &direct));
    const Picture viaIjl = FromDib(dib);
    EXPECT_EQ(viaIjl.rgb, direct.rgb);
    EXPECT_GT(viaIjl.at(0, 0)[0], 200); // top row red
    EXPECT_GT(viaIjl.at(0, 21)[2], 200); // bottom row blue
}

TEST(IjlObj, ErrorsOfTheLibraryAndBadArgumentsGiveZero)
{
    CIjlObj* ijl = GetIjlObj();
    ASSERT_NE(ijl, nullptr) << kNotFound;
    TempDir dir;
    DibImage dib;
    EXPECT_EQ(ijl->Save(dib, dir.file("empty.jpg").c_str(), 0), 0); // no pixels
    ASSERT_EQ(dib.Create(8, 8, 32), 1);
    EXPECT_EQ(ijl->Save(dib, dir.file("rgb32.jpg").c_str(), 0), 0);
    ASSERT_EQ(dib.Create(8, 8, 24), 1);
    EXPECT_EQ(ijl->Save(dib, dir.file("missing/x.jpg").c_str(), 0), 0);
    EXPECT_FALSE(FileExists(dir.file("rgb32.jpg")));

    unsigned char garbage[64] = {0xFF, 0xD8, 0x12, 0x34};
    EXPECT_EQ(ijl->ProcessBuffer(garbage, sizeof(garbage), dib), 0);
    EXPECT_EQ(ijl->ProcessBuffer(nullptr, 10, dib), 0);
}
