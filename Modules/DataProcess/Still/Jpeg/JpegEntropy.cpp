#include "JpegEntropy.h"

#include <cstdlib>

namespace bmp2jpeg {

namespace {

void writebyte(BitWriter& bw, uint8_t b)
{
    std::fputc(b, bw.fp);
}

} // namespace

void writebits(BitWriter& bw, bitstring bs)
{
    for (int posval = bs.length - 1; posval >= 0; --posval) {
        if (bs.value & (1u << posval))
            bw.bytenew = static_cast<uint8_t>(bw.bytenew | (1u << bw.bytepos));
        if (--bw.bytepos < 0) {
            writebyte(bw, bw.bytenew);
            if (bw.bytenew == 0xFF)
                writebyte(bw, 0x00);
            bw.bytepos = 7;
            bw.bytenew = 0;
        }
    }
}

void pad_with_ones(BitWriter& bw)
{
    if (bw.bytepos == 7)
        return;
    const int n = bw.bytepos + 1;
    writebits(bw, bitstring{static_cast<uint16_t>(n), static_cast<uint16_t>((1u << n) - 1)});
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
    const bitstring EOB = HTAC[0x00];
    const bitstring M16zeroes = HTAC[0xF0];

    // Coefficients are bounded by the 8-bit samples (|DC| <= 1024, |AC| <
    // 1024), so the difference stays far inside the 16-bit value range.
    const int Diff = DU[0] - *DC;
    *DC = DU[0];
    if (Diff == 0) {
        writebits(bw, HTDC[0]);
    } else {
        writebits(bw, HTDC[tables.category(Diff)]);
        writebits(bw, tables.bitcode(Diff));
    }

    int end0pos = 63;
    while (end0pos > 0 && DU[end0pos] == 0)
        --end0pos;

    for (int i = 1; i <= end0pos; ++i) {
        const int startpos = i;
        while (DU[i] == 0)
            ++i; // stops at end0pos at the latest: DU[end0pos] != 0
        int nrzeroes = i - startpos;
        if (nrzeroes > 15) {
            for (int nrmarker = 1; nrmarker <= nrzeroes / 16; ++nrmarker)
                writebits(bw, M16zeroes);
            nrzeroes %= 16;
        }
        writebits(bw, HTAC[nrzeroes * 16 + tables.category(DU[i])]);
        writebits(bw, tables.bitcode(DU[i]));
    }
    if (end0pos != 63)
        writebits(bw, EOB);
}

} // namespace bmp2jpeg
