// The FFmpeg decoders and writer on files they make of the synthetic
// sources: lossless round trips exact to the byte, lossy ones above a
// quality floor, stamps, seeking, and damaged or unsuitable input.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <fstream>
#include <vector>

#include <DataProcess/Frame.h>

#include "FfmpegAudioSource.h"
#include "FfmpegTestMedia.h"
#include "FfmpegVideoSource.h"
#include "FileTestSupport.h"
#include "HostFile.h"

namespace {

using mediatest::MediaSpec;
using mediatest::SharedMedia;

// PSNR over the three planes of two pictures of one size (infinity when
// every sample is equal).
double Psnr(const MEDIA_FRAME* a, const MEDIA_FRAME* b)
{
    double sum = 0, count = 0;
    for (int p = 0; p < 3; ++p) {
        const int w = p ? (a->nWidth + 1) / 2 : a->nWidth, h = p ? (a->nHeight + 1) / 2 : a->nHeight;
        const unsigned char* pa = p == 0 ? a->pY : p == 1 ? a->pU : a->pV;
        const unsigned char* pb = p == 0 ? b->pY : p == 1 ? b->pU : b->pV;
        const int qa = p == 0 ? a->nPitchY : p == 1 ? a->nPitchU : a->nPitchV;
        const int qb = p == 0 ? b->nPitchY : p == 1 ? b->nPitchU : b->nPitchV;
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x, ++count)
                sum += (pa[y * qa + x] - pb[y * qb + x]) * (pa[y * qa + x] - pb[y * qb + x]);
    }
    return sum == 0 ? INFINITY : 10 * std::log10(255.0 * 255.0 * count / sum);
}

struct Case {
    const char* file;
    const char* videoCodec;
    int width;        // odd where the codec allows: the chroma of the last column
    double psnrFloor; // INFINITY: lossless
};
void PrintTo(const Case& c, std::ostream* os) { *os << c.file; }

class FfmpegRoundTrip : public ::testing::TestWithParam<Case> {};

// Every picture and stamp back as written; audio samples exact (FLAC) or
// their count within one block (AAC).
TEST_P(FfmpegRoundTrip, PicturesStampsAndSamples)
{
    const Case c = GetParam();
    MediaSpec clip;
    clip.width = c.width;
    clip.videoCodec = c.videoCodec;
    std::string error;
    const std::string path = SharedMedia(c.file, clip, &error);
    ASSERT_EQ(error, "");

    FfmpegVideoSource v;
    ASSERT_EQ(v.OpenPath(path), HOSTFILE_OK) << v.LastError();
    const VideoInfo* vi = v.GetVideoInfo();
    EXPECT_EQ(vi->nWidth, c.width);
    EXPECT_EQ(vi->nHeight, 144);
    EXPECT_DOUBLE_EQ(vi->dFrameRate, 25.0);
    EXPECT_EQ(vi->nFrameCount, 25);
    SyntheticVideoSource ref(mediatest::VideoConfig(clip));
    int frames = 0;
    double worst = INFINITY;
    for (const MEDIA_FRAME* f = v.GetFrame(); f; f = v.Forward(1) ? v.GetFrame() : nullptr, ref.Forward(1)) {
        EXPECT_EQ(f->llStartTime, frames * 400000LL) << frames;
        EXPECT_EQ(f->llStopTime, f->llStartTime + 400000) << frames;
        EXPECT_EQ(v.GetFrameOffset(), frames);
        worst = std::min(worst, Psnr(f, ref.GetFrame()));
        ++frames;
    }
    EXPECT_EQ(frames, 25);
    EXPECT_DOUBLE_EQ(v.VideoSeekTime(0.4, 0), 0.4) << "a time at a picture's start shows that picture";
    EXPECT_GE(worst, c.psnrFloor);
    EXPECT_EQ(v.LastError(), "");
    EXPECT_EQ(v.DamagedPackets(), 0);

    FfmpegAudioSource a;
    ASSERT_EQ(a.OpenPath(path), HOSTFILE_OK) << a.LastError();
    EXPECT_EQ(a.SampleRate(), 44100);
    EXPECT_EQ(a.Channels(), 2);
    SyntheticAudioSource aref(mediatest::AudioConfig(clip));
    int64_t samples = 0, mismatches = 0;
    for (MEDIA_FRAME* b = a.GetNextFrame(); b; b = a.GetNextFrame()) {
        EXPECT_EQ(b->llStartTime, std::llround(samples * 1e7 / 44100));
        const auto* s = reinterpret_cast<const int16_t*>(b->pData);
        for (int i = 0; i < b->nDataSize / 2; ++i)
            mismatches += samples + i / 2 < clip.samples && s[i] != aref.Sample(samples + i / 2, i % 2);
        samples += b->nDataSize / 4;
    }
    if (std::isinf(c.psnrFloor)) {
        EXPECT_EQ(samples, clip.samples);
        EXPECT_EQ(mismatches, 0);
    } else {
        EXPECT_NEAR(double(samples), double(clip.samples), 1024);
    }
}

