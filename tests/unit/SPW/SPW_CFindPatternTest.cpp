#include "SPW_CFindPattern.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(FindPatternTest, StarTakesAnyCharactersAndNone) {
    EXPECT_TRUE(SPW_MatchesFindPattern(u"", u"*"));
    EXPECT_TRUE(SPW_MatchesFindPattern(u".profile", u"*"));
    EXPECT_TRUE(SPW_MatchesFindPattern(u"ab", u"a*b"));
    EXPECT_TRUE(SPW_MatchesFindPattern(u"axxbyb", u"a*b"));
    EXPECT_TRUE(SPW_MatchesFindPattern(u"log.txt.txt", u"*.txt"));
    EXPECT_FALSE(SPW_MatchesFindPattern(u"abc", u"a*b"));
    EXPECT_FALSE(SPW_MatchesFindPattern(u"", u"a*"));
}

TEST(FindPatternTest, QuestionMarkTakesOneCharacter) {
    EXPECT_TRUE(SPW_MatchesFindPattern(u"a1", u"a?"));
    EXPECT_TRUE(SPW_MatchesFindPattern(u".", u"?"));
    EXPECT_FALSE(SPW_MatchesFindPattern(u"a", u"a?"));
    EXPECT_FALSE(SPW_MatchesFindPattern(u"a12", u"a?"));
}

TEST(FindPatternTest, StarDotStarTakesNamesWithoutADotToo) {
    EXPECT_TRUE(SPW_MatchesFindPattern(u"name", u"*.*"));
    EXPECT_TRUE(SPW_MatchesFindPattern(u"..", u"*.*"));
}

TEST(FindPatternTest, BracketsAndBackSlashesAreOrdinary) {
    EXPECT_TRUE(SPW_MatchesFindPattern(u"[a]", u"[a]"));
    EXPECT_FALSE(SPW_MatchesFindPattern(u"a", u"[a]"));
    EXPECT_TRUE(SPW_MatchesFindPattern(u"a\\b", u"a\\?"));
    EXPECT_FALSE(SPW_MatchesFindPattern(u"A", u"a"));
}

TEST(FindPatternTest, ManyStarsTakeNoLongTime) {
    std::u16string pattern;
    for (int i = 0; i < 100; ++i) {
        pattern += u"*a";
    }
    pattern += u"b";
    EXPECT_FALSE(SPW_MatchesFindPattern(std::u16string(10000, u'a').c_str(), pattern.c_str()));
}

}  // namespace
