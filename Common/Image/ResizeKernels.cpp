#include "ResizeKernels.h"

#include <cmath>

#include "KernelDispatch.h"

namespace {

// Two-stage truncating bilinear, see ResizeKernels.h. Every product is at
// most 4096 * 255, so plain int arithmetic is exact.
inline int Lerp12(int a, int b, int f) { return ((4096 - f) * a + f * b) / 4096; }

inline int Bilinear12(int p00, int p10, int p01, int p11, int fx, int fy)
{
    return Lerp12(Lerp12(p00, p10, fx), Lerp12(p01, p11, fx), fy);
}

// Column of destination pixel c: whole source column and 12-bit fraction.
inline void Column(int64_t pos, int64_t* sx, int* fx)
{
    *sx = pos >> 12;
    *fx = static_cast<int>(pos & 4095);
}

// ---- 32-bit pixels ----

void Bilinear32_C(uint8_t* dst, const uint8_t* top, const uint8_t* bottom, int fy, int64_t stepX, int n)
{
    for (int c = 0; c < n; ++c) {
        int64_t sx;
        int fx;
        Column(c * stepX, &sx, &fx);
        const uint8_t* t0 = top + sx * 4;
        const uint8_t* b0 = bottom + sx * 4;
        const uint8_t* t1 = fx ? t0 + 4 : t0;
        const uint8_t* b1 = fx ? b0 + 4 : b0;
        uint8_t* d = dst + static_cast<int64_t>(c) * 4;
        for (int b = 0; b < 3; ++b)
            d[b] = static_cast<uint8_t>(Bilinear12(t0[b], t1[b], b0[b], b1[b], fx, fy));
        d[3] = t0[3];
    }
}

void Nearest32_C(uint8_t* dst, const uint8_t* src, int64_t stepX, int n)
{
    for (int c = 0; c < n; ++c) {
        const uint8_t* s = src + ((c * stepX) >> 12) * 4;
        uint8_t* d = dst + static_cast<int64_t>(c) * 4;
        d[0] = s[0];
        d[1] = s[1];
        d[2] = s[2];
        d[3] = s[3];
    }
}

// Pre-smoothing of four samples before a cubic pass (integer divisions
// truncate toward zero): p1 = (p0 + p1 + (p3 - p0)/3)/2,
// p2 = (p0 + p2 + 2(p3 - p0)/3)/2; p0 and p3 stay.
inline void Smooth4(int p[4])
{
    const int d = p[3] - p[0];
    const int p1 = (p[0] + p[1] + d / 3) / 2;
    const int p2 = (p[0] + p[2] + 2 * d / 3) / 2;
    p[1] = p1;
    p[2] = p2;
}

// Weights are polynomials of a fraction with 12 bits, so they are multiples
// of 2^-36 below 2 in size: they and the four-term sums below are exact in
// double, whatever the order of evaluation.
inline void CubicWeights(double t, double w[4])
{
    w[0] = CubicWeight(1.0 + t);
    w[1] = CubicWeight(t);
    w[2] = CubicWeight(1.0 - t);
    w[3] = CubicWeight(2.0 - t);
}

// "Adding 0.5 and truncating" toward zero; the values stay within a few
// thousand, far from the int range.
inline int RoundHalfTrunc(double v) { return static_cast<int>(v + 0.5); }

void Convolve32_C(uint8_t* dst, const uint8_t* const rows[4], const double wy[4], int last, int64_t stepX, int n,
                  bool hSmooth, bool vSmooth)
{
    for (int c = 0; c < n; ++c) {
        const int64_t pos = c * stepX;
        const int64_t sx = pos >> 12;
        const double q = static_cast<double>(pos) / 4096.0;
        double wx[4];
        CubicWeights(q - std::floor(q), wx);
        int64_t cols[4];
        for (int j = 0; j < 4; ++j) {
            int64_t v = sx - 1 + j;
            cols[j] = v < 0 ? 0 : (v > last ? last : v);
        }
        uint8_t* d = dst + static_cast<int64_t>(c) * 4;
        for (int b = 0; b < 3; ++b) {
            int h[4];
            for (int r = 0; r < 4; ++r) {
                int p[4];
                for (int j = 0; j < 4; ++j)
                    p[j] = rows[r][cols[j] * 4 + b];
                if (hSmooth)
                    Smooth4(p);
                // Row results are not clamped.
                h[r] = RoundHalfTrunc(wx[0] * p[0] + wx[1] * p[1] + wx[2] * p[2] + wx[3] * p[3]);
            }
            if (vSmooth)
                Smooth4(h);
            const int v = RoundHalfTrunc(wy[0] * h[0] + wy[1] * h[1] + wy[2] * h[2] + wy[3] * h[3]);
            d[b] = static_cast<uint8_t>(v < 0 ? 0 : (v > 255 ? 255 : v));
        }
        d[3] = rows[1][sx * 4 + 3];
    }
}

// ---- 8-bit planes ----

void Bilinear8_C(uint8_t* dst, const uint8_t* top, const uint8_t* bottom, int fy, int64_t stepX, int n)
{
    for (int c = 0; c < n; ++c) {
        int64_t sx;
        int fx;
        Column(c * stepX, &sx, &fx);
        const int64_t sx1 = fx ? sx + 1 : sx;
        dst[c] = static_cast<uint8_t>(Bilinear12(top[sx], top[sx1], bottom[sx], bottom[sx1], fx, fy));
    }
}

void Nearest8_C(uint8_t* dst, const uint8_t* src, int64_t stepX, int n)
{
    for (int c = 0; c < n; ++c)
        dst[c] = src[(c * stepX) >> 12];
}

void Table8_C(uint8_t* dst, const uint8_t* src, const int32_t* table, int n)
{
    for (int i = 0; i < n; ++i)
        dst[i] = src[table[i]];
}

void Average4_C(uint8_t* dst, const uint8_t* row0, const uint8_t* row1, int64_t stepX, int n)
{
    for (int i = 0; i < n; ++i) {
        const int64_t x0 = (i * stepX) >> 12;
        const int64_t x1 = ((i + 1) * stepX) >> 12;
        dst[i] = static_cast<uint8_t>((row0[x0] + row0[x1] + row1[x0] + row1[x1]) >> 2);
    }
}

// ---- 4:2:0 chroma ----

void BilinearUV_C(uint8_t* dst, const uint8_t* top, const uint8_t* bottom, int fy, int x, int64_t stepX, int n)
{
    for (int k = 0; k < n; ++k) {
        int64_t sx;
        int fx;
        Column(2 * k * stepX, &sx, &fx);
        sx += x;
        // Neighbouring chroma samples mix only when the luma position is odd.
        const int64_t c0 = sx / 2;
        const int64_t c1 = fx ? (sx + 1) / 2 : c0;
        dst[k] = static_cast<uint8_t>(Bilinear12(top[c0], top[c1], bottom[c0], bottom[c1], fx, fy));
    }
}

void NearestUV_C(uint8_t* dst, const uint8_t* src, int x, int64_t stepX, int n)
{
    for (int k = 0; k < n; ++k)
        dst[k] = src[(x + ((2 * k * stepX) >> 12)) / 2];
}

// ---- overlays ----

inline void BlendColour(uint8_t* d, const uint8_t* colour, int a)
{
    for (int b = 0; b < 3; ++b)
        d[b] = static_cast<uint8_t>((colour[b] * a + (255 - a) * d[b]) / 255);
}

void AlphaBilinear_C(uint8_t* dst, const uint8_t* top, const uint8_t* bottom, int fy, int64_t stepX, int n)
{
    for (int c = 0; c < n; ++c) {
        int64_t sx;
        int fx;
        Column(c * stepX, &sx, &fx);
        const uint8_t* t0 = top + sx * 4;
        const uint8_t* b0 = bottom + sx * 4;
        const uint8_t* t1 = fx ? t0 + 4 : t0;
        const uint8_t* b1 = fx ? b0 + 4 : b0;
        uint8_t colour[3];
        for (int b = 0; b < 3; ++b)
            colour[b] = static_cast<uint8_t>(Bilinear12(t0[b], t1[b], b0[b], b1[b], fx, fy));
        const int a = t0[3];
        uint8_t* d = dst + static_cast<int64_t>(c) * 4;
        BlendColour(d, colour, a);
        d[3] = static_cast<uint8_t>((255 - a) * d[3] / 255 + a);
    }
}

void AlphaNearest_C(uint8_t* dst, const uint8_t* src, int64_t stepX, int n)
{
    for (int c = 0; c < n; ++c) {
        const uint8_t* s = src + ((c * stepX) >> 12) * 4;
        BlendColour(dst + static_cast<int64_t>(c) * 4, s, s[3]);
    }
}

inline void ApplyMask(uint8_t* d, int m)
{
    if (m == 0) {
        d[0] = 0;
        d[1] = 0;
        d[2] = 0;
        d[3] = 0;
    }
    d[3] = static_cast<uint8_t>(m * d[3] / 255);
}

void MaskBilinear_C(uint8_t* dst, const uint8_t* top, const uint8_t* bottom, int fy, int64_t stepX, int n)
{
    for (int c = 0; c < n; ++c) {
        int64_t sx;
        int fx;
        Column(c * stepX, &sx, &fx);
        const int64_t sx1 = fx ? sx + 1 : sx;
        const int m = Bilinear12(top[sx], top[sx1], bottom[sx], bottom[sx1], fx, fy) & 0xFF;
        ApplyMask(dst + static_cast<int64_t>(c) * 4, m);
    }
}

void MaskNearest_C(uint8_t* dst, const uint8_t* src, int64_t stepX, int n)
{
    for (int c = 0; c < n; ++c)
        ApplyMask(dst + static_cast<int64_t>(c) * 4, src[(c * stepX) >> 12]);
}

const Scale32Kernels kScale32Reference = {Bilinear32_C, Nearest32_C, Convolve32_C};
const Plane8Kernels kPlane8Reference = {Bilinear8_C, Nearest8_C, Table8_C, Average4_C};
const ChromaKernels kChromaReference = {BilinearUV_C, NearestUV_C};
const OverlayKernels kOverlayReference = {AlphaBilinear_C, AlphaNearest_C, MaskBilinear_C, MaskNearest_C};

} // namespace

