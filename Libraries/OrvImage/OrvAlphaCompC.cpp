#include "OrvImage.h"
#include "OrvKernels.h"

namespace {

// M(a, b) = round(a * b / 255), see the blend kernels.
inline int MulDiv255(int a, int b)
{
    const int t = a * b + 128;
    return (t + (t >> 8)) >> 8;
}

} // namespace

// Compositing of two planes with constant alphas. Type 0 ("over"):
//   D = min(255, M(alpha1, A) + M(M(255 - alpha1, alpha2), B)),
// A from source 1, B from source 2. Source 2 may be the destination.
IppStatus orv_ippiAlphaCompC_8u_C1R(const Ipp8u* pSrc1, int src1Step, Ipp8u alpha1, const Ipp8u* pSrc2,
                                    int src2Step, Ipp8u alpha2, Ipp8u* pDst, int dstStep, IppiSize roiSize,
                                    int alphaType)
{
    if (!pSrc1 || !pSrc2 || !pDst)
        return ippStsNullPtrErr;
    if (src1Step <= 0 || src2Step <= 0 || dstStep <= 0)
        return ippStsStepErr;
    if (roiSize.width <= 0 || roiSize.height <= 0)
        return ippStsSizeErr;
    // Types 1..11 (in, out, atop, xor, plus and their premultiplied forms)
    // are not used by the library and are refused like unknown types.
    if (alphaType != ippAlphaOver)
        return ippStsAlphaTypeErr;

    const int m1 = alpha1;
    const int m2 = MulDiv255(255 - alpha1, alpha2);
    const orv::BlendKernels& k = orv::GetBlendKernels();
    for (int y = 0; y < roiSize.height; ++y)
        k.alphaOverRow(pDst + static_cast<ptrdiff_t>(y) * dstStep, pSrc1 + static_cast<ptrdiff_t>(y) * src1Step,
                       pSrc2 + static_cast<ptrdiff_t>(y) * src2Step, roiSize.width, m1, m2);
    return ippStsNoErr;
}
