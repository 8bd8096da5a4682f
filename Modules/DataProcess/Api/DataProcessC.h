/* The flat DataProcess API: plain functions over opaque stage handles.
 *
 * A video handle is a VideoProcess made by PCVideoCreate (it is also a
 * VideoDecoder); an audio handle an AudioProcess made by PCAudioCreate (also
 * an AudioDecoder). Every function checks its handle and forwards exactly one
 * call: a null handle does nothing, and functions with a result then return
 * 0 (null). PCVideoSeek, PCGetVideoInfo, PCGetVideoFrame, PCVideoForward,
 * PCVideoDestroy and their audio twins go through the decoder interface and
 * work on any decoder; the other functions need the library's own stage.
 *
 * Pointers returned by PCGetVideoFrame/PCGetNextAudioFrame belong to the
 * stage and stay valid until the next call on it; info records stay valid
 * for the stage's lifetime. No function takes a lock of its own; every
 * setter of the video stage (the picture settings, geometry, both
 * watermarks, captures) may be called from one thread while another reads
 * frames: the stage locks what they share. Audio stages are driven by one
 * thread.
 *
 * The names PCSetVolum and PCSetVideoDeintelace are spelled so on purpose:
 * hosts bind to them by name.
 *
 * This header compiles as C99 and as C++. */
#ifndef DATAPROCESS_DATAPROCESSC_H
#define DATAPROCESS_DATAPROCESSC_H

#include <wchar.h>

#include "AudioResampler.h"
#include "DataProcessExport.h"
#include "ImageTypes.h"
#include "MediaTypes.h"
#include "ResizeTypes.h"
#include "WinTypes.h"

#ifdef __cplusplus
class VideoDecoder;
class AudioDecoder;
#else
/* Opaque in C. */
typedef struct VideoDecoder VideoDecoder;
typedef struct AudioDecoder AudioDecoder;
#endif

DP_BEGIN_C

/* Creation and destruction. The decoder is the host's: it must be open, it
 * must outlive the stage, and destroying the stage leaves it to the host.
 * frameRate 0 means the stream's own rate; resize may be null. */
DP_API VideoDecoder* PCVideoCreate(VideoDecoder* decoder, const RESIZE_PARAM* resize, double frameRate);
DP_API void PCVideoDestroy(VideoDecoder* video);
/* sampleRate 0: no conversion. bEven nonzero inserts the timeline stage that
 * fills gaps and trims overlaps. */
DP_API AudioDecoder* PCAudioCreate(AudioDecoder* decoder, int sampleRate, int channels, int bitsPerSample,
                                   unsigned int bEven);
DP_API void PCAudioDestroy(AudioDecoder* audio);

/* Geometry. PCSetCropRect letterboxes (method 1). */
DP_API void PCSetCropRect(VideoDecoder* video, const tagRECT* crop);
DP_API void PCSetCropRectEx(VideoDecoder* video, const tagRECT* crop, IMAGE_RESIZE_METHOD method);
/* angle 90 or 270 (others mean upright); param is stored only. */
DP_API void PCSetRotation(VideoDecoder* video, int angle, int param);

/* Picture settings: -100..100, 0 = unchanged. */
DP_API void PCSetVideoBrightness(VideoDecoder* video, int brightness);
DP_API void PCSetContrast(VideoDecoder* video, int contrast);
DP_API void PCSetVideoSaturation(VideoDecoder* video, int saturation);
/* Filter bits: 1 gray, 2 emboss, 4 negative, 8 black-white, 16 white-black,
 * 32 old photo. Flip bits: 1 horizontal, 2 vertical. */
DP_API void PCSetExFilterFlag(VideoDecoder* video, unsigned int flags);
DP_API void PCSetFlipFlag(VideoDecoder* video, unsigned int flags);
DP_API void PCSetVideoDeintelace(VideoDecoder* video, DEINTERLACE_STYLE style);

/* Watermarks: 32-bit BGRA or the library's 20-bit "YV12" bitmaps; bits may
 * be null when the pixels follow the 40-byte header. percent is the opacity.
 * The stage copies and scales the picture at once; the caller keeps
 * ownership of its buffers. */
DP_API void PCSetWatermarkSrcID(VideoDecoder* video, void* source, const wchar_t* id, tagRECT* rect, int param);
DP_API void PCSetWatermarkSrcIDAlign(VideoDecoder* video, void* source, const wchar_t* id, int align, int param);
DP_API void PCDisableWatermark(VideoDecoder* video, unsigned int disable);
DP_API void PCSetWatermarkImage(VideoDecoder* video, tagBITMAPINFO* info, unsigned char* bits, tagRECT* rect,
                                int percent);
DP_API void PCSetWatermarkImageAlign(VideoDecoder* video, tagBITMAPINFO* info, unsigned char* bits, int align,
                                     int percent);
DP_API void PCSetUserWatermarkImage(VideoDecoder* video, tagBITMAPINFO* info, unsigned char* bits,
                                    tagFRECT* rect, int percent);

/* Sub-pictures, handed down to the host decoder (codes 8888 and 8889). */
DP_API void PCSetUserSubPicture(VideoDecoder* video, tagUserSubPic* subPicture, int param);
DP_API void PCSetSubPicEx(VideoDecoder* video, tagUserSubPicEx* subPicture, int param);

/* Audio settings: volume in percent (100 = unchanged); fades in seconds on
 * the frames' time-stamp scale (an empty span means no fade). */
DP_API void PCSetVolum(AudioDecoder* audio, int volume);
DP_API void PCSetFadeInOutTime(AudioDecoder* audio, double inStart, double inLength, double outStart,
                               double outLength);

/* Rate conversion of an audio stage, chosen before its first block is read:
 * AUDIO_RESAMPLER_LINEAR (the default) or AUDIO_RESAMPLER_HQ, libsoxr's
 * high-quality resampler (AudioResampler.h says what each gives). Returns 1
 * when chosen; 0 for a null handle, an unknown mode, a stage that has
 * already converted, or AUDIO_RESAMPLER_HQ in a build without libsoxr
 * (DPAudioResamplerAvailable tells beforehand); each refusal but the null
 * handle logs one line through OrvLogEx. */
DP_API int PCSetAudioResampler(AudioDecoder* audio, int mode);
/* The mode chosen, and once the first block is converted the mode in use:
 * AUDIO_RESAMPLER_LINEAR when the high-quality one could not serve the
 * stream (logged). 0 for a null handle. */
DP_API int PCGetAudioResampler(AudioDecoder* audio);

/* Saves the current picture as BMP (bJpeg 0) or JPEG; 1 on success. */
DP_API int PCCaptureImage(VideoDecoder* video, wchar_t* path, int bJpeg, unsigned int reserved);

/* Reading and seeking. */
DP_API void PCVideoSeek(VideoDecoder* video, double seconds, unsigned int flags);
DP_API void PCAudioSeek(AudioDecoder* audio, double seconds);
DP_API const VideoInfo* PCGetVideoInfo(VideoDecoder* video);
DP_API const AudioInfo* PCGetAudioInfo(AudioDecoder* audio);
DP_API MEDIA_FRAME* PCGetVideoFrame(VideoDecoder* video);
DP_API int PCVideoForward(VideoDecoder* video, int count);
DP_API MEDIA_FRAME* PCGetNextAudioFrame(AudioDecoder* audio);

DP_END_C

#endif /* DATAPROCESS_DATAPROCESSC_H */
