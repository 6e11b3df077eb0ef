#include <gmock/gmock.h>

#include "EndlessSleeps.h"
#include "SPW_CSysError.h"
#include "TcpListenerFixture.h"
#include "VTR_CMulticastListener.h"
#include "VTR_CUdpListener.h"

// What a listener does when a call fails again and again.

using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

namespace {

const SPW_CIpAddress kPeer(10, 0, 0, 2);

struct Kind {
    const char* name;
    ScriptedSocket::Call call;
    std::unique_ptr<ProbeListener> (*make)(ProbeEventSink* sink, const ListenerLimits& limits);
};

const Kind kKinds[] = {
    {"Tcpip", ScriptedSocket::kSelect,
     [](ProbeEventSink* sink, const ListenerLimits& limits) -> std::unique_ptr<ProbeListener> {
         return std::make_unique<VTR_CTcpipListener>(sink, kPort, limits);
     }},
    {"Udp", ScriptedSocket::kReceiveFrom,
     [](ProbeEventSink* sink, const ListenerLimits& limits) -> std::unique_ptr<ProbeListener> {
         return std::make_unique<VTR_CUdpListener>(sink, kPort, limits);
     }},
    {"Multicast", ScriptedSocket::kSelect,
     [](ProbeEventSink* sink, const ListenerLimits& limits) -> std::unique_ptr<ProbeListener> {
         return std::make_unique<VTR_CMulticastListener>(sink, kPort, u"228.227.226.225", limits);
     }},
};

void PrintTo(const Kind& kind, std::ostream* out) {
    *out << kind.name;
}

class ListenerBackOffTest : public testing::TestWithParam<Kind> {
protected:
    void start(const ListenerLimits& limits = ListenerLimits()) {
        listener = GetParam().make(&sink, limits);
        ASSERT_EQ(listener->StartListening(), 0u);
        ASSERT_TRUE(sockets.waitUntilBlocked(GetParam().call));
    }
    // So many failures in a row, until the listener waits again.
    void fail(int times, SPW_Result code = kSockNetDown) {
        const int calls = sockets.calls(GetParam().call);
        sockets.failNext(GetParam().call, code, times);
        ASSERT_TRUE(sockets.waitForCalls(GetParam().call, calls + times));
        ASSERT_TRUE(sockets.waitUntilBlocked(GetParam().call));
    }

    ScriptedClock clock;
    ScriptedSocket sockets;
    ScopedInstance<SPW_CSocket> installed{sockets};
    RecordingSink sink;
    std::unique_ptr<ProbeListener> listener;
};

std::string nameOf(const testing::TestParamInfo<Kind>& info) {
    return info.param.name;
}
INSTANTIATE_TEST_SUITE_P(Listeners, ListenerBackOffTest, testing::ValuesIn(kKinds), nameOf);

}  // namespace

// --- Waits and receives

TEST_P(ListenerBackOffTest, TheFirstThreeFailuresAreRepeatedAtOnceAndTheOthersLaterAndLater) {
    start();
    fail(11);
    EXPECT_THAT(clock.sleeps(), ElementsAre(10, 20, 40, 80, 160, 320, 640, 1000, 1000));
    EXPECT_THAT(sink.take(), SizeIs(11));
}

TEST_P(ListenerBackOffTest, TwoFailuresInARowBringNoPause) {
    start();
    fail(2);
    EXPECT_THAT(clock.sleeps(), IsEmpty());
}

TEST_P(ListenerBackOffTest, ASilentFailurePausesToo) {
    start();
    const bool isUdp = GetParam().call == ScriptedSocket::kReceiveFrom;
    fail(4, isUdp ? kSockInterrupted : kSockNotSocket);
    EXPECT_THAT(sink.take(), IsEmpty());
    EXPECT_THAT(clock.sleeps(), ElementsAre(10, 20));
}

TEST_P(ListenerBackOffTest, WithoutALimitNothingPauses) {
    ListenerLimits limits;
    limits.failuresBeforePause = 0;
    start(limits);
    fail(50);
    EXPECT_THAT(clock.sleeps(), IsEmpty());
    EXPECT_THAT(sink.take(), SizeIs(50));
}

TEST_P(ListenerBackOffTest, AStopEndsThePauseAtOnce) {
    EndlessSleeps held;
    start();
    sockets.failNext(GetParam().call, kSockNetDown, 1000);
    ASSERT_TRUE(held.waitForSleeps(1));
    EXPECT_EQ(listener->StopListening(), 0u);
    EXPECT_THAT(sink.take(), SizeIs(3));
    listener.reset();
}

TEST_P(ListenerBackOffTest, ADestructionEndsThePauseAtOnce) {
    EndlessSleeps held;
    start();
    sockets.failNext(GetParam().call, kSockNetDown, 1000);
    ASSERT_TRUE(held.waitForSleeps(1));
    listener.reset();
}

