#include "ProbeConnector.h"

#include <gmock/gmock.h>

#include <algorithm>

#include "DrivenProbe.h"
#include "RecordingSink.h"
#include "ScopedInstance.h"
#include "ScriptedClock.h"
#include "ScriptedSocket.h"
#include "VTR_CUdpConnector.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr std::int32_t kPeriodMs = 1000;

// Asks by its flags for operations that it does not have.
class BareConnector : public ProbeConnector {
public:
    BareConnector(ProbeEventSink* sink, bool needsConnect, bool needsTtl)
        : ProbeConnector(kUdpConnector, sink, u"10.0.0.2", 5009, u"me", 0, 0, needsConnect, needsTtl) {}
    ~BareConnector() override { endThread(); }

protected:
    SPW_Socket createSocket() override { return SPW_CSocket::instance->openUdp(); }
    int sendProbe(SPW_Socket socket, const SPW_CString& address, std::uint32_t port, const void* bytes,
                  int length) override {
        return sendDatagram(socket, address, port, bytes, length);
    }
};

class ProbeConnectorTest : public testing::Test {
protected:
    typedef DrivenConnector<VTR_CUdpConnector> Driven;

    // How many probes the sink has heard of since it was last asked. A stop may hit a send, which is then reported as
    // failed; it has used up no number and put nothing on the wire.
    std::size_t takeNumberOfSent() {
        const std::vector<ProbeReport> reports = sink.takeReports();
        return static_cast<std::size_t>(std::count_if(reports.begin(), reports.end(), [](const ProbeReport& report) {
            return report.what == ProbeReport::kSent;
        }));
    }
    // From one due time to the next.
    void passPeriod() { clock.advanceMs(kPeriodMs); }

    ScriptedClock clock;
    ScriptedSocket sockets;
    ScopedInstance<SPW_CSocket> installed{sockets};
    RecordingSink sink;
};

}  // namespace

// --- Schedule

TEST_F(ProbeConnectorTest, FirstProbeGoesOutAtOnceWithSequenceZero) {
    Driven connector(&sink, u"10.0.0.2", 5009u, u"me", 100000);
    connector.sendStep();
    EXPECT_THAT(clock.sleeps(), IsEmpty());
    EXPECT_THAT(sink.take(), ElementsAre("sent 2 5009 10.0.0.2 #0: me"));
}

TEST_F(ProbeConnectorTest, PeriodOfZeroSendsAtEveryStepWithoutASleep) {
    Driven connector(&sink, u"10.0.0.2", 5009u, u"me", 0);
    for (int step = 0; step < 3; ++step) {
        connector.sendStep();
    }
    EXPECT_THAT(clock.sleeps(), IsEmpty());
    EXPECT_THAT(sink.takeReports(), ElementsAre(IsSent(0), IsSent(1), IsSent(2)));
}

TEST_F(ProbeConnectorTest, SleepsTwoMillisecondsWithTwentyFiveLeft) {
    Driven connector(&sink, u"10.0.0.2", 5009u, u"me", 25);
    connector.sendStep();
    connector.sendStep();
    EXPECT_THAT(clock.sleeps(), ElementsAre(2u));
    EXPECT_EQ(sink.take().size(), 1u);
}

TEST_F(ProbeConnectorTest, SwitchedOffSleepsASecondAndSendsNothing) {
    Driven connector(&sink, u"10.0.0.2", 5009u, u"me", 0);
    connector.switchOff();
    connector.sendStep();
    EXPECT_THAT(clock.sleeps(), ElementsAre(1000u));
    EXPECT_THAT(sink.take(), IsEmpty());
}

// --- Packets

TEST_F(ProbeConnectorTest, ProbeIsThePacketWithItsNul) {
    Driven connector(&sink, u"10.0.0.2", 5009u, u"1.0|me||", 0);
    connector.sendStep();
    const std::vector<ScriptedSocket::Sent> sent = sockets.sent();
    ASSERT_EQ(sent.size(), 1u);
    EXPECT_EQ(sent[0].bytes, std::string("Vantiro Diagnostic|0|1.0|me||\0", 30));
    EXPECT_EQ(sent[0].address, SPW_CIpAddress(10, 0, 0, 2));
    EXPECT_EQ(sent[0].port, 5009);
}

