#include "SPW_CBackOff.h"

#include <gtest/gtest.h>

#include <string>

namespace {

// The pauses after so many failures in a row, each behind a blank.
std::string pauses(SPW_CBackOff& backOff, int failures) {
    std::string text;
    for (int i = 0; i < failures; ++i) {
        text += ' ' + std::to_string(backOff.failed());
    }
    return text;
}

}  // namespace

TEST(BackOffTest, ThePausesBeginWithTheThirdFailureAndDoubleUpToASecond) {
    SPW_CBackOff backOff;
    EXPECT_EQ(pauses(backOff, 12), " 0 0 10 20 40 80 160 320 640 1000 1000 1000");
}

TEST(BackOffTest, ASuccessEndsThem) {
    SPW_CBackOff backOff;
    (void)pauses(backOff, 7);
    backOff.succeeded();
    EXPECT_EQ(pauses(backOff, 4), " 0 0 10 20");
}

TEST(BackOffTest, TheLimitSaysWhereTheyBegin) {
    SPW_CBackOff first(1);
    EXPECT_EQ(pauses(first, 3), " 10 20 40");
    SPW_CBackOff fifth(5);
    EXPECT_EQ(pauses(fifth, 6), " 0 0 0 0 10 20");
}

TEST(BackOffTest, WithoutALimitThereAreNone) {
    for (const int limit : {0, -1}) {
        SPW_CBackOff backOff(limit);
        EXPECT_EQ(pauses(backOff, 5), " 0 0 0 0 0");
        EXPECT_FALSE(backOff.isBeyondLimit());
    }
}

TEST(BackOffTest, OnlyTheFailuresAfterTheLimitAreBeyondIt) {
    SPW_CBackOff backOff;
    (void)pauses(backOff, 3);
    EXPECT_FALSE(backOff.isBeyondLimit());
    (void)backOff.failed();
    EXPECT_TRUE(backOff.isBeyondLimit());
    EXPECT_EQ(backOff.failures(), 4u);
    backOff.succeeded();
    EXPECT_FALSE(backOff.isBeyondLimit());
    EXPECT_EQ(backOff.failures(), 0u);
}

TEST(BackOffTest, ThePauseStaysASecondHoweverManyFailuresFollow) {
    SPW_CBackOff backOff;
    for (int i = 0; i < 1000000; ++i) {
        ASSERT_LE(backOff.failed(), 1000u);
    }
    EXPECT_EQ(backOff.failed(), 1000u);
}
