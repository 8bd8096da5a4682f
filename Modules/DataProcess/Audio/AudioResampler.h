/* The rate-conversion modes of the audio stages (CAudioConverter and
 * AudioProcess; PCSetAudioResampler in the flat API).
 *
 * AUDIO_RESAMPLER_LINEAR, the default, is linear interpolation with each
 * call's output spread over that call's share of the input. It is cheap and
 * exactly reproducible, but it adds audible distortion (a 1 kHz tone taken
 * from 44.1 to 48 kHz keeps about 31 dB of signal-to-noise ratio).
 *
 * AUDIO_RESAMPLER_HQ converts the rate through libsoxr's high-quality recipe
 * (20-bit precision, linear phase, passband to 91.3 % of the lower Nyquist
 * frequency): about 90 dB of signal-to-noise ratio on a tone (the 16-bit
 * output's rounding is most of what is left), and a tone above the new
 * Nyquist frequency leaves nothing above that floor. It is a stream
 * resampler:
 *  - sample k of the output belongs at k / output rate after the first
 *    input sample (the filter's delay is compensated), and the stage stamps
 *    each block with the time of its first sample;
 *  - it holds back the input its filter still needs (a few hundred samples)
 *    until more arrives or the stream ends, when the tail is flushed
 *    (AudioProcess does that when its source ends; a converter used alone
 *    is flushed with CAudioConverter::Flush);
 *  - the whole stream gives round(input frames x output rate / input rate)
 *    frames, whatever the block sizes; the output does not depend on how
 *    the input is divided into blocks (a block may even end inside a sample
 *    frame: the rest of that frame is taken from the next block);
 *  - channel conversion, the timeline stage, volume and fades work as in
 *    the linear mode; with equal rates both modes give the same bytes.
 * It needs a build with libsoxr (DPAudioResamplerAvailable says so), and
 * serves two positive rates up to 1024 times apart with 1 to
 * AUDIO_RESAMPLER_HQ_MAX_CHANNELS output channels; a stream it cannot serve
 * is converted by the linear mode, with one line in the log saying why. Its output may differ by one unit between
 * processors (libsoxr picks its own vector code), never between runs.
 *
 * This header compiles as C99 and as C++. */
#ifndef DATAPROCESS_AUDIORESAMPLER_H
#define DATAPROCESS_AUDIORESAMPLER_H

#include "DataProcessExport.h"

typedef enum AUDIO_RESAMPLER {
    AUDIO_RESAMPLER_LINEAR = 0,
    AUDIO_RESAMPLER_HQ = 1
} AUDIO_RESAMPLER;

/* The most output channels the high-quality mode takes (its filters are
 * made per channel). */
#define AUDIO_RESAMPLER_HQ_MAX_CHANNELS 64

DP_BEGIN_C

/* 1 when this build has the mode (AUDIO_RESAMPLER_LINEAR always;
 * AUDIO_RESAMPLER_HQ when built with libsoxr), else 0. */
DP_API int DPAudioResamplerAvailable(int mode);

DP_END_C

#endif /* DATAPROCESS_AUDIORESAMPLER_H */
