/* Decoders made of C callbacks: any language that can call C can hand the
 * library its frames.
 *
 * The host fills a DPVideoCallbacks (or DPAudioCallbacks) record with
 * function pointers and a user pointer; PCVideoFromCallbacks (or
 * PCAudioFromCallbacks) wraps it as a VideoDecoder* (AudioDecoder*) that
 * PCVideoCreate (PCAudioCreate) accepts like any decoder:
 *
 *     DPVideoCallbacks cb = {0};
 *     cb.nSize = sizeof cb;
 *     cb.nVersion = DP_CALLBACKS_VERSION;
 *     cb.pUser = &mySource;
 *     cb.GetInfo = MyInfo; cb.GetFrame = MyFrame; cb.Forward = MyForward;
 *     VideoDecoder* dec = PCVideoFromCallbacks(&cb, err, sizeof err);
 *     VideoDecoder* stage = PCVideoCreate(dec, &resize, 30.0);
 *     ... PCGetVideoFrame(stage) / PCVideoForward(stage, 1) ...
 *     PCVideoDestroy(stage);   the stage first,
 *     PCVideoDestroy(dec);     then the wrapper (it calls Close once).
 *
 * Versions: nSize is sizeof the record as the host compiled it and
 * nVersion DP_CALLBACKS_VERSION; a later library reads the fields it knows
 * and treats the ones beyond nSize as null, so hosts built against this
 * header keep working.
 *
 * Lifetimes:
 * - The record is copied: it may be freed after the call. pUser is the
 *   host's; the wrapper never frees it. Close (when set) is called exactly
 *   once, when the wrapper is destroyed, and nothing after it.
 * - A frame returned by GetFrame must stay valid, unchanged, until the next
 *   call of Forward, SeekTime, SeekFrame or Close on the same record. A
 *   frame returned by GetNextFrame (audio) until the next GetNextFrame,
 *   Seek or Close. The frame and its buffers remain the host's.
 * - Frames handed up by the wrapper (and by stages above it) follow the
 *   usual rule: valid until the next call on the object that returned them.
 *
 * Threads: the wrapper calls back only from inside a call made on it, on
 * the calling thread: GetInfo inside PC*FromCallbacks; GetFrame, Forward
 * and the seeks inside the wrapper's Forward and seek functions (which a
 * stage calls from its reading thread); Close inside the destroy call. It
 * remembers the current picture, so that GetFrame on the wrapper (which a
 * stage may call from a setter thread, e.g. for a capture) never calls back.
 * Calls on one wrapper never overlap; two wrappers are independent.
 *
 * Errors: a callback reports failure by a negative result (GetInfo: 0 or
 * less). The wrapper also checks each frame against the stream description
 * (kind, size, planes, pitches; audio: format and a whole number of sample
 * frames) and treats a frame that does not match as a failure instead of
 * reading out of its bounds. After a failure the wrapper reports the end of
 * the stream (null frame, Forward 0) and PCVideoCallbackStatus /
 * PCAudioCallbackStatus tell the end from the failure, with a message.
 *
 * This header compiles as C99 and as C++. */
#ifndef DATAPROCESS_DATAPROCESSCALLBACKS_H
#define DATAPROCESS_DATAPROCESSCALLBACKS_H

#include <stddef.h>
#include <stdint.h>

#include "DataProcessC.h"
#include "DataProcessExport.h"
#include "MediaTypes.h"

#define DP_CALLBACKS_VERSION 1

/* Results of PCVideoCallbackStatus / PCAudioCallbackStatus. Negative values
 * other than these are the callback's own error code, passed on. */
#define DP_CALLBACK_OK 0           /* reading (or not started) */
#define DP_CALLBACK_ENDED 1        /* the source said it has no more frames */
#define DP_CALLBACK_FAILED (-1)    /* a callback returned null where a frame was due */
#define DP_CALLBACK_BAD_FRAME (-2) /* a frame that does not match the stream description */

