// One thread reads frames while another changes the settings, the crop, the
// rotation and the user watermark, as the stage's locking allows. Run under
// the sanitizer builds (AddressSanitizer, ThreadSanitizer) to be meaningful.
#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <thread>
#include <vector>

#include "SyntheticVideoSource.h"
#include "VideoProcess.h"

namespace {

std::vector<unsigned char> WhiteBitmap(int w, int h, unsigned char alpha)
{
    std::vector<unsigned char> block(40 + static_cast<size_t>(w) * h * 4, 255);
    tagBITMAPINFOHEADER hdr = {};
    hdr.biSize = 40;
    hdr.biWidth = w;
    hdr.biHeight = h;
    hdr.biPlanes = 1;
    hdr.biBitCount = 32;
    std::memcpy(block.data(), &hdr, sizeof(hdr));
    for (size_t i = 40 + 3; i < block.size(); i += 4)
        block[i] = alpha;
    return block;
}

TEST(VideoProcessThreads, ReaderAndSetterRunTogether)
{
    SyntheticVideoConfig c;
    c.width = 96;
    c.height = 64;
    c.frameRate = 25.0;
    c.frameCount = 100000;
    SyntheticVideoSource src(c);
    const RESIZE_PARAM box = {128, 96, IMAGE_INTERPOLATION_BILINEAR, IMAGE_RESIZE_LETTERBOX};
    VideoProcess vp(&src, &box, 0.0);

    std::atomic<bool> done(false);
    std::atomic<int> frames(0);
    std::thread reader([&] {
        for (int i = 0; i < 300; ++i) {
            vp.Forward(1);
            const MEDIA_FRAME* f = vp.GetFrame();
            if (!f)
                continue;
            // Touch the picture as a host would until its next call.
            const int w = f->nWidth, h = f->nHeight;
            unsigned sum = f->pY[0] + f->pU[0] + f->pV[0];
            if (w > 0 && h > 0)
                sum += f->pY[static_cast<ptrdiff_t>(h - 1) * f->nPitchY + w - 1];
            EXPECT_LT(sum, 4u * 256u);
            frames.fetch_add(1);
        }
        done.store(true);
    });

    auto opaque = WhiteBitmap(16, 8, 255);
    auto seeThrough = WhiteBitmap(16, 8, 128);
    const tagRECT crops[] = {{8, 8, 72, 56}, {0, 0, 0, 0}, {10, 4, 41, 33}, {0, 0, 96, 64}};
    for (int i = 0; !done.load(); ++i) {
        switch (i % 9) {
        case 0: vp.SetBrightness(i % 40 - 20); break;
        case 1: vp.SetExFilterFlag(static_cast<unsigned>(i / 9) % 64); break;
        case 2: vp.SetFlipFlag(static_cast<unsigned>(i) % 4); break;
        case 3: vp.SetRotation((i / 9) % 3 == 0 ? 90 : ((i / 9) % 3 == 1 ? 0 : 270), 0, 0); break;
        case 4: vp.SetCropRect(&crops[(i / 9) % 4], IMAGE_RESIZE_LETTERBOX); break;
        case 5: {
            tagFRECT where = {0.1f, 0.1f, 0.4f, 0.3f};
            vp.SetUserWatermarkImage(reinterpret_cast<tagBITMAPINFO*>((i / 9) % 2 ? opaque.data()
                                                                                   : seeThrough.data()),
                                     nullptr, &where, 80);
            break;
        }
        case 6: {
            tagFRECT moved = {0.5f, 0.6f, 0.8f, 0.8f};
            vp.SetUserWatermarkImage(reinterpret_cast<tagBITMAPINFO*>(~uintptr_t(0)), nullptr, &moved, 60);
            break;
        }
        case 7: vp.SetDeintelace(static_cast<DEINTERLACE_STYLE>((i / 9) % 6)); break;
        case 8:
            if ((i / 9) % 3 == 0)
                vp.SetUserWatermarkImage(nullptr, nullptr, nullptr, 0);
            vp.DisableWatermark((i / 9) % 2);
            break;
        }
        std::this_thread::yield();
    }
    reader.join();
    EXPECT_GT(frames.load(), 0);

    // Settled settings give a settled picture.
    vp.SetRotation(0, 0, 0);
    const tagRECT whole = {0, 0, 0, 0};
    vp.SetCropRect(&whole, IMAGE_RESIZE_LETTERBOX);
    const MEDIA_FRAME* f = vp.GetFrame();
    ASSERT_NE(f, nullptr);
    EXPECT_EQ(f->nWidth, 128);
    EXPECT_EQ(f->nHeight, 96);
}

} // namespace
