#include "ImageRotate.h"

#include <cstddef>
#include <cstdint>

#include "ImageResize.h"
#include "OrvImage.h"

namespace {

int LibraryInterpolation(IMAGE_INTERPOLATION n)
{
    if (n == IMAGE_INTERPOLATION_DEFAULT || n == IMAGE_INTERPOLATION_BILINEAR)
        return IPPI_INTER_LINEAR;
    return IPPI_INTER_NN;
}

// The destination region lies inside its picture, so that every plane's
// region (halved for chroma) lies inside its plane.
bool DestinationInside(const IMG_PARAM& dst)
{
    return dst.x >= 0 && dst.y >= 0 && static_cast<int64_t>(dst.x) + dst.cx <= dst.nWidth &&
           static_cast<int64_t>(dst.y) + dst.cy <= dst.nHeight;
}

// The corner of a destination region, or null when the plane cannot be
// addressed (the library would refuse a null pointer or a step <= 0 without
// writing anything).
unsigned char* Corner(unsigned char* plane, int pitch, int x, int y)
{
    if (!plane || pitch <= 0)
        return nullptr;
    return plane + static_cast<ptrdiff_t>(pitch) * y + x;
}

// One plane of a drag (centred == false) or a centred shrink.
void ScalePlane(const unsigned char* pSrc, IppiSize srcSize, int srcStep, IppiRect srcRoi, unsigned char* pDst,
                int dstStep, IppiSize dstSize, double xFactor, double yFactor, bool centred, double xCenter,
                double yCenter, int interpolation)
{
    if (!pDst)
        return;
    if (centred)
        orv_ippiResizeCenter_8u_C1R(pSrc, srcSize, srcStep, srcRoi, pDst, dstStep, dstSize, xFactor, yFactor,
                                    xCenter, yCenter, interpolation);
    else
        orv_ippiResize_8u_C1R(pSrc, srcSize, srcStep, srcRoi, pDst, dstStep, dstSize, xFactor, yFactor,
                              interpolation);
}

} // namespace

int ImageRotateYV12(const IMG_PARAM& src, unsigned char* pSrcY, unsigned char* pSrcU, unsigned char* pSrcV,
                    int /*nPitchSrcY*/, int /*nPitchSrcU*/, int /*nPitchSrcV*/, IMG_PARAM& dst, unsigned char* pDstY,
                    unsigned char* pDstU, unsigned char* pDstV, int /*nPitchDstY*/, int /*nPitchDstU*/,
                    int /*nPitchDstV*/, IMAGE_INTERPOLATION nInterpolation, int nAngle)
{
    if (dst.cx < 2 || dst.cy < 2)
        return 0;
    if (nAngle != 90 && nAngle != 270)
        return 1;
    const double angle = nAngle;
    const int interpolation = LibraryInterpolation(nInterpolation);
    // The shifts bring the turned picture back into the positive quadrant.
    // Kept as the program has them: the source step is the region width and
    // the destination step the destination width.
    orv_ippiRotate_8u_C1R(pSrcY, IppiSize{src.nWidth, src.nHeight}, src.cx, IppiRect{src.x, src.y, src.cx, src.cy},
                          pDstY, dst.nWidth, IppiRect{0, 0, dst.nWidth, dst.nHeight}, angle,
                          nAngle == 90 ? 0.0 : dst.nWidth, nAngle == 90 ? dst.nHeight : 0.0, interpolation);

    const int sw = src.nWidth / 2;
    const int sh = src.nHeight / 2;
    const int dw = dst.nWidth / 2;
    const int dh = dst.nHeight / 2;
    // Kept as the program has it: the chroma rectangle's origin is not
    // halved (the library clips the rectangle to the plane).
    const IppiRect srcRoi = {src.x, src.y, sw, sh};
    const IppiRect dstRoi = {0, 0, dw, dh};
    const double xShift = nAngle == 90 ? 0.0 : dw;
    const double yShift = nAngle == 90 ? dh : 0.0;
    orv_ippiRotate_8u_C1R(pSrcV, IppiSize{sw, sh}, sw, srcRoi, pDstV, dw, dstRoi, angle, xShift, yShift,
                          interpolation);
    orv_ippiRotate_8u_C1R(pSrcU, IppiSize{sw, sh}, sw, srcRoi, pDstU, dw, dstRoi, angle, xShift, yShift,
                          interpolation);
    return 1;
}

