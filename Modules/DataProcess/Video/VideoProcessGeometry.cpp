// The geometry of VideoProcess: output size and the source and destination
// regions, from a resize request (AdjustResizeParam) or a crop (SetCropRect).
#include <cstring>

#include "ResizeGeometry.h"
#include "VideoMath.h"
#include "VideoProcess.h"

using dpvideo::ClampToInt;
using dpvideo::FillRegion;
using dpvideo::TruncToInt;

namespace {

// A widening of under one per cent snaps back to the source width.
int32_t SnapWidth(int32_t w, int32_t sw)
{
    if (sw < w && int64_t(w) * 100 < int64_t(sw) * 101)
        return sw;
    return w;
}

} // namespace

const VideoInfo& VideoProcess::SrcInfo() const
{
    static const VideoInfo none = {};
    return m_pSrcInfo ? *m_pSrcInfo : none;
}

void VideoProcess::AdjustResizeParam(RESIZE_PARAM* param)
{
    CSingleLock lock(&m_csFrame);
    AdjustResizeParamLocked(param);
}

void VideoProcess::AdjustResizeParamLocked(RESIZE_PARAM* param)
{
    if (!param)
        return;
    const VideoInfo& si = SrcInfo();
    const int32_t sw = si.nWidth, sh = si.nHeight;
    const int32_t ax = si.nAspectX, ay = si.nAspectY;

    if (ax != 0 && ay != 0 && param->nWidth < 1) {
        int32_t w = sw, h = sh;
        if (ax <= ay) {
            h = ClampToInt(int64_t(ay) * sw / ax);
        } else {
            w = SnapWidth(ClampToInt(int64_t(ax) * h / ay), sw);
        }
        m_pVideoInfo->nWidth = w;
        m_pVideoInfo->nHeight = h;
    }
    if (param->nWidth > 0) {
        m_pVideoInfo->nWidth = param->nWidth;
        m_pVideoInfo->nHeight = param->nHeight;
    }
    m_pVideoInfo->nAspectX = 0;
    m_pVideoInfo->nAspectY = 0;

    const int32_t ow = m_pVideoInfo->nWidth, oh = m_pVideoInfo->nHeight;
    tagRECT d = {0, 0, ow, oh};
    tagRECT s = {0, 0, sw, sh};
    if (param->nResizeMethod != IMAGE_RESIZE_CROP_FILL) {
        tagSIZE aspect = {sw, sh};
        if (ax != 0 && ay != 0)
            aspect = tagSIZE{ax, ay};
        ResizeRect(d, aspect, param->nResizeMethod);
    } else {
        tagSIZE aspect = {ow, oh};
        // Truncated without the +0.5 that CalcResizeParam adds: the two
        // differ on purpose and are kept apart.
        if (ax != 0 && ay != 0)
            aspect.cy = TruncToInt(static_cast<double>(ow) * oh / ow * ax / ay * sh / sw);
        ResizeRect(s, aspect, IMAGE_RESIZE_LETTERBOX);
    }
    FillRegion(m_SrcParam, sw, sh, s);
    FillRegion(m_DstParam, ow, oh, d);
    if (m_pStreamInfo)
        m_pStreamInfo->videoInfo = *m_pVideoInfo;
}

void VideoProcess::SetCropRect(const tagRECT* crop, IMAGE_RESIZE_METHOD method)
{
    if (!crop)
        return;
    CSingleLock lock(&m_csFrame);
    // A copy: the caller may pass the stage's own stored crop.
    const tagRECT r = *crop;
    SetCropRectLocked(&r, method);
}

