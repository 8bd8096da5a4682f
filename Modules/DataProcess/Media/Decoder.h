// The two decoder interfaces that a host implements and that every
// DataProcess stage both consumes and implements, so that stages stack like
// decorators over a host decoder.
//
// Ownership: a frame returned by GetFrame/GetNextFrame belongs to the object
// that returned it and stays valid until the next call on that object. A
// stage never destroys the decoder it was built over.
#ifndef DATAPROCESS_DECODER_H
#define DATAPROCESS_DECODER_H

#include <stdint.h>
#include <wchar.h>

#include "DataProcessExport.h"
#include "MediaTypes.h"

// Extension codes of SetExDecodeParam.
enum {
    DP_EXCODE_ORIGINAL_DECODER = 1002, // answered by VideoProcess with the decoder below the stack
    DP_EXCODE_USER_SUBPIC = 8888,      // a tagUserSubPic* for the host decoder
    DP_EXCODE_USER_SUBPIC_EX = 8889    // a tagUserSubPicEx* for the host decoder
};

class DP_API VideoDecoder {
public:
    VideoDecoder() = default;
    VideoDecoder(const VideoDecoder&) = delete;
    VideoDecoder& operator=(const VideoDecoder&) = delete;
    virtual ~VideoDecoder();

    virtual int Close() = 0;
    // Nonzero = success.
    virtual int Open(const wchar_t* path, const DecParam* param, int* error) = 0;
    // Extension channel for decoder-specific requests. The parameters and
    // the result are pointer-sized because some codes carry an address.
    virtual intptr_t SetExDecodeParam(unsigned int code, uintptr_t param1, uintptr_t param2) = 0;
    virtual const VideoInfo* GetVideoInfo() const = 0;
    virtual const VideoStreamInfo* GetVideoStreamInfo() const = 0;
    // Returns the time actually reached, in seconds.
    virtual double VideoSeekTime(double seconds, unsigned int flags) = 0;
    virtual int VideoSeek(int frame, unsigned int flags) = 0;
    // The current picture, or null at the end or on failure. Calling it
    // twice without Forward or a seek in between yields the same picture.
    virtual const MEDIA_FRAME* GetFrame() const = 0;
    virtual int GetFrameOffset() const = 0;
    // Advances by count frames; returns the count advanced (0 at the end).
    virtual int Forward(int count) = 0;
    virtual void SetCreateType(int type);
    virtual int GetCreateType() const;
    // Asks the object to change its output description. `info` is the
    // address of a VideoModifyRequest. The default does nothing and returns 1.
    virtual int ModifyInfo(unsigned int flags, uintptr_t info);

protected:
    // A tag the host may set to remember how it made the object; the library
    // never reads it.
    int nCreateType = 0;
};

// The request record whose address ModifyInfo receives (16 bytes).
struct VideoModifyRequest {
    int32_t nHeight;
    int32_t nWidth;
    double dFrameRate;
};
static_assert(sizeof(VideoModifyRequest) == 16, "ModifyInfo request is 16 bytes");

class DP_API AudioDecoder {
public:
    AudioDecoder() = default;
    AudioDecoder(const AudioDecoder&) = delete;
    AudioDecoder& operator=(const AudioDecoder&) = delete;
    virtual ~AudioDecoder();

    virtual int Close() = 0;
    virtual int Open(const wchar_t* path, const DecParam* param, int* error) = 0;
    // Returns the time reached, in seconds.
    virtual double AudioSeek(double seconds) = 0;
    // The next block, or null at the end.
    virtual MEDIA_FRAME* GetNextFrame() = 0;
    // The current position in seconds.
    virtual double GetOffset() const = 0;
    virtual const AudioInfo* GetAudioInfo() const = 0;
    virtual const AudioStreamInfo* GetAudioStreamInfo() const = 0;
    virtual void SetCreateType(int type);
    virtual int GetCreateType() const;

protected:
    int nCreateType = 0;
};

#endif // DATAPROCESS_DECODER_H
