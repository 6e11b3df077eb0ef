#include "VTR_CUdpConnector.h"

#include <gmock/gmock.h>

#include "DrivenProbe.h"
#include "RecordingSink.h"
#include "ScopedInstance.h"
#include "ScriptedClock.h"
#include "ScriptedSocket.h"

using testing::Each;
using testing::ElementsAre;
using testing::Field;
using testing::StartsWith;

namespace {

class UdpConnectorTest : public testing::Test {
protected:
    typedef DrivenConnector<VTR_CUdpConnector> Driven;

    ScriptedClock clock;
    ScriptedSocket sockets;
    ScopedInstance<SPW_CSocket> installed{sockets};
    RecordingSink sink;
};

}  // namespace

TEST_F(UdpConnectorTest, ProbeReachesThePeer) {
    const SPW_Socket peer = sockets.openUdpAt(SPW_CIpAddress(10, 0, 0, 2), 5009);
    Driven connector(&sink, u"10.0.0.2", 5009u, u"me", 0);
    connector.sendStep();
    char bytes[100];
    SPW_CIpAddress sender;
    const int count = sockets.receiveFrom(peer, bytes, sizeof bytes, sender);
    EXPECT_EQ(std::string(bytes, static_cast<std::size_t>(count)), std::string("Vantiro Diagnostic|0|me\0", 24));
}

TEST_F(UdpConnectorTest, ReportsSentWhetherOrNotAnybodyListens) {
    Driven connector(&sink, u"10.0.0.2", 5009u, u"me", 0);
    connector.sendStep();
    connector.sendStep();
    EXPECT_THAT(sink.take(), ElementsAre("sent 2 5009 10.0.0.2 #0: me", "sent 2 5009 10.0.0.2 #1: me"));
}

TEST_F(UdpConnectorTest, HowItGetsOnIsToldWhenItChanges) {
    Driven connector(&sink, u"10.0.0.2", 5009u, u"me", 0);
    connector.sendStep();
    connector.sendStep();
    EXPECT_THAT(sink.takeOutStates(), ElementsAre("2 10.0.0.2 open"));
    sockets.failNext(ScriptedSocket::kSendTo, kSockNetUnreachable, 2);
    sockets.failNext(ScriptedSocket::kOpenUdp, kSockNoBuffers);
    for (int step = 0; step < 3; ++step) {
        connector.sendStep();
    }
    EXPECT_THAT(sink.takeOutStates(),
                ElementsAre("2 10.0.0.2 failed 10051", "2 10.0.0.2 failed 10055", "2 10.0.0.2 failed 10051"));
    connector.sendStep();
    EXPECT_THAT(sink.takeOutStates(), ElementsAre("2 10.0.0.2 open"));
}

TEST_F(UdpConnectorTest, NeverConnects) {
    Driven connector(&sink, u"10.0.0.2", 5009u, u"me", 0);
    for (int step = 0; step < 5; ++step) {
        connector.sendStep();
    }
    EXPECT_EQ(sockets.calls(ScriptedSocket::kConnect), 0);
    EXPECT_EQ(sockets.calls(ScriptedSocket::kSetMulticastTtl), 0);
}

TEST_F(UdpConnectorTest, AllProbesLeaveFromOneSocketBoundOnce) {
    Driven connector(&sink, u"10.0.0.2", 5009u, u"me", 0);
    for (int step = 0; step < 5; ++step) {
        connector.sendStep();
    }
    EXPECT_EQ(sockets.calls(ScriptedSocket::kBind), 1);
    EXPECT_THAT(sockets.sent(), Each(Field(&ScriptedSocket::Sent::socket, sockets.sent().at(0).socket)));
    EXPECT_GE(sockets.localPort(sockets.sent().at(0).socket), 1024);
}

TEST_F(UdpConnectorTest, SendsFromAPortThatThePlatformChooses) {
    // The device's own listener has the port to which the probes go.
    ASSERT_EQ(sockets.bind(sockets.openUdp(), 5009), 0);
    Driven connector(&sink, u"10.0.0.2", 5009u, u"me", 0);
    connector.sendStep();
    EXPECT_THAT(sink.take(), ElementsAre("sent 2 5009 10.0.0.2 #0: me"));
}

TEST_F(UdpConnectorTest, TargetThatIsNoDottedQuadIsNotResolvedAndFailsAtTheSocketLayer) {
    sockets.addHost(u"peer", {SPW_CIpAddress(10, 0, 0, 2)});
    for (const char16_t* target : {u"peer", u"10.0.0.256", u""}) {
        Driven connector(&sink, target, 5009u, u"me", 0);
        connector.sendStep();
        EXPECT_THAT(sink.take(), ElementsAre(StartsWith("error 2 5009 " + std::string(SPW_CString(target).toAnsi()) +
                                                        " 10013: send failed 10013")));
    }
    EXPECT_EQ(sockets.calls(ScriptedSocket::kResolve), 0);
}
