// The FFmpeg host sources over arbitrary bytes as a media file, read from
// memory through an I/O context of our own: the video source and the audio
// source each open the bytes, hand out frames and blocks, and seek a
// little. Every byte a frame
// or a block claims to hold is read, so that a plane or a buffer shorter
// than its record says shows up under the address sanitizer.
//
// The input is the file itself (the seeds are small real clips); its last
// byte also picks the stream (the best, or the second of its kind) and the
// seek targets.
#include <cstdint>
#include <cstring>

extern "C" {
#include <libavformat/avio.h>
#include <libavutil/error.h>
#include <libavutil/mem.h>
}

#include "FfmpegAudioSource.h"
#include "FfmpegVideoSource.h"
#include "FuzzInput.h"

namespace {

struct MemoryFile {
    const uint8_t* data;
    int64_t size;
    int64_t pos;
};

int ReadPacket(void* opaque, uint8_t* buf, int size)
{
    MemoryFile* f = static_cast<MemoryFile*>(opaque);
    const int64_t left = f->size - f->pos;
    if (left <= 0)
        return AVERROR_EOF;
    const int n = static_cast<int>(left < size ? left : size);
    std::memcpy(buf, f->data + f->pos, static_cast<size_t>(n));
    f->pos += n;
    return n;
}

int64_t Seek(void* opaque, int64_t offset, int whence)
{
    MemoryFile* f = static_cast<MemoryFile*>(opaque);
    whence &= ~AVSEEK_FORCE;
    if (whence == AVSEEK_SIZE)
        return f->size;
    int64_t to = offset;
    if (whence == SEEK_CUR)
        to = f->pos + offset;
    else if (whence == SEEK_END)
        to = f->size + offset;
    else if (whence != SEEK_SET)
        return AVERROR(EINVAL);
    if (to < 0 || to > f->size)
        return AVERROR(EINVAL);
    f->pos = to;
    return to;
}

// An I/O context over the bytes, freed with its buffer at the end of scope.
class MemoryIo {
public:
    MemoryIo(const uint8_t* data, size_t size) : m_file{data, static_cast<int64_t>(size), 0}
    {
        const int bufferSize = 4096;
        uint8_t* buffer = static_cast<uint8_t*>(av_malloc(bufferSize));
        if (buffer)
            m_io = avio_alloc_context(buffer, bufferSize, 0, &m_file, ReadPacket, nullptr, Seek);
        if (!m_io)
            av_free(buffer);
    }
    ~MemoryIo()
    {
        if (m_io)
            av_freep(&m_io->buffer);
        avio_context_free(&m_io);
    }
    AVIOContext* Get() const { return m_io; }

private:
    MemoryFile m_file;
    AVIOContext* m_io = nullptr;
};

volatile uint32_t g_sink; // keeps the reads below from being optimised away

void Touch(const unsigned char* p, int64_t bytes)
{
    uint32_t sum = 0;
    for (int64_t i = 0; i < bytes; ++i)
        sum += p[i];
    g_sink = g_sink + sum;
}

void TouchPicture(const MEDIA_FRAME* f)
{
    if (!f)
        return;
    const int cw = (f->nWidth + 1) / 2, ch = (f->nHeight + 1) / 2;
    for (int y = 0; y < f->nHeight; ++y)
        Touch(f->pY + static_cast<int64_t>(y) * f->nPitchY, f->nWidth);
    for (int y = 0; y < ch; ++y) {
        Touch(f->pU + static_cast<int64_t>(y) * f->nPitchU, cw);
        Touch(f->pV + static_cast<int64_t>(y) * f->nPitchV, cw);
    }
}

void Video(const uint8_t* data, size_t size, int stream, uint8_t choice)
{
    MemoryIo io(data, size);
    FfmpegVideoSource source;
    if (!io.Get() || source.OpenIo(io.Get(), "fuzz input", stream) != 0)
        return;
    (void)source.GetVideoInfo();
    (void)source.DisplayOrientation();
    for (int i = 0; i < 24; ++i) {
        TouchPicture(source.GetFrame());
        (void)source.GetFrameOffset();
        if (source.Forward(1) != 1)
            break;
    }
    source.VideoSeekTime((choice & 15) * 0.1, 0);
    TouchPicture(source.GetFrame());
    source.Forward(2);
    TouchPicture(source.GetFrame());
    source.VideoSeek((choice >> 4) & 7, 0);
    TouchPicture(source.GetFrame());
}

void Audio(const uint8_t* data, size_t size, int stream, uint8_t choice)
{
    MemoryIo io(data, size);
    FfmpegAudioSource source;
    if (!io.Get() || source.OpenIo(io.Get(), "fuzz input", stream) != 0)
        return;
    (void)source.GetAudioInfo();
    for (int i = 0; i < 64; ++i) {
        const MEDIA_FRAME* b = source.GetNextFrame();
        if (!b)
            break;
        Touch(b->pData, b->nDataSize);
        (void)source.GetOffset();
    }
    source.AudioSeek((choice & 15) * 0.1);
    for (int i = 0; i < 4; ++i) {
        const MEDIA_FRAME* b = source.GetNextFrame();
        if (!b)
            break;
        Touch(b->pData, b->nDataSize);
    }
    source.AudioSeek(-1.0);
    if (const MEDIA_FRAME* b = source.GetNextFrame())
        Touch(b->pData, b->nDataSize);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FfmpegQuietLogs();
    const uint8_t choice = size ? data[size - 1] : 0;
    const int stream = choice & 0x80 ? 1 : -1;
    Video(data, size, stream, choice);
    Audio(data, size, stream, choice);
    return 0;
}
