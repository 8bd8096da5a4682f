// A minimal host decoder for the video stage tests: one picture whose
// planes come from functions of the position, separate exact-size plane
// buffers (so that a write past a plane trips the address sanitizer), any
// pitch, and a frame counter that Forward advances.
#ifndef DATAPROCESS_TESTS_PLANESOURCE_H
#define DATAPROCESS_TESTS_PLANESOURCE_H

#include <cstring>
#include <functional>
#include <vector>

#include "Decoder.h"

class PlaneSource : public VideoDecoder {
public:
    using PlaneFn = std::function<unsigned char(int x, int y)>;

    PlaneSource(int width, int height, double rate = 0.0, int pitchPadding = 0)
    {
        std::memset(&m_stream, 0, sizeof(m_stream));
        VideoInfo& vi = m_stream.videoInfo;
        vi.nWidth = width;
        vi.nHeight = height;
        vi.dFrameRate = rate;
        vi.nFrameCount = 100;
        std::memset(&m_frame, 0, sizeof(m_frame));
        m_frame.nFrameType = MEDIA_FRAME_VIDEO;
        m_frame.nParam1 = 1;
        m_frame.nParam2 = 2;
        m_frame.nWidth = width;
        m_frame.nHeight = height;
        m_frame.nPitchY = width + pitchPadding;
        m_frame.nPitchU = m_frame.nPitchV = (width + 1) / 2 + pitchPadding;
        m_y.assign(static_cast<size_t>(m_frame.nPitchY) * height, 16);
        m_u.assign(static_cast<size_t>(m_frame.nPitchU) * ((height + 1) / 2), 128);
        m_v.assign(m_u.size(), 128);
        m_frame.pY = m_y.data();
        m_frame.pU = m_u.data();
        m_frame.pV = m_v.data();
        Stamp();
    }

    void SetAspect(int x, int y)
    {
        m_stream.videoInfo.nAspectX = x;
        m_stream.videoInfo.nAspectY = y;
    }

    // Fills the planes (chroma functions take chroma coordinates).
    void Fill(const PlaneFn& fy, const PlaneFn& fu, const PlaneFn& fv)
    {
        const int w = m_frame.nWidth, h = m_frame.nHeight;
        for (int y = 0; y < h; ++y)
            for (int x = 0; x < w; ++x)
                m_y[static_cast<size_t>(y) * m_frame.nPitchY + x] = fy(x, y);
        for (int y = 0; y < (h + 1) / 2; ++y)
            for (int x = 0; x < (w + 1) / 2; ++x) {
                m_u[static_cast<size_t>(y) * m_frame.nPitchU + x] = fu(x, y);
                m_v[static_cast<size_t>(y) * m_frame.nPitchV + x] = fv(x, y);
            }
    }
    void FillFlat(unsigned char y, unsigned char u, unsigned char v)
    {
        Fill([y](int, int) { return y; }, [u](int, int) { return u; }, [v](int, int) { return v; });
    }

    unsigned char Y(int x, int y) const { return m_y[static_cast<size_t>(y) * m_frame.nPitchY + x]; }
    unsigned char U(int x, int y) const { return m_u[static_cast<size_t>(y) * m_frame.nPitchU + x]; }
    unsigned char V(int x, int y) const { return m_v[static_cast<size_t>(y) * m_frame.nPitchV + x]; }

    int Close() override { return 1; }
    int Open(const wchar_t*, const DecParam*, int*) override { return 1; }
    intptr_t SetExDecodeParam(unsigned int code, uintptr_t param1, uintptr_t param2) override
    {
        m_lastCode = code;
        m_lastParam1 = param1;
        m_lastParam2 = param2;
        return m_answer;
    }
    const VideoInfo* GetVideoInfo() const override { return &m_stream.videoInfo; }
    const VideoStreamInfo* GetVideoStreamInfo() const override { return &m_stream; }
    double VideoSeekTime(double seconds, unsigned int) override { return seconds; }
    int VideoSeek(int frame, unsigned int) override { return frame; }
    const MEDIA_FRAME* GetFrame() const override { return m_ended ? nullptr : &m_frame; }
    int GetFrameOffset() const override { return m_index; }
    int Forward(int count) override
    {
        if (count < 1)
            return 0;
        m_index += count;
        Stamp();
        return count;
    }

    void SetEnded(bool ended) { m_ended = ended; }
    void SetAnswer(intptr_t answer) { m_answer = answer; }
    unsigned int LastCode() const { return m_lastCode; }
    uintptr_t LastParam1() const { return m_lastParam1; }
    uintptr_t LastParam2() const { return m_lastParam2; }

private:
    void Stamp()
    {
        m_frame.llStartTime = 1000 + 400000LL * m_index;
        m_frame.llStopTime = m_frame.llStartTime + 400000;
        m_frame.nDuration = 400000;
    }

    VideoStreamInfo m_stream;
    MEDIA_FRAME m_frame;
    std::vector<unsigned char> m_y, m_u, m_v;
    int m_index = 0;
    bool m_ended = false;
    intptr_t m_answer = 0;
    unsigned int m_lastCode = 0;
    uintptr_t m_lastParam1 = 0, m_lastParam2 = 0;
};

#endif // DATAPROCESS_TESTS_PLANESOURCE_H
