// Vector twins of the image-routine library's kernels (OrvKernels.cpp), one
// source compiled by Highway for every SIMD level. Each twin gives the same
// bytes as its reference on every input.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "OrvKernelsSimd.cpp"
#include <hwy/foreach_target.h> // IWYU pragma: keep
#include <hwy/highway.h>

#include <algorithm>

#include "OrvKernels.h"
#include "SimdTargets.h"

HWY_BEFORE_NAMESPACE();
namespace orv {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

#if DP_SIMD_TARGET_USED

// M(m, x) = (t + (t >> 8)) >> 8 with t = m * x + 128 <= 65153, taken as the
// high half of t * 257: with t = 256 q + r, both are q + floor((q + r) / 256)
// (the extra r / 256 < 1 cannot reach the next multiple of 256 from the
// integer q + r). The sum of two terms is at most 510 and the saturating
// narrowing after the min is exact.
void AlphaOverRow(uint8_t* dst, const uint8_t* a, const uint8_t* b, int n, int m1, int m2)
{
    const hn::ScalableTag<uint16_t> d16;
    const hn::Rebind<uint8_t, decltype(d16)> d8;
    const hn::RebindToSigned<decltype(d16)> di16;
    const size_t lanes = hn::Lanes(d16);
    const auto vm1 = hn::Set(d16, static_cast<uint16_t>(m1));
    const auto vm2 = hn::Set(d16, static_cast<uint16_t>(m2));
    const auto k128 = hn::Set(d16, 128);
    const auto k255 = hn::Set(d16, 255);
    const auto k257 = hn::Set(d16, 257);
    size_t i = 0;
    for (; i + lanes <= static_cast<size_t>(n); i += lanes) {
        const auto ta = hn::Add(hn::Mul(vm1, hn::PromoteTo(d16, hn::LoadU(d8, a + i))), k128);
        const auto tb = hn::Add(hn::Mul(vm2, hn::PromoteTo(d16, hn::LoadU(d8, b + i))), k128);
        const auto ma = hn::MulHigh(ta, k257);
        const auto mb = hn::MulHigh(tb, k257);
        hn::StoreU(hn::DemoteTo(d8, hn::BitCast(di16, hn::Min(hn::Add(ma, mb), k255))), d8, dst + i);
    }
    if (i < static_cast<size_t>(n))
        ReferenceBlendKernels().alphaOverRow(dst + i, a + i, b + i, n - static_cast<int>(i), m1, m2);
}

// ---- separable resize rows ----
//
// A block of N destination pixels (N 32-bit lanes) whose source columns all
// lie within 2N columns of its first one loads those 2N columns of each
// source row once and picks the columns with in-register table lookups
// (hardware gathers are slower than scalar loads on the CPUs this runs on).
// Blocks that reach further, or past the last column the row reads, and the
// last partial block go through the reference. The linear formula in 32-bit
// lanes is the reference's: vertical sums at most 255 * 256, the final sum
// below 2^24.

using DU32 = hn::ScalableTag<uint32_t>;
using DI32 = hn::RebindToSigned<DU32>;
using VU32 = hn::Vec<DU32>;
using VI32 = hn::Vec<DI32>;

// Columns idx (0 .. 2N - 1) of the 2N values lo (first N) and hi (next N).
HWY_INLINE VU32 Pick(VU32 lo, VU32 hi, VI32 idx)
{
    const DU32 du;
    const DI32 di;
    const VI32 n = hn::Set(di, static_cast<int32_t>(hn::Lanes(du)));
    const auto inLo = hn::Lt(idx, n);
    const auto i = hn::IndicesFromVec(du, hn::IfThenElse(inLo, idx, hn::Sub(idx, n)));
    return hn::IfThenElse(hn::RebindMask(du, inLo), hn::TableLookupLanes(lo, i), hn::TableLookupLanes(hi, i));
}

// Two vectors of 2N source bytes from p, widened.
HWY_INLINE void Load2N(const uint8_t* p, VU32* lo, VU32* hi)
{
    const DU32 du;
    const hn::Rebind<uint8_t, DU32> d8;
    *lo = hn::PromoteTo(du, hn::LoadU(d8, p));
    *hi = hn::PromoteTo(du, hn::LoadU(d8, p + hn::Lanes(du)));
}

// True when every index of the block lies in 0 .. 2N - 1.
HWY_INLINE bool Within(VI32 idx)
{
    const DI32 di;
    const VI32 top = hn::Set(di, static_cast<int32_t>(2 * hn::Lanes(di)));
    return hn::AllTrue(di, hn::And(hn::Gt(idx, hn::Set(di, -1)), hn::Lt(idx, top)));
}

void LinearRow(uint8_t* dst, const uint8_t* row0, const uint8_t* row1, int g, const int32_t* x0, const int32_t* x1,
               const uint8_t* f, int n)
{
    const DU32 du;
    const DI32 di;
    const hn::Rebind<uint8_t, DU32> d8;
    const int lanes = static_cast<int>(hn::Lanes(du));
    const GeometryKernels& ref = ReferenceGeometryKernels();
    const int32_t lastRead = n > 0 ? x1[n - 1] : 0; // the columns only grow along a row
    const VU32 round = hn::Set(du, 32768);
    int i = 0;
    for (; i + lanes <= n; i += lanes) {
        // The window ends at the last column the row reads at the latest.
        const int32_t base = std::min(x0[i], lastRead - 2 * lanes + 1);
        const VI32 i0 = hn::Sub(hn::LoadU(di, x0 + i), hn::Set(di, base));
        const VI32 i1 = hn::Sub(hn::LoadU(di, x1 + i), hn::Set(di, base));
        if (base < 0 || !Within(i0) || !Within(i1)) {
            ref.linearRow(dst + i, row0, row1, g, x0 + i, x1 + i, f + i, lanes);
            continue;
        }
        // Vertical sums first, as the formula has them, in 16-bit lanes
        // (at most 255 * 256), then widened for the lookups.
        const hn::Repartition<uint16_t, DU32> d16;
        const hn::Rebind<uint8_t, decltype(d16)> d8x2;
        const auto v0 = hn::PromoteTo(d16, hn::LoadU(d8x2, row0 + base));
        const auto v1 = hn::PromoteTo(d16, hn::LoadU(d8x2, row1 + base));
        const auto c = hn::Add(hn::Mul(v0, hn::Set(d16, static_cast<uint16_t>(256 - g))),
                               hn::Mul(v1, hn::Set(d16, static_cast<uint16_t>(g))));
        const VU32 clo = hn::PromoteTo(du, hn::LowerHalf(c)), chi = hn::PromoteTo(du, hn::UpperHalf(hn::Half<decltype(d16)>(), c));
        const VU32 c0 = Pick(clo, chi, i0), c1 = Pick(clo, chi, i1);
        const VU32 fx = hn::PromoteTo(du, hn::LoadU(d8, f + i));
        // c0 (256 - f) + c1 f = 256 c0 + (c1 - c0) f: the same integer, formed
        // modulo 2^32 (the true value lies in 0 .. 2^24).
        const VU32 sum = hn::Add(hn::Add(hn::ShiftLeft<8>(c0), hn::Mul(hn::Sub(c1, c0), fx)), round);
        hn::StoreU(hn::DemoteTo(d8, hn::BitCast(di, hn::ShiftRight<16>(sum))), d8, dst + i);
    }
    if (i < n)
        ref.linearRow(dst + i, row0, row1, g, x0 + i, x1 + i, f + i, n - i);
}

#if HWY_TARGET == HWY_AVX2 || HWY_TARGET == HWY_AVX3 || HWY_TARGET == HWY_SSE4
// Runs of rows in 16-bit lanes, 16 outputs a step (8 at SSE4). The formula summed the
// other way round gives the same integer (no rounding before the end):
//   h(y) = S(x0, y) (256 - f) + S(x1, y) f = 256 S(x0, y) + (S(x1, y) - S(x0, y)) f
//   D = (h(y0) (256 - g) + h(y1) g + 32768) >> 16
// h <= 255 * 256 fits 16 bits, and formed modulo 2^16 as written it is
// exact. With h = 256 a + b (a, b bytes), h(y0) (256 - g) + h(y1) g =
// 256 A + B where A = 256 a0 + (a1 - a0) g and B = 256 b0 + (b1 - b0) g (each
// at most 255 * 256, formed the same way), so
//   D = (A + 128 + (B >> 8)) >> 8
// (nested floor divisions), and A + 128 + (B >> 8) < 2^16 because D <= 255.
// A row with g = 0 (every other row of a reduction by 1.5) is
// D = (256 h(y0) + 32768) >> 16 = (h(y0) + 128) >> 8: its second source row
// is not needed.
//
// The columns are the same for every row, so they are planned once: each
// group of 8 outputs reads a 16-byte window of a source row (starting at
// its first column, or earlier so the window ends at the run's last column
// read) and picks its samples with byte shuffles that also widen them. A
// group whose columns do not fit its window goes through the row kernel.
constexpr int kMaxGroups = 128;

struct WindowPlan {
    alignas(32) uint8_t pick0[kMaxGroups][16];
    alignas(32) uint8_t pick1[kMaxGroups][16];
    int32_t base[kMaxGroups];
    bool fits[kMaxGroups];
};

// Plans the n / 8 whole groups of a run (at most kMaxGroups).
HWY_INLINE void PlanWindows(const int32_t* x0, const int32_t* x1, int n, WindowPlan& p)
{
    int32_t lo = x0[0], hi = x0[0];
    for (int i = 0; i < n; ++i) {
        lo = std::min(lo, std::min(x0[i], x1[i]));
        hi = std::max(hi, std::max(x0[i], x1[i]));
    }
    for (int j = 0; j < n / 8; ++j) {
        const int32_t b = std::min(x0[8 * j], hi - 15);
        p.base[j] = b;
        bool ok = b >= lo;
        for (int k = 0; k < 8; ++k) {
            const int32_t a = x0[8 * j + k] - b, c = x1[8 * j + k] - b;
            ok = ok && a >= 0 && a <= 15 && c >= 0 && c <= 15;
            p.pick0[j][2 * k] = static_cast<uint8_t>(a & 15);
            p.pick1[j][2 * k] = static_cast<uint8_t>(c & 15);
            p.pick0[j][2 * k + 1] = p.pick1[j][2 * k + 1] = 0x80; // zero high byte
        }
        p.fits[j] = ok;
    }
}
#endif

#if HWY_TARGET == HWY_AVX2 || HWY_TARGET == HWY_AVX3
void LinearRowsWindows(uint8_t* const* dst, const uint8_t* const* row0, const uint8_t* const* row1, const uint8_t* g,
                       int rows, const int32_t* x0, const int32_t* x1, const uint8_t* f, int n)
{
    const int groups = n / 8;
    if (groups < 2 || groups > kMaxGroups) {
        for (int r = 0; r < rows; ++r)
            LinearRow(dst[r], row0[r], row1[r], g[r], x0, x1, f, n);
        return;
    }
    WindowPlan plan;
    PlanWindows(x0, x1, n, plan);
    const int planned = groups & ~1; // whole pairs of groups
    const __m256i low8 = _mm256_set1_epi16(0xFF), half = _mm256_set1_epi16(128);
    for (int r = 0; r < rows; ++r) {
        const __m256i gv = _mm256_set1_epi16(static_cast<int16_t>(g[r]));
        for (int j = 0; j < planned; j += 2) {
            const int i = 8 * j;
            if (!plan.fits[j] || !plan.fits[j + 1]) {
                LinearRow(dst[r] + i, row0[r], row1[r], g[r], x0 + i, x1 + i, f + i, 16);
                continue;
            }
            const __m256i p0 = _mm256_load_si256(reinterpret_cast<const __m256i*>(plan.pick0[j]));
            const __m256i p1 = _mm256_load_si256(reinterpret_cast<const __m256i*>(plan.pick1[j]));
            const __m256i fv = _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(f + i)));
            __m256i h[2];
            for (int s = 0; s < (g[r] == 0 ? 1 : 2); ++s) {
                const uint8_t* src = s == 0 ? row0[r] : row1[r];
                const __m256i v = _mm256_inserti128_si256(
                    _mm256_castsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(src + plan.base[j]))),
                    _mm_loadu_si128(reinterpret_cast<const __m128i*>(src + plan.base[j + 1])), 1);
                const __m256i s0 = _mm256_shuffle_epi8(v, p0), s1 = _mm256_shuffle_epi8(v, p1);
                h[s] = _mm256_add_epi16(_mm256_slli_epi16(s0, 8), _mm256_mullo_epi16(_mm256_sub_epi16(s1, s0), fv));
            }
            __m256i d;
            if (g[r] == 0) {
                d = _mm256_srli_epi16(_mm256_add_epi16(h[0], half), 8);
            } else {
                const __m256i a0 = _mm256_srli_epi16(h[0], 8), a1 = _mm256_srli_epi16(h[1], 8);
                const __m256i b0 = _mm256_and_si256(h[0], low8), b1 = _mm256_and_si256(h[1], low8);
                const __m256i A =
                    _mm256_add_epi16(_mm256_slli_epi16(a0, 8), _mm256_mullo_epi16(_mm256_sub_epi16(a1, a0), gv));
                const __m256i B =
                    _mm256_add_epi16(_mm256_slli_epi16(b0, 8), _mm256_mullo_epi16(_mm256_sub_epi16(b1, b0), gv));
                d = _mm256_srli_epi16(_mm256_add_epi16(_mm256_add_epi16(A, half), _mm256_srli_epi16(B, 8)), 8);
            }
            const __m256i packed = _mm256_permute4x64_epi64(_mm256_packus_epi16(d, d), 0x08);
            _mm_storeu_si128(reinterpret_cast<__m128i*>(dst[r] + i), _mm256_castsi256_si128(packed));
        }
        if (8 * planned < n)
            LinearRow(dst[r] + 8 * planned, row0[r], row1[r], g[r], x0 + 8 * planned, x1 + 8 * planned,
                      f + 8 * planned, n - 8 * planned);
    }
}
#endif

