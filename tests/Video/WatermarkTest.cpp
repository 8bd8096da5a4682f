// Watermarks: loading and scaling, the refusals and their messages, the
// alignment codes, clipping, the two blend formulas, placement through a
// crop, the user watermark and its per-pixel-alpha flag.
#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "Frame.h"
#include "PlaneSource.h"
#include "VideoProcess.h"
#include "Watermark.h"

namespace {

using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStdout;

struct Bgra {
    unsigned char b, g, r, a;
};
constexpr Bgra kWhite{255, 255, 255, 255};   // Y 235, U V 128
constexpr Bgra kBlack{0, 0, 0, 255};         // Y 16
constexpr Bgra kClearWhite{255, 255, 255, 0}; // fully transparent

// A 32-bit bitmap: 40-byte header followed by the pixels. With topDown the
// height is negative and the first row in memory is the top one.
std::vector<unsigned char> Bitmap32(int w, int h, const std::function<Bgra(int x, int y)>& px, bool topDown = false)
{
    std::vector<unsigned char> block(40 + static_cast<size_t>(w) * h * 4);
    tagBITMAPINFOHEADER hdr = {};
    hdr.biSize = 40;
    hdr.biWidth = w;
    hdr.biHeight = topDown ? -h : h;
    hdr.biPlanes = 1;
    hdr.biBitCount = 32;
    std::memcpy(block.data(), &hdr, sizeof(hdr));
    for (int y = 0; y < h; ++y) {
        const int memRow = topDown ? y : h - 1 - y;
        for (int x = 0; x < w; ++x) {
            const Bgra c = px(x, y);
            unsigned char* p = block.data() + 40 + (static_cast<size_t>(memRow) * w + x) * 4;
            p[0] = c.b;
            p[1] = c.g;
            p[2] = c.r;
            p[3] = c.a;
        }
    }
    return block;
}

std::vector<unsigned char> Flat32(int w, int h, Bgra c)
{
    return Bitmap32(w, h, [c](int, int) { return c; });
}

tagBITMAPINFO* Info(std::vector<unsigned char>& block) { return reinterpret_cast<tagBITMAPINFO*>(block.data()); }

struct Box {
    int left = -1, top = -1, right = -1, bottom = -1; // inclusive; -1 = nothing found
};

// Bounding box of the luma samples equal to `value`.
Box Find(const MEDIA_FRAME* f, unsigned char value)
{
    Box b;
    for (int y = 0; y < f->nHeight; ++y)
        for (int x = 0; x < f->nWidth; ++x)
            if (f->pY[static_cast<ptrdiff_t>(y) * f->nPitchY + x] == value) {
                if (b.left < 0 || x < b.left)
                    b.left = x;
                if (b.top < 0)
                    b.top = y;
                if (x > b.right)
                    b.right = x;
                b.bottom = y;
            }
    return b;
}

void ExpectBox(const Box& b, int l, int t, int r, int btm)
{
    EXPECT_EQ(b.left, l);
    EXPECT_EQ(b.top, t);
    EXPECT_EQ(b.right, r);
    EXPECT_EQ(b.bottom, btm);
}

// A black 640 x 480 source with a stage over it.
class StageWatermark : public ::testing::Test {
protected:
    StageWatermark() : src(640, 480), vp(&src, nullptr, 0.0) {}
    PlaneSource src;
    VideoProcess vp;
};

TEST_F(StageWatermark, ScaledToFourFifthsOfTheWidth)
{
    auto wide = Flat32(100, 50, kWhite);
    vp.SetWatermarkImageAlign(Info(wide), nullptr, WATERMARK_ALIGN_TOP_LEFT, 100);
    const MEDIA_FRAME* f = vp.GetFrame();
    ASSERT_NE(f, nullptr);
    // 512 x 256; the watermark's last row is not drawn.
    ExpectBox(Find(f, 235), 0, 0, 511, 254);

    auto tall = Flat32(100, 400, kWhite);
    vp.SetWatermarkImageAlign(Info(tall), nullptr, WATERMARK_ALIGN_TOP_LEFT, 100);
    // 512 x 2048 clamped to the height, the width kept: 512 x 480.
    ExpectBox(Find(vp.GetFrame(), 235), 0, 0, 511, 478);

    // Flush with the bottom-right corner, bottom row undrawn.
    vp.SetWatermarkImageAlign(Info(wide), nullptr, WATERMARK_ALIGN_BOTTOM_RIGHT, 100);
    ExpectBox(Find(vp.GetFrame(), 235), 128, 224, 639, 478);
}

TEST_F(StageWatermark, RefusalsRemoveTheWatermark)
{
    auto good = Flat32(100, 50, kWhite);
    vp.SetWatermarkImageAlign(Info(good), nullptr, WATERMARK_ALIGN_TOP_LEFT, 100);
    ASSERT_GE(Find(vp.GetFrame(), 235).left, 0);

    auto rgb24 = Flat32(100, 50, kWhite);
    Info(rgb24)->bmiHeader.biBitCount = 24;
    CaptureStdout();
    vp.SetWatermarkImageAlign(Info(rgb24), nullptr, WATERMARK_ALIGN_TOP_LEFT, 100);
    EXPECT_EQ(GetCapturedStdout(), "Watermark format error BitCount = 24.\r\n");
    EXPECT_EQ(Find(vp.GetFrame(), 235).left, -1);

    vp.SetWatermarkImageAlign(Info(good), nullptr, WATERMARK_ALIGN_TOP_LEFT, 100);
    CaptureStdout();
    vp.SetWatermarkImage(nullptr, nullptr, nullptr, 100);
    EXPECT_EQ(GetCapturedStdout(), "Watermark format error. lpbi = 0\r\n");
    EXPECT_EQ(Find(vp.GetFrame(), 235).left, -1);
}

TEST_F(StageWatermark, RectangleMessageShowsFourFields)
{
    auto good = Flat32(100, 50, kWhite);
    tagRECT rc = {10, 20, 110, 70};
    CaptureStdout();
    vp.SetWatermarkImage(Info(good), nullptr, &rc, 50);
    EXPECT_EQ(GetCapturedStdout(), "\t\t (50, 10, 20, 110)\r\n");
}

TEST_F(StageWatermark, PixelsAfterTheHeaderOrSeparate)
{
    // The same picture given inline and through pBits.
    auto inlineBmp = Flat32(8, 4, kWhite);
    tagRECT rc = {0, 0, 8, 4};
    CaptureStdout();
    vp.SetWatermarkImage(Info(inlineBmp), nullptr, &rc, 100);
    std::vector<unsigned char> header(inlineBmp.begin(), inlineBmp.begin() + 44);
    std::vector<unsigned char> pixels(inlineBmp.begin() + 40, inlineBmp.end());
    const MEDIA_FRAME* f = vp.GetFrame();
    ExpectBox(Find(f, 235), 0, 0, 7, 3);
    tagRECT moved = {100, 100, 108, 104};
    vp.SetWatermarkImage(Info(header), pixels.data(), &moved, 100);
    GetCapturedStdout();
    ExpectBox(Find(vp.GetFrame(), 235), 100, 100, 107, 103);
}

TEST_F(StageWatermark, TopDownAndYV12Bitmaps)
{
    // Top half white, bottom half black, as the picture is seen.
    auto halves = [](int, int y) { return y < 2 ? kWhite : kBlack; };
    auto topDown = Bitmap32(4, 4, halves, true);
    auto bottomUp = Bitmap32(4, 4, halves, false);
    tagRECT rc = {0, 0, 4, 4};
    CaptureStdout();
    vp.SetWatermarkImage(Info(topDown), nullptr, &rc, 100);
    const MEDIA_FRAME* f = vp.GetFrame();
    EXPECT_EQ(f->pY[0], 235);
    EXPECT_EQ(f->pY[3 * f->nPitchY], 16);
    vp.SetWatermarkImage(Info(bottomUp), nullptr, &rc, 100);
    f = vp.GetFrame();
    EXPECT_EQ(f->pY[0], 235);
    EXPECT_EQ(f->pY[3 * f->nPitchY], 16);

    // The library's own 20-bit layout: header, Y, V, U, alpha.
    const int w = 8, h = 4, c = 4 * 2;
    std::vector<unsigned char> yv12(40 + 2 * (w * h + c));
    tagBITMAPINFOHEADER hdr = {};
    hdr.biSize = 40;
    hdr.biWidth = w;
    hdr.biHeight = h;
    hdr.biBitCount = 20;
    hdr.biCompression = DP_FOURCC_YV12;
    hdr.biSizeImage = 2 * (w * h + c);
    std::memcpy(yv12.data(), &hdr, 40);
    std::memset(yv12.data() + 40, 200, w * h);
    std::memset(yv12.data() + 40 + w * h, 90, c);      // V
    std::memset(yv12.data() + 40 + w * h + c, 60, c);  // U
    std::memset(yv12.data() + 40 + w * h + 2 * c, 255, w * h);
    tagRECT at = {10, 20, 18, 24};
    vp.SetWatermarkImage(Info(yv12), nullptr, &at, 100);
    GetCapturedStdout();
    f = vp.GetFrame();
    ExpectBox(Find(f, 200), 10, 20, 17, 23);
    EXPECT_EQ(f->pU[10 * f->nPitchU + 5], 60);
    EXPECT_EQ(f->pV[10 * f->nPitchV + 5], 90);
}

TEST(Watermark, PlacementThroughACrop)
{
    PlaneSource src(320, 240);
    VideoProcess vp(&src, nullptr, 0.0);
    const tagRECT crop = {100, 50, 300, 200};
    vp.SetCropRect(&crop, IMAGE_RESIZE_LETTERBOX);
    auto white = Flat32(100, 50, kWhite);
    tagRECT rc = {120, 60, 220, 110};
    CaptureStdout();
    vp.SetWatermarkImage(Info(white), nullptr, &rc, 100);
    GetCapturedStdout();
    const MEDIA_FRAME* f = vp.GetFrame();
    ASSERT_EQ(f->nWidth, 200);
    // Tied to the uncropped picture: (120, 60) is (20, 10) of the output.
    ExpectBox(Find(f, 235), 20, 10, 119, 59);
}

TEST_F(StageWatermark, DisableHidesOnlyTheStageWatermark)
{
    auto white = Flat32(100, 50, kWhite);
    vp.SetWatermarkImageAlign(Info(white), nullptr, WATERMARK_ALIGN_TOP_LEFT, 100);
    auto user = Flat32(10, 10, kWhite);
    tagFRECT where = {0.5f, 0.5f, 0.6f, 0.6f};
    vp.SetUserWatermarkImage(Info(user), nullptr, &where, 100);
    vp.DisableWatermark(1);
    ExpectBox(Find(vp.GetFrame(), 235), 320, 240, 383, 287);
    vp.DisableWatermark(0);
    ExpectBox(Find(vp.GetFrame(), 235), 0, 0, 511, 287);
}

TEST_F(StageWatermark, UserWatermarkByRelativeRectangle)
{
    auto user = Flat32(10, 10, kWhite);
    // Scaled to 64 x 48 and drawn from (576, 432) to the corner.
    tagFRECT corner = {0.9f, 0.9f, 1.0f, 1.0f};
    vp.SetUserWatermarkImage(Info(user), nullptr, &corner, 100);
    ExpectBox(Find(vp.GetFrame(), 235), 576, 432, 639, 479);

    // Moved only (the all-ones pointer): the scaled picture stays 64 x 48
    // and is clipped at the right and bottom edges.
    tagFRECT edge = {0.95f, 0.95f, 1.05f, 1.05f};
    vp.SetUserWatermarkImage(reinterpret_cast<tagBITMAPINFO*>(~uintptr_t(0)), nullptr, &edge, 100);
    ExpectBox(Find(vp.GetFrame(), 235), 608, 456, 639, 479);
    vp.SetUserWatermarkImage(Info(user), reinterpret_cast<unsigned char*>(~uintptr_t(0)), &corner, 100);
    ExpectBox(Find(vp.GetFrame(), 235), 576, 432, 639, 479);

    // lpbi null with pixels: a message, nothing changes.
    CaptureStdout();
    vp.SetUserWatermarkImage(nullptr, user.data() + 40, &corner, 100);
    EXPECT_EQ(GetCapturedStdout(), "Watermark format error. lpbi = 0\r\n");
    ExpectBox(Find(vp.GetFrame(), 235), 576, 432, 639, 479);

    // Both null: removed.
    vp.SetUserWatermarkImage(nullptr, nullptr, nullptr, 100);
    EXPECT_EQ(Find(vp.GetFrame(), 235).left, -1);

    // A refused bit count removes it too.
    vp.SetUserWatermarkImage(Info(user), nullptr, &corner, 100);
    auto rgb24 = Flat32(10, 10, kWhite);
    Info(rgb24)->bmiHeader.biBitCount = 24;
    CaptureStdout();
    vp.SetUserWatermarkImage(Info(rgb24), nullptr, &corner, 100);
    EXPECT_EQ(GetCapturedStdout(), "Watermark format error BitCount = 24.\r\n");
    EXPECT_EQ(Find(vp.GetFrame(), 235).left, -1);
}

TEST(Watermark, TooNarrowUserWatermarkIsDropped)
{
    PlaneSource src(640, 480);
    VideoProcess vp(&src, nullptr, 0.0);
    auto user = Flat32(10, 10, kWhite);
    tagFRECT thin = {0.5f, 0.5f, 0.501f, 0.6f}; // 0.64 + 0.5 -> 1 pixel wide
    vp.SetUserWatermarkImage(Info(user), nullptr, &thin, 100);
    EXPECT_EQ(vp.GetFrame(), src.GetFrame()); // nothing to draw: pass-through
}

TEST_F(StageWatermark, StageWatermarkUsesTheUserAlphaFlag)
{
    // A fully transparent stage watermark placed by rectangle: while no
    // user watermark with transparency is loaded, only the constant
    // opacity counts and it is drawn solid.
    auto clear = Flat32(64, 48, kClearWhite);
    tagRECT rc = {0, 0, 64, 48};
    CaptureStdout();
    vp.SetWatermarkImage(Info(clear), nullptr, &rc, 100);
    GetCapturedStdout();
    ExpectBox(Find(vp.GetFrame(), 235), 0, 0, 63, 47);

    // A user watermark with transparency switches the stage watermark to its
    // own alpha: now it is invisible.
    auto user = Bitmap32(10, 10, [](int x, int) { return x < 5 ? kWhite : kClearWhite; });
    tagFRECT where = {0.5f, 0.5f, 0.6f, 0.6f};
    vp.SetUserWatermarkImage(Info(user), nullptr, &where, 100);
    const MEDIA_FRAME* f = vp.GetFrame();
    EXPECT_EQ(f->pY[10 * f->nPitchY + 10], 16);
    EXPECT_GE(Find(f, 235).left, 320); // the user watermark's opaque half

    // An opaque user watermark sets the flag back.
    auto opaque = Flat32(10, 10, kWhite);
    vp.SetUserWatermarkImage(Info(opaque), nullptr, &where, 100);
    f = vp.GetFrame();
    EXPECT_EQ(f->pY[10 * f->nPitchY + 10], 235);
}

// A frame with separate, exact-size planes: a write outside a plane trips
// the address sanitizer.
struct ExactFrame {
    ExactFrame(int w, int h, unsigned char y, unsigned char u, unsigned char v)
        : luma(static_cast<size_t>(w) * h, y), cb(static_cast<size_t>((w + 1) / 2) * ((h + 1) / 2), u),
          cr(cb.size(), v), alpha(luma.size(), 255)
    {
        std::memset(&frame, 0, sizeof(frame));
        frame.nFrameType = MEDIA_FRAME_VIDEO;
        frame.nWidth = w;
        frame.nHeight = h;
        frame.nPitchY = w;
        frame.nPitchU = frame.nPitchV = (w + 1) / 2;
        frame.pY = luma.data();
        frame.pU = cb.data();
        frame.pV = cr.data();
        frame.pAlpha = alpha.data();
    }
    unsigned char Y(int x, int y) const { return luma[static_cast<size_t>(y) * frame.nWidth + x]; }
    unsigned char U(int x, int y) const { return cb[static_cast<size_t>(y) * frame.nPitchU + x]; }
    std::vector<unsigned char> luma, cb, cr, alpha;
    MEDIA_FRAME frame;
};

TEST(AddWaterMark, AlignmentCodes)
{
    struct Case {
        int code, x, y;
    } cases[] = {{0, 3, 2}, {1, 0, 0}, {2, 3, 0}, {3, 6, 0}, {4, 0, 2}, {5, 3, 2},
                 {6, 6, 2}, {7, 0, 5}, {8, 3, 5}, {9, 6, 5}, {10, 0, 0}, {-1, 0, 0}};
    for (const Case& c : cases) {
        ExactFrame dst(10, 8, 16, 128, 128);
        ExactFrame mark(4, 3, 200, 60, 90);
        AddWaterMark(&dst.frame, &mark.frame, nullptr, 100, c.code, 0);
        // Two of the three rows: the last row of the watermark is not drawn.
        ExpectBox(Find(&dst.frame, 200), c.x, c.y, c.x + 3, c.y + 1);
    }
}

TEST(AddWaterMark, BlendFormulasDifferInTheirDivisions)
{
    // a = 128 * 50 / 100 = 64. By code: 200*64/255 + 100*191/255 = 50 + 74.
    ExactFrame dst(4, 4, 100, 128, 128);
    ExactFrame mark(4, 4, 200, 50, 50);
    std::fill(mark.alpha.begin(), mark.alpha.end(), 128);
    AddWaterMark(&dst.frame, &mark.frame, nullptr, 50, 1, 0);
    EXPECT_EQ(dst.Y(0, 0), 124);
    EXPECT_EQ(dst.Y(0, 3), 100); // last watermark row
    EXPECT_EQ(dst.U(0, 0), (50 * 64 + 128 * 191) / 255);

    // By rectangle with per-pixel alpha: one division, (12800 + 19100) / 255.
    ExactFrame dst2(4, 4, 100, 128, 128);
    tagRECT rc = {0, 0, 4, 4};
    AddWaterMark(&dst2.frame, &mark.frame, &rc, 50, 0, 1);
    EXPECT_EQ(dst2.Y(0, 0), 125);
    EXPECT_EQ(dst2.Y(0, 3), 125); // clipped, not short of a row
    EXPECT_EQ(dst2.U(0, 0), 108);

    // Constant opacity 50% ("over" with alpha 127): 100 + 50.
    ExactFrame dst3(4, 4, 100, 128, 128);
    AddWaterMark(&dst3.frame, &mark.frame, &rc, 50, 0, 0);
    EXPECT_EQ(dst3.Y(0, 0), 150);
}

TEST(AddWaterMark, ClipsAtTheLeftAndIgnoresTheSourceOffsetWithoutAlpha)
{
    ExactFrame dst(20, 10, 16, 128, 128);
    ExactFrame mark(30, 4, 0, 128, 128);
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 30; ++x)
            mark.luma[static_cast<size_t>(y) * 30 + x] = static_cast<unsigned char>(20 + x);
    // x = -10: drawn from the watermark's column 10 at the left edge.
    AddWaterMarkEx(&dst.frame, &mark.frame, -10, 2, 30, 4, 0, 0, 100, 1);
    for (int x = 0; x < 20; ++x)
        EXPECT_EQ(dst.Y(x, 2), 30 + x);
    EXPECT_EQ(dst.Y(0, 1), 16);

