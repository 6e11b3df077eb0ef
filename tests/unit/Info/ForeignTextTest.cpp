#include "ForeignText.h"

#include <gtest/gtest.h>

#include "StringPrinting.h"

namespace {

bool isShown(char16_t c) {
    return showableText(SPW_CString(c)) == SPW_CString(c);
}

TEST(ForeignTextTest, OrdinaryTextIsLeftAlone) {
    const SPW_CString text(u"Halle 3 ~|\u00A0\u00E4\u20AC\u65E5\u672C \U0001F600");
    EXPECT_EQ(showableText(text), text);
    EXPECT_EQ(showableText(u""), SPW_CString(u""));
}

TEST(ForeignTextTest, EveryControlCharacterBecomesOneQuestionMark) {
    EXPECT_EQ(showableText(u"a\r\n\tb\x1B[2J"), SPW_CString(u"a???b?[2J"));
    for (char16_t c = 1; c < 32; ++c) {
        EXPECT_EQ(showableText(SPW_CString(c)), SPW_CString(u"?")) << static_cast<int>(c);
    }
    for (char16_t c = 0x7F; c <= 0x9F; ++c) {
        EXPECT_EQ(showableText(SPW_CString(c)), SPW_CString(u"?")) << static_cast<int>(c);
    }
}

TEST(ForeignTextTest, EveryDirectionalCharacterBecomesOneQuestionMark) {
    EXPECT_EQ(showableText(u"\u061C\u200E\u200F\u202A\u202B\u202C\u202D\u202E\u2066\u2067\u2068\u2069"),
              SPW_CString(u"????????????"));
}

TEST(ForeignTextTest, TheNeighboursAreShown) {
    for (const char16_t c : {u' ', u'~', u'\u00A0', u'\u061B', u'\u061D', u'\u200D', u'\u2010', u'\u2029', u'\u202F',
                             u'\u2065', u'\u206A'}) {
        EXPECT_TRUE(isShown(c)) << static_cast<int>(c);
    }
}

TEST(ForeignTextTest, TheLengthStays) {
    SPW_CString text;
    text.fill(u'\x02', 1000);
    EXPECT_EQ(showableText(text).length(), 1000);
}

}  // namespace
