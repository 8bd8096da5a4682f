// The built-in JPEG encoder: one compact test per stage (tables, colour,
// DCT, entropy coding), then BMP2JPEG on whole files: segments, stuffing,
// padding, refused and damaged bitmaps, the output folder, decoding by
// libjpeg-turbo, concurrent conversions and a golden digest.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <functional>
#include <thread>

#include "Bmp2Jpeg.h"
#include "Bmp2JpegGlobals.h"
#include "JpegColor.h"
#include "JpegDct.h"
#include "JpegEntropy.h"
#include "JpegMarkers.h"
#include "StillTestUtil.h"

using namespace bmp2jpeg;
using namespace stilltest;

namespace {

// Runs `write` on a bit writer over a temporary file and returns the bytes.
std::vector<uint8_t> Capture(const std::function<void(BitWriter&)>& write)
{
    BitWriter bw;
    bw.fp = std::tmpfile();
    if (!bw.fp)
        return {};
    write(bw);
    std::vector<uint8_t> bytes(size_t(std::ftell(bw.fp)));
    std::rewind(bw.fp);
    EXPECT_EQ(std::fread(bytes.data(), 1, bytes.size(), bw.fp), bytes.size());
    std::fclose(bw.fp);
    return bytes;
}

std::string Bits(bitstring b)
{
    std::string s;
    for (int i = b.length - 1; i >= 0; --i)
        s += (b.value >> i) & 1 ? '1' : '0';
    return s;
}

// Writes pic as a BMP, converts it and returns the JPEG bytes (empty when none).
std::vector<uint8_t> Convert(const TempDir& dir, const Picture& pic, const std::string& name = "pic")
{
    EXPECT_TRUE(WriteFile(dir.file(name + ".bmp"), BuildBmp24(pic)));
    BMP2JPEG(dir.file(name + ".bmp").c_str(), dir.file(name + ".jpg").c_str());
    return ReadFile(dir.file(name + ".jpg"));
}

} // namespace

TEST(JpegStages, HuffmanCodesBitWriterAndBlockCoding)
{
    // Codes of Annex K; the last 16-bit code of each AC table depends on
    // every count before it.
    bitstring dcY[16] = {}, dcC[16] = {}, acY[256] = {}, acC[256] = {};
    compute_Huffman_table(std_dc_luminance_nrcodes, std_dc_luminance_values, dcY);
    compute_Huffman_table(std_dc_chrominance_nrcodes, std_dc_chrominance_values, dcC);
    compute_Huffman_table(std_ac_luminance_nrcodes, std_ac_luminance_values, acY);
    compute_Huffman_table(std_ac_chrominance_nrcodes, std_ac_chrominance_values, acC);
    const struct { const bitstring* table; int symbol; const char* code; } codes[] = {
        {dcY, 0, "00"}, {dcY, 6, "1110"}, {dcY, 11, "111111110"}, {dcC, 3, "110"}, {dcC, 11, "11111111110"},
        {acY, 0x00, "1010"}, {acY, 0x31, "111010"}, {acY, 0xF0, "11111111001"}, {acY, 0x09, "1111111110000010"},
        {acY, 0xFA, "1111111111111110"}, {acC, 0x11, "1011"}, {acC, 0xF0, "1111111010"},
        {acC, 0x17, "1111111110001000"}, {acC, 0xFA, "1111111111111110"}};
    for (const auto& c : codes)
        EXPECT_EQ(Bits(c.table[c.symbol]), c.code) << "symbol " << c.symbol;

    auto write = [](const std::vector<bitstring>& bits) {
        return Capture([&](BitWriter& bw) {
            for (bitstring b : bits)
                writebits(bw, b);
            pad_with_ones(bw);
        });
    };
    // 0xFF from two codes, then 0x12, then three bits padded: 101 -> 10111111.
    EXPECT_EQ(write({{4, 0xF}, {12, 0xF12}, {3, 0x5}}), (std::vector<uint8_t>{0xFF, 0x00, 0x12, 0xBF}));
    // Padding that ends in 0xFF is stuffed too; an aligned writer pads nothing.
    EXPECT_EQ(write({{1, 1}}), (std::vector<uint8_t>{0xFF, 0x00}));
    EXPECT_EQ(write({{8, 0x5A}}), (std::vector<uint8_t>{0x5A}));
    // A comment longer than a segment can hold is cut to fit its length field.
    const std::string longComment(70000, 'c');
    EXPECT_EQ(Capture([&](BitWriter& bw) { write_comment(bw.fp, longComment.c_str()); }).size(), 2u + 65535);

    // Blocks against the codes they must give, written by the same writer.
    CategoryTables t;
    ASSERT_TRUE(set_numbers_category_and_bitcode(t));
    EXPECT_EQ(Bits(t.bitcode(-5)), "010"); // ones' complement of 5
    EXPECT_EQ(t.category(-1024), 11);
    int16_t DU[64] = {}, DC = 0;
    auto block = [&] {
        return Capture([&](BitWriter& bw) { write_DU_codes(bw, DU, &DC, dcY, acY, t), pad_with_ones(bw); });
    };
    EXPECT_EQ(block(), write({dcY[0], acY[0x00]})); // all zero: DC category 0 and EOB
    // DC 5 after 0; AC -3 at 1; 20 zeros, then 2 at 22: ZRL + (4, 2); EOB.
    DU[0] = 5, DU[1] = -3, DU[22] = 2;
    EXPECT_EQ(block(), write({dcY[3], t.bitcode(5), acY[0x02], t.bitcode(-3), acY[0xF0], acY[0x42], t.bitcode(2),
                              acY[0x00]}));
    EXPECT_EQ(DC, 5);
    // The same DC: difference 0. A run of exactly 32 zeros gives two ZRL and
    // run 0; a nonzero last coefficient: no EOB.
    std::fill(DU + 1, DU + 64, 0);
    DU[30] = 1, DU[63] = -1;
    EXPECT_EQ(block(), write({dcY[0], acY[0xF0], acY[0xD1], t.bitcode(1), acY[0xF0], acY[0xF0], acY[0x01],
                              t.bitcode(-1)}));
}