namespace {

// The shared body of ImageDragYUV and ImageRotateResizeYUV.
int PlaceYUV(const IMG_PARAM& src, unsigned char* pSrcU, unsigned char* pSrcV, int nPitchSrcU, int nPitchSrcV,
             const IMG_PARAM& dst, unsigned char* pDstU, unsigned char* pDstV, int nPitchDstU, int nPitchDstV,
             bool centred, double k, int interpolation)
{
    if (dst.cx < 2 || dst.cy < 2)
        return 0;
    if (!DestinationInside(dst))
        return 0;

    // Luma from the records. An empty source region is refused by the
    // library; skipping the call keeps the factors free of a division by 0.
    if (src.cx > 0 && src.cy > 0) {
        const double xFactor = centred ? k : static_cast<double>(dst.cx) / src.cx;
        const double yFactor = centred ? k : static_cast<double>(dst.cy) / src.cy;
        // The centre is that of the turned frame: height for x, width for y.
        ScalePlane(src.pBits, IppiSize{src.nWidth, src.nHeight}, src.nPitch, IppiRect{src.x, src.y, src.cx, src.cy},
                   Corner(dst.pBits, dst.nPitch, dst.x, dst.y), dst.nPitch, IppiSize{dst.cx, dst.cy}, xFactor,
                   yFactor, centred, dst.nHeight / 2, dst.nWidth / 2, interpolation);
    }

    // Chroma, V then U: every value halved (truncating) before use.
    const int scx = src.cx / 2;
    const int scy = src.cy / 2;
    const int dcx = dst.cx / 2;
    const int dcy = dst.cy / 2;
    if (scx <= 0 || scy <= 0)
        return 1;
    const double xFactor = centred ? k : static_cast<double>(dcx) / scx;
    const double yFactor = centred ? k : static_cast<double>(dcy) / scy;
    const IppiSize srcSize = {src.nWidth / 2, src.nHeight / 2};
    const IppiRect srcRoi = {src.x / 2, src.y / 2, scx, scy};
    const IppiSize dstSize = {dcx, dcy};
    const double xCenter = (dst.nHeight / 2) / 2;
    const double yCenter = (dst.nWidth / 2) / 2;
    ScalePlane(pSrcV, srcSize, nPitchSrcV, srcRoi, Corner(pDstV, nPitchDstV, dst.x / 2, dst.y / 2), nPitchDstV,
               dstSize, xFactor, yFactor, centred, xCenter, yCenter, interpolation);
    ScalePlane(pSrcU, srcSize, nPitchSrcU, srcRoi, Corner(pDstU, nPitchDstU, dst.x / 2, dst.y / 2), nPitchDstU,
               dstSize, xFactor, yFactor, centred, xCenter, yCenter, interpolation);
    return 1;
}

} // namespace

int ImageDragYUV(const IMG_PARAM& src, unsigned char* /*pSrcY*/, unsigned char* pSrcU, unsigned char* pSrcV,
                 int /*nPitchSrcY*/, int nPitchSrcU, int nPitchSrcV, IMG_PARAM& dst, unsigned char* /*pDstY*/,
                 unsigned char* pDstU, unsigned char* pDstV, int /*nPitchDstY*/, int nPitchDstU, int nPitchDstV,
                 IMAGE_INTERPOLATION nInterpolation, int /*nAngle*/)
{
    return PlaceYUV(src, pSrcU, pSrcV, nPitchSrcU, nPitchSrcV, dst, pDstU, pDstV, nPitchDstU, nPitchDstV, false, 1.0,
                    LibraryInterpolation(nInterpolation));
}

int ImageRotateResizeYUV(const IMG_PARAM& src, unsigned char* /*pSrcY*/, unsigned char* pSrcU, unsigned char* pSrcV,
                         int /*nPitchSrcY*/, int nPitchSrcU, int nPitchSrcV, IMG_PARAM& dst,
                         unsigned char* /*pDstY*/, unsigned char* pDstU, unsigned char* pDstV, int /*nPitchDstY*/,
                         int nPitchDstU, int nPitchDstV, IMAGE_INTERPOLATION /*nInterpolation*/, int nAngle)
{
    if (dst.cx < 2 || dst.cy < 2)
        return 0;
    const double k = CalcResizeScaleforRotate(dst, nAngle);
    // Kept deliberately: always linear, whatever the caller asked for.
    return PlaceYUV(src, pSrcU, pSrcV, nPitchSrcU, nPitchSrcV, dst, pDstU, pDstV, nPitchDstU, nPitchDstV, true, k,
                    IPPI_INTER_LINEAR);
}

void ImageRotateYUV(const IMG_PARAM& src, const MEDIA_FRAME* pSrc, IMG_PARAM& dst, const MEDIA_FRAME* pDst,
                    IMAGE_INTERPOLATION nInterpolation, int nAngle)
{
    if (!pSrc || !pDst)
        return;
    ImageRotateYV12(src, pSrc->pY, pSrc->pU, pSrc->pV, pSrc->nPitchY, pSrc->nPitchU, pSrc->nPitchV, dst, pDst->pY,
                    pDst->pU, pDst->pV, pDst->nPitchY, pDst->nPitchU, pDst->nPitchV, nInterpolation, nAngle);
}

void ImageDragYUV(const IMG_PARAM& src, const MEDIA_FRAME* pSrc, IMG_PARAM& dst, const MEDIA_FRAME* pDst,
                  IMAGE_INTERPOLATION nInterpolation, int nAngle)
{
    if (!pSrc || !pDst)
        return;
    ImageDragYUV(src, pSrc->pY, pSrc->pU, pSrc->pV, pSrc->nPitchY, pSrc->nPitchU, pSrc->nPitchV, dst, pDst->pY,
                 pDst->pU, pDst->pV, pDst->nPitchY, pDst->nPitchU, pDst->nPitchV, nInterpolation, nAngle);
}
