// AudioTimeMap: the time stamps of a stream resampler's output, taken from
// the blocks that went in (internal, used by AudioProcess in the
// high-quality mode). Output frame k belongs at input frame
// k x inRate / outRate of the stream; its stamps are those of the input
// block holding that position, moved by the offset into the block (so a
// source that repeats its start time in llStopTime, as this system's audio
// blocks do, gets the same from the stage). Each stamp is computed afresh
// from whole counts, so none drifts however long the stream.
#ifndef DATAPROCESS_AUDIOTIMEMAP_H
#define DATAPROCESS_AUDIOTIMEMAP_H

#include <cstdint>
#include <deque>

namespace dp_audio {

class AudioTimeMap {
public:
    // Rates in Hz (both positive); inChannels counts the samples of one
    // input frame.
    AudioTimeMap(int inRate, int inChannels, int outRate);

    struct Stamps {
        int64_t start, stop; // 100 ns units; -1 unknown
    };
    // An input block of `samples` samples (all channels) with its stamps
    // follows the ones added before.
    void AddBlock(Stamps stamps, long long samples);
    // The stamps of output frame `frame` of the stream. Frames are asked in
    // increasing order: blocks wholly before the one asked are forgotten.
    Stamps TimeOf(long long frame);
    // A new stream starts at output frame 0 and input sample 0.
    void Restart();

private:
    struct Block {
        long long position; // its first sample's index in the stream
        Stamps stamps;
    };
    std::deque<Block> m_blocks;
    long long m_samples = 0;
    int m_inRate;
    int m_inChannels;
    int m_outRate;
};

} // namespace dp_audio

#endif // DATAPROCESS_AUDIOTIMEMAP_H
