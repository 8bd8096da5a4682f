#include "VideoProcess.h"

#include <cmath>
#include <cstring>

#include "Frame.h"
#include "ImageAdjust.h"
#include "ImageDeinterlace.h"
#include "ImageFilter.h"
#include "ImageFlip.h"
#include "ImageRotate.h"
#include "ImageResize.h"
#include "ResizeGeometry.h"
#include "Utility.h"
#include "VideoEvenProcess.h"
#include "VideoMath.h"

using dpvideo::TruncToInt;

namespace {

constexpr std::memory_order kRelaxed = std::memory_order_relaxed;

bool IsDeinterlaceStyle(int32_t style) { return style >= 1 && style <= 4; }

// Fills `rows` rows of a plane, `width` bytes each, with `value`.
void FillPlane(unsigned char* plane, int pitch, int width, int rows, unsigned char value)
{
    if (!plane || width <= 0 || rows <= 0)
        return;
    if (pitch == width) {
        std::memset(plane, value, static_cast<size_t>(width) * static_cast<size_t>(rows));
        return;
    }
    for (int r = 0; r < rows; ++r)
        std::memset(plane + static_cast<ptrdiff_t>(r) * pitch, value, static_cast<size_t>(width));
}

// A cleared work frame of width x height in `slot` (black, as a new frame
// is): the frame already there when its size matches, else a new one. The
// turn's work frames live from frame to frame this way instead of being
// made and released for every picture.
MEDIA_FRAME* FreshFrame(MEDIA_FRAME*& slot, int width, int height)
{
    if (slot && (slot->nWidth != width || slot->nHeight != height)) {
        ReleaseYV12Frame(slot);
        slot = nullptr;
    }
    if (!slot)
        return slot = CreateYV12Frame(width, height, 0, 1);
    FillPlane(slot->pY, slot->nPitchY, width, height, 16);
    FillPlane(slot->pV, slot->nPitchV, (width + 1) / 2, (height + 1) / 2, 128);
    FillPlane(slot->pU, slot->nPitchU, (width + 1) / 2, (height + 1) / 2, 128);
    return slot;
}

// True when `inner` (a frame of the given size and pitches) can be read as a
// picture of width x height: guards the plain copies against host frames
// smaller than their description.
bool FrameCovers(const MEDIA_FRAME* f, int width, int height)
{
    return f && f->pY && f->pU && f->pV && f->nWidth >= width && f->nHeight >= height && f->nPitchY >= width &&
           f->nPitchU >= (width + 1) / 2 && f->nPitchV >= (width + 1) / 2;
}

// True when the region of `p` lies inside a frame of the given size.
bool RegionInside(const IMG_PARAM& p, int width, int height)
{
    return p.x >= 0 && p.y >= 0 && p.cx >= 0 && p.cy >= 0 && int64_t(p.x) + p.cx <= width &&
           int64_t(p.y) + p.cy <= height;
}

} // namespace

// ---------------------------------------------------------------------------
// Construction

