// Vector twins of the colour converters' row kernels (ImageConvertKernels.cpp),
// one source compiled by Highway for every SIMD level. Each twin gives the
// same bytes as its reference on every input.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "ImageConvertKernelsSimd.cpp"
#include <hwy/foreach_target.h> // IWYU pragma: keep
#include <hwy/highway.h>

#include "ImageConvertKernels.h"
#include "SimdTargets.h"

HWY_BEFORE_NAMESPACE();
namespace dpconv {
namespace HWY_NAMESPACE {

void FillConvert(ConvertKernels& t) { (void)t; }

} // namespace HWY_NAMESPACE
} // namespace dpconv
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace dpconv {
SimdFillers<ConvertKernels> ConvertSimdFillers() { return DP_SIMD_FILLERS(ConvertKernels, FillConvert); }
} // namespace dpconv
#endif
