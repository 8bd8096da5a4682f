#include "FfmpegWriter.h"

#include <algorithm>
#include <cstring>
#include <numeric>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/channel_layout.h>
#include <libavutil/mathematics.h>
#include <libavutil/opt.h>
#include <libswresample/swresample.h>
}

#include "FfmpegInput.h"
#include "HostFile.h"

namespace {

constexpr AVRational kUnits = {1, 10000000};
constexpr AVRational kVideoTimeBase = {1, 90000};
constexpr int kIoBufferBytes = 1 << 16;

const char* EncoderName(const std::string& codec)
{
    if (codec == "h264")
        return "libx264";
    return codec.c_str(); // ffv1, aac, flac: FFmpeg's own encoders
}

#if LIBAVFORMAT_VERSION_MAJOR >= 61
using IoData = const uint8_t*;
#else
using IoData = uint8_t*;
#endif

} // namespace

FfmpegWriter::FfmpegWriter() = default;

FfmpegWriter::~FfmpegWriter() { Discard(); }

bool FfmpegWriter::ChooseCodecs(const std::string& path, FfmpegOutputFormat* f, std::string* error)
{
    const AVOutputFormat* container = av_guess_format(nullptr, path.c_str(), nullptr);
    if (!container) {
        *error = path + ": unknown output container '." + HostPathExtension(path) +
                 "' (use .mp4, .mkv, .mov, .m4a, .flac or .mka; .y4m and .wav are written directly)";
        return false;
    }
    const std::string ext = HostPathExtension(path);
    // Files named as audio files hold audio alone, even where the container
    // could take video (.m4a is MP4).
    const bool audioOnlyContainer = container->video_codec == AV_CODEC_ID_NONE || ext == "m4a" || ext == "mka" ||
                                    ext == "flac" || ext == "oga" || ext == "opus" || ext == "mp3";
    if (f->width > 0 && audioOnlyContainer) {
        if (f->sampleRate <= 0) {
            *error = path + ": ." + ext + " holds audio only; write the video to .mp4, .mkv or .y4m";
            return false;
        }
        f->width = f->height = 0; // an audio file: the video is left out
    }
    if (f->width > 0 && f->videoCodec.empty())
        f->videoCodec = "h264";
    if (f->sampleRate > 0 && f->audioCodec.empty())
        f->audioCodec = (f->videoCodec == "ffv1" || ext == "flac" || ext == "mka") ? "flac" : "aac";
    const struct {
        bool wanted;
        const std::string& codec;
        const char* kind;
    } asks[] = {{f->width > 0, f->videoCodec, "video"}, {f->sampleRate > 0, f->audioCodec, "audio"}};
    for (const auto& a : asks) {
        if (!a.wanted)
            continue;
        const AVCodec* enc = avcodec_find_encoder_by_name(EncoderName(a.codec));
        if (!enc) {
            *error = path + ": no " + a.codec + " encoder in this FFmpeg build";
            return false;
        }
        if (avformat_query_codec(container, enc->id, FF_COMPLIANCE_NORMAL) != 1) {
            *error = path + ": the " + container->name + " container cannot hold " + a.codec + " " + a.kind +
                     (a.codec == "ffv1" || a.codec == "flac" ? " (use .mkv)" : "");
            return false;
        }
    }
    if (f->width <= 0 && f->sampleRate <= 0) {
        *error = path + ": nothing to write (the " + container->name + " container holds neither stream)";
        return false;
    }
    return true;
}

bool FfmpegWriter::Fail(const std::string& what, int err)
{
    if (m_error.empty()) {
        m_error = m_name + ": " + what;
        if (err)
            m_error += " (" + FfmpegErrorText(err) + ")";
    }
    Free();
    m_out.Discard();
    return false;
}

bool FfmpegWriter::FailWrite(const std::string& what, int err)
{
    // The file's own message names the path and the system's cause.
    if (!m_out.LastError().empty() && m_error.empty())
        m_error = m_out.LastError();
    return Fail(what, err);
}

