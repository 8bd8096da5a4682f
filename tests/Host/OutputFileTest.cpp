#include <gtest/gtest.h>

#include <csignal>
#include <string>

#include <sys/resource.h>

#include <DataProcess/Frame.h>

#include "AtomicOutputFile.h"
#include "FileTestSupport.h"
#include "WavWriter.h"
#include "Y4mWriter.h"

namespace {

using filetest::Bytes;

bool Contains(const std::string& s, const std::string& part) { return s.find(part) != std::string::npos; }

Y4mStreamFormat SmallVideo()
{
    Y4mStreamFormat fmt;
    fmt.width = 16;
    fmt.height = 16;
    return fmt;
}

TEST(AtomicOutput, NothingAppearsUnderTheFinalNameBeforeCommit)
{
    filetest::TempDir dir;
    const std::string path = dir.File("out.bin");
    {
        AtomicOutputFile out;
        ASSERT_TRUE(out.Open(path)) << out.LastError();
        ASSERT_TRUE(out.Write("abc", 3));
        EXPECT_FALSE(filetest::Exists(path));
        ASSERT_EQ(dir.List().size(), 1u);
        EXPECT_EQ(dir.List()[0][0], '.'); // a hidden temporary beside the target
        EXPECT_EQ(out.TempPath(), dir.File(dir.List()[0]));
    } // destroyed without Commit
    EXPECT_TRUE(dir.List().empty());

    AtomicOutputFile out;
    ASSERT_TRUE(out.Open(path));
    ASSERT_TRUE(out.Write("hello", 5));
    ASSERT_TRUE(out.WriteAt(1, "E", 1));
    ASSERT_TRUE(out.Write("!", 1));
    out.Discard();
    EXPECT_TRUE(dir.List().empty());
    EXPECT_FALSE(out.Write("x", 1));
}

TEST(AtomicOutput, CommitReplacesTheTargetInOneStep)
{
    filetest::TempDir dir;
    const std::string path = dir.File("out.bin");
    filetest::WriteFile(path, Bytes{'o', 'l', 'd'});
    AtomicOutputFile out;
    ASSERT_TRUE(out.Open(path));
    ASSERT_TRUE(out.Write("hello", 5));
    ASSERT_TRUE(out.WriteAt(0, "J", 1));
    ASSERT_TRUE(out.Write(" world", 6));
    EXPECT_EQ(filetest::ReadFile(path), (Bytes{'o', 'l', 'd'})); // still the old file
    ASSERT_TRUE(out.Commit()) << out.LastError();
    EXPECT_TRUE(out.Committed());
    const Bytes expected = {'J', 'e', 'l', 'l', 'o', ' ', 'w', 'o', 'r', 'l', 'd'};
    EXPECT_EQ(filetest::ReadFile(path), expected);
    EXPECT_EQ(dir.List().size(), 1u);
    EXPECT_TRUE(out.Commit()); // idempotent

    AtomicOutputFile bare;
    EXPECT_FALSE(bare.Open(""));
    EXPECT_EQ(bare.LastError(), "no output file name given");
    EXPECT_FALSE(bare.Open(dir.Path() + "/"));
    EXPECT_TRUE(Contains(bare.LastError(), "is a folder, not a file name"));
}

TEST(AtomicOutput, UnwritableFoldersAreReportedWithThePath)
{
    filetest::TempDir dir;
    AtomicOutputFile out;
    EXPECT_FALSE(out.Open("/nonexistent-dp-folder/out.y4m"));
    EXPECT_EQ(out.LastError(), "/nonexistent-dp-folder/out.y4m: cannot create a file in folder "
                               "/nonexistent-dp-folder/: No such file or directory");
    EXPECT_FALSE(out.Write("x", 1));
    EXPECT_FALSE(out.Commit());

    // A "folder" that is a regular file.
    const std::string file = dir.File("plain");
    filetest::WriteFile(file, Bytes{1});
    Y4mWriter y4m;
    EXPECT_FALSE(y4m.Open(file + "/out.y4m", SmallVideo()));
    EXPECT_TRUE(Contains(y4m.LastError(), file + "/out.y4m: cannot create a file in folder")) << y4m.LastError();
    WavWriter wav;
    EXPECT_FALSE(wav.Open(file + "/out.wav", WavStreamFormat()));
    EXPECT_TRUE(Contains(wav.LastError(), "Not a directory")) << wav.LastError();
    EXPECT_EQ(dir.List().size(), 1u);

    // Permissions do not stop the super-user; check them only for others.
    if (geteuid() != 0) {
        const std::string locked = dir.File("locked");
        ASSERT_EQ(mkdir(locked.c_str(), 0555), 0);
        EXPECT_FALSE(y4m.Open(locked + "/out.y4m", SmallVideo()));
        EXPECT_TRUE(Contains(y4m.LastError(), "Permission denied")) << y4m.LastError();
        rmdir(locked.c_str());
    }
}

TEST(AtomicOutput, WriteErrorsNameThePath)
{
    // /dev/full accepts the open and fails every write with ENOSPC, which
    // stdio reports at the latest when it flushes.
    FILE* full = std::fopen("/dev/full", "wb");
    if (!full)
        GTEST_SKIP() << "/dev/full is not available";
    WavWriter wav;
    ASSERT_TRUE(wav.Attach(full, "full.wav", WavStreamFormat()));
    const Bytes samples(64 * 1024, 0);
    const bool written = wav.WriteSamples(samples.data(), samples.size());
    const bool committed = written && wav.Commit();
    EXPECT_FALSE(committed);
    EXPECT_EQ(wav.LastError(), "full.wav: write failed: No space left on device");
    std::fclose(full);
}

// Runs in a child process: writes a stream that grows past a 4 KiB file
// size limit and exits 0 when the write failed with a message naming the
// path and nothing was left in the folder.
void WriteBeyondTheSizeLimit(const filetest::TempDir& dir, const std::string& path)
{
    std::signal(SIGXFSZ, SIG_IGN);
    struct rlimit limit;
    limit.rlim_cur = limit.rlim_max = 4096;
    setrlimit(RLIMIT_FSIZE, &limit);
    Y4mWriter writer;
    bool ok = writer.Open(path, SmallVideo());
    MEDIA_FRAME* frame = CreateYV12Frame(16, 16, 0, 1);
    for (int i = 0; ok && i < 100; ++i)
        ok = writer.WriteFrame(frame);
    ok = ok && writer.Commit();
    ReleaseYV12Frame(frame);
    const bool clean = !ok && !filetest::Exists(path) && dir.List().empty() &&
                       Contains(writer.LastError(), path + ": write failed: File too large");
    std::fprintf(stderr, "%s\n", writer.LastError().c_str());
    std::_Exit(clean ? 0 : 1);
}

// A file that grows past the size limit fails like a full disk: the
// temporary file is removed and nothing appears under the final name.
TEST(AtomicOutputDeathTest, FailedWriteLeavesNothingBehind)
{
    filetest::TempDir dir;
    const std::string path = dir.File("big.y4m");
    EXPECT_EXIT(WriteBeyondTheSizeLimit(dir, path), ::testing::ExitedWithCode(0), "File too large");
    EXPECT_TRUE(dir.List().empty());
}

TEST(AtomicOutput, DashWritesStandardOutput)
{
    filetest::DrainedPipe pipe;
    {
        filetest::Redirect out(1, pipe.WriteFd());
        Y4mWriter writer;
        ASSERT_TRUE(writer.Open("-", SmallVideo()));
        MEDIA_FRAME* frame = CreateYV12Frame(16, 16, 0, 1);
        ASSERT_TRUE(writer.WriteFrame(frame));
        ReleaseYV12Frame(frame);
        ASSERT_TRUE(writer.Commit()) << writer.LastError();
    }
    const Bytes data = pipe.Finish();
    const std::string head = "YUV4MPEG2 W16 H16 F25:1 Ip A1:1 C420jpeg\nFRAME\n";
    ASSERT_EQ(data.size(), head.size() + 384);
    EXPECT_EQ(std::string(data.begin(), data.begin() + head.size()), head);
    EXPECT_EQ(data[head.size()], 16);
    EXPECT_EQ(data.back(), 128);
}

} // namespace