VideoProcess::VideoProcess(VideoDecoder* decoder, const RESIZE_PARAM* resize, double frameRate)
    : m_pOrgDecoder(decoder), m_pSource(decoder), m_pVideoInfo(nullptr), m_pSrcInfo(nullptr),
      m_pStreamInfo(nullptr), m_nBrightness(0), m_nContrast(0), m_nSaturation(0), m_nReserved1(0),
      m_nReserved2(0), m_pWatermark(nullptr), m_bWatermarkEnabled(1), m_nFilterFlag(0), m_nFlipFlag(0),
      m_nRotation(0), m_nRotateParam(0), m_pWatermarkRect(nullptr), m_nWatermarkPercent(100),
      m_nWatermarkAlign(0), m_pUserWatermark(nullptr), m_nUserWatermarkPercent(100),
      m_pUserWatermarkRect(nullptr), m_bUserWatermarkHasAlpha(0), m_pOutFrame(nullptr), m_pDeintFrame(nullptr),
      m_pWorkFrame(nullptr), m_pCropRectEx(nullptr), m_pResizeParam(nullptr), m_SrcParam(), m_DstParam(),
      m_Frame(), m_nDeinterlace(0), m_pRetiredFrame(nullptr)
{
    std::memset(&m_Frame, 0, sizeof(m_Frame));

    m_pVideoInfo = new VideoInfo;
    std::memset(m_pVideoInfo, 0, sizeof(VideoInfo));
    m_pSrcInfo = decoder ? decoder->GetVideoInfo() : nullptr;
    if (m_pSrcInfo)
        std::memcpy(m_pVideoInfo, m_pSrcInfo, sizeof(VideoInfo));

    if (resize)
        m_pResizeParam = new RESIZE_PARAM(*resize);
    AdjustResizeParam(m_pResizeParam);

    m_pStreamInfo = new VideoStreamInfo;
    const VideoStreamInfo* stream = decoder ? decoder->GetVideoStreamInfo() : nullptr;
    if (stream)
        std::memcpy(m_pStreamInfo, stream, sizeof(VideoStreamInfo));
    else
        std::memset(m_pStreamInfo, 0, sizeof(VideoStreamInfo));

    if (FloatCompare(frameRate, 0.0, DefaultPrecision) == 0)
        frameRate = m_pStreamInfo->videoInfo.dFrameRate;
    if (decoder && frameRate > 0.0) {
        m_pSource = new VideoEvenProcess(decoder, frameRate);
        // Frame count at the new rate, halves rounded away from zero.
        const double seconds = m_pVideoInfo->nFrameCount / m_pVideoInfo->dFrameRate;
        const double frames = seconds * frameRate + (seconds > 0 ? 0.5 : -0.5);
        if (std::isfinite(frames)) // a source without a rate keeps its count
            m_pVideoInfo->nFrameCount = TruncToInt(frames);
        m_pVideoInfo->dFrameRate = frameRate;
    }
    m_pStreamInfo->videoInfo = *m_pVideoInfo;
}

VideoProcess::~VideoProcess()
{
    ReleaseYV12Frame(m_pTurnSource);
    ReleaseYV12Frame(m_pTurnFrame);
    ReleaseYV12Frame(m_pOutFrame);
    ReleaseYV12Frame(m_pDeintFrame);
    ReleaseYV12Frame(m_pWorkFrame);
    ReleaseYV12Frame(m_pWatermark);
    delete m_pWatermarkRect;
    ReleaseYV12Frame(m_pUserWatermark);
    delete m_pUserWatermarkRect;
    delete m_pResizeParam;
    delete m_pCropRectEx;
    delete m_pVideoInfo;
    delete m_pStreamInfo;
    ReleaseYV12Frame(m_pRetiredFrame);
    if (m_pSource != m_pOrgDecoder)
        delete m_pSource;
}

// ---------------------------------------------------------------------------
// The decoder interface

int VideoProcess::Close() { return m_pSource ? m_pSource->Close() : 0; }

int VideoProcess::Open(const wchar_t*, const DecParam*, int*) { return 1; }

intptr_t VideoProcess::SetExDecodeParam(unsigned int code, uintptr_t param1, uintptr_t param2)
{
    if (!m_pSource)
        return 0;
    // Lets a host reach its decoder under a stack of stages.
    if (code == DP_EXCODE_ORIGINAL_DECODER)
        return reinterpret_cast<intptr_t>(m_pOrgDecoder);
    return m_pSource->SetExDecodeParam(code, param1, param2);
}

const VideoInfo* VideoProcess::GetVideoInfo() const { return m_pVideoInfo; }

const VideoStreamInfo* VideoProcess::GetVideoStreamInfo() const { return m_pStreamInfo; }

double VideoProcess::VideoSeekTime(double seconds, unsigned int flags)
{
    return m_pSource ? m_pSource->VideoSeekTime(seconds, flags) : 0.0;
}

