#include "OrvGeometry.h"

// The centre (xCenter, yCenter) is a fixed point in source-image
// coordinates: destination pixel (x', y') samples (xC + (x' - xC)/xFactor,
// yC + (y' - yC)/yFactor) and is written only when that position lies in
// the clipped source region (left/top edge included, right/bottom
// excluded). When shrinking, the margin around the picture stays unwritten.
IppStatus orv_ippiResizeCenter_8u_C1R(const Ipp8u* pSrc, IppiSize srcSize, int srcStep, IppiRect srcRoi,
                                      Ipp8u* pDst, int dstStep, IppiSize dstRoiSize, double xFactor,
                                      double yFactor, double xCenter, double yCenter, int interpolation)
{
    orv::Region r;
    const IppStatus st = orv::CheckResizeArgs(pSrc, srcSize, srcStep, srcRoi, pDst, dstStep, dstRoiSize, xFactor,
                                              yFactor, interpolation, &r);
    if (st != ippStsNoErr)
        return st;
    const orv::Axis ax{xCenter, xCenter, xFactor, orv::Fixed(r.x), orv::Fixed(static_cast<int64_t>(r.x) + r.w),
                       r.x + r.w - 1, dstRoiSize.width};
    const orv::Axis ay{yCenter, yCenter, yFactor, orv::Fixed(r.y), orv::Fixed(static_cast<int64_t>(r.y) + r.h),
                       r.y + r.h - 1, dstRoiSize.height};
    orv::ResizeSeparable(pSrc, srcStep, pDst, dstStep, ax, ay, interpolation);
    return ippStsNoErr;
}
