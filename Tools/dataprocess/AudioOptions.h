// The audio options shared by the audio and convert commands: their
// registration with their help texts, and their translation into the
// settings of the audio stages.
#ifndef DATAPROCESS_TOOL_AUDIOOPTIONS_H
#define DATAPROCESS_TOOL_AUDIOOPTIONS_H

#include <string>

#include "AudioPipeline.h"

namespace CLI {
class App;
}

namespace dptool {

class AudioInput;

// Sample rates the tool takes in and gives out, in Hz.
constexpr int kMinSampleRate = 1000;
constexpr int kMaxSampleRate = 384000;

struct AudioArgs {
    int rate = 0, channels = 0, volume = 100;
    int audioStream = -1; // -1: the best
    std::string fadeIn, fadeOut;
    std::string resampler; // "linear", "hq", empty: hq where the library has it
    bool noTimeline = false;
    bool verbose = false;
};

// `rateOption` is the name of the sample rate option ("--rate" for the
// audio command, "--audio-rate" where --rate means the frame rate).
void AddAudioOptions(CLI::App* cmd, AudioArgs* args, const std::string& rateOption);
// Parses the option values for `source` (a fade-out given by its length
// ends with the input); throws UsageError or ProcessingError.
AudioSettings MakeAudioSettings(const AudioArgs& args, const AudioInput& source);

} // namespace dptool

#endif // DATAPROCESS_TOOL_AUDIOOPTIONS_H
