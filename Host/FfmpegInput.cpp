#include "FfmpegInput.h"

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/avutil.h>
#include <libavutil/mathematics.h>
}

#include <cstdlib>
#include <cstring>

namespace {

constexpr AVRational kUnits = {1, 10000000};
// Read errors in a row after which the input counts as broken rather than
// damaged in places.
constexpr int kMaxReadErrors = 64;

} // namespace

std::string FfmpegErrorText(int err)
{
    char text[AV_ERROR_MAX_STRING_SIZE] = {0};
    av_strerror(err, text, sizeof(text));
    return text;
}

void FfmpegQuietLogs()
{
    // FFmpeg's own messages would interleave with the tool's lines; its
    // findings reach the user through the sources' and the writer's errors.
    // DP_FFMPEG_LOG=1 shows them (warnings and worse) for a closer look.
    const char* show = std::getenv("DP_FFMPEG_LOG");
    av_log_set_level(show && *show && std::strcmp(show, "0") != 0 ? AV_LOG_WARNING : AV_LOG_QUIET);
}

FfmpegInput::~FfmpegInput() { Close(); }

void FfmpegInput::Close()
{
    avcodec_free_context(&m_codec);
    avformat_close_input(&m_format);
    av_packet_free(&m_packet);
    m_stream = nullptr;
    m_index = -1;
    m_origin = 0;
    m_draining = false;
    m_shift = 0;
    m_discontinuities = 0;
}

bool FfmpegInput::Fail(const std::string& what, int err)
{
    m_error = m_name + ": " + what;
    if (err)
        m_error += " (" + FfmpegErrorText(err) + ")";
    Close();
    return false;
}

namespace {

bool IsCandidate(const AVStream* st, AVMediaType type)
{
    // Cover art is stored as a one-picture video stream; it is part of the
    // file's tags, not its video.
    return st->codecpar->codec_type == type && !(st->disposition & AV_DISPOSITION_ATTACHED_PIC);
}

} // namespace

bool FfmpegInput::Open(const std::string& path, Kind kind, int index)
{
    Close();
    m_name = path;
    m_error.clear();
    m_damaged = 0;
    m_noStream = false;
    FfmpegQuietLogs();

    const int err = avformat_open_input(&m_format, path.c_str(), nullptr, nullptr);
    if (err < 0)
        return Fail("cannot open", err);
    return OpenStream(kind, index);
}

bool FfmpegInput::Open(AVIOContext* io, const std::string& name, Kind kind, int index)
{
    Close();
    m_name = name;
    m_error.clear();
    m_damaged = 0;
    m_noStream = false;
    FfmpegQuietLogs();

    m_format = avformat_alloc_context();
    if (!m_format)
        return Fail("out of memory");
    m_format->pb = io;
    m_format->flags |= AVFMT_FLAG_CUSTOM_IO;
    const int err = avformat_open_input(&m_format, name.c_str(), nullptr, nullptr);
    if (err < 0)
        return Fail("cannot open", err); // avformat_open_input freed the context
    return OpenStream(kind, index);
}

int FfmpegInput::StreamCount(Kind kind) const
{
    if (!m_format)
        return 0;
    const AVMediaType type = kind == VIDEO ? AVMEDIA_TYPE_VIDEO : AVMEDIA_TYPE_AUDIO;
    int n = 0;
    for (unsigned i = 0; i < m_format->nb_streams; ++i)
        n += IsCandidate(m_format->streams[i], type) ? 1 : 0;
    return n;
}

bool FfmpegInput::OpenStream(Kind kind, int index)
{
    int err = avformat_find_stream_info(m_format, nullptr);
    if (err < 0)
        return Fail("cannot read the stream information", err);
    const AVMediaType type = kind == VIDEO ? AVMEDIA_TYPE_VIDEO : AVMEDIA_TYPE_AUDIO;
    const char* kindName = kind == VIDEO ? "video" : "audio";
    const int count = StreamCount(kind);
    if (count == 0) {
        m_noStream = true;
        return Fail(std::string("no ") + kindName + " stream");
    }
    m_index = -1;
    if (index >= 0) {
        if (index >= count) {
            m_noStream = true;
            return Fail("no " + std::string(kindName) + " stream " + std::to_string(index) + " (it has " +
                        std::to_string(count) + ", numbered from 0)");
        }
        for (unsigned i = 0, n = 0; i < m_format->nb_streams && m_index < 0; ++i)
            if (IsCandidate(m_format->streams[i], type) && int(n++) == index)
                m_index = static_cast<int>(i);
    } else {
        m_index = av_find_best_stream(m_format, type, -1, -1, nullptr, 0);
        if (m_index < 0 || !IsCandidate(m_format->streams[m_index], type)) {
            // FFmpeg's choice fell on cover art (or none was decodable): the
            // first real stream of the kind.
            for (unsigned i = 0; i < m_format->nb_streams; ++i)
                if (IsCandidate(m_format->streams[i], type)) {
                    m_index = static_cast<int>(i);
                    break;
                }
        }
    }
    const AVCodecID id = m_format->streams[m_index]->codecpar->codec_id;
    const AVCodec* decoder = avcodec_find_decoder(id);
    if (!decoder)
        return Fail(std::string("no decoder for its ") + kindName + " stream" +
                    (id != AV_CODEC_ID_NONE ? std::string(" (") + avcodec_get_name(id) + ")" : std::string()));
    m_stream = m_format->streams[m_index];
    for (unsigned i = 0; i < m_format->nb_streams; ++i)
        if (static_cast<int>(i) != m_index)
            m_format->streams[i]->discard = AVDISCARD_ALL;

    m_codec = avcodec_alloc_context3(decoder);
    m_packet = av_packet_alloc();
    if (!m_codec || !m_packet)
        return Fail("out of memory");
    err = avcodec_parameters_to_context(m_codec, m_stream->codecpar);
    if (err < 0)
        return Fail("cannot set up the decoder", err);
    m_codec->pkt_timebase = m_stream->time_base;
    m_codec->thread_count = FfmpegThreadCount();
    m_codec->err_recognition |= AV_EF_CRCCHECK | AV_EF_EXPLODE;
    err = avcodec_open2(m_codec, decoder, nullptr);
    if (err < 0)
        return Fail(std::string("cannot open the ") + decoder->name + " decoder", err);

    m_origin = m_format->start_time != AV_NOPTS_VALUE
                   ? av_rescale_q(m_format->start_time, AVRational{1, AV_TIME_BASE}, m_stream->time_base)
                   : 0;
    return true;
}

