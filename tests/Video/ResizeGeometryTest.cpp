// ResizeRect and CalcResizeParam: letterbox and pillarbox fits, forced
// aspects, crops and crop-fill, with the integer arithmetic of each step.
#include <gtest/gtest.h>

#include "ResizeGeometry.h"

namespace {

tagRECT Fit(tagRECT rc, int w, int h, int method)
{
    ResizeRect(rc, tagSIZE{w, h}, static_cast<IMAGE_RESIZE_METHOD>(method));
    return rc;
}

void ExpectRect(const tagRECT& r, int l, int t, int rr, int b)
{
    EXPECT_EQ(r.left, l);
    EXPECT_EQ(r.top, t);
    EXPECT_EQ(r.right, rr);
    EXPECT_EQ(r.bottom, b);
}

void ExpectRegion(const IMG_PARAM& p, int w, int h, int x, int y, int cx, int cy)
{
    EXPECT_EQ(p.pBits, nullptr);
    EXPECT_EQ(p.nWidth, w);
    EXPECT_EQ(p.nHeight, h);
    EXPECT_EQ(p.nPitch, w);
    EXPECT_EQ(p.nBitCount, 8);
    EXPECT_EQ(p.x, x);
    EXPECT_EQ(p.y, y);
    EXPECT_EQ(p.cx, cx);
    EXPECT_EQ(p.cy, cy);
}

TEST(ResizeRect, LetterboxAndPillarbox)
{
    ExpectRect(Fit({0, 0, 640, 480}, 16, 9, 1), 0, 60, 640, 420);
    ExpectRect(Fit({0, 0, 1920, 1080}, 4, 3, 1), 240, 0, 1680, 1080);
    ExpectRect(Fit({0, 0, 1920, 1080}, 4, 3, 4), 240, 0, 1680, 1080);
    // 5769 / 16 = 360 (truncated), bars of (480 - 360) >> 1.
    ExpectRect(Fit({0, 0, 641, 480}, 16, 9, 1), 0, 60, 641, 420);
    // An odd leftover puts the extra pixel at the far edge.
    ExpectRect(Fit({0, 0, 100, 51}, 2, 1, 1), 0, 0, 100, 51); // 51*2 > 100 -> too tall: newH 50, d 0
    ExpectRect(Fit({10, 20, 110, 120}, 2, 1, 1), 10, 45, 110, 95);
    // Equal aspect: unchanged.
    ExpectRect(Fit({0, 0, 640, 480}, 4, 3, 1), 0, 0, 640, 480);
}

TEST(ResizeRect, NothingForStretchCropFillOrNoAspect)
{
    ExpectRect(Fit({0, 0, 640, 480}, 16, 9, 0), 0, 0, 640, 480);
    ExpectRect(Fit({0, 0, 640, 480}, 16, 9, 5), 0, 0, 640, 480);
    ExpectRect(Fit({0, 0, 640, 480}, 0, 9, 1), 0, 0, 640, 480);
    ExpectRect(Fit({0, 0, 640, 480}, 16, 0, 1), 0, 0, 640, 480);
}

TEST(ResizeRect, ForcedAspects)
{
    // Method 2 on 4:3: 4*9 is not above 3*16, so w = 3*16/9 = 5: fitted to
    // 5:3, not 16:9 (integer truncation of a small aspect).
    ExpectRect(Fit({0, 0, 640, 480}, 4, 3, 2), 0, 48, 640, 432);
    // With a large aspect the truncation vanishes: 16:9 exactly.
    ExpectRect(Fit({0, 0, 640, 480}, 4000, 3000, 2), 0, 60, 640, 420);
    // Method 3 on 16:9: h = 16*3/4 = 12, i.e. 4:3.
    ExpectRect(Fit({0, 0, 640, 480}, 16, 9, 3), 0, 0, 640, 480);
    ExpectRect(Fit({0, 0, 1920, 1080}, 16, 9, 3), 240, 0, 1680, 1080);
}

TEST(CalcResizeParam, NullCropDoesNothing)
{
    IMG_PARAM src{}, dst{};
    src.x = 77;
    CalcResizeParam(src, dst, 4, 3, 720, 576, nullptr, 640, 480, IMAGE_RESIZE_LETTERBOX);
    EXPECT_EQ(src.x, 77);
    EXPECT_EQ(dst.nWidth, 0);
}

TEST(CalcResizeParam, DisplayAspect)
{
    IMG_PARAM src{}, dst{};
    const tagRECT whole{0, 0, 720, 576};
    // 720x576 shown as 4:3 fills a 640x480 output.
    CalcResizeParam(src, dst, 4, 3, 720, 576, &whole, 640, 480, IMAGE_RESIZE_LETTERBOX);
    ExpectRegion(src, 720, 576, 0, 0, 720, 576);
    ExpectRegion(dst, 640, 480, 0, 0, 640, 480);
    // Shown as 16:9: bars of 60 rows.
    CalcResizeParam(src, dst, 16, 9, 720, 576, &whole, 640, 480, IMAGE_RESIZE_LETTERBOX);
    ExpectRegion(dst, 640, 480, 0, 60, 640, 360);
    // Square pixels: the picture's own 5:4 in a 640x480 output.
    CalcResizeParam(src, dst, 0, 0, 720, 576, &whole, 640, 480, IMAGE_RESIZE_LETTERBOX);
    ExpectRegion(dst, 640, 480, 20, 0, 600, 480);
    // Stretch ignores the aspect.
    CalcResizeParam(src, dst, 16, 9, 720, 576, &whole, 640, 480, IMAGE_RESIZE_STRETCH);
    ExpectRegion(dst, 640, 480, 0, 0, 640, 480);
}

TEST(CalcResizeParam, CropKeepsItsShareOfTheAspect)
{
    IMG_PARAM src{}, dst{};
    // The left half of a 16:9 picture is 8:9: aspect 8000:9000, pillarboxed.
    const tagRECT half{0, 0, 360, 576};
    CalcResizeParam(src, dst, 16, 9, 720, 576, &half, 640, 480, IMAGE_RESIZE_LETTERBOX);
    ExpectRegion(src, 720, 576, 0, 0, 360, 576);
    ExpectRegion(dst, 640, 480, 107, 0, 426, 480);
    // Only left and right decide whether a crop is given.
    const tagRECT noWidth{5, 7, 5, 100};
    CalcResizeParam(src, dst, 0, 0, 720, 576, &noWidth, 720, 576, IMAGE_RESIZE_LETTERBOX);
    ExpectRegion(src, 720, 576, 0, 0, 720, 576);
}

TEST(CalcResizeParam, CropFill)
{
    IMG_PARAM src{}, dst{};
    const tagRECT none{0, 0, 0, 0};
    // 4:3 picture into 640x360: b = trunc(0.5 + 640*360/640*4/3*576/720) =
    // 384; the source is cut to 640:384 of its height, centred.
    CalcResizeParam(src, dst, 4, 3, 720, 576, &none, 640, 360, IMAGE_RESIZE_CROP_FILL);
    ExpectRegion(src, 720, 576, 0, 72, 720, 432);
    ExpectRegion(dst, 640, 360, 0, 0, 640, 360);
    // 369 rows: 393.6 rounds to 394 here (the stage's own geometry
    // truncates the same value to 393).
    CalcResizeParam(src, dst, 4, 3, 720, 576, &none, 640, 369, IMAGE_RESIZE_CROP_FILL);
    ExpectRegion(src, 720, 576, 0, 66, 720, 444);
    // Square pixels: the output's own aspect.
    CalcResizeParam(src, dst, 0, 0, 720, 576, &none, 576, 576, IMAGE_RESIZE_CROP_FILL);
    ExpectRegion(src, 720, 576, 72, 0, 576, 576);
}

} // namespace