void FfmpegWriter::Free()
{
    avcodec_free_context(&m_video);
    avcodec_free_context(&m_audio);
    av_frame_free(&m_videoFrame);
    av_frame_free(&m_audioFrame);
    av_packet_free(&m_packet);
    swr_free(&m_swr);
    if (m_mux) {
        m_mux->pb = nullptr;
        avformat_free_context(m_mux);
        m_mux = nullptr;
    }
    if (m_io) {
        av_freep(&m_io->buffer);
        avio_context_free(&m_io);
    }
    m_videoStream = m_audioStream = nullptr;
    m_pcm.clear();
}

void FfmpegWriter::Discard()
{
    Free();
    m_out.Discard();
}

int FfmpegWriter::WritePacket(void* opaque, const uint8_t* data, int size)
{
    auto* self = static_cast<FfmpegWriter*>(opaque);
    AtomicOutputFile& out = self->m_out;
    int64_t pos = self->m_ioPos;
    const uint8_t* p = data;
    size_t left = static_cast<size_t>(size);
    // Rewriting earlier bytes (a header completed at the end).
    if (pos < out.Position()) {
        const size_t over = static_cast<size_t>(std::min<int64_t>(out.Position() - pos, static_cast<int64_t>(left)));
        if (!out.WriteAt(pos, p, over))
            return AVERROR(EIO);
        p += over;
        left -= over;
        pos += static_cast<int64_t>(over);
    }
    // A seek past the end leaves a hole of zeros.
    static const uint8_t zeros[4096] = {0};
    while (left > 0 && pos > out.Position()) {
        const size_t n = static_cast<size_t>(std::min<int64_t>(pos - out.Position(), sizeof(zeros)));
        if (!out.Write(zeros, n))
            return AVERROR(EIO);
    }
    if (left > 0 && !out.Write(p, left))
        return AVERROR(EIO);
    self->m_ioPos = pos + static_cast<int64_t>(left);
    return size;
}

int64_t FfmpegWriter::Seek(void* opaque, int64_t offset, int whence)
{
    auto* self = static_cast<FfmpegWriter*>(opaque);
    const int64_t end = std::max(self->m_out.Position(), self->m_ioPos);
    if (whence & AVSEEK_SIZE)
        return end;
    if (!self->m_out.Seekable())
        return AVERROR(ESPIPE);
    int64_t to = offset;
    switch (whence & ~AVSEEK_FORCE) {
    case SEEK_SET: break;
    case SEEK_CUR: to = self->m_ioPos + offset; break;
    case SEEK_END: to = end + offset; break;
    default: return AVERROR(EINVAL);
    }
    if (to < 0)
        return AVERROR(EINVAL);
    self->m_ioPos = to;
    return to;
}

bool FfmpegWriter::Open(const std::string& path, const FfmpegOutputFormat& format)
{
    Discard();
    m_error.clear();
    m_name = path;
    m_format = format;
    m_lastVideoPts = INT64_MIN;
    m_audioNextPts = 0;
    m_audioStarted = false;
    m_headerWritten = false;
    m_videoFrames = m_samplesIn = 0;
    m_ioPos = 0;
    std::string why;
    if (!ChooseCodecs(path, &m_format, &why)) {
        m_error = why;
        return false;
    }
    FfmpegQuietLogs();
    int err = avformat_alloc_output_context2(&m_mux, nullptr, nullptr, path.c_str());
    if (err < 0 || !m_mux)
        return Fail("cannot set up the container", err);
    m_packet = av_packet_alloc();
    if (!m_packet)
        return Fail("out of memory");
    if (m_format.width > 0 && !OpenVideo())
        return false;
    if (m_format.sampleRate > 0 && !OpenAudio())
        return false;

    if (!m_out.Open(path))
        return FailWrite("cannot create the file", 0);
    auto* buffer = static_cast<unsigned char*>(av_malloc(kIoBufferBytes));
    m_io = avio_alloc_context(
        buffer, kIoBufferBytes, 1, this, nullptr,
        [](void* opaque, IoData data, int size) { return WritePacket(opaque, data, size); }, &Seek);
    if (!m_io) {
        av_free(buffer);
        return Fail("out of memory");
    }
    m_io->seekable = m_out.Seekable() ? AVIO_SEEKABLE_NORMAL : 0;
    m_mux->pb = m_io;
    m_mux->flags |= AVFMT_FLAG_CUSTOM_IO;
    err = avformat_write_header(m_mux, nullptr);
    if (err < 0)
        return Fail(m_out.Seekable() ? "cannot write the container header"
                                     : "cannot write the container header (this container needs a file it can seek in)",
                    err);
    m_headerWritten = true;
    m_description.clear();
    if (m_video)
        m_description += std::string(m_video->codec->name) + " video";
    if (m_audio)
        m_description += (m_description.empty() ? "" : " + ") + std::string(m_audio->codec->name) + " audio";
    m_description += std::string(" in ") + m_mux->oformat->name;
    return true;
}

