// Scaling dispatchers, luma scalers over the image library, and the
// picture-level operations.
#include "ImageResize.h"

#include <cstddef>

#include "OrvImage.h"
#include "ResizeCommon.h"

using namespace dp_resize;

namespace {

inline bool IsBilinear(IMAGE_INTERPOLATION n)
{
    return n == IMAGE_INTERPOLATION_DEFAULT || n == IMAGE_INTERPOLATION_BILINEAR;
}

// Scales a luma plane with orv_ippiResize_8u_C1R. With shrinkForRotation
// the factors are multiplied by CalcResizeScaleforRotate.
int ResizeLuma(const IMG_PARAM& src, const IMG_PARAM& dst, int nAngle, int interpolation, bool shrinkForRotation)
{
    const double k = CalcResizeScaleforRotate(dst, nAngle);
    // The library refuses an empty source region; refusing it here first
    // keeps the factors free of a division by zero. The destination region
    // must lie in its buffer before its corner is addressed.
    if (src.cx <= 0 || src.cy <= 0 || !RegionInside(dst))
        return 0;
    double xFactor = static_cast<double>(dst.cx) / static_cast<double>(src.cx);
    double yFactor = static_cast<double>(dst.cy) / static_cast<double>(src.cy);
    if (shrinkForRotation) {
        xFactor *= k;
        yFactor *= k;
    }
    const IppiSize srcSize = {src.nWidth, src.nHeight};
    const IppiRect srcRoi = {src.x, src.y, src.cx, src.cy};
    const IppiSize dstSize = {dst.cx, dst.cy};
    const IppStatus st = orv_ippiResize_8u_C1R(src.pBits, srcSize, src.nPitch, srcRoi,
                                               RowTD(dst, dst.y) + dst.x, dst.nPitch, dstSize, xFactor, yFactor,
                                               interpolation);
    return st == ippStsNoErr ? 1 : 0;
}

// The chroma records of a YV12 picture: every size and position halved,
// truncating toward zero.
void Halve(IMG_PARAM& p)
{
    p.nWidth /= 2;
    p.nHeight /= 2;
    p.x /= 2;
    p.y /= 2;
    p.cx /= 2;
    p.cy /= 2;
}

IMG_PARAM WholePlane(unsigned char* pBits, int nWidth, int nHeight, int nPitch)
{
    IMG_PARAM p = {};
    p.pBits = pBits;
    p.nWidth = nWidth;
    p.nHeight = nHeight;
    p.nPitch = nPitch;
    p.nBitCount = 8;
    p.x = 0;
    p.y = 0;
    p.cx = nWidth;
    p.cy = nHeight;
    return p;
}

} // namespace

double CalcResizeScaleforRotate(const IMG_PARAM& dst, int nAngle)
{
    if (nAngle % 180 == 0)
        return 1.0;
    if (dst.cy > dst.cx)
        return dst.cy != 0 ? static_cast<double>(dst.cx) / dst.cy : 0.0;
    return dst.cx != 0 ? static_cast<double>(dst.cy) / dst.cx : 0.0;
}

int DIB_ResizeNearY(const IMG_PARAM& src, IMG_PARAM& dst, int nAngle)
{
    return ResizeLuma(src, dst, nAngle, IPPI_INTER_NN, true);
}

int DIB_ResizeBiLinerY(const IMG_PARAM& src, IMG_PARAM& dst, int nAngle)
{
    // Kept deliberately: the rotation factor is computed and discarded, so
    // the bilinear luma path never shrinks for a turn.
    return ResizeLuma(src, dst, nAngle, IPPI_INTER_LINEAR, false);
}

int ImageResize(const IMG_PARAM& src, IMG_PARAM& dst, IMAGE_INTERPOLATION nInterpolation)
{
    if (IsBilinear(nInterpolation))
        return DIB_ResizeBiLiner(src, dst);
    if (nInterpolation == IMAGE_INTERPOLATION_NEAREST)
        return DIB_ResizeNear(src, dst);
    if (nInterpolation == IMAGE_INTERPOLATION_CONVOLVE)
        return DIB_ResizeConvolve(src, dst);
    return 0;
}

int ImageResize8(const IMG_PARAM& src, IMG_PARAM& dst, IMAGE_INTERPOLATION nInterpolation)
{
    if (IsBilinear(nInterpolation))
        return DIB_ResizeBiLiner8(src, dst);
    if (nInterpolation == IMAGE_INTERPOLATION_NEAREST)
        return DIB_ResizeNear8(src, dst);
    return 0;
}

int ImageResizeUV(const IMG_PARAM& src, IMG_PARAM& dst, IMAGE_INTERPOLATION nInterpolation)
{
    if (IsBilinear(nInterpolation))
        return DIB_ResizeBiLinerUV(src, dst);
    if (nInterpolation == IMAGE_INTERPOLATION_NEAREST)
        return DIB_ResizeNearUV(src, dst);
    return 0;
}

int ImageResizeY(const IMG_PARAM& src, IMG_PARAM& dst, IMAGE_INTERPOLATION nInterpolation, int nAngle)
{
    if (IsBilinear(nInterpolation))
        return DIB_ResizeBiLinerY(src, dst, nAngle);
    if (nInterpolation == IMAGE_INTERPOLATION_NEAREST)
        return DIB_ResizeNearY(src, dst, nAngle);
    return 0;
}

