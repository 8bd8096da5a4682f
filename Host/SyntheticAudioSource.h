// A synthetic host audio decoder: interleaved PCM (8-bit unsigned or 16-bit
// signed) at any rate with 1 to 8 channels, delivered in blocks of chosen
// sizes, with optional holes and overlaps in the time stamps.
//
// The signal is a function of the sample-frame index k of the delivered
// data: a sine tone of a different frequency per channel (channel c at
// baseFrequency * (c + 1)), or a ramp whose every value says where it came
// from (Sample(k, c)). Block b covers sample frames [BlockOffset(b),
// BlockOffset(b) + BlockFrames(b)); block sizes repeat the list
// blockFrames. Its start stamp is streamStart + trunc(BlockOffset(b) * 1e7 /
// rate + 0.5) plus the sum of the time shifts listed for blocks <= b, so a
// positive shift opens a hole in the time line and a negative one makes the
// following blocks overlap the data before them; the data itself stays
// continuous.
//
// Audio blocks of this system carry their start time in both stamps (the
// library's audio stages stamp their own blocks so, and the timeline stage
// places a block by its llStopTime); stopAtEnd puts the block's end time
// into llStopTime instead.
#ifndef DATAPROCESS_HOST_SYNTHETICAUDIOSOURCE_H
#define DATAPROCESS_HOST_SYNTHETICAUDIOSOURCE_H

#include <cstdint>
#include <vector>

#include <DataProcess/Decoder.h>

struct SyntheticAudioShift {
    int64_t block;   // first block whose stamps move
    int64_t shift;   // 100 ns, added to the stamps of this block and all later ones
};

struct SyntheticAudioConfig {
    enum Waveform { Tone, Ramp };

    int sampleRate = 44100;
    int channels = 2;          // 1..8
    int bitsPerSample = 16;    // 8 or 16
    int64_t totalFrames = 441000; // sample frames in the stream
    std::vector<int> blockFrames{1024}; // sample frames per block, repeated in turn
    Waveform waveform = Tone;
    double baseFrequency = 440.0; // channel c plays baseFrequency * (c + 1)
    double amplitude = 0.5;       // of full scale
    int64_t streamStart = 0;      // llStreamStart of the stream block (100 ns)
    int64_t timeOffset = 0;       // llTimeOffset of the stream block (100 ns)
    std::vector<SyntheticAudioShift> shifts; // holes (> 0) and overlaps (< 0)
    bool stopAtEnd = false;
};

class SyntheticAudioSource : public AudioDecoder {
public:
    explicit SyntheticAudioSource(const SyntheticAudioConfig& config = SyntheticAudioConfig());
    ~SyntheticAudioSource() override;

    int Close() override;
    int Open(const wchar_t* path, const DecParam* param, int* error) override;
    // Positions to the block that contains `seconds` (stream time: stamp -
    // streamStart + timeOffset) and returns that block's time. Before the
    // first block: the first block; past the end: the end (GetNextFrame then
    // returns null) and the stream's end time.
    double AudioSeek(double seconds) override;
    // The next block, or null at the end. The frame is owned by the source
    // and overwritten by the next call.
    MEDIA_FRAME* GetNextFrame() override;
    // Stream time of the next block, in seconds.
    double GetOffset() const override;
    const AudioInfo* GetAudioInfo() const override;
    const AudioStreamInfo* GetAudioStreamInfo() const override;

    // Layout of the stream.
    int64_t BlockCount() const { return m_blockCount; }
    int64_t BlockOffset(int64_t b) const; // first sample frame of block b
    int BlockFrames(int64_t b) const;     // sample frames in block b
    int64_t BlockStartTime(int64_t b) const; // llStartTime of block b (100 ns)
    // Value of channel c at sample frame k: an int16 for 16-bit streams, the
    // unsigned byte for 8-bit ones.
    int Sample(int64_t k, int c) const;

    // Calls received, for tests of the stages above.
    int64_t NextBlock() const { return m_next; }
    int FrameCalls() const { return m_frameCalls; }
    int SeekCalls() const { return m_seekCalls; }
    double LastSeekTime() const { return m_lastSeekTime; }
    int CloseCalls() const { return m_closeCalls; }
    int OpenCalls() const { return m_openCalls; }

private:
    double BlockTime(int64_t b) const; // stream time of block b, seconds
    double EndTime() const;            // stream time just after the last block

    SyntheticAudioConfig m_cfg;
    AudioStreamInfo m_stream{};
    std::vector<int64_t> m_cycleOffset; // prefix sums of blockFrames
    int64_t m_cycleFrames = 0;
    int64_t m_blockCount = 0;
    MEDIA_FRAME m_frame{};
    std::vector<unsigned char> m_data;
    int64_t m_next = 0;
    int m_frameCalls = 0;
    int m_seekCalls = 0;
    double m_lastSeekTime = -1.0;
    int m_closeCalls = 0;
    int m_openCalls = 0;
};

#endif // DATAPROCESS_HOST_SYNTHETICAUDIOSOURCE_H