int VideoProcess::VideoSeek(int frame, unsigned int flags)
{
    return m_pSource ? m_pSource->VideoSeek(frame, flags) : 0;
}

int VideoProcess::GetFrameOffset() const { return m_pSource ? m_pSource->GetFrameOffset() : 0; }

int VideoProcess::Forward(int count) { return m_pSource ? m_pSource->Forward(count) : 0; }

// ---------------------------------------------------------------------------
// Settings

void VideoProcess::SetBrightness(int nBrightness) { m_nBrightness.store(nBrightness, kRelaxed); }

void VideoProcess::SetContrast(int nContrast) { m_nContrast.store(nContrast, kRelaxed); }

void VideoProcess::SetSaturation(int nSaturation) { m_nSaturation.store(nSaturation, kRelaxed); }

void VideoProcess::SetExFilterFlag(unsigned int nFlag) { m_nFilterFlag.store(nFlag, kRelaxed); }

void VideoProcess::SetFlipFlag(unsigned int nFlag) { m_nFlipFlag.store(nFlag, kRelaxed); }

void VideoProcess::SetDeintelace(DEINTERLACE_STYLE nStyle) { m_nDeinterlace.store(nStyle, kRelaxed); }

void VideoProcess::SetRotation(int angle, int param, int)
{
    // A half turn is deliberately not performed: 180 leaves the picture
    // upright, as does any angle that is not a quarter turn.
    int32_t rotation = 0;
    if (angle % 90 == 0 && angle % 180 != 0)
        rotation = static_cast<int32_t>((int64_t(angle) + 3600) % 360);
    m_nRotation.store(rotation, kRelaxed);
    m_nRotateParam.store(param, kRelaxed);

    VideoModifyRequest request;
    {
        CSingleLock lock(&m_csFrame);
        request.nHeight = m_DstParam.nHeight;
        request.nWidth = m_DstParam.nWidth;
    }
    request.dFrameRate = 0.0;
    // Through the virtual slot, so that a derived stage sees the request.
    ModifyInfo(0, reinterpret_cast<uintptr_t>(&request));
}

int VideoProcess::ModifyInfo(unsigned int, uintptr_t info)
{
    const VideoModifyRequest* request = reinterpret_cast<const VideoModifyRequest*>(info);
    if (!request)
        return 1;
    const int32_t height = request->nHeight;
    const int32_t width = request->nWidth;
    const double rate = request->dFrameRate;

    CSingleLock lock(&m_csFrame);
    if (rate > 1.0)
        m_pVideoInfo->dFrameRate = rate;
    if (!m_pResizeParam) {
        m_pResizeParam = new RESIZE_PARAM;
        m_pResizeParam->nInterpolation = IMAGE_INTERPOLATION_DEFAULT;
        m_pResizeParam->nResizeMethod = IMAGE_RESIZE_LETTERBOX;
    }
    m_pResizeParam->nWidth = width;
    m_pResizeParam->nHeight = height;
    m_pVideoInfo->nWidth = width;
    m_pVideoInfo->nHeight = height;

    const IMAGE_RESIZE_METHOD method = m_pResizeParam->nResizeMethod;
    if (m_pCropRectEx) {
        AdjustResizeParamLocked(m_pResizeParam);
        // A copy: the stored crop is replaced while it is being applied.
        const tagRECT crop = *m_pCropRectEx;
        SetCropRectLocked(&crop, method);
    } else {
        const tagRECT whole = {0, 0, m_pSrcInfo ? m_pSrcInfo->nWidth : 0, m_pSrcInfo ? m_pSrcInfo->nHeight : 0};
        SetCropRectLocked(&whole, method);
    }
    m_pStreamInfo->videoInfo = *m_pVideoInfo;
    return 1;
}

int VideoProcess::Interpolation() const
{
    return m_pResizeParam ? m_pResizeParam->nInterpolation : IMAGE_INTERPOLATION_BILINEAR;
}

