/* Media records shared by every DataProcess interface.
 *
 * MEDIA_FRAME carries one video picture (planar YUV 4:2:0, "YV12") or one
 * block of interleaved PCM audio. The stream-information blocks are 888-byte
 * host records with the library's information records embedded at fixed
 * offsets; they are declared with 4-byte packing so that those offsets hold
 * on every target. Times are signed 64-bit counts of 100 ns.
 *
 * This header compiles as C99 (the anonymous unions use __extension__ with
 * GCC and Clang) and as C++11 or later. */
#ifndef DATAPROCESS_MEDIATYPES_H
#define DATAPROCESS_MEDIATYPES_H

#include <stdint.h>

#if defined(__GNUC__) && !defined(__cplusplus)
#  define DP_ANON_UNION __extension__ union
#else
#  define DP_ANON_UNION union
#endif

/* nFrameType values */
#define MEDIA_FRAME_VIDEO 2 /* planar YUV 4:2:0 picture */
#define MEDIA_FRAME_AUDIO 3 /* interleaved PCM block */

/* Time stamps: 100-nanosecond units, -1 = unknown. */
#define DP_TIME_UNITS_PER_SECOND 10000000LL
#define DP_TIME_UNKNOWN (-1LL)

/* One picture or one audio block.
 *
 * Video (nFrameType 2): pY/pU/pV/pAlpha point at the planes; frames made by
 * CreateYV12Frame hold all planes in one block that starts at pY, in the
 * memory order Y, V, U, alpha, followed by 512 bytes of slack. pAlpha may be
 * null (opaque). The alpha plane uses nPitchY.
 *
 * Audio (nFrameType 3): pData holds nDataSize valid bytes of interleaved PCM
 * (8-bit unsigned or 16-bit signed little-endian) in a buffer of nBufferSize
 * bytes.
 *
 * Words 3 to 6 are pointers for video and integers for audio; they share
 * storage, so both sets of names work. Copy and compare the record with
 * sizeof(MEDIA_FRAME). */
typedef struct MEDIA_FRAME {
    int32_t nFrameType;
    DP_ANON_UNION { int32_t nParam1; int32_t nSampleRate; };
    DP_ANON_UNION { int32_t nParam2; int32_t nChannels; };
    DP_ANON_UNION { unsigned char* pY; int32_t nBitsPerSample; };
    DP_ANON_UNION { unsigned char* pU; unsigned char* pData; };
    DP_ANON_UNION { unsigned char* pV; int32_t nDataSize; };
    DP_ANON_UNION { unsigned char* pAlpha; int32_t nBufferSize; };
    int32_t nWidth;
    int32_t nHeight;
    int32_t nPitchY;
    int32_t nPitchU;
    int32_t nPitchV;
    int32_t nReserved1;
    int32_t nReserved2;
    int64_t llStartTime;
    int64_t llStopTime;
    int32_t nDuration;
} MEDIA_FRAME;

/* The picture part of a video MEDIA_FRAME (everything after nFrameType),
 * as handed to the trace hook xTraceImage. */
typedef struct VideoImage {
    int32_t nKind;   /* MEDIA_FRAME.nParam1 */
    int32_t nFormat; /* MEDIA_FRAME.nParam2 */
    unsigned char* pY;
    unsigned char* pU;
    unsigned char* pV;
    unsigned char* pAlpha;
    int32_t nWidth;
    int32_t nHeight;
    int32_t nPitchY;
    int32_t nPitchU;
    int32_t nPitchV;
} VideoImage;

#pragma pack(push, 4)

/* Video description: the first 40 bytes of the record a decoder reports.
 * nAspectX/nAspectY give the display aspect ratio (0 in either = square
 * pixels). The three reserved words belong to the host and are copied as
 * they are. */
typedef struct VideoInfo {
    int32_t nWidth;
    int32_t nHeight;
    double  dFrameRate;
    int32_t nFrameCount;
    int32_t nAspectX;
    int32_t nAspectY;
    int32_t nReserved[3];
} VideoInfo;

/* Audio description (28 bytes). dReserved and nReserved belong to the
 * decoder and are copied unchanged by the stages. */
typedef struct AudioInfo {
    int32_t nSampleRate;
    int32_t nChannels;
    int32_t nBitsPerSample;
    int32_t nBytesPerSecond;
    double  dReserved;
    int32_t nReserved;
} AudioInfo;

/* The 888-byte stream block of a host decoder. The library copies it whole
 * and interprets only the embedded records and the two stream times; a
 * stream time t maps to t - llStreamStart + llTimeOffset. */
