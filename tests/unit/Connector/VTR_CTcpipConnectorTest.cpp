#include "VTR_CTcpipConnector.h"

#include <gmock/gmock.h>

#include "DrivenProbe.h"
#include "RecordingSink.h"
#include "ScopedInstance.h"
#include "ScriptedClock.h"
#include "ScriptedSocket.h"
#include "SocketForwarder.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr std::int32_t kPeriodMs = 1000;

class TcpipConnectorTest : public testing::Test {
protected:
    typedef DrivenConnector<VTR_CTcpipConnector> Driven;

    // A step at the next due time.
    void stepOnePeriodLater() {
        clock.advanceMs(kPeriodMs);
        connector.sendStep();
    }
    SPW_Socket acceptAtPeer() {
        SPW_CIpAddress from;
        return sockets.accept(server, from);
    }
    std::string receiveAtPeer(SPW_Socket connection) {
        char bytes[200];
        const int count = sockets.receive(connection, bytes, sizeof bytes);
        return count < 0 ? "failed" : std::string(bytes, static_cast<std::size_t>(count));
    }

    ScriptedClock clock;
    ScriptedSocket sockets;
    ScopedInstance<SPW_CSocket> installed{sockets};
    RecordingSink sink;
    const SPW_Socket server = sockets.listenAt(SPW_CIpAddress(10, 0, 0, 2), 5009);
    Driven connector{&sink, u"10.0.0.2", 5009u, u"me", kPeriodMs};
};

}  // namespace

TEST_F(TcpipConnectorTest, OneConnectionCarriesAllProbesOneBehindTheOther) {
    connector.sendStep();
    stepOnePeriodLater();
    const SPW_Socket connection = acceptAtPeer();
    EXPECT_EQ(receiveAtPeer(connection), std::string("Vantiro Diagnostic|0|me\0Vantiro Diagnostic|1|me\0", 48));
    EXPECT_EQ(sockets.calls(ScriptedSocket::kConnect), 1);
    EXPECT_THAT(sink.take(), ElementsAre("sent 0 5009 10.0.0.2 #0: me", "sent 0 5009 10.0.0.2 #1: me"));
}

TEST_F(TcpipConnectorTest, RefusalIsReportedOncePerPeriodUntilThePeerAccepts) {
    sockets.failNext(ScriptedSocket::kConnect, kSockRefused, 3);
    connector.sendStep();
    connector.sendStep();
    stepOnePeriodLater();
    stepOnePeriodLater();
    EXPECT_THAT(sink.take(), ElementsAre("error 0 5009 10.0.0.2 10061: connect failed 10061",
                                         "error 0 5009 10.0.0.2 10061: connect failed 10061",
                                         "error 0 5009 10.0.0.2 10061: connect failed 10061"));
    EXPECT_EQ(sockets.openSockets(), 0);
    stepOnePeriodLater();
    EXPECT_THAT(sink.take(), ElementsAre("sent 0 5009 10.0.0.2 #0: me"));
    EXPECT_EQ(sockets.calls(ScriptedSocket::kOpenTcp), 4);
}

TEST_F(TcpipConnectorTest, PeerThatClosesIsConnectedAfreshAndGetsTheFailedProbeAgain) {
    connector.sendStep();
    const SPW_Socket first = acceptAtPeer();
    EXPECT_EQ(receiveAtPeer(first), std::string("Vantiro Diagnostic|0|me\0", 24));
    sockets.close(first);
    sink.take();
    // The first send after the close is taken; what comes back for it fails the next.
    stepOnePeriodLater();
    stepOnePeriodLater();
    EXPECT_THAT(sink.take(),
                ElementsAre("sent 0 5009 10.0.0.2 #1: me", "error 0 5009 10.0.0.2 10054: send failed 10054"));
    EXPECT_EQ(sockets.openSockets(), 0);
    stepOnePeriodLater();
    EXPECT_THAT(sink.take(), ElementsAre("sent 0 5009 10.0.0.2 #2: me"));
    EXPECT_EQ(receiveAtPeer(acceptAtPeer()), std::string("Vantiro Diagnostic|2|me\0", 24));
}

