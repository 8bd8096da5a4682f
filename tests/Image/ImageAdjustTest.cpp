// Brightness, contrast and saturation: values worked by hand from the table
// formulas (integer division truncating toward zero, video-range clamps).
#include "ImageAdjust.h"

#include "Frame.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;

// Planes of a w x h picture with wider pitches, every byte set to `fill`;
// the sample area is then set to the given values.
struct Planes {
    int w, h, pitchY, pitchC;
    Bytes y, u, v;
    Planes(int width, int height, int padY, int padC, unsigned char fill)
        : w(width), h(height), pitchY(width + padY), pitchC((width + 1) / 2 + padC),
          y(static_cast<size_t>(pitchY) * height, fill), u(static_cast<size_t>(pitchC) * ((height + 1) / 2), fill),
          v(u.size(), fill)
    {
    }
    void SetLuma(unsigned char value)
    {
        for (int r = 0; r < h; ++r)
            std::memset(&y[static_cast<size_t>(r) * pitchY], value, static_cast<size_t>(w));
    }
    void SetChroma(unsigned char valueU, unsigned char valueV)
    {
        for (int r = 0; r < (h + 1) / 2; ++r) {
            std::memset(&u[static_cast<size_t>(r) * pitchC], valueU, static_cast<size_t>((w + 1) / 2));
            std::memset(&v[static_cast<size_t>(r) * pitchC], valueV, static_cast<size_t>((w + 1) / 2));
        }
    }
    // Every sample of the area equals `value` and every padding byte `pad`.
    static void ExpectPlane(const Bytes& p, int pitch, int width, int rows, int value, int pad, const char* name)
    {
        for (int r = 0; r < rows; ++r)
            for (int x = 0; x < pitch; ++x)
                EXPECT_EQ(x < width ? value : pad, p[static_cast<size_t>(r) * pitch + x])
                    << name << " " << x << "," << r;
    }
    void Expect(int valueY, int valueU, int valueV, int pad)
    {
        ExpectPlane(y, pitchY, w, h, valueY, pad, "Y");
        ExpectPlane(u, pitchC, (w + 1) / 2, (h + 1) / 2, valueU, pad, "U");
        ExpectPlane(v, pitchC, (w + 1) / 2, (h + 1) / 2, valueV, pad, "V");
    }
};

// One luma and one chroma value through a single adjustment.
struct Case {
    int setting;
    int in;
    int out;
};

} // namespace

TEST(AdjustBrightness, ShiftsLumaOnlyWithinVideoRange)
{
    const Case cases[] = {{100, 200, 235}, {-100, 50, 16}, {10, 100, 110}, {-20, 100, 80}, {0, 10, 16}};
    for (const Case& c : cases) {
        Planes p(5, 3, 2, 1, 0xEE);
        p.SetLuma(static_cast<unsigned char>(c.in));
        p.SetChroma(60, 200);
        AdjustBrightness(p.y.data(), p.u.data(), p.v.data(), p.pitchY, p.pitchC, p.pitchC, p.w, p.h, c.setting);
        SCOPED_TRACE(c.setting);
        p.Expect(c.out, 60, 200, 0xEE);
    }
}

TEST(AdjustContrast, ScalesAboutMidGreyTruncatingTowardZero)
{
    struct Both {
        int setting, inY, outY, inC, outC;
    };
    const Both cases[] = {
        {100, 200, 235, 100, 72},  // (72 x 100) / 100 + 200 = 272, clamped; chroma (-28) + 100
        {-100, 200, 128, 30, 128}, // everything becomes 128
        {50, 100, 86, 101, 88},    // (-27 x 50) / 100 = -13 (toward zero, not -14) + 101
        {100, 20, 16, 250, 240},   // clamps: luma 16, chroma 240
    };
    for (const Both& c : cases) {
        Planes p(5, 3, 2, 1, 0xEE);
        p.SetLuma(static_cast<unsigned char>(c.inY));
        p.SetChroma(static_cast<unsigned char>(c.inC), static_cast<unsigned char>(c.inC));
        AdjustContrast(p.y.data(), p.u.data(), p.v.data(), p.pitchY, p.pitchC, p.pitchC, p.w, p.h, c.setting);
        SCOPED_TRACE(c.setting);
        p.Expect(c.outY, c.outC, c.outC, 0xEE);
    }
}

