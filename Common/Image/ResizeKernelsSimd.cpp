// Vector twins of the own plane scalers' row kernels (ResizeKernels.cpp),
// one source compiled by Highway for every SIMD level. Each twin gives the
// same bytes as its reference on every input.
//
// One destination column (one pixel) per 32-bit lane. The arithmetic is the
// reference's: every product of the two-stage bilinear form is at most
// 4096 * 255 < 2^20 and every division is of a non-negative value by 4096
// (a shift), so unsigned 32-bit lanes are exact. Source samples are fetched
// with 32-bit gathers at byte offsets; a gather never reads a byte the
// reference does not read (see GatherBytePair). The cubic convolution and
// rows whose positions would not fit 31 bits stay with the reference.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "ResizeKernelsSimd.cpp"
#include <hwy/foreach_target.h> // IWYU pragma: keep
#include <hwy/highway.h>

#include <cstring>

#include "ResizeKernels.h"
#include "SimdTargets.h"

HWY_BEFORE_NAMESPACE();
namespace dpsimd {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

#if DP_SIMD_TARGET_USED

using DU = hn::ScalableTag<uint32_t>;
using DI = hn::RebindToSigned<DU>;
using VU = hn::Vec<DU>;

constexpr size_t kMaxLanes = HWY_MAX_BYTES / sizeof(uint32_t);

// True when every position c * step (c <= n) of a row fits 31 bits, so the
// lanes can hold positions as they are.
inline bool PositionsFit(int64_t step, int64_t n) { return step >= 0 && step * (n + 1) < (int64_t{1} << 31); }

// The shared tail of every twin: whole blocks of lanes columns go straight to
// `block(out, c)`; the last, partial block is computed into a scratch row
// that starts as a copy of the destination (the overlays read it) and only
// its first n - c pixels are copied back. A block clamps its columns to
// n - 1, so its extra lanes read nothing the last column does not.
template <class Block>
HWY_INLINE void Row(uint8_t* dst, int n, size_t bpp, const Block& block)
{
    const DU du;
    const int lanes = static_cast<int>(hn::Lanes(du));
    int c = 0;
    for (; c + lanes <= n; c += lanes)
        block(dst + static_cast<size_t>(c) * bpp, c);
    if (c < n) {
        HWY_ALIGN uint8_t tmp[kMaxLanes * 4] = {};
        const size_t bytes = static_cast<size_t>(n - c) * bpp;
        std::memcpy(tmp, dst + static_cast<size_t>(c) * bpp, bytes);
        block(tmp, c);
        std::memcpy(dst + static_cast<size_t>(c) * bpp, tmp, bytes);
    }
}

// Columns c .. c + lanes - 1, clamped to last.
HWY_INLINE VU Columns(int c, int last)
{
    const DU du;
    return hn::Min(hn::Iota(du, static_cast<uint32_t>(c)), hn::Set(du, static_cast<uint32_t>(last)));
}

// The four bytes at src + off (off is a byte offset per lane).
HWY_INLINE VU GatherWord(const uint8_t* src, VU off)
{
    const DU du;
    const DI di;
    return hn::BitCast(du, hn::GatherOffset(di, reinterpret_cast<const int32_t*>(src), hn::BitCast(di, off)));
}

// Byte bytePos (0..3) of each lane's word.
HWY_INLINE VU ByteOf(VU word, VU bytePos) { return hn::And(word >> hn::ShiftLeft<3>(bytePos), hn::Set(DU(), 255)); }

// Bytes src[i0] and src[i1] per lane, i0 <= i1 <= i0 + 1 <= maxRead, where
// maxRead (>= 3) is the last byte the reference reads: one word is read at
// min(i0, maxRead - 3), which holds both and ends at or before maxRead.
HWY_INLINE void GatherBytePair(const uint8_t* src, VU i0, VU i1, VU hi, VU* b0, VU* b1)
{
    const VU off = hn::Min(i0, hi);
    const VU word = GatherWord(src, off);
    *b0 = ByteOf(word, hn::Sub(i0, off));
    *b1 = ByteOf(word, hn::Sub(i1, off));
}

HWY_INLINE VU GatherByte(const uint8_t* src, VU i, VU hi)
{
    const VU off = hn::Min(i, hi);
    return ByteOf(GatherWord(src, off), hn::Sub(i, off));
}

// Lerp12: ((4096 - f) * a + f * b) / 4096.
HWY_INLINE VU Lerp12(VU a, VU b, VU f)
{
    const VU k4096 = hn::Set(DU(), 4096);
    return hn::ShiftRight<12>(hn::Add(hn::Mul(hn::Sub(k4096, f), a), hn::Mul(f, b)));
}

// x / 255 for 0 <= x <= 65535: (x * 0x8081) >> 23 is exact there and the
// product stays below 2^32.
HWY_INLINE VU Div255(VU x) { return hn::ShiftRight<23>(hn::Mul(x, hn::Set(DU(), 0x8081))); }

HWY_INLINE void StoreBytes(VU v, uint8_t* dst)
{
    const hn::Rebind<uint8_t, DU> d8;
    hn::StoreU(hn::DemoteTo(d8, hn::BitCast(DI(), v)), d8, dst);
}

HWY_INLINE void StorePixels(VU v, uint8_t* dst)
{
    const hn::Repartition<uint8_t, DU> d8;
    hn::StoreU(hn::BitCast(d8, v), d8, dst);
}

HWY_INLINE VU LoadPixels(const uint8_t* src)
{
    const hn::Repartition<uint8_t, DU> d8;
    return hn::BitCast(DU(), hn::LoadU(d8, src));
}

HWY_INLINE VU Channel(VU pixel, int b)
{
    return hn::And(pixel >> hn::Set(DU(), static_cast<uint32_t>(8 * b)), hn::Set(DU(), 255));
}

// Column positions of a block: whole column sx, fraction fx and the
// neighbour sx1 (sx + 1 when fx is not 0, as the reference reads it).
struct Taps {
    VU sx, fx, sx1;
};

HWY_INLINE Taps ColumnTaps(VU pos)
{
    const DU du;
    Taps t;
    t.sx = hn::ShiftRight<12>(pos);
    t.fx = hn::And(pos, hn::Set(du, 4095));
    t.sx1 = hn::Add(t.sx, hn::Min(t.fx, hn::Set(du, 1)));
    return t;
}

// The last byte a bilinear row reads: the last column's neighbour (positions
// increase, so no earlier column reads further).
inline int64_t LastRead(int64_t pos) { return (pos >> 12) + ((pos & 4095) ? 1 : 0); }

// ---- 8-bit planes ----

void Bilinear8(uint8_t* dst, const uint8_t* top, const uint8_t* bottom, int fy, int64_t stepX, int n)
{
    const int64_t maxRead = n > 0 ? LastRead((n - 1) * stepX) : 0;
    if (n <= 0 || !PositionsFit(stepX, n) || maxRead < 3)
        return ReferencePlane8Kernels().bilinear(dst, top, bottom, fy, stepX, n);
    const DU du;
    const VU step = hn::Set(du, static_cast<uint32_t>(stepX));
    const VU hi = hn::Set(du, static_cast<uint32_t>(maxRead - 3));
    const VU vfy = hn::Set(du, static_cast<uint32_t>(fy));
    Row(dst, n, 1, [&](uint8_t* out, int c) {
        const Taps t = ColumnTaps(hn::Mul(Columns(c, n - 1), step));
        VU t0, t1, b0, b1;
        GatherBytePair(top, t.sx, t.sx1, hi, &t0, &t1);
        GatherBytePair(bottom, t.sx, t.sx1, hi, &b0, &b1);
        StoreBytes(Lerp12(Lerp12(t0, t1, t.fx), Lerp12(b0, b1, t.fx), vfy), out);
    });
}

void Nearest8(uint8_t* dst, const uint8_t* src, int64_t stepX, int n)
{
    const int64_t maxRead = n > 0 ? ((n - 1) * stepX) >> 12 : 0;
    if (n <= 0 || !PositionsFit(stepX, n) || maxRead < 3)
        return ReferencePlane8Kernels().nearest(dst, src, stepX, n);
    const DU du;
    const VU step = hn::Set(du, static_cast<uint32_t>(stepX));
    const VU hi = hn::Set(du, static_cast<uint32_t>(maxRead - 3));
    Row(dst, n, 1, [&](uint8_t* out, int c) {
        StoreBytes(GatherByte(src, hn::ShiftRight<12>(hn::Mul(Columns(c, n - 1), step)), hi), out);
    });
}

void Table8(uint8_t* dst, const uint8_t* src, const int32_t* table, int n)
{
    if (n <= 0)
        return;
    // The largest index decides how far a gather may reach.
    int32_t maxRead = 0;
    bool negative = false;
    for (int i = 0; i < n; ++i) {
        maxRead = table[i] > maxRead ? table[i] : maxRead;
        negative |= table[i] < 0;
    }
    if (maxRead < 3 || negative)
        return ReferencePlane8Kernels().table(dst, src, table, n);
    const DU du;
    const VU hi = hn::Set(du, static_cast<uint32_t>(maxRead - 3));
    const int lanes = static_cast<int>(hn::Lanes(du));
    Row(dst, n, 1, [&](uint8_t* out, int c) {
        VU idx;
        if (c + lanes <= n) {
            idx = hn::BitCast(du, hn::LoadU(DI(), table + c));
        } else {
            // The table ends with the row: the extra lanes repeat its last entry.
            HWY_ALIGN int32_t part[kMaxLanes];
            for (int i = 0; i < lanes; ++i)
                part[i] = table[c + i < n ? c + i : n - 1];
            idx = hn::BitCast(du, hn::Load(DI(), part));
        }
        StoreBytes(GatherByte(src, idx, hi), out);
    });
}

void Average4(uint8_t* dst, const uint8_t* row0, const uint8_t* row1, int64_t stepX, int n)
{
    const int64_t maxRead = n > 0 ? (n * stepX) >> 12 : 0;
    if (n <= 0 || !PositionsFit(stepX, n) || maxRead < 3)
        return ReferencePlane8Kernels().average4(dst, row0, row1, stepX, n);
    const DU du;
    const VU step = hn::Set(du, static_cast<uint32_t>(stepX));
    const VU hi = hn::Set(du, static_cast<uint32_t>(maxRead - 3));
    Row(dst, n, 1, [&](uint8_t* out, int c) {
        const VU col = Columns(c, n - 1);
        const VU x0 = hn::ShiftRight<12>(hn::Mul(col, step));
        const VU x1 = hn::ShiftRight<12>(hn::Mul(hn::Add(col, hn::Set(du, 1)), step));
        const VU sum = hn::Add(hn::Add(GatherByte(row0, x0, hi), GatherByte(row0, x1, hi)),
                               hn::Add(GatherByte(row1, x0, hi), GatherByte(row1, x1, hi)));
        StoreBytes(hn::ShiftRight<2>(sum), out);
    });
}

// ---- 4:2:0 chroma ----

void BilinearUV(uint8_t* dst, const uint8_t* top, const uint8_t* bottom, int fy, int x, int64_t stepX, int n)
{
    int64_t maxRead = 0;
    if (n > 0) {
        const int64_t pos = 2 * static_cast<int64_t>(n - 1) * stepX;
        const int64_t sx = x + (pos >> 12);
        maxRead = (pos & 4095) ? (sx + 1) / 2 : sx / 2;
    }
    if (n <= 0 || x < 0 || !PositionsFit(2 * stepX, n) || maxRead < 3 || x + maxRead * 2 + 2 >= (int64_t{1} << 31))
        return ReferenceChromaKernels().bilinear(dst, top, bottom, fy, x, stepX, n);
    const DU du;
    const VU step2 = hn::Set(du, static_cast<uint32_t>(2 * stepX));
    const VU vx = hn::Set(du, static_cast<uint32_t>(x));
    const VU hi = hn::Set(du, static_cast<uint32_t>(maxRead - 3));
    const VU vfy = hn::Set(du, static_cast<uint32_t>(fy));
    Row(dst, n, 1, [&](uint8_t* out, int k) {
        const VU pos = hn::Mul(Columns(k, n - 1), step2);
        const VU sx = hn::Add(vx, hn::ShiftRight<12>(pos));
        const VU fx = hn::And(pos, hn::Set(du, 4095));
        // Neighbouring chroma samples mix only when the luma position is odd.
        const VU c0 = hn::ShiftRight<1>(sx);
        const VU c1 = hn::ShiftRight<1>(hn::Add(sx, hn::Min(fx, hn::Set(du, 1))));
        VU t0, t1, b0, b1;
        GatherBytePair(top, c0, c1, hi, &t0, &t1);
        GatherBytePair(bottom, c0, c1, hi, &b0, &b1);
        StoreBytes(Lerp12(Lerp12(t0, t1, fx), Lerp12(b0, b1, fx), vfy), out);
    });
}

void NearestUV(uint8_t* dst, const uint8_t* src, int x, int64_t stepX, int n)
{
    const int64_t maxRead = n > 0 ? (x + ((2 * static_cast<int64_t>(n - 1) * stepX) >> 12)) / 2 : 0;
    if (n <= 0 || x < 0 || !PositionsFit(2 * stepX, n) || maxRead < 3 || maxRead * 2 + 2 >= (int64_t{1} << 31))
        return ReferenceChromaKernels().nearest(dst, src, x, stepX, n);
    const DU du;
    const VU step2 = hn::Set(du, static_cast<uint32_t>(2 * stepX));
    const VU vx = hn::Set(du, static_cast<uint32_t>(x));
    const VU hi = hn::Set(du, static_cast<uint32_t>(maxRead - 3));
    Row(dst, n, 1, [&](uint8_t* out, int k) {
        const VU sx = hn::Add(vx, hn::ShiftRight<12>(hn::Mul(Columns(k, n - 1), step2)));
        StoreBytes(GatherByte(src, hn::ShiftRight<1>(sx), hi), out);
    });
}

// ---- 32-bit pixels (whole pixels are gathered: a pixel's four bytes are
// exactly the bytes the reference reads of it) ----

// The three colour bytes bilinear, from the pixels t0, t1 (top) and b0, b1
// (bottom); the fourth byte is 0.
HWY_INLINE VU BilinearColour(VU t0, VU t1, VU b0, VU b1, VU fx, VU fy)
{
    VU colour = hn::Zero(DU());
    for (int b = 0; b < 3; ++b) {
        const VU v = Lerp12(Lerp12(Channel(t0, b), Channel(t1, b), fx), Lerp12(Channel(b0, b), Channel(b1, b), fx), fy);
        colour = hn::Or(colour, v << hn::Set(DU(), static_cast<uint32_t>(8 * b)));
    }
    return colour;
}

struct Quad {
    VU t0, t1, b0, b1, fx;
};

HWY_INLINE Quad GatherQuad(const uint8_t* top, const uint8_t* bottom, VU pos)
{
    const Taps t = ColumnTaps(pos);
    const VU off0 = hn::ShiftLeft<2>(t.sx);
    const VU off1 = hn::ShiftLeft<2>(t.sx1);
    return Quad{GatherWord(top, off0), GatherWord(top, off1), GatherWord(bottom, off0), GatherWord(bottom, off1), t.fx};
}

void Bilinear32(uint8_t* dst, const uint8_t* top, const uint8_t* bottom, int fy, int64_t stepX, int n)
{
    if (n <= 0 || !PositionsFit(stepX, n) || LastRead((n - 1) * stepX) >= (int64_t{1} << 29))
        return ReferenceScale32Kernels().bilinear(dst, top, bottom, fy, stepX, n);
    const DU du;
    const VU step = hn::Set(du, static_cast<uint32_t>(stepX));
    const VU vfy = hn::Set(du, static_cast<uint32_t>(fy));
    const VU alphaMask = hn::Set(du, 0xFF000000u);
    Row(dst, n, 4, [&](uint8_t* out, int c) {
        const Quad q = GatherQuad(top, bottom, hn::Mul(Columns(c, n - 1), step));
        StorePixels(hn::Or(BilinearColour(q.t0, q.t1, q.b0, q.b1, q.fx, vfy), hn::And(q.t0, alphaMask)), out);
    });
}

void Nearest32(uint8_t* dst, const uint8_t* src, int64_t stepX, int n)
{
    if (n <= 0 || !PositionsFit(stepX, n) || (((n - 1) * stepX) >> 12) >= (int64_t{1} << 29))
        return ReferenceScale32Kernels().nearest(dst, src, stepX, n);
    const DU du;
    const VU step = hn::Set(du, static_cast<uint32_t>(stepX));
    Row(dst, n, 4, [&](uint8_t* out, int c) {
        const VU sx = hn::ShiftRight<12>(hn::Mul(Columns(c, n - 1), step));
        StorePixels(GatherWord(src, hn::ShiftLeft<2>(sx)), out);
    });
}

// ---- overlays ----

// (colour * a + (255 - a) * d) / 255 for the three colour bytes of d; the
// fourth byte of the result is 0.
HWY_INLINE VU BlendColour(VU d, VU colour, VU a)
{
    const VU inv = hn::Sub(hn::Set(DU(), 255), a);
    VU out = hn::Zero(DU());
    for (int b = 0; b < 3; ++b) {
        const VU v = Div255(hn::Add(hn::Mul(Channel(colour, b), a), hn::Mul(inv, Channel(d, b))));
        out = hn::Or(out, v << hn::Set(DU(), static_cast<uint32_t>(8 * b)));
    }
    return out;
}

void AlphaBilinear(uint8_t* dst, const uint8_t* top, const uint8_t* bottom, int fy, int64_t stepX, int n)
{
    if (n <= 0 || !PositionsFit(stepX, n) || LastRead((n - 1) * stepX) >= (int64_t{1} << 29))
        return ReferenceOverlayKernels().alphaBilinear(dst, top, bottom, fy, stepX, n);
    const DU du;
    const VU step = hn::Set(du, static_cast<uint32_t>(stepX));
    const VU vfy = hn::Set(du, static_cast<uint32_t>(fy));
    Row(dst, n, 4, [&](uint8_t* out, int c) {
        const Quad q = GatherQuad(top, bottom, hn::Mul(Columns(c, n - 1), step));
        const VU colour = BilinearColour(q.t0, q.t1, q.b0, q.b1, q.fx, vfy);
        const VU a = hn::ShiftRight<24>(q.t0);
        const VU d = LoadPixels(out);
        // d4 = (255 - a) * d4 / 255 + a
        const VU d4 = hn::Add(Div255(hn::Mul(hn::Sub(hn::Set(du, 255), a), hn::ShiftRight<24>(d))), a);
        StorePixels(hn::Or(BlendColour(d, colour, a), hn::ShiftLeft<24>(d4)), out);
    });
}

void AlphaNearest(uint8_t* dst, const uint8_t* src, int64_t stepX, int n)
{
    if (n <= 0 || !PositionsFit(stepX, n) || (((n - 1) * stepX) >> 12) >= (int64_t{1} << 29))
        return ReferenceOverlayKernels().alphaNearest(dst, src, stepX, n);
    const DU du;
    const VU step = hn::Set(du, static_cast<uint32_t>(stepX));
    const VU alphaMask = hn::Set(du, 0xFF000000u);
    Row(dst, n, 4, [&](uint8_t* out, int c) {
        const VU s = GatherWord(src, hn::ShiftLeft<2>(hn::ShiftRight<12>(hn::Mul(Columns(c, n - 1), step))));
        const VU d = LoadPixels(out);
        StorePixels(hn::Or(BlendColour(d, s, hn::ShiftRight<24>(s)), hn::And(d, alphaMask)), out);
    });
}

// Mask m: 0 clears the pixel; then d4 = m * d4 / 255.
HWY_INLINE VU ApplyMask(VU d, VU m)
{
    const DU du;
    const VU d4 = Div255(hn::Mul(m, hn::ShiftRight<24>(d)));
    const VU kept = hn::Or(hn::And(d, hn::Set(du, 0x00FFFFFFu)), hn::ShiftLeft<24>(d4));
    return hn::IfThenZeroElse(hn::Eq(m, hn::Zero(du)), kept);
}

void MaskBilinear(uint8_t* dst, const uint8_t* top, const uint8_t* bottom, int fy, int64_t stepX, int n)
{
    const int64_t maxRead = n > 0 ? LastRead((n - 1) * stepX) : 0;
    if (n <= 0 || !PositionsFit(stepX, n) || maxRead < 3)
        return ReferenceOverlayKernels().maskBilinear(dst, top, bottom, fy, stepX, n);
    const DU du;
    const VU step = hn::Set(du, static_cast<uint32_t>(stepX));
    const VU hi = hn::Set(du, static_cast<uint32_t>(maxRead - 3));
    const VU vfy = hn::Set(du, static_cast<uint32_t>(fy));
    Row(dst, n, 4, [&](uint8_t* out, int c) {
        const Taps t = ColumnTaps(hn::Mul(Columns(c, n - 1), step));
        VU t0, t1, b0, b1;
        GatherBytePair(top, t.sx, t.sx1, hi, &t0, &t1);
        GatherBytePair(bottom, t.sx, t.sx1, hi, &b0, &b1);
        const VU m = hn::And(Lerp12(Lerp12(t0, t1, t.fx), Lerp12(b0, b1, t.fx), vfy), hn::Set(du, 255));
        StorePixels(ApplyMask(LoadPixels(out), m), out);
    });
}

void MaskNearest(uint8_t* dst, const uint8_t* src, int64_t stepX, int n)
{
    const int64_t maxRead = n > 0 ? ((n - 1) * stepX) >> 12 : 0;
    if (n <= 0 || !PositionsFit(stepX, n) || maxRead < 3)
        return ReferenceOverlayKernels().maskNearest(dst, src, stepX, n);
    const DU du;
    const VU step = hn::Set(du, static_cast<uint32_t>(stepX));
    const VU hi = hn::Set(du, static_cast<uint32_t>(maxRead - 3));
    Row(dst, n, 4, [&](uint8_t* out, int c) {
        const VU m = GatherByte(src, hn::ShiftRight<12>(hn::Mul(Columns(c, n - 1), step)), hi);
        StorePixels(ApplyMask(LoadPixels(out), m), out);
    });
}

#endif // DP_SIMD_TARGET_USED

void FillScale32(Scale32Kernels& t)
{
#if DP_SIMD_TARGET_USED
    t.bilinear = Bilinear32;
    t.nearest = Nearest32;
#else
    (void)t;
#endif
}

void FillPlane8(Plane8Kernels& t)
{
#if DP_SIMD_TARGET_USED
    t.bilinear = Bilinear8;
    t.nearest = Nearest8;
    t.table = Table8;
    t.average4 = Average4;
#else
    (void)t;
#endif
}

void FillChroma(ChromaKernels& t)
{
#if DP_SIMD_TARGET_USED
    t.bilinear = BilinearUV;
    t.nearest = NearestUV;
#else
    (void)t;
#endif
}

void FillOverlay(OverlayKernels& t)
{
#if DP_SIMD_TARGET_USED
    t.alphaBilinear = AlphaBilinear;
    t.alphaNearest = AlphaNearest;
    t.maskBilinear = MaskBilinear;
    t.maskNearest = MaskNearest;
#else
    (void)t;
#endif
}

} // namespace HWY_NAMESPACE
} // namespace dpsimd
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace dpsimd {
SimdFillers<Scale32Kernels> Scale32() { return DP_SIMD_FILLERS(Scale32Kernels, FillScale32); }
SimdFillers<Plane8Kernels> Plane8() { return DP_SIMD_FILLERS(Plane8Kernels, FillPlane8); }
SimdFillers<ChromaKernels> Chroma() { return DP_SIMD_FILLERS(ChromaKernels, FillChroma); }
SimdFillers<OverlayKernels> Overlay() { return DP_SIMD_FILLERS(OverlayKernels, FillOverlay); }
} // namespace dpsimd

SimdFillers<Scale32Kernels> Scale32SimdFillers() { return dpsimd::Scale32(); }
SimdFillers<Plane8Kernels> Plane8SimdFillers() { return dpsimd::Plane8(); }
SimdFillers<ChromaKernels> ChromaSimdFillers() { return dpsimd::Chroma(); }
SimdFillers<OverlayKernels> OverlaySimdFillers() { return dpsimd::Overlay(); }
#endif
