// A frame of the tool's own holding a copy of another: the picture or the
// audio block with its record (stamps, kind, format), in buffers that stay
// valid however the original's owner goes on. The threads that read ahead
// and write behind pass such copies between them. The buffers are kept and
// reused while the frames copied in keep their size.
#ifndef DATAPROCESS_TOOL_FRAMECOPY_H
#define DATAPROCESS_TOOL_FRAMECOPY_H

#include <DataProcess/DataProcess.h>

namespace dptool {

class FrameCopy {
public:
    FrameCopy() = default;
    FrameCopy(const FrameCopy&) = delete;
    FrameCopy& operator=(const FrameCopy&) = delete;
    ~FrameCopy() { Release(); }

    // Copies a video picture (nFrameType MEDIA_FRAME_VIDEO) or an audio
    // block (any other type) into this frame.
    void Assign(const MEDIA_FRAME* source);
    // Gives the video frame held (null if none) up to the caller.
    MEDIA_FRAME* Take();
    // Holds `frame`, a video frame made by CreateYV12Frame, from now on.
    void Own(MEDIA_FRAME* frame);
    MEDIA_FRAME* Get() { return m_frame; }
    const MEDIA_FRAME* Get() const { return m_frame; }

private:
    void Release();

    MEDIA_FRAME* m_frame = nullptr;
    bool m_audio = false;
};

} // namespace dptool

#endif // DATAPROCESS_TOOL_FRAMECOPY_H
