#include "VideoEvenProcess.h"

#include <cstring>

#include "VideoMath.h"

using dpvideo::ClampToInt;
using dpvideo::TruncToInt;
using dpvideo::TruncToInt64;

namespace {

constexpr double kTicksPerSecond = 10000000.0;

// Grid time of frame `index` in 100-ns units, rounded: trunc(index / R * 1e7 + 0.5).
int64_t GridTime(int32_t index, double rate) { return TruncToInt64(index / rate * kTicksPerSecond + 0.5); }

} // namespace

VideoEvenProcess::VideoEvenProcess(VideoDecoder* pSource, double dFrameRate)
    : m_pSource(pSource), m_dFrameRate(dFrameRate), m_nFrameIndex(0), m_Frame(), m_pCurFrame(nullptr),
      m_pSrcFrame(nullptr), m_pStreamInfo(nullptr)
{
    if (!m_pSource)
        return;
    const VideoStreamInfo* srcStream = m_pSource->GetVideoStreamInfo();
    if (m_dFrameRate < 0.001) {
        const VideoInfo* vi = srcStream ? &srcStream->videoInfo : m_pSource->GetVideoInfo();
        m_dFrameRate = vi ? vi->dFrameRate : 0.0;
    }
    // Also replaces an adopted source rate above 200.
    if (m_dFrameRate > 200.0)
        m_dFrameRate = 30.0;

    m_pStreamInfo = new VideoStreamInfo;
    if (srcStream)
        std::memcpy(m_pStreamInfo, srcStream, sizeof(VideoStreamInfo));
    else
        std::memset(m_pStreamInfo, 0, sizeof(VideoStreamInfo));
    m_pStreamInfo->videoInfo.dFrameRate = m_dFrameRate;

    std::memset(&m_Frame, 0, sizeof(m_Frame));
    m_pSrcFrame = m_pSource->GetFrame();
    // An open source has a current picture; without one there is nothing to
    // stamp and the stage starts empty.
    if (m_pSrcFrame) {
        std::memcpy(&m_Frame, m_pSrcFrame, sizeof(m_Frame));
        m_Frame.llStartTime = 0;
        m_Frame.llStopTime = 0;
        m_Frame.nDuration = TruncToInt(kTicksPerSecond / m_dFrameRate + 0.5);
        m_pCurFrame = &m_Frame;
    }
}

VideoEvenProcess::~VideoEvenProcess() { VideoEvenProcess::Close(); }

int VideoEvenProcess::Close()
{
    delete m_pStreamInfo;
    m_pStreamInfo = nullptr;
    return 1;
}

int VideoEvenProcess::Open(const wchar_t*, const DecParam*, int*) { return 1; }

intptr_t VideoEvenProcess::SetExDecodeParam(unsigned int nCode, uintptr_t nParam1, uintptr_t nParam2)
{
    if (!m_pSource)
        return 0;
    // 1002 (the original decoder) is answered by the processing stage above;
    // here it is swallowed, never passed on.
    if (nCode == DP_EXCODE_ORIGINAL_DECODER)
        return 0;
    return m_pSource->SetExDecodeParam(nCode, nParam1, nParam2);
}

const VideoInfo* VideoEvenProcess::GetVideoInfo() const
{
    if (!m_pSource || !m_pStreamInfo)
        return nullptr;
    return &m_pStreamInfo->videoInfo;
}

const VideoStreamInfo* VideoEvenProcess::GetVideoStreamInfo() const
{
    if (!m_pSource)
        return nullptr;
    return m_pStreamInfo;
}

