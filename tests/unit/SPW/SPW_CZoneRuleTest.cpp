#include "SPW_CZoneRule.h"

#include <gtest/gtest.h>

namespace {

std::uint64_t countOf(int year, int month, int day, int hour, int minute, int second = 0) {
    SPW_CalendarTime time;
    time.year = year;
    time.month = month;
    time.day = day;
    time.hour = hour;
    time.minute = minute;
    time.second = second;
    return SPW_CClock::fromUtc(time);
}

// Every year from the week-th of that month's days of that name on.
SPW_CZoneRule::Season season(int month, int week, int dayOfWeek, int hour, int biasMinutes) {
    SPW_CZoneRule::Season season;
    season.begin.year = 0;
    season.begin.month = month;
    season.begin.day = week;
    season.begin.dayOfWeek = dayOfWeek;
    season.begin.hour = hour;
    season.biasMinutes = biasMinutes;
    return season;
}

SPW_CZoneRule zone(int biasMinutes, const SPW_CZoneRule::Season& standard, const SPW_CZoneRule::Season& daylight) {
    SPW_CZoneRule rule;
    rule.biasMinutes = biasMinutes;
    rule.standard = standard;
    rule.daylight = daylight;
    return rule;
}

const int kSunday = 0;

SPW_CZoneRule berlin() {
    return zone(-60, season(10, 5, kSunday, 3, 0), season(3, 5, kSunday, 2, -60));
}

SPW_CZoneRule sydney() {
    return zone(-600, season(4, 1, kSunday, 3, 0), season(10, 1, kSunday, 2, -60));
}

SPW_CZoneRule newYork() {
    return zone(300, season(11, 1, kSunday, 2, 0), season(3, 2, kSunday, 2, -60));
}

TEST(ZoneRuleTest, AZoneWithoutSeasonsHasOneOffset) {
    SPW_CZoneRule india;
    india.biasMinutes = -330;
    EXPECT_EQ(india.biasAt(countOf(2003, 1, 1, 0, 0)), -330);
    EXPECT_EQ(india.biasAt(countOf(2003, 7, 1, 0, 0)), -330);
    EXPECT_EQ(india.localFromWall(countOf(2003, 7, 3, 20, 0)), countOf(2003, 7, 4, 1, 30));
}

TEST(ZoneRuleTest, EachMomentHasTheOffsetOfItsOwnDate) {
    EXPECT_EQ(berlin().localFromWall(countOf(2003, 7, 3, 14, 7)), countOf(2003, 7, 3, 16, 7));
    EXPECT_EQ(berlin().localFromWall(countOf(2003, 1, 3, 14, 7)), countOf(2003, 1, 3, 15, 7));
    EXPECT_EQ(newYork().localFromWall(countOf(2003, 7, 3, 2, 7)), countOf(2003, 7, 2, 22, 7));
    EXPECT_EQ(newYork().localFromWall(countOf(2003, 1, 3, 2, 7)), countOf(2003, 1, 2, 21, 7));
}

TEST(ZoneRuleTest, TheOffsetChangesAtTheSecondThatTheRuleNames) {
    // The last Sundays of March 2003 (of five) and of October 2003 (of four), 01:00 UTC.
    EXPECT_EQ(berlin().biasAt(countOf(2003, 3, 30, 0, 59, 59)), -60);
    EXPECT_EQ(berlin().biasAt(countOf(2003, 3, 30, 1, 0)), -120);
    EXPECT_EQ(berlin().biasAt(countOf(2003, 10, 26, 0, 59, 59)), -120);
    EXPECT_EQ(berlin().biasAt(countOf(2003, 10, 26, 1, 0)), -60);
    // The second Sunday of March and the first of November, 2 h local time.
    EXPECT_EQ(newYork().biasAt(countOf(2015, 3, 8, 6, 59, 59)), 300);
    EXPECT_EQ(newYork().biasAt(countOf(2015, 3, 8, 7, 0)), 240);
    EXPECT_EQ(newYork().biasAt(countOf(2015, 11, 1, 5, 59, 59)), 240);
    EXPECT_EQ(newYork().biasAt(countOf(2015, 11, 1, 6, 0)), 300);
}

TEST(ZoneRuleTest, InTheSouthDaylightTimeLastsOverTheNewYear) {
    EXPECT_EQ(sydney().biasAt(countOf(2003, 1, 1, 0, 0)), -660);
    EXPECT_EQ(sydney().biasAt(countOf(2003, 7, 1, 0, 0)), -600);
    EXPECT_EQ(sydney().biasAt(countOf(2003, 12, 31, 23, 59)), -660);
    // The first Sunday of April, 16:00 UTC of the day before.
    EXPECT_EQ(sydney().biasAt(countOf(2003, 4, 5, 15, 59, 59)), -660);
    EXPECT_EQ(sydney().biasAt(countOf(2003, 4, 5, 16, 0)), -600);
    EXPECT_EQ(sydney().biasAt(countOf(2003, 10, 4, 15, 59, 59)), -600);
    EXPECT_EQ(sydney().biasAt(countOf(2003, 10, 4, 16, 0)), -660);
}

TEST(ZoneRuleTest, TheFifthDayOfItsNameIsTheLastWhereAMonthHasFour) {
    // February 2003 has four Saturdays, the last on the 22nd; February 2020 has five, the last on the 29th.
    const SPW_CZoneRule rule = zone(0, season(9, 1, kSunday, 0, 0), season(2, 5, 6, 0, -60));
    EXPECT_EQ(rule.biasAt(countOf(2003, 2, 21, 23, 59)), 0);
    EXPECT_EQ(rule.biasAt(countOf(2003, 2, 22, 0, 0)), -60);
    EXPECT_EQ(rule.biasAt(countOf(2020, 2, 28, 23, 59)), 0);
    EXPECT_EQ(rule.biasAt(countOf(2020, 2, 29, 0, 0)), -60);
}

TEST(ZoneRuleTest, ARuleForOneYearHoldsInThatYear) {
    SPW_CZoneRule rule = berlin();
    rule.daylight.begin.year = 2003;
    rule.daylight.begin.month = 4;
    rule.daylight.begin.day = 10;
    rule.standard.begin.year = 2003;
    rule.standard.begin.month = 9;
    rule.standard.begin.day = 20;
    EXPECT_EQ(rule.biasAt(countOf(2003, 4, 10, 0, 59)), -60);
    EXPECT_EQ(rule.biasAt(countOf(2003, 4, 10, 1, 0)), -120);
    EXPECT_EQ(rule.biasAt(countOf(2003, 9, 20, 1, 0)), -60);
    EXPECT_EQ(rule.biasAt(countOf(2004, 7, 1, 0, 0)), -60);
}

TEST(ZoneRuleTest, NothingIsBeforeTheFirstMomentOfTheCount) {
    EXPECT_EQ(newYork().localFromWall(0), 0u);
    EXPECT_EQ(berlin().localFromWall(0), countOf(1601, 1, 1, 1, 0));
}

}  // namespace
