// Entropy coding of the baseline JPEG encoder: the bit writer with byte
// stuffing, the Huffman code tables, the category and extra-bit tables and
// the Huffman coding of one quantised block.
#ifndef DATAPROCESS_JPEG_JPEGENTROPY_H
#define DATAPROCESS_JPEG_JPEGENTROPY_H

#include <cstdint>
#include <cstdio>

#include "JpegTables.h"

namespace bmp2jpeg {

// Bit writer: bits gather in a 64-bit word, highest first; whole bytes go
// (with a stuffed 0x00 after every 0xFF) to a buffer that is written to fp
// in large blocks. The file sees every byte once pad_with_ones() has run.
struct BitWriter {
    FILE* fp = nullptr;
    uint64_t acc = 0;  // the low `nbits` bits are pending, oldest highest
    int nbits = 0;     // pending bits, below 32 between calls
    size_t used = 0;   // bytes waiting in buf
    bool failed = false;
    uint8_t buf[65536 + 16];
};

// Moves the whole bytes of the pending bits to the buffer (a 0x00 stuffed
// after each 0xFF), writing the buffer out when it is nearly full.
void emit_bytes(BitWriter& bw);

// Appends the low `length` bits of `value` (length 0..32), highest first.
inline void writebits(BitWriter& bw, uint32_t value, int length)
{
    // At most 31 bits are pending and 32 come in: the word holds 63.
    bw.acc = (bw.acc << length) | (value & ((uint64_t{1} << length) - 1));
    bw.nbits += length;
    if (bw.nbits >= 32) {
        // Four whole bytes at once when none of them is 0xFF (no stuffing):
        // a byte is 0xFF exactly when its top bit and the carry out of its
        // low seven bits plus one are both set.
        const uint32_t top = static_cast<uint32_t>(bw.acc >> (bw.nbits - 32));
        if (((top & 0x80808080u) & ((top & 0x7F7F7F7Fu) + 0x01010101u)) == 0 && bw.used < sizeof bw.buf - 16) {
            bw.buf[bw.used] = static_cast<uint8_t>(top >> 24);
            bw.buf[bw.used + 1] = static_cast<uint8_t>(top >> 16);
            bw.buf[bw.used + 2] = static_cast<uint8_t>(top >> 8);
            bw.buf[bw.used + 3] = static_cast<uint8_t>(top);
            bw.used += 4;
            bw.nbits -= 32;
        } else {
            emit_bytes(bw);
        }
    }
}
inline void writebits(BitWriter& bw, bitstring bs) { writebits(bw, bs.value, bs.length); }

// Pads pending bits (if any) with 1-bits to a whole byte and writes every
// byte still waiting to the file.
void pad_with_ones(BitWriter& bw);

// Canonical Huffman codes from counts per length (16 entries) and the
// symbols in code order: HT[symbol] = {length, code}. Entries of symbols
// not listed are left untouched.
void compute_Huffman_table(const uint8_t* nrcodes, const uint8_t* std_table, bitstring* HT);

// Category (number of magnitude bits) and extra bits of every value in
// -32767..32767. Positive v: v in category bits; negative v: v - 1 in
// category bits (ones' complement). Value 0 is category 0 with no bits.
class CategoryTables {
public:
    static const int kRange = 32767;

    CategoryTables() = default;
    ~CategoryTables() { release(); }
    CategoryTables(const CategoryTables&) = delete;
    CategoryTables& operator=(const CategoryTables&) = delete;

    uint8_t category(int v) const { return category_alloc[v + kRange]; }
    const bitstring& bitcode(int v) const { return bitcode_alloc[v + kRange]; }
    bool empty() const { return !category_alloc || !bitcode_alloc; }

    // Frees both tables (the state after construction).
    void release();

private:
    friend bool set_numbers_category_and_bitcode(CategoryTables& t);
    uint8_t* category_alloc = nullptr;
    bitstring* bitcode_alloc = nullptr;
};

// Allocates and fills the tables (2 * 32767 + 1 entries each). Returns false,
// with both tables released, when memory runs out.
bool set_numbers_category_and_bitcode(CategoryTables& t);

// Huffman-codes one quantised block (zig-zag order) as T.81 baseline does:
// the DC difference from *DC (which then becomes this block's DC), the AC
// coefficients as runs of zeros (ZRL for runs of 16) and sizes, and EOB
// unless the last coefficient is nonzero.
void write_DU_codes(BitWriter& bw, const int16_t* DU, int16_t* DC, const bitstring* HTDC, const bitstring* HTAC,
                    const CategoryTables& tables);
// The same for coefficients stored in any order: the one at zig-zag
// position p is DU[order[p]], and bit p of `nonzero` is set when it is not 0.
void write_DU_codes(BitWriter& bw, const int16_t* DU, const uint8_t* order, uint64_t nonzero, int16_t* DC,
                    const bitstring* HTDC, const bitstring* HTAC, const CategoryTables& tables);

} // namespace bmp2jpeg

#endif // DATAPROCESS_JPEG_JPEGENTROPY_H
