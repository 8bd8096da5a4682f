#include "Y4mVideoSource.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstring>

#include <DataProcess/Frame.h>

#include "Y4mFormat.h"

namespace {

constexpr size_t kMaxLine = 4096;             // longest header or FRAME line accepted
constexpr int kMaxDimension = 65536;          // W and H
constexpr int64_t kMaxPixels = int64_t(1) << 28; // W * H, well inside int32 plane sizes
constexpr int kMaxFrames = INT_MAX - 1;       // frame numbers stay int
const char kMagic[] = "YUV4MPEG2";
constexpr size_t kMagicLen = sizeof(kMagic) - 1;

// Decimal digits only (no sign, no spaces), value within [lo, hi].
bool ParseNumber(const std::string& s, long long lo, long long hi, long long* out)
{
    if (s.empty() || s.size() > 12)
        return false;
    long long v = 0;
    for (char c : s) {
        if (c < '0' || c > '9')
            return false;
        v = v * 10 + (c - '0');
    }
    if (v < lo || v > hi)
        return false;
    *out = v;
    return true;
}

// "num:den", both in [0, INT32_MAX].
bool ParseRatio(const std::string& s, int* num, int* den)
{
    const size_t colon = s.find(':');
    if (colon == std::string::npos)
        return false;
    long long n = 0, d = 0;
    if (!ParseNumber(s.substr(0, colon), 0, INT_MAX, &n) || !ParseNumber(s.substr(colon + 1), 0, INT_MAX, &d))
        return false;
    *num = static_cast<int>(n);
    *den = static_cast<int>(d);
    return true;
}

bool IsFrameLine(const std::string& line)
{
    return line.compare(0, 5, "FRAME") == 0 && (line.size() == 5 || line[5] == ' ');
}

bool IsSupportedChroma(const std::string& c)
{
    return c == "420jpeg" || c == "420paldv" || c == "420mpeg2" || c == "420";
}

std::string TruncatedFrameText(int number, size_t got, size_t want)
{
    return "truncated frame " + std::to_string(number) + " (got " + std::to_string(got) + " of " +
           std::to_string(want) + " bytes)";
}

std::string TruncatedFrameLineText(int number, int64_t at)
{
    return "truncated frame " + std::to_string(number) + " (the stream ends inside its FRAME line at byte " +
           std::to_string(at) + ")";
}

std::string BadFrameLineText(int number, int64_t at)
{
    return "frame " + std::to_string(number) + " at byte " + std::to_string(at) + ": expected a FRAME line";
}

} // namespace

Y4mVideoSource::Y4mVideoSource() { FillStreamBlock(); }

Y4mVideoSource::~Y4mVideoSource() { Reset(); }

void Y4mVideoSource::Reset()
{
    for (MEDIA_FRAME*& f : m_frames) {
        ReleaseYV12Frame(f);
        f = nullptr;
    }
    m_front = 0;
    m_current = -1;
    m_streamEnded = false;
    m_width = m_height = 0;
    m_rateNum = m_rateDen = 0;
    m_parNum = m_parDen = 0;
    m_interlace = '?';
    m_chroma.clear();
    m_period = 0;
    m_lumaBytes = m_chromaBytes = m_frameBytes = 0;
    m_dataStart = 0;
    m_stride = 0;
    m_index.clear();
    m_count = -1;
    m_tailError.clear();
    m_tailTruncated = false;
}

int Y4mVideoSource::Close()
{
    m_in.Close();
    return 1;
}

int Y4mVideoSource::Open(const wchar_t* path, const DecParam*, int* error) { return m_in.Open(path, error); }

int Y4mVideoSource::OpenPath(const std::string& path) { return m_in.OpenPath(path); }

int Y4mVideoSource::OpenStream(FILE* stream, const std::string& name, bool own)
{
    return m_in.OpenStream(stream, name, own);
}

void Y4mVideoSource::Forget()
{
    Reset();
    FillStreamBlock();
}

int Y4mVideoSource::Begin()
{
    int rc = ParseHeader();
    if (rc != HOSTFILE_OK)
        return rc;
    // Not cleared: a frame is shown only once all its bytes have been read,
    // so the buffers' pages are touched only as real data arrives (memory
    // follows the input, not the size its header claims).
    m_frames[0] = CreateYV12Frame(m_width, m_height, 0, 0);
    m_frames[1] = CreateYV12Frame(m_width, m_height, 0, 0);
    if (m_in.file.Seekable()) {
        rc = IndexFile();
        if (rc != HOSTFILE_OK)
            return rc;
        LoadFrame(0);
    } else if (ReadFrameHere(0) != READ_OK) {
        m_streamEnded = true;
    }
    FillStreamBlock();
    return HOSTFILE_OK;
}

