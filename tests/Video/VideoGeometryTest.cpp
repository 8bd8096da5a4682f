// Geometry of the video stage: ResizeRect and CalcResizeParam with the
// integer arithmetic of each step, then the output size, regions and bars
// the processing stage derives from resize requests, crops and quarter turns.
#include <gtest/gtest.h>

#include <array>

#include "ResizeGeometry.h"
#include "SyntheticVideoSource.h"
#include "VideoProcess.h"
#include "VideoTestSupport.h"

namespace {

using Quad = std::array<int, 4>;
Quad Of(const IMG_PARAM& p) { return {p.x, p.y, p.cx, p.cy}; }
Quad Of(const tagRECT& r) { return {r.left, r.top, r.right, r.bottom}; }

TEST(ResizeRect, FitsCentredWithTruncatedSteps)
{
    const struct {
        tagRECT rc;
        int ax, ay, method;
        Quad want;
    } cases[] = {
        {{0, 0, 640, 480}, 16, 9, 1, {0, 60, 640, 420}},
        {{0, 0, 1920, 1080}, 4, 3, 1, {240, 0, 1680, 1080}},
        {{0, 0, 641, 480}, 16, 9, 1, {0, 60, 641, 420}},  // 5769 / 16 = 360, truncated
        {{0, 0, 100, 51}, 2, 1, 1, {0, 0, 100, 51}},      // one row over: (51 - 50) >> 1 = 0
        {{10, 20, 110, 120}, 2, 1, 1, {10, 45, 110, 95}}, // an offset rectangle
        {{0, 0, 640, 480}, 4, 3, 1, {0, 0, 640, 480}},
        {{0, 0, 640, 480}, 16, 9, 0, {0, 0, 640, 480}}, // stretch
        {{0, 0, 1920, 1080}, 4, 3, 4, {240, 0, 1680, 1080}}, // 4 fits as 1 does
        {{0, 0, 640, 480}, 16, 9, 5, {0, 0, 640, 480}},     // crop-fill
        {{0, 0, 640, 480}, 0, 9, 1, {0, 0, 640, 480}},
        // Kept: method 2 on 4:3 gives w = 3*16/9 = 5, a fit to 5:3, not 16:9.
        {{0, 0, 640, 480}, 4, 3, 2, {0, 48, 640, 432}},
        {{0, 0, 640, 480}, 4000, 3000, 2, {0, 60, 640, 420}},
        {{0, 0, 1920, 1080}, 16, 9, 3, {240, 0, 1680, 1080}}, // method 3 forces 4:3
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << "case " << &c - cases);
        tagRECT rc = c.rc;
        ResizeRect(rc, tagSIZE{c.ax, c.ay}, static_cast<IMAGE_RESIZE_METHOD>(c.method));
        EXPECT_EQ(Of(rc), c.want);
    }
}