// H.264 at its default quality keeps the pattern above 45 dB (49.5 measured
// on the luma).
INSTANTIATE_TEST_SUITE_P(Codecs, FfmpegRoundTrip,
                         ::testing::Values(Case{"lossless.mkv", "ffv1", 175, INFINITY},
                                           Case{"h264.mp4", "h264", 176, 45.0}),
                         [](const auto& info) { return std::string(info.param.videoCodec); });

// A time lands on the frame whose interval holds it; a frame number on that
// frame; audio seeks to the sample.
TEST(FfmpegSeek, VideoByTimeAndNumberAudioToTheSample)
{
    MediaSpec clip;
    clip.videoCodec = "ffv1";
    clip.samples = 0;
    std::string error;
    const std::string path = SharedMedia("seek.mkv", clip, &error);
    ASSERT_EQ(error, "");
    FfmpegVideoSource v;
    ASSERT_EQ(v.OpenPath(path), HOSTFILE_OK);
    SyntheticVideoSource ref(mediatest::VideoConfig(clip));
    for (double t : {0.5, 0.01, 0.399, 0.4, 0.95, 0.0}) {
        const double reached = v.VideoSeekTime(t, 0);
        const int n = static_cast<int>(t * 25);
        EXPECT_DOUBLE_EQ(reached, n * 0.04) << t;
        ref.VideoSeek(n, 0);
        EXPECT_EQ(Psnr(v.GetFrame(), ref.GetFrame()), INFINITY) << t;
    }
    EXPECT_EQ(v.VideoSeek(17, 0), 17);
    EXPECT_EQ(v.GetFrame()->llStartTime, 17 * 400000);
    EXPECT_EQ(v.VideoSeek(1000, 0), 24); // the last frame stands for any later time

    // Matroska stamps packets to the millisecond; a .flac file to the sample.
    MediaSpec flac;
    flac.videoCodec = "";
    const std::string flacPath = SharedMedia("seek.flac", flac, &error);
    ASSERT_EQ(error, "");
    FfmpegAudioSource a;
    ASSERT_EQ(a.OpenPath(flacPath), HOSTFILE_OK);
    SyntheticAudioSource aref(mediatest::AudioConfig(flac));
    for (double t : {0.5, 0.123, 0.0}) {
        const int64_t k = std::llround(t * 44100);
        EXPECT_NEAR(a.AudioSeek(t), k / 44100.0, 1e-7);
        MEDIA_FRAME* b = a.GetNextFrame();
        ASSERT_NE(b, nullptr);
        EXPECT_EQ(b->llStartTime, std::llround(k * 1e7 / 44100));
        EXPECT_EQ(reinterpret_cast<const int16_t*>(b->pData)[0], aref.Sample(k, 0)) << t;
    }
}

// Variable frame rates keep their stamps and lengths (to the container's tick).
TEST(FfmpegStamps, VariableRateKept)
{
    MediaSpec clip;
    clip.jitter = 90000;
    clip.samples = 0;
    std::string error;
    const std::string path = SharedMedia("jitter.mp4", clip, &error);
    ASSERT_EQ(error, "");
    FfmpegVideoSource v;
    ASSERT_EQ(v.OpenPath(path), HOSTFILE_OK);
    SyntheticVideoSource ref(mediatest::VideoConfig(clip));
    int n = 0;
    for (const MEDIA_FRAME* f = v.GetFrame(); f; f = v.Forward(1) ? v.GetFrame() : nullptr, ++n) {
        EXPECT_NEAR(double(f->llStartTime), double(ref.FrameStartTime(n) - ref.FrameStartTime(0)), 112) << n;
        if (n < 24) { // each picture lasts until the next
            EXPECT_NEAR(double(f->llStopTime), double(ref.FrameStartTime(n + 1) - ref.FrameStartTime(0)), 224) << n;
        }
    }
    EXPECT_EQ(n, 25);
}

