// Every way a run of dataprocess can go wrong gives one line on standard
// error that names what is wrong, exit status 1 (processing) or 2 (usage),
// nothing on standard output, and leaves the folder as it was: no output
// under its final name and no temporary file.
#include <gtest/gtest.h>

#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

#include "ToolRunner.h"

namespace tooltest {
namespace {

struct BadCase {
    const char* name;
    std::vector<std::string> args; // "@" stands for the folder
    int status;
    const char* mentions; // expected in the message
};

void PrintTo(const BadCase& c, std::ostream* os) { *os << c.name; }

std::string Le32(uint32_t v)
{
    std::string s(4, '\0');
    for (int i = 0; i < 4; ++i)
        s[i] = static_cast<char>(v >> (8 * i));
    return s;
}

// A WAV with a 16-byte fmt chunk of the given tag and sample size and
// `dataBytes` bytes of silence, whose data chunk claims `claimed` bytes.
Bytes Wav(uint16_t tag, uint16_t bits, uint32_t dataBytes, uint32_t claimed)
{
    const uint16_t channels = 1, align = static_cast<uint16_t>(bits / 8);
    std::string fmt;
    fmt += std::string{static_cast<char>(tag), static_cast<char>(tag >> 8), static_cast<char>(channels), 0};
    fmt += Le32(44100) + Le32(44100u * align);
    fmt += std::string{static_cast<char>(align), 0, static_cast<char>(bits), 0};
    std::string f = "RIFF" + Le32(4 + 24 + 8 + claimed) + "WAVE" + "fmt " + Le32(16) + fmt + "data" + Le32(claimed);
    f += std::string(dataBytes, '\0');
    return Bytes(f.begin(), f.end());
}

Bytes Text(const std::string& s) { return Bytes(s.begin(), s.end()); }

class ToolBadInput : public ::testing::TestWithParam<BadCase> {
protected:
    void SetUp() override
    {
        ClipShape shape;
        MakeClip(dir.File("in.y4m"), shape);
        const Bytes clip = ReadBytes(dir.File("in.y4m"));
        WriteBytes(dir.File("short.y4m"), Bytes(clip.begin(), clip.end() - 50));
        WriteBytes(dir.File("notes.y4m"), Text("these are not pictures\n"));
        WriteBytes(dir.File("c444.y4m"), Text("YUV4MPEG2 W16 H8 F25:1 C444\nFRAME\n" + std::string(16 * 8 * 3, 'x')));
        MakeTone(dir.File("in.wav"), 44100, 2, 4410);
        WriteBytes(dir.File("junk.wav"), Text("JUNK" + std::string(60, 'j')));
        WriteBytes(dir.File("float.wav"), Wav(3, 32, 400, 400));
        WriteBytes(dir.File("cut.wav"), Wav(1, 16, 399, 400));
        WriteBytes(dir.File("logo32.bmp"), MakeBmp(4, 4, 32, 1, 2, 3));
        WriteBytes(dir.File("pic24.bmp"), MakeBmp(4, 4, 24, 1, 2, 3));
        before = dir.List();
    }

    std::vector<std::string> Args() const
    {
        std::vector<std::string> args;
        for (const std::string& a : GetParam().args) {
            std::string s = a;
            for (size_t at; (at = s.find('@')) != std::string::npos;)
                s.replace(at, 1, dir.Path());
            args.push_back(s);
        }
        return args;
    }

