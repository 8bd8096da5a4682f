// Making, copying and freeing MEDIA_FRAME records.
#ifndef DATAPROCESS_FRAME_H
#define DATAPROCESS_FRAME_H

#include "DataProcessExport.h"
#include "MediaTypes.h"

// Extra bytes allocated after the planes of every frame made here, as slack
// for filters and scalers that touch a little past a row's end.
enum { DP_FRAME_SLACK = 512 };

// A new YV12 frame of width x height, its planes in one block (Y, V, U, then
// alpha when withAlpha is nonzero), pitches width and (width + 1) / 2, times
// unknown. When clear is nonzero the picture is black (Y 16, U/V 128) and the
// alpha opaque (255); otherwise the pixels are undefined. Returns null for a
// negative size. The caller releases it with ReleaseYV12Frame.
DP_API MEDIA_FRAME* CreateYV12Frame(int width, int height, int withAlpha, int clear);

// Frees the plane block and the record; null is allowed.
DP_API void ReleaseYV12Frame(MEDIA_FRAME* frame);

// Copies the picture of src into dst (sizes taken from dst; src must be at
// least as large), honouring each frame's pitches; with withTime nonzero the
// time stamps and duration too. The alpha plane is copied when src has one
// (dst must then have one as well). A null argument does nothing.
DP_API void CopyVideoFrame(MEDIA_FRAME* dst, const MEDIA_FRAME* src, int withTime);

// A new audio frame with an empty buffer of bufferSize bytes (nDataSize 0,
// times unknown). Returns null for a negative size. Release it with
// ReleaseAudioFrame.
DP_API MEDIA_FRAME* CreateAudioFrame(int sampleRate, int channels, int bitsPerSample, int bufferSize);

// Frees pData and the record; null is allowed.
DP_API void ReleaseAudioFrame(MEDIA_FRAME* frame);

#endif // DATAPROCESS_FRAME_H
