#include "ReportFields.h"

#include <gmock/gmock.h>

#include "RecordedLines.h"

namespace {

using testing::ElementsAre;

TEST(ReportFieldsTest, OneAloneIsYes) {
    for (int flag = 0; flag < 256; ++flag) {
        EXPECT_THAT(RecordedLines::of(
                        [flag](ReportLines& lines) { printFlag(lines, u"F: ", static_cast<std::uint8_t>(flag)); }),
                    ElementsAre(flag == 1 ? "F: yes" : "F: no"))
            << flag;
    }
}

TEST(ReportFieldsTest, AnEmptyListHasNoLine) {
    EXPECT_THAT(RecordedLines::of([](ReportLines& lines) { printValue(lines, u"L: ", AddressList()); }), ElementsAre());
}

}  // namespace
