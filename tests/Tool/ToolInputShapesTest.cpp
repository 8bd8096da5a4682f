// dataprocess on the files users have, made by the ffmpeg program: every
// input shape through every command (audio only, cover art, video only,
// several audio tracks, subtitles beside the streams), phone videos turned
// upright, outputs that would replace an input whatever their spelling, a
// WAV header with an absurd rate, and broadcast streams whose stamps jump
// or whose audio changes format. Skipped where the ffmpeg program is not
// installed (scripts/install-deps.sh probe).
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <unistd.h>

#include "FfmpegAudioSource.h"
#include "FfmpegVideoSource.h"
#include "HostFile.h"
#include "ToolRunner.h"

namespace tooltest {
namespace {

bool HaveFfmpeg() { return std::system("ffmpeg -version >/dev/null 2>&1") == 0; }

// Runs the ffmpeg program quietly; true on success.
bool Ffmpeg(const std::string& args)
{
    return std::system(("ffmpeg -v error -y -nostdin " + args + " >/dev/null 2>&1").c_str()) == 0;
}

const char* kVideo = "-f lavfi -i testsrc=s=160x96:r=25:d=1 ";
const char* kTone = "-f lavfi -i sine=f=440:d=1 ";

// The clips of every shape, made once for the whole file.
class ShapesTest : public ::testing::Test {
protected:
    static void SetUpTestSuite()
    {
        if (!HaveFfmpeg())
            return;
        s_dir = new TempDir;
        const std::string d = s_dir->path() + "/";
        s_ok = Ffmpeg(std::string(kTone) + "-c:a libmp3lame " + d + "song.mp3") &&
               Ffmpeg("-f lavfi -i testsrc=s=64x64:d=1 -frames:v 1 " + d + "cover.png") &&
               Ffmpeg("-i " + d + "song.mp3 -i " + d + "cover.png -map 0 -map 1 -c:a copy -c:v mjpeg "
                      "-disposition:v attached_pic " + d + "cover.mp3") &&
               Ffmpeg(std::string(kVideo) + "-c:v libx264 -pix_fmt yuv420p " + d + "silent.mp4") &&
               Ffmpeg(std::string(kVideo) + kTone + "-f lavfi -i sine=f=1000:r=22050:d=1 -map 0 -map 1 -map 2 "
                      "-c:v libx264 -pix_fmt yuv420p -c:a flac " + d + "two.mkv") &&
               Ffmpeg(std::string(kVideo) + kTone + "-f srt -i " + Srt(d) + " -map 0 -map 1 -map 2 -c:v libx264 "
                      "-pix_fmt yuv420p -c:a aac -c:s mov_text " + d + "subs.mp4") &&
               Ffmpeg("-f lavfi -i color=c=0x404040:s=160x96:r=25:d=1 -vf drawbox=x=0:y=0:w=16:h=16:c=white:t=fill "
                      "-c:v libx264 -pix_fmt yuv420p " + d + "stored.mp4");
        for (const char* turn : {"90", "180", "270"})
            s_ok = s_ok && Ffmpeg("-i " + d + "stored.mp4 -c copy -metadata:s:v:0 rotate=" + turn + " " + d + "turn" +
                                  turn + ".mp4");
    }
    static void TearDownTestSuite()
    {
        delete s_dir;
        s_dir = nullptr;
    }
    void SetUp() override
    {
        if (!HaveFfmpeg())
            GTEST_SKIP() << "the ffmpeg program is not installed (scripts/install-deps.sh probe)";
        ASSERT_TRUE(s_ok) << "could not make the test clips with the ffmpeg program";
    }
    static std::string Srt(const std::string& d)
    {
        const std::string text = "1\n00:00:00,000 --> 00:00:00,800\nhello\n";
        WriteFile(d + "subs.srt", Bytes(text.begin(), text.end()));
        return d + "subs.srt";
    }
    static std::string Clip(const std::string& name) { return s_dir->path() + "/" + name; }

