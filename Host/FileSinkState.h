// What the host's file writers (Y4mWriter, WavWriter) share whatever the
// format: the AtomicOutputFile, the last error, and the rules around them.
// Starting an output abandons the previous one; the first failure records
// its message and abandons the output, so that nothing is left under the
// final name and later writes fail; Commit keeps the first message.
#ifndef DATAPROCESS_HOST_FILESINKSTATE_H
#define DATAPROCESS_HOST_FILESINKSTATE_H

#include <cstdio>
#include <string>

#include "AtomicOutputFile.h"

class FileSinkState {
public:
    // Starts the output at `path` (UTF-8; "-" = standard output). `problem`
    // is what the writer found wrong with the format asked for (empty when
    // nothing): it is refused as "<path>: <problem>" before anything is
    // created.
    bool Open(const char* path, const std::string& problem);
    bool Open(const std::string& path, const std::string& problem);
    // The same on a stream the caller opened and keeps; `name` is used in
    // messages.
    bool Attach(FILE* stream, const std::string& name, const std::string& problem);

    // True while the output is open; otherwise false, with
    // "<kind> output: not open" as the error unless there is one already.
    bool Usable(const char* kind);
    // The output's name in messages.
    std::string Name() const;
    // Records `message`, abandons the output and returns false.
    bool Fail(const std::string& message);
    // Fail with the output's own message (a write that failed).
    bool FailOutput() { return Fail(out.LastError()); }
    bool Commit();
    void Discard() { out.Discard(); }

    AtomicOutputFile out;
    std::string error;
};

#endif // DATAPROCESS_HOST_FILESINKSTATE_H
