#include "OrvGeometry.h"

namespace {

// cos and sin of an angle in degrees. Whole quarter turns get exact values:
// cos(90 deg) in double is 6.1e-17, not 0; snapping to 16 bits would hide
// that anyway, exact values keep the positions exact.
void CosSin(double degrees, double* c, double* s)
{
    if (std::fmod(degrees, 90.0) == 0.0) {
        double q = std::fmod(degrees / 90.0, 4.0);
        if (q < 0)
            q += 4.0;
        static const double kCos[4] = {1.0, 0.0, -1.0, 0.0};
        static const double kSin[4] = {0.0, 1.0, 0.0, -1.0};
        const int i = static_cast<int>(q) & 3;
        *c = kCos[i];
        *s = kSin[i];
        return;
    }
    const double kPi = 3.14159265358979323846;
    const double a = degrees * kPi / 180.0;
    *c = std::cos(a);
    *s = std::sin(a);
}

} // namespace

// Rotation about the source origin, then a shift in destination
// coordinates: X = x cos a + y sin a + xShift, Y = -x sin a + y cos a +
// yShift (a positive angle turns the picture counter-clockwise on screen).
// Each destination pixel of dstRoi is mapped back,
//   u = X - xShift, v = Y - yShift,
//   xs = u cos a - v sin a, ys = u sin a + v cos a,
// and written when (xs, ys), snapped, lies in the clipped source region,
// edges included. Destination pixels at negative coordinates do not exist
// and are skipped.
IppStatus orv_ippiRotate_8u_C1R(const Ipp8u* pSrc, IppiSize srcSize, int srcStep, IppiRect srcRoi, Ipp8u* pDst,
                                int dstStep, IppiRect dstRoi, double angle, double xShift, double yShift,
                                int interpolation)
{
    if (!pSrc || !pDst)
        return ippStsNullPtrErr;
    if (srcStep <= 0 || dstStep <= 0)
        return ippStsStepErr;
    if (srcSize.width <= 0 || srcSize.height <= 0 || srcRoi.width <= 0 || srcRoi.height <= 0 || dstRoi.width <= 0 ||
        dstRoi.height <= 0)
        return ippStsSizeErr;
    if (interpolation != IPPI_INTER_NN && interpolation != IPPI_INTER_LINEAR)
        return ippStsInterpolationErr;
    orv::Region r;
    if (!orv::ClipToImage(srcRoi, srcSize, &r))
        return ippStsWrongIntersectROI;

    double c, s;
    CosSin(angle, &c, &s);
    const bool linear = interpolation == IPPI_INTER_LINEAR;
    const int32_t lastX = r.x + r.w - 1;
    const int32_t lastY = r.y + r.h - 1;
    const double loX = orv::Fixed(r.x), hiX = orv::Fixed(lastX);
    const double loY = orv::Fixed(r.y), hiY = orv::Fixed(lastY);
    const int64_t x0 = dstRoi.x > 0 ? dstRoi.x : 0;
    const int64_t y0 = dstRoi.y > 0 ? dstRoi.y : 0;
    const int64_t x1 = static_cast<int64_t>(dstRoi.x) + dstRoi.width; // excluded
    const int64_t y1 = static_cast<int64_t>(dstRoi.y) + dstRoi.height;

    const orv::GeometryKernels& k = orv::GetGeometryKernels();
    orv::LinearTap lin[orv::kRun];
    orv::NearestTap nn[orv::kRun];

    for (int64_t Y = y0; Y < y1; ++Y) {
        const double v = static_cast<double>(Y) - yShift;
        Ipp8u* row = pDst + static_cast<ptrdiff_t>(Y) * dstStep;
        // The sampled line crosses the source rectangle once, so the written
        // pixels of a row are one run.
        int64_t X = x0;
        while (X < x1) {
            int64_t start = -1;
            int n = 0;
            bool ended = false;
            for (; X < x1 && n < orv::kRun; ++X) {
                const double u = static_cast<double>(X) - xShift;
                const double px = orv::Snap(u * c - v * s);
                const double py = orv::Snap(u * s + v * c);
                if (!(px >= loX && px <= hiX && py >= loY && py <= hiY)) {
                    if (n > 0) {
                        ended = true;
                        break;
                    }
                    continue;
                }
                if (n == 0)
                    start = X;
                const int64_t ix = static_cast<int64_t>(px);
                const int64_t iy = static_cast<int64_t>(py);
                if (linear) {
                    orv::LinearTap& t = lin[n];
                    orv::LinearIndex(ix, lastX, &t.x0, &t.x1, &t.f);
                    orv::LinearIndex(iy, lastY, &t.y0, &t.y1, &t.g);
                } else {
                    nn[n].x = orv::NearestIndex(ix, lastX);
                    nn[n].y = orv::NearestIndex(iy, lastY);
                }
                ++n;
            }
            if (n > 0) {
                if (linear)
                    k.linearGather(row + start, pSrc, srcStep, lin, n);
                else
                    k.nearestGather(row + start, pSrc, srcStep, nn, n);
            }
            if (ended)
                break;
        }
    }
    return ippStsNoErr;
}
