// The video processing stage driven as a host would: pass-through, the
// constant-rate stage below it, sub-pictures, output frame reuse, filters
// and flips, quarter turns, deinterlacing, size changes, capture to files,
// and a reader thread racing a setter thread.
#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <sys/stat.h>

#include "SyntheticVideoSource.h"
#include "VideoProcess.h"
#include "VideoTestSupport.h"

namespace {

TEST(VideoProcess, OutputFrameIsReusedFiltersAndFlipsInOrder)
{
    PlaneSource src(16, 8, 0.0, 3);
    const MEDIA_FRAME* s = src.Picture();
    VideoProcess vp(&src, nullptr, 0.0);
    vp.SetBrightness(10);
    const MEDIA_FRAME* f1 = vp.GetFrame();
    ASSERT_NE(f1, s);
    EXPECT_EQ(Y(f1, 3, 2), Y(s, 3, 2) + 10);

    // Back to neutral: still the stage's own frame, now an exact copy.
    vp.SetBrightness(0);
    const MEDIA_FRAME* f2 = vp.GetFrame();
    EXPECT_EQ(f2, f1);
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 16; ++x) {
            ASSERT_EQ(Y(f2, x, y), Y(s, x, y));
            ASSERT_EQ(U(f2, x / 2, y / 2), U(s, x / 2, y / 2));
            ASSERT_EQ(V(f2, x / 2, y / 2), V(s, x / 2, y / 2));
        }
    vp.Forward(1); // the time stamps follow the source
    EXPECT_EQ(vp.GetFrame()->llStartTime, s->llStartTime);
    EXPECT_EQ(vp.GetFrame()->nDuration, s->nDuration);

    // Negative (bit 4) before black-white (bit 8): chroma ends at 128, not
    // at 127 as the other order would give.
    vp.SetExFilterFlag(4 | 8);
    const MEDIA_FRAME* f = vp.GetFrame();
    EXPECT_EQ(U(f, 0, 0), 128);
    EXPECT_EQ(V(f, 0, 0), 128);
    EXPECT_EQ(Y(f, 0, 0), 16); // 20 < 129
    vp.SetExFilterFlag(4);
    EXPECT_EQ(U(vp.GetFrame(), 0, 0), U(s, 0, 0) ^ 255);
    EXPECT_EQ(Y(vp.GetFrame(), 5, 0), Y(s, 5, 0));
    vp.SetExFilterFlag(0);
    const int flips[][5] = {{1, 0, 3, 15, 3}, {2, 2, 0, 2, 7}, {3, 0, 0, 15, 7}}; // flag, out x y, source x y
    for (const auto& c : flips) {
        vp.SetFlipFlag(c[0]);
        EXPECT_EQ(Y(vp.GetFrame(), c[1], c[2]), Y(s, c[3], c[4])) << "flip " << c[0];
    }
}

TEST(VideoProcess, QuarterTurns)
{
    PlaneSource src(64, 32);
    const MEDIA_FRAME* s = src.Picture();
    const RESIZE_PARAM turned = {32, 64, IMAGE_INTERPOLATION_BILINEAR, IMAGE_RESIZE_STRETCH}; // scale 1
    VideoProcess upright(&src, nullptr, 0.0);
    // A half turn is not performed: upright, still a pass-through.
    upright.SetRotation(180, 0, 0);
    EXPECT_EQ(upright.GetRotation(), 0);
    EXPECT_EQ(upright.GetFrame(), s);
    const int angles[][2] = {{45, 0}, {-90, 270}, {450, 90}};
    for (const auto& a : angles) {
        upright.SetRotation(a[0], 7, 0);
        EXPECT_EQ(upright.GetRotation(), a[1]) << a[0];
    }

    // 90 turns counter-clockwise on screen, out(X, Y) = src(64 - Y, X): row 0
    // stays black and source column 0 is dropped. 270 turns clockwise,
    // out(X, Y) = src(Y, 32 - X): column 0 stays black, source row 0 dropped.
    VideoProcess vp(&src, &turned, 0.0);
    for (int angle : {90, 270}) {
        vp.SetRotation(angle, 0, 0);
        const MEDIA_FRAME* f = vp.GetFrame();
        ASSERT_EQ(f->nWidth, 32);
        ASSERT_EQ(f->nHeight, 64);
        for (int y = 0; y < 64; ++y)
            for (int x = 0; x < 32; ++x) {
                const bool black = angle == 90 ? y == 0 : x == 0;
                const int sx = angle == 90 ? 64 - y : y, sy = angle == 90 ? x : 32 - x;
                ASSERT_EQ(Y(f, x, y), black ? 16 : Y(s, sx, sy)) << angle << ": " << x << "," << y;
                if (!black && x % 2 == 0 && y % 2 == 0) {
                    ASSERT_EQ(U(f, x / 2, y / 2), U(s, sx / 2, sy / 2)) << angle << ": " << x << "," << y;
                    ASSERT_EQ(V(f, x / 2, y / 2), V(s, sx / 2, sy / 2)) << angle << ": " << x << "," << y;
                }
            }
    }
    // Deinterlacing works on the turned picture.
    vp.SetRotation(90, 0, 0);
    vp.SetDeintelace(DEINTERLACE_DOUBLE_EVEN);
    const MEDIA_FRAME* f = vp.GetFrame();
    for (int y = 2; y < 64; y += 2)
        for (int x = 0; x < 32; ++x)
            ASSERT_EQ(Y(f, x, y + 1), Y(f, x, y)) << x << "," << y;
    EXPECT_EQ(Y(f, 5, 2), Y(s, 62, 5));
}

} // namespace