void VideoProcess::SetCropRectLocked(const tagRECT* crop, IMAGE_RESIZE_METHOD method)
{
    if (!crop || !m_pSource)
        return;
    const VideoInfo* current = m_pSource->GetVideoInfo();
    if (!current)
        return;
    const int32_t cw = current->nWidth, ch = current->nHeight;
    const VideoInfo& si = SrcInfo();
    const int32_t sw = si.nWidth, sh = si.nHeight;
    const int32_t ax = si.nAspectX, ay = si.nAspectY;

    delete m_pCropRectEx;
    m_pCropRectEx = nullptr;
    if (m_pResizeParam)
        m_pResizeParam->nResizeMethod = method;

    // Even width and height (the right and bottom edges move in), then
    // clamped to the current picture.
    tagRECT r = *crop;
    if ((int64_t(r.right) - r.left) & 1)
        r.right = ClampToInt(int64_t(r.right) - 1);
    if ((int64_t(r.bottom) - r.top) & 1)
        r.bottom = ClampToInt(int64_t(r.bottom) - 1);
    if (r.left < 0)
        r.left = 0;
    if (r.right > cw)
        r.right = cw;
    if (r.top < 0)
        r.top = 0;
    if (r.bottom > ch)
        r.bottom = ch;

    const bool empty = int64_t(r.right) - r.left <= 0 || int64_t(r.bottom) - r.top <= 0;
    const bool whole =
        (crop->left == 0 && crop->top == 0 && r.right - r.left == cw && r.bottom - r.top == ch) || empty;

    tagSIZE cropSize;
    if (whole) {
        const tagRECT all = {0, 0, sw, sh};
        FillRegion(m_SrcParam, sw, sh, all);
        cropSize = tagSIZE{sw, sh};
    } else {
        FillRegion(m_SrcParam, cw, ch, r);
        cropSize = tagSIZE{r.right - r.left, r.bottom - r.top};
        m_pCropRectEx = new tagRECT(r);
    }

    if (!m_pResizeParam && whole) {
        m_pVideoInfo->nAspectX = ax;
        m_pVideoInfo->nAspectY = ay;
    } else {
        m_pVideoInfo->nAspectX = 0;
        m_pVideoInfo->nAspectY = 0;
    }
    m_pVideoInfo->nWidth = cropSize.cx;
    m_pVideoInfo->nHeight = cropSize.cy;

    if (m_pResizeParam && m_pResizeParam->nWidth != 0) {
        m_pVideoInfo->nWidth = m_pResizeParam->nWidth;
        m_pVideoInfo->nHeight = m_pResizeParam->nHeight;
        CalcResizeParam(m_SrcParam, m_DstParam, ax, ay, cw, ch, &r, m_pVideoInfo->nWidth, m_pVideoInfo->nHeight,
                        method);
        if (method == IMAGE_RESIZE_LETTERBOX && m_nRotation.load(std::memory_order_relaxed) != 0 &&
            m_SrcParam.cx > 0 && m_SrcParam.cy > 0) {
            // Refit the destination to the turned picture: its width over
            // its height is the source region's height over its width.
            const double ratio = static_cast<double>(m_SrcParam.cy) / m_SrcParam.cx;
            const int32_t dw = m_DstParam.nWidth, dh = m_DstParam.nHeight;
            if (dh * ratio >= dw) {
                m_DstParam.cx = dw;
                m_DstParam.cy = TruncToInt(dw / ratio);
                m_DstParam.x = 0;
                m_DstParam.y = (dh - m_DstParam.cy) / 2;
            } else {
                m_DstParam.cx = TruncToInt(dh * ratio);
                m_DstParam.cy = dh;
                m_DstParam.x = (dw - m_DstParam.cx) / 2;
                m_DstParam.y = 0;
            }
        }
    } else {
        // The output size follows the crop: the current output frame is
        // retired (kept alive until the next such change, so that the frame
        // last handed out stays valid) and GetFrame makes a new one.
        RetireOutFrame();
        int32_t w = cropSize.cx, h = cropSize.cy;
        if (ax != 0 && ay != 0) {
            if (ax > ay)
                w = SnapWidth(TruncToInt(0.5 + static_cast<double>(ax) / ay * sh * w / sw), sw);
            else
                h = TruncToInt(0.5 + static_cast<double>(ay) / ax * sw * h / sh);
        }
        m_pVideoInfo->nWidth = w;
        m_pVideoInfo->nHeight = h;
        m_DstParam.nWidth = w;
        m_DstParam.nHeight = h;
        m_DstParam.nPitch = w;
        m_DstParam.nBitCount = 8;
        m_DstParam.x = 0;
        m_DstParam.y = 0;
        m_DstParam.cx = w;
        m_DstParam.cy = h;
    }
    if (m_pStreamInfo)
        m_pStreamInfo->videoInfo = *m_pVideoInfo;
}

bool VideoProcess::ExplicitOutputSize(int* width, int* height) const
{
    // An explicit size is in force while a resize request names one.
    if (!m_pResizeParam || m_pResizeParam->nWidth <= 0 || m_pResizeParam->nHeight <= 0)
        return false;
    *width = m_pResizeParam->nWidth;
    *height = m_pResizeParam->nHeight;
    return true;
}

void VideoProcess::GetResizeRegions(IMG_PARAM* pSrc, IMG_PARAM* pDst) const
{
    CSingleLock lock(&m_csFrame);
    if (pSrc)
        *pSrc = m_SrcParam;
    if (pDst)
        *pDst = m_DstParam;
}

int VideoProcess::GetRotation() const { return m_nRotation.load(std::memory_order_relaxed); }
