// AudioEvenProcess: an audio stage that keeps the timeline of the decoder
// below it continuous. The n-th byte it hands out belongs exactly at the time
// the byte count implies: where the decoder's blocks start later than the
// data delivered so far reaches, filler is inserted (one buffer repeating the
// last sample frame, then zeros); where they start earlier, the early part is
// thrown away. Every block handed out is re-stamped from the stage's running
// clock. Seeking is sample-exact: the decoder is sought half a second early
// and the data before the requested time is discarded.
//
// Diagnostics go to OrvLogEx. One thread drives an instance; the counter of
// small discarded blocks is shared by all instances (race-free).
#ifndef DATAPROCESS_AUDIOEVENPROCESS_H
#define DATAPROCESS_AUDIOEVENPROCESS_H

#include <stdint.h>

#include "DataProcessExport.h"
#include "Decoder.h"
#include "MediaTypes.h"

class DP_API AudioEvenProcess : public AudioDecoder {
public:
    // pSource is not owned; it must outlive this stage. The output format is
    // read from its stream record.
    explicit AudioEvenProcess(AudioDecoder* pSource);
    ~AudioEvenProcess() override; // calls Close(); the source is left alone

    // Frees the filler buffer. Returns 1.
    int Close() override;
    // Does nothing (the host opens its decoder itself); returns 1.
    int Open(const wchar_t* path, const DecParam* param, int* error) override;
    // Seeks the source to dTime - 0.5 s (not below 0) and sets the clock to
    // dTime; the data before dTime is then discarded. Returns dTime, or 0.0
    // without a source. A block read but not yet handed out stays pending.
    double AudioSeek(double dTime) override;
    // The next block, or null at the end. The frame belongs to this stage and
    // is valid until the next call; its data may point into the source's own
    // frame.
    MEDIA_FRAME* GetNextFrame() override;
    // The clock: where the next byte handed out belongs, in seconds.
    double GetOffset() const override;
    // The source's records, or null without a source.
    const AudioInfo* GetAudioInfo() const override;
    const AudioStreamInfo* GetAudioStreamInfo() const override;

private:
    MEDIA_FRAME* Finish(int nBytesPerSecond);
    void HandOutPending();

    AudioDecoder* pSource;        // not owned
    unsigned char* pSilence;      // filler buffer (4096 bytes), made on the first gap
    unsigned char abLastSample[64]; // last sample frame of the last block handed out whole
    int32_t nBlockAlign;          // bytes per sample frame
    MEDIA_FRAME OutFrame;         // the frame handed out
    MEDIA_FRAME* pPending;        // a source block read but not yet handed out
    double dCurTime;              // seconds: where the next byte handed out belongs
    int64_t llBytesOut;           // bytes handed out since construction or the last seek
    int32_t nFillRemain;          // filler bytes still owed
};

// Makes an AudioEvenProcess over pDecoder, or returns null when pDecoder is
// null. Destroy it with PEAudioDestroy; the decoder stays the caller's.
DP_API AudioDecoder* PEAudioCreate(AudioDecoder* pDecoder);

// Destroys any AudioDecoder through its virtual destructor; null is allowed.
DP_API void PEAudioDestroy(AudioDecoder* pDecoder);

#endif // DATAPROCESS_AUDIOEVENPROCESS_H
