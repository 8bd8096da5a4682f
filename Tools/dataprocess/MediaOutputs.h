// The tool's outputs: .y4m and .wav (or standard output, "-") written by the
// project's own writers, any other container (.mp4, .mkv, .m4a, ...)
// encoded through FFmpeg when the tool was built with it. Every output
// appears under its name only when complete.
#ifndef DATAPROCESS_TOOL_MEDIAOUTPUTS_H
#define DATAPROCESS_TOOL_MEDIAOUTPUTS_H

#include <cstdio>
#include <memory>
#include <string>

#include <DataProcess/DataProcess.h>

namespace CLI {
class App;
}

namespace dptool {

// Where a stage's pictures and audio blocks go.
class MediaSink {
public:
    virtual ~MediaSink() = default;
    virtual bool WriteVideo(const MEDIA_FRAME* frame) = 0;
    virtual bool WriteAudio(const MEDIA_FRAME* block) = 0;
    // Completes the output and gives it its name.
    virtual bool Commit() = 0;
    virtual std::string Error() const = 0;
    // The output keeps a video stream (an audio-only container such as .m4a
    // does not: video offered to it is left out).
    virtual bool HasVideo() const = 0;
    // "libx264 video + aac audio in mp4", "y4m", "wav".
    virtual std::string Description() const = 0;
};

struct VideoOutputFormat {
    int width = 0;
    int height = 0;
    double rate = 25.0;
    int aspectX = 0, aspectY = 0; // display aspect; 0:0 = square pixels
    char interlace = 'p';
};

struct AudioOutputFormat {
    int sampleRate = 0;
    int channels = 0;
    int bitsPerSample = 16;
};

// The encoder options of the commands that can write containers.
struct EncodeArgs {
    std::string codec;      // video codec (audio codec for the audio command)
    std::string audioCodec; // convert only
    int crf = -1;
    std::string bitrate;
    std::string audioBitrate;
    std::string preset;
};
// Registers --codec, --crf, --bitrate, --preset (with `video`) and
// --audio-bitrate (with `audio`); --audio-codec when both.
void AddEncodeOptions(CLI::App* cmd, EncodeArgs* args, bool video, bool audio);

// Opens `path` for the streams given (null = none). `dataOut` is standard
// output claimed for data when `path` is "-". Throws UsageError for a
// combination that cannot be written, ProcessingError when the output
// cannot be started.
std::unique_ptr<MediaSink> OpenOutput(const std::string& path, FILE* dataOut, const VideoOutputFormat* video,
                                      const AudioOutputFormat* audio, const EncodeArgs& encode);

} // namespace dptool

#endif // DATAPROCESS_TOOL_MEDIAOUTPUTS_H