    ScratchDir dir;
    std::vector<std::string> before;
};

TEST_P(ToolBadInput, OneLineAStatusAndNothingLeft)
{
    const BadCase& c = GetParam();
    const RunResult r = RunTool(Args());
    EXPECT_EQ(r.status, c.status) << r.err;
    EXPECT_TRUE(IsOneLine(r.err)) << r.err;
    EXPECT_EQ(r.err.rfind("dataprocess: ", 0), 0u) << r.err;
    EXPECT_NE(r.err.find(c.mentions), std::string::npos) << r.err;
    EXPECT_EQ(r.out, "");
    EXPECT_EQ(dir.List(), before);
}

const BadCase kCases[] = {
    // The input.
    {"MissingInput", {"video", "@/none.y4m", "-o", "@/out.y4m"}, 1, "none.y4m"},
    {"NotY4m", {"video", "@/notes.y4m", "-o", "@/out.y4m"}, 1, "notes.y4m"},
    {"Chroma444", {"video", "@/c444.y4m", "-o", "@/out.y4m"}, 1, "C444"},
    {"TruncatedFrame", {"video", "@/short.y4m", "-o", "@/out.y4m"}, 1, "short.y4m: truncated frame"},
    {"TruncatedFrameAtDoubleRate", {"video", "@/short.y4m", "-o", "@/out.y4m", "--rate", "50"}, 1, "truncated"},
    {"NotRiff", {"audio", "@/junk.wav", "-o", "@/out.wav"}, 1, "junk.wav"},
    {"FloatWav", {"audio", "@/float.wav", "-o", "@/out.wav"}, 1, "float"},
    {"WavEndsInsideASample", {"audio", "@/cut.wav", "-o", "@/out.wav"}, 1, "cut.wav"},
    {"MissingBitmap", {"bmp2jpeg", "@/none.bmp", "@/out.jpg"}, 1, "none.bmp"},
    {"ThirtyTwoBitBitmapToJpeg", {"bmp2jpeg", "@/logo32.bmp", "@/out.jpg"}, 1, "logo32.bmp"},
    {"MissingWatermark", {"video", "@/in.y4m", "-o", "@/out.y4m", "--watermark", "@/none.bmp"}, 1, "none.bmp"},
    // The output.
    {"OutputFolderMissing", {"video", "@/in.y4m", "-o", "@/gone/out.y4m"}, 1, "gone/out.y4m"},
    {"AudioOutputUnderAFile", {"audio", "@/in.wav", "-o", "@/in.y4m/out.wav"}, 1, "out.wav"},
    {"JpegTwoFoldersDeep", {"bmp2jpeg", "@/pic24.bmp", "@/gone/a/out.jpg"}, 1, "gone/a/out.jpg"},
    {"CaptureIntoMissingFolder", {"video", "@/in.y4m", "-o", "@/out.y4m", "--capture", "0:@/gone/shot.jpg"}, 1,
     "gone/shot.jpg"},
    {"CaptureAfterTheEnd", {"video", "@/in.y4m", "-o", "@/out.y4m", "--capture", "30:@/shot.bmp"}, 1,
     "shot.bmp: capture at 30 s"},
    {"OutputIsTheInput", {"video", "@/in.y4m", "-o", "@/in.y4m"}, 2, "-o"},
    // Option values.
    {"SizeWithoutHeight", {"video", "@/in.y4m", "-o", "@/out.y4m", "--size", "12"}, 2, "--size"},
    {"CropOfTwoNumbers", {"video", "@/in.y4m", "-o", "@/out.y4m", "--crop", "1,2"}, 2, "--crop"},
    {"RotateByFortyFive", {"video", "@/in.y4m", "-o", "@/out.y4m", "--rotate", "45"}, 2, "--rotate"},
    {"UnknownFilter", {"video", "@/in.y4m", "-o", "@/out.y4m", "--filter", "bogus"}, 2, "--filter"},
    {"CaptureToPng", {"video", "@/in.y4m", "-o", "@/out.y4m", "--capture", "3:x.png"}, 2, "--capture"},
    {"RateAboveTheLimit", {"video", "@/in.y4m", "-o", "@/out.y4m", "--rate", "500"}, 2, "--rate"},
    {"AudioChannelsThree", {"audio", "@/in.wav", "-o", "@/out.wav", "--channels", "3"}, 2, "--channels"},
    {"FadeOfNoLength", {"audio", "@/in.wav", "-o", "@/out.wav", "--fade-in", "0"}, 2, "--fade-in"},
    {"UnknownOption", {"video", "@/in.y4m", "-o", "@/out.y4m", "--sharpen"}, 2, "--sharpen"},
    // Missing arguments.
    {"NoOutput", {"video", "@/in.y4m"}, 2, "--output"},
    {"NoInput", {"audio", "-o", "@/out.wav"}, 2, "input"},
    {"NoJpegName", {"bmp2jpeg", "@/logo32.bmp"}, 2, "output"},
    {"NoCommand", {}, 2, "subcommand"},
};

INSTANTIATE_TEST_SUITE_P(Cases, ToolBadInput, ::testing::ValuesIn(kCases),
                         [](const ::testing::TestParamInfo<BadCase>& info) { return std::string(info.param.name); });

// The same failures with the data arriving on standard input.
TEST(ToolBadStdin, TruncatedAndMalformedStreams)
{
    ScratchDir dir;
    ClipShape shape;
    MakeClip(dir.File("in.y4m"), shape);
    const Bytes clip = ReadBytes(dir.File("in.y4m"));
    WriteBytes(dir.File("short.y4m"), Bytes(clip.begin(), clip.end() - 50));
    WriteBytes(dir.File("junk.wav"), Text("JUNK" + std::string(60, 'j')));
    const std::vector<std::string> before = dir.List();

    RunResult r = RunTool({"video", "-", "-o", dir.File("out.y4m")}, dir.File("short.y4m"));
    EXPECT_EQ(r.status, 1);
    EXPECT_TRUE(IsOneLine(r.err)) << r.err;
    EXPECT_NE(r.err.find("truncated"), std::string::npos) << r.err;

    r = RunTool({"audio", "-", "-o", "-"}, dir.File("junk.wav"));
    EXPECT_EQ(r.status, 1);
    EXPECT_TRUE(IsOneLine(r.err)) << r.err;
    EXPECT_NE(r.err.find("RIFF"), std::string::npos) << r.err;
    EXPECT_EQ(r.out, "");
    EXPECT_EQ(dir.List(), before);
}

} // namespace
} // namespace tooltest
