#include "DiscoveryPace.h"

#include <gtest/gtest.h>

#include <array>

namespace {

// How many of these are admitted in one moment.
int admitted(DiscoveryPace& pace, int senders) {
    int count = 0;
    for (int i = 0; i < senders; ++i) {
        if (pace.mayAdmit()) {
            pace.admit();
            ++count;
        }
    }
    return count;
}

// How many of that many discoveries go in each manner.
std::array<int, 3> manners(DiscoveryPace& pace, int discoveries) {
    std::array<int, 3> counts{};
    for (int i = 0; i < discoveries; ++i) {
        ++counts[pace.nextManner()];
    }
    return counts;
}

TEST(DiscoveryPaceTest, TheBurstIsAdmittedAtOnceAndThenSoManyASecond) {
    DiscoveryPace pace;
    pace.begin({100, 256, 10});
    EXPECT_EQ(admitted(pace, 10000), 256);
    for (int second = 0; second < 5; ++second) {
        (void)pace.passSeconds(1);
        EXPECT_EQ(admitted(pace, 10000), 100);
    }
}

TEST(DiscoveryPaceTest, AQuietTimeSavesUpNoMoreThanTheBurst) {
    DiscoveryPace pace;
    pace.begin({100, 256, 10});
    for (int second = 0; second < 100; ++second) {
        (void)pace.passSeconds(1);
    }
    EXPECT_EQ(admitted(pace, 10000), 256);
}

TEST(DiscoveryPaceTest, AThousandWithinAMinuteMeetNoLimit) {
    DiscoveryPace pace;
    pace.begin({100, 256, 10});
    for (int second = 0; second < 60; ++second) {
        EXPECT_EQ(admitted(pace, 17), 17);
        (void)pace.passSeconds(1);
    }
}

TEST(DiscoveryPaceTest, WithoutARateOrABurstAllAreAdmitted) {
    for (const DiscoveryPace::Limits& limits : {DiscoveryPace::Limits{0, 256, 0}, DiscoveryPace::Limits{100, 0, 0}}) {
        DiscoveryPace pace;
        pace.begin(limits);
        EXPECT_EQ(admitted(pace, 10000), 10000);
    }
}

TEST(DiscoveryPaceTest, ALateSecondBringsWhatAllThatHavePassedBring) {
    DiscoveryPace pace;
    pace.begin({17, 256, 10});
    EXPECT_EQ(admitted(pace, 10000), 256);
    (void)pace.passSeconds(3);
    EXPECT_EQ(admitted(pace, 10000), 51);
    (void)pace.passSeconds(1000000);
    EXPECT_EQ(admitted(pace, 10000), 256);
}

TEST(DiscoveryPaceTest, ASecondHasSoManyLinesAndItsOthersAreToldWhenItIsOver) {
    DiscoveryPace pace;
    pace.begin({100, 256, 10});
    EXPECT_EQ(manners(pace, 10), (std::array<int, 3>{10, 0, 0}));
    EXPECT_EQ(pace.passSeconds(1), 0);
    EXPECT_EQ(manners(pace, 17), (std::array<int, 3>{10, 7, 0}));
    EXPECT_EQ(pace.passSeconds(1), 7);
    EXPECT_EQ(pace.passSeconds(1), 0);
}

TEST(DiscoveryPaceTest, TheListenersThreadMakesTheProbesOfThirtyTwoASecond) {
    DiscoveryPace pace;
    pace.begin({100, 256, 10});
    EXPECT_EQ(manners(pace, 100), (std::array<int, 3>{10, 22, 68}));
    EXPECT_EQ(pace.passSeconds(1), 90);
    EXPECT_EQ(manners(pace, 32), (std::array<int, 3>{10, 22, 0}));
}

TEST(DiscoveryPaceTest, WithoutALimitOfLinesEachHasItsOwn) {
    DiscoveryPace pace;
    pace.begin({100, 256, 0});
    EXPECT_EQ(manners(pace, 1000), (std::array<int, 3>{1000, 0, 0}));
    EXPECT_EQ(pace.passSeconds(1), 0);
}

}  // namespace
