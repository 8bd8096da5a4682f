#include "FfmpegVideoSource.h"

#include <algorithm>
#include <cmath>
#include <climits>
#include <cstdio>
#include <cstring>

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavformat/avformat.h>
#include <libavutil/frame.h>
#include <libavutil/display.h>
#include <libavutil/imgutils.h>
#include <libavutil/pixdesc.h>
#include <libswscale/swscale.h>
}

#include <DataProcess/Frame.h>

#include "HostFile.h"
#include "Y4mFormat.h"

namespace {

constexpr int kMaxDimension = 65536;
constexpr int64_t kMaxPixels = int64_t(1) << 28;

int64_t FrameDuration(const AVFrame* f)
{
#if LIBAVUTIL_VERSION_INT >= AV_VERSION_INT(57, 30, 100)
    return f->duration;
#else
    return f->pkt_duration;
#endif
}

// Plane copy of `rows` rows of `bytes` each.
void CopyPlane(unsigned char* dst, int dstPitch, const uint8_t* src, int srcPitch, int bytes, int rows)
{
    for (int y = 0; y < rows; ++y)
        std::memcpy(dst + static_cast<ptrdiff_t>(y) * dstPitch, src + static_cast<ptrdiff_t>(y) * srcPitch,
                    static_cast<size_t>(bytes));
}

} // namespace

FfmpegVideoSource::FfmpegVideoSource() { FillStreamBlock(); }

FfmpegVideoSource::~FfmpegVideoSource() { Close(); }

int FfmpegVideoSource::Close()
{
    m_in.Close();
    av_frame_free(&m_decoded);
    sws_freeContext(m_sws);
    m_sws = nullptr;
    ReleaseYV12Frame(m_frame);
    m_frame = nullptr;
    m_current = false;
    m_ended = false;
    m_variableRate = false;
    m_haveStamp = false;
    m_orientation = Orientation{{1, 0, 0, 1}};
    m_period = 0;
    m_nextStart = 0;
    m_description.clear();
    m_warning.clear();
    std::memset(&m_stream, 0, sizeof(m_stream));
    FillStreamBlock();
    return 1;
}

int FfmpegVideoSource::Open(const wchar_t* path, const DecParam*, int* error)
{
    const int rc = path ? OpenPath(HostPathFromWide(path)) : HOSTFILE_CANNOT_OPEN;
    if (!path)
        m_error = "no file name given";
    if (error)
        *error = rc;
    return rc == HOSTFILE_OK ? 1 : 0;
}

int FfmpegVideoSource::OpenPath(const std::string& path, int streamIndex)
{
    Close();
    m_error.clear();
    if (!m_in.Open(path, FfmpegInput::VIDEO, streamIndex))
        return HOSTFILE_CANNOT_OPEN;
    return Opened(path);
}

int FfmpegVideoSource::OpenIo(AVIOContext* io, const std::string& name, int streamIndex)
{
    Close();
    m_error.clear();
    if (!m_in.Open(io, name, FfmpegInput::VIDEO, streamIndex))
        return HOSTFILE_CANNOT_OPEN;
    return Opened(name);
}

void FfmpegVideoSource::ReadOrientation()
{
    const int32_t* matrix = reinterpret_cast<const int32_t*>(
        av_stream_get_side_data(m_in.Stream(), AV_PKT_DATA_DISPLAYMATRIX, nullptr));
    if (!matrix)
        return;
    // The matrix maps a picture point (x, y) to x' = a x + c y, y' = b x + d y
    // (16.16 fixed point, any scale). A quarter turn or a mirror has one
    // entry of each row at +-scale and the other at 0.
    const double a = matrix[0] / 65536.0, b = matrix[1] / 65536.0, c = matrix[3] / 65536.0, d = matrix[4] / 65536.0;
    const double e[4] = {a, c, b, d};
    const double scale = std::max(std::max(std::fabs(a), std::fabs(b)), std::max(std::fabs(c), std::fabs(d)));
    Orientation o{};
    for (int i = 0; i < 4; ++i) {
        const double v = scale > 0 ? e[i] / scale : 0.0;
        o.m[i] = v > 0.99 ? 1 : v < -0.99 ? -1 : 0;
        if (std::fabs(v - o.m[i]) > 0.01)
            o.m[0] = 2; // not a quarter turn
    }
    const bool quarter = o.m[0] != 2 && std::abs(o.m[0] * o.m[3] - o.m[1] * o.m[2]) == 1 &&
                         std::abs(o.m[0]) + std::abs(o.m[1]) == 1 && std::abs(o.m[2]) + std::abs(o.m[3]) == 1;
    if (quarter) {
        m_orientation = o;
        return;
    }
    char text[120];
    std::snprintf(text, sizeof(text), ": display matrix turns the picture by %.0f degrees; only quarter turns are "
                                      "applied, the picture is kept as stored",
                  av_display_rotation_get(matrix));
    m_warning += (m_warning.empty() ? m_in.Name() : std::string("; ")) + text;
}

