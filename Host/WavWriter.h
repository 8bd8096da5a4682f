// Writes PCM audio as a WAV file, or to standard output ("-").
//
// 16-bit (signed) or 8-bit (unsigned) samples; 1 or 2 channels as plain
// WAVE_FORMAT_PCM, 3 to 8 as WAVE_FORMAT_EXTENSIBLE with a speaker mask.
// On a seekable output the RIFF and data sizes are filled in at Commit();
// on a pipe they are written as 0xFFFFFFFF ("length unknown", as streaming
// tools do) and the data is not padded.
//
// A file appears under its name only after Commit(); until then it is
// written to a temporary file beside it, removed on failure or when the
// writer is destroyed uncommitted (see AtomicOutputFile). Any failure
// abandons the output: LastError() names the path and the cause.
#ifndef DATAPROCESS_HOST_WAVWRITER_H
#define DATAPROCESS_HOST_WAVWRITER_H

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include <DataProcess/MediaTypes.h>

#include "FileSinkState.h"

struct WavStreamFormat {
    int sampleRate = 48000;
    int channels = 2;       // 1 to 8
    int bitsPerSample = 16; // 16 or 8
    uint32_t channelMask = 0; // speaker mask for more than 2 channels; 0 = the usual one
};

class WavWriter {
public:
    WavWriter() = default;
    ~WavWriter() = default; // an uncommitted file is removed

    // Starts the file at `path` (UTF-8; "-" = standard output) and writes
    // its header.
    bool Open(const std::string& path, const WavStreamFormat& format);
    bool Open(const char* path, const WavStreamFormat& format);
    // Writes to a stream the caller opened and keeps (e.g. a pipe).
    bool Attach(FILE* stream, const std::string& name, const WavStreamFormat& format);

    // Appends interleaved samples in the file's own format; `bytes` must be
    // a whole number of sample frames.
    bool WriteSamples(const void* data, size_t bytes);
    // Appends the samples of an audio MEDIA_FRAME. Its rate and channel
    // count must be the file's; 8- and 16-bit samples are converted to the
    // file's sample size (16 -> 8 keeps the high byte).
    bool WriteFrame(const MEDIA_FRAME* frame);
    // Completes the file: pads odd data, fills in the sizes where the output
    // seeks, then commits (see AtomicOutputFile::Commit).
    bool Commit();
    // Abandons the output; nothing is left under the final name.
    void Discard();

    int64_t SampleFramesWritten() const { return m_blockAlign ? m_dataBytes / m_blockAlign : 0; }
    const std::string& LastError() const { return m_sink.error; }

private:
    bool Start(const WavStreamFormat& format);

    FileSinkState m_sink;
    WavStreamFormat m_format;
    int m_blockAlign = 0;
    size_t m_headerBytes = 0;
    int64_t m_dataBytes = 0;
    std::vector<unsigned char> m_scratch; // sample size conversion, grown once
};

#endif // DATAPROCESS_HOST_WAVWRITER_H
