#include "SyntheticVideoSource.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace {

constexpr int64_t kTicks = 10000000; // 100-ns units per second

struct Yuv {
    uint8_t y, u, v;
};
// BT.601 studio-range colours of the corner markers.
constexpr Yuv kRed{81, 90, 240};
constexpr Yuv kGreen{145, 54, 34};
constexpr Yuv kBlue{41, 240, 110};
constexpr Yuv kWhite{235, 128, 128};

enum class Region { TopLeft, TopRight, BottomLeft, BottomRight, FrameBit, Box, Grid, Ramp };

int MarkerSize(int w, int h) { return std::max(2, std::min(w, h) / 8); }
int BoxSize(int w, int h) { return std::max(2, std::min(w, h) / 6); }

Region Classify(int x, int y, int frame, int w, int h, int* bit)
{
    const int m = MarkerSize(w, h);
    const bool left = x < m, right = x >= w - m, top = y < m, bottom = y >= h - m;
    if (top && left)
        return Region::TopLeft;
    if (top && right)
        return Region::TopRight;
    if (bottom && left)
        return Region::BottomLeft;
    if (bottom && right)
        return Region::BottomRight;
    // The frame number, 16 bits of 4 x 4 pixels, least significant first,
    // starting a quarter of the way across the top.
    const int bx = x - w / 4;
    if (y < 4 && bx >= 0 && bx < 64 && w / 4 + 64 <= w - m) {
        *bit = (frame >> (bx / 4)) & 1;
        return Region::FrameBit;
    }
    const int b = BoxSize(w, h);
    const int span = std::max(1, w - b);
    const int x0 = (frame * 4) % span;
    const int y0 = h / 2 - b / 2;
    if (x >= x0 && x < x0 + b && y >= y0 && y < y0 + b)
        return Region::Box;
    if (x % 64 == 0 || y % 64 == 0)
        return Region::Grid;
    return Region::Ramp;
}

uint32_t Hash(uint32_t a, uint32_t b)
{
    uint32_t h = a * 0x9E3779B1u ^ (b + 0x7F4A7C15u + (a << 6) + (a >> 2));
    h ^= h >> 16;
    h *= 0x85EBCA6Bu;
    h ^= h >> 13;
    h *= 0xC2B2AE35u;
    h ^= h >> 16;
    return h;
}

} // namespace

uint8_t SyntheticVideoSource::PatternY(int x, int y, int frame, int w, int h)
{
    int bit = 0;
    switch (Classify(x, y, frame, w, h, &bit)) {
    case Region::TopLeft: return kRed.y;
    case Region::TopRight: return kGreen.y;
    case Region::BottomLeft: return kBlue.y;
    case Region::BottomRight: return kWhite.y;
    case Region::FrameBit: return bit ? 235 : 16;
    case Region::Box: return 235;
    case Region::Grid: return 180;
    case Region::Ramp: break;
    }
    // Diagonal ramp over 32..200.
    const int sum = x * 100 / std::max(1, w - 1) + y * 68 / std::max(1, h - 1);
    return static_cast<uint8_t>(32 + sum);
}

uint8_t SyntheticVideoSource::PatternU(int cx, int cy, int frame, int w, int h)
{
    int bit = 0;
    switch (Classify(2 * cx, 2 * cy, frame, w, h, &bit)) {
    case Region::TopLeft: return kRed.u;
    case Region::TopRight: return kGreen.u;
    case Region::BottomLeft: return kBlue.u;
    case Region::BottomRight: return kWhite.u;
    case Region::FrameBit:
    case Region::Box: return 128;
    case Region::Grid:
    case Region::Ramp: break;
    }
    return static_cast<uint8_t>(96 + cx * 64 / std::max(1, (w + 1) / 2 - 1));
}

uint8_t SyntheticVideoSource::PatternV(int cx, int cy, int frame, int w, int h)
{
    int bit = 0;
    switch (Classify(2 * cx, 2 * cy, frame, w, h, &bit)) {
    case Region::TopLeft: return kRed.v;
    case Region::TopRight: return kGreen.v;
    case Region::BottomLeft: return kBlue.v;
    case Region::BottomRight: return kWhite.v;
    case Region::FrameBit:
    case Region::Box: return 128;
    case Region::Grid:
    case Region::Ramp: break;
    }
    return static_cast<uint8_t>(96 + cy * 64 / std::max(1, (h + 1) / 2 - 1));
}

