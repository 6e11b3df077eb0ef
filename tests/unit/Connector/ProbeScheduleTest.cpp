#include "ProbeSchedule.h"

#include <gmock/gmock.h>

#include "ScriptedClock.h"
#include "VTR_CEvent.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class ProbeScheduleTest : public testing::Test {
protected:
    // A schedule whose first probe has just been sent, with that much time to the next.
    std::uint32_t sleepWith(std::int32_t remainingMs) {
        ProbeSchedule schedule(remainingMs, wake);
        EXPECT_TRUE(schedule.isDue(true));
        EXPECT_FALSE(schedule.isDue(true));
        return clock.sleeps().back();
    }

    ScriptedClock clock;
    VTR_CEvent wake;
};

}  // namespace

TEST_F(ProbeScheduleTest, FirstProbeIsDueAtOnce) {
    ProbeSchedule schedule(100000, wake);
    EXPECT_TRUE(schedule.isDue(true));
    EXPECT_THAT(clock.sleeps(), IsEmpty());
}

TEST_F(ProbeScheduleTest, PeriodOfZeroIsDueAtEveryTurnWithoutASleep) {
    ProbeSchedule schedule(0, wake);
    for (int turn = 0; turn < 100; ++turn) {
        EXPECT_TRUE(schedule.isDue(true));
    }
    EXPECT_THAT(clock.sleeps(), IsEmpty());
}

TEST_F(ProbeScheduleTest, NegativePeriodIsDueAtEveryTurn) {
    ProbeSchedule schedule(-2147483647 - 1, wake);
    EXPECT_TRUE(schedule.isDue(true));
    EXPECT_TRUE(schedule.isDue(true));
}

TEST_F(ProbeScheduleTest, SleepsATenthOfTheTimeLeft) {
    EXPECT_EQ(sleepWith(25), 2u);
    EXPECT_EQ(sleepWith(1000), 100u);
    EXPECT_EQ(sleepWith(9999), 999u);
}

TEST_F(ProbeScheduleTest, SleepsZeroWithLessThanTenMillisecondsLeft) {
    EXPECT_EQ(sleepWith(9), 0u);
    EXPECT_EQ(sleepWith(1), 0u);
    EXPECT_EQ(sleepWith(10), 1u);
}

TEST_F(ProbeScheduleTest, SleepsASecondWithTenSecondsOrMoreLeft) {
    EXPECT_EQ(sleepWith(10000), 1000u);
    EXPECT_EQ(sleepWith(10001), 1000u);
    EXPECT_EQ(sleepWith(200000), 1000u);
}

TEST_F(ProbeScheduleTest, ClosesInOnTheDueTime) {
    ProbeSchedule schedule(1000, wake);
    const std::uint64_t start = clock.now100ns();
    ASSERT_TRUE(schedule.isDue(true));
    while (!schedule.isDue(true)) {
        clock.advanceMs(clock.sleeps().back() == 0 ? 1 : 0);
    }
    EXPECT_EQ(clock.now100ns() - start, 1000 * ScriptedClock::k100nsPerMs);
}

TEST_F(ProbeScheduleTest, IsDueWhenThePeriodHasPassedToTheUnit) {
    ProbeSchedule schedule(50, wake);
    ASSERT_TRUE(schedule.isDue(true));
    clock.advanceMs(49);
    EXPECT_FALSE(schedule.isDue(true));
    clock.advanceMs(1);
    EXPECT_TRUE(schedule.isDue(true));
}

TEST_F(ProbeScheduleTest, LatenessIsNotMadeUp) {
    ProbeSchedule schedule(100, wake);
    ASSERT_TRUE(schedule.isDue(true));
    clock.advanceMs(1050);
    EXPECT_TRUE(schedule.isDue(true));
    EXPECT_FALSE(schedule.isDue(true));
    // 100 ms from the decision, not from the time at which it was due.
    EXPECT_EQ(clock.sleeps().back(), 10u);
}

TEST_F(ProbeScheduleTest, SwitchedOffSleepsASecondAndIsNeverDue) {
    ProbeSchedule schedule(0, wake);
    EXPECT_FALSE(schedule.isDue(false));
    EXPECT_FALSE(schedule.isDue(false));
    EXPECT_THAT(clock.sleeps(), ElementsAre(1000u, 1000u));
    EXPECT_TRUE(schedule.isDue(true));
}

// The time left is counted in 32 bits, which 214748 ms fill.
TEST_F(ProbeScheduleTest, APeriodBeyondThirtyTwoBitsIsKept) {
    constexpr std::int32_t kMinutes = 60 * 1000;
    constexpr std::int32_t kHours = 60 * kMinutes;
    constexpr std::int32_t kDays = 24 * kHours;
    for (const std::int32_t periodMs :
         {214748, 214749, 5 * kMinutes, 8 * kMinutes, kHours, 7 * kHours, kDays, 24 * kDays, 2147483647}) {
        ProbeSchedule schedule(periodMs, wake);
        ASSERT_TRUE(schedule.isDue(true));
        // At no time before, and without a pause above or below a second while it is far away.
        for (int part = 0; part < 100; ++part) {
            EXPECT_FALSE(schedule.isDue(true)) << periodMs;
            EXPECT_EQ(clock.sleeps().back(), 1000u) << periodMs;
            clock.advanceMs(static_cast<std::uint64_t>(periodMs / 100) - 2000);
        }
        while (!schedule.isDue(true)) {
            ASSERT_LT(clock.sleeps().back(), 1001u) << periodMs;
            clock.advanceMs(clock.sleeps().back() == 0 ? 1 : 0);
        }
        EXPECT_FALSE(schedule.isDue(true)) << periodMs;
    }
}

TEST_F(ProbeScheduleTest, ALongPeriodEndsToTheUnit) {
    ProbeSchedule schedule(300000, wake);
    ASSERT_TRUE(schedule.isDue(true));
    clock.advanceMs(299999);
    EXPECT_FALSE(schedule.isDue(true));
    clock.advanceMs(1);
    EXPECT_TRUE(schedule.isDue(true));
}

// What is scheduled follows the clock that nobody sets.
TEST_F(ProbeScheduleTest, SettingTheDevicesTimeMovesNoProbe) {
    constexpr std::uint64_t kHour = std::uint64_t{3600} * 1000 * ScriptedClock::k100nsPerMs;
    ProbeSchedule schedule(1000, wake);
    ASSERT_TRUE(schedule.isDue(true));
    clock.setWall(clock.wall100ns() + kHour);
    EXPECT_FALSE(schedule.isDue(true));
    clock.setWall(clock.wall100ns() - 2 * kHour);
    clock.advanceMs(1000);
    EXPECT_TRUE(schedule.isDue(true));
}
