// A program outside the DataProcess tree, built against the installed
// package: it creates, copies and releases frames and reads a synthetic
// source through the constant-rate stage.
#include <DataProcess/DataProcess.h>

#include <cstdio>

#include "SyntheticVideoSource.h"

int main()
{
    MEDIA_FRAME* a = CreateYV12Frame(65, 33, 1, 1);
    MEDIA_FRAME* b = CreateYV12Frame(65, 33, 1, 0);
    CopyVideoFrame(b, a, 1);
    const bool copied = b->pY[64] == 16 && b->pU[0] == 128 && b->pAlpha[0] == 255;
    ReleaseYV12Frame(a);
    ReleaseYV12Frame(b);

    SyntheticVideoConfig cfg;
    cfg.width = 64;
    cfg.height = 48;
    cfg.frameCount = 10;
    SyntheticVideoSource source(cfg);
    int frames = 0;
    do {
        if (source.GetFrame())
            ++frames;
    } while (source.Forward(1) == 1);
    std::printf("copied %s, %d frames read\n", copied ? "ok" : "WRONG", frames);
    return copied && frames == 10 ? 0 : 1;
}