int Y4mVideoSource::ParseHeader()
{
    std::string line;
    const HostFile::LineResult r = m_in.file.ReadLine(&line, kMaxLine);
    const bool magic = line.compare(0, kMagicLen, kMagic) == 0 && (line.size() == kMagicLen || line[kMagicLen] == ' ');
    if (m_in.file.Failed())
        return m_in.Fail(HOSTFILE_IO_ERROR, m_in.file.Error());
    if (r == HostFile::LINE_EOF)
        return m_in.Fail(HOSTFILE_BAD_FORMAT, "empty input (not a YUV4MPEG2 stream)");
    if (!magic)
        return m_in.Fail(HOSTFILE_BAD_FORMAT, "not a YUV4MPEG2 stream (it does not start with \"YUV4MPEG2 \")");
    if (r == HostFile::LINE_TOO_LONG)
        return m_in.Fail(HOSTFILE_BAD_FORMAT,
                          "stream header longer than " + std::to_string(kMaxLine) + " bytes (no line feed found)");
    if (r == HostFile::LINE_PARTIAL)
        return m_in.Fail(HOSTFILE_TRUNCATED, "truncated stream header (the stream ends at byte " +
                                                  std::to_string(m_in.file.Position()) + " before its line feed)");

    size_t pos = kMagicLen;
    while (pos < line.size()) {
        if (line[pos] == ' ') {
            ++pos;
            continue;
        }
        size_t end = line.find(' ', pos);
        if (end == std::string::npos)
            end = line.size();
        const int rc = ParseTag(line.substr(pos, end - pos));
        if (rc != HOSTFILE_OK)
            return rc;
        pos = end;
    }
    if (m_width == 0)
        return m_in.Fail(HOSTFILE_BAD_FORMAT, "stream header has no width (W)");
    if (m_height == 0)
        return m_in.Fail(HOSTFILE_BAD_FORMAT, "stream header has no height (H)");
    if (m_rateNum == 0)
        return m_in.Fail(HOSTFILE_BAD_FORMAT, "stream header has no frame rate (F)");
    if (static_cast<int64_t>(m_width) * m_height > kMaxPixels)
        return m_in.Fail(HOSTFILE_UNSUPPORTED, "picture size " + std::to_string(m_width) + "x" +
                                                    std::to_string(m_height) + " is too large");
    m_lumaBytes = static_cast<size_t>(m_width) * static_cast<size_t>(m_height);
    m_chromaBytes = static_cast<size_t>((m_width + 1) / 2) * static_cast<size_t>((m_height + 1) / 2);
    m_frameBytes = m_lumaBytes + 2 * m_chromaBytes;
    m_period = y4m::FrameStart(1, m_rateNum, m_rateDen);
    return HOSTFILE_OK;
}

int Y4mVideoSource::ParseTag(const std::string& tag)
{
    const std::string value = tag.substr(1);
    long long n = 0;
    switch (tag[0]) {
    case 'W':
    case 'H':
        if (!ParseNumber(value, 1, kMaxDimension, &n))
            return m_in.Fail(HOSTFILE_BAD_FORMAT, std::string("bad picture ") + (tag[0] == 'W' ? "width " : "height ") +
                                                       tag + " (expected 1 to " + std::to_string(kMaxDimension) + ")");
        (tag[0] == 'W' ? m_width : m_height) = static_cast<int>(n);
        return HOSTFILE_OK;
    case 'F':
        if (!ParseRatio(value, &m_rateNum, &m_rateDen) || m_rateNum <= 0 || m_rateDen <= 0) {
            m_rateNum = m_rateDen = 0;
            return m_in.Fail(HOSTFILE_BAD_FORMAT,
                              "bad frame rate " + tag + " (expected F<num>:<den>, both positive)");
        }
        return HOSTFILE_OK;
    case 'I':
        if (value.size() != 1 || std::strchr("ptbm?", value[0]) == nullptr)
            return m_in.Fail(HOSTFILE_BAD_FORMAT, "bad interlacing tag " + tag + " (expected Ip, It, Ib, Im or I?)");
        m_interlace = value[0];
        return HOSTFILE_OK;
    case 'A':
        if (!ParseRatio(value, &m_parNum, &m_parDen))
            return m_in.Fail(HOSTFILE_BAD_FORMAT, "bad pixel aspect " + tag + " (expected A<num>:<den>)");
        if (m_parNum == 0 || m_parDen == 0)
            m_parNum = m_parDen = 0; // unknown
        return HOSTFILE_OK;
    case 'C':
        if (!IsSupportedChroma(value))
            return m_in.Fail(HOSTFILE_UNSUPPORTED, "unsupported chroma format " + tag + " (only 4:2:0 is supported)");
        m_chroma = value;
        return HOSTFILE_OK;
    default:
        // X carries application data; other letters are reserved for future
        // use. Neither changes how the frames are laid out.
        return HOSTFILE_OK;
    }
}

