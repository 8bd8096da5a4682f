// A FILE* reader for the host's file sources: a path, or standard input for
// "-", read in binary. It knows whether the stream can seek (a regular file,
// also when standard input is redirected from one), counts the bytes it has
// consumed so that messages can name a byte offset, and skips forward by
// seeking where it can and by reading through where it cannot (a pipe).
//
// POSIX streams have no text mode, so standard input is used as it is.
// Offsets are relative to where the stream stood when it was opened.
#ifndef DATAPROCESS_HOST_HOSTFILE_H
#define DATAPROCESS_HOST_HOSTFILE_H

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

// Error codes that the host's file sources hand back through Open(..., int* error).
enum HostFileError {
    HOSTFILE_OK = 0,
    HOSTFILE_CANNOT_OPEN = 1, // the file does not exist or cannot be read
    HOSTFILE_BAD_FORMAT = 2,  // not the expected format, or a malformed header
    HOSTFILE_UNSUPPORTED = 3, // a valid stream in a variant that is not supported
    HOSTFILE_TRUNCATED = 4,   // the stream ends inside its header
    HOSTFILE_IO_ERROR = 5     // the system reported a read error
};

class HostFile {
public:
    HostFile() = default;
    ~HostFile();
    HostFile(const HostFile&) = delete;
    HostFile& operator=(const HostFile&) = delete;

    // Opens `path` for reading; "-" is standard input, which is never closed
    // here. On failure returns false and Error() says why.
    bool OpenRead(const std::string& path);
    // Reads from a stream the caller opened (a pipe, a socket, a file).
    // `name` is used in messages; with `own` the stream is closed by Close.
    bool Attach(FILE* stream, const std::string& name, bool own);
    void Close();

    bool IsOpen() const { return m_file != nullptr; }
    // The name used in messages: the path, or "standard input".
    const std::string& Name() const { return m_name; }
    bool Seekable() const { return m_seekable; }
    // Bytes from the starting point to the end of a seekable stream; -1 when unknown.
    int64_t Size() const { return m_size; }
    // Bytes consumed (or skipped) since the starting point.
    int64_t Position() const { return m_pos; }

    // Reads up to `n` bytes; fewer only at the end of the stream or on a
    // read error (see Failed()).
    size_t Read(void* dst, size_t n);

    enum LineResult { LINE_OK, LINE_EOF, LINE_PARTIAL, LINE_TOO_LONG };
    // Reads one line up to and without its '\n'. LINE_EOF: nothing was left;
    // LINE_PARTIAL: the stream ended inside the line; LINE_TOO_LONG: more than
    // maxLen bytes came without a '\n' (the line is left half read).
    LineResult ReadLine(std::string* line, size_t maxLen);

    // Moves forward by n bytes: a seek on a seekable stream, reading through
    // otherwise. False when the stream ends first (then it stands at the end).
    bool Skip(int64_t n);
    // Moves to an absolute offset; seekable streams only. No seek is made
    // when the stream already stands there.
    bool SeekTo(int64_t pos);

    // A read error (as opposed to the end of the stream) has happened.
    bool Failed() const { return m_failed; }
    // Text of the last system error seen by this stream.
    const std::string& Error() const { return m_error; }

private:
    void NoteSystemError(const char* what);

    FILE* m_file = nullptr;
    bool m_own = false;
    bool m_seekable = false;
    bool m_failed = false;
    int64_t m_base = 0; // absolute offset of the starting point
    int64_t m_size = -1;
    int64_t m_pos = 0;
    std::string m_name;
    std::string m_error;
};

// The name used in messages for a path given by the user: "standard input"
// and "standard output" for "-".
std::string HostInputName(const std::string& path);
std::string HostOutputName(const std::string& path);

// The extension of the last component of `path`, lower-case, without its
// dot ("MP4" in "/a.b/Clip.MP4" gives "mp4"); empty when there is none.
std::string HostPathExtension(const std::string& path);

// What names the file behind `path` however it is spelled: its device and
// inode after following links ("@dev:ino") when it exists, else the real
// path of its folder joined with its name (a file to be made there).
// Empty for "-" and for devices and pipes, which many paths may share
// harmlessly (two outputs to /dev/null).
std::string HostFileIdentity(const std::string& path);

// The system's text for an errno value (thread-safe).
std::string HostSystemErrorText(int err);

// Converts a wide path (as the decoder interfaces hand it) to UTF-8.
std::string HostPathFromWide(const wchar_t* path);

#endif // DATAPROCESS_HOST_HOSTFILE_H