TEST_F(TcpipConnectorTest, HowItGetsOnIsToldWhenItChanges) {
    sockets.failNext(ScriptedSocket::kOpenTcp, kSockNoBuffers);
    sockets.failNext(ScriptedSocket::kBind, kSockAddressInUse);
    sockets.failNext(ScriptedSocket::kConnect, kSockRefused, 3);
    sockets.failNext(ScriptedSocket::kConnect, kSockTimedOut, 2);
    connector.sendStep();
    for (int i = 0; i < 6; ++i) {
        stepOnePeriodLater();
    }
    EXPECT_THAT(sink.takeOutStates(),
                ElementsAre("0 10.0.0.2 connecting", "0 10.0.0.2 failed 10055", "0 10.0.0.2 failed 10048",
                            "0 10.0.0.2 refused 10061", "0 10.0.0.2 timed out 10060"));
    for (int i = 0; i < 3; ++i) {
        stepOnePeriodLater();
    }
    EXPECT_THAT(sink.takeOutStates(), ElementsAre("0 10.0.0.2 open"));
    sockets.failNext(ScriptedSocket::kSend, kSockReset);
    stepOnePeriodLater();
    EXPECT_THAT(sink.takeOutStates(), ElementsAre("0 10.0.0.2 failed 10054"));
    stepOnePeriodLater();
    EXPECT_THAT(sink.takeOutStates(), ElementsAre("0 10.0.0.2 connecting", "0 10.0.0.2 open"));
}

TEST_F(TcpipConnectorTest, AConnectionThatIsBlockedInOneDirectionIsTold) {
    connector.sendStep();
    stepOnePeriodLater();
    EXPECT_THAT(sink.takeOutStates(), ElementsAre("0 10.0.0.2 connecting", "0 10.0.0.2 open"));
    // Just after that probe the block begins. The next probe finds nothing unanswered. The one behind it does.
    sockets.setUnanswered({0, 0, 980});
    stepOnePeriodLater();
    sockets.setUnanswered({1, 1, 1980});
    stepOnePeriodLater();
    EXPECT_THAT(sink.takeOutStates(), ElementsAre("0 10.0.0.2 unanswered 1 packets, 1 time-outs, 1980 ms"));
    sockets.setUnanswered({2, 3, 2980});
    stepOnePeriodLater();
    EXPECT_THAT(sink.takeOutStates(), IsEmpty()) << "it is known";
    sockets.setUnanswered({1, 0, 2});
    stepOnePeriodLater();
    EXPECT_THAT(sink.takeOutStates(), ElementsAre("0 10.0.0.2 open"));
    EXPECT_EQ(sockets.calls(ScriptedSocket::kTellUnanswered), 6) << "one for each probe";
}

TEST_F(TcpipConnectorTest, CreateAndBindFailuresAreReported) {
    sockets.failNext(ScriptedSocket::kOpenTcp, kSockNoBuffers);
    connector.sendStep();
    sockets.failNext(ScriptedSocket::kBind, kSockAddressInUse);
    stepOnePeriodLater();
    EXPECT_THAT(sink.take(), ElementsAre("error 0 5009 10.0.0.2 10055: createSocket failed 10055",
                                         "error 0 5009 10.0.0.2 10048: bind failed 10048"));
    EXPECT_EQ(sockets.calls(ScriptedSocket::kConnect), 0);
}

TEST_F(TcpipConnectorTest, ShortSendIsNoFailure) {
    class ShortSends : public SocketForwarder {
    public:
        using SocketForwarder::SocketForwarder;
        int send(SPW_Socket, const void*, int) override { return 1; }
    };
    ShortSends shortSends(sockets);
    const ScopedInstance<SPW_CSocket> shortened(shortSends);
    connector.sendStep();
    stepOnePeriodLater();
    EXPECT_THAT(sink.take(), ElementsAre("sent 0 5009 10.0.0.2 #0: me", "sent 0 5009 10.0.0.2 #1: me"));
}

TEST_F(TcpipConnectorTest, TargetThatIsNoDottedQuadIsNotResolvedAndFailsAtTheSocketLayer) {
    sockets.addHost(u"peer", {SPW_CIpAddress(10, 0, 0, 2)});
    Driven named(&sink, u"peer", 5009u, u"me", 0);
    named.sendStep();
    Driven octet(&sink, u"300.0.0.2", 5009u, u"me", 0);
    octet.sendStep();
    EXPECT_THAT(sink.take(), ElementsAre("error 0 5009 peer 10051: connect failed 10051",
                                         "error 0 5009 300.0.0.2 10051: connect failed 10051"));
    EXPECT_EQ(sockets.calls(ScriptedSocket::kResolve), 0);
}

TEST_F(TcpipConnectorTest, HasNoTimeToLive) {
    connector.sendStep();
    EXPECT_EQ(sockets.calls(ScriptedSocket::kSetMulticastTtl), 0);
    EXPECT_THAT(sockets.memberships(), IsEmpty());
}