#if HWY_TARGET == HWY_SSE4
void LinearRowsWindows(uint8_t* const* dst, const uint8_t* const* row0, const uint8_t* const* row1, const uint8_t* g,
                       int rows, const int32_t* x0, const int32_t* x1, const uint8_t* f, int n)
{
    const int groups = n / 8;
    if (groups < 1 || groups > kMaxGroups) {
        for (int r = 0; r < rows; ++r)
            LinearRow(dst[r], row0[r], row1[r], g[r], x0, x1, f, n);
        return;
    }
    WindowPlan plan;
    PlanWindows(x0, x1, n, plan);
    const __m128i low8 = _mm_set1_epi16(0xFF), half = _mm_set1_epi16(128);
    for (int r = 0; r < rows; ++r) {
        const __m128i gv = _mm_set1_epi16(static_cast<int16_t>(g[r]));
        for (int j = 0; j < groups; ++j) {
            const int i = 8 * j;
            if (!plan.fits[j]) {
                LinearRow(dst[r] + i, row0[r], row1[r], g[r], x0 + i, x1 + i, f + i, 8);
                continue;
            }
            const __m128i p0 = _mm_load_si128(reinterpret_cast<const __m128i*>(plan.pick0[j]));
            const __m128i p1 = _mm_load_si128(reinterpret_cast<const __m128i*>(plan.pick1[j]));
            const __m128i fv = _mm_cvtepu8_epi16(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(f + i)));
            __m128i h[2];
            for (int s = 0; s < (g[r] == 0 ? 1 : 2); ++s) {
                const uint8_t* src = s == 0 ? row0[r] : row1[r];
                const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src + plan.base[j]));
                const __m128i s0 = _mm_shuffle_epi8(v, p0), s1 = _mm_shuffle_epi8(v, p1);
                h[s] = _mm_add_epi16(_mm_slli_epi16(s0, 8), _mm_mullo_epi16(_mm_sub_epi16(s1, s0), fv));
            }
            __m128i d;
            if (g[r] == 0) {
                d = _mm_srli_epi16(_mm_add_epi16(h[0], half), 8);
            } else {
                const __m128i a0 = _mm_srli_epi16(h[0], 8), a1 = _mm_srli_epi16(h[1], 8);
                const __m128i b0 = _mm_and_si128(h[0], low8), b1 = _mm_and_si128(h[1], low8);
                const __m128i A = _mm_add_epi16(_mm_slli_epi16(a0, 8), _mm_mullo_epi16(_mm_sub_epi16(a1, a0), gv));
                const __m128i B = _mm_add_epi16(_mm_slli_epi16(b0, 8), _mm_mullo_epi16(_mm_sub_epi16(b1, b0), gv));
                d = _mm_srli_epi16(_mm_add_epi16(_mm_add_epi16(A, half), _mm_srli_epi16(B, 8)), 8);
            }
            _mm_storel_epi64(reinterpret_cast<__m128i*>(dst[r] + i), _mm_packus_epi16(d, d));
        }
        if (8 * groups < n)
            LinearRow(dst[r] + 8 * groups, row0[r], row1[r], g[r], x0 + 8 * groups, x1 + 8 * groups, f + 8 * groups,
                      n - 8 * groups);
    }
}
#endif

