#include "OrvGeometry.h"

namespace orv {

void ResizeSeparable(const Ipp8u* pSrc, int srcStep, Ipp8u* pDst, int dstStep, const Axis& ax, const Axis& ay,
                     int interpolation)
{
    const GeometryKernels& k = GetGeometryKernels();
    const bool linear = interpolation == IPPI_INTER_LINEAR;
    int32_t x0[kRun];
    int32_t x1[kRun];
    uint8_t fx[kRun];

    int x = 0;
    while (x < ax.count) {
        int64_t p = 0;
        if (!ax.Sample(x, &p)) {
            ++x;
            continue;
        }
        // One run of written columns (they are contiguous, see Axis).
        const int start = x;
        int n = 0;
        do {
            if (linear)
                LinearIndex(p, ax.last, &x0[n], &x1[n], &fx[n]);
            else
                x0[n] = NearestIndex(p, ax.last);
            ++n;
            ++x;
        } while (n < kRun && x < ax.count && ax.Sample(x, &p));

        // Rows go to the kernel in batches that share the columns.
        constexpr int kBatch = 32;
        Ipp8u* dstRows[kBatch];
        const Ipp8u* rows0[kBatch];
        const Ipp8u* rows1[kBatch];
        uint8_t weights[kBatch];
        int batched = 0;
        auto flush = [&] {
            if (batched > 0 && linear)
                k.linearRows(dstRows, rows0, rows1, weights, batched, x0, x1, fx, n);
            else if (batched > 0)
                k.nearestRows(dstRows, rows0, batched, x0, n);
            batched = 0;
        };
        bool seen = false;
        for (int y = 0; y < ay.count; ++y) {
            int64_t q = 0;
            if (!ay.Sample(y, &q)) {
                if (seen)
                    break;
                continue;
            }
            seen = true;
            Ipp8u* d = pDst + static_cast<ptrdiff_t>(y) * dstStep + start;
            if (linear) {
                int32_t y0, y1;
                uint8_t g;
                LinearIndex(q, ay.last, &y0, &y1, &g);
                dstRows[batched] = d;
                rows0[batched] = pSrc + static_cast<ptrdiff_t>(y0) * srcStep;
                rows1[batched] = pSrc + static_cast<ptrdiff_t>(y1) * srcStep;
                weights[batched] = g;
                if (++batched == kBatch)
                    flush();
            } else {
                dstRows[batched] = d;
                rows0[batched] = pSrc + static_cast<ptrdiff_t>(NearestIndex(q, ay.last)) * srcStep;
                if (++batched == kBatch)
                    flush();
            }
        }
        flush();
        if (x < ax.count && n < kRun)
            break; // the run ended on an unwritten column: no more follow
    }
}

} // namespace orv

// Destination pixel (x', y') samples source position (rx + x'/xFactor,
// ry + y'/yFactor) and is written while that position, snapped, stays
// inside the clipped source region. With xFactor = dw / rw exactly dw
// columns are written.
IppStatus orv_ippiResize_8u_C1R(const Ipp8u* pSrc, IppiSize srcSize, int srcStep, IppiRect srcRoi, Ipp8u* pDst,
                                int dstStep, IppiSize dstRoiSize, double xFactor, double yFactor, int interpolation)
{
    orv::Region r;
    const IppStatus st = orv::CheckResizeArgs(pSrc, srcSize, srcStep, srcRoi, pDst, dstStep, dstRoiSize, xFactor,
                                              yFactor, interpolation, &r);
    if (st != ippStsNoErr)
        return st;
    const orv::Axis ax{static_cast<double>(r.x), 0.0, xFactor, orv::Fixed(r.x),
                       orv::Fixed(static_cast<int64_t>(r.x) + r.w), r.x + r.w - 1, dstRoiSize.width};
    const orv::Axis ay{static_cast<double>(r.y), 0.0, yFactor, orv::Fixed(r.y),
                       orv::Fixed(static_cast<int64_t>(r.y) + r.h), r.y + r.h - 1, dstRoiSize.height};
    orv::ResizeSeparable(pSrc, srcStep, pDst, dstStep, ax, ay, interpolation);
    return ippStsNoErr;
}