int Y4mVideoSource::IndexFile()
{
    m_dataStart = m_in.file.Position();
    const int64_t size = m_in.file.Size();
    const int64_t avail = size - m_dataStart;
    m_count = 0;
    if (avail <= 0)
        return HOSTFILE_OK;

    // Common case: every frame starts with a bare "FRAME\n", so frames lie
    // at a fixed stride and the size tells their number.
    std::string line;
    if (m_in.file.ReadLine(&line, kMaxLine) == HostFile::LINE_OK && line == "FRAME") {
        const int64_t stride = static_cast<int64_t>(m_frameBytes) + 6;
        if (avail % stride == 0) {
            m_stride = stride;
            m_count = static_cast<int>(std::min<int64_t>(avail / stride, kMaxFrames));
            return HOSTFILE_OK;
        }
    }

    // FRAME lines with parameters, or a short tail: walk the frames.
    int64_t pos = m_dataStart;
    while (static_cast<int64_t>(m_index.size()) < kMaxFrames) {
        const int number = static_cast<int>(m_index.size());
        if (!m_in.file.SeekTo(pos))
            return m_in.Fail(HOSTFILE_IO_ERROR, m_in.file.Error());
        const HostFile::LineResult r = m_in.file.ReadLine(&line, kMaxLine);
        if (m_in.file.Failed())
            return m_in.Fail(HOSTFILE_IO_ERROR, m_in.file.Error());
        if (r == HostFile::LINE_EOF)
            break;
        if (r == HostFile::LINE_PARTIAL && (IsFrameLine(line) || std::string("FRAME").compare(0, line.size(), line) == 0)) {
            m_tailError = TruncatedFrameLineText(number, m_in.file.Position());
            m_tailTruncated = true;
            break;
        }
        if (r != HostFile::LINE_OK || !IsFrameLine(line)) {
            m_tailError = BadFrameLineText(number, pos);
            break;
        }
        const int64_t dataAt = m_in.file.Position();
        if (size - dataAt < static_cast<int64_t>(m_frameBytes)) {
            m_tailError = TruncatedFrameText(number, static_cast<size_t>(size - dataAt), m_frameBytes);
            m_tailTruncated = true;
            break;
        }
        m_index.push_back(pos);
        pos = dataAt + static_cast<int64_t>(m_frameBytes);
    }
    m_count = static_cast<int>(m_index.size());
    return HOSTFILE_OK;
}

int64_t Y4mVideoSource::FrameOffset(int number) const
{
    return m_stride ? m_dataStart + static_cast<int64_t>(number) * m_stride : m_index[static_cast<size_t>(number)];
}

void Y4mVideoSource::NoteTail()
{
    if (m_tailError.empty())
        return;
    m_in.SetError(m_tailError);
    m_in.truncated = m_in.truncated || m_tailTruncated;
}

Y4mVideoSource::ReadResult Y4mVideoSource::ReadFrameHere(int number)
{
    MEDIA_FRAME* dst = m_frames[1 - m_front];
    if (!dst)
        return READ_FAILED;
    const int64_t at = m_in.file.Position();
    std::string line;
    const HostFile::LineResult r = m_in.file.ReadLine(&line, kMaxLine);
    if (m_in.file.Failed()) {
        m_in.SetError(m_in.file.Error() + " in frame " + std::to_string(number) + " at byte " + std::to_string(at));
        return READ_FAILED;
    }
    if (r == HostFile::LINE_EOF)
        return READ_END;
    if (r == HostFile::LINE_PARTIAL && (IsFrameLine(line) || std::string("FRAME").compare(0, line.size(), line) == 0)) {
        m_in.SetError(TruncatedFrameLineText(number, m_in.file.Position()));
        m_in.truncated = true;
        return READ_END;
    }
    if (r != HostFile::LINE_OK || !IsFrameLine(line)) {
        m_in.SetError(BadFrameLineText(number, at));
        return READ_FAILED;
    }
    // Y4M stores the planes as Y, Cb (U), Cr (V); the frame's block holds
    // them as Y, V, U, so each goes to its own pointer.
    size_t got = m_in.file.Read(dst->pY, m_lumaBytes);
    if (got == m_lumaBytes)
        got += m_in.file.Read(dst->pU, m_chromaBytes);
    if (got == m_lumaBytes + m_chromaBytes)
        got += m_in.file.Read(dst->pV, m_chromaBytes);
    if (got < m_frameBytes) {
        if (m_in.file.Failed()) {
            m_in.SetError(m_in.file.Error() + " in frame " + std::to_string(number) + " at byte " +
                          std::to_string(m_in.file.Position()));
            return READ_FAILED;
        }
        m_in.SetError(TruncatedFrameText(number, got, m_frameBytes));
        m_in.truncated = true;
        return READ_END;
    }
    dst->llStartTime = y4m::FrameStart(number, m_rateNum, m_rateDen);
    dst->llStopTime = dst->llStartTime + m_period;
    dst->nDuration = static_cast<int32_t>(std::min<int64_t>(m_period, INT32_MAX));
    m_front = 1 - m_front;
    m_current = number;
    return READ_OK;
}

