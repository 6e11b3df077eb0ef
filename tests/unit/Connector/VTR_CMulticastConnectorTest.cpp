#include "VTR_CMulticastConnector.h"

#include <gmock/gmock.h>

#include "DrivenProbe.h"
#include "RecordingReporter.h"
#include "RecordingSink.h"
#include "ScopedInstance.h"
#include "ScriptedClock.h"
#include "ScriptedSocket.h"

using testing::AllOf;
using testing::ElementsAre;
using testing::Field;
using testing::IsEmpty;

namespace {

const SPW_CIpAddress kGroup(228, 227, 226, 225);
const SPW_CIpAddress kWired(10, 0, 0, 1);
const SPW_CIpAddress kWireless(192, 168, 1, 7);

class MulticastConnectorTest : public testing::Test {
protected:
    typedef DrivenConnector<VTR_CMulticastConnector> Driven;

    static auto isMember(const SPW_CIpAddress& interfaceAddress) {
        return AllOf(Field(&ScriptedSocket::Membership::group, kGroup),
                     Field(&ScriptedSocket::Membership::interfaceAddress, interfaceAddress));
    }

    ScriptedClock clock;
    RecordingReporter reporter;
    ScriptedSocket sockets;
    ScopedInstance<SPW_CSocket> installed{sockets};
    RecordingSink sink;
    Driven connector{&sink, u"228.227.226.225", 7550u, u"me", 0, 16};
};

}  // namespace

TEST_F(MulticastConnectorTest, ProbeGoesToTheGroup) {
    connector.sendStep();
    const std::vector<ScriptedSocket::Sent> sent = sockets.sent();
    ASSERT_EQ(sent.size(), 1u);
    EXPECT_EQ(sent[0].address, kGroup);
    EXPECT_EQ(sent[0].port, 7550);
    EXPECT_EQ(sent[0].bytes, std::string("Vantiro Diagnostic|0|me\0", 24));
    EXPECT_THAT(sink.take(), ElementsAre("sent 4 7550 228.227.226.225 #0: me"));
}

TEST_F(MulticastConnectorTest, TimeToLiveIsPassedUnchanged) {
    for (const std::int32_t ttl : {1, 0, 255, 1000, -5}) {
        sockets.setAddresses({kWired});
        Driven other(&sink, u"228.227.226.225", 7550u, u"me", 0, ttl);
        other.sendStep();
        const std::vector<ScriptedSocket::Sent> sent = sockets.sent();
        EXPECT_EQ(sockets.multicastTtl(sent.back().socket), ttl);
    }
}

TEST_F(MulticastConnectorTest, JoinsOnEveryInterfaceOncePerSocket) {
    sockets.setAddresses({SPW_CIpAddress(127, 0, 0, 1), kWired, kWireless});
    connector.sendStep();
    connector.sendStep();
    EXPECT_THAT(sockets.memberships(), ElementsAre(isMember(kWired), isMember(kWireless)));
    EXPECT_EQ(sockets.calls(ScriptedSocket::kJoinGroup), 2);
    EXPECT_EQ(sockets.memberships()[0].socket, sockets.sent()[0].socket);
    EXPECT_THAT(reporter.takeReports(), IsEmpty());
}

TEST_F(MulticastConnectorTest, NewSocketAfterAFailureLooksForInterfacesAgain) {
    connector.sendStep();
    sockets.setAddresses({kWireless});
    sockets.failNext(ScriptedSocket::kSendTo, kSockNetUnreachable);
    connector.sendStep();
    connector.sendStep();
    EXPECT_THAT(sockets.memberships(), ElementsAre(isMember(kWireless)));
    // What the old socket was in is dropped from the new one first; that fails and does not matter.
    EXPECT_EQ(sockets.calls(ScriptedSocket::kDropGroup), 1);
    EXPECT_THAT(sink.take(), ElementsAre("sent 4 7550 228.227.226.225 #0: me",
                                         "error 4 7550 228.227.226.225 10051: send failed 10051",
                                         "sent 4 7550 228.227.226.225 #1: me"));
}

TEST_F(MulticastConnectorTest, RefusedJoinIsReportedAndTheOtherInterfaceStaysJoined) {
    sockets.setAddresses({kWired, kWireless});
    sockets.failJoinOn(kWired, kSockNoBuffers);
    connector.sendStep();
    connector.sendStep();
    EXPECT_THAT(sockets.memberships(), ElementsAre(isMember(kWireless)));
    EXPECT_THAT(sink.take(),
                ElementsAre("error 4 7550 228.227.226.225 10055: setsockopt IP_ADD_MEMBERSHIP to 10.0.0.1 failed "
                            "reason: 10055",
                            "sent 4 7550 228.227.226.225 #0: me", "sent 4 7550 228.227.226.225 #1: me"));
}

TEST_F(MulticastConnectorTest, RefusedTimeToLiveIsReportedAndTheSocketJoinedAndUsed) {
    sockets.failNext(ScriptedSocket::kSetMulticastTtl, kSockInvalid);
    connector.sendStep();
    connector.sendStep();
    EXPECT_THAT(sockets.memberships(), ElementsAre(isMember(kWired)));
    EXPECT_THAT(sink.take(), ElementsAre("error 4 7550 228.227.226.225 10022: set ttl failed 10022",
                                         "sent 4 7550 228.227.226.225 #0: me", "sent 4 7550 228.227.226.225 #1: me"));
    EXPECT_THAT(sink.takeOutStates(), ElementsAre("4 228.227.226.225 open")) << "it does not keep probes from leaving";
}

TEST_F(MulticastConnectorTest, RefusedTimeToLiveBearsItsOwnCodeThoughAJoinFailsAfterIt) {
    sockets.failNext(ScriptedSocket::kSetMulticastTtl, kSockInvalid);
    sockets.failJoinOn(kWired, kSockNoBuffers);
    connector.sendStep();
    EXPECT_THAT(
        sink.take(),
        ElementsAre("error 4 7550 228.227.226.225 10055: setsockopt IP_ADD_MEMBERSHIP to 10.0.0.1 failed "
                    "reason: 10055",
                    "error 4 7550 228.227.226.225 10022: set ttl failed 10022", "sent 4 7550 228.227.226.225 #0: me"));
}

TEST_F(MulticastConnectorTest, TimeToLiveThatWasSetIsNotReportedThoughAJoinFails) {
    sockets.failJoinOn(kWired, kSockNoBuffers);
    connector.sendStep();
    EXPECT_THAT(sink.take(),
                ElementsAre(testing::HasSubstr("IP_ADD_MEMBERSHIP"), "sent 4 7550 228.227.226.225 #0: me"));
}

TEST_F(MulticastConnectorTest, WithoutAnInterfaceItReportsOnceAndSendsAllTheSame) {
    sockets.setAddresses({SPW_CIpAddress(127, 0, 0, 1), SPW_CIpAddress(192, 168, 55, 101)});
    connector.sendStep();
    connector.sendStep();
    EXPECT_THAT(reporter.takeReports(),
                ElementsAre(IsReport("MCC", "getAllInterfaces", 111,
                                     "no interfaces currently available ... please restart when an interface is "
                                     "available")));
    EXPECT_EQ(sockets.calls(ScriptedSocket::kJoinGroup), 0);
    EXPECT_THAT(sink.take(), ElementsAre("sent 4 7550 228.227.226.225 #0: me", "sent 4 7550 228.227.226.225 #1: me"));
}
