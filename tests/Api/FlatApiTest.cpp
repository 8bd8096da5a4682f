// The flat API drives the stages: each PC function reaches its member (the
// picture a stage makes through the flat call equals the one its member
// makes, and differs from the untouched picture), the virtual ones work on
// any decoder, and destroying a stage leaves the host's decoder alive.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>
#include <functional>
#include <string>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

#include <DataProcess/DataProcess.h>

#include "SyntheticAudioSource.h"
#include "SyntheticVideoSource.h"

namespace {

// The three planes of a picture, rows packed.
struct Picture {
    int width = 0;
    int height = 0;
    std::vector<unsigned char> y, u, v;
    bool operator==(const Picture& o) const
    {
        return width == o.width && height == o.height && y == o.y && u == o.u && v == o.v;
    }
};

void AppendPlane(std::vector<unsigned char>* out, const unsigned char* p, int pitch, int w, int h)
{
    for (int r = 0; r < h; ++r)
        out->insert(out->end(), p + static_cast<ptrdiff_t>(r) * pitch, p + static_cast<ptrdiff_t>(r) * pitch + w);
}

Picture Take(const MEDIA_FRAME* f)
{
    Picture p;
    if (!f)
        return p;
    p.width = f->nWidth;
    p.height = f->nHeight;
    AppendPlane(&p.y, f->pY, f->nPitchY, f->nWidth, f->nHeight);
    AppendPlane(&p.u, f->pU, f->nPitchU, (f->nWidth + 1) / 2, (f->nHeight + 1) / 2);
    AppendPlane(&p.v, f->pV, f->nPitchV, (f->nWidth + 1) / 2, (f->nHeight + 1) / 2);
    return p;
}

SyntheticVideoConfig Clip()
{
    SyntheticVideoConfig c;
    c.width = 64;
    c.height = 48;
    c.frameRate = 25.0;
    c.frameCount = 50;
    return c;
}

// A 32-bit bottom-up bitmap in one colour: the 40-byte header followed by
// the pixels, as the watermark setters take it with null bits.
std::vector<unsigned char> Bitmap32(int w, int h, unsigned char b, unsigned char g, unsigned char r,
                                    unsigned char a)
{
    std::vector<unsigned char> block(40 + static_cast<size_t>(w) * h * 4);
    tagBITMAPINFOHEADER hdr = {};
    hdr.biSize = 40;
    hdr.biWidth = w;
    hdr.biHeight = h;
    hdr.biPlanes = 1;
    hdr.biBitCount = 32;
    std::memcpy(block.data(), &hdr, sizeof(hdr));
    for (size_t i = 40; i < block.size(); i += 4) {
        block[i] = b;
        block[i + 1] = g;
        block[i + 2] = r;
        block[i + 3] = a;
    }
    return block;
}

tagBITMAPINFO* Info(std::vector<unsigned char>& block) { return reinterpret_cast<tagBITMAPINFO*>(block.data()); }

const RESIZE_PARAM kBox = {64, 48, IMAGE_INTERPOLATION_BILINEAR, IMAGE_RESIZE_LETTERBOX};

// Two identical sources: one under a stage driven through the flat API, one
// under a stage driven through its members.
class FlatVideo : public ::testing::Test {
protected:
    FlatVideo() : flatSource(Clip()), memberSource(Clip()), member(&memberSource, &kBox, 0.0)
    {
        handle = PCVideoCreate(&flatSource, &kBox, 0.0);
    }
    ~FlatVideo() override { PCVideoDestroy(handle); }

    // The untouched picture of the same source frame.
    Picture Plain()
    {
        SyntheticVideoSource s(Clip());
        VideoProcess plain(&s, &kBox, 0.0);
        return Take(plain.GetFrame());
    }
    Picture Flat() { return Take(PCGetVideoFrame(handle)); }
    Picture Member() { return Take(member.GetFrame()); }

