// Vector twins of the JPEG encoder's block kernels (JpegKernels.h), one
// source compiled by Highway for every SIMD level.
//
// Colour: one lane per pixel of a block row, the reference's 16-bit
// fixed-point sums in 32-bit lanes (at most 65536 * 255 in size; integer
// sums do not depend on their order).
// DCT: eight float lanes, one per row (first pass) or per column (second
// pass) of the block, so every lane runs the reference's 8-point flow with
// the same operations in the same order; the block is transposed in
// registers between the passes. This file is compiled without contraction
// (no fused multiply-add), like the reference. Levels whose vectors hold
// fewer than eight floats keep the reference DCT.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "JpegKernelsSimd.cpp"
#include <hwy/foreach_target.h> // IWYU pragma: keep
#include <hwy/highway.h>

#include <cstring>

#include "JpegKernels.h"
#include "JpegTables.h"
#include "SimdTargets.h"

HWY_BEFORE_NAMESPACE();
namespace bmp2jpeg {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

#if DP_SIMD_TARGET_USED

using DF = hn::CappedTag<float, 8>;
using DI = hn::RebindToSigned<DF>;
using VF = hn::Vec<DF>;
using VI = hn::Vec<DI>;

// ---- colour ----

void LoadBlock(const YCbCrTables&, const unsigned char* rgb, size_t stride_pixels, size_t xpos, size_t ypos,
               int8_t* YDU, int8_t* CbDU, int8_t* CrDU)
{
    const DI di;
    const hn::Rebind<uint8_t, DI> d8;
    const hn::Rebind<int8_t, DI> ds8;
    const size_t lanes = hn::Lanes(di);
    for (size_t y = 0; y < 8; ++y) {
        const unsigned char* row = rgb + ((ypos + y) * stride_pixels + xpos) * 3;
        for (size_t x = 0; x < 8; x += lanes) {
            hn::Vec<decltype(d8)> b8, g8, r8;
            hn::LoadInterleaved3(d8, row + 3 * x, b8, g8, r8);
            const VI b = hn::BitCast(di, hn::PromoteTo(hn::RebindToUnsigned<DI>(), b8));
            const VI g = hn::BitCast(di, hn::PromoteTo(hn::RebindToUnsigned<DI>(), g8));
            const VI r = hn::BitCast(di, hn::PromoteTo(hn::RebindToUnsigned<DI>(), r8));
            const auto k = [&](int32_t v) { return hn::Set(di, v); };
            // Y = ((19595 R + 38470 G + 7471 B) >> 16) - 128; Cb, Cr floor.
            const VI y16 = hn::Add(hn::Add(hn::Mul(k(19595), r), hn::Mul(k(38470), g)), hn::Mul(k(7471), b));
            const VI cb16 = hn::Add(hn::Add(hn::Mul(k(-11058), r), hn::Mul(k(-21708), g)), hn::Mul(k(32768), b));
            const VI cr16 = hn::Add(hn::Add(hn::Mul(k(32768), r), hn::Mul(k(-27438), g)), hn::Mul(k(-5328), b));
            const size_t at = y * 8 + x;
            hn::StoreU(hn::DemoteTo(ds8, hn::Sub(hn::ShiftRight<16>(y16), k(128))), ds8, YDU + at);
            hn::StoreU(hn::DemoteTo(ds8, hn::ShiftRight<16>(cb16)), ds8, CbDU + at);
            hn::StoreU(hn::DemoteTo(ds8, hn::ShiftRight<16>(cr16)), ds8, CrDU + at);
        }
    }
}

// ---- DCT and quantisation (eight float lanes only) ----

#if HWY_TARGET != HWY_SSE4 && HWY_TARGET != HWY_NEON && HWY_TARGET != HWY_SVE

// The reference's 8-point flow (aan_fdct_8) on eight vectors (8 or 16
// float lanes).
template <class V>
HWY_INLINE void Aan8(V& p0, V& p1, V& p2, V& p3, V& p4, V& p5, V& p6, V& p7)
{
    const hn::DFromV<V> df;
    const V tmp0 = hn::Add(p0, p7);
    const V tmp7 = hn::Sub(p0, p7);
    const V tmp1 = hn::Add(p1, p6);
    const V tmp6 = hn::Sub(p1, p6);
    const V tmp2 = hn::Add(p2, p5);
    const V tmp5 = hn::Sub(p2, p5);
    const V tmp3 = hn::Add(p3, p4);
    const V tmp4 = hn::Sub(p3, p4);

    V tmp10 = hn::Add(tmp0, tmp3);
    const V tmp13 = hn::Sub(tmp0, tmp3);
    V tmp11 = hn::Add(tmp1, tmp2);
    V tmp12 = hn::Sub(tmp1, tmp2);

    p0 = hn::Add(tmp10, tmp11);
    p4 = hn::Sub(tmp10, tmp11);

    const V z1 = hn::Mul(hn::Add(tmp12, tmp13), hn::Set(df, 0.707106781f));
    p2 = hn::Add(tmp13, z1);
    p6 = hn::Sub(tmp13, z1);

    tmp10 = hn::Add(tmp4, tmp5);
    tmp11 = hn::Add(tmp5, tmp6);
    tmp12 = hn::Add(tmp6, tmp7);

    const V z5 = hn::Mul(hn::Sub(tmp10, tmp12), hn::Set(df, 0.382683433f));
    const V z2 = hn::Add(hn::Mul(hn::Set(df, 0.541196100f), tmp10), z5);
    const V z4 = hn::Add(hn::Mul(hn::Set(df, 1.306562965f), tmp12), z5);
    const V z3 = hn::Mul(tmp11, hn::Set(df, 0.707106781f));

    const V z11 = hn::Add(tmp7, z3);
    const V z13 = hn::Sub(tmp7, z3);

    p5 = hn::Add(z13, z2);
    p3 = hn::Sub(z13, z2);
    p1 = hn::Add(z11, z4);
    p7 = hn::Sub(z11, z4);
}

// Transposes the 8 x 8 block held as eight vectors: 8 lanes, or 16 lanes
// holding two blocks in 128-bit quarters [A c0-3 | B c0-3 | A c4-7 | B c4-7]
// (the interleaves work per quarter and the concatenations per half, so the
// same steps transpose both).
template <class V>
HWY_INLINE void Transpose8(V v[8])
{
    const hn::DFromV<V> df;
    const hn::Repartition<double, decltype(df)> dd;
    V t[8];
    for (int i = 0; i < 4; ++i) {
        t[2 * i] = hn::InterleaveLower(df, v[2 * i], v[2 * i + 1]);
        t[2 * i + 1] = hn::InterleaveUpper(df, v[2 * i], v[2 * i + 1]);
    }
    // Per 128-bit block: u[0] holds column 0 (rows 0-3) and column 4, ...
    V u[8];
    for (int h = 0; h < 2; ++h) {
        const auto a0 = hn::BitCast(dd, t[4 * h]), a1 = hn::BitCast(dd, t[4 * h + 1]);
        const auto a2 = hn::BitCast(dd, t[4 * h + 2]), a3 = hn::BitCast(dd, t[4 * h + 3]);
        u[4 * h] = hn::BitCast(df, hn::InterleaveLower(dd, a0, a2));
        u[4 * h + 1] = hn::BitCast(df, hn::InterleaveUpper(dd, a0, a2));
        u[4 * h + 2] = hn::BitCast(df, hn::InterleaveLower(dd, a1, a3));
        u[4 * h + 3] = hn::BitCast(df, hn::InterleaveUpper(dd, a1, a3));
    }
    for (int c = 0; c < 4; ++c) {
        v[c] = hn::ConcatLowerLower(df, u[4 + c], u[c]);
        v[c + 4] = hn::ConcatUpperUpper(df, u[4 + c], u[c]);
    }
}

// The nonzero bits of row r (eight bits, one per column) spread to their
// zig-zag positions, made by the compiler.
struct ZigzagMasks {
    uint64_t bits[8][256];
};

constexpr ZigzagMasks MakeZigzagMasks()
{
    ZigzagMasks z{};
    for (int r = 0; r < 8; ++r)
        for (int m = 0; m < 256; ++m)
            for (int c = 0; c < 8; ++c)
                if (m & (1 << c))
                    z.bits[r][m] |= uint64_t{1} << zigzag[r * 8 + c];
    return z;
}

constexpr ZigzagMasks kZigzagMasks = MakeZigzagMasks();

void FdctQuant(const int8_t* data, const float* fdtbl, QuantisedBlock& q)
{
    const DF df;
    const DI di;
    const hn::Rebind<int8_t, DF> d8;
    const hn::Rebind<int16_t, DF> d16;
    VF v[8];
    // Rows as vectors (lane = column), transposed: lane = row.
    for (int r = 0; r < 8; ++r)
        v[r] = hn::ConvertTo(df, hn::PromoteTo(di, hn::LoadU(d8, data + 8 * r)));
    Transpose8(v);
    // First pass: the flow along every row at once (v[k] = element k).
    Aan8(v[0], v[1], v[2], v[3], v[4], v[5], v[6], v[7]);
    Transpose8(v);
    // Second pass: along every column at once (v[k] = row k).
    Aan8(v[0], v[1], v[2], v[3], v[4], v[5], v[6], v[7]);

    // Quantisation: the reference forms temp = c * fdtbl in float, then
    // trunc(temp + 16384.5) - 16384 in double, which for |temp| < 2048 is
    // floor(temp + 0.5) exactly (the double sum is exact whenever it could
    // matter: a float's last bit there is at least 2^-37, the sum's 2^-38).
    // In float: q = round-to-nearest-even(temp), plus 1 where temp - q is
    // exactly 0.5 (a tie rounded down); temp - q is exact, q being an
    // integer within 0.5 of temp.
    const ZigzagMasks& masks = kZigzagMasks;
    uint64_t nonzero = 0;
    const VF half = hn::Set(df, 0.5f);
    for (int r = 0; r < 8; ++r) {
        const VF temp = hn::Mul(v[r], hn::LoadU(df, fdtbl + 8 * r));
        const VF nearest = hn::Round(temp);
        const VF rounded = hn::IfThenElse(hn::Eq(hn::Sub(temp, nearest), half), hn::Add(nearest, hn::Set(df, 1.0f)),
                                          nearest);
        const VI coef = hn::ConvertTo(di, rounded);
        hn::StoreU(hn::DemoteTo(d16, coef), d16, q.out + 8 * r);
        uint8_t bits[8] = {};
        hn::StoreMaskBits(di, hn::Ne(coef, hn::Zero(di)), bits);
        nonzero |= masks.bits[r][bits[0]];
    }
    q.order = kNaturalOfZigzag.v;
    q.nonzero = nonzero;
}

void FdctQuantPairOfSingles(const int8_t* a, const int8_t* b, const float* fdtbl, QuantisedBlock& qa,
                            QuantisedBlock& qb)
{
    FdctQuant(a, fdtbl, qa);
    FdctQuant(b, fdtbl, qb);
}

#define DP_JPEG_HAVE_FDCT 1
#endif

#if HWY_TARGET == HWY_AVX3
// Two blocks at once in sixteen float lanes. Every row vector is laid out
// as [A c0-3 | B c0-3 | A c4-7 | B c4-7] (128-bit quarters), and so is every
// column vector after a transpose: the interleaves of Transpose8 work per
// 128-bit quarter and its concatenations per 256-bit half, so the same code
// transposes both blocks (each lane still runs the reference flow).
using DF16 = hn::ScalableTag<float>;
using DI16 = hn::RebindToSigned<DF16>;
using VF16 = hn::Vec<DF16>;

void FdctQuantPair(const int8_t* a, const int8_t* b, const float* fdtbl, QuantisedBlock& qa, QuantisedBlock& qb)
{
    const DF16 df;
    const DI16 di;
    const hn::Rebind<int8_t, DF16> d8;
    const hn::Rebind<int16_t, DF16> d16;
    const hn::CappedTag<float, 4> df4;
    const hn::CappedTag<float, 8> df8;
    VF16 v[8];
    for (int r = 0; r < 8; ++r) {
        // Row r of both blocks in the quarter layout.
        HWY_ALIGN int8_t row[16];
        std::memcpy(row, a + 8 * r, 4);
        std::memcpy(row + 4, b + 8 * r, 4);
        std::memcpy(row + 8, a + 8 * r + 4, 4);
        std::memcpy(row + 12, b + 8 * r + 4, 4);
        v[r] = hn::ConvertTo(df, hn::PromoteTo(di, hn::Load(d8, row)));
    }
    Transpose8(v);
    Aan8(v[0], v[1], v[2], v[3], v[4], v[5], v[6], v[7]);
    Transpose8(v);
    Aan8(v[0], v[1], v[2], v[3], v[4], v[5], v[6], v[7]);

    // Quantisation as in FdctQuant.
    uint64_t nzA = 0, nzB = 0;
    const VF16 half = hn::Set(df, 0.5f);
    for (int r = 0; r < 8; ++r) {
        const auto lo = hn::LoadU(df4, fdtbl + 8 * r);
        const auto hi = hn::LoadU(df4, fdtbl + 8 * r + 4);
        const VF16 table = hn::Combine(df, hn::Combine(df8, hi, hi), hn::Combine(df8, lo, lo));
        const VF16 temp = hn::Mul(v[r], table);
        const VF16 nearest = hn::Round(temp);
        const VF16 rounded =
            hn::IfThenElse(hn::Eq(hn::Sub(temp, nearest), half), hn::Add(nearest, hn::Set(df, 1.0f)), nearest);
        const auto coef = hn::ConvertTo(di, rounded);
        HWY_ALIGN int16_t out[16];
        hn::Store(hn::DemoteTo(d16, coef), d16, out);
        std::memcpy(qa.out + 8 * r, out, 8);
        std::memcpy(qb.out + 8 * r, out + 4, 8);
        std::memcpy(qa.out + 8 * r + 4, out + 8, 8);
        std::memcpy(qb.out + 8 * r + 4, out + 12, 8);
        uint8_t bits[8] = {};
        hn::StoreMaskBits(di, hn::Ne(coef, hn::Zero(di)), bits);
        nzA |= kZigzagMasks.bits[r][(bits[0] & 0x0F) | ((bits[1] & 0x0F) << 4)];
        nzB |= kZigzagMasks.bits[r][(bits[0] >> 4) | (bits[1] & 0xF0)];
    }
    qa.order = qb.order = kNaturalOfZigzag.v;
    qa.nonzero = nzA;
    qb.nonzero = nzB;
}
#define DP_JPEG_HAVE_FDCT_PAIR 1
#endif

#endif // DP_SIMD_TARGET_USED

void FillJpeg(JpegKernels& t)
{
#if DP_SIMD_TARGET_USED
    t.loadBlock = LoadBlock;
#if defined(DP_JPEG_HAVE_FDCT)
    t.fdctQuant = FdctQuant;
    t.fdctQuantPair = FdctQuantPairOfSingles;
#endif
#if defined(DP_JPEG_HAVE_FDCT_PAIR)
    t.fdctQuantPair = FdctQuantPair;
#endif
#else
    (void)t;
#endif
}
#undef DP_JPEG_HAVE_FDCT
#undef DP_JPEG_HAVE_FDCT_PAIR

} // namespace HWY_NAMESPACE
} // namespace bmp2jpeg
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace bmp2jpeg {
SimdFillers<JpegKernels> JpegSimdFillers() { return DP_SIMD_FILLERS(JpegKernels, FillJpeg); }
} // namespace bmp2jpeg
#endif
