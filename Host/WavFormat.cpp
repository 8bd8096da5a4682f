#include "WavFormat.h"

#include <cstdio>
#include <cstring>

namespace wav {

size_t BuildHeader(unsigned char* out, int sampleRate, int channels, int bitsPerSample, bool extensible,
                   uint32_t channelMask, int64_t dataBytes)
{
    const size_t headerBytes = extensible ? EXTENSIBLE_HEADER_BYTES : PCM_HEADER_BYTES;
    const unsigned blockAlign = static_cast<unsigned>(channels * (bitsPerSample / 8));
    uint32_t riffSize = kUnknownSize, dataSize = kUnknownSize;
    if (dataBytes >= 0) {
        const int64_t riff = static_cast<int64_t>(headerBytes) - 8 + dataBytes + (dataBytes & 1);
        if (riff <= static_cast<int64_t>(kUnknownSize) - 1) {
            riffSize = static_cast<uint32_t>(riff);
            dataSize = static_cast<uint32_t>(dataBytes);
        }
    }
    std::memset(out, 0, headerBytes);
    std::memcpy(out, "RIFF", 4);
    Put32(out + 4, riffSize);
    std::memcpy(out + 8, "WAVEfmt ", 8);
    Put32(out + 16, extensible ? 40 : 16);
    Put16(out + 20, extensible ? FORMAT_EXTENSIBLE : FORMAT_PCM);
    Put16(out + 22, static_cast<unsigned>(channels));
    Put32(out + 24, static_cast<uint32_t>(sampleRate));
    Put32(out + 28, static_cast<uint32_t>(sampleRate) * blockAlign);
    Put16(out + 32, blockAlign);
    Put16(out + 34, static_cast<unsigned>(bitsPerSample));
    unsigned char* p = out + 36;
    if (extensible) {
        Put16(p, 22);                                      // cbSize
        Put16(p + 2, static_cast<unsigned>(bitsPerSample)); // valid bits
        Put32(p + 4, channelMask);
        Put32(p + 8, FORMAT_PCM); // sub-format GUID: PCM tag, then the common tail
        std::memcpy(p + 12, kSubFormatTail, sizeof(kSubFormatTail));
        p += 24;
    }
    std::memcpy(p, "data", 4);
    Put32(p + 4, dataSize);
    return headerBytes;
}

uint32_t DefaultChannelMask(int channels)
{
    // FL 0x1, FR 0x2, FC 0x4, LFE 0x8, BL 0x10, BR 0x20, BC 0x100, SL 0x200, SR 0x400.
    static const uint32_t masks[9] = {0, 0x4, 0x3, 0x7, 0x33, 0x37, 0x3F, 0x70F, 0x63F};
    return channels >= 1 && channels <= 8 ? masks[channels] : 0;
}

std::string GuidText(const unsigned char* p)
{
    char text[40];
    std::snprintf(text, sizeof(text), "{%08X-%04X-%04X-%02X%02X-%02X%02X%02X%02X%02X%02X}",
                  static_cast<unsigned>(Get32(p)), Get16(p + 4), Get16(p + 6), p[8], p[9], p[10], p[11], p[12],
                  p[13], p[14], p[15]);
    return text;
}

} // namespace wav
