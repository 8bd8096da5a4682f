// Flips, deinterlacing and picture effects on frames made by CreateYV12Frame.
#include "ImageDeinterlace.h"
#include "ImageFilter.h"
#include "ImageFlip.h"

#include "Frame.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;

struct FrameDeleter {
    void operator()(MEDIA_FRAME* f) const { ReleaseYV12Frame(f); }
};
using FramePtr = std::unique_ptr<MEDIA_FRAME, FrameDeleter>;

// A frame whose planes hold the given rows (alpha filled with 77).
FramePtr MakeFrame(int w, int h, const Bytes& y, const Bytes& u, const Bytes& v)
{
    FramePtr f(CreateYV12Frame(w, h, 1, 1));
    std::copy(y.begin(), y.end(), f->pY);
    std::copy(u.begin(), u.end(), f->pU);
    std::copy(v.begin(), v.end(), f->pV);
    std::fill(f->pAlpha, f->pAlpha + static_cast<size_t>(w) * h, 77);
    return f;
}

size_t LumaSize(const MEDIA_FRAME* f) { return static_cast<size_t>(f->nWidth) * f->nHeight; }
size_t ChromaSize(const MEDIA_FRAME* f)
{
    return static_cast<size_t>((f->nWidth + 1) / 2) * ((f->nHeight + 1) / 2);
}

Bytes Luma(const MEDIA_FRAME* f) { return Bytes(f->pY, f->pY + LumaSize(f)); }
Bytes PlaneU(const MEDIA_FRAME* f) { return Bytes(f->pU, f->pU + ChromaSize(f)); }
Bytes PlaneV(const MEDIA_FRAME* f) { return Bytes(f->pV, f->pV + ChromaSize(f)); }
Bytes Alpha(const MEDIA_FRAME* f) { return Bytes(f->pAlpha, f->pAlpha + LumaSize(f)); }

Bytes Iota(size_t n, int start)
{
    Bytes b(n);
    for (size_t i = 0; i < n; ++i)
        b[i] = static_cast<unsigned char>(start + static_cast<int>(i));
    return b;
}

} // namespace

// ---------------------------------------------------------------------------
// Flips.

TEST(FlipImage, HorizontalOddWidth)
{
    // 5 x 2: chroma rows are 3 bytes; only their first and last bytes swap.
    FramePtr f = MakeFrame(5, 2, Iota(10, 1), {21, 22, 23}, {31, 32, 33});
    FlipImageHorz(f.get());
    EXPECT_EQ((Bytes{5, 4, 3, 2, 1, 10, 9, 8, 7, 6}), Luma(f.get()));
    EXPECT_EQ((Bytes{23, 22, 21}), PlaneU(f.get()));
    EXPECT_EQ((Bytes{33, 32, 31}), PlaneV(f.get()));
    EXPECT_EQ(Bytes(10, 77), Alpha(f.get()));
}

TEST(FlipImage, VerticalOddHeight)
{
    // 5 x 3: luma rows 0 and 2 swap, row 1 stays; chroma has 2 rows of 3.
    FramePtr f = MakeFrame(5, 3, Iota(15, 1), Iota(6, 21), Iota(6, 31));
    FlipImageVert(f.get());
    EXPECT_EQ((Bytes{11, 12, 13, 14, 15, 6, 7, 8, 9, 10, 1, 2, 3, 4, 5}), Luma(f.get()));
    EXPECT_EQ((Bytes{24, 25, 26, 21, 22, 23}), PlaneU(f.get()));
    EXPECT_EQ((Bytes{34, 35, 36, 31, 32, 33}), PlaneV(f.get()));
    EXPECT_EQ(Bytes(15, 77), Alpha(f.get()));
}

TEST(FlipImage, NullAndOnePixelFrames)
{
    FlipImageHorz(nullptr);
    FlipImageVert(nullptr);
    FramePtr f = MakeFrame(1, 1, {50}, {60}, {70});
    FlipImageHorz(f.get());
    FlipImageVert(f.get());
    EXPECT_EQ(Bytes{50}, Luma(f.get()));
    EXPECT_EQ(Bytes{60}, PlaneU(f.get()));
}

