// VideoProcess: the video processing stage.
//
// Wraps a host VideoDecoder and turns its pictures into the pictures the host
// asked for: crop, scale with letterbox bars (or fit, stretch, crop-fill),
// quarter-turn rotation, deinterlacing, brightness/contrast/saturation,
// picture filters, mirror flips and watermarks, always in that order, into
// one output frame that the stage owns. It is itself a VideoDecoder, so a
// host uses it wherever it used its decoder. Built with a known frame rate
// (the caller's, or the stream's when 0 is passed) it puts a constant-rate
// stage (VideoEvenProcess) between itself and the decoder.
//
// Ownership: the decoder handed to the constructor stays the host's; it must
// be open and outlive the stage. The frame returned by GetFrame is valid
// until the next GetFrame (or, for the source's own frame passed through
// untouched, until the next Forward or seek).
//
// Threads: one thread may read frames while another calls the setters.
// GetFrame, SetCropRect, SetRotation, ModifyInfo and CaptureImage take the
// frame lock; GetFrame and the three watermark setters (SetWatermarkImage,
// SetWatermarkImageAlign, SetUserWatermarkImage) the overlay lock (always
// frame lock first; the setters never hold both). The picture settings are
// atomic stores that land with the next frame. Every setter may therefore
// run while another thread reads frames.
#ifndef DATAPROCESS_VIDEOPROCESS_H
#define DATAPROCESS_VIDEOPROCESS_H

#include <stdint.h>
#include <wchar.h>

#include <atomic>

#include "DataProcessExport.h"
#include "Decoder.h"
#include "ImageTypes.h"
#include "Lock.h"
#include "MediaTypes.h"
#include "ResizeTypes.h"
#include "WinTypes.h"

// Members of an exported class that stay out of the shared library's
// symbol table.
#if defined(__GNUC__) || defined(__clang__)
#  define DP_VIDEO_INTERNAL __attribute__((visibility("hidden")))
#else
#  define DP_VIDEO_INTERNAL
#endif

class DP_API VideoProcess : public VideoDecoder {
public:
    // resize may be null (no scaling request); frameRate 0 means the
    // stream's own rate, a positive rate inserts a constant-rate stage.
    VideoProcess(VideoDecoder* decoder, const RESIZE_PARAM* resize, double frameRate);
    // Releases what the stage made (frames, records, an inserted constant-
    // rate stage); the decoder handed to the constructor is left alone.
    ~VideoProcess() override;

    // Forwarded to the source.
    int Close() override;
    // Returns 1 and does nothing: the host opens its decoder itself.
    int Open(const wchar_t* path, const DecParam* param, int* error) override;
    // 0 without a source. Code 1002 returns the decoder handed to the
    // constructor (as an integer); other codes go down to the source.
    intptr_t SetExDecodeParam(unsigned int code, uintptr_t param1, uintptr_t param2) override;
    // The stage's output description (40 bytes; size, rate, aspect).
    const VideoInfo* GetVideoInfo() const override;
    // A copy of the decoder's stream block with the output description at
    // byte 796.
    const VideoStreamInfo* GetVideoStreamInfo() const override;
    // Forwarded to the source unchanged.
    double VideoSeekTime(double seconds, unsigned int flags) override;
    int VideoSeek(int frame, unsigned int flags) override;
    int GetFrameOffset() const override;
    int Forward(int count) override;
    // The processed current picture; the source's own frame while nothing is
    // configured and no output frame exists yet; null when the source has no
    // picture.
    const MEDIA_FRAME* GetFrame() const override;
    // Changes the output size (and a rate above 1.0): `info` is the address
    // of a VideoModifyRequest. Always returns 1.
    int ModifyInfo(unsigned int flags, uintptr_t info) override;

