#include "RowBoard.h"

#include <gtest/gtest.h>

#include "StringPrinting.h"

namespace {

class RowBoardTest : public testing::Test, public RowBoard::Listener {
protected:
    void boardChanged() override { ++m_calls; }
    RowBoard m_board{*this};
    int m_calls = 0;
};

TEST_F(RowBoardTest, ARowThatChangesOftenIsTakenOnceAsItIsThen) {
    for (int i = 1; i <= 1000; ++i) {
        m_board.updatePeerRow(u"a", 90, kUdp, i, i + 1);
    }
    m_board.updatePeerRow(u"a", 80, kPing, 1, 2);
    const RowBoard::News news = m_board.take();
    ASSERT_EQ(news.updates.size(), 2U);
    EXPECT_EQ(news.updates[0].column, kUdpColumn);
    EXPECT_EQ(news.updates[0].received, 1000);
    EXPECT_EQ(news.updates[0].total, 1001);
    EXPECT_EQ(news.updates[1].column, kPingColumn);
    EXPECT_EQ(news.updates[0].quality, 80);
    EXPECT_FALSE(news.isEmptied);
    EXPECT_TRUE(m_board.take().updates.empty());
}

TEST_F(RowBoardTest, RowsComeInTheOrderInWhichTheyChangedFirst) {
    for (const char16_t* label : {u"c", u"a", u"b", u"a", u"c"}) {
        m_board.updatePeerRow(label, 100, kUdp, 1, 1);
    }
    const RowBoard::News news = m_board.take();
    ASSERT_EQ(news.updates.size(), 3U);
    EXPECT_EQ(news.updates[0].label, u"c");
    EXPECT_EQ(news.updates[1].label, u"a");
    EXPECT_EQ(news.updates[2].label, u"b");
}

TEST_F(RowBoardTest, TheListenerIsToldOnceUntilTheNewsAreTaken) {
    m_board.updatePeerRow(u"a", 100, kUdp, 1, 1);
    m_board.updatePeerRow(u"b", 100, kUdp, 1, 1);
    m_board.empty();
    EXPECT_EQ(m_calls, 1);
    (void)m_board.take();
    m_board.updatePeerRow(u"a", 100, kUdp, 2, 2);
    EXPECT_EQ(m_calls, 2);
}

TEST_F(RowBoardTest, WhatWasThereBeforeItWasEmptiedIsNotTaken) {
    m_board.updatePeerRow(u"a", 100, kUdp, 1, 1);
    m_board.empty();
    m_board.updatePeerRow(u"b", 100, kUdp, 1, 1);
    const RowBoard::News news = m_board.take();
    EXPECT_TRUE(news.isEmptied);
    ASSERT_EQ(news.updates.size(), 1U);
    EXPECT_EQ(news.updates[0].label, u"b");
    EXPECT_FALSE(m_board.take().isEmptied);
}

TEST_F(RowBoardTest, ThousandsOfRowsAreKeptApart) {
    constexpr int kRows = 3000;
    for (int round = 1; round <= 2; ++round) {
        for (int i = 0; i < kRows; ++i) {
            m_board.updatePeerRow(SPW_CString(i), 100, kUdp, round, round);
        }
        const RowBoard::News news = m_board.take();
        ASSERT_EQ(news.updates.size(), static_cast<std::size_t>(kRows));
        for (int i = 0; i < kRows; ++i) {
            EXPECT_EQ(news.updates[static_cast<std::size_t>(i)].label, SPW_CString(i));
            EXPECT_EQ(news.updates[static_cast<std::size_t>(i)].received, round);
        }
    }
}

TEST_F(RowBoardTest, ProbesThatCouldNotBeMadeAreNewsAndStayWithTheirColumn) {
    PeerRowValues a;
    a.address = u"a";
    m_board.probesNotMade(a, kUdp);
    RowBoard::News news = m_board.take();
    ASSERT_EQ(news.updates.size(), 1U);
    EXPECT_EQ(news.updates[0].column, kUdpColumn);
    EXPECT_TRUE(news.updates[0].isNotMade);
    m_board.updatePeerRow(u"a", 100, kUdp, 1, 1);
    m_board.updatePeerRow(u"a", 100, kPing, 1, 1);
    news = m_board.take();
    ASSERT_EQ(news.updates.size(), 2U);
    EXPECT_TRUE(news.updates[0].isNotMade);
    EXPECT_FALSE(news.updates[1].isNotMade);
}

}  // namespace
