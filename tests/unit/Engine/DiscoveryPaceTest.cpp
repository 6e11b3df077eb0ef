#include "DiscoveryPace.h"

#include <gtest/gtest.h>

#include <array>

namespace {

// A pace with the limits that the settings have by default.
class DiscoveryPaceTest : public testing::Test {
protected:
    DiscoveryPaceTest() { m_pace.begin({100, 256, 10}); }

    // How many of these are admitted in one moment.
    int admitted(int senders) {
        int count = 0;
        for (int i = 0; i < senders; ++i) {
            if (m_pace.mayAdmit()) {
                m_pace.admit();
                ++count;
            }
        }
        return count;
    }
    // How many of that many discoveries go in each manner.
    std::array<int, 3> manners(int discoveries) {
        std::array<int, 3> counts{};
        for (int i = 0; i < discoveries; ++i) {
            ++counts[m_pace.nextManner()];
        }
        return counts;
    }
    // One after another, each in time.
    void passSeconds(int count) {
        for (int second = 0; second < count; ++second) {
            (void)m_pace.passSeconds(1);
        }
    }

    DiscoveryPace m_pace;
};

TEST_F(DiscoveryPaceTest, TheBurstIsAdmittedAtOnceAndThenSoManyASecond) {
    EXPECT_EQ(admitted(10000), 256);
    for (int second = 0; second < 5; ++second) {
        passSeconds(1);
        EXPECT_EQ(admitted(10000), 100);
    }
}

TEST_F(DiscoveryPaceTest, AQuietTimeSavesUpNoMoreThanTheBurst) {
    passSeconds(100);
    EXPECT_EQ(admitted(10000), 256);
}

TEST_F(DiscoveryPaceTest, AThousandWithinAMinuteMeetNoLimit) {
    for (int second = 0; second < 60; ++second) {
        EXPECT_EQ(admitted(17), 17);
        passSeconds(1);
    }
}

TEST_F(DiscoveryPaceTest, WithoutARateOrABurstAllAreAdmitted) {
    for (const DiscoveryPace::Limits& limits : {DiscoveryPace::Limits{0, 256, 0}, DiscoveryPace::Limits{100, 0, 0}}) {
        m_pace.begin(limits);
        EXPECT_EQ(admitted(10000), 10000);
    }
}

TEST_F(DiscoveryPaceTest, ALateSecondBringsWhatAllThatHavePassedBring) {
    m_pace.begin({17, 256, 10});
    EXPECT_EQ(admitted(10000), 256);
    (void)m_pace.passSeconds(3);
    EXPECT_EQ(admitted(10000), 51);
    (void)m_pace.passSeconds(1000000);
    EXPECT_EQ(admitted(10000), 256);
}

TEST_F(DiscoveryPaceTest, ASecondHasSoManyLinesAndItsOthersAreToldWhenItIsOver) {
    EXPECT_EQ(manners(10), (std::array<int, 3>{10, 0, 0}));
    EXPECT_EQ(m_pace.passSeconds(1), 0);
    EXPECT_EQ(manners(17), (std::array<int, 3>{10, 7, 0}));
    EXPECT_EQ(m_pace.passSeconds(1), 7);
    EXPECT_EQ(m_pace.passSeconds(1), 0);
}

TEST_F(DiscoveryPaceTest, TheListenersThreadMakesTheProbesOfThirtyTwoASecond) {
    EXPECT_EQ(manners(100), (std::array<int, 3>{10, 22, 68}));
    EXPECT_EQ(m_pace.passSeconds(1), 90);
    EXPECT_EQ(manners(32), (std::array<int, 3>{10, 22, 0}));
}

TEST_F(DiscoveryPaceTest, WithoutALimitOfLinesEachHasItsOwn) {
    m_pace.begin({100, 256, 0});
    EXPECT_EQ(manners(1000), (std::array<int, 3>{1000, 0, 0}));
    EXPECT_EQ(m_pace.passSeconds(1), 0);
}

}  // namespace