uint8_t SyntheticVideoSource::PatternAlpha(int x, int, int w)
{
    return static_cast<uint8_t>(x * 255 / std::max(1, w - 1));
}

SyntheticVideoSource::SyntheticVideoSource(const SyntheticVideoConfig& config) : m_cfg(config)
{
    m_cfg.width = std::max(0, m_cfg.width);
    m_cfg.height = std::max(0, m_cfg.height);
    m_cfg.frameCount = std::max(0, m_cfg.frameCount);
    std::sort(m_cfg.dropped.begin(), m_cfg.dropped.end());

    // Host bytes of the stream block: a recognisable text, so that tests can
    // see the block copied whole.
    const char tag[] = "SyntheticVideoSource stream block";
    std::memcpy(m_stream.abHostData, tag, sizeof(tag));
    std::memset(m_stream.abHostTail, 0x5A, sizeof(m_stream.abHostTail));
    VideoInfo& vi = m_stream.videoInfo;
    vi.nWidth = m_cfg.width;
    vi.nHeight = m_cfg.height;
    vi.dFrameRate = m_cfg.frameRate;
    vi.nFrameCount = m_cfg.frameCount;
    vi.nAspectX = m_cfg.aspectX;
    vi.nAspectY = m_cfg.aspectY;
    vi.nReserved[0] = 0x11;
    vi.nReserved[1] = 0x22;
    vi.nReserved[2] = 0x33;
    m_stream.llStreamStart = m_cfg.streamStart;
    m_stream.llTimeOffset = m_cfg.timeOffset;

    const int w = m_cfg.width, h = m_cfg.height;
    const int pitchY = w + m_cfg.pitchPadding;
    const int pitchC = (w + 1) / 2 + m_cfg.pitchPadding;
    const size_t luma = static_cast<size_t>(pitchY) * h;
    const size_t chroma = static_cast<size_t>(pitchC) * ((h + 1) / 2);
    m_planes.assign(luma + 2 * chroma + (m_cfg.withAlpha ? luma : 0) + 1, 0);
    m_frame.nFrameType = MEDIA_FRAME_VIDEO;
    m_frame.nParam1 = 1;
    m_frame.nParam2 = 2;
    m_frame.pY = m_planes.data();
    m_frame.pV = m_frame.pY + luma;
    m_frame.pU = m_frame.pV + chroma;
    m_frame.pAlpha = m_cfg.withAlpha ? m_frame.pU + chroma : nullptr;
    m_frame.nWidth = w;
    m_frame.nHeight = h;
    m_frame.nPitchY = pitchY;
    m_frame.nPitchU = m_frame.nPitchV = pitchC;

    m_current = NextDelivered(0);
    if (m_current >= 0)
        Render(m_current);
}

SyntheticVideoSource::~SyntheticVideoSource() = default;

int SyntheticVideoSource::Close() { return 1; }

int SyntheticVideoSource::Open(const wchar_t*, const DecParam*, int* error)
{
    if (error)
        *error = 0;
    return 1;
}

intptr_t SyntheticVideoSource::SetExDecodeParam(unsigned int code, uintptr_t param1, uintptr_t)
{
    m_lastExCode = code;
    m_lastExParam1 = param1;
    return 0;
}

const VideoInfo* SyntheticVideoSource::GetVideoInfo() const { return &m_stream.videoInfo; }

const VideoStreamInfo* SyntheticVideoSource::GetVideoStreamInfo() const { return &m_stream; }

bool SyntheticVideoSource::IsDropped(int i) const
{
    return std::binary_search(m_cfg.dropped.begin(), m_cfg.dropped.end(), i);
}

int SyntheticVideoSource::NextDelivered(int i) const
{
    for (; i >= 0 && i < m_cfg.frameCount; ++i)
        if (!IsDropped(i))
            return i;
    return -1;
}

