#include "LeaseText.h"

#include <gtest/gtest.h>

#include <limits>

#include "ScopedInstance.h"
#include "ScriptedClock.h"
#include "ScriptedSystemInfo.h"
#include "StringPrinting.h"

namespace {

class LeaseTextTest : public testing::Test {
protected:
    ScriptedClock m_clock;
    ScriptedSystemInfo m_system;
    const ScopedInstance<SPW_CSystemInfo> m_installed{m_system};
};

TEST_F(LeaseTextTest, ItIsTheDateABlankAndTheTime) {
    EXPECT_EQ(leaseText(1057241229), SPW_CString(u"2003-07-03 14:07"));
    EXPECT_EQ(leaseText(1), SPW_CString(u"1970-01-01 00:00"));
}

TEST_F(LeaseTextTest, ItIsLocalTime) {
    m_clock.setZoneMinutes(-(14 * 60 + 8));
    EXPECT_EQ(leaseText(1057241229), SPW_CString(u"2003-07-02 23:59"));
}

TEST_F(LeaseTextTest, TimesBefore1970AreTimes) {
    EXPECT_EQ(leaseText(-1), SPW_CString(u"1969-12-31 23:59"));
    EXPECT_EQ(leaseText(-11644473600), SPW_CString(u"1601-01-01 00:00"));
}

TEST_F(LeaseTextTest, TimesBeyond32BitsAreTimes) {
    EXPECT_EQ(leaseText(4294967296), SPW_CString(u"2106-02-07 06:28"));
    EXPECT_EQ(leaseText(910670515199), SPW_CString(u"30827-12-31 23:59"));
}

TEST_F(LeaseTextTest, TimesThatTheCalendarDoesNotReachAreEmpty) {
    EXPECT_EQ(leaseText(-11644473601), SPW_CString(u""));
    EXPECT_EQ(leaseText(910670515200), SPW_CString(u""));
    EXPECT_EQ(leaseText(std::numeric_limits<std::int64_t>::min()), SPW_CString(u""));
    EXPECT_EQ(leaseText(std::numeric_limits<std::int64_t>::max()), SPW_CString(u""));
}

class TalkativeSystem : public ScriptedSystemInfo {
public:
    SPW_CString shortDate(const SPW_CalendarTime&) override { return manyOf(u'd'); }
    SPW_CString shortTime(const SPW_CalendarTime&) override { return manyOf(u't'); }

private:
    static SPW_CString manyOf(char16_t c) {
        SPW_CString text;
        text.fill(c, 101);
        return text;
    }
};

TEST_F(LeaseTextTest, EachPartHasAtMostAHundredCharacters) {
    TalkativeSystem system;
    const ScopedInstance<SPW_CSystemInfo> installed(system);
    SPW_CString expected;
    expected.fill(u'd', 100);
    expected += u' ';
    for (int i = 0; i < 100; ++i) {
        expected += u't';
    }
    EXPECT_EQ(leaseText(1057241229), expected);
}

// The weekday is what some locales' short date shows.
class WeekdaySystem : public ScriptedSystemInfo {
public:
    SPW_CString shortDate(const SPW_CalendarTime& time) override {
        SPW_CString text;
        text.format(u"%d.%d.%d %d", time.day, time.month, time.year, time.dayOfWeek);
        return text;
    }
    SPW_CString shortTime(const SPW_CalendarTime& time) override {
        SPW_CString text;
        text.format(u"%d:%d:%d.%d", time.hour, time.minute, time.second, time.millisecond);
        return text;
    }
};

TEST_F(LeaseTextTest, TheWholeCalendarTimeIsHandedOver) {
    WeekdaySystem system;
    const ScopedInstance<SPW_CSystemInfo> installed(system);
    EXPECT_EQ(leaseText(1057241229), SPW_CString(u"3.7.2003 4 14:7:9.0"));
}

}  // namespace
