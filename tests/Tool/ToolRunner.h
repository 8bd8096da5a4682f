// Running the dataprocess executable from the tests: one process or a pipe
// of two, with standard input from a file (or nothing) and standard output
// and error collected; plus small y4m, WAV and BMP inputs made on the spot
// and readers for what the tool wrote.
#ifndef DATAPROCESS_TESTS_TOOLRUNNER_H
#define DATAPROCESS_TESTS_TOOLRUNNER_H

#include <cstdint>
#include <string>
#include <vector>

namespace tooltest {

using Bytes = std::vector<unsigned char>;

struct RunResult {
    int status = -1; // exit status; -1 when the process did not exit normally
    std::string out; // standard output
    std::string err; // standard error
};

// Runs `dataprocess args...`. `stdinPath` empty = standard input is /dev/null.
// `stdoutPath` non-empty sends standard output to that file instead of
// collecting it (e.g. "/dev/full").
RunResult RunTool(const std::vector<std::string>& args, const std::string& stdinPath = "",
              const std::string& stdoutPath = "");

struct PipeResult {
    RunResult first;  // its `out` stays empty: it went into the pipe
    RunResult second;
};

// `dataprocess first... | dataprocess second...`, the first reading
// `stdinPath` (empty = /dev/null).
PipeResult RunToolPipe(const std::vector<std::string>& first, const std::vector<std::string>& second,
                   const std::string& stdinPath = "");

// Standard error is exactly one line (one line feed, at the end).
bool IsOneLine(const std::string& text);

// A fresh folder under the system's temporary folder, emptied and removed
// when the object goes (one level of subfolders included).
class ScratchDir {
public:
    ScratchDir();
    ~ScratchDir();
    ScratchDir(const ScratchDir&) = delete;
    ScratchDir& operator=(const ScratchDir&) = delete;
    const std::string& Path() const { return m_path; }
    std::string File(const std::string& name) const { return m_path + "/" + name; }
    // Names in the folder, hidden ones included, sorted.
    std::vector<std::string> List() const;

private:
    std::string m_path;
};

Bytes ReadBytes(const std::string& path);
void WriteBytes(const std::string& path, const Bytes& data);
bool Exists(const std::string& path);

// --- inputs -------------------------------------------------------------

// A y4m clip: `frames` pictures of w x h at num/den fps, C420jpeg. Picture
// i has luma FrameLuma(i) everywhere except the marked pixel (luma 235),
// and neutral chroma.
struct ClipShape {
    int width = 16;
    int height = 8;
    int frames = 10;
    int rateNum = 25;
    int rateDen = 1;
    int markX = -1; // no mark when negative
    int markY = -1;
};
inline int FrameLuma(int i) { return 40 + 4 * (i % 40); }
constexpr int kMarkLuma = 235;
void MakeClip(const std::string& path, const ClipShape& shape);

// A 16-bit PCM WAV of `frames` sample frames: channel c carries a sine of
// amplitude 8000 at 441 * (c + 1) Hz.
void MakeTone(const std::string& path, int rate, int channels, int64_t frames);

// A bottom-up BMP of w x h in 24 or 32 bits, every pixel (b, g, r[, a]).
Bytes MakeBmp(int w, int h, int bits, unsigned char b, unsigned char g, unsigned char r, unsigned char a = 255);

// --- outputs ------------------------------------------------------------

struct ClipRead {
    bool ok = false;
    std::string error;
    int width = 0;
    int height = 0;
    int rateNum = 0;
    int rateDen = 0;
    std::vector<Bytes> luma; // each picture's Y plane, rows packed
};
ClipRead ReadClip(const std::string& path);

struct WavRead {
    bool ok = false;
    std::string error;
    int rate = 0;
    int channels = 0;
    int bits = 0;
    std::vector<int16_t> samples; // interleaved (16-bit files)
};
WavRead ReadWav(const std::string& path);

// Width, height and bit count of a BMP file whose header is consistent with
// its length (bfSize = file size, bfOffBits 54, rows padded to 4 bytes);
// false otherwise.
bool ParseBmp(const Bytes& file, int* width, int* height, int* bits);

// Every position (x, y) in a luma plane holding `value`.
std::vector<std::pair<int, int>> Find(const Bytes& luma, int width, int value);

} // namespace tooltest

#endif // DATAPROCESS_TESTS_TOOLRUNNER_H
