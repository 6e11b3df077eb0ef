#include "AlertFilter.h"

#include <gtest/gtest.h>

#include <string>

namespace {

constexpr std::uint64_t kSecond = 10000000;

// A filter that waits for ten seconds, and what it has told.
class AlertFilterTest : public testing::Test {
protected:
    static InsightEvent peerChange(PeerState before, PeerState after, std::uint64_t second, std::int32_t row = 1) {
        InsightEvent event;
        event.type = InsightEvent::kPeerChanged;
        event.peerBefore = before;
        event.peerAfter = after;
        event.at.monotonic100ns = second * kSecond;
        event.row = row;
        return event;
    }
    static InsightEvent outage(InsightEvent::Type type, std::uint8_t kinds, std::uint64_t second) {
        InsightEvent event;
        event.type = type;
        event.kinds = kinds;
        event.at.monotonic100ns = second * kSecond;
        return event;
    }
    void take(const InsightEvent& event) { m_filter.take(event, m_due); }
    void passUntil(std::uint64_t second) { m_filter.passTime(second * kSecond, m_due); }

    AlertFilter m_filter{10 * kSecond};
    std::vector<InsightEvent> m_due;
};

TEST_F(AlertFilterTest, AChangeIsToldWhenItHasLasted) {
    take(peerChange(PeerState::kReachable, PeerState::kSilent, 100));
    passUntil(109);
    EXPECT_TRUE(m_due.empty());
    passUntil(110);
    ASSERT_EQ(m_due.size(), 1u);
    EXPECT_EQ(m_due[0].peerAfter, PeerState::kSilent);
    passUntil(200);
    EXPECT_EQ(m_due.size(), 1u);
}

TEST_F(AlertFilterTest, AChangeThatIsUndoneSoonAlertsNobody) {
    take(peerChange(PeerState::kReachable, PeerState::kSilent, 100));
    take(peerChange(PeerState::kSilent, PeerState::kReachable, 105));
    passUntil(1000);
    EXPECT_TRUE(m_due.empty());
}

TEST_F(AlertFilterTest, AChangeOnIsToldAsOneFromTheStateThatWasToldLast) {
    InsightEvent first = peerChange(PeerState::kReachable, PeerState::kPartial, 100);
    first.span100ns = 50 * kSecond;
    take(first);
    take(peerChange(PeerState::kPartial, PeerState::kSilent, 105));
    passUntil(114);
    EXPECT_TRUE(m_due.empty());
    passUntil(115);
    ASSERT_EQ(m_due.size(), 1u);
    EXPECT_EQ(m_due[0].peerBefore, PeerState::kReachable);
    EXPECT_EQ(m_due[0].peerAfter, PeerState::kSilent);
    EXPECT_EQ(m_due[0].span100ns, 50 * kSecond);
}

TEST_F(AlertFilterTest, RowsAndKindsWaitByThemselves) {
    take(peerChange(PeerState::kReachable, PeerState::kSilent, 100, 1));
    take(peerChange(PeerState::kSilent, PeerState::kReachable, 101, 2));
    InsightEvent kind = peerChange(PeerState::kNone, PeerState::kNone, 102);
    kind.type = InsightEvent::kKindChanged;
    kind.kindBefore = KindState::kOk;
    kind.kindAfter = KindState::kLossy;
    kind.protocol = kUdp;
    take(kind);
    kind.protocol = kPing;
    kind.kindBefore = KindState::kLossy;
    kind.kindAfter = KindState::kOk;
    take(kind);
    passUntil(112);
    EXPECT_EQ(m_due.size(), 4u);
}

TEST_F(AlertFilterTest, TheEndOfAnOutageFollowsAtOnceIfItsBeginWasTold) {
    take(outage(InsightEvent::kOutageBegan, 1 << kUdp, 100));
    passUntil(110);
    ASSERT_EQ(m_due.size(), 1u);
    take(outage(InsightEvent::kOutageEnded, 1 << kUdp | 1 << kPing, 120));
    ASSERT_EQ(m_due.size(), 2u);
    EXPECT_EQ(m_due[1].type, InsightEvent::kOutageEnded);
}

TEST_F(AlertFilterTest, AShortOutageHasNeitherBeginNorEnd) {
    take(outage(InsightEvent::kOutageBegan, 1 << kUdp, 100));
    take(outage(InsightEvent::kOutageEnded, 1 << kUdp | 1 << kPing, 105));
    passUntil(1000);
    EXPECT_TRUE(m_due.empty());
}

TEST_F(AlertFilterTest, WhatIsNoStateIsToldAtOnce) {
    take(outage(InsightEvent::kRestarted, 0, 100));
    take(outage(InsightEvent::kDiscovered, 0, 100));
    EXPECT_EQ(m_due.size(), 2u);
}

TEST_F(AlertFilterTest, AnotherTestForgetsWhatWaits) {
    take(peerChange(PeerState::kReachable, PeerState::kSilent, 100));
    m_filter.clear();
    passUntil(1000);
    EXPECT_TRUE(m_due.empty());
}

TEST(AlertFilterWithoutWaitTest, EverythingIsToldAtTheNextLook) {
    AlertFilter filter(0);
    std::vector<InsightEvent> due;
    InsightEvent event;
    event.type = InsightEvent::kPeerChanged;
    event.at.monotonic100ns = 5;
    filter.take(event, due);
    filter.passTime(5, due);
    EXPECT_EQ(due.size(), 1u);
}

}  // namespace
