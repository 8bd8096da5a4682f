#include "WavWriter.h"

#include <algorithm>

#include "WavFormat.h"

namespace {

constexpr int kMaxRate = 10000000;

std::string CheckFormat(const WavStreamFormat& f)
{
    if (f.bitsPerSample != 8 && f.bitsPerSample != 16)
        return "unsupported sample size " + std::to_string(f.bitsPerSample) + " bits (8 or 16 can be written)";
    if (f.channels < 1 || f.channels > 8)
        return "unsupported channel count " + std::to_string(f.channels) + " (1 to 8 can be written)";
    if (f.sampleRate < 1 || f.sampleRate > kMaxRate)
        return "bad sample rate " + std::to_string(f.sampleRate);
    return std::string();
}

} // namespace

bool WavWriter::Open(const char* path, const WavStreamFormat& format)
{
    m_dataBytes = 0;
    return m_sink.Open(path, CheckFormat(format)) && Start(format);
}

bool WavWriter::Open(const std::string& path, const WavStreamFormat& format)
{
    m_dataBytes = 0;
    return m_sink.Open(path, CheckFormat(format)) && Start(format);
}

bool WavWriter::Attach(FILE* stream, const std::string& name, const WavStreamFormat& format)
{
    m_dataBytes = 0;
    return m_sink.Attach(stream, name, CheckFormat(format)) && Start(format);
}

bool WavWriter::Start(const WavStreamFormat& format)
{
    m_format = format;
    if (m_format.channels > 2 && m_format.channelMask == 0)
        m_format.channelMask = wav::DefaultChannelMask(m_format.channels);
    m_blockAlign = m_format.channels * (m_format.bitsPerSample / 8);
    unsigned char header[wav::MAX_HEADER_BYTES];
    // A seekable output gets its sizes at Commit; a pipe keeps "unknown".
    m_headerBytes = wav::BuildHeader(header, m_format.sampleRate, m_format.channels, m_format.bitsPerSample,
                                     m_format.channels > 2, m_format.channelMask, m_sink.out.Seekable() ? 0 : -1);
    if (!m_sink.out.Write(header, m_headerBytes))
        return m_sink.FailOutput();
    return true;
}

bool WavWriter::WriteSamples(const void* data, size_t bytes)
{
    if (!m_sink.Usable("wav"))
        return false;
    if (bytes % static_cast<size_t>(m_blockAlign) != 0)
        return m_sink.Fail(m_sink.Name() + ": " + std::to_string(bytes) + " bytes are not a whole number of " +
                           std::to_string(m_blockAlign) + "-byte sample frames");
    if (bytes && !data)
        return m_sink.Fail(m_sink.Name() + ": no sample data");
    if (!m_sink.out.Write(data, bytes))
        return m_sink.FailOutput();
    m_dataBytes += static_cast<int64_t>(bytes);
    return true;
}

bool WavWriter::WriteFrame(const MEDIA_FRAME* frame)
{
    if (!m_sink.Usable("wav"))
        return false;
    const std::string name = m_sink.Name();
    if (!frame || frame->nFrameType != MEDIA_FRAME_AUDIO || frame->nDataSize < 0 ||
        (frame->nDataSize > 0 && !frame->pData))
        return m_sink.Fail(name + ": not an audio frame");
    if (frame->nSampleRate != m_format.sampleRate || frame->nChannels != m_format.channels)
        return m_sink.Fail(name + ": frame of " + std::to_string(frame->nSampleRate) + " Hz, " +
                           std::to_string(frame->nChannels) + " channels does not match the file (" +
                           std::to_string(m_format.sampleRate) + " Hz, " + std::to_string(m_format.channels) +
                           " channels)");
    const int bits = frame->nBitsPerSample;
    if (bits != 8 && bits != 16)
        return m_sink.Fail(name + ": frame of " + std::to_string(bits) + "-bit samples (8 or 16 expected)");
    const size_t bytes = static_cast<size_t>(frame->nDataSize);
    if (bits == m_format.bitsPerSample)
        return WriteSamples(frame->pData, bytes);

    const size_t frameAlign = static_cast<size_t>(frame->nChannels) * static_cast<size_t>(bits / 8);
    if (bytes % frameAlign != 0)
        return m_sink.Fail(name + ": frame holds a partial sample frame");
    const unsigned char* src = frame->pData;
    if (bits == 16) {
        // 16 -> 8: the high byte, moved to the unsigned range.
        const size_t n = bytes / 2;
        if (m_scratch.size() < n)
            m_scratch.resize(n);
        for (size_t i = 0; i < n; ++i)
            m_scratch[i] = static_cast<unsigned char>(src[2 * i + 1] ^ 0x80);
        return WriteSamples(m_scratch.data(), n);
    }
    // 8 -> 16: (u - 128) * 256, little-endian.
    const size_t n = bytes;
    if (m_scratch.size() < 2 * n)
        m_scratch.resize(2 * n);
    for (size_t i = 0; i < n; ++i) {
        m_scratch[2 * i] = 0;
        m_scratch[2 * i + 1] = static_cast<unsigned char>(src[i] ^ 0x80);
    }
    return WriteSamples(m_scratch.data(), 2 * n);
}

bool WavWriter::Commit()
{
    if (m_sink.out.IsOpen() && m_sink.out.Seekable()) {
        static const unsigned char pad = 0;
        if ((m_dataBytes & 1) && !m_sink.out.Write(&pad, 1))
            return m_sink.FailOutput();
        unsigned char header[wav::MAX_HEADER_BYTES];
        wav::BuildHeader(header, m_format.sampleRate, m_format.channels, m_format.bitsPerSample,
                         m_format.channels > 2, m_format.channelMask, m_dataBytes);
        if (!m_sink.out.WriteAt(0, header, m_headerBytes))
            return m_sink.FailOutput();
    }
    return m_sink.Commit();
}

void WavWriter::Discard() { m_sink.Discard(); }
