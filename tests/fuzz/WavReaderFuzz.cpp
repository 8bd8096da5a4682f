// The WAV reader on arbitrary bytes, as a file (seekable) and as a stream,
// reading every block, with a seek.
#include <cstdio>

#include "FuzzInput.h"
#include "WavAudioSource.h"

namespace {

void ReadAll(FILE* f, int blockFrames)
{
    WavAudioSource source(blockFrames);
    if (!f || !source.OpenStream(f, "fuzz", true))
        return;
    for (int i = 0; i < 100000 && source.GetNextFrame(); ++i) {
    }
    source.AudioSeek(0.01);
    source.GetNextFrame();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const int blockFrames = size ? 1 + data[0] * 17 : 1024;
    if (FILE* f = std::tmpfile()) {
        if (size)
            std::fwrite(data, 1, size, f);
        std::rewind(f);
        ReadAll(f, blockFrames);
    }
    if (size)
        ReadAll(fmemopen(const_cast<uint8_t*>(data), size, "rb"), blockFrames);
    return 0;
}
