// A host audio decoder over any file FFmpeg can open: the best audio
// stream, decoded with libavcodec and handed out as interleaved signed
// 16-bit PCM at the stream's own rate and channel count (libswresample
// changes only the sample format; rate and channel changes are the
// library's stages' job). 1 to 8 channels. Where the stream changes its
// format mid-stream (broadcast programmes switch between stereo and 5.1),
// the samples from there on are converted by libswresample to the format
// the stream began with, which stays the source's.
//
// Each decoded frame becomes one block. Blocks are stamped like the WAV
// source's: a block starting at sample s has start = stop =
// round(s * 10^7 / rate) and nDuration = round((s + n) * 10^7 / rate) -
// start, where s counts from the file's start (the origin of the video
// stamps too). s follows the container's time stamps where they jump (a
// gap or an overlap stays visible to the timeline stage) and runs on by
// the samples delivered otherwise; a jump beyond
// FfmpegInput::kDiscontinuityUnits is a discontinuity of the source, and
// the blocks go on from where they were.
//
// AudioSeek is sample-exact as far as the container's time stamps are:
// it seeks to the packet before and drops the samples before the target.
#ifndef DATAPROCESS_HOST_FFMPEGAUDIOSOURCE_H
#define DATAPROCESS_HOST_FFMPEGAUDIOSOURCE_H

#include <cstdint>
#include <string>

#include <DataProcess/Decoder.h>
#include <DataProcess/MediaTypes.h>

#include "FfmpegInput.h"

struct SwrContext;
struct AVChannelLayout;

class FfmpegAudioSource : public AudioDecoder {
public:
    FfmpegAudioSource();
    ~FfmpegAudioSource() override;

    int Close() override;
    // `path` is converted to UTF-8. *error gets a HostFileError.
    int Open(const wchar_t* path, const DecParam* param, int* error) override;
    // Moves to the sample nearest to `seconds` and returns its time (-1 when
    // the stream cannot seek).
    double AudioSeek(double seconds) override;
    // The next block, or null at the end; valid until the next call.
    MEDIA_FRAME* GetNextFrame() override;
    // Time of the next sample to be read, in seconds.
    double GetOffset() const override;
    const AudioInfo* GetAudioInfo() const override;
    const AudioStreamInfo* GetAudioStreamInfo() const override;

    // The same as Open, with a UTF-8 path; `streamIndex` >= 0 chooses the
    // index-th audio stream (0 the first) instead of the best. Returns a
    // HostFileError.
    int OpenPath(const std::string& path, int streamIndex = -1);
    // The same over an I/O context of the caller's (which stays the
    // caller's and must outlive Close); `name` stands for it in messages.
    int OpenIo(AVIOContext* io, const std::string& name, int streamIndex = -1);

    int SampleRate() const { return m_stream.audioInfo.nSampleRate; }
    int Channels() const { return m_stream.audioInfo.nChannels; }
    // Length of the file in 100 ns units (0 when unknown).
    int64_t DurationUnits() const { return m_in.DurationUnits(); }
    // Position of the next sample, counted from the file's start.
    int64_t SamplePosition() const { return m_position; }
    // The decoder's name and sample format, e.g. "aac, fltp".
    const std::string& Description() const { return m_description; }
    long long DamagedPackets() const { return m_in.DamagedPackets(); }
    long long Discontinuities() const { return m_in.Discontinuities(); }
    // Times the stream's own format changed and was converted.
    long long FormatChanges() const { return m_formatChanges; }
    // The last Open failed because the file has no audio stream.
    bool NoStream() const { return m_in.NoStream(); }
    const std::string& LastError() const { return m_error.empty() ? m_in.Error() : m_error; }

private:
    // Decodes the next frame into m_block (samples from `skip` on); false
    // at the end.
    bool DecodeBlock(int64_t skipBefore);
    bool EnsureBuffer(int bytes);
    int Opened(const std::string& name);
    // Sets m_swr up for frames like `d`; false when it cannot.
    bool PrepareConverter(const AVFrame* d);

    FfmpegInput m_in;
    AVFrame* m_decoded = nullptr;
    SwrContext* m_swr = nullptr;
    int m_swrFormat = -1;
    int m_swrRate = 0;
    AVChannelLayout* m_swrLayout = nullptr; // the input layout m_swr was made for
    AVChannelLayout* m_outLayout = nullptr; // the stream's first layout: the output's
    long long m_formatChanges = 0;
    MEDIA_FRAME* m_block = nullptr;
    bool m_pending = false; // m_block holds a block not handed out yet (after a seek)
    bool m_started = false; // m_position follows the stream
    int64_t m_position = 0;
    AudioStreamInfo m_stream{};
    std::string m_description;
    std::string m_error;
};

#endif // DATAPROCESS_HOST_FFMPEGAUDIOSOURCE_H