void NearestRow(uint8_t* dst, const uint8_t* src, const int32_t* xi, int n)
{
    const DU32 du;
    const DI32 di;
    const hn::Rebind<uint8_t, DU32> d8;
    const int lanes = static_cast<int>(hn::Lanes(du));
    const GeometryKernels& ref = ReferenceGeometryKernels();
    const int32_t lastRead = n > 0 ? xi[n - 1] : 0;
    int i = 0;
    for (; i + lanes <= n; i += lanes) {
        const int32_t base = std::min(xi[i], lastRead - 2 * lanes + 1);
        const VI32 idx = hn::Sub(hn::LoadU(di, xi + i), hn::Set(di, base));
        if (base < 0 || !Within(idx)) {
            ref.nearestRow(dst + i, src, xi + i, lanes);
            continue;
        }
        VU32 lo, hi;
        Load2N(src + base, &lo, &hi);
        hn::StoreU(hn::DemoteTo(d8, hn::BitCast(di, Pick(lo, hi, idx))), d8, dst + i);
    }
    if (i < n)
        ref.nearestRow(dst + i, src, xi + i, n - i);
}

// ---- exact quarter turns ----

// Transposes an 8 x 8 byte block: rows r0 .. r7 (the low 8 bytes of each
// vector) in, and oj holds column 2j in its low and column 2j + 1 in its
// high 8 bytes. Named vectors rather than arrays: SVE vectors are sizeless
// and cannot be array elements.
template <class V>
HWY_INLINE void Transpose8x8(const hn::Full128<uint8_t> d8, V r0, V r1, V r2, V r3, V r4, V r5, V r6, V r7, V& o0,
                             V& o1, V& o2, V& o3)
{
    const hn::Full128<uint16_t> d16;
    const hn::Full128<uint32_t> d32;
    const auto t0 = hn::BitCast(d16, hn::InterleaveLower(d8, r0, r1));
    const auto t1 = hn::BitCast(d16, hn::InterleaveLower(d8, r2, r3));
    const auto t2 = hn::BitCast(d16, hn::InterleaveLower(d8, r4, r5));
    const auto t3 = hn::BitCast(d16, hn::InterleaveLower(d8, r6, r7));
    const auto u0 = hn::BitCast(d32, hn::InterleaveLower(d16, t0, t1));
    const auto u1 = hn::BitCast(d32, hn::InterleaveUpper(d16, t0, t1));
    const auto u2 = hn::BitCast(d32, hn::InterleaveLower(d16, t2, t3));
    const auto u3 = hn::BitCast(d32, hn::InterleaveUpper(d16, t2, t3));
    o0 = hn::BitCast(d8, hn::InterleaveLower(d32, u0, u2));
    o1 = hn::BitCast(d8, hn::InterleaveUpper(d32, u0, u2));
    o2 = hn::BitCast(d8, hn::InterleaveLower(d32, u1, u3));
    o3 = hn::BitCast(d8, hn::InterleaveUpper(d32, u1, u3));
}

