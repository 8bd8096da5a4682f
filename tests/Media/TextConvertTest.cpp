#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "TextConvert.h"

namespace {

std::string Bytes(const unsigned char* p, size_t n) { return std::string(reinterpret_cast<const char*>(p), n); }

TEST(ConvertUTF32toUTF8, EncodesEachLengthClassAtItsBoundaries)
{
    const UTF32 in[] = {0x41, 0x7F, 0x80, 0x7FF, 0x800, 0xFFFF, 0x10000, 0x10FFFF};
    unsigned char out[32] = {};
    ASSERT_EQ(ConvertUTF32toUTF8(in, in + 8, out, out + sizeof(out), strictConversion), conversionOK);
    const unsigned char expect[] = {0x41, 0x7F, 0xC2, 0x80, 0xDF, 0xBF, 0xE0, 0xA0, 0x80, 0xEF,
                                    0xBF, 0xBF, 0xF0, 0x90, 0x80, 0x80, 0xF4, 0x8F, 0xBF, 0xBF};
    EXPECT_EQ(Bytes(out, sizeof(expect)), Bytes(expect, sizeof(expect)));
    EXPECT_EQ(out[sizeof(expect)], 0);
}

TEST(ConvertUTF32toUTF8, SurrogateStopsStrictButIsEncodedLenient)
{
    const UTF32 in[] = {'a', 0xD800, 'b'};
    unsigned char out[16];
    std::memset(out, 0xEE, sizeof(out));
    EXPECT_EQ(ConvertUTF32toUTF8(in, in + 3, out, out + 16, strictConversion), sourceIllegal);
    EXPECT_EQ(out[0], 'a');
    EXPECT_EQ(out[1], 0xEE) << "strict mode stops at the surrogate";

    std::memset(out, 0xEE, sizeof(out));
    EXPECT_EQ(ConvertUTF32toUTF8(in, in + 3, out, out + 16, lenientConversion), conversionOK);
    const unsigned char expect[] = {'a', 0xED, 0xA0, 0x80, 'b'};
    EXPECT_EQ(Bytes(out, 5), Bytes(expect, 5));
}

TEST(ConvertUTF32toUTF8, CodePointAboveRangeBecomesReplacementAndGoesOn)
{
    const UTF32 in[] = {0x110000, 'z'};
    unsigned char out[8] = {};
    EXPECT_EQ(ConvertUTF32toUTF8(in, in + 2, out, out + 8, strictConversion), sourceIllegal);
    const unsigned char expect[] = {0xEF, 0xBF, 0xBD, 'z'};
    EXPECT_EQ(Bytes(out, 4), Bytes(expect, 4));
}

TEST(ConvertUTF32toUTF8, TargetExhaustedStopsBeforeTheCharacterThatDoesNotFit)
{
    const UTF32 in[] = {'a', 0x20AC};
    unsigned char out[4];
    std::memset(out, 0xEE, sizeof(out));
    EXPECT_EQ(ConvertUTF32toUTF8(in, in + 2, out, out + 3, strictConversion), targetExhausted);
    EXPECT_EQ(out[0], 'a');
    EXPECT_EQ(out[1], 0xEE);
}

TEST(WtoUTF8, WholeStringIncludesTerminatorAndStrictFlagSelectsMode)
{
    char out[16];
    std::memset(out, 'x', sizeof(out));
    EXPECT_EQ(WtoUTF8(L"h\u00e9", -1, out, sizeof(out), true), conversionOK);
    EXPECT_STREQ(out, "h\xC3\xA9");

    const wchar_t withSurrogate[] = {L'a', static_cast<wchar_t>(0xDC00), 0};
    EXPECT_EQ(WtoUTF8(withSurrogate, -1, out, sizeof(out), true), sourceIllegal);
    EXPECT_EQ(WtoUTF8(withSurrogate, -1, out, sizeof(out), false), conversionOK);
    // An explicit length leaves the output unterminated.
    std::memset(out, 'x', sizeof(out));
    EXPECT_EQ(WtoUTF8(L"abc", 2, out, sizeof(out), true), conversionOK);
    EXPECT_EQ(out[2], 'x');
}

TEST(NarrowHelpers, W2aConvertsTerminatesAndSharesTheEmptyString)
{
    char buf[8];
    EXPECT_EQ(__w2a(buf, L"/tmp/\u00e9", sizeof(buf)), buf);
    EXPECT_STREQ(buf, "/tmp/\xC3\xA9");
    const char* e1 = __w2a(buf, nullptr, sizeof(buf));
    const char* e2 = __w2t(buf, nullptr, sizeof(buf));
    EXPECT_STREQ(e1, "");
    EXPECT_EQ(e1, e2) << "one shared empty string";
    EXPECT_NE(e1, buf);
    // Too long: cut at a character boundary and terminated.
    EXPECT_STREQ(__w2a(buf, L"abcdef\u00e9z", sizeof(buf)), "abcdef");
    EXPECT_STREQ(__w2a(buf, L"abcdefgh", sizeof(buf)), "abcdefg");
}

TEST(NarrowHelpers, A2tAndT2aReturnTheirSource)
{
    const char* s = "name.bmp";
    EXPECT_EQ(__a2t(nullptr, s, 0), s);
    EXPECT_EQ(__t2a(nullptr, s, 0), s);
    EXPECT_STREQ(__a2t(nullptr, nullptr, 0), "");
    EXPECT_EQ(__t2a(nullptr, nullptr, 0), __w2a(nullptr, nullptr, 0));
}

} // namespace
