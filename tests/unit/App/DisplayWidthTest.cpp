#include "DisplayWidth.h"

#include <gtest/gtest.h>

#include "StringPrinting.h"

namespace {

TEST(DisplayWidthTest, MostCharactersTakeOneColumn) {
    EXPECT_EQ(0, displayWidth(u""));
    EXPECT_EQ(4, displayWidth(u"a ~|"));
    EXPECT_EQ(5, displayWidth(u"\u00e4\u20ac\u0416\u05d0\u0e01"));
}

TEST(DisplayWidthTest, EastAsianCharactersAndEmojiTakeTwo) {
    EXPECT_EQ(4, displayWidth(u"\u65e5\u672c"));
    EXPECT_EQ(4, displayWidth(u"\uac00\u3042"));
    EXPECT_EQ(2, displayWidth(u"\uff21"));
    EXPECT_EQ(2, displayWidth(u"\U0001F600"));
    EXPECT_EQ(2, displayWidth(u"\U00020000"));
}

TEST(DisplayWidthTest, CombiningAndInvisibleCharactersTakeNone) {
    EXPECT_EQ(1, displayWidth(u"e\u0301"));
    EXPECT_EQ(2, displayWidth(u"a\u200bb"));
    EXPECT_EQ(2, displayWidth(u"\U0001F44D\U0001F3FD"));
    EXPECT_EQ(0, displayWidth(u"\ufeff"));
}

TEST(DisplayWidthTest, TheNeighboursOfTheWideOnesTakeOne) {
    EXPECT_EQ(2, displayWidth(u"\u10ff\u1160"));
    EXPECT_EQ(2, displayWidth(u"\uff61\uffe7"));
    EXPECT_EQ(2, displayWidth(u"\u02ff\u0370"));
}

TEST(DisplayWidthTest, HalfAPairTakesOneForTheQuestionMarkThatItBecomes) {
    const char16_t halves[] = {0xDE00, 0xD83D, u'x', 0xD83D, 0};
    EXPECT_EQ(4, displayWidth(halves));
}

TEST(DisplayWidthTest, WhatFitsIsNotCut) {
    EXPECT_EQ(cutToWidth(u"", 1), u"");
    EXPECT_EQ(cutToWidth(u"abc", 3), u"abc");
    EXPECT_EQ(cutToWidth(u"\u65e5\u672c", 4), u"\u65e5\u672c");
    EXPECT_EQ(cutToWidth(u"abe\u0301", 3), u"abe\u0301");
}

TEST(DisplayWidthTest, WhatIsWiderEndsWithAnEllipsisBetweenTwoCharacters) {
    EXPECT_EQ(cutToWidth(u"abcd", 3), u"ab\u2026");
    EXPECT_EQ(cutToWidth(u"abcd", 1), u"\u2026");
    EXPECT_EQ(cutToWidth(u"e\u0301bcd", 2), u"e\u0301\u2026");
    EXPECT_EQ(cutToWidth(u"\u65e5\u672c\u8a9e", 5), u"\u65e5\u672c\u2026");
    EXPECT_EQ(cutToWidth(u"\u65e5\u672c\u8a9e", 4), u"\u65e5\u2026") << "half a wide character is none";
    EXPECT_EQ(cutToWidth(u"\U0001F600\U0001F600", 3), u"\U0001F600\u2026");
}

}  // namespace
