// The readers take the tool's own options: the same names, value syntax,
// ranges and messages as `dataprocess video` / `dataprocess audio`. The
// Python side turns keyword arguments into flags; they are parsed here by
// the tool's option tables.
#ifndef DATAPROCESS_PYTHON_TOOLOPTIONS_H
#define DATAPROCESS_PYTHON_TOOLOPTIONS_H

#include <string>
#include <vector>

#include "AudioOptions.h"
#include "VideoOptions.h"

namespace dppy {

// Throw std::invalid_argument with the tool's message (e.g. "--brightness:
// Value 300 not in range [-100 - 100]").
dptool::VideoArgs ParseVideoFlags(const std::vector<std::string>& flags);
dptool::AudioArgs ParseAudioFlags(const std::vector<std::string>& flags);

// Runs one command of the tool (e.g. {"convert", "in.mp4", "-o", "out.mp4",
// ...}) in this process. Usage errors throw std::invalid_argument, failures
// std::runtime_error, with the tool's message.
void RunToolCommand(const std::vector<std::string>& args);

} // namespace dppy

#endif // DATAPROCESS_PYTHON_TOOLOPTIONS_H
