// Runs a fuzz target over files without libFuzzer: every file named on the
// command line, and every file inside a folder named there. Used by ctest to
// replay the seed and regression inputs on any compiler.
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "FuzzInput.h"

int main(int argc, char** argv)
{
    namespace fs = std::filesystem;
    int runs = 0;
    auto run = [&](const fs::path& p) {
        std::ifstream in(p, std::ios::binary);
        const std::vector<char> bytes((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
        LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size());
        ++runs;
    };
    for (int i = 1; i < argc; ++i) {
        const fs::path p(argv[i]);
        if (fs::is_directory(p)) {
            for (const auto& e : fs::directory_iterator(p))
                if (e.is_regular_file())
                    run(e.path());
        } else if (fs::exists(p)) {
            run(p);
        }
    }
    LLVMFuzzerTestOneInput(nullptr, 0); // the empty input
    std::printf("%d inputs replayed\n", runs);
    return 0;
}
