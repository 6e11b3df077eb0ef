#include "Canvas.h"

#include <gtest/gtest.h>

#include "StringPrinting.h"

namespace {

class CanvasTest : public testing::Test {
protected:
    Canvas m_canvas{10, 3, kUnicodeGlyphs};
};

TEST_F(CanvasTest, TextIsCutAtTheEdgeAndAtItsLimit) {
    EXPECT_EQ(m_canvas.put(7, 0, u"abcdef", Look::kPlain), 10);
    EXPECT_EQ(m_canvas.put(0, 1, u"abcdef", Look::kPlain, 4), 4);
    EXPECT_EQ(m_canvas.line(0), u"       abc");
    EXPECT_EQ(m_canvas.line(1), u"abcd");
}

TEST_F(CanvasTest, WhatLiesOutsideIsNotDrawn) {
    m_canvas.put(0, 3, u"below", Look::kPlain);
    m_canvas.put(0, -1, u"above", Look::kPlain);
    m_canvas.put(-2, 0, u"abc", Look::kPlain);
    m_canvas.fill({-5, -5, 100, 100}, Look::kTitle);
    m_canvas.put(-2, 1, u"abc", Look::kPlain);
    EXPECT_EQ(m_canvas.line(0), u"");
    EXPECT_EQ(m_canvas.line(1), u"c");
    EXPECT_EQ(m_canvas.line(2), u"");
    EXPECT_TRUE(m_canvas.cell(9, 2).style == Style(Look::kTitle));
}

TEST_F(CanvasTest, EachControlCharacterAndEachDirectionalOneIsAQuestionMark) {
    m_canvas.put(0, 0, u"a\u001b[\u009bm\n\u202eb", Look::kPlain);
    EXPECT_EQ(m_canvas.line(0), u"a?[?m??b");
}

TEST_F(CanvasTest, AWideCharacterTakesTwoCellsAndIsLeftOutWhereOnlyOneIsFree) {
    EXPECT_EQ(m_canvas.put(0, 0, u"\u65e5x", Look::kPlain), 3);
    EXPECT_TRUE(m_canvas.cell(1, 0).isRightHalf);
    EXPECT_EQ(m_canvas.put(9, 1, u"\u65e5", Look::kPlain), 9);
    EXPECT_EQ(m_canvas.line(1), u"");
}

TEST_F(CanvasTest, AWideCharacterOfWhichOneHalfIsOverwrittenIsGone) {
    m_canvas.put(0, 0, u"\u65e5\u672c", Look::kPlain);
    m_canvas.put(1, 0, u"a", Look::kPlain);
    EXPECT_EQ(m_canvas.line(0), u" a\u672c");
    m_canvas.put(2, 0, u"b", Look::kPlain);
    EXPECT_EQ(m_canvas.line(0), u" ab");
    EXPECT_FALSE(m_canvas.cell(3, 0).isRightHalf);
}

TEST_F(CanvasTest, CombiningCharactersStayWithTheOneBeforeThemAndTheRestOfThemIsDropped) {
    EXPECT_EQ(m_canvas.put(0, 0, u"\u0301e\u0301\u0302\u0303x", Look::kPlain), 2);
    EXPECT_EQ(m_canvas.line(0), u"e\u0301\u0302x");
}

TEST_F(CanvasTest, InvisibleCharactersGo) {
    EXPECT_EQ(m_canvas.put(0, 0, u"a\u200b\u200d\ufe0f\ufeffb", Look::kPlain), 2);
    EXPECT_EQ(m_canvas.line(0), u"ab");
}

TEST_F(CanvasTest, FittedTextFillsItsColumnsAndTellsThatItWasCut) {
    m_canvas.put(0, 0, u"##########", Look::kPlain);
    m_canvas.putFitted(1, 0, 6, u"abc", Look::kPlain, Canvas::kRight);
    EXPECT_EQ(m_canvas.line(0), u"#   abc###");
    m_canvas.putFitted(1, 0, 6, u"ab", Look::kPlain, Canvas::kCentre);
    EXPECT_EQ(m_canvas.line(0), u"#  ab  ###");
    m_canvas.putFitted(1, 0, 6, u"abcdefgh", Look::kPlain);
    EXPECT_EQ(m_canvas.line(0), u"#abcde\u2026###");
    // A wide character that does not fit leaves a blank, not half of itself.
    m_canvas.putFitted(0, 1, 4, u"\u65e5\u672c\u8a9e", Look::kPlain);
    EXPECT_EQ(m_canvas.line(1), u"\u65e5\u2026");
}

TEST_F(CanvasTest, AFrameHasATitleAndIsBlankInside) {
    m_canvas.put(0, 1, u"##########", Look::kPlain);
    m_canvas.frame({0, 0, 10, 3}, u"Hi");
    EXPECT_EQ(m_canvas.line(0), u"\u250c\u2500 Hi \u2500\u2500\u2500\u2510");
    EXPECT_EQ(m_canvas.line(1), u"\u2502        \u2502");
    EXPECT_EQ(m_canvas.line(2), u"\u2514\u2500\u2500\u2500\u2500\u2500\u2500\u2500\u2500\u2518");
}

TEST_F(CanvasTest, AFrameLargerThanTheCanvasOrVerySmallDoesNoHarm) {
    m_canvas.frame({-3, -3, 40, 40}, u"a title that is far too long for it");
    m_canvas.frame({0, 0, 1, 1}, u"Hi");
    m_canvas.frame({0, 0, 0, 0}, u"Hi");
    Canvas none(0, 0, kAsciiGlyphs);
    none.frame({0, 0, 5, 5}, u"Hi");
    EXPECT_EQ(none.width(), 0);
}

TEST_F(CanvasTest, TheCursorIsHiddenUntilItIsPlacedInside) {
    EXPECT_FALSE(m_canvas.hasCursor());
    m_canvas.placeCursor(9, 2);
    EXPECT_TRUE(m_canvas.hasCursor());
    m_canvas.placeCursor(10, 2);
    EXPECT_FALSE(m_canvas.hasCursor());
}

}  // namespace