void QuarterTurnEdge(uint8_t* dst, ptrdiff_t dstStep, const uint8_t* src, ptrdiff_t srcStep, int w, int h, int turn)
{
    const ptrdiff_t along = turn == 90 ? srcStep : -srcStep, down = turn == 90 ? -1 : 1;
    for (int y = 0; y < h; ++y)
        for (int x = 0; x < w; ++x)
            dst[y * dstStep + x] = src[x * along + y * down];
}

// 8 x 8 blocks: the source block is read row by row (its rows are the
// destination's columns), transposed in registers and stored as
// destination rows; the edge strips go pixel by pixel.
void QuarterTurn(uint8_t* dst, ptrdiff_t dstStep, const uint8_t* src, ptrdiff_t srcStep, int w, int h, int turn)
{
    const hn::Full128<uint8_t> d8;
    const hn::Full64<uint8_t> d8h;
    const int bw = w / 8 * 8, bh = h / 8 * 8;
    for (int by = 0; by < bh; by += 8) {
        for (int bx = 0; bx < bw; bx += 8) {
            // 90: destination row by + m is source column -(by + m), so the
            // block's source rows hold columns -by - 7 .. -by and transposed
            // row j (source column -by - 7 + j) is destination row by + 7 - j.
            // 270: destination column bx + k is source row -(bx + k), loaded
            // in that order, and transposed row j is destination row by + j.
            const uint8_t* s0 = turn == 90 ? src + bx * srcStep - by - 7 : src - bx * srcStep + by;
            const ptrdiff_t rowStep = turn == 90 ? srcStep : -srcStep;
            const auto row = [&](int k) { return hn::ZeroExtendVector(d8, hn::LoadU(d8h, s0 + k * rowStep)); };
            hn::Vec<decltype(d8)> o0, o1, o2, o3;
            Transpose8x8(d8, row(0), row(1), row(2), row(3), row(4), row(5), row(6), row(7), o0, o1, o2, o3);
            const auto store = [&](hn::Vec<decltype(d8)> v, int j) { // transposed rows 2j and 2j + 1
                const int first = turn == 90 ? by + 7 - 2 * j : by + 2 * j;
                const int second = turn == 90 ? first - 1 : first + 1;
                hn::StoreU(hn::LowerHalf(d8h, v), d8h, dst + first * dstStep + bx);
                hn::StoreU(hn::UpperHalf(d8h, v), d8h, dst + second * dstStep + bx);
            };
            store(o0, 0);
            store(o1, 1);
            store(o2, 2);
            store(o3, 3);
        }
    }
    const ptrdiff_t along = turn == 90 ? srcStep : -srcStep, down = turn == 90 ? -1 : 1;
    if (bw < w) // right strip, all rows
        QuarterTurnEdge(dst + bw, dstStep, src + bw * along, srcStep, w - bw, h, turn);
    if (bh < h) // bottom strip, the block columns
        QuarterTurnEdge(dst + bh * dstStep, dstStep, src + bh * down, srcStep, bw, h - bh, turn);
}

