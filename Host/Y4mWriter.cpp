#include "Y4mWriter.h"

#include <cstring>

#include "HostFile.h"
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

const std::string& Y4mWriter::LastError() const { return m_error; }

bool Y4mWriter::Fail(const std::string& message)
{
    m_error = message;
    m_out.Discard();
    return false;
}

bool Y4mWriter::Open(const char* path, const Y4mStreamFormat& format)
{
    if (!path) {
        m_out.Discard();
        m_frames = 0;
        m_error = "no output file name given";
        return false;
    }
    return Open(std::string(path), format);
}

bool Y4mWriter::Open(const std::string& path, const Y4mStreamFormat& format)
{
    m_out.Discard();
    m_frames = 0;
    m_error.clear();
    const std::string problem = CheckFormat(format);
    if (!problem.empty())
        return Fail(HostOutputName(path) + ": " + problem);
    if (!m_out.Open(path))
        return Fail(m_out.LastError());
    return Start(format);
}

bool Y4mWriter::Attach(FILE* stream, const std::string& name, const Y4mStreamFormat& format)
{
    m_out.Discard();
    m_frames = 0;
    m_error.clear();
    const std::string problem = CheckFormat(format);
    if (!problem.empty())
        return Fail(name + ": " + problem);
    if (!m_out.Attach(stream, name))
        return Fail(m_out.LastError());
    return Start(format);
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
    if (n <= 0 || static_cast<size_t>(n) >= sizeof(header) || !m_out.Write(header, static_cast<size_t>(n)))
        return Fail(m_out.LastError());
    return true;
}

bool Y4mWriter::WriteFrame(const MEDIA_FRAME* frame)
{
    if (!m_out.IsOpen()) {
        if (m_error.empty())
            m_error = "y4m output: not open";
        return false;
    }
    const std::string name = HostOutputName(m_out.Path());
    if (!frame || frame->nFrameType != MEDIA_FRAME_VIDEO || !frame->pY || !frame->pU || !frame->pV)
        return Fail(name + ": frame " + std::to_string(m_frames) + " is not a YV12 picture");
    const int w = m_format.width, h = m_format.height;
    const int cw = (w + 1) / 2, ch = (h + 1) / 2;
    if (frame->nWidth != w || frame->nHeight != h)
        return Fail(name + ": frame " + std::to_string(m_frames) + " is " + std::to_string(frame->nWidth) + "x" +
                    std::to_string(frame->nHeight) + ", the stream is " + std::to_string(w) + "x" +
                    std::to_string(h));
    if (frame->nPitchY < w || frame->nPitchU < cw || frame->nPitchV < cw)
        return Fail(name + ": frame " + std::to_string(m_frames) + " has pitches narrower than its rows");

    static const char kFrameLine[] = "FRAME\n";
    bool ok = m_out.Write(kFrameLine, sizeof(kFrameLine) - 1);
    // Y, then Cb (pU), then Cr (pV): the stream's plane order.
    const struct {
        const unsigned char* base;
        int pitch, width, rows;
    } planes[3] = {{frame->pY, frame->nPitchY, w, h}, {frame->pU, frame->nPitchU, cw, ch}, {frame->pV, frame->nPitchV, cw, ch}};
    for (const auto& p : planes) {
        if (!ok)
            break;
        if (p.pitch == p.width) {
            ok = m_out.Write(p.base, static_cast<size_t>(p.width) * static_cast<size_t>(p.rows));
            continue;
        }
        for (int y = 0; y < p.rows && ok; ++y)
            ok = m_out.Write(p.base + static_cast<ptrdiff_t>(y) * p.pitch, static_cast<size_t>(p.width));
    }
    if (!ok)
        return Fail(m_out.LastError());
    ++m_frames;
    return true;
}

bool Y4mWriter::Commit()
{
    if (!m_out.Commit()) {
        if (m_error.empty())
            m_error = m_out.LastError();
        return false;
    }
    return true;
}

void Y4mWriter::Discard() { m_out.Discard(); }