TEST_F(ProbeConnectorTest, PortOnTheWireIsTheLowSixteenBits) {
    Driven connector(&sink, u"10.0.0.2", 65536u + 5009u, u"me", 0);
    connector.sendStep();
    EXPECT_EQ(sockets.sent().at(0).port, 5009);
    EXPECT_THAT(sink.take(), ElementsAre("sent 2 70545 10.0.0.2 #0: me"));
}

// --- Failures

TEST_F(ProbeConnectorTest, CreateFailureIsReportedAndTriedAgainOnePeriodLater) {
    sockets.failNext(ScriptedSocket::kOpenUdp, kSockTooManyFiles);
    Driven connector(&sink, u"10.0.0.2", 5009u, u"me", kPeriodMs);
    connector.sendStep();
    EXPECT_THAT(sink.take(), ElementsAre("error 2 5009 10.0.0.2 10024: createSocket failed 10024"));
    connector.sendStep();
    EXPECT_THAT(sink.take(), IsEmpty());
    passPeriod();
    connector.sendStep();
    EXPECT_THAT(sink.take(), ElementsAre("sent 2 5009 10.0.0.2 #0: me"));
}

TEST_F(ProbeConnectorTest, BindFailureIsReportedAndTheSocketClosed) {
    sockets.failNext(ScriptedSocket::kBind, kSockAddressInUse);
    Driven connector(&sink, u"10.0.0.2", 5009u, u"me", kPeriodMs);
    connector.sendStep();
    EXPECT_THAT(sink.take(), ElementsAre("error 2 5009 10.0.0.2 10048: bind failed 10048"));
    EXPECT_EQ(sockets.openSockets(), 0);
    passPeriod();
    connector.sendStep();
    EXPECT_THAT(sink.take(), ElementsAre("sent 2 5009 10.0.0.2 #0: me"));
}

TEST_F(ProbeConnectorTest, SendFailureIsReportedAndTheProbeSentAgainWithTheSameSequence) {
    Driven connector(&sink, u"10.0.0.2", 5009u, u"me", kPeriodMs);
    connector.sendStep();
    sockets.failNext(ScriptedSocket::kSendTo, kSockNetUnreachable, 2);
    for (int step = 0; step < 4; ++step) {
        passPeriod();
        connector.sendStep();
    }
    EXPECT_THAT(sink.take(),
                ElementsAre("sent 2 5009 10.0.0.2 #0: me", "error 2 5009 10.0.0.2 10051: send failed 10051",
                            "error 2 5009 10.0.0.2 10051: send failed 10051", "sent 2 5009 10.0.0.2 #1: me",
                            "sent 2 5009 10.0.0.2 #2: me"));
    EXPECT_EQ(sockets.calls(ScriptedSocket::kOpenUdp), 3);
    EXPECT_EQ(sockets.openSockets(), 1);
}

TEST_F(ProbeConnectorTest, MissingSetTtlIsReportedWithEachSocketAndTheSocketUsed) {
    DrivenConnector<BareConnector> connector(&sink, false, true);
    connector.sendStep();
    connector.sendStep();
    EXPECT_THAT(sink.take(), ElementsAre("error 2 5009 10.0.0.2 10045: set ttl failed 10045",
                                         "sent 2 5009 10.0.0.2 #0: me", "sent 2 5009 10.0.0.2 #1: me"));
}

TEST_F(ProbeConnectorTest, MissingConnectIsReportedAtEveryAttemptAndNothingSent) {
    DrivenConnector<BareConnector> connector(&sink, true, false);
    connector.sendStep();
    connector.sendStep();
    EXPECT_THAT(sink.take(),
                ElementsAre(testing::HasSubstr(": connect failed "), testing::HasSubstr(": connect failed ")));
    EXPECT_EQ(sockets.calls(ScriptedSocket::kOpenUdp), 2);
    EXPECT_EQ(sockets.openSockets(), 0);
    EXPECT_THAT(sockets.sent(), IsEmpty());
}

// --- Start and stop

TEST_F(ProbeConnectorTest, SecondStartIsRefused) {
    VTR_CUdpConnector connector(&sink, u"10.0.0.2", 5009, u"me", 0);
    EXPECT_EQ(connector.StartSending(), 0u);
    EXPECT_EQ(connector.StartSending(), kProbeAlreadyRunning);
    EXPECT_EQ(kProbeAlreadyRunning, 602u);
    EXPECT_TRUE(connector.GetLastErrorText().isEmpty());
    EXPECT_EQ(connector.StopSending(), 0u);
}