#if HWY_TARGET == HWY_AVX2 || HWY_TARGET == HWY_AVX3 || HWY_TARGET == HWY_SSE4
// Nearest rows with the same windows: each group of 8 outputs picks its
// bytes from the 16 source bytes at its base by one byte shuffle.
HWY_INLINE void PlanNearest(const int32_t* xi, int n, WindowPlan& p)
{
    int32_t lo = xi[0], hi = xi[0];
    for (int i = 0; i < n; ++i) {
        lo = std::min(lo, xi[i]);
        hi = std::max(hi, xi[i]);
    }
    for (int j = 0; j < n / 8; ++j) {
        const int32_t b = std::min(xi[8 * j], hi - 15);
        p.base[j] = b;
        bool ok = b >= lo;
        for (int k = 0; k < 8; ++k) {
            const int32_t a = xi[8 * j + k] - b;
            ok = ok && a >= 0 && a <= 15;
            p.pick0[j][k] = static_cast<uint8_t>(a & 15);
            p.pick0[j][k + 8] = 0x80;
        }
        p.fits[j] = ok;
    }
}

void NearestRowsWindows(uint8_t* const* dst, const uint8_t* const* src, int rows, const int32_t* xi, int n)
{
    const int groups = n / 8;
    if (groups < 1 || groups > kMaxGroups) {
        for (int r = 0; r < rows; ++r)
            NearestRow(dst[r], src[r], xi, n);
        return;
    }
    WindowPlan plan;
    PlanNearest(xi, n, plan);
    for (int r = 0; r < rows; ++r) {
        for (int j = 0; j < groups; ++j) {
            if (!plan.fits[j]) {
                NearestRow(dst[r] + 8 * j, src[r], xi + 8 * j, 8);
                continue;
            }
            const __m128i v = _mm_loadu_si128(reinterpret_cast<const __m128i*>(src[r] + plan.base[j]));
            const __m128i picked = _mm_shuffle_epi8(v, _mm_load_si128(reinterpret_cast<const __m128i*>(plan.pick0[j])));
            _mm_storel_epi64(reinterpret_cast<__m128i*>(dst[r] + 8 * j), picked);
        }
        if (8 * groups < n)
            NearestRow(dst[r] + 8 * groups, src[r], xi + 8 * groups, n - 8 * groups);
    }
}
#endif

#endif // DP_SIMD_TARGET_USED

void FillBlend(BlendKernels& t)
{
#if DP_SIMD_TARGET_USED
    t.alphaOverRow = AlphaOverRow;
#else
    (void)t;
#endif
}

void FillGeometry(GeometryKernels& t)
{
#if DP_SIMD_TARGET_USED
    t.quarterTurn = QuarterTurn;
    t.linearRow = LinearRow;
#if HWY_TARGET == HWY_AVX2 || HWY_TARGET == HWY_AVX3 || HWY_TARGET == HWY_SSE4
    t.linearRows = LinearRowsWindows;
    t.nearestRows = NearestRowsWindows;
#endif
    t.nearestRow = NearestRow;
#else
    (void)t;
#endif
}

} // namespace HWY_NAMESPACE
} // namespace orv
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace orv {
SimdFillers<GeometryKernels> GeometrySimdFillers() { return DP_SIMD_FILLERS(GeometryKernels, FillGeometry); }
SimdFillers<BlendKernels> BlendSimdFillers() { return DP_SIMD_FILLERS(BlendKernels, FillBlend); }
} // namespace orv
#endif
