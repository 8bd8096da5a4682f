#include "ToolRunner.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include <dirent.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <DataProcess/DataProcess.h>

#include "WavAudioSource.h"
#include "WavWriter.h"
#include "Y4mVideoSource.h"
#include "Y4mWriter.h"

extern char** environ;

namespace tooltest {

namespace {

std::string Slurp(const std::string& path)
{
    const Bytes b = ReadBytes(path);
    return std::string(b.begin(), b.end());
}

int OpenForChild(const std::string& path, int flags)
{
    return ::open(path.c_str(), flags | O_CLOEXEC, 0644);
}

std::vector<char*> Argv(std::vector<std::string>& storage)
{
    std::vector<char*> argv;
    for (auto& s : storage)
        argv.push_back(&s[0]);
    argv.push_back(nullptr);
    return argv;
}

// Starts the tool with descriptors 0, 1 and 2 taken from in, out and err
// (all opened close-on-exec; dup2 clears the flag on the copies).
pid_t Spawn(const std::vector<std::string>& args, int in, int out, int err)
{
    std::vector<std::string> storage{DP_TOOL_PATH};
    storage.insert(storage.end(), args.begin(), args.end());
    std::vector<char*> argv = Argv(storage);
    posix_spawn_file_actions_t fa;
    posix_spawn_file_actions_init(&fa);
    posix_spawn_file_actions_adddup2(&fa, in, 0);
    posix_spawn_file_actions_adddup2(&fa, out, 1);
    posix_spawn_file_actions_adddup2(&fa, err, 2);
    pid_t pid = -1;
    if (posix_spawn(&pid, DP_TOOL_PATH, &fa, nullptr, argv.data(), environ) != 0)
        pid = -1;
    posix_spawn_file_actions_destroy(&fa);
    return pid;
}

int Wait(pid_t pid)
{
    if (pid < 0)
        return -1;
    int st = 0;
    while (waitpid(pid, &st, 0) < 0) {
    }
    return WIFEXITED(st) ? WEXITSTATUS(st) : -1;
}

int OpenInput(const std::string& path) { return OpenForChild(path.empty() ? "/dev/null" : path, O_RDONLY); }

} // namespace

RunResult RunTool(const std::vector<std::string>& args, const std::string& stdinPath, const std::string& stdoutPath)
{
    ScratchDir io;
    const std::string outPath = stdoutPath.empty() ? io.File("out") : stdoutPath;
    const int in = OpenInput(stdinPath);
    const int out = OpenForChild(outPath, O_WRONLY | O_CREAT | O_TRUNC);
    const int err = OpenForChild(io.File("err"), O_WRONLY | O_CREAT | O_TRUNC);
    RunResult r;
    r.status = Wait(Spawn(args, in, out, err));
    close(in);
    close(out);
    close(err);
    if (stdoutPath.empty())
        r.out = Slurp(outPath);
    r.err = Slurp(io.File("err"));
    return r;
}

PipeResult RunToolPipe(const std::vector<std::string>& first, const std::vector<std::string>& second,
                   const std::string& stdinPath)
{
    ScratchDir io;
    int fds[2];
    PipeResult r;
    if (pipe2(fds, O_CLOEXEC) != 0)
        return r;
    const int in = OpenInput(stdinPath);
    const int out = OpenForChild(io.File("out"), O_WRONLY | O_CREAT | O_TRUNC);
    const int err1 = OpenForChild(io.File("err1"), O_WRONLY | O_CREAT | O_TRUNC);
    const int err2 = OpenForChild(io.File("err2"), O_WRONLY | O_CREAT | O_TRUNC);
    const pid_t a = Spawn(first, in, fds[1], err1);
    const pid_t b = Spawn(second, fds[0], out, err2);
    // Only the children may hold the pipe, or the second would never see
    // its end.
    close(fds[0]);
    close(fds[1]);
    r.first.status = Wait(a);
    r.second.status = Wait(b);
    close(in);
    close(out);
    close(err1);
    close(err2);
    r.first.err = Slurp(io.File("err1"));
    r.second.out = Slurp(io.File("out"));
    r.second.err = Slurp(io.File("err2"));
    return r;
}

bool IsOneLine(const std::string& text)
{
    return !text.empty() && text.back() == '\n' && std::count(text.begin(), text.end(), '\n') == 1;
}

ScratchDir::ScratchDir()
{
    const char* base = std::getenv("TMPDIR");
    std::string pattern = std::string(base && *base ? base : "/tmp") + "/dp-tooltest-XXXXXX";
    std::vector<char> buf(pattern.begin(), pattern.end());
    buf.push_back('\0');
    if (mkdtemp(buf.data()))
        m_path = buf.data();
}

ScratchDir::~ScratchDir()
{
    if (m_path.empty())
        return;
    for (const std::string& name : List()) {
        const std::string p = File(name);
        struct stat st;
        if (lstat(p.c_str(), &st) == 0 && S_ISDIR(st.st_mode)) {
            if (DIR* d = opendir(p.c_str())) {
                while (dirent* e = readdir(d))
                    if (std::strcmp(e->d_name, ".") && std::strcmp(e->d_name, ".."))
                        std::remove((p + "/" + e->d_name).c_str());
                closedir(d);
            }
            rmdir(p.c_str());
        } else {
            std::remove(p.c_str());
        }
    }
    rmdir(m_path.c_str());
}

std::vector<std::string> ScratchDir::List() const
{
    std::vector<std::string> names;
    if (DIR* d = opendir(m_path.c_str())) {
        while (dirent* e = readdir(d)) {
            const std::string n = e->d_name;
            if (n != "." && n != "..")
                names.push_back(n);
        }
        closedir(d);
    }
    std::sort(names.begin(), names.end());
    return names;
}

Bytes ReadBytes(const std::string& path)
{
    Bytes data;
    if (FILE* f = std::fopen(path.c_str(), "rb")) {
        unsigned char buf[65536];
        size_t n;
        while ((n = std::fread(buf, 1, sizeof(buf), f)) > 0)
            data.insert(data.end(), buf, buf + n);
        std::fclose(f);
    }
    return data;
}

void WriteBytes(const std::string& path, const Bytes& data)
{
    if (FILE* f = std::fopen(path.c_str(), "wb")) {
        if (!data.empty())
            std::fwrite(data.data(), 1, data.size(), f);
        std::fclose(f);
    }
}

bool Exists(const std::string& path)
{
    struct stat st;
    return stat(path.c_str(), &st) == 0;
}

void MakeClip(const std::string& path, const ClipShape& c)
{
    Y4mStreamFormat fmt;
    fmt.width = c.width;
    fmt.height = c.height;
    fmt.rateNum = c.rateNum;
    fmt.rateDen = c.rateDen;
    Y4mWriter w;
    if (!w.Open(path, fmt))
        return;
    std::unique_ptr<MEDIA_FRAME, void (*)(MEDIA_FRAME*)> f(CreateYV12Frame(c.width, c.height, 0, 1),
                                                           ReleaseYV12Frame);
    for (int i = 0; i < c.frames; ++i) {
        for (int y = 0; y < c.height; ++y)
            std::memset(f->pY + static_cast<ptrdiff_t>(y) * f->nPitchY, FrameLuma(i), static_cast<size_t>(c.width));
        if (c.markX >= 0 && c.markY >= 0)
            f->pY[static_cast<ptrdiff_t>(c.markY) * f->nPitchY + c.markX] = kMarkLuma;
        w.WriteFrame(f.get());
    }
    w.Commit();
}

void MakeTone(const std::string& path, int rate, int channels, int64_t frames)
{
    WavStreamFormat fmt;
    fmt.sampleRate = rate;
    fmt.channels = channels;
    WavWriter w;
    if (!w.Open(path, fmt))
        return;
    std::vector<int16_t> block;
    const double pi = 3.14159265358979323846;
    for (int64_t k = 0; k < frames; ++k)
        for (int c = 0; c < channels; ++c)
            block.push_back(static_cast<int16_t>(std::lround(8000 * std::sin(2 * pi * 441.0 * (c + 1) * k / rate))));
    w.WriteSamples(block.data(), block.size() * sizeof(int16_t));
    w.Commit();
}

Bytes MakeBmp(int w, int h, int bits, unsigned char b, unsigned char g, unsigned char r, unsigned char a)
{
    const int bpp = bits / 8;
    const uint32_t stride = static_cast<uint32_t>((w * bits + 31) / 32 * 4);
    const uint32_t image = stride * static_cast<uint32_t>(h);
    Bytes f(54 + image, 0);
    auto put32 = [&f](size_t at, uint32_t v) {
        for (int i = 0; i < 4; ++i)
            f[at + i] = static_cast<unsigned char>(v >> (8 * i));
    };
    f[0] = 'B';
    f[1] = 'M';
    put32(2, static_cast<uint32_t>(f.size()));
    put32(10, 54);
    put32(14, 40);
    put32(18, static_cast<uint32_t>(w));
    put32(22, static_cast<uint32_t>(h));
    f[26] = 1;
    f[28] = static_cast<unsigned char>(bits);
    put32(34, image);
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            unsigned char* p = &f[54 + y * stride + x * bpp];
            p[0] = b;
            p[1] = g;
            p[2] = r;
            if (bpp == 4)
                p[3] = a;
        }
    return f;
}