bool FfmpegWriter::OpenVideo()
{
    const AVCodec* enc = avcodec_find_encoder_by_name(EncoderName(m_format.videoCodec));
    m_video = enc ? avcodec_alloc_context3(enc) : nullptr;
    m_videoStream = avformat_new_stream(m_mux, nullptr);
    if (!m_video || !m_videoStream)
        return Fail("cannot set up the " + m_format.videoCodec + " encoder");
    if (m_format.videoCodec == "h264" && ((m_format.width | m_format.height) & 1))
        return Fail("H.264 takes only even sizes (the picture is " + std::to_string(m_format.width) + "x" +
                    std::to_string(m_format.height) + "; choose an even --size, or --codec ffv1 in .mkv)");
    AVCodecContext* c = m_video;
    c->width = m_format.width;
    c->height = m_format.height;
    c->pix_fmt = AV_PIX_FMT_YUV420P;
    c->time_base = kVideoTimeBase;
    c->framerate = AVRational{m_format.rateNum, m_format.rateDen};
    c->thread_count = FfmpegThreadCount();
    if (m_format.aspectX > 0 && m_format.aspectY > 0) {
        // Pixel aspect that shows width x height at aspectX:aspectY.
        av_reduce(&c->sample_aspect_ratio.num, &c->sample_aspect_ratio.den,
                  int64_t(m_format.aspectX) * m_format.height, int64_t(m_format.aspectY) * m_format.width, INT32_MAX);
    }
    if (m_mux->oformat->flags & AVFMT_GLOBALHEADER)
        c->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    AVDictionary* opts = nullptr;
    if (m_format.videoCodec == "h264") {
        av_dict_set(&opts, "preset", m_format.preset.empty() ? "medium" : m_format.preset.c_str(), 0);
        if (m_format.videoBitrate > 0)
            c->bit_rate = m_format.videoBitrate;
        else
            av_dict_set_int(&opts, "crf", m_format.crf >= 0 ? m_format.crf : 23, 0);
    } else if (m_format.videoCodec == "ffv1") {
        av_dict_set(&opts, "level", "3", 0);
        av_dict_set(&opts, "slicecrc", "1", 0);
        c->gop_size = 1;
    } else if (m_format.videoBitrate > 0) {
        c->bit_rate = m_format.videoBitrate;
    }
    const int err = avcodec_open2(c, enc, &opts);
    av_dict_free(&opts);
    if (err < 0)
        return Fail("cannot open the " + std::string(enc->name) + " encoder", err);
    m_videoFrame = av_frame_alloc();
    if (!m_videoFrame)
        return Fail("out of memory");
    m_videoFrame->format = AV_PIX_FMT_YUV420P;
    m_videoFrame->width = c->width;
    m_videoFrame->height = c->height;
    if (av_frame_get_buffer(m_videoFrame, 0) < 0)
        return Fail("out of memory");
    m_videoStream->time_base = c->time_base;
    m_videoStream->sample_aspect_ratio = c->sample_aspect_ratio;
    m_videoStream->avg_frame_rate = c->framerate;
    if (avcodec_parameters_from_context(m_videoStream->codecpar, c) < 0)
        return Fail("cannot set up the video stream");
    return true;
}

