// HqResampler: the high-quality rate conversion behind CAudioConverter's
// AUDIO_RESAMPLER_HQ mode, a stream resampler over libsoxr (internal, not
// exported). It takes whole frames of interleaved 16-bit samples (already
// channel-converted) and returns whole output frames:
// - output frame k belongs at input time k x inRate / outRate (libsoxr's
//   linear-phase filter is preloaded, so its delay is compensated);
// - the stream's total is round(input frames x outRate / inRate), reached
//   at Flush, which also readies the object for a fresh stream;
// - the output depends only on the input stream, not on how it is divided.
// Samples are limited to [-32767, 32767] like the linear mode's.
//
// Built without libsoxr, Create always fails (saying so).
#ifndef DATAPROCESS_HQRESAMPLER_H
#define DATAPROCESS_HQRESAMPLER_H

#include <memory>
#include <string>
#include <vector>

namespace dp_audio {

class HqResampler {
public:
    // The most output/input rate ratio (and its inverse) served: beyond it a
    // block of input would make hundreds of megabytes of output.
    static constexpr int kMaxRatio = 1024;

    // A resampler for `channels` channels from inRate to outRate Hz, or null
    // with *reason set to why the mode cannot serve them.
    static std::unique_ptr<HqResampler> Create(int inRate, int outRate, int channels, std::string* reason);
    ~HqResampler();
    HqResampler(const HqResampler&) = delete;
    HqResampler& operator=(const HqResampler&) = delete;

    // Resamples `frames` input frames and appends the frames ready so far to
    // `out` (interleaved samples).
    void Process(const short* in, long long frames, std::vector<short>& out);
    // Ends the stream: appends the held-back tail to `out`, then starts a
    // fresh stream.
    void Flush(std::vector<short>& out);

    // Input frames taken and output frames given since the stream began.
    long long FramesIn() const { return m_in; }
    long long FramesOut() const { return m_out; }

private:
    struct Engine;
    HqResampler(std::unique_ptr<Engine> engine, int inRate, int outRate, int channels);
    // Runs the engine over `frames` frames (null at the end of the stream)
    // until all are taken and nothing more comes out, appending to `out` at
    // most up to the stream's total so far.
    void Run(const short* in, long long frames, std::vector<short>& out);
    long long TargetFrames() const;

    std::unique_ptr<Engine> m_engine;
    int m_inRate;
    int m_outRate;
    int m_channels;
    long long m_in = 0;
    long long m_out = 0;
};

} // namespace dp_audio

#endif // DATAPROCESS_HQRESAMPLER_H
