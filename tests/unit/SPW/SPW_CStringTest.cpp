#include "SPW_CString.h"

#include <gtest/gtest.h>

#include <climits>
#include <clocale>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>
#include <type_traits>

#include "CodePage.h"
#include "StringPrinting.h"

namespace {

// count copies of 'x'.
SPW_CString textOfLength(int count) {
    SPW_CString text;
    text.fill(u'x', count);
    return text;
}

bool isInline(const SPW_CString& s) {
    const char* const object = reinterpret_cast<const char*>(&s);
    const char* const text = reinterpret_cast<const char*>(s.text());
    return text >= object && text < object + sizeof s;
}

void expectWellFormed(const SPW_CString& s) {
    EXPECT_EQ(s.text()[s.length()], u'\0');
    EXPECT_GT(s.capacity(), s.length());
    EXPECT_EQ(s.capacity() % SPW_CString::kStringBlock, 0);
    EXPECT_EQ(isInline(s), s.capacity() == SPW_CString::kStringBlock);
}

// --- Storage ---

TEST(StringStorageTest, TextsBelow128CharactersLiveInTheObject) {
    const SPW_CString longest = textOfLength(127);
    EXPECT_EQ(longest.capacity(), 128);
    EXPECT_TRUE(isInline(longest));
    expectWellFormed(longest);
}

TEST(StringStorageTest, OneCharacterMoreMovesItToABlockOf256) {
    SPW_CString s = textOfLength(127);
    s += u'y';
    EXPECT_EQ(s.length(), 128);
    EXPECT_EQ(s.capacity(), 256);
    EXPECT_FALSE(isInline(s));
    EXPECT_EQ(s.at(126), u'x');
    EXPECT_EQ(s.at(127), u'y');
    expectWellFormed(s);
}

TEST(StringStorageTest, ClearingKeepsTheBlock) {
    SPW_CString s = textOfLength(128);
    const char16_t* const block = s.text();
    s.clear();
    EXPECT_TRUE(s.isEmpty());
    EXPECT_EQ(s.capacity(), 256);
    EXPECT_EQ(s.text(), block);
    expectWellFormed(s);
}

TEST(StringStorageTest, ShorteningAndReassigningKeepTheBlock) {
    SPW_CString s = textOfLength(300);
    s.truncate(1);
    EXPECT_EQ(s.capacity(), 384);
    s = u"short";
    EXPECT_EQ(s.capacity(), 384);
    s = textOfLength(200);
    EXPECT_EQ(s.capacity(), 384);
    expectWellFormed(s);
}

TEST(StringStorageTest, CapacityIsTheNextMultipleOf128AboveTheLength) {
    for (const int length : {0, 1, 127, 128, 129, 255, 256, 383, 384, 1000}) {
        const SPW_CString s = textOfLength(length);
        EXPECT_EQ(s.capacity(), (length / 128 + 1) * 128) << length;
        expectWellFormed(s);
    }
}

TEST(StringStorageTest, GrowingFromBlockToBlockTakesOneStepAndKeepsTheText) {
    SPW_CString s;
    std::u16string expected;
    for (int i = 0; i < 1000; ++i) {
        const char16_t c = static_cast<char16_t>(u'a' + i % 26);
        s += c;
        expected += c;
        ASSERT_EQ(s.capacity(), (s.length() / 128 + 1) * 128);
    }
    EXPECT_EQ(s, expected.c_str());
    expectWellFormed(s);
}

TEST(StringStorageTest, AnArrayOfStringsFreesAllThatItsElementsOwn) {
    SPW_CString* const strings = new SPW_CString[3];
    for (int i = 0; i < 3; ++i) {
        strings[i] = textOfLength(200 * i);
        EXPECT_EQ(std::strlen(strings[i].toAnsi()), static_cast<std::size_t>(200 * i));
        strings[i].wideCopy();
    }
    delete[] strings;
}

TEST(StringStorageTest, DerivesFromTheRootClass) {
    EXPECT_TRUE((std::is_base_of_v<SPW_CObject, SPW_CString>));
    EXPECT_TRUE(std::has_virtual_destructor_v<SPW_CObject>);
}

// --- Construction ---

TEST(StringConstructionTest, DefaultIsEmpty) {
    const SPW_CString s;
    EXPECT_EQ(s.length(), 0);
    EXPECT_EQ(s, u"");
    expectWellFormed(s);
}

TEST(StringConstructionTest, EightBitTextIsConvertedFromTheCodePage) {
    EXPECT_EQ(SPW_CString("plain"), u"plain");
    EXPECT_EQ(SPW_CString(""), u"");
    EXPECT_EQ(SPW_CString((std::string(CodePage::kUmlaut) + CodePage::kEuro).c_str()), u"\u00E4\u20AC");
}

TEST(StringConstructionTest, LongEightBitTextGetsABlock) {
    const SPW_CString ascii(std::string(500, 'a').c_str());
    EXPECT_EQ(ascii.length(), 500);
    EXPECT_EQ(ascii.capacity(), 512);
    expectWellFormed(ascii);
    const SPW_CString other((std::string(500, 'a') + CodePage::kUmlaut).c_str());
    EXPECT_EQ(other.length(), 501);
    EXPECT_EQ(other.last(), u'\u00E4');
    expectWellFormed(other);
}

TEST(StringConstructionTest, WideTextAndCopyAreCopies) {
    const SPW_CString original(u"text");
    const SPW_CString copy(original);
    EXPECT_EQ(copy, u"text");
    EXPECT_NE(copy.text(), original.text());
    const SPW_CString longCopy(textOfLength(300));
    EXPECT_EQ(longCopy.length(), 300);
    expectWellFormed(longCopy);
}

TEST(StringConstructionTest, ACopyDoesNotTakeTheSpareCapacity) {
    SPW_CString original = textOfLength(300);
    original = u"short";
    EXPECT_EQ(SPW_CString(original).capacity(), 128);
}

TEST(StringConstructionTest, AMaximumCutsWideText) {
    EXPECT_EQ(SPW_CString(u"abcdef", 3), u"abc");
    EXPECT_EQ(SPW_CString(u"abc", 10), u"abc");
    EXPECT_EQ(SPW_CString(u"abc", 0), u"");
    EXPECT_EQ(SPW_CString(u"abc", -1), u"");
}

TEST(StringConstructionTest, AMaximumLooksAtNothingBehindIt) {
    const char16_t unterminated[] = {u'a', u'b', u'c'};
    EXPECT_EQ(SPW_CString(unterminated, 3), u"abc");
}

TEST(StringConstructionTest, AMaximumCutsAString) {
    const SPW_CString s(u"abcdef");
    EXPECT_EQ(SPW_CString(s, 3), u"abc");
    EXPECT_EQ(SPW_CString(s, 10), u"abcdef");
    EXPECT_EQ(SPW_CString(s, -1), u"");
}

TEST(StringConstructionTest, OneCharacterMakesAOneCharacterString) {
    EXPECT_EQ(SPW_CString('a'), u"a");
    EXPECT_EQ(SPW_CString(u'\u20AC'), u"\u20AC");
    EXPECT_EQ(SPW_CString(u'a').length(), 1);
}

TEST(StringConstructionTest, NumbersBecomeDecimalDigits) {
    EXPECT_EQ(SPW_CString(0), u"0");
    EXPECT_EQ(SPW_CString(-42), u"-42");
    EXPECT_EQ(SPW_CString(INT_MAX), u"2147483647");
    EXPECT_EQ(SPW_CString(INT_MIN), u"-2147483648");
    EXPECT_EQ(SPW_CString(-7L), u"-7");
    EXPECT_EQ(SPW_CString(LONG_MIN), SPW_CString(std::to_string(LONG_MIN).c_str()));
    EXPECT_EQ(SPW_CString(LONG_MAX), SPW_CString(std::to_string(LONG_MAX).c_str()));
    EXPECT_EQ(SPW_CString(4294967295UL), u"4294967295");
    EXPECT_EQ(SPW_CString(ULONG_MAX), SPW_CString(std::to_string(ULONG_MAX).c_str()));
}

TEST(StringConstructionTest, ADoubleBecomesItsShortForm) {
    EXPECT_EQ(SPW_CString(0.5), u"0.5");
    EXPECT_EQ(SPW_CString(100.0), u"100");
    EXPECT_EQ(SPW_CString(1234567.0), u"1.23457e+06");
    EXPECT_EQ(SPW_CString(-0.00001), u"-1e-05");
}

TEST(StringConstructionTest, ANullTextIsEmpty) {
    EXPECT_EQ(SPW_CString(static_cast<const char*>(nullptr)), u"");
    EXPECT_EQ(SPW_CString(static_cast<const char16_t*>(nullptr)), u"");
    EXPECT_EQ(SPW_CString(static_cast<const char16_t*>(nullptr), 5), u"");
    EXPECT_EQ(SPW_CString(u"a") + static_cast<const char16_t*>(nullptr), u"a");
    EXPECT_TRUE(SPW_CString() == static_cast<const char16_t*>(nullptr));
}

// --- Assignment ---

TEST(StringAssignmentTest, ReplacesTheContent) {
    SPW_CString s(u"old and long");
    s = SPW_CString(u"new");
    EXPECT_EQ(s, u"new");
    s = u"wide";
    EXPECT_EQ(s, u"wide");
    s.assign(SPW_CString(u"assigned"));
    EXPECT_EQ(s, u"assigned");
    s.assign(u"again");
    EXPECT_EQ(s, u"again");
    expectWellFormed(s);
}

TEST(StringAssignmentTest, AMaximumCutsTheOtherString) {
    const SPW_CString other(u"abcdef");
    SPW_CString s(u"old");
    s.assign(other, 2);
    EXPECT_EQ(s, u"ab");
    s.assign(other, 99);
    EXPECT_EQ(s, u"abcdef");
    s.assign(other, -3);
    EXPECT_EQ(s, u"");
}

TEST(StringAssignmentTest, ACountIsClampedToTheWideText) {
    SPW_CString s;
    s.assign(u"abcdef", 4);
    EXPECT_EQ(s, u"abcd");
    s.assign(u"abc", 99);
    EXPECT_EQ(s, u"abc");
    s.assign(u"abc", -1);
    EXPECT_EQ(s, u"");
}

TEST(StringAssignmentTest, FillMakesCopiesOfOneCharacter) {
    SPW_CString s(u"old");
    s.fill(u'-', 5);
    EXPECT_EQ(s, u"-----");
    s.fill(u'-', 0);
    EXPECT_EQ(s, u"");
    s.fill(u'-', -1);
    EXPECT_EQ(s, u"");
    s.fill(u'=', 128);
    EXPECT_EQ(s.length(), 128);
    EXPECT_EQ(s.last(), u'=');
    expectWellFormed(s);
}

TEST(StringAssignmentTest, CharactersAndNumbersReplaceTheContent) {
    SPW_CString s(u"old");
    s = u'c';
    EXPECT_EQ(s, u"c");
    s = -12;
    EXPECT_EQ(s, u"-12");
    s = 34L;
    EXPECT_EQ(s, u"34");
    s = 56UL;
    EXPECT_EQ(s, u"56");
    s = 7.25;
    EXPECT_EQ(s, u"7.25");
}

TEST(StringAssignmentTest, TakesItselfAndPartsOfItself) {
    SPW_CString s(u"abcdef");
    const SPW_CString& same = s;
    s = same;
    EXPECT_EQ(s, u"abcdef");
    s = s.text() + 2;
    EXPECT_EQ(s, u"cdef");
    s.assign(s, 3);
    EXPECT_EQ(s, u"cde");
    s.assign(s.text() + 1, 1);
    EXPECT_EQ(s, u"d");
}

// --- Appending ---

TEST(StringAppendTest, AddsAtTheEnd) {
    SPW_CString s(u"a");
    s.append(u"b");
    s.append(SPW_CString(u"c"));
    s.append(u'd');
    s.append(-1);
    s.append(2L);
    s.append(3UL);
    s.append(0.5);
    EXPECT_EQ(s, u"abcd-1230.5");
    expectWellFormed(s);
}

TEST(StringAppendTest, PlusAssignDoesTheSame) {
    SPW_CString s(u"a");
    s += u"b";
    s += SPW_CString(u"c");
    s += u'd';
    s += -1;
    s += 2L;
    s += 3UL;
    s += 0.5;
    EXPECT_EQ(s, u"abcd-1230.5");
}

TEST(StringAppendTest, PlusLeavesItsOperandsAlone) {
    const SPW_CString left(u"left");
    EXPECT_EQ(left + u"-text", u"left-text");
    EXPECT_EQ(left + SPW_CString(u"-string"), u"left-string");
    EXPECT_EQ(left + u'c', u"leftc");
    EXPECT_EQ(left + -1, u"left-1");
    EXPECT_EQ(left + 2L, u"left2");
    EXPECT_EQ(left + 3UL, u"left3");
    EXPECT_EQ(left + 1e100, u"left1e+100");
    EXPECT_EQ(left, u"left");
}

TEST(StringAppendTest, TakesItselfAndPartsOfItselfAcrossGrowth) {
    SPW_CString s(u"abc");
    s += s;
    EXPECT_EQ(s, u"abcabc");
    s += s.text() + 4;
    EXPECT_EQ(s, u"abcabcbc");

    SPW_CString grown = textOfLength(100);
    grown += u"tail";
    grown += grown;
    EXPECT_EQ(grown.length(), 208);
    EXPECT_EQ(grown.right(4), u"tail");
    grown += grown.text() + 100;
    EXPECT_EQ(grown.length(), 316);
    EXPECT_EQ(grown.right(4), u"tail");
    expectWellFormed(grown);
}

TEST(StringAppendTest, AnEightBitCharacterIsNotTakenForANumber) {
    EXPECT_FALSE((std::is_assignable_v<SPW_CString&, char>));
}

// --- Queries ---

TEST(StringQueryTest, FirstAndLastAreZeroWhenEmpty) {
    EXPECT_EQ(SPW_CString().first(), u'\0');
    EXPECT_EQ(SPW_CString().last(), u'\0');
    EXPECT_EQ(SPW_CString(u"abc").first(), u'a');
    EXPECT_EQ(SPW_CString(u"abc").last(), u'c');
}

TEST(StringQueryTest, CharactersOutsideTheTextAreZero) {
    const SPW_CString s(u"abc");
    EXPECT_EQ(s.at(0), u'a');
    EXPECT_EQ(s.at(2), u'c');
    EXPECT_EQ(s.at(3), u'\0');
    EXPECT_EQ(s.at(4), u'\0');
    EXPECT_EQ(s.at(INT_MAX), u'\0');
    EXPECT_EQ(s.at(-1), u'\0');
    EXPECT_EQ(s.at(INT_MIN), u'\0');
}

TEST(StringQueryTest, NoStaleCharacterShowsBehindAShortenedText) {
    SPW_CString s(u"abcdef");
    s.truncate(2);
    EXPECT_EQ(s.at(3), u'\0');
    EXPECT_EQ(s.length(), 2);
    EXPECT_FALSE(s.isEmpty());
}

// --- Searching ---

TEST(StringSearchTest, FindsCharactersFromBothEnds) {
    const SPW_CString s(u"abcabc");
    EXPECT_EQ(s.find(u'b'), 1);
    EXPECT_EQ(s.findLast(u'b'), 4);
    EXPECT_EQ(s.find(u'a'), 0);
    EXPECT_EQ(SPW_CString(u"a").findLast(u'a'), 0);
    EXPECT_EQ(s.find(u'x'), -1);
    EXPECT_EQ(s.findLast(u'x'), -1);
    EXPECT_EQ(s.find(u'\0'), 6);
    EXPECT_EQ(s.findLast(u'\0'), 6);
}

TEST(StringSearchTest, FindsTheFirstCharacterOfASet) {
    const SPW_CString s(u"abc,;d");
    EXPECT_EQ(s.findAny(u";,"), 3);
    EXPECT_EQ(s.findAny(u"xyz"), -1);
    EXPECT_EQ(s.findAny(u""), -1);
    EXPECT_EQ(s.findAny(nullptr), -1);
    EXPECT_EQ(SPW_CString().findAny(u"abc"), -1);
}

TEST(StringSearchTest, FindsASubstring) {
    const SPW_CString s(u"one two two");
    EXPECT_EQ(s.findText(u"two"), 4);
    EXPECT_EQ(s.findText(u"three"), -1);
    EXPECT_EQ(s.findText(u""), 0);
    EXPECT_EQ(SPW_CString().findText(u"a"), -1);
}

TEST(StringSearchTest, CountsTheLeadingRunOfASet) {
    EXPECT_EQ(SPW_CString(u"  \tx ").leadingRun(u" \t"), 3);
    EXPECT_EQ(SPW_CString(u"x").leadingRun(u" "), 0);
    EXPECT_EQ(SPW_CString(u"   ").leadingRun(u" "), 3);
    EXPECT_EQ(SPW_CString().leadingRun(u" "), 0);
    EXPECT_EQ(SPW_CString(u"x").leadingRun(u""), 0);
}

TEST(StringSearchTest, FindAnyFromStartsAtTheGivenIndex) {
    const SPW_CString s(u"a,b,c");
    EXPECT_EQ(s.findAnyFrom(0, u","), 1);
    EXPECT_EQ(s.findAnyFrom(1, u","), 1);
    EXPECT_EQ(s.findAnyFrom(2, u","), 3);
    EXPECT_EQ(s.findAnyFrom(4, u","), -1);
    EXPECT_EQ(s.findAnyFrom(0, u""), -1);
}

TEST(StringSearchTest, FindAnyFromOutsideTheTextIsZero) {
    const SPW_CString s(u"a,b");
    EXPECT_EQ(s.findAnyFrom(3, u","), 0);
    EXPECT_EQ(s.findAnyFrom(4, u","), 0);
    EXPECT_EQ(s.findAnyFrom(-1, u","), 0);
    EXPECT_EQ(SPW_CString().findAnyFrom(0, u","), 0);
}

TEST(StringSearchTest, LastIndexOfAnyIsTheGreatestOfAllTheSet) {
    EXPECT_EQ(SPW_CString(u"a/b\\c:d").lastIndexOfAny(u"\\/:"), 5);
    EXPECT_EQ(SPW_CString(u"a:b\\c/d").lastIndexOfAny(u"\\/:"), 5);
    EXPECT_EQ(SPW_CString(u"a\\b").lastIndexOfAny(u"\\/:"), 1);
    EXPECT_EQ(SPW_CString(u"abc").lastIndexOfAny(u"\\/:"), -1);
    EXPECT_EQ(SPW_CString(u"abc").lastIndexOfAny(u""), -1);
    EXPECT_EQ(SPW_CString().lastIndexOfAny(u"a"), -1);
}

TEST(StringSearchTest, LastIndexOfAnyIsBlindToIndexZero) {
    EXPECT_EQ(SPW_CString(u"/abc").lastIndexOfAny(u"/"), -1);
    EXPECT_EQ(SPW_CString(u"/").lastIndexOfAny(u"/"), -1);
    EXPECT_EQ(SPW_CString(u"//").lastIndexOfAny(u"/"), 1);
    EXPECT_EQ(SPW_CString(u"/a:").lastIndexOfAny(u"/:"), 2);
}

// --- Comparing ---

TEST(StringCompareTest, ComparesByCodeUnit) {
    const SPW_CString s(u"abc");
    EXPECT_EQ(s.compare(u"abc"), 0);
    EXPECT_LT(s.compare(u"abd"), 0);
    EXPECT_GT(s.compare(u"abb"), 0);
    EXPECT_GT(s.compare(u"ab"), 0);
    EXPECT_LT(s.compare(u"abcd"), 0);
    EXPECT_EQ(s.compare(SPW_CString(u"abc")), 0);
    EXPECT_LT(s.compare(SPW_CString(u"b")), 0);
    EXPECT_LT(s.compare(u"\u00E4"), 0);
}

TEST(StringCompareTest, CodeUnitsAreUnsigned) {
    EXPECT_GT(SPW_CString(u"\uFFFD").compare(u"a"), 0);
    EXPECT_LT(SPW_CString(u"a").compare(u"\uFFFD"), 0);
    EXPECT_GT(SPW_CString(u"\uFFFD").compareNoCase(u"a"), 0);
}

TEST(StringCompareTest, ACountLimitsTheComparison) {
    const SPW_CString s(u"abcdef");
    EXPECT_EQ(s.compare(u"abcxyz", 3), 0);
    EXPECT_LT(s.compare(u"abcxyz", 4), 0);
    EXPECT_EQ(s.compare(u"xyz", 0), 0);
    EXPECT_EQ(s.compare(u"xyz", -1), 0);
    EXPECT_GT(s.compare(u"abc", 99), 0);
    EXPECT_EQ(s.compare(u"abcdef", 99), 0);
}

TEST(StringCompareTest, CaseCanBeIgnored) {
    const SPW_CString s(u"Hello World");
    EXPECT_EQ(s.compareNoCase(u"hELLO wORLD"), 0);
    EXPECT_EQ(s.compareNoCase(SPW_CString(u"HELLO WORLD")), 0);
    EXPECT_LT(s.compareNoCase(u"hello worlds"), 0);
    EXPECT_EQ(s.compareNoCase(u"HELLO there", 6), 0);
    EXPECT_GT(s.compareNoCase(u"HELLO there", 7), 0);
    EXPECT_EQ(s.compareNoCase(u"x", -1), 0);
    EXPECT_EQ(SPW_CString(u"\u00C4\u0416\u03A9").compareNoCase(u"\u00E4\u0436\u03C9"), 0);
}

TEST(StringCompareTest, CaseCanBeIgnoredInEveryScriptThatHasIt) {
    const char16_t* const kPairs[][2] = {
        {u"\u0141\u00D3D\u0179", u"\u0142\u00F3d\u017A"},                            // Polish
        {u"NGUY\u1EC4N \u01A0 \u01AF \u0110", u"nguy\u1EC5n \u01A1 \u01B0 \u0111"},  // Vietnamese
        {u"\u1EA0\u1EA4\u1EF6\u1EFE", u"\u1EA1\u1EA5\u1EF7\u1EFF"},
        {u"\u0218\u021A", u"\u0219\u021B"},                          // Romanian
        {u"\u018F\u0181\u0186\u0190", u"\u0259\u0253\u0254\u025B"},  // Azerbaijani, languages of West Africa
        {u"\u01C4\u01CD\u01F4\u0243\u024E", u"\u01C6\u01CE\u01F5\u0180\u024F"},
        {u"\u0386\u03A9\u1F08", u"\u03AC\u03C9\u1F00"},  // Greek
        {u"\u0401\u0416\u04C0", u"\u0451\u0436\u04CF"},  // Cyrillic
        {u"\u0531", u"\u0561"},                          // Armenian
        {u"\u1C90", u"\u10D0"},                          // Georgian
        {u"\uFF21", u"\uFF41"},
    };
    for (const auto& pair : kPairs) {
        EXPECT_EQ(SPW_CString(pair[0]).compareNoCase(pair[1]), 0) << SPW_CString(pair[1]).toAnsi();
        SPW_CString text(pair[0]);
        text.toLower();
        EXPECT_EQ(text, pair[1]);
        text.toUpper();
        EXPECT_EQ(text, pair[0]);
    }
    EXPECT_NE(SPW_CString(u"\u01A0").compareNoCase(u"o"), 0);
}

TEST(StringCompareTest, WithoutCaseTheOrderIsThatOfLowerCase) {
    // '_' lies between the upper-case and the lower-case letters.
    EXPECT_GT(SPW_CString(u"A").compareNoCase(u"_"), 0);
}

TEST(StringCompareTest, OperatorsAreComparisonsWithZero) {
    const SPW_CString s(u"b");
    EXPECT_TRUE(s == u"b");
    EXPECT_FALSE(s == u"c");
    EXPECT_TRUE(s != u"c");
    EXPECT_FALSE(s != u"b");
    EXPECT_TRUE(s < u"c");
    EXPECT_FALSE(s < u"b");
    EXPECT_TRUE(s <= u"b");
    EXPECT_FALSE(s <= u"a");
    EXPECT_TRUE(s > u"a");
    EXPECT_FALSE(s > u"b");
    EXPECT_TRUE(s >= u"b");
    EXPECT_FALSE(s >= u"c");
    EXPECT_TRUE(s == SPW_CString(u"b"));
    EXPECT_TRUE(s != SPW_CString(u"B"));
}

// --- Conversions out ---

TEST(StringAnsiTest, IsTheTextInTheCodePage) {
    EXPECT_STREQ(SPW_CString(u"plain").toAnsi(), "plain");
    EXPECT_STREQ(SPW_CString().toAnsi(), "");
    EXPECT_EQ(std::string(SPW_CString(u"\u00E4\u20AC").toAnsi()), std::string(CodePage::kUmlaut) + CodePage::kEuro);
}

TEST(StringAnsiTest, LongTextOutsideAsciiSurvives) {
    SPW_CString s;
    s.fill(u'\u20AC', 1000);
    const std::string ansi = s.toAnsi();
    EXPECT_EQ(ansi.size(), 1000 * std::strlen(CodePage::kEuro));
    EXPECT_EQ(SPW_CString(ansi.c_str()), s);
}

TEST(StringAnsiTest, EachCallRenewsTheCopy) {
    SPW_CString s(u"first");
    EXPECT_STREQ(s.toAnsi(), "first");
    s = u"second";
    EXPECT_STREQ(s.toAnsi(), "second");
}

TEST(StringAnsiTest, HalfASurrogatePairIsAQuestionMark) {
    const char16_t loneHigh[] = {u'a', 0xD83D, u'b', 0};
    const char16_t loneLow[] = {u'a', 0xDE00, u'b', 0};
    const char16_t highAtTheEnd[] = {u'a', 0xD83D, 0};
    EXPECT_STREQ(SPW_CString(loneHigh).toAnsi(), "a?b");
    EXPECT_STREQ(SPW_CString(loneLow).toAnsi(), "a?b");
    EXPECT_STREQ(SPW_CString(highAtTheEnd).toAnsi(), "a?");
}

TEST(StringAnsiTest, CopyCountsTheTerminator) {
    char buffer[8];
    EXPECT_EQ(SPW_CString(u"abc").copyToAnsi(buffer, 8), 4);
    EXPECT_STREQ(buffer, "abc");
    EXPECT_EQ(SPW_CString(u"abcdefg").copyToAnsi(buffer, 8), 8);
    EXPECT_STREQ(buffer, "abcdefg");
    const std::string twoEuros = std::string(CodePage::kEuro) + CodePage::kEuro;
    EXPECT_EQ(SPW_CString(u"\u20AC\u20AC").copyToAnsi(buffer, 8), static_cast<int>(twoEuros.size()) + 1);
    EXPECT_EQ(buffer, twoEuros);
}

TEST(StringAnsiTest, CopyThatDoesNotFitIsEmptyAndZero) {
    char buffer[8] = "old";
    EXPECT_EQ(SPW_CString(u"abc").copyToAnsi(buffer, 3), 0);
    EXPECT_STREQ(buffer, "");
    std::strcpy(buffer, "old");
    EXPECT_EQ(SPW_CString(u"\u20AC\u20AC").copyToAnsi(buffer, 2 * static_cast<int>(std::strlen(CodePage::kEuro))), 0);
    EXPECT_STREQ(buffer, "");
    EXPECT_EQ(SPW_CString(u"a").copyToAnsi(buffer, 1), 0);
    EXPECT_STREQ(buffer, "");
}

TEST(StringAnsiTest, CopyOfSizeZeroTellsTheSizeAndWritesNothing) {
    char buffer[] = "old";
    EXPECT_EQ(SPW_CString(u"abc").copyToAnsi(buffer, 0), 4);
    EXPECT_EQ(SPW_CString(u"\u20AC").copyToAnsi(buffer, 0), static_cast<int>(sizeof CodePage::kEuro));
    EXPECT_EQ(SPW_CString(u"abc").copyToAnsi(nullptr, -5), 4);
    EXPECT_STREQ(buffer, "old");
}

TEST(StringCopyTest, CopiesWhatFitsAndTerminates) {
    char16_t buffer[4] = {u'#', u'#', u'#', u'#'};
    SPW_CString(u"abcdef").copyTo(buffer, 4);
    EXPECT_EQ(SPW_CString(buffer), u"abc");
    SPW_CString(u"a").copyTo(buffer, 4);
    EXPECT_EQ(SPW_CString(buffer), u"a");
    EXPECT_EQ(buffer[3], u'\0');
    SPW_CString(u"xyz").copyTo(buffer, 2);
    EXPECT_EQ(SPW_CString(buffer), u"x");
}

TEST(StringCopyTest, SizeOneOrLessWritesNothing) {
    char16_t buffer[2] = {u'#', u'#'};
    for (const int size : {1, 0, -1}) {
        SPW_CString(u"abc").copyTo(buffer, size);
        EXPECT_EQ(buffer[0], u'#') << size;
    }
}

TEST(StringCopyTest, TheWideCopyAccessorAnswersTheStringsOwnText) {
    SPW_CString s(u"abc");
    EXPECT_EQ(s.wideCopy(), s.text());
    s = textOfLength(500);
    EXPECT_EQ(s.wideCopy(), s.text());
    EXPECT_EQ(s.length(), 500);
}

TEST(StringNumberTest, ReadsTheNumberAtTheStart) {
    EXPECT_EQ(SPW_CString(u"42").toInt(), 42);
    EXPECT_EQ(SPW_CString(u" \t\r\n-42abc").toInt(), -42);
    EXPECT_EQ(SPW_CString(u"+7").toLong(), 7);
    EXPECT_EQ(SPW_CString(u"007").toInt(), 7);
    EXPECT_EQ(SPW_CString(u"12 34").toInt(), 12);
    EXPECT_EQ(SPW_CString(u"0x10").toInt(), 0);
}

TEST(StringNumberTest, WithoutANumberItIsZero) {
    for (const char16_t* text : {u"", u"abc", u"-", u"+-5", u"- 5", u"   "}) {
        EXPECT_EQ(SPW_CString(text).toInt(), 0) << SPW_CString(text).toAnsi();
        EXPECT_EQ(SPW_CString(text).toLong(), 0) << SPW_CString(text).toAnsi();
    }
}

TEST(StringNumberTest, ClampsTo32Bits) {
    EXPECT_EQ(SPW_CString(u"2147483647").toInt(), INT32_MAX);
    EXPECT_EQ(SPW_CString(u"2147483648").toInt(), INT32_MAX);
    EXPECT_EQ(SPW_CString(u"-2147483648").toLong(), INT32_MIN);
    EXPECT_EQ(SPW_CString(u"-2147483649").toLong(), INT32_MIN);
    EXPECT_EQ(SPW_CString(u"99999999999999999999999999").toLong(), INT32_MAX);
    EXPECT_EQ(SPW_CString(u"-99999999999999999999999999").toInt(), INT32_MIN);
}

TEST(StringNumberTest, ReadsFloatingNumbers) {
    EXPECT_EQ(SPW_CString(u"1.5").toDouble(), 1.5);
    EXPECT_EQ(SPW_CString(u"  -2.5e3 and more").toDouble(), -2500.0);
    EXPECT_EQ(SPW_CString(u".5").toDouble(), 0.5);
    EXPECT_EQ(SPW_CString(u"5.").toDouble(), 5.0);
    EXPECT_EQ(SPW_CString(u"1E-2").toDouble(), 0.01);
    EXPECT_EQ(SPW_CString(u"3e").toDouble(), 3.0);
    EXPECT_EQ(SPW_CString(u"3e+x").toDouble(), 3.0);
    EXPECT_EQ(SPW_CString(u"+4").toDouble(), 4.0);
    EXPECT_EQ(SPW_CString(u"1e999").toDouble(), std::numeric_limits<double>::infinity());
    EXPECT_EQ(SPW_CString(u"1e-999").toDouble(), 0.0);
    for (const char16_t* text : {u"", u".", u"-.", u"e5", u"abc", u"+"}) {
        EXPECT_EQ(SPW_CString(text).toDouble(), 0.0) << SPW_CString(text).toAnsi();
    }
}

TEST(StringNumberTest, TheLocaleOfTheProcessChangesNothing) {
    ASSERT_NE(std::setlocale(LC_ALL, "C"), nullptr);
    // Not every machine has a locale with a decimal comma; without one this still checks the default.
    (void)std::setlocale(LC_ALL, "de_DE.UTF-8");
    EXPECT_EQ(SPW_CString(u"1.5").toDouble(), 1.5);
    EXPECT_EQ(SPW_CString(1.5), u"1.5");
    EXPECT_STREQ(SPW_CString(u"\u00E4").toAnsi(), CodePage::kUmlaut);
    ASSERT_NE(std::setlocale(LC_ALL, "C"), nullptr);
    EXPECT_STREQ(SPW_CString(u"\u00E4").toAnsi(), CodePage::kUmlaut);
    EXPECT_EQ(SPW_CString(CodePage::kUmlaut), u"\u00E4");
}

TEST(StringBufferTest, GivesRoomForTheCallerToFill) {
    SPW_CString s(u"abc");
    char16_t* const buffer = s.getBuffer(200);
    EXPECT_EQ(buffer, s.text());
    EXPECT_EQ(s.length(), 200);
    EXPECT_EQ(s.capacity(), 256);
    EXPECT_EQ(buffer[0], u'a');
    expectWellFormed(s);
    std::char_traits<char16_t>::copy(buffer, u"platform", 8);
    s.truncate(8);
    EXPECT_EQ(s, u"platform");
}

TEST(StringBufferTest, AShorterBufferShortensTheText) {
    SPW_CString s(u"abcdef");
    s.getBuffer(2);
    EXPECT_EQ(s, u"ab");
    s.getBuffer(0);
    EXPECT_EQ(s, u"");
    s = u"abc";
    s.getBuffer(-1);
    EXPECT_EQ(s, u"");
}

// --- Editing in place ---

TEST(StringEditTest, TruncateCutsLongerTexts) {
    SPW_CString s(u"abcdef");
    s.truncate(3);
    EXPECT_EQ(s, u"abc");
    s.truncate(1);
    EXPECT_EQ(s, u"a");
    expectWellFormed(s);
}

TEST(StringEditTest, TruncateOutsideTheTextDoesNothing) {
    SPW_CString s(u"abc");
    for (const int count : {0, -1, 3, 4, INT_MAX, INT_MIN}) {
        s.truncate(count);
        EXPECT_EQ(s, u"abc") << count;
    }
}

TEST(StringEditTest, DropRightNeverDropsEverything) {
    SPW_CString s(u"abcd");
    s.dropRight(1);
    EXPECT_EQ(s, u"abc");
    s.dropRight(3);
    EXPECT_EQ(s, u"abc");
    s.dropRight(99);
    EXPECT_EQ(s, u"abc");
    s.dropRight(0);
    EXPECT_EQ(s, u"abc");
    s.dropRight(-2);
    EXPECT_EQ(s, u"abc");
    s.dropRight(INT_MIN);
    EXPECT_EQ(s, u"abc");
    s.dropRight(2);
    EXPECT_EQ(s, u"a");
}

TEST(StringEditTest, RemoveLeftShiftsTheRestDown) {
    SPW_CString s(u"abcdef");
    s.removeLeft(2);
    EXPECT_EQ(s, u"cdef");
    s.removeLeft(0);
    s.removeLeft(-1);
    EXPECT_EQ(s, u"cdef");
    s.removeLeft(99);
    EXPECT_EQ(s, u"");
    expectWellFormed(s);
}

TEST(StringEditTest, TrimsTheCharactersOfTheSet) {
    SPW_CString left(u" \tabc \t");
    left.trimLeft(u" \t");
    EXPECT_EQ(left, u"abc \t");
    SPW_CString right(u" \tabc \t");
    right.trimRight(u" \t");
    EXPECT_EQ(right, u" \tabc");
    SPW_CString both(u" \tabc \t");
    both.trim(u" \t");
    EXPECT_EQ(both, u"abc");
}

TEST(StringEditTest, TrimLeftEmptiesATextOfTheSet) {
    SPW_CString s(u"   ");
    s.trimLeft(u" ");
    EXPECT_EQ(s, u"");
}

TEST(StringEditTest, TrimRightKeepsTheFirstCharacter) {
    SPW_CString s(u"   ");
    s.trimRight(u" ");
    EXPECT_EQ(s, u" ");
    s.trimRight(u" ");
    EXPECT_EQ(s, u" ");
    SPW_CString empty;
    empty.trimRight(u" ");
    EXPECT_EQ(empty, u"");
}

TEST(StringEditTest, ATrimOfNothingButTheSetLeavesNothing) {
    SPW_CString s(u"   ");
    s.trim(u" ");
    EXPECT_EQ(s, u"");
}

TEST(StringEditTest, ChangesCaseInPlace) {
    SPW_CString s(u"MiXed 123 \u00C4\u00D7\u0178 \u0416\u03A9");
    s.toLower();
    EXPECT_EQ(s, u"mixed 123 \u00E4\u00D7\u00FF \u0436\u03C9");
    s.toUpper();
    EXPECT_EQ(s, u"MIXED 123 \u00C4\u00D7\u0178 \u0416\u03A9");
}

TEST(StringEditTest, WhatHasNoOtherCaseStaysAsItIs) {
    const SPW_CString text(u"1@[`{\u00DF\u0130\u0131\u00D7\u00F7\u4E2D\u05D0\uFFFF");
    SPW_CString s(text);
    s.toUpper();
    EXPECT_EQ(s, text);
    s.toLower();
    EXPECT_EQ(s, text);
}

TEST(StringEditTest, LowerCaseOfUpperCaseIsTheLetterItself) {
    for (unsigned c = 1; c < 0x10000; ++c) {
        const SPW_CString letter(static_cast<char16_t>(c));
        SPW_CString lower(letter);
        lower.toLower();
        SPW_CString back(lower);
        back.toUpper();
        if (lower != letter) {
            ASSERT_EQ(back, letter) << c;
        }
    }
}

TEST(StringEditTest, SetsCharactersWithoutChangingTheLength) {
    SPW_CString s(u"abcdef");
    s.setFirst(u'x', 2);
    EXPECT_EQ(s, u"xxcdef");
    s.setFirst(u'y', -1);
    EXPECT_EQ(s, u"xxcdef");
    s.setAll(u'z');
    EXPECT_EQ(s, u"zzzzzz");
    s.setFirst(u'-', 99);
    EXPECT_EQ(s, u"------");
    expectWellFormed(s);
}

// --- Parts of the text ---

TEST(StringPartTest, Left) {
    const SPW_CString s(u"abc");
    EXPECT_EQ(s.left(2), u"ab");
    EXPECT_EQ(s.left(9), u"abc");
    EXPECT_EQ(s.left(0), u"");
    EXPECT_EQ(s.left(-1), u"");
}

TEST(StringPartTest, Right) {
    const SPW_CString s(u"abc");
    EXPECT_EQ(s.right(2), u"bc");
    EXPECT_EQ(s.right(9), u"abc");
    EXPECT_EQ(s.right(0), u"");
    EXPECT_EQ(s.right(-1), u"");
}

TEST(StringPartTest, Mid) {
    const SPW_CString s(u"abcdef");
    EXPECT_EQ(s.mid(2, 3), u"cde");
    EXPECT_EQ(s.mid(2, 99), u"cdef");
    EXPECT_EQ(s.mid(5, INT_MAX), u"f");
    EXPECT_EQ(s.mid(2, 0), u"");
    EXPECT_EQ(s.mid(2, -1), u"");
    EXPECT_EQ(s.mid(6, 1), u"");
    EXPECT_EQ(s.mid(99, 1), u"");
    EXPECT_EQ(s.mid(-1, 2), u"ab");
}

TEST(StringPartTest, AfterLast) {
    EXPECT_EQ(SPW_CString(u"a/b/c").afterLast(u"/"), u"c");
    EXPECT_EQ(SPW_CString(u"a/b/").afterLast(u"/"), u"");
    EXPECT_EQ(SPW_CString(u"abc").afterLast(u"/"), u"");
    EXPECT_EQ(SPW_CString(u"/abc").afterLast(u"/"), u"");
}

// --- Tokens ---

TEST(StringTokenTest, ATokenEndsAtADelimiterOrAtTheEnd) {
    const SPW_CString s(u"one, two");
    EXPECT_EQ(s.token(u", "), u"one");
    EXPECT_EQ(s.tokenAt(3, u", "), u"two");
    EXPECT_EQ(s.tokenAt(1, u", "), u"ne");
    EXPECT_EQ(s.tokenAt(-7, u", "), u"one");
    EXPECT_EQ(s, u"one, two");
}

TEST(StringTokenTest, LeadingDelimitersAreSkipped) {
    EXPECT_EQ(SPW_CString(u",,a,b").token(u","), u"a");
}

TEST(StringTokenTest, ATailOfDelimitersYieldsAnEmptyToken) {
    EXPECT_EQ(SPW_CString(u",,,").token(u","), u"");
    EXPECT_EQ(SPW_CString(u"a,,").tokenAt(1, u","), u"");
    EXPECT_EQ(SPW_CString(u"a").tokenAt(1, u","), u"");
    EXPECT_EQ(SPW_CString(u"a").tokenAt(2, u","), u"");
    EXPECT_EQ(SPW_CString(u"a").tokenAt(99, u","), u"");
    EXPECT_EQ(SPW_CString().token(u","), u"");
}

TEST(StringTokenTest, WithoutDelimitersTheTokenIsTheWholeText) {
    EXPECT_EQ(SPW_CString(u"a b").token(u""), u"a b");
    EXPECT_EQ(SPW_CString(u"a b").token(nullptr), u"a b");
}

TEST(StringTokenTest, NextTokenTakesOneAfterTheOther) {
    SPW_CString s(u"a,,b");
    EXPECT_EQ(s.nextToken(u","), u"a");
    EXPECT_EQ(s, u",,b");
    EXPECT_EQ(s.nextToken(u","), u"b");
    EXPECT_EQ(s, u"");
    EXPECT_EQ(s.nextToken(u","), u"");
    EXPECT_EQ(s.nextToken(u","), u"");
}

TEST(StringTokenTest, NextTokenLeavesATailOfDelimitersInPlace) {
    SPW_CString s(u"a,,");
    EXPECT_EQ(s.nextToken(u","), u"a");
    EXPECT_EQ(s.nextToken(u","), u"");
    EXPECT_EQ(s, u",,");
}

// --- File paths ---

struct PathRow {
    const char16_t* path;
    const char16_t* directory;
    const char16_t* fileName;
    const char16_t* extension;
    const char16_t* baseName;
    const char16_t* drive;
    const char16_t* withTxt;
};

TEST(StringPathTest, SeparatorsAreBackslashSlashAndColon) {
    EXPECT_EQ(SPW_CString(SPW_CString::kPathSeparators), u"\\/:");
}

TEST(StringPathTest, PathsFallIntoTheirParts) {
    const PathRow rows[] = {
        {u"a\\b\\c.txt", u"a\\b", u"c.txt", u"txt", u"c", u"", u"a\\b\\c.txt"},
        {u"a/b/c.log", u"a/b", u"c.log", u"log", u"c", u"", u"a/b/c.txt"},
        {u"C:\\x", u"C:", u"x", u"", u"x", u"C:", u"C:\\x.txt"},
        {u"C:x.y", u"C", u"x.y", u"y", u"x", u"C:", u"C:x.txt"},
        // A separator at index 0 is not seen.
        {u"\\file.txt", u"", u"\\file.txt", u"txt", u"\\file", u"", u"\\file.txt"},
        {u"\\dir\\file", u"\\dir", u"file", u"", u"file", u"", u"\\dir\\file.txt"},
        {u"\\x:y", u"\\x", u"y", u"", u"y", u"", u"\\x:y.txt"},
        // The last dot belongs to the folder.
        {u"dir.d\\name", u"dir.d", u"name", u"", u"name", u"", u"dir.d\\name.txt"},
        // A dot at index 0 is not seen.
        {u".profile", u"", u".profile", u"", u".profile", u"", u".profile.txt"},
        {u"log", u"", u"log", u"", u"log", u"", u"log.txt"},
        {u"log.", u"", u"log.", u"", u"log", u"", u"log.txt"},
        {u"a.b.c", u"", u"a.b.c", u"c", u"a.b", u"", u"a.b.txt"},
        {u"dir\\", u"dir", u"", u"", u"", u"", u"dir\\.txt"},
        {u"", u"", u"", u"", u"", u"", u".txt"},
        // In the whole path the dot of a hidden file is not at index 0: it counts there, though not in the base name.
        {u"dir\\.rc", u"dir", u".rc", u"rc", u".rc", u"", u"dir\\.txt"},
    };
    for (const PathRow& row : rows) {
        const SPW_CString path(row.path);
        SCOPED_TRACE(path.toAnsi());
        EXPECT_EQ(path.getDirectory(), row.directory);
        EXPECT_EQ(path.getFileName(), row.fileName);
        EXPECT_EQ(path.getExtension(), row.extension);
        EXPECT_EQ(path.getBaseName(), row.baseName);
        EXPECT_EQ(path.getDrive(), row.drive);
        EXPECT_EQ(path.withExtension(u"txt"), row.withTxt);
    }
}

TEST(StringPathTest, WithExtensionLeavesThePathAlone) {
    const SPW_CString path(u"log");
    EXPECT_EQ(path.withExtension(u"txt"), u"log.txt");
    EXPECT_EQ(path, u"log");
}

}  // namespace
