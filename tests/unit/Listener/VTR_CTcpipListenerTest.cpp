#include "VTR_CTcpipListener.h"

#include <gmock/gmock.h>

#include <atomic>

#include "HeldUntilClose.h"
#include "TcpListenerFixture.h"

using testing::ElementsAre;
using testing::IsEmpty;

namespace {

const SPW_CIpAddress kPeer(10, 0, 0, 2);
const SPW_CIpAddress kOther(10, 0, 0, 3);

// A listener whose steps the test runs itself.
class Driven : public VTR_CTcpipListener {
public:
    explicit Driven(ProbeEventSink* sink) : VTR_CTcpipListener(sink, kPort + 1) { m_state = 1; }
    ~Driven() override { m_state = 0; }
    void receiveStep(SPW_Socket socket) override { VTR_CTcpipListener::receiveStep(socket); }
};

// Returns from the accept only when a stop is under way.
class AcceptsDuringStop : public HeldUntilClose {
public:
    using HeldUntilClose::HeldUntilClose;
    SPW_Socket accept(SPW_Socket socket, SPW_CIpAddress& peer) override {
        const SPW_Socket accepted = SocketForwarder::accept(socket, peer);
        hold();
        return accepted;
    }
};

class TcpipListenerTest : public TcpListenerFixture {
protected:
    void SetUp() override { start(); }
};

}  // namespace

// --- Probes

TEST_F(TcpipListenerTest, ProbesOfAllConnectionsAreReportedWithTheirSenders) {
    const SPW_Socket first = connect(kPeer);
    const SPW_Socket second = connect(kOther);
    send(first, probe(1));
    EXPECT_THAT(waitForEvents(1), ElementsAre("received 1 5009 10.0.0.2 #1: n"));
    send(second, probe(8));
    EXPECT_THAT(waitForEvents(1), ElementsAre("received 1 5009 10.0.0.3 #8: n"));
    send(first, probe(2));
    EXPECT_THAT(waitForEvents(1), ElementsAre("received 1 5009 10.0.0.2 #2: n"));
}

TEST_F(TcpipListenerTest, TwoProbesInOneReadAreReportedAsTheFirst) {
    const SPW_Socket client = connect(kPeer);
    settle([&] { send(client, probe(1) + probe(2)); });
    EXPECT_THAT(waitForEvents(1), ElementsAre("received 1 5009 10.0.0.2 #1: n"));
}

TEST_F(TcpipListenerTest, PartOfAProbeIsDroppedWithoutATrace) {
    const SPW_Socket client = connect(kPeer);
    settle([&] { send(client, "Vantiro Diag"); });
    settle([&] { send(client, "nostic|1|n"); });
    settle([&] { send(client, probe(2)); });
    EXPECT_THAT(waitForEvents(1), ElementsAre("received 1 5009 10.0.0.2 #2: n"));
}

TEST_F(TcpipListenerTest, ReadTakesAThousandBytes) {
    const SPW_Socket client = connect(kPeer);
    const std::string head = "Vantiro Diagnostic|7|";
    // The second thousand begins with a probe of its own.
    settle([&] { send(client, head + std::string(1000 - head.size(), 'n') + probe(8)); });
    EXPECT_THAT(waitForEvents(2), ElementsAre("received 1 5009 10.0.0.2 #7: " + std::string(1000 - head.size(), 'n'),
                                              "received 1 5009 10.0.0.2 #8: n"));
}

TEST_F(TcpipListenerTest, ConnectionsAreServedFromTheLatestToTheOldest) {
    const SPW_Socket listening = sockets.openTcp();
    ASSERT_EQ(sockets.bind(listening, kPort + 1), 0);
    ASSERT_EQ(sockets.listen(listening, 5), 0);
    Driven driven(&sink);
    const SPW_Socket oldest = sockets.connectFrom(kPeer, kPort + 1);
    driven.receiveStep(listening);
    const SPW_Socket latest = sockets.connectFrom(kOther, kPort + 1);
    driven.receiveStep(listening);
    send(oldest, probe(1));
    send(latest, probe(2));
    driven.receiveStep(listening);
    EXPECT_THAT(sink.take(), ElementsAre("received 1 5010 10.0.0.3 #2: n", "received 1 5010 10.0.0.2 #1: n"));
}

