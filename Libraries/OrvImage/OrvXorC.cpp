#include "OrvImage.h"

IppStatus orv_ippiXorC_8u_C1IR(Ipp8u value, Ipp8u* pSrcDst, int srcDstStep, IppiSize roiSize)
{
    if (!pSrcDst)
        return ippStsNullPtrErr;
    if (srcDstStep <= 0)
        return ippStsStepErr;
    if (roiSize.width <= 0 || roiSize.height <= 0)
        return ippStsSizeErr;
    for (int y = 0; y < roiSize.height; ++y) {
        Ipp8u* row = pSrcDst + static_cast<long>(y) * srcDstStep;
        for (int x = 0; x < roiSize.width; ++x)
            row[x] = static_cast<Ipp8u>(row[x] ^ value);
    }
    return ippStsNoErr;
}
