#include "WavAudioSource.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>

#include <DataProcess/Frame.h>

#include "WavFormat.h"

namespace {

constexpr int kMaxBlockFrames = 1 << 20;
constexpr uint32_t kMaxRate = 10000000;
constexpr size_t kFmtKeep = 64; // bytes of the fmt chunk that are looked at

std::string FourCCText(const unsigned char* p)
{
    std::string s = "'";
    for (int i = 0; i < 4; ++i)
        s += (p[i] >= 0x20 && p[i] < 0x7F) ? static_cast<char>(p[i]) : '?';
    return s + "'";
}

const char* EncodingName(unsigned tag)
{
    switch (tag) {
    case 0x0002: return "Microsoft ADPCM";
    case 0x0003: return "IEEE float";
    case 0x0006: return "A-law";
    case 0x0007: return "mu-law";
    case 0x0011: return "IMA ADPCM";
    case 0x0031: return "GSM 6.10";
    case 0x0050: return "MPEG audio";
    case 0x0055: return "MPEG layer 3";
    case 0x00FF: return "AAC";
    case 0x2000: return "AC-3";
    default: return nullptr;
    }
}

} // namespace

WavAudioSource::WavAudioSource(int blockFrames)
{
    SetBlockFrames(blockFrames);
    FillStreamBlock();
}

WavAudioSource::~WavAudioSource() { Reset(); }

void WavAudioSource::Reset()
{
    ReleaseAudioFrame(m_frame);
    m_frame = nullptr;
    m_rate = m_channels = m_bits = m_blockAlign = 0;
    m_extensible = false;
    m_channelMask = 0;
    m_dataStart = 0;
    m_dataBytes = -1;
    m_consumed = 0;
    m_totalFrames = -1;
    m_position = 0;
    m_ended = false;
}

int WavAudioSource::Close()
{
    m_in.Close();
    return 1;
}

int WavAudioSource::Open(const wchar_t* path, const DecParam*, int* error) { return m_in.Open(path, error); }

int WavAudioSource::OpenPath(const std::string& path) { return m_in.OpenPath(path); }

int WavAudioSource::OpenStream(FILE* stream, const std::string& name, bool own)
{
    return m_in.OpenStream(stream, name, own);
}

void WavAudioSource::Forget()
{
    Reset();
    FillStreamBlock();
}

