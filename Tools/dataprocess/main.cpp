// dataprocess: the DataProcess stages on real files and pipes.
#include <CLI/CLI.hpp>

#include <clocale>
#include <csignal>
#include <cstdio>
#include <exception>
#include <string>

#include "Commands.h"
#include "SimdLevel.h"
#include "ToolErrors.h"

#ifndef DP_VERSION
#define DP_VERSION "unknown"
#endif

int main(int argc, char** argv)
{
    std::setlocale(LC_ALL, "");
    // A reader that goes away (a closed pipe) is reported as a write error
    // naming the output, not by a silent death.
    std::signal(SIGPIPE, SIG_IGN);
    CLI::App app{"dataprocess " DP_VERSION
                 " - scale, crop, turn, adjust, watermark and retime video; resample, mix, fade and\n"
                 "even out audio; capture pictures to BMP or JPEG. Media files (.mp4, .mkv, ...)\n"
                 "are read and written through FFmpeg's libraries when the tool was built with\n"
                 "them; .y4m video and .wav audio always, and '-' means standard input or output\n"
                 "(y4m or WAV), so the tool also sits in a pipe between a decoder and an encoder.",
                 "dataprocess"};
    // The SIMD level shows which kernels run (DP_SIMD / DP_FORCE_REFERENCE cap it).
    app.set_version_flag("--version", std::string("dataprocess " DP_VERSION " (SIMD kernels: ") + DPGetSimdLevel() + ")");
    app.require_subcommand(1);
    app.footer("Examples:\n"
               "  dataprocess demo --out out\n"
               "  dataprocess convert in.mp4 -o out.mp4 --size 1280x720 --rate 30 --audio-rate 48000\n"
               "  dataprocess video in.y4m -o out.y4m --size 1280x720 --rate 30\n"
               "  dataprocess audio in.wav -o out.wav --rate 48000 --fade-in 2\n"
               "  dataprocess bmp2jpeg shot.bmp shot.jpg\n"
               "Run 'dataprocess COMMAND --help' for the options of a command.");

    dptool::Runner run;
    dptool::AddDemoCommand(app, run);
    dptool::AddVideoCommand(app, run);
    dptool::AddAudioCommand(app, run);
    dptool::AddConvertCommand(app, run);
    dptool::AddBmp2JpegCommand(app, run);

    try {
        app.parse(argc, argv);
    } catch (const CLI::CallForHelp& e) {
        return app.exit(e);
    } catch (const CLI::CallForAllHelp& e) {
        return app.exit(e);
    } catch (const CLI::CallForVersion& e) {
        return app.exit(e);
    } catch (const CLI::ParseError& e) {
        // One line, with the help to read: the chosen command's, if any.
        const auto chosen = app.get_subcommands();
        const std::string help =
            chosen.empty() ? "dataprocess --help" : "dataprocess " + chosen.front()->get_name() + " --help";
        std::fprintf(stderr, "dataprocess: %s (see '%s')\n", e.what(), help.c_str());
        return dptool::kExitUsageError;
    }
    try {
        return run ? run() : dptool::kExitUsageError;
    } catch (const dptool::UsageError& e) {
        std::fprintf(stderr, "dataprocess: %s\n", e.what());
        return dptool::kExitUsageError;
    } catch (const dptool::ProcessingError& e) {
        std::fprintf(stderr, "dataprocess: %s\n", e.what());
        return dptool::kExitProcessingError;
    } catch (const std::bad_alloc&) {
        std::fprintf(stderr, "dataprocess: out of memory\n");
        return dptool::kExitProcessingError;
    } catch (const std::exception& e) {
        std::fprintf(stderr, "dataprocess: %s\n", e.what());
        return dptool::kExitProcessingError;
    }
}