double VideoEvenProcess::VideoSeekTime(double dTime, unsigned int nFlags)
{
    if (!m_pSource)
        return 0.0;
    if (dTime < 0.0)
        dTime = 0.0;
    // Pre-roll: land up to half a second early so that the following Forward
    // calls step the source up to the grid.
    double preRoll = dTime - 0.5;
    if (preRoll < 0.0)
        preRoll = 0.0;
    m_pSource->VideoSeekTime(preRoll, nFlags);

    m_pSrcFrame = m_pSource->GetFrame();
    if (m_pSrcFrame)
        m_nFrameIndex = TruncToInt(m_dFrameRate * dTime + 0.5);
    const int64_t grid = GridTime(m_nFrameIndex, m_dFrameRate);

    m_pCurFrame = nullptr;
    if (m_pSrcFrame) {
        std::memcpy(&m_Frame, m_pSrcFrame, sizeof(m_Frame));
        m_Frame.llStartTime = grid;
        m_Frame.llStopTime = grid;
        // Kept deliberately: a seek leaves nDuration as the source carried it,
        // unlike Forward, which writes the grid period.
        m_pCurFrame = &m_Frame;
    }
    return static_cast<double>(grid) / kTicksPerSecond;
}

int VideoEvenProcess::VideoSeek(int nFrame, unsigned int nFlags)
{
    if (!m_pSource)
        return 0;
    // Kept deliberately: the frame number is multiplied by the rate, not
    // divided by it (frame 10 at 25 fps seeks to 250 s).
    VideoSeekTime(nFrame * m_dFrameRate, nFlags);
    return m_nFrameIndex;
}

const MEDIA_FRAME* VideoEvenProcess::GetFrame() const { return m_pCurFrame; }

int VideoEvenProcess::GetFrameOffset() const
{
    if (!m_pSource)
        return 0;
    return m_nFrameIndex;
}

int VideoEvenProcess::Forward(int nFrames)
{
    if (!m_pSource || !m_pSrcFrame || nFrames < 1)
        return 0;

    // Target in ticks, truncated without a rounding term (the stamping below
    // rounds; the asymmetry is kept deliberately).
    const double target = (static_cast<double>(m_nFrameIndex) + nFrames) / m_dFrameRate;
    const int64_t targetTicks = TruncToInt64(target * kTicksPerSecond);
    const int64_t streamStart = m_pStreamInfo ? m_pStreamInfo->llStreamStart : 0;
    const int64_t timeOffset = m_pStreamInfo ? m_pStreamInfo->llTimeOffset : 0;

    int64_t advanced = 0;
    bool ended = false;
    while (m_pSrcFrame) {
        // Position of the source picture on the stream's own time line.
        // Wrapping arithmetic: host times near the int64 limits must not trap.
        const int64_t pos = static_cast<int64_t>(static_cast<uint64_t>(m_pSrcFrame->llStopTime) -
                                                 static_cast<uint64_t>(streamStart) +
                                                 static_cast<uint64_t>(timeOffset));
        if (pos >= targetTicks)
            break; // the current source picture covers the target (a repeat when at once)
        const int stepped = m_pSource->Forward(1);
        m_pSrcFrame = m_pSource->GetFrame();
        if (stepped < 1) {
            ended = true;
            break;
        }
        advanced += stepped; // each further pass skips a source picture
    }

    // At the end after having advanced, the last picture stands for the rest.
    const int result = (ended && advanced <= 0) ? 0 : nFrames;
    m_nFrameIndex = ClampToInt(static_cast<int64_t>(m_nFrameIndex) + result);

    if (!m_pSrcFrame) {
        m_pCurFrame = nullptr;
        return result;
    }
    std::memcpy(&m_Frame, m_pSrcFrame, sizeof(m_Frame));
    m_pCurFrame = &m_Frame;
    const int64_t grid = GridTime(m_nFrameIndex, m_dFrameRate);
    m_Frame.llStartTime = grid;
    m_Frame.llStopTime = grid;
    m_Frame.nDuration = TruncToInt(kTicksPerSecond / m_dFrameRate + 0.5);
    return result;
}

VideoDecoder* PEVideoCreate(VideoDecoder* source, double frameRate)
{
    if (!source)
        return nullptr;
    return new VideoEvenProcess(source, frameRate);
}

void PEVideoDestroy(VideoDecoder* decoder) { delete decoder; }
