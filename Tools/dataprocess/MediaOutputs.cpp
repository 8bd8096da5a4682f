#include "MediaOutputs.h"

#include <CLI/CLI.hpp>

#include <cmath>
#include <cstdlib>

#include "MediaInputs.h"
#include "ToolErrors.h"
#include "WavWriter.h"
#include "Y4mFormat.h"
#include "Y4mWriter.h"
#ifdef DP_HAVE_FFMPEG
#include "FfmpegWriter.h"
#endif

namespace dptool {

namespace {

class Y4mSink : public MediaSink {
public:
    Y4mSink(const std::string& path, FILE* dataOut, const VideoOutputFormat& v)
    {
        Y4mStreamFormat fmt;
        fmt.width = v.width;
        fmt.height = v.height;
        y4m::RateToFraction(v.rate, &fmt.rateNum, &fmt.rateDen);
        fmt.aspectX = v.aspectX;
        fmt.aspectY = v.aspectY;
        fmt.interlace = v.interlace;
        if (dataOut ? !m_writer.Attach(dataOut, "standard output", fmt) : !m_writer.Open(path, fmt))
            throw ProcessingError(m_writer.LastError());
    }
    bool WriteVideo(const MEDIA_FRAME* frame) override { return m_writer.WriteFrame(frame); }
    bool WriteAudio(const MEDIA_FRAME*) override { return false; }
    bool Commit() override { return m_writer.Commit(); }
    std::string Error() const override { return m_writer.LastError(); }
    std::string Description() const override { return "y4m"; }
    bool HasVideo() const override { return true; }

private:
    Y4mWriter m_writer;
};

class WavSink : public MediaSink {
public:
    WavSink(const std::string& path, FILE* dataOut, const AudioOutputFormat& a)
    {
        WavStreamFormat fmt;
        fmt.sampleRate = a.sampleRate;
        fmt.channels = a.channels;
        fmt.bitsPerSample = a.bitsPerSample;
        if (dataOut ? !m_writer.Attach(dataOut, "standard output", fmt) : !m_writer.Open(path, fmt))
            throw ProcessingError(m_writer.LastError());
    }
    bool WriteVideo(const MEDIA_FRAME*) override { return false; }
    bool WriteAudio(const MEDIA_FRAME* block) override { return m_writer.WriteFrame(block); }
    bool Commit() override { return m_writer.Commit(); }
    std::string Error() const override { return m_writer.LastError(); }
    std::string Description() const override { return "wav"; }
    bool HasVideo() const override { return false; }

private:
    WavWriter m_writer;
};

#ifdef DP_HAVE_FFMPEG
class FfmpegSink : public MediaSink {
public:
    FfmpegSink(const std::string& path, const FfmpegOutputFormat& f)
    {
        if (!m_writer.Open(path, f))
            throw ProcessingError(m_writer.LastError());
    }
    bool WriteVideo(const MEDIA_FRAME* frame) override { return m_writer.WriteVideo(frame); }
    bool WriteAudio(const MEDIA_FRAME* block) override { return m_writer.WriteAudio(block); }
    bool Commit() override { return m_writer.Commit(); }
    std::string Error() const override { return m_writer.LastError(); }
    std::string Description() const override { return m_writer.Description(); }
    bool HasVideo() const override { return m_writer.Format().width > 0; }

private:
    FfmpegWriter m_writer;
};

// "2M", "800k", "128000" in bits per second.
int64_t ParseBitrate(const std::string& option, const std::string& text)
{
    char* end = nullptr;
    double v = std::strtod(text.c_str(), &end);
    if (end != text.c_str() && (*end == 'k' || *end == 'K'))
        v *= 1e3, ++end;
    else if (end != text.c_str() && (*end == 'm' || *end == 'M'))
        v *= 1e6, ++end;
    if (end == text.c_str() || *end != '\0' || !std::isfinite(v) || v < 1000 || v > 1e9)
        throw UsageError(option + ": invalid value '" + text +
                         "' (expected bits per second from 1000 to 1G, e.g. 2M, 800k or 128000)");
    return static_cast<int64_t>(v);
}
#endif

} // namespace

void AddEncodeOptions(CLI::App* cmd, EncodeArgs* a, bool video, bool audio)
{
    if (video) {
        cmd->add_option("--codec", a->codec,
                        "Video codec of a container output: h264 (default; libx264) or ffv1 (lossless, .mkv)")
            ->check(CLI::IsMember({"h264", "ffv1"}));
        cmd->add_option("--crf", a->crf, "H.264 constant quality, 0 (lossless) to 51 (worst); default 23")
            ->check(CLI::Range(0, 51));
        cmd->add_option("--bitrate", a->bitrate, "H.264 bit rate instead of constant quality, e.g. 4M or 2500k");
        cmd->add_option("--preset", a->preset,
                        "H.264 speed preset: ultrafast, superfast, veryfast, faster, fast, medium (default), slow, "
                        "slower, veryslow")
            ->check(CLI::IsMember(
                {"ultrafast", "superfast", "veryfast", "faster", "fast", "medium", "slow", "slower", "veryslow"}));
    }
    if (audio) {
        cmd->add_option(video ? "--audio-codec" : "--codec", video ? a->audioCodec : a->codec,
                        "Audio codec of a container output: aac (default) or flac (lossless; the default beside "
                        "ffv1 and in .flac/.mka)")
            ->check(CLI::IsMember({"aac", "flac"}));
        cmd->add_option("--audio-bitrate", a->audioBitrate, "AAC bit rate, e.g. 192k (default 64k a channel, "
                                                            "at most 128k)");
    }
}

std::unique_ptr<MediaSink> OpenOutput(const std::string& path, FILE* dataOut, const VideoOutputFormat* video,
                                      const AudioOutputFormat* audio, const EncodeArgs& e)
{
    const bool y4m = video && !audio && !ReadsThroughFfmpeg(path, "y4m");
    const bool wav = audio && !video && !ReadsThroughFfmpeg(path, "wav");
    if (y4m)
        return std::make_unique<Y4mSink>(path, dataOut, *video);
    if (wav)
        return std::make_unique<WavSink>(path, dataOut, *audio);
    if (path == "-" || !ReadsThroughFfmpeg(path, "y4m") || !ReadsThroughFfmpeg(path, "wav")) {
        if (video && audio)
            throw UsageError("-o: " + path + " holds one stream; write video and audio together into a container "
                                             "such as .mp4 or .mkv");
        throw UsageError("-o: " + path + (video ? " holds audio; the input has only video: write .y4m, .mp4 or .mkv"
                                                : " holds video; the input has only audio: write .wav, .m4a or "
                                                  ".flac"));
    }
#ifdef DP_HAVE_FFMPEG
    FfmpegOutputFormat f;
    if (video) {
        f.width = video->width;
        f.height = video->height;
        y4m::RateToFraction(video->rate, &f.rateNum, &f.rateDen);
        f.aspectX = video->aspectX;
        f.aspectY = video->aspectY;
        f.videoCodec = e.codec;
        f.crf = e.crf;
        if (!e.bitrate.empty())
            f.videoBitrate = ParseBitrate("--bitrate", e.bitrate);
        f.preset = e.preset;
        f.audioCodec = e.audioCodec;
    } else {
        f.audioCodec = e.codec;
    }
    if (audio) {
        if (audio->bitsPerSample != 16)
            throw ProcessingError(path + ": " + std::to_string(audio->bitsPerSample) +
                                  "-bit audio cannot be encoded (16-bit PCM only); write .wav");
        f.sampleRate = audio->sampleRate;
        f.channels = audio->channels;
        if (!e.audioBitrate.empty())
            f.audioBitrate = ParseBitrate("--audio-bitrate", e.audioBitrate);
    }
    std::string why;
    if (!FfmpegWriter::ChooseCodecs(path, &f, &why))
        throw UsageError("-o: " + why);
    return std::make_unique<FfmpegSink>(path, f);
#else
    (void)e;
    throw ProcessingError(path + ": this build writes only .y4m and .wav (it was built without FFmpeg; install "
                                 "FFmpeg's development packages and rebuild)");
#endif
}

} // namespace dptool
