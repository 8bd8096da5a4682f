// BMP2JPEG on whole files: the segments written, the entropy-coded data,
// padding, refused and damaged bitmaps, the output folder, decoding by
// libjpeg-turbo, concurrent conversions and a golden digest.
#include <gtest/gtest.h>

#include <sys/stat.h>

#include <cstdio>
#include <thread>
#include <vector>

#include "Bmp2Jpeg.h"
#include "Bmp2JpegGlobals.h"
#include "StillTestUtil.h"

using namespace stilltest;

namespace {

// Writes pic as a BMP, converts it and returns the JPEG bytes.
std::vector<uint8_t> Convert(const TempDir& dir, const Picture& pic, const std::string& name = "pic")
{
    const std::string bmp = dir.file(name + ".bmp");
    const std::string jpg = dir.file(name + ".jpg");
    EXPECT_TRUE(WriteFile(bmp, BuildBmp24(pic)));
    BMP2JPEG(bmp.c_str(), jpg.c_str());
    return ReadFile(jpg);
}

unsigned Be16(const std::vector<uint8_t>& p, size_t at)
{
    return unsigned(p[at]) << 8 | p[at + 1];
}

const uint8_t kLuminance[64] = {
    16, 11, 10, 16, 24,  40,  51,  61,  12, 12, 14, 19, 26,  58,  60,  55,  14, 13, 16, 24, 40,  57,
    69, 56, 14, 17, 22,  29,  51,  87,  80, 62, 18, 22, 37,  56,  68,  109, 103, 77, 24, 35, 55, 64,
    81, 104, 113, 92, 49, 64, 78, 87, 103, 121, 120, 101, 72, 92, 95, 98, 112, 100, 103, 99};

// The position of each natural index in the zig-zag scan, from the scan
// itself: anti-diagonals, alternately upwards and downwards.
std::vector<int> ZigzagPositions()
{
    std::vector<int> zz(64);
    int k = 0;
    for (int d = 0; d < 15; ++d)
        for (int j = 0; j <= d; ++j) {
            const int row = d % 2 == 0 ? d - j : j;
            const int col = d - row;
            if (row < 8 && col < 8)
                zz[row * 8 + col] = k++;
        }
    return zz;
}

} // namespace

TEST(Bmp2Jpeg, SegmentsInOrderWithTheirLengths)
{
    TempDir dir;
    const std::vector<uint8_t> f = Convert(dir, MakeSmooth(37, 21));
    std::vector<Segment> segs;
    std::vector<uint8_t> entropy;
    ASSERT_TRUE(ParseJpeg(f, &segs, &entropy));

    const std::vector<std::pair<uint8_t, unsigned>> expected = {
        {0xD8, 0}, {0xE0, 16}, {0xDB, 132}, {0xC0, 17}, {0xC4, 418}, {0xDA, 12}, {0xD9, 0}};
    ASSERT_EQ(segs.size(), expected.size());
    for (size_t i = 0; i < segs.size(); ++i) {
        EXPECT_EQ(segs[i].marker, expected[i].first) << i;
        EXPECT_EQ(segs[i].length, expected[i].second) << i;
    }

    const std::vector<uint8_t> app0 = {'J', 'F', 'I', 'F', 0, 1, 1, 0, 0, 1, 0, 1, 0, 0};
    EXPECT_EQ(segs[1].payload, app0);

    // SOF0: 8-bit, the unpadded 21 x 37, three 1 x 1 components.
    const std::vector<uint8_t> sof0 = {8, 0, 21, 0, 37, 3, 1, 0x11, 0, 2, 0x11, 1, 3, 0x11, 1};
    EXPECT_EQ(segs[3].payload, sof0);

    // DHT: DC 0, AC 0, DC 1, AC 1 in one segment.
    const std::vector<uint8_t>& dht = segs[4].payload;
    EXPECT_EQ(dht[0], 0x00);
    EXPECT_EQ(dht[1 + 16 + 12], 0x10);
    EXPECT_EQ(dht[2 * 17 + 12 + 162], 0x01);
    EXPECT_EQ(dht[3 * 17 + 24 + 162], 0x11);

    const std::vector<uint8_t> sos = {3, 1, 0x00, 2, 0x11, 3, 0x11, 0, 63, 0};
    EXPECT_EQ(segs[5].payload, sos);
}