#define DP_STREAM_INFO_FIELDS                                                  \
    unsigned char abHostData[796]; /* bytes 0..795: host-defined */           \
    VideoInfo videoInfo;           /* bytes 796..835 */                       \
    AudioInfo audioInfo;           /* bytes 836..863 */                       \
    int64_t llStreamStart;         /* byte 864: stream time origin */         \
    int64_t llTimeOffset;          /* byte 872: offset added to times */      \
    unsigned char abHostTail[8]    /* bytes 880..887: host-defined */

typedef struct VideoStreamInfo {
    DP_STREAM_INFO_FIELDS;
} VideoStreamInfo;

typedef struct AudioStreamInfo {
    DP_STREAM_INFO_FIELDS;
} AudioStreamInfo;

#pragma pack(pop)

/* Open parameters of a host decoder. The library never reads them; it only
 * passes the pointer through Open. */
typedef struct DecParam {
    int32_t nFlags;
    int32_t nReserved;
    void*   pUserData;
} DecParam;

/* Sub-picture records of the host and its decoders. The library never looks
 * inside them; it only passes their address down to the decoder. */
struct tagUserSubPic;
struct tagUserSubPicEx;
typedef struct tagUserSubPic tagUserSubPic;
typedef struct tagUserSubPicEx tagUserSubPicEx;

#ifdef __cplusplus
#include <cstddef>
static_assert(sizeof(void*) != 8 || sizeof(MEDIA_FRAME) == 104, "MEDIA_FRAME layout on 64-bit targets");
static_assert(offsetof(MEDIA_FRAME, nSampleRate) == 4 && offsetof(MEDIA_FRAME, nChannels) == 8,
              "MEDIA_FRAME words 1 and 2");
static_assert(offsetof(MEDIA_FRAME, pY) == offsetof(MEDIA_FRAME, nBitsPerSample), "word 3 is shared");
static_assert(offsetof(MEDIA_FRAME, pU) == offsetof(MEDIA_FRAME, pData), "word 4 is shared");
static_assert(offsetof(MEDIA_FRAME, pV) == offsetof(MEDIA_FRAME, nDataSize), "word 5 is shared");
static_assert(offsetof(MEDIA_FRAME, pAlpha) == offsetof(MEDIA_FRAME, nBufferSize), "word 6 is shared");
static_assert(offsetof(MEDIA_FRAME, pU) > offsetof(MEDIA_FRAME, pY) &&
                  offsetof(MEDIA_FRAME, nWidth) > offsetof(MEDIA_FRAME, pAlpha) &&
                  offsetof(MEDIA_FRAME, llStartTime) > offsetof(MEDIA_FRAME, nReserved2) &&
                  offsetof(MEDIA_FRAME, nDuration) > offsetof(MEDIA_FRAME, llStopTime),
              "MEDIA_FRAME keeps its word order");
static_assert(sizeof(VideoInfo) == 40, "VideoInfo is 40 bytes");
static_assert(offsetof(VideoInfo, dFrameRate) == 8, "VideoInfo.dFrameRate at byte 8");
static_assert(offsetof(VideoInfo, nFrameCount) == 16, "VideoInfo.nFrameCount at byte 16");
static_assert(offsetof(VideoInfo, nAspectX) == 20 && offsetof(VideoInfo, nAspectY) == 24, "aspect words");
static_assert(sizeof(AudioInfo) == 28, "AudioInfo is 28 bytes");
static_assert(offsetof(AudioInfo, nBytesPerSecond) == 12, "AudioInfo.nBytesPerSecond at byte 12");
static_assert(offsetof(AudioInfo, dReserved) == 16, "AudioInfo double at byte 16");
static_assert(offsetof(AudioInfo, nReserved) == 24, "AudioInfo trailing int32 at byte 24");
static_assert(sizeof(VideoStreamInfo) == 888, "VideoStreamInfo is 888 bytes");
static_assert(sizeof(AudioStreamInfo) == 888, "AudioStreamInfo is 888 bytes");
static_assert(offsetof(VideoStreamInfo, videoInfo) == 796, "VideoInfo at byte 796");
static_assert(offsetof(VideoStreamInfo, videoInfo) + offsetof(VideoInfo, dFrameRate) == 804, "rate at byte 804");
static_assert(offsetof(VideoStreamInfo, audioInfo) == 836, "AudioInfo at byte 836");
static_assert(offsetof(VideoStreamInfo, llStreamStart) == 864, "llStreamStart at byte 864");
static_assert(offsetof(VideoStreamInfo, llTimeOffset) == 872, "llTimeOffset at byte 872");
static_assert(offsetof(AudioStreamInfo, audioInfo) == 836, "AudioInfo at byte 836");
static_assert(offsetof(AudioStreamInfo, llStreamStart) == 864, "llStreamStart at byte 864");
static_assert(offsetof(AudioStreamInfo, llTimeOffset) == 872, "llTimeOffset at byte 872");
#endif

#endif /* DATAPROCESS_MEDIATYPES_H */