int WavAudioSource::Begin()
{
    auto truncatedHeader = [this](const std::string& where) {
        if (m_in.file.Failed())
            return m_in.Fail(HOSTFILE_IO_ERROR, m_in.file.Error());
        return m_in.Fail(HOSTFILE_TRUNCATED, "truncated header (the stream ends at byte " +
                                                  std::to_string(m_in.file.Position()) + " " + where + ")");
    };

    unsigned char riff[12];
    const size_t got = m_in.file.Read(riff, sizeof(riff));
    if (m_in.file.Failed())
        return m_in.Fail(HOSTFILE_IO_ERROR, m_in.file.Error());
    if (got == 0)
        return m_in.Fail(HOSTFILE_BAD_FORMAT, "empty input (not a WAV file)");
    if (got >= 4 && std::memcmp(riff, "RIFX", 4) == 0)
        return m_in.Fail(HOSTFILE_UNSUPPORTED, "big-endian WAV (RIFX) is not supported");
    if (got >= 4 && std::memcmp(riff, "RF64", 4) == 0)
        return m_in.Fail(HOSTFILE_UNSUPPORTED, "RF64 WAV is not supported");
    if (got < 4 || std::memcmp(riff, "RIFF", 4) != 0)
        return m_in.Fail(HOSTFILE_BAD_FORMAT, "not a WAV file (no RIFF header)");
    if (got < sizeof(riff))
        return truncatedHeader("inside the RIFF header");
    if (std::memcmp(riff + 8, "WAVE", 4) != 0)
        return m_in.Fail(HOSTFILE_BAD_FORMAT,
                         "not a WAV file (RIFF form " + FourCCText(riff + 8) + ", expected 'WAVE')");

    bool haveFormat = false;
    for (;;) {
        unsigned char head[8];
        const size_t n = m_in.file.Read(head, sizeof(head));
        if (n == 0)
            return truncatedHeader(haveFormat ? "before the data chunk" : "before the fmt chunk");
        if (n < sizeof(head))
            return truncatedHeader("inside a chunk header");
        const uint32_t size = wav::Get32(head + 4);
        const std::string id = FourCCText(head);

        if (std::memcmp(head, "fmt ", 4) == 0) {
            if (size < 16)
                return m_in.Fail(HOSTFILE_BAD_FORMAT, "fmt chunk too small (" + std::to_string(size) + " bytes)");
            unsigned char fmt[kFmtKeep] = {0};
            const size_t keep = std::min<size_t>(size, kFmtKeep);
            if (m_in.file.Read(fmt, keep) < keep)
                return truncatedHeader("inside the 'fmt ' chunk");
            const int rc = ParseFormat(fmt, size);
            if (rc != HOSTFILE_OK)
                return rc;
            if (!m_in.file.Skip(static_cast<int64_t>(size - keep) + (size & 1)))
                return truncatedHeader("inside the 'fmt ' chunk");
            haveFormat = true;
            continue;
        }
        if (std::memcmp(head, "data", 4) == 0) {
            if (!haveFormat)
                return m_in.Fail(HOSTFILE_BAD_FORMAT, "data chunk before the fmt chunk");
            m_dataStart = m_in.file.Position();
            // Streaming writers cannot go back to fill in the size: 0 and
            // 0xFFFFFFFF mean "to the end", as does a size the file cannot hold.
            const bool unknown = size == 0 || size == 0xFFFFFFFFu;
            if (m_in.file.Seekable()) {
                const int64_t left = m_in.file.Size() - m_dataStart;
                m_dataBytes = (unknown || static_cast<int64_t>(size) > left) ? left : static_cast<int64_t>(size);
                // A stated size the file does not hold (a file cut short, or a
                // header claiming gigabytes): the samples that are there are
                // read, and the stream counts as truncated.
                if (!unknown && static_cast<int64_t>(size) > left) {
                    m_in.SetError("truncated data (the header says " + std::to_string(size) + " bytes, the file holds " +
                                  std::to_string(left) + ")");
                    m_in.truncated = true;
                }
            } else {
                m_dataBytes = unknown ? -1 : static_cast<int64_t>(size);
            }
            m_totalFrames = m_dataBytes >= 0 && m_in.file.Seekable() ? m_dataBytes / m_blockAlign : -1;
            break;
        }
        // LIST, fact, cue, JUNK, ...: not needed. Odd sizes carry a pad byte.
        if (!m_in.file.Skip(static_cast<int64_t>(size) + (size & 1)))
            return truncatedHeader("inside the " + id + " chunk");
    }
    FillStreamBlock();
    return HOSTFILE_OK;
}

