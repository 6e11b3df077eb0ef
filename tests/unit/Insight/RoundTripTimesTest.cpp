#include "RoundTripTimes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <random>
#include <vector>

#include "IntegerRoot.h"

namespace {

// What the same times give by plain arithmetic.
struct Truth {
    explicit Truth(std::vector<std::uint32_t> times) : sorted(std::move(times)) {
        double sum = 0;
        for (const std::uint32_t time : sorted) {
            sum += time;
        }
        mean = sum / static_cast<double>(sorted.size());
        double squares = 0;
        for (const std::uint32_t time : sorted) {
            squares += (time - mean) * (time - mean);
        }
        deviation = std::sqrt(squares / static_cast<double>(sorted.size()));
        std::sort(sorted.begin(), sorted.end());
    }
    double percentile(std::size_t percent) const { return sorted[(sorted.size() * percent + 99) / 100 - 1]; }

    std::vector<std::uint32_t> sorted;
    double mean = 0;
    double deviation = 0;
};

void expectTruth(const std::vector<std::uint32_t>& times) {
    RoundTripTimes measured;
    for (const std::uint32_t time : times) {
        measured.add(time);
    }
    const RoundTripValues values = measured.values();
    const Truth truth(times);
    EXPECT_EQ(values.count, times.size());
    EXPECT_EQ(values.last100ns, times.back());
    EXPECT_EQ(values.minimum100ns, truth.sorted.front());
    EXPECT_EQ(values.maximum100ns, truth.sorted.back());
    EXPECT_NEAR(values.mean100ns, truth.mean, 1);
    EXPECT_NEAR(values.deviation100ns, truth.deviation, 1 + truth.deviation / 1000);
    EXPECT_NEAR(values.median100ns, truth.percentile(50), 2 + truth.percentile(50) * 0.05);
    EXPECT_NEAR(values.percentile95th100ns, truth.percentile(95), 2 + truth.percentile(95) * 0.05);
    EXPECT_NEAR(values.percentile99th100ns, truth.percentile(99), 2 + truth.percentile(99) * 0.05);
}

std::vector<std::uint32_t> drawn(int count, const std::function<double(std::mt19937&)>& draw) {
    std::mt19937 random(99);
    std::vector<std::uint32_t> times;
    for (int i = 0; i < count; ++i) {
        times.push_back(static_cast<std::uint32_t>(std::max(0.0, draw(random))));
    }
    return times;
}

TEST(RoundTripTimesTest, NothingIsKnownBeforeTheFirst) {
    const RoundTripValues values = RoundTripTimes().values();
    EXPECT_EQ(values.count, 0u);
    EXPECT_EQ(values.median100ns, 0u);
    EXPECT_EQ(values.deviation100ns, 0u);
}

TEST(RoundTripTimesTest, OneTimeIsAllPercentiles) {
    for (const std::uint32_t time : {0u, 1u, 39u, 40u, 3000u, 800000u, 130000000u, 4294967295u}) {
        RoundTripTimes times;
        times.add(time);
        const RoundTripValues values = times.values();
        EXPECT_EQ(values.median100ns, time);
        EXPECT_EQ(values.percentile99th100ns, time);
        EXPECT_EQ(values.mean100ns, time);
        EXPECT_EQ(values.deviation100ns, 0u);
        EXPECT_EQ(values.jitter100ns, 0u);
    }
}

TEST(RoundTripTimesTest, StatisticsAgreeWithPlainArithmetic) {
    expectTruth(drawn(5000, [](std::mt19937& random) { return std::normal_distribution<>(300, 20)(random); }));
    expectTruth(drawn(5000, [](std::mt19937& random) { return std::normal_distribution<>(800000, 30)(random); }));
    expectTruth(drawn(5000, [](std::mt19937& random) { return std::exponential_distribution<>(0.0002)(random); }));
    expectTruth(drawn(5000, [](std::mt19937& random) { return std::uniform_real_distribution<>(0, 1.3e8)(random); }));
    expectTruth(drawn(300, [](std::mt19937& random) { return random() % 2 == 0 ? 250.0 : 1.2e8; }));
}

// The first ping may wait for an address to be resolved.
TEST(RoundTripTimesTest, AFirstTimeThatIsFarOffDoesNotSpoilTheDeviation) {
    std::vector<std::uint32_t> times =
        drawn(20000, [](std::mt19937& random) { return std::normal_distribution<>(3000, 100)(random); });
    times.insert(times.begin(), 100000);
    expectTruth(times);
}

TEST(RoundTripTimesTest, EveryTimeIsWithinFivePercentOfItsBucketsMiddle) {
    for (std::uint32_t time = 40; time < 130000000; time += 1 + time / 997) {
        RoundTripTimes times;
        times.add(0);  // keeps the smallest and the greatest from standing for the middle
        times.add(time);
        times.add(4294967295u);
        ASSERT_NEAR(times.values().median100ns, time, time * 0.05) << time;
    }
}

TEST(RoundTripTimesTest, TheDeviationSurvivesSquaresBeyond64Bits) {
    std::vector<std::uint32_t> times;
    for (int i = 0; i < 1000; ++i) {
        times.push_back(i % 2 == 0 ? 0 : 4294967295u);
    }
    RoundTripTimes measured;
    for (const std::uint32_t time : times) {
        measured.add(time);
    }
    EXPECT_NEAR(measured.values().deviation100ns, 2147483647.5, 2147483647.5 / 1000);
}

TEST(RoundTripTimesTest, JitterIsTheFilteredDifferenceOfSuccessiveTimes) {
    RoundTripTimes times;
    times.add(1000);
    times.add(2600);
    EXPECT_EQ(times.values().jitter100ns, 100u);
    times.add(2600);
    EXPECT_EQ(times.values().jitter100ns, 93u);
}

TEST(RoundTripTimesTest, AResetForgetsAll) {
    RoundTripTimes times;
    times.add(1000);
    times.add(5000);
    times.reset();
    EXPECT_EQ(times.values().count, 0u);
    times.add(70);
    EXPECT_EQ(times.values().maximum100ns, 70u);
    EXPECT_EQ(times.values().jitter100ns, 0u);
}

TEST(IntegerRootTest, TheRootIsTheGreatestWhoseSquareIsNotAbove) {
    const std::uint64_t squares[] = {
        0, 1, 2, 3, 4, 15, 16, 17, 999999, 1000000, 18446744065119617025u, ~std::uint64_t{0}};
    for (const std::uint64_t square : squares) {
        const std::uint64_t root = integerRoot(square);
        EXPECT_LE(root * root, square);
        EXPECT_TRUE(root == 4294967295u || (root + 1) * (root + 1) > square) << square;
    }
}

}  // namespace