    static TempDir* s_dir;
    static bool s_ok;
};

TempDir* ShapesTest::s_dir = nullptr;
bool ShapesTest::s_ok = false;

struct Streams {
    int width = 0, height = 0;
    int64_t frames = 0, samples = 0;
    int rate = 0, channels = 0;
};

Streams Probe(const std::string& path)
{
    Streams s;
    FfmpegVideoSource v;
    if (v.OpenPath(path) == HOSTFILE_OK && v.GetFrame()) {
        s.width = v.Width();
        s.height = v.Height();
        do
            ++s.frames;
        while (v.Forward(1));
    }
    FfmpegAudioSource a;
    if (a.OpenPath(path) == HOSTFILE_OK) {
        s.rate = a.SampleRate();
        s.channels = a.Channels();
        while (MEDIA_FRAME* b = a.GetNextFrame())
            s.samples += b->nDataSize / (2 * a.Channels());
    }
    return s;
}

// Each command on each shape works or refuses with one line and no output.
TEST_F(ShapesTest, EveryShapeThroughEveryCommand)
{
    TempDir out;
    const struct {
        const char* input;
        std::vector<std::string> args; // after "IN -o OUT"
        const char* command;
        const char* output;
        int status;
        const char* text; // in the one line of a refusal
        int width, channels, rate;
    } cases[] = {
        // Audio only: convert makes an audio file, and a video container
        // with the audio alone.
        {"song.mp3", {}, "convert", "a.m4a", 0, "", 0, 1, 44100},
        {"song.mp3", {}, "convert", "b.mp4", 0, "", 0, 1, 44100},
        {"song.mp3", {}, "video", "c.y4m", 1, "song.mp3: no video stream", 0, 0, 0},
        {"song.mp3", {"--capture", "0.5:x.jpg"}, "convert", "d.mp4", 2, "--capture:", 0, 0, 0},
        {"song.mp3", {}, "convert", "d.y4m", 2, "holds video; the input has only audio", 0, 0, 0},
        // Cover art is not video.
        {"cover.mp3", {}, "convert", "e.mp4", 0, "", 0, 1, 44100},
        {"cover.mp3", {}, "video", "f.y4m", 1, "cover.mp3: no video stream", 0, 0, 0},
        // Video only.
        {"silent.mp4", {}, "convert", "g.mp4", 0, "", 160, 0, 0},
        {"silent.mp4", {}, "audio", "h.wav", 1, "silent.mp4: no audio stream", 0, 0, 0},
        // Two audio tracks: the best, or the one asked for.
        {"two.mkv", {}, "audio", "i.wav", 0, "", 0, 1, 44100},
        {"two.mkv", {"--audio-stream", "1"}, "audio", "j.wav", 0, "", 0, 1, 22050},
        {"two.mkv", {"--audio-stream", "1", "--codec", "ffv1"}, "convert", "k.mkv", 0, "", 160, 1, 22050},
        {"two.mkv", {"--audio-stream", "2"}, "convert", "l.mkv", 1, "no audio stream 2 (it has 2, numbered from 0)",
         0, 0, 0},
        {"two.mkv", {"--video-stream", "1"}, "video", "m.y4m", 1, "no video stream 1 (it has 1, numbered from 0)", 0,
         0, 0},
        // A subtitle stream beside the others changes nothing.
        {"subs.mp4", {"--preset", "ultrafast"}, "convert", "n.mp4", 0, "", 160, 1, 44100},
    };
    for (const auto& c : cases) {
        const std::string output = out.file(c.output);
        std::vector<std::string> args{c.command, Clip(c.input), "-o", output, "-q"};
        args.insert(args.end(), c.args.begin(), c.args.end());
        const RunResult r = RunTool(args);
        SCOPED_TRACE(std::string(c.command) + " " + c.input + " -> " + c.output);
        ASSERT_EQ(r.status, c.status) << r.err;
        if (c.status != 0) {
            EXPECT_TRUE(IsOneLine(r.err)) << r.err;
            EXPECT_NE(r.err.find(c.text), std::string::npos) << r.err;
            EXPECT_FALSE(std::filesystem::exists(output));
            continue;
        }
        if (HostPathExtension(output) == "wav") {
            const WavRead w = ReadWav(output);
            EXPECT_EQ(w.rate, c.rate);
            EXPECT_EQ(w.channels, c.channels);
            continue;
        }
        const Streams s = Probe(output);
        EXPECT_EQ(s.width, c.width);
        EXPECT_EQ(s.channels, c.channels);
        EXPECT_EQ(s.rate, c.rate);
        if (c.width) {
            EXPECT_EQ(s.frames, 25);
        }
        if (c.rate) { // one second, to within one AAC frame
            EXPECT_NEAR(double(s.samples), double(c.rate), 1100.0);
        }
    }
}

// A display matrix turns the picture upright exactly as the same turn given
// by hand; --no-autorotate keeps the stored picture.
TEST_F(ShapesTest, DisplayMatrixIsTheStagesOwnTurn)
{
    TempDir out;
    const struct {
        const char* input;
        std::vector<std::string> asked; // the user's own turn, after the file's
        std::vector<std::string> byHand;
        int width, height;
    } cases[] = {
        {"turn90.mp4", {}, {"--rotate", "90"}, 96, 160},
        {"turn270.mp4", {}, {"--rotate", "270"}, 96, 160},
        {"turn180.mp4", {}, {"--flip", "horizontal,vertical"}, 160, 96},
        // A half turn after the file's quarter is the other quarter.
        {"turn90.mp4", {"--flip", "horizontal,vertical"}, {"--rotate", "270"}, 96, 160},
        {"turn180.mp4", {"--flip", "horizontal"}, {"--flip", "vertical"}, 160, 96},
    };
    int n = 0;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.input);
        const std::string a = out.file("auto" + std::to_string(n) + ".y4m");
        const std::string b = out.file("hand" + std::to_string(n++) + ".y4m");
        std::vector<std::string> autoArgs{"video", Clip(c.input), "-o", a, "-q"};
        autoArgs.insert(autoArgs.end(), c.asked.begin(), c.asked.end());
        std::vector<std::string> handArgs{"video", Clip("stored.mp4"), "-o", b, "-q"};
        handArgs.insert(handArgs.end(), c.byHand.begin(), c.byHand.end());
        ASSERT_EQ(RunTool(autoArgs).status, 0);
        ASSERT_EQ(RunTool(handArgs).status, 0);
        const ClipRead upright = ReadClip(a);
        EXPECT_EQ(upright.width, c.width);
        EXPECT_EQ(upright.height, c.height);
        EXPECT_EQ(ReadFile(a), ReadFile(b));
    }
    // Where the white corner of the stored picture goes: the top-left
    // corner turned a quarter counter-clockwise is the bottom-left.
    const ClipRead upright = ReadClip(out.file("auto0.y4m"));
    ASSERT_TRUE(upright.ok);
    EXPECT_GT(upright.luma[0][size_t(150) * 96 + 4], 200);
    EXPECT_LT(upright.luma[0][size_t(4) * 96 + 4], 200);

