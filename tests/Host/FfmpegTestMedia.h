// Small media files for the tests of the FFmpeg decoders and of the tool,
// made during the test from the project's synthetic sources by the FFmpeg
// writer (no media is kept in the repository).
#ifndef DATAPROCESS_TESTS_FFMPEGTESTMEDIA_H
#define DATAPROCESS_TESTS_FFMPEGTESTMEDIA_H

#include <cstdlib>
#include <filesystem>
#include <string>

#include "FfmpegWriter.h"
#include "SyntheticAudioSource.h"
#include "SyntheticVideoSource.h"

namespace mediatest {

struct MediaSpec {
    int width = 176, height = 144, frames = 25;
    double rate = 25.0;
    int64_t jitter = 0; // time stamps moved by up to this much (100 ns): a variable rate
    std::string videoCodec = "h264"; // empty: no video
    int sampleRate = 44100, channels = 2;
    int64_t samples = 44100;   // 0: no audio
    std::string audioCodec;    // empty: the container's usual one
};

inline SyntheticVideoConfig VideoConfig(const MediaSpec& s)
{
    SyntheticVideoConfig c;
    c.width = s.width, c.height = s.height, c.frameRate = s.rate, c.frameCount = s.frames, c.jitter = s.jitter;
    return c;
}

inline SyntheticAudioConfig AudioConfig(const MediaSpec& s)
{
    SyntheticAudioConfig c;
    c.sampleRate = s.sampleRate, c.channels = s.channels, c.totalFrames = s.samples, c.blockFrames = {1000, 1500};
    return c;
}

// Writes the file, streams interleaved by time as a host would; "" or the
// writer's error.
inline std::string WriteMedia(const std::string& path, const MediaSpec& s)
{
    FfmpegOutputFormat f;
    SyntheticVideoSource video(VideoConfig(s));
    SyntheticAudioSource audio(AudioConfig(s));
    if (!s.videoCodec.empty())
        f.width = s.width, f.height = s.height, f.rateNum = static_cast<int>(s.rate * 1000), f.rateDen = 1000,
        f.videoCodec = s.videoCodec, f.preset = "ultrafast";
    if (s.samples > 0)
        f.sampleRate = s.sampleRate, f.channels = s.channels, f.audioCodec = s.audioCodec;
    FfmpegWriter w;
    if (!w.Open(path, f))
        return w.LastError();
    const MEDIA_FRAME* v = f.width ? video.GetFrame() : nullptr;
    MEDIA_FRAME* a = f.sampleRate ? audio.GetNextFrame() : nullptr;
    while (v || a) {
        const bool videoFirst = v && (!a || v->llStartTime <= a->llStartTime);
        if (!(videoFirst ? w.WriteVideo(v) : w.WriteAudio(a)))
            return w.LastError();
        if (videoFirst)
            v = video.Forward(1) == 1 ? video.GetFrame() : nullptr;
        else
            a = audio.GetNextFrame();
    }
    return w.Commit() ? "" : w.LastError();
}

// The file `name` in the tests' media folder (DP_TEST_DATA/dp-media), made on
// first use; test processes share it (the writer renames complete files
// into place, so two makers never leave a half file).
inline std::string SharedMedia(const std::string& name, const MediaSpec& s, std::string* error)
{
    const char* base = std::getenv("DP_TEST_DATA"); // set by ctest; else the system's temporary folder
    const std::string dir = (base ? std::string(base) : std::filesystem::temp_directory_path().string()) + "/dp-media";
    std::filesystem::create_directories(dir);
    const std::string path = dir + "/" + name;
    if (!std::filesystem::exists(path))
        *error = WriteMedia(path, s);
    return path;
}

} // namespace mediatest

#endif // DATAPROCESS_TESTS_FFMPEGTESTMEDIA_H
