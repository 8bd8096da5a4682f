#include <gtest/gtest.h>

#include <cstring>
#include <vector>

#include "Frame.h"

namespace {

struct FrameDeleter {
    void operator()(MEDIA_FRAME* f) const { ReleaseYV12Frame(f); }
};
using FramePtr = std::unique_ptr<MEDIA_FRAME, FrameDeleter>;

bool AllEqual(const unsigned char* p, size_t n, unsigned char v)
{
    for (size_t i = 0; i < n; ++i)
        if (p[i] != v)
            return false;
    return true;
}

TEST(YV12Frame, LayoutOfOddSizeFollowsPlaneOrderYVUAlpha)
{
    FramePtr f(CreateYV12Frame(5, 3, 1, 1));
    ASSERT_TRUE(f);
    EXPECT_EQ(f->nFrameType, 2);
    EXPECT_EQ(f->nParam1, 1);
    EXPECT_EQ(f->nParam2, 2);
    EXPECT_EQ(f->nWidth, 5);
    EXPECT_EQ(f->nHeight, 3);
    EXPECT_EQ(f->nPitchY, 5);
    EXPECT_EQ(f->nPitchU, 3);
    EXPECT_EQ(f->nPitchV, 3);
    // L = 15, C = 3 * 2 = 6: Y, then V, then U, then alpha.
    EXPECT_EQ(f->pV, f->pY + 15);
    EXPECT_EQ(f->pU, f->pV + 6);
    EXPECT_EQ(f->pAlpha, f->pU + 6);
    EXPECT_TRUE(AllEqual(f->pY, 15, 16));
    EXPECT_TRUE(AllEqual(f->pV, 6, 128));
    EXPECT_TRUE(AllEqual(f->pU, 6, 128));
    EXPECT_TRUE(AllEqual(f->pAlpha, 15, 255));
    EXPECT_EQ(f->llStartTime, -1);
    EXPECT_EQ(f->llStopTime, -1);
    EXPECT_EQ(f->nDuration, 0);
    EXPECT_EQ(f->nReserved1, 0);
    EXPECT_EQ(f->nReserved2, 0);
}

// A frame of any pitches over caller-owned planes, as a host decoder hands in.
struct HostFrame {
    MEDIA_FRAME f{};
    std::vector<unsigned char> y, u, v, a;
    HostFrame(int w, int h, int pitchY, int pitchC, bool alpha)
    {
        const int ch = (h + 1) / 2;
        y.assign(static_cast<size_t>(pitchY) * h, 0);
        u.assign(static_cast<size_t>(pitchC) * ch, 0);
        v.assign(static_cast<size_t>(pitchC) * ch, 0);
        f.nFrameType = 2;
        f.nWidth = w;
        f.nHeight = h;
        f.nPitchY = pitchY;
        f.nPitchU = f.nPitchV = pitchC;
        f.pY = y.data();
        f.pU = u.data();
        f.pV = v.data();
        if (alpha) {
            a.assign(y.size(), 0);
            f.pAlpha = a.data();
        }
        for (size_t i = 0; i < y.size(); ++i)
            y[i] = static_cast<unsigned char>(i);
        for (size_t i = 0; i < u.size(); ++i) {
            u[i] = static_cast<unsigned char>(100 + i);
            v[i] = static_cast<unsigned char>(200 + i);
        }
        for (size_t i = 0; i < a.size(); ++i)
            a[i] = static_cast<unsigned char>(50 + i);
    }
};

TEST(CopyVideoFrame, EqualPitchesCopyWholePlanesAndTimesOnlyOnRequest)
{
    FramePtr src(CreateYV12Frame(7, 3, 0, 1));
    for (int i = 0; i < 21; ++i)
        src->pY[i] = static_cast<unsigned char>(i * 3);
    src->pU[5] = 7;
    src->pV[0] = 9;
    src->llStartTime = 55;
    FramePtr dst(CreateYV12Frame(7, 3, 1, 1));
    CopyVideoFrame(dst.get(), src.get(), 0);
    EXPECT_EQ(0, std::memcmp(dst->pY, src->pY, 21));
    EXPECT_EQ(dst->pU[5], 7);
    EXPECT_EQ(dst->pV[0], 9);
    EXPECT_EQ(dst->llStartTime, -1);
    // No alpha in the source: the destination's alpha stays opaque.
    EXPECT_TRUE(AllEqual(dst->pAlpha, 21, 255));
    CopyVideoFrame(nullptr, src.get(), 1);
    CopyVideoFrame(dst.get(), nullptr, 1);
}

} // namespace