int WavAudioSource::ParseFormat(const unsigned char* fmt, uint32_t size)
{
    unsigned tag = wav::Get16(fmt);
    const unsigned channels = wav::Get16(fmt + 2);
    const uint32_t rate = wav::Get32(fmt + 4);
    const unsigned align = wav::Get16(fmt + 12);
    const unsigned bits = wav::Get16(fmt + 14);

    if (tag == wav::FORMAT_EXTENSIBLE) {
        if (size < 40)
            return m_in.Fail(HOSTFILE_BAD_FORMAT,
                              "WAVE_FORMAT_EXTENSIBLE fmt chunk too small (" + std::to_string(size) + " bytes)");
        m_extensible = true;
        m_channelMask = wav::Get32(fmt + 20);
        // The sub-format GUID is {tag-0000-0010-8000-00AA00389B71}.
        if (wav::Get16(fmt + 26) != 0 || std::memcmp(fmt + 28, wav::kSubFormatTail, sizeof(wav::kSubFormatTail)) != 0)
            return m_in.Fail(HOSTFILE_UNSUPPORTED, "unsupported WAVE_FORMAT_EXTENSIBLE sub-format " +
                                                        wav::GuidText(fmt + 24) +
                                                        " (only 8- and 16-bit PCM are supported)");
        tag = wav::Get16(fmt + 24);
    }
    if (tag != wav::FORMAT_PCM) {
        const char* name = EncodingName(tag);
        char text[64];
        if (tag == wav::FORMAT_FLOAT)
            std::snprintf(text, sizeof(text), "%u-bit IEEE float", bits);
        else if (name)
            std::snprintf(text, sizeof(text), "%s (format tag 0x%04X)", name, tag);
        else
            std::snprintf(text, sizeof(text), "format tag 0x%04X", tag);
        return m_in.Fail(HOSTFILE_UNSUPPORTED,
                          std::string("unsupported WAV encoding: ") + text + " (only 8- and 16-bit PCM are supported)");
    }
    if (bits != 8 && bits != 16)
        return m_in.Fail(HOSTFILE_UNSUPPORTED, "unsupported sample size: " + std::to_string(bits) +
                                                    "-bit PCM (only 8- and 16-bit PCM are supported)");
    if (channels == 0)
        return m_in.Fail(HOSTFILE_BAD_FORMAT, "fmt chunk gives 0 channels");
    if (channels > MAX_CHANNELS)
        return m_in.Fail(HOSTFILE_UNSUPPORTED, std::to_string(channels) + " channels (at most " +
                                                    std::to_string(MAX_CHANNELS) + " are supported)");
    if (rate == 0 || rate > kMaxRate)
        return m_in.Fail(HOSTFILE_BAD_FORMAT, "bad sample rate " + std::to_string(rate));
    const unsigned expected = channels * bits / 8;
    if (align != expected)
        return m_in.Fail(HOSTFILE_BAD_FORMAT, "inconsistent block alignment " + std::to_string(align) +
                                                   " (expected " + std::to_string(expected) + " for " +
                                                   std::to_string(channels) + " channels of " + std::to_string(bits) +
                                                   " bits)");
    m_rate = static_cast<int>(rate);
    m_channels = static_cast<int>(channels);
    m_bits = static_cast<int>(bits);
    m_blockAlign = static_cast<int>(expected);
    return HOSTFILE_OK;
}

void WavAudioSource::FillStreamBlock()
{
    std::memset(&m_stream, 0, sizeof(m_stream));
    const char tag[] = "WavAudioSource stream block";
    std::memcpy(m_stream.abHostData, tag, sizeof(tag));
    AudioInfo& ai = m_stream.audioInfo;
    ai.nSampleRate = m_rate;
    ai.nChannels = m_channels;
    ai.nBitsPerSample = m_bits;
    ai.nBytesPerSecond = m_rate * m_blockAlign; // at most 10^7 * 16
}

void WavAudioSource::SetBlockFrames(int frames)
{
    frames = std::max(1, std::min(frames, kMaxBlockFrames));
    if (frames == m_blockFrames && m_frame)
        return;
    m_blockFrames = frames;
    ReleaseAudioFrame(m_frame);
    m_frame = nullptr;
}

bool WavAudioSource::EnsureBuffer()
{
    if (!m_frame && m_blockAlign > 0)
        m_frame = CreateAudioFrame(m_rate, m_channels, m_bits, m_blockFrames * m_blockAlign);
    return m_frame != nullptr;
}

int64_t WavAudioSource::TimeOf(int64_t sampleFrame) const
{
    if (m_rate <= 0 || sampleFrame <= 0)
        return 0;
    // round(s * 10^7 / rate) with halves up; 128 bits keep it exact.
    const __int128 x = static_cast<__int128>(sampleFrame) * 10000000;
    const __int128 r = (2 * x + m_rate) / (2 * static_cast<__int128>(m_rate));
    return r > INT64_MAX ? INT64_MAX : static_cast<int64_t>(r);
}

void WavAudioSource::NotePartialFrame(size_t got)
{
    m_in.SetError("truncated final sample frame (got " + std::to_string(got) + " of " + std::to_string(m_blockAlign) +
                  " bytes), dropped");
    m_in.truncated = true;
}