TEST(Bmp2Jpeg, QuantisationTablesAreTheAnnexKTablesAtQuality50)
{
    TempDir dir;
    const std::vector<uint8_t> f = Convert(dir, MakeFlat(8, 8, 10, 20, 30));
    std::vector<Segment> segs;
    std::vector<uint8_t> entropy;
    ASSERT_TRUE(ParseJpeg(f, &segs, &entropy));
    const std::vector<uint8_t>& dqt = segs[2].payload;
    ASSERT_EQ(dqt.size(), 130u);
    EXPECT_EQ(dqt[0], 0x00);
    EXPECT_EQ(dqt[65], 0x01);
    const std::vector<int> zz = ZigzagPositions();
    for (int i = 0; i < 64; ++i) {
        EXPECT_EQ(dqt[1 + zz[i]], (50 * kLuminance[i] + 50) / 100) << "luminance " << i;
        const int row = i / 8, col = i % 8;
        // K.2: the top-left 4 x 4 corner, 99 elsewhere.
        static const int corner[4][4] = {{17, 18, 24, 47}, {18, 21, 26, 66}, {24, 26, 56, 99}, {47, 66, 99, 99}};
        const int basic = row < 4 && col < 4 ? corner[row][col] : 99;
        EXPECT_EQ(dqt[66 + zz[i]], (50 * basic + 50) / 100) << "chrominance " << i;
    }
}

TEST(Bmp2Jpeg, EveryFFInTheEntropyDataIsStuffed)
{
    TempDir dir;
    const std::vector<uint8_t> f = Convert(dir, MakeNoise(128, 96, 7));
    std::vector<Segment> segs;
    std::vector<uint8_t> entropy;
    ASSERT_TRUE(ParseJpeg(f, &segs, &entropy));
    size_t ffCount = 0;
    for (size_t i = 0; i < entropy.size(); ++i) {
        if (entropy[i] == 0xFF) {
            ++ffCount;
            ASSERT_LT(i + 1, entropy.size());
            EXPECT_EQ(entropy[i + 1], 0x00) << "at " << i;
            ++i;
        }
    }
    EXPECT_GT(ffCount, 0u);
    Picture out;
    std::string error;
    EXPECT_TRUE(DecodeJpeg(f, &out, &error)) << error;
}

TEST(Bmp2Jpeg, TenByTenIsCodedAsSixteenBySixteenWithEdgesRepeated)
{
    // The 10 x 10 picture padded by hand (last column, then last row
    // repeated) must give the very same entropy-coded data.
    const Picture small = MakeNoise(10, 10, 99);
    Picture padded = MakeFlat(16, 16, 0, 0, 0);
    for (int y = 0; y < 16; ++y)
        for (int x = 0; x < 16; ++x) {
            const uint8_t* s = small.at(x < 10 ? x : 9, y < 10 ? y : 9);
            std::copy(s, s + 3, padded.at(x, y));
        }
    TempDir dir;
    const std::vector<uint8_t> a = Convert(dir, small, "small");
    const std::vector<uint8_t> b = Convert(dir, padded, "padded");
    std::vector<Segment> sa, sb;
    std::vector<uint8_t> ea, eb;
    ASSERT_TRUE(ParseJpeg(a, &sa, &ea));
    ASSERT_TRUE(ParseJpeg(b, &sb, &eb));
    EXPECT_EQ(Be16(sa[3].payload, 1), 10u);
    EXPECT_EQ(Be16(sa[3].payload, 3), 10u);
    EXPECT_EQ(Be16(sb[3].payload, 1), 16u);
    EXPECT_EQ(ea, eb);

    Picture out;
    ASSERT_TRUE(DecodeJpeg(a, &out));
    EXPECT_EQ(out.width, 10);
    EXPECT_EQ(out.height, 10);
}

TEST(Bmp2Jpeg, StateAfterAConversion)
{
    TempDir dir;
    ASSERT_FALSE(Convert(dir, MakeFlat(13, 11, 1, 2, 3)).empty());
    EXPECT_EQ(width, 16);  // padded
    EXPECT_EQ(height, 11); // the picture's
    EXPECT_EQ(fp_jpeg_stream, nullptr);
    EXPECT_EQ(RGB_buffer, nullptr);
}

