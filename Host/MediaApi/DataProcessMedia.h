/* Media files from C: the host library's FFmpeg decoders and writer behind
 * plain functions (libDataProcessMedia, pkg-config "dataprocess-media",
 * CMake find_package(DataProcess COMPONENTS Media) -> DataProcess::Media).
 * The DataProcess library itself links no FFmpeg; this one does.
 *
 *     char err[256];
 *     DPMediaVideo* in = DPMediaVideoOpen("in.mp4", err, sizeof err);
 *     if (!in) { puts(err); return 1; }
 *     VideoDecoder* stage = PCVideoCreate(DPMediaVideoDecoder(in), &resize, 30.0);
 *     ... PCGetVideoFrame(stage) / PCVideoForward(stage, 1) ...
 *     PCVideoDestroy(stage);    the stage first,
 *     DPMediaVideoClose(in);    then the file.
 *
 * Paths are UTF-8. Every function accepts a null handle and then does
 * nothing (results 0, null or an empty text). Texts returned stay valid
 * until the next call on the same handle. A handle is used by one thread at
 * a time (a stage over it is read by one thread: see DataProcessC.h).
 *
 * Time stamps: 100 ns units from the file's start (the origin of audio and
 * video alike). A video picture's llStopTime is its end minus 3 ticks, i.e.
 * the last tick it covers, so that a constant-rate stage gives a grid time
 * at a picture boundary to the picture that starts there (a 25 fps file on a
 * 25 fps grid comes out picture for picture). Audio blocks carry their start
 * in llStartTime and llStopTime.
 *
 * This header compiles as C99 and as C++. */
#ifndef DATAPROCESS_DATAPROCESSMEDIA_H
#define DATAPROCESS_DATAPROCESSMEDIA_H

#include <stddef.h>
#include <stdint.h>

#include "DataProcessC.h"
#include "MediaTypes.h"

#if defined(__GNUC__) || defined(__clang__)
#  define DP_MEDIA_API __attribute__((visibility("default")))
#else
#  define DP_MEDIA_API
#endif

typedef struct DPMediaVideo DPMediaVideo;
typedef struct DPMediaAudio DPMediaAudio;
typedef struct DPMediaWriter DPMediaWriter;

DP_BEGIN_C

/* ---- reading ---- */

/* Opens the best video stream of a file (any container FFmpeg reads) and
 * decodes its first picture. Null on failure, with one line in `error`
 * (errorSize bytes; may be null), e.g. "in.mp4: no video stream". Any
 * pixel format becomes 8-bit YV12 (deeper video with a warning). */
DP_MEDIA_API DPMediaVideo* DPMediaVideoOpen(const char* path, char* error, size_t errorSize);
/* The decoder to build stages on (PCVideoCreate); owned by the handle. */
DP_MEDIA_API VideoDecoder* DPMediaVideoDecoder(DPMediaVideo* video);
/* Length of the file in seconds (0 when unknown). */
DP_MEDIA_API double DPMediaVideoDuration(DPMediaVideo* video);
/* 1 when the container says the pictures come at varying intervals (a
 * constant-rate stage then evens them out at the average rate). */
DP_MEDIA_API int DPMediaVideoVariableRate(DPMediaVideo* video);
/* "h264, yuv420p": the decoder and the stream's pixel format. */
DP_MEDIA_API const char* DPMediaVideoDescription(DPMediaVideo* video);
/* A warning from opening (e.g. 10-bit converted to 8), or "". */
DP_MEDIA_API const char* DPMediaVideoWarning(DPMediaVideo* video);
/* Damaged packets skipped or concealed so far. */
DP_MEDIA_API long long DPMediaVideoDamagedPackets(DPMediaVideo* video);
/* "" while reading is fine; after the last picture, the reason when the
 * file did not read cleanly to its end. */
DP_MEDIA_API const char* DPMediaVideoError(DPMediaVideo* video);
/* Destroy every stage over the decoder first. */
DP_MEDIA_API void DPMediaVideoClose(DPMediaVideo* video);

/* The best audio stream, as interleaved 16-bit PCM at the stream's own rate
 * and channel count (1 to 8; the stages change them). */
DP_MEDIA_API DPMediaAudio* DPMediaAudioOpen(const char* path, char* error, size_t errorSize);
DP_MEDIA_API AudioDecoder* DPMediaAudioDecoder(DPMediaAudio* audio);
DP_MEDIA_API double DPMediaAudioDuration(DPMediaAudio* audio);
DP_MEDIA_API const char* DPMediaAudioDescription(DPMediaAudio* audio);
DP_MEDIA_API long long DPMediaAudioDamagedPackets(DPMediaAudio* audio);
DP_MEDIA_API const char* DPMediaAudioError(DPMediaAudio* audio);
DP_MEDIA_API void DPMediaAudioClose(DPMediaAudio* audio);

/* ---- writing ---- */

/* What to write. Fill it with DPMediaOutputFormatInit, then set what you
 * need; nSize lets later versions grow the record. */
typedef struct DPMediaOutputFormat {
    uint32_t nSize;
    /* Video, none when nWidth is 0: YV12 MEDIA_FRAMEs of this size. */
    int32_t nWidth, nHeight;
    int32_t nRateNum, nRateDen; /* frame rate as a fraction (default 25/1) */
    int32_t nAspectX, nAspectY; /* display aspect, 0:0 = square pixels */
    const char* videoCodec;     /* "h264", "ffv1", or null: the container's usual */
    int32_t nCrf;               /* H.264 constant quality 0..51; -1: 23 unless a bitrate is set */
    int64_t llVideoBitrate;     /* bits per second; 0 = by quality */
    const char* preset;         /* x264 speed preset; null = "medium" */
    /* Audio, none when nSampleRate is 0: interleaved 16-bit PCM blocks. */
    int32_t nSampleRate, nChannels;
    const char* audioCodec;  /* "aac", "flac", or null */
    int64_t llAudioBitrate;  /* AAC bits per second; 0 = 64 kb/s a channel */
} DPMediaOutputFormat;

DP_MEDIA_API void DPMediaOutputFormatInit(DPMediaOutputFormat* format);

/* Opens a container chosen by the extension of `path` (.mp4, .mkv, .mov,
 * .m4a, .flac, ...). Null with the reason in `error` when the container
 * cannot hold what `format` asks for, or the file cannot be made. The file
 * appears under its name only at DPMediaWriterCommit. */
DP_MEDIA_API DPMediaWriter* DPMediaWriterOpen(const char* path, const DPMediaOutputFormat* format, char* error,
                                              size_t errorSize);
/* One picture or one audio block, in time order per stream; 1 on success,
 * 0 with DPMediaWriterError set. The frame stays the caller's. */
DP_MEDIA_API int DPMediaWriterVideo(DPMediaWriter* writer, const MEDIA_FRAME* frame);
DP_MEDIA_API int DPMediaWriterAudio(DPMediaWriter* writer, const MEDIA_FRAME* block);
/* Drains the encoders, completes the container and puts the file in place;
 * 1 on success. */
DP_MEDIA_API int DPMediaWriterCommit(DPMediaWriter* writer);
DP_MEDIA_API const char* DPMediaWriterError(DPMediaWriter* writer);
/* Frees the writer; a file not committed is discarded (nothing is left
 * under its name). */
DP_MEDIA_API void DPMediaWriterClose(DPMediaWriter* writer);

DP_END_C

#endif /* DATAPROCESS_DATAPROCESSMEDIA_H */
