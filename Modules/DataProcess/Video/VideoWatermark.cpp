// Loading the two watermarks of VideoProcess: the stage watermark
// (SetWatermarkImage, SetWatermarkImageAlign) and the user watermark
// (SetUserWatermarkImage). Each bitmap is converted once into a private YV12
// frame with alpha, scaled to the size at which it will be drawn.
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <vector>

#include "Frame.h"
#include "ImageConvert.h"
#include "ImageResize.h"
#include "VideoMath.h"
#include "VideoProcess.h"

using dpvideo::ClampToInt;
using dpvideo::TruncToInt;

namespace {

constexpr size_t kHeaderSize = sizeof(tagBITMAPINFOHEADER); // 40 bytes

void PrintNoHeader()
{
    std::puts("Watermark format error. lpbi = 0\r");
    std::fflush(stdout);
}

void PrintBadBitCount(int bitCount)
{
    std::printf("Watermark format error BitCount = %d.\r\n", bitCount);
    std::fflush(stdout);
}

// The planes of a watermark bitmap in the library's 20-bit "YV12" layout:
// Y (w x h, pitch w), V and U (c = ((w + 1) / 2) * ((h + 1) / 2) each,
// pitch (w + 1) / 2), alpha (w x h). A 32-bit bitmap is converted into a
// block of that layout (40-byte header, then the planes), owned here.
class WatermarkPlanes {
public:
    // Prints the format message and returns false for a bit count other
    // than 32 or 20; returns false silently for a picture of no pixels.
    bool Load(tagBITMAPINFO* lpbi, unsigned char* pBits)
    {
        const tagBITMAPINFOHEADER& hdr = lpbi->bmiHeader;
        if (hdr.biBitCount != 32 && hdr.biBitCount != 20) {
            PrintBadBitCount(hdr.biBitCount);
            return false;
        }
        unsigned char* data = pBits ? pBits : reinterpret_cast<unsigned char*>(lpbi) + kHeaderSize;
        m_w = hdr.biWidth;
        // A 32-bit bitmap may be stored top-down (negative height).
        m_h = hdr.biHeight;
        const bool topDown = hdr.biBitCount == 32 && m_h < 0;
        if (topDown)
            m_h = -static_cast<int64_t>(m_h) > INT32_MAX ? 0 : -m_h;
        // A picture without pixels has no scale (the sizes below divide by
        // the width): there is nothing to load.
        if (m_w <= 0 || m_h <= 0)
            return false;

        const size_t w = static_cast<size_t>(m_w), h = static_cast<size_t>(m_h);
        const size_t luma = w * h;
        const size_t chroma = ((w + 1) / 2) * ((h + 1) / 2);
        if (hdr.biBitCount == 20) {
            SetPlanes(data, luma, chroma);
            return true;
        }

        // biSizeImage = 2 * (w * h + c); the block is w * h + biSizeImage +
        // 128 bytes with the header in front of the planes.
        const size_t sizeImage = 2 * (luma + chroma);
        m_block.assign(luma + sizeImage + 128, 0);
        tagBITMAPINFOHEADER* out = reinterpret_cast<tagBITMAPINFOHEADER*>(m_block.data());
        out->biSize = static_cast<uint32_t>(kHeaderSize);
        out->biWidth = m_w;
        out->biHeight = m_h;
        out->biPlanes = 1;
        out->biBitCount = 20;
        out->biCompression = DP_FOURCC_YV12;
        out->biSizeImage = static_cast<uint32_t>(sizeImage);
        SetPlanes(m_block.data() + kHeaderSize, luma, chroma);

        // The converter reads bottom-up rows; a top-down picture is turned
        // into that order first.
        tagBITMAPINFOHEADER src = hdr;
        src.biHeight = m_h;
        std::vector<unsigned char> flipped;
        if (topDown) {
            const size_t row = w * 4;
            flipped.resize(row * h);
            for (size_t r = 0; r < h; ++r)
                std::memcpy(flipped.data() + (h - 1 - r) * row, data + r * row, row);
            data = flipped.data();
        }
        const int pitchC = (m_w + 1) / 2;
        Rgb32_2_yuv420A(m_y, m_u, m_v, m_a, m_w, pitchC, pitchC, &src, data);
        return true;
    }

