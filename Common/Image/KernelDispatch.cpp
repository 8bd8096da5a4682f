#include "KernelDispatch.h"

#include <atomic>
#include <cstdlib>
#include <cstring>

namespace {

std::atomic<int>& ForceFlag()
{
    // -1 = not read yet from the environment.
    static std::atomic<int> flag{-1};
    return flag;
}

} // namespace

bool DpForceReference()
{
    int v = ForceFlag().load(std::memory_order_acquire);
    if (v < 0) {
        const char* env = std::getenv("DP_FORCE_REFERENCE");
        int fromEnv = (env && *env && std::strcmp(env, "0") != 0) ? 1 : 0;
        int expected = -1;
        ForceFlag().compare_exchange_strong(expected, fromEnv, std::memory_order_acq_rel);
        v = ForceFlag().load(std::memory_order_acquire);
    }
    return v != 0;
}

void DpSetForceReference(bool force) { ForceFlag().store(force ? 1 : 0, std::memory_order_release); }