double CubicWeight(double d)
{
    if (d < 0.0)
        d = -d;
    if (d < 1.0)
        return d * d * d - 2.0 * d * d + 1.0;
    if (d < 2.0)
        return -d * d * d + 5.0 * d * d - 8.0 * d + 4.0;
    return 0.0;
}

const Scale32Kernels& ReferenceScale32Kernels() { return kScale32Reference; }
const Plane8Kernels& ReferencePlane8Kernels() { return kPlane8Reference; }
const ChromaKernels& ReferenceChromaKernels() { return kChromaReference; }
const OverlayKernels& ReferenceOverlayKernels() { return kOverlayReference; }

#if !DP_HAVE_HIGHWAY
SimdFillers<Scale32Kernels> Scale32SimdFillers() { return {}; }
SimdFillers<Plane8Kernels> Plane8SimdFillers() { return {}; }
SimdFillers<ChromaKernels> ChromaSimdFillers() { return {}; }
SimdFillers<OverlayKernels> OverlaySimdFillers() { return {}; }
#endif

const Scale32Kernels& GetScale32Kernels()
{
    static const KernelLadder<Scale32Kernels> ladder(kScale32Reference, Scale32SimdFillers());
    return ladder.Get();
}

const Plane8Kernels& GetPlane8Kernels()
{
    static const KernelLadder<Plane8Kernels> ladder(kPlane8Reference, Plane8SimdFillers());
    return ladder.Get();
}

const ChromaKernels& GetChromaKernels()
{
    static const KernelLadder<ChromaKernels> ladder(kChromaReference, ChromaSimdFillers());
    return ladder.Get();
}

const OverlayKernels& GetOverlayKernels()
{
    static const KernelLadder<OverlayKernels> ladder(kOverlayReference, OverlaySimdFillers());
    return ladder.Get();
}
