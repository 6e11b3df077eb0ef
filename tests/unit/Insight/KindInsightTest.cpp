#include "KindInsight.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

#include "PeerScript.h"

// The rows of the table in KindInsight.h, and the sentences below it, each on a scripted clock. The peer sends UDP.

namespace {

// A peer whose UDP probes have been coming for ten seconds.
PeerScript wellFor10s(std::int64_t periodMs = 1000) {
    PeerScript script(periodMs);
    script.watch({kUdp});
    script.pass(300);
    script.send({kUdp});
    script.pass(9700);
    return script;
}

void expectState(PeerScript& script, KindState state, std::int64_t sinceMs) {
    const KindValues kind = script.kind(kUdp);
    EXPECT_EQ(kind.state, state);
    EXPECT_EQ(PeerScript::msOf(kind.since), sinceMs);
    EXPECT_EQ(kind.since.wall100ns - PeerScript::kWall100ns, kind.since.monotonic100ns - PeerScript::kStart100ns);
}

// ---- The table

TEST(KindInsightTest, AKindThatNobodySelectedHasNoState) {
    PeerScript script;
    script.send({kUdp});
    script.pass(20000);
    EXPECT_EQ(script.kind(kUdp).state, KindState::kNone);
    EXPECT_EQ(script.kind(kUdp).received, 20u);
    EXPECT_TRUE(script.events().empty());
}

TEST(KindInsightTest, WaitingEndsWithTheFirstProbe) {
    PeerScript script;
    script.watch({kUdp});
    script.pass(1700);
    EXPECT_EQ(script.kind(kUdp).state, KindState::kWaiting);
    script.send({kUdp});
    script.pass(300);
    expectState(script, KindState::kOk, 1700);
}

TEST(KindInsightTest, WaitingInVainIsSilenceAfterFiveSecondsSinceTheWatchBegan) {
    PeerScript script;
    script.watch({kUdp});
    script.pass(4999);
    EXPECT_EQ(script.kind(kUdp).state, KindState::kWaiting);
    script.pass(1);
    expectState(script, KindState::kSilent, 0);
}

TEST(KindInsightTest, WaitingInVainIsSilenceAfterFivePeriods) {
    PeerScript script(200000);
    script.watch({kUdp});
    script.pass(999000);
    EXPECT_EQ(script.kind(kUdp).state, KindState::kWaiting);
    script.pass(1000);
    expectState(script, KindState::kSilent, 0);
}

TEST(KindInsightTest, NothingHeardForThreeSecondsIsSilenceSinceTheLatestProbe) {
    PeerScript script = wellFor10s(10);
    script.block({kUdp});
    script.pass(2000);
    EXPECT_EQ(script.kind(kUdp).state, KindState::kOk);
    script.pass(1000);
    expectState(script, KindState::kSilent, 9990);
}

TEST(KindInsightTest, NothingHeardForThreePeriodsIsSilenceSinceTheLatestProbe) {
    PeerScript script(2000);
    script.watch({kUdp});
    script.send({kUdp});
    script.pass(8500);
    script.block({kUdp});
    script.pass(5000);
    EXPECT_EQ(script.kind(kUdp).state, KindState::kOk);
    script.pass(1000);
    expectState(script, KindState::kSilent, 8000);
}

TEST(KindInsightTest, ANumberThatDoesNotComeForASecondMakesLossy) {
    PeerScript script = wellFor10s();
    script.block({kUdp});
    script.pass(1000);
    script.unblock({kUdp});
    script.pass(1000);
    EXPECT_EQ(script.kind(kUdp).state, KindState::kOk);
    script.pass(1000);
    expectState(script, KindState::kLossy, 11300);
    EXPECT_EQ(script.kind(kUdp).lost, 1u);
}

TEST(KindInsightTest, LossyEndsTenSecondsAfterTheLatestLoss) {
    PeerScript script = wellFor10s();
    script.block({kUdp});
    script.pass(1000);
    script.unblock({kUdp});
    script.pass(11000);
    EXPECT_EQ(script.kind(kUdp).state, KindState::kLossy);
    script.pass(1000);
    expectState(script, KindState::kOk, 23000);
}

TEST(KindInsightTest, LossyLastsWhileMoreIsLost) {
    PeerScript script = wellFor10s();
    for (int i = 0; i < 20; ++i) {
        script.block({kUdp});
        script.pass(1000);
        script.unblock({kUdp});
        script.pass(8000);
    }
    expectState(script, KindState::kLossy, 11300);
    EXPECT_EQ(script.kind(kUdp).lost, 20u);
    EXPECT_EQ(script.events(InsightEvent::kKindChanged).size(), 2u);
}

TEST(KindInsightTest, TwoProbesEndASilenceSinceTheFirstOfThem) {
    PeerScript script = wellFor10s();
    script.block({kUdp});
    script.pass(20000);
    script.unblock({kUdp});
    script.pass(1000);
    EXPECT_EQ(script.kind(kUdp).state, KindState::kSilent);
    script.pass(1000);
    expectState(script, KindState::kOk, 30300);
}

// ---- What keeps the table from telling of things that have not happened

TEST(KindInsightTest, ALateProbeChangesNothing) {
    PeerScript script = wellFor10s();
    script.end({kUdp});
    script.pass(2200);
    script.send({kUdp});
    script.pass(20000);
    EXPECT_EQ(script.events(InsightEvent::kKindChanged).size(), 1u);
}

TEST(KindInsightTest, AProbeThatComesLateIsNotLost) {
    PeerScript script = wellFor10s();
    for (int i = 0; i < 50; ++i) {
        const std::int32_t late = script.number(kUdp)++;
        script.pass(400);
        script.hear(kUdp, late);
        script.pass(600);
    }
    EXPECT_EQ(script.events(InsightEvent::kKindChanged).size(), 1u);
    EXPECT_EQ(script.kind(kUdp).lost, 0u);
    EXPECT_EQ(script.kind(kUdp).reordered, 50u);
}

TEST(KindInsightTest, ProbesThatAlwaysComeInPairsTheWrongWayRoundLoseNothing) {
    PeerScript script(10);
    script.watch({kUdp});
    for (std::int32_t number = 0; number < 6000; number += 2) {
        script.pass(10);
        script.hear(kUdp, number + 1);
        script.pass(10);
        script.hear(kUdp, number);
    }
    EXPECT_EQ(script.kind(kUdp).state, KindState::kOk);
    EXPECT_EQ(script.events(InsightEvent::kKindChanged).size(), 1u);
    EXPECT_EQ(script.kind(kUdp).lost, 0u);
}

TEST(KindInsightTest, WhatASilenceHasCostIsToldWithItsEndAndMakesNoKindLossy) {
    PeerScript script = wellFor10s();
    script.block({kUdp});
    script.pass(20000);
    script.unblock({kUdp});
    script.forgetEvents();
    script.pass(20000);
    const auto events = script.events(InsightEvent::kKindChanged);
    ASSERT_EQ(events.size(), 1u);
    EXPECT_EQ(events[0].kindBefore, KindState::kSilent);
    EXPECT_EQ(events[0].kindAfter, KindState::kOk);
    EXPECT_EQ(events[0].missed, 20u);
    EXPECT_EQ(events[0].span100ns, 21 * kOneSecond100ns);
    EXPECT_EQ(script.kind(kUdp).lost, 20u);
}

TEST(KindInsightTest, AStragglerEndsNoSilence) {
    PeerScript script = wellFor10s();
    script.block({kUdp});
    script.pass(10000);
    script.hear(kUdp, script.number(kUdp) - 1);
    script.pass(10000);
    script.hear(kUdp, script.number(kUdp) - 1);
    script.pass(10000);
    expectState(script, KindState::kSilent, 9300);
    EXPECT_EQ(PeerScript::msOf(script.kind(kUdp).lastHeard), 30000);
    script.unblock({kUdp});
    script.pass(2000);
    expectState(script, KindState::kOk, 40300);
    EXPECT_EQ(script.events(InsightEvent::kKindChanged).back().missed, 28u);
}

TEST(KindInsightTest, ARepeatIsNoSecondProbe) {
    PeerScript script = wellFor10s();
    script.block({kUdp});
    script.pass(10000);
    script.hear(kUdp, script.number(kUdp) - 1);
    script.hear(kUdp, script.number(kUdp) - 1);
    script.pass(2000);
    EXPECT_EQ(script.kind(kUdp).state, KindState::kSilent);
    EXPECT_EQ(script.kind(kUdp).duplicates, 1u);
}

TEST(KindInsightTest, ThisDevicesOwnAbsenceIsNobodysSilence) {
    PeerScript script = wellFor10s();
    script.forgetEvents();
    script.sleep(3600000);
    script.pass(20000);
    EXPECT_TRUE(script.events().empty());
    EXPECT_EQ(script.kind(kUdp).lost, 0u);
    EXPECT_EQ(script.kind(kUdp).jitter100ns, 0u);
}

TEST(KindInsightTest, ProbesThatWereLostWhileThisDeviceWasAwayAreNotLostOnTheNetworkEvenIfSomeHadBeenKept) {
    PeerScript script = wellFor10s();
    script.forgetEvents();
    const std::int32_t first = script.number(kUdp);
    script.sleep(60000);
    for (std::int32_t kept = first; kept < first + 20; ++kept) {
        script.hear(kUdp, kept);
    }
    script.pass(20000);
    EXPECT_TRUE(script.events().empty());
    EXPECT_EQ(script.kind(kUdp).lost, 0u);
}

TEST(KindInsightTest, ASilenceIsCountedFromTheEndOfAnAbsence) {
    PeerScript script = wellFor10s();
    script.block({kUdp});
    script.sleep(60000);
    script.pass(3000);
    EXPECT_EQ(script.kind(kUdp).state, KindState::kOk);
    script.pass(1000);
    expectState(script, KindState::kSilent, 71000);
}

TEST(KindInsightTest, APeerWithALongerPeriodIsKnownByItsSpacing) {
    PeerScript script;
    script.watch({kUdp});
    script.setPeerPeriod(30000);
    script.send({kUdp});
    script.pass(120000);
    script.forgetEvents();
    script.pass(3600000);
    EXPECT_TRUE(script.events().empty());
    script.block({kUdp});
    script.pass(50000);
    EXPECT_EQ(script.kind(kUdp).state, KindState::kOk);
    script.pass(20000);
    EXPECT_EQ(script.kind(kUdp).state, KindState::kSilent);
}

TEST(KindInsightTest, APeerThatReturnsToThePeriodOfThisDeviceIsKnownToo) {
    PeerScript script;
    script.watch({kUdp});
    script.setPeerPeriod(30000);
    script.send({kUdp});
    script.pass(300000);
    script.setPeerPeriod(1000);
    script.pass(60000);
    script.block({kUdp});
    script.pass(5000);
    EXPECT_EQ(script.kind(kUdp).state, KindState::kSilent);
}

TEST(KindInsightTest, APeriodOfNothingOrOneMillisecondOr200sInventsNothing) {
    for (const std::int64_t periodMs : {0, 1, 10, 1000, 200000}) {
        PeerScript script(periodMs);
        script.watch({kUdp});
        script.send({kUdp});
        script.pass(std::max<std::int64_t>(60000, periodMs * 20));
        EXPECT_EQ(script.events(InsightEvent::kKindChanged).size(), 1u) << periodMs;
        EXPECT_EQ(script.kind(kUdp).state, KindState::kOk) << periodMs;
        EXPECT_EQ(script.kind(kUdp).lost, 0u) << periodMs;
        EXPECT_EQ(script.kind(kUdp).duplicates, 0u) << periodMs;
        EXPECT_EQ(script.kind(kUdp).jitter100ns, 0u) << periodMs;
    }
}

TEST(KindInsightTest, AWallClockThatIsSetMovesNoSpan) {
    PeerScript script = wellFor10s();
    script.forgetEvents();
    script.setWallStep(-86400000);
    script.pass(10000);
    script.setWallStep(86400000);
    script.pass(10000);
    EXPECT_TRUE(script.events().empty());
    script.block({kUdp});
    script.pass(4000);
    const KindValues kind = script.kind(kUdp);
    EXPECT_EQ(kind.state, KindState::kSilent);
    EXPECT_EQ(PeerScript::msOf(kind.since), 29300);
    EXPECT_EQ(kind.since.wall100ns, script.stampAt(29300, 86400000).wall100ns);
}

TEST(KindInsightTest, ThreeProbesOfTenThatComeInAnyDelayBelowThePeriodAreNoEvent) {
    PeerScript script(1000);
    script.watch({kUdp});
    std::mt19937 random(5);
    for (std::int32_t number = 0; number < 3000; ++number) {
        const std::int64_t delay = static_cast<std::int64_t>(random() % 900);
        script.pass(delay);
        script.hear(kUdp, number);
        script.pass(1000 - delay);
    }
    EXPECT_EQ(script.events(InsightEvent::kKindChanged).size(), 1u);
}

// ---- Figures

TEST(KindInsightTest, ArrivalJitterIsTheFilteredDistanceOfSpacingFromThePeriod) {
    PeerScript script(100);
    script.watch({kUdp});
    for (std::int32_t number = 0; number < 400; ++number) {
        script.hear(kUdp, number);
        script.pass(number % 2 == 0 ? 96 : 104);
    }
    EXPECT_NEAR(script.kind(kUdp).jitter100ns, 40000, 100);
    EXPECT_EQ(script.kind(kUdp).jitterCount, 399u);
}

TEST(KindInsightTest, ALostProbeDoesNotDisturbTheJitter) {
    PeerScript script = wellFor10s(100);
    script.block({kUdp});
    script.pass(500);
    script.unblock({kUdp});
    script.pass(500);
    EXPECT_EQ(script.kind(kUdp).jitter100ns, 0u);
    EXPECT_EQ(script.kind(kUdp).lost, 5u);
}

TEST(KindInsightTest, EachProbeTwiceIsAllDuplicatesAndNothingElse) {
    PeerScript script(100);
    script.watch({kUdp});
    for (std::int32_t number = 0; number < 500; ++number) {
        script.hear(kUdp, number);
        script.hear(kUdp, number);
        script.pass(100);
    }
    const KindValues kind = script.kind(kUdp);
    EXPECT_EQ(kind.received, 500u);
    EXPECT_EQ(kind.duplicates, 500u);
    EXPECT_EQ(kind.reordered, 0u);
    EXPECT_EQ(kind.lost, 0u);
    EXPECT_TRUE(script.events(InsightEvent::kRestarted).empty());
}

TEST(KindInsightTest, ResetSetsFiguresToZeroAndKeepsStateAndTimes) {
    PeerScript script = wellFor10s();
    script.block({kUdp});
    script.pass(2000);
    script.unblock({kUdp});
    script.pass(3000);
    script.hear(kUdp, script.number(kUdp) - 1);
    const KindValues before = script.kind(kUdp);
    EXPECT_EQ(before.lost, 2u);
    EXPECT_EQ(before.duplicates, 1u);
    script.peer().reset();
    KindValues after = script.kind(kUdp);
    EXPECT_EQ(after.state, KindState::kLossy);
    EXPECT_EQ(after.since.monotonic100ns, before.since.monotonic100ns);
    EXPECT_EQ(after.lastHeard.monotonic100ns, before.lastHeard.monotonic100ns);
    EXPECT_EQ(after.received, 0u);
    EXPECT_EQ(after.lost, 0u);
    EXPECT_EQ(after.duplicates, 0u);
    EXPECT_EQ(after.jitterCount, 0u);
    script.hear(kUdp, script.number(kUdp) - 4);  // one of the two that were lost
    EXPECT_EQ(script.kind(kUdp).lost, 0u);
    script.pass(5000);
    EXPECT_EQ(script.kind(kUdp).received, 6u);
}

}  // namespace
