#include "InsightClock.h"

#include <gtest/gtest.h>

namespace {

constexpr std::uint64_t kStart = 1000 * kOneSecond100ns;
constexpr std::uint64_t kWall = 500000 * kOneSecond100ns;

std::uint64_t seconds(double count) {
    return static_cast<std::uint64_t>(count * kOneSecond100ns);
}

InsightClock begun() {
    InsightClock clock;
    clock.begin({kStart, kWall});
    return clock;
}

TEST(InsightClockTest, TheWallClockAdvancesWithTheMonotonicOneUntilItIsTold) {
    InsightClock clock = begun();
    EXPECT_EQ(clock.at(kStart + seconds(0.5)).now.wall100ns, kWall + seconds(0.5));
    (void)clock.tell({kStart + seconds(1), kWall + seconds(3601)});
    const Moment moment = clock.at(kStart + seconds(1.5));
    EXPECT_EQ(moment.now.wall100ns, kWall + seconds(3601.5));
    EXPECT_EQ(moment.now.monotonic100ns, kStart + seconds(1.5));
}

TEST(InsightClockTest, AWallClockThatIsSetBackIsTold) {
    InsightClock clock = begun();
    (void)clock.tell({kStart + seconds(1), kWall - seconds(7200)});
    EXPECT_EQ(clock.at(kStart + seconds(1)).now.wall100ns, kWall - seconds(7200));
}

TEST(InsightClockTest, WatchingBeginsWithTheClock) {
    InsightClock clock = begun();
    EXPECT_EQ(clock.at(kStart + seconds(1)).presentSince.monotonic100ns, kStart);
}

TEST(InsightClockTest, ALateSecondIsNoAbsence) {
    InsightClock clock = begun();
    (void)clock.at(kStart + seconds(2));
    (void)clock.at(kStart + seconds(4));
    EXPECT_EQ(clock.at(kStart + seconds(5)).presentSince.monotonic100ns, kStart);
}

TEST(InsightClockTest, APauseOfMoreThanTwoSecondsIsAnAbsenceThatEndsWithTheNextReading) {
    InsightClock clock = begun();
    (void)clock.at(kStart + seconds(1));
    const Moment moment = clock.at(kStart + seconds(3.5));
    EXPECT_EQ(moment.presentSince.monotonic100ns, kStart + seconds(3.5));
    EXPECT_EQ(moment.presentSince.wall100ns, kWall + seconds(3.5));
    EXPECT_EQ(clock.at(kStart + seconds(4)).presentSince.monotonic100ns, kStart + seconds(3.5));
}

TEST(InsightClockTest, AReadingThatIsOlderThanTheLatestIsTakenAsItIs) {
    InsightClock clock = begun();
    (void)clock.at(kStart + seconds(2));
    const Moment moment = clock.at(kStart + seconds(1));
    EXPECT_EQ(moment.now.monotonic100ns, kStart + seconds(1));
    EXPECT_EQ(moment.presentSince.monotonic100ns, kStart);
}

TEST(InsightClockTest, ASecondAfterAnAbsenceThingsHaveSettled) {
    InsightClock clock = begun();
    EXPECT_TRUE(clock.at(kStart + seconds(0.9)).isSettling());
    EXPECT_FALSE(clock.at(kStart + seconds(1)).isSettling());
    EXPECT_TRUE(clock.at(kStart + seconds(9)).isSettling());
    EXPECT_FALSE(clock.at(kStart + seconds(10)).isSettling());
}

TEST(InsightClockTest, ASecondThatComesLateIsNoTimeToJudgeButTheNextOneIs) {
    InsightClock clock = begun();
    EXPECT_TRUE(clock.tell({kStart + seconds(1), kWall}));
    EXPECT_TRUE(clock.tell({kStart + seconds(2.4), kWall}));
    EXPECT_FALSE(clock.tell({kStart + seconds(4), kWall}));
    EXPECT_TRUE(clock.tell({kStart + seconds(6), kWall}));
    EXPECT_FALSE(clock.tell({kStart + seconds(8), kWall}));
}

}  // namespace
