#include "SPW_COsReleasePosix.h"

#include <gtest/gtest.h>

#include <string>

#include "StringPrinting.h"

using namespace std::string_literals;

namespace {

SPW_CString name(std::string_view file) {
    return SPW_COsReleasePosix::prettyName(file);
}

TEST(OsReleaseTest, NameIsFoundAmongTheOtherAssignments) {
    EXPECT_EQ(name("PRETTY_NAME=\"Debian GNU/Linux 12 (bookworm)\"\nNAME=\"Debian GNU/Linux\"\nID=debian\n"),
              u"Debian GNU/Linux 12 (bookworm)");
    EXPECT_EQ(name("NAME=Ubuntu\nVERSION_ID=\"22.04\"\nPRETTY_NAME=\"Ubuntu 22.04.1 LTS\"\nID=ubuntu"),
              u"Ubuntu 22.04.1 LTS");
}

TEST(OsReleaseTest, ValueMayBeBareOrInEitherQuotes) {
    EXPECT_EQ(name("PRETTY_NAME=Alpine\n"), u"Alpine");
    EXPECT_EQ(name("PRETTY_NAME='Arch Linux'\n"), u"Arch Linux");
    EXPECT_EQ(name("PRETTY_NAME=\"Arch Linux\"\n"), u"Arch Linux");
    EXPECT_EQ(name("PRETTY_NAME=\"\"\n"), u"");
    EXPECT_EQ(name("PRETTY_NAME=\n"), u"");
}

TEST(OsReleaseTest, InDoubleQuotesFourCharactersAreEscaped) {
    EXPECT_EQ(name(R"(PRETTY_NAME="The \"Best\" \\ \$5 \`x\`")"), u"The \"Best\" \\ $5 `x`");
    EXPECT_EQ(name(R"(PRETTY_NAME="a\nb\'c")"), u"a\\nb\\'c") << "before all else it is a back-slash";
}

TEST(OsReleaseTest, InSingleQuotesNothingIsEscaped) {
    EXPECT_EQ(name(R"(PRETTY_NAME='a\b"c\')"), u"a\\b\"c\\");
}

TEST(OsReleaseTest, BareBackslashEscapesAnything) {
    EXPECT_EQ(name(R"(PRETTY_NAME=Some\ Linux\\)"), u"Some Linux\\");
    EXPECT_EQ(name("PRETTY_NAME=ends with\\"), u"ends with\\");
}

TEST(OsReleaseTest, QuotedPartsAreJoinedAsTheShellDoes) {
    EXPECT_EQ(name(R"(PRETTY_NAME="A "'B'C)"), u"A BC");
}

TEST(OsReleaseTest, BlanksAroundALineAndCarriageReturnsDoNotCount) {
    EXPECT_EQ(name("  PRETTY_NAME=\"A B\" \t\r\nID=x\r\n"), u"A B");
    EXPECT_EQ(name("PRETTY_NAME=A B  \r\n"), u"A B") << "whoever forgot the quotes meant the blank";
}

TEST(OsReleaseTest, OfSeveralAssignmentsTheLastCounts) {
    EXPECT_EQ(name("PRETTY_NAME=one\nPRETTY_NAME=two\n"), u"two");
}

TEST(OsReleaseTest, CommentsAndOtherNamesDoNotCount) {
    EXPECT_EQ(name("# PRETTY_NAME=comment\n#PRETTY_NAME=comment\nPRETTY_NAME_X=x\nMY_PRETTY_NAME=y\n"), u"");
    EXPECT_EQ(name("PRETTY_NAME =x\npretty_name=y\nPRETTY_NAME\n"), u"");
    EXPECT_EQ(name(""), u"");
}

TEST(OsReleaseTest, LineWithAnOpenQuoteDoesNotCountAndEndsWithItsLine) {
    EXPECT_EQ(name("PRETTY_NAME=\"open\nID=x\n"), u"");
    EXPECT_EQ(name("NAME=\"open\nPRETTY_NAME=good\n"), u"good");
    EXPECT_EQ(name("PRETTY_NAME=good\nPRETTY_NAME='open\n"), u"good");
    EXPECT_EQ(name("PRETTY_NAME=\"escaped end\\\"\n"), u"");
}

TEST(OsReleaseTest, ControlCharactersAreShownAsQuestionMarks) {
    EXPECT_EQ(name("PRETTY_NAME=\"a\x1b[31mb\x7f\xc2\x9b\tc\"\n"), u"a?[31mb???c");
    EXPECT_EQ(name("PRETTY_NAME=\"a\0b\"\n"s), u"a?b");
}

TEST(OsReleaseTest, OtherLanguagesAreKeptAndInvalidBytesReplaced) {
    EXPECT_EQ(name("PRETTY_NAME=\"红旗 \xf0\x9f\x90\xa7\"\n"), u"红旗 \U0001F427");
    EXPECT_EQ(name("PRETTY_NAME=\"caf\xe9 x\"\n"), u"caf\uFFFD x");
}

TEST(OsReleaseTest, LongNamesAreCutBetweenCharacters) {
    const std::string line = "PRETTY_NAME=" + std::string(126, 'a');
    EXPECT_EQ(name(line + "b").length(), 127);
    EXPECT_EQ(name(line + "bc").length(), 127);
    EXPECT_EQ(name(line + "bc").last(), u'b');
    EXPECT_EQ(name(line + "\xf0\x9f\x90\xa7").length(), 126) << "a pair that does not fit is not cut in two";
    EXPECT_EQ(name("PRETTY_NAME=" + std::string(1000000, 'x')).length(), 127);
}

}  // namespace
