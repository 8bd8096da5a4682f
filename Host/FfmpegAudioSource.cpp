#include "FfmpegAudioSource.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/channel_layout.h>
#include <libavutil/frame.h>
#include <libavutil/mathematics.h>
#include <libavutil/samplefmt.h>
#include <libswresample/swresample.h>
}

#include <DataProcess/Frame.h>

#include "HostFile.h"

namespace {

constexpr int kMaxChannels = 8;
// A time stamp further than this from where the samples delivered so far
// lead (in samples) is a real gap or overlap, not rounding.
constexpr int64_t kJumpTolerance = 32;
// Samples decoded before a seek target and dropped.
constexpr int64_t kRunIn = 2048;

int64_t FramePacketDuration(const AVFrame* f)
{
#if LIBAVUTIL_VERSION_INT >= AV_VERSION_INT(57, 30, 100)
    return f->duration;
#else
    return f->pkt_duration;
#endif
}

int64_t UnitsOfSample(int64_t sample, int rate)
{
    // round(sample * 10^7 / rate), halves up, without overflow for any
    // sample count of a real file.
    return av_rescale_rnd(sample, 10000000, rate, static_cast<AVRounding>(AV_ROUND_NEAR_INF | AV_ROUND_PASS_MINMAX));
}

} // namespace

FfmpegAudioSource::FfmpegAudioSource() { Close(); }

FfmpegAudioSource::~FfmpegAudioSource() { Close(); }

int FfmpegAudioSource::Close()
{
    m_in.Close();
    av_frame_free(&m_decoded);
    swr_free(&m_swr);
    m_swrFormat = -1;
    m_swrRate = 0;
    for (AVChannelLayout** l : {&m_swrLayout, &m_outLayout}) {
        if (*l)
            av_channel_layout_uninit(*l);
        delete *l;
        *l = nullptr;
    }
    m_formatChanges = 0;
    ReleaseAudioFrame(m_block);
    m_block = nullptr;
    m_pending = false;
    m_started = false;
    m_position = 0;
    m_description.clear();
    std::memset(&m_stream, 0, sizeof(m_stream));
    const char tag[] = "FfmpegAudioSource stream block";
    std::memcpy(m_stream.abHostData, tag, sizeof(tag));
    return 1;
}

int FfmpegAudioSource::Open(const wchar_t* path, const DecParam*, int* error)
{
    const int rc = path ? OpenPath(HostPathFromWide(path)) : HOSTFILE_CANNOT_OPEN;
    if (!path)
        m_error = "no file name given";
    if (error)
        *error = rc;
    return rc == HOSTFILE_OK ? 1 : 0;
}

int FfmpegAudioSource::OpenPath(const std::string& path, int streamIndex)
{
    Close();
    m_error.clear();
    if (!m_in.Open(path, FfmpegInput::AUDIO, streamIndex))
        return HOSTFILE_CANNOT_OPEN;
    return Opened(path);
}

int FfmpegAudioSource::OpenIo(AVIOContext* io, const std::string& name, int streamIndex)
{
    Close();
    m_error.clear();
    if (!m_in.Open(io, name, FfmpegInput::AUDIO, streamIndex))
        return HOSTFILE_CANNOT_OPEN;
    return Opened(name);
}

int FfmpegAudioSource::Opened(const std::string& path)
{
    const AVCodecContext* c = m_in.Codec();
    const int channels = c->ch_layout.nb_channels;
    if (c->sample_rate <= 0 || c->sample_rate > 10000000 || channels < 1 || channels > kMaxChannels) {
        m_error = path + ": unsupported audio: " + std::to_string(channels) + " channels at " +
                  std::to_string(c->sample_rate) + " Hz (1 to " + std::to_string(kMaxChannels) + " channels)";
        m_in.Close();
        return HOSTFILE_UNSUPPORTED;
    }
    const char* fmt = av_get_sample_fmt_name(c->sample_fmt);
    m_description = std::string(c->codec->name) + ", " + (fmt ? fmt : "unknown sample format");
    m_decoded = av_frame_alloc();
    m_outLayout = new AVChannelLayout{};
    m_swrLayout = new AVChannelLayout{};
    if (c->ch_layout.order == AV_CHANNEL_ORDER_UNSPEC)
        av_channel_layout_default(m_outLayout, channels);
    else
        av_channel_layout_copy(m_outLayout, &c->ch_layout);
    if (!m_decoded) {
        m_error = path + ": out of memory";
        Close();
        return HOSTFILE_IO_ERROR;
    }
    AudioInfo& ai = m_stream.audioInfo;
    ai.nSampleRate = c->sample_rate;
    ai.nChannels = channels;
    ai.nBitsPerSample = 16;
    ai.nBytesPerSecond = c->sample_rate * channels * 2;
    return HOSTFILE_OK;
}

bool FfmpegAudioSource::EnsureBuffer(int bytes)
{
    if (m_block && m_block->nBufferSize >= bytes)
        return true;
    ReleaseAudioFrame(m_block);
    // Room for a little more than asked, so that frames of slightly varying
    // length do not make a new buffer each time.
    m_block = CreateAudioFrame(SampleRate(), Channels(), 16, bytes + bytes / 4);
    return m_block != nullptr;
}