    // Constant opacity: xSrc is not applied, the watermark is read from its
    // top-left corner.
    ExactFrame dst2(20, 10, 16, 128, 128);
    AddWaterMarkEx(&dst2.frame, &mark.frame, 0, 0, 5, 2, 7, 0, 100, 0);
    EXPECT_EQ(dst2.Y(0, 0), 20);
    EXPECT_EQ(dst2.Y(4, 1), 24);
    EXPECT_EQ(dst2.Y(5, 0), 16);

    // Negative source offsets draw nothing; -1 sizes mean the frame's.
    ExactFrame dst3(20, 10, 16, 128, 128);
    AddWaterMarkEx(&dst3.frame, &mark.frame, 0, 0, 5, 2, -1, 0, 100, 1);
    EXPECT_EQ(dst3.Y(0, 0), 16);
    AddWaterMarkEx(&dst3.frame, &mark.frame, 0, 0, -1, -1, 0, 0, 100, 1);
    EXPECT_EQ(dst3.Y(19, 3), 39);
    EXPECT_EQ(dst3.Y(19, 4), 16); // the watermark has four rows
    AddWaterMarkEx(nullptr, &mark.frame, 0, 0, 5, 2, 0, 0, 100, 1);
    AddWaterMarkEx(&dst3.frame, nullptr, 0, 0, 5, 2, 0, 0, 100, 1);
}

TEST(AddWaterMark, NothingIsWrittenOutsideThePlanes)
{
    // Odd position and size: the chroma region reaches one row and one
    // column past the planes; it is cut there.
    ExactFrame dst(8, 8, 16, 128, 128);
    ExactFrame mark(8, 8, 200, 60, 60);
    AddWaterMarkEx(&dst.frame, &mark.frame, 1, 1, 7, 7, 0, 0, 100, 0);
    EXPECT_EQ(dst.Y(7, 7), 200);
    EXPECT_EQ(dst.U(1, 1), 60);
    EXPECT_EQ(dst.U(3, 3), 60);

    // A watermark larger than the frame, placed by code: what falls outside
    // the planes is left out.
    ExactFrame small(8, 6, 16, 128, 128);
    ExactFrame big(12, 10, 200, 60, 60);
    AddWaterMark(&small.frame, &big.frame, nullptr, 100, 0, 0);
    EXPECT_EQ(small.Y(0, 0), 200);
    EXPECT_EQ(small.Y(7, 5), 200);
    AddWaterMark(&small.frame, &big.frame, nullptr, 100, 9, 0);
    AddWaterMark(&small.frame, &big.frame, nullptr, 100, 1, 0);
}

} // namespace
