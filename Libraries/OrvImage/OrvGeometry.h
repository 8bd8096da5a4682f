// Shared pieces of the geometric routines (resize, centred resize,
// rotation): region clipping, position snapping and per-axis sampling.
#ifndef ORVIMAGE_GEOMETRY_H
#define ORVIMAGE_GEOMETRY_H

#include <cmath>
#include <cstdint>

#include "OrvImage.h"
#include "OrvKernels.h"

namespace orv {

// Destination pixels are handled in runs of at most this many, so that the
// sample tables of a run live on the stack.
constexpr int kRun = 1024;

// A source region clipped to its image: columns x .. x + w - 1, rows
// y .. y + h - 1, all non-empty and inside.
struct Region {
    int x, y, w, h;
};

// Clips roi to the image [0, size.width) x [0, size.height). False when
// nothing is left.
inline bool ClipToImage(const IppiRect& roi, const IppiSize& size, Region* out)
{
    const int64_t x0 = roi.x > 0 ? roi.x : 0;
    const int64_t y0 = roi.y > 0 ? roi.y : 0;
    int64_t x1 = static_cast<int64_t>(roi.x) + roi.width;
    int64_t y1 = static_cast<int64_t>(roi.y) + roi.height;
    if (x1 > size.width)
        x1 = size.width;
    if (y1 > size.height)
        y1 = size.height;
    if (x1 <= x0 || y1 <= y0)
        return false;
    *out = Region{static_cast<int>(x0), static_cast<int>(y0), static_cast<int>(x1 - x0),
                  static_cast<int>(y1 - y0)};
    return true;
}

// A source position t snapped to 16 fractional bits, P = floor(t * 65536 +
// 0.5), still as a double (integer valued) so that it can be range-checked
// before it is converted: a position far outside (or NaN) never becomes an
// integer.
inline double Snap(double t) { return std::floor(t * 65536.0 + 0.5); }

// 16.16 bound of pixel index i.
inline double Fixed(int64_t i) { return static_cast<double>(i * 65536); }

// Nearest: half up, then clamped to the last pixel of the region.
inline int32_t NearestIndex(int64_t p, int32_t last)
{
    const int64_t i = (p + 32768) >> 16;
    return static_cast<int32_t>(i < last ? i : last);
}

// Linear: the pixel at or left of P, its right neighbour clamped to the last
// pixel, and the 8-bit weight of the neighbour (bits 8..15 of P).
inline void LinearIndex(int64_t p, int32_t last, int32_t* i0, int32_t* i1, uint8_t* w)
{
    *i0 = static_cast<int32_t>(p >> 16);
    *i1 = *i0 < last ? *i0 + 1 : last;
    *w = static_cast<uint8_t>((p >> 8) & 0xFF);
}

// Argument checks shared by Resize and ResizeCenter, in the order of the
// status codes: null pointer, step, size, factor, interpolation, region
// outside the image, output under one pixel. On success *clip holds the
// clipped source region.
inline IppStatus CheckResizeArgs(const Ipp8u* pSrc, IppiSize srcSize, int srcStep, IppiRect srcRoi, const Ipp8u* pDst,
                                 int dstStep, IppiSize dstRoiSize, double xFactor, double yFactor, int interpolation,
                                 Region* clip)
{
    if (!pSrc || !pDst)
        return ippStsNullPtrErr;
    if (srcStep <= 0 || dstStep <= 0)
        return ippStsStepErr;
    if (srcSize.width <= 0 || srcSize.height <= 0 || srcRoi.width <= 0 || srcRoi.height <= 0 ||
        dstRoiSize.width <= 0 || dstRoiSize.height <= 0)
        return ippStsSizeErr;
    // Written so that NaN counts as "not above 0".
    if (!(xFactor > 0.0) || !(yFactor > 0.0))
        return ippStsResizeFactorErr;
    if (interpolation != IPPI_INTER_NN && interpolation != IPPI_INTER_LINEAR)
        return ippStsInterpolationErr;
    if (!ClipToImage(srcRoi, srcSize, clip))
        return ippStsWrongIntersectROI;
    if (clip->w * xFactor < 1.0 || clip->h * yFactor < 1.0)
        return ippStsResizeNoOperationErr;
    return ippStsNoErr;
}

// Both resize routines map destination index i of an axis to the source
// position t = a + (i - b) / factor (resize: a = region start, b = 0;
// centred resize: a = b = centre) and write the pixel when the snapped
// position lies in [lo, hi) (16.16). t grows with i, so the written indices
// of an axis are one run.
struct Axis {
    double a, b, factor;
    double lo, hi; // 16.16 bounds, hi excluded
    int32_t last;  // last pixel of the clipped source region
    int count;     // destination pixels on this axis

    // The snapped position of index i, or false when i is not written.
    bool Sample(int i, int64_t* p) const
    {
        const double s = Snap(a + (static_cast<double>(i) - b) / factor);
        if (!(s >= lo && s < hi))
            return false;
        *p = static_cast<int64_t>(s);
        return true;
    }
};

// Separable scaling of a clipped source region into the destination, used
// by both resize routines.
void ResizeSeparable(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep, const Axis& ax, const Axis& ay,
                     int interpolation);

} // namespace orv

#endif // ORVIMAGE_GEOMETRY_H