    // Picture settings, -100..100 (0 = unchanged); take effect with the next
    // frame.
    void SetBrightness(int nBrightness);
    void SetContrast(int nContrast);
    void SetSaturation(int nSaturation);
    // Filter bits: 1 gray, 2 emboss, 4 negative, 8 black-white,
    // 16 white-black, 32 old photo (applied in this order, negative before
    // black-white).
    void SetExFilterFlag(unsigned int nFlag);
    // Flip bits: 1 horizontal mirror, 2 vertical mirror.
    void SetFlipFlag(unsigned int nFlag);
    // Styles 1 to 4 deinterlace; anything else is off. (Name kept as the
    // interface has it.)
    void SetDeintelace(DEINTERLACE_STYLE nStyle);
    // 90 or 270 (any equivalent angle) turns the picture a quarter turn;
    // 180 and non-multiples of 90 mean upright. param is stored only, extra
    // is ignored. Re-derives the geometry for the new orientation.
    void SetRotation(int angle, int param, int extra);

    // Sets (or, for an empty rectangle or the whole picture, clears) the
    // source crop and recomputes the geometry. Null does nothing.
    void SetCropRect(const tagRECT* crop, IMAGE_RESIZE_METHOD method);
    // Derives the output size and both regions from a resize request
    // without a crop; nothing for null.
    void AdjustResizeParam(RESIZE_PARAM* param);
    // Replaces the output frame by a new black one of this size.
    void PrepareMemImage(int width, int height);

    // Stage watermark: a 32-bit BGRA or 20-bit "YV12" bitmap (pBits null =
    // pixels right after the 40-byte header), scaled once to pRect's size or
    // to 4/5 of the output width; placed by pRect, else by the alignment
    // code. nPercent is the opacity. A refused bitmap removes the watermark.
    void SetWatermarkImage(tagBITMAPINFO* lpbi, unsigned char* pBits, tagRECT* pRect, int nPercent);
    void SetWatermarkImageAlign(tagBITMAPINFO* lpbi, unsigned char* pBits, int nAlign, int nPercent);
    // User watermark placed by a rectangle relative to the output size.
    // Both pointers null remove it; an all-ones lpbi or pBits only moves
    // the loaded picture to *pRect.
    void SetUserWatermarkImage(tagBITMAPINFO* lpbi, unsigned char* pBits, tagFRECT* pRect, int nPercent);
    // Accepted and ignored.
    void SetWatermarkSrcID(void* pSource, const wchar_t* pszID, tagRECT* pRect, int nParam);
    void SetWatermarkSrcIDAlign(void* pSource, const wchar_t* pszID, int nAlign, int nParam);
    // Nonzero hides the stage watermark (the user watermark stays).
    void DisableWatermark(unsigned int bDisable);

    // Sub-pictures are drawn by the host decoder: these hand the record's
    // address down with code 8888 / 8889 and return the source's answer.
    int SetUserSubPic(tagUserSubPic* pSubPic, int nParam);
    int SetSubPicEx(tagUserSubPicEx* pSubPic, int nParam);

    // A snapshot of the geometry: the source region and the destination
    // region inside the output frame (pBits as last used). For diagnostics.
    void GetResizeRegions(IMG_PARAM* pSrc, IMG_PARAM* pDst) const;
    // The quarter turn in force: 0, 90 or 270.
    int GetRotation() const;

