// dataprocess bmp2jpeg IN.bmp OUT.jpg
#include <CLI/CLI.hpp>

#include <cstdio>
#include <memory>
#include <string>
#include <unistd.h>
#include <vector>

#include <DataProcess/DataProcess.h>

#include "BitmapFile.h"
#include "Commands.h"
#include "ToolErrors.h"

namespace dptool {

namespace {

struct Bmp2JpegArgs {
    std::string input, output;
};

// A finished JPEG starts with SOI and ends with EOI.
bool LooksComplete(const std::string& path)
{
    FILE* f = std::fopen(path.c_str(), "rb");
    if (!f)
        return false;
    unsigned char head[2] = {0, 0}, tail[2] = {0, 0};
    bool ok = std::fread(head, 1, 2, f) == 2 && std::fseek(f, -2, SEEK_END) == 0 && std::fread(tail, 1, 2, f) == 2;
    std::fclose(f);
    return ok && head[0] == 0xFF && head[1] == 0xD8 && tail[0] == 0xFF && tail[1] == 0xD9;
}

int RunBmp2Jpeg(const Bmp2JpegArgs& a)
{
    CheckBmp24(a.input);
    // The encoder writes under a temporary name beside the target; the file
    // is renamed into place only when it is complete.
    const auto slash = a.output.rfind('/');
    const std::string dir = slash == std::string::npos ? "" : a.output.substr(0, slash + 1);
    const std::string base = slash == std::string::npos ? a.output : a.output.substr(slash + 1);
    if (base.empty())
        throw UsageError("OUT.jpg: a file name is needed, not a folder");
    const std::string temp = dir + "." + base + ".part" + std::to_string(static_cast<long>(getpid()));
    BMP2JPEG(a.input.c_str(), temp.c_str());
    if (!LooksComplete(temp)) {
        std::remove(temp.c_str());
        throw ProcessingError(a.output + ": cannot write the JPEG file there");
    }
    if (std::rename(temp.c_str(), a.output.c_str()) != 0) {
        std::remove(temp.c_str());
        throw ProcessingError(a.output + ": cannot write the JPEG file there (rename failed)");
    }
    return kExitOk;
}

} // namespace

void AddBmp2JpegCommand(CLI::App& app, Runner& run)
{
    auto args = std::make_shared<Bmp2JpegArgs>();
    CLI::App* cmd = app.add_subcommand("bmp2jpeg", "Convert a 24-bit BMP file to a baseline JPEG (built-in encoder)");
    cmd->add_option("input", args->input, "24-bit bottom-up BMP file")->required();
    cmd->add_option("output", args->output, "JPEG file to write (one missing folder level is created)")->required();
    cmd->footer("Example:\n  dataprocess bmp2jpeg capture.bmp capture.jpg");
    cmd->callback([args, &run] { run = [args] { return RunBmp2Jpeg(*args); }; });
}

} // namespace dptool
