// The video options shared by the video and convert commands: their
// registration with their help texts, and their translation into the
// settings of the video stage.
#ifndef DATAPROCESS_TOOL_VIDEOOPTIONS_H
#define DATAPROCESS_TOOL_VIDEOOPTIONS_H

#include <string>
#include <vector>

#include "DistinctFiles.h"
#include "VideoPipeline.h"

namespace CLI {
class App;
}

namespace dptool {

struct VideoArgs {
    std::string size, resize = "letterbox", interpolation = "bilinear", crop, filter, flip, deinterlace = "none";
    int rotate = 0;
    int videoStream = -1;   // -1: the best
    bool noAutorotate = false;
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
// Adds the files the video options read (watermarks) and write (captures).
void AddVideoOptionFiles(const VideoArgs& args, const VideoSettings& settings, std::vector<NamedPath>* inputs,
                         std::vector<NamedPath>* outputs);
// Turns the picture upright as the file's display matrix `m` says (see
// VideoInput::DisplayOrientation), before the turn and flips the user asked
// for: the settings' quarter turn and flips become the one pair that does
// both. Unless --no-autorotate was given.
void ApplyDisplayOrientation(const VideoArgs& args, const int m[4], VideoSettings* settings);

} // namespace dptool

#endif // DATAPROCESS_TOOL_VIDEOOPTIONS_H
