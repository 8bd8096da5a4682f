#include "AudioTimeMap.h"

#include <cmath>

namespace dp_audio {

AudioTimeMap::AudioTimeMap(int inRate, int inChannels, int outRate)
    : m_inRate(inRate > 0 ? inRate : 1), m_inChannels(inChannels > 0 ? inChannels : 1),
      m_outRate(outRate > 0 ? outRate : 1)
{
}

void AudioTimeMap::AddBlock(Stamps stamps, long long samples)
{
    m_blocks.push_back({m_samples, stamps});
    if (samples > 0)
        m_samples += samples;
}

AudioTimeMap::Stamps AudioTimeMap::TimeOf(long long frame)
{
    // Input position in frames; exact to far below a sample for any count
    // a stream reaches (frame x rate stays below 2^53 for centuries of
    // audio).
    const double position = static_cast<double>(frame) * m_inRate / m_outRate;
    const double sample = position * m_inChannels;
    while (m_blocks.size() > 1 && static_cast<double>(m_blocks[1].position) <= sample)
        m_blocks.pop_front();
    if (m_blocks.empty())
        return {-1, -1};
    const Block& b = m_blocks.front();
    const int64_t offset =
        std::llround((position - static_cast<double>(b.position) / m_inChannels) * 1e7 / m_inRate);
    return {b.stamps.start == -1 ? -1 : b.stamps.start + offset, b.stamps.stop == -1 ? -1 : b.stamps.stop + offset};
}

void AudioTimeMap::Restart()
{
    m_blocks.clear();
    m_samples = 0;
}

} // namespace dp_audio