// ---------------------------------------------------------------------------
// Frame production

void VideoProcess::PrepareMemImage(int width, int height)
{
    CSingleLock lock(&m_csFrame);
    NewOutFrame(width, height);
}

void VideoProcess::NewOutFrame(int width, int height) const
{
    ReleaseYV12Frame(m_pOutFrame);
    m_pOutFrame = nullptr;
    m_pOutFrame = CreateYV12Frame(width, height, 0, 1);
}

void VideoProcess::RetireOutFrame() const
{
    if (!m_pOutFrame)
        return;
    // The previous retired frame was handed out before the last GetFrame
    // (which would have released it) or never: it can go.
    ReleaseYV12Frame(m_pRetiredFrame);
    m_pRetiredFrame = m_pOutFrame;
    m_pOutFrame = nullptr;
}

const MEDIA_FRAME* VideoProcess::GetFrame() const
{
    CSingleLock frameLock(&m_csFrame);
    CSingleLock imageLock(&m_csImage);

    // The host is done with the frame it had before this call: a frame
    // retired by a geometry change since then can go now.
    ReleaseYV12Frame(m_pRetiredFrame);
    m_pRetiredFrame = nullptr;

    if (!m_pSource)
        return nullptr;
    const MEDIA_FRAME* src = m_pSource->GetFrame();
    if (!src)
        return nullptr;
    const VideoInfo* srcInfo = m_pSource->GetVideoInfo();
    const int srcWidth = srcInfo ? srcInfo->nWidth : src->nWidth;
    const int srcHeight = srcInfo ? srcInfo->nHeight : src->nHeight;

    // One consistent snapshot of the settings for this frame.
    const int32_t rotation = m_nRotation.load(kRelaxed);
    const int32_t brightness = m_nBrightness.load(kRelaxed);
    const int32_t contrast = m_nContrast.load(kRelaxed);
    const int32_t saturation = m_nSaturation.load(kRelaxed);
    const uint32_t filters = m_nFilterFlag.load(kRelaxed);
    const uint32_t flips = m_nFlipFlag.load(kRelaxed);
    const int32_t deinterlace = m_nDeinterlace.load(kRelaxed);

    const bool rotate = rotation % 360 != 0;
    bool reshape = false;
    if (m_pResizeParam) {
        const IMAGE_RESIZE_METHOD method = m_pResizeParam->nResizeMethod;
        const bool keepsSize = m_pVideoInfo->nWidth == srcWidth && m_pVideoInfo->nHeight == srcHeight &&
                               m_DstParam.cx == srcWidth && m_DstParam.cy == srcHeight &&
                               (method == IMAGE_RESIZE_STRETCH || method == IMAGE_RESIZE_LETTERBOX ||
                                method == IMAGE_RESIZE_LETTERBOX_PLAIN);
        reshape = !keepsSize;
    }
    if (rotate)
        reshape = true;

    if (!m_pOutFrame) {
        // Pass-through: nothing configured and no output frame made yet.
        if (!m_pCropRectEx && !reshape && brightness == 0 && contrast == 0 && saturation == 0 && !m_pWatermark &&
            filters == 0 && flips == 0 && !m_pUserWatermark && deinterlace == 0 && !rotate)
            return src;
        NewOutFrame(m_pVideoInfo->nWidth, m_pVideoInfo->nHeight);
    } else if (m_pOutFrame->nWidth != m_pVideoInfo->nWidth || m_pOutFrame->nHeight != m_pVideoInfo->nHeight) {
        // The output size was changed (ModifyInfo) under an existing frame:
        // draw into a frame of the size the geometry was computed for rather
        // than past the end of the old one.
        NewOutFrame(m_pVideoInfo->nWidth, m_pVideoInfo->nHeight);
    }
    MEDIA_FRAME* out = m_pOutFrame;
    if (!out)
        return nullptr;

    out->llStartTime = src->llStartTime;
    out->llStopTime = src->llStopTime;
    out->nDuration = src->nDuration;

    const int outWidth = out->nWidth;
    const int outHeight = out->nHeight;
    const bool sameSize = srcWidth == outWidth && srcHeight == outHeight && !reshape && !m_pCropRectEx;
    // The plain copy below rewrites every byte the clear would set (the
    // source rows are at least as long as the output's), so the clear is
    // left out there: the same bytes, each written once.
    const bool copies = sameSize && FrameCovers(src, outWidth, outHeight);
    if (!copies) {
        FillPlane(out->pY, out->nPitchY, outWidth, outHeight, 16);
        FillPlane(out->pV, out->nPitchV, (outWidth + 1) / 2, (outHeight + 1) / 2, 128);
        FillPlane(out->pU, out->nPitchU, (outWidth + 1) / 2, (outHeight + 1) / 2, 128);
    }

    if (sameSize) {
        if (copies) {
            CopyVideoFrame(out, src, 1);
            if (IsDeinterlaceStyle(deinterlace))
                DeinterlaceImage(out, static_cast<DEINTERLACE_STYLE>(deinterlace));
        }
    } else if (m_pCropRectEx) {
        MakeCropImageEx();
    } else {
        MakeResizeImage();
    }

    AdjustImage(out, brightness, contrast, saturation);

    // Negative (bit 4) runs before black-white (bit 8), as the order has it.
    if (filters & 1)
        FilterGray(out);
    if (filters & 2)
        FilterEmboss(out);
    if (filters & 4)
        FilterNegative(out);
    if (filters & 8)
        FilterBlackWhite(out);
    if (filters & 16)
        FilterWhiteBlack(out);
    if (filters & 32)
        FilterOldPhoto(out);

    if (flips & 1)
        FlipImageHorz(out);
    if (flips & 2)
        FlipImageVert(out);

    RenderSubPictures();
    return m_pOutFrame;
}

