#include "VideoPipeline.h"

#include <cstdio>
#include <string>
#include <unistd.h>

#include "CountingVideoSource.h"
#include "TextUtil.h"
#include "ToolErrors.h"
#include "MediaOutputs.h"

namespace dptool {

namespace {

// Captures go to a temporary name beside the target and are renamed when
// complete, so a failed capture leaves nothing under the final name. The
// temporary name keeps the extension: the JPEG path derives the name of its
// own temporary bitmap from the last dot.
void Capture(VideoDecoder* stage, const CaptureRequest& c)
{
    const auto dot = c.path.rfind('.');
    const std::string temp =
        c.path.substr(0, dot) + ".part" + std::to_string(static_cast<long>(getpid())) + c.path.substr(dot);
    std::wstring wide;
    if (!WidenUtf8(temp, &wide))
        throw ProcessingError(c.path + ": the file name is not valid UTF-8");
    std::vector<wchar_t> buf(wide.begin(), wide.end());
    buf.push_back(L'\0');
    const int ok = PCCaptureImage(stage, buf.data(), c.jpeg ? 1 : 0, 0);
    FILE* f = std::fopen(temp.c_str(), "rb");
    long size = 0;
    if (f) {
        std::fseek(f, 0, SEEK_END);
        size = std::ftell(f);
        std::fclose(f);
    }
    if (!ok || size <= 0) {
        std::remove(temp.c_str());
        throw ProcessingError(c.path + ": capture failed (cannot write the picture there)");
    }
    if (std::rename(temp.c_str(), c.path.c_str()) != 0) {
        std::remove(temp.c_str());
        throw ProcessingError(c.path + ": capture failed (cannot rename the finished file into place)");
    }
}

} // namespace

VideoDecoder* CreateVideoStage(VideoDecoder* source, const VideoSettings& settings)
{
    VideoSettings s = settings;
    // A quarter turn without a size request would keep the source's frame
    // and stretch the turned picture into it; a user asking to turn a
    // picture expects the frame to turn with it.
    if (s.rotation && !s.size) {
        const VideoInfo* in = source->GetVideoInfo();
        int w = s.crop ? s.crop->right - s.crop->left : (in ? in->nWidth : 0);
        int h = s.crop ? s.crop->bottom - s.crop->top : (in ? in->nHeight : 0);
        if (w >= 2 && h >= 2)
            s.size = SizeValue{h & ~1, w & ~1};
    }
    RESIZE_PARAM resize{};
    resize.nWidth = s.size ? s.size->width : 0;
    resize.nHeight = s.size ? s.size->height : 0;
    resize.nInterpolation = static_cast<IMAGE_INTERPOLATION>(s.interpolation);
    resize.nResizeMethod = static_cast<IMAGE_RESIZE_METHOD>(s.resizeMethod);
    const bool wantResize = s.size || s.interpolation != IMAGE_INTERPOLATION_BILINEAR ||
                            s.resizeMethod != IMAGE_RESIZE_LETTERBOX;
    VideoDecoder* stage = PCVideoCreate(source, wantResize ? &resize : nullptr, s.rate);
    if (!stage)
        throw ProcessingError("cannot create the video stage");
    if (s.crop) {
        tagRECT crop = *s.crop;
        PCSetCropRectEx(stage, &crop, static_cast<IMAGE_RESIZE_METHOD>(s.resizeMethod));
    }
    if (s.rotation)
        PCSetRotation(stage, s.rotation, 0);
    PCSetVideoBrightness(stage, s.brightness);
    PCSetContrast(stage, s.contrast);
    PCSetVideoSaturation(stage, s.saturation);
    PCSetExFilterFlag(stage, s.filters);
    PCSetFlipFlag(stage, s.flips);
    PCSetVideoDeintelace(stage, static_cast<DEINTERLACE_STYLE>(s.deinterlace));
    // Watermarks are scaled to the output size when they are set, so they
    // come after the geometry.
    if (s.watermark) {
        Bitmap wm = *s.watermark;
        if (s.watermarkRect) {
            tagRECT rc = *s.watermarkRect;
            PCSetWatermarkImage(stage, &wm.info, wm.bits.data(), &rc, s.watermarkOpacity);
        } else {
            PCSetWatermarkImageAlign(stage, &wm.info, wm.bits.data(), s.watermarkAlign, s.watermarkOpacity);
        }
    }
    if (s.userWatermark) {
        Bitmap wm = *s.userWatermark;
        tagFRECT rc = s.userWatermarkRect;
        PCSetUserWatermarkImage(stage, &wm.info, wm.bits.data(), &rc, s.userWatermarkOpacity);
    }
    return stage;
}

VideoLoop::VideoLoop(VideoDecoder* stage, const CountingVideoSource& counter, MediaSink& sink,
                     const std::vector<CaptureRequest>& captures)
    : m_stage(stage), m_counter(counter), m_sink(sink), m_captures(captures), m_taken(captures.size(), false),
      m_frame(PCGetVideoFrame(stage))
{
}

double VideoLoop::NextTime() const { return m_frame && m_frame->llStartTime > 0 ? m_frame->llStartTime / 1e7 : 0.0; }

bool VideoLoop::Step()
{
    const MEDIA_FRAME* f = m_frame;
    if (!f)
        return false;
    const long long pos = m_counter.Position();
    if (pos == m_lastShown)
        ++m_st.repeats;
    else
        ++m_distinctShown;
    m_lastShown = pos;

    if (!m_sink.WriteVideo(f))
        throw ProcessingError(m_sink.Error());
    ++m_st.framesOut;

    const double t = f->llStartTime >= 0 ? f->llStartTime / 1e7 : 0.0;
    for (size_t i = 0; i < m_captures.size(); ++i)
        if (!m_taken[i] && t + 1e-9 >= m_captures[i].seconds) {
            Capture(m_stage, m_captures[i]);
            m_taken[i] = true;
            ++m_st.capturesTaken;
        }
    m_frame = PCVideoForward(m_stage, 1) < 1 ? nullptr : PCGetVideoFrame(m_stage);
    return m_frame != nullptr;
}

VideoRunStats VideoLoop::Finish(double seconds)
{
    for (size_t i = 0; i < m_captures.size(); ++i)
        if (!m_taken[i]) {
            char at[32];
            std::snprintf(at, sizeof(at), "%g", m_captures[i].seconds);
            throw ProcessingError(m_captures[i].path + ": capture at " + at +
                                  " s not taken (the video ends before that time)");
        }
    m_st.sourceFrames = m_counter.Position();
    m_st.skips = m_st.sourceFrames - m_distinctShown;
    if (m_st.skips < 0)
        m_st.skips = 0;
    m_st.seconds = seconds;
    return m_st;
}

VideoRunStats RunVideo(VideoDecoder* stage, const CountingVideoSource& counter, MediaSink& sink,
                       const std::vector<CaptureRequest>& captures, Progress& progress, long long expectedFrames)
{
    VideoLoop loop(stage, counter, sink, captures);
    while (loop.Step())
        progress.Update(loop.FramesOut(), expectedFrames);
    return loop.Finish(progress.ElapsedSeconds());
}

} // namespace dptool