int FfmpegVideoSource::Opened(const std::string& path)
{
    const AVCodecContext* c = m_in.Codec();
    const AVStream* s = m_in.Stream();
    if (c->width <= 0 || c->height <= 0 || c->width > kMaxDimension || c->height > kMaxDimension ||
        int64_t(c->width) * c->height > kMaxPixels) {
        m_error = path + ": unsupported picture size " + std::to_string(c->width) + "x" + std::to_string(c->height);
        m_in.Close();
        return HOSTFILE_UNSUPPORTED;
    }
    const AVPixFmtDescriptor* desc = av_pix_fmt_desc_get(c->pix_fmt);
    m_description = std::string(c->codec->name) + ", " + (desc ? desc->name : "unknown pixel format");
    if (desc && desc->comp[0].depth > 8)
        m_warning = path + ": " + std::to_string(desc->comp[0].depth) +
                    "-bit video converted to 8-bit (this library works on 8-bit pictures)";

    m_decoded = av_frame_alloc();
    m_frame = CreateYV12Frame(c->width, c->height, 0, 1);
    if (!m_decoded || !m_frame) {
        m_error = path + ": out of memory";
        Close();
        return HOSTFILE_IO_ERROR;
    }
    AVRational rate = s->avg_frame_rate;
    if (rate.num <= 0 || rate.den <= 0)
        rate = s->r_frame_rate;
    VideoInfo& vi = m_stream.videoInfo;
    vi.nWidth = c->width;
    vi.nHeight = c->height;
    vi.dFrameRate = rate.num > 0 && rate.den > 0 ? av_q2d(rate) : 25.0;
    m_period = static_cast<int64_t>(std::llround(1e7 / vi.dFrameRate));
    const AVRational base = s->r_frame_rate;
    m_variableRate = base.num > 0 && base.den > 0 && std::fabs(av_q2d(base) - vi.dFrameRate) > 0.01 * vi.dFrameRate;
    if (s->nb_frames > 0 && s->nb_frames < INT_MAX)
        vi.nFrameCount = static_cast<int32_t>(s->nb_frames);
    else if (m_in.DurationUnits() > 0)
        vi.nFrameCount = static_cast<int32_t>(std::min<double>(INT_MAX, std::llround(m_in.DurationUnits() / 1e7 * vi.dFrameRate)));
    const AVRational sar = av_guess_sample_aspect_ratio(m_in.Format(), const_cast<AVStream*>(s), nullptr);
    y4m::DisplayAspect(c->width, c->height, sar.num, sar.den, &vi.nAspectX, &vi.nAspectY);
    ReadOrientation();

    m_current = DecodeNext();
    if (!m_current && !m_in.Error().empty()) {
        const int rc = HOSTFILE_BAD_FORMAT;
        m_error = m_in.Error();
        return rc;
    }
    return HOSTFILE_OK;
}

void FfmpegVideoSource::FillStreamBlock()
{
    const char tag[] = "FfmpegVideoSource stream block";
    std::memcpy(m_stream.abHostData, tag, sizeof(tag));
}

bool FfmpegVideoSource::DecodeNext()
{
    if (m_ended || !m_in.IsOpen())
        return false;
    if (!m_in.Next(m_decoded)) {
        m_ended = true;
        return false;
    }
    if (!Convert()) {
        m_ended = true;
        return false;
    }
    const int64_t ts = m_decoded->best_effort_timestamp;
    const int64_t start =
        ts != AV_NOPTS_VALUE ? m_in.Rebase(m_in.ToUnits(ts), m_nextStart, m_haveStamp) : m_nextStart;
    m_haveStamp = true;
    const int64_t length = FrameDuration(m_decoded) > 0 ? m_in.LengthToUnits(FrameDuration(m_decoded)) : m_period;
    m_frame->llStartTime = start;
    m_frame->llStopTime = start + (length > 0 ? length : m_period);
    m_frame->nDuration = static_cast<int32_t>(std::min<int64_t>(INT_MAX, m_frame->llStopTime - start));
    m_nextStart = m_frame->llStopTime;
    return true;
}

