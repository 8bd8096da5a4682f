// In-place picture changes: brightness, contrast and saturation (values
// worked by hand from the table formulas: division truncating toward zero,
// video-range clamps), flips, deinterlacing and effects on frames made by
// CreateYV12Frame.
#include "Frame.h"
#include "ImageAdjust.h"
#include "ImageDeinterlace.h"
#include "ImageFilter.h"
#include "ImageFlip.h"
#include "ImageTestPlane.h"

#include <gtest/gtest.h>

#include <memory>
#include <numeric>

namespace {

using Bytes = std::vector<uint8_t>;

struct FrameDeleter {
    void operator()(MEDIA_FRAME* f) const { ReleaseYV12Frame(f); }
};
using FramePtr = std::unique_ptr<MEDIA_FRAME, FrameDeleter>;

// A frame whose planes hold the given bytes, alpha 77.
FramePtr MakeFrame(int w, int h, const Bytes& y, const Bytes& u, const Bytes& v)
{
    FramePtr f(CreateYV12Frame(w, h, 1, 1));
    std::copy(y.begin(), y.end(), f->pY);
    std::copy(u.begin(), u.end(), f->pU);
    std::copy(v.begin(), v.end(), f->pV);
    std::fill(f->pAlpha, f->pAlpha + static_cast<size_t>(w) * h, 77);
    return f;
}

// Y, U, V and alpha of a frame.
std::vector<Bytes> FrameBytes(const MEDIA_FRAME* f)
{
    const size_t n = static_cast<size_t>(f->nWidth) * f->nHeight;
    const size_t c = static_cast<size_t>((f->nWidth + 1) / 2) * ((f->nHeight + 1) / 2);
    return {Bytes(f->pY, f->pY + n), Bytes(f->pU, f->pU + c), Bytes(f->pV, f->pV + c), Bytes(f->pAlpha, f->pAlpha + n)};
}

Bytes Iota(size_t n, int start)
{
    Bytes b(n);
    std::iota(b.begin(), b.end(), static_cast<uint8_t>(start));
    return b;
}

// Planes of a 5 x 3 picture (chroma 3 x 2) in buffers with padded pitches;
// everything but the samples is kSent.
struct AdjustPlanes {
    TestPlane y{7, 3, 7}, u{4, 2, 4}, v{4, 2, 4};
    AdjustPlanes(int valueY, int valueU, int valueV)
    {
        y.Fill(0, 0, 5, 3, [=](int, int) { return valueY; });
        u.Fill(0, 0, 3, 2, [=](int, int) { return valueU; });
        v.Fill(0, 0, 3, 2, [=](int, int) { return valueV; });
    }
    std::vector<Bytes> All() const { return {y.bytes, u.bytes, v.bytes}; }
};

// One setting through one adjustment. Both chroma planes are walked with
// the U pitch: the V pitch passed (1000) is not read. Settings outside
// -100..100 are taken as the nearest end.
TEST(Adjust, BrightnessContrastSaturation)
{
    enum { kBright, kContrast, kSat };
    struct Case {
        int which, setting, inY, outY, inC, outC;
    };
    const Case cases[] = {
        {kBright, 100, 200, 235, 60, 60}, // clamped to 235; chroma untouched
        {kBright, -100, 50, 16, 60, 60},
        {kBright, 0, 10, 16, 60, 60}, // the table at 0 still clamps to video range
        {kBright, -1000, 200, 100, 60, 60},
        {kContrast, 100, 200, 235, 100, 72},  // (72 x 100) / 100 + 200 = 272, clamped; chroma -28 + 100
        {kContrast, -100, 200, 128, 30, 128}, // everything becomes 128
        {kContrast, 50, 100, 86, 101, 88},    // (-27 x 50) / 100 = -13 (toward zero, not -14) + 101
        {kContrast, 100, 20, 16, 250, 240},   // clamps: luma 16, chroma 240
        {kSat, 50, 77, 77, 138, 153},         // counts three times, index 450: (10 x 150) / 100 + 138
        {kSat, 100, 77, 77, 138, 168},        // index 600: factor 4
        {kSat, 500, 77, 77, 138, 168},
        {kSat, -100, 77, 77, 200, 128}, // index 200: grey
        {kSat, -50, 77, 77, 100, 114},  // index 250: (-28 x -50) / 100 + 100
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << "adjustment " << c.which << " setting " << c.setting);
        AdjustPlanes p(c.inY, c.inC, c.inC);
        auto fn = c.which == kBright ? AdjustBrightness : c.which == kContrast ? AdjustContrast : AdjustSaturation;
        fn(p.y.data(), p.u.data(), p.v.data(), p.y.pitch, p.u.pitch, 1000, 5, 3, c.setting);
        EXPECT_EQ(AdjustPlanes(c.outY, c.outC, c.outC).All(), p.All());
    }
}

