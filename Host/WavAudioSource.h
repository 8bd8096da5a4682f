// A host audio decoder over a WAV file, or over standard input for the path
// "-" (so that the tool can sit in a pipe after `ffmpeg -f wav -`).
//
// Read: PCM 8-bit (unsigned) and 16-bit (signed little-endian), 1 to 8
// channels, as plain WAVE_FORMAT_PCM or as WAVE_FORMAT_EXTENSIBLE with the
// PCM sub-format. A data chunk of unknown length, as streaming tools write it
// (size 0, 0xFFFFFFFF, or larger than the file), is read to the end of the
// stream. Unknown chunks are skipped (with their pad byte when odd).
//
// GetNextFrame hands out blocks of a chosen number of sample frames
// (default 1024; the last one shorter) as audio MEDIA_FRAMEs. A block that
// starts at sample frame s and holds n of them is stamped
// start = stop = round(s * 10^7 / rate) (audio blocks carry their start time
// in both stamps, which is where the timeline stage looks) and
// nDuration = round((s + n) * 10^7 / rate) - start, so that consecutive
// blocks meet exactly.
//
// AudioSeek is sample-exact on files and forward-only on pipes (reading
// through). Errors: Open returns 0 and sets *error (a HostFileError);
// LastError() says what is wrong, e.g. "in.wav: unsupported WAV encoding:
// 32-bit IEEE float (only 8- and 16-bit PCM are supported)". A stream that
// ends inside a sample frame is not a clean end: the partial frame is
// dropped and Truncated() turns true.
#ifndef DATAPROCESS_HOST_WAVAUDIOSOURCE_H
#define DATAPROCESS_HOST_WAVAUDIOSOURCE_H

#include <cstdint>
#include <cstdio>
#include <string>

#include <DataProcess/Decoder.h>
#include <DataProcess/MediaTypes.h>

#include "FileSourceState.h"

class WavAudioSource : public AudioDecoder, private FileSourceState::Format {
public:
    enum { DEFAULT_BLOCK_FRAMES = 1024, MAX_CHANNELS = 8 };

    explicit WavAudioSource(int blockFrames = DEFAULT_BLOCK_FRAMES);
    ~WavAudioSource() override;

    int Close() override;
    // `path` is converted to UTF-8; "-" reads standard input.
    int Open(const wchar_t* path, const DecParam* param, int* error) override;
    // Moves to the sample frame nearest to `seconds` (clamped to the data)
    // and returns its time. On a pipe a position before the current one
    // cannot be reached: the position stays and LastError() says so.
    double AudioSeek(double seconds) override;
    // The next block, or null at the end; valid until the next call.
    MEDIA_FRAME* GetNextFrame() override;
    // Time of the next sample frame to be read, in seconds.
    double GetOffset() const override;
    const AudioInfo* GetAudioInfo() const override;
    const AudioStreamInfo* GetAudioStreamInfo() const override;

    // The same as Open, with a UTF-8 path. Returns a HostFileError.
    int OpenPath(const std::string& path);
    // Reads a stream the caller opened; with `own` it is closed by Close.
    int OpenStream(FILE* stream, const std::string& name, bool own);

    // Sample frames per block from the next GetNextFrame on (at least 1).
    void SetBlockFrames(int frames);
    int BlockFrames() const { return m_blockFrames; }

    int SampleRate() const { return m_rate; }
    int Channels() const { return m_channels; }
    int BitsPerSample() const { return m_bits; }
    // The fmt chunk was WAVE_FORMAT_EXTENSIBLE; its channel mask (0 otherwise).
    bool Extensible() const { return m_extensible; }
    uint32_t ChannelMask() const { return m_channelMask; }
    // Sample frames in the data chunk; -1 when the length is unknown.
    int64_t SampleFrameCount() const { return m_totalFrames; }
    // Index of the next sample frame to be read.
    int64_t SamplePosition() const { return m_position; }

    bool Truncated() const { return m_in.truncated; }
    const std::string& LastError() const { return m_in.error; }

private:
    int Begin() override;
    void Forget() override;
    void Reset();
    int ParseFormat(const unsigned char* fmt, uint32_t size);
    void FillStreamBlock();
    int64_t TimeOf(int64_t sampleFrame) const;
    bool EnsureBuffer();
    void NotePartialFrame(size_t got);

    FileSourceState m_in{*this};

    int m_blockFrames = DEFAULT_BLOCK_FRAMES;
    int m_rate = 0;
    int m_channels = 0;
    int m_bits = 0;
    int m_blockAlign = 0; // bytes per sample frame
    bool m_extensible = false;
    uint32_t m_channelMask = 0;

    int64_t m_dataStart = 0;    // stream offset of the first sample
    int64_t m_dataBytes = -1;   // bytes of the data chunk; -1 = up to the end of the stream
    int64_t m_consumed = 0;     // bytes of the data chunk read or skipped
    int64_t m_totalFrames = -1; // known sample frames, -1 = unknown
    int64_t m_position = 0;     // next sample frame
    bool m_ended = false;

    MEDIA_FRAME* m_frame = nullptr;
    AudioStreamInfo m_stream{};
};

#endif // DATAPROCESS_HOST_WAVAUDIOSOURCE_H
