#include "VTR_CMulticastListener.h"

#include <gmock/gmock.h>

#include "RecordingReporter.h"
#include "RecordingSink.h"
#include "ScopedInstance.h"
#include "ScriptedSocket.h"
#include "SocketForwarder.h"

using testing::ElementsAre;
using testing::Field;
using testing::IsEmpty;

namespace {

constexpr std::uint16_t kPort = 7550;
const SPW_CIpAddress kPeer(10, 0, 0, 2);
const SPW_CIpAddress kWired(10, 0, 0, 1);
const SPW_CIpAddress kWireless(192, 168, 1, 7);

std::string probe(int sequence, const std::string& name) {
    return "Vantiro Diagnostic|" + std::to_string(sequence) + "|" + name + std::string(1, '\0');
}

// Answers select() with a number of its own and sees what was asked.
class SelectScript : public SocketForwarder {
public:
    SelectScript(SPW_CSocket& target, int ready) : SocketForwarder(target), m_ready(ready) {}
    int select(SPW_CSocketSet* readable, SPW_CSocketSet* exceptional, std::uint32_t timeout) override {
        read = readable->at(0);
        except = exceptional->at(0);
        timeoutMs = timeout;
        return m_ready;
    }
    int receiveFrom(SPW_Socket, void*, int, SPW_CIpAddress&) override {
        ++receives;
        return 0;
    }

    SPW_Socket read = kInvalidSocket;
    SPW_Socket except = kInvalidSocket;
    std::uint32_t timeoutMs = 0;
    int receives = 0;

private:
    const int m_ready;
};

// A listener whose steps the test runs itself.
class DrivenListener : public VTR_CMulticastListener {
public:
    explicit DrivenListener(ProbeEventSink* sink) : VTR_CMulticastListener(sink, kPort, u"228.227.226.225") {}
    void receiveStep(SPW_Socket socket) override { VTR_CMulticastListener::receiveStep(socket); }
};

class MulticastListenerTest : public testing::Test {
protected:
    void SetUp() override {
        sockets.setAddresses({SPW_CIpAddress(127, 0, 0, 1), kWired, kWireless});
        ASSERT_EQ(listener.StartListening(), 0u);
        ASSERT_TRUE(sockets.waitUntilBlocked(ScriptedSocket::kSelect));
    }
    // Five seconds without traffic.
    void passSilence() {
        const int selects = sockets.calls(ScriptedSocket::kSelect);
        sockets.expireSelects();
        ASSERT_TRUE(sockets.waitForCalls(ScriptedSocket::kSelect, selects + 1));
    }
    void receiveProbe() {
        ASSERT_TRUE(sockets.deliver(kPort, kPeer, probe(1, "n")));
        ASSERT_TRUE(sink.waitFor(1));
    }
    static auto isOn(const SPW_CIpAddress& interfaceAddress) {
        return Field(&ScriptedSocket::Membership::interfaceAddress, interfaceAddress);
    }

    RecordingReporter reporter;
    ScriptedSocket sockets;
    ScopedInstance<SPW_CSocket> installed{sockets};
    RecordingSink sink;
    VTR_CMulticastListener listener{&sink, kPort, u"228.227.226.225"};
};

}  // namespace

TEST_F(MulticastListenerTest, ProbeIsReportedWithItsSender) {
    sockets.deliver(kPort, kPeer, probe(7, "1.0|Hall||"));
    ASSERT_TRUE(sink.waitFor(1));
    EXPECT_THAT(sink.take(), ElementsAre("received 5 7550 10.0.0.2 #7: 1.0|Hall||"));
}

TEST_F(MulticastListenerTest, DatagramThatIsNoProbeIsDroppedWithoutATrace) {
    sockets.deliver(kPort, kPeer, "something else");
    sockets.deliver(kPort, kPeer, "");
    receiveProbe();
    EXPECT_THAT(sink.take(), ElementsAre("received 5 7550 10.0.0.2 #1: n"));
}

// --- Membership

TEST_F(MulticastListenerTest, JoinsOnlyAfterItsFirstSilence) {
    EXPECT_THAT(sockets.memberships(), IsEmpty());
    passSilence();
    EXPECT_THAT(sockets.memberships(), ElementsAre(isOn(kWired), isOn(kWireless)));
    EXPECT_EQ(sockets.memberships()[0].group, SPW_CIpAddress(228, 227, 226, 225));
    EXPECT_THAT(sink.take(), IsEmpty());
}