TEST(AdjustContrast, WalksVWithTheUPitch)
{
    // nPitchV is not read: a wrong one changes nothing.
    Planes p(4, 4, 0, 1, 0xEE);
    p.SetLuma(128);
    p.SetChroma(100, 100);
    AdjustContrast(p.y.data(), p.u.data(), p.v.data(), p.pitchY, p.pitchC, 1000, p.w, p.h, 100);
    p.Expect(128, 72, 72, 0xEE);
}

TEST(AdjustSaturation, PositiveCountsThreeTimes)
{
    const Case cases[] = {
        {50, 138, 153},   // index 450: (10 x 150) / 100 + 138
        {100, 138, 168},  // index 600: factor 4
        {-100, 200, 128}, // index 200: grey
        {-50, 100, 114},  // index 250: (-28 x -50) / 100 + 100
        {100, 200, 240},  // clamped
    };
    for (const Case& c : cases) {
        Planes p(3, 3, 1, 2, 0xEE);
        p.SetLuma(77);
        p.SetChroma(static_cast<unsigned char>(c.in), static_cast<unsigned char>(c.in));
        AdjustSaturation(p.y.data(), p.u.data(), p.v.data(), p.pitchY, p.pitchC, 0, p.w, p.h, c.setting);
        SCOPED_TRACE(c.setting);
        p.Expect(77, c.out, c.out, 0xEE);
    }
}

TEST(AdjustImage, AppliesBrightnessBeforeContrast)
{
    // Brightness first: 100 -> 150 -> (22 x 100) / 100 + 150 = 172. The other
    // order would give 100 -> 72 -> 122.
    Planes p(2, 2, 0, 0, 0);
    p.SetLuma(100);
    p.SetChroma(138, 138);
    AdjustImage(p.y.data(), p.u.data(), p.v.data(), 2, 1, 1, 2, 2, 50, 100, 50);
    // Chroma: contrast 138 -> 148, then saturation +50: (20 x 150) / 100 + 148 = 178.
    p.Expect(172, 178, 178, 0);
}

TEST(AdjustImage, FrameFormUsesPackedPitchesAndZeroChangesNothing)
{
    MEDIA_FRAME* f = CreateYV12Frame(5, 3, 1, 1);
    ASSERT_NE(nullptr, f);
    // Misleading pitch fields are not read.
    f->nPitchY = 64;
    f->nPitchU = f->nPitchV = 64;
    const size_t luma = 15, chroma = 6;
    const Bytes before(f->pY, f->pY + luma + 2 * chroma + luma);
    AdjustImage(f, 0, 0, 0);
    EXPECT_EQ(before, Bytes(f->pY, f->pY + before.size()));

    AdjustImage(f, 100, 0, 0);
    for (size_t i = 0; i < luma; ++i)
        EXPECT_EQ(116, f->pY[i]); // 16 + 100
    for (size_t i = 0; i < chroma; ++i) {
        EXPECT_EQ(128, f->pU[i]);
        EXPECT_EQ(128, f->pV[i]);
    }
    for (size_t i = 0; i < luma; ++i)
        EXPECT_EQ(255, f->pAlpha[i]);
    AdjustImage(nullptr, 10, 10, 10);
    ReleaseYV12Frame(f);
}

TEST(AdjustImage, SettingsOutsideTheRangeAreTakenAsItsEnds)
{
    Planes p(2, 2, 0, 0, 0);
    p.SetLuma(200);
    p.SetChroma(138, 138);
    AdjustImage(p.y.data(), p.u.data(), p.v.data(), 2, 1, 1, 2, 2, 0, 0, 500);
    p.Expect(200, 168, 168, 0);
    AdjustBrightness(p.y.data(), nullptr, nullptr, 2, 1, 1, 2, 2, -1000);
    p.Expect(100, 168, 168, 0);
}
