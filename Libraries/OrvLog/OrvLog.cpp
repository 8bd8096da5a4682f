#include "OrvLog.h"

#include <cstdarg>
#include <cstdio>
#include <cstdint>
#include <cwchar>
#include <mutex>
#include <string>
#include <vector>

namespace {

std::mutex& EmitLock()
{
    static std::mutex m;
    return m;
}

OrvLogSink g_sink = nullptr; // guarded by EmitLock()
void* g_context = nullptr;
bool g_silent = false;

// UTF-32 to UTF-8 for log text: anything that is not a Unicode scalar value
// is shown as U+FFFD, so a log line is always valid UTF-8.
void AppendUtf8(std::string& out, const wchar_t* s, size_t n)
{
    for (size_t i = 0; i < n; ++i) {
        uint32_t c = static_cast<uint32_t>(s[i]);
        if (c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF))
            c = 0xFFFD;
        if (c < 0x80) {
            out += static_cast<char>(c);
        } else if (c < 0x800) {
            out += static_cast<char>(0xC0 | (c >> 6));
            out += static_cast<char>(0x80 | (c & 0x3F));
        } else if (c < 0x10000) {
            out += static_cast<char>(0xE0 | (c >> 12));
            out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
            out += static_cast<char>(0x80 | (c & 0x3F));
        } else {
            out += static_cast<char>(0xF0 | (c >> 18));
            out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
            out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
            out += static_cast<char>(0x80 | (c & 0x3F));
        }
    }
}

bool IsConversionEnd(wchar_t c)
{
    return std::wcschr(L"diouxXeEfFgGaAcspn%", c) != nullptr && c != 0;
}

} // namespace

size_t OrvLogTranslateFormat(const wchar_t* format, wchar_t* out, size_t outCount)
{
    std::wstring r;
    if (format) {
        for (const wchar_t* p = format; *p;) {
            if (*p != L'%') {
                r += *p++;
                continue;
            }
            // Copy one conversion: flags, width, precision and length up to
            // the conversion character, replacing the I64 length by ll.
            r += *p++;
            while (*p && !IsConversionEnd(*p)) {
                if (p[0] == L'I' && p[1] == L'6' && p[2] == L'4') {
                    r += L"ll";
                    p += 3;
                } else {
                    r += *p++;
                }
            }
            if (*p)
                r += *p++;
        }
    }
    if (out && outCount > 0) {
        size_t n = r.size() < outCount - 1 ? r.size() : outCount - 1;
        r.copy(out, n);
        out[n] = L'\0';
    }
    return r.size();
}

void OrvLogEx(const wchar_t* format, ...)
{
    if (!format)
        return;
    {
        std::lock_guard<std::mutex> lock(EmitLock());
        if (g_silent)
            return;
    }
    std::vector<wchar_t> fmt(OrvLogTranslateFormat(format, nullptr, 0) + 1);
    OrvLogTranslateFormat(format, fmt.data(), fmt.size());

    std::vector<wchar_t> buf(256);
    int n;
    for (;;) {
        va_list ap;
        va_start(ap, format);
        n = std::vswprintf(buf.data(), buf.size(), fmt.data(), ap);
        va_end(ap);
        // vswprintf reports a too-small buffer only as a failure, so grow
        // until the message fits or it is plainly malformed.
        if (n >= 0 || buf.size() >= (1u << 20))
            break;
        buf.resize(buf.size() * 4);
    }
    if (n < 0)
        return;

    std::string line;
    AppendUtf8(line, buf.data(), static_cast<size_t>(n));

    std::lock_guard<std::mutex> lock(EmitLock());
    if (g_silent)
        return;
    if (g_sink) {
        g_sink(g_context, line.c_str());
    } else {
        std::fputs(line.c_str(), stderr);
        std::fputc('\n', stderr);
        std::fflush(stderr);
    }
}

void OrvLogSetSink(OrvLogSink sink, void* context)
{
    std::lock_guard<std::mutex> lock(EmitLock());
    g_sink = sink;
    g_context = context;
}

void OrvLogSetSilent(int silent)
{
    std::lock_guard<std::mutex> lock(EmitLock());
    g_silent = silent != 0;
}
