#include "Y4mWriter.h"

#include <cstring>

#include "Y4mFormat.h"

namespace {

constexpr int kMaxDimension = 65536;
constexpr int64_t kMaxPixels = int64_t(1) << 28;

// Empty when the format can be written, else what is wrong with it.
std::string CheckFormat(const Y4mStreamFormat& f)
{
    if (f.width < 1 || f.height < 1 || f.width > kMaxDimension || f.height > kMaxDimension ||
        static_cast<int64_t>(f.width) * f.height > kMaxPixels)
        return "bad picture size " + std::to_string(f.width) + "x" + std::to_string(f.height);
    if (f.rateNum <= 0 || f.rateDen <= 0)
        return "bad frame rate " + std::to_string(f.rateNum) + ":" + std::to_string(f.rateDen) +
               " (both terms must be positive)";
    if (f.interlace == '\0' || std::strchr("ptbm", f.interlace) == nullptr)
        return std::string("bad interlacing '") + f.interlace + "' (expected p, t, b or m)";
    if (f.aspectX < 0 || f.aspectY < 0)
        return "bad display aspect " + std::to_string(f.aspectX) + ":" + std::to_string(f.aspectY);
    return std::string();
}

} // namespace

bool Y4mWriter::Open(const char* path, const Y4mStreamFormat& format)
{
    m_frames = 0;
    return m_sink.Open(path, CheckFormat(format)) && Start(format);
}

bool Y4mWriter::Open(const std::string& path, const Y4mStreamFormat& format)
{
    m_frames = 0;
    return m_sink.Open(path, CheckFormat(format)) && Start(format);
}

bool Y4mWriter::Attach(FILE* stream, const std::string& name, const Y4mStreamFormat& format)
{
    m_frames = 0;
    return m_sink.Attach(stream, name, CheckFormat(format)) && Start(format);
}

bool Y4mWriter::Start(const Y4mStreamFormat& format)
{
    m_format = format;
    int parNum = 1, parDen = 1;
    y4m::PixelAspect(format.width, format.height, format.aspectX, format.aspectY, &parNum, &parDen);
    char header[160];
    const int n = std::snprintf(header, sizeof(header), "YUV4MPEG2 W%d H%d F%d:%d I%c A%d:%d C420jpeg\n",
                                format.width, format.height, static_cast<int>(format.rateNum),
                                static_cast<int>(format.rateDen), format.interlace, parNum, parDen);
    if (n <= 0 || static_cast<size_t>(n) >= sizeof(header) || !m_sink.out.Write(header, static_cast<size_t>(n)))
        return m_sink.FailOutput();
    return true;
}

bool Y4mWriter::WriteFrame(const MEDIA_FRAME* frame)
{
    if (!m_sink.Usable("y4m"))
        return false;
    const std::string name = m_sink.Name();
    if (!frame || frame->nFrameType != MEDIA_FRAME_VIDEO || !frame->pY || !frame->pU || !frame->pV)
        return m_sink.Fail(name + ": frame " + std::to_string(m_frames) + " is not a YV12 picture");
    const int w = m_format.width, h = m_format.height;
    const int cw = (w + 1) / 2, ch = (h + 1) / 2;
    if (frame->nWidth != w || frame->nHeight != h)
        return m_sink.Fail(name + ": frame " + std::to_string(m_frames) + " is " + std::to_string(frame->nWidth) +
                           "x" + std::to_string(frame->nHeight) + ", the stream is " + std::to_string(w) + "x" +
                           std::to_string(h));
    if (frame->nPitchY < w || frame->nPitchU < cw || frame->nPitchV < cw)
        return m_sink.Fail(name + ": frame " + std::to_string(m_frames) + " has pitches narrower than its rows");

    static const char kFrameLine[] = "FRAME\n";
    bool ok = m_sink.out.Write(kFrameLine, sizeof(kFrameLine) - 1);
    // Y, then Cb (pU), then Cr (pV): the stream's plane order.
    const struct {
        const unsigned char* base;
        int pitch, width, rows;
    } planes[3] = {{frame->pY, frame->nPitchY, w, h}, {frame->pU, frame->nPitchU, cw, ch}, {frame->pV, frame->nPitchV, cw, ch}};
    for (const auto& p : planes) {
        if (!ok)
            break;
        if (p.pitch == p.width) {
            ok = m_sink.out.Write(p.base, static_cast<size_t>(p.width) * static_cast<size_t>(p.rows));
            continue;
        }
        for (int y = 0; y < p.rows && ok; ++y)
            ok = m_sink.out.Write(p.base + static_cast<ptrdiff_t>(y) * p.pitch, static_cast<size_t>(p.width));
    }
    if (!ok)
        return m_sink.FailOutput();
    ++m_frames;
    return true;
}

bool Y4mWriter::Commit() { return m_sink.Commit(); }

void Y4mWriter::Discard() { m_sink.Discard(); }
