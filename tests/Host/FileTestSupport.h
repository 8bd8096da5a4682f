// Helpers for the tests of the file sources and sinks: a scratch folder,
// whole-file reads and writes, a pipe fed by a thread, and redirection of
// standard input or output onto a file descriptor.
#ifndef DATAPROCESS_TESTS_FILETESTSUPPORT_H
#define DATAPROCESS_TESTS_FILETESTSUPPORT_H

#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace filetest {

using Bytes = std::vector<unsigned char>;

// A fresh folder under $TMPDIR (or /tmp), removed with its files.
class TempDir {
public:
    TempDir()
    {
        const char* base = std::getenv("TMPDIR");
        std::string pattern = std::string(base && *base ? base : "/tmp") + "/dp-filetest-XXXXXX";
        std::vector<char> buf(pattern.begin(), pattern.end());
        buf.push_back('\0');
        if (mkdtemp(buf.data()))
            m_path = buf.data();
    }
    ~TempDir()
    {
        for (const std::string& name : List())
            std::remove((m_path + "/" + name).c_str());
        rmdir(m_path.c_str());
    }
    const std::string& Path() const { return m_path; }
    std::string File(const std::string& name) const { return m_path + "/" + name; }
    // Names in the folder, hidden ones included.
    std::vector<std::string> List() const
    {
        std::vector<std::string> names;
        if (DIR* d = opendir(m_path.c_str())) {
            while (dirent* e = readdir(d)) {
                const std::string n = e->d_name;
                if (n != "." && n != "..")
                    names.push_back(n);
            }
            closedir(d);
        }
        return names;
    }

private:
    std::string m_path;
};

inline bool Exists(const std::string& path)
{
    struct stat st;
    return stat(path.c_str(), &st) == 0;
}

inline Bytes ReadFile(const std::string& path)
{
    Bytes data;
    if (FILE* f = std::fopen(path.c_str(), "rb")) {
        unsigned char buf[65536];
        size_t n;
        while ((n = std::fread(buf, 1, sizeof(buf), f)) > 0)
            data.insert(data.end(), buf, buf + n);
        std::fclose(f);
    }
    return data;
}

inline void WriteFile(const std::string& path, const Bytes& data)
{
    if (FILE* f = std::fopen(path.c_str(), "wb")) {
        if (!data.empty())
            std::fwrite(data.data(), 1, data.size(), f);
        std::fclose(f);
    }
}

inline void Append(Bytes* b, const std::string& text) { b->insert(b->end(), text.begin(), text.end()); }

// A pipe whose write end a thread fills with `data` and then closes; the
// read end is handed out as a FILE* (closed by the destructor unless taken).
class FedPipe {
public:
    explicit FedPipe(Bytes data) : m_data(std::move(data))
    {
        int fds[2];
        if (pipe(fds) != 0)
            return;
        m_read = fdopen(fds[0], "rb");
        const int wfd = fds[1];
        m_thread = std::thread([this, wfd] {
            size_t done = 0;
            while (done < m_data.size()) {
                const ssize_t n = write(wfd, m_data.data() + done, m_data.size() - done);
                if (n <= 0)
                    break; // the reader went away
                done += static_cast<size_t>(n);
            }
            close(wfd);
        });
    }
    ~FedPipe()
    {
        if (m_read)
            std::fclose(m_read); // unblocks the writer (EPIPE) if it is still going
        if (m_thread.joinable())
            m_thread.join();
    }
    FILE* Read() const { return m_read; }
    // The read end's descriptor, for redirecting standard input.
    int ReadFd() const { return m_read ? fileno(m_read) : -1; }

private:
    Bytes m_data;
    FILE* m_read = nullptr;
    std::thread m_thread;
};

// A pipe drained by a thread into a buffer; Finish() closes the write end
// (the caller's copies must be closed too) and returns everything read.
class DrainedPipe {
public:
    DrainedPipe()
    {
        int fds[2];
        if (pipe(fds) != 0)
            return;
        m_writeFd = fds[1];
        const int rfd = fds[0];
        m_thread = std::thread([this, rfd] {
            unsigned char buf[65536];
            ssize_t n;
            while ((n = read(rfd, buf, sizeof(buf))) > 0)
                m_data.insert(m_data.end(), buf, buf + n);
            close(rfd);
        });
    }
    ~DrainedPipe() { Finish(); }
    int WriteFd() const { return m_writeFd; }
    const Bytes& Finish()
    {
        if (m_writeFd >= 0) {
            close(m_writeFd);
            m_writeFd = -1;
        }
        if (m_thread.joinable())
            m_thread.join();
        return m_data;
    }

private:
    int m_writeFd = -1;
    Bytes m_data;
    std::thread m_thread;
};

// Points descriptor `target` (0 or 1) at `fd` for the lifetime of the
// object; the stdio stream on it is flushed and its state cleared both ways.
class Redirect {
public:
    Redirect(int target, int fd) : m_target(target)
    {
        std::fflush(stdout);
        m_saved = dup(target);
        dup2(fd, target);
        std::clearerr(target == 0 ? stdin : stdout);
    }
    ~Redirect()
    {
        std::fflush(stdout);
        if (m_saved >= 0) {
            dup2(m_saved, m_target);
            close(m_saved);
        } else {
            close(m_target);
        }
        std::clearerr(m_target == 0 ? stdin : stdout);
    }

private:
    int m_target;
    int m_saved = -1;
};

} // namespace filetest

#endif // DATAPROCESS_TESTS_FILETESTSUPPORT_H
