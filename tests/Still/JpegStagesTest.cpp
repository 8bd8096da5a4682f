// The stages of the built-in JPEG encoder one by one: tables, colour
// conversion, DCT and quantisation, bit writer and block coding.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "JpegColor.h"
#include "JpegDct.h"
#include "JpegEntropy.h"
#include "JpegMarkers.h"
#include "JpegTables.h"

using namespace bmp2jpeg;

namespace {

// Runs `write` on a bit writer over a temporary file and returns the bytes.
std::vector<uint8_t> Capture(const std::function<void(BitWriter&)>& write)
{
    BitWriter bw;
    bw.fp = std::tmpfile();
    EXPECT_NE(bw.fp, nullptr);
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

// Zig-zag position of natural index i, derived by walking the
// anti-diagonals (even diagonals upwards, odd ones downwards).
std::vector<int> WalkZigzag()
{
    std::vector<int> zz(64);
    int k = 0;
    for (int d = 0; d < 15; ++d) {
        for (int j = 0; j <= d; ++j) {
            const int row = d % 2 == 0 ? d - j : j;
            const int col = d - row;
            if (row < 8 && col < 8)
                zz[row * 8 + col] = k++;
        }
    }
    return zz;
}

} // namespace

TEST(JpegTables, ZigzagIsTheStandardScan)
{
    const std::vector<int> zz = WalkZigzag();
    for (int i = 0; i < 64; ++i)
        EXPECT_EQ(zigzag[i], zz[i]) << "natural index " << i;
}

TEST(JpegTables, HuffmanTablesListEverySymbolOnceAndFitTheCodeSpace)
{
    struct Table {
        const uint8_t* counts;
        const uint8_t* values;
        size_t n;
        bool ac;
    } tables[] = {{std_dc_luminance_nrcodes, std_dc_luminance_values, 12, false},
                  {std_dc_chrominance_nrcodes, std_dc_chrominance_values, 12, false},
                  {std_ac_luminance_nrcodes, std_ac_luminance_values, 162, true},
                  {std_ac_chrominance_nrcodes, std_ac_chrominance_values, 162, true}};
    std::set<int> acSymbols = {0x00, 0xF0};
    for (int run = 0; run < 16; ++run)
        for (int size = 1; size <= 10; ++size)
            acSymbols.insert(run * 16 + size);
    for (const Table& t : tables) {
        size_t total = 0;
        double kraft = 0;
        for (int len = 1; len <= 16; ++len) {
            total += t.counts[len - 1];
            kraft += t.counts[len - 1] * std::ldexp(1.0, -len);
        }
        EXPECT_EQ(total, t.n);
        EXPECT_LT(kraft, 1.0); // an all-ones code never occurs
        std::set<int> seen(t.values, t.values + t.n);
        EXPECT_EQ(seen.size(), t.n);
        if (t.ac)
            EXPECT_EQ(seen, acSymbols);
        else
            EXPECT_EQ(*seen.rbegin(), 11);
    }
}

TEST(JpegTables, CanonicalCodesMatchAnnexK)
{
    bitstring dcY[16] = {}, dcC[16] = {}, acY[256] = {}, acC[256] = {};
    compute_Huffman_table(std_dc_luminance_nrcodes, std_dc_luminance_values, dcY);
    compute_Huffman_table(std_dc_chrominance_nrcodes, std_dc_chrominance_values, dcC);
    compute_Huffman_table(std_ac_luminance_nrcodes, std_ac_luminance_values, acY);
    compute_Huffman_table(std_ac_chrominance_nrcodes, std_ac_chrominance_values, acC);

    EXPECT_EQ(Bits(dcY[0]), "00");
    EXPECT_EQ(Bits(dcY[1]), "010");
    EXPECT_EQ(Bits(dcY[6]), "1110");
    EXPECT_EQ(Bits(dcY[11]), "111111110");
    EXPECT_EQ(Bits(dcC[0]), "00");
    EXPECT_EQ(Bits(dcC[3]), "110");
    EXPECT_EQ(Bits(dcC[11]), "11111111110");

    EXPECT_EQ(Bits(acY[0x00]), "1010"); // EOB
    EXPECT_EQ(Bits(acY[0x01]), "00");
    EXPECT_EQ(Bits(acY[0x03]), "100");
    EXPECT_EQ(Bits(acY[0x11]), "1100");
    EXPECT_EQ(Bits(acY[0x31]), "111010");
    EXPECT_EQ(Bits(acY[0xF0]), "11111111001"); // ZRL
    EXPECT_EQ(Bits(acY[0x82]), "111111111000000");
    EXPECT_EQ(Bits(acY[0x09]), "1111111110000010");
    EXPECT_EQ(Bits(acY[0xFA]), "1111111111111110");

    EXPECT_EQ(Bits(acC[0x00]), "00");
    EXPECT_EQ(Bits(acC[0x01]), "01");
    EXPECT_EQ(Bits(acC[0x11]), "1011");
    EXPECT_EQ(Bits(acC[0xF0]), "1111111010");
    EXPECT_EQ(Bits(acC[0xE1]), "11111111100000");
    EXPECT_EQ(Bits(acC[0x17]), "1111111110001000");
    EXPECT_EQ(Bits(acC[0xFA]), "1111111111111110");
}

TEST(JpegQuant, ScaledTableIsInZigzagOrderAndClamped)
{
    uint8_t q[64];
    set_quant_table(std_luminance_qt, 50, q);
    EXPECT_EQ(q[0], 8);   // (50 * 16 + 50) / 100
    EXPECT_EQ(q[1], 6);   // natural 1 (11)
    EXPECT_EQ(q[2], 6);   // natural 8 (12)
    EXPECT_EQ(q[3], 7);   // natural 16 (14)
    EXPECT_EQ(q[63], 50); // natural 63 (99)

    set_quant_table(std_luminance_qt, 1, q);
    EXPECT_EQ(q[0], 1); // (16 + 50) / 100 = 0, clamped up
    set_quant_table(std_chrominance_qt, 5000, q);
    EXPECT_EQ(q[63], 255); // 4950, clamped down
}

TEST(JpegColor, FixedPointConversionOfPrimaries)
{
    const YCbCrTables& t = precalculate_YCbCr_tables();
    EXPECT_EQ(&t, &precalculate_YCbCr_tables()); // built once
    struct Case {
        uint8_t r, g, b;
        int y, cb, cr;
    } cases[] = {
        {0, 0, 0, -128, 0, 0},
        {255, 255, 255, 127, 0, 0},  // the sums 2 * 255 and 2 * 255 shift to 0
        {255, 0, 0, -52, -44, 127},  // Cb: floor(-11058 * 255 / 65536) = -44
        {0, 0, 255, -99, 127, -21},  // Cr: floor(-5328 * 255 / 65536) = -21
        {0, 255, 0, 21, -85, -107},
    };
    for (const Case& c : cases) {
        int8_t y, cb, cr;
        rgb_to_YCbCr(t, c.r, c.g, c.b, &y, &cb, &cr);
        EXPECT_EQ(y, c.y) << int(c.r) << "," << int(c.g) << "," << int(c.b);
        EXPECT_EQ(cb, c.cb);
        EXPECT_EQ(cr, c.cr);
    }
}

TEST(JpegColor, BlockIsReadFromBlueGreenRedPixelsAtItsPosition)
{
    // A 16 x 8 buffer: only the pixel (9, 2) is pure red (bytes B, G, R).
    std::vector<unsigned char> rgb(16 * 8 * 3, 0);
    unsigned char* px = &rgb[(2 * 16 + 9) * 3];
    px[2] = 255;
    int8_t Y[64], Cb[64], Cr[64];
    load_data_units_from_RGB_buffer(precalculate_YCbCr_tables(), rgb.data(), 16, 8, 0, Y, Cb, Cr);
    for (int i = 0; i < 64; ++i) {
        const bool red = i == 2 * 8 + 1;
        EXPECT_EQ(Y[i], red ? -52 : -128) << i;
        EXPECT_EQ(Cr[i], red ? 127 : 0) << i;
    }
}

TEST(JpegDct, FlatBlockGivesOnlyTheRoundedDc)
{
    uint8_t q[64];
    set_quant_table(std_luminance_qt, 50, q);
    float fdtbl[64];
    prepare_quant_tables(q, fdtbl);
    for (int v : {-128, -3, 0, 1, 100, 127}) {
        int8_t data[64];
        for (auto& d : data)
            d = int8_t(v);
        int16_t out[64];
        fdct_and_quantization(data, fdtbl, out);
        // DC = 8 * mean / q = v exactly (q = 8); every AC coefficient is 0.
        EXPECT_EQ(out[0], v);
        for (int i = 1; i < 64; ++i)
            ASSERT_EQ(out[i], 0) << "v " << v << " coefficient " << i;
    }
}

TEST(JpegDct, MatchesTheDirectDctOnRandomBlocks)
{
    uint8_t q[64];
    set_quant_table(std_chrominance_qt, 50, q);
    uint8_t one[64];
    for (auto& x : one)
        x = 1; // unit divisors: the raw coefficients are compared
    float fdtblOne[64], fdtbl[64];
    prepare_quant_tables(one, fdtblOne);
    prepare_quant_tables(q, fdtbl);

    uint32_t seed = 12345;
    int exact = 0;
    for (int block = 0; block < 200; ++block) {
        int8_t data[64];
        for (auto& d : data) {
            seed = seed * 1103515245u + 12345u;
            d = int8_t(int((seed >> 16) & 0xFF) - 128);
        }
        int16_t raw[64], quant[64];
        fdct_and_quantization(data, fdtblOne, raw);
        fdct_and_quantization(data, fdtbl, quant);
        for (int v = 0; v < 8; ++v) {
            for (int u = 0; u < 8; ++u) {
                double sum = 0;
                for (int y = 0; y < 8; ++y)
                    for (int x = 0; x < 8; ++x)
                        sum += data[y * 8 + x] * std::cos((2 * x + 1) * u * M_PI / 16) *
                               std::cos((2 * y + 1) * v * M_PI / 16);
                const double cu = u ? 1.0 : M_SQRT1_2;
                const double cv = v ? 1.0 : M_SQRT1_2;
                const double c = 0.25 * cu * cv * sum;
                const int zz = zigzag[v * 8 + u];
                // Float rounding may move a value lying near .5 by one step.
                ASSERT_LE(std::abs(raw[zz] - std::floor(c + 0.5)), 1) << "block " << block;
                const double expected = std::floor(c / q[zz] + 0.5);
                ASSERT_LE(std::abs(quant[zz] - expected), 1) << "block " << block;
                exact += quant[zz] == expected;
            }
        }
    }
    EXPECT_GT(exact, 200 * 64 * 99 / 100);
}

TEST(JpegEntropy, CategoriesAndExtraBits)
{
    CategoryTables t;
    ASSERT_TRUE(set_numbers_category_and_bitcode(t));
    EXPECT_EQ(t.category(0), 0);
    EXPECT_EQ(t.bitcode(0).length, 0);
    EXPECT_EQ(t.category(1), 1);
    EXPECT_EQ(Bits(t.bitcode(1)), "1");
    EXPECT_EQ(Bits(t.bitcode(-1)), "0");
    EXPECT_EQ(Bits(t.bitcode(5)), "101");
    EXPECT_EQ(Bits(t.bitcode(-5)), "010");
    EXPECT_EQ(t.category(1023), 10);
    EXPECT_EQ(t.category(-1024), 11);
    EXPECT_EQ(t.bitcode(-1024).value, 1023);
    EXPECT_EQ(t.category(32767), 15);
    EXPECT_EQ(t.bitcode(-32767).value, 0);
    t.release();
    EXPECT_TRUE(t.empty());
}

TEST(JpegEntropy, BitWriterStuffsFFAndPadsWithOnes)
{
    // 0xFF from two codes, then 0x12, then three bits padded: 101 -> 10111111.
    const std::vector<uint8_t> bytes = Capture([](BitWriter& bw) {
        writebits(bw, bitstring{4, 0xF});
        writebits(bw, bitstring{12, 0xF12});
        writebits(bw, bitstring{3, 0x5});
        pad_with_ones(bw);
    });
    EXPECT_EQ(bytes, (std::vector<uint8_t>{0xFF, 0x00, 0x12, 0xBF}));

    // Padding that ends in 0xFF is stuffed too; an aligned writer pads nothing.
    EXPECT_EQ(Capture([](BitWriter& bw) {
                  writebits(bw, bitstring{1, 1});
                  pad_with_ones(bw);
              }),
              (std::vector<uint8_t>{0xFF, 0x00}));
    EXPECT_EQ(Capture([](BitWriter& bw) {
                  writebits(bw, bitstring{8, 0x5A});
                  pad_with_ones(bw);
              }),
              (std::vector<uint8_t>{0x5A}));
}

namespace {

// Expected bits of a block, built from the same tables, as a '0'/'1' text.
struct BlockCoder {
    bitstring dc[16] = {}, ac[256] = {};
    CategoryTables t;
    BlockCoder()
    {
        compute_Huffman_table(std_dc_luminance_nrcodes, std_dc_luminance_values, dc);
        compute_Huffman_table(std_ac_luminance_nrcodes, std_ac_luminance_values, ac);
        EXPECT_TRUE(set_numbers_category_and_bitcode(t));
    }
    std::string Coded(const int16_t* DU, int16_t* DC)
    {
        const std::vector<uint8_t> bytes = Capture([&](BitWriter& bw) {
            write_DU_codes(bw, DU, DC, dc, ac, t);
            pad_with_ones(bw);
        });
        std::string s;
        for (size_t i = 0; i < bytes.size(); ++i) {
            if (i > 0 && bytes[i - 1] == 0xFF && bytes[i] == 0)
                continue; // a stuffed byte
            for (int b = 7; b >= 0; --b)
                s += (bytes[i] >> b) & 1 ? '1' : '0';
        }
        return s;
    }
    std::string Value(int v) { return Bits(t.bitcode(v)); }
};

std::string PadToBytes(std::string s)
{
    while (s.size() % 8)
        s += '1';
    return s;
}

} // namespace

TEST(JpegEntropy, BlockCodingOfDcDifferenceRunsZrlAndEob)
{
    BlockCoder c;
    int16_t DU[64] = {};
    int16_t DC = 0;

    // All zero: DC category 0 and EOB.
    EXPECT_EQ(c.Coded(DU, &DC), PadToBytes(Bits(c.dc[0]) + Bits(c.ac[0x00])));

    // DC 5 after DC 0; AC -3 at 1; 20 zeros, then 2 at 22: ZRL + (4, 2); EOB.
    DU[0] = 5;
    DU[1] = -3;
    DU[22] = 2;
    DC = 0;
    std::string expected = Bits(c.dc[3]) + c.Value(5) + Bits(c.ac[0x02]) + c.Value(-3) + Bits(c.ac[0xF0]) +
                           Bits(c.ac[0x42]) + c.Value(2) + Bits(c.ac[0x00]);
    EXPECT_EQ(c.Coded(DU, &DC), PadToBytes(expected));
    EXPECT_EQ(DC, 5);

    // Same DC again: difference 0. Last coefficient nonzero: no EOB;
    // a run of exactly 32 zeros gives two ZRL and run 0.
    std::fill(DU, DU + 64, 0);
    DU[0] = 5;
    DU[30] = 1;
    DU[63] = -1;
    expected = Bits(c.dc[0]) + Bits(c.ac[0xF0]) + Bits(c.ac[0xD1]) + c.Value(1) + Bits(c.ac[0xF0]) +
               Bits(c.ac[0xF0]) + Bits(c.ac[0x01]) + c.Value(-1);
    EXPECT_EQ(c.Coded(DU, &DC), PadToBytes(expected));
}

TEST(JpegMarkers, SegmentsAreWrittenBigEndianFieldByField)
{
    auto capture = [](const std::function<void(FILE*)>& write) {
        return Capture([&](BitWriter& bw) { write(bw.fp); });
    };
    EXPECT_EQ(capture([](FILE* fp) { write_APP0info(fp, APP0infotype()); }),
              (std::vector<uint8_t>{0xFF, 0xE0, 0, 16, 'J', 'F', 'I', 'F', 0, 1, 1, 0, 0, 1, 0, 1, 0, 0}));
    SOF0infotype sof;
    sof.height = 0x0102;
    sof.width = 0xFFFF;
    EXPECT_EQ(capture([&](FILE* fp) { write_SOF0info(fp, sof); }),
              (std::vector<uint8_t>{0xFF, 0xC0, 0, 17, 8, 1, 2, 0xFF, 0xFF, 3, 1, 0x11, 0, 2, 0x11, 1, 3, 0x11, 1}));
    EXPECT_EQ(capture([](FILE* fp) { write_comment(fp, "hi"); }),
              (std::vector<uint8_t>{0xFF, 0xFE, 0, 4, 'h', 'i'}));
    const std::string longComment(70000, 'c');
    EXPECT_EQ(capture([&](FILE* fp) { write_comment(fp, longComment.c_str()); }).size(), 2u + 65535);
}
