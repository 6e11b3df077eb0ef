#include "RowInsights.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ScriptedClock.h"

namespace {

constexpr RowInsights::Kinds kUdpAndPing = RowInsights::kindOf(kUdp) | RowInsights::kindOf(kPing);

// Rows with a period of a second, on a clock that the test alone moves.
class RowInsightsTest : public testing::Test {
protected:
    RowInsightsTest() { m_insights.begin(RowInsights::now()); }

    PeerRow& add(const char16_t* address, RowInsights::Kinds kinds = kUdpAndPing) {
        PeerRow& row = *m_rows.numbered(m_rows.addNamed(address, u"name"));
        m_insights.expect(row, kinds, 1000);
        return row;
    }
    void hear(PeerRow& row, int protocol, std::int32_t sequence) {
        m_insights.heard(row, protocol, sequence, SPW_CClock::instance->now100ns());
    }
    // Lets seconds pass, and judges each. In each of them a probe of these kinds comes from each row.
    void passSeconds(int seconds, const std::vector<int>& protocols = {}) {
        for (int i = 0; i < seconds; ++i) {
            ++m_sequence;
            for (const int protocol : protocols) {
                for (int index = 0; index < m_rows.size(); ++index) {
                    hear(m_rows.at(index), protocol, m_sequence);
                }
            }
            m_clock.advanceMs(1000);
            if (!m_insights.passSecond(RowInsights::now())) {
                continue;
            }
            for (int index = 0; index < m_rows.size(); ++index) {
                m_changes += m_insights.judge(m_rows.at(index), SPW_CClock::instance->now100ns()) ? 1 : 0;
            }
        }
    }
    std::vector<InsightEvent> events() {
        SPW_CArray<InsightEvent> read;
        m_reached = m_insights.eventsAfter(m_reached, read);
        std::vector<InsightEvent> result;
        for (int i = 0; i < read.numberOfElements(); ++i) {
            result.push_back(read[i]);
        }
        return result;
    }

