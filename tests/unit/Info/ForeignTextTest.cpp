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

TEST(ForeignTextTest, EveryEndOfLineBecomesOneQuestionMark) {
    EXPECT_EQ(showableText(u"a\u2028b\u2029c\u0085d"), SPW_CString(u"a?b?c?d"));
}

TEST(ForeignTextTest, EveryCharacterThatShowsNothingBecomesOneQuestionMark) {
    EXPECT_EQ(showableText(u"\u200B\u200C\u200D\u2060\u2063\uFEFF\u00AD\u180E\u3164\uFFA0\uFFF9"),
              SPW_CString(u"???????????"));
    EXPECT_EQ(showableText(u"a\u034Fb\u115F\u1160"), SPW_CString(u"a?b??"));
}

TEST(ForeignTextTest, LettersThatOnlyTagsSpellAreShownAsQuestionMarks) {
    EXPECT_EQ(showableText(u"a\U000E0041\U000E007Fb"), SPW_CString(u"a????b"));
    const SPW_CString others(u"\U000E0080\U000E0100\U0001F600");
    EXPECT_EQ(showableText(others), others);
}

TEST(ForeignTextTest, MarksOfTheLetterBeforeThemAreShown) {
    const SPW_CString text(u"e\u0301 \u2764\uFE0F \u0E19\u0E49");
    EXPECT_EQ(showableText(text), text);
}

TEST(ForeignTextTest, TheNeighboursAreShown) {
    for (const char16_t c :
         {u' ', u'~', u'\u00A0', u'\u00AC', u'\u00AE', u'\u034E', u'\u061B', u'\u061D', u'\u115E', u'\u1161', u'\u200A',
          u'\u2010', u'\u2027', u'\u202F', u'\u205F', u'\u2070', u'\uFF9F', u'\uFFA1', u'\uFFFC'}) {
        EXPECT_TRUE(isShown(c)) << static_cast<int>(c);
    }
}

TEST(ForeignTextTest, TheLengthStays) {
    SPW_CString text;
    text.fill(u'\x02', 1000);
    EXPECT_EQ(showableText(text).length(), 1000);
}

}  // namespace
