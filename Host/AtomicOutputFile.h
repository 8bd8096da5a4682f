// An output file that appears under its final name only when it is complete.
//
// Open("out.y4m") writes to a fresh temporary file beside the target (same
// folder, so that the final rename stays on one file system); Commit()
// flushes it to disk and renames it onto the final name, replacing any file
// there in one step. Without Commit (an error, or destruction) the temporary
// file is removed, so no half-written output is ever left under the final
// name. "-" writes to standard output; there Commit only flushes.
//
// A symbolic link is followed and its target written that way; a path that
// names a device, a named pipe or a socket is written directly (nothing is
// renamed; a write error there fails Commit).
//
// Every failure (unwritable folder, disk full, rename refused) is reported
// through LastError() with a message that names the path; after the first
// failure further writes are refused and Commit fails.
#ifndef DATAPROCESS_HOST_ATOMICOUTPUTFILE_H
#define DATAPROCESS_HOST_ATOMICOUTPUTFILE_H

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

class AtomicOutputFile {
public:
    AtomicOutputFile() = default;
    ~AtomicOutputFile();
    AtomicOutputFile(const AtomicOutputFile&) = delete;
    AtomicOutputFile& operator=(const AtomicOutputFile&) = delete;

    // Starts writing `path` (UTF-8; "-" = standard output).
    bool Open(const std::string& path);
    // Writes to a stream the caller opened and keeps owning (a pipe, a
    // socket); `name` is used in messages. Commit flushes it; nothing is
    // renamed or removed.
    bool Attach(FILE* stream, const std::string& name);

    bool IsOpen() const { return m_file != nullptr; }
    bool Write(const void* data, size_t n);
    // Bytes written since Open.
    int64_t Position() const { return m_pos; }
    // Earlier bytes can be rewritten (a regular file not opened for append),
    // so that a header can be completed at the end.
    bool Seekable() const { return m_seekable; }
    // Overwrites bytes at `offset` (from the start of this output) and
    // returns to the end. Seekable outputs only.
    bool WriteAt(int64_t offset, const void* data, size_t n);

    // Finishes the output: flushes, syncs and renames the temporary file onto
    // the final name. False (and the temporary file removed) on any failure.
    bool Commit();
    // Abandons the output and removes the temporary file. Idempotent.
    void Discard();

    bool Committed() const { return m_committed; }
    const std::string& LastError() const { return m_error; }
    // The final path, and the temporary one while a file is being written.
    const std::string& Path() const { return m_path; }
    const std::string& TempPath() const { return m_temp; }

private:
    bool Fail(const std::string& what, int err);
    void Reset();

    FILE* m_file = nullptr;
    bool m_ownsFile = false; // a temporary file of ours (closed and renamed or removed)
    bool m_direct = false;   // a device, pipe or socket opened by us: written in place, closed by Commit
    bool m_seekable = false;
    bool m_committed = false;
    bool m_failed = false;
    int64_t m_base = 0; // absolute offset of the first byte written
    int64_t m_pos = 0;
    std::string m_path;
    std::string m_name; // for messages
    std::string m_temp;
    std::string m_error;
};

#endif // DATAPROCESS_HOST_ATOMICOUTPUTFILE_H
