// A synthetic host video decoder: a moving test pattern in YV12 with
// optional alpha, at any size, rate and frame count, with optional time-stamp
// jitter and dropped frames. Seek and Forward behave as a real decoder's.
//
// The pattern is meant to make geometry errors visible by eye: a luma ramp
// with a 64-pixel grid of luma lines, coloured corner markers (top-left red, top-right
// green, bottom-left blue, bottom-right white), a white box that moves right
// by 4 pixels per frame and the frame number as a row of bits along the top.
// PatternY/PatternU/PatternV give the exact values for tests.
#ifndef DATAPROCESS_HOST_SYNTHETICVIDEOSOURCE_H
#define DATAPROCESS_HOST_SYNTHETICVIDEOSOURCE_H

#include <cstdint>
#include <vector>

#include <DataProcess/MediaTypes.h>

#include <DataProcess/Decoder.h>

struct SyntheticVideoConfig {
    int width = 320;
    int height = 240;
    double frameRate = 25.0;
    int frameCount = 250;
    int aspectX = 0; // display aspect; 0 = square pixels
    int aspectY = 0;
    bool withAlpha = false;    // alpha plane: a horizontal ramp 0..255
    int64_t streamStart = 0;   // llStreamStart of the stream block (100 ns)
    int64_t timeOffset = 0;    // llTimeOffset of the stream block (100 ns)
    int64_t jitter = 0;        // time stamps move by up to +-jitter (100 ns), deterministic
    std::vector<int> dropped;  // frame numbers the decoder never delivers
    bool nullAfterEnd = false; // a Forward past the last frame leaves no current frame
    int pitchPadding = 0;      // extra bytes per row beyond the width (luma and chroma)
    uint32_t seed = 1;         // jitter sequence
};

class SyntheticVideoSource : public VideoDecoder {
public:
    explicit SyntheticVideoSource(const SyntheticVideoConfig& config = SyntheticVideoConfig());
    ~SyntheticVideoSource() override;

    int Close() override;
    int Open(const wchar_t* path, const DecParam* param, int* error) override;
    intptr_t SetExDecodeParam(unsigned int code, uintptr_t param1, uintptr_t param2) override;
    const VideoInfo* GetVideoInfo() const override;
    const VideoStreamInfo* GetVideoStreamInfo() const override;
    double VideoSeekTime(double seconds, unsigned int flags) override;
    int VideoSeek(int frame, unsigned int flags) override;
    const MEDIA_FRAME* GetFrame() const override;
    int GetFrameOffset() const override;
    int Forward(int count) override;

    // Frame number of the current picture, or -1 when there is none.
    int CurrentIndex() const { return m_current; }
    // Start time stamp (100 ns, stream time line) of frame number i,
    // including the stream start and the jitter.
    int64_t FrameStartTime(int i) const;
    // Calls received, for tests of the stages above.
    int ForwardCalls() const { return m_forwardCalls; }
    int SeekCalls() const { return m_seekCalls; }
    double LastSeekTime() const { return m_lastSeekTime; }
    unsigned int LastExCode() const { return m_lastExCode; }
    uintptr_t LastExParam1() const { return m_lastExParam1; }

    static uint8_t PatternY(int x, int y, int frame, int width, int height);
    static uint8_t PatternU(int cx, int cy, int frame, int width, int height);
    static uint8_t PatternV(int cx, int cy, int frame, int width, int height);
    static uint8_t PatternAlpha(int x, int y, int width);

private:
    bool IsDropped(int i) const;
    int NextDelivered(int i) const; // first delivered frame >= i, or -1
    void Render(int i);

    SyntheticVideoConfig m_cfg;
    VideoStreamInfo m_stream{};
    MEDIA_FRAME m_frame{};
    std::vector<unsigned char> m_planes;
    int m_current = -1;
    int m_rendered = -1;
    int m_forwardCalls = 0;
    int m_seekCalls = 0;
    double m_lastSeekTime = -1.0;
    unsigned int m_lastExCode = 0;
    uintptr_t m_lastExParam1 = 0;
};

#endif // DATAPROCESS_HOST_SYNTHETICVIDEOSOURCE_H
