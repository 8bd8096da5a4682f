// The level switch: the names of this architecture's levels, the level the
// CPU gets, and what the library uses when asked for a level the CPU lacks.
//
// DP_EXPECT_SIMD_BEST names the best level the CPU running the test must
// report (make test-arm64 sets it per emulated CPU: "neon" without SVE,
// "sve" with it); without it the detected best level is taken as given.
#include <algorithm>
#include <cstdlib>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "KernelDispatch.h"
#include "SimdLevel.h"

namespace {

const std::vector<std::string> kX86 = {"none", "sse4", "avx2", "avx512"};
const std::vector<std::string> kArm = {"none", "neon", "sve"};
#if defined(__x86_64__) || defined(__i386__)
const std::vector<std::string>& kOwn = kX86;
const std::vector<std::string>& kForeign = kArm;
#elif defined(__aarch64__)
const std::vector<std::string>& kOwn = kArm;
const std::vector<std::string>& kForeign = kX86;
#else
const std::vector<std::string> kOwn = {"none"};
const std::vector<std::string> kForeign = {"sse4", "avx2", "avx512", "neon", "sve"};
#endif

int IndexOf(const std::string& name)
{
    return static_cast<int>(std::find(kOwn.begin(), kOwn.end(), name) - kOwn.begin());
}

class SimdLevelTest : public ::testing::Test {
protected:
    void TearDown() override { DPSetSimdLevel("best"); }
};

TEST_F(SimdLevelTest, TheCpuGetsTheBestLevelItRuns)
{
    ASSERT_EQ(DPSetSimdLevel("best"), 0);
    const std::string best = DPGetSimdLevel();
    ASSERT_LT(IndexOf(best), static_cast<int>(kOwn.size())) << best;
    EXPECT_EQ(IndexOf(best), DpBestSimdLevel());
    if (const char* expected = std::getenv("DP_EXPECT_SIMD_BEST"); expected && *expected) {
        EXPECT_EQ(best, expected);
    }
#if !DP_HAVE_HIGHWAY
    EXPECT_EQ(best, "none"); // no vector twins in this build
#elif defined(__aarch64__)
    EXPECT_NE(best, "none"); // NEON is part of every arm64 CPU
#endif
}

// Levels are cumulative: each one at or below the best is used as asked,
// each above it is refused in favour of the best (never run on a CPU that
// lacks it).
TEST_F(SimdLevelTest, EveryLevelIsUsedUpToTheBestAndRefusedAbove)
{
    const int best = DpBestSimdLevel();
    for (int level = 0; level < static_cast<int>(kOwn.size()); ++level) {
        SCOPED_TRACE(kOwn[level]);
        ASSERT_EQ(DPSetSimdLevel(kOwn[level].c_str()), 0);
        EXPECT_EQ(DpSimdLevelSupported(level), level <= best);
        EXPECT_EQ(DPGetSimdLevel(), kOwn[std::min(level, best)]);
        EXPECT_EQ(DpActiveSimdLevel(), std::min(level, best));
        EXPECT_EQ(DpForceReference(), level == 0);
    }
    EXPECT_FALSE(DpSimdLevelSupported(static_cast<int>(kOwn.size())));
    EXPECT_EQ(DpSimdLevelName(static_cast<int>(kOwn.size())), nullptr);
}

// Names of the other architecture and names that are no level are refused
// and leave the level as it was.
TEST_F(SimdLevelTest, ForeignAndUnknownNamesAreRefused)
{
    std::vector<const char*> names;
    for (const std::string& n : kForeign)
        if (n != "none")
            names.push_back(n.c_str());
    for (const char* n : {"", "SVE", "Neon", "avx-512", "sve2", "best "})
        names.push_back(n);
    names.push_back(nullptr);
    ASSERT_EQ(DPSetSimdLevel("none"), 0);
    for (const char* name : names) {
        SCOPED_TRACE(name ? name : "(null)");
        EXPECT_EQ(DPSetSimdLevel(name), -1);
        EXPECT_STREQ(DPGetSimdLevel(), "none");
    }
}

} // namespace