Y4mVideoSource::ReadResult Y4mVideoSource::LoadFrame(int number)
{
    if (number < 0 || number >= m_count) {
        NoteTail();
        return READ_END;
    }
    if (!m_in.file.SeekTo(FrameOffset(number))) {
        m_in.SetError(m_in.file.Error() + " (frame " + std::to_string(number) + ")");
        return READ_FAILED;
    }
    return ReadFrameHere(number);
}

void Y4mVideoSource::FillStreamBlock()
{
    std::memset(&m_stream, 0, sizeof(m_stream));
    const char tag[] = "Y4mVideoSource stream block";
    std::memcpy(m_stream.abHostData, tag, sizeof(tag));
    VideoInfo& vi = m_stream.videoInfo;
    vi.nWidth = m_width;
    vi.nHeight = m_height;
    vi.dFrameRate = m_rateDen > 0 ? static_cast<double>(m_rateNum) / m_rateDen : 0.0;
    vi.nFrameCount = m_count > 0 ? m_count : 0;
    y4m::DisplayAspect(m_width, m_height, m_parNum, m_parDen, &vi.nAspectX, &vi.nAspectY);
}

intptr_t Y4mVideoSource::SetExDecodeParam(unsigned int, uintptr_t, uintptr_t) { return 0; }

const VideoInfo* Y4mVideoSource::GetVideoInfo() const { return &m_stream.videoInfo; }

const VideoStreamInfo* Y4mVideoSource::GetVideoStreamInfo() const { return &m_stream; }

const MEDIA_FRAME* Y4mVideoSource::GetFrame() const { return m_current >= 0 ? m_frames[m_front] : nullptr; }

int Y4mVideoSource::GetFrameOffset() const { return m_current; }

int Y4mVideoSource::Forward(int count)
{
    if (m_current < 0 || count < 1)
        return 0;
    const int from = m_current;
    if (m_in.file.Seekable()) {
        int64_t target = static_cast<int64_t>(from) + count;
        if (target >= m_count) {
            NoteTail();
            target = m_count - 1;
        }
        if (target <= from || LoadFrame(static_cast<int>(target)) != READ_OK)
            return 0;
        return m_current - from;
    }
    int advanced = 0;
    while (advanced < count && !m_streamEnded && m_current < kMaxFrames - 1) {
        if (ReadFrameHere(m_current + 1) != READ_OK) {
            m_streamEnded = true;
            break;
        }
        ++advanced;
    }
    return advanced;
}

int Y4mVideoSource::VideoSeek(int frame, unsigned int)
{
    if (!m_in.file.IsOpen())
        return m_current;
    frame = std::max(frame, 0);
    if (m_in.file.Seekable()) {
        if (frame >= m_count) {
            NoteTail();
            frame = m_count - 1;
        }
        if (frame >= 0 && frame != m_current)
            LoadFrame(frame);
        return m_current;
    }
    if (frame < m_current) {
        m_in.SetError("cannot seek back to frame " + std::to_string(frame) +
                      " on a stream that does not seek (at frame " + std::to_string(m_current) + ")");
        return m_current;
    }
    if (frame > m_current)
        Forward(frame - m_current);
    return m_current;
}

double Y4mVideoSource::VideoSeekTime(double seconds, unsigned int flags)
{
    if (!m_in.file.IsOpen() || m_rateNum <= 0)
        return 0.0;
    int frame = 0;
    if (seconds > 0.0) {
        // A first guess in floating point, then settled on the integer time
        // stamps: the last frame that starts at or before the time asked for.
        const double guess = std::floor(seconds * m_rateNum / m_rateDen);
        frame = guess >= kMaxFrames - 1 ? kMaxFrames - 1 : static_cast<int>(guess);
        const double ticks = std::min(seconds * 1e7, 9e18);
        const int64_t t = std::llround(ticks);
        while (frame > 0 && y4m::FrameStart(frame, m_rateNum, m_rateDen) > t)
            --frame;
        while (frame < kMaxFrames - 1 && y4m::FrameStart(frame + 1, m_rateNum, m_rateDen) <= t)
            ++frame;
    }
    VideoSeek(frame, flags);
    return m_current >= 0 ? static_cast<double>(y4m::FrameStart(m_current, m_rateNum, m_rateDen)) / 1e7 : 0.0;
}