// ---------------------------------------------------------------------------
// Deinterlacing on a 2 x 5 frame: luma rows of 2, chroma 1 x 3.

namespace {

struct DeinterlaceCase {
    int style;
    Bytes lumaRows; // one value per row, in and out
    Bytes chromaRows;
};

FramePtr RowsFrame(const Bytes& lumaRows, const Bytes& chromaRows)
{
    Bytes y;
    for (unsigned char r : lumaRows) {
        y.push_back(r);
        y.push_back(static_cast<unsigned char>(r + 1));
    }
    return MakeFrame(2, static_cast<int>(lumaRows.size()), y, chromaRows, chromaRows);
}

} // namespace

TEST(DeinterlaceImage, FourMethods)
{
    const Bytes inY{10, 99, 31, 98, 50};
    const Bytes inC{40, 97, 61};
    const DeinterlaceCase cases[] = {
        {1, {10, 10, 31, 31, 50}, {40, 40, 61}},  // odd rows copy the row above
        {2, {99, 99, 98, 98, 50}, {97, 97, 61}},  // even rows copy the row below; last stays
        {3, {10, 20, 31, 40, 50}, {40, 50, 61}},  // (10 + 31) >> 1, (31 + 50) >> 1, (40 + 61) >> 1
        {4, {10, 99, 98, 98, 50}, {40, 97, 61}},  // row 2 = (99 + 98) >> 1; row 0 and the last stay
    };
    for (const DeinterlaceCase& c : cases) {
        FramePtr f = RowsFrame(inY, inC);
        DeinterlaceImage(f.get(), static_cast<DEINTERLACE_STYLE>(c.style));
        FramePtr expect = RowsFrame(c.lumaRows, c.chromaRows);
        SCOPED_TRACE(c.style);
        EXPECT_EQ(Luma(expect.get()), Luma(f.get()));
        EXPECT_EQ(c.chromaRows, PlaneU(f.get()));
        EXPECT_EQ(c.chromaRows, PlaneV(f.get()));
        EXPECT_EQ(Bytes(10, 77), Alpha(f.get()));
    }
}

TEST(DeinterlaceImage, BlendOddKeepsALastOddRow)
{
    // Four rows: row 3 has no row below and stays.
    FramePtr f = RowsFrame({10, 99, 31, 98}, {40, 97});
    DeinterlaceImage(f.get(), DEINTERLACE_BLEND_ODD);
    FramePtr expect = RowsFrame({10, 20, 31, 98}, {40, 97});
    EXPECT_EQ(Luma(expect.get()), Luma(f.get()));
    EXPECT_EQ((Bytes{40, 97}), PlaneU(f.get()));
}

TEST(DeinterlaceImage, OtherStylesDoNothing)
{
    for (int style : {0, 5, 7, -1}) {
        FramePtr f = RowsFrame({10, 99, 31, 98, 50}, {40, 97, 61});
        FramePtr same = RowsFrame({10, 99, 31, 98, 50}, {40, 97, 61});
        DeinterlaceImage(f.get(), static_cast<DEINTERLACE_STYLE>(style));
        EXPECT_EQ(Luma(same.get()), Luma(f.get())) << style;
        EXPECT_EQ(PlaneU(same.get()), PlaneU(f.get())) << style;
    }
    DeinterlaceImage(nullptr, DEINTERLACE_DOUBLE_EVEN);
}

// ---------------------------------------------------------------------------
// Effects.

TEST(Filters, ChromaFills)
{
    const Bytes y = Iota(15, 100);
    FramePtr gray = MakeFrame(5, 3, y, Iota(6, 10), Iota(6, 20));
    FilterGray(gray.get());
    EXPECT_EQ(y, Luma(gray.get()));
    EXPECT_EQ(Bytes(6, 128), PlaneU(gray.get()));
    EXPECT_EQ(Bytes(6, 128), PlaneV(gray.get()));

    FramePtr old = MakeFrame(5, 3, y, Iota(6, 10), Iota(6, 20));
    FilterOldPhoto(old.get());
    EXPECT_EQ(y, Luma(old.get()));
    EXPECT_EQ(Bytes(6, 116), PlaneU(old.get()));
    EXPECT_EQ(Bytes(6, 137), PlaneV(old.get()));
    EXPECT_EQ(Bytes(15, 77), Alpha(old.get()));
}