    ASSERT_EQ(RunTool({"video", Clip("turn90.mp4"), "-o", out.file("kept.y4m"), "--no-autorotate", "-q"}).status, 0);
    const ClipRead kept = ReadClip(out.file("kept.y4m"));
    EXPECT_EQ(kept.width, 160);
    EXPECT_EQ(kept.height, 96);
}

// No spelling of an input may be written over, nor two outputs be one file:
// one line, exit 2, nothing touched.
TEST_F(ShapesTest, OutputsNeverReplaceInputs)
{
    TempDir dir;
    const std::string in = dir.file("in.mp4");
    std::filesystem::copy_file(Clip("silent.mp4"), in);
    std::filesystem::create_directory(dir.file("sub"));
    std::filesystem::create_symlink(in, dir.file("link.mp4"));
    std::filesystem::create_hard_link(in, dir.file("hard.mp4"));
    const Bytes before = ReadFile(in);
    WriteFile(dir.file("logo.bmp"), stilltest::BuildBmp24(stilltest::MakeFlat(8, 8, 255, 0, 0)));
    const std::string dotted = dir.path() + "/./sub/../in.mp4";
    const struct {
        std::vector<std::string> args;
        const char* text;
    } cases[] = {
        {{"convert", in, "-o", dir.file("link.mp4")}, "that is the input file"},
        {{"convert", in, "-o", dir.file("hard.mp4")}, "that is the input file"},
        {{"video", in, "-o", dotted}, "that is the input file"},
        {{"audio", dir.file("link.mp4"), "-o", in}, "that is the input file"},
        {{"video", in, "-o", dir.file("a.mp4"), "--capture", "0.5:" + dir.file("logo.bmp"), "--watermark",
          dir.file("logo.bmp")},
         "that is the --watermark file"},
        {{"video", in, "-o", dir.file("shot.bmp"), "--capture", "0.5:" + dir.path() + "/sub/../shot.bmp"},
         "the same file as -o"},
    };
    for (const auto& c : cases) {
        const RunResult r = RunTool(c.args);
        EXPECT_EQ(r.status, 2) << r.err;
        EXPECT_TRUE(IsOneLine(r.err)) << r.err;
        EXPECT_NE(r.err.find(c.text), std::string::npos) << r.err;
    }
    EXPECT_EQ(ReadFile(in), before);
    EXPECT_EQ(List(dir.path()), (std::vector<std::string>{"hard.mp4", "in.mp4", "link.mp4", "logo.bmp", "sub"}));
}

