// The flat API drives the stages: every call reaches its member with its
// arguments; sub-pictures go down to the host decoder.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <vector>

#include <DataProcess/DataProcess.h>

#include "../Video/VideoTestSupport.h"
#include "SyntheticAudioSource.h"
#include "SyntheticVideoSource.h"
#include "VideoProcess.h"

namespace {

const SyntheticVideoConfig kClip = [] { SyntheticVideoConfig c; c.width = 64, c.height = 48, c.frameCount = 50; return c; }();
const RESIZE_PARAM kBox = {64, 48, IMAGE_INTERPOLATION_BILINEAR, IMAGE_RESIZE_LETTERBOX};

TEST(FlatVideo, SubPicturesGoDownToTheHostDecoder)
{
    SyntheticVideoSource source(kClip);
    VideoDecoder* handle = PCVideoCreate(&source, &kBox, 0.0);
    unsigned char record[64] = {};
    PCSetUserSubPicture(handle, reinterpret_cast<tagUserSubPic*>(record), 0);
    EXPECT_EQ(source.LastExCode(), 8888u);
    EXPECT_EQ(source.LastExParam1(), reinterpret_cast<uintptr_t>(record));
    PCSetSubPicEx(handle, reinterpret_cast<tagUserSubPicEx*>(record + 8), 0);
    EXPECT_EQ(source.LastExCode(), 8889u);
    EXPECT_EQ(source.LastExParam1(), reinterpret_cast<uintptr_t>(record + 8));
    PCVideoDestroy(handle);
}

// Every call through the flat API gives, picture for picture, what the same
// member called on a stage gives, and (but for a hidden watermark) a picture
// unlike the untouched one: a setter reaching another member, losing or
// swapping an argument, or dropped, shows.
TEST(FlatVideo, EveryCallActsAsItsMember)
{
    std::vector<unsigned char> mark = Bitmap32(16, 8, [](int x, int) { return Bgra{40, 200, 90, uint8_t(x * 16)}; });
    tagRECT rect = {4, 4, 20, 12}, crop = {8, 8, 40, 24}, strip = {0, 16, 64, 32};
    tagFRECT frect = {0.5f, 0.5f, 0.9f, 0.8f};
    using Api = std::function<void(VideoDecoder*)>;
    using Member = std::function<void(VideoProcess*)>;
    const struct {
        const char* name;
        Api api;
        Member member;
        double rate = 0.0;
        bool changes = true;
    } cases[] = {
        {"brightness", [](VideoDecoder* h) { PCSetVideoBrightness(h, 40); }, [](VideoProcess* v) { v->SetBrightness(40); }},
        {"contrast", [](VideoDecoder* h) { PCSetContrast(h, 40); }, [](VideoProcess* v) { v->SetContrast(40); }},
        {"saturation", [](VideoDecoder* h) { PCSetVideoSaturation(h, -60); }, [](VideoProcess* v) { v->SetSaturation(-60); }},
        {"filter", [](VideoDecoder* h) { PCSetExFilterFlag(h, 1); }, [](VideoProcess* v) { v->SetExFilterFlag(1); }},
        {"flip", [](VideoDecoder* h) { PCSetFlipFlag(h, 2); }, [](VideoProcess* v) { v->SetFlipFlag(2); }},
        {"deinterlace", [](VideoDecoder* h) { PCSetVideoDeintelace(h, DEINTERLACE_BLEND_ODD); },
         [](VideoProcess* v) { v->SetDeintelace(DEINTERLACE_BLEND_ODD); }},
        {"rotation", [](VideoDecoder* h) { PCSetRotation(h, 90, 0); }, [](VideoProcess* v) { v->SetRotation(90, 0, 0); }},
        {"crop letterboxed", [&](VideoDecoder* h) { PCSetCropRect(h, &strip); },
         [&](VideoProcess* v) { v->SetCropRect(&strip, IMAGE_RESIZE_LETTERBOX); }},
        {"crop", [&](VideoDecoder* h) { PCSetCropRectEx(h, &crop, IMAGE_RESIZE_STRETCH); },
         [&](VideoProcess* v) { v->SetCropRect(&crop, IMAGE_RESIZE_STRETCH); }},
        {"watermark", [&](VideoDecoder* h) { PCSetWatermarkImage(h, Info(mark), nullptr, &rect, 50); },
         [&](VideoProcess* v) { v->SetWatermarkImage(Info(mark), nullptr, &rect, 50); }},
        {"watermark align", [&](VideoDecoder* h) { PCSetWatermarkImageAlign(h, Info(mark), nullptr, 1, 60); },
         [&](VideoProcess* v) { v->SetWatermarkImageAlign(Info(mark), nullptr, 1, 60); }},
        {"watermark hidden",
         [&](VideoDecoder* h) { PCSetWatermarkImageAlign(h, Info(mark), nullptr, 1, 60), PCDisableWatermark(h, 1); },
         [&](VideoProcess* v) { v->SetWatermarkImageAlign(Info(mark), nullptr, 1, 60), v->DisableWatermark(1); }, 0.0,
         false},
        {"user watermark", [&](VideoDecoder* h) { PCSetUserWatermarkImage(h, Info(mark), nullptr, &frect, 40); },
         [&](VideoProcess* v) { v->SetUserWatermarkImage(Info(mark), nullptr, &frect, 40); }},
        {"seek", [](VideoDecoder* h) { PCVideoSeek(h, 1.0, 0); }, [](VideoProcess* v) { v->VideoSeekTime(1.0, 0); }},
        {"rate", [](VideoDecoder*) {}, [](VideoProcess*) {}, 12.5},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        SyntheticVideoSource plain(kClip), viaApi(kClip), direct(kClip);
        VideoProcess untouched(&plain, &kBox, 0.0), member(&direct, &kBox, c.rate);
        VideoDecoder* h = PCVideoCreate(&viaApi, &kBox, c.rate);
        c.api(h);
        c.member(&member);
        EXPECT_EQ(Planes(PCGetVideoFrame(h)), Planes(member.GetFrame()));
        // Three steps on: the rate decides which source picture shows.
        EXPECT_EQ(PCVideoForward(h, 3), member.Forward(3));
        EXPECT_EQ(untouched.Forward(3), 3);
        const std::vector<unsigned char> got = Planes(PCGetVideoFrame(h));
        EXPECT_EQ(got, Planes(member.GetFrame()));
        EXPECT_EQ(got != Planes(untouched.GetFrame()), c.changes);
        PCVideoDestroy(h);
    }
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

// Volume, fades, seeks and the output format reach the audio stage: the
// block at 0.5 s of a one-second fade-in from 0 has half the volume, at 1.5 s
// of a two-second fade-out from 1 s three quarters.
TEST(FlatAudio, VolumeFadesAndFormatReachTheStage)
{
    const struct {
        int volume;
        double fade[4], at;
        int percent;
    } cases[] = {{50, {0, 0, 0, 0}, 0.0, 50}, {100, {0, 1, 0, 0}, 0.5, 50}, {100, {0, 0, 1, 2}, 1.5, 75}};
    for (const auto& c : cases) {
        SyntheticAudioSource src(kRamp);
        AudioDecoder* h = PCAudioCreate(&src, 0, 0, 0, 0);
        PCSetVolum(h, c.volume);
        PCSetFadeInOutTime(h, c.fade[0], c.fade[1], c.fade[2], c.fade[3]);
        PCAudioSeek(h, c.at);
        ExpectScaled(src, PCGetNextAudioFrame(h), std::llround(c.at * 44100), c.percent);
        PCAudioDestroy(h);
    }
    SyntheticAudioSource src(kRamp);
    AudioDecoder* h = PCAudioCreate(&src, 22050, 1, 16, 0);
    EXPECT_EQ(PCGetAudioInfo(h)->nSampleRate * 10 + PCGetAudioInfo(h)->nChannels, 220501);
    PCAudioDestroy(h);
}

} // namespace
