#include "TextConvert.h"

#include <cwchar>

namespace {

const char kEmpty[1] = {0};

constexpr UTF32 kMaxCodePoint = 0x10FFFF;
constexpr UTF32 kReplacement = 0xFFFD;

// Encodes [src, srcEnd) into [dst, dstEnd) and reports where the output
// ended, so that callers can terminate a cut string.
ConversionResult Encode(const UTF32* src, const UTF32* srcEnd, UTF8* dst, UTF8* dstEnd, ConversionFlags flags,
                        UTF8** written)
{
    ConversionResult result = conversionOK;
    for (; src < srcEnd; ++src) {
        UTF32 c = *src;
        if (c >= 0xD800 && c <= 0xDFFF && flags == strictConversion) {
            result = sourceIllegal;
            break;
        }
        if (c > kMaxCodePoint) {
            c = kReplacement;
            result = sourceIllegal;
        }
        // Byte count and the marker of the first byte: 0xxxxxxx, 110xxxxx,
        // 1110xxxx, 11110xxx.
        int n;
        UTF8 mark;
        if (c < 0x80) {
            n = 1;
            mark = 0x00;
        } else if (c < 0x800) {
            n = 2;
            mark = 0xC0;
        } else if (c < 0x10000) {
            n = 3;
            mark = 0xE0;
        } else {
            n = 4;
            mark = 0xF0;
        }
        if (dstEnd - dst < n) {
            result = targetExhausted;
            break;
        }
        // Continuation bytes carry six bits each, 10xxxxxx, last byte first.
        for (int i = n - 1; i > 0; --i) {
            dst[i] = static_cast<UTF8>(0x80 | (c & 0x3F));
            c >>= 6;
        }
        dst[0] = static_cast<UTF8>(mark | c);
        dst += n;
    }
    if (written)
        *written = dst;
    return result;
}

static_assert(sizeof(wchar_t) == sizeof(UTF32), "wide strings are UTF-32 on this platform");

int Convert(const wchar_t* src, int srcLen, char* dst, int dstSize, ConversionFlags flags, char** written)
{
    size_t len = srcLen < 0 ? std::wcslen(src) + 1 : static_cast<size_t>(srcLen);
    const UTF32* s = reinterpret_cast<const UTF32*>(src);
    UTF8* d = reinterpret_cast<UTF8*>(dst);
    UTF8* end = nullptr;
    ConversionResult r = Encode(s, s + len, d, d + (dstSize > 0 ? dstSize : 0), flags, &end);
    if (written)
        *written = reinterpret_cast<char*>(end);
    return r;
}

} // namespace

ConversionResult ConvertUTF32toUTF8(const UTF32* src, const UTF32* srcEnd, UTF8* dst, UTF8* dstEnd,
                                    ConversionFlags flags)
{
    return Encode(src, srcEnd, dst, dstEnd, flags, nullptr);
}

int WtoUTF8(const wchar_t* src, int srcLen, char* dst, int dstSize, bool strict)
{
    if (!src || !dst)
        return sourceIllegal;
    return Convert(src, srcLen, dst, dstSize, strict ? strictConversion : lenientConversion, nullptr);
}

const char* __w2a(char* dst, const wchar_t* src, int dstSize)
{
    if (!src)
        return kEmpty;
    if (!dst || dstSize <= 0)
        return kEmpty;
    char* end = dst;
    int r = Convert(src, -1, dst, dstSize, lenientConversion, &end);
    // A string that did not fit stops before its terminator; cut it at the
    // last whole character so that it is always terminated.
    if (r == targetExhausted || end == dst || end[-1] != '\0') {
        if (end - dst >= dstSize) {
            // Full buffer: drop its last character to make room.
            --end;
            while (end > dst && (static_cast<unsigned char>(*end) & 0xC0) == 0x80)
                --end;
        }
        *end = '\0';
    }
    return dst;
}

const char* __w2t(char* dst, const wchar_t* src, int dstSize) { return __w2a(dst, src, dstSize); }

const char* __a2t(char*, const char* src, int) { return src ? src : kEmpty; }

const char* __t2a(char*, const char* src, int) { return src ? src : kEmpty; }
