#include "SPW_CClock.h"

#include <gtest/gtest.h>

#include <chrono>
#include <thread>
#include <vector>

#include "Patience.h"

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr std::uint64_t kPerMs = 10000;
constexpr std::uint64_t kPerDay = 864000000000;

SPW_CalendarTime calendar(int year, int month, int day, int hour = 0, int minute = 0, int second = 0, int ms = 0) {
    SPW_CalendarTime time;
    time.year = year;
    time.month = month;
    time.day = day;
    time.hour = hour;
    time.minute = minute;
    time.second = second;
    time.millisecond = ms;
    return time;
}

void expectTime(const SPW_CalendarTime& time, const SPW_CalendarTime& expected, int dayOfWeek) {
    EXPECT_EQ(time.year, expected.year);
    EXPECT_EQ(time.month, expected.month);
    EXPECT_EQ(time.day, expected.day);
    EXPECT_EQ(time.hour, expected.hour);
    EXPECT_EQ(time.minute, expected.minute);
    EXPECT_EQ(time.second, expected.second);
    EXPECT_EQ(time.millisecond, expected.millisecond);
    EXPECT_EQ(time.dayOfWeek, dayOfWeek);
}

TEST(CalendarTest, KnownMomentsInBothDirections) {
    const struct {
        std::uint64_t count;
        SPW_CalendarTime time;
        int dayOfWeek;
    } rows[] = {
        {0, calendar(1601, 1, 1), 1},
        {116444736000000000, calendar(1970, 1, 1), 4},
        {125963423990000000, calendar(2000, 2, 29, 23, 59, 59), 2},
        {125963424000000000, calendar(2000, 3, 1), 3},
        {127017148291230000, calendar(2003, 7, 3, 14, 7, 9, 123), 4},
        {kPerDay * 364, calendar(1601, 12, 31), 1},
        {kPerDay * 365, calendar(1602, 1, 1), 2},
        {kPerDay * 146096, calendar(2000, 12, 31), 0},
        {kPerDay * 146097, calendar(2001, 1, 1), 1},
        {9223149887999990000, calendar(30827, 12, 31, 23, 59, 59, 999), 5},
    };
    for (const auto& row : rows) {
        expectTime(SPW_CClock::toUtc(row.count), row.time, row.dayOfWeek);
        EXPECT_EQ(SPW_CClock::fromUtc(row.time), row.count);
    }
}

TEST(CalendarTest, EveryDayOfACycleAndOneYearFollowsTheDayBefore) {
    SPW_CalendarTime before = SPW_CClock::toUtc(0);
    for (std::uint64_t day = 1; day < 146097 + 366; ++day) {
        const SPW_CalendarTime time = SPW_CClock::toUtc(day * kPerDay);
        ASSERT_EQ(SPW_CClock::fromUtc(time), day * kPerDay);
        ASSERT_EQ(time.dayOfWeek, (before.dayOfWeek + 1) % 7);
        const bool nextDay = time.day == before.day + 1 && time.month == before.month && time.year == before.year;
        const bool nextMonth = time.day == 1 && time.month == before.month + 1 && time.year == before.year;
        const bool nextYear = time.day == 1 && time.month == 1 && before.month == 12 && time.year == before.year + 1;
        ASSERT_TRUE(nextDay || nextMonth || nextYear) << time.year << "-" << time.month << "-" << time.day;
        before = time;
    }
}

TEST(CalendarTest, CenturyIsNoLeapYearUnlessItIsAFourth) {
    EXPECT_EQ(SPW_CClock::fromUtc(calendar(1900, 2, 29)), 0u);
    EXPECT_EQ(SPW_CClock::fromUtc(calendar(2100, 2, 29)), 0u);
    EXPECT_NE(SPW_CClock::fromUtc(calendar(2000, 2, 29)), 0u);
    EXPECT_NE(SPW_CClock::fromUtc(calendar(2004, 2, 29)), 0u);
}

TEST(CalendarTest, FractionsOfAMillisecondAreCutOff) {
    expectTime(SPW_CClock::toUtc(19999), calendar(1601, 1, 1, 0, 0, 0, 1), 1);
}

