// video --start/--end: the pieces of a run, cut anywhere, put end to end
// give the whole run's pictures (the batch layer joins pieces this way).
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "ToolRunner.h"

namespace tooltest {
namespace {

TEST(ToolRange, PiecesEndToEndAreTheWholeRun)
{
    TempDir dir;
    const std::string in = dir.file("in.y4m");
    MakeClip(in, ClipShape{16, 8, 20, 25, 1});
    auto run = [&](const std::string& out, const std::vector<std::string>& range) {
        std::vector<std::string> args{"video", in, "-o", dir.file(out), "--rate", "30", "-q"};
        args.insert(args.end(), range.begin(), range.end());
        return RunTool(args);
    };
    ASSERT_EQ(run("whole.y4m", {}).status, 0);
    const ClipRead whole = ReadClip(dir.file("whole.y4m"));
    ASSERT_TRUE(whole.ok);
    const size_t n = whole.luma.size(); // 20 pictures at 25 fps: 24 or 25 at 30 fps

    // Cuts at the first frames, between grid times, at the last frames and
    // at or past the end (where the second piece has no frame and fails).
    const char* cuts[] = {"0.0333", "0.0334", "0.07", "0.5", "0.51", "0.7667", "0.7666", "0.8", "0.8334", "1", "5"};
    for (const char* cut : cuts) {
        SCOPED_TRACE(cut);
        ASSERT_EQ(run("a.y4m", {"--end", cut}).status, 0);
        const RunResult second = run("b.y4m", {"--start", cut});
        ClipRead joined = ReadClip(dir.file("a.y4m"));
        ASSERT_TRUE(joined.ok);
        if (second.status == 0) {
            const ClipRead b = ReadClip(dir.file("b.y4m"));
            ASSERT_TRUE(b.ok);
            joined.luma.insert(joined.luma.end(), b.luma.begin(), b.luma.end());
            std::remove(dir.file("b.y4m").c_str());
        } else {
            EXPECT_EQ(second.status, 1);
            EXPECT_NE(second.err.find("video ends before"), std::string::npos) << second.err;
            // The first frame at or after the cut (grid stamps in 100 ns ticks) is past the last one.
            long long first = 0;
            while ((first * 10000000 + 15) / 30 < std::llround(std::stod(cut) * 1e7))
                ++first;
            EXPECT_GE(first, static_cast<long long>(n));
        }
        EXPECT_EQ(joined.luma, whole.luma);
    }
    // Three pieces, the middle one bounded on both sides.
    ASSERT_EQ(run("a.y4m", {"--end", "0.25"}).status, 0);
    ASSERT_EQ(run("b.y4m", {"--start", "0.25", "--end", "0.6"}).status, 0);
    ASSERT_EQ(run("c.y4m", {"--start", "0.6"}).status, 0);
    std::vector<Bytes> joined;
    for (const char* part : {"a.y4m", "b.y4m", "c.y4m"}) {
        const ClipRead r = ReadClip(dir.file(part));
        joined.insert(joined.end(), r.luma.begin(), r.luma.end());
    }
    EXPECT_EQ(joined, whole.luma);
}

} // namespace
} // namespace tooltest
