// What every platform half of the string class must do, whatever its 8-bit code page is.

#include "SPW_CStringSys.h"

#include <gtest/gtest.h>

#include <cstring>
#include <limits>
#include <string>

namespace {

TEST(StringSysContractTest, AsciiIsTheSameInEveryCodePage) {
    char narrow[8];
    EXPECT_EQ(SPW_CStringSys::wideToAnsi(u"abc~", 4, narrow, 8), 5);
    EXPECT_STREQ(narrow, "abc~");
    char16_t wide[8];
    EXPECT_EQ(SPW_CStringSys::ansiToWide("abc~", 4, wide, 8), 5);
    EXPECT_EQ(std::u16string(wide), u"abc~");
}

TEST(StringSysContractTest, EmptyTextIsATerminator) {
    char narrow[1] = {'#'};
    EXPECT_EQ(SPW_CStringSys::wideToAnsi(u"", 0, narrow, 1), 1);
    EXPECT_EQ(narrow[0], '\0');
    char16_t wide[1] = {u'#'};
    EXPECT_EQ(SPW_CStringSys::ansiToWide("", 0, wide, 1), 1);
    EXPECT_EQ(wide[0], u'\0');
}

TEST(StringSysContractTest, NothingIsWrittenBehindTheBuffer) {
    const char16_t text[] = u"abcdef\u00E4ghi";
    const int length = static_cast<int>(std::char_traits<char16_t>::length(text));
    const int needed = SPW_CStringSys::wideToAnsi(text, length, nullptr, 0);
    ASSERT_GT(needed, length);
    for (int size = 1; size <= needed; ++size) {
        std::string buffer(40, '#');
        EXPECT_EQ(SPW_CStringSys::wideToAnsi(text, length, buffer.data(), size), size == needed ? needed : 0);
        EXPECT_EQ(buffer.substr(static_cast<std::size_t>(size)), std::string(40 - static_cast<std::size_t>(size), '#'));
    }
    for (int size = 0; size <= 7; ++size) {
        std::u16string buffer(40, u'#');
        EXPECT_EQ(SPW_CStringSys::ansiToWide("abcdef", 6, buffer.data(), size), size == 7 ? 7 : 0) << size;
        EXPECT_EQ(buffer.substr(static_cast<std::size_t>(size)),
                  std::u16string(40 - static_cast<std::size_t>(size), u'#'));
    }
}

TEST(StringSysContractTest, AnyBytesFitIntoAsManyCharacters) {
    for (int first = 0; first < 256; ++first) {
        for (int second = 0; second < 256; ++second) {
            const char bytes[] = {static_cast<char>(first), static_cast<char>(second), 'z'};
            char16_t wide[4];
            const int written = SPW_CStringSys::ansiToWide(bytes, 3, wide, 4);
            ASSERT_GE(written, 2) << first << ' ' << second;
            EXPECT_EQ(wide[written - 1], u'\0');
        }
    }
}

TEST(StringSysContractTest, WhatCannotBeConvertedIsReplaced) {
    const char16_t halfOfAPair[] = {u'a', 0xD800, u'b'};
    char narrow[8];
    ASSERT_EQ(SPW_CStringSys::wideToAnsi(halfOfAPair, 3, narrow, 8), 4);
    EXPECT_STREQ(narrow, "a?b");
}

TEST(StringSysContractTest, TheLongestDoubleFits) {
    const double longest[] = {-std::numeric_limits<double>::denorm_min(), -std::numeric_limits<double>::max(),
                              -0.000123456789012345678, -1.0 / 3};
    for (const double number : longest) {
        char text[SPW_CStringSys::kDoubleTextSize];
        const int length = SPW_CStringSys::doubleToText(number, SPW_CStringSys::kDoublePrecisionLimit, text);
        EXPECT_EQ(static_cast<std::size_t>(length), std::strlen(text));
        EXPECT_EQ(SPW_CStringSys::textToDouble(text), number);
    }
}

TEST(StringSysContractTest, DoublesComeBackFromSeventeenDigits) {
    for (const double number : {0.1, 1e-300, 123456789.123456789, 5e-324}) {
        char text[SPW_CStringSys::kDoubleTextSize];
        (void)SPW_CStringSys::doubleToText(number, 17, text);  // the text alone matters here
        EXPECT_EQ(SPW_CStringSys::textToDouble(text), number) << text;
    }
    EXPECT_EQ(SPW_CStringSys::textToDouble("1e999"), std::numeric_limits<double>::infinity());
    EXPECT_EQ(SPW_CStringSys::textToDouble("-1e-999"), 0.0);
}

}  // namespace