    // Saves the current picture as a BMP (bJpeg 0) or JPEG file. Returns the
    // save result, 0 on failure. The third argument is not used.
    int CaptureImage(wchar_t* pszPath, int bJpeg, unsigned int nReserved);

protected:
    // Steps of GetFrame; the caller holds both locks.
    void MakeResizeImage() const;
    void MakeCropImageEx() const;
    // A new frame holding the source rectangle turned by the stage's
    // rotation (cx x cy in, cy x cx out); null without an output frame.
    MEDIA_FRAME* CreateRotateFrame(const IMG_PARAM& src, const MEDIA_FRAME* frame, int cy, int cx) const;
    // Describes the turned picture `frame` (cy wide, cx high) for the scaler.
    void GetRotateFrameParam(const IMG_PARAM& src, IMG_PARAM& out, const MEDIA_FRAME* frame, int cy, int cx) const;
    // Draws the user watermark and then the stage watermark into the output
    // frame; the caller holds the overlay lock.
    void RenderSubPictures() const;

private:
    // Bodies of SetCropRect and AdjustResizeParam; the caller holds m_csFrame.
    DP_VIDEO_INTERNAL void SetCropRectLocked(const tagRECT* crop, IMAGE_RESIZE_METHOD method);
    DP_VIDEO_INTERNAL void AdjustResizeParamLocked(RESIZE_PARAM* param);
    // The source description recorded at construction (zeros without one).
    DP_VIDEO_INTERNAL const VideoInfo& SrcInfo() const;
    // Output frame handling under m_csFrame.
    DP_VIDEO_INTERNAL void NewOutFrame(int width, int height) const;
    DP_VIDEO_INTERNAL void RetireOutFrame() const;
    DP_VIDEO_INTERNAL void ScaleIntoOutFrame(bool cropPath) const;
    DP_VIDEO_INTERNAL void LoadStageWatermark(tagBITMAPINFO* lpbi, unsigned char* pBits, tagRECT* pRect, int nPercent,
                                              const int* pAlign = nullptr);
    DP_VIDEO_INTERNAL bool ExplicitOutputSize(int* width, int* height) const;
    DP_VIDEO_INTERNAL int Interpolation() const;

    VideoDecoder* m_pOrgDecoder;
    VideoDecoder* m_pSource;
    VideoInfo* m_pVideoInfo;
    const VideoInfo* m_pSrcInfo;
    VideoStreamInfo* m_pStreamInfo;
    std::atomic<int32_t> m_nBrightness;
    std::atomic<int32_t> m_nContrast;
    std::atomic<int32_t> m_nSaturation;
    int32_t m_nReserved1; // read by nothing
    int32_t m_nReserved2; // read by nothing
    MEDIA_FRAME* m_pWatermark;
    std::atomic<int32_t> m_bWatermarkEnabled;
    std::atomic<uint32_t> m_nFilterFlag;
    std::atomic<uint32_t> m_nFlipFlag;
    std::atomic<int32_t> m_nRotation;
    std::atomic<int32_t> m_nRotateParam;
    tagRECT* m_pWatermarkRect;
    int32_t m_nWatermarkPercent;
    int32_t m_nWatermarkAlign;
    MEDIA_FRAME* m_pUserWatermark;
    int32_t m_nUserWatermarkPercent;
    tagFRECT* m_pUserWatermarkRect;
    int32_t m_bUserWatermarkHasAlpha;
    mutable MEDIA_FRAME* m_pOutFrame;
    mutable MEDIA_FRAME* m_pDeintFrame;
    MEDIA_FRAME* m_pWorkFrame;
    tagRECT* m_pCropRectEx;
    RESIZE_PARAM* m_pResizeParam;
    mutable IMG_PARAM m_SrcParam;
    mutable IMG_PARAM m_DstParam;
    MEDIA_FRAME m_Frame;
    mutable CCritical m_csFrame;
    mutable CCritical m_csImage;
    std::atomic<int32_t> m_nDeinterlace;
    // The output frame retired by SetCropRect when the output size follows
    // the crop: kept alive until the next GetFrame, so that the frame last
    // handed to the host stays valid while another thread changes the crop.
    mutable MEDIA_FRAME* m_pRetiredFrame;
    // Work frames of a quarter turn (the dragged source and the turned
    // picture), kept from frame to frame while their sizes stay.
    mutable MEDIA_FRAME* m_pTurnSource = nullptr;
    mutable MEDIA_FRAME* m_pTurnFrame = nullptr;
};

#endif // DATAPROCESS_VIDEOPROCESS_H