TEST(Bmp2Jpeg, SegmentsTablesAndStuffedEntropyData)
{
    // Noise: hard for the coder, with many 0xFF bytes in the entropy data.
    TempDir dir;
    const std::vector<uint8_t> f = Convert(dir, MakeNoise(125, 93, 7));
    std::vector<Segment> segs;
    std::vector<uint8_t> entropy;
    ASSERT_TRUE(ParseJpeg(f, &segs, &entropy));
    const std::vector<std::pair<uint8_t, unsigned>> expected = {
        {0xD8, 0}, {0xE0, 16}, {0xDB, 132}, {0xC0, 17}, {0xC4, 418}, {0xDA, 12}, {0xD9, 0}};
    ASSERT_EQ(segs.size(), expected.size());
    for (size_t i = 0; i < segs.size(); ++i)
        EXPECT_EQ(std::make_pair(segs[i].marker, segs[i].length), expected[i]) << i;
    EXPECT_EQ(segs[1].payload, (std::vector<uint8_t>{'J', 'F', 'I', 'F', 0, 1, 1, 0, 0, 1, 0, 1, 0, 0}));
    // SOF0: 8-bit, the unpadded 93 x 125, three 1 x 1 components.
    EXPECT_EQ(segs[3].payload, (std::vector<uint8_t>{8, 0, 93, 0, 125, 3, 1, 0x11, 0, 2, 0x11, 1, 3, 0x11, 1}));
    // DHT: DC 0, AC 0, DC 1, AC 1 in one segment.
    const std::vector<uint8_t>& dht = segs[4].payload;
    EXPECT_EQ(std::vector<int>({dht[0], dht[17 + 12], dht[2 * 17 + 12 + 162], dht[3 * 17 + 24 + 162]}),
              std::vector<int>({0x00, 0x10, 0x01, 0x11}));
    EXPECT_EQ(segs[5].payload, (std::vector<uint8_t>{3, 1, 0x00, 2, 0x11, 3, 0x11, 0, 63, 0}));

    // DQT: tables K.1 and K.2 scaled to quality 50, (50 q + 50) / 100, in
    // zig-zag order; all of K.2 after its first 14 zig-zag entries is 99.
    std::vector<uint8_t> dqt = {
        0,  8,  6,  6,  7,  6,  5,  8,  7,  7,  7,  9,  9,  8,  10, 12, 20, 13, 12, 11, 11, 12, 25, 18, 19, 15, 20,
        29, 26, 31, 30, 29, 26, 28, 28, 32, 36, 46, 39, 32, 34, 44, 35, 28, 28, 40, 55, 41, 44, 48, 49, 52, 52, 52,
        31, 39, 57, 61, 56, 50, 60, 46, 51, 52, 50, 1,  9,  9,  9,  12, 11, 12, 24, 13, 13, 24, 50, 33, 28, 33};
    dqt.resize(130, 50);
    EXPECT_EQ(segs[2].payload, dqt);

    size_t ffCount = 0;
    for (size_t i = 0; i < entropy.size(); ++i)
        if (entropy[i] == 0xFF) {
            ++ffCount;
            ASSERT_LT(i + 1, entropy.size());
            EXPECT_EQ(entropy[++i], 0x00) << "0xFF number " << ffCount;
        }
    EXPECT_GT(ffCount, 0u);
    Picture out;
    std::string error;
    EXPECT_TRUE(DecodeJpeg(f, &out, &error)) << error;
}

