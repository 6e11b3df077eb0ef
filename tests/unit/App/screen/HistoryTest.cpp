#include "History.h"

#include <gtest/gtest.h>

#include <string>

namespace {

class HistoryTest : public testing::Test {
protected:
    // Plays one period. received and total are the counts at its end, since the beginning.
    void period(int received, int total, int expected = 1) {
        m_history.count(received, total);
        m_history.closePeriod(expected);
    }
    // From the oldest to the newest: "8" is everything, "0" nothing, "?" unknown.
    std::string chart() const {
        std::string text;
        for (int age = m_history.size() - 1; age >= 0; --age) {
            const int level = m_history.level(age, 8);
            text += level == History::kUnknown ? '?' : static_cast<char>('0' + level);
        }
        return text;
    }
    History m_history;
};

TEST_F(HistoryTest, BeforeTheFirstProbeNothingIsKnown) {
    period(0, 0);
    period(0, 0);
    period(1, 1);
    EXPECT_EQ(chart(), "??8");
}

TEST_F(HistoryTest, APeriodWithoutProbesIsSilentAtOnce) {
    period(1, 1);
    period(1, 1);
    period(1, 1);
    EXPECT_EQ(chart(), "800");
}

TEST_F(HistoryTest, LossesAreEnteredInTheSilenceBeforeTheyWereFound) {
    period(1, 1);
    period(1, 1);
    period(1, 1);
    period(2, 4);
    EXPECT_EQ(chart(), "8008");
}

TEST_F(HistoryTest, LossesThatNoSilenceExplainsLowerTheirOwnPeriod) {
    period(1, 1);
    period(2, 3);
    EXPECT_EQ(chart(), "84");
    period(3, 11);
    EXPECT_EQ(chart(), "841");
}

TEST_F(HistoryTest, AProbeThatComesInTheNextPeriodIsPutBack) {
    period(1, 1);
    period(1, 1);
    period(3, 3);
    EXPECT_EQ(chart(), "888");
}

TEST_F(HistoryTest, OnlyOneLateProbeIsPutBackSinceOnlyOneCanBeLate) {
    period(1, 1);
    period(1, 1);
    period(1, 1);
    period(4, 4);
    EXPECT_EQ(chart(), "8088");
}

TEST_F(HistoryTest, AProbeThatMovesAcrossTheBorderLeavesNoSilenceBehind) {
    period(1, 1);
    period(1, 1);
    EXPECT_EQ(chart(), "80");
    period(2, 2);
    EXPECT_EQ(chart(), "888");
    period(3, 3);
    EXPECT_EQ(chart(), "8888");
}

TEST_F(HistoryTest, TwoSilentPeriodsAreASilenceThoughNothingIsMissingAfterThem) {
    period(1, 1);
    period(1, 1);
    period(1, 1);
    period(2, 2);
    EXPECT_EQ(chart(), "8008");
}

TEST_F(HistoryTest, ASilentPeriodOfSeveralProbesStaysSilent) {
    period(5, 5, 5);
    period(5, 5, 5);
    period(10, 10, 5);
    EXPECT_EQ(chart(), "808");
}

TEST_F(HistoryTest, APeriodOfSeveralProbesTakesSeveralLosses) {
    period(5, 5, 5);
    period(5, 5, 5);
    period(5, 5, 5);
    period(10, 20, 5);
    EXPECT_EQ(chart(), "8008");
}

TEST_F(HistoryTest, AllButOneOfManyIsNeitherEverythingNorNothing) {
    period(1000, 1001, 1001);
    period(1001, 2001, 1001);
    EXPECT_EQ(chart(), "71");
}

TEST_F(HistoryTest, CountsThatBeginAnewAreNoLoss) {
    period(5, 9);
    m_history.count(0, 0);
    period(1, 1);
    EXPECT_EQ(chart(), "48");
}

TEST_F(HistoryTest, APeriodThatNobodyWatchedIsUnknown) {
    period(1, 1);
    m_history.skipPeriod();
    period(9, 9, 8);
    EXPECT_EQ(chart(), "8?8");
}

TEST_F(HistoryTest, ItForgetsTheOldestAndNeverGrowsBeyondItsLimit) {
    for (int i = 1; i <= 3 * History::kColumns; ++i) {
        period(i, i);
    }
    EXPECT_EQ(m_history.size(), History::kColumns);
    period(3 * History::kColumns, 3 * History::kColumns);
    EXPECT_EQ(m_history.size(), History::kColumns);
    EXPECT_EQ(m_history.level(0, 8), 0);
    EXPECT_EQ(m_history.level(1, 8), 8);
    EXPECT_EQ(m_history.level(History::kColumns - 1, 8), 8);
}

// --- Coarser columns

TEST_F(HistoryTest, ACoarseColumnHasTheShareOfItsPeriods) {
    for (int i = 1; i <= 10; ++i) {
        period(i, i);
    }
    for (int i = 1; i <= 5; ++i) {
        period(10, 10);
    }
    for (int i = 1; i <= 6; ++i) {
        period(10 + i, 15 + i);
    }
    EXPECT_EQ(m_history.size(1), 3);
    EXPECT_EQ(m_history.level(2, 8, 1), 8);
    EXPECT_EQ(m_history.level(1, 8, 1), 4);
    EXPECT_EQ(m_history.level(0, 8, 1), 8) << "it is being filled";
    EXPECT_EQ(m_history.periodsSince(0, 1), 1);
    EXPECT_EQ(m_history.periodsSince(2, 1), 21);
}

TEST_F(HistoryTest, ASilenceIsSeenAtOnceInEveryZoom) {
    period(1, 1);
    period(1, 1);
    for (int zoom = 0; zoom < History::kZooms; ++zoom) {
        EXPECT_LT(m_history.level(0, 8, zoom), 8) << zoom;
    }
}

TEST_F(HistoryTest, OneLossInAllOfAColumnIsNotRoundedAway) {
    int sent = 0;
    const auto play = [&](int periods, int lost) {
        for (int i = 0; i < periods; ++i) {
            ++sent;
            period(sent - lost, sent);
        }
    };
    play(900, 0);
    play(901, 1);
    EXPECT_EQ(m_history.level(1, 8, 4), 7);
    EXPECT_EQ(m_history.periodsSince(1, 4), 1801);
}

TEST_F(HistoryTest, WhatNobodyWatchedCountsForNothingInACoarseColumn) {
    period(1, 1);
    for (int i = 0; i < 9; ++i) {
        m_history.skipPeriod();
    }
    for (int i = 0; i < 11; ++i) {
        m_history.skipPeriod();
    }
    EXPECT_EQ(m_history.level(2, 8, 1), 8);
    EXPECT_EQ(m_history.level(1, 8, 1), History::kUnknown);
}

TEST_F(HistoryTest, ALateProbeIsPutBackIntoItsCoarseColumnToo) {
    for (int i = 1; i <= 9; ++i) {
        period(i, i);
    }
    period(9, 9);
    period(11, 11);
    EXPECT_EQ(m_history.level(1, 8, 1), 8);
}

TEST_F(HistoryTest, ADayIsKeptInColumnsThatAreBounded) {
    for (int i = 1; i <= 2 * History::kMostPeriods; ++i) {
        period(i, i);
    }
    for (int zoom = 1; zoom < History::kZooms; ++zoom) {
        EXPECT_EQ(m_history.size(zoom), History::kRoom[zoom] + 1) << zoom;
    }
    EXPECT_EQ(History::kMostPeriods, 24 * 3600);
    EXPECT_EQ(m_history.level(History::kRoom[4], 8, 4), 8);
}

}  // namespace
