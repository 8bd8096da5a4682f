// The commands of the dataprocess tool. Each Add* function registers its
// subcommand and its options; when the subcommand is chosen, `run` is set to
// the function that does the work and returns the exit status.
#ifndef DATAPROCESS_TOOL_COMMANDS_H
#define DATAPROCESS_TOOL_COMMANDS_H

#include <functional>

namespace CLI {
class App;
}

namespace dptool {

using Runner = std::function<int()>;

void AddDemoCommand(CLI::App& app, Runner& run);
void AddVideoCommand(CLI::App& app, Runner& run);
void AddAudioCommand(CLI::App& app, Runner& run);
void AddConvertCommand(CLI::App& app, Runner& run);
void AddBmp2JpegCommand(CLI::App& app, Runner& run);

} // namespace dptool

#endif // DATAPROCESS_TOOL_COMMANDS_H
