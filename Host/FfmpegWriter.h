// Encodes the pictures and audio blocks a stage delivers with libavcodec
// and writes them into a container chosen by the output file's extension
// (libavformat): .mp4/.mov/.mkv with H.264 (libx264) and AAC by default,
// .mkv with FFV1 and FLAC for lossless, .m4a (AAC) or .flac/.mka for audio
// alone; any other container FFmpeg knows takes the codecs it can hold.
//
// Video frames are YV12 MEDIA_FRAMEs of the opened size, stamped in 100 ns;
// their start times become the presentation times (a variable rate stays
// variable). Audio blocks are interleaved 16-bit PCM of the opened rate and
// channel count; they are timed by the samples written from the first
// block's start on.
//
// The file appears under its name only after Commit() (see
// AtomicOutputFile); any failure, or destruction without Commit, leaves
// nothing there. LastError() names the path and the cause.
#ifndef DATAPROCESS_HOST_FFMPEGWRITER_H
#define DATAPROCESS_HOST_FFMPEGWRITER_H

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <DataProcess/MediaTypes.h>

#include "AtomicOutputFile.h"

struct AVFormatContext;
struct AVCodecContext;
struct AVStream;
struct AVFrame;
struct AVPacket;
struct AVIOContext;
struct SwrContext;

struct FfmpegOutputFormat {
    // Video: none when width is 0.
    int width = 0;
    int height = 0;
    int rateNum = 25, rateDen = 1;
    int aspectX = 0, aspectY = 0; // display aspect; 0:0 = square pixels
    std::string videoCodec;       // "h264" or "ffv1"; empty = the container's usual one
    int crf = -1;                 // H.264 constant quality (0-51); -1 = 23 unless a bitrate is given
    int64_t videoBitrate = 0;     // bits per second; 0 = by quality
    std::string preset;           // x264 speed preset; empty = "medium"
    // Audio: none when sampleRate is 0.
    int sampleRate = 0;
    int channels = 0;
    std::string audioCodec;   // "aac" or "flac"; empty = FLAC beside FFV1 or in .flac/.mka, else AAC
    int64_t audioBitrate = 0; // AAC bits per second; 0 = 64 kb/s a channel
};

class FfmpegWriter {
public:
    FfmpegWriter();
    ~FfmpegWriter();
    FfmpegWriter(const FfmpegWriter&) = delete;
    FfmpegWriter& operator=(const FfmpegWriter&) = delete;

    // Checks that the container of `path` can hold what `format` asks for
    // and fills in the codecs left empty; false with *error set otherwise
    // (e.g. "out.mp4: the mp4 container cannot hold ffv1 video (use .mkv)").
    static bool ChooseCodecs(const std::string& path, FfmpegOutputFormat* format, std::string* error);

    bool Open(const std::string& path, const FfmpegOutputFormat& format);
    bool WriteVideo(const MEDIA_FRAME* frame);
    bool WriteAudio(const MEDIA_FRAME* block);
    // Drains the encoders, completes the container and commits the file.
    bool Commit();
    // Abandons the output; nothing is left under the final name.
    void Discard();

    bool HasVideo() const { return m_video != nullptr; }
    bool HasAudio() const { return m_audio != nullptr; }
    const FfmpegOutputFormat& Format() const { return m_format; }
    // "libx264 video + aac audio in mp4", for the tool's summary.
    const std::string& Description() const { return m_description; }
    long long VideoFramesWritten() const { return m_videoFrames; }
    long long SamplesWritten() const { return m_samplesIn; }
    const std::string& LastError() const { return m_error; }

private:
    bool Fail(const std::string& what, int err = 0);
    bool FailWrite(const std::string& what, int err);
    bool OpenVideo();
    bool OpenAudio();
    bool Send(AVCodecContext* codec, AVStream* stream, const AVFrame* frame); // null frame: drain
    bool EncodeAudio(bool flush);
    void Free();

    AtomicOutputFile m_out;
    FfmpegOutputFormat m_format;
    std::string m_name;
    std::string m_error;
    std::string m_description;
    AVFormatContext* m_mux = nullptr;
    AVIOContext* m_io = nullptr;
    int64_t m_ioPos = 0;
    AVCodecContext* m_video = nullptr;
    AVCodecContext* m_audio = nullptr;
    AVStream* m_videoStream = nullptr;
    AVStream* m_audioStream = nullptr;
    AVFrame* m_videoFrame = nullptr; // reused for every picture
    AVFrame* m_audioFrame = nullptr; // reused for every encoder frame of samples
    AVPacket* m_packet = nullptr;
    SwrContext* m_swr = nullptr;
    std::vector<int16_t> m_pcm; // interleaved samples waiting for a whole encoder frame
    int64_t m_lastVideoPts = INT64_MIN;
    int64_t m_audioNextPts = 0;
    bool m_audioStarted = false;
    bool m_headerWritten = false;
    long long m_videoFrames = 0;
    long long m_samplesIn = 0;

    static int WritePacket(void* opaque, const uint8_t* data, int size);
    static int64_t Seek(void* opaque, int64_t offset, int whence);
};

#endif // DATAPROCESS_HOST_FFMPEGWRITER_H
