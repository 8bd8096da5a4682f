#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "OrvLog.h"

namespace {

std::wstring Translate(const wchar_t* f)
{
    wchar_t buf[256];
    OrvLogTranslateFormat(f, buf, 256);
    return buf;
}

TEST(OrvLogFormat, TranslatesWindowsSixtyFourBitConversions)
{
    EXPECT_EQ(Translate(L"%I64d bytes"), L"%lld bytes");
    EXPECT_EQ(Translate(L"%I64u/%I64x/%I64X"), L"%llu/%llx/%llX");
    EXPECT_EQ(Translate(L"[%.02f sec/%-8I64d] 100%% %d"), L"[%.02f sec/%-8lld] 100%% %d");
    EXPECT_EQ(Translate(L"I64 outside a conversion"), L"I64 outside a conversion");
    EXPECT_EQ(OrvLogTranslateFormat(L"%I64d", nullptr, 0), 4u);
}

struct Captured {
    std::vector<std::string> lines;
};

void Capture(void* ctx, const char* line) { static_cast<Captured*>(ctx)->lines.push_back(line); }

TEST(OrvLogSink, DeliversFormattedUtf8LinesAndCanBeSilenced)
{
    Captured c;
    OrvLogSetSink(Capture, &c);
    OrvLogEx(L"AudioEvenProcess:: Fill Blank Audio Data [%.02f sec/%I64d bytes] before %.02f sec.", 1.0,
             static_cast<long long>(176400), 2.5);
    const wchar_t surrogate[] = {0xD800, 0};
    OrvLogEx(L"caf\u00e9 %ls%ls", L"\u20ac", surrogate);
    OrvLogSetSilent(1);
    OrvLogEx(L"not shown");
    OrvLogSetSilent(0);
    OrvLogSetSink(nullptr, nullptr);
    ASSERT_EQ(c.lines.size(), 2u);
    EXPECT_EQ(c.lines[0], "AudioEvenProcess:: Fill Blank Audio Data [1.00 sec/176400 bytes] before 2.50 sec.");
    EXPECT_EQ(c.lines[1], "caf\xC3\xA9 \xE2\x82\xAC\xEF\xBF\xBD"); // no surrogate in UTF-8
}

} // namespace