// What the writer is handed comes back: the display aspect of wide pixels,
// audio that starts after the video (.mkv), and two pictures stamped alike,
// the second a tick later (.mp4 keeps the tick).
TEST(FfmpegWriterFile, AspectLateAudioAndEqualStamps)
{
    filetest::TempDir dir;
    for (const std::string name : {"wide.mkv", "wide.mp4"}) {
        SCOPED_TRACE(name);
        const bool mkv = name == "wide.mkv";
        FfmpegOutputFormat f;
        f.width = 64, f.height = 48, f.aspectX = 16, f.aspectY = 9, f.preset = "ultrafast";
        f.videoCodec = mkv ? "ffv1" : "h264", f.sampleRate = mkv ? 8000 : 0, f.channels = 1;
        FfmpegWriter w;
        ASSERT_TRUE(w.Open(dir.File(name), f)) << w.LastError();
        MEDIA_FRAME* pic = CreateYV12Frame(64, 48, 0, 0);
        for (int64_t start : {0, 400000, 400000}) {
            pic->llStartTime = start;
            EXPECT_TRUE(w.WriteVideo(pic)) << w.LastError();
        }
        ReleaseYV12Frame(pic);
        MEDIA_FRAME* block = CreateAudioFrame(8000, 1, 16, 1600);
        block->nDataSize = 1600, block->llStartTime = 5000000; // 0.5 s
        EXPECT_EQ(w.WriteAudio(block), mkv);
        ReleaseAudioFrame(block);
        ASSERT_TRUE(w.Commit()) << w.LastError();
        FfmpegVideoSource v;
        ASSERT_EQ(v.OpenPath(dir.File(name)), HOSTFILE_OK) << v.LastError();
        EXPECT_EQ(std::make_pair(v.GetVideoInfo()->nAspectX, v.GetVideoInfo()->nAspectY), std::make_pair(16, 9));
        EXPECT_EQ(v.Forward(5), 2);
        FfmpegAudioSource a;
        if (mkv) {
            ASSERT_EQ(a.OpenPath(dir.File(name)), HOSTFILE_OK) << a.LastError();
            EXPECT_EQ(a.GetNextFrame()->llStartTime, 5000000);
        }
    }
}

TEST(FfmpegBadInput, OneClearLineEach)
{
    filetest::TempDir dir;
    const std::string text = dir.File("notes.mp4");
    std::ofstream(text) << "not a media file at all";
    FfmpegVideoSource v;
    EXPECT_EQ(v.OpenPath(text), HOSTFILE_CANNOT_OPEN);
    EXPECT_EQ(v.LastError().rfind(text + ": cannot open (", 0), 0u) << v.LastError();
    EXPECT_EQ(v.OpenPath(dir.File("missing.mkv")), HOSTFILE_CANNOT_OPEN);
    EXPECT_NE(v.LastError().find("No such file"), std::string::npos) << v.LastError();

    MediaSpec audioOnly;
    audioOnly.videoCodec = "";
    std::string error;
    const std::string m4a = SharedMedia("audio.m4a", audioOnly, &error);
    ASSERT_EQ(error, "");
    EXPECT_EQ(v.OpenPath(m4a), HOSTFILE_CANNOT_OPEN);
    EXPECT_EQ(v.LastError(), m4a + ": no video stream");
    EXPECT_TRUE(v.NoStream());

    // Nothing is left behind by a writer that fails or is abandoned.
    FfmpegOutputFormat f;
    f.width = 64;
    f.height = 48;
    f.videoCodec = "ffv1";
    FfmpegWriter w;
    EXPECT_FALSE(w.Open(dir.File("x.mp4"), f));
    EXPECT_EQ(w.LastError(), dir.File("x.mp4") + ": the mp4 container cannot hold ffv1 video (use .mkv)");
    ASSERT_TRUE(w.Open(dir.File("y.mkv"), f));
    w.Discard();
    f.videoCodec = "h264";
    f.width = 63;
    EXPECT_FALSE(w.Open(dir.File("z.mp4"), f));
    EXPECT_NE(w.LastError().find("H.264 takes only even sizes (the picture is 63x48"), std::string::npos);
    EXPECT_FALSE(std::filesystem::exists(dir.File("x.mp4")));
    EXPECT_FALSE(std::filesystem::exists(dir.File("y.mkv")));
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.Path()), {}), 1); // no temporary file either
}

// Damage in the middle of a file: decoding goes on to the end and counts
// the packets it had to drop.
TEST(FfmpegBadInput, DamagedPacketsAreCountedAndPassed)
{
    filetest::TempDir dir;
    MediaSpec clip;
    clip.samples = 0;
    const std::string path = dir.File("damaged.mp4");
    ASSERT_EQ(mediatest::WriteMedia(path, clip), "");
    std::vector<char> bytes(std::filesystem::file_size(path));
    std::ifstream(path, std::ios::binary).read(bytes.data(), bytes.size());
    for (size_t at : {bytes.size() / 3, bytes.size() / 2})
        for (size_t i = at; i < at + 64; ++i)
            bytes[i] = static_cast<char>(bytes[i] ^ 0x5a);
    std::ofstream(path, std::ios::binary).write(bytes.data(), bytes.size());

    FfmpegVideoSource v;
    ASSERT_EQ(v.OpenPath(path), HOSTFILE_OK);
    int frames = 1;
    while (v.Forward(1))
        ++frames;
    EXPECT_GE(frames, 20);
    EXPECT_LT(frames, 25);
    EXPECT_EQ(frames + v.DamagedPackets(), 25);
    EXPECT_EQ(v.GetFrame()->llStartTime, 24 * 400000); // the end was reached
    EXPECT_EQ(v.LastError(), "");
}

} // namespace
