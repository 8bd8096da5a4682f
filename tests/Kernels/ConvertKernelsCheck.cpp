// The colour converters' twins against their references through the public
// routines: odd and even sizes, pitches wider than the rows, bottom-up and
// top-down bitmaps, planes and bitmaps at odd addresses ending at their
// allocation, destinations pre-filled with sentinels.
#include "ImageConvert.h"
#include "ImageConvertKernels.h"
#include "KernelCheck.h"

namespace {

BITMAPINFOHEADER Header(int w, int h, int bits)
{
    BITMAPINFOHEADER b{};
    b.biSize = 40;
    b.biWidth = w;
    b.biHeight = h;
    b.biPlanes = 1;
    b.biBitCount = static_cast<uint16_t>(bits);
    return b;
}

size_t RowBytes(int w, int bits) { return (static_cast<size_t>(w) * bits / 8 + 3) & ~size_t{3}; }

struct Planes {
    int pitchY, pitchC;
    EdgeBuffer y, u, v, a;
    Planes(int w, int h, std::mt19937& rng)
        : pitchY(w + 3), pitchC((w + 1) / 2 + 2), y(static_cast<size_t>(h) * pitchY, 1),
          u(static_cast<size_t>((h + 1) / 2) * pitchC, 2), v(static_cast<size_t>((h + 1) / 2) * pitchC, 3),
          a(static_cast<size_t>(h) * pitchY, 5)
    {
        y.Random(rng);
        u.Random(rng);
        v.Random(rng);
    }
};

TEST(ConvertKernelsCheck, PlanesToBitmapsEqualReference)
{
    std::mt19937 rng(41);
    for (int w : CheckWidths()) {
        for (int h : {1, 2, 3, 6}) {
            Planes p(w, h, rng);
            for (int bits : {24, 32}) {
                EdgeBuffer bmp(RowBytes(w, bits) * static_cast<size_t>(h), 1);
                const std::string at = std::to_string(w) + "x" + std::to_string(h) + " " + std::to_string(bits) + "-bit";
                auto run = [&](auto convert) {
                    BITMAPINFOHEADER hd = Header(w, h, bits);
                    convert(&hd, bmp.data(), p.y.data(), p.u.data(), p.v.data(), p.pitchY, p.pitchC, p.pitchC);
                };
                if (bits == 24) {
                    ExpectSameAtEveryLevel(bmp, "Yuv420_2_rgb24 " + at, [&] { run(Yuv420_2_rgb24); });
                } else {
                    ExpectSameAtEveryLevel(bmp, "Yuv420_2_rgb32 " + at, [&] { run(Yuv420_2_rgb32); });
                    ExpectSameAtEveryLevel(bmp, "Yuv420_2_Argb " + at, [&] { run(Yuv420_2_Argb); });
                }
            }
        }
    }
}

TEST(ConvertKernelsCheck, BitmapsToPlanesEqualReference)
{
    std::mt19937 rng(42);
    for (int w : CheckWidths()) {
        for (int h : {1, 2, 3, -4}) { // negative: a top-down bitmap
            const int rows = h < 0 ? -h : h;
            for (int bits : {24, 32}) {
                EdgeBuffer bmp(RowBytes(w, bits) * static_cast<size_t>(rows), 3);
                bmp.Random(rng);
                Planes out(w, rows, rng);
                const std::string at = std::to_string(w) + "x" + std::to_string(h) + " " + std::to_string(bits) + "-bit";
                for (int variant = 0; variant < (bits == 24 ? 1 : 3); ++variant) {
                    // The four planes compared as one: run, then gather their bytes.
                    EdgeBuffer all(out.y.size() + out.u.size() + out.v.size() + out.a.size());
                    ExpectSameAtEveryLevel(all, at + " variant " + std::to_string(variant), [&] {
                        const uint8_t fill = all.data()[0];
                        for (EdgeBuffer* b : {&out.y, &out.u, &out.v, &out.a})
                            b->Fill(fill);
                        BITMAPINFOHEADER hd = Header(w, h, bits);
                        if (bits == 24)
                            Rgb24_2_yuv420(out.y.data(), out.u.data(), out.v.data(), out.pitchY, out.pitchC, out.pitchC,
                                           &hd, bmp.data());
                        else if (variant == 0)
                            Rgb32_2_yuv420(out.y.data(), out.u.data(), out.v.data(), out.pitchY, out.pitchC, out.pitchC,
                                           &hd, bmp.data());
                        else if (variant == 1)
                            Argb_2_yuv420(out.y.data(), out.u.data(), out.v.data(), out.pitchY, out.pitchC, out.pitchC,
                                          &hd, bmp.data());
                        else
                            Rgb32_2_yuv420A(out.y.data(), out.u.data(), out.v.data(), out.a.data(), out.pitchY,
                                            out.pitchC, out.pitchC, &hd, bmp.data());
                        uint8_t* d = all.data();
                        for (EdgeBuffer* b : {&out.y, &out.u, &out.v, &out.a}) {
                            std::memcpy(d, b->data(), b->size());
                            d += b->size();
                        }
                    });
                }
            }
        }
    }
}

// Every colour through the bitmap-to-planes kernels: each 2 x 2 block holds
// one colour four times, so the block's chroma is that colour's per-pixel
// chroma; with the per-pixel luma that covers every value the twins compute
// per pixel (the block mean of four of them is exact integer arithmetic,
// covered by the random blocks above).
TEST(ConvertKernelsCheck, BitmapsToPlanesEveryColour)
{
    constexpr int kPairs = 4096;
    for (int bpp : {3, 4}) {
        std::vector<uint8_t> row(size_t(2 * kPairs) * bpp);
        std::vector<uint8_t> want(10 * kPairs), got(10 * kPairs);
        auto run = [&](const dpconv::ConvertKernels& k, std::vector<uint8_t>& out) {
            uint8_t* y = out.data();
            const dpconv::RgbToI420Row2Fn f = bpp == 3 ? k.rgb24ToI420Row2 : k.rgb32ToI420AlphaRow2;
            f(row.data(), row.data(), y, y + 2 * kPairs, y + 4 * kPairs, y + 5 * kPairs, y + 6 * kPairs,
              y + 8 * kPairs, kPairs);
        };
        for (uint32_t first = 0; first < (1u << 24); first += kPairs) {
            for (int i = 0; i < 2 * kPairs; ++i) {
                const uint32_t c = first + uint32_t(i / 2);
                for (int b = 0; b < 3; ++b)
                    row[size_t(i) * bpp + b] = static_cast<uint8_t>(c >> (8 * b));
                if (bpp == 4)
                    row[size_t(i) * 4 + 3] = static_cast<uint8_t>(c >> 12);
            }
            run(dpconv::ReferenceConvertKernels(), want);
            ForEachSimdLevel([&](const std::string& level) {
                run(dpconv::GetConvertKernels(), got);
                ASSERT_TRUE(got == want) << bpp * 8 << "-bit, colours from " << first << " at " << level;
            });
        }
    }
}

// Every (y, u, v) through the planes-to-bitmap kernels: for each v, a row
// of blocks running through every u, each u with 64 blocks that hold the
// 256 luma values.
TEST(ConvertKernelsCheck, PlanesToBitmapsEveryColour)
{
    constexpr int kPairs = 256 * 64;
    std::vector<uint8_t> y0(2 * kPairs), y1(2 * kPairs), u(kPairs), v(kPairs);
    for (int j = 0; j < kPairs; ++j) {
        const int k = j % 64;
        u[j] = static_cast<uint8_t>(j / 64);
        y0[2 * j] = static_cast<uint8_t>(4 * k);
        y0[2 * j + 1] = static_cast<uint8_t>(4 * k + 1);
        y1[2 * j] = static_cast<uint8_t>(4 * k + 2);
        y1[2 * j + 1] = static_cast<uint8_t>(4 * k + 3);
    }
    for (int kind = 0; kind < 3; ++kind) {
        const int bpp = kind == 0 ? 3 : 4;
        std::vector<uint8_t> want(size_t(4) * kPairs * bpp), got(want.size());
        auto run = [&](const dpconv::ConvertKernels& k, std::vector<uint8_t>& out) {
            for (size_t i = 0; i < out.size(); ++i)
                out[i] = static_cast<uint8_t>(i * 7); // fourth bytes the 32-bit kernel must keep
            const dpconv::I420ToRgbRow2Fn f = kind == 0 ? k.i420ToRgb24Row2 : (kind == 1 ? k.i420ToRgb32Row2 : k.i420ToArgbRow2);
            f(y0.data(), y1.data(), u.data(), v.data(), out.data(), out.data() + size_t(2) * kPairs * bpp, kPairs);
        };
        for (int vv = 0; vv < 256; ++vv) {
            std::fill(v.begin(), v.end(), static_cast<uint8_t>(vv));
            run(dpconv::ReferenceConvertKernels(), want);
            ForEachSimdLevel([&](const std::string& level) {
                run(dpconv::GetConvertKernels(), got);
                ASSERT_TRUE(got == want) << "kind " << kind << ", v " << vv << " at " << level;
            });
        }
    }
}

// Packed 4:2:2 in both byte orders: to and from planes, the byte-pair swap
// between the orders, and to and from 24-bit rows.
TEST(ConvertKernelsCheck, PackedRowsEqualReference)
{
    std::mt19937 rng(43);
    for (int w : CheckWidths()) {
        const int h = 3, packedPitch = 2 * w + 6, rgbPitch = 3 * w + 5;
        EdgeBuffer packed(static_cast<size_t>(h) * packedPitch, 1), rgb(static_cast<size_t>(h) * rgbPitch, 2);
        packed.Random(rng);
        rgb.Random(rng);
        Planes planes(w, h + 1, rng);
        for (int yuy2 : {1, 0}) {
            const std::string at = std::to_string(w) + (yuy2 ? " YUY2" : " UYVY");
            EdgeBuffer out(packed.size(), 3), outRgb(rgb.size(), 5);
            ExpectSameAtEveryLevel(out, "planes to packed " + at, [&] {
                Yuv420_2_YUY2(out.data(), packedPitch, 0, 0, w, h, yuy2, planes.y.data(), planes.u.data(),
                              planes.v.data(), planes.pitchY, planes.pitchC, planes.pitchC, 0, 0);
            });
            ExpectSameAtEveryLevel(out, "pair swap " + at, [&] {
                YUY2_Blt_fast(out.data(), packedPitch, 0, 0, w, h, yuy2, packed.data(), packedPitch, !yuy2, 0, 0);
            });
            ExpectSameAtEveryLevel(out, "24-bit to packed " + at, [&] {
                Rgb24_2_YUY2(out.data(), packedPitch, 0, 0, w, h, yuy2, rgb.data(), rgbPitch, 0, 0, 0);
            });
            ExpectSameAtEveryLevel(outRgb, "packed to 24-bit " + at, [&] {
                YUY2_2_Rgb24(outRgb.data(), rgbPitch, 0, 0, w, h, yuy2, packed.data(), packedPitch, 0, 0, 0);
            });
            Planes to(w, h + 1, rng);
            EdgeBuffer all(to.y.size() + to.u.size() + to.v.size());
            ExpectSameAtEveryLevel(all, "packed to planes " + at, [&] {
                const uint8_t fill = all.data()[0];
                for (EdgeBuffer* b : {&to.y, &to.u, &to.v})
                    b->Fill(fill);
                YUY2_2_Yuv420(to.y.data(), to.u.data(), to.v.data(), to.pitchY, to.pitchC, to.pitchC, 0, 0, w, h,
                              packed.data(), packedPitch, yuy2, 0, 0);
                uint8_t* d = all.data();
                for (EdgeBuffer* b : {&to.y, &to.u, &to.v}) {
                    std::memcpy(d, b->data(), b->size());
                    d += b->size();
                }
            });
        }
    }
}

} // namespace
