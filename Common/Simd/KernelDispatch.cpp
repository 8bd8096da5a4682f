#include "KernelDispatch.h"
#include "SimdLevel.h"

#include <atomic>
#include <cstdlib>
#include <cstring>

#if DP_HAVE_HIGHWAY
#include <hwy/targets.h>
#endif

namespace {

struct LevelInfo {
    const char* name;
    long long hwyTarget; // the Highway target of the level's twins (0: none)
};

// This architecture's levels, in increasing order.
#if defined(__x86_64__) || defined(_M_X64) || defined(__i386__)
#if DP_HAVE_HIGHWAY
constexpr LevelInfo kLevels[] = {{"none", 0}, {"sse4", HWY_SSE4}, {"avx2", HWY_AVX2}, {"avx512", HWY_AVX3}};
#else
constexpr LevelInfo kLevels[] = {{"none", 0}, {"sse4", 0}, {"avx2", 0}, {"avx512", 0}};
#endif
#elif defined(__aarch64__)
#if DP_HAVE_HIGHWAY
constexpr LevelInfo kLevels[] = {{"none", 0}, {"neon", HWY_NEON}, {"sve", HWY_SVE}};
#else
constexpr LevelInfo kLevels[] = {{"none", 0}, {"neon", 0}, {"sve", 0}};
#endif
#else
constexpr LevelInfo kLevels[] = {{"none", 0}};
#endif
constexpr int kLevelCount = static_cast<int>(sizeof(kLevels) / sizeof(kLevels[0]));
static_assert(kLevelCount <= kDpMaxSimdLevels, "more levels than the kernel tables hold");

constexpr int kNoCap = kDpMaxSimdLevels - 1;

bool CpuRuns(int level)
{
    if (level == 0)
        return true;
#if DP_HAVE_HIGHWAY
    return (static_cast<long long>(hwy::SupportedTargets()) & kLevels[level].hwyTarget) != 0;
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
