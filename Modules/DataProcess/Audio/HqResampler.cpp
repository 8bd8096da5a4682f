#include "HqResampler.h"

#include <algorithm>

#include "AudioResampler.h"

#ifndef DP_HAVE_SOXR
#define DP_HAVE_SOXR 0
#endif
#if DP_HAVE_SOXR
#include <soxr.h>
#endif

namespace dp_audio {

#if DP_HAVE_SOXR

struct HqResampler::Engine {
    soxr_t soxr = nullptr;
    ~Engine()
    {
        if (soxr)
            soxr_delete(soxr);
    }
};

#else

struct HqResampler::Engine {};

#endif

std::unique_ptr<HqResampler> HqResampler::Create(int inRate, int outRate, int channels, std::string* reason)
{
    std::string why;
    if (!DP_HAVE_SOXR)
        why = "this build has no high-quality resampler (DataProcess was built without libsoxr)";
    else if (channels < 1 || channels > AUDIO_RESAMPLER_HQ_MAX_CHANNELS)
        why = "it takes 1 to " + std::to_string(AUDIO_RESAMPLER_HQ_MAX_CHANNELS) + " channels";
    else if (inRate <= 0 || outRate <= 0)
        why = "sample rates must be above 0 Hz";
    else if (static_cast<long long>(inRate) > static_cast<long long>(outRate) * kMaxRatio ||
             static_cast<long long>(outRate) > static_cast<long long>(inRate) * kMaxRatio)
        why = "the rates are more than " + std::to_string(kMaxRatio) + " times apart";
#if DP_HAVE_SOXR
    if (why.empty()) {
        // Interleaved 16-bit samples both ways, rounded without dither (the
        // output then depends on the input alone); the high-quality recipe
        // (20-bit precision, linear phase); one thread.
        soxr_io_spec_t io = soxr_io_spec(SOXR_INT16_I, SOXR_INT16_I);
        io.flags |= SOXR_NO_DITHER;
        const soxr_quality_spec_t quality = soxr_quality_spec(SOXR_HQ, 0);
        const soxr_runtime_spec_t runtime = soxr_runtime_spec(1);
        soxr_error_t error = nullptr;
        std::unique_ptr<Engine> engine(new Engine);
        engine->soxr = soxr_create(inRate, outRate, static_cast<unsigned>(channels), &error, &io, &quality, &runtime);
        if (engine->soxr)
            return std::unique_ptr<HqResampler>(new HqResampler(std::move(engine), inRate, outRate, channels));
        why = std::string("libsoxr: ") + (error ? error : "cannot create a resampler");
    }
#endif
    if (reason)
        *reason = why;
    return nullptr;
}

HqResampler::HqResampler(std::unique_ptr<Engine> engine, int inRate, int outRate, int channels)
    : m_engine(std::move(engine)), m_inRate(inRate), m_outRate(outRate), m_channels(channels)
{
}

HqResampler::~HqResampler() = default;

// round(m_in x outRate / inRate), halves up, exact in 64 bits: the
// remainder is below inRate, so its product with outRate stays below 2^62.
long long HqResampler::TargetFrames() const
{
    return (m_in / m_inRate) * m_outRate + ((m_in % m_inRate) * m_outRate + m_inRate / 2) / m_inRate;
}

void HqResampler::Process(const short* in, long long frames, std::vector<short>& out)
{
    if (in && frames > 0)
        Run(in, frames, out);
}

void HqResampler::Flush(std::vector<short>& out)
{
    Run(nullptr, 0, out);
    // libsoxr ends the stream on round(in x ratio) frames itself; should it
    // fall short, silence makes up the count.
    const long long missing = TargetFrames() - m_out;
    if (missing > 0) {
        out.insert(out.end(), static_cast<size_t>(missing * m_channels), static_cast<short>(0));
        m_out += missing;
    }
#if DP_HAVE_SOXR
    soxr_clear(m_engine->soxr);
#endif
    m_in = 0;
    m_out = 0;
}

void HqResampler::Run(const short* in, long long frames, std::vector<short>& out)
{
#if DP_HAVE_SOXR
    const size_t ch = static_cast<size_t>(m_channels);
    long long taken = 0;
    for (;;) {
        const long long left = in ? frames - taken : 0;
        // Room for what the input left makes plus what the filter still
        // holds back; more comes in the next round if that is not enough.
        const long long room = left / m_inRate * m_outRate + (left % m_inRate) * m_outRate / m_inRate + 1024;
        const size_t base = out.size();
        out.resize(base + static_cast<size_t>(room) * ch);
        size_t idone = 0, odone = 0;
        const soxr_error_t error =
            soxr_process(m_engine->soxr, in ? in + static_cast<size_t>(taken) * ch : nullptr,
                         static_cast<size_t>(left), in ? &idone : nullptr, out.data() + base,
                         static_cast<size_t>(room), &odone);
        if (error) {
            out.resize(base);
            return;
        }
        taken += static_cast<long long>(idone);
        m_in += static_cast<long long>(idone);
        // Never beyond the stream's total so far (libsoxr lags behind it
        // until the end, where it may round a half the other way).
        const long long keep = std::max(0LL, std::min(static_cast<long long>(odone), TargetFrames() - m_out));
        out.resize(base + static_cast<size_t>(keep) * ch);
        m_out += keep;
        // The stage's limits are [-32767, 32767]; libsoxr's go to -32768.
        std::replace(out.begin() + static_cast<std::ptrdiff_t>(base), out.end(), static_cast<short>(-32768),
                     static_cast<short>(-32767));
        const bool full = static_cast<long long>(odone) == room;
        if (in ? (taken >= frames && !full) || (idone == 0 && odone == 0) : odone == 0)
            return;
    }
#else
    (void)in;
    (void)frames;
    (void)out;
#endif
}

} // namespace dp_audio

int DPAudioResamplerAvailable(int mode)
{
    return mode == AUDIO_RESAMPLER_LINEAR || (mode == AUDIO_RESAMPLER_HQ && DP_HAVE_SOXR) ? 1 : 0;
}
