// The tool's inputs: a y4m or WAV file (or standard input, "-") read by the
// project's own sources, anything else by the FFmpeg sources when the tool
// was built with them.
#ifndef DATAPROCESS_TOOL_MEDIAINPUTS_H
#define DATAPROCESS_TOOL_MEDIAINPUTS_H

#include <memory>
#include <string>

#include <DataProcess/DataProcess.h>

class Y4mVideoSource;
class WavAudioSource;
class FfmpegVideoSource;
class FfmpegAudioSource;

namespace dptool {

class ReadAheadVideoSource;
class ReadAheadAudioSource;

// True when `path` is read (or written) through FFmpeg rather than as y4m
// or WAV (`plainExtension` is "y4m" or "wav"): a path with another
// extension. "-" and paths without an extension are y4m or WAV.
bool ReadsThroughFfmpeg(const std::string& path, const char* plainExtension);

// Lines about an input that are warnings, not failures (printed even with
// --quiet).
void Warn(const std::string& line);

class VideoInput {
public:
    // Opens `path`; throws ProcessingError with the reader's message. With
    // `optional`, a file without a video stream is no error: Decoder() is
    // then null. `streamIndex` >= 0 picks the index-th video stream of a
    // file FFmpeg reads (a y4m stream has only 0).
    explicit VideoInput(const std::string& path, bool optional = false, int streamIndex = -1);
    ~VideoInput();

    VideoDecoder* Decoder() const;
    // From here on, Decoder() decodes ahead on a thread of its own (when
    // there is a stream): call before the stage is made over it.
    void ReadAhead();
    double Rate() const;
    // The y4m I tag ('p', 't', 'b', 'm', '?'); 'p' for other files.
    char Interlacing() const;
    // Length in seconds; 0 when unknown (or no stream).
    double DurationSeconds() const;
    // How the pictures are to be shown, from the file's display matrix:
    // x' = m[0] x + m[1] y, y' = m[2] x + m[3] y (x right, y down); the
    // identity for y4m.
    void DisplayOrientation(int m[4]) const;
    // Says so when the pictures come at varying intervals and the stage
    // will even them out at the average rate (no --rate given).
    void NoteVariableRate(double chosenRate) const;
    // After the last frame: throws ProcessingError when the input did not
    // read cleanly to its end, warns about damaged packets otherwise.
    void Finish() const;

private:
    std::string m_path;
    std::unique_ptr<Y4mVideoSource> m_y4m;
#ifdef DP_HAVE_FFMPEG
    std::unique_ptr<FfmpegVideoSource> m_ffmpeg;
#endif
    std::unique_ptr<ReadAheadVideoSource> m_readAhead; // over the source above: goes first
};

class AudioInput {
public:
    explicit AudioInput(const std::string& path, bool optional = false, int streamIndex = -1);
    ~AudioInput();

    AudioDecoder* Decoder() const;
    // As VideoInput::ReadAhead.
    void ReadAhead();
    const std::string& Path() const { return m_path; }
    int BitsPerSample() const;
    int SampleRate() const;
    // Length in seconds; negative when unknown (a stream, or no stream).
    double DurationSeconds() const;
    void Finish() const;

private:
    std::string m_path;
    std::unique_ptr<WavAudioSource> m_wav;
#ifdef DP_HAVE_FFMPEG
    std::unique_ptr<FfmpegAudioSource> m_ffmpeg;
#endif
    std::unique_ptr<ReadAheadAudioSource> m_readAhead;
};

} // namespace dptool

#endif // DATAPROCESS_TOOL_MEDIAINPUTS_H
