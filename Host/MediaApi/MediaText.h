// Copying a message into a C caller's buffer.
#ifndef DATAPROCESS_HOST_MEDIATEXT_H
#define DATAPROCESS_HOST_MEDIATEXT_H

#include <cstddef>
#include <cstring>
#include <string>

namespace dpmedia {

inline void WriteError(char* error, size_t errorSize, const std::string& why)
{
    if (!error || errorSize == 0)
        return;
    const size_t n = why.size() < errorSize - 1 ? why.size() : errorSize - 1;
    std::memcpy(error, why.data(), n);
    error[n] = '\0';
}

} // namespace dpmedia

#endif // DATAPROCESS_HOST_MEDIATEXT_H
