// Image cases of the peer benchmark: scaling, colour conversion, a quarter
// turn, a mirror, a watermark blend, brightness and contrast, and the whole
// video stage, each against libyuv, swscale or a plain C loop.
#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include <DataProcess/DataProcess.h>
extern "C" {
#include <libswscale/swscale.h>
}
#include <libyuv.h>

#include "BenchHarness.h"

namespace {

constexpr int kW = 1920, kH = 1080;

using FramePtr = std::unique_ptr<MEDIA_FRAME, void (*)(MEDIA_FRAME*)>;

FramePtr Frame(int w, int h, bool alpha = false)
{
    return FramePtr(CreateYV12Frame(w, h, alpha ? 1 : 0, 1), ReleaseYV12Frame);
}

// A textured picture: gradients, stripes and noise, so no kernel meets only flat data.
void Fill(MEDIA_FRAME* f)
{
    uint32_t s = 12345;
    auto noise = [&s] { return (s = s * 1664525u + 1013904223u) >> 28; };
    for (int y = 0; y < f->nHeight; ++y)
        for (int x = 0; x < f->nWidth; ++x)
            f->pY[y * f->nPitchY + x] = static_cast<uint8_t>(x / 8 + y / 5 + ((x / 16 + y / 16) % 2) * 40 + noise());
    for (int y = 0; y < (f->nHeight + 1) / 2; ++y)
        for (int x = 0; x < (f->nWidth + 1) / 2; ++x) {
            f->pU[y * f->nPitchU + x] = static_cast<uint8_t>(96 + x / 8 + noise());
            f->pV[y * f->nPitchV + x] = static_cast<uint8_t>(160 - y / 4 + noise());
        }
    if (f->pAlpha)
        for (int y = 0; y < f->nHeight; ++y)
            for (int x = 0; x < f->nWidth; ++x)
                f->pAlpha[y * f->nPitchY + x] = static_cast<uint8_t>((x * 255) / (f->nWidth - 1));
}

IMG_PARAM Whole(const MEDIA_FRAME* f)
{
    return IMG_PARAM{f->pY, f->nWidth, f->nHeight, f->nPitchY, 8, 0, 0, f->nWidth, f->nHeight};
}

BITMAPINFOHEADER Bitmap(int w, int h, int bits)
{
    BITMAPINFOHEADER b{};
    b.biSize = 40;
    b.biWidth = w;
    b.biHeight = h; // positive: bottom-up
    b.biPlanes = 1;
    b.biBitCount = static_cast<uint16_t>(bits);
    return b;
}

struct Sws {
    SwsContext* ctx = nullptr;
    Sws(int sw, int sh, AVPixelFormat sf, int dw, int dh, AVPixelFormat df, int flags)
        : ctx(sws_getContext(sw, sh, sf, dw, dh, df, flags, nullptr, nullptr, nullptr))
    {
    }
    ~Sws() { sws_freeContext(ctx); }
};

// The shared state of the image cases (made once; cases capture it).
struct ImageData {
    FramePtr src = Frame(kW, kH), small = Frame(1280, 720), turned = Frame(kH, kW), work = Frame(kW, kH);
    FramePtr mark = Frame(512, 256, true), smallMark = Frame(200, 100, true), frame720 = Frame(1280, 720);
    std::vector<uint8_t> constantAlpha = std::vector<uint8_t>(512 * 256, 127);
    std::vector<uint8_t> bgr24 = std::vector<uint8_t>(size_t(kW) * kH * 3);
    std::vector<uint8_t> bgra = std::vector<uint8_t>(size_t(kW) * kH * 4);
    std::vector<uint8_t> y = std::vector<uint8_t>(size_t(kW) * kH), u = std::vector<uint8_t>(size_t(kW / 2) * kH / 2),
                         v = std::vector<uint8_t>(size_t(kW / 2) * kH / 2), copy = std::vector<uint8_t>(size_t(kW) * kH * 3 / 2);
    Sws bilinear{kW, kH, AV_PIX_FMT_YUV420P, 1280, 720, AV_PIX_FMT_YUV420P, SWS_BILINEAR};
    Sws point{kW, kH, AV_PIX_FMT_YUV420P, 1280, 720, AV_PIX_FMT_YUV420P, SWS_POINT};
    Sws toBgr{kW, kH, AV_PIX_FMT_YUV420P, kW, kH, AV_PIX_FMT_BGR24, SWS_POINT};
    Sws toBgra{kW, kH, AV_PIX_FMT_YUV420P, kW, kH, AV_PIX_FMT_BGRA, SWS_POINT};
    Sws fromBgr{kW, kH, AV_PIX_FMT_BGR24, kW, kH, AV_PIX_FMT_YUV420P, SWS_POINT};
    Sws fromBgra{kW, kH, AV_PIX_FMT_BGRA, kW, kH, AV_PIX_FMT_YUV420P, SWS_POINT};
    ImageData()
    {
        Fill(src.get());
        Fill(mark.get());
        Fill(smallMark.get());
        Fill(frame720.get());
        std::memcpy(work->pY, src->pY, size_t(kW) * kH);
        for (size_t i = 0; i < bgr24.size(); ++i)
            bgr24[i] = static_cast<uint8_t>(i * 7 + i / 5000);
        for (size_t i = 0; i < bgra.size(); ++i)
            bgra[i] = static_cast<uint8_t>(i * 5 + i / 7000);
    }
};

void SwsI420(Sws& s, const MEDIA_FRAME* a, MEDIA_FRAME* b)
{
    const uint8_t* in[3] = {a->pY, a->pU, a->pV};
    const int inStride[3] = {a->nPitchY, a->nPitchU, a->nPitchV};
    uint8_t* out[3] = {b->pY, b->pU, b->pV};
    const int outStride[3] = {b->nPitchY, b->nPitchU, b->nPitchV};
    sws_scale(s.ctx, in, inStride, 0, a->nHeight, out, outStride);
}

// A bitmap bottom-up through swscale: start at its last row, negative stride.
void SwsToBitmap(Sws& s, const MEDIA_FRAME* a, uint8_t* bits, int bpp)
{
    const uint8_t* in[3] = {a->pY, a->pU, a->pV};
    const int inStride[3] = {a->nPitchY, a->nPitchU, a->nPitchV};
    uint8_t* out[1] = {bits + size_t(kH - 1) * kW * bpp};
    const int outStride[1] = {-kW * bpp};
    sws_scale(s.ctx, in, inStride, 0, kH, out, outStride);
}

void SwsFromBitmap(Sws& s, const uint8_t* bits, int bpp, uint8_t* y, uint8_t* u, uint8_t* v)
{
    const uint8_t* in[1] = {bits + size_t(kH - 1) * kW * bpp};
    const int inStride[1] = {-kW * bpp};
    uint8_t* out[3] = {y, u, v};
    const int outStride[3] = {kW, kW / 2, kW / 2};
    sws_scale(s.ctx, in, inStride, 0, kH, out, outStride);
}

// A host decoder holding one picture: every Forward gives it again with the
// next time stamp.
class OneFrameDecoder : public VideoDecoder {
public:
    explicit OneFrameDecoder(MEDIA_FRAME* f) : m_frame(*f)
    {
        m_info.nWidth = f->nWidth;
        m_info.nHeight = f->nHeight;
        m_info.dFrameRate = 25.0;
        std::memset(&m_stream, 0, sizeof m_stream);
        std::memcpy(&m_stream, &m_info, sizeof m_info);
        Stamp();
    }
    int Close() override { return 1; }
    int Open(const wchar_t*, const DecParam*, int*) override { return 1; }
    intptr_t SetExDecodeParam(unsigned int, uintptr_t, uintptr_t) override { return 0; }
    const VideoInfo* GetVideoInfo() const override { return &m_info; }
    const VideoStreamInfo* GetVideoStreamInfo() const override { return &m_stream; }
    double VideoSeekTime(double s, unsigned int) override { return s; }
    int VideoSeek(int n, unsigned int) override { return n; }
    const MEDIA_FRAME* GetFrame() const override { return &m_frame; }
    int GetFrameOffset() const override { return static_cast<int>(m_n); }
    int Forward(int count) override
    {
        m_n += count;
        Stamp();
        return count;
    }

private:
    void Stamp()
    {
        m_frame.llStartTime = m_n * 400000;
        m_frame.llStopTime = m_frame.llStartTime + 399997;
    }
    MEDIA_FRAME m_frame;
    VideoInfo m_info{};
    VideoStreamInfo m_stream;
    long long m_n = 0;
};

} // namespace

