// Refuses a run whose output would replace one of its inputs, or whose two
// outputs are one file, whatever the paths look like (a symbolic or hard
// link, "./in.mp4", a path through another folder).
#ifndef DATAPROCESS_TOOL_DISTINCTFILES_H
#define DATAPROCESS_TOOL_DISTINCTFILES_H

#include <string>
#include <vector>

namespace dptool {

struct NamedPath {
    std::string option; // how the user gave it: "input", "-o", "--capture", "--watermark"
    std::string path;
};

// Throws UsageError (one line naming both) when an output is an input or
// two outputs are the same file. Nothing is touched.
void CheckDistinctFiles(const std::vector<NamedPath>& inputs, const std::vector<NamedPath>& outputs);

} // namespace dptool

#endif // DATAPROCESS_TOOL_DISTINCTFILES_H
