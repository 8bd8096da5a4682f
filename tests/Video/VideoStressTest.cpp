// Stress for the thread sanitizer: one thread pulls frames while three
// others change the geometry (crop, rotation, output size), the picture
// settings and the user watermark, and take captures, for a bounded number
// of frames. Passing means no crash, no sanitizer report and a picture of
// the settled size at the end.
#include <atomic>
#include <cstdio>
#include <filesystem>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include <DataProcess/DataProcess.h>

#include "SyntheticVideoSource.h"

namespace {

TEST(VideoStress, ReaderAgainstGeometrySettingsWatermarkAndCaptures)
{
    SyntheticVideoConfig c;
    c.width = 80;
    c.height = 48;
    c.frameCount = 100000;
    SyntheticVideoSource src(c);
    const RESIZE_PARAM box = {96, 64, IMAGE_INTERPOLATION_BILINEAR, IMAGE_RESIZE_LETTERBOX};
    VideoProcess vp(&src, &box, 0.0);
    std::atomic<bool> done(false);

    std::thread reader([&] {
        for (int i = 0; i < 200; ++i) {
            vp.Forward(1);
            if (const MEDIA_FRAME* f = vp.GetFrame()) {
                // Touch the picture as a host would until its next call.
                EXPECT_GE(f->pY[0] + f->pY[f->nWidth * f->nHeight - 1], 0);
            }
        }
        done.store(true);
    });
    std::thread geometry([&] {
        const tagRECT crops[] = {{4, 4, 60, 40}, {0, 0, 0, 0}, {9, 3, 41, 33}};
        for (int i = 0; !done.load(); ++i) {
            vp.SetCropRect(&crops[i % 3], IMAGE_RESIZE_LETTERBOX);
            vp.SetRotation(i % 4 == 1 ? 90 : (i % 4 == 3 ? 270 : 0), 0, 0);
            VideoModifyRequest r{48 + 16 * (i % 3), 64 + 16 * (i % 2), 0.0};
            vp.ModifyInfo(1, reinterpret_cast<uintptr_t>(&r));
            std::this_thread::yield();
        }
    });
    std::thread settings([&] {
        std::vector<unsigned char> bmp(40 + 16 * 8 * 4, 200);
        tagBITMAPINFO* info = reinterpret_cast<tagBITMAPINFO*>(bmp.data());
        info->bmiHeader = tagBITMAPINFOHEADER{40, 16, 8, 1, 32, 0, 16 * 8 * 4, 0, 0, 0, 0};
        tagFRECT where{0.1f, 0.1f, 0.5f, 0.4f};
        for (int i = 0; !done.load(); ++i) {
            vp.SetBrightness(i % 50 - 25);
            vp.SetContrast(i % 30);
            vp.SetSaturation(-(i % 20));
            vp.SetExFilterFlag(static_cast<unsigned>(i) % 64);
            vp.SetFlipFlag(static_cast<unsigned>(i) % 4);
            if (i % 3 == 0)
                vp.SetUserWatermarkImage(info, nullptr, &where, 70);
            else if (i % 3 == 1)
                vp.SetUserWatermarkImage(nullptr, nullptr, nullptr, 0);
            // The stage watermark too: placed by alignment, by rectangle
            // (which prints a line, so seldom) and removed.
            if (i % 4 == 0)
                vp.SetWatermarkImageAlign(info, nullptr, i % 10, 60);
            else if (i % 64 == 2) {
                tagRECT rc{2, 2, 30, 20};
                vp.SetWatermarkImage(info, nullptr, &rc, 50);
            } else if (i % 4 == 3)
                vp.SetWatermarkImageAlign(nullptr, nullptr, 0, 0);
            std::this_thread::yield();
        }
    });
    const std::string dir = (std::filesystem::temp_directory_path() / ("dp-stress-" + std::to_string(::getpid()))).string();
    std::filesystem::create_directories(dir);
    std::thread captures([&] {
        for (int i = 0; !done.load() && i < 20; ++i) {
            const std::string name = dir + "/shot" + std::to_string(i % 2) + (i % 4 < 2 ? ".bmp" : ".jpg");
            std::wstring wide(name.begin(), name.end());
            vp.CaptureImage(&wide[0], i % 4 >= 2, 0);
        }
    });
    reader.join();
    geometry.join();
    settings.join();
    captures.join();
    std::filesystem::remove_all(dir);

    // Settled settings give a settled picture of the asked size.
    vp.SetRotation(0, 0, 0);
    const tagRECT whole = {0, 0, 0, 0};
    vp.SetCropRect(&whole, IMAGE_RESIZE_LETTERBOX);
    VideoModifyRequest r{64, 96, 0.0};
    vp.ModifyInfo(1, reinterpret_cast<uintptr_t>(&r));
    const MEDIA_FRAME* f = vp.GetFrame();
    ASSERT_NE(f, nullptr);
    EXPECT_EQ(f->nWidth, 96);
    EXPECT_EQ(f->nHeight, 64);
}

} // namespace
