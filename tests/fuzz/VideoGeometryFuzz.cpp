// The video stage's geometry: fuzzed output sizes, filters, resize methods,
// crops, quarter turns, display aspects and size changes over small
// sources, including one-pixel and odd sizes.
#include <DataProcess/DataProcess.h>

#include "FuzzInput.h"
#include "SyntheticVideoSource.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzInput in(data, size);
    SyntheticVideoConfig cfg;
    cfg.width = in.Range(1, 80);
    cfg.height = in.Range(1, 60);
    cfg.aspectX = in.Range(0, 20);
    cfg.aspectY = in.Range(0, 20);
    cfg.frameCount = 4;
    SyntheticVideoSource source(cfg);
    RESIZE_PARAM resize{in.Range(-2, 100), in.Range(-2, 100), static_cast<IMAGE_INTERPOLATION>(in.Range(0, 4)),
                        static_cast<IMAGE_RESIZE_METHOD>(in.Range(0, 6))};
    VideoProcess stage(&source, in.Take<uint8_t>() & 1 ? &resize : nullptr, in.Range(0, 3) * 12.5);
    for (int step = 0; step < 6 && in.RestSize(); ++step) {
        switch (in.Range(0, 5)) {
        case 0: {
            tagRECT crop{in.Range(-10, 90), in.Range(-10, 70), in.Range(-10, 90), in.Range(-10, 70)};
            stage.SetCropRect(&crop, static_cast<IMAGE_RESIZE_METHOD>(in.Range(0, 6)));
            break;
        }
        case 1: stage.SetRotation(in.Range(-1, 4) * 90, 0, 0); break;
        case 2: {
            VideoModifyRequest r{in.Range(-2, 90), in.Range(-2, 90), in.Range(0, 4) * 15.0};
            stage.ModifyInfo(in.Range(0, 3), reinterpret_cast<uintptr_t>(&r));
            break;
        }
        case 3: stage.SetDeintelace(static_cast<DEINTERLACE_STYLE>(in.Range(0, 5))); break;
        case 4: stage.SetExFilterFlag(in.Range(0, 63)); stage.SetFlipFlag(in.Range(0, 3)); break;
        default: break;
        }
        if (stage.GetFrame())
            stage.Forward(1);
    }
    return 0;
}
