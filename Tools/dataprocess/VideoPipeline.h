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

class Y4mWriter;

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

// Reads every picture of `stage` into `writer` (already open with the
// stage's size and rate), takes the captures when their time comes, and
// shows progress. Throws ProcessingError on a write or capture failure.
VideoRunStats RunVideo(VideoDecoder* stage, const CountingVideoSource& counter, Y4mWriter& writer,
                       const std::vector<CaptureRequest>& captures, Progress& progress, long long expectedFrames);

} // namespace dptool

#endif // DATAPROCESS_TOOL_VIDEOPIPELINE_H
