#include "NumberWindow.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <limits>
#include <random>
#include <vector>

namespace {

NumberWindow after(const std::vector<std::int32_t>& numbers) {
    NumberWindow window;
    for (const std::int32_t number : numbers) {
        (void)window.record(number);
    }
    return window;
}

TEST(NumberWindowTest, SuccessiveNumbersLoseNothing) {
    NumberWindow window;
    EXPECT_TRUE(window.isEmpty());
    EXPECT_EQ(window.record(7), NumberWindow::kFirst);
    for (std::int32_t number = 8; number < 500; ++number) {
        EXPECT_EQ(window.record(number), NumberWindow::kNext);
    }
    EXPECT_EQ(window.received(), 493u);
    EXPECT_EQ(window.lost(), 0u);
    EXPECT_EQ(window.covered(), 64);
    EXPECT_EQ(window.missingInWindow(), 0);
}

TEST(NumberWindowTest, ANumberThatIsJumpedOverIsLostUntilItComes) {
    NumberWindow window = after({1, 2, 5});
    EXPECT_EQ(window.lost(), 2u);
    EXPECT_EQ(window.missingInWindow(), 2);
    EXPECT_EQ(window.record(3), NumberWindow::kLate);
    EXPECT_EQ(window.lost(), 1u);
    EXPECT_EQ(window.record(3), NumberWindow::kDuplicate);
    EXPECT_EQ(window.lost(), 1u);
    EXPECT_EQ(window.received(), 4u);
}

TEST(NumberWindowTest, TheLatestSixtyFourNumbersMayStillCome) {
    NumberWindow window = after({1, 3});
    for (std::int32_t number = 4; number <= 65; ++number) {
        (void)window.record(number);
    }
    NumberWindow later = window;
    EXPECT_EQ(window.record(2), NumberWindow::kLate);
    EXPECT_EQ(window.lost(), 0u);
    (void)later.record(66);
    EXPECT_EQ(later.record(2), NumberWindow::kFarBehind);
    EXPECT_EQ(later.lost(), 1u);
    EXPECT_EQ(later.missingInWindow(), 0);
}

TEST(NumberWindowTest, NumbersBelowTheFirstHaveNoPart) {
    NumberWindow window = after({10, 11});
    EXPECT_EQ(window.record(8), NumberWindow::kLate);
    EXPECT_EQ(window.received(), 2u);
    EXPECT_EQ(window.lost(), 0u);
    EXPECT_EQ(window.missingInWindow(), 0);
}

TEST(NumberWindowTest, PastTheGreatestNumberComesTheLeast) {
    NumberWindow window =
        after({std::numeric_limits<std::int32_t>::max() - 1, std::numeric_limits<std::int32_t>::max()});
    EXPECT_EQ(window.record(std::numeric_limits<std::int32_t>::min()), NumberWindow::kNext);
    EXPECT_EQ(window.record(std::numeric_limits<std::int32_t>::min() + 2), NumberWindow::kAfterGap);
    EXPECT_EQ(window.lost(), 1u);
    EXPECT_EQ(window.record(std::numeric_limits<std::int32_t>::max()), NumberWindow::kDuplicate);
}

TEST(NumberWindowTest, AJumpBeyondTheWindowCountsAllThatItLeavesOut) {
    NumberWindow window = after({0, 1000000});
    EXPECT_EQ(window.lost(), 999999u);
    EXPECT_EQ(window.missingInWindow(), 63);
    EXPECT_EQ(window.record(999990), NumberWindow::kLate);
    EXPECT_EQ(window.lost(), 999998u);
}

TEST(NumberWindowTest, AnExcusedGapIsNotLostAndWhatComesOfItHasNoPart) {
    NumberWindow window = after({1, 3, 10});
    window.excuseGap();
    EXPECT_EQ(window.lost(), 1u);
    EXPECT_EQ(window.record(7), NumberWindow::kLate);
    EXPECT_EQ(window.lost(), 1u);
    EXPECT_EQ(window.received(), 3u);
    EXPECT_EQ(window.record(11), NumberWindow::kNext);
}

TEST(NumberWindowTest, WhatIsMissingAboveANumberIsToldApart) {
    const NumberWindow window = after({1, 3, 5, 7, 9});
    EXPECT_EQ(window.lostAbove(9), 0u);
    EXPECT_EQ(window.lostAbove(7), 1u);
    EXPECT_EQ(window.lostAbove(5), 2u);
    EXPECT_EQ(window.lostAbove(1), 4u);
    EXPECT_EQ(window.lostAbove(-5000), 4u);
}

// The window against a plain list of what has come.
TEST(NumberWindowTest, AnyOrderWithinTheWindowIsCountedExactly) {
    std::mt19937 random(4711);
    for (int round = 0; round < 200; ++round) {
        NumberWindow window;
        std::vector<bool> seen(10000);
        std::size_t highest = 0;
        std::uint32_t different = 1;
        (void)window.record(0);
        seen[0] = true;
        for (int i = 0; i < 500; ++i) {
            const std::size_t ahead = highest + random() % 20;
            if (ahead < 15) {
                continue;
            }
            const std::size_t number = ahead - 15;
            EXPECT_EQ(window.record(static_cast<std::int32_t>(number)) == NumberWindow::kDuplicate, seen[number]);
            different += seen[number] ? 0 : 1;
            seen[number] = true;
            highest = std::max(highest, number);
        }
        EXPECT_EQ(window.received(), different);
        EXPECT_EQ(window.lost(), highest + 1 - different);
    }
}

}  // namespace
