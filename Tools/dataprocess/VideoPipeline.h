// The video side of the tool: settings applied to a VideoProcess through the
// flat API, and the loop that reads its pictures into a y4m writer.
#ifndef DATAPROCESS_TOOL_VIDEOPIPELINE_H
#define DATAPROCESS_TOOL_VIDEOPIPELINE_H

#include <optional>
#include <string>
#include <vector>

#include <DataProcess/DataProcess.h>

#include "BitmapFile.h"
#include "OptionParsers.h"
#include "Progress.h"


namespace dptool {

class CountingVideoSource;

struct VideoSettings {
    std::optional<SizeValue> size;
    int resizeMethod = IMAGE_RESIZE_LETTERBOX;
    int interpolation = IMAGE_INTERPOLATION_BILINEAR;
    std::optional<tagRECT> crop;
    int rotation = 0;
    double rate = 0.0; // 0 = the source's
    int brightness = 0, contrast = 0, saturation = 0;
    unsigned int filters = 0, flips = 0;
    int deinterlace = 0;
    std::optional<Bitmap> watermark;
    std::optional<tagRECT> watermarkRect;
    int watermarkAlign = 9;
    int watermarkOpacity = 100;
    std::optional<Bitmap> userWatermark;
    tagFRECT userWatermarkRect{0.05f, 0.05f, 0.25f, 0.20f};
    int userWatermarkOpacity = 100;
    std::vector<CaptureRequest> captures;
};

// Builds the stage over `source` (the caller keeps the source) and applies
// every setting. The result is destroyed with PCVideoDestroy.
VideoDecoder* CreateVideoStage(VideoDecoder* source, const VideoSettings& settings);

struct VideoRunStats {
    long long framesOut = 0;
    long long sourceFrames = 0; // source pictures delivered
    long long repeats = 0;      // output pictures that showed the previous source picture again
    long long skips = 0;        // source pictures never shown
    int capturesTaken = 0;
    double seconds = 0.0;
};

class MediaSink;

// Reads the pictures of `stage` one at a time into a sink, taking the
// captures when their time comes. Throws ProcessingError on a write or
// capture failure.
class VideoLoop {
public:
    VideoLoop(VideoDecoder* stage, const CountingVideoSource& counter, MediaSink& sink,
              const std::vector<CaptureRequest>& captures);
    // Writes the current picture and moves on; false once every picture is
    // written.
    bool Step();
    // Start of the picture the next Step writes, in seconds.
    double NextTime() const;
    long long FramesOut() const { return m_st.framesOut; }
    // After the last Step: checks that every capture was taken.
    VideoRunStats Finish(double seconds);

private:
    VideoDecoder* m_stage;
    const CountingVideoSource& m_counter;
    MediaSink& m_sink;
    const std::vector<CaptureRequest>& m_captures;
    std::vector<bool> m_taken;
    const MEDIA_FRAME* m_frame = nullptr;
    long long m_lastShown = 0;
    long long m_distinctShown = 0;
    VideoRunStats m_st;
};

// The whole loop for the video command, with progress over
// `expectedFrames` (0 when unknown).
VideoRunStats RunVideo(VideoDecoder* stage, const CountingVideoSource& counter, MediaSink& sink,
                       const std::vector<CaptureRequest>& captures, Progress& progress, long long expectedFrames);

} // namespace dptool

#endif // DATAPROCESS_TOOL_VIDEOPIPELINE_H
