// The engine of dataprocess.AudioReader: a file's audio through the tool's
// input and audio stack (timeline stage, converter, volume, fades), with
// the tool's options; blocks handed to Python as (samples, channels)
// arrays.
#ifndef DATAPROCESS_PYTHON_AUDIOREADER_H
#define DATAPROCESS_PYTHON_AUDIOREADER_H

#include <pybind11/pybind11.h>

#include <memory>
#include <string>
#include <vector>

namespace dptool {
class AudioInput;
class AudioStack;
} // namespace dptool

namespace dppy {

class AudioReader {
public:
    AudioReader(const std::string& path, const std::vector<std::string>& flags);
    ~AudioReader();

    // The next block: (samples, time) with samples an owned int16 array
    // (uint8 for 8-bit input left unconverted) shaped (n, channels); None
    // at the end.
    pybind11::object Read();
    // Everything from here to the end in one array: (samples, time).
    pybind11::object ReadAll();
    pybind11::dict Info() const;
    void Close();

private:
    void Check() const;

    std::unique_ptr<dptool::AudioInput> m_input;
    std::unique_ptr<dptool::AudioStack> m_stack;
    bool m_ended = false;
};

} // namespace dppy

#endif // DATAPROCESS_PYTHON_AUDIOREADER_H
