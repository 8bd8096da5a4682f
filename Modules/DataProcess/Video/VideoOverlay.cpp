// Overlays of VideoProcess: the watermarks drawn into each output frame and
// the sub-pictures handed down to the host decoder.
#include "Utility.h"
#include "VideoMath.h"
#include "VideoProcess.h"
#include "Watermark.h"

using dpvideo::ClampToInt;
using dpvideo::TruncToInt;

int VideoProcess::SetUserSubPic(tagUserSubPic* pSubPic, int nParam)
{
    if (!m_pSource)
        return 0;
    return static_cast<int>(m_pSource->SetExDecodeParam(DP_EXCODE_USER_SUBPIC, reinterpret_cast<uintptr_t>(pSubPic),
                                                         static_cast<uintptr_t>(static_cast<intptr_t>(nParam))));
}

int VideoProcess::SetSubPicEx(tagUserSubPicEx* pSubPic, int nParam)
{
    if (!m_pSource)
        return 0;
    return static_cast<int>(m_pSource->SetExDecodeParam(DP_EXCODE_USER_SUBPIC_EX,
                                                         reinterpret_cast<uintptr_t>(pSubPic),
                                                         static_cast<uintptr_t>(static_cast<intptr_t>(nParam))));
}

void VideoProcess::RenderSubPictures() const
{
    MEDIA_FRAME* out = m_pOutFrame;
    if (!out)
        return;

    // The user watermark first.
    if (m_pUserWatermark && m_pUserWatermarkRect) {
        int width = out->nWidth, height = out->nHeight;
        ExplicitOutputSize(&width, &height);
        // Only the corner comes from the relative placement; the size is
        // that of the scaled picture. Products in single precision,
        // rounding in double.
        tagRECT rc;
        rc.left = TruncToInt(0.5 + m_pUserWatermarkRect->left * static_cast<float>(width));
        rc.top = TruncToInt(0.5 + m_pUserWatermarkRect->top * static_cast<float>(height));
        rc.right = TruncToInt(0.5 + m_pUserWatermarkRect->right * static_cast<float>(width));
        rc.bottom = TruncToInt(0.5 + m_pUserWatermarkRect->bottom * static_cast<float>(height));
        if (m_pUserWatermark->nWidth > 1 && m_pUserWatermark->nHeight != 0) {
            rc.right = ClampToInt(int64_t(rc.left) + m_pUserWatermark->nWidth);
            rc.bottom = ClampToInt(int64_t(rc.top) + m_pUserWatermark->nHeight);
            AddWaterMark(out, m_pUserWatermark, &rc, m_nUserWatermarkPercent, 0, m_bUserWatermarkHasAlpha);
        }
    }

    // The stage watermark over it. It is blended with the user watermark's
    // per-pixel-alpha flag, not a flag of its own: while no user watermark
    // with transparency is loaded, only its constant opacity counts. This
    // coupling is kept deliberately.
    if (m_pWatermark && m_bWatermarkEnabled.load(std::memory_order_relaxed)) {
        if (m_pWatermarkRect) {
            tagRECT rc = *m_pWatermarkRect;
            // Tied to the uncropped picture.
            if (m_pCropRectEx)
                OffsetRect(&rc, -m_pCropRectEx->left, -m_pCropRectEx->top);
            AddWaterMark(out, m_pWatermark, &rc, m_nWatermarkPercent, 0, m_bUserWatermarkHasAlpha);
        } else {
            AddWaterMark(out, m_pWatermark, nullptr, m_nWatermarkPercent, m_nWatermarkAlign,
                         m_bUserWatermarkHasAlpha);
        }
    }
}