TEST_F(ProbeConnectorTest, StopOfAnIdleConnectorIsRefused) {
    VTR_CUdpConnector connector(&sink, u"10.0.0.2", 5009, u"me", 0);
    EXPECT_EQ(connector.StopSending(), kProbeNotRunning);
    EXPECT_EQ(kProbeNotRunning, 603u);
    EXPECT_STREQ(connector.GetLastErrorText().toAnsi(), "Not currently sending");
    // Reading it does not empty it.
    EXPECT_STREQ(connector.GetLastErrorText().toAnsi(), "Not currently sending");
}

TEST_F(ProbeConnectorTest, SendsOnItsOwnThreadUntilStopped) {
    VTR_CUdpConnector connector(&sink, u"10.0.0.2", 5009, u"me", 0);
    ASSERT_EQ(connector.StartSending(), 0u);
    EXPECT_TRUE(sink.waitFor(5));
    ASSERT_EQ(connector.StopSending(), 0u);
    EXPECT_EQ(sockets.sent().size(), takeNumberOfSent());
    EXPECT_EQ(sockets.openSockets(), 0);
    EXPECT_THAT(sink.take(), IsEmpty());
}

TEST_F(ProbeConnectorTest, FirstProbeAfterARestartFailsOnTheClosedSocket) {
    VTR_CUdpConnector connector(&sink, u"10.0.0.2", 5009, u"me", 0);
    ASSERT_EQ(connector.StartSending(), 0u);
    ASSERT_TRUE(sink.waitFor(1));
    ASSERT_EQ(connector.StopSending(), 0u);
    const std::size_t used = sockets.sent().size();
    ASSERT_EQ(connector.StartSending(), 0u);
    ASSERT_TRUE(sink.waitFor(used + 3));
    ASSERT_EQ(connector.StopSending(), 0u);
    // Where the stop had hit a send, the failure stands there already before the restart.
    const std::vector<ProbeReport> reports = sink.takeReports();
    EXPECT_EQ(reports[used].line(), "error 2 5009 10.0.0.2 10038: send failed 10038");
    EXPECT_THAT(reports[used + 1], IsSent(static_cast<int>(used)));
    EXPECT_THAT(reports[used + 2], IsSent(static_cast<int>(used + 1)));
}

TEST_F(ProbeConnectorTest, HoldsTheSocketLibraryFromConstructionToDestruction) {
    {
        VTR_CUdpConnector first(&sink, u"10.0.0.2", 5009, u"me", 0);
        VTR_CUdpConnector second(&sink, u"10.0.0.3", 5009, u"me", 0);
        EXPECT_EQ(sockets.startups(), 2);
    }
    EXPECT_EQ(sockets.startups(), 0);
}

TEST_F(ProbeConnectorTest, LibraryThatCannotBeHadIsNotGivenBack) {
    (void)sockets.startup();
    sockets.failNext(ScriptedSocket::kStartup, kSockNetDown);
    { VTR_CUdpConnector connector(&sink, u"10.0.0.2", 5009, u"me", 0); }
    EXPECT_EQ(sockets.startups(), 1);
}

TEST_F(ProbeConnectorTest, StepThatMeetsTheEndNeitherSleepsNorSends) {
    Driven connector(&sink, u"10.0.0.2", 5009u, u"me", 0);
    connector.end();
    connector.sendStep();
    EXPECT_THAT(clock.sleeps(), IsEmpty());
    EXPECT_THAT(sink.take(), IsEmpty());
}

TEST_F(ProbeConnectorTest, DestructionClosesTheSocket) {
    {
        VTR_CUdpConnector connector(&sink, u"10.0.0.2", 5009, u"me", 0);
        ASSERT_EQ(connector.StartSending(), 0u);
        ASSERT_TRUE(sink.waitFor(1));
    }
    EXPECT_EQ(sockets.openSockets(), 0);
}

// --- Sequence

TEST_F(ProbeConnectorTest, PastTheGreatestNumberComesTheLeastOne) {
    Driven connector(&sink, u"10.0.0.2", 5009, u"me", 0);
    connector.setSequence(2147483647);
    connector.sendStep();
    connector.sendStep();
    connector.sendStep();
    EXPECT_THAT(sink.takeReports(), ElementsAre(IsSent(2147483647), IsSent(-2147483647 - 1), IsSent(-2147483647)));
    ASSERT_EQ(sockets.sent().size(), 3u);
    EXPECT_EQ(sockets.sent()[1].bytes, std::string("Vantiro Diagnostic|-2147483648|me") + '\0');
}
