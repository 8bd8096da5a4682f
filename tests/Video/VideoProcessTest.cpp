// The video processing stage driven as a host would: pass-through, output
// frame reuse, construction over a constant-rate stage, geometry seen in the
// output pictures, crops, quarter turns, deinterlacing, filters and flips.
#include <gtest/gtest.h>

#include <cstring>

#include "PlaneSource.h"
#include "SyntheticVideoSource.h"
#include "VideoProcess.h"

namespace {

unsigned char Y(const MEDIA_FRAME* f, int x, int y) { return f->pY[static_cast<ptrdiff_t>(y) * f->nPitchY + x]; }
unsigned char U(const MEDIA_FRAME* f, int x, int y) { return f->pU[static_cast<ptrdiff_t>(y) * f->nPitchU + x]; }
unsigned char V(const MEDIA_FRAME* f, int x, int y) { return f->pV[static_cast<ptrdiff_t>(y) * f->nPitchV + x]; }

void ExpectRegion(const IMG_PARAM& p, int x, int y, int cx, int cy)
{
    EXPECT_EQ(p.x, x);
    EXPECT_EQ(p.y, y);
    EXPECT_EQ(p.cx, cx);
    EXPECT_EQ(p.cy, cy);
}

// A picture whose every pixel differs from its neighbours.
void FillRamp(PlaneSource& src)
{
    src.Fill([](int x, int y) { return static_cast<unsigned char>(20 + (x * 3 + y * 7) % 200); },
             [](int x, int y) { return static_cast<unsigned char>(30 + (x * 5 + y * 3) % 190); },
             [](int x, int y) { return static_cast<unsigned char>(220 - (x * 3 + y * 5) % 190); });
}

TEST(VideoProcess, PassThroughReturnsTheDecodersFrame)
{
    PlaneSource src(16, 8); // no rate: no constant-rate stage
    VideoProcess vp(&src, nullptr, 0.0);
    EXPECT_EQ(vp.GetFrame(), src.GetFrame());
    EXPECT_EQ(vp.SetExDecodeParam(1002, 0, 0), reinterpret_cast<intptr_t>(&src));
    src.SetEnded(true);
    EXPECT_EQ(vp.GetFrame(), nullptr);

    // With a rate the constant-rate stage sits below: its stamped record over
    // the decoder's own planes, and 1002 still names the decoder.
    SyntheticVideoConfig c;
    c.width = 32;
    c.height = 16;
    SyntheticVideoSource syn(c);
    VideoProcess stacked(&syn, nullptr, 0.0);
    const MEDIA_FRAME* f = stacked.GetFrame();
    ASSERT_NE(f, nullptr);
    EXPECT_NE(f, syn.GetFrame());
    EXPECT_EQ(f->pY, syn.GetFrame()->pY);
    EXPECT_EQ(f->llStartTime, 0);
    EXPECT_EQ(stacked.SetExDecodeParam(1002, 0, 0), reinterpret_cast<intptr_t>(&syn));
    EXPECT_EQ(stacked.Open(nullptr, nullptr, nullptr), 1);
}

TEST(VideoProcess, OutputFrameIsReusedOnceMade)
{
    PlaneSource src(16, 8, 0.0, 3);
    src.Fill([](int x, int y) { return static_cast<unsigned char>(40 + x * 8 + y); },
             [](int x, int) { return static_cast<unsigned char>(100 + x); },
             [](int, int y) { return static_cast<unsigned char>(150 + y); });
    VideoProcess vp(&src, nullptr, 0.0);
    vp.SetBrightness(10);
    const MEDIA_FRAME* f1 = vp.GetFrame();
    ASSERT_NE(f1, nullptr);
    EXPECT_NE(f1, src.GetFrame());
    EXPECT_EQ(Y(f1, 3, 2), 40 + 24 + 2 + 10);
    EXPECT_EQ(f1->llStartTime, src.GetFrame()->llStartTime);
    EXPECT_EQ(f1->nDuration, src.GetFrame()->nDuration);

    // Back to neutral: still the stage's own frame, now an exact copy.
    vp.SetBrightness(0);
    const MEDIA_FRAME* f2 = vp.GetFrame();
    EXPECT_EQ(f2, f1);
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 16; ++x)
            ASSERT_EQ(Y(f2, x, y), src.Y(x, y));
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 8; ++x) {
            ASSERT_EQ(U(f2, x, y), src.U(x, y));
            ASSERT_EQ(V(f2, x, y), src.V(x, y));
        }
    // The time stamps follow the source.
    vp.Forward(1);
    EXPECT_EQ(vp.GetFrame()->llStartTime, src.GetFrame()->llStartTime);
}

