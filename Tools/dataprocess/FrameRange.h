// A time range of the output: `--start`/`--end` of the video command, the
// piece of a long file that one worker converts.
//
// The range selects output frames by their time on the output's frame grid
// (frame k at round(k / rate) in 100 ns ticks): those at or after the start
// and before the end. The frames keep the stamps a whole run gives them (a
// range starting at 10 s starts its output at 10 s), and they are the very
// pictures a whole run writes at those times: the stage is moved there
// through its own seek, which lands the source on the keyframe before and
// decodes forward, so that joining the ranges of one file end to end gives
// the whole run's frames and stamps.
#ifndef DATAPROCESS_TOOL_FRAMERANGE_H
#define DATAPROCESS_TOOL_FRAMERANGE_H

#include <DataProcess/DataProcess.h>

namespace CLI {
class App;
}

namespace dptool {

struct FrameRange {
    double start = 0.0; // seconds
    double end = -1.0;  // seconds; negative: to the end of the video
    bool Active() const { return start > 0.0 || end >= 0.0; }
};

// Registers --start and --end.
void AddFrameRangeOptions(CLI::App* cmd, FrameRange* range);

// Index of the first frame of a `rate` grid whose time is at or after
// `seconds`.
long long FirstGridFrameAt(double seconds, double rate);

// Moves a fresh stage (one that has not been read yet) to output frame
// `first`, in the state reading it frame by frame would have left it in.
// False when the video ends before that frame.
bool EnterFrameRange(VideoDecoder* stage, long long first);

} // namespace dptool

#endif // DATAPROCESS_TOOL_FRAMERANGE_H