ClipRead ReadClip(const std::string& path)
{
    ClipRead r;
    Y4mVideoSource src;
    if (src.OpenPath(path) != HOSTFILE_OK) {
        r.error = src.LastError();
        return r;
    }
    r.width = src.Width();
    r.height = src.Height();
    r.rateNum = src.RateNum();
    r.rateDen = src.RateDen();
    for (;;) {
        const MEDIA_FRAME* f = src.GetFrame();
        if (!f)
            break;
        Bytes y(static_cast<size_t>(r.width) * r.height);
        for (int row = 0; row < r.height; ++row)
            std::memcpy(&y[static_cast<size_t>(row) * r.width], f->pY + static_cast<ptrdiff_t>(row) * f->nPitchY,
                        static_cast<size_t>(r.width));
        r.luma.push_back(std::move(y));
        if (src.Forward(1) < 1)
            break;
    }
    r.error = src.LastError();
    r.ok = r.error.empty() && !src.Truncated();
    return r;
}

WavRead ReadWav(const std::string& path)
{
    WavRead r;
    WavAudioSource src;
    if (src.OpenPath(path) != HOSTFILE_OK) {
        r.error = src.LastError();
        return r;
    }
    r.rate = src.SampleRate();
    r.channels = src.Channels();
    r.bits = src.BitsPerSample();
    while (MEDIA_FRAME* f = src.GetNextFrame()) {
        if (r.bits == 16) {
            const auto* s = reinterpret_cast<const int16_t*>(f->pData);
            r.samples.insert(r.samples.end(), s, s + f->nDataSize / 2);
        }
    }
    r.error = src.LastError();
    r.ok = r.error.empty() && !src.Truncated();
    return r;
}

