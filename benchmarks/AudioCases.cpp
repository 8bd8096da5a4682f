// Audio cases of the peer benchmark: resampling and down-mixing through
// CAudioConverter against swresample, and the whole audio stage.
#include <cmath>
#include <memory>
#include <vector>

#include <DataProcess/DataProcess.h>
extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/opt.h>
#include <libswresample/swresample.h>
}

#include "BenchHarness.h"
#include "ResamplerQuality.h"
#include "SyntheticAudioSource.h"

namespace {

std::vector<short> Tone(int frames, int channels, int rate)
{
    std::vector<short> v(size_t(frames) * channels);
    for (int f = 0; f < frames; ++f)
        for (int c = 0; c < channels; ++c)
            v[size_t(f) * channels + c] = static_cast<short>(12000 * std::sin(2 * M_PI * 440.0 * (c + 1) * f / rate));
    return v;
}

SwrContext* MakeSwr(AVChannelLayout in, int inRate, AVChannelLayout out, int outRate, int filterSize)
{
    SwrContext* s = nullptr;
    swr_alloc_set_opts2(&s, &out, AV_SAMPLE_FMT_S16, outRate, &in, AV_SAMPLE_FMT_S16, inRate, 0, nullptr);
    if (filterSize > 0)
        av_opt_set_int(s, "filter_size", filterSize, 0);
    swr_init(s);
    return s;
}

// 10 s of input in calls of 1024 frames through the converter, draining it.
void ThroughConverter(CAudioConverter& c, const std::vector<short>& in, int channels, std::vector<short>& out)
{
    const int frames = static_cast<int>(in.size() / channels);
    for (int f = 0; f < frames; f += 1024) {
        const int n = frames - f < 1024 ? frames - f : 1024;
        c.Put(in.data() + size_t(f) * channels, n * channels);
        c.Get(out.data(), static_cast<int>(out.size()));
    }
}

void ThroughSwr(SwrContext* s, const std::vector<short>& in, int channels, std::vector<short>& out, int outChannels)
{
    const int frames = static_cast<int>(in.size() / channels);
    for (int f = 0; f < frames; f += 1024) {
        const int n = frames - f < 1024 ? frames - f : 1024;
        const uint8_t* src[1] = {reinterpret_cast<const uint8_t*>(in.data() + size_t(f) * channels)};
        uint8_t* dst[1] = {reinterpret_cast<uint8_t*>(out.data())};
        swr_convert(s, dst, static_cast<int>(out.size()) / outChannels, src, n);
    }
}

} // namespace

void AddAudioCases(std::vector<BenchCase>& cases)
{
    static const std::vector<short> stereo = Tone(441000, 2, 44100), surround = Tone(480000, 6, 48000);
    static std::vector<short> out(1 << 16);
    static CAudioConverter up(2, 2, 44100, 48000, 0), down(6, 2, 48000, 48000, 0);
    static const AVChannelLayout st = AV_CHANNEL_LAYOUT_STEREO, s51 = AV_CHANNEL_LAYOUT_5POINT1;
    static SwrContext* swr2 = MakeSwr(st, 44100, st, 48000, 2);
    static SwrContext* swrDefault = MakeSwr(st, 44100, st, 48000, 0);
    static SwrContext* swrMix = MakeSwr(s51, 48000, st, 48000, 0);

    cases.push_back({"10 s 44.1 kHz stereo -> 48 kHz, calls of 1024 frames",
                     [] { ThroughConverter(up, stereo, 2, out); },
                     {{"swresample filter_size=2", [] { ThroughSwr(swr2, stereo, 2, out, 2); }},
                      {"swresample defaults", [] { ThroughSwr(swrDefault, stereo, 2, out, 2); }}},
                     "goal <= 0.5x swresample's fastest setting"});
    static CAudioConverter upHq(2, 2, 44100, 48000, 0);
    if (upHq.SetResampler(AUDIO_RESAMPLER_HQ))
        cases.push_back({"10 s 44.1 kHz stereo -> 48 kHz, hq mode (libsoxr), calls of 1024 frames",
                         [] { ThroughConverter(upHq, stereo, 2, out); },
                         {{"swresample defaults", [] { ThroughSwr(swrDefault, stereo, 2, out, 2); }}},
                         "goal <= 1.0x swresample defaults. What the modes do to tones:",
                         ResamplerQualityTable});
    cases.push_back({"10 s 48 kHz 5.1 -> stereo, calls of 1024 frames",
                     [] { ThroughConverter(down, surround, 6, out); },
                     {{"swresample downmix", [] { ThroughSwr(swrMix, surround, 6, out, 2); }}},
                     "goal <= 0.5x swresample"});
    cases.push_back({"whole audio stage: 10 s 44.1 kHz -> 48 kHz, timeline, volume, fades",
                     [] {
                         SyntheticAudioConfig cfg;
                         SyntheticAudioSource source(cfg);
                         AudioProcess stage(&source, 48000, 2, 16, 1);
                         stage.SetVolum(80);
                         stage.FadeInOut(0.0, 2.0, 8.0, 2.0);
                         while (stage.GetNextFrame()) {
                         }
                     },
                     {},
                     "no peer: 10 s of audio, so x real time = 10000 / ms"});
}
