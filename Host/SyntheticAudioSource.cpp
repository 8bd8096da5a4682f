#include "SyntheticAudioSource.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace {

const double kPi = 3.14159265358979323846;

// k * 1e7 / rate rounded half up, in integers (k >= 0, rate > 0).
int64_t FramesToTime(int64_t k, int rate) { return (k * 20000000 + rate) / (2 * static_cast<int64_t>(rate)); }

} // namespace

SyntheticAudioSource::SyntheticAudioSource(const SyntheticAudioConfig& config) : m_cfg(config)
{
    if (m_cfg.sampleRate <= 0)
        m_cfg.sampleRate = 44100;
    m_cfg.channels = std::min(std::max(m_cfg.channels, 1), 8);
    if (m_cfg.bitsPerSample != 8)
        m_cfg.bitsPerSample = 16;
    if (m_cfg.totalFrames < 0)
        m_cfg.totalFrames = 0;
    if (m_cfg.blockFrames.empty())
        m_cfg.blockFrames.push_back(1024);
    for (int& n : m_cfg.blockFrames)
        n = std::max(n, 1);

    // Block layout: one cycle of the size list, repeated.
    m_cycleOffset.push_back(0);
    for (int n : m_cfg.blockFrames)
        m_cycleOffset.push_back(m_cycleOffset.back() + n);
    m_cycleFrames = m_cycleOffset.back();
    const int64_t cycles = m_cfg.totalFrames / m_cycleFrames;
    const int64_t rest = m_cfg.totalFrames % m_cycleFrames;
    m_blockCount = cycles * static_cast<int64_t>(m_cfg.blockFrames.size());
    for (size_t j = 0; j < m_cfg.blockFrames.size(); ++j)
        if (m_cycleOffset[j] < rest)
            ++m_blockCount;

    // The 888-byte stream block: recognisable host bytes around the
    // embedded AudioInfo and the two stream times.
    for (size_t i = 0; i < sizeof m_stream.abHostData; ++i)
        m_stream.abHostData[i] = static_cast<unsigned char>((i * 7 + 3) & 0xFF);
    std::memcpy(m_stream.abHostTail, "SYNAUDIO", sizeof m_stream.abHostTail);
    AudioInfo& ai = m_stream.audioInfo;
    ai.nSampleRate = m_cfg.sampleRate;
    ai.nChannels = m_cfg.channels;
    ai.nBitsPerSample = m_cfg.bitsPerSample;
    ai.nBytesPerSecond = m_cfg.sampleRate * m_cfg.channels * m_cfg.bitsPerSample / 8;
    ai.dReserved = static_cast<double>(m_cfg.totalFrames) / m_cfg.sampleRate; // duration, seconds
    ai.nReserved = static_cast<int32_t>(std::min<int64_t>(m_cfg.totalFrames, INT32_MAX));
    m_stream.llStreamStart = m_cfg.streamStart;
    m_stream.llTimeOffset = m_cfg.timeOffset;

    const int maxBlock = *std::max_element(m_cfg.blockFrames.begin(), m_cfg.blockFrames.end());
    m_data.resize(static_cast<size_t>(maxBlock) * m_cfg.channels * (m_cfg.bitsPerSample / 8));
    m_frame.nFrameType = MEDIA_FRAME_AUDIO;
    m_frame.nSampleRate = m_cfg.sampleRate;
    m_frame.nChannels = m_cfg.channels;
    m_frame.nBitsPerSample = m_cfg.bitsPerSample;
    m_frame.pData = m_data.data();
    m_frame.nBufferSize = static_cast<int32_t>(m_data.size());
    m_frame.llStartTime = m_frame.llStopTime = DP_TIME_UNKNOWN;
}

SyntheticAudioSource::~SyntheticAudioSource() = default;

int SyntheticAudioSource::Close()
{
    ++m_closeCalls;
    return 1;
}

int SyntheticAudioSource::Open(const wchar_t*, const DecParam*, int* error)
{
    ++m_openCalls;
    if (error)
        *error = 0;
    return 1;
}

int64_t SyntheticAudioSource::BlockOffset(int64_t b) const
{
    const int64_t n = static_cast<int64_t>(m_cfg.blockFrames.size());
    return (b / n) * m_cycleFrames + m_cycleOffset[static_cast<size_t>(b % n)];
}