// 5 x 2 mirrored: chroma rows are 3 bytes, only their first and last swap;
// 4 x 2: every byte moves.
// 5 x 3 flipped: luma rows 0 and 2 swap, row 1 stays; chroma has 2 rows of 3.
// Alpha stays; null and 1 x 1 frames are safe.
TEST(FlipImage, OddWidthAndOddHeight)
{
    FramePtr h = MakeFrame(5, 2, Iota(10, 1), {21, 22, 23}, {31, 32, 33});
    FlipImageHorz(h.get());
    EXPECT_EQ((std::vector<Bytes>{{5, 4, 3, 2, 1, 10, 9, 8, 7, 6}, {23, 22, 21}, {33, 32, 31}, Bytes(10, 77)}),
              FrameBytes(h.get()));
    FramePtr v = MakeFrame(5, 3, Iota(15, 1), Iota(6, 21), Iota(6, 31));
    FlipImageVert(v.get());
    EXPECT_EQ((std::vector<Bytes>{{11, 12, 13, 14, 15, 6, 7, 8, 9, 10, 1, 2, 3, 4, 5},
                                  {24, 25, 26, 21, 22, 23},
                                  {34, 35, 36, 31, 32, 33},
                                  Bytes(15, 77)}),
              FrameBytes(v.get()));
    // Even width 4: every pair swaps, chroma rows of 2 swap too.
    FramePtr e = MakeFrame(4, 2, Iota(8, 1), {21, 22}, {31, 32});
    FlipImageHorz(e.get());
    EXPECT_EQ((std::vector<Bytes>{{4, 3, 2, 1, 8, 7, 6, 5}, {22, 21}, {32, 31}, Bytes(8, 77)}), FrameBytes(e.get()));
    FlipImageHorz(nullptr);
    FlipImageVert(nullptr);
    FramePtr one = MakeFrame(1, 1, {50}, {60}, {70});
    FlipImageHorz(one.get());
    FlipImageVert(one.get());
    EXPECT_EQ((std::vector<Bytes>{{50}, {60}, {70}, {77}}), FrameBytes(one.get()));
}

// A 2-wide frame from one value per row (luma rows r, r + 1; U and V alike).
FramePtr RowsFrame(const Bytes& lumaRows, const Bytes& chromaRows)
{
    Bytes y;
    for (uint8_t r : lumaRows)
        y.insert(y.end(), {r, static_cast<uint8_t>(r + 1)});
    return MakeFrame(2, static_cast<int>(lumaRows.size()), y, chromaRows, chromaRows);
}

TEST(DeinterlaceImage, FourMethodsAndNoOps)
{
    struct Case {
        int style;
        Bytes rowsY, rowsC;
    };
    const Bytes inY{10, 99, 31, 98, 50}, inC{40, 97, 61};
    const Case cases[] = {
        {1, {10, 10, 31, 31, 50}, {40, 40, 61}}, // odd rows copy the row above
        {2, {99, 99, 98, 98, 50}, {97, 97, 61}}, // even rows copy the row below; last stays
        {3, {10, 20, 31, 40, 50}, {40, 50, 61}}, // (10 + 31) >> 1, (31 + 50) >> 1, (40 + 61) >> 1
        {4, {10, 99, 98, 98, 50}, {40, 97, 61}}, // row 2 = (99 + 98) >> 1; row 0 and the last stay
        {0, inY, inC}, {5, inY, inC}, {7, inY, inC}, {-1, inY, inC}, // no-ops
    };
    for (const Case& c : cases) {
        FramePtr f = RowsFrame(inY, inC);
        DeinterlaceImage(f.get(), static_cast<DEINTERLACE_STYLE>(c.style));
        EXPECT_EQ(FrameBytes(RowsFrame(c.rowsY, c.rowsC).get()), FrameBytes(f.get())) << "style " << c.style;
    }
    // Four rows: the last odd row has no row below and stays.
    FramePtr f = RowsFrame({10, 99, 31, 98}, {40, 97});
    DeinterlaceImage(f.get(), DEINTERLACE_BLEND_ODD);
    EXPECT_EQ(FrameBytes(RowsFrame({10, 20, 31, 98}, {40, 97}).get()), FrameBytes(f.get()));
    DeinterlaceImage(nullptr, DEINTERLACE_DOUBLE_EVEN);
}

// A 3 x 2 frame, luma {0, 16, 128, 129, 200, 255}, U {16, 240}, V {200, 55}.
// The two-tone filters split luma at 129; the negative XORs chroma with 255
// and keeps luma.
TEST(Filters, ChromaFillsThresholdsAndNegative)
{
    const Bytes y{0, 16, 128, 129, 200, 255}, u{16, 240}, v{200, 55};
    struct Case {
        void (*fn)(MEDIA_FRAME*);
        Bytes y, u, v;
    };
    const Case cases[] = {
        {FilterGray, y, {128, 128}, {128, 128}},
        {FilterOldPhoto, y, {116, 116}, {137, 137}},
        {FilterBlackWhite, {16, 16, 16, 235, 235, 235}, {128, 128}, {128, 128}},
        {FilterWhiteBlack, {235, 235, 235, 16, 16, 16}, {128, 128}, {128, 128}},
        {FilterNegative, y, {239, 15}, {55, 200}},
    };
    for (const Case& c : cases) {
        FramePtr f = MakeFrame(3, 2, y, u, v);
        c.fn(f.get());
        EXPECT_EQ((std::vector<Bytes>{c.y, c.u, c.v, Bytes(6, 77)}), FrameBytes(f.get()));
        c.fn(nullptr);
    }
}

} // namespace
