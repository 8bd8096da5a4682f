// AudioProcess: the audio stage a host reads instead of its decoder. It can
// convert 16-bit PCM to a target sample rate and channel count (through a
// CAudioConverter), put an AudioEvenProcess in front of the decoder so that
// the timeline has no holes or overlaps, scale the volume and apply linear
// fades by time stamp.
//
// The sample rate is converted by linear interpolation unless
// SetResampler(AUDIO_RESAMPLER_HQ) chose libsoxr's high-quality resampler
// (AudioResampler.h) before the first block.
//
// One thread drives a stage; the setters take effect with the next frame.
#ifndef DATAPROCESS_AUDIOPROCESS_H
#define DATAPROCESS_AUDIOPROCESS_H

#include <stdint.h>

#include "AudioResampler.h"
#include "DataProcessExport.h"
#include "Decoder.h"
#include "MediaTypes.h"

class CAudioConverter;
namespace dp_audio {
class AudioTimeMap;
}

class DP_API AudioProcess : public AudioDecoder {
public:
    // pDecoder stays the caller's. With nSampleRate nonzero the stage
    // converts to nSampleRate / nChannels / nBitsPerSample and reports that
    // format (its own AudioInfo and its own copy of the stream record);
    // with 0 the frames pass through unconverted. With bEven nonzero an
    // AudioEvenProcess is made in front of pDecoder (and destroyed with the
    // stage).
    AudioProcess(AudioDecoder* pDecoder, int nSampleRate, int nChannels, int nBitsPerSample, unsigned int bEven);
    ~AudioProcess() override;

    // Forwards to the source; returns its result.
    int Close() override;
    // Does nothing (the host opens its decoder itself); returns 1.
    int Open(const wchar_t* path, const DecParam* param, int* error) override;
    // Forwards to the source. Samples already in the converter are kept and
    // can come out after the seek.
    double AudioSeek(double dTime) override;
    // The next block, or null at the end. A converted block belongs to this
    // stage and is valid until the next call or destruction; without
    // conversion it is the source's own block, changed in place by volume
    // and fades.
    // In the linear mode a converted block is stamped with the start and
    // stop times of the first source block read for it and carries the sum
    // of their durations. In the high-quality mode (with a rate change) its
    // start is the time of its first sample, taken from the source block
    // that sample comes from (its stop time moved by the same offset), and
    // its duration is its own length; when the source ends, the resampler's
    // tail comes out as one more block before the null.
    MEDIA_FRAME* GetNextFrame() override;
    double GetOffset() const override;
    // The stage's own records when it converts, else the source's.
    const AudioInfo* GetAudioInfo() const override;
    const AudioStreamInfo* GetAudioStreamInfo() const override;

    // Volume in percent; 100 leaves the samples unchanged.
    void SetVolum(int nVolume);
    // Fade-in from dInStart for dInLength seconds and fade-out from
    // dOutStart for dOutLength seconds, on the frames' time-stamp scale.
    // An empty span means no fade.
    void FadeInOut(double dInStart, double dInLength, double dOutStart, double dOutLength);
    // True when the frame's start time lies in a non-empty fade span (both
    // ends included).
    bool IsFadeInOut(const MEDIA_FRAME*& pFrame);
    // The volume of a frame inside a fade span: nVolume scaled by the ramp
    // at the frame's start time.
    int GetFadeInOutVolum(const MEDIA_FRAME*& pFrame, int nVolume);

    // Chooses the rate conversion, AUDIO_RESAMPLER_LINEAR (the default) or
    // AUDIO_RESAMPLER_HQ, before the first block is read. Returns 1 when
    // chosen; 0 (with one line in the log, OrvLogEx) for an unknown mode, a
    // stage that has already converted, or AUDIO_RESAMPLER_HQ in a build
    // without libsoxr. A stream the high-quality mode cannot serve (see
    // AudioResampler.h) is converted linearly, logged when its first block
    // arrives.
    int SetResampler(int nMode);
    // The mode chosen, and once the first block is converted the mode in
    // use (AUDIO_RESAMPLER_LINEAR when the high-quality one could not serve
    // the stream).
    int GetResampler() const;

private:
    AudioDecoder* pSource;              // the decoder or the AudioEvenProcess in front of it
    AudioDecoder* pDecoder;             // the caller's decoder, never deleted here
    int32_t nVolume;                    // percent
    AudioInfo* pAudioInfo;              // own target format, or null
    AudioStreamInfo* pAudioStreamInfo;  // own stream record, or null
    CAudioConverter* pConverter;        // made on the first frame
    MEDIA_FRAME* pOutFrame;             // the reused output frame
    int32_t nOutFrameSize;              // capacity of pOutFrame's buffer, bytes
    double dFadeInStart;
    double dFadeInEnd;
    double dFadeOutStart;
    double dFadeOutEnd;
    int64_t llTotalDuration; // sum of the nDuration of every source frame read
    int32_t nResampler;                 // the mode asked for
    dp_audio::AudioTimeMap* pTimeMap;   // output stamps, when the high-quality mode converts the rate
    int64_t llFramesOut;                // output frames of the stream handed out (high-quality mode)
    bool bFlushed;                      // the source ended and the resampler's tail was taken
};

// Scale nCount 16-bit samples in place by nVolume percent, clamped to
// [-32767, 32767]. Volume 100 does nothing.
DP_API void ChangeVolume16(short* pData, int nCount, int nVolume);

// Scale nCount 8-bit samples in place by nVolume percent. Each byte is taken
// as a value 0..255 and the result limited to [-127, 127] before its low byte
// is stored, so every result above 127 becomes 127: that is the behaviour of
// this path, not offset-binary arithmetic. Volume 100 does nothing.
DP_API void ChangeVolume8(unsigned char* pData, int nCount, int nVolume);

#endif // DATAPROCESS_AUDIOPROCESS_H