TEST(Filters, BlackWhiteAndWhiteBlackThresholdAt129)
{
    const Bytes y{0, 16, 128, 129, 200, 255};
    FramePtr bw = MakeFrame(3, 2, y, {10, 20}, {30, 40});
    FilterBlackWhite(bw.get());
    EXPECT_EQ((Bytes{16, 16, 16, 235, 235, 235}), Luma(bw.get()));
    EXPECT_EQ(Bytes(2, 128), PlaneU(bw.get()));
    EXPECT_EQ(Bytes(2, 128), PlaneV(bw.get()));

    FramePtr wb = MakeFrame(3, 2, y, {10, 20}, {30, 40});
    FilterWhiteBlack(wb.get());
    EXPECT_EQ((Bytes{235, 235, 235, 16, 16, 16}), Luma(wb.get()));
    EXPECT_EQ(Bytes(2, 128), PlaneV(wb.get()));
}

TEST(Filters, NegativeInvertsChromaKeepsLuma)
{
    FramePtr f = MakeFrame(3, 3, Bytes(9, 90), {16, 240, 128, 0}, {200, 55, 1, 254});
    FilterNegative(f.get());
    EXPECT_EQ(Bytes(9, 90), Luma(f.get()));
    EXPECT_EQ((Bytes{239, 15, 127, 255}), PlaneU(f.get()));
    EXPECT_EQ((Bytes{55, 200, 254, 1}), PlaneV(f.get()));
    EXPECT_EQ(Bytes(9, 77), Alpha(f.get()));
}

TEST(Filters, EmbossUsesTheByteWidthPlusOneFurther)
{
    // 3 x 3, step 4 in the plane. Samples 0..4 take their neighbour from
    // the plane (sample 2's is the first of row 2); samples 5..8 read past
    // the plane, in V (already 128), and keep their values, clamped.
    FramePtr f = MakeFrame(3, 3, {100, 110, 120, 130, 140, 150, 160, 10, 240}, {1, 2, 3, 4}, {5, 6, 7, 8});
    FilterEmboss(f.get());
    // 100 - 140 + 128, 110 - 150 + 128, 120 - 160 + 128, 130 - 10 + 128 = 248
    // -> 235, 140 - 240 + 128.
    EXPECT_EQ((Bytes{88, 88, 88, 235, 28, 150, 160, 16, 235}), Luma(f.get()));
    EXPECT_EQ(Bytes(4, 128), PlaneU(f.get()));
    EXPECT_EQ(Bytes(4, 128), PlaneV(f.get()));
    EXPECT_EQ(Bytes(9, 77), Alpha(f.get()));
}

TEST(Filters, EmbossOnAFrameOfAnotherLayoutTakesMidGreyPastThePlane)
{
    // Planes in separate buffers: nothing past the luma plane is read.
    Bytes y{100, 110, 120, 130, 140, 150, 160, 10, 240};
    Bytes u(4, 1), v(4, 2);
    MEDIA_FRAME f{};
    f.nFrameType = 2;
    f.pY = y.data();
    f.pU = u.data();
    f.pV = v.data();
    f.nWidth = 3;
    f.nHeight = 3;
    FilterEmboss(&f);
    EXPECT_EQ((Bytes{88, 88, 88, 235, 28, 150, 160, 16, 235}), y);
}

TEST(Filters, NullFramesDoNothing)
{
    FilterGray(nullptr);
    FilterEmboss(nullptr);
    FilterBlackWhite(nullptr);
    FilterWhiteBlack(nullptr);
    FilterOldPhoto(nullptr);
    FilterNegative(nullptr);
}
