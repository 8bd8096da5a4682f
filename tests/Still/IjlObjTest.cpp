// CIjlObj over the stand-in "IJL15.DLL" (libjpeg-turbo underneath), found
// through this executable's run path or LD_LIBRARY_PATH (see CMakeLists.txt).
#include <gtest/gtest.h>

#include <cstring>
#include <thread>

#include "DibImage.h"
#include "IjlObj.h"
#include "StillTestUtil.h"

using namespace stilltest;

#define IJL_NOT_FOUND "IJL15.DLL not found: run through ctest, or with LD_LIBRARY_PATH=" DP_IJL_DIR

TEST(IjlObj, ConcurrentFirstCallsShareOneLoadedObject)
{
    CIjlObj* seen[4] = {};
    std::vector<std::thread> threads;
    for (CIjlObj*& p : seen)
        threads.emplace_back([&p] { p = GetIjlObj(); });
    for (auto& t : threads)
        t.join();
    ASSERT_NE(seen[0], nullptr) << IJL_NOT_FOUND;
    for (CIjlObj* p : seen)
        EXPECT_EQ(p, seen[0]);
    EXPECT_FALSE(seen[0]->IsEmpty());
    EXPECT_EQ(seen[0]->Init(), seen[0]); // already loaded
}

TEST(IjlObj, SaveWritesTheBitmapAndProcessBufferReadsItBack)
{
    CIjlObj* ijl = GetIjlObj();
    ASSERT_NE(ijl, nullptr) << IJL_NOT_FOUND;
    // Not symmetric in any direction, and red differs from blue: a picture
    // turned upside down or with swapped channels falls far below 30 dB.
    const Picture pic = MakeSmooth(67, 45);
    DibImage source; // its pixels are those of a BMP file after the header
    ASSERT_EQ(source.Create(pic.width, pic.height, 24), 1);
    std::memcpy(source.GetBits(), BuildBmp24(pic).data() + 54, source.ImageSize());
    TempDir dir;
    const std::string path = dir.file("ijl out.jpg");
    ASSERT_EQ(ijl->Save(source, path.c_str(), 0), 1);
    std::vector<uint8_t> jpeg = ReadFile(path);
    Picture direct;
    std::string error;
    ASSERT_TRUE(DecodeJpeg(jpeg, &direct, &error)) << error;
    ASSERT_GE(Psnr(pic, direct), 30.0); // 0 for another size

    // The bitmap is recreated at the JPEG's shape through its virtual Create,
    // and holds what the decoder reached directly gives.
    struct CountingDib : DibImage {
        int calls = 0;
        int Create(int w, int h, int bits) override { return ++calls, DibImage::Create(w, h, bits); }
    } dib;
    ASSERT_EQ(dib.Create(3, 3, 32), 1);
    ASSERT_EQ(ijl->ProcessBuffer(jpeg.data(), jpeg.size(), dib), 1);
    EXPECT_EQ(dib.calls, 2);
    ASSERT_EQ(dib.Width(), 67);
    ASSERT_EQ(dib.Height(), 45);
    EXPECT_EQ(dib.BitCount(), 24);
    EXPECT_EQ(0, std::memcmp(dib.GetBits(), BuildBmp24(direct).data() + 54, dib.ImageSize()));
}

