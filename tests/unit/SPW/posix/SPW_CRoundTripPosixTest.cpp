// The time of an echo, computed from readings of the clocks.

#include "SPW_CRoundTripPosix.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace {

using SPW_CRoundTripPosix::microseconds;

constexpr std::int64_t kUs = 1000;
constexpr std::int64_t kMs = 1000 * kUs;
constexpr std::int64_t kHour = std::int64_t{3600} * 1000 * kMs;
// What the wall clock shows when the monotonic clock shows 0.
constexpr std::int64_t kWall = 1700000000000 * kMs;
// From one reading of a clock to the next.
constexpr std::int64_t kStep = 40;

// Both clocks, read from `monotonicNs` on. The wall clock is ahead of where it was by `setNs`. The thread was held up
// for `heldNs` on one side of the reading of the wall clock.
SPW_CClockReadingPosix readAt(std::int64_t monotonicNs, std::int64_t setNs = 0, std::int64_t heldBeforeNs = 0,
                              std::int64_t heldAfterNs = 0) {
    SPW_CClockReadingPosix reading;
    reading.beforeNs = monotonicNs;
    const std::int64_t wallAt = monotonicNs + kStep + heldBeforeNs;
    reading.wallNs = kWall + wallAt + setNs;
    reading.afterNs = wallAt + kStep + heldAfterNs;
    return reading;
}

// The request leaves at 0.
SPW_CClockReadingPosix sending() {
    return readAt(-2 * kStep);
}

// Stamped and read at these times.
SPW_CArrivalPosix arrival(std::int64_t stampedNs, const SPW_CClockReadingPosix& reading) {
    return {reading, kWall + stampedNs};
}

TEST(RoundTripPosixTest, TheStampEndsTheTimeHoweverLateTheMessageIsRead) {
    for (const std::int64_t late : {kUs, kMs, 500 * kMs, kHour}) {
        EXPECT_EQ(microseconds(sending(), arrival(300 * kUs + kStep, readAt(300 * kUs + late))), 300u) << late;
    }
}

TEST(RoundTripPosixTest, WithoutAStampTheReadingEndsTheTime) {
    EXPECT_EQ(microseconds(sending(), {readAt(450 * kUs), 0}), 450u);
}

TEST(RoundTripPosixTest, AWallClockThatIsSetMeanwhileMakesTheReadingEndTheTime) {
    for (const std::int64_t set : {-kHour, -kMs, -10 * kUs, 10 * kUs, kMs, kHour}) {
        // Set before the stamp, and after it.
        EXPECT_EQ(microseconds(sending(), arrival(300 * kUs + set, readAt(450 * kUs, set))), 450u) << set;
        EXPECT_EQ(microseconds(sending(), arrival(300 * kUs, readAt(450 * kUs, set))), 450u) << set;
    }
}

TEST(RoundTripPosixTest, AWallClockThatWasSetBeforeOrIsSetAfterwardsChangesNothing) {
    const SPW_CClockReadingPosix late = readAt(-2 * kStep, kHour);
    EXPECT_EQ(microseconds(late, {readAt(450 * kUs, kHour), kWall + kHour + 300 * kUs + kStep}), 300u);
}

TEST(RoundTripPosixTest, AThreadThatIsHeldUpBetweenTwoReadingsKnowsTheDifferenceFromItsOtherReadings) {
    const std::int64_t stamped = 300 * kUs + kStep;
    for (const std::int64_t held : {kUs, kMs, 100 * kMs}) {
        EXPECT_EQ(microseconds(sending(), arrival(stamped, readAt(450 * kUs, 0, held))), 300u) << held;
        EXPECT_EQ(microseconds(sending(), arrival(stamped, readAt(450 * kUs, 0, 0, held))), 300u) << held;
        // Before the sending.
        const SPW_CClockReadingPosix heldUp = readAt(-2 * kStep - held, 0, held);
        EXPECT_EQ(microseconds(heldUp, arrival(stamped, readAt(450 * kUs))), 300u) << held;
    }
}

TEST(RoundTripPosixTest, AStampNeverMakesTheTimeNegativeOrLongerThanTheWait) {
    EXPECT_EQ(microseconds(sending(), arrival(-kMs, readAt(450 * kUs))), 0u);
    EXPECT_EQ(microseconds(sending(), arrival(kMs, readAt(450 * kUs))), 450u);
    EXPECT_EQ(microseconds(sending(), arrival(-kHour, readAt(-kStep))), 0u);
}

TEST(RoundTripPosixTest, ALongTimeEndsAtTheGreatestNumber) {
    EXPECT_EQ(microseconds(sending(), arrival(kHour + kStep, readAt(2 * kHour))), 3600000000u);
    EXPECT_EQ(microseconds(sending(), arrival(2 * kHour, readAt(2 * kHour))), 0xFFFFFFFFu);
}

TEST(RoundTripPosixTest, TheClocksAreReadOneInsideTheOther) {
    const SPW_CClockReadingPosix first = SPW_CClockReadingPosix::now();
    const SPW_CClockReadingPosix second = SPW_CClockReadingPosix::now();
    EXPECT_LE(first.beforeNs, first.afterNs);
    EXPECT_LE(first.afterNs, second.beforeNs);
    EXPECT_GT(first.wallNs, std::int64_t{1600000000} * 1000 * kMs);
}

}  // namespace
