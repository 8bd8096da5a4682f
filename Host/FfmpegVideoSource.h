// A host video decoder over any file FFmpeg can open (MP4, MKV, MOV, WebM,
// AVI, MPEG-TS, ...): the best video stream, decoded with libavcodec.
//
// Frames become YV12 MEDIA_FRAMEs of the stream's size. 8-bit 4:2:0 is
// copied as it is; any other pixel format (4:2:2, 4:4:4, RGB, full-range
// "J" formats, 10-bit) is converted with libswscale into the same frame;
// deeper than 8 bits is converted to 8 with a warning (Warning()).
//
// Stamps, in 100 ns units from the file's start: start = the frame's
// presentation time, stop = start + its duration (the stream's frame period
// when the container does not say), nDuration = stop - start. Variable
// frame rates keep their stamps; a constant-rate stage above makes them
// even.
//
// Positioning behaves as the y4m source's: after Open the first frame is
// current; Forward(n) decodes on and returns the count advanced (0 at the
// end, where the last frame stays current). VideoSeekTime seeks to the
// keyframe before the time and decodes forward to the frame whose interval
// holds it; VideoSeek(n) seeks to the time of frame n at the stream's rate.
//
// Damaged packets are skipped or concealed by the decoder and counted
// (DamagedPackets()); they do not stop reading. A jump of the stamps by more
// than FfmpegInput::kDiscontinuityUnits is a discontinuity: the stamps go
// on from where they were (Discontinuities() counts them).
//
// Orientation(): how the stored pictures are shown, from the stream's
// display matrix (phones store upright video as landscape pictures with a
// quarter turn to apply when showing them).
#ifndef DATAPROCESS_HOST_FFMPEGVIDEOSOURCE_H
#define DATAPROCESS_HOST_FFMPEGVIDEOSOURCE_H

#include <cstdint>
#include <string>

#include <DataProcess/Decoder.h>
#include <DataProcess/MediaTypes.h>

#include "FfmpegInput.h"

struct SwsContext;

class FfmpegVideoSource : public VideoDecoder {
public:
    FfmpegVideoSource();
    ~FfmpegVideoSource() override;

    int Close() override;
    // `path` is converted to UTF-8. *error gets a HostFileError.
    int Open(const wchar_t* path, const DecParam* param, int* error) override;
    intptr_t SetExDecodeParam(unsigned int code, uintptr_t param1, uintptr_t param2) override;
    const VideoInfo* GetVideoInfo() const override;
    const VideoStreamInfo* GetVideoStreamInfo() const override;
    // Moves to the frame shown at `seconds` and returns its start in seconds
    // (-1 when the stream cannot seek).
    double VideoSeekTime(double seconds, unsigned int flags) override;
    // Moves to frame `frame` (counted at the stream's rate) and returns the
    // number of the frame reached.
    int VideoSeek(int frame, unsigned int flags) override;
    const MEDIA_FRAME* GetFrame() const override;
    // Number of the current frame: its start time at the stream's rate.
    int GetFrameOffset() const override;
    int Forward(int count) override;

    // Hands the current picture's frame over to the caller, who then owns
    // it (ReleaseYV12Frame), and takes `spare` to decode into from here on:
    // a reader that keeps pictures saves copying them. `spare` must be a
    // CreateYV12Frame frame of the stream's size without alpha; it becomes
    // the current frame with the current stamps, its pixels undefined until
    // the next Forward or seek. Null (and `spare` stays the caller's) when
    // there is no current picture or `spare` does not fit.
    MEDIA_FRAME* ExchangeFrame(MEDIA_FRAME* spare);

    // Pictures a reader will not show need not be decoded (see
    // FfmpegInput::SetPacketFilter); they then never become current.
    void SetPacketFilter(FfmpegInput::PacketFilter wanted) { m_in.SetPacketFilter(std::move(wanted)); }

    // The same as Open, with a UTF-8 path; `streamIndex` >= 0 chooses the
    // index-th video stream (0 the first) instead of the best. Returns a
    // HostFileError.
    int OpenPath(const std::string& path, int streamIndex = -1);
    // The same over an I/O context of the caller's (which stays the
    // caller's and must outlive Close); `name` stands for it in messages.
    int OpenIo(AVIOContext* io, const std::string& name, int streamIndex = -1);

    // The display matrix as a turn of the picture: x' = m[0] x + m[1] y,
    // y' = m[2] x + m[3] y in picture coordinates (x right, y down), each
    // entry -1, 0 or 1. {1, 0, 0, 1} when the stream has none or when its
    // turn is not a multiple of 90 degrees (Warning() then says so).
    struct Orientation {
        int m[4];
        bool Identity() const { return m[0] == 1 && m[1] == 0 && m[2] == 0 && m[3] == 1; }
    };
    const Orientation& DisplayOrientation() const { return m_orientation; }

    int Width() const { return m_stream.videoInfo.nWidth; }
    int Height() const { return m_stream.videoInfo.nHeight; }
    double FrameRate() const { return m_stream.videoInfo.dFrameRate; }
    // The container says the pictures come at varying intervals (its
    // average rate and its base rate differ).
    bool VariableRate() const { return m_variableRate; }
    // Length of the file in 100 ns units (0 when unknown).
    int64_t DurationUnits() const { return m_in.DurationUnits(); }
    // The decoder's name and the stream's pixel format, e.g. "h264, yuv420p".
    const std::string& Description() const { return m_description; }
    long long DamagedPackets() const { return m_in.DamagedPackets(); }
    long long Discontinuities() const { return m_in.Discontinuities(); }
    // The last Open failed because the file has no video stream.
    bool NoStream() const { return m_in.NoStream(); }
    const std::string& Warning() const { return m_warning; }
    const std::string& LastError() const { return m_error.empty() ? m_in.Error() : m_error; }

private:
    int Opened(const std::string& name); // the rest of OpenPath/OpenIo after the input opened
    void ReadOrientation();
    bool DecodeNext(); // the next frame into the current picture; false at the end
    bool Convert();    // m_decoded -> m_frame
    void FillStreamBlock();

    FfmpegInput m_in;
    AVFrame* m_decoded = nullptr;
    SwsContext* m_sws = nullptr;
    MEDIA_FRAME* m_frame = nullptr;
    bool m_current = false; // m_frame holds a picture
    bool m_ended = false;
    bool m_variableRate = false;
    bool m_haveStamp = false; // m_nextStart follows a decoded frame
    Orientation m_orientation{{1, 0, 0, 1}};
    int64_t m_period = 0;   // one frame at the stream's rate, 100 ns
    int64_t m_nextStart = 0; // where a frame without a time stamp starts
    VideoStreamInfo m_stream{};
    std::string m_description;
    std::string m_warning;
    std::string m_error;
};

#endif // DATAPROCESS_HOST_FFMPEGVIDEOSOURCE_H
