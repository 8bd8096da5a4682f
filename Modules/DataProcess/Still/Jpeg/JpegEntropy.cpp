#include "JpegEntropy.h"

#include <cstdlib>

namespace bmp2jpeg {

namespace {

void FlushBuffer(BitWriter& bw)
{
    if (bw.used && !bw.failed && std::fwrite(bw.buf, 1, bw.used, bw.fp) != bw.used)
        bw.failed = true; // the file is short either way; nothing more is tried
    bw.used = 0;
}

} // namespace

void emit_bytes(BitWriter& bw)
{
    while (bw.nbits >= 8) {
        bw.nbits -= 8;
        const uint8_t b = static_cast<uint8_t>(bw.acc >> bw.nbits);
        bw.buf[bw.used++] = b;
        if (b == 0xFF)
            bw.buf[bw.used++] = 0x00;
    }
    if (bw.used >= sizeof bw.buf - 16)
        FlushBuffer(bw);
}

void pad_with_ones(BitWriter& bw)
{
    const int partial = bw.nbits % 8;
    if (partial)
        writebits(bw, (1u << (8 - partial)) - 1, 8 - partial);
    emit_bytes(bw);
    if (bw.fp)
        FlushBuffer(bw);
}

void compute_Huffman_table(const uint8_t* nrcodes, const uint8_t* std_table, bitstring* HT)
{
    unsigned codevalue = 0;
    int pos_in_table = 0;
    for (int k = 1; k <= 16; ++k) {
        for (int j = 0; j < nrcodes[k - 1]; ++j) {
            HT[std_table[pos_in_table]].value = static_cast<uint16_t>(codevalue);
            HT[std_table[pos_in_table]].length = static_cast<uint16_t>(k);
            ++pos_in_table;
            ++codevalue;
        }
        codevalue <<= 1;
    }
}

void CategoryTables::release()
{
    std::free(category_alloc);
    std::free(bitcode_alloc);
    category_alloc = nullptr;
    bitcode_alloc = nullptr;
}

bool set_numbers_category_and_bitcode(CategoryTables& t)
{
    const int kRange = CategoryTables::kRange;
    t.release();
    t.category_alloc = static_cast<uint8_t*>(std::malloc(2 * kRange + 1));
    t.bitcode_alloc = static_cast<bitstring*>(std::malloc((2 * kRange + 1) * sizeof(bitstring)));
    if (t.empty()) {
        t.release();
        return false;
    }
    uint8_t* category = t.category_alloc + kRange;
    bitstring* bitcode = t.bitcode_alloc + kRange;
    category[0] = 0;
    bitcode[0] = bitstring{0, 0};

    int nrlower = 1;
    int nrupper = 2;
    for (int cat = 1; cat <= 15; ++cat) {
        for (int nr = nrlower; nr < nrupper; ++nr) {
            category[nr] = static_cast<uint8_t>(cat);
            bitcode[nr] = bitstring{static_cast<uint16_t>(cat), static_cast<uint16_t>(nr)};
        }
        for (int nr = -(nrupper - 1); nr <= -nrlower; ++nr) {
            category[nr] = static_cast<uint8_t>(cat);
            bitcode[nr] = bitstring{static_cast<uint16_t>(cat), static_cast<uint16_t>(nrupper - 1 + nr)};
        }
        nrlower <<= 1;
        nrupper <<= 1;
    }
    return true;
}

void write_DU_codes(BitWriter& bw, const int16_t* DU, int16_t* DC, const bitstring* HTDC, const bitstring* HTAC,
                    const CategoryTables& tables)
{
    uint64_t nonzero = 0;
    for (int i = 0; i < 64; ++i)
        nonzero |= static_cast<uint64_t>(DU[i] != 0) << i;
    static const uint8_t* const identity = [] {
        static uint8_t t[64];
        for (int i = 0; i < 64; ++i)
            t[i] = static_cast<uint8_t>(i);
        return t;
    }();
    write_DU_codes(bw, DU, identity, nonzero, DC, HTDC, HTAC, tables);
}

namespace {

// The category (magnitude bits) of a nonzero v and the code of a Huffman
// symbol of that category followed by v's extra bits, as one piece of at
// most 31 bits: what the category and bit-code tables hold, computed.
struct Coded {
    uint32_t bits;
    int length;
};

inline int Category(int v)
{
    const unsigned a = static_cast<unsigned>(v < 0 ? -v : v);
    return 32 - __builtin_clz(a);
}

inline Coded WithExtraBits(bitstring code, int v, int cat)
{
    // Negative values are sent as v - 1 in `cat` bits (ones' complement).
    const uint32_t extra = static_cast<uint32_t>(v < 0 ? v - 1 : v) & ((1u << cat) - 1);
    return Coded{(uint32_t{code.value} << cat) | extra, code.length + cat};
}

} // namespace

void write_DU_codes(BitWriter& bw, const int16_t* DU, const uint8_t* order, uint64_t nonzero, int16_t* DC,
                    const bitstring* HTDC, const bitstring* HTAC, const CategoryTables& tables)
{
    (void)tables; // the categories and extra bits are computed, as the tables hold them
    // Coefficients are bounded by the 8-bit samples (|DC| <= 1024, |AC| <
    // 1024), so the difference stays far inside the 16-bit value range.
    const int Diff = DU[order[0]] - *DC;
    *DC = DU[order[0]];
    if (Diff == 0) {
        writebits(bw, HTDC[0]);
    } else {
        // A Huffman code (at most 16 bits) and its extra bits (at most 15)
        // go out as one piece.
        const int cat = Category(Diff);
        const Coded c = WithExtraBits(HTDC[cat], Diff, cat);
        writebits(bw, c.bits, c.length);
    }
    // AC: the nonzero coefficients in order, each after its run of zeros
    // (ZRL for every 16 of them); EOB unless the last coefficient is nonzero.
    uint64_t ac = nonzero & ~uint64_t{1};
    int last = 0;
    while (ac) {
        const int i = __builtin_ctzll(ac);
        ac &= ac - 1;
        int nrzeroes = i - last - 1;
        last = i;
        for (; nrzeroes > 15; nrzeroes -= 16)
            writebits(bw, HTAC[0xF0]);
        const int v = DU[order[i]];
        const int cat = Category(v);
        const Coded c = WithExtraBits(HTAC[nrzeroes * 16 + cat], v, cat);
        writebits(bw, c.bits, c.length);
    }
    if (last != 63)
        writebits(bw, HTAC[0x00]);
}

} // namespace bmp2jpeg