bool ParseBmp(const Bytes& f, int* width, int* height, int* bits)
{
    if (f.size() < 54 || f[0] != 'B' || f[1] != 'M')
        return false;
    auto le32 = [&f](size_t at) {
        return static_cast<uint32_t>(f[at] | (f[at + 1] << 8) | (f[at + 2] << 16) | (uint32_t(f[at + 3]) << 24));
    };
    const uint32_t size = le32(2), off = le32(10), hdr = le32(14);
    const int32_t w = static_cast<int32_t>(le32(18)), h = static_cast<int32_t>(le32(22));
    const int bpp = f[28] | (f[29] << 8);
    if (size != f.size() || off != 54 || hdr != 40 || w <= 0 || h == 0)
        return false;
    const uint64_t stride = (uint64_t(w) * bpp + 31) / 32 * 4;
    if (54 + stride * uint64_t(h < 0 ? -int64_t(h) : h) != size)
        return false;
    *width = w;
    *height = h;
    *bits = bpp;
    return true;
}

std::vector<std::pair<int, int>> Find(const Bytes& luma, int width, int value)
{
    std::vector<std::pair<int, int>> at;
    for (size_t i = 0; i < luma.size(); ++i)
        if (luma[i] == value)
            at.emplace_back(static_cast<int>(i % width), static_cast<int>(i / width));
    return at;
}

} // namespace tooltest