void AddImageCases(std::vector<BenchCase>& cases)
{
    static ImageData d; // kept for the whole run
    ImageData* p = &d;
    const IMG_PARAM srcWhole = Whole(d.src.get());

    cases.push_back({"I420 1920x1080 -> 1280x720 bilinear",
                     [p, srcWhole] {
                         IMG_PARAM s = srcWhole, o = Whole(p->small.get());
                         ImageResizeYUV(s, p->src.get(), o, p->small.get(), IMAGE_INTERPOLATION_BILINEAR, 0);
                     },
                     {{"libyuv", [p] {
                           libyuv::I420Scale(p->src->pY, p->src->nPitchY, p->src->pU, p->src->nPitchU, p->src->pV,
                                             p->src->nPitchV, kW, kH, p->small->pY, p->small->nPitchY, p->small->pU,
                                             p->small->nPitchU, p->small->pV, p->small->nPitchV, 1280, 720,
                                             libyuv::kFilterBilinear);
                       }},
                      {"swscale", [p] { SwsI420(p->bilinear, p->src.get(), p->small.get()); }}},
                     "libyuv kFilterBilinear, swscale SWS_BILINEAR"});
    cases.push_back({"I420 1920x1080 -> 1280x720 nearest",
                     [p, srcWhole] {
                         IMG_PARAM s = srcWhole, o = Whole(p->small.get());
                         ImageResizeYUV(s, p->src.get(), o, p->small.get(), IMAGE_INTERPOLATION_NEAREST, 0);
                     },
                     {{"libyuv", [p] {
                           libyuv::I420Scale(p->src->pY, p->src->nPitchY, p->src->pU, p->src->nPitchU, p->src->pV,
                                             p->src->nPitchV, kW, kH, p->small->pY, p->small->nPitchY, p->small->pU,
                                             p->small->nPitchU, p->small->pV, p->small->nPitchV, 1280, 720,
                                             libyuv::kFilterNone);
                       }},
                      {"swscale", [p] { SwsI420(p->point, p->src.get(), p->small.get()); }}},
                     "libyuv kFilterNone, swscale SWS_POINT"});
    cases.push_back({"I420 -> 24-bit BGR bottom-up",
                     [p] {
                         BITMAPINFOHEADER b = Bitmap(kW, kH, 24);
                         Yuv420_2_rgb24(&b, p->bgr24.data(), p->src->pY, p->src->pU, p->src->pV, p->src->nPitchY,
                                        p->src->nPitchU, p->src->nPitchV);
                     },
                     {{"libyuv", [p] {
                           libyuv::I420ToRGB24(p->src->pY, p->src->nPitchY, p->src->pU, p->src->nPitchU, p->src->pV,
                                               p->src->nPitchV, p->bgr24.data(), kW * 3, kW, -kH);
                       }},
                      {"swscale", [p] { SwsToBitmap(p->toBgr, p->src.get(), p->bgr24.data(), 3); }}}});
    cases.push_back({"I420 -> 32-bit BGRA bottom-up",
                     [p] {
                         BITMAPINFOHEADER b = Bitmap(kW, kH, 32);
                         Yuv420_2_rgb32(&b, p->bgra.data(), p->src->pY, p->src->pU, p->src->pV, p->src->nPitchY,
                                        p->src->nPitchU, p->src->nPitchV);
                     },
                     {{"libyuv", [p] {
                           libyuv::I420ToARGB(p->src->pY, p->src->nPitchY, p->src->pU, p->src->nPitchU, p->src->pV,
                                              p->src->nPitchV, p->bgra.data(), kW * 4, kW, -kH);
                       }},
                      {"swscale", [p] { SwsToBitmap(p->toBgra, p->src.get(), p->bgra.data(), 4); }}}});
    cases.push_back({"32-bit BGRA bottom-up -> I420",
                     [p] {
                         BITMAPINFOHEADER b = Bitmap(kW, kH, 32);
                         Rgb32_2_yuv420(p->y.data(), p->u.data(), p->v.data(), kW, kW / 2, kW / 2, &b, p->bgra.data());
                     },
                     {{"libyuv", [p] {
                           libyuv::ARGBToI420(p->bgra.data(), kW * 4, p->y.data(), kW, p->u.data(), kW / 2, p->v.data(),
                                              kW / 2, kW, -kH);
                       }},
                      {"swscale", [p] { SwsFromBitmap(p->fromBgra, p->bgra.data(), 4, p->y.data(), p->u.data(), p->v.data()); }}}});
    cases.push_back({"24-bit BGR bottom-up -> I420",
                     [p] {
                         BITMAPINFOHEADER b = Bitmap(kW, kH, 24);
                         Rgb24_2_yuv420(p->y.data(), p->u.data(), p->v.data(), kW, kW / 2, kW / 2, &b, p->bgr24.data());
                     },
                     {{"libyuv", [p] {
                           libyuv::RGB24ToI420(p->bgr24.data(), kW * 3, p->y.data(), kW, p->u.data(), kW / 2, p->v.data(),
                                               kW / 2, kW, -kH);
                       }},
                      {"swscale", [p] { SwsFromBitmap(p->fromBgr, p->bgr24.data(), 3, p->y.data(), p->u.data(), p->v.data()); }}}});
    cases.push_back({"quarter turn of I420 1920x1080",
                     [p, srcWhole] {
                         IMG_PARAM s = srcWhole;
                         IMG_PARAM t = {p->turned->pY, kH, kW, p->turned->nPitchY, 8, 0, 0, kH, kW};
                         ImageRotateYUV(s, p->src.get(), t, p->turned.get(), IMAGE_INTERPOLATION_BILINEAR, 90);
                     },
                     {{"libyuv", [p] {
                         libyuv::I420Rotate(p->src->pY, p->src->nPitchY, p->src->pU, p->src->nPitchU, p->src->pV,
                                            p->src->nPitchV, p->turned->pY, p->turned->nPitchY, p->turned->pU,
                                            p->turned->nPitchU, p->turned->pV, p->turned->nPitchV, kW, kH,
                                            libyuv::kRotate90);
                     }}}});
    cases.push_back({"horizontal mirror of I420 1920x1080", [p] { FlipImageHorz(p->work.get()); },
                     {{"libyuv", [p] {
                         libyuv::I420Mirror(p->src->pY, p->src->nPitchY, p->src->pU, p->src->nPitchU, p->src->pV,
                                            p->src->nPitchV, p->work->pY, p->work->nPitchY, p->work->pU,
                                            p->work->nPitchU, p->work->pV, p->work->nPitchV, kW, kH);
                     }}},
                     "in place (library) and copy-mirror (libyuv)"});
    // The watermark paths as the stage uses them: the stage watermark placed
    // by alignment (bottom right, the tool's default), a picture with alpha
    // at a rectangle (the user watermark, or the stage watermark with a
    // rectangle), and constant opacity at a rectangle; libyuv's I420Blend
    // with an alpha plane (a constant one for the last) does the same work.
    for (MEDIA_FRAME* m : {d.smallMark.get(), d.mark.get()})
        for (MEDIA_FRAME* w : {d.frame720.get(), d.work.get()}) {
            const std::string sizes = std::to_string(m->nWidth) + "x" + std::to_string(m->nHeight) + " onto " +
                                      std::to_string(w->nWidth) + "x" + std::to_string(w->nHeight);
            const int x = w->nWidth - m->nWidth, y = w->nHeight - m->nHeight;
            auto blend = [w, m, x, y](const uint8_t* alpha) {
                return [w, m, x, y, alpha] {
                    const int off = y * w->nPitchY + x, offc = y / 2 * w->nPitchU + x / 2;
                    libyuv::I420Blend(m->pY, m->nPitchY, m->pU, m->nPitchU, m->pV, m->nPitchV, w->pY + off, w->nPitchY,
                                      w->pU + offc, w->nPitchU, w->pV + offc, w->nPitchV, alpha, m->nPitchY, w->pY + off,
                                      w->nPitchY, w->pU + offc, w->nPitchU, w->pV + offc, w->nPitchV, m->nWidth,
                                      m->nHeight);
                };
            };
            cases.push_back({"watermark by alignment " + sizes,
                             [w, m] { AddWaterMark(w, m, nullptr, 80, WATERMARK_ALIGN_BOTTOM_RIGHT, 0); },
                             {{"libyuv", blend(m->pAlpha)}}});
            cases.push_back({"watermark with alpha at a rectangle " + sizes,
                             [w, m, x, y] { AddWaterMarkEx(w, m, x, y, m->nWidth, m->nHeight, 0, 0, 100, 1); },
                             {{"libyuv", blend(m->pAlpha)}}});
            cases.push_back({"watermark, constant opacity " + sizes,
                             [w, m, x, y] { AddWaterMarkEx(w, m, x, y, m->nWidth, m->nHeight, 0, 0, 50, 0); },
                             {{"libyuv", blend(d.constantAlpha.data())}}});
        }
    cases.push_back({"brightness + contrast on 1920x1080 luma",
                     [p] {
                         MEDIA_FRAME* w = p->work.get();
                         AdjustImage(w->pY, w->pU, w->pV, w->nPitchY, w->nPitchU, w->nPitchV, kW, kH, 10, 20, 0);
                     },
                     {{"plain C LUT", [p] {
                         static uint8_t lut[256];
                         for (int i = 0; i < 256; ++i) {
                             const int v = (i + 10 - 128) * 120 / 100 + 128;
                             lut[i] = static_cast<uint8_t>(v < 0 ? 0 : (v > 255 ? 255 : v));
                         }
                         uint8_t* y = p->work->pY;
                         for (int r = 0; r < kH; ++r, y += p->work->nPitchY)
                             for (int x = 0; x < kW; ++x)
                                 y[x] = lut[y[x]];
                     }}}});

    // The whole stage: the decoder's picture to 1280x720 letterboxed bilinear
    // with brightness, one processed frame per run, against a copy of the frame.
    static OneFrameDecoder decoder(d.src.get());
    static RESIZE_PARAM resize{1280, 720, IMAGE_INTERPOLATION_BILINEAR, IMAGE_RESIZE_LETTERBOX};
    static VideoProcess stage(&decoder, &resize, 0.0);
    stage.SetBrightness(10);
    cases.push_back({"whole stage: 1080p frame -> 720p letterboxed, brightness",
                     [] {
                         stage.Forward(1);
                         stage.GetFrame();
                     },
                     {{"memcpy of the frame", [p] {
                         const MEDIA_FRAME* s = p->src.get();
                         std::memcpy(p->copy.data(), s->pY, size_t(kW) * kH * 3 / 2);
                     }}},
                     "ratio against memcpy of the 1080p frame (goal <= 6x)"});
}