TEST(VideoProcess, ConstantRateStageAndFrameCount)
{
    SyntheticVideoConfig c;
    c.width = 32;
    c.height = 16;
    c.frameRate = 25.0;
    c.frameCount = 250;
    SyntheticVideoSource syn(c);
    VideoProcess vp(&syn, nullptr, 50.0);
    EXPECT_DOUBLE_EQ(vp.GetVideoInfo()->dFrameRate, 50.0);
    EXPECT_EQ(vp.GetVideoInfo()->nFrameCount, 500);
    EXPECT_EQ(0, std::memcmp(&vp.GetVideoStreamInfo()->videoInfo, vp.GetVideoInfo(), sizeof(VideoInfo)));
    EXPECT_EQ(0, std::memcmp(vp.GetVideoStreamInfo()->abHostData, syn.GetVideoStreamInfo()->abHostData, 796));
    EXPECT_EQ(vp.Forward(1), 1);
    EXPECT_EQ(vp.GetFrameOffset(), 1);
    EXPECT_EQ(syn.CurrentIndex(), 0); // a repeat on the 50 fps grid

    c.frameRate = 30.0;
    c.frameCount = 7; // 7 / 30 * 25 = 5.83 -> 6
    SyntheticVideoSource syn30(c);
    VideoProcess vp25(&syn30, nullptr, 25.0);
    EXPECT_EQ(vp25.GetVideoInfo()->nFrameCount, 6);

    // A source without a rate and no rate asked: no stage below, count kept.
    PlaneSource flat(16, 8);
    VideoProcess plain(&flat, nullptr, 0.0);
    EXPECT_EQ(plain.GetVideoInfo()->nFrameCount, 100);
    EXPECT_DOUBLE_EQ(plain.GetVideoInfo()->dFrameRate, 0.0);
}

TEST(VideoProcess, OutputSizeFromTheDisplayAspect)
{
    const RESIZE_PARAM follow = {0, 0, IMAGE_INTERPOLATION_BILINEAR, IMAGE_RESIZE_LETTERBOX};
    IMG_PARAM s, d;

    // 720x576 shown as 4:3: W = 4 * 576 / 3 = 768, more than 1% wider.
    PlaneSource pal(720, 576);
    pal.SetAspect(4, 3);
    VideoProcess vp(&pal, &follow, 0.0);
    EXPECT_EQ(vp.GetVideoInfo()->nWidth, 768);
    EXPECT_EQ(vp.GetVideoInfo()->nHeight, 576);
    EXPECT_EQ(vp.GetVideoInfo()->nAspectX, 0);
    EXPECT_EQ(vp.GetVideoInfo()->nAspectY, 0);
    vp.GetResizeRegions(&s, &d);
    ExpectRegion(s, 0, 0, 720, 576);
    ExpectRegion(d, 0, 0, 768, 576);

    // Under 1% wider snaps back: 5 * 576 / 4 = 720 on a 716-wide picture.
    PlaneSource near(716, 576);
    near.SetAspect(5, 4);
    VideoProcess vpNear(&near, &follow, 0.0);
    EXPECT_EQ(vpNear.GetVideoInfo()->nWidth, 716);

    // A tall aspect changes the height: 1 * 720 / 1.
    PlaneSource square(720, 576);
    square.SetAspect(1, 1);
    VideoProcess vpSquare(&square, &follow, 0.0);
    EXPECT_EQ(vpSquare.GetVideoInfo()->nWidth, 720);
    EXPECT_EQ(vpSquare.GetVideoInfo()->nHeight, 720);

    // Without a resize request the output keeps the source's size and aspect.
    VideoProcess vpPlain(&pal, nullptr, 0.0);
    EXPECT_EQ(vpPlain.GetVideoInfo()->nWidth, 720);
    EXPECT_EQ(vpPlain.GetVideoInfo()->nAspectX, 4);
}