    ScriptedClock m_clock;
    PeerTable m_rows;
    RowInsights m_insights;
    std::int32_t m_sequence = 0;
    std::uint32_t m_reached = 0;
    int m_changes = 0;
};

TEST_F(RowInsightsTest, OnlyWhatIsExpectedOfARowHasAState) {
    PeerRow& row = add(u"10.0.0.2");
    const PeerInsightValues values = m_insights.values(row);
    EXPECT_EQ(values.kinds[kUdp].state, KindState::kWaiting);
    EXPECT_EQ(values.kinds[kPing].state, KindState::kWaiting);
    EXPECT_EQ(values.kinds[kTcpip].state, KindState::kNone);
    EXPECT_EQ(values.kinds[kMulticast].state, KindState::kNone);
}

TEST_F(RowInsightsTest, AnEventNamesItsPeer) {
    PeerRow& first = add(u"10.0.0.2");
    PeerRow& second = add(u"10.0.0.3");
    passSeconds(1, {kUdp, kPing});
    EXPECT_EQ(m_changes, 2);
    std::vector<InsightEvent> all = events();
    ASSERT_EQ(all.size(), 6u);
    EXPECT_EQ(all[2].type, InsightEvent::kPeerChanged);
    EXPECT_EQ(all[2].row, first.number());
    EXPECT_EQ(std::u16string(all[2].address), u"10.0.0.2");
    EXPECT_EQ(std::u16string(all[2].name), u"name");
    EXPECT_EQ(all[5].row, second.number());
    EXPECT_EQ(all[5].number, 6u);
}

TEST_F(RowInsightsTest, TextsThatAreTooLongAreCut) {
    const SPW_CString address(u"a-host-name-that-is-longer-than-any-dotted-quad.example");
    PeerRow& row = *m_rows.numbered(m_rows.addNamed(address, address + address));
    m_insights.tell(row, InsightEvent::kDiscovered);
    const InsightEvent event = events().at(0);
    EXPECT_EQ(std::u16string(event.address), std::u16string(address.text(), InsightEvent::kAddressRoom - 1));
    EXPECT_EQ(std::u16string(event.name).size(), static_cast<std::size_t>(InsightEvent::kNameRoom - 1));
}

TEST_F(RowInsightsTest, AfterAStopNothingIsRecordedAndNothingChanges) {
    PeerRow& row = add(u"10.0.0.2");
    passSeconds(3, {kUdp, kPing});
    m_insights.freeze(RowInsights::now());
    const Stamp frozen = RowInsights::now();
    (void)events();
    passSeconds(20, {kUdp});
    const PeerInsightValues values = m_insights.values(row);
    EXPECT_TRUE(values.isFrozen);
    EXPECT_EQ(values.frozen.monotonic100ns, frozen.monotonic100ns);
    EXPECT_EQ(values.kinds[kUdp].received, 3u);
    EXPECT_EQ(values.summary.state, PeerState::kReachable);
    EXPECT_TRUE(events().empty());
}

TEST_F(RowInsightsTest, AnOutageThatLastsAtTheStopLastsUntilIt) {
    PeerRow& row = add(u"10.0.0.2");
    passSeconds(3, {kUdp, kPing});
    passSeconds(10);
    m_insights.freeze(RowInsights::now());
    m_clock.advanceMs(60000);
    const PeerInsightValues values = m_insights.values(row);
    ASSERT_EQ(values.outages, 1);
    EXPECT_FALSE(values.outage[0].isOver);
    EXPECT_EQ(values.outage[0].span100ns, 11 * kOneSecond100ns);
}

TEST_F(RowInsightsTest, WhatSendersSayOfTheirStopIsNoFailure) {
    PeerRow& row = add(u"10.0.0.2");
    ProbeOut out;
    out.state = kOutOpen;
    m_insights.sending(&row, kTcpip, out);
    m_insights.freeze(RowInsights::now());
    out.state = kOutFailed;
    out.code = 10038;
    m_insights.sending(&row, kTcpip, out);
    EXPECT_EQ(m_insights.values(row).kinds[kTcpip].out.state, SendState::kOpen);
    EXPECT_EQ(m_insights.values(row).kinds[kTcpip].out.lastError, 0u);
}

TEST_F(RowInsightsTest, WhatSendersSayBeforeTheTestIsWatchedCounts) {
    m_insights.forget();
    PeerRow& row = add(u"10.0.0.2");
    ProbeOut out;
    out.state = kOutRefused;
    m_insights.sending(&row, kTcpip, out);
    EXPECT_EQ(m_insights.values(row).kinds[kTcpip].out.state, SendState::kRefused);
    EXPECT_FALSE(m_insights.values(row).isFrozen);
}

TEST_F(RowInsightsTest, AKindThatIsWatchedAnewIsWaitedForAnew) {
    PeerRow& row = add(u"10.0.0.2");
    passSeconds(3, {kUdp, kPing});
    m_insights.notMade(&row, kPing);
    passSeconds(30, {kUdp});
    m_insights.expect(row, RowInsights::kindOf(kPing), 1000);
    passSeconds(3, {kUdp});
    EXPECT_EQ(m_insights.values(row).kinds[kPing].state, KindState::kWaiting);
}

TEST_F(RowInsightsTest, AStartForgetsTheEventsOfTheTestBefore) {
    (void)add(u"10.0.0.2");
    passSeconds(3, {kUdp, kPing});
    m_insights.forget();
    m_insights.begin(RowInsights::now());
    EXPECT_TRUE(events().empty());
    passSeconds(8);
    const std::vector<InsightEvent> later = events();
    ASSERT_FALSE(later.empty());
    EXPECT_EQ(later[0].number, 4u);
}

TEST_F(RowInsightsTest, WhatThisDeviceCannotHearHasNoStateInAnyRow) {
    PeerRow& before = add(u"10.0.0.2");
    m_insights.cannotHear(m_rows, kUdp);
    PeerRow& after = add(u"10.0.0.3");
    passSeconds(20, {kPing});
    for (const PeerRow* row : {&before, &after}) {
        const PeerInsightValues values = m_insights.values(*row);
        EXPECT_EQ(values.kinds[kUdp].state, KindState::kNone);
        EXPECT_EQ(values.summary.state, PeerState::kReachable);
    }
    m_insights.forget();
    EXPECT_EQ(m_insights.values(add(u"10.0.0.4")).kinds[kUdp].state, KindState::kWaiting);
}

TEST_F(RowInsightsTest, APingThatCouldNotBeMadeIsAnEventAndNoSilence) {
    PeerRow& row = add(u"10.0.0.2");
    m_insights.notMade(&row, kPing);
    passSeconds(20, {kUdp});
    EXPECT_EQ(m_insights.values(row).kinds[kPing].state, KindState::kNone);
    EXPECT_EQ(row.values().summary.state, PeerState::kReachable);
    const std::vector<InsightEvent> all = events();
    EXPECT_EQ(all[0].type, InsightEvent::kProbesNotMade);
    EXPECT_EQ(all[0].protocol, kPing);
    EXPECT_EQ(all[0].row, row.number());
}

TEST_F(RowInsightsTest, WhatThePeerSendsIsExpectedEvenIfOurProbesToItCouldNotBeMade) {
    PeerRow& row = add(u"10.0.0.2");
    m_insights.notMade(&row, kUdp);
    passSeconds(20, {kPing});
    EXPECT_EQ(row.values().summary.state, PeerState::kPartial);
}

TEST_F(RowInsightsTest, ProbesToAllThatCouldNotBeMadeAreAnEventOfNoRow) {
    m_insights.notMade(nullptr, kMulticast);
    EXPECT_EQ(events().at(0).row, 0);
}

TEST_F(RowInsightsTest, PingsThatBeginLateAreWaitedForFromThen) {
    PeerRow& row = add(u"10.0.0.2");
    passSeconds(4, {kUdp});
    m_insights.beginPings(row);
    passSeconds(4, {kUdp});
    EXPECT_EQ(m_insights.values(row).kinds[kPing].state, KindState::kWaiting);
    passSeconds(1, {kUdp});
    EXPECT_EQ(m_insights.values(row).kinds[kPing].state, KindState::kSilent);
}

TEST_F(RowInsightsTest, ARepliesTimeAndHopsReachTheRow) {
    PeerRow& row = add(u"10.0.0.2");
    for (int i = 0; i < 3; ++i) {
        m_insights.replied(row, 1500, 61);
    }
    const PeerInsightValues values = m_insights.values(row);
    EXPECT_EQ(values.roundTrip.count, 3u);
    EXPECT_EQ(values.roundTrip.median100ns, 15000u);
    EXPECT_EQ(values.hops, 3);
    EXPECT_EQ(values.kinds[kPing].out.state, SendState::kOpen);
    m_insights.replied(row, 4000000000u, 61);
    EXPECT_EQ(m_insights.values(row).roundTrip.maximum100ns, 4294967295u);
}

TEST_F(RowInsightsTest, AFailedPingLeavesItsCodeUntilTheNextReplyAndTheCodeBeyond) {
    PeerRow& row = add(u"10.0.0.2");
    m_insights.pingFailed(row, 11010);
    EXPECT_EQ(m_insights.values(row).kinds[kPing].out.state, SendState::kUnanswered);
    m_insights.pingFailed(row, 11003);
    EXPECT_EQ(m_insights.values(row).kinds[kPing].out.state, SendState::kFailed);
    m_insights.replied(row, 100, 64);
    const OutValues out = m_insights.values(row).kinds[kPing].out;
    EXPECT_EQ(out.state, SendState::kOpen);
    EXPECT_EQ(out.lastError, 11003u);
    EXPECT_EQ(out.lastErrorWall100ns, RowInsights::now().wall100ns);
}

TEST_F(RowInsightsTest, AnUnansweredConnectionIsOneSinceItsLatestAnswer) {
    PeerRow& row = add(u"10.0.0.2");
    ProbeOut out;
    out.state = kOutUnanswered;
    out.ageMs = 1500;
    out.packets = 100000;
    out.timeouts = 3;
    m_insights.sending(&row, kTcpip, out);
    const OutValues values = m_insights.values(row).kinds[kTcpip].out;
    EXPECT_EQ(values.state, SendState::kUnanswered);
    EXPECT_EQ(values.since.monotonic100ns + 15000000, RowInsights::now().monotonic100ns);
    EXPECT_EQ(values.since.wall100ns + 15000000, RowInsights::now().wall100ns);
    EXPECT_EQ(values.unansweredPackets, 65535);
    EXPECT_EQ(values.repetitions, 3);
}

TEST_F(RowInsightsTest, EveryStateOfSendingHasItsCounterpart) {
    PeerRow& row = add(u"10.0.0.2");
    const struct {
        OutState told;
        SendState kept;
    } pairs[] = {{kOutConnecting, SendState::kConnecting}, {kOutOpen, SendState::kOpen},
                 {kOutRefused, SendState::kRefused},       {kOutTimedOut, SendState::kTimedOut},
                 {kOutFailed, SendState::kFailed},         {kOutUnanswered, SendState::kUnanswered}};
    for (const auto& pair : pairs) {
        ProbeOut out;
        out.state = pair.told;
        m_insights.sending(&row, kUdp, out);
        EXPECT_EQ(m_insights.values(row).kinds[kUdp].out.state, pair.kept);
    }
}

TEST_F(RowInsightsTest, TheMulticastSendersStateIsThatOfAllRows) {
    PeerRow& first = add(u"10.0.0.2");
    PeerRow& second = add(u"10.0.0.3");
    ProbeOut out;
    out.state = kOutFailed;
    out.code = 10065;
    m_insights.sending(nullptr, kMulticast, out);
    out.state = kOutOpen;
    out.code = 0;
    m_insights.sending(nullptr, kMulticast, out);
    for (const PeerRow* row : {&first, &second}) {
        const OutValues values = m_insights.values(*row).kinds[kMulticast].out;
        EXPECT_EQ(values.state, SendState::kOpen);
        EXPECT_EQ(values.lastError, 10065u);
    }
}

}  // namespace
