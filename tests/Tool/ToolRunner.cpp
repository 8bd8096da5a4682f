#include "ToolRunner.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include "WavAudioSource.h"
#include "Y4mVideoSource.h"

extern char** environ;

namespace tooltest {

namespace {

std::string Slurp(const std::string& path)
{
    const Bytes b = ReadFile(path);
    return std::string(b.begin(), b.end());
}

int Open(const std::string& path, int flags) { return ::open(path.c_str(), flags | O_CLOEXEC, 0644); }

// Starts the tool with descriptors 0, 1 and 2 taken from in, out and err
// (all close-on-exec; dup2 clears the flag on the copies). A cross build
// starts it through the emulator the tests run under (DP_TOOL_EMULATOR).
pid_t Spawn(const std::vector<std::string>& args, int in, int out, int err)
{
    const char* emulator = DP_TOOL_EMULATOR;
    std::vector<std::string> storage{DP_TOOL_PATH};
    if (*emulator)
        storage.insert(storage.begin(), emulator);
    storage.insert(storage.end(), args.begin(), args.end());
    std::vector<char*> argv;
    for (std::string& s : storage)
        argv.push_back(&s[0]);
    argv.push_back(nullptr);
    posix_spawn_file_actions_t fa;
    posix_spawn_file_actions_init(&fa);
    posix_spawn_file_actions_adddup2(&fa, in, 0);
    posix_spawn_file_actions_adddup2(&fa, out, 1);
    posix_spawn_file_actions_adddup2(&fa, err, 2);
    pid_t pid = -1;
    if (posix_spawn(&pid, storage[0].c_str(), &fa, nullptr, argv.data(), environ) != 0)
        pid = -1;
    posix_spawn_file_actions_destroy(&fa);
    return pid;
}

int Wait(pid_t pid)
{
    int st = 0;
    while (pid >= 0 && waitpid(pid, &st, 0) < 0) {
    }
    return pid >= 0 && WIFEXITED(st) ? WEXITSTATUS(st) : -1;
}

} // namespace

std::vector<RunResult> RunPipe(const std::vector<std::vector<std::string>>& stages, const std::string& in,
                               const std::string& out)
{
    TempDir io;
    std::vector<pid_t> pids;
    int input = Open(in.empty() ? "/dev/null" : in, O_RDONLY);
    for (size_t i = 0; i < stages.size(); ++i) {
        int fds[2] = {-1, -1};
        const bool last = i + 1 == stages.size();
        if (!last && pipe2(fds, O_CLOEXEC) != 0)
            break;
        const int output = last ? Open(out.empty() ? io.file("out") : out, O_WRONLY | O_CREAT | O_TRUNC) : fds[1];
        const int err = Open(io.file("err" + std::to_string(i)), O_WRONLY | O_CREAT | O_TRUNC);
        pids.push_back(Spawn(stages[i], input, output, err));
        // Only the children may hold the pipe, or the next stage would never
        // see its end.
        close(input);
        close(output);
        close(err);
        input = fds[0];
    }
    close(input);
    std::vector<RunResult> results(stages.size());
    for (size_t i = 0; i < pids.size(); ++i) {
        results[i].status = Wait(pids[i]);
        results[i].err = Slurp(io.file("err" + std::to_string(i)));
    }
    if (out.empty())
        results.back().out = Slurp(io.file("out"));
    return results;
}

bool IsOneLine(const std::string& text)
{
    return !text.empty() && text.back() == '\n' && std::count(text.begin(), text.end(), '\n') == 1;
}

std::vector<std::string> List(const std::string& dir)
{
    std::vector<std::string> names;
    for (const auto& e : std::filesystem::directory_iterator(dir))
        names.push_back(e.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
}

void MakeClip(const std::string& path, const ClipShape& c)
{
    std::string s = "YUV4MPEG2 W" + std::to_string(c.width) + " H" + std::to_string(c.height) + " F" +
                    std::to_string(c.rateNum) + ":" + std::to_string(c.rateDen) + " C420jpeg\n";
    const size_t chroma = 2 * size_t((c.width + 1) / 2) * size_t((c.height + 1) / 2);
    for (int i = 0; i < c.frames; ++i) {
        std::string y(size_t(c.width) * c.height, char(FrameLuma(i)));
        if (c.markX >= 0 && c.markY >= 0)
            y[size_t(c.markY) * c.width + c.markX] = char(kMarkLuma);
        s += "FRAME\n" + y + std::string(chroma, char(c.chroma));
    }
    WriteFile(path, Bytes(s.begin(), s.end()));
}

Bytes Wav(int rate, int channels, int tag, int bits, const Bytes& data, int64_t claimed)
{
    const uint32_t size = uint32_t(claimed < 0 ? int64_t(data.size()) : claimed), align = channels * bits / 8;
    auto le = [](uint32_t v, int bytes) {
        std::string s;
        for (int i = 0; i < bytes; ++i)
            s += char(v >> (8 * i));
        return s;
    };
    const std::string head = "RIFF" + le(36 + size, 4) + "WAVE" + "fmt " + le(16, 4) + le(tag, 2) + le(channels, 2) +
                             le(rate, 4) + le(rate * align, 4) + le(align, 2) + le(bits, 2) + "data" + le(size, 4);
    Bytes f(head.begin(), head.end());
    f.insert(f.end(), data.begin(), data.end());
    return f;
}

void MakeTone(const std::string& path, int rate, int channels, int frames)
{
    Bytes data;
    const double pi = 3.14159265358979323846;
    for (int k = 0; k < frames; ++k)
        for (int c = 0; c < channels; ++c) {
            const long v = std::lround(8000 * std::sin(2 * pi * 441.0 * (c + 1) * k / rate));
            data.insert(data.end(), {uint8_t(v & 0xFF), uint8_t((v >> 8) & 0xFF)});
        }
    WriteFile(path, Wav(rate, channels, 1, 16, data));
}

ClipRead ReadClip(const std::string& path)
{
    ClipRead r;
    Y4mVideoSource src;
    if (src.OpenPath(path) != HOSTFILE_OK)
        return r;
    r.width = src.Width(), r.height = src.Height(), r.rateNum = src.RateNum(), r.rateDen = src.RateDen();
    for (const MEDIA_FRAME* f = src.GetFrame(); f; f = src.Forward(1) ? src.GetFrame() : nullptr) {
        r.luma.emplace_back();
        for (int y = 0; y < r.height; ++y)
            r.luma.back().insert(r.luma.back().end(), f->pY + y * f->nPitchY, f->pY + y * f->nPitchY + r.width);
    }
    r.ok = !src.Truncated() && src.LastError().empty();
    return r;
}

WavRead ReadWav(const std::string& path)
{
    WavRead r;
    WavAudioSource src;
    if (src.OpenPath(path) != HOSTFILE_OK || src.BitsPerSample() != 16)
        return r;
    r.rate = src.SampleRate(), r.channels = src.Channels();
    while (const MEDIA_FRAME* f = src.GetNextFrame())
        r.samples.insert(r.samples.end(), reinterpret_cast<const int16_t*>(f->pData),
                         reinterpret_cast<const int16_t*>(f->pData + f->nDataSize));
    r.ok = !src.Truncated();
    return r;
}

Positions Find(const Bytes& luma, int width, int value)
{
    Positions at;
    for (size_t i = 0; i < luma.size(); ++i)
        if (luma[i] == value)
            at.emplace_back(int(i % width), int(i / width));
    return at;
}

} // namespace tooltest
