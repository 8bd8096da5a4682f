#include "ToolOptions.h"

#include <CLI/CLI.hpp>

#include <stdexcept>

#include "Commands.h"
#include "ToolErrors.h"

namespace dppy {

namespace {

// CLI11 parses arguments from the back of the vector.
std::vector<std::string> Reversed(const std::vector<std::string>& v) { return {v.rbegin(), v.rend()}; }

template <class Add> void Parse(const std::vector<std::string>& flags, const Add& add)
{
    CLI::App app{"dataprocess"};
    add(&app);
    std::vector<std::string> args = Reversed(flags);
    try {
        app.parse(args);
    } catch (const CLI::ParseError& e) {
        throw std::invalid_argument(e.what());
    }
}

} // namespace

dptool::VideoArgs ParseVideoFlags(const std::vector<std::string>& flags)
{
    dptool::VideoArgs args;
    Parse(flags, [&](CLI::App* app) { dptool::AddVideoOptions(app, &args); });
    return args;
}

dptool::AudioArgs ParseAudioFlags(const std::vector<std::string>& flags)
{
    dptool::AudioArgs args;
    Parse(flags, [&](CLI::App* app) { dptool::AddAudioOptions(app, &args, "--rate"); });
    return args;
}

void RunToolCommand(const std::vector<std::string>& args)
{
    CLI::App app{"dataprocess"};
    app.require_subcommand(1);
    dptool::Runner run;
    dptool::AddVideoCommand(app, run);
    dptool::AddAudioCommand(app, run);
    dptool::AddConvertCommand(app, run);
    dptool::AddBmp2JpegCommand(app, run);
    std::vector<std::string> reversed = Reversed(args);
    try {
        app.parse(reversed);
    } catch (const CLI::ParseError& e) {
        throw std::invalid_argument(e.what());
    }
    if (!run)
        throw std::invalid_argument("no command given");
    try {
        const int status = run();
        if (status != dptool::kExitOk)
            throw std::runtime_error("the command failed with status " + std::to_string(status));
    } catch (const dptool::UsageError& e) {
        throw std::invalid_argument(e.what());
    } catch (const dptool::ProcessingError& e) {
        throw std::runtime_error(e.what());
    }
}

} // namespace dppy
