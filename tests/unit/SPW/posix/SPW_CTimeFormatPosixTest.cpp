#include "SPW_CTimeFormatPosix.h"

#include <gmock/gmock.h>

#include <string>

#include "StringPrinting.h"

using testing::ElementsAre;

namespace {

SPW_CString shortened(const char16_t* format, const char16_t* twelveHourFormat = u"%I:%M:%S %p") {
    return SPW_CTimeFormatPosix::withoutSeconds(format, twelveHourFormat);
}

std::vector<std::string> pieces(const char16_t* format) {
    std::vector<std::string> texts;
    for (const SPW_CTimeFormatPosix::Piece& piece : SPW_CTimeFormatPosix::cut(format)) {
        texts.push_back((piece.conversion == 0 ? "text " : "") + std::string(piece.text.toAnsi()));
    }
    return texts;
}

TEST(TimeFormatTest, FormatIsCutIntoConversionsAndTexts) {
    EXPECT_THAT(pieces(u"%H:%M"), ElementsAre("%H", "text :", "%M"));
    EXPECT_THAT(pieces(u"%H時%M分"), ElementsAre("%H", "text 時", "%M", "text 分"));
    EXPECT_THAT(pieces(u"at %-l%OM%Ey%_3d%^a"), ElementsAre("text at ", "%-l", "%OM", "%Ey", "%_3d", "%^a"));
    EXPECT_THAT(pieces(u""), ElementsAre());
}

TEST(TimeFormatTest, PercentSignThatBeginsNoConversionIsText) {
    EXPECT_THAT(pieces(u"100%% %H%"), ElementsAre("text 100% ", "%H", "text %"));
    EXPECT_THAT(pieces(u"%時%-"), ElementsAre("text %時%-"));
}

TEST(TimeFormatTest, SecondsGoWithWhatSeparatesThem) {
    EXPECT_EQ(shortened(u"%H:%M:%S"), u"%H:%M");
    EXPECT_EQ(shortened(u"%H.%M.%S"), u"%H.%M");
    EXPECT_EQ(shortened(u"%k:%M:%S"), u"%k:%M");
    EXPECT_EQ(shortened(u"%k,%M,%S"), u"%k,%M");
    EXPECT_EQ(shortened(u"%H%M%S"), u"%H%M");
    EXPECT_EQ(shortened(u"%H:%M:%-S"), u"%H:%M");
    EXPECT_EQ(shortened(u"kl. %H.%M.%S"), u"kl. %H.%M");
    EXPECT_EQ(shortened(u"%H:%M:%S Uhr"), u"%H:%M Uhr") << "no unit of the seconds";
    EXPECT_EQ(shortened(u"%S:%M:%H"), u"%M:%H");
}

TEST(TimeFormatTest, ShortFormsOfWholeTimesAreSpelledOut) {
    EXPECT_EQ(shortened(u"%T"), u"%H:%M");
    EXPECT_EQ(shortened(u"%r"), u"%I:%M %p");
    EXPECT_EQ(shortened(u"%r", u"%p %l:%M:%S"), u"%p %l:%M");
    EXPECT_EQ(shortened(u"%r", u""), u"%I:%M %p") << "as strftime does";
    EXPECT_EQ(shortened(u"%R"), u"%R");
}

TEST(TimeFormatTest, HalfOfTheDayStays) {
    EXPECT_EQ(shortened(u"%I:%M:%S %p"), u"%I:%M %p");
    EXPECT_EQ(shortened(u"%l:%M:%S %p"), u"%l:%M %p");
    EXPECT_EQ(shortened(u"%OI:%OM:%OS %p"), u"%OI:%OM %p");
    EXPECT_EQ(shortened(u"%P %I:%M:%S"), u"%P %I:%M");
    EXPECT_EQ(shortened(u"%l:%M:%S\u1361%p"), u"%l:%M\u1361%p");
    EXPECT_EQ(shortened(u"%I:%M:%S.%p %Z"), u"%I:%M.%p");
    EXPECT_EQ(shortened(u"\u202B%I:%M:%S %p\u202C"), u"\u202B%I:%M %p\u202C");
}

TEST(TimeFormatTest, SecondsGoWithTheirUnitWhereNumbersHaveOne) {
    EXPECT_EQ(shortened(u"%H時%M分%S秒"), u"%H時%M分");
    EXPECT_EQ(shortened(u"%H시 %M분 %S초"), u"%H시 %M분");
    EXPECT_EQ(shortened(u"%p %I點%M分%S秒"), u"%p %I點%M分");
    EXPECT_EQ(shortened(u"%I시 %M분 %S초 %p"), u"%I시 %M분 %p");
    EXPECT_EQ(shortened(u"%OH時%OM分%OS秒"), u"%OH時%OM分");
    EXPECT_EQ(shortened(u"%H h %M min %S s"), u"%H h %M min");
    EXPECT_EQ(shortened(u"hour %I minute %M second %S"), u"hour %I minute %M") << "units in front";
    EXPECT_EQ(shortened(u"hour %I minute %M second %S %p"), u"hour %I minute %M %p");
}

TEST(TimeFormatTest, TimeZoneGoesToo) {
    EXPECT_EQ(shortened(u"%H:%M:%S %Z"), u"%H:%M");
    EXPECT_EQ(shortened(u"%I:%M:%S %p %Z"), u"%I:%M %p");
    EXPECT_EQ(shortened(u"%Z %I:%M:%S %p"), u"%I:%M %p");
    EXPECT_EQ(shortened(u"%p %I时%M分%S秒 %Z"), u"%p %I时%M分");
    EXPECT_EQ(shortened(u"kl. %H.%M %z"), u"kl. %H.%M");
}

TEST(TimeFormatTest, FormatWithoutSecondsStays) {
    EXPECT_EQ(shortened(u"%I:%M %p"), u"%I:%M %p");
    EXPECT_EQ(shortened(u"%H:%M (100%%)"), u"%H:%M (100%%)");
    EXPECT_EQ(shortened(u"it is %H"), u"it is %H");
}

TEST(TimeFormatTest, FormatThatTellsNoTimeIsTheUsualOne) {
    for (const char16_t* format : {u"", u"%S", u"%S %Z", u"noon", u"%", u"%%"}) {
        EXPECT_EQ(shortened(format), u"%H:%M") << SPW_CString(format).toAnsi();
    }
}

}  // namespace