bool FfmpegVideoSource::Convert()
{
    const AVFrame* d = m_decoded;
    const int w = m_frame->nWidth, h = m_frame->nHeight;
    if (d->format == AV_PIX_FMT_YUV420P && d->width == w && d->height == h) {
        const int cw = (w + 1) / 2, ch = (h + 1) / 2;
        CopyPlane(m_frame->pY, m_frame->nPitchY, d->data[0], d->linesize[0], w, h);
        CopyPlane(m_frame->pU, m_frame->nPitchU, d->data[1], d->linesize[1], cw, ch);
        CopyPlane(m_frame->pV, m_frame->nPitchV, d->data[2], d->linesize[2], cw, ch);
        return true;
    }
    // Everything else (and a picture whose size changed mid-stream) goes
    // through swscale into the stream's size.
    m_sws = sws_getCachedContext(m_sws, d->width, d->height, static_cast<AVPixelFormat>(d->format), w, h,
                                 AV_PIX_FMT_YUV420P, SWS_BICUBIC | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT, nullptr,
                                 nullptr, nullptr);
    if (!m_sws) {
        const char* name = av_get_pix_fmt_name(static_cast<AVPixelFormat>(d->format));
        m_error = m_in.Name() + ": cannot convert pixel format " + (name ? name : "unknown") + " to 4:2:0";
        return false;
    }
    uint8_t* dst[4] = {m_frame->pY, m_frame->pU, m_frame->pV, nullptr};
    int pitches[4] = {m_frame->nPitchY, m_frame->nPitchU, m_frame->nPitchV, 0};
    sws_scale(m_sws, d->data, d->linesize, 0, d->height, dst, pitches);
    return true;
}

intptr_t FfmpegVideoSource::SetExDecodeParam(unsigned int, uintptr_t, uintptr_t) { return 0; }

const VideoInfo* FfmpegVideoSource::GetVideoInfo() const { return &m_stream.videoInfo; }

const VideoStreamInfo* FfmpegVideoSource::GetVideoStreamInfo() const { return &m_stream; }

const MEDIA_FRAME* FfmpegVideoSource::GetFrame() const { return m_current ? m_frame : nullptr; }

int FfmpegVideoSource::GetFrameOffset() const
{
    if (!m_current || m_period <= 0)
        return -1;
    const int64_t n = (m_frame->llStartTime + m_period / 2) / m_period;
    return static_cast<int>(std::max<int64_t>(0, std::min<int64_t>(n, INT_MAX)));
}

MEDIA_FRAME* FfmpegVideoSource::ExchangeFrame(MEDIA_FRAME* spare)
{
    if (!m_current || !m_frame || !spare || spare->pAlpha || spare->nWidth != m_frame->nWidth ||
        spare->nHeight != m_frame->nHeight || spare->nPitchY != m_frame->nPitchY ||
        spare->nPitchU != m_frame->nPitchU || spare->nPitchV != m_frame->nPitchV)
        return nullptr;
    MEDIA_FRAME* out = m_frame;
    spare->llStartTime = out->llStartTime;
    spare->llStopTime = out->llStopTime;
    spare->nDuration = out->nDuration;
    m_frame = spare;
    return out;
}

int FfmpegVideoSource::Forward(int count)
{
    int advanced = 0;
    while (advanced < count && DecodeNext())
        ++advanced;
    return advanced;
}

double FfmpegVideoSource::VideoSeekTime(double seconds, unsigned int)
{
    if (!m_in.IsOpen() || !std::isfinite(seconds))
        return -1.0;
    const int64_t target = static_cast<int64_t>(std::llround(std::max(0.0, std::min(seconds, 1e9)) * 1e7));
    if (!m_in.SeekBefore(target))
        return -1.0;
    m_ended = false;
    m_nextStart = 0;
    m_haveStamp = false;
    m_in.ResetRebase();
    // Decode forward to the frame whose interval holds the target; the last
    // frame stands for any time after the end.
    bool have = false;
    while (DecodeNext()) {
        have = true;
        if (m_frame->llStopTime > target)
            break;
    }
    m_current = have || m_current;
    return m_current ? m_frame->llStartTime / 1e7 : -1.0;
}

int FfmpegVideoSource::VideoSeek(int frame, unsigned int flags)
{
    if (m_period <= 0)
        return -1;
    // The middle of the frame: stamps rounded either way still hold it.
    VideoSeekTime((std::max(0, frame) * m_period + m_period / 2) / 1e7, flags);
    return GetFrameOffset();
}
