// Glue between a family's SIMD file and its kernel ladder (internal).
//
// A SIMD file is compiled once per instruction set by Highway:
//
//   #undef HWY_TARGET_INCLUDE
//   #define HWY_TARGET_INCLUDE "ResizeKernelsSimd.cpp"
//   #include <hwy/foreach_target.h>
//   #include <hwy/highway.h>
//   #include "SimdTargets.h"
//
//   HWY_BEFORE_NAMESPACE();
//   namespace dpsimd {
//   namespace HWY_NAMESPACE {
//   ... kernels ...
//   void FillPlane8(Plane8Kernels& t)
//   {
//   #if DP_SIMD_TARGET_USED
//       t.bilinear = Bilinear8;
//   #endif
//   }
//   } // namespace HWY_NAMESPACE
//   } // namespace dpsimd
//   HWY_AFTER_NAMESPACE();
//
//   #if HWY_ONCE
//   namespace dpsimd {
//   SimdFillers<Plane8Kernels> Plane8Fillers() { return DP_SIMD_FILLERS(Plane8Kernels, FillPlane8); }
//   }
//   #endif
//
// DP_SIMD_FILLERS lists, per level of KernelDispatch.h, the filler compiled
// for that level's target, or null where this build has none. Only the
// targets that are levels are used; the others (the scalar fallback Highway
// always compiles) see DP_SIMD_TARGET_USED == 0 and may leave their filler
// empty, so kernels need not compile for them.
#ifndef DATAPROCESS_SIMDTARGETS_H
#define DATAPROCESS_SIMDTARGETS_H

#include "KernelDispatch.h"

#include <hwy/highway.h>

#if HWY_ARCH_X86
#define DP_SIMD_LEVEL_TARGETS (HWY_SSE4 | HWY_AVX2 | HWY_AVX3)
#if HWY_TARGETS & HWY_SSE4
#define DP_SIMD_FILLER_1(fn) &N_SSE4::fn
#else
#define DP_SIMD_FILLER_1(fn) nullptr
#endif
#if HWY_TARGETS & HWY_AVX2
#define DP_SIMD_FILLER_2(fn) &N_AVX2::fn
#else
#define DP_SIMD_FILLER_2(fn) nullptr
#endif
#if HWY_TARGETS & HWY_AVX3
#define DP_SIMD_FILLER_3(fn) &N_AVX3::fn
#else
#define DP_SIMD_FILLER_3(fn) nullptr
#endif
#elif HWY_ARCH_ARM_A64
#define DP_SIMD_LEVEL_TARGETS (HWY_NEON | HWY_SVE)
#if HWY_TARGETS & HWY_NEON
#define DP_SIMD_FILLER_1(fn) &N_NEON::fn
#else
#define DP_SIMD_FILLER_1(fn) nullptr
#endif
#if HWY_TARGETS & HWY_SVE
#define DP_SIMD_FILLER_2(fn) &N_SVE::fn
#else
#define DP_SIMD_FILLER_2(fn) nullptr
#endif
#define DP_SIMD_FILLER_3(fn) nullptr
#else
#define DP_SIMD_LEVEL_TARGETS 0
#define DP_SIMD_FILLER_1(fn) nullptr
#define DP_SIMD_FILLER_2(fn) nullptr
#define DP_SIMD_FILLER_3(fn) nullptr
#endif

#define DP_SIMD_FILLERS(Table, fn) \
    SimdFillers<Table> { { nullptr, DP_SIMD_FILLER_1(fn), DP_SIMD_FILLER_2(fn), DP_SIMD_FILLER_3(fn) } }

#endif // DATAPROCESS_SIMDTARGETS_H

// Outside the guard: re-evaluated for each target pass of foreach_target.h.
#undef DP_SIMD_TARGET_USED
#if (HWY_TARGET & DP_SIMD_LEVEL_TARGETS) != 0
#define DP_SIMD_TARGET_USED 1
#else
#define DP_SIMD_TARGET_USED 0
#endif