TEST(VideoProcess, CropFillTruncatesInTheStageGeometry)
{
    // The same 393.6 that CalcResizeParam rounds to 394 is truncated to 393
    // here, which moves the cut by a row.
    PlaneSource pal(720, 576);
    pal.SetAspect(4, 3);
    const RESIZE_PARAM fill = {640, 369, IMAGE_INTERPOLATION_BILINEAR, IMAGE_RESIZE_CROP_FILL};
    VideoProcess vp(&pal, &fill, 0.0);
    IMG_PARAM s, d;
    vp.GetResizeRegions(&s, &d);
    ExpectRegion(s, 0, 67, 720, 442);
    ExpectRegion(d, 0, 0, 640, 369);
}

TEST(VideoProcess, LetterboxAndPillarboxBars)
{
    PlaneSource src(720, 576);
    src.FillFlat(200, 100, 160);
    src.SetAspect(16, 9);
    const RESIZE_PARAM box = {640, 480, IMAGE_INTERPOLATION_BILINEAR, IMAGE_RESIZE_LETTERBOX};
    VideoProcess vp(&src, &box, 0.0);
    const MEDIA_FRAME* f = vp.GetFrame();
    ASSERT_NE(f, nullptr);
    ASSERT_EQ(f->nWidth, 640);
    ASSERT_EQ(f->nHeight, 480);
    // Bars of 60 rows above and below the 360-row picture.
    for (int x : {0, 320, 639}) {
        EXPECT_EQ(Y(f, x, 59), 16);
        EXPECT_EQ(Y(f, x, 60), 200);
        EXPECT_EQ(Y(f, x, 419), 200);
        EXPECT_EQ(Y(f, x, 420), 16);
    }
    EXPECT_EQ(U(f, 160, 10), 128);
    EXPECT_EQ(U(f, 160, 100), 100);
    EXPECT_EQ(V(f, 160, 100), 160);

    // A 4:3 picture in a 16:9 output: pillars of 80 columns.
    src.SetAspect(4, 3);
    const RESIZE_PARAM wide = {640, 360, IMAGE_INTERPOLATION_BILINEAR, IMAGE_RESIZE_LETTERBOX};
    VideoProcess vpWide(&src, &wide, 0.0);
    f = vpWide.GetFrame();
    ASSERT_NE(f, nullptr);
    for (int y : {0, 180, 359}) {
        EXPECT_EQ(Y(f, 79, y), 16);
        EXPECT_EQ(Y(f, 80, y), 200);
        EXPECT_EQ(Y(f, 559, y), 200);
        EXPECT_EQ(Y(f, 560, y), 16);
    }
}

