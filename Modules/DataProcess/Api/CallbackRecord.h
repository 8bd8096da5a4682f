// What the two callback decoders share: reading the host's versioned
// record, refusing with a message, and checking descriptions and frames
// before any stage reads them.
#ifndef DATAPROCESS_API_CALLBACKRECORD_H
#define DATAPROCESS_API_CALLBACKRECORD_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

#include "MediaTypes.h"

namespace dpcallback {

// Copies the host's record into `out`: the fields it has (by its nSize), the
// rest zero. False when the record is null, smaller than version 1
// (`firstVersionSize` bytes) or of version 0.
template <class Record>
bool CopyRecord(const Record* in, Record* out, size_t firstVersionSize, std::string* why)
{
    std::memset(out, 0, sizeof *out);
    if (!in) {
        *why = "callbacks: the record is null";
        return false;
    }
    if (in->nSize < firstVersionSize || in->nVersion < 1) {
        *why = "callbacks: nSize " + std::to_string(in->nSize) + " / nVersion " + std::to_string(in->nVersion) +
               " is not a record of this API (set nSize = sizeof the record, nVersion = DP_CALLBACKS_VERSION)";
        return false;
    }
    std::memcpy(out, in, in->nSize < sizeof *out ? in->nSize : sizeof *out);
    return true;
}

// Writes `why` to the caller's buffer and gives null.
void WriteError(char* error, size_t errorSize, const std::string& why);
template <class T> T* Refuse(char* error, size_t errorSize, const std::string& why)
{
    WriteError(error, errorSize, why);
    return nullptr;
}

bool CheckVideoInfo(const VideoInfo& info, std::string* why);
bool CheckVideoFrame(const MEDIA_FRAME& f, const VideoInfo& info, std::string* why);
// Also fills in nBytesPerSecond when the host left it 0.
bool CheckAudioInfo(AudioInfo* info, std::string* why);
bool CheckAudioFrame(const MEDIA_FRAME& f, const AudioInfo& info, std::string* why);

} // namespace dpcallback

#endif // DATAPROCESS_API_CALLBACKRECORD_H