typedef struct DPVideoCallbacks {
    uint32_t nSize;    /* sizeof(DPVideoCallbacks) */
    uint32_t nVersion; /* DP_CALLBACKS_VERSION */
    void* pUser;       /* passed to every callback */

    /* Required. Describes the stream: nWidth, nHeight >= 1, dFrameRate > 0
     * (frames per second; a constant-rate stage uses it), nFrameCount (0 when
     * unknown), nAspectX/nAspectY (0 = square pixels). Returns 1, or 0 or
     * less on failure. Called once, by PCVideoFromCallbacks. */
    int (*GetInfo)(void* user, VideoInfo* info);
    /* Required. The current picture: nFrameType MEDIA_FRAME_VIDEO, the
     * stream's size, pY/pU/pV set (pAlpha optional, with nPitchY), pitches
     * at least the plane widths (chroma (w + 1) / 2 by (h + 1) / 2), times in
     * 100 ns (llStopTime the picture's end, or -1). Null at the end or on
     * failure. The first picture is current before any Forward. */
    const MEDIA_FRAME* (*GetFrame)(void* user);
    /* Required. Moves on by count pictures; returns the number moved (0 at
     * the end: the last picture may stay current), negative on failure. */
    int (*Forward)(void* user, int count);
    /* Optional. Moves to the picture shown at `seconds`; returns the start of
     * the picture reached in seconds, negative when the source cannot seek.
     * Null: seeking does nothing and reports -1. */
    double (*SeekTime)(void* user, double seconds, unsigned int flags);
    /* Optional. Moves to picture number `frame`; returns the number reached,
     * negative on failure. Null: the wrapper seeks to frame / dFrameRate
     * through SeekTime. */
    int (*SeekFrame)(void* user, int frame, unsigned int flags);
    /* Optional. The last call: release what pUser holds. */
    void (*Close)(void* user);
} DPVideoCallbacks;

typedef struct DPAudioCallbacks {
    uint32_t nSize;    /* sizeof(DPAudioCallbacks) */
    uint32_t nVersion; /* DP_CALLBACKS_VERSION */
    void* pUser;

    /* Required. nSampleRate >= 1, nChannels 1..8, nBitsPerSample 8 or 16
     * (nBytesPerSecond is derived when 0). Returns 1, or 0 or less. */
    int (*GetInfo)(void* user, AudioInfo* info);
    /* Required. The next block: nFrameType MEDIA_FRAME_AUDIO, interleaved PCM
     * of the stream's format in pData (nDataSize bytes, a whole number of
     * sample frames, at most nBufferSize), llStartTime = llStopTime = the
     * block's start in 100 ns, nDuration its length. Null at the end;
     * `*status` (never null) may be set negative to report a failure. */
    const MEDIA_FRAME* (*GetNextFrame)(void* user, int* status);
    /* Optional. Moves to `seconds`; returns the time reached, negative when
     * the source cannot seek. Null: seeking reports -1. */
    double (*Seek)(void* user, double seconds);
    /* Optional. The time of the next sample in seconds. Null: the wrapper
     * counts the blocks it handed out. */
    double (*GetOffset)(void* user);
    void (*Close)(void* user);
} DPAudioCallbacks;

DP_BEGIN_C

/* Wraps the callbacks as a decoder; null when the record is null, too small,
 * of version 0, lacks a required callback, or GetInfo fails or describes a
 * stream out of range; the reason then goes to `error` (errorSize bytes,
 * may be null). The first picture (GetFrame) is fetched at once.
 * Destroy the result with PCVideoDestroy / PCAudioDestroy after every stage
 * built over it. */
DP_API VideoDecoder* PCVideoFromCallbacks(const DPVideoCallbacks* callbacks, char* error, size_t errorSize);
DP_API AudioDecoder* PCAudioFromCallbacks(const DPAudioCallbacks* callbacks, char* error, size_t errorSize);

/* The state of a wrapper made above (DP_CALLBACK_*, or the callback's own
 * negative code); `message` (may be null) gets a line naming the cause and
 * stays valid until the next call on the wrapper. A handle that is not such
 * a wrapper (or null) gives DP_CALLBACK_FAILED and "not a callback decoder". */
DP_API int PCVideoCallbackStatus(VideoDecoder* decoder, const char** message);
DP_API int PCAudioCallbackStatus(AudioDecoder* decoder, const char** message);

DP_END_C

#endif /* DATAPROCESS_DATAPROCESSCALLBACKS_H */
