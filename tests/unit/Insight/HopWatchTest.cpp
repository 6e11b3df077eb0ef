#include "HopWatch.h"

#include <gtest/gtest.h>

namespace {

void noteTimes(HopWatch& watch, int timeToLive, int times) {
    for (int i = 0; i < times; ++i) {
        watch.note(timeToLive);
    }
}

TEST(HopWatchTest, NothingIsKnownWithoutATimeToLive) {
    HopWatch watch;
    noteTimes(watch, 0, 10);
    EXPECT_EQ(watch.hops(), HopWatch::kUnknown);
}

TEST(HopWatchTest, HopsAreWhatIsMissingFromTheNearestFirstTimeToLive) {
    const struct {
        int timeToLive;
        int hops;
    } rows[] = {{32, 0}, {30, 2}, {33, 31}, {64, 0}, {61, 3}, {65, 63}, {128, 0}, {113, 15}, {255, 0}, {129, 126}};
    for (const auto& row : rows) {
        HopWatch watch;
        noteTimes(watch, row.timeToLive, HopWatch::kTimesInARow);
        EXPECT_EQ(watch.hops(), row.hops) << row.timeToLive;
    }
}

TEST(HopWatchTest, AnotherNumberCountsWhenItHasComeThreeTimesInARow) {
    HopWatch watch;
    noteTimes(watch, 64, 3);
    noteTimes(watch, 62, 2);
    noteTimes(watch, 64, 1);
    noteTimes(watch, 62, 2);
    EXPECT_EQ(watch.hops(), 0);
    noteTimes(watch, 61, 1);
    noteTimes(watch, 62, 2);
    EXPECT_EQ(watch.hops(), 0);
    noteTimes(watch, 62, 1);
    EXPECT_EQ(watch.hops(), 2);
}

TEST(HopWatchTest, AReplyWithoutATimeToLiveInterruptsNothing) {
    HopWatch watch;
    noteTimes(watch, 60, 2);
    noteTimes(watch, 0, 5);
    noteTimes(watch, 60, 1);
    EXPECT_EQ(watch.hops(), 4);
}

}  // namespace
