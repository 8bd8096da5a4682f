#include "JpegKernels.h"

#include "JpegDct.h"
#include "JpegTables.h"

namespace bmp2jpeg {

namespace {


void FdctQuant_C(const int8_t* data, const float* fdtbl, QuantisedBlock& q)
{
    fdct_and_quantization(data, fdtbl, q.out);
    q.order = kZigzagIdentity.v;
    q.nonzero = 0;
    for (int i = 0; i < 64; ++i)
        q.nonzero |= static_cast<uint64_t>(q.out[i] != 0) << i;
}

void FdctQuantPair_C(const int8_t* a, const int8_t* b, const float* fdtbl, QuantisedBlock& qa, QuantisedBlock& qb)
{
    FdctQuant_C(a, fdtbl, qa);
    FdctQuant_C(b, fdtbl, qb);
}

const JpegKernels kJpegReference = {load_data_units_from_RGB_buffer, FdctQuant_C, FdctQuantPair_C};

} // namespace

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
