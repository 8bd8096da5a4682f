// Outputs that are not plain files: a symbolic link is followed and its
// target written (the link stays), a named pipe and a device are written in
// place (never replaced by a file), and a device that refuses the data fails
// the output.
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "AtomicOutputFile.h"

namespace {

namespace fs = std::filesystem;

bool WriteAll(const std::string& path, const std::string& text, std::string* error)
{
    AtomicOutputFile out;
    const bool ok = out.Open(path) && out.Write(text.data(), text.size()) && out.Commit();
    *error = out.LastError();
    return ok;
}

TEST(AtomicOutput, LinksPipesAndDevicesAreWrittenInPlace)
{
    const fs::path dir = fs::temp_directory_path() / ("dp-nodes-" + std::to_string(getpid()));
    fs::create_directories(dir);
    std::string error;

    // A link (relative target) is followed; the link itself stays a link.
    const fs::path target = dir / "target.bin", link = dir / "link.bin";
    fs::create_symlink("target.bin", link);
    ASSERT_TRUE(WriteAll(link.string(), "through the link", &error)) << error;
    EXPECT_TRUE(fs::is_symlink(link));
    EXPECT_EQ(fs::file_size(target), 16u);

    // A named pipe with a reader waiting: the reader gets the bytes, the pipe stays.
    const fs::path fifo = dir / "pipe";
    ASSERT_EQ(mkfifo(fifo.c_str(), 0600), 0);
    std::string got;
    std::thread reader([&] {
        if (FILE* f = std::fopen(fifo.c_str(), "rb")) {
            char buf[64];
            size_t n;
            while ((n = std::fread(buf, 1, sizeof buf, f)) > 0)
                got.append(buf, n);
            std::fclose(f);
        }
    });
    EXPECT_TRUE(WriteAll(fifo.string(), "down the pipe", &error)) << error;
    reader.join();
    EXPECT_EQ(got, "down the pipe");
    EXPECT_TRUE(fs::is_fifo(fifo));

    // Devices: /dev/null takes everything, /dev/full refuses it; both stay devices.
    if (fs::exists("/dev/null") && access("/dev/null", W_OK) == 0) {
        EXPECT_TRUE(WriteAll("/dev/null", "gone", &error)) << error;
        EXPECT_TRUE(fs::is_character_file("/dev/null"));
    }
    if (fs::exists("/dev/full") && access("/dev/full", W_OK) == 0) {
        EXPECT_FALSE(WriteAll("/dev/full", std::string(100000, 'x'), &error));
        EXPECT_NE(error.find("/dev/full"), std::string::npos) << error;
        EXPECT_TRUE(fs::is_character_file("/dev/full"));
    }

    // A loop of links is an error naming the path.
    fs::create_symlink("b", dir / "a");
    fs::create_symlink("a", dir / "b");
    EXPECT_FALSE(WriteAll((dir / "a").string(), "x", &error));
    EXPECT_NE(error.find("symbolic links"), std::string::npos) << error;

    fs::remove_all(dir);
}

} // namespace