void VideoProcess::MakeResizeImage() const { ScaleIntoOutFrame(false); }

void VideoProcess::MakeCropImageEx() const
{
    if (!m_pCropRectEx)
        return;
    ScaleIntoOutFrame(true);
}

// The common body of MakeResizeImage and MakeCropImageEx. The crop variant
// keeps the source rectangle fixed when the crop was set, draws no letterbox
// bars and makes its deinterlace frame only once.
void VideoProcess::ScaleIntoOutFrame(bool cropPath) const
{
    MEDIA_FRAME* out = m_pOutFrame;
    if (!out || !m_pSource)
        return;
    const MEDIA_FRAME* src = m_pSource->GetFrame();
    if (!src)
        return;

    m_SrcParam.pBits = src->pY;
    if (!cropPath) {
        m_SrcParam.nWidth = src->nWidth;
        m_SrcParam.nHeight = src->nHeight;
    }
    m_DstParam.pBits = out->pY;

    // Defined answers where the recorded geometry no longer matches the
    // frames (a host frame smaller than its description, an output frame of
    // another size): draw nothing rather than read or write outside them.
    if (m_SrcParam.nWidth > src->nWidth || m_SrcParam.nHeight > src->nHeight ||
        !RegionInside(m_DstParam, out->nWidth, out->nHeight))
        return;

    if (!cropPath && m_DstParam.y > 0) {
        // Letterbox bars above and below the picture.
        const int bar = m_DstParam.y < out->nHeight ? m_DstParam.y : out->nHeight;
        const int width = m_DstParam.nWidth < out->nPitchY ? m_DstParam.nWidth : out->nPitchY;
        FillPlane(out->pY, out->nPitchY, width, bar, 16);
        FillPlane(out->pY + static_cast<ptrdiff_t>(out->nHeight - bar) * out->nPitchY, out->nPitchY, width, bar, 16);
    }

    const IMAGE_INTERPOLATION interpolation = static_cast<IMAGE_INTERPOLATION>(Interpolation());
    const int32_t rotation = m_nRotation.load(kRelaxed);
    const int32_t deinterlace = m_nDeinterlace.load(kRelaxed);
    const bool deint = IsDeinterlaceStyle(deinterlace);

    if (rotation % 360 != 0) {
        if (deint && m_pDeintFrame &&
            (m_pDeintFrame->nWidth != src->nWidth || m_pDeintFrame->nHeight != src->nHeight)) {
            ReleaseYV12Frame(m_pDeintFrame);
            m_pDeintFrame = nullptr;
        }
        MEDIA_FRAME* turned = CreateRotateFrame(m_SrcParam, src, m_SrcParam.cy, m_SrcParam.cx);
        IMG_PARAM param;
        GetRotateFrameParam(m_SrcParam, param, turned, m_SrcParam.cy, m_SrcParam.cx);
        if (deint && turned)
            DeinterlaceImage(turned, static_cast<DEINTERLACE_STYLE>(deinterlace));
        ImageResizeYUV(param, turned, m_DstParam, out, interpolation, rotation);
        return;
    }
    if (!deint) {
        ImageResizeYUV(m_SrcParam, src, m_DstParam, out, interpolation, rotation);
        return;
    }
    if (cropPath) {
        if (!m_pDeintFrame)
            m_pDeintFrame = CreateYV12Frame(src->nWidth, src->nHeight, 0, 0);
    } else if (!m_pDeintFrame || m_pDeintFrame->nWidth != src->nWidth || m_pDeintFrame->nHeight != src->nHeight) {
        ReleaseYV12Frame(m_pDeintFrame);
        m_pDeintFrame = nullptr;
        m_pDeintFrame = CreateYV12Frame(src->nWidth, src->nHeight, 0, 0);
    }
    // A work frame kept from a larger earlier source cannot be filled from
    // this one: nothing is drawn.
    if (!m_pDeintFrame || !FrameCovers(src, m_pDeintFrame->nWidth, m_pDeintFrame->nHeight))
        return;
    CopyVideoFrame(m_pDeintFrame, src, 1);
    DeinterlaceImage(m_pDeintFrame, static_cast<DEINTERLACE_STYLE>(deinterlace));
    ImageResizeYUV(m_SrcParam, m_pDeintFrame, m_DstParam, out, interpolation, rotation);
}

