// Throughput of the hot paths: frame scaling, colour conversion, picture
// adjustment, audio conversion. Run with --benchmark_filter=... to pick one;
// DP_FORCE_REFERENCE=1 forces the reference kernels.
#include <benchmark/benchmark.h>

#include <vector>

#include <DataProcess/DataProcess.h>

namespace {

struct FramePair {
    MEDIA_FRAME* src;
    MEDIA_FRAME* dst;
    FramePair(int sw, int sh, int dw, int dh) : src(CreateYV12Frame(sw, sh, 0, 1)), dst(CreateYV12Frame(dw, dh, 0, 1))
    {
        for (int i = 0; i < sw * sh; ++i)
            src->pY[i] = static_cast<unsigned char>(i * 7);
    }
    ~FramePair()
    {
        ReleaseYV12Frame(src);
        ReleaseYV12Frame(dst);
    }
};

IMG_PARAM Whole(const MEDIA_FRAME* f)
{
    return IMG_PARAM{f->pY, f->nWidth, f->nHeight, f->nPitchY, 8, 0, 0, f->nWidth, f->nHeight};
}

void ScaleYUV(benchmark::State& state, IMAGE_INTERPOLATION interpolation)
{
    FramePair fp(1920, 1080, 1280, 720);
    IMG_PARAM s = Whole(fp.src), d = Whole(fp.dst);
    for (auto _ : state) {
        ImageResizeYUV(s, fp.src, d, fp.dst, interpolation, 0);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations());
    state.SetLabel("1080p -> 720p frames");
}
BENCHMARK_CAPTURE(ScaleYUV, bilinear, IMAGE_INTERPOLATION_BILINEAR)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(ScaleYUV, nearest, IMAGE_INTERPOLATION_NEAREST)->Unit(benchmark::kMillisecond);

void ConvertToRgb24(benchmark::State& state)
{
    MEDIA_FRAME* f = CreateYV12Frame(1920, 1080, 0, 1);
    BITMAPINFOHEADER h{};
    h.biSize = 40;
    h.biWidth = 1920;
    h.biHeight = 1080;
    h.biPlanes = 1;
    h.biBitCount = 24;
    std::vector<unsigned char> bits(static_cast<size_t>(1920 * 3) * 1080);
    for (auto _ : state) {
        Yuv420_2_rgb24(&h, bits.data(), f->pY, f->pU, f->pV, f->nPitchY, f->nPitchU, f->nPitchV);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations());
    ReleaseYV12Frame(f);
}
BENCHMARK(ConvertToRgb24)->Unit(benchmark::kMillisecond);

void Adjust(benchmark::State& state)
{
    MEDIA_FRAME* f = CreateYV12Frame(1920, 1080, 0, 1);
    for (auto _ : state) {
        AdjustImage(f, 10, 20, 30);
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations());
    ReleaseYV12Frame(f);
}
BENCHMARK(Adjust)->Unit(benchmark::kMillisecond);

void Resample(benchmark::State& state)
{
    CAudioConverter conv(2, 2, 44100, 48000, 1 << 16);
    std::vector<short> in(2 * 1024), out(1 << 16);
    for (size_t i = 0; i < in.size(); ++i)
        in[i] = static_cast<short>((i * 37) % 20000 - 10000);
    for (auto _ : state) {
        conv.Put(in.data(), static_cast<int>(in.size()));
        benchmark::DoNotOptimize(conv.Get(out.data(), static_cast<int>(out.size())));
    }
    state.SetItemsProcessed(state.iterations() * 1024);
    state.SetLabel("sample frames, 44.1 -> 48 kHz stereo");
}
BENCHMARK(Resample);

} // namespace

BENCHMARK_MAIN();
