#include "FileSinkState.h"

#include "HostFile.h"

bool FileSinkState::Open(const char* path, const std::string& problem)
{
    if (!path)
        return Fail("no output file name given");
    return Open(std::string(path), problem);
}

bool FileSinkState::Open(const std::string& path, const std::string& problem)
{
    out.Discard();
    error.clear();
    if (!problem.empty())
        return Fail(HostOutputName(path) + ": " + problem);
    return out.Open(path) || FailOutput();
}

bool FileSinkState::Attach(FILE* stream, const std::string& name, const std::string& problem)
{
    out.Discard();
    error.clear();
    if (!problem.empty())
        return Fail(name + ": " + problem);
    return out.Attach(stream, name) || FailOutput();
}

bool FileSinkState::Usable(const char* kind)
{
    if (out.IsOpen())
        return true;
    if (error.empty())
        error = std::string(kind) + " output: not open";
    return false;
}

std::string FileSinkState::Name() const { return HostOutputName(out.Path()); }

bool FileSinkState::Fail(const std::string& message)
{
    error = message;
    out.Discard();
    return false;
}

bool FileSinkState::Commit()
{
    if (out.Commit())
        return true;
    if (error.empty())
        error = out.LastError();
    return false;
}
