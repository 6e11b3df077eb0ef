#include "InsightReport.h"

#include <gtest/gtest.h>

#include <string>

#include "ScriptedClock.h"
#include "StringPrinting.h"

namespace {

constexpr std::uint64_t kSecond = 10000000;

class InsightReportTest : public testing::Test {
protected:
    // Seconds after 14:07:09.
    static Stamp at(std::uint64_t second) { return {second * kSecond, ScriptedClock::kStart + second * kSecond}; }
    bool says(const char* text) const {
        const std::string report = insightReport(m_values, at(60).monotonic100ns).toAnsi();
        return report.find(text) != std::string::npos;
    }

    ScriptedClock m_clock;
    PeerInsightValues m_values;
};

TEST_F(InsightReportTest, WhereNothingIsKnownItSaysThat) {
    m_values.hops = -1;
    EXPECT_EQ(insightReport(m_values, 0), u"Nothing is known yet.\n");
}

TEST_F(InsightReportTest, EachSelectedKindSaysHowItComesIn) {
    KindValues& udp = m_values.kinds[kUdp];
    udp.state = KindState::kLossy;
    udp.since = at(3);
    udp.lastHeard = at(5);
    udp.jitterCount = 4;
    udp.jitter100ns = 6900;
    udp.duplicates = 1;
    udp.reordered = 2;
    EXPECT_TRUE(says("Udp in: lossy since 14:07:12, last heard 14:07:14, jitter 0.69 ms, 1 repeat, 2 out of order\n"));
    EXPECT_FALSE(says("Tcpip"));
    m_values.kinds[kPing].state = KindState::kSilent;
    m_values.kinds[kPing].since = at(0);
    EXPECT_TRUE(says("Ping in: silent since 14:07:09, last heard -\n"));
}

TEST_F(InsightReportTest, SendingSaysWhatHasBecomeOfIt) {
    OutValues& out = m_values.kinds[kTcpip].out;
    EXPECT_EQ(outText(kTcpip, out), u"") << "nothing was sent";
    out.state = SendState::kOpen;
    out.since = at(1);
    EXPECT_EQ(outText(kTcpip, out), u"connected since 14:07:10");
    EXPECT_EQ(outText(kUdp, out), u"sent since 14:07:10");
    EXPECT_EQ(outText(kPing, out), u"answered since 14:07:10");
    out.state = SendState::kRefused;
    out.lastError = 10061;
    out.lastErrorWall100ns = at(9).wall100ns;
    EXPECT_EQ(outText(kTcpip, out), u"refused since 14:07:10 (error 10061)");
    EXPECT_EQ(outWord(kTcpip, out), u"refused 10061");
    out.state = SendState::kUnanswered;
    out.unansweredPackets = 3;
    out.repetitions = 1;
    EXPECT_TRUE(
        says("Tcpip out: unanswered since 14:07:10, 3 packets not acknowledged, repeated 1 time, latest "
             "error 10061 at 14:07:18\n"));
    EXPECT_EQ(outWord(kTcpip, out), u"unanswered");
}

TEST_F(InsightReportTest, AnOutageThatLastsHasNoEnd) {
    OutageValues outage;
    outage.beganWall100ns = at(0).wall100ns;
    outage.span100ns = 18 * kSecond;
    outage.kinds = 1 << kPing;
    EXPECT_EQ(outageLine(outage), u"14:07:09 -           0:18  Ping");
    outage.isOver = true;
    outage.endedWall100ns = at(18).wall100ns;
    outage.missed = 1;
    EXPECT_EQ(outageLine(outage), u"14:07:09 - 14:07:27  0:18  Ping, 1 probe missed");
}

TEST_F(InsightReportTest, OutagesAndRestartsAreCountedBeyondThoseThatAreKept) {
    m_values.outages = 1;
    m_values.outagesInAll = 40;
    m_values.restarts = 2;
    m_values.restartsInAll = 2;
    m_values.restartWall100ns[0] = at(1).wall100ns;
    m_values.restartWall100ns[1] = at(2).wall100ns;
    EXPECT_TRUE(says("40 outages, the latest first:\n"));
    EXPECT_TRUE(says("Its program was restarted 2 times: 14:07:11 14:07:10\n"));
}

}  // namespace
