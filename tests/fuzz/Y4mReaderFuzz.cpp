// The y4m reader on arbitrary bytes, as a file (seekable) and as a stream,
// reading every frame.
#include <cstdio>

#include "FuzzInput.h"
#include "Y4mVideoSource.h"

namespace {

void ReadAll(FILE* f)
{
    Y4mVideoSource source;
    if (!f || !source.OpenStream(f, "fuzz", true))
        return;
    for (int i = 0; i < 10000 && source.GetFrame(); ++i)
        if (source.Forward(1) != 1)
            break;
    source.VideoSeek(1, 0);
    source.VideoSeekTime(0.04, 0);
    source.GetFrame();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (FILE* f = std::tmpfile()) {
        if (size)
            std::fwrite(data, 1, size, f);
        std::rewind(f);
        ReadAll(f);
    }
    if (size)
        ReadAll(fmemopen(const_cast<uint8_t*>(data), size, "rb"));
    return 0;
}