TEST_F(MulticastListenerTest, EverySilenceLooksForInterfacesAgain) {
    passSilence();
    sockets.setAddresses({kWireless});
    passSilence();
    EXPECT_THAT(sockets.memberships(), ElementsAre(isOn(kWireless)));
    EXPECT_EQ(sockets.calls(ScriptedSocket::kDropGroup), 2);
}

TEST_F(MulticastListenerTest, TrafficNeverLooksForInterfaces) {
    for (int i = 0; i < 5; ++i) {
        receiveProbe();
        sink.take();
    }
    EXPECT_EQ(sockets.calls(ScriptedSocket::kHostName), 0);
    EXPECT_THAT(sockets.memberships(), IsEmpty());
}

TEST_F(MulticastListenerTest, WithoutAnInterfaceItKeepsTryingAndSaysNothing) {
    sockets.setAddresses({SPW_CIpAddress(127, 0, 0, 1)});
    passSilence();
    passSilence();
    EXPECT_EQ(sockets.calls(ScriptedSocket::kHostName), 2);
    EXPECT_THAT(sockets.memberships(), IsEmpty());
    EXPECT_THAT(reporter.takeReports(), IsEmpty());
    sockets.setAddresses({kWired});
    passSilence();
    EXPECT_THAT(sockets.memberships(), ElementsAre(isOn(kWired)));
}

TEST_F(MulticastListenerTest, RefusedJoinIsReportedAndTheOtherInterfaceJoined) {
    sockets.failJoinOn(kWired, kSockNoBuffers);
    passSilence();
    EXPECT_THAT(sockets.memberships(), ElementsAre(isOn(kWireless)));
    EXPECT_THAT(sink.take(), ElementsAre("error 5 7550 228.227.226.225 10055: setsockopt IP_ADD_MEMBERSHIP to 10.0.0.1 "
                                         "failed reason: 10055"));
}

// --- Failures

TEST_F(MulticastListenerTest, FailuresAreReportedWithTheGroupAsAddress) {
    sockets.failNext(ScriptedSocket::kSelect, kSockNetDown);
    ASSERT_TRUE(sink.waitFor(1));
    EXPECT_THAT(sink.take(), ElementsAre("error 5 7550 228.227.226.225 10050: select failed"));
    sockets.failNext(ScriptedSocket::kReceiveFrom, kSockReset);
    sockets.deliver(kPort, kPeer, probe(1, "n"));
    ASSERT_TRUE(sink.waitFor(2));
    EXPECT_THAT(sink.take(),
                ElementsAre("error 5 7550 228.227.226.225 10054: recvfrom failed", "received 5 7550 10.0.0.2 #1: n"));
}

TEST_F(MulticastListenerTest, CodesOfAStopAreNeverReported) {
    for (const SPW_Result code : {kSockInterrupted, kSockNotSocket}) {
        const int selects = sockets.calls(ScriptedSocket::kSelect);
        sockets.failNext(ScriptedSocket::kSelect, code);
        ASSERT_TRUE(sockets.waitForCalls(ScriptedSocket::kSelect, selects + 1));
        sockets.failNext(ScriptedSocket::kReceiveFrom, code);
        receiveProbe();
        EXPECT_THAT(sink.take(), ElementsAre("received 5 7550 10.0.0.2 #1: n"));
    }
}

// --- The wait

TEST_F(MulticastListenerTest, WaitsFiveSecondsOnTheSocketInBothSets) {
    SelectScript script(sockets, 0);
    const ScopedInstance<SPW_CSocket> scripted(script);
    DrivenListener driven(&sink);
    driven.receiveStep(4711);
    EXPECT_EQ(script.timeoutMs, 5000u);
    EXPECT_EQ(script.read, 4711u);
    EXPECT_EQ(script.except, 4711u);
}

TEST_F(MulticastListenerTest, SocketReadyInOneSetIsReadAndInBothIsNot) {
    for (const int ready : {1, 2}) {
        SelectScript script(sockets, ready);
        const ScopedInstance<SPW_CSocket> scripted(script);
        DrivenListener driven(&sink);
        driven.receiveStep(4711);
        EXPECT_EQ(script.receives, ready == 1 ? 1 : 0);
    }
    EXPECT_EQ(sockets.calls(ScriptedSocket::kHostName), 0);
}
