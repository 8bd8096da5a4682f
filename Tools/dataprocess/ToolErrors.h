// Errors of the dataprocess tool and the exit status each one gives.
#ifndef DATAPROCESS_TOOL_TOOLERRORS_H
#define DATAPROCESS_TOOL_TOOLERRORS_H

#include <stdexcept>
#include <string>

namespace dptool {

enum ExitStatus { kExitOk = 0, kExitProcessingError = 1, kExitUsageError = 2 };

// A bad command line: a missing argument or an option value that does not
// parse. Exit status 2.
struct UsageError : std::runtime_error {
    explicit UsageError(const std::string& what) : std::runtime_error(what) {}
};

// Bad input, an unwritable output or a failure while processing. Exit
// status 1.
struct ProcessingError : std::runtime_error {
    explicit ProcessingError(const std::string& what) : std::runtime_error(what) {}
};

} // namespace dptool

#endif // DATAPROCESS_TOOL_TOOLERRORS_H
