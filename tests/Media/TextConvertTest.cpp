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
    const unsigned char expect[] = {0x41, 0x7F, 0xC2, 0x80, 0xDF, 0xBF, 0xE0, 0xA0, 0x80, 0xEF,
                                    0xBF, 0xBF, 0xF0, 0x90, 0x80, 0x80, 0xF4, 0x8F, 0xBF, 0xBF};
    EXPECT_EQ(ConvertUTF32toUTF8(in, in + 8, out, out + sizeof(expect), strictConversion), conversionOK) << "exact fit";
    ASSERT_EQ(ConvertUTF32toUTF8(in, in + 8, out, out + sizeof(out), strictConversion), conversionOK);
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

} // namespace
