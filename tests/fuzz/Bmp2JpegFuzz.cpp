// The JPEG encoder's bitmap input: arbitrary bytes as the BMP file.
#include <unistd.h>

#include <cstdio>
#include <string>

#include <DataProcess/DataProcess.h>

#include "FuzzInput.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const std::string dir = [] {
        char tmpl[] = "/tmp/dp-fuzz-bmp-XXXXXX";
        const char* d = mkdtemp(tmpl);
        return std::string(d ? d : "/tmp");
    }();
    const std::string bmp = dir + "/in.bmp", jpg = dir + "/out.jpg";
    if (FILE* f = std::fopen(bmp.c_str(), "wb")) {
        if (size)
            std::fwrite(data, 1, size, f);
        std::fclose(f);
    }
    BMP2JPEG(bmp.c_str(), jpg.c_str());
    std::remove(jpg.c_str());
    return 0;
}