TEST_F(TcpipListenerTest, NewConnectionIsAcceptedAfterTheOthersHaveBeenServed) {
    // Notes the calls in their order.
    class Notes : public SocketForwarder {
    public:
        using SocketForwarder::SocketForwarder;
        SPW_Socket accept(SPW_Socket socket, SPW_CIpAddress& peer) override {
            calls.emplace_back("accept");
            return SocketForwarder::accept(socket, peer);
        }
        int receive(SPW_Socket socket, void* buffer, int size) override {
            calls.emplace_back("receive");
            return SocketForwarder::receive(socket, buffer, size);
        }
        std::vector<std::string> calls;
    };
    listener.reset();
    Notes notes(sockets);
    const ScopedInstance<SPW_CSocket> noted(notes);
    const SPW_Socket listening = sockets.openTcp();
    ASSERT_EQ(sockets.bind(listening, kPort + 1), 0);
    ASSERT_EQ(sockets.listen(listening, 5), 0);
    Driven driven(&sink);
    const SPW_Socket first = sockets.connectFrom(kPeer, kPort + 1);
    driven.receiveStep(listening);
    notes.calls.clear();
    send(first, probe(1));
    sockets.connectFrom(kOther, kPort + 1);
    driven.receiveStep(listening);
    EXPECT_THAT(notes.calls, ElementsAre("receive", "accept"));
}

// --- Connections that end

TEST_F(TcpipListenerTest, PeerThatClosesIsForgottenSilentlyAndNotClosedOnThisSide) {
    const SPW_Socket client = connect(kPeer);
    settle([&] { sockets.close(client); });
    EXPECT_THAT(sink.take(), IsEmpty());
    // It is not read again, and its handle stays open beside the listening socket for as long as the listener lives.
    EXPECT_EQ(sockets.calls(ScriptedSocket::kReceive), 1);
    EXPECT_EQ(sockets.openSockets(), 2);
    ASSERT_EQ(listener->StopListening(), 0u);
    EXPECT_EQ(sockets.openSockets(), 1);
    listener.reset();
    EXPECT_EQ(sockets.openSockets(), 0);
}

TEST_F(TcpipListenerTest, OnlyTheLatestThousandOfThoseAreKeptOpen) {
    // Notes what is closed, in order.
    class Notes : public SocketForwarder {
    public:
        using SocketForwarder::SocketForwarder;
        SPW_Socket accept(SPW_Socket socket, SPW_CIpAddress& peer) override {
            accepted.push_back(SocketForwarder::accept(socket, peer));
            return accepted.back();
        }
        int close(SPW_Socket socket) override {
            closed.push_back(socket);
            return SocketForwarder::close(socket);
        }
        std::vector<SPW_Socket> accepted;
        std::vector<SPW_Socket> closed;
    };
    listener.reset();
    Notes notes(sockets);
    const ScopedInstance<SPW_CSocket> noted(notes);
    start();
    for (int i = 0; i < 1000; ++i) {
        const SPW_Socket client = connect(kPeer);
        settle([&] { sockets.close(client); });
    }
    EXPECT_THAT(notes.closed, IsEmpty());
    for (int i = 0; i < 2; ++i) {
        const SPW_Socket client = connect(kPeer);
        settle([&] { sockets.close(client); });
    }
    EXPECT_THAT(notes.closed, ElementsAre(notes.accepted[0], notes.accepted[1]));
    EXPECT_EQ(sockets.openSockets(), 1001);
    EXPECT_THAT(sink.take(), IsEmpty());
    listener.reset();
    EXPECT_EQ(sockets.openSockets(), 0);
}

TEST_F(TcpipListenerTest, FailedConnectionIsReportedClosedAndForgotten) {
    const SPW_Socket failing = connect(kPeer);
    const SPW_Socket healthy = connect(kOther);
    sockets.failNext(ScriptedSocket::kReceive, kSockReset);
    settle([&] { send(failing, probe(1)); });
    EXPECT_THAT(waitForEvents(1), ElementsAre("error 1 5009 10.0.0.2 10054: recv failed 10054"));
    EXPECT_EQ(sockets.openSockets(), 2);
    send(healthy, probe(3));
    EXPECT_THAT(waitForEvents(1), ElementsAre("received 1 5009 10.0.0.3 #3: n"));
}

TEST_F(TcpipListenerTest, SeveralEndsInOneStepLeaveTheOthersAlone) {
    std::vector<SPW_Socket> clients;
    for (std::uint8_t host = 10; host < 16; ++host) {
        clients.push_back(connect(SPW_CIpAddress(10, 0, 0, host)));
    }
    for (const std::size_t index : {0u, 2u, 3u, 5u}) {
        sockets.close(clients[index]);
    }
    send(clients[4], probe(4));
    EXPECT_THAT(waitForEvents(1), ElementsAre("received 1 5009 10.0.0.14 #4: n"));
    send(clients[1], probe(1));
    EXPECT_THAT(waitForEvents(1), ElementsAre("received 1 5009 10.0.0.11 #1: n"));
}

// --- The limit