// Broadcast streams: stamps that jump by 1000 s between two programmes, and
// audio that switches from stereo to 5.1, convert in proportion to the
// input (no quarter of an hour of repeated frames) into the first format.
TEST_F(ShapesTest, BroadcastDiscontinuitiesAndFormatChanges)
{
    TempDir dir;
    const std::string d = dir.path() + "/";
    const std::string seg = std::string(kVideo) + "-f lavfi -i sine=f=440:d=1 -c:v mpeg2video -c:a ac3 ";
    ASSERT_TRUE(Ffmpeg(seg + "-ac 2 -f mpegts " + d + "a.ts"));
    ASSERT_TRUE(Ffmpeg(seg + "-ac 2 -output_ts_offset 1000 -f mpegts " + d + "b.ts"));
    ASSERT_TRUE(Ffmpeg(seg + "-ac 6 -output_ts_offset 1 -f mpegts " + d + "c.ts"));
    for (const auto& [name, parts] : {std::pair<std::string, std::string>{"jump.ts", "a.ts b.ts"},
                                      std::pair<std::string, std::string>{"switch.ts", "a.ts c.ts"}}) {
        SCOPED_TRACE(name);
        ASSERT_EQ(std::system(("cd " + d + " && cat " + parts + " > " + name).c_str()), 0);
        const RunResult r = RunTool({"convert", d + name, "-o", d + name + ".mkv", "--codec", "ffv1", "--size",
                                     "160x96", "--rate", "25", "--audio-rate", "48000"});
        ASSERT_EQ(r.status, 0) << r.err;
        EXPECT_NE(r.err.find(name == "jump.ts" ? "1 time stamp discontinuity" : "the audio format changes"),
                  std::string::npos)
            << r.err;
        const Streams s = Probe(d + name + ".mkv");
        EXPECT_NEAR(double(s.frames), 50.0, 2.0);
        EXPECT_EQ(s.channels, 2);
        EXPECT_NEAR(double(s.samples), 96000.0, 3000.0);
    }
}

// A WAV header claiming 1 Hz is refused in one line instead of being
// converted into a gigabyte.
TEST(ToolInputs, AbsurdSampleRateIsRefused)
{
    TempDir dir;
    WriteFile(dir.file("one.wav"), Wav(1, 1, 1, 16, Bytes(1000, 0)));
    const RunResult r =
        RunTool({"audio", dir.file("one.wav"), "-o", dir.file("out.wav"), "--rate", "48000", "--channels", "6"});
    EXPECT_EQ(r.status, 1);
    EXPECT_TRUE(IsOneLine(r.err)) << r.err;
    EXPECT_NE(r.err.find("sample rate 1 Hz is outside 1000..384000 Hz"), std::string::npos) << r.err;
    EXPECT_EQ(List(dir.path()), std::vector<std::string>{"one.wav"});
}

} // namespace
} // namespace tooltest