int ImageAlphaResize(const IMG_PARAM& src, IMG_PARAM& dst, IMAGE_INTERPOLATION /*nInterpolation*/)
{
    return DIB_AlphaResizeBiLiner(src, dst);
}

int ImageStretchMask(const IMG_PARAM& src, IMG_PARAM& dst) { return StretchMaskResizeBiLiner(src, dst); }

int ImageResizeYV12(const IMG_PARAM& src, unsigned char* pSrcY, unsigned char* pSrcU, unsigned char* pSrcV,
                    int nPitchSrcY, int nPitchSrcU, int nPitchSrcV, IMG_PARAM& dst, unsigned char* pDstY,
                    unsigned char* pDstU, unsigned char* pDstV, int nPitchDstY, int nPitchDstU, int nPitchDstV,
                    IMAGE_INTERPOLATION nInterpolation, int nAngle)
{
    if (dst.cx < 2 || dst.cy < 2)
        return 0;
    IMG_PARAM s = src;
    IMG_PARAM d = dst;
    s.pBits = pSrcY;
    s.nPitch = nPitchSrcY;
    d.pBits = pDstY;
    d.nPitch = nPitchDstY;
    ImageResizeY(s, d, nInterpolation, nAngle);

    Halve(s);
    Halve(d);
    s.pBits = pSrcV;
    s.nPitch = nPitchSrcV;
    d.pBits = pDstV;
    d.nPitch = nPitchDstV;
    ImageResizeY(s, d, nInterpolation, nAngle);
    s.pBits = pSrcU;
    s.nPitch = nPitchSrcU;
    d.pBits = pDstU;
    d.nPitch = nPitchDstU;
    ImageResizeY(s, d, nInterpolation, nAngle);
    return 1;
}

int ImageResizeYV444(const IMG_PARAM& src, unsigned char* pSrc0, unsigned char* pSrc1, unsigned char* pSrc2,
                     unsigned char* pSrc3, int nPitchSrc0, int nPitchSrc1, int nPitchSrc2, int nPitchSrc3,
                     IMG_PARAM& dst, unsigned char* pDst0, unsigned char* pDst1, unsigned char* pDst2,
                     unsigned char* pDst3, int nPitchDst0, int nPitchDst1, int nPitchDst2, int nPitchDst3,
                     IMAGE_INTERPOLATION nInterpolation)
{
    if (dst.cx < 2 || dst.cy < 2)
        return 0;
    unsigned char* const srcPlanes[4] = {pSrc0, pSrc1, pSrc3, pSrc2};
    const int srcPitches[4] = {nPitchSrc0, nPitchSrc1, nPitchSrc3, nPitchSrc2};
    unsigned char* const dstPlanes[4] = {pDst0, pDst1, pDst3, pDst2};
    const int dstPitches[4] = {nPitchDst0, nPitchDst1, nPitchDst3, nPitchDst2};
    // The order first, second, fourth, third is the program's own.
    for (int i = 0; i < 4; ++i) {
        IMG_PARAM s = src;
        IMG_PARAM d = dst;
        s.pBits = srcPlanes[i];
        s.nPitch = srcPitches[i];
        d.pBits = dstPlanes[i];
        d.nPitch = dstPitches[i];
        ImageResizeY(s, d, nInterpolation, 0);
    }
    return 1;
}

void ImageResizeYUV(const IMG_PARAM& src, const MEDIA_FRAME* pSrc, IMG_PARAM& dst, MEDIA_FRAME* pDst,
                    IMAGE_INTERPOLATION nInterpolation, int nAngle)
{
    if (!pSrc || !pDst)
        return;
    ImageResizeYV12(src, pSrc->pY, pSrc->pU, pSrc->pV, pSrc->nPitchY, pSrc->nPitchU, pSrc->nPitchV, dst, pDst->pY,
                    pDst->pU, pDst->pV, pDst->nPitchY, pDst->nPitchU, pDst->nPitchV, nInterpolation, nAngle);
}

int ResizeY(unsigned char* pDst, int nDstWidth, int nDstHeight, int nDstPitch, unsigned char* pSrc, int nSrcWidth,
            int nSrcHeight, int nSrcPitch, IMAGE_INTERPOLATION nInterpolation)
{
    const IMG_PARAM src = WholePlane(pSrc, nSrcWidth, nSrcHeight, nSrcPitch);
    IMG_PARAM dst = WholePlane(pDst, nDstWidth, nDstHeight, nDstPitch);
    return ImageResizeY(src, dst, nInterpolation, 0);
}

int ResizeUV(unsigned char* pDst, int nDstWidth, int nDstHeight, int nDstPitch, unsigned char* pSrc, int nSrcWidth,
             int nSrcHeight, int nSrcPitch, IMAGE_INTERPOLATION nInterpolation)
{
    const IMG_PARAM src = WholePlane(pSrc, nSrcWidth, nSrcHeight, nSrcPitch);
    IMG_PARAM dst = WholePlane(pDst, nDstWidth, nDstHeight, nDstPitch);
    return ImageResizeUV(src, dst, nInterpolation);
}
