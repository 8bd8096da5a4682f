// The flat API drives the stages: each PC setter reaches its member (the
// picture a stage makes through the flat call equals the one its member
// makes), the PE functions make the two even-timing stages, and destroying
// a stage leaves the host's decoder alive.
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

// Width, height and the three planes of a picture, rows packed.
std::vector<int> Take(const MEDIA_FRAME* f)
{
    if (!f)
        return {};
    std::vector<int> p{f->nWidth, f->nHeight};
    for (int i = 0, sub = 0; i < 3; ++i, sub = 1) {
        const unsigned char* plane = i == 0 ? f->pY : i == 1 ? f->pU : f->pV;
        const int pitch = i == 0 ? f->nPitchY : i == 1 ? f->nPitchU : f->nPitchV;
        for (int r = 0; r < (f->nHeight + sub) >> sub; ++r)
            p.insert(p.end(), plane + ptrdiff_t(r) * pitch, plane + ptrdiff_t(r) * pitch + ((f->nWidth + sub) >> sub));
    }
    return p;
}

const SyntheticVideoConfig kClip = [] { SyntheticVideoConfig c; c.width = 64, c.height = 48; return c; }();
const RESIZE_PARAM kBox = {64, 48, IMAGE_INTERPOLATION_BILINEAR, IMAGE_RESIZE_LETTERBOX};
const tagRECT kStrip = {0, 16, 64, 32}; // wide: letterboxed into the 4:3 frame, bars above and below
const tagRECT kInner = {8, 8, 40, 24};
tagRECT where = {4, 4, 20, 12};
tagFRECT userWhere = {0.5f, 0.5f, 0.75f, 0.75f};

// One-colour 32-bit bottom-up bitmaps, pixels as 0xAARRGGBB: the 40-byte
// header followed by the pixels, as the watermark setters take them with
// null bits.
std::vector<uint32_t> Bitmap32(int w, int h, uint32_t argb)
{
    std::vector<uint32_t> block(10 + size_t(w) * h, argb);
    const tagBITMAPINFOHEADER hdr = {40, w, h, 1, 32, 0, 0, 0, 0, 0, 0};
    std::memcpy(block.data(), &hdr, sizeof(hdr));
    return block;
}
tagBITMAPINFO* Logo(bool red)
{
    static std::vector<uint32_t> logos[2] = {Bitmap32(8, 8, 0xC80000FF), Bitmap32(16, 8, 0xFFFF0000)};
    return reinterpret_cast<tagBITMAPINFO*>(logos[red].data());
}

// Each row makes one setting through the flat call and through the member;
// the two pictures must match, and differ from the untouched one unless
// the stage leaves the picture as it is.
TEST(FlatVideo, EverySetterReachesItsMember)
{
    using V = VideoProcess*;
    struct {
        const char* name;
        void (*flat)(V), (*member)(V);
        bool changes = true;
    } const settings[] = {
        {"brightness", [](V v) { PCSetVideoBrightness(v, 30); }, [](V v) { v->SetBrightness(30); }},
        {"contrast", [](V v) { PCSetContrast(v, -40); }, [](V v) { v->SetContrast(-40); }},
        {"saturation", [](V v) { PCSetVideoSaturation(v, -100); }, [](V v) { v->SetSaturation(-100); }},
        {"filter", [](V v) { PCSetExFilterFlag(v, 4); }, [](V v) { v->SetExFilterFlag(4); }},
        {"flip", [](V v) { PCSetFlipFlag(v, 1); }, [](V v) { v->SetFlipFlag(1); }},
        {"deinterlace", [](V v) { PCSetVideoDeintelace(v, DEINTERLACE_BLEND_ODD); },
         [](V v) { v->SetDeintelace(DEINTERLACE_BLEND_ODD); }},
        {"quarter turn", [](V v) { PCSetRotation(v, 90, 0); }, [](V v) { v->SetRotation(90, 0, 0); }},
        // Kept deliberately: a half turn is not made, the picture stays upright.
        {"half turn", [](V v) { PCSetRotation(v, 180, 0); }, [](V v) { v->SetRotation(180, 0, 0); }, false},
        {"crop", [](V v) { PCSetCropRect(v, &kStrip); }, [](V v) { v->SetCropRect(&kStrip, IMAGE_RESIZE_LETTERBOX); }},
        {"crop, stretched", [](V v) { PCSetCropRectEx(v, &kInner, IMAGE_RESIZE_STRETCH); },
         [](V v) { v->SetCropRect(&kInner, IMAGE_RESIZE_STRETCH); }},
        {"watermark", [](V v) { PCSetWatermarkImage(v, Logo(true), nullptr, &where, 80); },
         [](V v) { v->SetWatermarkImage(Logo(true), nullptr, &where, 80); }},
        {"watermark by alignment", [](V v) { PCSetWatermarkImageAlign(v, Logo(true), nullptr, 3, 60); },
         [](V v) { v->SetWatermarkImageAlign(Logo(true), nullptr, 3, 60); }},
        {"user watermark", [](V v) { PCSetUserWatermarkImage(v, Logo(false), nullptr, &userWhere, 90); },
         [](V v) { v->SetUserWatermarkImage(Logo(false), nullptr, &userWhere, 90); }},
        {"watermark hidden",
         [](V v) { v->SetWatermarkImage(Logo(true), nullptr, &where, 80), PCDisableWatermark(v, 1); },
         [](V v) { v->SetWatermarkImage(Logo(true), nullptr, &where, 80), v->DisableWatermark(1); }, false},
        // Kept deliberately: watermarks by source id are accepted and ignored.
        {"watermarks by source id",
         [](V v) { PCSetWatermarkSrcID(v, &where, L"a", &where, 1), PCSetWatermarkSrcIDAlign(v, &where, L"b", 9, 1); },
         [](V v) { v->SetWatermarkSrcID(&where, L"a", &where, 1), v->SetWatermarkSrcIDAlign(&where, L"b", 9, 1); },
         false},
    };
    SyntheticVideoSource source(kClip);
    const std::vector<int> plain = Take(VideoProcess(&source, &kBox, 0.0).GetFrame());
    for (const auto& s : settings) {
        SCOPED_TRACE(s.name);
        SyntheticVideoSource a(kClip), b(kClip);
        VideoProcess flat(&a, &kBox, 0.0), member(&b, &kBox, 0.0);
        s.flat(&flat);
        s.member(&member);
        const std::vector<int> viaFlat = Take(PCGetVideoFrame(&flat));
        EXPECT_EQ(viaFlat, Take(member.GetFrame()));
        EXPECT_EQ(viaFlat == plain, !s.changes);
    }
}

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

