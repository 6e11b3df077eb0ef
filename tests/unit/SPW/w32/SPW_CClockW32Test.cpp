#include <gtest/gtest.h>
#include <windows.h>

#include <initializer_list>

#include "SPW_CClock.h"

namespace {

// The desktop converts by the date; a handheld does not, so the program does it by itself.
TEST(ClockW32Test, LocalTimeIsWhatTheDesktopMakesOfEachDate) {
    for (int month = 1; month <= 12; ++month) {
        for (const WORD hour : std::initializer_list<WORD>{0, 1, 2, 9, 16, 23}) {
            const SYSTEMTIME utc = {2024, static_cast<WORD>(month), 0, 15, hour, 7, 9, 123};
            SYSTEMTIME expected;
            ASSERT_TRUE(SystemTimeToTzSpecificLocalTime(nullptr, &utc, &expected));
            SPW_CalendarTime moment;
            moment.year = utc.wYear;
            moment.month = utc.wMonth;
            moment.day = utc.wDay;
            moment.hour = utc.wHour;
            moment.minute = utc.wMinute;
            moment.second = utc.wSecond;
            moment.millisecond = utc.wMilliseconds;
            const SPW_CalendarTime local = SPW_CClock::instance->toLocal(SPW_CClock::fromUtc(moment));
            EXPECT_EQ(local.month, expected.wMonth) << month;
            EXPECT_EQ(local.day, expected.wDay) << month;
            EXPECT_EQ(local.dayOfWeek, expected.wDayOfWeek) << month;
            EXPECT_EQ(local.hour, expected.wHour) << month;
            EXPECT_EQ(local.minute, expected.wMinute) << month;
            EXPECT_EQ(local.millisecond, 123) << month;
        }
    }
}

}  // namespace
