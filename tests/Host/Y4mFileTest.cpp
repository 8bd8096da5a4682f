#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <utility>

#include <DataProcess/Frame.h>

#include "../Video/VideoTestSupport.h"
#include "FileTestSupport.h"
#include "SyntheticVideoSource.h"
#include "Y4mFormat.h"
#include "Y4mVideoSource.h"
#include "Y4mWriter.h"

namespace {

using filetest::Bytes;

size_t FrameBytes(int w, int h) { return size_t(w) * h + 2 * size_t((w + 1) / 2) * ((h + 1) / 2); }

// Frame f of a test stream as the stream stores it (Y, then U, then V).
Bytes ExpectedPlanes(int f, int w, int h)
{
    Bytes out(FrameBytes(w, h));
    for (size_t i = 0; i < out.size(); ++i)
        out[i] = static_cast<unsigned char>(f * 31 + i * 7 + (i >> 8));
    return out;
}

// "YUV4MPEG2 <header>", then `frames` frames, after the FRAME lines given
// (without their line feed; "FRAME" for the rest).
Bytes MakeY4m(const std::string& header, int w, int h, int frames, std::vector<std::string> lines = {})
{
    Bytes b;
    filetest::Append(&b, "YUV4MPEG2 " + header + "\n");
    lines.resize(static_cast<size_t>(frames), "FRAME");
    for (int f = 0; f < frames; ++f) {
        filetest::Append(&b, lines[static_cast<size_t>(f)] + "\n");
        const Bytes planes = ExpectedPlanes(f, w, h);
        b.insert(b.end(), planes.begin(), planes.end());
    }
    return b;
}

// Walks the stream with Forward(1), checking each picture; returns the count.
int ReadAll(Y4mVideoSource& src, int w, int h)
{
    int n = 0;
    for (const MEDIA_FRAME* f = src.GetFrame(); f; f = src.Forward(1) == 1 ? src.GetFrame() : nullptr)
        EXPECT_EQ(Planes(f), ExpectedPlanes(n++, w, h)) << "frame " << n - 1;
    return n;
}

// Odd size from padded pitches, NTSC rate, an interlace tag and a display
// aspect written and read back, through a non-ASCII path; what the writer
// refuses abandons the output.
TEST(Y4mFile, WriterAndReaderRoundTrip)
{
    SyntheticVideoConfig cfg;
    cfg.width = 33;
    cfg.height = 17;
    cfg.pitchPadding = 5;
    SyntheticVideoSource synth(cfg);
    filetest::TempDir dir;
    const std::string path = dir.File("vid\xC3\xA9o \xE6\x98\xA0.y4m");
    Y4mWriter writer;
    EXPECT_FALSE(writer.Open(path, Y4mStreamFormat{33, 0, 25, 1, 0, 0, 'p'}));
    EXPECT_EQ(writer.LastError(), path + ": bad picture size 33x0");
    EXPECT_FALSE(writer.Open(static_cast<const char*>(nullptr), Y4mStreamFormat{33, 17, 25, 1, 0, 0, 'p'}));
    EXPECT_EQ(writer.LastError(), "no output file name given");
    const Y4mStreamFormat fmt = {33, 17, 30000, 1001, 4, 3, 't'};
    ASSERT_TRUE(writer.Open(path, fmt)) << writer.LastError();
    MEDIA_FRAME* other = CreateYV12Frame(32, 17, 0, 1);
    EXPECT_FALSE(writer.WriteFrame(other));
    EXPECT_EQ(writer.LastError(), path + ": frame 0 is 32x17, the stream is 33x17");
    EXPECT_FALSE(writer.WriteFrame(other)); // the output is abandoned
    EXPECT_FALSE(writer.Commit());
    ReleaseYV12Frame(other);
    EXPECT_TRUE(dir.List().empty());

    ASSERT_TRUE(writer.Open(path, fmt)) << writer.LastError();
    for (int i = 0; i < 5; ++i, synth.Forward(1))
        ASSERT_TRUE(writer.WriteFrame(synth.GetFrame())) << writer.LastError();
    ASSERT_TRUE(writer.Commit()) << writer.LastError();
    EXPECT_EQ(dir.List().size(), 1u); // no temporary file left behind
    const Bytes file = filetest::ReadFile(path);
    const std::string head = "YUV4MPEG2 W33 H17 F30000:1001 It A68:99 C420jpeg\n";
    EXPECT_EQ(std::string(file.begin(), file.begin() + head.size()), head);
    EXPECT_EQ(file.size(), head.size() + 5 * (6 + FrameBytes(33, 17)));
    int32_t num = 0, den = 0; // the rate the tool writes for --rate 29.97
    y4m::RateToFraction(29.97, &num, &den);
    EXPECT_EQ(std::make_pair(num, den), std::make_pair(30000, 1001));

    Y4mVideoSource src;
    int error = -1;
    const std::wstring wide = filetest::Wide(dir.Path()) + L"/vid\u00E9o \u6620.y4m";
    ASSERT_EQ(src.Open(wide.c_str(), nullptr, &error), 1) << src.LastError();
    EXPECT_EQ(error, HOSTFILE_OK);
    const VideoInfo* vi = src.GetVideoInfo();
    EXPECT_EQ(reinterpret_cast<const char*>(vi), reinterpret_cast<const char*>(src.GetVideoStreamInfo()) + 796);
    EXPECT_EQ(std::make_tuple(vi->nWidth, vi->nHeight, vi->nFrameCount, vi->nAspectX, vi->nAspectY, src.Interlacing()),
              std::make_tuple(33, 17, 5, 4, 3, 't'));
    EXPECT_DOUBLE_EQ(vi->dFrameRate, 30000.0 / 1001.0);
    EXPECT_EQ(src.FramePeriod(), 333667); // round(10^7 * 1001 / 30000)
    synth.VideoSeek(0, 0);
    for (int i = 0; i < 5; ++i, synth.Forward(1)) {
        const MEDIA_FRAME* f = src.GetFrame();
        ASSERT_NE(f, nullptr);
        EXPECT_EQ(src.GetFrameOffset(), i);
        EXPECT_EQ(Planes(f), Planes(synth.GetFrame())) << "frame " << i;
        EXPECT_EQ(f->llStartTime, y4m::FrameStart(i, 30000, 1001));
        EXPECT_EQ(f->llStopTime, f->llStartTime + 333667); // pictures: stop = start + one period
        EXPECT_EQ(f->nDuration, 333667);
        EXPECT_EQ(src.Forward(1), i < 4 ? 1 : 0);
    }
    EXPECT_EQ(src.GetFrameOffset(), 4); // the last frame stays current
    EXPECT_EQ(src.LastError(), "");
    EXPECT_FALSE(src.Truncated());

    EXPECT_EQ(y4m::FrameStart(1, 20000000, 1), 1); // 0.5 rounds up
    EXPECT_EQ(y4m::FrameStart(1, 40000000, 1), 0); // 0.25 rounds down
    // i * 10^7 * den passes 2^63 on the way; the results stay exact.
    EXPECT_EQ(y4m::FrameStart(2147483646, 2147483647, 2147483647), 21474836460000000);
    EXPECT_EQ(y4m::FrameStart(2147483646, 2147483647, 1), 10000000); // 9999999.995
    EXPECT_EQ(y4m::FrameStart(1000000, 1, 2147483647), INT64_MAX);   // clamped
}

// Every input that is refused or cut short, read from a file and from a
// pipe: the open result, the complete frames delivered, and the message.
TEST(Y4mFile, BadInputsAreReportedWithTheirMessage)
{
    const std::string notY4m = "not a YUV4MPEG2 stream (it does not start with \"YUV4MPEG2 \")";
    const std::string rate = " (expected F<num>:<den>, both positive)", only420 = " (only 4:2:0 is supported)";
    const Bytes three = MakeY4m("W4 H2 F25:1", 4, 2, 3); // 22 header bytes, then 6 + 12 a frame
    Bytes cutLine = MakeY4m("W4 H2 F25:1", 4, 2, 2), junk = MakeY4m("W4 H2 F25:1", 4, 2, 2, {"FRAME Ixyz"});
    filetest::Append(&cutLine, "FRA");
    filetest::Append(&junk, "JUNK\n0123456789ab");
    const int OK = HOSTFILE_OK, BAD = HOSTFILE_BAD_FORMAT, UNSUPPORTED = HOSTFILE_UNSUPPORTED;
    const struct {
        std::string content;
        int code, frames;
        bool truncated;
        std::string message; // after "<path>: "
    } cases[] = {
        {"", BAD, 0, false, "empty input (not a YUV4MPEG2 stream)"},
        {"RIFF\x24\x01\x02\x03WAVEfmt ", BAD, 0, false, notY4m},
        {"YUV4MPEG2W4 H2\n", BAD, 0, false, notY4m},
        {"YUV4MPEG2 W4 H2 F25:1 C444\n", UNSUPPORTED, 0, false, "unsupported chroma format C444" + only420},
        {"YUV4MPEG2 W4 H2 F25:1 C420p10\n", UNSUPPORTED, 0, false, "unsupported chroma format C420p10" + only420},
        {"YUV4MPEG2 W4 H2 F25:0\n", BAD, 0, false, "bad frame rate F25:0" + rate},
        {"YUV4MPEG2 W4 H2 F25\n", BAD, 0, false, "bad frame rate F25" + rate},
        {"YUV4MPEG2 W4 H2 F-25:1\n", BAD, 0, false, "bad frame rate F-25:1" + rate},
        {"YUV4MPEG2 W4 H2 F99999999999:1\n", BAD, 0, false, "bad frame rate F99999999999:1" + rate},
        {"YUV4MPEG2 W4 H2\n", BAD, 0, false, "stream header has no frame rate (F)"},
        {"YUV4MPEG2 H2 F25:1\n", BAD, 0, false, "stream header has no width (W)"},
        {"YUV4MPEG2 W0 H2 F25:1\n", BAD, 0, false, "bad picture width W0 (expected 1 to 65536)"},
        {"YUV4MPEG2 W4 Hx F25:1\n", BAD, 0, false, "bad picture height Hx (expected 1 to 65536)"},
        {"YUV4MPEG2 W65536 H65536 F25:1\n", UNSUPPORTED, 0, false, "picture size 65536x65536 is too large"},
        {"YUV4MPEG2 W4 H2 F25:1 Iq\n", BAD, 0, false, "bad interlacing tag Iq (expected Ip, It, Ib, Im or I?)"},
        {"YUV4MPEG2 W4 H2 F25:1 A4\n", BAD, 0, false, "bad pixel aspect A4 (expected A<num>:<den>)"},
        {"YUV4MPEG2 W4 H2 F25:1", HOSTFILE_TRUNCATED, 0, false,
         "truncated stream header (the stream ends at byte 21 before its line feed)"},
        // Streams that open but end badly: the complete frames come first.
        {std::string(three.begin(), three.end() - 2), OK, 2, true, "truncated frame 2 (got 10 of 12 bytes)"},
        {std::string(three.begin(), three.begin() + 39), OK, 0, true, "truncated frame 0 (got 11 of 12 bytes)"},
        {std::string(cutLine.begin(), cutLine.end()), OK, 2, true,
         "truncated frame 2 (the stream ends inside its FRAME line at byte 61)"},
        {std::string(junk.begin(), junk.end()), OK, 2, false, "frame 2 at byte 63: expected a FRAME line"},
    };
    filetest::TempDir dir;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.message);
        const Bytes content(c.content.begin(), c.content.end());
        const std::string path = dir.Put("in.y4m", content);
        Y4mVideoSource file, piped;
        int error = -1;
        EXPECT_EQ(file.Open(filetest::Wide(path).c_str(), nullptr, &error), c.code == OK ? 1 : 0);
        EXPECT_EQ(error, c.code);
        EXPECT_EQ(piped.OpenStream(filetest::Pipe(content), path, true), c.code);
        for (Y4mVideoSource* src : {&file, &piped}) {
            EXPECT_EQ(ReadAll(*src, 4, 2), c.frames);
            EXPECT_EQ(src->LastError(), path + ": " + c.message);
            EXPECT_EQ(src->Truncated(), c.truncated);
            EXPECT_EQ(src->GetVideoInfo()->nWidth, c.code == OK ? 4 : 0);
        }
    }
    Y4mVideoSource missing;
    int error = -1;
    EXPECT_EQ(missing.Open(L"/nonexistent-dp-folder/in.y4m", nullptr, &error), 0);
    EXPECT_EQ(error, HOSTFILE_CANNOT_OPEN);
    EXPECT_EQ(missing.LastError(), "/nonexistent-dp-folder/in.y4m: cannot open: No such file or directory");
    EXPECT_EQ(missing.VideoSeek(3, 0), -1);
    Y4mVideoSource unnamed;
    EXPECT_EQ(unnamed.Open(nullptr, nullptr, &error), 0);
    EXPECT_EQ(unnamed.LastError(), "no file name given");
}

} // namespace