TEST(Bmp2Jpeg, RefusedBitmapsLeaveNoOutput)
{
    TempDir dir;
    // 21 pixels: 63 bytes and one byte of padding a row.
    const std::vector<uint8_t> good = BuildBmp24(MakeSmooth(21, 12));
    auto convert = [&](const std::vector<uint8_t>& bytes, const std::string& name) {
        const std::string bmp = dir.file(name + ".bmp");
        const std::string jpg = dir.file(name + ".jpg");
        EXPECT_TRUE(WriteFile(bmp, bytes));
        BMP2JPEG(bmp.c_str(), jpg.c_str());
        return FileExists(jpg);
    };

    std::vector<uint8_t> bits32 = good;
    bits32[28] = 32;
    EXPECT_FALSE(convert(bits32, "bits32"));

    std::vector<uint8_t> notBm = good;
    notBm[0] = 'X';
    EXPECT_FALSE(convert(notBm, "notbm"));

    EXPECT_FALSE(convert(std::vector<uint8_t>(good.begin(), good.begin() + 53), "shortheader"));
    EXPECT_FALSE(convert(std::vector<uint8_t>(good.begin(), good.begin() + 54), "headeronly"));
    EXPECT_FALSE(convert(std::vector<uint8_t>(good.begin(), good.end() - 61), "truncated"));

    // A header promising 65535 x 65535 pixels over a few bytes is refused
    // before the 12 GiB buffer is allocated.
    std::vector<uint8_t> lying = good;
    lying[18] = lying[19] = lying[22] = lying[23] = 0xFF;
    EXPECT_FALSE(convert(lying, "lying"));

    std::vector<uint8_t> zero = good;
    zero[18] = zero[19] = 0;
    EXPECT_FALSE(convert(zero, "zerowidth"));

    BMP2JPEG(dir.file("missing.bmp").c_str(), dir.file("missing.jpg").c_str());
    EXPECT_FALSE(FileExists(dir.file("missing.jpg")));
    BMP2JPEG(nullptr, dir.file("null.jpg").c_str());
    BMP2JPEG(dir.file("x.bmp").c_str(), nullptr);
    EXPECT_FALSE(FileExists(dir.file("null.jpg")));

    // Only the missing padding of the very last row is forgiven.
    EXPECT_TRUE(convert(std::vector<uint8_t>(good.begin(), good.end() - 1), "lastpad"));
    EXPECT_FALSE(convert(std::vector<uint8_t>(good.begin(), good.end() - 2), "lastpixel"));
}

TEST(Bmp2Jpeg, WidthAndHeightComeFromTheLow16Bits)
{
    // biWidth 0x10000 + 8: the encoder sees an 8-pixel wide picture.
    TempDir dir;
    std::vector<uint8_t> bytes = BuildBmp24(MakeFlat(8, 8, 200, 100, 50));
    bytes[20] = 1;
    ASSERT_TRUE(WriteFile(dir.file("wide.bmp"), bytes));
    BMP2JPEG(dir.file("wide.bmp").c_str(), dir.file("wide.jpg").c_str());
    Picture out;
    ASSERT_TRUE(DecodeJpeg(ReadFile(dir.file("wide.jpg")), &out));
    EXPECT_EQ(out.width, 8);
    EXPECT_EQ(out.height, 8);
}

TEST(Bmp2Jpeg, MissingOutputFolderIsCreatedOneLevelDeep)
{
    TempDir dir;
    const std::string bmp = dir.file("in.bmp");
    ASSERT_TRUE(WriteFile(bmp, BuildBmp24(MakeSmooth(16, 16))));

    const std::string oneLevel = dir.file("new folder/out \"q\".jpg");
    BMP2JPEG(bmp.c_str(), oneLevel.c_str());
    Picture out;
    EXPECT_TRUE(DecodeJpeg(ReadFile(oneLevel), &out));

    const std::string twoLevels = dir.file("a/b/out.jpg");
    BMP2JPEG(bmp.c_str(), twoLevels.c_str());
    EXPECT_FALSE(FileExists(twoLevels));
    EXPECT_FALSE(FileExists(dir.file("a")));
}

TEST(Bmp2Jpeg, DecodedPictureIsCloseToTheSource)
{
    struct Case {
        const char* name;
        Picture pic;
        double minPsnr;
    } cases[] = {
        {"smooth 256x192", MakeSmooth(256, 192), 30.0},
        {"smooth 61x35", MakeSmooth(61, 35), 30.0},
        {"textured 256x192", MakeTextured(256, 192), 30.0},
        {"flat grey", MakeFlat(40, 24, 128, 128, 128), 45.0},
        {"flat orange", MakeFlat(23, 17, 250, 140, 20), 40.0},
        {"flat white", MakeFlat(16, 16, 255, 255, 255), 45.0},
    };
    TempDir dir;
    for (const Case& c : cases) {
        const std::vector<uint8_t> f = Convert(dir, c.pic);
        Picture out;
        std::string error;
        ASSERT_TRUE(DecodeJpeg(f, &out, &error)) << c.name << ": " << error;
        ASSERT_EQ(out.width, c.pic.width);
        ASSERT_EQ(out.height, c.pic.height);
        const double psnr = Psnr(c.pic, out);
        EXPECT_GE(psnr, c.minPsnr) << c.name;
        std::printf("[ measure  ] %s: %zu bytes, PSNR %.2f dB\n", c.name, f.size(), psnr);
    }
}

