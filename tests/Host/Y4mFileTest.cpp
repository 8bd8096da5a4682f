#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include <DataProcess/Frame.h>

#include "FileTestSupport.h"
#include "SyntheticVideoSource.h"
#include "Y4mFormat.h"
#include "Y4mVideoSource.h"
#include "Y4mWriter.h"

namespace {

using filetest::Bytes;

// Content of byte `i` of frame `f` of a test stream (whole frame, Y then U then V).
unsigned char Sample(int f, size_t i) { return static_cast<unsigned char>(f * 31 + i * 7 + (i >> 8)); }

size_t FrameBytes(int w, int h) { return static_cast<size_t>(w) * h + 2 * static_cast<size_t>((w + 1) / 2) * ((h + 1) / 2); }

// A YUV4MPEG2 stream: `header` (without the magic), then one frame per
// entry of `frameLines` (the FRAME line without its line feed).
Bytes MakeY4m(const std::string& header, int w, int h, const std::vector<std::string>& frameLines)
{
    Bytes b;
    filetest::Append(&b, "YUV4MPEG2 " + header + "\n");
    for (size_t f = 0; f < frameLines.size(); ++f) {
        filetest::Append(&b, frameLines[f] + "\n");
        for (size_t i = 0; i < FrameBytes(w, h); ++i)
            b.push_back(Sample(static_cast<int>(f), i));
    }
    return b;
}

Bytes MakeY4m(const std::string& header, int w, int h, int frames)
{
    return MakeY4m(header, w, h, std::vector<std::string>(static_cast<size_t>(frames), "FRAME"));
}

// The picture of `frame` as the stream stores it (Y, then U, then V).
Bytes Planes(const MEDIA_FRAME* frame)
{
    Bytes out;
    const int w = frame->nWidth, h = frame->nHeight, cw = (w + 1) / 2, ch = (h + 1) / 2;
    for (int y = 0; y < h; ++y)
        out.insert(out.end(), frame->pY + y * frame->nPitchY, frame->pY + y * frame->nPitchY + w);
    for (int y = 0; y < ch; ++y)
        out.insert(out.end(), frame->pU + y * frame->nPitchU, frame->pU + y * frame->nPitchU + cw);
    for (int y = 0; y < ch; ++y)
        out.insert(out.end(), frame->pV + y * frame->nPitchV, frame->pV + y * frame->nPitchV + cw);
    return out;
}

Bytes ExpectedPlanes(int f, int w, int h)
{
    Bytes out(FrameBytes(w, h));
    for (size_t i = 0; i < out.size(); ++i)
        out[i] = Sample(f, i);
    return out;
}

bool EndsWith(const std::string& s, const std::string& tail)
{
    return s.size() >= tail.size() && s.compare(s.size() - tail.size(), tail.size(), tail) == 0;
}

class Y4mFile : public ::testing::Test {
protected:
    std::string Put(const std::string& name, const Bytes& data)
    {
        const std::string path = dir.File(name);
        filetest::WriteFile(path, data);
        return path;
    }
    filetest::TempDir dir;
};

TEST_F(Y4mFile, WriterAndReaderRoundTripPixelsTimesAndHeader)
{
    // Odd size and padded source pitches: the writer must honour them.
    SyntheticVideoConfig cfg;
    cfg.width = 33;
    cfg.height = 17;
    cfg.frameCount = 5;
    cfg.pitchPadding = 5;
    SyntheticVideoSource synth(cfg);

    const std::string path = dir.File("out.y4m");
    Y4mWriter writer;
    Y4mStreamFormat fmt;
    fmt.width = 33;
    fmt.height = 17;
    fmt.rateNum = 30000;
    fmt.rateDen = 1001;
    fmt.interlace = 't';
    ASSERT_TRUE(writer.Open(path, fmt)) << writer.LastError();
    for (int i = 0; i < 5; ++i) {
        ASSERT_TRUE(writer.WriteFrame(synth.GetFrame())) << writer.LastError();
        synth.Forward(1);
    }
    ASSERT_TRUE(writer.Commit()) << writer.LastError();
    EXPECT_EQ(dir.List().size(), 1u); // no temporary file left behind

    const Bytes file = filetest::ReadFile(path);
    const std::string head = "YUV4MPEG2 W33 H17 F30000:1001 It A1:1 C420jpeg\n";
    ASSERT_GE(file.size(), head.size());
    EXPECT_EQ(std::string(file.begin(), file.begin() + head.size()), head);
    EXPECT_EQ(file.size(), head.size() + 5 * (6 + FrameBytes(33, 17)));

    Y4mVideoSource src;
    int error = -1;
    ASSERT_EQ(src.Open(std::wstring(path.begin(), path.end()).c_str(), nullptr, &error), 1) << src.LastError();
    EXPECT_EQ(error, HOSTFILE_OK);
    const VideoInfo* vi = src.GetVideoInfo();
    EXPECT_EQ(vi->nWidth, 33);
    EXPECT_EQ(vi->nHeight, 17);
    EXPECT_DOUBLE_EQ(vi->dFrameRate, 30000.0 / 1001.0);
    EXPECT_EQ(vi->nFrameCount, 5);
    EXPECT_EQ(vi->nAspectX, 0); // A1:1 = square pixels
    EXPECT_EQ(vi->nAspectY, 0);
    EXPECT_EQ(src.Interlacing(), 't');
    EXPECT_EQ(reinterpret_cast<const unsigned char*>(vi),
              reinterpret_cast<const unsigned char*>(src.GetVideoStreamInfo()) + 796);

    const int64_t period = 333667; // round(10^7 * 1001 / 30000) = round(333666.67)
    EXPECT_EQ(src.FramePeriod(), period);
    synth.VideoSeek(0, 0);
    for (int i = 0; i < 5; ++i) {
        const MEDIA_FRAME* f = src.GetFrame();
        ASSERT_NE(f, nullptr);
        EXPECT_EQ(src.GetFrameOffset(), i);
        EXPECT_EQ(f->nFrameType, MEDIA_FRAME_VIDEO);
        EXPECT_EQ(Planes(f), Planes(synth.GetFrame())) << "frame " << i;
        const int64_t start = y4m::FrameStart(i, 30000, 1001);
        EXPECT_EQ(f->llStartTime, start);
        EXPECT_EQ(f->llStopTime, start + period);
        EXPECT_EQ(f->nDuration, period);
        EXPECT_EQ(src.Forward(1), i < 4 ? 1 : 0);
        synth.Forward(1);
    }
    EXPECT_EQ(src.GetFrameOffset(), 4); // the last frame stays current
    EXPECT_TRUE(src.LastError().empty()) << src.LastError();
    EXPECT_FALSE(src.Truncated());
}

TEST_F(Y4mFile, FrameTimesRoundHalvesUpAndStayExactForLargeNumbers)
{
    EXPECT_EQ(y4m::FrameStart(0, 25, 1), 0);
    EXPECT_EQ(y4m::FrameStart(1, 25, 1), 400000);
    EXPECT_EQ(y4m::FrameStart(1, 30000, 1001), 333667);
    EXPECT_EQ(y4m::FrameStart(3, 30000, 1001), 1001000);
    EXPECT_EQ(y4m::FrameStart(1, 20000000, 1), 1);   // 0.5 rounds up
    EXPECT_EQ(y4m::FrameStart(1, 40000000, 1), 0);   // 0.25 rounds down
    // i * 10^7 * den passes 2^63 on the way; the results are exact.
    EXPECT_EQ(y4m::FrameStart(2147483646, 2147483647, 2147483647), 21474836460000000);
    EXPECT_EQ(y4m::FrameStart(2147483646, 2147483647, 1), 10000000); // 9999999.995
    EXPECT_EQ(y4m::FrameStart(1000000, 1, 2147483647), INT64_MAX);   // clamped
}

TEST_F(Y4mFile, PixelAspectMapsToDisplayAspectAndBack)
{
    struct Case {
        int w, h;
        const char* tag;
        int ax, ay;
    } cases[] = {{720, 576, "A64:45", 16, 9}, {720, 480, "A8:9", 4, 3},  {720, 576, "A0:0", 0, 0},
                 {720, 576, "A1:1", 0, 0},    {640, 480, "A2:2", 0, 0}, {1440, 1080, "A4:3", 16, 9},
                 {720, 576, "", 0, 0}};
    for (const Case& c : cases) {
        const std::string header = "W" + std::to_string(c.w) + " H" + std::to_string(c.h) + " F25:1 " + c.tag;
        const std::string path = Put("aspect.y4m", MakeY4m(header, c.w, c.h, 1));
        Y4mVideoSource src;
        ASSERT_EQ(src.OpenPath(path), HOSTFILE_OK) << src.LastError();
        EXPECT_EQ(src.GetVideoInfo()->nAspectX, c.ax) << c.tag;
        EXPECT_EQ(src.GetVideoInfo()->nAspectY, c.ay) << c.tag;
        if (c.ax) {
            int n = 0, d = 0;
            y4m::PixelAspect(c.w, c.h, c.ax, c.ay, &n, &d);
            EXPECT_EQ("A" + std::to_string(n) + ":" + std::to_string(d), std::string(c.tag));
        }
    }
    // The writer turns a display aspect into the pixel aspect of the header.
    Y4mWriter writer;
    Y4mStreamFormat fmt;
    fmt.width = 720;
    fmt.height = 576;
    fmt.aspectX = 16;
    fmt.aspectY = 9;
    const std::string path = dir.File("wide.y4m");
    ASSERT_TRUE(writer.Open(path, fmt));
    ASSERT_TRUE(writer.Commit());
    const Bytes file = filetest::ReadFile(path);
    EXPECT_EQ(std::string(file.begin(), file.end()), "YUV4MPEG2 W720 H576 F25:1 Ip A64:45 C420jpeg\n");
}

TEST_F(Y4mFile, RateToFractionFindsTheUsualRationals)
{
    struct Case {
        double rate;
        int num, den;
    } cases[] = {{25.0, 25, 1}, {29.97, 30000, 1001}, {23.976, 24000, 1001}, {59.94, 60000, 1001},
                 {30000.0 / 1001, 30000, 1001}, {12.5, 25, 2}, {0.0, 25, 1}, {-3.0, 25, 1}, {1e300, 25, 1}};
    for (const Case& c : cases) {
        int32_t n = 0, d = 0;
        y4m::RateToFraction(c.rate, &n, &d);
        EXPECT_EQ(n, c.num) << c.rate;
        EXPECT_EQ(d, c.den) << c.rate;
    }
}

// FRAME lines with parameters and X tags in the header: the file is walked
// frame by frame, and seeks land on the right frames.
TEST_F(Y4mFile, FrameParametersAndXTagsAreSkipped)
{
    const Bytes data = MakeY4m("W5 H3 F25:1 Ib A0:0 C420mpeg2 XYSCSS=420MPEG2 Xcolorrange=LIMITED", 5, 3,
                               {"FRAME Ip Xfoo=1", "FRAME", "FRAME Xbar", "FRAME"});
    const std::string path = Put("params.y4m", data);
    Y4mVideoSource src;
    ASSERT_EQ(src.OpenPath(path), HOSTFILE_OK) << src.LastError();
    EXPECT_EQ(src.Interlacing(), 'b');
    EXPECT_EQ(src.Chroma(), "420mpeg2");
    EXPECT_EQ(src.FrameCount(), 4);
    EXPECT_EQ(src.VideoSeek(2, 0), 2);
    EXPECT_EQ(Planes(src.GetFrame()), ExpectedPlanes(2, 5, 3));
    EXPECT_EQ(src.VideoSeek(0, 0), 0);
    EXPECT_EQ(Planes(src.GetFrame()), ExpectedPlanes(0, 5, 3));
    EXPECT_EQ(src.Forward(10), 3);
    EXPECT_EQ(Planes(src.GetFrame()), ExpectedPlanes(3, 5, 3));
    EXPECT_TRUE(src.LastError().empty()) << src.LastError();

    // The same stream through a pipe.
    filetest::FedPipe pipe(data);
    Y4mVideoSource piped;
    ASSERT_EQ(piped.OpenStream(pipe.Read(), "pipe", false), HOSTFILE_OK) << piped.LastError();
    EXPECT_EQ(piped.GetVideoInfo()->nFrameCount, 0); // unknown on a pipe
    int n = 0;
    for (const MEDIA_FRAME* f = piped.GetFrame(); f; f = piped.Forward(1) ? piped.GetFrame() : nullptr)
        EXPECT_EQ(Planes(f), ExpectedPlanes(n++, 5, 3));
    EXPECT_EQ(n, 4);
    EXPECT_TRUE(piped.LastError().empty()) << piped.LastError();
}

TEST_F(Y4mFile, SeekingAndForwardBehaveAsADecoder)
{
    const std::string path = Put("seek.y4m", MakeY4m("W4 H2 F30:1", 4, 2, 40));
    Y4mVideoSource src;
    ASSERT_EQ(src.OpenPath(path), HOSTFILE_OK);
    EXPECT_EQ(src.GetFrame(), src.GetFrame());
    EXPECT_EQ(src.Forward(0), 0);
    EXPECT_EQ(src.Forward(3), 3);
    EXPECT_EQ(src.GetFrameOffset(), 3);
    // 1/3 s at 30 fps starts frame 10 exactly; just before it is frame 9.
    EXPECT_DOUBLE_EQ(src.VideoSeekTime(1.0 / 3.0, 0), 3333333 / 1e7);
    EXPECT_EQ(src.GetFrameOffset(), 10);
    EXPECT_EQ(src.GetFrame()->llStartTime, 3333333);
    src.VideoSeekTime(0.3333, 0);
    EXPECT_EQ(src.GetFrameOffset(), 9);
    EXPECT_EQ(Planes(src.GetFrame()), ExpectedPlanes(9, 4, 2));
    src.VideoSeekTime(-5.0, 0);
    EXPECT_EQ(src.GetFrameOffset(), 0);
    EXPECT_EQ(src.VideoSeek(1000, 0), 39); // clamped to the last frame
    EXPECT_EQ(Planes(src.GetFrame()), ExpectedPlanes(39, 4, 2));
    EXPECT_EQ(src.Forward(1), 0);
    EXPECT_EQ(src.GetFrameOffset(), 39);
    EXPECT_EQ(src.VideoSeek(38, 0), 38);
    EXPECT_EQ(src.Forward(5), 1);
    EXPECT_TRUE(src.LastError().empty());
    src.Close();
    EXPECT_EQ(src.GetFrame(), nullptr);
}

TEST_F(Y4mFile, PipeSeeksOnlyForwardByReadingThrough)
{
    filetest::FedPipe pipe(MakeY4m("W4 H2 F25:1", 4, 2, 30));
    Y4mVideoSource src;
    ASSERT_EQ(src.OpenStream(pipe.Read(), "pipe", false), HOSTFILE_OK) << src.LastError();
    EXPECT_EQ(src.FrameCount(), -1);
    EXPECT_EQ(src.VideoSeek(7, 0), 7);
    EXPECT_EQ(Planes(src.GetFrame()), ExpectedPlanes(7, 4, 2));
    EXPECT_DOUBLE_EQ(src.VideoSeekTime(0.4, 0), 0.4); // frame 10
    EXPECT_EQ(Planes(src.GetFrame()), ExpectedPlanes(10, 4, 2));
    EXPECT_EQ(src.VideoSeek(3, 0), 10);
    EXPECT_EQ(src.LastError(), "pipe: cannot seek back to frame 3 on a stream that does not seek (at frame 10)");
    EXPECT_EQ(Planes(src.GetFrame()), ExpectedPlanes(10, 4, 2));
    EXPECT_EQ(src.Forward(100), 19);
    EXPECT_EQ(src.GetFrameOffset(), 29);
    EXPECT_EQ(Planes(src.GetFrame()), ExpectedPlanes(29, 4, 2));
    EXPECT_EQ(src.Forward(1), 0);
}

TEST_F(Y4mFile, ReadsStandardInputForDash)
{
    const Bytes data = MakeY4m("W6 H4 F24:1", 6, 4, 3);
    filetest::FedPipe pipe(data);
    Y4mVideoSource src;
    int frames = 0;
    {
        filetest::Redirect in(0, pipe.ReadFd());
        int error = -1;
        ASSERT_EQ(src.Open(L"-", nullptr, &error), 1) << src.LastError();
        do {
            EXPECT_EQ(Planes(src.GetFrame()), ExpectedPlanes(frames, 6, 4));
            ++frames;
        } while (src.Forward(1) == 1);
        src.Close();
    }
    EXPECT_EQ(frames, 3);
    EXPECT_TRUE(src.LastError().empty()) << src.LastError();
}

TEST_F(Y4mFile, NonAsciiPathsArriveAsUtf8)
{
    const std::string path = Put("vid\xC3\xA9o \xE6\x98\xA0.y4m", MakeY4m("W2 H2 F25:1", 2, 2, 2));
    const std::wstring wide = std::wstring(dir.Path().begin(), dir.Path().end()) + L"/vid\u00E9o \u6620.y4m";
    Y4mVideoSource src;
    int error = -1;
    EXPECT_EQ(src.Open(wide.c_str(), nullptr, &error), 1) << src.LastError();
    EXPECT_EQ(src.FrameCount(), 2);
    (void)path;
}

// A truncated last frame is seen by the caller on a file and on a pipe; the
// complete frames before it are delivered.
TEST_F(Y4mFile, TruncatedLastFrameIsReported)
{
    Bytes data = MakeY4m("W4 H2 F25:1", 4, 2, 3); // 12 bytes a frame
    data.resize(data.size() - 2);
    const std::string path = Put("in.y4m", data);
    Y4mVideoSource src;
    ASSERT_EQ(src.OpenPath(path), HOSTFILE_OK) << src.LastError();
    EXPECT_EQ(src.FrameCount(), 2);
    EXPECT_EQ(src.GetVideoInfo()->nFrameCount, 2);
    EXPECT_FALSE(src.Truncated());
    EXPECT_EQ(src.Forward(1), 1);
    EXPECT_EQ(src.Forward(1), 0);
    EXPECT_TRUE(src.Truncated());
    EXPECT_TRUE(EndsWith(src.LastError(), "in.y4m: truncated frame 2 (got 10 of 12 bytes)")) << src.LastError();
    EXPECT_EQ(Planes(src.GetFrame()), ExpectedPlanes(1, 4, 2));

    filetest::FedPipe pipe(data);
    Y4mVideoSource piped;
    ASSERT_EQ(piped.OpenStream(pipe.Read(), "in.y4m", false), HOSTFILE_OK);
    EXPECT_EQ(piped.Forward(5), 1);
    EXPECT_TRUE(piped.Truncated());
    EXPECT_EQ(piped.LastError(), "in.y4m: truncated frame 2 (got 10 of 12 bytes)");
    EXPECT_EQ(Planes(piped.GetFrame()), ExpectedPlanes(1, 4, 2));
    EXPECT_EQ(piped.Forward(1), 0);

    // Cut inside the FRAME line, and a first frame that is already short.
    Bytes cut = MakeY4m("W4 H2 F25:1", 4, 2, 2);
    filetest::Append(&cut, "FRA");
    Y4mVideoSource a;
    ASSERT_EQ(a.OpenPath(Put("cut.y4m", cut)), HOSTFILE_OK);
    EXPECT_EQ(a.Forward(3), 1);
    EXPECT_TRUE(a.Truncated());
    EXPECT_NE(a.LastError().find("truncated frame 2 (the stream ends inside its FRAME line"), std::string::npos);

    Bytes shortFirst = MakeY4m("W4 H2 F25:1", 4, 2, 1);
    shortFirst.pop_back();
    Y4mVideoSource b;
    ASSERT_EQ(b.OpenPath(Put("short.y4m", shortFirst)), HOSTFILE_OK);
    EXPECT_EQ(b.GetFrame(), nullptr);
    EXPECT_TRUE(b.Truncated());
    EXPECT_TRUE(EndsWith(b.LastError(), "short.y4m: truncated frame 0 (got 11 of 12 bytes)")) << b.LastError();
}

TEST_F(Y4mFile, GarbageInsteadOfAFrameLineStopsTheStream)
{
    Bytes data = MakeY4m("W4 H2 F25:1", 4, 2, 2);
    filetest::Append(&data, "JUNK\n0123456789ab");
    Y4mVideoSource src;
    ASSERT_EQ(src.OpenPath(Put("junk.y4m", data)), HOSTFILE_OK);
    EXPECT_EQ(src.FrameCount(), 2);
    EXPECT_EQ(src.Forward(2), 1);
    EXPECT_FALSE(src.Truncated());
    EXPECT_TRUE(EndsWith(src.LastError(), "junk.y4m: frame 2 at byte 58: expected a FRAME line")) << src.LastError();
}

TEST_F(Y4mFile, BadHeadersAreRefusedWithAClearMessage)
{
    struct Case {
        std::string content;
        int code;
        std::string message; // after "<path>: "
    } cases[] = {
        {"", HOSTFILE_BAD_FORMAT, "empty input (not a YUV4MPEG2 stream)"},
        {"RIFF\x24\0\0\0WAVEfmt ", HOSTFILE_BAD_FORMAT, "not a YUV4MPEG2 stream (it does not start with \"YUV4MPEG2 \")"},
        {"YUV4MPEG2W4 H2\n", HOSTFILE_BAD_FORMAT, "not a YUV4MPEG2 stream (it does not start with \"YUV4MPEG2 \")"},
        {"YUV4MPEG2 W4 H2 F25:1 C444\n", HOSTFILE_UNSUPPORTED, "unsupported chroma format C444 (only 4:2:0 is supported)"},
        {"YUV4MPEG2 W4 H2 F25:1 C422\n", HOSTFILE_UNSUPPORTED, "unsupported chroma format C422 (only 4:2:0 is supported)"},
        {"YUV4MPEG2 W4 H2 F25:1 Cmono\n", HOSTFILE_UNSUPPORTED, "unsupported chroma format Cmono (only 4:2:0 is supported)"},
        {"YUV4MPEG2 W4 H2 F25:1 C420p10 XYSCSS=420P10\n", HOSTFILE_UNSUPPORTED,
         "unsupported chroma format C420p10 (only 4:2:0 is supported)"},
        {"YUV4MPEG2 W4 H2 F25:0\n", HOSTFILE_BAD_FORMAT, "bad frame rate F25:0 (expected F<num>:<den>, both positive)"},
        {"YUV4MPEG2 W4 H2 F0:1\n", HOSTFILE_BAD_FORMAT, "bad frame rate F0:1 (expected F<num>:<den>, both positive)"},
        {"YUV4MPEG2 W4 H2 F25\n", HOSTFILE_BAD_FORMAT, "bad frame rate F25 (expected F<num>:<den>, both positive)"},
        {"YUV4MPEG2 W4 H2 F-25:1\n", HOSTFILE_BAD_FORMAT, "bad frame rate F-25:1 (expected F<num>:<den>, both positive)"},
        {"YUV4MPEG2 W4 H2 F99999999999:1\n", HOSTFILE_BAD_FORMAT,
         "bad frame rate F99999999999:1 (expected F<num>:<den>, both positive)"},
        {"YUV4MPEG2 W4 H2\n", HOSTFILE_BAD_FORMAT, "stream header has no frame rate (F)"},
        {"YUV4MPEG2 H2 F25:1\n", HOSTFILE_BAD_FORMAT, "stream header has no width (W)"},
        {"YUV4MPEG2 W0 H2 F25:1\n", HOSTFILE_BAD_FORMAT, "bad picture width W0 (expected 1 to 65536)"},
        {"YUV4MPEG2 W4 Hx F25:1\n", HOSTFILE_BAD_FORMAT, "bad picture height Hx (expected 1 to 65536)"},
        {"YUV4MPEG2 W65536 H65536 F25:1\n", HOSTFILE_UNSUPPORTED, "picture size 65536x65536 is too large"},
        {"YUV4MPEG2 W4 H2 F25:1 Iq\n", HOSTFILE_BAD_FORMAT, "bad interlacing tag Iq (expected Ip, It, Ib, Im or I?)"},
        {"YUV4MPEG2 W4 H2 F25:1 A4\n", HOSTFILE_BAD_FORMAT, "bad pixel aspect A4 (expected A<num>:<den>)"},
        {"YUV4MPEG2 W4 H2 F25:1", HOSTFILE_TRUNCATED,
         "truncated stream header (the stream ends at byte 21 before its line feed)"},
    };
    for (const Case& c : cases) {
        const std::string path = Put("in.y4m", Bytes(c.content.begin(), c.content.end()));
        Y4mVideoSource src;
        int error = -1;
        const std::wstring wide(path.begin(), path.end());
        EXPECT_EQ(src.Open(wide.c_str(), nullptr, &error), 0) << c.content;
        EXPECT_EQ(error, c.code) << c.content;
        EXPECT_EQ(src.LastError(), path + ": " + c.message);
        EXPECT_EQ(src.GetFrame(), nullptr);
        EXPECT_EQ(src.Forward(1), 0);
        EXPECT_EQ(src.VideoSeek(3, 0), -1);
        EXPECT_EQ(src.GetVideoInfo()->nWidth, 0);
    }
    // The same refusal through a pipe.
    const std::string bad = "YUV4MPEG2 W4 H2 F25:1 C444\n";
    filetest::FedPipe pipe(Bytes(bad.begin(), bad.end()));
    Y4mVideoSource piped;
    EXPECT_EQ(piped.OpenStream(pipe.Read(), "standard input", false), HOSTFILE_UNSUPPORTED);
    EXPECT_EQ(piped.LastError(), "standard input: unsupported chroma format C444 (only 4:2:0 is supported)");

    Y4mVideoSource missing;
    int error = -1;
    EXPECT_EQ(missing.Open(L"/nonexistent-dp-folder/in.y4m", nullptr, &error), 0);
    EXPECT_EQ(error, HOSTFILE_CANNOT_OPEN);
    EXPECT_EQ(missing.LastError(), "/nonexistent-dp-folder/in.y4m: cannot open: No such file or directory");
    EXPECT_EQ(missing.Open(nullptr, nullptr, &error), 0);
}

TEST_F(Y4mFile, WriterRefusesBadFormatsAndMismatchedFrames)
{
    Y4mWriter writer;
    Y4mStreamFormat fmt;
    fmt.width = 8;
    fmt.height = 0;
    EXPECT_FALSE(writer.Open(dir.File("bad.y4m"), fmt));
    EXPECT_EQ(writer.LastError(), dir.File("bad.y4m") + ": bad picture size 8x0");
    fmt.height = 8;
    fmt.rateDen = 0;
    EXPECT_FALSE(writer.Open(dir.File("bad.y4m"), fmt));
    fmt.rateDen = 1;
    fmt.interlace = 'x';
    EXPECT_FALSE(writer.Open(dir.File("bad.y4m"), fmt));
    EXPECT_FALSE(writer.Open(static_cast<const char*>(nullptr), fmt));
    EXPECT_TRUE(dir.List().empty());

    fmt.interlace = 'p';
    ASSERT_TRUE(writer.Open(dir.File("size.y4m"), fmt));
    MEDIA_FRAME* other = CreateYV12Frame(8, 6, 0, 1);
    EXPECT_FALSE(writer.WriteFrame(other));
    EXPECT_EQ(writer.LastError(), dir.File("size.y4m") + ": frame 0 is 8x6, the stream is 8x8");
    EXPECT_FALSE(writer.WriteFrame(other)); // the output is abandoned
    EXPECT_FALSE(writer.Commit());
    EXPECT_TRUE(dir.List().empty());
    ReleaseYV12Frame(other);
}

} // namespace
