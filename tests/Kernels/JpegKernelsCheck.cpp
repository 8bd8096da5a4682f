// The JPEG encoder's twins against its references: the block kernels slot by
// slot on random blocks, and whole files (golden digests) at every level.
#include <cstring>

#include "Bmp2Jpeg.h"
#include "JpegDct.h"
#include "JpegKernels.h"
#include "JpegTables.h"
#include "KernelCheck.h"
#include "StillTestUtil.h"

using namespace bmp2jpeg;
using namespace stilltest;

namespace {

// The coefficients of a block in zig-zag order, and its mask.
std::vector<int> Zigzag(const QuantisedBlock& q)
{
    std::vector<int> v;
    for (int p = 0; p < 64; ++p)
        v.push_back(q.out[q.order[p]]);
    v.push_back(static_cast<int>(q.nonzero & 0xFFFFFFFF));
    v.push_back(static_cast<int>(q.nonzero >> 32));
    return v;
}

TEST(JpegKernelsCheck, BlockKernelsEqualReference)
{
    std::mt19937 rng(31);
    float fdtbl[2][64];
    uint8_t qt[64];
    set_quant_table(std_luminance_qt, 50, qt);
    prepare_quant_tables(qt, fdtbl[0]);
    set_quant_table(std_chrominance_qt, 50, qt);
    prepare_quant_tables(qt, fdtbl[1]);
    const YCbCrTables& ycc = precalculate_YCbCr_tables();
    for (int trial = 0; trial < 300; ++trial) {
        // Colour: a block inside a picture 3 blocks wide, at an odd byte offset.
        EdgeBuffer rgb(24 * 3 * 8 * 3, 1);
        rgb.Random(rng);
        if (trial % 3 == 0)
            std::memset(rgb.data(), trial % 2 ? 255 : 0, rgb.size() / 2); // extremes
        int8_t ref[3][64], got[3][64];
        DPSetSimdLevel("none");
        GetJpegKernels().loadBlock(ycc, rgb.data(), 24, 8, 8, ref[0], ref[1], ref[2]);
        // DCT: blocks of random samples, flat ones, and the extremes.
        int8_t a[64], b[64];
        for (int i = 0; i < 64; ++i) {
            a[i] = static_cast<int8_t>(trial % 5 == 0 ? -128 + (trial % 2) * 255 : static_cast<int>(rng() % 256) - 128);
            b[i] = static_cast<int8_t>(trial % 7 == 0 ? 17 : static_cast<int>(rng() % 256) - 128);
        }
        const float* table = fdtbl[trial % 2];
        QuantisedBlock r1, r2, r3;
        GetJpegKernels().fdctQuant(a, table, r1);
        GetJpegKernels().fdctQuantPair(a, b, table, r2, r3);
        ForEachSimdLevel([&](const std::string& level) {
            GetJpegKernels().loadBlock(ycc, rgb.data(), 24, 8, 8, got[0], got[1], got[2]);
            EXPECT_EQ(std::memcmp(got, ref, sizeof ref), 0) << "colour, trial " << trial << " at " << level;
            QuantisedBlock g1, g2, g3;
            GetJpegKernels().fdctQuant(a, table, g1);
            GetJpegKernels().fdctQuantPair(a, b, table, g2, g3);
            EXPECT_EQ(Zigzag(g1), Zigzag(r1)) << "DCT, trial " << trial << " at " << level;
            EXPECT_EQ(Zigzag(g2), Zigzag(r2)) << "DCT pair (first), trial " << trial << " at " << level;
            EXPECT_EQ(Zigzag(g3), Zigzag(r3)) << "DCT pair (second), trial " << trial << " at " << level;
        });
    }
}

TEST(JpegKernelsCheck, FilesEqualGoldensAtEveryLevel)
{
    // Each picture's file, pinned by its digest (taken from the encoder
    // before it had vector kernels), must come out of every level; the
    // decoded picture keeps its quality floor.
    const struct {
        const char* name;
        Picture pic;
        uint64_t digest;
        double minPsnr;
    } cases[] = {
        {"1 x 1", MakeSmooth(1, 1), 0x0c477760ee346eb3ull, 30.0},
        {"7 x 5", MakeNoise(7, 5, 1), 0x52754827e4cc6c66ull, 20.0},
        {"10 x 10", MakeSmooth(10, 10), 0xb11617fc67b2b8f2ull, 30.0},
        {"17 x 9", MakeNoise(17, 9, 2), 0x0b41353a98966909ull, 20.0},
        {"smooth 256 x 192", MakeSmooth(256, 192), 0x9943e85d849bde3full, 40.0},
        {"textured 96 x 64", MakeNoise(96, 64, 3), 0xbe9c83dcf57cc9d4ull, 20.0},
        {"large 1920 x 1080", MakeSmooth(1920, 1080), 0x7cea42e5f1378682ull, 40.0},
    };
    TempDir dir;
    for (const auto& c : cases) {
        ASSERT_TRUE(WriteFile(dir.file("in.bmp"), BuildBmp24(c.pic)));
        auto encode = [&] {
            BMP2JPEG(dir.file("in.bmp").c_str(), dir.file("out.jpg").c_str());
            return ReadFile(dir.file("out.jpg"));
        };
        DPSetSimdLevel("none");
        const std::vector<uint8_t> ref = encode();
        EXPECT_EQ(Fnv1a(ref), c.digest) << c.name;
        Picture out;
        ASSERT_TRUE(DecodeJpeg(ref, &out)) << c.name;
        EXPECT_GE(Psnr(c.pic, out), c.minPsnr) << c.name;
        ForEachSimdLevel([&](const std::string& level) { EXPECT_EQ(encode(), ref) << c.name << " at " << level; });
    }
}

} // namespace