TEST(CalendarTest, LaterCountsGiveTheLastMillisecondOf30827) {
    const SPW_CalendarTime last = calendar(30827, 12, 31, 23, 59, 59, 999);
    expectTime(SPW_CClock::toUtc(9223149888000000000u), last, 5);
    expectTime(SPW_CClock::toUtc(~std::uint64_t{0}), last, 5);
}

TEST(CalendarTest, TimesThatNoCalendarShowsAreZero) {
    const SPW_CalendarTime wrong[] = {
        calendar(1600, 12, 31),
        calendar(30828, 1, 1),
        calendar(2003, 0, 1),
        calendar(2003, 13, 1),
        calendar(2003, 6, 31),
        calendar(2003, 6, 0),
        calendar(2003, 6, 1, 24),
        calendar(2003, 6, 1, -1),
        calendar(2003, 6, 1, 0, 60),
        calendar(2003, 6, 1, 0, -1),
        calendar(2003, 6, 1, 0, 0, 60),
        calendar(2003, 6, 1, 0, 0, -1),
        calendar(2003, 6, 1, 0, 0, 0, 1000),
        calendar(2003, 6, 1, 0, 0, 0, -1),
    };
    for (const SPW_CalendarTime& time : wrong) {
        EXPECT_EQ(SPW_CClock::fromUtc(time), 0u) << time.year << "-" << time.month << "-" << time.day;
    }
}

TEST(ClockTest, ScheduleClockStartsAsTheWallClock) {
    const std::uint64_t now = SPW_CClock::instance->now100ns();
    const std::uint64_t wall = SPW_CClock::instance->wall100ns();
    EXPECT_LT(now > wall ? now - wall : wall - now, 60000 * kPerMs);
}

TEST(ClockTest, WallClockIsTheSystemsClock) {
    const auto sinceEpoch = std::chrono::system_clock::now().time_since_epoch();
    const std::uint64_t expected =
        116444736000000000 + static_cast<std::uint64_t>(std::chrono::nanoseconds(sinceEpoch).count() / 100);
    const std::uint64_t wall = SPW_CClock::instance->wall100ns();
    EXPECT_GE(wall + kPerMs, expected) << "some systems tell whole milliseconds";
    EXPECT_LT(wall, expected + 60000 * kPerMs);
}

TEST(ClockTest, ScheduleClockNeverGoesBackAndIsOneForAllThreads) {
    std::uint64_t before = SPW_CClock::instance->now100ns();
    for (int i = 0; i < 200; ++i) {
        std::uint64_t elsewhere = 0;
        std::thread([&] { elsewhere = SPW_CClock::instance->now100ns(); }).join();
        EXPECT_GE(elsewhere, before);
        before = SPW_CClock::instance->now100ns();
        EXPECT_GE(before, elsewhere);
    }
}

TEST(ClockTest, SleepLastsAtLeastItsTimeOnBothClocks) {
    const auto begin = steady_clock::now();
    const std::uint64_t before = SPW_CClock::instance->now100ns();
    SPW_CClock::instance->sleepMs(30);
    EXPECT_GE(SPW_CClock::instance->now100ns() - before, 30 * kPerMs);
    EXPECT_GE(steady_clock::now() - begin, milliseconds(30) - kTimerTick);
}

TEST(ClockTest, SleepOfZeroGivesUpTheProcessor) {
    const auto begin = steady_clock::now();
    for (int i = 0; i < 50; ++i) {
        SPW_CClock::instance->sleepMs(0);
    }
    EXPECT_GE(steady_clock::now() - begin, milliseconds(50) - kTimerTick);
}

TEST(ClockTest, LocalNowIsTheWallClockInTheLocalZone) {
    const std::uint64_t before = SPW_CClock::instance->wall100ns();
    const std::uint64_t local = SPW_CClock::fromUtc(SPW_CClock::instance->localNow());
    // Zones lie between 12 hours west and 14 hours east.
    EXPECT_GT(local + kPerDay / 2 + kPerMs, before);
    EXPECT_LT(local, before + kPerDay);
}

}  // namespace