TEST_F(TcpipListenerTest, WatchesSixtyFourSocketsAndServesTheRestAsPlacesFallFree) {
    std::vector<SPW_Socket> clients;
    for (int i = 0; i < 65; ++i) {
        clients.push_back(connect(SPW_CIpAddress(10, 0, 1, static_cast<std::uint8_t>(i))));
    }
    const std::string said =
        "error 1 5009 10.0.1.63 10024: connection is not watched while 63 older ones last (said only once)";
    EXPECT_THAT(waitForEvents(1), ElementsAre(said));
    // The listening socket and 63 connections are watched.
    send(clients[62], probe(62));
    EXPECT_THAT(waitForEvents(1), ElementsAre("received 1 5009 10.0.1.62 #62: n"));
    send(clients[63], probe(63));
    settle([&] { send(clients[0], probe(0)); });
    EXPECT_THAT(waitForEvents(1), ElementsAre("received 1 5009 10.0.1.0 #0: n"));
    sockets.close(clients[1]);
    EXPECT_THAT(waitForEvents(1), ElementsAre("received 1 5009 10.0.1.63 #63: n"));
    send(clients[64], probe(64));
    sockets.close(clients[2]);
    EXPECT_THAT(waitForEvents(1), ElementsAre("received 1 5009 10.0.1.64 #64: n"));
}

TEST_F(TcpipListenerTest, SixtyThreeConnectionsAreAllWatchedAndNothingIsSaid) {
    for (int i = 0; i < 63; ++i) {
        connect(SPW_CIpAddress(10, 0, 1, static_cast<std::uint8_t>(i)));
    }
    EXPECT_THAT(sink.take(), IsEmpty());
}

TEST_F(TcpipListenerTest, QueuesFiveConnectionsAndWaitsWithoutALimit) {
    class Notes : public SocketForwarder {
    public:
        using SocketForwarder::SocketForwarder;
        int listen(SPW_Socket socket, int length) override {
            backlog = length;
            return SocketForwarder::listen(socket, length);
        }
        int select(SPW_CSocketSet* readable, SPW_CSocketSet* exceptional, std::uint32_t timeout) override {
            hasExceptions = exceptional != nullptr;
            timeoutMs = timeout;
            return SocketForwarder::select(readable, exceptional, timeout);
        }
        std::atomic<int> backlog{0};
        std::atomic<bool> hasExceptions{true};
        std::atomic<std::uint32_t> timeoutMs{0};
    };
    listener.reset();
    Notes notes(sockets);
    const ScopedInstance<SPW_CSocket> noted(notes);
    start();
    EXPECT_EQ(notes.backlog, 5);
    EXPECT_FALSE(notes.hasExceptions);
    EXPECT_EQ(notes.timeoutMs, kSPWForever);
    listener.reset();
}

// --- Failures of the listening socket

TEST_F(TcpipListenerTest, FailedSelectIsReportedWithoutAnAddressOrACodeInTheText) {
    settle([&] { sockets.failNext(ScriptedSocket::kSelect, kSockNetDown); });
    EXPECT_THAT(sink.take(), ElementsAre("error 1 5009  10050: select failed"));
}

TEST_F(TcpipListenerTest, FailedAcceptIsReportedWithoutAnAddressOrACodeInTheText) {
    sockets.failNext(ScriptedSocket::kAccept, kSockTooManyFiles);
    const SPW_Socket client = connect(kPeer);
    EXPECT_THAT(waitForEvents(1), ElementsAre("error 1 5009  10024: accept failed"));
    // It waits in the queue and is accepted in the next step.
    send(client, probe(1));
    EXPECT_THAT(waitForEvents(1), ElementsAre("received 1 5009 10.0.0.2 #1: n"));
}

TEST_F(TcpipListenerTest, AcceptThatFindsNoDescriptorReleasesTheConnectionsOfThePast) {
    for (int i = 0; i < 3; ++i) {
        const SPW_Socket departing = connect(kPeer);
        settle([&] { sockets.close(departing); });
    }
    EXPECT_EQ(sockets.openSockets(), 4);
    sockets.failNext(ScriptedSocket::kAccept, kSockTooManyFiles);
    send(connect(kOther), probe(1));
    EXPECT_THAT(waitForEvents(2), ElementsAre("error 1 5009  10024: accept failed", "received 1 5009 10.0.0.3 #1: n"));
    EXPECT_EQ(sockets.openSockets(), 2);
    EXPECT_THAT(clock.sleeps(), IsEmpty());
}

