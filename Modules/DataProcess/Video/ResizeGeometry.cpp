#include "ResizeGeometry.h"

#include <cstdint>

#include "VideoMath.h"

using dpvideo::ClampToInt;
using dpvideo::FillRegion;
using dpvideo::TruncToInt;

void ResizeRect(tagRECT& rc, tagSIZE aspect, IMAGE_RESIZE_METHOD method)
{
    int32_t w = aspect.cx;
    int32_t h = aspect.cy;
    if (w == 0 || h == 0 || method == IMAGE_RESIZE_STRETCH || method == IMAGE_RESIZE_CROP_FILL)
        return;
    // Products in 64 bits: the same results wherever 32 bits suffice, and no
    // overflow for the scaled aspects of large pictures.
    if (method == IMAGE_RESIZE_FIT_16_9) {
        if (int64_t(w) * 9 > int64_t(h) * 16)
            h = ClampToInt(int64_t(w) * 9 / 16);
        else
            w = ClampToInt(int64_t(h) * 16 / 9);
    } else if (method == IMAGE_RESIZE_FIT_4_3) {
        if (int64_t(w) * 3 > int64_t(h) * 4)
            h = ClampToInt(int64_t(w) * 3 / 4);
        else
            w = ClampToInt(int64_t(h) * 4 / 3);
    }
    if (w == 0 || h == 0)
        return; // a forced aspect that truncated to nothing: no defined fit
    const int64_t rw = int64_t(rc.right) - rc.left;
    const int64_t rh = int64_t(rc.bottom) - rc.top;
    const int64_t a = rh * w;
    const int64_t b = int64_t(h) * rw;
    if (b > a) {
        // Too wide: narrow it, centred.
        const int64_t newW = a / h;
        const int32_t d = ClampToInt((rw - newW) >> 1);
        rc.left = ClampToInt(int64_t(rc.left) + d);
        rc.right = ClampToInt(int64_t(rc.right) - d);
    } else if (b < a) {
        // Too tall: lower it, centred.
        const int64_t newH = b / w;
        const int32_t d = ClampToInt((rh - newH) >> 1);
        rc.top = ClampToInt(int64_t(rc.top) + d);
        rc.bottom = ClampToInt(int64_t(rc.bottom) - d);
    }
}

void CalcResizeParam(IMG_PARAM& src, IMG_PARAM& dst, int aspectX, int aspectY, int srcWidth, int srcHeight,
                     const tagRECT* crop, int dstWidth, int dstHeight, IMAGE_RESIZE_METHOD method)
{
    if (!crop)
        return;
    tagRECT d = {0, 0, dstWidth, dstHeight};
    tagRECT s = {0, 0, srcWidth, srcHeight};
    tagSIZE size = {srcWidth, srcHeight};
    // Only left and right decide whether a crop is given.
    if (crop->right != crop->left) {
        s = *crop;
        size.cx = ClampToInt(int64_t(s.right) - s.left);
        size.cy = ClampToInt(int64_t(s.bottom) - s.top);
    }
    if (method != IMAGE_RESIZE_CROP_FILL) {
        tagSIZE aspect = size;
        if (aspectX != 0 && aspectY != 0) {
            // The display aspect scaled by the share of the picture the crop
            // keeps, times 1000 so that small aspects survive the integer fit.
            aspect.cx = TruncToInt(0.5 + static_cast<double>(size.cx) / srcWidth * aspectX * 1000);
            aspect.cy = TruncToInt(0.5 + static_cast<double>(size.cy) / srcHeight * aspectY * 1000);
        }
        ResizeRect(d, aspect, method);
    } else {
        tagSIZE aspect = {dstWidth, dstHeight};
        if (aspectX != 0 && aspectY != 0) {
            // Left to right in double, with +0.5 (AdjustResizeParam truncates
            // the same expression without it; the two are kept apart).
            aspect.cy = TruncToInt(0.5 + static_cast<double>(dstWidth) * dstHeight / dstWidth * aspectX / aspectY *
                                             srcHeight / srcWidth);
        }
        ResizeRect(s, aspect, IMAGE_RESIZE_LETTERBOX);
    }
    FillRegion(src, srcWidth, srcHeight, s);
    FillRegion(dst, dstWidth, dstHeight, d);
}