bool FfmpegWriter::OpenAudio()
{
    const AVCodec* enc = avcodec_find_encoder_by_name(EncoderName(m_format.audioCodec));
    m_audio = enc ? avcodec_alloc_context3(enc) : nullptr;
    m_audioStream = avformat_new_stream(m_mux, nullptr);
    if (!m_audio || !m_audioStream)
        return Fail("cannot set up the " + m_format.audioCodec + " encoder");
    AVCodecContext* c = m_audio;
    c->sample_rate = m_format.sampleRate;
    av_channel_layout_default(&c->ch_layout, m_format.channels);
    // The encoder's preferred sample format (AAC: planar float; FLAC: 16-bit).
    c->sample_fmt = enc->sample_fmts ? enc->sample_fmts[0] : AV_SAMPLE_FMT_S16;
    for (const AVSampleFormat* s = enc->sample_fmts; s && *s != AV_SAMPLE_FMT_NONE; ++s)
        if (*s == AV_SAMPLE_FMT_S16)
            c->sample_fmt = AV_SAMPLE_FMT_S16;
    c->time_base = AVRational{1, m_format.sampleRate};
    if (m_format.audioCodec == "aac")
        c->bit_rate = m_format.audioBitrate > 0 ? m_format.audioBitrate : 64000LL * std::min(m_format.channels, 2);
    if (m_mux->oformat->flags & AVFMT_GLOBALHEADER)
        c->flags |= AV_CODEC_FLAG_GLOBAL_HEADER;
    int err = avcodec_open2(c, enc, nullptr);
    if (err < 0)
        return Fail("cannot open the " + std::string(enc->name) + " encoder", err);
    m_audioFrame = av_frame_alloc();
    if (!m_audioFrame)
        return Fail("out of memory");
    m_audioFrame->format = c->sample_fmt;
    m_audioFrame->sample_rate = c->sample_rate;
    m_audioFrame->nb_samples = c->frame_size > 0 ? c->frame_size : 4096;
    if (av_channel_layout_copy(&m_audioFrame->ch_layout, &c->ch_layout) < 0 || av_frame_get_buffer(m_audioFrame, 0) < 0)
        return Fail("out of memory");
    m_audioStream->time_base = c->time_base;
    if (avcodec_parameters_from_context(m_audioStream->codecpar, c) < 0)
        return Fail("cannot set up the audio stream");
    err = swr_alloc_set_opts2(&m_swr, &c->ch_layout, c->sample_fmt, c->sample_rate, &c->ch_layout,
                              AV_SAMPLE_FMT_S16, c->sample_rate, 0, nullptr);
    if (err < 0 || swr_init(m_swr) < 0)
        return Fail("cannot set up the sample conversion", err);
    return true;
}

bool FfmpegWriter::Send(AVCodecContext* codec, AVStream* stream, const AVFrame* frame)
{
    int err = avcodec_send_frame(codec, frame);
    if (err < 0 && err != AVERROR_EOF)
        return Fail(std::string("encoding failed (") + codec->codec->name + ")", err);
    for (;;) {
        err = avcodec_receive_packet(codec, m_packet);
        if (err == AVERROR(EAGAIN) || err == AVERROR_EOF)
            return true;
        if (err < 0)
            return Fail(std::string("encoding failed (") + codec->codec->name + ")", err);
        av_packet_rescale_ts(m_packet, codec->time_base, stream->time_base);
        m_packet->stream_index = stream->index;
        err = av_interleaved_write_frame(m_mux, m_packet);
        if (err < 0)
            return FailWrite("cannot write", err);
    }
}

bool FfmpegWriter::WriteVideo(const MEDIA_FRAME* f)
{
    if (!m_video || !m_headerWritten)
        return false;
    if (!f || f->nWidth != m_format.width || f->nHeight != m_format.height)
        return Fail("a picture of another size than the stream's");
    // One picture buffer for the whole stream: writable again at once unless
    // the encoder still holds the last picture (then FFmpeg gives it a new one).
    AVFrame* frame = m_videoFrame;
    if (av_frame_make_writable(frame) < 0)
        return Fail("out of memory");
    const int cw = (f->nWidth + 1) / 2, ch = (f->nHeight + 1) / 2;
    const struct {
        const unsigned char* from;
        int pitch, bytes, rows;
    } planes[3] = {{f->pY, f->nPitchY, f->nWidth, f->nHeight}, {f->pU, f->nPitchU, cw, ch}, {f->pV, f->nPitchV, cw, ch}};
    for (int p = 0; p < 3; ++p)
        for (int y = 0; y < planes[p].rows; ++y)
            std::memcpy(frame->data[p] + static_cast<ptrdiff_t>(y) * frame->linesize[p],
                        planes[p].from + static_cast<ptrdiff_t>(y) * planes[p].pitch, static_cast<size_t>(planes[p].bytes));
    frame->sample_aspect_ratio = m_video->sample_aspect_ratio;
    int64_t pts = av_rescale_q(f->llStartTime, kUnits, m_video->time_base);
    if (m_lastVideoPts != INT64_MIN && pts <= m_lastVideoPts)
        pts = m_lastVideoPts + 1; // presentation times must rise
    m_lastVideoPts = pts;
    frame->pts = pts;
    const bool ok = Send(m_video, m_videoStream, frame);
    if (ok)
        ++m_videoFrames;
    return ok;
}

