// What the resamplers do to a tone: signal-to-noise ratio of a 1 kHz tone
// against the sine that fits the output best (least squares), and what is
// left of a 23 kHz tone taken from 48 to 44.1 kHz (above the new Nyquist
// frequency: anything that comes out is alias). The library's two modes
// beside swresample's defaults and, where installed, the sox program with
// its defaults (high quality, dithered 16-bit output). The first and last
// 50 ms are left out: the tone switches on and off there, and every
// band-limited converter rings at such a step.
#include "ResamplerQuality.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include <DataProcess/DataProcess.h>
#include <unistd.h>
extern "C" {
#include <libavutil/channel_layout.h>
#include <libswresample/swresample.h>
}

namespace {

using Samples = std::vector<short>;

Samples Tone(double frequency, int rate, double seconds)
{
    Samples s(static_cast<size_t>(rate * seconds));
    for (size_t k = 0; k < s.size(); ++k)
        s[k] = static_cast<short>(std::lround(16000 * std::sin(2 * M_PI * frequency * double(k) / rate)));
    return s;
}

// Mono, in calls of 1024 frames, flushed at the end.
Samples ThroughLibrary(int mode, int inRate, int outRate, const Samples& in)
{
    CAudioConverter c(1, 1, inRate, outRate, 0);
    if (!c.SetResampler(mode))
        return {};
    Samples out, buf(1 << 20);
    for (size_t pos = 0; pos < in.size(); pos += 1024) {
        c.Put(in.data() + pos, static_cast<int>(std::min<size_t>(1024, in.size() - pos)));
        out.insert(out.end(), buf.begin(), buf.begin() + c.Get(buf.data(), static_cast<int>(buf.size())));
    }
    c.Flush();
    out.insert(out.end(), buf.begin(), buf.begin() + c.Get(buf.data(), static_cast<int>(buf.size())));
    return out;
}

Samples ThroughSwr(int inRate, int outRate, const Samples& in)
{
    SwrContext* s = nullptr;
    AVChannelLayout mono = AV_CHANNEL_LAYOUT_MONO;
    swr_alloc_set_opts2(&s, &mono, AV_SAMPLE_FMT_S16, outRate, &mono, AV_SAMPLE_FMT_S16, inRate, 0, nullptr);
    swr_init(s);
    Samples out, buf(1 << 20);
    auto take = [&](const short* p, int n) {
        const uint8_t* src[1] = {reinterpret_cast<const uint8_t*>(p)};
        uint8_t* dst[1] = {reinterpret_cast<uint8_t*>(buf.data())};
        const int got = swr_convert(s, dst, static_cast<int>(buf.size()), p ? src : nullptr, n);
        out.insert(out.end(), buf.begin(), buf.begin() + std::max(got, 0));
    };
    for (size_t pos = 0; pos < in.size(); pos += 1024)
        take(in.data() + pos, static_cast<int>(std::min<size_t>(1024, in.size() - pos)));
    take(nullptr, 0);
    swr_free(&s);
    return out;
}

void PutLe(std::string& b, uint32_t v, int bytes)
{
    for (int i = 0; i < bytes; ++i)
        b.push_back(static_cast<char>(v >> (8 * i)));
}

// The sox program with its defaults; empty when it is not installed.
Samples ThroughSox(int inRate, int outRate, const Samples& in)
{
    static const bool have = std::system("command -v sox >/dev/null 2>&1") == 0;
    if (!have)
        return {};
    char dir[] = "/tmp/dp-bench-sox-XXXXXX";
    if (!mkdtemp(dir))
        return {};
    const std::string src = std::string(dir) + "/in.wav", dst = std::string(dir) + "/out.wav";
    std::string wav = "RIFF";
    PutLe(wav, 36 + uint32_t(in.size() * 2), 4);
    wav += "WAVEfmt ";
    PutLe(wav, 16, 4), PutLe(wav, 1, 2), PutLe(wav, 1, 2), PutLe(wav, uint32_t(inRate), 4);
    PutLe(wav, uint32_t(inRate * 2), 4), PutLe(wav, 2, 2), PutLe(wav, 16, 2);
    wav += "data";
    PutLe(wav, uint32_t(in.size() * 2), 4);
    wav.append(reinterpret_cast<const char*>(in.data()), in.size() * 2);
    std::ofstream(src, std::ios::binary) << wav;
    Samples out;
    if (std::system(("sox " + src + " -r " + std::to_string(outRate) + " " + dst).c_str()) == 0) {
        std::ifstream f(dst, std::ios::binary);
        const std::string b((std::istreambuf_iterator<char>(f)), std::istreambuf_iterator<char>());
        const size_t data = b.find("data");
        if (data != std::string::npos && data + 8 <= b.size()) {
            out.resize((b.size() - data - 8) / 2);
            std::memcpy(out.data(), b.data() + data + 8, out.size() * 2);
        }
    }
    std::remove(src.c_str());
    std::remove(dst.c_str());
    rmdir(dir);
    return out;
}

// Least squares fit of a sin + b cos + c at the tone's frequency, then the
// ratio of the fit's energy to the residual's, in dB.
double SnrDb(const Samples& s, double frequency, int rate)
{
    const size_t edge = rate / 20;
    if (s.size() <= 2 * edge)
        return NAN;
    double m[3][3] = {}, v[3] = {};
    auto basis = [&](size_t k, double b[3]) {
        b[0] = std::sin(2 * M_PI * frequency * double(k) / rate);
        b[1] = std::cos(2 * M_PI * frequency * double(k) / rate);
        b[2] = 1;
    };
    for (size_t k = edge; k + edge < s.size(); ++k) {
        double b[3];
        basis(k, b);
        for (int i = 0; i < 3; ++i) {
            v[i] += b[i] * s[k];
            for (int j = 0; j < 3; ++j)
                m[i][j] += b[i] * b[j];
        }
    }
    auto det = [](const double a[3][3]) {
        return a[0][0] * (a[1][1] * a[2][2] - a[1][2] * a[2][1]) - a[0][1] * (a[1][0] * a[2][2] - a[1][2] * a[2][0]) +
               a[0][2] * (a[1][0] * a[2][1] - a[1][1] * a[2][0]);
    };
    double x[3];
    for (int i = 0; i < 3; ++i) { // Cramer's rule
        double mi[3][3];
        for (int r = 0; r < 3; ++r)
            for (int c = 0; c < 3; ++c)
                mi[r][c] = c == i ? v[r] : m[r][c];
        x[i] = det(mi) / det(m);
    }
    double signal = 0, noise = 0;
    for (size_t k = edge; k + edge < s.size(); ++k) {
        double b[3];
        basis(k, b);
        const double fit = x[0] * b[0] + x[1] * b[1] + x[2] * b[2];
        signal += fit * fit;
        noise += (s[k] - fit) * (s[k] - fit);
    }
    return 10 * std::log10(signal / std::max(noise, 1e-12));
}

double Rms(const Samples& s, int rate)
{
    const size_t edge = rate / 20;
    double e = 0;
    for (size_t k = edge; k + edge < s.size(); ++k)
        e += double(s[k]) * s[k];
    return s.size() > 2 * edge ? std::sqrt(e / double(s.size() - 2 * edge)) : NAN;
}

std::string Cell(double db, bool present)
{
    if (!present)
        return " - |";
    char b[32];
    std::snprintf(b, sizeof b, " %.1f |", db);
    return b;
}

} // namespace