TEST(VideoProcess, CropOfOddWidthIsCutExactly)
{
    PlaneSource src(320, 240, 0.0, 3);
    FillRamp(src);
    VideoProcess vp(&src, nullptr, 0.0);
    vp.SetBrightness(1);
    const MEDIA_FRAME* before = vp.GetFrame();
    ASSERT_NE(before, nullptr);
    vp.SetBrightness(0);

    // 101 x 61 becomes 100 x 60 (right and bottom edges move in).
    const tagRECT crop = {10, 20, 111, 81};
    vp.SetCropRect(&crop, IMAGE_RESIZE_LETTERBOX);
    EXPECT_EQ(vp.GetVideoInfo()->nWidth, 100);
    EXPECT_EQ(vp.GetVideoInfo()->nHeight, 60);
    IMG_PARAM s, d;
    vp.GetResizeRegions(&s, &d);
    ExpectRegion(s, 10, 20, 100, 60);
    ExpectRegion(d, 0, 0, 100, 60);
    // The frame handed out before the change is still valid.
    EXPECT_EQ(Y(before, 319, 239), src.Y(319, 239) + 1);

    const MEDIA_FRAME* f = vp.GetFrame();
    ASSERT_NE(f, nullptr);
    ASSERT_EQ(f->nWidth, 100);
    for (int y = 0; y < 60; ++y)
        for (int x = 0; x < 100; ++x)
            ASSERT_EQ(Y(f, x, y), src.Y(10 + x, 20 + y)) << x << "," << y;
    for (int y = 0; y < 30; ++y)
        for (int x = 0; x < 50; ++x)
            ASSERT_EQ(U(f, x, y), src.U(5 + x, 10 + y)) << x << "," << y;

    // An empty rectangle is the whole picture: the size follows the source
    // and, with nothing else set, frames pass through again.
    const tagRECT none = {0, 0, 0, 0};
    vp.SetCropRect(&none, IMAGE_RESIZE_LETTERBOX);
    EXPECT_EQ(vp.GetVideoInfo()->nWidth, 320);
    EXPECT_EQ(vp.GetFrame(), src.GetFrame());
    vp.SetCropRect(nullptr, IMAGE_RESIZE_LETTERBOX); // nothing
    EXPECT_EQ(vp.GetVideoInfo()->nWidth, 320);
}

TEST(VideoProcess, CropUnderAResizeRequest)
{
    PlaneSource src(720, 576);
    src.SetAspect(16, 9);
    const RESIZE_PARAM box = {640, 480, IMAGE_INTERPOLATION_BILINEAR, IMAGE_RESIZE_LETTERBOX};
    VideoProcess vp(&src, &box, 0.0);
    const tagRECT half = {0, 0, 360, 576};
    vp.SetCropRect(&half, IMAGE_RESIZE_LETTERBOX);
    EXPECT_EQ(vp.GetVideoInfo()->nWidth, 640);
    EXPECT_EQ(vp.GetVideoInfo()->nHeight, 480);
    IMG_PARAM s, d;
    vp.GetResizeRegions(&s, &d);
    ExpectRegion(s, 0, 0, 360, 576);
    ExpectRegion(d, 107, 0, 426, 480);
    const MEDIA_FRAME* f = vp.GetFrame();
    ASSERT_NE(f, nullptr);
    EXPECT_EQ(f->nWidth, 640);
}

TEST(VideoProcess, CropWithoutResizeRequestKeepsTheDisplayAspect)
{
    PlaneSource src(720, 576);
    src.SetAspect(16, 9);
    VideoProcess vp(&src, nullptr, 0.0);
    // Half of a 16:9 picture in square pixels: 16/9 * 576 * 360/720 = 512.
    const tagRECT half = {0, 0, 360, 576};
    vp.SetCropRect(&half, IMAGE_RESIZE_LETTERBOX);
    EXPECT_EQ(vp.GetVideoInfo()->nWidth, 512);
    EXPECT_EQ(vp.GetVideoInfo()->nHeight, 576);
    EXPECT_EQ(vp.GetVideoInfo()->nAspectX, 0);
    ASSERT_EQ(vp.GetFrame()->nWidth, 512);
    // The whole picture: 1024 wide, and the source's aspect stays reported.
    const tagRECT whole = {0, 0, 720, 576};
    vp.SetCropRect(&whole, IMAGE_RESIZE_LETTERBOX);
    EXPECT_EQ(vp.GetVideoInfo()->nWidth, 1024);
    EXPECT_EQ(vp.GetVideoInfo()->nAspectX, 16);
    EXPECT_EQ(vp.GetVideoInfo()->nAspectY, 9);
}

TEST(VideoProcess, RotationAngles)
{
    PlaneSource src(16, 8);
    VideoProcess vp(&src, nullptr, 0.0);
    vp.SetRotation(180, 0, 0);
    EXPECT_EQ(vp.GetRotation(), 0);
    EXPECT_EQ(vp.GetFrame(), src.GetFrame()); // upright: still a pass-through
    vp.SetRotation(45, 0, 0);
    EXPECT_EQ(vp.GetRotation(), 0);
    vp.SetRotation(-90, 0, 0);
    EXPECT_EQ(vp.GetRotation(), 270);
    vp.SetRotation(450, 7, 0);
    EXPECT_EQ(vp.GetRotation(), 90);
}

