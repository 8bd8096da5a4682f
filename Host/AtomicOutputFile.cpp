#include "AtomicOutputFile.h"

#include <atomic>
#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "HostFile.h"

namespace {

// Distinguishes temporary names made by one process; O_EXCL settles races
// with other processes.
std::atomic<unsigned> g_tempCounter{0};

// The path a chain of symbolic links ends at (the path itself when it is
// not a link, or does not exist yet). Relative link targets are taken from
// the link's folder. False after too many links (a loop).
bool FollowLinks(std::string path, std::string* out)
{
    for (int hops = 0; hops < 40; ++hops) {
        struct stat st;
        if (lstat(path.c_str(), &st) != 0 || !S_ISLNK(st.st_mode)) {
            *out = path;
            return true;
        }
        std::string target(static_cast<size_t>(st.st_size > 0 ? st.st_size : 255) + 1, '\0');
        const ssize_t n = readlink(path.c_str(), &target[0], target.size());
        if (n < 0 || static_cast<size_t>(n) >= target.size())
            return false;
        target.resize(static_cast<size_t>(n));
        const size_t slash = path.rfind('/');
        path = target[0] == '/' || slash == std::string::npos ? target : path.substr(0, slash + 1) + target;
    }
    return false;
}

} // namespace

AtomicOutputFile::~AtomicOutputFile() { Discard(); }

void AtomicOutputFile::Reset()
{
    Discard();
    m_seekable = false;
    m_committed = false;
    m_failed = false;
    m_base = 0;
    m_pos = 0;
    m_path.clear();
    m_name.clear();
    m_temp.clear();
    m_error.clear();
}

bool AtomicOutputFile::Fail(const std::string& what, int err)
{
    m_failed = true;
    m_error = m_name.empty() ? what : m_name + ": " + what;
    if (err)
        m_error += ": " + HostSystemErrorText(err);
    // Give the space back at once (the disk may be full); later writes are refused.
    Discard();
    return false;
}

