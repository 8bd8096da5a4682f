// The video stage's twins against their references: the alpha watermark
// blend through AddWaterMarkEx (clipped and odd placements, with and without
// an alpha plane, opacities in and out of 0..100) and through AddWaterMark
// placed by alignment (every code, marks wider or taller than the frame).
#include "DataProcess.h"
#include "KernelCheck.h"
#include "SyntheticVideoSource.h"

namespace {

using FramePtr = std::unique_ptr<MEDIA_FRAME, void (*)(MEDIA_FRAME*)>;

FramePtr RandomFrame(int w, int h, bool alpha, std::mt19937& rng)
{
    FramePtr f(CreateYV12Frame(w, h, alpha ? 1 : 0, 1), ReleaseYV12Frame);
    const size_t bytes = static_cast<size_t>(f->nPitchY) * h * (alpha ? 2 : 1) + size_t(f->nPitchU) * ((h + 1) / 2) * 2;
    // Y, V, U and alpha lie in one block from the lowest plane pointer on.
    uint8_t* base = std::min({f->pY, f->pU, f->pV});
    for (size_t i = 0; i < bytes; ++i)
        base[i] = static_cast<uint8_t>(rng() >> 24);
    return f;
}

TEST(StageKernelsCheck, AlphaWatermarkEqualsReference)
{
    std::mt19937 rng(61);
    const struct {
        int x, y, cx, cy, xs, ys;
    } places[] = {{0, 0, -1, -1, 0, 0}, {3, 5, 70, 33, 0, 0}, {-9, -4, 100, 100, 2, 1}, {40, 21, 67, 19, 5, 7},
                  {77, 41, 50, 50, 0, 0}, {1, 1, 1, 1, 0, 0}, {2, 0, 2, 3, 1, 0}, {0, 2, 128, 8, 0, 0}, {6, 0, 64, 4, 3, 0}};
    for (bool alpha : {true, false}) {
        const FramePtr mark = RandomFrame(133, 45, alpha, rng);
        for (const auto& p : places) {
            for (int percent : {100, 37, 0, 150, -5}) {
                const FramePtr dst = RandomFrame(197, 49, false, rng);
                const size_t lumaBytes = size_t(dst->nPitchY) * 49, chromaBytes = size_t(dst->nPitchU) * 25;
                std::vector<uint8_t> y0(dst->pY, dst->pY + lumaBytes), u0(dst->pU, dst->pU + chromaBytes),
                    v0(dst->pV, dst->pV + chromaBytes);
                EdgeBuffer out(lumaBytes + 2 * chromaBytes);
                ExpectSameAtEveryLevel(out, "watermark at " + std::to_string(p.x) + "," + std::to_string(p.y) +
                                                " percent " + std::to_string(percent) + (alpha ? " alpha" : ""),
                                       [&] {
                                           std::copy(y0.begin(), y0.end(), dst->pY);
                                           std::copy(u0.begin(), u0.end(), dst->pU);
                                           std::copy(v0.begin(), v0.end(), dst->pV);
                                           AddWaterMarkEx(dst.get(), mark.get(), p.x, p.y, p.cx, p.cy, p.xs, p.ys,
                                                          percent, 1);
                                           std::copy(dst->pY, dst->pY + lumaBytes, out.data());
                                           std::copy(dst->pU, dst->pU + chromaBytes, out.data() + lumaBytes);
                                           std::copy(dst->pV, dst->pV + chromaBytes, out.data() + lumaBytes + chromaBytes);
                                       });
            }
        }
    }
}

TEST(StageKernelsCheck, AlignedWatermarkEqualsReference)
{
    std::mt19937 rng(67);
    const struct {
        int w, h, mw, mh;
    } sizes[] = {{197, 49, 133, 45}, {64, 36, 17, 9}, {50, 20, 71, 9}, {41, 13, 36, 30}, {30, 30, 45, 47},
                 {1280, 720, 200, 100}, {33, 17, 33, 2}, {7, 5, 7, 5}};
    for (bool alpha : {true, false})
        for (const auto& sz : sizes) {
            const FramePtr mark = RandomFrame(sz.mw, sz.mh, alpha, rng);
            for (int align = 0; align <= 10; ++align)
                for (int percent : {100, 37, 0, 150}) {
                    if (sz.w * sz.h > 100000 && (align % 3 != 0 || percent == 0))
                        continue; // the large frame at a few placements
                    const FramePtr dst = RandomFrame(sz.w, sz.h, false, rng);
                    const size_t lumaBytes = size_t(dst->nPitchY) * sz.h,
                                 chromaBytes = size_t(dst->nPitchU) * ((sz.h + 1) / 2);
                    std::vector<uint8_t> y0(dst->pY, dst->pY + lumaBytes), u0(dst->pU, dst->pU + chromaBytes),
                        v0(dst->pV, dst->pV + chromaBytes);
                    EdgeBuffer out(lumaBytes + 2 * chromaBytes);
                    ExpectSameAtEveryLevel(
                        out,
                        std::to_string(sz.mw) + "x" + std::to_string(sz.mh) + " mark on " + std::to_string(sz.w) + "x" +
                            std::to_string(sz.h) + " align " + std::to_string(align) + " percent " +
                            std::to_string(percent) + (alpha ? " alpha" : ""),
                        [&] {
                            std::copy(y0.begin(), y0.end(), dst->pY);
                            std::copy(u0.begin(), u0.end(), dst->pU);
                            std::copy(v0.begin(), v0.end(), dst->pV);
                            AddWaterMark(dst.get(), mark.get(), nullptr, percent, align, 0);
                            std::copy(dst->pY, dst->pY + lumaBytes, out.data());
                            std::copy(dst->pU, dst->pU + chromaBytes, out.data() + lumaBytes);
                            std::copy(dst->pV, dst->pV + chromaBytes, out.data() + lumaBytes + chromaBytes);
                        });
                }
        }
}

} // namespace

