// Watermarks: scaling, refusals and their messages, bitmap layouts,
// placement by code and through a crop, clipping, the two blend formulas,
// the user watermark and its per-pixel-alpha flag.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <string>
#include <vector>

#include "VideoProcess.h"
#include "VideoTestSupport.h"
#include "Watermark.h"

namespace {

using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStdout;

constexpr Bgra kWhite{255, 255, 255, 255};    // Y 235, U V 128
constexpr Bgra kBlack{0, 0, 0, 255};          // Y 16
constexpr Bgra kClearWhite{255, 255, 255, 0}; // fully transparent

using Box = std::array<int, 4>; // left, top, right, bottom, inclusive
constexpr Box kNone = {-1, -1, -1, -1};

// Bounding box of the luma samples equal to `value`.
Box Find(const MEDIA_FRAME* f, unsigned char value)
{
    Box b = kNone;
    for (int y = 0; y < f->nHeight; ++y)
        for (int x = 0; x < f->nWidth; ++x)
            if (Y(f, x, y) == value)
                b = {b[0] < 0 ? x : std::min(b[0], x), b[1] < 0 ? y : b[1], std::max(b[2], x), y};
    return b;
}

// A black source with a stage over it.
class StageWatermark : public ::testing::Test {
protected:
    StageWatermark() : src(640, 480), vp(&src, nullptr, 0.0) { src.FillFlat(16, 128, 128); }
    Box White() { return Find(vp.GetFrame(), 235); }
    PlaneSource src;
    VideoProcess vp;
};

TEST_F(StageWatermark, ScaledToFourFifthsOfTheWidthOrRefused)
{
    auto wide = Flat32(100, 50, kWhite), tall = Flat32(100, 400, kWhite), rgb24 = Flat32(100, 50, kWhite);
    // 512 x 256; the watermark's last row is not drawn.
    vp.SetWatermarkImageAlign(Info(wide), nullptr, WATERMARK_ALIGN_TOP_LEFT, 100);
    EXPECT_EQ(White(), (Box{0, 0, 511, 254}));
    // 512 x 2048 clamped to the height, the width kept: 512 x 480.
    vp.SetWatermarkImageAlign(Info(tall), nullptr, WATERMARK_ALIGN_TOP_LEFT, 100);
    EXPECT_EQ(White(), (Box{0, 0, 511, 478}));
    // Code 9: flush with the bottom-right corner, bottom row undrawn.
    vp.SetWatermarkImageAlign(Info(wide), nullptr, WATERMARK_ALIGN_BOTTOM_RIGHT, 100);
    EXPECT_EQ(White(), (Box{128, 224, 639, 478}));

    // A refused bitmap removes the watermark.
    Info(rgb24)->bmiHeader.biBitCount = 24;
    CaptureStdout();
    vp.SetWatermarkImageAlign(Info(rgb24), nullptr, WATERMARK_ALIGN_TOP_LEFT, 100);
    EXPECT_EQ(GetCapturedStdout(), "Watermark format error BitCount = 24.\r\n");
    EXPECT_EQ(White(), kNone);
    vp.SetWatermarkImageAlign(Info(wide), nullptr, WATERMARK_ALIGN_TOP_LEFT, 100);
    CaptureStdout();
    vp.SetWatermarkImage(nullptr, nullptr, nullptr, 100);
    EXPECT_EQ(GetCapturedStdout(), "Watermark format error. lpbi = 0\r\n");
    EXPECT_EQ(White(), kNone);
}

TEST_F(StageWatermark, PlacementIsTiedToTheUncroppedPicture)
{
    const tagRECT crop = {100, 50, 300, 200};
    vp.SetCropRect(&crop, IMAGE_RESIZE_LETTERBOX);
    auto white = Flat32(100, 50, kWhite);
    tagRECT rc = {120, 60, 220, 110};
    CaptureStdout();
    vp.SetWatermarkImage(Info(white), nullptr, &rc, 100);
    GetCapturedStdout();
    ASSERT_EQ(vp.GetFrame()->nWidth, 200);
    EXPECT_EQ(White(), (Box{20, 10, 119, 59})); // (120, 60) is (20, 10) of the output
}

TEST_F(StageWatermark, UserWatermarkByRelativeRectangle)
{
    auto user = Flat32(10, 10, kWhite), rgb24 = Flat32(10, 10, kWhite);
    // Scaled to 64 x 48 and drawn from (576, 432) to the corner.
    tagFRECT corner = {0.9f, 0.9f, 1.0f, 1.0f}, edge = {0.95f, 0.95f, 1.05f, 1.05f};
    vp.SetUserWatermarkImage(Info(user), nullptr, &corner, 100);
    EXPECT_EQ(White(), (Box{576, 432, 639, 479}));
    // Moved only (an all-ones pointer): still 64 x 48, clipped at the edges.
    vp.SetUserWatermarkImage(reinterpret_cast<tagBITMAPINFO*>(~uintptr_t(0)), nullptr, &edge, 100);
    EXPECT_EQ(White(), (Box{608, 456, 639, 479}));
    vp.SetUserWatermarkImage(Info(user), reinterpret_cast<unsigned char*>(~uintptr_t(0)), &corner, 100);
    EXPECT_EQ(White(), (Box{576, 432, 639, 479}));

    // The stage watermark can be hidden, the user watermark stays.
    auto stage = Flat32(100, 50, kWhite);
    vp.SetWatermarkImageAlign(Info(stage), nullptr, WATERMARK_ALIGN_TOP_LEFT, 100);
    vp.DisableWatermark(1);
    EXPECT_EQ(White(), (Box{576, 432, 639, 479}));
    vp.DisableWatermark(0);
    EXPECT_EQ(White(), (Box{0, 0, 639, 479}));
    vp.DisableWatermark(1);

    // lpbi null with pixels: a message, nothing changes.
    Info(rgb24)->bmiHeader.biBitCount = 24;
    CaptureStdout();
    vp.SetUserWatermarkImage(nullptr, user.data() + 40, &corner, 100);
    EXPECT_EQ(GetCapturedStdout(), "Watermark format error. lpbi = 0\r\n");
    EXPECT_EQ(White(), (Box{576, 432, 639, 479}));
    // Both null remove it; so does a refused bit count.
    vp.SetUserWatermarkImage(nullptr, nullptr, nullptr, 100);
    EXPECT_EQ(White(), kNone);
    vp.SetUserWatermarkImage(Info(user), nullptr, &corner, 100);
    CaptureStdout();
    vp.SetUserWatermarkImage(Info(rgb24), nullptr, &corner, 100);
    EXPECT_EQ(GetCapturedStdout(), "Watermark format error BitCount = 24.\r\n");
    EXPECT_EQ(White(), kNone);

    // Under two pixels wide (0.001 * 640 + 0.5): dropped, a pass-through.
    PlaneSource fresh(640, 480);
    VideoProcess vp2(&fresh, nullptr, 0.0);
    tagFRECT thin = {0.5f, 0.5f, 0.501f, 0.6f};
    vp2.SetUserWatermarkImage(Info(user), nullptr, &thin, 100);
    EXPECT_EQ(vp2.GetFrame(), fresh.GetFrame());
}

// A frame with separate, exact-size planes: a write outside a plane trips
// the address sanitizer.
struct ExactFrame {
    ExactFrame(int w, int h, unsigned char y, unsigned char uv = 128)
        : luma(size_t(w) * h, y), cb(size_t((w + 1) / 2) * ((h + 1) / 2), uv), cr(cb), alpha(luma.size(), 255)
    {
        frame.nWidth = frame.nPitchY = w;
        frame.nHeight = h;
        frame.nPitchU = frame.nPitchV = (w + 1) / 2;
        frame.pY = luma.data(), frame.pU = cb.data(), frame.pV = cr.data(), frame.pAlpha = alpha.data();
    }
    std::vector<unsigned char> luma, cb, cr, alpha;
    MEDIA_FRAME frame{};
};

TEST(AddWaterMark, AlignmentCodes)
{
    const int cases[][3] = {{0, 3, 2}, {1, 0, 0}, {2, 3, 0}, {3, 6, 0}, {4, 0, 2}, {5, 3, 2},
                            {6, 6, 2}, {7, 0, 5}, {8, 3, 5}, {9, 6, 5}, {10, 0, 0}, {-1, 0, 0}};
    for (const auto& c : cases) {
        ExactFrame dst(10, 8, 16), mark(4, 3, 200, 60);
        AddWaterMark(&dst.frame, &mark.frame, nullptr, 100, c[0], 0);
        // Two of the three rows: the watermark's last row is not drawn.
        EXPECT_EQ(Find(&dst.frame, 200), (Box{c[1], c[2], c[1] + 3, c[2] + 1})) << "code " << c[0];
    }
}

TEST(AddWaterMark, BlendFormulasDifferInTheirDivisions)
{
    ExactFrame mark(4, 4, 200, 50), byCode(4, 4, 100), byRect(4, 4, 100), constant(4, 4, 100);
    std::fill(mark.alpha.begin(), mark.alpha.end(), 128);
    // a = 128 * 50 / 100 = 64. By code: 200*64/255 + 100*191/255 = 50 + 74.
    AddWaterMark(&byCode.frame, &mark.frame, nullptr, 50, 1, 0);
    EXPECT_EQ(Y(&byCode.frame, 0, 0), 124);
    EXPECT_EQ(Y(&byCode.frame, 0, 3), 100); // last watermark row
    EXPECT_EQ(U(&byCode.frame, 0, 0), (50 * 64 + 128 * 191) / 255);
    // By rectangle with per-pixel alpha: one division, (12800 + 19100) / 255.
    tagRECT rc = {0, 0, 4, 4};
    AddWaterMark(&byRect.frame, &mark.frame, &rc, 50, 0, 1);
    EXPECT_EQ(Y(&byRect.frame, 0, 0), 125);
    EXPECT_EQ(Y(&byRect.frame, 0, 3), 125); // clipped, not short of a row
    EXPECT_EQ(U(&byRect.frame, 0, 0), 108);
    // Constant opacity 50% ("over" with alpha 127): 100 + 50.
    AddWaterMark(&constant.frame, &mark.frame, &rc, 50, 0, 0);
    EXPECT_EQ(Y(&constant.frame, 0, 0), 150);
    // At an odd column the chroma of the even picture columns 2 and 4 is
    // blended: chroma columns 1 and 2; 0 and 3 stay.
    ExactFrame odd(8, 4, 100);
    tagRECT at1 = {1, 0, 5, 4};
    AddWaterMark(&odd.frame, &mark.frame, &at1, 50, 0, 1);
    EXPECT_EQ((std::vector<int>{U(&odd.frame, 0, 0), U(&odd.frame, 1, 0), U(&odd.frame, 2, 0), U(&odd.frame, 3, 0)}),
              (std::vector<int>{128, 108, 108, 128}));
}

TEST(AddWaterMark, NothingIsWrittenOutsideThePlanes)
{
    // Odd position and size: the chroma region reaches one row and one
    // column past the planes; it is cut there.
    ExactFrame dst(8, 8, 16), mark(8, 8, 200, 60), small(8, 6, 16), big(12, 10, 200, 60);
    AddWaterMarkEx(&dst.frame, &mark.frame, 1, 1, 7, 7, 0, 0, 100, 0);
    EXPECT_EQ(Y(&dst.frame, 7, 7), 200);
    EXPECT_EQ(U(&dst.frame, 1, 1), 60);
    EXPECT_EQ(U(&dst.frame, 3, 3), 60);
    // A watermark larger than the frame, placed by code: what falls outside
    // the planes is left out.
    AddWaterMark(&small.frame, &big.frame, nullptr, 100, 0, 0);
    EXPECT_EQ(Y(&small.frame, 0, 0), 200);
    EXPECT_EQ(Y(&small.frame, 7, 5), 200);
    AddWaterMark(&small.frame, &big.frame, nullptr, 100, 9, 0);
    AddWaterMark(&small.frame, &big.frame, nullptr, 100, 1, 0);
}

} // namespace