bool FfmpegWriter::WriteAudio(const MEDIA_FRAME* b)
{
    if (!m_audio || !m_headerWritten)
        return false;
    if (!b || b->nBitsPerSample != 16 || b->nChannels != m_format.channels || b->nSampleRate != m_format.sampleRate)
        return Fail("an audio block of another format than the stream's");
    if (!m_audioStarted) {
        m_audioStarted = true;
        m_audioNextPts = std::max<int64_t>(0, av_rescale_q(b->llStartTime, kUnits, m_audio->time_base));
    }
    const size_t samples = static_cast<size_t>(std::max(0, b->nDataSize)) / 2;
    const size_t at = m_pcm.size();
    m_pcm.resize(at + samples);
    std::memcpy(m_pcm.data() + at, b->pData, samples * 2);
    m_samplesIn += static_cast<long long>(samples / static_cast<size_t>(m_format.channels));
    return EncodeAudio(false);
}

bool FfmpegWriter::EncodeAudio(bool flush)
{
    const int channels = m_format.channels;
    const int frameSize = m_audio->frame_size > 0 ? m_audio->frame_size : 4096;
    const bool smallLast = (m_audio->codec->capabilities & AV_CODEC_CAP_SMALL_LAST_FRAME) ||
                           (m_audio->codec->capabilities & AV_CODEC_CAP_VARIABLE_FRAME_SIZE);
    size_t used = 0;
    const size_t have = m_pcm.size() / static_cast<size_t>(channels);
    while (have - used >= static_cast<size_t>(frameSize) || (flush && have > used)) {
        int n = static_cast<int>(std::min<size_t>(have - used, static_cast<size_t>(frameSize)));
        // One sample buffer of a whole encoder frame, reused (see WriteVideo).
        AVFrame* frame = m_audioFrame;
        frame->nb_samples = frameSize;
        if (av_frame_make_writable(frame) < 0)
            return Fail("out of memory");
        frame->nb_samples = smallLast ? n : frameSize; // a short last frame is padded with silence
        const uint8_t* in[1] = {reinterpret_cast<const uint8_t*>(m_pcm.data() + used * channels)};
        if (swr_convert(m_swr, frame->extended_data, n, in, n) < 0)
            return Fail("sample conversion failed");
        if (frame->nb_samples > n)
            av_samples_set_silence(frame->extended_data, n, frame->nb_samples - n, channels, m_audio->sample_fmt);
        frame->pts = m_audioNextPts;
        m_audioNextPts += frame->nb_samples;
        used += static_cast<size_t>(n);
        if (!Send(m_audio, m_audioStream, frame))
            return false;
    }
    m_pcm.erase(m_pcm.begin(), m_pcm.begin() + static_cast<ptrdiff_t>(used * channels));
    return true;
}

bool FfmpegWriter::Commit()
{
    if (!m_headerWritten)
        return Fail("not open");
    if (m_audio && (!EncodeAudio(true) || !Send(m_audio, m_audioStream, nullptr)))
        return false;
    if (m_video && !Send(m_video, m_videoStream, nullptr))
        return false;
    int err = av_write_trailer(m_mux);
    if (err < 0)
        return FailWrite("cannot complete the container", err);
    avio_flush(m_io);
    if (m_io->error < 0 || !m_out.LastError().empty())
        return FailWrite("write failed", m_io->error);
    m_headerWritten = false;
    Free();
    if (!m_out.Commit()) {
        m_error = m_out.LastError();
        return false;
    }
    return true;
}
