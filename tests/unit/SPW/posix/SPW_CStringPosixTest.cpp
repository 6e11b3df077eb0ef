// The 8-bit code page is UTF-8 here.

#include "SPW_CString.h"

#include <gtest/gtest.h>

#include "SPW_CReceivedText.h"
#include "StringPrinting.h"

namespace {

TEST(StringPosixTest, CodePageHasEveryLengthOfUtf8) {
    EXPECT_EQ(SPW_CString("\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80"), u"\u00E4\u20AC\U0001F600");
    EXPECT_STREQ(SPW_CString(u"\u00E4\u20AC\U0001F600").toAnsi(), "\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80");
    EXPECT_EQ(SPW_CString('\xC3'), u"\uFFFD") << "half of a sequence";
}

TEST(StringPosixTest, InvalidBytesBecomeReplacementCharacters) {
    const struct {
        const char* bytes;
        const char16_t* text;
    } rows[] = {
        {"a\xFFz", u"a\uFFFDz"},                            // never a byte of UTF-8
        {"a\x80z", u"a\uFFFDz"},                            // a continuation without a start
        {"a\xC3", u"a\uFFFD"},                              // unfinished at the end
        {"a\xE2\x82z", u"a\uFFFDz"},                        // unfinished in the middle
        {"\xC0\x80z", u"\uFFFD\uFFFDz"},                    // overlong
        {"\xE0\x80\x80z", u"\uFFFD\uFFFD\uFFFDz"},          // overlong
        {"\xED\xA0\x80z", u"\uFFFD\uFFFD\uFFFDz"},          // a surrogate
        {"\xF4\x90\x80\x80", u"\uFFFD\uFFFD\uFFFD\uFFFD"},  // beyond the last character
        {"\xC3\xC3\xA4", u"\uFFFD\u00E4"},                  // a start right behind an unfinished one
        {"\xF0\x9F\x98", u"\uFFFD"},                        // three bytes of four
    };
    for (const auto& row : rows) {
        EXPECT_EQ(SPW_CString(row.bytes), row.text);
    }
}

TEST(StringPosixTest, ReceivedTextThatIsNoUtf8IsReadInCodePage1252) {
    const struct {
        const char* bytes;
        const char16_t* text;
    } rows[] = {
        {"", u""},
        {"plain", u"plain"},
        {"J\xC3\xB6rg", u"J\u00F6rg"},  // UTF-8
        {"J\xF6rg", u"J\u00F6rg"},
        {"Caf\xE9", u"Caf\u00E9"},  // the start of a sequence of UTF-8, unfinished
        {"\x80\x8A\x9F\xA0\xFF", u"\u20AC\u0160\u0178\u00A0\u00FF"},
        {"\x81|\x9D", u"\u0081|\u009D"},            // nobody's
        {"\xEF\xBF\xBD\xC3\xA4", u"\uFFFD\u00E4"},  // a replacement that was sent is UTF-8
        {"\xEF\xBF\xBD\xE4", u"\u00EF\u00BF\u00BD\u00E4"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(SPW_receivedText(row.bytes), row.text);
    }
}

TEST(StringPosixTest, EveryCharacterOfUnicodeComesBack) {
    for (char32_t c = 1; c < 0x110000; c += c < 0x3000 ? 1 : 61) {
        if (c >= 0xD800 && c <= 0xDFFF) {
            continue;
        }
        const char32_t text[] = {c, 0};
        char16_t units[3] = {};
        if (c < 0x10000) {
            units[0] = static_cast<char16_t>(c);
        } else {
            units[0] = static_cast<char16_t>(0xD800 + ((text[0] - 0x10000) >> 10));
            units[1] = static_cast<char16_t>(0xDC00 + (text[0] & 0x3FF));
        }
        const SPW_CString s(units);
        ASSERT_EQ(SPW_CString(s.toAnsi()), s) << static_cast<unsigned>(c);
    }
}

}  // namespace