    SyntheticVideoSource flatSource;
    SyntheticVideoSource memberSource;
    VideoProcess member;
    VideoDecoder* handle = nullptr;
};

struct Setting {
    const char* name;
    std::function<void(VideoDecoder*)> flat;
    std::function<void(VideoProcess&)> member;
};

TEST_F(FlatVideo, PictureSettingsReachTheStage)
{
    const Setting settings[] = {
        {"brightness", [](VideoDecoder* h) { PCSetVideoBrightness(h, 30); },
         [](VideoProcess& v) { v.SetBrightness(30); }},
        {"contrast", [](VideoDecoder* h) { PCSetContrast(h, -40); }, [](VideoProcess& v) { v.SetContrast(-40); }},
        {"saturation", [](VideoDecoder* h) { PCSetVideoSaturation(h, -100); },
         [](VideoProcess& v) { v.SetSaturation(-100); }},
        {"filter", [](VideoDecoder* h) { PCSetExFilterFlag(h, 4); }, [](VideoProcess& v) { v.SetExFilterFlag(4); }},
        {"flip", [](VideoDecoder* h) { PCSetFlipFlag(h, 1); }, [](VideoProcess& v) { v.SetFlipFlag(1); }},
        {"deinterlace", [](VideoDecoder* h) { PCSetVideoDeintelace(h, DEINTERLACE_BLEND_ODD); },
         [](VideoProcess& v) { v.SetDeintelace(DEINTERLACE_BLEND_ODD); }},
        {"quarter turn", [](VideoDecoder* h) { PCSetRotation(h, 90, 0); },
         [](VideoProcess& v) { v.SetRotation(90, 0, 0); }},
        {"crop, stretched", [](VideoDecoder* h) {
             const tagRECT rc = {8, 8, 40, 24};
             PCSetCropRectEx(h, &rc, IMAGE_RESIZE_STRETCH);
         },
         [](VideoProcess& v) {
             const tagRECT rc = {8, 8, 40, 24};
             v.SetCropRect(&rc, IMAGE_RESIZE_STRETCH);
         }},
    };
    const Picture plain = Plain();
    for (const Setting& s : settings) {
        SCOPED_TRACE(s.name);
        SyntheticVideoSource a(Clip()), b(Clip());
        VideoDecoder* h = PCVideoCreate(&a, &kBox, 0.0);
        VideoProcess m(&b, &kBox, 0.0);
        s.flat(h);
        s.member(m);
        const Picture viaFlat = Take(PCGetVideoFrame(h));
        EXPECT_EQ(viaFlat, Take(m.GetFrame()));
        EXPECT_FALSE(viaFlat == plain) << "the setting changed nothing";
        PCVideoDestroy(h);
    }
}

TEST_F(FlatVideo, HalfTurnLeavesThePictureUpright)
{
    PCSetRotation(handle, 180, 0);
    EXPECT_EQ(static_cast<VideoProcess*>(handle)->GetRotation(), 0);
    EXPECT_EQ(Flat(), Plain());
    PCSetRotation(handle, 270, 0);
    EXPECT_EQ(static_cast<VideoProcess*>(handle)->GetRotation(), 270);
}

TEST_F(FlatVideo, CropRectLetterboxes)
{
    // A wide strip into the 4:3 frame: bars above and below.
    const tagRECT strip = {0, 16, 64, 32};
    PCSetCropRect(handle, &strip);
    member.SetCropRect(&strip, IMAGE_RESIZE_LETTERBOX);
    const Picture p = Flat();
    EXPECT_EQ(p, Member());
    ASSERT_EQ(p.width, 64);
    ASSERT_EQ(p.height, 48);
    const std::vector<unsigned char> blackRow(64, 16);
    EXPECT_EQ(std::vector<unsigned char>(p.y.begin(), p.y.begin() + 64), blackRow) << "top bar";
    EXPECT_EQ(std::vector<unsigned char>(p.y.end() - 64, p.y.end()), blackRow) << "bottom bar";
    EXPECT_NE(std::vector<unsigned char>(p.y.begin() + 24 * 64, p.y.begin() + 25 * 64), blackRow) << "picture";
}

TEST_F(FlatVideo, WatermarksReachTheStage)
{
    auto red = Bitmap32(16, 8, 0, 0, 255, 255);
    auto blue = Bitmap32(8, 8, 255, 0, 0, 200);
    tagRECT where = {4, 4, 20, 12};
    tagFRECT userWhere = {0.5f, 0.5f, 0.75f, 0.75f};
    const Picture plain = Plain();

    PCSetWatermarkImage(handle, Info(red), nullptr, &where, 80);
    member.SetWatermarkImage(Info(red), nullptr, &where, 80);
    EXPECT_EQ(Flat(), Member());
    EXPECT_FALSE(Flat() == plain);

    PCSetWatermarkImageAlign(handle, Info(red), nullptr, 3, 60);
    member.SetWatermarkImageAlign(Info(red), nullptr, 3, 60);
    PCSetUserWatermarkImage(handle, Info(blue), nullptr, &userWhere, 90);
    member.SetUserWatermarkImage(Info(blue), nullptr, &userWhere, 90);
    EXPECT_EQ(Flat(), Member());

    // Hiding the stage watermark leaves the user's.
    PCDisableWatermark(handle, 1);
    member.DisableWatermark(1);
    EXPECT_EQ(Flat(), Member());
    PCSetUserWatermarkImage(handle, nullptr, nullptr, &userWhere, 90);
    EXPECT_EQ(Flat(), plain);

    // Watermarks by source id are accepted and ignored.
    tagRECT rc = {0, 0, 10, 10};
    PCSetWatermarkSrcID(handle, &rc, L"logo", &rc, 1);
    PCSetWatermarkSrcIDAlign(handle, &rc, L"logo", 9, 1);
    EXPECT_EQ(Flat(), plain);
}

TEST_F(FlatVideo, SubPicturesGoDownToTheHostDecoder)
{
    unsigned char record[64] = {};
    PCSetUserSubPicture(handle, reinterpret_cast<tagUserSubPic*>(record), 0);
    EXPECT_EQ(flatSource.LastExCode(), 8888u);
    EXPECT_EQ(flatSource.LastExParam1(), reinterpret_cast<uintptr_t>(record));
    PCSetSubPicEx(handle, reinterpret_cast<tagUserSubPicEx*>(record + 8), 0);
    EXPECT_EQ(flatSource.LastExCode(), 8889u);
    EXPECT_EQ(flatSource.LastExParam1(), reinterpret_cast<uintptr_t>(record + 8));
}

TEST_F(FlatVideo, ReadingThroughTheHandle)
{
    const VideoInfo* info = PCGetVideoInfo(handle);
    ASSERT_NE(info, nullptr);
    EXPECT_EQ(info->nWidth, 64);
    EXPECT_EQ(info->nHeight, 48);
    EXPECT_DOUBLE_EQ(info->dFrameRate, 25.0);

    const MEDIA_FRAME* first = PCGetVideoFrame(handle);
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(first->llStartTime, 0);
    EXPECT_EQ(PCVideoForward(handle, 3), 3);
    // The constant-rate stage stops at the first source picture whose stop
    // time reaches the grid time 0.12 s: picture 2, which ends there.
    EXPECT_EQ(flatSource.CurrentIndex(), 2);
    EXPECT_EQ(PCGetVideoFrame(handle)->llStartTime, 3 * 400000);

    // The seek's answer is dropped, but the stage moves: the constant-rate
    // stage pre-rolls the source half a second and stamps the grid time.
    PCVideoSeek(handle, 1.0, 0);
    EXPECT_EQ(flatSource.SeekCalls(), 1);
    EXPECT_DOUBLE_EQ(flatSource.LastSeekTime(), 0.5);
    EXPECT_EQ(PCGetVideoFrame(handle)->llStartTime, 10000000);
    EXPECT_EQ(PCVideoForward(handle, 1), 1);
    EXPECT_EQ(PCGetVideoFrame(handle)->llStartTime, 10400000);
}

TEST(FlatVideoInterface, VirtualCallsWorkOnAnyDecoder)
{
    SyntheticVideoSource src(Clip());
    VideoDecoder* host = &src;
    EXPECT_EQ(PCGetVideoInfo(host), src.GetVideoInfo());
    EXPECT_EQ(PCVideoForward(host, 2), 2);
    EXPECT_EQ(PCGetVideoFrame(host), src.GetFrame());
    PCVideoSeek(host, 1.2, 0);
    EXPECT_DOUBLE_EQ(src.LastSeekTime(), 1.2);
    EXPECT_EQ(src.CurrentIndex(), 30);
}

TEST(FlatVideoInterface, ConstantRateStageFromPEVideoCreate)
{
    SyntheticVideoSource src(Clip());
    EXPECT_EQ(PEVideoCreate(nullptr, 50.0), nullptr);
    PEVideoDestroy(nullptr);

    VideoDecoder* even = PEVideoCreate(&src, 50.0);
    ASSERT_NE(even, nullptr);
    EXPECT_DOUBLE_EQ(PCGetVideoInfo(even)->dFrameRate, 50.0);
    EXPECT_DOUBLE_EQ(src.GetVideoInfo()->dFrameRate, 25.0);
    // Twice the source's rate: a new source picture every second step.
    int advanced = 0;
    for (int i = 0; i < 20; ++i) {
        const int before = src.CurrentIndex();
        ASSERT_EQ(PCVideoForward(even, 1), 1);
        advanced += src.CurrentIndex() != before;
    }
    EXPECT_NEAR(advanced, 10, 1);
    PEVideoDestroy(even);
    // The source is the host's and stays usable.
    EXPECT_EQ(src.Forward(1), 1);
    EXPECT_NE(src.GetFrame(), nullptr);
}

TEST(FlatVideoInterface, DestroyLeavesTheDecoderAlive)
{
    SyntheticVideoSource src(Clip());
    VideoDecoder* h = PCVideoCreate(&src, &kBox, 30.0); // with an inserted constant-rate stage
    ASSERT_NE(h, nullptr);
    PCSetExFilterFlag(h, 1);
    ASSERT_NE(PCGetVideoFrame(h), nullptr);
    PCVideoForward(h, 5);
    const int at = src.CurrentIndex();
    PCVideoDestroy(h);
    EXPECT_EQ(src.CurrentIndex(), at);
    EXPECT_EQ(src.Forward(1), 1);
    ASSERT_NE(src.GetFrame(), nullptr);
    EXPECT_EQ(src.GetFrame()->pY[0], SyntheticVideoSource::PatternY(0, 0, at + 1, 64, 48));
}

long FileSize(const std::string& path)
{
    struct stat st;
    return stat(path.c_str(), &st) == 0 ? static_cast<long>(st.st_size) : -1;
}

TEST_F(FlatVideo, CaptureSavesTheProcessedPicture)
{
    const std::string base = ::testing::TempDir() + "dp_flat_capture_" + std::to_string(::getpid());
    std::wstring bmp(base.begin(), base.end());
    bmp += L".bmp";
    std::wstring jpg(base.begin(), base.end());
    jpg += L".jpg";

    EXPECT_EQ(PCCaptureImage(nullptr, &bmp[0], 0, 0), 0);
    EXPECT_EQ(FileSize(base + ".bmp"), -1);

    PCSetRotation(handle, 90, 0); // the output frame stays 64 x 48
    EXPECT_EQ(PCCaptureImage(handle, &bmp[0], 0, 0), 1);
    EXPECT_EQ(FileSize(base + ".bmp"), 14 + 40 + 64 * 3 * 48);
    EXPECT_EQ(PCCaptureImage(handle, &jpg[0], 1, 0), 1);
    EXPECT_GT(FileSize(base + ".jpg"), 0);
    EXPECT_EQ(FileSize(base + "tmp.bmp"), -1) << "the temporary bitmap is removed";
    std::remove((base + ".bmp").c_str());
    std::remove((base + ".jpg").c_str());
}

// --- audio --------------------------------------------------------------

SyntheticAudioConfig Ramp()
{
    SyntheticAudioConfig c;
    c.sampleRate = 44100;
    c.channels = 2;
    c.totalFrames = 44100 * 2;
    c.blockFrames = {2205}; // 50 ms: block 10 starts at 0.5 s exactly
    c.waveform = SyntheticAudioConfig::Ramp;
    return c;
}

// Checks that every sample of a pass-through block is the source's value
// scaled by `volume` percent, and returns the block's first sample frame.
void ExpectScaled(const SyntheticAudioSource& src, const MEDIA_FRAME* f, int64_t firstFrame, int volume)
{
    ASSERT_NE(f, nullptr);
    const auto* s = reinterpret_cast<const int16_t*>(f->pData);
    const int count = f->nDataSize / 2;
    for (int i = 0; i < count; ++i) {
        const int expected = src.Sample(firstFrame + i / 2, i % 2) * volume / 100;
        ASSERT_EQ(s[i], expected) << "sample " << i;
    }
}

TEST(FlatAudio, VolumeAndFadesReachTheStage)
{
    SyntheticAudioSource src(Ramp());
    AudioDecoder* h = PCAudioCreate(&src, 0, 0, 0, 0);
    ASSERT_NE(h, nullptr);
    EXPECT_EQ(PCGetAudioInfo(h), src.GetAudioInfo()) << "no conversion: the source's own record";

    PCSetVolum(h, 50);
    ExpectScaled(src, PCGetNextAudioFrame(h), 0, 50);

    // A one-second fade-in from 0: the block at 0.5 s gets half the volume.
    PCSetVolum(h, 100);
    PCSetFadeInOutTime(h, 0.0, 1.0, 0.0, 0.0);
    PCAudioSeek(h, 0.5);
    EXPECT_EQ(src.SeekCalls(), 1);
    EXPECT_DOUBLE_EQ(src.LastSeekTime(), 0.5);
    ExpectScaled(src, PCGetNextAudioFrame(h), 22050, 50);

    // A fade-out over the last second: at 1.5 s half the volume again.
    PCSetFadeInOutTime(h, 0.0, 0.0, 1.0, 1.0);
    PCAudioSeek(h, 1.5);
    ExpectScaled(src, PCGetNextAudioFrame(h), 66150, 50);
    PCAudioDestroy(h);
}

TEST(FlatAudio, ConversionFormatIsTheStagesOwn)
{
    SyntheticAudioSource src(Ramp());
    AudioDecoder* h = PCAudioCreate(&src, 48000, 1, 16, 0);
    ASSERT_NE(h, nullptr);
    const AudioInfo* info = PCGetAudioInfo(h);
    ASSERT_NE(info, nullptr);
    EXPECT_EQ(info->nSampleRate, 48000);
    EXPECT_EQ(info->nChannels, 1);
    EXPECT_EQ(src.GetAudioInfo()->nSampleRate, 44100);
    const MEDIA_FRAME* f = PCGetNextAudioFrame(h);
    ASSERT_NE(f, nullptr);
    EXPECT_EQ(f->nSampleRate, 48000);
    EXPECT_EQ(f->nChannels, 1);
    PCAudioDestroy(h);
}

TEST(FlatAudio, DestroyLeavesTheDecoderAlive)
{
    SyntheticAudioSource src(Ramp());
    AudioDecoder* h = PCAudioCreate(&src, 48000, 2, 16, 1); // with a timeline stage in front
    ASSERT_NE(h, nullptr);
    ASSERT_NE(PCGetNextAudioFrame(h), nullptr);
    const int64_t next = src.NextBlock();
    PCAudioDestroy(h);
    EXPECT_EQ(src.CloseCalls(), 0);
    const MEDIA_FRAME* f = src.GetNextFrame();
    ASSERT_NE(f, nullptr);
    EXPECT_EQ(src.NextBlock(), next + 1);
}

TEST(FlatAudio, TimelineStageFromPEAudioCreate)
{
    EXPECT_EQ(PEAudioCreate(nullptr), nullptr);
    PEAudioDestroy(nullptr);

    SyntheticAudioConfig c = Ramp();
    c.shifts = {SyntheticAudioShift{2, 1000000}}; // a 0.1 s hole before block 2
    SyntheticAudioSource src(c);
    AudioDecoder* even = PEAudioCreate(&src);
    ASSERT_NE(even, nullptr);
    // The hole is filled: the data handed up exceeds the source's by
    // 0.1 s (4410 sample frames of two 16-bit channels).
    long long bytes = 0;
    for (int i = 0; i < 10; ++i)
        if (const MEDIA_FRAME* f = PCGetNextAudioFrame(even))
            bytes += f->nDataSize;
    const long long sourceBytes = static_cast<long long>(src.BlockOffset(src.NextBlock())) * 4;
    EXPECT_NEAR(static_cast<double>(bytes - sourceBytes), 4410.0 * 4, 4.0 * 4);
    PEAudioDestroy(even);
    EXPECT_NE(src.GetNextFrame(), nullptr);
}

} // namespace
