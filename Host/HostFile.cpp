#include "HostFile.h"

#include <cctype>

#include <cerrno>
#include <cstring>
#include <cwchar>
#include <vector>

#include <climits>
#include <cstdlib>
#include <sys/stat.h>

#include <DataProcess/TextConvert.h>

namespace {

// strerror_r comes in two flavours (XSI returns int, GNU returns char*);
// these overloads pick whichever the C library declares.
[[maybe_unused]] std::string FromStrerror(int result, const char* buf, int err)
{
    return result == 0 ? std::string(buf) : "error " + std::to_string(err);
}
[[maybe_unused]] std::string FromStrerror(const char* result, const char*, int)
{
    return std::string(result);
}

} // namespace

std::string HostSystemErrorText(int err)
{
    char buf[256] = {0};
    return FromStrerror(strerror_r(err, buf, sizeof(buf)), buf, err);
}

std::string HostInputName(const std::string& path) { return path == "-" ? "standard input" : path; }

std::string HostOutputName(const std::string& path) { return path == "-" ? "standard output" : path; }

std::string HostPathFromWide(const wchar_t* path)
{
    if (!path)
        return std::string();
    // A code point takes at most 4 bytes of UTF-8.
    const size_t n = std::wcslen(path);
    std::vector<char> buf(4 * n + 1);
    return std::string(__w2a(buf.data(), path, static_cast<int>(buf.size())));
}

HostFile::~HostFile() { Close(); }

bool HostFile::OpenRead(const std::string& path)
{
    Close();
    if (path == "-")
        return Attach(stdin, HostInputName(path), false);
    FILE* f = std::fopen(path.c_str(), "rb");
    if (!f) {
        m_name = path;
        NoteSystemError("cannot open");
        return false;
    }
    return Attach(f, path, true);
}

bool HostFile::Attach(FILE* stream, const std::string& name, bool own)
{
    Close();
    m_name = name;
    if (!stream) {
        m_error = "no stream";
        return false;
    }
    m_file = stream;
    m_own = own;
    struct stat st;
    if (fstat(fileno(stream), &st) == 0 && S_ISREG(st.st_mode)) {
        const off_t at = ftello(stream);
        if (at >= 0) {
            m_seekable = true;
            m_base = at;
            m_size = st.st_size > at ? static_cast<int64_t>(st.st_size - at) : 0;
        }
    }
    return true;
}

void HostFile::Close()
{
    if (m_file && m_own)
        std::fclose(m_file);
    m_file = nullptr;
    m_own = false;
    m_seekable = false;
    m_failed = false;
    m_base = 0;
    m_size = -1;
    m_pos = 0;
    m_error.clear();
}

void HostFile::NoteSystemError(const char* what)
{
    const int err = errno;
    m_error = std::string(what) + ": " + HostSystemErrorText(err);
}

size_t HostFile::Read(void* dst, size_t n)
{
    if (!m_file || n == 0)
        return 0;
    unsigned char* p = static_cast<unsigned char*>(dst);
    size_t got = 0;
    while (got < n) {
        const size_t r = std::fread(p + got, 1, n - got, m_file);
        got += r;
        if (r == 0) {
            if (std::ferror(m_file)) {
                m_failed = true;
                NoteSystemError("read error");
            }
            break;
        }
    }
    m_pos += static_cast<int64_t>(got);
    return got;
}

HostFile::LineResult HostFile::ReadLine(std::string* line, size_t maxLen)
{
    line->clear();
    if (!m_file)
        return LINE_EOF;
    for (;;) {
        const int c = std::getc(m_file);
        if (c == EOF) {
            if (std::ferror(m_file)) {
                m_failed = true;
                NoteSystemError("read error");
            }
            return line->empty() ? LINE_EOF : LINE_PARTIAL;
        }
        ++m_pos;
        if (c == '\n')
            return LINE_OK;
        if (line->size() >= maxLen)
            return LINE_TOO_LONG;
        line->push_back(static_cast<char>(c));
    }
}

bool HostFile::Skip(int64_t n)
{
    if (!m_file || n < 0)
        return false;
    if (m_seekable) {
        const int64_t target = m_pos + n;
        if (target > m_size) {
            SeekTo(m_size);
            return false;
        }
        return SeekTo(target);
    }
    unsigned char scratch[16384];
    while (n > 0) {
        const size_t want = n < static_cast<int64_t>(sizeof(scratch)) ? static_cast<size_t>(n) : sizeof(scratch);
        const size_t got = Read(scratch, want);
        n -= static_cast<int64_t>(got);
        if (got < want)
            return false;
    }
    return true;
}

bool HostFile::SeekTo(int64_t pos)
{
    if (!m_file || !m_seekable || pos < 0)
        return false;
    if (pos == m_pos)
        return true;
    if (fseeko(m_file, static_cast<off_t>(m_base + pos), SEEK_SET) != 0) {
        m_failed = true;
        NoteSystemError("seek failed");
        return false;
    }
    m_pos = pos;
    return true;
}

std::string HostPathExtension(const std::string& path)
{
    const auto slash = path.find_last_of('/');
    const auto dot = path.find_last_of('.');
    if (dot == std::string::npos || (slash != std::string::npos && dot < slash))
        return "";
    std::string ext = path.substr(dot + 1);
    for (char& c : ext)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return ext;
}

std::string HostFileIdentity(const std::string& path)
{
    if (path.empty() || path == "-")
        return std::string();
    struct stat st;
    if (stat(path.c_str(), &st) == 0) {
        if (!S_ISREG(st.st_mode) && !S_ISDIR(st.st_mode))
            return std::string();
        return "@" + std::to_string(static_cast<unsigned long long>(st.st_dev)) + ":" +
               std::to_string(static_cast<unsigned long long>(st.st_ino));
    }
    // Not there yet: the folder it will be made in, by its real path.
    const auto slash = path.rfind('/');
    const std::string dir = slash == std::string::npos ? "." : slash == 0 ? "/" : path.substr(0, slash);
    const std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
    char real[PATH_MAX];
    if (!realpath(dir.c_str(), real))
        return "?" + path;
    return std::string(real) + "/" + name;
}
