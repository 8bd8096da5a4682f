#include "ThreadsOption.h"

#include <CLI/CLI.hpp>

#include <cstdlib>

namespace dptool {

void AddThreadsOption(CLI::App* cmd, int* threads)
{
    cmd->add_option("--threads", *threads,
                    "1: decode, process and write one picture after another on one thread (the same output, "
                    "slower). Default: the decoder reads ahead and the writer writes behind on threads of their "
                    "own (DATAPROCESS_THREADS=1 in the environment also chooses one thread)")
        ->check(CLI::Range(1, 64));
}

bool OverlapWork(int threads)
{
    if (threads > 0)
        return threads > 1;
    const char* env = std::getenv("DATAPROCESS_THREADS");
    return !(env && std::atoi(env) == 1);
}

} // namespace dptool