TEST(Bmp2Jpeg, LargestWidthOfAFormatSide)
{
    // 65535 pixels wide: the padded width no longer fits 16 bits, the
    // encoder still codes all 8192 block columns. libjpeg-turbo decodes at
    // most 65500 pixels a side, so the widest file is checked by structure
    // and a slightly narrower one by decoding.
    TempDir dir;
    const std::vector<uint8_t> widest = Convert(dir, MakeSmooth(65535, 2), "widest");
    std::vector<Segment> segs;
    std::vector<uint8_t> entropy;
    ASSERT_TRUE(ParseJpeg(widest, &segs, &entropy));
    EXPECT_EQ(Be16(segs[3].payload, 3), 65535u);
    EXPECT_GT(entropy.size(), 8192u * 3 * 4 / 8); // at least 4 bits a block
    EXPECT_EQ(width, 0); // the exported 16-bit width wraps; the encoder does not use it

    const std::vector<uint8_t> wide = Convert(dir, MakeSmooth(65500, 2), "wide");
    Picture out;
    std::string error;
    ASSERT_TRUE(DecodeJpeg(wide, &out, &error)) << error;
    EXPECT_EQ(out.width, 65500);
    EXPECT_EQ(out.height, 2);
    EXPECT_GE(Psnr(MakeSmooth(65500, 2), out), 30.0);
}

TEST(Bmp2Jpeg, TwoThreadsConvertingAtOnceBothGetValidFiles)
{
    TempDir dir;
    const Picture a = MakeSmooth(160, 120);
    const Picture b = MakeNoise(96, 64, 3);
    const std::vector<uint8_t> refA = Convert(dir, a, "refa");
    const std::vector<uint8_t> refB = Convert(dir, b, "refb");
    ASSERT_TRUE(WriteFile(dir.file("a.bmp"), BuildBmp24(a)));
    ASSERT_TRUE(WriteFile(dir.file("b.bmp"), BuildBmp24(b)));

    auto run = [&](const std::string& from, const std::string& prefix) {
        for (int i = 0; i < 6; ++i) {
            const std::string to = dir.file(prefix + std::to_string(i) + ".jpg");
            BMP2JPEG(from.c_str(), to.c_str());
        }
    };
    std::thread t1(run, dir.file("a.bmp"), "a");
    std::thread t2(run, dir.file("b.bmp"), "b");
    t1.join();
    t2.join();
    for (int i = 0; i < 6; ++i) {
        EXPECT_EQ(ReadFile(dir.file("a" + std::to_string(i) + ".jpg")), refA) << i;
        EXPECT_EQ(ReadFile(dir.file("b" + std::to_string(i) + ".jpg")), refB) << i;
    }
}

TEST(Bmp2Jpeg, GoldenDigestOfAFixedPicture)
{
    // 41 x 27 picture of integer ramps with a sharp edge: covers column and
    // row padding, all three components, the DC prediction across 24 blocks
    // and the final bit padding. Any change to the tables, the arithmetic
    // or the coder changes it.
    Picture pic = MakeFlat(41, 27, 0, 0, 0);
    for (int y = 0; y < pic.height; ++y)
        for (int x = 0; x < pic.width; ++x) {
            uint8_t* px = pic.at(x, y);
            px[0] = uint8_t(30 + 5 * x);
            px[1] = uint8_t(x > 20 ? 230 - 3 * y : 20 + 7 * y);
            px[2] = uint8_t(200 - 3 * x - 2 * y);
        }
    TempDir dir;
    const std::vector<uint8_t> f = Convert(dir, pic);
    EXPECT_EQ(f.size(), 893u);
    EXPECT_EQ(Fnv1a(f), 0x6e27f62bf1778e4eull);
    Picture out;
    EXPECT_TRUE(DecodeJpeg(f, &out));
}
