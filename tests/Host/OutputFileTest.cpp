#include <gtest/gtest.h>

#include <csignal>
#include <string>

#include <sys/resource.h>
#include <sys/stat.h>

#include <DataProcess/Frame.h>

#include "AtomicOutputFile.h"
#include "FileTestSupport.h"
#include "WavWriter.h"
#include "Y4mWriter.h"

namespace {

using filetest::Bytes;

const Y4mStreamFormat kSmallVideo = {16, 16, 25, 1, 0, 0, 'p'};

TEST(AtomicOutput, OnlyCommitPutsTheFileUnderItsName)
{
    filetest::TempDir dir;
    const Bytes old = {'o', 'l', 'd'};
    const std::string path = dir.Put("out.bin", old);
    {
        AtomicOutputFile out;
        ASSERT_TRUE(out.Open(path)) << out.LastError();
        ASSERT_TRUE(out.Write("abc", 3));
        EXPECT_EQ(out.TempPath().rfind(dir.Path() + "/.", 0), 0u) << "a hidden temporary beside the target";
        EXPECT_EQ(dir.List().size(), 2u);
    } // destroyed without Commit
    AtomicOutputFile out;
    ASSERT_TRUE(out.Open(path));
    out.Discard();
    EXPECT_FALSE(out.Write("x", 1));
    EXPECT_EQ(dir.List().size(), 1u);
    EXPECT_EQ(filetest::ReadFile(path), old);

    ASSERT_TRUE(out.Open(path));
    ASSERT_TRUE(out.Write("hello", 5) && out.WriteAt(0, "J", 1) && out.Write("!", 1));
    EXPECT_EQ(filetest::ReadFile(path), old);
    ASSERT_TRUE(out.Commit()) << out.LastError();
    EXPECT_TRUE(out.Commit()); // idempotent
    EXPECT_EQ(filetest::ReadFile(path), (Bytes{'J', 'e', 'l', 'l', 'o', '!'}));
    EXPECT_EQ(dir.List().size(), 1u);

    EXPECT_FALSE(out.Open(""));
    EXPECT_EQ(out.LastError(), "no output file name given");
    EXPECT_FALSE(out.Open(dir.Path() + "/"));
    EXPECT_TRUE(filetest::EndsWith(out.LastError(), "is a folder, not a file name")) << out.LastError();
}

// Folders that cannot take the file, and a device that refuses the writes.
TEST(AtomicOutput, UnwritableOutputsAreReportedWithThePath)
{
    AtomicOutputFile out;
    EXPECT_FALSE(out.Open("/nonexistent-dp-folder/out.y4m"));
    EXPECT_EQ(out.LastError(), "/nonexistent-dp-folder/out.y4m: cannot create a file in folder "
                               "/nonexistent-dp-folder/: No such file or directory");
    EXPECT_FALSE(out.Write("x", 1));
    EXPECT_FALSE(out.Commit());

    filetest::TempDir dir;
    const std::string file = dir.Put("plain", Bytes{1}); // a "folder" that is a regular file
    Y4mWriter y4m;
    EXPECT_FALSE(y4m.Open(file + "/out.y4m", kSmallVideo));
    EXPECT_EQ(y4m.LastError().rfind(file + "/out.y4m: cannot create a file in folder", 0), 0u) << y4m.LastError();
    WavWriter wav;
    EXPECT_FALSE(wav.Open(file + "/out.wav", WavStreamFormat()));
    EXPECT_TRUE(filetest::EndsWith(wav.LastError(), "Not a directory")) << wav.LastError();
    if (geteuid() != 0) { // permissions do not stop the super-user
        const std::string locked = dir.File("locked");
        ASSERT_EQ(mkdir(locked.c_str(), 0555), 0);
        EXPECT_FALSE(y4m.Open(locked + "/out.y4m", kSmallVideo));
        EXPECT_TRUE(filetest::EndsWith(y4m.LastError(), "Permission denied")) << y4m.LastError();
        rmdir(locked.c_str());
    }
    EXPECT_EQ(dir.List().size(), 1u);

    // /dev/full (where the system has one) accepts the open and fails every
    // write with ENOSPC, which stdio reports at the latest when it flushes.
    if (FILE* full = std::fopen("/dev/full", "wb")) {
        ASSERT_TRUE(wav.Attach(full, "full.wav", WavStreamFormat()));
        const Bytes samples(64 * 1024, 0);
        EXPECT_FALSE(wav.WriteSamples(samples.data(), samples.size()) && wav.Commit());
        EXPECT_EQ(wav.LastError(), "full.wav: write failed: No space left on device");
        std::fclose(full);
    }
}

// A file that grows past a 4 KiB size limit (in a child process) fails
// like a full disk: the message names the path and nothing is left.
TEST(AtomicOutputDeathTest, FailedWriteLeavesNothingBehind)
{
    filetest::TempDir dir;
    const std::string path = dir.File("big.y4m");
    EXPECT_EXIT(
        {
            std::signal(SIGXFSZ, SIG_IGN);
            rlimit limit;
            limit.rlim_cur = limit.rlim_max = 4096;
            setrlimit(RLIMIT_FSIZE, &limit);
            Y4mWriter writer;
            bool ok = writer.Open(path, kSmallVideo);
            MEDIA_FRAME* frame = CreateYV12Frame(16, 16, 0, 1);
            for (int i = 0; ok && i < 100; ++i)
                ok = writer.WriteFrame(frame);
            ok = ok && writer.Commit();
            ReleaseYV12Frame(frame);
            std::fprintf(stderr, "%s\n", writer.LastError().c_str());
            const bool clean = dir.List().empty() && writer.LastError() == path + ": write failed: File too large";
            std::_Exit(!ok && clean ? 0 : 1);
        },
        ::testing::ExitedWithCode(0), "File too large");
    EXPECT_TRUE(dir.List().empty());
}

} // namespace