bool FfmpegAudioSource::PrepareConverter(const AVFrame* d)
{
    AVChannelLayout in{};
    if (d->ch_layout.order == AV_CHANNEL_ORDER_UNSPEC || d->ch_layout.nb_channels <= 0)
        av_channel_layout_default(&in, std::max(1, d->ch_layout.nb_channels));
    else
        av_channel_layout_copy(&in, &d->ch_layout);
    if (m_swr && m_swrFormat == d->format && m_swrRate == d->sample_rate &&
        av_channel_layout_compare(&in, m_swrLayout) == 0) {
        av_channel_layout_uninit(&in);
        return true;
    }
    if (m_swr && (m_swrRate != d->sample_rate || av_channel_layout_compare(&in, m_swrLayout) != 0))
        ++m_formatChanges;
    swr_free(&m_swr);
    av_channel_layout_uninit(m_swrLayout);
    const int err = swr_alloc_set_opts2(&m_swr, m_outLayout, AV_SAMPLE_FMT_S16, SampleRate(), &in,
                                        static_cast<AVSampleFormat>(d->format), d->sample_rate, 0, nullptr);
    av_channel_layout_copy(m_swrLayout, &in);
    av_channel_layout_uninit(&in);
    m_swrFormat = d->format;
    m_swrRate = d->sample_rate;
    if (err < 0 || swr_init(m_swr) < 0) {
        swr_free(&m_swr);
        m_error = m_in.Name() + ": cannot convert its samples to 16-bit";
        return false;
    }
    return true;
}

bool FfmpegAudioSource::DecodeBlock(int64_t skipBefore)
{
    const int rate = SampleRate(), channels = Channels();
    for (;;) {
        if (!m_in.Next(m_decoded))
            return false;
        AVFrame* d = m_decoded;
        if (d->nb_samples <= 0 || d->sample_rate <= 0 || d->ch_layout.nb_channels <= 0)
            continue;
        // Where this frame starts, in samples from the origin.
        const int64_t ts = d->best_effort_timestamp;
        if (ts != AV_NOPTS_VALUE) {
            const int64_t units = m_in.Rebase(m_in.ToUnits(ts), UnitsOfSample(m_position, rate), m_started);
            const int64_t at = av_rescale_q(units, AVRational{1, 10000000}, AVRational{1, rate});
            if (!m_started || at > m_position + kJumpTolerance || at < m_position - kJumpTolerance)
                m_position = at;
        }
        m_started = true;

        if (!PrepareConverter(d))
            return false;
        const int room = swr_get_out_samples(m_swr, d->nb_samples);
        if (room < 0 || room > (INT_MAX / 2) / channels || !EnsureBuffer(room * channels * 2)) {
            m_error = m_in.Name() + ": out of memory";
            return false;
        }
        uint8_t* out[1] = {m_block->pData};
        const int got = swr_convert(m_swr, out, room, const_cast<const uint8_t**>(d->extended_data), d->nb_samples);
        if (got < 0) {
            m_error = m_in.Name() + ": cannot convert its samples to 16-bit";
            return false;
        }
        // A last frame the encoder padded says in its packet's duration how
        // much of it is real (MP4 keeps that); the rest is cut. Only where
        // the time base counts single samples (Matroska rounds durations to
        // the millisecond) and the frame is at the stream's own rate.
        int samples = got;
        const int64_t length = FramePacketDuration(d);
        const AVRational tb = m_in.Stream()->time_base;
        if (length > 0 && tb.num == 1 && tb.den >= rate && d->sample_rate == rate) {
            const int64_t real = av_rescale_q(length, tb, AVRational{1, rate});
            if (real > 0 && real < samples)
                samples = static_cast<int>(real);
        }
        const int64_t first = m_position;
        m_position += samples;
        int skip = 0;
        if (skipBefore > first) {
            if (skipBefore >= m_position)
                continue; // wholly before the target
            skip = static_cast<int>(skipBefore - first);
        }
        const int kept = std::max(0, samples - skip);
        if (skip > 0 && kept > 0)
            std::memmove(m_block->pData, m_block->pData + static_cast<size_t>(skip) * channels * 2,
                         static_cast<size_t>(kept) * channels * 2);
        if (kept == 0)
            continue;
        const int64_t start = first + skip;
        m_block->nDataSize = kept * channels * 2;
        m_block->llStartTime = UnitsOfSample(start, rate);
        m_block->llStopTime = m_block->llStartTime;
        m_block->nDuration =
            static_cast<int32_t>(std::min<int64_t>(INT_MAX, UnitsOfSample(start + kept, rate) - m_block->llStartTime));
        m_position = start + kept;
        return true;
    }
}

MEDIA_FRAME* FfmpegAudioSource::GetNextFrame()
{
    if (!m_in.IsOpen())
        return nullptr;
    if (m_pending) {
        m_pending = false;
        return m_block;
    }
    return DecodeBlock(INT64_MIN) ? m_block : nullptr;
}

double FfmpegAudioSource::AudioSeek(double seconds)
{
    if (!m_in.IsOpen() || !std::isfinite(seconds))
        return -1.0;
    const int rate = SampleRate();
    const int64_t target = std::llround(std::max(0.0, std::min(seconds, 1e9)) * rate);
    // A little before the target: codecs with overlapping windows (AAC)
    // need a frame of run-in before their samples are right.
    if (!m_in.SeekBefore(UnitsOfSample(std::max<int64_t>(0, target - kRunIn), rate)))
        return -1.0;
    m_started = false;
    m_in.ResetRebase();
    m_pending = DecodeBlock(target);
    if (!m_pending)
        return GetOffset();
    return static_cast<double>(m_block->llStartTime) / 1e7;
}

double FfmpegAudioSource::GetOffset() const
{
    const int rate = SampleRate();
    if (rate <= 0)
        return 0.0;
    if (m_pending)
        return static_cast<double>(m_block->llStartTime) / 1e7;
    return static_cast<double>(m_position) / rate;
}

const AudioInfo* FfmpegAudioSource::GetAudioInfo() const { return &m_stream.audioInfo; }

const AudioStreamInfo* FfmpegAudioSource::GetAudioStreamInfo() const { return &m_stream; }
