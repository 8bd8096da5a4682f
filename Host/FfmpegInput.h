// One stream of a media file read through FFmpeg's libavformat and decoded
// with libavcodec: what FfmpegVideoSource and FfmpegAudioSource share.
//
// Open picks the best stream of the asked kind (FFmpeg's own choice: the
// default stream, else the one with most data), or the n-th stream of that
// kind when asked, and opens its decoder. Attached pictures (the cover art
// of a music file) are not video streams: they are never chosen. Next
// hands out decoded frames in order; a packet the decoder refuses, or a
// frame it marks as damaged, does not stop decoding: it is counted
// (DamagedPackets) and reading goes on. SeekBefore moves to the keyframe at
// or before a time and empties the decoder.
//
// Times: the file's start time is the origin of both the audio and the
// video stamps (so that the streams of one file stay in step), in 100 ns
// units. A jump of the stamps by more than kDiscontinuityUnits from where
// the stream was heading (a broadcast discontinuity, a wrap, a damaged
// stamp) is a discontinuity of the source: Rebase shifts every later stamp
// so that the stream goes on where it was, instead of leaving a gap of
// minutes (or hours) for the stages to fill.
#ifndef DATAPROCESS_HOST_FFMPEGINPUT_H
#define DATAPROCESS_HOST_FFMPEGINPUT_H

#include <cstdint>
#include <functional>
#include <string>

struct AVFormatContext;
struct AVCodecContext;
struct AVStream;
struct AVPacket;
struct AVFrame;
struct AVIOContext;

// Threads for FFmpeg's decoders and encoders: DP_THREADS from the
// environment (1 to 256), else 0 (as many as the machine has). A worker that
// runs one conversion per core sets 1.
int FfmpegThreadCount();

class FfmpegInput {
public:
    enum Kind { VIDEO, AUDIO };

    FfmpegInput() = default;
    ~FfmpegInput();
    FfmpegInput(const FfmpegInput&) = delete;
    FfmpegInput& operator=(const FfmpegInput&) = delete;

    // A stamp jump beyond this (10 s, in 100 ns units) is a discontinuity.
    static constexpr int64_t kDiscontinuityUnits = 100000000;

    // Opens `path` (UTF-8, a file or anything FFmpeg opens) and its best
    // stream of `kind`, or with `index` >= 0 the index-th stream of that
    // kind (0 the first). False with Error() set, e.g.
    // "in.mp4: no video stream" or "x.txt: cannot open (Invalid data found
    // when processing input)".
    bool Open(const std::string& path, Kind kind, int index = -1);
    // The same over an I/O context of the caller's (memory, a network
    // stream); `io` stays the caller's and must outlive Close. `name` stands
    // for the file in messages.
    bool Open(AVIOContext* io, const std::string& name, Kind kind, int index = -1);
    void Close();
    bool IsOpen() const { return m_codec != nullptr; }
    // The last Open failed because the file has no stream of the kind asked.
    bool NoStream() const { return m_noStream; }

    // The next decoded frame into `frame` (its old content released). False
    // at the end of the stream; Error() is then set if reading failed
    // rather than ended.
    bool Next(AVFrame* frame);
    // Moves to the keyframe at or before `units` (100 ns from the origin)
    // and empties the decoder. False when the container cannot seek.
    bool SeekBefore(int64_t units);

    // Optional: tells from a packet's presentation time and length (100 ns
    // units from the origin) whether its picture is wanted. A packet whose
    // picture is not wanted is decoded only when other pictures refer to it
    // (FFmpeg's AVDISCARD_NONREF), so its picture may never come out of
    // Next. Unset (the default), everything is decoded.
    using PacketFilter = std::function<bool(int64_t start, int64_t length)>;
    void SetPacketFilter(PacketFilter wanted) { m_wanted = std::move(wanted); }

    AVStream* Stream() const { return m_stream; }
    AVCodecContext* Codec() const { return m_codec; }
    AVFormatContext* Format() const { return m_format; }

    // A time stamp in the stream's time base as 100 ns units from the origin,
    // and back.
    int64_t ToUnits(int64_t ts) const;
    int64_t FromUnits(int64_t units) const;
    // A length in the stream's time base as 100 ns units.
    int64_t LengthToUnits(int64_t length) const;
    // Length of the file in 100 ns units (0 when unknown).
    int64_t DurationUnits() const;
    // A decoded stamp (100 ns from the origin) on the source's continuous
    // timeline: when it lies more than kDiscontinuityUnits away from
    // `expected` (where the stream was heading; ignored while `haveExpected`
    // is false) every stamp from here on is shifted to continue there.
    int64_t Rebase(int64_t units, int64_t expected, bool haveExpected);
    // Forgets the shift (after a seek, stamps are the file's again).
    void ResetRebase() { m_shift = 0; }
    long long Discontinuities() const { return m_discontinuities; }
    // Streams of `kind` that Open can choose from (attached pictures left
    // out), for messages.
    int StreamCount(Kind kind) const;

    long long DamagedPackets() const { return m_damaged; }
    const std::string& Name() const { return m_name; }
    const std::string& Error() const { return m_error; }

private:
    bool Fail(const std::string& what, int err = 0);
    bool OpenStream(Kind kind, int index);

    AVFormatContext* m_format = nullptr;
    AVCodecContext* m_codec = nullptr;
    AVStream* m_stream = nullptr;
    AVPacket* m_packet = nullptr;
    int m_index = -1;
    int64_t m_origin = 0; // the file's start time, in the stream's time base
    bool m_draining = false;
    bool m_noStream = false;
    long long m_damaged = 0;
    PacketFilter m_wanted;
    int64_t m_shift = 0; // added to every stamp since the last discontinuity
    long long m_discontinuities = 0;
    std::string m_name;
    std::string m_error;
};

// FFmpeg's text for an error code.
std::string FfmpegErrorText(int err);
// Silences FFmpeg's log unless DP_FFMPEG_LOG is set (then warnings show).
void FfmpegQuietLogs();

#endif // DATAPROCESS_HOST_FFMPEGINPUT_H
