// What the host's file sources (Y4mVideoSource, WavAudioSource) share
// whatever the format: the input stream, the last error and the truncation
// flag, opening by wide path, UTF-8 path ("-" = standard input) or a stream
// the caller opened, and the "<name>: <what>" form of every message.
//
// A source holds one of these and tells it, through Format (implemented
// privately by the source), what reading a header and forgetting a stream
// mean for it.
#ifndef DATAPROCESS_HOST_FILESOURCESTATE_H
#define DATAPROCESS_HOST_FILESOURCESTATE_H

#include <cstdio>
#include <string>

#include "HostFile.h"

class FileSourceState {
public:
    class Format {
    public:
        // Forgets all that was read from the stream (header, buffers) and
        // leaves an empty stream block. The stream itself is closed already.
        virtual void Forget() = 0;
        // Reads the header of the stream just opened; a HostFileError,
        // refusals going through Fail.
        virtual int Begin() = 0;

    protected:
        ~Format() = default;
    };

    explicit FileSourceState(Format& format) : m_format(format) {}
    FileSourceState(const FileSourceState&) = delete;
    FileSourceState& operator=(const FileSourceState&) = delete;

    // The decoder's Open: 1 on success, else 0; *error gets the HostFileError.
    int Open(const wchar_t* path, int* error);
    // Open with a UTF-8 path. Returns a HostFileError.
    int OpenPath(const std::string& path);
    // Reads a stream the caller opened; with `own` it is closed by Close.
    int OpenStream(FILE* stream, const std::string& name, bool own);
    // Closes and forgets the stream; the last error and the truncation flag
    // stay readable.
    void Close();

    // Refuses the stream being opened: forgets it, sets the error to
    // "<name>: <message>" (just the message when there is no name yet) and
    // returns `code`. Taken by value: it may be the stream's own error text,
    // which closing the stream clears.
    int Fail(int code, std::string message);
    // A problem met while reading: error = "<name>: <message>".
    void SetError(const std::string& message) { error = file.Name() + ": " + message; }

    HostFile file;
    std::string error;
    bool truncated = false;

private:
    int Start(bool opened);

    Format& m_format;
};

#endif // DATAPROCESS_HOST_FILESOURCESTATE_H
