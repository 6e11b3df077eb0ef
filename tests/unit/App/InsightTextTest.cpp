#include "InsightText.h"

#include <gtest/gtest.h>

#include "ScriptedClock.h"
#include "StringPrinting.h"

namespace {

constexpr std::uint64_t kSecond = 10000000;
constexpr std::uint32_t kMs = 10000;

InsightEvent eventOf(InsightEvent::Type type) {
    InsightEvent event;
    event.type = type;
    SPW_CString(u"10.0.0.7").copyTo(event.address, InsightEvent::kAddressRoom);
    return event;
}

TEST(InsightTextTest, SpansAreMinutesAndSecondsAndHoursOnlyWhereThereAreAny) {
    EXPECT_EQ(spanText(0), u"0:00");
    EXPECT_EQ(spanText(19 * kSecond - 1), u"0:18");
    EXPECT_EQ(spanText(125 * kSecond), u"2:05");
    EXPECT_EQ(spanText(3725 * kSecond), u"1:02:05");
    EXPECT_EQ(spanText(100 * 3600 * kSecond), u"100:00:00");
}

TEST(InsightTextTest, RoundTripTimesHaveAsManyDigitsAsTell) {
    EXPECT_EQ(roundTripText(0), u"0.00 ms");
    EXPECT_EQ(roundTripText(3100), u"0.31 ms");
    EXPECT_EQ(roundTripText(kMs - 1), u"1.0 ms");
    EXPECT_EQ(roundTripText(kMs + kMs / 4), u"1.3 ms");
    EXPECT_EQ(roundTripText(10 * kMs - 1), u"10 ms");
    EXPECT_EQ(roundTripText(80 * kMs), u"80 ms");
    EXPECT_EQ(roundTripText(1000 * kMs - 1), u"1.0 s");
    EXPECT_EQ(roundTripText(1250 * kMs), u"1.3 s");
    EXPECT_EQ(roundTripText(0xFFFFFFFF), u"429.5 s");
}

TEST(InsightTextTest, ATimeThatNeverCameIsADash) {
    ScriptedClock clock;
    EXPECT_EQ(clockText(0), u"-");
    EXPECT_EQ(clockText(clock.wall100ns()), u"14:07:09");
    clock.setZoneMinutes(120);
    EXPECT_EQ(clockText(clock.wall100ns()), u"16:07:09") << "local time";
}

TEST(InsightTextTest, EachStateHasItsWord) {
    EXPECT_EQ(SPW_CString(stateWord(PeerState::kNone)), u"");
    EXPECT_EQ(SPW_CString(stateWord(PeerState::kWaiting)), u"waiting");
    EXPECT_EQ(SPW_CString(stateWord(PeerState::kReachable)), u"reachable");
    EXPECT_EQ(SPW_CString(stateWord(PeerState::kDegraded)), u"degraded");
    EXPECT_EQ(SPW_CString(stateWord(PeerState::kPartial)), u"partial");
    EXPECT_EQ(SPW_CString(stateWord(PeerState::kSilent)), u"silent");
    EXPECT_EQ(SPW_CString(stateWord(KindState::kOk)), u"ok");
    EXPECT_EQ(SPW_CString(stateWord(KindState::kSilent)), u"silent");
    EXPECT_EQ(SPW_CString(stateWord(SendState::kOpen)), u"open");
    EXPECT_EQ(SPW_CString(stateWord(SendState::kFailed)), u"failed");
}

TEST(InsightTextTest, KindsStandInTheOrderOfTheirColumns) {
    EXPECT_EQ(kindNames(1 << kPing | 1 << kUdp | 1 << kMulticast), u"Mcast, Udp, Ping");
    EXPECT_EQ(kindNames(0), u"");
}

TEST(InsightTextTest, AChangeOfStateSaysWhatWasBeforeAndHowLong) {
    InsightEvent event = eventOf(InsightEvent::kPeerChanged);
    event.peerBefore = PeerState::kReachable;
    event.peerAfter = PeerState::kSilent;
    event.span100ns = 125 * kSecond;
    EXPECT_EQ(eventSentence(event), u"10.0.0.7 is silent, after 2:05 reachable");
    event.peerBefore = PeerState::kNone;
    SPW_CString(u"door").copyTo(event.name, InsightEvent::kNameRoom);
    EXPECT_EQ(eventSentence(event), u"10.0.0.7 (door) is silent");
}

TEST(InsightTextTest, TheEndOfASilenceSaysWhatWasMissed) {
    InsightEvent event = eventOf(InsightEvent::kKindChanged);
    event.protocol = kUdp;
    event.kindBefore = KindState::kSilent;
    event.kindAfter = KindState::kOk;
    event.span100ns = 18 * kSecond;
    event.missed = 18;
    EXPECT_EQ(eventSentence(event), u"10.0.0.7: Udp is ok, after 0:18 silent, 18 probes missed");
    event.missed = 1;
    EXPECT_EQ(eventSentence(event), u"10.0.0.7: Udp is ok, after 0:18 silent, 1 probe missed");
    event = eventOf(InsightEvent::kOutageEnded);
    event.kinds = 1 << kUdp | 1 << kPing;
    event.span100ns = 18 * kSecond;
    event.missed = 36;
    EXPECT_EQ(eventSentence(event), u"10.0.0.7: outage of Udp, Ping is over after 0:18, 36 probes missed");
}

TEST(InsightTextTest, AllElseThatHappensHasItsSentence) {
    InsightEvent event = eventOf(InsightEvent::kOutageBegan);
    event.kinds = 1 << kPing;
    EXPECT_EQ(eventSentence(event), u"10.0.0.7: outage of Ping has begun");
    event = eventOf(InsightEvent::kOutChanged);
    event.protocol = kTcpip;
    event.outAfter = SendState::kRefused;
    event.code = 10061;
    EXPECT_EQ(eventSentence(event), u"10.0.0.7: sending by Tcpip is refused (error 10061)");
    event.outAfter = SendState::kFailed;
    event.code = 10051;
    EXPECT_EQ(eventSentence(event), u"10.0.0.7: sending by Tcpip has failed (error 10051)");
    event.outAfter = SendState::kTimedOut;
    event.code = 10060;
    EXPECT_EQ(eventSentence(event), u"10.0.0.7: sending by Tcpip has timed out (error 10060)");
    event.outAfter = SendState::kOpen;
    EXPECT_EQ(eventSentence(event), u"10.0.0.7: sending by Tcpip works again");
    EXPECT_EQ(eventSentence(eventOf(InsightEvent::kRestarted)), u"10.0.0.7: its program was restarted");
    EXPECT_EQ(eventSentence(eventOf(InsightEvent::kDiscovered)), u"10.0.0.7 was discovered");
    EXPECT_EQ(eventSentence(eventOf(InsightEvent::kGivenUp)), u"10.0.0.7 was given up, to make room for another");
    event = eventOf(InsightEvent::kHopsChanged);
    event.hopsBefore = 1;
    event.hopsAfter = 3;
    EXPECT_EQ(eventSentence(event), u"10.0.0.7: 3 routers between, after 1 router between");
}

TEST(InsightTextTest, RoutersAreSaidWhereTheyAreKnown) {
    EXPECT_EQ(hopsText(-1), u"");
    EXPECT_EQ(hopsText(0), u"no router between");
    EXPECT_EQ(hopsText(1), u"1 router between");
    EXPECT_EQ(hopsText(2), u"2 routers between");
}

TEST(InsightTextTest, ProbesToAllPeersBelongToNone) {
    InsightEvent event;
    event.type = InsightEvent::kProbesNotMade;
    event.protocol = kMulticast;
    EXPECT_EQ(eventSentence(event), u"all peers: no Mcast probes are sent");
}

}  // namespace