MEDIA_FRAME* VideoProcess::CreateRotateFrame(const IMG_PARAM& src, const MEDIA_FRAME* frame, int cy, int cx) const
{
    if (!m_pOutFrame || !frame)
        return nullptr;
    MEDIA_FRAME* tmp = FreshFrame(m_pTurnSource, cx, cy);
    MEDIA_FRAME* rot = FreshFrame(m_pTurnFrame, cy, cx);
    if (!tmp || !rot)
        return nullptr;
    const IMAGE_INTERPOLATION interpolation = static_cast<IMAGE_INTERPOLATION>(Interpolation());
    const int32_t rotation = m_nRotation.load(kRelaxed);

    IMG_PARAM from = src;
    from.nPitch = frame->nPitchY;
    IMG_PARAM whole = {tmp->pY, cx, cy, cx, 8, 0, 0, cx, cy};
    ImageDragYUV(from, frame, whole, tmp, interpolation, rotation);

    IMG_PARAM turned = {rot->pY, cy, cx, cy, 8, 0, 0, cy, cx};
    ImageRotateYUV(whole, tmp, turned, rot, interpolation, rotation);
    return rot;
}

void VideoProcess::GetRotateFrameParam(const IMG_PARAM&, IMG_PARAM& out, const MEDIA_FRAME* frame, int cy,
                                       int cx) const
{
    out.pBits = frame ? frame->pY : nullptr;
    out.nWidth = cy;
    out.nHeight = cx;
    out.nPitch = cy;
    out.nBitCount = 8;
    out.x = 0;
    out.y = 0;
    out.cx = cy;
    out.cy = cx;
}
