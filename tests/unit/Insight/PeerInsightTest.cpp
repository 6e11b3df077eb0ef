#include "PeerInsight.h"

#include <gtest/gtest.h>

#include "PeerScript.h"

// The table of PeerInsight.h, outages, restarts, directions and events, on a scripted clock.

namespace {

const std::vector<int> kAll = {kMulticast, kUdp, kTcpip, kPing};

PeerScript wellFor10s(const std::vector<int>& protocols = kAll) {
    PeerScript script;
    script.watch(protocols);
    script.send(protocols);
    script.pass(10500);
    script.forgetEvents();
    return script;
}

PeerState stateOf(PeerScript& script) {
    return script.values().summary.state;
}

std::int64_t sinceOf(PeerScript& script) {
    return PeerScript::msOf(script.values().summary.since);
}

TEST(PeerInsightTest, ARecordTakesNoMoreThan4KiB) {
    EXPECT_LE(sizeof(PeerInsight), 4096u);
}

// ---- The table

TEST(PeerInsightTest, APeerOfWhichNothingIsExpectedHasNoState) {
    PeerScript script;
    script.pass(20000);
    EXPECT_EQ(stateOf(script), PeerState::kNone);
    EXPECT_TRUE(script.events().empty());
}

TEST(PeerInsightTest, APeerWaitsWhileAllItsKindsDo) {
    PeerScript script;
    script.watch(kAll);
    script.pass(4000);
    EXPECT_EQ(stateOf(script), PeerState::kWaiting);
    EXPECT_EQ(sinceOf(script), 0);
    EXPECT_TRUE(script.events().empty());
}

TEST(PeerInsightTest, APeerIsReachableAsSoonAsOneKindIsHeard) {
    PeerScript script;
    script.watch(kAll);
    script.pass(400);
    script.send({kUdp});
    script.pass(600);
    EXPECT_EQ(stateOf(script), PeerState::kReachable);
    EXPECT_EQ(sinceOf(script), 400);
    EXPECT_EQ(script.changes(), 1);
}

TEST(PeerInsightTest, APeerThatIsNeverHeardIsSilentSinceTheWatchBegan) {
    PeerScript script;
    script.watch(kAll);
    script.pass(6000);
    EXPECT_EQ(stateOf(script), PeerState::kSilent);
    EXPECT_EQ(sinceOf(script), 0);
    EXPECT_EQ(script.changes(), 1);
}

TEST(PeerInsightTest, APeerIsPartialWhileSomeKindIsSilentAndAnotherIsHeard) {
    PeerScript script = wellFor10s();
    script.block({kTcpip});
    script.pass(20000);
    EXPECT_EQ(stateOf(script), PeerState::kPartial);
    EXPECT_EQ(sinceOf(script), 10000);
}

TEST(PeerInsightTest, APeerIsSilentSinceTheLastOfItsKindsFellSilent) {
    PeerScript script = wellFor10s();
    script.block({kTcpip, kPing});
    script.pass(5000);
    script.block(kAll);
    script.pass(10000);
    EXPECT_EQ(stateOf(script), PeerState::kSilent);
    EXPECT_EQ(sinceOf(script), 15000);
}

TEST(PeerInsightTest, APeerIsDegradedWhileSomethingIsLossyAndNothingSilent) {
    PeerScript script = wellFor10s();
    script.block({kPing});
    script.pass(1000);
    script.unblock({kPing});
    script.pass(4000);
    EXPECT_EQ(stateOf(script), PeerState::kDegraded);
    EXPECT_EQ(sinceOf(script), 12000);
    script.pass(10000);
    EXPECT_EQ(stateOf(script), PeerState::kReachable);
}

TEST(PeerInsightTest, APeerIsDegradedWhileTcpsWayOutIsHeldUp) {
    PeerScript script = wellFor10s();
    script.out(kTcpip, SendState::kOpen);
    script.pass(1000);
    script.out(kTcpip, SendState::kUnanswered);
    const std::int64_t blockedAt = script.nowMs();
    script.pass(2500);
    EXPECT_EQ(stateOf(script), PeerState::kReachable);
    script.pass(1000);
    EXPECT_EQ(stateOf(script), PeerState::kDegraded);
    EXPECT_EQ(sinceOf(script), blockedAt);
    script.out(kTcpip, SendState::kOpen);
    script.pass(1000);
    EXPECT_EQ(stateOf(script), PeerState::kReachable);
    ASSERT_EQ(script.events(InsightEvent::kOutChanged).size(), 2u);
    EXPECT_EQ(script.events(InsightEvent::kOutChanged)[0].outAfter, SendState::kUnanswered);
    EXPECT_EQ(script.events(InsightEvent::kOutChanged)[1].outAfter, SendState::kOpen);
}

TEST(PeerInsightTest, TheWayOutIsGivenThreeSecondsEvenIfTheWayInIsNotWatched) {
    PeerScript script = wellFor10s({kUdp});
    script.out(kTcpip, SendState::kConnecting);
    script.pass(2500);
    EXPECT_EQ(stateOf(script), PeerState::kReachable);
    script.pass(1000);
    EXPECT_EQ(stateOf(script), PeerState::kDegraded);
}

TEST(PeerInsightTest, AKindThatWaitsDoesNotSpoilThePeer) {
    PeerScript script(10000);
    script.watch(kAll);
    script.send({kUdp});
    script.pass(40000);
    EXPECT_EQ(script.kind(kTcpip).state, KindState::kWaiting);
    EXPECT_EQ(stateOf(script), PeerState::kReachable);
}

TEST(PeerInsightTest, AKindThatIsWatchedNoMoreSpoilsNothing) {
    PeerScript script = wellFor10s();
    script.block({kPing});
    script.pass(10000);
    EXPECT_EQ(stateOf(script), PeerState::kPartial);
    script.peer().unwatch(kPing, script.moment().now);
    script.pass(1000);
    EXPECT_EQ(stateOf(script), PeerState::kReachable);
    EXPECT_TRUE(script.values().outage[0].isOver);
}

// ---- Outages and events

TEST(PeerInsightTest, ACableThatIsOutIsOneOutageWithItsTimesKindsAndCost) {
    PeerScript script = wellFor10s();
    script.block(kAll);
    script.pass(18000);
    script.unblock(kAll);
    script.pass(5000);
    const PeerInsightValues values = script.values();
    ASSERT_EQ(values.outages, 1);
    EXPECT_TRUE(values.outage[0].isOver);
    EXPECT_EQ(values.outage[0].kinds, 15);
    EXPECT_EQ(values.outage[0].beganWall100ns, script.stampAt(10000).wall100ns);
    EXPECT_EQ(values.outage[0].endedWall100ns, script.stampAt(29000).wall100ns);
    EXPECT_EQ(values.outage[0].span100ns, 19 * kOneSecond100ns);
    EXPECT_EQ(values.outage[0].missed, 18u * 4u);

    ASSERT_EQ(script.events(InsightEvent::kKindChanged).size(), 8u);
    ASSERT_EQ(script.events(InsightEvent::kOutageBegan).size(), 1u);
    const InsightEvent began = script.events(InsightEvent::kOutageBegan)[0];
    EXPECT_EQ(began.kinds, 15);
    EXPECT_EQ(PeerScript::msOf(began.at), 10000);
    EXPECT_EQ(PeerScript::msOf(began.noticed), 13000);
    ASSERT_EQ(script.events(InsightEvent::kOutageEnded).size(), 1u);
    const InsightEvent ended = script.events(InsightEvent::kOutageEnded)[0];
    EXPECT_EQ(ended.missed, 72u);
    EXPECT_EQ(PeerScript::msOf(ended.at), 29000);
    ASSERT_EQ(script.events(InsightEvent::kPeerChanged).size(), 2u);
    EXPECT_EQ(script.events(InsightEvent::kPeerChanged)[0].peerAfter, PeerState::kSilent);
    EXPECT_EQ(PeerScript::msOf(script.events(InsightEvent::kPeerChanged)[0].at), 10000);
    EXPECT_EQ(script.events(InsightEvent::kPeerChanged)[1].peerAfter, PeerState::kReachable);
    EXPECT_EQ(PeerScript::msOf(script.events(InsightEvent::kPeerChanged)[1].at), 29000);
}

TEST(PeerInsightTest, AnHourWithoutAFaultHasNoEvent) {
    PeerScript script(10);
    script.watch(kAll);
    script.send(kAll);
    script.pass(1000);
    script.forgetEvents();
    script.pass(3600000);
    EXPECT_TRUE(script.events().empty());
    EXPECT_EQ(script.kind(kUdp).received, 360100u);
}

TEST(PeerInsightTest, ResetKeepsStatesOutagesAndRestarts) {
    PeerScript script = wellFor10s();
    script.block(kAll);
    script.pass(8000);
    script.peer().onRoundTrip(5000, 64);
    script.peer().reset();
    const PeerInsightValues values = script.values();
    EXPECT_EQ(values.summary.state, PeerState::kSilent);
    EXPECT_EQ(values.outages, 1);
    EXPECT_EQ(values.roundTrip.count, 0u);
    script.unblock(kAll);
    script.pass(3000);
    EXPECT_EQ(script.events(InsightEvent::kOutageEnded).size(), 1u);
    EXPECT_EQ(script.events(InsightEvent::kOutageEnded)[0].missed, 32u);
}

// ---- Restarts

void restart(PeerScript& script, const std::vector<int>& protocols, std::int64_t pauseMs) {
    script.end(protocols);
    script.pass(pauseMs);
    for (const int protocol : protocols) {
        script.number(protocol) = 0;
    }
    script.send(protocols);
}

const std::vector<int> kProbes = {kMulticast, kUdp, kTcpip};

TEST(PeerInsightTest, APeersProgramThatBeginsAnewIsARestartAtItsFirstProbe) {
    for (const std::int64_t beforeMs : {0, 100000}) {
        PeerScript script = wellFor10s();
        script.pass(beforeMs);
        restart(script, kProbes, 700);
        const std::int64_t restartedMs = script.nowMs();
        script.pass(20000);
        ASSERT_EQ(script.events(InsightEvent::kRestarted).size(), 1u) << beforeMs;
        EXPECT_EQ(PeerScript::msOf(script.events(InsightEvent::kRestarted)[0].at), restartedMs);
        EXPECT_EQ(script.events().size(), 1u);
        EXPECT_EQ(script.values().restarts, 1);
        EXPECT_EQ(script.values().restartWall100ns[0], script.stampAt(restartedMs).wall100ns);
        EXPECT_EQ(script.kind(kUdp).lost, 0u);
        EXPECT_EQ(script.kind(kUdp).duplicates, 0u);
    }
}

TEST(PeerInsightTest, ARestartThatIsSoQuickThatNumbersCatchUpIsStillARestart) {
    PeerScript script(10);
    script.watch(kProbes);
    script.send(kProbes);
    script.pass(400);
    restart(script, kProbes, 50);
    script.pass(3000);
    EXPECT_EQ(script.events(InsightEvent::kRestarted).size(), 1u);
    EXPECT_EQ(script.kind(kUdp).duplicates, 0u);
}

TEST(PeerInsightTest, APeerThatRebootsIsAnOutageAndARestart) {
    PeerScript script = wellFor10s();
    script.pass(100000);
    script.block({kPing});
    restart(script, kProbes, 60000);
    script.unblock({kPing});
    script.pass(10000);
    EXPECT_EQ(script.events(InsightEvent::kRestarted).size(), 1u);
    ASSERT_EQ(script.events(InsightEvent::kOutageEnded).size(), 1u);
    EXPECT_EQ(script.events(InsightEvent::kOutageEnded)[0].missed, 60u);
    EXPECT_EQ(stateOf(script), PeerState::kReachable);
}

TEST(PeerInsightTest, AKindThatBeginsAnewWhileAnotherGoesOnIsNoRestart) {
    PeerScript script = wellFor10s();
    script.pass(100000);
    restart(script, {kUdp, kTcpip}, 700);
    script.pass(20000);
    EXPECT_TRUE(script.events().empty());
    EXPECT_EQ(script.kind(kUdp).lost, 0u);
}

TEST(PeerInsightTest, AKindThatIsHeardAgainLongAfterARestartTellsOfNoOther) {
    PeerScript script = wellFor10s();
    script.pass(100000);
    script.block({kTcpip});
    restart(script, kProbes, 700);
    script.pass(60000);
    script.unblock({kTcpip});
    script.pass(60000);
    EXPECT_EQ(script.events(InsightEvent::kRestarted).size(), 1u);
}

TEST(PeerInsightTest, EachOfSeveralRestartsIsTold) {
    PeerScript script = wellFor10s();
    for (int i = 0; i < 11; ++i) {
        restart(script, kProbes, 1500);
        script.pass(100000 + 1000 * i);
    }
    EXPECT_EQ(script.events(InsightEvent::kRestarted).size(), 11u);
    const PeerInsightValues values = script.values();
    EXPECT_EQ(values.restartsInAll, 11u);
    ASSERT_EQ(values.restarts, 8);
    EXPECT_LT(values.restartWall100ns[0], values.restartWall100ns[7]);
}

TEST(PeerInsightTest, ProbesThatComeVeryLateAreNoRestart) {
    PeerScript script(1);
    script.watch(kProbes);
    for (std::int32_t number = 0; number < 20000; ++number) {
        script.pass(1);
        script.hear(kUdp, number);
        if (number > 1000 && number % 500 == 0) {
            for (std::int32_t late = number - 300; late < number - 250; ++late) {
                script.hear(kUdp, late);
            }
        }
    }
    EXPECT_TRUE(script.events(InsightEvent::kRestarted).empty());
    EXPECT_EQ(script.kind(kUdp).received, 20000u);
    EXPECT_EQ(script.kind(kUdp).reordered, 37u * 50u);
}

TEST(PeerInsightTest, PingsThatThisDeviceNumbersAnewAreNoRestart) {
    PeerScript script = wellFor10s();
    script.pass(100000);
    restart(script, {kPing}, 700);
    script.pass(10000);
    EXPECT_TRUE(script.events().empty());
    EXPECT_EQ(script.kind(kPing).lost, 0u);
    EXPECT_EQ(script.kind(kPing).duplicates, 0u);
}

// ---- The way out, hops, round trips

TEST(PeerInsightTest, AttemptsThatFailInTurnsAreOneEvent) {
    PeerScript script = wellFor10s({kUdp, kTcpip});
    for (int i = 0; i < 30; ++i) {
        script.out(kTcpip, SendState::kConnecting);
        script.pass(500);
        script.out(kTcpip, i % 2 == 0 ? SendState::kRefused : SendState::kTimedOut, i % 2 == 0 ? 10061u : 10060u);
        script.pass(500);
    }
    ASSERT_EQ(script.events(InsightEvent::kOutChanged).size(), 1u);
    EXPECT_EQ(PeerScript::msOf(script.events(InsightEvent::kOutChanged)[0].at), 10500);
    const OutValues out = script.kind(kTcpip).out;
    EXPECT_EQ(out.state, SendState::kTimedOut);
    EXPECT_EQ(out.lastError, 10060u);
    EXPECT_EQ(out.lastErrorWall100ns, script.stampAt(script.nowMs() - 500).wall100ns);
}

TEST(PeerInsightTest, AnAttemptThatHasBegunSaysLessThanHowTheLastOneEnded) {
    PeerScript script;
    script.out(kTcpip, SendState::kConnecting);
    EXPECT_EQ(script.kind(kTcpip).out.state, SendState::kConnecting);
    script.out(kTcpip, SendState::kRefused, 10061);
    script.out(kTcpip, SendState::kConnecting);
    EXPECT_EQ(script.kind(kTcpip).out.state, SendState::kRefused);
}

TEST(PeerInsightTest, TheLatestSendErrorOfUdpIsKeptWithItsTimeAndIsNoEvent) {
    PeerScript script = wellFor10s();
    script.out(kUdp, SendState::kFailed, 10065);
    const std::uint64_t failedAt = script.moment().now.wall100ns;
    script.pass(20000);
    EXPECT_EQ(script.kind(kUdp).out.lastError, 10065u);
    EXPECT_EQ(script.kind(kUdp).out.lastErrorWall100ns, failedAt);
    EXPECT_TRUE(script.events().empty());
}

TEST(PeerInsightTest, PingsThatGetLostWhileUdpComesThroughAreLostOnTheWayOut) {
    PeerScript script = wellFor10s();
    script.pass(60000);
    for (int i = 0; i < 30; ++i) {
        script.pass(2000);
        script.block({kPing});
        script.pass(1000);
        script.unblock({kPing});
    }
    EXPECT_TRUE(script.values().isLossOnTheWayOut);
}

TEST(PeerInsightTest, LossOnBothWaysOrSilentPingsAllowNoConclusion) {
    PeerScript both = wellFor10s();
    both.pass(60000);
    for (int i = 0; i < 30; ++i) {
        both.pass(2000);
        both.block({kPing});
        both.pass(1000);
        both.unblock({kPing});
        both.block({kUdp});
        both.pass(1000);
        both.unblock({kUdp});
    }
    EXPECT_FALSE(both.values().isLossOnTheWayOut);

    PeerScript silent = wellFor10s();
    silent.block({kPing});
    silent.pass(200000);
    EXPECT_FALSE(silent.values().isLossOnTheWayOut);
}

TEST(PeerInsightTest, OneLostPingAllowsNoConclusion) {
    PeerScript script = wellFor10s();
    script.pass(600000);
    script.block({kPing});
    script.pass(1000);
    script.unblock({kPing});
    script.pass(3000);
    EXPECT_EQ(script.kind(kPing).state, KindState::kLossy);
    EXPECT_FALSE(script.values().isLossOnTheWayOut);
}

TEST(PeerInsightTest, AChangeOfHopsIsAnEventAndTheFirstNumberIsNone) {
    PeerScript script = wellFor10s();
    for (int i = 0; i < 10; ++i) {
        script.peer().onRoundTrip(3000, i < 5 ? 62 : 61);
        script.pass(1000);
    }
    ASSERT_EQ(script.events().size(), 1u);
    EXPECT_EQ(script.events()[0].type, InsightEvent::kHopsChanged);
    EXPECT_EQ(script.events()[0].hopsBefore, 2);
    EXPECT_EQ(script.events()[0].hopsAfter, 3);
    EXPECT_EQ(script.values().hops, 3);
}

TEST(PeerInsightTest, TheSummaryCarriesTheRoundTripTimesOfTheMoment) {
    PeerScript script = wellFor10s();
    EXPECT_EQ(script.values().summary.roundTrips, 0u);
    script.peer().onRoundTrip(3000, 64);
    script.peer().onRoundTrip(4600, 64);
    const PeerSummary summary = script.peer().summary();
    EXPECT_EQ(summary.roundTrips, 2u);
    EXPECT_EQ(summary.lastRoundTrip100ns, 4600u);
    EXPECT_EQ(summary.meanRoundTrip100ns, 3800u);
    EXPECT_EQ(summary.roundTripJitter100ns, 100u);
}

}  // namespace
