// The watermark setters with fuzzed bitmap headers, a bits buffer of the
// size the header implies (when that is small), fuzzed rectangles,
// alignment and opacity, then frames from a stage.
#include <cstring>
#include <vector>

#include <DataProcess/DataProcess.h>

#include "FuzzInput.h"
#include "SyntheticVideoSource.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzInput in(data, size);
    tagBITMAPINFO bmi{};
    bmi.bmiHeader = in.Take<tagBITMAPINFOHEADER>();
    const int64_t w = bmi.bmiHeader.biWidth, h = bmi.bmiHeader.biHeight;
    const int64_t bits = bmi.bmiHeader.biBitCount;
    const int64_t aw = w < 0 ? -w : w, ah = h < 0 ? -h : h;
    if (aw > 4096 || ah > 4096)
        return 0; // a picture this large says nothing new about the parsing
    const int64_t implied = aw * ah * (bits > 0 && bits <= 32 ? bits : 32) / 8;
    std::vector<unsigned char> pixels(static_cast<size_t>(implied) + 64);
    for (unsigned char& p : pixels)
        p = in.Take<uint8_t>();
    tagRECT rect{in.Range(-50, 200), in.Range(-50, 200), in.Range(-50, 300), in.Range(-50, 300)};
    tagFRECT frect{in.Take<float>(), in.Take<float>(), in.Take<float>(), in.Take<float>()};
    const int percent = in.Range(-20, 150), align = in.Range(-1, 12), which = in.Range(0, 3);

    SyntheticVideoConfig cfg;
    cfg.width = in.Range(2, 96);
    cfg.height = in.Range(2, 64);
    cfg.frameCount = 3;
    SyntheticVideoSource source(cfg);
    RESIZE_PARAM resize{in.Range(-1, 120), in.Range(1, 90), IMAGE_INTERPOLATION_BILINEAR, IMAGE_RESIZE_LETTERBOX};
    VideoProcess stage(&source, &resize, 0.0);
    switch (which) {
    case 0: stage.SetWatermarkImage(&bmi, pixels.data(), (in.Take<uint8_t>() & 1) ? &rect : nullptr, percent); break;
    case 1: stage.SetWatermarkImageAlign(&bmi, pixels.data(), align, percent); break;
    case 2: stage.SetUserWatermarkImage(&bmi, pixels.data(), &frect, percent); break;
    default:
        stage.SetWatermarkImage(&bmi, pixels.data(), &rect, percent);
        stage.SetUserWatermarkImage(&bmi, pixels.data(), &frect, percent);
        break;
    }
    for (int i = 0; i < 2 && stage.GetFrame(); ++i)
        stage.Forward(1);
    return 0;
}