TEST_F(TcpipListenerTest, AcceptThatFindsNoDescriptorAndHasNoneToReleaseWaitsBeforeTheNext) {
    for (const SPW_Result code : {kSockTooManyFiles, kSockNoBuffers}) {
        const std::string report = "error 1 5009  " + std::to_string(code) + ": accept failed";
        sockets.failNext(ScriptedSocket::kAccept, code, 2);
        const std::size_t sleeps = clock.sleeps().size();
        send(connect(kPeer), probe(1));
        EXPECT_THAT(waitForEvents(3), ElementsAre(report, report, "received 1 5009 10.0.0.2 #1: n"));
        EXPECT_EQ(clock.sleeps().size(), sleeps + 2);
        EXPECT_EQ(clock.sleeps().back(), 100u);
    }
}

TEST_F(TcpipListenerTest, AcceptThatFailsOtherwiseIsTriedAgainAtOnce) {
    sockets.failNext(ScriptedSocket::kAccept, kSockReset);
    send(connect(kPeer), probe(1));
    EXPECT_THAT(waitForEvents(2), ElementsAre("error 1 5009  10054: accept failed", "received 1 5009 10.0.0.2 #1: n"));
    EXPECT_THAT(clock.sleeps(), IsEmpty());
}

TEST_F(TcpipListenerTest, NotASocketIsSilentInSelectAndAccept) {
    settle([&] { sockets.failNext(ScriptedSocket::kSelect, kSockNotSocket); });
    sockets.failNext(ScriptedSocket::kAccept, kSockNotSocket);
    const SPW_Socket client = connect(kPeer);
    send(client, probe(1));
    EXPECT_THAT(waitForEvents(1), ElementsAre("received 1 5009 10.0.0.2 #1: n"));
}

TEST_F(TcpipListenerTest, PortThatCannotBeListenedOnIsRefused) {
    ASSERT_EQ(listener->StopListening(), 0u);
    sockets.failNext(ScriptedSocket::kListen, kSockAddressInUse);
    EXPECT_EQ(listener->StartListening(), 601u);
    EXPECT_STREQ(listener->GetLastErrorText().toAnsi(), "tcpip listener : listen failed 10048");
    EXPECT_EQ(sockets.openSockets(), 0);
}

// --- Stop

TEST_F(TcpipListenerTest, StopClosesEveryConnectionAndTheRestartBeginsWithout) {
    const SPW_Socket client = connect(kPeer);
    connect(kOther);
    ASSERT_EQ(listener->StopListening(), 0u);
    EXPECT_EQ(sockets.openSockets(), 0);
    char byte;
    EXPECT_EQ(sockets.receive(client, &byte, 1), 0);
    restart();
    send(connect(kPeer), probe(1));
    EXPECT_THAT(waitForEvents(1), ElementsAre("received 1 5009 10.0.0.2 #1: n"));
}

TEST_F(TcpipListenerTest, DestructionClosesEveryConnection) {
    connect(kPeer);
    connect(kOther);
    listener.reset();
    EXPECT_EQ(sockets.openSockets(), 0);
    EXPECT_THAT(sink.take(), IsEmpty());
}

TEST_F(TcpipListenerTest, ConnectionAcceptedDuringAStopIsClosed) {
    listener.reset();
    AcceptsDuringStop slow(sockets);
    const ScopedInstance<SPW_CSocket> slowed(slow);
    start();
    sockets.connectFrom(kPeer, kPort);
    slow.waitUntilHeld();
    ASSERT_EQ(listener->StopListening(), 0u);
    EXPECT_EQ(sockets.openSockets(), 0);
    listener.reset();
}

TEST_F(TcpipListenerTest, ConnectionAcceptedDuringTheDestructionIsClosed) {
    listener.reset();
    AcceptsDuringStop slow(sockets);
    const ScopedInstance<SPW_CSocket> slowed(slow);
    start();
    sockets.connectFrom(kPeer, kPort);
    slow.waitUntilHeld();
    listener.reset();
    EXPECT_EQ(sockets.openSockets(), 0);
}

TEST_F(TcpipListenerTest, WhateverTheDestructionMakesOfTheWaitIsSilent) {
    // Ends a select by closing with a code that is reported at any other time.
    class EndsOddly : public SocketForwarder {
    public:
        using SocketForwarder::SocketForwarder;
        int select(SPW_CSocketSet* readable, SPW_CSocketSet* exceptional, std::uint32_t timeoutMs) override {
            const int ready = SocketForwarder::select(readable, exceptional, timeoutMs);
            hasFailed = ready == -1;
            return ready;
        }
        SPW_Result lastError() override { return hasFailed ? SPW_Result{kSockNetDown} : SocketForwarder::lastError(); }
        std::atomic<bool> hasFailed{false};
    };
    listener.reset();
    EndsOddly odd(sockets);
    const ScopedInstance<SPW_CSocket> installedOdd(odd);
    start();
    listener.reset();
    EXPECT_TRUE(odd.hasFailed);
    EXPECT_THAT(sink.take(), IsEmpty());
}
