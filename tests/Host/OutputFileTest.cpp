#include <gtest/gtest.h>

#include <csignal>
#include <string>

#include <sys/resource.h>
#include <sys/stat.h>

#include <DataProcess/Frame.h>

#include "AtomicOutputFile.h"
#include "FileTestSupport.h"
#include "HostFile.h"
#include "WavWriter.h"
#include "Y4mWriter.h"

namespace {

using filetest::Bytes;

const Y4mStreamFormat kSmallVideo = {16, 16, 25, 1, 0, 0, 'p'};

// The kind of a file comes from its name: the part after the last dot of the
// last path element, in lower case.
TEST(HostPath, ExtensionOfTheFileName)
{
    for (const auto& c : {std::pair<const char*, const char*>{"clip.Y4M", "y4m"}, {"take.2/in", ""},
                          {"a/b.tar.WAV", "wav"}, {"-", ""}, {"noext", ""}})
        EXPECT_EQ(HostPathExtension(c.first), c.second) << c.first;
}

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

    // A WAV file appended to a stream (">>") keeps the header of unknown
    // size it began with: an appending stream is never rewritten.
    FILE* appending = std::fopen(path.c_str(), "ab");
    WavWriter wav;
    ASSERT_TRUE(wav.Attach(appending, "appended", WavStreamFormat{8000, 1, 16, 0}));
    ASSERT_TRUE(wav.WriteSamples("\1\2", 2) && wav.Commit()) << wav.LastError();
    std::fclose(appending);
    EXPECT_EQ(filetest::ReadFile(path).size(), 6u + 44u + 2u);
}

} // namespace
