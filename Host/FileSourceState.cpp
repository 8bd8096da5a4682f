#include "FileSourceState.h"

int FileSourceState::Open(const wchar_t* path, int* error)
{
    int rc = HOSTFILE_CANNOT_OPEN;
    if (path) {
        rc = OpenPath(HostPathFromWide(path));
    } else {
        Close();
        truncated = false;
        rc = Fail(HOSTFILE_CANNOT_OPEN, "no file name given");
    }
    if (error)
        *error = rc;
    return rc == HOSTFILE_OK ? 1 : 0;
}

int FileSourceState::OpenPath(const std::string& path)
{
    Close();
    return Start(file.OpenRead(path));
}

int FileSourceState::OpenStream(FILE* stream, const std::string& name, bool own)
{
    Close();
    return Start(file.Attach(stream, name, own));
}

int FileSourceState::Start(bool opened)
{
    error.clear();
    truncated = false;
    if (!opened)
        return Fail(HOSTFILE_CANNOT_OPEN, file.Error());
    return m_format.Begin();
}

void FileSourceState::Close()
{
    file.Close();
    m_format.Forget();
}

int FileSourceState::Fail(int code, std::string message)
{
    // Kept deliberately: the name is that of the last stream opened, even
    // when this refusal has no stream of its own (a null path).
    const std::string name = file.Name();
    Close();
    error = name.empty() ? message : name + ": " + message;
    return code;
}