class Rotation : public ::testing::Test {
protected:
    // 64 x 32 picture turned into a 32 x 64 output at scale 1.
    Rotation() : src(64, 32)
    {
        FillRamp(src);
    }
    PlaneSource src;
    const RESIZE_PARAM turned = {32, 64, IMAGE_INTERPOLATION_BILINEAR, IMAGE_RESIZE_STRETCH};
};

TEST_F(Rotation, NinetyTurnsCounterClockwiseOnScreen)
{
    VideoProcess vp(&src, &turned, 0.0);
    vp.SetRotation(90, 0, 0);
    EXPECT_EQ(vp.GetVideoInfo()->nWidth, 32);
    EXPECT_EQ(vp.GetVideoInfo()->nHeight, 64);
    const MEDIA_FRAME* f = vp.GetFrame();
    ASSERT_NE(f, nullptr);
    ASSERT_EQ(f->nWidth, 32);
    ASSERT_EQ(f->nHeight, 64);
    // out(X, Y) = src(64 - Y, X): the top-right corner of the source lands
    // at the top-left, one row down; row 0 stays black and source column 0
    // is dropped.
    EXPECT_EQ(Y(f, 0, 1), src.Y(63, 0));
    for (int y = 1; y < 64; ++y)
        for (int x = 0; x < 32; ++x)
            ASSERT_EQ(Y(f, x, y), src.Y(64 - y, x)) << x << "," << y;
    for (int x = 0; x < 32; ++x)
        EXPECT_EQ(Y(f, x, 0), 16);
    for (int y = 1; y < 32; ++y)
        for (int x = 0; x < 16; ++x)
            ASSERT_EQ(U(f, x, y), src.U(32 - y, x)) << x << "," << y;
}

TEST_F(Rotation, TwoSeventyTurnsClockwiseOnScreen)
{
    VideoProcess vp(&src, &turned, 0.0);
    vp.SetRotation(270, 0, 0);
    const MEDIA_FRAME* f = vp.GetFrame();
    ASSERT_NE(f, nullptr);
    // out(X, Y) = src(Y, 32 - X): the bottom-left corner lands at the top-left,
    // one column in; column 0 stays black and source row 0 is dropped.
    EXPECT_EQ(Y(f, 1, 0), src.Y(0, 31));
    for (int y = 0; y < 64; ++y) {
        EXPECT_EQ(Y(f, 0, y), 16);
        for (int x = 1; x < 32; ++x)
            ASSERT_EQ(Y(f, x, y), src.Y(y, 32 - x)) << x << "," << y;
    }
    for (int y = 0; y < 32; ++y)
        for (int x = 1; x < 16; ++x)
            ASSERT_EQ(V(f, x, y), src.V(y, 16 - x)) << x << "," << y;
}

TEST_F(Rotation, DeinterlacesTheTurnedPicture)
{
    VideoProcess vp(&src, &turned, 0.0);
    vp.SetRotation(90, 0, 0);
    vp.SetDeintelace(DEINTERLACE_DOUBLE_EVEN);
    const MEDIA_FRAME* f = vp.GetFrame();
    ASSERT_NE(f, nullptr);
    for (int y = 2; y < 64; y += 2)
        for (int x = 0; x < 32; ++x)
            ASSERT_EQ(Y(f, x, y + 1), Y(f, x, y));
    EXPECT_EQ(Y(f, 5, 2), src.Y(62, 5));
}