namespace {

class UdpBackOffTest : public ListenerBackOffTest {};
INSTANTIATE_TEST_SUITE_P(Listeners, UdpBackOffTest, testing::Values(kKinds[1]), nameOf);

}  // namespace

TEST_P(UdpBackOffTest, ASuccessEndsThePauses) {
    start();
    fail(5);
    sockets.deliver(kPort, kPeer, probe(1));
    ASSERT_TRUE(sink.waitFor(6));
    fail(4);
    EXPECT_THAT(clock.sleeps(), ElementsAre(10, 20, 40, 10, 20));
}

// --- Accepts

namespace {

class AcceptBackOffTest : public TcpListenerFixture {
protected:
    // Nobody waits for the accept, which may fail.
    SPW_Socket connect() {
        const SPW_Socket client = sockets.connectFrom(kPeer, kPort);
        send(client, probe(1));
        return client;
    }
};

}  // namespace

TEST_F(AcceptBackOffTest, OfAShortageThatLastsTheFirstThreeAreToldAndItsEnd) {
    start();
    sockets.failNext(ScriptedSocket::kAccept, kSockTooManyFiles, 20);
    connect();
    EXPECT_THAT(waitForEvents(5),
                ElementsAre("error 1 5009  10024: accept failed", "error 1 5009  10024: accept failed",
                            "error 1 5009  10024: accept failed",
                            "error 1 5009  0: accept works again after 20 failures", "received 1 5009 10.0.0.2 #1: n"));
    EXPECT_EQ(clock.sleeps().back(), 1000u);
}

TEST_F(AcceptBackOffTest, TheNextShortageIsToldAgain) {
    start();
    sockets.failNext(ScriptedSocket::kAccept, kSockNoBuffers, 10);
    connect();
    (void)waitForEvents(5);
    sockets.failNext(ScriptedSocket::kAccept, kSockNoBuffers, 2);
    connect();
    EXPECT_THAT(waitForEvents(3), ElementsAre("error 1 5009  10055: accept failed",
                                              "error 1 5009  10055: accept failed", "received 1 5009 10.0.0.2 #1: n"));
}

TEST_F(AcceptBackOffTest, WithoutALimitEveryFailureOfAShortageIsTold) {
    ListenerLimits limits;
    limits.failuresBeforePause = 0;
    start(limits);
    sockets.failNext(ScriptedSocket::kAccept, kSockTooManyFiles, 20);
    connect();
    EXPECT_THAT(waitForEvents(21), SizeIs(21));
    EXPECT_THAT(clock.sleeps(), SizeIs(20));
    EXPECT_THAT(clock.sleeps(), Each(100u));
}

TEST_F(AcceptBackOffTest, OtherFailuresPauseAndAreTold) {
    start();
    sockets.failNext(ScriptedSocket::kAccept, kSockNetDown, 6);
    connect();
    EXPECT_THAT(waitForEvents(7), SizeIs(7));
    EXPECT_THAT(clock.sleeps(), ElementsAre(10, 20, 40, 80));
}

TEST_F(AcceptBackOffTest, ConnectionsAreServedWhileAcceptsPause) {
    EndlessSleeps held;
    start();
    const SPW_Socket client = connect();
    (void)waitForEvents(1);
    ASSERT_TRUE(sockets.waitUntilBlocked(ScriptedSocket::kSelect));
    sockets.failNext(ScriptedSocket::kAccept, kSockNetDown, 1000);
    sockets.connectFrom(kPeer, kPort);
    EXPECT_THAT(waitForEvents(3), SizeIs(3));
    // The clock stands still, and the pause lasts.
    for (int sequence = 2; sequence < 5; ++sequence) {
        const std::string bytes = probe(sequence);
        ASSERT_GT(sockets.send(client, bytes.data(), static_cast<int>(bytes.size())), 0);
        EXPECT_THAT(waitForEvents(1), ElementsAre("received 1 5009 10.0.0.2 #" + std::to_string(sequence) + ": n"));
    }
    EXPECT_EQ(sockets.calls(ScriptedSocket::kAccept), 4);
    EXPECT_EQ(listener->StopListening(), 0u);
}

TEST_F(AcceptBackOffTest, AStopEndsThePauseOfAnAcceptWithoutConnections) {
    EndlessSleeps held;
    start();
    sockets.failNext(ScriptedSocket::kAccept, kSockNetDown, 1000);
    sockets.connectFrom(kPeer, kPort);
    ASSERT_TRUE(held.waitForSleeps(1));
    EXPECT_EQ(listener->StopListening(), 0u);
    EXPECT_THAT(sink.take(), SizeIs(3));
}