MEDIA_FRAME* WavAudioSource::GetNextFrame()
{
    if (!m_in.file.IsOpen() || m_ended || !EnsureBuffer())
        return nullptr;
    int64_t want = static_cast<int64_t>(m_blockFrames) * m_blockAlign;
    if (m_dataBytes >= 0)
        want = std::min(want, m_dataBytes - m_consumed);
    if (want <= 0) {
        m_ended = true;
        return nullptr;
    }
    const size_t got = m_in.file.Read(m_frame->pData, static_cast<size_t>(want));
    m_consumed += static_cast<int64_t>(got);
    if (m_in.file.Failed()) {
        m_in.SetError(m_in.file.Error() + " at byte " + std::to_string(m_in.file.Position()));
        m_ended = true;
    } else if (got < static_cast<size_t>(want)) {
        m_ended = true; // the stream ended before the data chunk did
        if (m_dataBytes >= 0) {
            // The header stated the size: the stream was cut short.
            m_in.SetError("truncated data (the stream ended after " + std::to_string(m_consumed) + " of the " +
                          std::to_string(m_dataBytes) + " bytes the header says)");
            m_in.truncated = true;
        }
    }
    const size_t partial = got % static_cast<size_t>(m_blockAlign);
    const int64_t whole = static_cast<int64_t>(got / static_cast<size_t>(m_blockAlign));
    // A short read on a pipe can end inside a frame only at the stream's end;
    // a known data size that is not a whole number of frames ends the same way.
    if (partial && !m_in.file.Failed()) {
        NotePartialFrame(partial);
        m_ended = true;
    }
    if (whole == 0) {
        m_ended = true;
        return nullptr;
    }
    m_frame->nDataSize = static_cast<int32_t>(whole * m_blockAlign);
    // Audio blocks carry their start time in both stamps, as the library's
    // own stages stamp them: the timeline stage places a block by its
    // llStopTime. nDuration holds the block's length.
    m_frame->llStartTime = TimeOf(m_position);
    m_frame->llStopTime = m_frame->llStartTime;
    m_frame->nDuration = static_cast<int32_t>(std::min<int64_t>(TimeOf(m_position + whole) - m_frame->llStartTime, INT32_MAX));
    m_position += whole;
    return m_frame;
}

double WavAudioSource::AudioSeek(double seconds)
{
    if (!m_in.file.IsOpen() || m_rate <= 0)
        return 0.0;
    int64_t target = 0;
    if (seconds > 0.0)
        target = std::llround(std::min(seconds * m_rate, 9e15));
    if (m_in.file.Seekable()) {
        target = std::min(target, m_totalFrames);
        if (m_in.file.SeekTo(m_dataStart + target * m_blockAlign)) {
            m_position = target;
            m_consumed = target * m_blockAlign;
            m_ended = false;
        } else {
            m_in.SetError(m_in.file.Error());
        }
        return GetOffset();
    }
    if (target < m_position) {
        m_in.SetError("cannot seek back to sample frame " + std::to_string(target) +
                      " on a stream that does not seek (at sample frame " + std::to_string(m_position) + ")");
        return GetOffset();
    }
    if (target > m_position && !m_ended) {
        const int64_t wanted = (target - m_position) * m_blockAlign;
        int64_t skip = wanted;
        if (m_dataBytes >= 0)
            skip = std::min(skip, m_dataBytes - m_consumed);
        const int64_t before = m_in.file.Position();
        m_in.file.Skip(skip);
        m_consumed += m_in.file.Position() - before;
        // On a pipe only the end of the data can cut a sample frame.
        m_position = m_consumed / m_blockAlign;
        if (m_in.file.Position() - before < wanted) {
            m_ended = true;
            if (m_in.file.Failed())
                m_in.SetError(m_in.file.Error() + " at byte " + std::to_string(m_in.file.Position()));
            else if (m_consumed % m_blockAlign)
                NotePartialFrame(static_cast<size_t>(m_consumed % m_blockAlign));
        }
    }
    return GetOffset();
}

double WavAudioSource::GetOffset() const
{
    return m_rate > 0 ? static_cast<double>(m_position) / m_rate : 0.0;
}

const AudioInfo* WavAudioSource::GetAudioInfo() const { return &m_stream.audioInfo; }

const AudioStreamInfo* WavAudioSource::GetAudioStreamInfo() const { return &m_stream; }
