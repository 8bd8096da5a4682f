// VideoEvenProcess: a video stage that delivers pictures on a constant-rate
// time grid.
//
// Grid frame k is shown at k / R seconds, R being the rate chosen when the
// stage is built. The stage repeats the current source picture while the
// source is ahead of the grid and skips source pictures while it is behind.
// It wraps any VideoDecoder (a host decoder or another stage) and is itself
// one, so it stacks.
//
// Ownership: the source is borrowed; it is never closed nor deleted by the
// stage and must outlive it. The frame returned by GetFrame is the stage's
// own record, but its planes are the source's: it stays valid until the next
// Forward or seek (of the stage or of the source).
#ifndef DATAPROCESS_VIDEOEVENPROCESS_H
#define DATAPROCESS_VIDEOEVENPROCESS_H

#include <stdint.h>

#include "DataProcessExport.h"
#include "Decoder.h"
#include "MediaTypes.h"

class DP_API VideoEvenProcess : public VideoDecoder {
public:
    // The source must be open and positioned. dFrameRate below 0.001 means
    // the source's own rate; a rate above 200 becomes 30.
    VideoEvenProcess(VideoDecoder* pSource, double dFrameRate);
    // Runs Close; leaves the source alone.
    ~VideoEvenProcess() override;

    // Frees the private stream-information copy (the source stays open).
    // The information queries must not be used afterwards; they return null.
    int Close() override;
    // Does nothing and returns 1: the stage is ready when built.
    int Open(const wchar_t* path, const DecParam* param, int* error) override;
    // 0 without a source; code 1002 is swallowed (returns 0); any other code
    // goes to the source unchanged and its result is returned.
    intptr_t SetExDecodeParam(unsigned int nCode, uintptr_t nParam1, uintptr_t nParam2) override;
    // The stage's copy of the source's description, with the rate set to R.
    const VideoInfo* GetVideoInfo() const override;
    const VideoStreamInfo* GetVideoStreamInfo() const override;
    // Seeks to the grid frame nearest dTime; returns its time in seconds.
    double VideoSeekTime(double dTime, unsigned int nFlags) override;
    // Seeks to the time nFrame * R (sic: the frame number multiplied by the
    // rate) and returns the grid index reached.
    int VideoSeek(int nFrame, unsigned int nFlags) override;
    // The current picture stamped with its grid time, or null.
    const MEDIA_FRAME* GetFrame() const override;
    // The grid index of the current picture.
    int GetFrameOffset() const override;
    // Advances the grid by nFrames; returns nFrames, or 0 at the end of the
    // source or for nFrames < 1.
    int Forward(int nFrames) override;

    // The grid rate R in frames per second.
    double GetFrameRate() const { return m_dFrameRate; }

private:
    VideoDecoder* m_pSource;
    double m_dFrameRate;
    int32_t m_nFrameIndex;
    MEDIA_FRAME m_Frame;
    MEDIA_FRAME* m_pCurFrame;
    const MEDIA_FRAME* m_pSrcFrame;
    VideoStreamInfo* m_pStreamInfo;
};

// Makes a constant-rate stage over `source` (null for a null source). The
// caller destroys it with PEVideoDestroy; the source stays the caller's.
DP_API VideoDecoder* PEVideoCreate(VideoDecoder* source, double frameRate);
// Destroys any VideoDecoder through its virtual destructor; null is allowed.
DP_API void PEVideoDestroy(VideoDecoder* decoder);

#endif // DATAPROCESS_VIDEOEVENPROCESS_H