TEST_F(FlatVideoHandle, SeekMovesTheStage)
{
    // The seek's answer is dropped, but the stage moves: the constant-rate
    // stage pre-rolls the source half a second and stamps the grid time.
    PCVideoSeek(handle, 1.0, 0);
    EXPECT_EQ(source.SeekCalls(), 1);
    EXPECT_DOUBLE_EQ(source.LastSeekTime(), 0.5);
    EXPECT_EQ(PCGetVideoFrame(handle)->llStartTime, 10000000);
    EXPECT_EQ(PCVideoForward(handle, 1), 1);
    EXPECT_EQ(PCGetVideoFrame(handle)->llStartTime, 10400000);
}

TEST_F(FlatVideoHandle, CaptureSavesTheProcessedPicture)
{
    namespace fs = std::filesystem;
    const std::string base = ::testing::TempDir() + "dp_flat_capture_" + std::to_string(::getpid());
    std::wstring bmp(base.begin(), base.end()), jpg = bmp + L".jpg";
    bmp += L".bmp";
    PCSetRotation(handle, 90, 0); // the output frame stays 64 x 48
    EXPECT_EQ(PCCaptureImage(handle, &bmp[0], 0, 0), 1);
    EXPECT_EQ(fs::file_size(base + ".bmp"), 14u + 40 + 64 * 3 * 48);
    EXPECT_EQ(PCCaptureImage(handle, &jpg[0], 1, 0), 1);
    EXPECT_GT(fs::file_size(base + ".jpg"), 0u);
    EXPECT_FALSE(fs::exists(base + "tmp.bmp")) << "the temporary bitmap is removed";
    fs::remove(base + ".bmp");
    fs::remove(base + ".jpg");
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
    // A fade-out over the last second: at 1.5 s half the volume again.
    PCSetFadeInOutTime(h, 0.0, 0.0, 1.0, 1.0);
    PCAudioSeek(h, 1.5);
    ExpectScaled(src, PCGetNextAudioFrame(h), 66150, 50);
    PCAudioDestroy(h);
}

// Both handles made with a conversion stage in front: destroying them
// leaves the host's decoders where they were, open and usable.
TEST(FlatApi, DestroyLeavesTheDecodersAlive)
{
    SyntheticVideoSource video(kClip);
    SyntheticAudioSource audio(kRamp);
    VideoDecoder* v = PCVideoCreate(&video, &kBox, 30.0); // with an inserted constant-rate stage
    AudioDecoder* a = PCAudioCreate(&audio, 48000, 1, 16, 1); // with a timeline stage in front
    ASSERT_TRUE(v && a);
    PCSetExFilterFlag(v, 1);
    ASSERT_NE(PCGetVideoFrame(v), nullptr);
    PCVideoForward(v, 5);
    EXPECT_TRUE(PCGetAudioInfo(a)->nSampleRate == 48000 && PCGetAudioInfo(a)->nChannels == 1);
    ASSERT_NE(PCGetNextAudioFrame(a), nullptr);
    const int at = video.CurrentIndex();
    const int64_t next = audio.NextBlock();
    PCVideoDestroy(v);
    PCAudioDestroy(a);
    EXPECT_EQ(video.CurrentIndex(), at);
    EXPECT_EQ(video.Forward(1), 1);
    EXPECT_NE(video.GetFrame(), nullptr);
    EXPECT_EQ(audio.CloseCalls(), 0);
    ASSERT_NE(audio.GetNextFrame(), nullptr);
    EXPECT_EQ(audio.NextBlock(), next + 1);
}

// The PE functions make the even-timing stages, decoders of other kinds:
// the interface calls work on them as on any decoder.
TEST(FlatApi, PECreateFunctions)
{
    EXPECT_EQ(PEVideoCreate(nullptr, 50.0), nullptr);
    EXPECT_EQ(PEAudioCreate(nullptr), nullptr);
    PEVideoDestroy(nullptr);
    PEAudioDestroy(nullptr);
    SyntheticVideoSource video(kClip);
    SyntheticAudioSource audio(kRamp);
    VideoDecoder* v = PEVideoCreate(&video, 50.0);
    AudioDecoder* a = PEAudioCreate(&audio);
    ASSERT_TRUE(v && a);
    EXPECT_DOUBLE_EQ(PCGetVideoInfo(v)->dFrameRate, 50.0);
    EXPECT_EQ(PCVideoForward(v, 20), 20);
    EXPECT_NEAR(video.CurrentIndex(), 10, 1) << "twice the source's rate: a new source picture every second step";
    EXPECT_NE(PCGetNextAudioFrame(a), nullptr);
    PEVideoDestroy(v);
    PEAudioDestroy(a);
    EXPECT_EQ(video.Forward(1), 1) << "the sources are the host's and stay usable";
    EXPECT_NE(audio.GetNextFrame(), nullptr);
}

} // namespace
