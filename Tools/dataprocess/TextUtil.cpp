#include "TextUtil.h"

#include <cstdint>

namespace dptool {

bool WidenUtf8(const std::string& in, std::wstring* out)
{
    out->clear();
    for (size_t i = 0; i < in.size();) {
        const unsigned char b = static_cast<unsigned char>(in[i]);
        int len;
        uint32_t c;
        if (b < 0x80) {
            len = 1;
            c = b;
        } else if ((b & 0xE0) == 0xC0) {
            len = 2;
            c = b & 0x1F;
        } else if ((b & 0xF0) == 0xE0) {
            len = 3;
            c = b & 0x0F;
        } else if ((b & 0xF8) == 0xF0) {
            len = 4;
            c = b & 0x07;
        } else {
            return false;
        }
        if (i + len > in.size())
            return false;
        for (int k = 1; k < len; ++k) {
            const unsigned char t = static_cast<unsigned char>(in[i + k]);
            if ((t & 0xC0) != 0x80)
                return false;
            c = (c << 6) | (t & 0x3F);
        }
        out->push_back(static_cast<wchar_t>(c));
        i += len;
    }
    return true;
}

} // namespace dptool
