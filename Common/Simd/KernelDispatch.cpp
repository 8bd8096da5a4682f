#include "KernelDispatch.h"
#include "SimdLevel.h"

#include <atomic>
#include <cstdlib>
#include <cstring>

#if DP_HAVE_HIGHWAY && (defined(__x86_64__) || defined(__i386__))
#include <cpuid.h>
#elif DP_HAVE_HIGHWAY && defined(__aarch64__) && defined(__linux__)
#include <sys/auxv.h>
#endif

namespace {

struct LevelInfo {
    const char* name;
};

// This architecture's levels, in increasing order.
#if defined(__x86_64__) || defined(__i386__)
constexpr LevelInfo kLevels[] = {{"none"}, {"sse4"}, {"avx2"}, {"avx512"}};
#elif defined(__aarch64__)
constexpr LevelInfo kLevels[] = {{"none"}, {"neon"}, {"sve"}};
#else
constexpr LevelInfo kLevels[] = {{"none"}};
#endif
constexpr int kLevelCount = static_cast<int>(sizeof(kLevels) / sizeof(kLevels[0]));
static_assert(kLevelCount <= kDpMaxSimdLevels, "more levels than the kernel tables hold");

constexpr int kNoCap = kDpMaxSimdLevels - 1;

#if DP_HAVE_HIGHWAY && (defined(__x86_64__) || defined(__i386__))
// The CPU runs a level when it has every instruction-set extension the
// level's twins are compiled with (Highway's SSE4, AVX2 and AVX-512
// targets) and the system saves the vector registers they use. Detected
// here with cpuid rather than through Highway's run-time library, so the
// library needs nothing at run time beyond the C and C++ runtimes.
int X86Level()
{
    unsigned a, b, c, d;
    if (!__get_cpuid(1, &a, &b, &c, &d))
        return 0;
    const bool ssse3 = c & (1u << 9), sse41 = c & (1u << 19), sse42 = c & (1u << 20);
    const bool pclmul = c & (1u << 1), aes = c & (1u << 25);
    const bool fma = c & (1u << 12), osxsave = c & (1u << 27), avx = c & (1u << 28), f16c = c & (1u << 29);
    if (!(ssse3 && sse41 && sse42 && pclmul && aes))
        return 0;
    if (!(osxsave && avx && fma && f16c))
        return 1;
    unsigned xcr0lo, xcr0hi;
    __asm__("xgetbv" : "=a"(xcr0lo), "=d"(xcr0hi) : "c"(0));
    if ((xcr0lo & 0x6) != 0x6) // XMM and YMM state
        return 1;
    if (!__get_cpuid_count(7, 0, &a, &b, &c, &d))
        return 1;
    const bool bmi1 = b & (1u << 3), avx2 = b & (1u << 5), bmi2 = b & (1u << 8);
    if (!(bmi1 && avx2 && bmi2))
        return 1;
    const bool f = b & (1u << 16), dq = b & (1u << 17), bw = b & (1u << 30), vl = b & (1u << 31);
    if (!(f && dq && bw && vl) || (xcr0lo & 0xE6) != 0xE6) // + opmask, ZMM state
        return 2;
    return 3;
}
#endif

bool CpuRuns(int level)
{
    if (level == 0)
        return true;
#if DP_HAVE_HIGHWAY && (defined(__x86_64__) || defined(__i386__))
    static const int cpu = X86Level();
    return level <= cpu;
#elif DP_HAVE_HIGHWAY && defined(__aarch64__)
    // NEON is part of every arm64 CPU; SVE is reported by the kernel.
#if defined(__linux__) && defined(HWCAP_SVE)
    return level == 1 || (level == 2 && (getauxval(AT_HWCAP) & HWCAP_SVE) != 0);
#else
    return level == 1;
#endif
#else
    return false;
#endif
}

int BestLevel()
{
    static const int best = [] {
        int b = 0;
        for (int level = 1; level < kLevelCount; ++level)
            if (CpuRuns(level))
                b = level;
        return b;
    }();
    return best;
}

// -1 = a name that is not a level here; kNoCap for "best".
int LevelFromName(const char* name)
{
    if (std::strcmp(name, "best") == 0)
        return kNoCap;
    for (int level = 0; level < kLevelCount; ++level)
        if (std::strcmp(name, kLevels[level].name) == 0)
            return level;
    return -1;
}

std::atomic<int>& Cap()
{
    // -1 = not read yet from the environment.
    static std::atomic<int> cap{-1};
    return cap;
}

int CurrentCap()
{
    int cap = Cap().load(std::memory_order_acquire);
    if (cap >= 0)
        return cap;
    int fromEnv = kNoCap;
    const char* force = std::getenv("DP_FORCE_REFERENCE");
    const char* simd = std::getenv("DP_SIMD");
    if (force && *force && std::strcmp(force, "0") != 0) {
        fromEnv = 0;
    } else if (simd && *simd) {
        // An unknown name leaves the level uncapped.
        const int level = LevelFromName(simd);
        if (level >= 0)
            fromEnv = level;
    }
    int expected = -1;
    Cap().compare_exchange_strong(expected, fromEnv, std::memory_order_acq_rel);
    return Cap().load(std::memory_order_acquire);
}

} // namespace

int DpActiveSimdLevel()
{
    const int cap = CurrentCap();
    const int best = BestLevel();
    return cap < best ? cap : best;
}

int DpBestSimdLevel() { return BestLevel(); }

bool DpSimdLevelSupported(int level) { return level >= 0 && level < kLevelCount && CpuRuns(level); }

const char* DpSimdLevelName(int level) { return level >= 0 && level < kLevelCount ? kLevels[level].name : nullptr; }

bool DpForceReference() { return DpActiveSimdLevel() == 0; }

void DpSetForceReference(bool force) { Cap().store(force ? 0 : kNoCap, std::memory_order_release); }

int DPSetSimdLevel(const char* level)
{
    const int cap = level ? LevelFromName(level) : -1;
    if (cap < 0)
        return -1;
    Cap().store(cap, std::memory_order_release);
    return 0;
}

const char* DPGetSimdLevel(void) { return kLevels[DpActiveSimdLevel()].name; }