TEST(VideoProcess, RotationRefitsTheLetterbox)
{
    PlaneSource src(320, 240);
    src.FillFlat(200, 128, 128);
    const RESIZE_PARAM box = {640, 480, IMAGE_INTERPOLATION_BILINEAR, IMAGE_RESIZE_LETTERBOX};
    VideoProcess vp(&src, &box, 0.0);
    vp.SetRotation(90, 0, 0);
    EXPECT_EQ(vp.GetVideoInfo()->nWidth, 640);
    EXPECT_EQ(vp.GetVideoInfo()->nHeight, 480);
    IMG_PARAM s, d;
    vp.GetResizeRegions(&s, &d);
    ExpectRegion(d, 140, 0, 360, 480); // the turned 3:4 picture, pillarboxed
    const MEDIA_FRAME* f = vp.GetFrame();
    ASSERT_NE(f, nullptr);
    EXPECT_EQ(Y(f, 139, 240), 16);
    EXPECT_EQ(Y(f, 140, 240), 200);
    EXPECT_EQ(Y(f, 499, 240), 200);
    EXPECT_EQ(Y(f, 500, 240), 16);

    // Back upright: the whole output again.
    vp.SetRotation(0, 0, 0);
    vp.GetResizeRegions(&s, &d);
    ExpectRegion(d, 0, 0, 640, 480);
}

TEST(VideoProcess, DeinterlaceOnCopyCropAndScalePaths)
{
    PlaneSource src(16, 8);
    FillRamp(src);
    {
        VideoProcess vp(&src, nullptr, 0.0);
        vp.SetDeintelace(DEINTERLACE_DOUBLE_EVEN);
        const MEDIA_FRAME* f = vp.GetFrame();
        ASSERT_NE(f, nullptr);
        for (int x = 0; x < 16; ++x) {
            EXPECT_EQ(Y(f, x, 0), src.Y(x, 0));
            EXPECT_EQ(Y(f, x, 1), src.Y(x, 0));
            EXPECT_EQ(Y(f, x, 3), src.Y(x, 2));
        }
        vp.SetDeintelace(static_cast<DEINTERLACE_STYLE>(5)); // off
        f = vp.GetFrame();
        EXPECT_EQ(Y(f, 4, 1), src.Y(4, 1));
    }
    {
        VideoProcess vp(&src, nullptr, 0.0);
        const tagRECT crop = {2, 2, 12, 8};
        vp.SetCropRect(&crop, IMAGE_RESIZE_LETTERBOX);
        vp.SetDeintelace(DEINTERLACE_DOUBLE_ODD);
        const MEDIA_FRAME* f = vp.GetFrame();
        ASSERT_NE(f, nullptr);
        ASSERT_EQ(f->nWidth, 10);
        // The whole source is deinterlaced first: source row 2 became row 3.
        for (int x = 0; x < 10; ++x) {
            EXPECT_EQ(Y(f, x, 0), src.Y(2 + x, 3));
            EXPECT_EQ(Y(f, x, 1), src.Y(2 + x, 3));
        }
    }
    {
        // Crop-fill always scales (here at scale 1).
        const RESIZE_PARAM fill = {16, 8, IMAGE_INTERPOLATION_BILINEAR, IMAGE_RESIZE_CROP_FILL};
        VideoProcess vp(&src, &fill, 0.0);
        vp.SetDeintelace(DEINTERLACE_DOUBLE_EVEN);
        const MEDIA_FRAME* f = vp.GetFrame();
        ASSERT_NE(f, nullptr);
        EXPECT_NE(f, src.GetFrame());
        for (int x = 0; x < 16; ++x) {
            EXPECT_EQ(Y(f, x, 1), src.Y(x, 0));
            EXPECT_EQ(Y(f, x, 4), src.Y(x, 4));
        }
    }
}

