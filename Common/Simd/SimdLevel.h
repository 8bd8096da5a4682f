/* The SIMD level of the image, JPEG and audio kernels.
 *
 * Every family of kernels has a plain C++ reference and, where the library
 * was built with Highway, vector twins for several instruction sets that give
 * the same bytes. The library picks the best level the CPU supports, capped
 * by the environment variable DP_SIMD (one of the names below) or by
 * DPSetSimdLevel(); DP_FORCE_REFERENCE=1 forces "none". Outputs never depend
 * on the level, only speed does.
 *
 * Level names: "none" (the reference kernels), "sse4", "avx2", "avx512" on
 * x86-64, "neon", "sve" on arm64, and "best" (no cap). */
#ifndef DATAPROCESS_SIMDLEVEL_H
#define DATAPROCESS_SIMDLEVEL_H

#include "DataProcessExport.h"

DP_BEGIN_C

/* Caps the level used from now on (any thread; kernels already running
 * finish at the old level). A level above what the CPU has means the CPU's
 * best. Returns 0, or -1 for a name that is not a level of this build's
 * architecture (the cap is then unchanged). */
DP_API int DPSetSimdLevel(const char* level);

/* The level in use: "none", "sse4", "avx2", "avx512", "neon" or "sve". The
 * string is static. */
DP_API const char* DPGetSimdLevel(void);

DP_END_C

#endif /* DATAPROCESS_SIMDLEVEL_H */
