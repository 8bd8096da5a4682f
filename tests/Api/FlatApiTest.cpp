// The flat API drives the stages: crop, sub-pictures, volume and fades
// reach the stage, and destroying a stage leaves the host's decoder alive.
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include <unistd.h>

#include <DataProcess/DataProcess.h>

#include "SyntheticAudioSource.h"
#include "SyntheticVideoSource.h"

namespace {

const SyntheticVideoConfig kClip = [] { SyntheticVideoConfig c; c.width = 64, c.height = 48; return c; }();
const RESIZE_PARAM kBox = {64, 48, IMAGE_INTERPOLATION_BILINEAR, IMAGE_RESIZE_LETTERBOX};
const tagRECT kStrip = {0, 16, 64, 32}; // wide: letterboxed into the 4:3 frame, bars above and below
const tagRECT kInner = {8, 8, 40, 24};

class FlatVideoHandle : public ::testing::Test {
protected:
    ~FlatVideoHandle() override { PCVideoDestroy(handle); }
    SyntheticVideoSource source{kClip};
    VideoDecoder* handle = PCVideoCreate(&source, &kBox, 0.0);
};

TEST_F(FlatVideoHandle, CropRectLetterboxes)
{
    PCSetCropRect(handle, &kStrip);
    const MEDIA_FRAME* f = PCGetVideoFrame(handle);
    ASSERT_EQ(f->nWidth, 64);
    ASSERT_EQ(f->nHeight, 48);
    auto row = [f](int y) { return std::vector<unsigned char>(f->pY + y * f->nPitchY, f->pY + y * f->nPitchY + 64); };
    const std::vector<unsigned char> black(64, 16);
    EXPECT_EQ(row(0), black) << "top bar";
    EXPECT_EQ(row(47), black) << "bottom bar";
    EXPECT_NE(row(24), black) << "picture";
}

TEST_F(FlatVideoHandle, SubPicturesGoDownToTheHostDecoder)
{
    unsigned char record[64] = {};
    PCSetUserSubPicture(handle, reinterpret_cast<tagUserSubPic*>(record), 0);
    EXPECT_EQ(source.LastExCode(), 8888u);
    EXPECT_EQ(source.LastExParam1(), reinterpret_cast<uintptr_t>(record));
    PCSetSubPicEx(handle, reinterpret_cast<tagUserSubPicEx*>(record + 8), 0);
    EXPECT_EQ(source.LastExCode(), 8889u);
    EXPECT_EQ(source.LastExParam1(), reinterpret_cast<uintptr_t>(record + 8));
}

// Two seconds of 44.1 kHz stereo ramps in 50 ms blocks: block 10 starts at
// 0.5 s exactly.
const SyntheticAudioConfig kRamp = [] {
    SyntheticAudioConfig c;
    c.totalFrames = 44100 * 2, c.blockFrames = {2205}, c.waveform = SyntheticAudioConfig::Ramp;
    return c;
}();

// Every sample of a pass-through block is the source's scaled by `volume`
// percent.
void ExpectScaled(const SyntheticAudioSource& src, const MEDIA_FRAME* f, int64_t firstFrame, int volume)
{
    ASSERT_NE(f, nullptr);
    const auto* s = reinterpret_cast<const int16_t*>(f->pData);
    for (int i = 0; i < f->nDataSize / 2; ++i)
        ASSERT_EQ(s[i], src.Sample(firstFrame + i / 2, i % 2) * volume / 100) << "sample " << i;
}

TEST(FlatAudio, VolumeAndFadesReachTheStage)
{
    SyntheticAudioSource src(kRamp);
    AudioDecoder* h = PCAudioCreate(&src, 0, 0, 0, 0);
    ASSERT_NE(h, nullptr);
    PCSetVolum(h, 50);
    ExpectScaled(src, PCGetNextAudioFrame(h), 0, 50);
    // A one-second fade-in from 0: the block at 0.5 s gets half the volume.
    PCSetVolum(h, 100);
    PCSetFadeInOutTime(h, 0.0, 1.0, 0.0, 0.0);
    PCAudioSeek(h, 0.5);
    ExpectScaled(src, PCGetNextAudioFrame(h), 22050, 50);
    // A two-second fade-out from 1 s: at 1.5 s three quarters of the volume.
    PCSetFadeInOutTime(h, 0.0, 0.0, 1.0, 2.0);
    PCAudioSeek(h, 1.5);
    ExpectScaled(src, PCGetNextAudioFrame(h), 66150, 75);
    PCAudioDestroy(h);
}

} // namespace