    int Width() const { return m_w; }
    int Height() const { return m_h; }

    // Scales the four planes bilinearly into `frame` (made with alpha).
    void ScaleInto(MEDIA_FRAME* frame) const
    {
        const int dw = frame->nWidth, dh = frame->nHeight;
        const int srcPitchC = (m_w + 1) / 2, dstPitchC = (dw + 1) / 2;
        ResizeY(frame->pY, dw, dh, dw, m_y, m_w, m_h, m_w, IMAGE_INTERPOLATION_BILINEAR);
        ResizeY(frame->pAlpha, dw, dh, dw, m_a, m_w, m_h, m_w, IMAGE_INTERPOLATION_BILINEAR);
        // The chroma scaler needs a target of at least 2 x 2; a thinner
        // watermark keeps neutral chroma.
        if (dw < 2 || dh < 2)
            return;
        ResizeUV(frame->pU, dw, dh, dstPitchC, m_u, m_w, m_h, srcPitchC, IMAGE_INTERPOLATION_BILINEAR);
        ResizeUV(frame->pV, dw, dh, dstPitchC, m_v, m_w, m_h, srcPitchC, IMAGE_INTERPOLATION_BILINEAR);
    }

private:
    void SetPlanes(unsigned char* base, size_t luma, size_t chroma)
    {
        m_y = base;
        m_v = base + luma;
        m_u = m_v + chroma;
        m_a = m_u + chroma;
    }

    int32_t m_w = 0, m_h = 0;
    unsigned char *m_y = nullptr, *m_u = nullptr, *m_v = nullptr, *m_a = nullptr;
    std::vector<unsigned char> m_block; // conversion buffer of a 32-bit bitmap
};

// A new cleared YV12 frame with alpha holding the scaled watermark, or null
// for a size that makes no frame. A rectangle far outside the picture can
// ask for any size: beyond 65536 a side or 2^28 pixels (far more than any
// output frame) there is no watermark rather than an allocation of that size.
MEDIA_FRAME* MakeWatermarkFrame(const WatermarkPlanes& planes, int dw, int dh)
{
    if (dw > 65536 || dh > 65536 || int64_t(dw) * dh > (int64_t(1) << 28))
        return nullptr;
    MEDIA_FRAME* frame = CreateYV12Frame(dw, dh, 1, 1);
    if (frame && dw > 0 && dh > 0)
        planes.ScaleInto(frame);
    return frame;
}

} // namespace

void VideoProcess::SetWatermarkImage(tagBITMAPINFO* lpbi, unsigned char* pBits, tagRECT* pRect, int nPercent)
{
    if (pRect) {
        // The bottom edge is not shown: the message has four fields, the
        // first of them the opacity (kept as it is).
        std::printf("\t\t (%d, %d, %d, %d)\r\n", nPercent, pRect->left, pRect->top, pRect->right);
        std::fflush(stdout);
    }
    LoadStageWatermark(lpbi, pBits, pRect, nPercent);
}

void VideoProcess::SetWatermarkImageAlign(tagBITMAPINFO* lpbi, unsigned char* pBits, int nAlign, int nPercent)
{
    LoadStageWatermark(lpbi, pBits, nullptr, nPercent, &nAlign);
}

// The stage watermark is built outside the locks and swapped in under the
// overlay lock, so a host may set it while another thread reads frames
// (GetFrame draws it under the same lock). The output size is read under
// the frame lock first, never with both held, as for the user watermark.
void VideoProcess::LoadStageWatermark(tagBITMAPINFO* lpbi, unsigned char* pBits, tagRECT* pRect, int nPercent,
                                      const int* pAlign)
{
    int outWidth, outHeight;
    {
        CSingleLock frame(&m_csFrame);
        const VideoInfo* info = GetVideoInfo();
        outWidth = info->nWidth;
        outHeight = info->nHeight;
    }
    MEDIA_FRAME* made = nullptr;
    tagRECT* rect = nullptr;
    WatermarkPlanes planes;
    if (!lpbi) {
        PrintNoHeader();
    } else if (planes.Load(lpbi, pBits)) {
        int dw = ClampToInt(int64_t(outWidth) * 4 / 5);
        int dh = ClampToInt(int64_t(dw) * planes.Height() / planes.Width());
        if (dh > outHeight)
            dh = outHeight; // the width is not reduced again
        if (pRect) {
            rect = new tagRECT(*pRect);
            dw = pRect->right - pRect->left;
            dh = pRect->bottom - pRect->top;
        }
        made = MakeWatermarkFrame(planes, dw, dh);
    }
    CSingleLock lock(&m_csImage);
    if (pAlign)
        m_nWatermarkAlign = *pAlign;
    ReleaseYV12Frame(m_pWatermark);
    m_pWatermark = made;
    delete m_pWatermarkRect;
    m_pWatermarkRect = rect;
    m_nWatermarkPercent = nPercent;
}