namespace {

// Whole stages: the same source frames through VideoProcess at the reference
// level and at each SIMD level give the same pictures, for a spread of
// settings (letterbox and pillarbox, crop, quarter turns, adjustments,
// filters, flips, deinterlacing, nearest and bilinear).
struct StageSetup {
    const char* name;
    int srcW, srcH, outW, outH;
    IMAGE_INTERPOLATION interpolation;
    IMAGE_RESIZE_METHOD method;
    void (*configure)(VideoProcess&);
};

std::vector<uint8_t> RunStage(const StageSetup& s)
{
    SyntheticVideoConfig cfg;
    cfg.width = s.srcW;
    cfg.height = s.srcH;
    cfg.frameCount = 3;
    SyntheticVideoSource source(cfg);
    RESIZE_PARAM resize{s.outW, s.outH, s.interpolation, s.method};
    VideoProcess stage(&source, &resize, 0.0);
    s.configure(stage);
    std::vector<uint8_t> bytes;
    for (int i = 0; i < 3; ++i) {
        const MEDIA_FRAME* f = stage.GetFrame();
        if (!f)
            break;
        for (int y = 0; y < f->nHeight; ++y)
            bytes.insert(bytes.end(), f->pY + y * f->nPitchY, f->pY + y * f->nPitchY + f->nWidth);
        for (int y = 0; y < (f->nHeight + 1) / 2; ++y) {
            bytes.insert(bytes.end(), f->pU + y * f->nPitchU, f->pU + y * f->nPitchU + (f->nWidth + 1) / 2);
            bytes.insert(bytes.end(), f->pV + y * f->nPitchV, f->pV + y * f->nPitchV + (f->nWidth + 1) / 2);
        }
        stage.Forward(1);
    }
    return bytes;
}

TEST(StageKernelsCheck, WholeStageEqualsReference)
{
    const StageSetup setups[] = {
        {"letterbox, brightness and contrast", 321, 181, 160, 120, IMAGE_INTERPOLATION_BILINEAR, IMAGE_RESIZE_LETTERBOX,
         [](VideoProcess& v) { v.SetBrightness(12); v.SetContrast(-30); }},
        {"pillarbox nearest, saturation, mirror", 200, 150, 255, 99, IMAGE_INTERPOLATION_NEAREST,
         IMAGE_RESIZE_LETTERBOX, [](VideoProcess& v) { v.SetSaturation(40); v.SetFlipFlag(1); }},
        {"quarter turn", 97, 61, 61, 97, IMAGE_INTERPOLATION_BILINEAR, IMAGE_RESIZE_STRETCH,
         [](VideoProcess& v) { v.SetRotation(90, 0, 0); }},
        {"three-quarter turn, filters", 64, 48, 48, 64, IMAGE_INTERPOLATION_NEAREST, IMAGE_RESIZE_STRETCH,
         [](VideoProcess& v) { v.SetRotation(270, 0, 0); v.SetExFilterFlag(1 | 4); }},
        {"crop", 320, 240, 177, 133, IMAGE_INTERPOLATION_BILINEAR, IMAGE_RESIZE_STRETCH,
         [](VideoProcess& v) {
             tagRECT crop{13, 7, 251, 199};
             v.SetCropRect(&crop, IMAGE_RESIZE_STRETCH);
             v.SetDeintelace(DEINTERLACE_BLEND_ODD);
         }},
    };
    for (const StageSetup& s : setups) {
        DPSetSimdLevel("none");
        const std::vector<uint8_t> expected = RunStage(s);
        ASSERT_FALSE(expected.empty()) << s.name;
        ForEachSimdLevel([&](const std::string& level) { EXPECT_EQ(RunStage(s), expected) << s.name << " at " << level; });
    }
}

} // namespace
