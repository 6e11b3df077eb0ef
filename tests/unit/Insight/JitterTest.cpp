#include "Jitter.h"

#include <gtest/gtest.h>

namespace {

TEST(JitterTest, EachDifferenceMovesTheMeanByASixteenthOfTheDistance) {
    Jitter jitter;
    jitter.add(16000);
    EXPECT_EQ(jitter.mean(), 1000u);
    jitter.add(17000);
    EXPECT_EQ(jitter.mean(), 2000u);
    jitter.add(0);
    EXPECT_EQ(jitter.mean(), 1875u);
    EXPECT_EQ(jitter.count(), 3u);
}

TEST(JitterTest, DifferencesThatAreAlikeBecomeTheMean) {
    for (const std::uint32_t difference : {0u, 1u, 7u, 10000u, 4294967295u}) {
        Jitter jitter;
        for (int i = 0; i < 1000; ++i) {
            jitter.add(difference);
        }
        EXPECT_NEAR(jitter.mean(), difference, 1) << difference;
    }
}

TEST(JitterTest, AResetForgetsAll) {
    Jitter jitter;
    jitter.add(500);
    jitter.reset();
    EXPECT_EQ(jitter.mean(), 0u);
    EXPECT_EQ(jitter.count(), 0u);
}

}  // namespace
