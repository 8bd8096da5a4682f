#include "StdoutData.h"

#include <cerrno>
#include <cstring>
#include <string>
#include <unistd.h>

#include "ToolErrors.h"

namespace dptool {

FILE* ClaimStdoutForData()
{
    std::fflush(stdout);
    const int data = dup(STDOUT_FILENO);
    if (data < 0 || dup2(STDERR_FILENO, STDOUT_FILENO) < 0)
        throw ProcessingError(std::string("standard output: cannot set it aside for data: ") + std::strerror(errno));
    FILE* f = fdopen(data, "wb");
    if (!f) {
        close(data);
        throw ProcessingError(std::string("standard output: ") + std::strerror(errno));
    }
    return f;
}

} // namespace dptool