std::string ResamplerQualityTable()
{
    const bool hq = DPAudioResamplerAvailable(AUDIO_RESAMPLER_HQ) == 1;
    std::string t = "\n\n  | 1 kHz tone, 1 s mono 16-bit: SNR dB | linear | hq | swresample defaults | sox defaults |\n"
                    "  |---|---|---|---|---|\n";
    const int pairs[][2] = {{44100, 48000}, {48000, 44100}, {22050, 48000}, {8000, 48000}};
    for (const auto& p : pairs) {
        const Samples in = Tone(1000, p[0], 1.0);
        const Samples lin = ThroughLibrary(AUDIO_RESAMPLER_LINEAR, p[0], p[1], in);
        const Samples h = ThroughLibrary(AUDIO_RESAMPLER_HQ, p[0], p[1], in);
        const Samples swr = ThroughSwr(p[0], p[1], in);
        const Samples sox = ThroughSox(p[0], p[1], in);
        char name[64];
        std::snprintf(name, sizeof name, "  | %g -> %g kHz |", p[0] / 1000.0, p[1] / 1000.0);
        t += name + Cell(SnrDb(lin, 1000, p[1]), true) + Cell(SnrDb(h, 1000, p[1]), hq) +
             Cell(SnrDb(swr, 1000, p[1]), true) + Cell(SnrDb(sox, 1000, p[1]), !sox.empty()) + "\n";
    }
    // What is left of a 23 kHz tone, relative to the tone (dB; more negative
    // is better).
    const Samples in = Tone(23000, 48000, 1.0);
    const double ref = Rms(in, 48000);
    auto left = [&](const Samples& s) { return 20 * std::log10(std::max(Rms(s, 44100), 1e-3) / ref); };
    const Samples sox = ThroughSox(48000, 44100, in);
    t += "  | 23 kHz tone 48 -> 44.1 kHz: alias left, dB |" +
         Cell(left(ThroughLibrary(AUDIO_RESAMPLER_LINEAR, 48000, 44100, in)), true) +
         Cell(left(ThroughLibrary(AUDIO_RESAMPLER_HQ, 48000, 44100, in)), hq) +
         Cell(left(ThroughSwr(48000, 44100, in)), true) + Cell(left(sox), !sox.empty());
    return t;
}
