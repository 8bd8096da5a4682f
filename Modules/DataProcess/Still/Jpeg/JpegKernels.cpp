#include "JpegKernels.h"

#include "JpegDct.h"
#include "JpegTables.h"

namespace bmp2jpeg {

namespace {


void FdctQuant_C(const int8_t* data, const float* fdtbl, QuantisedBlock& q)
{
    fdct_and_quantization(data, fdtbl, q.out);
    q.order = kZigzagIdentity;
    q.nonzero = 0;
    for (int i = 0; i < 64; ++i)
        q.nonzero |= static_cast<uint64_t>(q.out[i] != 0) << i;
}

const JpegKernels kJpegReference = {load_data_units_from_RGB_buffer, FdctQuant_C};

} // namespace

const uint8_t kZigzagIdentity[64] = {0,  1,  2,  3,  4,  5,  6,  7,  8,  9,  10, 11, 12, 13, 14, 15,
                                     16, 17, 18, 19, 20, 21, 22, 23, 24, 25, 26, 27, 28, 29, 30, 31,
                                     32, 33, 34, 35, 36, 37, 38, 39, 40, 41, 42, 43, 44, 45, 46, 47,
                                     48, 49, 50, 51, 52, 53, 54, 55, 56, 57, 58, 59, 60, 61, 62, 63};

const uint8_t* NaturalOfZigzag()
{
    static const struct Table {
        uint8_t v[64];
        Table()
        {
            for (int i = 0; i < 64; ++i)
                v[zigzag[i]] = static_cast<uint8_t>(i);
        }
    } table;
    return table.v;
}

#if !DP_HAVE_HIGHWAY
SimdFillers<JpegKernels> JpegSimdFillers() { return {}; }
#endif

const JpegKernels& ReferenceJpegKernels() { return kJpegReference; }

const JpegKernels& GetJpegKernels()
{
    static const KernelLadder<JpegKernels> ladder(kJpegReference, JpegSimdFillers());
    return ladder.Get();
}

} // namespace bmp2jpeg