TEST(Bmp2Jpeg, RefusedOrDamagedBitmapsLeaveNoOutput)
{
    TempDir dir;
    // 21 pixels: 63 bytes and one byte of padding a row.
    const std::vector<uint8_t> good = BuildBmp24(MakeSmooth(21, 12));
    auto cut = [&](size_t n) { return std::vector<uint8_t>(good.begin(), good.begin() + n); };
    auto patch = [&](std::initializer_list<size_t> offsets, uint8_t value) {
        std::vector<uint8_t> f = good;
        for (size_t at : offsets)
            f[at] = value;
        return f;
    };
    // The width of the decoded output; 0: no output.
    const struct { const char* name; std::vector<uint8_t> bytes; int width; } cases[] = {
        {"bits32", patch({28}, 32), 0}, {"notbm", patch({0}, 'X'), 0}, {"shortheader", cut(53), 0},
        {"headeronly", cut(54), 0}, {"truncated", cut(good.size() - 61), 0}, {"zerowidth", patch({18}, 0), 0},
        // 65535 x 65535 pixels over a few bytes: refused before 12 GiB are allocated.
        {"lying", patch({18, 19, 22, 23}, 0xFF), 0},
        // Only the missing padding of the very last row is forgiven.
        {"lastpixel", cut(good.size() - 2), 0}, {"lastpad", cut(good.size() - 1), 21},
        // Kept as designed: the sizes are the low 16 bits of the fields.
        {"widthabove16bits", patch({20}, 1), 21},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        const std::string bmp = dir.file(std::string(c.name) + ".bmp"), jpg = dir.file(std::string(c.name) + ".jpg");
        ASSERT_TRUE(WriteFile(bmp, c.bytes));
        BMP2JPEG(bmp.c_str(), jpg.c_str());
        Picture out;
        EXPECT_EQ(FileExists(jpg), c.width != 0);
        EXPECT_EQ(DecodeJpeg(ReadFile(jpg), &out) ? out.width : 0, c.width);
    }
    BMP2JPEG(dir.file("missing.bmp").c_str(), dir.file("missing.jpg").c_str());
    BMP2JPEG(nullptr, dir.file("null.jpg").c_str());
    BMP2JPEG(dir.file("lastpad.bmp").c_str(), nullptr);
    EXPECT_FALSE(FileExists(dir.file("missing.jpg")));
    EXPECT_FALSE(FileExists(dir.file("null.jpg")));
}

TEST(Bmp2Jpeg, MissingOutputFolderIsCreatedOneLevelDeep)
{
    TempDir dir;
    ASSERT_TRUE(WriteFile(dir.file("in.bmp"), BuildBmp24(MakeSmooth(16, 16))));
    BMP2JPEG(dir.file("in.bmp").c_str(), dir.file("new folder/out \"q\".jpg").c_str());
    Picture out;
    EXPECT_TRUE(DecodeJpeg(ReadFile(dir.file("new folder/out \"q\".jpg")), &out));
    BMP2JPEG(dir.file("in.bmp").c_str(), dir.file("a/b/out.jpg").c_str());
    EXPECT_FALSE(FileExists(dir.file("a")));
}

TEST(Bmp2Jpeg, WidestPictureCodesAllItsBlockColumns)
{
    // 65535 pixels: the padded width no longer fits 16 bits (the exported
    // width wraps to 0), the encoder still codes all 8192 block columns.
    // libjpeg-turbo decodes at most 65500 a side, so the structure is checked.
    TempDir dir;
    std::vector<Segment> segs;
    std::vector<uint8_t> entropy;
    ASSERT_TRUE(ParseJpeg(Convert(dir, MakeSmooth(65535, 2)), &segs, &entropy));
    EXPECT_EQ(segs[3].payload[3] * 256 + segs[3].payload[4], 65535);
    EXPECT_GT(entropy.size(), 8192u * 3 * 4 / 8); // at least 4 bits a block
    EXPECT_EQ(width, 0);
}

TEST(Bmp2Jpeg, TwoThreadsConvertingAtOnceBothGetValidFiles)
{
    TempDir dir;
    const std::vector<uint8_t> ref[2] = {Convert(dir, MakeSmooth(160, 120), "p0"),
                                         Convert(dir, MakeNoise(96, 64, 3), "p1")};
    auto jpg = [&](int p, int i) { return dir.file("p" + std::to_string(p) + "-" + std::to_string(i) + ".jpg"); };
    auto run = [&](int p) {
        for (int i = 0; i < 6; ++i)
            BMP2JPEG(dir.file("p" + std::to_string(p) + ".bmp").c_str(), jpg(p, i).c_str());
    };
    std::thread t0(run, 0), t1(run, 1);
    t0.join();
    t1.join();
    for (int i = 0; i < 12; ++i)
        EXPECT_EQ(ReadFile(jpg(i % 2, i / 2)), ref[i % 2]) << i;
}

TEST(Bmp2Jpeg, GoldenDigestOfAFixedPicture)
{
    // 41 x 27 ramps with a sharp edge: column and row padding, all three
    // components, DC prediction across 24 blocks and the final bit padding.
    // Any change to the tables, the arithmetic or the coder changes it.
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
