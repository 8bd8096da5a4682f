// RIFF/WAVE layout shared by the WAV reader and writer: little-endian field
// access, format tags, the PCM sub-format GUID and the canonical header.
#ifndef DATAPROCESS_HOST_WAVFORMAT_H
#define DATAPROCESS_HOST_WAVFORMAT_H

#include <cstddef>
#include <cstdint>
#include <string>

namespace wav {

enum : unsigned {
    FORMAT_PCM = 0x0001,
    FORMAT_FLOAT = 0x0003,
    FORMAT_EXTENSIBLE = 0xFFFE
};

// Size field value of a chunk whose length was unknown when it was written.
constexpr uint32_t kUnknownSize = 0xFFFFFFFFu;

// Bytes 4..15 of every KSDATAFORMAT_SUBTYPE_* GUID of a WAVE format tag,
// {tttt0000-0000-0010-8000-00AA00389B71}, as stored (after the 32-bit tag).
constexpr unsigned char kSubFormatTail[12] = {0x00, 0x00, 0x10, 0x00, 0x80, 0x00,
                                              0x00, 0xAA, 0x00, 0x38, 0x9B, 0x71};

// Header sizes: canonical PCM (fmt chunk of 16 bytes) and
// WAVE_FORMAT_EXTENSIBLE (fmt chunk of 40 bytes), each ending with the
// data chunk's 8-byte header.
enum : size_t { PCM_HEADER_BYTES = 44, EXTENSIBLE_HEADER_BYTES = 68, MAX_HEADER_BYTES = 68 };

inline unsigned Get16(const unsigned char* p) { return static_cast<unsigned>(p[0] | (p[1] << 8)); }
inline uint32_t Get32(const unsigned char* p)
{
    return static_cast<uint32_t>(p[0]) | (static_cast<uint32_t>(p[1]) << 8) | (static_cast<uint32_t>(p[2]) << 16) |
           (static_cast<uint32_t>(p[3]) << 24);
}
inline void Put16(unsigned char* p, unsigned v)
{
    p[0] = static_cast<unsigned char>(v);
    p[1] = static_cast<unsigned char>(v >> 8);
}
inline void Put32(unsigned char* p, uint32_t v)
{
    p[0] = static_cast<unsigned char>(v);
    p[1] = static_cast<unsigned char>(v >> 8);
    p[2] = static_cast<unsigned char>(v >> 16);
    p[3] = static_cast<unsigned char>(v >> 24);
}

// Writes a RIFF/WAVE header for PCM into `out` (MAX_HEADER_BYTES at least)
// and returns its length. `dataBytes` < 0 means unknown: both sizes are
// written as kUnknownSize, as streaming writers do; sizes that do not fit 32
// bits are written the same way. The RIFF size counts the pad byte that
// follows odd data.
size_t BuildHeader(unsigned char* out, int sampleRate, int channels, int bitsPerSample, bool extensible,
                   uint32_t channelMask, int64_t dataBytes);

// Offsets of the two size fields in a header built by BuildHeader.
inline size_t RiffSizeOffset() { return 4; }
inline size_t DataSizeOffset(size_t headerBytes) { return headerBytes - 4; }

// The usual speaker mask for a channel count (1 to 8): mono, stereo, 2.1
// laid out as front left/right/centre, quad, 4.1 as 5.0, 5.1, 6.1, 7.1.
uint32_t DefaultChannelMask(int channels);

// A GUID stored at p, as {xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx}.
std::string GuidText(const unsigned char* p);

} // namespace wav

#endif // DATAPROCESS_HOST_WAVFORMAT_H
