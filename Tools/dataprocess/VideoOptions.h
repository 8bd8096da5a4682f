// The video options shared by the video and convert commands: their
// registration with their help texts, and their translation into the
// settings of the video stage.
#ifndef DATAPROCESS_TOOL_VIDEOOPTIONS_H
#define DATAPROCESS_TOOL_VIDEOOPTIONS_H

#include <string>
#include <vector>

#include "VideoPipeline.h"

namespace CLI {
class App;
}

namespace dptool {

struct VideoArgs {
    std::string size, resize = "letterbox", interpolation = "bilinear", crop, filter, flip, deinterlace = "none";
    int rotate = 0;
    double rate = 0.0;
    int brightness = 0, contrast = 0, saturation = 0;
    std::string watermark, watermarkRect;
    int watermarkAlign = 9, watermarkOpacity = 100;
    std::string userWatermark, userWatermarkRect = "0.05,0.05,0.25,0.2";
    int userWatermarkOpacity = 100;
    std::vector<std::string> captures;
};

void AddVideoOptions(CLI::App* cmd, VideoArgs* args);
// Parses the option values and loads the watermark files; throws UsageError
// or ProcessingError.
VideoSettings MakeVideoSettings(const VideoArgs& args);

} // namespace dptool

#endif // DATAPROCESS_TOOL_VIDEOOPTIONS_H