bool AtomicOutputFile::Open(const std::string& path)
{
    Reset();
    if (path == "-") {
        const bool ok = Attach(stdout, HostOutputName(path));
        m_path = path;
        return ok;
    }
    m_path = path;
    m_name = path;
    if (path.empty())
        return Fail("no output file name given", 0);
    // A symbolic link is followed: its target is written (the safe way
    // below) and the link stays.
    std::string target;
    if (!FollowLinks(path, &target))
        return Fail("too many levels of symbolic links", ELOOP);
    m_path = target;
    // A device, a named pipe or a socket is not a file to replace: it is
    // written directly (a reader waiting on a pipe gets the data; a write
    // error such as a full device is reported).
    struct stat st;
    if (stat(target.c_str(), &st) == 0 && !S_ISREG(st.st_mode)) {
        if (S_ISDIR(st.st_mode))
            return Fail("is a folder, not a file name", 0);
        const int fd = ::open(target.c_str(), O_WRONLY | O_CLOEXEC);
        if (fd < 0)
            return Fail("cannot open for writing", errno);
        m_file = fdopen(fd, "wb");
        if (!m_file) {
            const int err = errno;
            ::close(fd);
            return Fail("cannot open a stream", err);
        }
        m_direct = true;
        return true;
    }
    const size_t slash = target.rfind('/');
    const std::string dirPrefix = slash == std::string::npos ? std::string() : target.substr(0, slash + 1);
    const std::string base = slash == std::string::npos ? target : target.substr(slash + 1);
    if (base.empty() || base == "." || base == "..")
        return Fail("is a folder, not a file name", 0);
    const std::string dirName = dirPrefix.empty() ? std::string(".") : dirPrefix;

    // A hidden name beside the target, so that the rename stays inside one
    // folder; 0666 lets the umask decide the final permissions as for any
    // newly created file.
    int fd = -1;
    for (int attempt = 0; attempt < 100 && fd < 0; ++attempt) {
        m_temp = dirPrefix + "." + base + "." + std::to_string(static_cast<long>(getpid())) + "-" +
                 std::to_string(g_tempCounter.fetch_add(1)) + ".part";
        fd = ::open(m_temp.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
        if (fd < 0 && errno != EEXIST) {
            const int err = errno;
            m_temp.clear();
            return Fail("cannot create a file in folder " + dirName, err);
        }
    }
    if (fd < 0) {
        m_temp.clear();
        return Fail("cannot create a temporary file in folder " + dirName, EEXIST);
    }
    m_file = fdopen(fd, "wb");
    if (!m_file) {
        const int err = errno;
        ::close(fd);
        ::unlink(m_temp.c_str());
        m_temp.clear();
        return Fail("cannot open a stream", err);
    }
    m_ownsFile = true;
    m_seekable = true;
    return true;
}

bool AtomicOutputFile::Attach(FILE* stream, const std::string& name)
{
    Reset();
    m_name = name;
    m_path = name;
    if (!stream)
        return Fail("no stream", 0);
    m_file = stream;
    m_ownsFile = false;
    // Standard output redirected into a regular file can be patched, unless
    // it was opened for append (every write would then land at the end).
    struct stat st;
    const int fd = fileno(stream);
    if (fstat(fd, &st) == 0 && S_ISREG(st.st_mode)) {
        const int flags = fcntl(fd, F_GETFL);
        const off_t at = ftello(stream);
        if (flags >= 0 && !(flags & O_APPEND) && at >= 0) {
            m_seekable = true;
            m_base = at;
        }
    }
    return true;
}

bool AtomicOutputFile::Write(const void* data, size_t n)
{
    if (!m_file)
        return false;
    if (n == 0)
        return true;
    if (std::fwrite(data, 1, n, m_file) != n)
        return Fail("write failed", errno);
    m_pos += static_cast<int64_t>(n);
    return true;
}

bool AtomicOutputFile::WriteAt(int64_t offset, const void* data, size_t n)
{
    if (!m_file)
        return false;
    if (!m_seekable || offset < 0 || offset + static_cast<int64_t>(n) > m_pos)
        return Fail("cannot rewrite bytes of a stream that does not seek", 0);
    if (std::fflush(m_file) != 0)
        return Fail("write failed", errno);
    if (fseeko(m_file, static_cast<off_t>(m_base + offset), SEEK_SET) != 0)
        return Fail("seek failed", errno);
    if (n && std::fwrite(data, 1, n, m_file) != n)
        return Fail("write failed", errno);
    if (std::fflush(m_file) != 0)
        return Fail("write failed", errno);
    if (fseeko(m_file, static_cast<off_t>(m_base + m_pos), SEEK_SET) != 0)
        return Fail("seek failed", errno);
    return true;
}

bool AtomicOutputFile::Commit()
{
    if (m_committed)
        return true;
    if (!m_file) {
        if (!m_failed)
            m_error = (m_name.empty() ? std::string("output") : m_name) + ": not open";
        return false;
    }
    if (std::fflush(m_file) != 0)
        return Fail("write failed", errno);
    if (m_direct) {
        FILE* f = m_file;
        m_file = nullptr;
        m_direct = false;
        if (std::fclose(f) != 0)
            return Fail("write failed", errno);
        m_committed = true;
        return true;
    }
    if (!m_ownsFile) {
        m_file = nullptr; // the caller's stream stays open
        m_committed = true;
        return true;
    }
    // The data must be on disk before the name points at it.
    if (fsync(fileno(m_file)) != 0)
        return Fail("write failed", errno);
    FILE* f = m_file;
    m_file = nullptr;
    if (std::fclose(f) != 0) {
        const int err = errno;
        ::unlink(m_temp.c_str());
        m_temp.clear();
        return Fail("write failed", err);
    }
    if (std::rename(m_temp.c_str(), m_path.c_str()) != 0) {
        const int err = errno;
        ::unlink(m_temp.c_str());
        m_temp.clear();
        return Fail("cannot move the finished file into place", err);
    }
    m_temp.clear();
    m_committed = true;
    return true;
}

void AtomicOutputFile::Discard()
{
    if (m_file && (m_ownsFile || m_direct))
        std::fclose(m_file);
    m_direct = false;
    m_file = nullptr;
    if (m_ownsFile && !m_temp.empty())
        ::unlink(m_temp.c_str());
    m_ownsFile = false;
    m_temp.clear();
}