int SyntheticAudioSource::BlockFrames(int64_t b) const
{
    if (b < 0 || b >= m_blockCount)
        return 0;
    const int64_t n = static_cast<int64_t>(m_cfg.blockFrames.size());
    const int64_t len = m_cfg.blockFrames[static_cast<size_t>(b % n)];
    return static_cast<int>(std::min(len, m_cfg.totalFrames - BlockOffset(b)));
}

int64_t SyntheticAudioSource::BlockStartTime(int64_t b) const
{
    int64_t t = m_cfg.streamStart + FramesToTime(BlockOffset(b), m_cfg.sampleRate);
    for (const SyntheticAudioShift& s : m_cfg.shifts)
        if (s.block <= b)
            t += s.shift;
    return t;
}

double SyntheticAudioSource::BlockTime(int64_t b) const
{
    return static_cast<double>(BlockStartTime(b) - m_cfg.streamStart + m_cfg.timeOffset) / 1e7;
}

double SyntheticAudioSource::EndTime() const
{
    if (m_blockCount == 0)
        return static_cast<double>(m_cfg.timeOffset) / 1e7;
    const int64_t last = m_blockCount - 1;
    return BlockTime(last) + static_cast<double>(BlockFrames(last)) / m_cfg.sampleRate;
}

int SyntheticAudioSource::Sample(int64_t k, int c) const
{
    if (m_cfg.waveform == SyntheticAudioConfig::Ramp) {
        if (m_cfg.bitsPerSample == 8)
            return static_cast<int>((k + 37 * c) & 0xFF);
        return static_cast<int16_t>(static_cast<uint16_t>((k + 4099 * c) & 0xFFFF));
    }
    const double phase = 2.0 * kPi * m_cfg.baseFrequency * (c + 1) * static_cast<double>(k) / m_cfg.sampleRate;
    const double s = m_cfg.amplitude * std::sin(phase);
    if (m_cfg.bitsPerSample == 8)
        return 128 + static_cast<int>(std::lround(s * 127.0));
    return static_cast<int>(std::lround(s * 32767.0));
}

double SyntheticAudioSource::AudioSeek(double seconds)
{
    ++m_seekCalls;
    m_lastSeekTime = seconds;
    if (m_blockCount == 0 || seconds >= EndTime()) {
        m_next = m_blockCount;
        return EndTime();
    }
    int64_t b = 0;
    while (b + 1 < m_blockCount && BlockTime(b + 1) <= seconds)
        ++b;
    m_next = b;
    return BlockTime(b);
}

MEDIA_FRAME* SyntheticAudioSource::GetNextFrame()
{
    ++m_frameCalls;
    if (m_next >= m_blockCount)
        return nullptr;
    const int64_t b = m_next++;
    const int64_t first = BlockOffset(b);
    const int frames = BlockFrames(b);
    const int ch = m_cfg.channels;
    unsigned char* p = m_data.data();
    for (int i = 0; i < frames; ++i) {
        for (int c = 0; c < ch; ++c) {
            const int v = Sample(first + i, c);
            if (m_cfg.bitsPerSample == 8) {
                *p++ = static_cast<unsigned char>(v);
            } else {
                const int16_t s = static_cast<int16_t>(v);
                std::memcpy(p, &s, sizeof s);
                p += sizeof s;
            }
        }
    }
    const int64_t start = BlockStartTime(b);
    const int64_t length = FramesToTime(first + frames, m_cfg.sampleRate) - FramesToTime(first, m_cfg.sampleRate);
    m_frame.nDataSize = static_cast<int32_t>(p - m_data.data());
    m_frame.llStartTime = start;
    m_frame.llStopTime = m_cfg.stopAtEnd ? start + length : start;
    m_frame.nDuration = static_cast<int32_t>(FramesToTime(frames, m_cfg.sampleRate));
    return &m_frame;
}

double SyntheticAudioSource::GetOffset() const { return m_next < m_blockCount ? BlockTime(m_next) : EndTime(); }

const AudioInfo* SyntheticAudioSource::GetAudioInfo() const { return &m_stream.audioInfo; }

const AudioStreamInfo* SyntheticAudioSource::GetAudioStreamInfo() const { return &m_stream; }
