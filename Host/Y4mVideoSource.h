// A host video decoder over a YUV4MPEG2 stream: a file, or standard input
// for the path "-" (so that the tool can sit in a pipe after
// `ffmpeg -f yuv4mpegpipe -`).
//
// Only 8-bit 4:2:0 is read (C420jpeg, C420paldv, C420mpeg2, C420, or no C
// tag). Frames become YV12 MEDIA_FRAMEs; frame i is stamped
// start = round(i * 10^7 * den / num), stop = start + period,
// nDuration = period (the rounded length of one frame). The stream block
// carries the size, the rate, the display aspect (from the A tag) and, for a
// regular file, the number of complete frames (0 when unknown, e.g. a pipe).
//
// Positioning behaves as a real decoder's: after Open the first frame is
// current; Forward(n) advances and returns the count advanced (0 at the
// end, where the last frame stays current); VideoSeek/VideoSeekTime jump
// anywhere in a file and only forward on a pipe (reading through).
//
// Errors: Open returns 0 and sets *error (a HostFileError); LastError()
// says what is wrong and where, e.g.
//   "in.y4m: unsupported chroma format C444 (only 4:2:0 is supported)"
//   "in.y4m: truncated frame 12 (got 1000 of 38016 bytes)".
// A stream that ends inside a frame is not a clean end: Truncated() turns
// true when reading reaches that frame. After the last frame has been read,
// an empty LastError() means the whole stream was read cleanly.
#ifndef DATAPROCESS_HOST_Y4MVIDEOSOURCE_H
#define DATAPROCESS_HOST_Y4MVIDEOSOURCE_H

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include <DataProcess/Decoder.h>
#include <DataProcess/MediaTypes.h>

#include "FileSourceState.h"

class Y4mVideoSource : public VideoDecoder, private FileSourceState::Format {
public:
    Y4mVideoSource();
    ~Y4mVideoSource() override;

    int Close() override;
    // `path` is converted to UTF-8; "-" reads standard input.
    int Open(const wchar_t* path, const DecParam* param, int* error) override;
    intptr_t SetExDecodeParam(unsigned int code, uintptr_t param1, uintptr_t param2) override;
    const VideoInfo* GetVideoInfo() const override;
    const VideoStreamInfo* GetVideoStreamInfo() const override;
    // Moves to the frame shown at `seconds` (the last one starting at or
    // before it) and returns its start time in seconds.
    double VideoSeekTime(double seconds, unsigned int flags) override;
    // Moves to frame `frame` (clamped to the stream) and returns the frame
    // reached. On a pipe a frame before the current one cannot be reached:
    // the position stays and LastError() says so.
    int VideoSeek(int frame, unsigned int flags) override;
    const MEDIA_FRAME* GetFrame() const override;
    // Number of the current frame, -1 when there is none.
    int GetFrameOffset() const override;
    int Forward(int count) override;

    // The same as Open, with a UTF-8 path. Returns a HostFileError.
    int OpenPath(const std::string& path);
    // Reads a stream the caller opened; with `own` it is closed by Close.
    int OpenStream(FILE* stream, const std::string& name, bool own);

    int Width() const { return m_width; }
    int Height() const { return m_height; }
    int RateNum() const { return m_rateNum; }
    int RateDen() const { return m_rateDen; }
    // Pixel aspect of the A tag as written (0:0 when absent or unknown).
    int PixelAspectNum() const { return m_parNum; }
    int PixelAspectDen() const { return m_parDen; }
    // Interlacing of the I tag: 'p' progressive, 't' top field first,
    // 'b' bottom field first, 'm' mixed, '?' unknown or absent.
    char Interlacing() const { return m_interlace; }
    // The C tag as written ("420jpeg", ...); empty when absent.
    const std::string& Chroma() const { return m_chroma; }
    // Complete frames of a regular file; -1 for a stream of unknown length.
    int FrameCount() const { return m_count; }
    // Duration of one frame in 100 ns (rounded).
    int64_t FramePeriod() const { return m_period; }
    // Bytes of one frame's picture data (without its FRAME line).
    size_t FrameBytes() const { return m_frameBytes; }

    bool Truncated() const { return m_in.truncated; }
    const std::string& LastError() const { return m_in.error; }

private:
    enum ReadResult { READ_OK, READ_END, READ_FAILED };

    int Begin() override;
    void Forget() override;
    void Reset();
    int ParseHeader();
    int ParseTag(const std::string& tag);
    int IndexFile();
    void FillStreamBlock();
    // Reads frame `number`, whose FRAME line starts at the stream's current
    // position, into the back buffer and makes it current.
    ReadResult ReadFrameHere(int number);
    ReadResult LoadFrame(int number); // seekable streams: any frame
    int64_t FrameOffset(int number) const;
    void NoteTail();

    FileSourceState m_in{*this};

    // Header.
    int m_width = 0;
    int m_height = 0;
    int m_rateNum = 0;
    int m_rateDen = 0;
    int m_parNum = 0;
    int m_parDen = 0;
    char m_interlace = '?';
    std::string m_chroma;
    int64_t m_period = 0;
    size_t m_lumaBytes = 0;
    size_t m_chromaBytes = 0;
    size_t m_frameBytes = 0;

    // Layout of a seekable stream: frames at a fixed stride after the
    // header, or (FRAME lines of varying length) an index of offsets.
    int64_t m_dataStart = 0;
    int64_t m_stride = 0;
    std::vector<int64_t> m_index;
    int m_count = -1;
    std::string m_tailError; // what lies after the last complete frame, if not a clean end
    bool m_tailTruncated = false;

    // Two frames: the current one and the one being read, so that a failed
    // read never spoils the current picture.
    MEDIA_FRAME* m_frames[2] = {nullptr, nullptr};
    int m_front = 0;
    int m_current = -1;
    bool m_streamEnded = false; // a non-seekable stream has no more frames

    VideoStreamInfo m_stream{};
};

#endif // DATAPROCESS_HOST_Y4MVIDEOSOURCE_H
