// Helpers for the tests of the file sources and sinks: a scratch folder,
// whole-file reads and a pipe holding a stream.
#ifndef DATAPROCESS_TESTS_FILETESTSUPPORT_H
#define DATAPROCESS_TESTS_FILETESTSUPPORT_H

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

namespace filetest {

using Bytes = std::vector<unsigned char>;

inline void Append(Bytes* b, const std::string& text) { b->insert(b->end(), text.begin(), text.end()); }

inline bool EndsWith(const std::string& s, const std::string& tail)
{
    return s.size() >= tail.size() && s.compare(s.size() - tail.size(), tail.size(), tail) == 0;
}

// ASCII paths as the decoders' Open takes them.
inline std::wstring Wide(const std::string& s) { return std::wstring(s.begin(), s.end()); }

// Everything up to the end of descriptor `fd`, which is then closed.
inline Bytes ReadFd(int fd)
{
    Bytes data;
    unsigned char buf[65536];
    for (ssize_t n; fd >= 0 && (n = read(fd, buf, sizeof(buf))) > 0;)
        data.insert(data.end(), buf, buf + n);
    if (fd >= 0)
        close(fd);
    return data;
}

inline Bytes ReadFile(const std::string& path) { return ReadFd(open(path.c_str(), O_RDONLY)); }

// A fresh folder under $TMPDIR (or /tmp), removed with its files.
class TempDir {
public:
    TempDir()
    {
        std::string pattern = (std::filesystem::temp_directory_path() / "dp-filetest-XXXXXX").string();
        if (mkdtemp(&pattern[0]))
            m_path = pattern;
    }
    ~TempDir()
    {
        std::error_code ignored;
        std::filesystem::remove_all(m_path, ignored);
    }
    const std::string& Path() const { return m_path; }
    std::string File(const std::string& name) const { return m_path + "/" + name; }
    // Writes `data` to the file `name` and returns its path.
    std::string Put(const std::string& name, const Bytes& data) const
    {
        std::ofstream(File(name), std::ios::binary).write(reinterpret_cast<const char*>(data.data()),
                                                          static_cast<std::streamsize>(data.size()));
        return File(name);
    }
    // Names in the folder, hidden ones included.
    std::vector<std::string> List() const
    {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(m_path))
            names.push_back(entry.path().filename().string());
        return names;
    }

private:
    std::string m_path;
};

// A pipe that holds `data` behind its closed write end: a stream that does
// not seek and ends after the data. The caller closes the read end.
inline FILE* Pipe(const Bytes& data)
{
    int fds[2];
    if (pipe(fds) != 0)
        return nullptr;
#ifdef F_SETPIPE_SZ
    fcntl(fds[1], F_SETPIPE_SZ, 1 << 20); // room for every stream of the tests
#endif
    const bool whole = write(fds[1], data.data(), data.size()) == static_cast<ssize_t>(data.size());
    close(fds[1]);
    if (!whole)
        close(fds[0]);
    return whole ? fdopen(fds[0], "rb") : nullptr;
}

} // namespace filetest

#endif // DATAPROCESS_TESTS_FILETESTSUPPORT_H
