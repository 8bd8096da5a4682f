// Shared by the video stage tests: a minimal host decoder whose planes are
// separate exact-size buffers (a write past a plane trips the address
// sanitizer), pixel accessors, and 32-bit bitmaps for watermarks.
#ifndef DATAPROCESS_TESTS_VIDEOTESTSUPPORT_H
#define DATAPROCESS_TESTS_VIDEOTESTSUPPORT_H

#include <algorithm>
#include <cstring>
#include <functional>
#include <vector>

#include "Decoder.h"
#include "WinTypes.h"

inline unsigned char Y(const MEDIA_FRAME* f, int x, int y) { return f->pY[ptrdiff_t(y) * f->nPitchY + x]; }
inline unsigned char U(const MEDIA_FRAME* f, int x, int y) { return f->pU[ptrdiff_t(y) * f->nPitchU + x]; }
inline unsigned char V(const MEDIA_FRAME* f, int x, int y) { return f->pV[ptrdiff_t(y) * f->nPitchV + x]; }

// The picture as a y4m file stores it: the Y, U and V planes without their
// pitch padding.
inline std::vector<unsigned char> Planes(const MEDIA_FRAME* frame)
{
    std::vector<unsigned char> out;
    const int w = frame->nWidth, h = frame->nHeight, cw = (w + 1) / 2, ch = (h + 1) / 2;
    const struct { const unsigned char* p; int pitch, width, rows; } planes[] = {
        {frame->pY, frame->nPitchY, w, h}, {frame->pU, frame->nPitchU, cw, ch}, {frame->pV, frame->nPitchV, cw, ch}};
    for (const auto& pl : planes)
        for (int y = 0; y < pl.rows; ++y)
            out.insert(out.end(), pl.p + ptrdiff_t(y) * pl.pitch, pl.p + ptrdiff_t(y) * pl.pitch + pl.width);
    return out;
}

// One picture of any size and pitch, by default a ramp in which every pixel
// differs from its neighbours. Forward moves the time stamps only.
class PlaneSource : public VideoDecoder {
public:
    PlaneSource(int width, int height, double rate = 0.0, int pitchPadding = 0)
        : m_y(size_t(width + pitchPadding) * height),
          m_u(size_t((width + 1) / 2 + pitchPadding) * ((height + 1) / 2)), m_v(m_u.size())
    {
        VideoInfo& vi = m_stream.videoInfo;
        vi.nWidth = m_frame.nWidth = width;
        vi.nHeight = m_frame.nHeight = height;
        vi.dFrameRate = rate;
        vi.nFrameCount = 100;
        m_frame.nFrameType = MEDIA_FRAME_VIDEO;
        m_frame.nPitchY = width + pitchPadding;
        m_frame.nPitchU = m_frame.nPitchV = (width + 1) / 2 + pitchPadding;
        m_frame.pY = m_y.data();
        m_frame.pU = m_u.data();
        m_frame.pV = m_v.data();
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x) {
                m_y[size_t(y) * m_frame.nPitchY + x] = static_cast<unsigned char>(20 + (x * 3 + y * 7) % 200);
                const size_t c = size_t(y / 2) * m_frame.nPitchU + x / 2;
                m_u[c] = static_cast<unsigned char>(30 + (x / 2 * 5 + y / 2 * 3) % 190);
                m_v[c] = static_cast<unsigned char>(220 - (x / 2 * 3 + y / 2 * 5) % 190);
            }
        Forward(0);
    }
    void FillFlat(unsigned char y, unsigned char u, unsigned char v)
    {
        std::fill(m_y.begin(), m_y.end(), y);
        std::fill(m_u.begin(), m_u.end(), u);
        std::fill(m_v.begin(), m_v.end(), v);
    }
    void SetAspect(int x, int y) { m_stream.videoInfo.nAspectX = x, m_stream.videoInfo.nAspectY = y; }
    const MEDIA_FRAME* Picture() const { return &m_frame; } // even after the end
    bool ended = false;                                      // GetFrame answers null
    intptr_t answer = 0;                                     // of SetExDecodeParam
    unsigned int lastCode = 0;
    uintptr_t lastParam1 = 0, lastParam2 = 0;

    int Close() override { return 1; }
    int Open(const wchar_t*, const DecParam*, int*) override { return 1; }
    intptr_t SetExDecodeParam(unsigned int code, uintptr_t param1, uintptr_t param2) override
    {
        lastCode = code, lastParam1 = param1, lastParam2 = param2;
        return answer;
    }
    const VideoInfo* GetVideoInfo() const override { return &m_stream.videoInfo; }
    const VideoStreamInfo* GetVideoStreamInfo() const override { return &m_stream; }
    double VideoSeekTime(double seconds, unsigned int) override { return seconds; }
    int VideoSeek(int frame, unsigned int) override { return frame; }
    const MEDIA_FRAME* GetFrame() const override { return ended ? nullptr : &m_frame; }
    int GetFrameOffset() const override { return m_index; }
    int Forward(int count) override
    {
        m_index += count > 0 ? count : 0;
        m_frame.llStartTime = 1000 + 400000LL * m_index;
        m_frame.llStopTime = m_frame.llStartTime + 400000;
        m_frame.nDuration = 400000;
        return count > 0 ? count : 0;
    }

private:
    std::vector<unsigned char> m_y, m_u, m_v;
    VideoStreamInfo m_stream{};
    MEDIA_FRAME m_frame{};
    int m_index = 0;
};

struct Bgra {
    unsigned char b, g, r, a;
};

// A 32-bit bitmap: the 40-byte header, then the pixels bottom-up (top-down
// with a negative height if asked).
inline std::vector<unsigned char> Bitmap32(int w, int h, const std::function<Bgra(int x, int y)>& px,
                                           bool topDown = false)
{
    std::vector<unsigned char> block(40 + size_t(w) * h * 4);
    tagBITMAPINFOHEADER hdr = {};
    hdr.biSize = 40;
    hdr.biWidth = w;
    hdr.biHeight = topDown ? -h : h;
    hdr.biPlanes = 1;
    hdr.biBitCount = 32;
    std::memcpy(block.data(), &hdr, sizeof(hdr));
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x) {
            const Bgra c = px(x, y);
            std::memcpy(block.data() + 40 + (size_t(topDown ? y : h - 1 - y) * w + x) * 4, &c, 4);
        }
    return block;
}
inline std::vector<unsigned char> Flat32(int w, int h, Bgra c) { return Bitmap32(w, h, [c](int, int) { return c; }); }
inline tagBITMAPINFO* Info(std::vector<unsigned char>& block) { return reinterpret_cast<tagBITMAPINFO*>(block.data()); }

#endif // DATAPROCESS_TESTS_VIDEOTESTSUPPORT_H
