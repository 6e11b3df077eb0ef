#include "RowBoard.h"

#include <gmock/gmock.h>

#include "LabelledRows.h"
#include "StringPrinting.h"

namespace {

using testing::ElementsAre;

class RowBoardTest : public testing::Test, public RowBoard::Listener {
protected:
    void boardChanged() override { ++m_calls; }
    // As the engine would.
    void tell(const RowChange& change) {
        for (int protocol = 0; protocol < kProtocols; ++protocol) {
            if (change.isTold[protocol]) {
                m_board.rowChanged(change.row, protocol);
            }
        }
    }
    LabelledRows m_rows;
    RowBoard m_board{*this};
    int m_calls = 0;
};

TEST_F(RowBoardTest, ARowThatChangesOftenIsTakenOnceAsItIsThen) {
    for (int i = 1; i <= 1000; ++i) {
        tell(m_rows.change(u"a", 90, kUdp, i, i + 1));
    }
    tell(m_rows.change(u"a", 80, kPing, 1, 2));
    const RowBoard::News news = m_board.take();
    ASSERT_EQ(news.changes.size(), 1U);
    const RowChange& change = news.changes[0];
    EXPECT_THAT(change.isTold, ElementsAre(false, true, false, true));
    EXPECT_EQ(change.row.counts[kUdp].received, 1000);
    EXPECT_EQ(change.row.counts[kUdp].total, 1001);
    EXPECT_EQ(change.row.counts[kPing].received, 1);
    EXPECT_EQ(change.row.counts[kPing].total, 2);
    EXPECT_EQ(change.row.quality, 80);
    EXPECT_FALSE(news.isCleared);
    EXPECT_TRUE(m_board.take().changes.empty());
}

TEST_F(RowBoardTest, AStateThatChangesBringsItsRowAndNoCounts) {
    m_board.rowStateChanged(m_rows.inState(u"a", PeerState::kSilent, 0).row);
    const RowBoard::News news = m_board.take();
    ASSERT_EQ(news.changes.size(), 1U);
    EXPECT_EQ(news.changes[0].row.summary.state, PeerState::kSilent);
    EXPECT_THAT(news.changes[0].isTold, ElementsAre(false, false, false, false));
    EXPECT_EQ(m_calls, 1);
}

TEST_F(RowBoardTest, RowsComeInTheOrderInWhichTheyChangedFirst) {
    for (const char16_t* label : {u"c", u"a", u"b", u"a", u"c"}) {
        tell(m_rows.change(label, 100, kUdp, 1, 1));
    }
    const RowBoard::News news = m_board.take();
    ASSERT_EQ(news.changes.size(), 3U);
    EXPECT_EQ(news.changes[0].row.label(), u"c");
    EXPECT_EQ(news.changes[1].row.label(), u"a");
    EXPECT_EQ(news.changes[2].row.label(), u"b");
}

TEST_F(RowBoardTest, TheListenerIsToldOnceUntilTheNewsAreTaken) {
    tell(m_rows.change(u"a", 100, kUdp, 1, 1));
    tell(m_rows.change(u"b", 100, kUdp, 1, 1));
    m_board.clear();
    EXPECT_EQ(m_calls, 1);
    (void)m_board.take();
    tell(m_rows.change(u"a", 100, kUdp, 2, 2));
    EXPECT_EQ(m_calls, 2);
}

TEST_F(RowBoardTest, WhatWasThereBeforeItWasClearedIsNotTaken) {
    tell(m_rows.change(u"a", 100, kUdp, 1, 1));
    m_board.clear();
    tell(m_rows.change(u"b", 100, kUdp, 1, 1));
    const RowBoard::News news = m_board.take();
    EXPECT_TRUE(news.isCleared);
    ASSERT_EQ(news.changes.size(), 1U);
    EXPECT_EQ(news.changes[0].row.label(), u"b");
    EXPECT_FALSE(m_board.take().isCleared);
}

TEST_F(RowBoardTest, ThousandsOfRowsAreKeptApart) {
    constexpr int kRows = 3000;
    for (int round = 1; round <= 2; ++round) {
        for (int i = 0; i < kRows; ++i) {
            tell(m_rows.change(SPW_CString(i), 100, kUdp, round, round));
        }
        const RowBoard::News news = m_board.take();
        ASSERT_EQ(news.changes.size(), static_cast<std::size_t>(kRows));
        for (int i = 0; i < kRows; ++i) {
            EXPECT_EQ(news.changes[static_cast<std::size_t>(i)].row.label(), SPW_CString(i));
            EXPECT_EQ(news.changes[static_cast<std::size_t>(i)].row.counts[kUdp].received, round);
        }
    }
}

TEST_F(RowBoardTest, ProbesThatCouldNotBeMadeAreNewsAndStayWithTheirColumn) {
    m_board.probesNotMade(m_rows.notMade(u"a", kUdp).row, kUdp);
    RowBoard::News news = m_board.take();
    ASSERT_EQ(news.changes.size(), 1U);
    EXPECT_THAT(news.changes[0].isTold, ElementsAre(false, true, false, false));
    EXPECT_TRUE(news.changes[0].row.isNotMade[kUdp]);
    tell(m_rows.change(u"a", 100, kUdp, 1, 1));
    tell(m_rows.change(u"a", 100, kPing, 1, 1));
    news = m_board.take();
    ASSERT_EQ(news.changes.size(), 1U);
    EXPECT_TRUE(news.changes[0].row.isNotMade[kUdp]);
    EXPECT_FALSE(news.changes[0].row.isNotMade[kPing]);
}

TEST_F(RowBoardTest, ARowThatIsGivenUpIsNewsWhetherItHasChangedBeforeOrNot) {
    tell(m_rows.change(u"a", 100, kUdp, 1, 1));
    m_board.rowGivenUp(m_rows.rowOf(u"a"));
    m_board.rowGivenUp(m_rows.rowOf(u"b"));
    EXPECT_EQ(m_calls, 1);
    const RowBoard::News news = m_board.take();
    ASSERT_EQ(news.changes.size(), 2U);
    EXPECT_TRUE(news.changes[0].isGone);
    EXPECT_EQ(news.changes[0].row.label(), u"a");
    EXPECT_TRUE(news.changes[1].isGone);
}

TEST_F(RowBoardTest, TwoPeersWithOneLabelAreTwoRows) {
    RowChange other = m_rows.change(u"b");
    other.row.address = u"a";
    tell(m_rows.change(u"a"));
    tell(other);
    const RowBoard::News news = m_board.take();
    ASSERT_EQ(news.changes.size(), 2U);
    EXPECT_EQ(news.changes[0].row.label(), news.changes[1].row.label());
    EXPECT_NE(news.changes[0].row.number, news.changes[1].row.number);
}

}  // namespace
