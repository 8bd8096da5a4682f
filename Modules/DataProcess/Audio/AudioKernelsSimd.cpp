// Vector twins of the audio sample kernels (AudioKernels.cpp), one source
// compiled by Highway for every SIMD level. Each twin gives the same samples
// as its reference: the floating-point steps are the reference's operations
// in the reference's order (one lane per frame), the integer ones keep its
// widths and truncations.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "AudioKernelsSimd.cpp"
#include <hwy/foreach_target.h> // IWYU pragma: keep
#include <hwy/highway.h>

#include <climits>
#include <cstring>

#include "AudioKernels.h"
#include "SimdTargets.h"

HWY_BEFORE_NAMESPACE();
namespace dpaudio {
namespace HWY_NAMESPACE {
namespace hn = hwy::HWY_NAMESPACE;

#if DP_SIMD_TARGET_USED

using DD = hn::ScalableTag<double>;
using DI32 = hn::Rebind<int32_t, DD>; // as many int32 lanes as doubles
using VD = hn::Vec<DD>;
using VI32 = hn::Vec<DI32>;

constexpr int kChunk = 256; // output frames per pass
constexpr size_t kMaxDoubleLanes = HWY_MAX_BYTES / sizeof(double);

// ---- rate stage ----

// A chunk is made in three passes: the positions of its frames in vectors
// (double lanes, the reference's operations in order), the two neighbouring
// input frames of each fetched by scalar loads into lane arrays (vector
// gathers are slower than that on the CPUs this runs on), and the samples in
// vectors. Mono and stereo have twins; other channel counts keep the
// reference.
struct Chunk {
    HWY_ALIGN double frac[kChunk];
    HWY_ALIGN int32_t idx[kChunk];
    // The neighbour frames a (idx) and b (idx + 1): for mono the samples
    // themselves, for stereo the frame's two samples as one 32-bit word
    // (left in the low half).
    HWY_ALIGN int32_t a[kChunk];
    HWY_ALIGN int32_t b[kChunk];
};

// v = a + trunc(frac * (b - a)), clipped to [-32767, 32767]. b - a fits 17
// bits and converts to double exactly; the product is truncated like the
// reference's int conversion (|product| < 65536, in int32 range).
HWY_INLINE VI32 Sample(VD frac, VI32 a, VI32 b)
{
    const DD dd;
    const DI32 di;
    const VD prod = hn::Mul(frac, hn::PromoteTo(dd, hn::Sub(b, a)));
    const VI32 v = hn::Add(a, hn::DemoteTo(di, prod));
    return hn::Min(hn::Max(v, hn::Set(di, -32767)), hn::Set(di, 32767));
}

void Interpolate(short* pOut, const short* W, long long frames, int ch, long long n, long long out)
{
    // Frame indices and counts must fit the int32 lanes.
    if ((ch != 1 && ch != 2) || frames <= 0 || n >= INT_MAX / 2 || frames >= INT_MAX / 2)
        return ReferenceAudioKernels().interpolate(pOut, W, frames, ch, n, out);
    const DD dd;
    const DI32 di;
    const size_t lanes = hn::Lanes(dd);
    const VD nd = hn::Set(dd, static_cast<double>(n));
    const VD od = hn::Set(dd, static_cast<double>(out));
    const VD one = hn::Set(dd, 1.0);
    Chunk c;
    for (long long i0 = 0; i0 < frames; i0 += kChunk) {
        const int count = static_cast<int>(frames - i0 < kChunk ? frames - i0 : kChunk);
        // Pass 1: pos = (i + 1.0) * n / out - 1.0; idx = trunc(pos + 1.0) - 1
        // (pos + 1.0 is positive, so truncation and the int conversion agree;
        // idx stays exact in double), at least -1; pos clamped into
        // [idx, idx + 1].
        for (int j = 0; j < count; j += static_cast<int>(lanes)) {
            const VD i = hn::Iota(dd, static_cast<double>(i0 + j));
            VD pos = hn::Sub(hn::Div(hn::Mul(hn::Add(i, one), nd), od), one);
            VD idx = hn::Max(hn::Sub(hn::Trunc(hn::Add(pos, one)), one), hn::Set(dd, -1.0));
            pos = hn::Min(hn::Max(pos, idx), hn::Add(idx, one));
            hn::Store(hn::Sub(pos, idx), dd, c.frac + j);
            hn::Store(hn::DemoteTo(di, idx), di, c.idx + j);
        }
        // Pass 2: the neighbours; lanes past the chunk repeat its last frame.
        const int padded = (count + static_cast<int>(lanes) - 1) / static_cast<int>(lanes) * static_cast<int>(lanes);
        for (int j = count; j < padded; ++j)
            c.idx[j] = c.idx[count - 1];
        if (ch == 1) {
            for (int j = 0; j < padded; ++j) {
                c.a[j] = W[c.idx[j]];
                c.b[j] = W[c.idx[j] + 1];
            }
        } else {
            for (int j = 0; j < padded; ++j) {
                std::memcpy(&c.a[j], W + 2 * static_cast<long long>(c.idx[j]), 4);
                std::memcpy(&c.b[j], W + 2 * static_cast<long long>(c.idx[j]) + 2, 4);
            }
        }
        // Pass 3: the samples, interleaved as frames.
        short* dst = pOut + i0 * ch;
        for (int j = 0; j < count; j += static_cast<int>(lanes)) {
            const VD frac = hn::Load(dd, c.frac + j);
            HWY_ALIGN int16_t tmp[2 * kMaxDoubleLanes];
            const size_t frameBytes = static_cast<size_t>(ch) * sizeof(short);
            const size_t whole = static_cast<size_t>(count - j) < lanes ? static_cast<size_t>(count - j) : lanes;
            if (ch == 1) {
                const VI32 v = Sample(frac, hn::Load(di, c.a + j), hn::Load(di, c.b + j));
                const hn::Rebind<int16_t, DD> d16;
                hn::Store(hn::DemoteTo(d16, v), d16, tmp);
            } else {
                const VI32 a = hn::Load(di, c.a + j);
                const VI32 b = hn::Load(di, c.b + j);
                const auto low = [](VI32 w) { return hn::ShiftRight<16>(hn::ShiftLeft<16>(w)); };
                const VI32 l = Sample(frac, low(a), low(b));
                const VI32 r = Sample(frac, hn::ShiftRight<16>(a), hn::ShiftRight<16>(b));
                // One 32-bit word per frame: left in the low half, right in the high.
                const hn::RebindToUnsigned<DI32> du;
                const auto packed = hn::Or(hn::And(hn::BitCast(du, l), hn::Set(du, 0xFFFFu)),
                                           hn::ShiftLeft<16>(hn::BitCast(du, r)));
                hn::Store(packed, du, reinterpret_cast<uint32_t*>(tmp));
            }
            std::memcpy(dst + static_cast<long long>(j) * ch, tmp, whole * frameBytes);
        }
    }
}

// ---- 6 -> 2 channel stage ----

// x / 2 and x / 4 truncating toward zero: add 1 (or 3) to a negative x
// before the arithmetic shift.
template <int kShift, class V>
HWY_INLINE V DivPow2(V x)
{
    const hn::DFromV<V> d;
    const V negBias = hn::IfThenElseZero(hn::Lt(x, hn::Zero(d)), hn::Set(d, (1 << kShift) - 1));
    return hn::ShiftRight<kShift>(hn::Add(x, negBias));
}

void Mix6To2(short* dst, const short* src, long long frames)
{
    const hn::ScalableTag<uint32_t> du;
    const hn::RebindToSigned<decltype(du)> di;
    const long long lanes = static_cast<long long>(hn::Lanes(du));
    long long f = 0;
    for (; f + lanes <= frames; f += lanes) {
        // A frame is three 32-bit words: (FL, FR), (C, LFE), (SL, SR).
        hn::Vec<decltype(du)> w01, w23, w45;
        hn::LoadInterleaved3(du, reinterpret_cast<const uint32_t*>(src + f * 6), w01, w23, w45);
        const auto lo = [&](hn::Vec<decltype(du)> w) { return hn::ShiftRight<16>(hn::BitCast(di, hn::ShiftLeft<16>(w))); };
        const auto hi = [&](hn::Vec<decltype(du)> w) { return hn::ShiftRight<16>(hn::BitCast(di, w)); };
        const auto centre = hn::Add(DivPow2<1>(lo(w23)), DivPow2<1>(hi(w23)));
        const auto left = hn::Add(hn::Add(lo(w01), centre), DivPow2<2>(lo(w45)));
        const auto right = hn::Add(hn::Add(hi(w01), centre), DivPow2<2>(hi(w45)));
        const auto clip = [&](hn::Vec<decltype(di)> v) {
            return hn::Min(hn::Max(v, hn::Set(di, -32767)), hn::Set(di, 32767));
        };
        const auto packed = hn::Or(hn::And(hn::BitCast(du, clip(left)), hn::Set(du, 0xFFFFu)),
                                   hn::ShiftLeft<16>(hn::BitCast(du, clip(right))));
        hn::StoreU(packed, du, reinterpret_cast<uint32_t*>(dst + f * 2));
    }
    if (f < frames)
        ReferenceAudioKernels().mix6to2(dst + f * 2, src + f * 6, frames - f);
}

// ---- volume ----

// s * vol / 100 truncating toward zero: with |vol| <= 65535 the product fits
// int32, and a quotient of two integers below 2^31 in double truncates to
// the integer quotient (the rounding of the division cannot cross an
// integer: the fraction of x / 100 is a multiple of 0.01, far coarser than
// the double's spacing there).
template <class DIh>
HWY_INLINE hn::Vec<DIh> Div100(DIh di, hn::Vec<DIh> x)
{
    const hn::Rebind<double, DIh> dd;
    return hn::DemoteTo(di, hn::Div(hn::PromoteTo(dd, x), hn::Set(dd, 100.0)));
}

void Volume16(short* p, int n, int vol)
{
    if (vol < -65535 || vol > 65535)
        return ReferenceAudioKernels().volume16(p, n, vol);
    const DD dd;
    const DI32 di;
    const hn::Rebind<int16_t, DD> d16;
    const size_t lanes = hn::Lanes(dd);
    const auto vv = hn::Set(di, vol);
    int i = 0;
    for (; i + static_cast<int>(lanes) <= n; i += static_cast<int>(lanes)) {
        // LoadU/StoreU of int16 lanes: the frame may sit at any address.
        const auto s = hn::PromoteTo(di, hn::LoadU(d16, p + i));
        auto v = Div100(di, hn::Mul(s, vv));
        v = hn::Min(hn::Max(v, hn::Set(di, -32767)), hn::Set(di, 32767));
        hn::StoreU(hn::DemoteTo(d16, v), d16, p + i);
    }
    if (i < n)
        ReferenceAudioKernels().volume16(p + i, n - i, vol);
}

void Volume8(unsigned char* p, int n, int vol)
{
    if (vol < -65535 || vol > 65535)
        return ReferenceAudioKernels().volume8(p, n, vol);
    const DD dd;
    const DI32 di;
    const hn::Rebind<uint8_t, DD> d8;
    const size_t lanes = hn::Lanes(dd);
    const auto vv = hn::Set(di, vol);
    int i = 0;
    for (; i + static_cast<int>(lanes) <= n; i += static_cast<int>(lanes)) {
        const auto b = hn::BitCast(di, hn::PromoteTo(hn::RebindToUnsigned<DI32>(), hn::LoadU(d8, p + i)));
        auto v = Div100(di, hn::Mul(b, vv));
        // Kept deliberately: signed limits on an unsigned reading.
        v = hn::Min(hn::Max(v, hn::Set(di, -127)), hn::Set(di, 127));
        const auto low = hn::And(hn::BitCast(hn::RebindToUnsigned<DI32>(), v), hn::Set(hn::RebindToUnsigned<DI32>(), 0xFFu));
        hn::StoreU(hn::DemoteTo(d8, hn::BitCast(di, low)), d8, p + i);
    }
    if (i < n)
        ReferenceAudioKernels().volume8(p + i, n - i, vol);
}

#endif // DP_SIMD_TARGET_USED

void FillAudio(AudioKernels& t)
{
#if DP_SIMD_TARGET_USED
    t.interpolate = Interpolate;
    t.mix6to2 = Mix6To2;
    t.volume16 = Volume16;
    t.volume8 = Volume8;
#else
    (void)t;
#endif
}

} // namespace HWY_NAMESPACE
} // namespace dpaudio
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace dpaudio {
SimdFillers<AudioKernels> Fillers() { return DP_SIMD_FILLERS(AudioKernels, FillAudio); }
} // namespace dpaudio
SimdFillers<AudioKernels> AudioSimdFillers() { return dpaudio::Fillers(); }
#endif