int64_t SyntheticVideoSource::FrameStartTime(int i) const
{
    const double rate = m_cfg.frameRate > 0 ? m_cfg.frameRate : 25.0;
    int64_t t = static_cast<int64_t>(std::llround(i * static_cast<double>(kTicks) / rate));
    if (m_cfg.jitter > 0) {
        const uint64_t span = static_cast<uint64_t>(2 * m_cfg.jitter + 1);
        t += static_cast<int64_t>(Hash(static_cast<uint32_t>(i), m_cfg.seed) % span) - m_cfg.jitter;
        t = std::max<int64_t>(t, 0);
    }
    return m_cfg.streamStart + t;
}

void SyntheticVideoSource::Render(int i)
{
    const double rate = m_cfg.frameRate > 0 ? m_cfg.frameRate : 25.0;
    const int64_t period = static_cast<int64_t>(std::llround(kTicks / rate));
    m_frame.llStartTime = FrameStartTime(i);
    m_frame.llStopTime = m_frame.llStartTime + period;
    m_frame.nDuration = static_cast<int32_t>(period);
    if (m_rendered == i)
        return;
    const int w = m_cfg.width, h = m_cfg.height;
    for (int y = 0; y < h; ++y) {
        unsigned char* row = m_frame.pY + static_cast<ptrdiff_t>(y) * m_frame.nPitchY;
        for (int x = 0; x < w; ++x)
            row[x] = PatternY(x, y, i, w, h);
        if (m_frame.pAlpha) {
            unsigned char* a = m_frame.pAlpha + static_cast<ptrdiff_t>(y) * m_frame.nPitchY;
            for (int x = 0; x < w; ++x)
                a[x] = PatternAlpha(x, y, w);
        }
    }
    for (int cy = 0; cy < (h + 1) / 2; ++cy) {
        unsigned char* u = m_frame.pU + static_cast<ptrdiff_t>(cy) * m_frame.nPitchU;
        unsigned char* v = m_frame.pV + static_cast<ptrdiff_t>(cy) * m_frame.nPitchV;
        for (int cx = 0; cx < (w + 1) / 2; ++cx) {
            u[cx] = PatternU(cx, cy, i, w, h);
            v[cx] = PatternV(cx, cy, i, w, h);
        }
    }
    m_rendered = i;
}

double SyntheticVideoSource::VideoSeekTime(double seconds, unsigned int)
{
    ++m_seekCalls;
    m_lastSeekTime = seconds;
    if (m_cfg.frameCount == 0)
        return 0.0;
    const double rate = m_cfg.frameRate > 0 ? m_cfg.frameRate : 25.0;
    double pos = std::floor(seconds * rate + 1e-6);
    int i = static_cast<int>(std::min<double>(std::max(pos, 0.0), m_cfg.frameCount - 1));
    int d = NextDelivered(i);
    while (d < 0 && i > 0) // only dropped frames after the target: take the one before
        d = IsDropped(--i) ? -1 : i;
    m_current = d;
    if (m_current < 0)
        return 0.0;
    Render(m_current);
    return static_cast<double>(m_frame.llStartTime - m_cfg.streamStart) / kTicks;
}

int SyntheticVideoSource::VideoSeek(int frame, unsigned int flags)
{
    const double rate = m_cfg.frameRate > 0 ? m_cfg.frameRate : 25.0;
    VideoSeekTime(frame / rate, flags);
    return m_current;
}

const MEDIA_FRAME* SyntheticVideoSource::GetFrame() const { return m_current >= 0 ? &m_frame : nullptr; }

int SyntheticVideoSource::GetFrameOffset() const { return m_current; }

int SyntheticVideoSource::Forward(int count)
{
    ++m_forwardCalls;
    if (m_current < 0 || count < 1)
        return 0;
    int advanced = 0;
    while (advanced < count) {
        const int next = NextDelivered(m_current + 1);
        if (next < 0)
            break;
        m_current = next;
        ++advanced;
    }
    if (advanced < count && m_cfg.nullAfterEnd) {
        m_current = -1;
        return advanced;
    }
    Render(m_current);
    return advanced;
}
