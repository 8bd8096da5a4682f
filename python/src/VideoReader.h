// The engine of dataprocess.VideoReader: a file (through the tool's input,
// with its stream choice and display turn) or a Python source, the tool's
// video settings applied by the tool's own stage builder, and pictures
// handed to Python as numpy arrays in the format asked for.
//
// Positions are output pictures: picture k starts at grid time k / rate.
// FrameAt goes to the picture whose interval holds a time with the same
// steps as reading from the start would take, so it gives the same bytes.
#ifndef DATAPROCESS_PYTHON_VIDEOREADER_H
#define DATAPROCESS_PYTHON_VIDEOREADER_H

#include <pybind11/numpy.h>
#include <pybind11/pybind11.h>

#include <memory>
#include <string>
#include <vector>

#include <DataProcess/DataProcess.h>

#include "PictureFormats.h"

namespace dptool {
class VideoInput;
class InclusiveStopSource;
} // namespace dptool

namespace dppy {

class PythonSource;
struct WantedPictures;

class VideoReader {
public:
    // `source` is a path (str) or a Python source object. `flags` are the
    // tool's video options; `watermark`/`userWatermark` optional (h, w, 4)
    // uint8 RGBA arrays.
    VideoReader(pybind11::object source, const std::vector<std::string>& flags, pybind11::object watermark,
                pybind11::object userWatermark, const std::string& format);
    ~VideoReader();

    // The next picture (the first after opening or the one after the last
    // handed out): (data, time, duration, index), or None at the end.
    pybind11::object Read(bool copy);
    pybind11::object FrameAt(double seconds, bool copy);
    pybind11::list FramesAt(const std::vector<double>& seconds);
    // Saves the picture handed out last as BMP or JPEG (by extension).
    void Capture(const std::string& path);
    pybind11::dict Info() const;
    void Close();

private:
    void Check() const;
    void AfterStage(); // raises what a Python source stored
    bool Step();       // Forward(1) on the stage; false at the end
    void MoveTo(long long index);
    long long IndexAt(double seconds) const;
    pybind11::object Emit(bool copy);

    std::unique_ptr<dptool::VideoInput> m_input;
    std::unique_ptr<PythonSource> m_python;
    std::unique_ptr<dptool::InclusiveStopSource> m_stamped;
    std::shared_ptr<WantedPictures> m_wanted; // what the file source decodes
    VideoDecoder* m_stage = nullptr;
    PixelFormat m_format;
    double m_rate = 0.0;
    double m_duration = 0.0;
    bool m_canSeek = true;
    long long m_index = 0;   // output picture the stage is at
    bool m_pending = true;   // it has not been handed out yet
    bool m_ended = false;
    std::shared_ptr<std::vector<unsigned char>> m_view; // reused by views
    std::vector<unsigned char> m_scratch;
};

} // namespace dppy

#endif // DATAPROCESS_PYTHON_VIDEOREADER_H