// The stage over a flat picture: output size, regions, and the picture
// rectangle's edges seen from inside and outside in the output frame.
TEST(VideoProcessGeometry, OutputSizeRegionsAndBars)
{
    const IMAGE_RESIZE_METHOD box = IMAGE_RESIZE_LETTERBOX;
    const struct {
        const char* what;
        int sw, ax, ay, rw, rh; // sources 576 high (240 for the turn); rw < 0: no request, 0: follow the aspect
        IMAGE_RESIZE_METHOD method;
        tagRECT crop;
        int rotation, ow, oh;
        Quad src, dst;
    } cases[] = {
        {"16:9 letterboxed", 720, 16, 9, 640, 480, box, {}, 0, 640, 480, {0, 0, 720, 576}, {0, 60, 640, 360}},
        {"4:3 pillarboxed", 720, 4, 3, 640, 360, box, {}, 0, 640, 360, {0, 0, 720, 576}, {80, 0, 480, 360}},
        // W = 4 * 576 / 3 = 768, more than 1% wider.
        {"720x576 as 4:3", 720, 4, 3, 0, 0, box, {}, 0, 768, 576, {0, 0, 720, 576}, {0, 0, 768, 576}},
        // 5 * 576 / 4 = 720 is under 1% wider than 716: snapped back.
        {"under 1% wider", 716, 5, 4, 0, 0, box, {}, 0, 716, 576, {0, 0, 716, 576}, {0, 2, 716, 572}},
        {"tall aspect", 720, 1, 1, 0, 0, box, {}, 0, 720, 720, {0, 0, 720, 576}, {0, 0, 720, 720}},
        // Kept: the 393.6 that CalcResizeParam rounds is truncated here.
        {"crop-fill", 720, 4, 3, 640, 369, IMAGE_RESIZE_CROP_FILL, {}, 0, 640, 369, {0, 67, 720, 442},
         {0, 0, 640, 369}},
        {"crop, request", 720, 16, 9, 640, 480, box, {0, 0, 360, 576}, 0, 640, 480, {0, 0, 360, 576},
         {107, 0, 426, 480}},
        // Half of 16:9 in square pixels: 16/9 * 576 * 360/720 = 512.
        {"crop, no request", 720, 16, 9, -1, 0, box, {0, 0, 360, 576}, 0, 512, 576, {0, 0, 360, 576},
         {0, 0, 512, 576}},
        // The turned 3:4 picture pillarboxed (its top row stays black).
        {"quarter turn", 320, 0, 0, 640, 480, box, {}, 90, 640, 480, {0, 0, 320, 240}, {140, 0, 360, 480}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        PlaneSource src(c.sw, c.rotation ? 240 : 576);
        src.FillFlat(200, 100, 160);
        src.SetAspect(c.ax, c.ay);
        const RESIZE_PARAM request = {c.rw, c.rh, IMAGE_INTERPOLATION_BILINEAR, c.method};
        VideoProcess vp(&src, c.rw < 0 ? nullptr : &request, 0.0);
        if (c.crop.right != 0)
            vp.SetCropRect(&c.crop, c.method);
        if (c.rotation)
            vp.SetRotation(c.rotation, 0, 0);
        EXPECT_EQ(vp.GetVideoInfo()->nWidth, c.ow);
        EXPECT_EQ(vp.GetVideoInfo()->nHeight, c.oh);
        EXPECT_EQ(vp.GetVideoInfo()->nAspectX, 0);
        IMG_PARAM s, d;
        vp.GetResizeRegions(&s, &d);
        EXPECT_EQ(Of(s), c.src);
        EXPECT_EQ(Of(d), c.dst);

        const MEDIA_FRAME* f = vp.GetFrame();
        ASSERT_NE(f, nullptr);
        ASSERT_EQ(f->nWidth, c.ow);
        ASSERT_EQ(f->nHeight, c.oh);
        const int l = c.dst[0], t = c.dst[1], r = l + c.dst[2], b = t + c.dst[3], mx = (l + r) / 2, my = (t + b) / 2;
        const int probes[][3] = {{l, my, 200},   {r - 1, my, 200}, {mx, c.rotation ? -1 : t, 200}, {mx, b - 1, 200},
                                 {l - 1, my, 16}, {r, my, 16},      {mx, t - 1, 16},                {mx, b, 16}};
        for (const auto& p : probes) {
            if (p[0] >= 0 && p[0] < c.ow && p[1] >= 0 && p[1] < c.oh) {
                EXPECT_EQ(Y(f, p[0], p[1]), p[2]) << p[0] << "," << p[1];
            }
        }
        EXPECT_EQ(U(f, mx / 2, my / 2), 100);
        EXPECT_EQ(V(f, mx / 2, my / 2), 160);
        EXPECT_EQ(U(f, mx / 2, 0), t > 0 || c.rotation ? 128 : 100); // a bar or the black turned row
        if (c.rotation) {
            vp.SetRotation(0, 0, 0); // upright again: the whole output
            vp.GetResizeRegions(&s, &d);
            EXPECT_EQ(Of(d), (Quad{0, 0, 640, 480}));
        }
    }

    // Without a request the output keeps the source's size until a crop is
    // set; the whole picture as a crop takes the display aspect, which stays
    // reported.
    PlaneSource src(720, 576);
    src.SetAspect(16, 9);
    VideoProcess vp(&src, nullptr, 0.0);
    EXPECT_EQ(vp.GetVideoInfo()->nWidth, 720);
    const tagRECT whole = {0, 0, 720, 576};
    vp.SetCropRect(&whole, IMAGE_RESIZE_LETTERBOX);
    EXPECT_EQ(vp.GetVideoInfo()->nWidth, 1024); // 16/9 * 576
    EXPECT_EQ(vp.GetVideoInfo()->nAspectX, 16);
    EXPECT_EQ(vp.GetVideoInfo()->nAspectY, 9);
}

// Without a size the output widens the picture to its display aspect, but a
// widening under one per cent snaps back to the source width (exactly one
// per cent stays).
TEST(VideoProcessGeometry, AspectWideningUnderOnePerCentSnapsBack)
{
    for (const auto& [aspectX, width] : {std::pair{1005, 1000}, std::pair{1010, 1010}, std::pair{1200, 1200}}) {
        SyntheticVideoConfig c;
        c.width = c.height = 1000, c.aspectX = aspectX, c.aspectY = 1000;
        SyntheticVideoSource src(c);
        const RESIZE_PARAM none = {0, 0, IMAGE_INTERPOLATION_BILINEAR, IMAGE_RESIZE_LETTERBOX};
        VideoProcess vp(&src, &none, 0.0);
        EXPECT_EQ(vp.GetVideoInfo()->nWidth, width) << aspectX;
    }
}

} // namespace