TEST(VideoProcess, AdjustmentsFiltersAndFlipsInOrder)
{
    PlaneSource src(16, 8);
    src.Fill([](int x, int y) { return static_cast<unsigned char>(100 + x * 8 + y); },
             [](int, int) { return static_cast<unsigned char>(100); },
             [](int, int) { return static_cast<unsigned char>(150); });
    VideoProcess vp(&src, nullptr, 0.0);

    vp.SetBrightness(100);
    const MEDIA_FRAME* f = vp.GetFrame();
    EXPECT_EQ(Y(f, 15, 7), 235); // 227 + 100, clamped
    EXPECT_EQ(Y(f, 0, 0), 200);
    vp.SetBrightness(0);

    // Negative (bit 4) before black-white (bit 8): chroma ends at 128, not
    // at 127 as the other order would give.
    vp.SetExFilterFlag(4 | 8);
    f = vp.GetFrame();
    EXPECT_EQ(U(f, 0, 0), 128);
    EXPECT_EQ(V(f, 0, 0), 128);
    EXPECT_EQ(Y(f, 0, 0), 16);   // 100 < 129
    EXPECT_EQ(Y(f, 5, 0), 235);  // 140
    vp.SetExFilterFlag(4);
    f = vp.GetFrame();
    EXPECT_EQ(U(f, 0, 0), 100 ^ 255);
    EXPECT_EQ(Y(f, 5, 0), 140);
    vp.SetExFilterFlag(0);

    vp.SetFlipFlag(1);
    f = vp.GetFrame();
    EXPECT_EQ(Y(f, 0, 3), src.Y(15, 3));
    vp.SetFlipFlag(2);
    f = vp.GetFrame();
    EXPECT_EQ(Y(f, 2, 0), src.Y(2, 7));
    vp.SetFlipFlag(3);
    f = vp.GetFrame();
    EXPECT_EQ(Y(f, 0, 0), src.Y(15, 7));
}

TEST(VideoProcess, ModifyInfoResizesTheOutput)
{
    PlaneSource src(64, 32);
    src.FillFlat(90, 128, 128);
    VideoProcess vp(&src, nullptr, 0.0);
    vp.SetBrightness(1);
    ASSERT_EQ(vp.GetFrame()->nWidth, 64);
    vp.SetBrightness(0);

    VideoModifyRequest request = {48, 80, 30.0};
    EXPECT_EQ(vp.ModifyInfo(0, reinterpret_cast<uintptr_t>(&request)), 1);
    EXPECT_EQ(vp.GetVideoInfo()->nWidth, 80);
    EXPECT_EQ(vp.GetVideoInfo()->nHeight, 48);
    EXPECT_DOUBLE_EQ(vp.GetVideoInfo()->dFrameRate, 30.0);
    EXPECT_EQ(vp.GetVideoStreamInfo()->videoInfo.nWidth, 80);
    const MEDIA_FRAME* f = vp.GetFrame();
    ASSERT_NE(f, nullptr);
    EXPECT_EQ(f->nWidth, 80);
    EXPECT_EQ(f->nHeight, 48);
    // 64:32 letterboxed into 80:48: 80 x 40 with bars of 4 rows.
    EXPECT_EQ(Y(f, 40, 3), 16);
    EXPECT_EQ(Y(f, 40, 4), 90);

    VideoModifyRequest slow = {48, 80, 0.5}; // a rate of 1 or less is ignored
    vp.ModifyInfo(0, reinterpret_cast<uintptr_t>(&slow));
    EXPECT_DOUBLE_EQ(vp.GetVideoInfo()->dFrameRate, 30.0);
    EXPECT_EQ(vp.ModifyInfo(0, 0), 1);
}

TEST(VideoProcess, SubPicturesGoDownToTheDecoder)
{
    PlaneSource src(16, 8, 25.0); // under a constant-rate stage
    src.SetAnswer(5);
    VideoProcess vp(&src, nullptr, 0.0);
    int record = 0;
    EXPECT_EQ(vp.SetUserSubPic(reinterpret_cast<tagUserSubPic*>(&record), 7), 5);
    EXPECT_EQ(src.LastCode(), 8888u);
    EXPECT_EQ(src.LastParam1(), reinterpret_cast<uintptr_t>(&record));
    EXPECT_EQ(src.LastParam2(), 7u);
    EXPECT_EQ(vp.SetSubPicEx(reinterpret_cast<tagUserSubPicEx*>(&record), 9), 5);
    EXPECT_EQ(src.LastCode(), 8889u);
    vp.SetExDecodeParam(1234, 1, 2);
    EXPECT_EQ(src.LastCode(), 1234u);
    // Nothing in the stage changed.
    EXPECT_EQ(vp.GetFrame()->pY, src.GetFrame()->pY);
}

} // namespace
