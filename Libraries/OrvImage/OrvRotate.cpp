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

// A quarter turn with whole-pixel shifts maps every destination pixel to a
// whole source pixel: u = X - xShift and v = Y - yShift are integers, so
// xs = u cos a - v sin a and ys = u sin a + v cos a are too (cos and sin
// being 0 or +-1), the snapped positions have no fraction, and both
// interpolations copy the pixel (the linear weights of the neighbours are
// 0). The written pixels are then the rectangle of destination pixels whose
// (xs, ys) lie in the source region, handed to the turn kernel. Returns
// false (nothing done) for any other rotation.
bool QuarterTurn(const orv::GeometryKernels& k, const Ipp8u* pSrc, int srcStep, const orv::Region& r, Ipp8u* pDst,
                 int dstStep, double c, double s, double xShift, double yShift, int64_t x0, int64_t y0, int64_t x1,
                 int64_t y1)
{
    const double kLimit = 1073741824.0; // 2^30: every product below stays exact
    if (c != 0.0 || (s != 1.0 && s != -1.0) || !(std::fabs(xShift) < kLimit) || !(std::fabs(yShift) < kLimit) ||
        std::floor(xShift) != xShift || std::floor(yShift) != yShift)
        return false;
    const int64_t sx = static_cast<int64_t>(xShift), sy = static_cast<int64_t>(yShift);
    const int64_t lastX = static_cast<int64_t>(r.x) + r.w - 1, lastY = static_cast<int64_t>(r.y) + r.h - 1;
    // 90 (s = 1): xs = sy - Y, ys = X - sx. 270 (s = -1): xs = Y - sy, ys = sx - X.
    int64_t X0, X1, Y0, Y1; // inclusive ranges where the source pixel exists
    if (s > 0) {
        Y0 = sy - lastX, Y1 = sy - r.x;
        X0 = sx + r.y, X1 = sx + lastY;
    } else {
        Y0 = sy + r.x, Y1 = sy + lastX;
        X0 = sx - lastY, X1 = sx - r.y;
    }
    X0 = X0 > x0 ? X0 : x0;
    Y0 = Y0 > y0 ? Y0 : y0;
    X1 = X1 < x1 - 1 ? X1 : x1 - 1;
    Y1 = Y1 < y1 - 1 ? Y1 : y1 - 1;
    if (X1 < X0 || Y1 < Y0)
        return true; // nothing of the source is reached: nothing written
    const int64_t xs = s > 0 ? sy - Y0 : Y0 - sy;
    const int64_t ys = s > 0 ? X0 - sx : sx - X0;
    k.quarterTurn(pDst + Y0 * dstStep + X0, dstStep, pSrc + ys * srcStep + xs, srcStep, static_cast<int>(X1 - X0 + 1),
                  static_cast<int>(Y1 - Y0 + 1), s > 0 ? 90 : 270);
    return true;
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
    if (k.quarterTurn && QuarterTurn(k, pSrc, srcStep, r, pDst, dstStep, c, s, xShift, yShift, x0, y0, x1, y1))
        return ippStsNoErr;
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