bool FfmpegInput::Next(AVFrame* frame)
{
    if (!m_codec)
        return false;
    int readErrors = 0;
    int decodeErrors = 0;
    for (;;) {
        int err = avcodec_receive_frame(m_codec, frame);
        if (err == 0) {
            if (frame->decode_error_flags || (frame->flags & AV_FRAME_FLAG_CORRUPT))
                ++m_damaged; // concealed: shown, but counted
            return true;
        }
        if (err == AVERROR_EOF)
            return false;
        if (err != AVERROR(EAGAIN)) {
            // The decoder gave up on what it had and goes on with what follows.
            ++m_damaged;
            if (++decodeErrors < kMaxReadErrors)
                continue;
            m_error = m_name + ": decoding failed (" + FfmpegErrorText(err) + ")";
            return false;
        }
        if (m_draining)
            return false;

        err = av_read_frame(m_format, m_packet);
        if (err == AVERROR_EOF || (err < 0 && avio_feof(m_format->pb))) {
            m_draining = true;
            avcodec_send_packet(m_codec, nullptr);
            continue;
        }
        if (err < 0) {
            ++m_damaged;
            if (++readErrors >= kMaxReadErrors) {
                m_error = m_name + ": read error (" + FfmpegErrorText(err) + ")";
                m_draining = true;
                avcodec_send_packet(m_codec, nullptr);
            }
            continue;
        }
        readErrors = 0;
        if (m_packet->stream_index == m_index) {
            if (m_wanted)
                m_codec->skip_frame = m_packet->pts == AV_NOPTS_VALUE ||
                                              m_wanted(ToUnits(m_packet->pts), LengthToUnits(m_packet->duration))
                                          ? AVDISCARD_DEFAULT
                                          : AVDISCARD_NONREF;
            err = avcodec_send_packet(m_codec, m_packet);
            if (err < 0 && err != AVERROR(EAGAIN))
                ++m_damaged;
        }
        av_packet_unref(m_packet);
    }
}

bool FfmpegInput::SeekBefore(int64_t units)
{
    if (!m_codec)
        return false;
    const int64_t ts = FromUnits(units < 0 ? 0 : units);
    int err = av_seek_frame(m_format, m_index, ts, AVSEEK_FLAG_BACKWARD);
    if (err < 0)
        err = av_seek_frame(m_format, m_index, m_origin, AVSEEK_FLAG_BACKWARD); // before the first keyframe
    if (err < 0)
        return false;
    avcodec_flush_buffers(m_codec);
    m_draining = false;
    return true;
}

int64_t FfmpegInput::ToUnits(int64_t ts) const
{
    return m_stream ? av_rescale_q(ts - m_origin, m_stream->time_base, kUnits) : 0;
}

int64_t FfmpegInput::FromUnits(int64_t units) const
{
    return m_stream ? av_rescale_q(units, kUnits, m_stream->time_base) + m_origin : 0;
}

int64_t FfmpegInput::LengthToUnits(int64_t length) const
{
    return m_stream ? av_rescale_q(length, m_stream->time_base, kUnits) : 0;
}

int64_t FfmpegInput::Rebase(int64_t units, int64_t expected, bool haveExpected)
{
    const int64_t shifted = units + m_shift;
    if (!haveExpected)
        return shifted;
    const int64_t off = shifted - expected;
    if (off > kDiscontinuityUnits || off < -kDiscontinuityUnits) {
        m_shift += expected - shifted;
        ++m_discontinuities;
        return expected;
    }
    return shifted;
}

int64_t FfmpegInput::DurationUnits() const
{
    if (!m_format)
        return 0;
    if (m_format->duration > 0)
        return av_rescale_q(m_format->duration, AVRational{1, AV_TIME_BASE}, kUnits);
    if (m_stream && m_stream->duration > 0)
        return av_rescale_q(m_stream->duration, m_stream->time_base, kUnits);
    return 0;
}

int FfmpegThreadCount()
{
    const char* text = std::getenv("DP_THREADS");
    const long n = text ? std::strtol(text, nullptr, 10) : 0;
    return n >= 1 && n <= 256 ? static_cast<int>(n) : 0;
}
