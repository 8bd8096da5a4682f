// Writes YV12 MEDIA_FRAMEs as a YUV4MPEG2 stream (8-bit 4:2:0, C420jpeg)
// to a file or to standard output ("-").
//
// A file appears under its name only after Commit(); until then it is
// written to a temporary file beside it, which is removed on failure or when
// the writer is destroyed uncommitted (see AtomicOutputFile).
//
// The header carries W, H, F (rate as num:den), I (progressive unless set),
// A (pixel aspect that gives the display aspect asked for; 1:1 when none)
// and C420jpeg. Frames are written honouring their pitches.
//
// Any failure (a frame of the wrong size, a write error) abandons the output:
// LastError() names the path and the cause, and later calls fail.
#ifndef DATAPROCESS_HOST_Y4MWRITER_H
#define DATAPROCESS_HOST_Y4MWRITER_H

#include <cstdint>
#include <cstdio>
#include <string>

#include <DataProcess/MediaTypes.h>

#include "FileSinkState.h"

struct Y4mStreamFormat {
    int width = 0;
    int height = 0;
    int32_t rateNum = 25; // frames per second as num:den, both positive
    int32_t rateDen = 1;
    int aspectX = 0;      // display aspect; 0 in either = square pixels (A1:1)
    int aspectY = 0;
    char interlace = 'p'; // p, t, b or m
};

class Y4mWriter {
public:
    Y4mWriter() = default;
    ~Y4mWriter() = default; // an uncommitted file is removed

    // Starts the stream at `path` (UTF-8; "-" = standard output) and writes
    // its header. False with LastError() set on a bad format or when the
    // output cannot be created.
    bool Open(const std::string& path, const Y4mStreamFormat& format);
    bool Open(const char* path, const Y4mStreamFormat& format);
    // Writes to a stream the caller opened and keeps (e.g. a pipe).
    bool Attach(FILE* stream, const std::string& name, const Y4mStreamFormat& format);

    // Appends one picture; its size must be the stream's.
    bool WriteFrame(const MEDIA_FRAME* frame);
    // Completes the output (see AtomicOutputFile::Commit).
    bool Commit();
    // Abandons the output; nothing is left under the final name.
    void Discard();

    int FramesWritten() const { return m_frames; }
    const std::string& LastError() const { return m_sink.error; }

private:
    bool Start(const Y4mStreamFormat& format);

    FileSinkState m_sink;
    Y4mStreamFormat m_format;
    int m_frames = 0;
};

#endif // DATAPROCESS_HOST_Y4MWRITER_H
