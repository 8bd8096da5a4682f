/* The image-routine library: resize, centred resize, rotation, alpha
 * compositing and XOR of 8-bit single-channel planes.
 *
 * Planes are 8-bit, pixel (x, y) at base + y*step + x, y downwards. Pixels a
 * routine does not write keep their old value. Results are IppStatus codes:
 * 0 success, negative errors, positive warnings (see below). */
#ifndef ORVIMAGE_H
#define ORVIMAGE_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef unsigned char Ipp8u;

typedef struct IppiSize {
    int width;
    int height;
} IppiSize;

typedef struct IppiRect {
    int x;
    int y;
    int width;
    int height;
} IppiRect;

typedef int IppStatus;

enum {
    ippStsNoErr = 0,
    ippStsNullPtrErr = -8,
    ippStsStepErr = -14,
    ippStsSizeErr = -6,
    ippStsResizeFactorErr = -23,
    ippStsInterpolationErr = -22,
    ippStsAlphaTypeErr = -50,
    ippStsWrongIntersectROI = 29, /* source region misses the image: nothing written */
    ippStsResizeNoOperationErr = -201 /* the output would be under one pixel */
};

/* Interpolation codes */
enum { IPPI_INTER_NN = 1, IPPI_INTER_LINEAR = 2 };

/* Alpha compositing types; only ippAlphaOver is implemented. */
enum { ippAlphaOver = 0 };

IppStatus orv_ippiResize_8u_C1R(const Ipp8u* pSrc, IppiSize srcSize, int srcStep, IppiRect srcRoi, Ipp8u* pDst,
                                int dstStep, IppiSize dstRoiSize, double xFactor, double yFactor,
                                int interpolation);

IppStatus orv_ippiResizeCenter_8u_C1R(const Ipp8u* pSrc, IppiSize srcSize, int srcStep, IppiRect srcRoi,
                                      Ipp8u* pDst, int dstStep, IppiSize dstRoiSize, double xFactor,
                                      double yFactor, double xCenter, double yCenter, int interpolation);

IppStatus orv_ippiRotate_8u_C1R(const Ipp8u* pSrc, IppiSize srcSize, int srcStep, IppiRect srcRoi, Ipp8u* pDst,
                                int dstStep, IppiRect dstRoi, double angle, double xShift, double yShift,
                                int interpolation);

IppStatus orv_ippiAlphaCompC_8u_C1R(const Ipp8u* pSrc1, int src1Step, Ipp8u alpha1, const Ipp8u* pSrc2,
                                    int src2Step, Ipp8u alpha2, Ipp8u* pDst, int dstStep, IppiSize roiSize,
                                    int alphaType);

IppStatus orv_ippiXorC_8u_C1IR(Ipp8u value, Ipp8u* pSrcDst, int srcDstStep, IppiSize roiSize);

#ifdef __cplusplus
}
#endif

#endif /* ORVIMAGE_H */
