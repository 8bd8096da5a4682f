// Running the dataprocess executable from the tests (alone or as a chain of
// pipes), small y4m and WAV inputs made on the spot, and readers for what
// the tool wrote (through the host's y4m and WAV sources, whose own tests
// hold them to the file formats). Files, folders and BMPs come from the
// still-image tests' helpers.
#ifndef DATAPROCESS_TESTS_TOOLRUNNER_H
#define DATAPROCESS_TESTS_TOOLRUNNER_H

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "StillTestUtil.h"

namespace tooltest {

using Bytes = std::vector<uint8_t>;
using stilltest::ReadFile;
using stilltest::TempDir;
using stilltest::WriteFile;

struct RunResult {
    int status = -1; // exit status; -1 when the process did not exit normally
    std::string out, err;
};

// `dataprocess stages[0] | dataprocess stages[1] | ...`: the first reads
// `in` (empty: /dev/null), the last writes to `out` (empty: collected in
// its `out`). One result per stage.
std::vector<RunResult> RunPipe(const std::vector<std::vector<std::string>>& stages, const std::string& in = "",
                               const std::string& out = "");
inline RunResult RunTool(const std::vector<std::string>& args, const std::string& in = "",
                         const std::string& out = "")
{
    return RunPipe({args}, in, out)[0];
}

// Standard error is exactly one line (one line feed, at the end).
bool IsOneLine(const std::string& text);
// Names in the folder, hidden ones included, sorted.
std::vector<std::string> List(const std::string& dir);

// A C420jpeg y4m clip of `frames` pictures: picture i has luma FrameLuma(i)
// everywhere but the marked pixel (kMarkLuma), and chroma `chroma` (neutral
// by default).
struct ClipShape {
    int width = 16, height = 8, frames = 10, rateNum = 25, rateDen = 1;
    int markX = -1, markY = -1; // no mark when negative
    int chroma = 128;
};
inline int FrameLuma(int i) { return 40 + 4 * (i % 40); }
constexpr int kMarkLuma = 235;
void MakeClip(const std::string& path, const ClipShape& shape);

// A WAV file image with a 16-byte fmt chunk whose data chunk holds `data`
// and claims `claimed` bytes (negative: its true size).
Bytes Wav(int rate, int channels, int tag, int bits, const Bytes& data, int64_t claimed = -1);
// 16-bit PCM: channel c carries a sine of amplitude 8000 at 441 * (c + 1) Hz.
void MakeTone(const std::string& path, int rate, int channels, int frames);

struct ClipRead {
    bool ok = false; // a well-formed 4:2:0 stream, no partial picture
    int width = 0, height = 0, rateNum = 0, rateDen = 0;
    std::vector<Bytes> luma; // each picture's Y plane
};
ClipRead ReadClip(const std::string& path);

struct WavRead {
    bool ok = false; // RIFF/WAVE with a complete 16-bit data chunk
    int rate = 0, channels = 0;
    std::vector<int16_t> samples; // interleaved
};
WavRead ReadWav(const std::string& path);

// Every position (x, y) in a luma plane holding `value`.
using Positions = std::vector<std::pair<int, int>>;
Positions Find(const Bytes& luma, int width, int value);

} // namespace tooltest

#endif // DATAPROCESS_TESTS_TOOLRUNNER_H