void VideoProcess::SetUserWatermarkImage(tagBITMAPINFO* lpbi, unsigned char* pBits, tagFRECT* pRect, int nPercent)
{
    // The output size is read under the frame lock (ModifyInfo changes it
    // there), before the overlay lock is taken: never both at once here, so
    // the frame-then-overlay order of GetFrame cannot deadlock with this.
    int outWidth, outHeight;
    {
        CSingleLock frame(&m_csFrame);
        const VideoInfo* info = GetVideoInfo();
        outWidth = info->nWidth;
        outHeight = info->nHeight;
    }
    CSingleLock lock(&m_csImage);

    if (!lpbi && !pBits) {
        ReleaseYV12Frame(m_pUserWatermark);
        m_pUserWatermark = nullptr;
        delete m_pUserWatermarkRect;
        m_pUserWatermarkRect = nullptr;
        return;
    }
    if (!lpbi) {
        PrintNoHeader(); // nothing changes
        return;
    }
    // Move only: the all-ones pointer value keeps the scaled picture and
    // replaces its placement. Without a rectangle there is nothing to move.
    const uintptr_t allOnes = ~uintptr_t(0);
    if (reinterpret_cast<uintptr_t>(lpbi) == allOnes || reinterpret_cast<uintptr_t>(pBits) == allOnes) {
        if (!pRect)
            return;
        if (!m_pUserWatermarkRect)
            m_pUserWatermarkRect = new tagFRECT;
        *m_pUserWatermarkRect = *pRect;
        m_nUserWatermarkPercent = nPercent;
        return;
    }

    ReleaseYV12Frame(m_pUserWatermark);
    m_pUserWatermark = nullptr;
    delete m_pUserWatermarkRect;
    m_pUserWatermarkRect = nullptr;
    m_nUserWatermarkPercent = nPercent;

    WatermarkPlanes planes;
    if (!planes.Load(lpbi, pBits))
        return;

    int dw = outWidth;
    int dh = outHeight;
    if (pRect) {
        m_pUserWatermarkRect = new tagFRECT(*pRect);
        // Products in single precision, rounding in double.
        const float fw = (pRect->right - pRect->left) * static_cast<float>(outWidth);
        const float fh = (pRect->bottom - pRect->top) * static_cast<float>(outHeight);
        dw = TruncToInt(static_cast<double>(fw) + 0.5);
        dh = TruncToInt(static_cast<double>(fh) + 0.5);
        if (dw < 2 || dh < 2) {
            delete m_pUserWatermarkRect;
            m_pUserWatermarkRect = nullptr;
            return;
        }
    }
    m_pUserWatermark = MakeWatermarkFrame(planes, dw, dh);

    m_bUserWatermarkHasAlpha = 0;
    if (m_pUserWatermark && m_pUserWatermark->pAlpha) {
        const size_t count = static_cast<size_t>(m_pUserWatermark->nWidth) * m_pUserWatermark->nHeight;
        for (size_t i = 0; i < count; ++i) {
            if (m_pUserWatermark->pAlpha[i] < 255) {
                m_bUserWatermarkHasAlpha = 1;
                break;
            }
        }
    }
}

void VideoProcess::SetWatermarkSrcID(void*, const wchar_t*, tagRECT*, int) {}

void VideoProcess::SetWatermarkSrcIDAlign(void*, const wchar_t*, int, int) {}

void VideoProcess::DisableWatermark(unsigned int bDisable)
{
    m_bWatermarkEnabled.store(bDisable == 0, std::memory_order_relaxed);
}
