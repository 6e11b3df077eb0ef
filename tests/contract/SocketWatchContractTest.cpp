#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <future>
#include <memory>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include "RealSockets.h"
#include "SPW_CSocketWatch.h"
#include "SPW_CSysError.h"
#include "ScriptedSocket.h"
#include "SocketContract.h"
#include "SocketForwarder.h"

// What SPW_CSocketWatch.h promises, shown on the platform's own watch and on those that select, over the platform's
// sockets and over scripted ones.

namespace {

class ScriptedSockets {
public:
    ScriptedSockets() { m_sockets.letTimePass(); }
    SPW_CSocket& sockets() { return m_sockets; }

private:
    ScriptedSocket m_sockets;
};

// Forwarded sockets have the watch that selects.
class SelectedSockets : public RealSockets {
public:
    SPW_CSocket& sockets() { return m_forwarded; }

private:
    SocketForwarder m_forwarded;
};

template <typename Implementation>
class SocketWatchContractTest : public SocketContractTest<Implementation> {
protected:
    bool add(SPW_Socket socket) { return m_watch->add(socket); }
    bool remove(SPW_Socket socket) { return m_watch->remove(socket); }
    // What a wait finds; it must not fail.
    std::vector<SPW_Socket> wait() {
        SPW_CSocketSet ready;
        EXPECT_EQ(m_watch->wait(ready), 0u);
        std::vector<SPW_Socket> sockets;
        for (int i = 0; i < ready.size(); ++i) {
            sockets.push_back(ready.at(i));
        }
        return sockets;
    }
    SPW_Result codeOfWait() {
        SPW_CSocketSet ready;
        ready.add(0);
        const SPW_Result code = m_watch->wait(ready);
        EXPECT_TRUE(code == 0 || ready.size() == 0);
        return code;
    }
    SPW_Socket watchedUdp() {
        const SPW_Socket socket = this->boundUdp();
        EXPECT_TRUE(add(socket));
        return socket;
    }
    void sendTo(SPW_Socket receiver, const std::string& bytes) {
        ASSERT_EQ(SocketContractTest<Implementation>::sendTo(m_sender, this->portOf(receiver), bytes),
                  static_cast<int>(bytes.size()));
    }
    // The code of a wait during which, most likely, the socket is closed.
    SPW_Result closeDuringWait(SPW_Socket socket) {
        std::future<SPW_Result> ended = std::async(std::launch::async, [this] { return codeOfWait(); });
        std::this_thread::sleep_for(kMoment);
        EXPECT_EQ(this->s().close(socket), 0);
        EXPECT_EQ(ended.wait_for(kPatience), std::future_status::ready) << "the wait was not woken";
        return ended.get();
    }

    std::unique_ptr<SPW_CSocketWatch> m_watch = this->s().openWatch();
    const SPW_Socket m_sender = this->udp();
};

struct ImplementationNames {
    template <typename T>
    static std::string GetName(int) {
        return std::is_same_v<T, RealSockets>       ? "Platform"
               : std::is_same_v<T, SelectedSockets> ? "PlatformBySelect"
                                                    : "Scripted";
    }
};

using Sockets = std::vector<SPW_Socket>;
using Implementations = testing::Types<RealSockets, SelectedSockets, ScriptedSockets>;
TYPED_TEST_SUITE(SocketWatchContractTest, Implementations, ImplementationNames);

// ---- What is ready ----

TYPED_TEST(SocketWatchContractTest, OnlyWhatHasSomethingToReceiveIsReady) {
    this->watchedUdp();
    const SPW_Socket second = this->watchedUdp();
    this->watchedUdp();
    this->sendTo(second, "x");
    EXPECT_EQ(this->wait(), Sockets{second});
}

TYPED_TEST(SocketWatchContractTest, WhatIsReadyStaysSoUntilItHasBeenReceived) {
    const SPW_Socket first = this->watchedUdp();
    const SPW_Socket second = this->watchedUdp();
    this->sendTo(first, "one");
    this->sendTo(first, "two");
    EXPECT_EQ(this->wait(), Sockets{first});
    EXPECT_EQ(this->receiveFrom(first), "one");
    EXPECT_EQ(this->wait(), Sockets{first});
    EXPECT_EQ(this->receiveFrom(first), "two");
    this->sendTo(second, "x");
    EXPECT_EQ(this->wait(), Sockets{second});
}

TYPED_TEST(SocketWatchContractTest, WhatIsReadyComesInTheOrderOfItsAdding) {
    Sockets sockets;
    for (int i = 0; i < 10; ++i) {
        sockets.push_back(this->watchedUdp());
    }
    for (auto socket = sockets.rbegin(); socket != sockets.rend(); ++socket) {
        this->sendTo(*socket, "x");
    }
    EXPECT_EQ(this->wait(), sockets);
    ASSERT_TRUE(this->remove(sockets[3]));
    ASSERT_TRUE(this->add(sockets[3]));
    sockets.push_back(sockets[3]);
    sockets.erase(sockets.begin() + 3);
    EXPECT_EQ(this->wait(), sockets);
}

TYPED_TEST(SocketWatchContractTest, ConnectionsAndTheirEndsAreReady) {
    const SPW_Socket listening = this->listener();
    ASSERT_TRUE(this->add(listening));
    const SPW_Socket client = this->tcp();
    ASSERT_EQ(this->s().connect(client, kLoopback, this->portOf(listening)), 0);
    EXPECT_EQ(this->wait(), Sockets{listening});
    const SPW_Socket server = this->accept(listening);
    ASSERT_TRUE(this->add(server));
    ASSERT_EQ(this->send(client, "x"), 1);
    EXPECT_EQ(this->wait(), Sockets{server});
    EXPECT_EQ(this->receive(server), 1);
    ASSERT_EQ(this->s().close(client), 0);
    EXPECT_EQ(this->wait(), Sockets{server});
    EXPECT_EQ(this->receive(server), 0);
}

TYPED_TEST(SocketWatchContractTest, AWaitEndsWhenSomethingArrives) {
    const SPW_Socket socket = this->watchedUdp();
    std::future<Sockets> ready = std::async(std::launch::async, [this] { return this->wait(); });
    EXPECT_EQ(ready.wait_for(kMoment), std::future_status::timeout);
    this->sendTo(socket, "x");
    ASSERT_EQ(ready.wait_for(kPatience), std::future_status::ready);
    EXPECT_EQ(ready.get(), Sockets{socket});
}

TYPED_TEST(SocketWatchContractTest, AWaitWithALimitEndsWithNothingReady) {
    this->watchedUdp();
    for (const std::uint32_t limitMs : {0u, 1u, 30u}) {
        SPW_CSocketSet ready;
        ready.add(0);
        const auto before = std::chrono::steady_clock::now();
        EXPECT_EQ(this->m_watch->wait(ready, limitMs), 0u);
        EXPECT_EQ(ready.size(), 0);
        EXPECT_GE(std::chrono::steady_clock::now() - before, std::chrono::milliseconds(limitMs));
    }
}

TYPED_TEST(SocketWatchContractTest, AWaitWithALimitEndsWithWhatIsReady) {
    const SPW_Socket socket = this->watchedUdp();
    for (const std::uint32_t limitMs : {0u, 600000u}) {
        this->sendTo(socket, "x");
        SPW_CSocketSet ready;
        EXPECT_EQ(this->m_watch->wait(ready, limitMs), 0u);
        EXPECT_TRUE(ready.contains(socket));
        EXPECT_EQ(this->receiveFrom(socket), "x");
    }
}

// ---- What is watched ----

TYPED_TEST(SocketWatchContractTest, WhatHasBeenRemovedIsNotLookedAt) {
    const SPW_Socket first = this->watchedUdp();
    const SPW_Socket second = this->watchedUdp();
    this->sendTo(first, "x");
    EXPECT_TRUE(this->remove(first));
    EXPECT_FALSE(this->remove(first));
    this->sendTo(second, "x");
    EXPECT_EQ(this->wait(), Sockets{second});
}

TYPED_TEST(SocketWatchContractTest, ASocketIsWatchedOnce) {
    const SPW_Socket socket = this->watchedUdp();
    EXPECT_FALSE(this->add(socket));
    this->sendTo(socket, "x");
    EXPECT_EQ(this->wait(), Sockets{socket});
}

TYPED_TEST(SocketWatchContractTest, AsManySocketsAreWatchedAsASetHolds) {
    Sockets sockets;
    for (int i = 0; i < SPW_CSocketSet::kMaximum; ++i) {
        sockets.push_back(this->watchedUdp());
    }
    const SPW_Socket beyond = this->boundUdp();
    EXPECT_FALSE(this->add(beyond));
    this->sendTo(beyond, "x");
    this->sendTo(sockets.back(), "x");
    EXPECT_EQ(this->wait(), Sockets{sockets.back()});
    for (const SPW_Socket socket : sockets) {
        this->sendTo(socket, "x");
    }
    EXPECT_EQ(this->wait(), sockets);
    EXPECT_TRUE(this->remove(sockets[5]));
    EXPECT_TRUE(this->add(beyond));
    sockets.erase(sockets.begin() + 5);
    sockets.push_back(beyond);
    EXPECT_EQ(this->wait(), sockets);
}

TYPED_TEST(SocketWatchContractTest, TwoWatchesWatchOneSocket) {
    const SPW_Socket socket = this->watchedUdp();
    const std::unique_ptr<SPW_CSocketWatch> other = this->s().openWatch();
    ASSERT_TRUE(other->add(socket));
    this->sendTo(socket, "x");
    EXPECT_EQ(this->wait(), Sockets{socket});
    SPW_CSocketSet ready;
    EXPECT_EQ(other->wait(ready), 0u);
    EXPECT_TRUE(ready.contains(socket));
    ASSERT_EQ(this->s().close(socket), 0);
    EXPECT_EQ(this->codeOfWait(), kSockNotSocket);
    EXPECT_EQ(other->wait(ready), kSockNotSocket);
}

TYPED_TEST(SocketWatchContractTest, AWaitForNothingIsInvalid) {
    EXPECT_EQ(this->codeOfWait(), kSockInvalid);
    const SPW_Socket socket = this->watchedUdp();
    ASSERT_TRUE(this->remove(socket));
    EXPECT_EQ(this->codeOfWait(), kSockInvalid);
}

// ---- Closing ----

TYPED_TEST(SocketWatchContractTest, CloseWakesAWait) {
    this->watchedUdp();
    EXPECT_EQ(this->closeDuringWait(this->watchedUdp()), kSockNotSocket);
}

TYPED_TEST(SocketWatchContractTest, CloseOfAListenerAndOfAConnectionWakesAWait) {
    const SPW_Socket listening = this->listener();
    const auto [client, server] = this->connectionTo(listening);
    ASSERT_TRUE(this->add(listening));
    ASSERT_TRUE(this->add(server));
    EXPECT_EQ(this->closeDuringWait(server), kSockNotSocket);
    ASSERT_TRUE(this->remove(server));
    EXPECT_EQ(this->receive(client), 0) << "the far end is told";
    EXPECT_EQ(this->closeDuringWait(listening), kSockNotSocket);
}

TYPED_TEST(SocketWatchContractTest, AClosedSocketFailsEveryWaitUntilItIsRemoved) {
    const SPW_Socket open = this->watchedUdp();
    const SPW_Socket closed = this->watchedUdp();
    const SPW_Socket alsoClosed = this->watchedUdp();
    this->sendTo(open, "x");
    ASSERT_EQ(this->s().close(closed), 0);
    ASSERT_EQ(this->s().close(alsoClosed), 0);
    EXPECT_EQ(this->codeOfWait(), kSockNotSocket);
    EXPECT_EQ(this->codeOfWait(), kSockNotSocket);
    EXPECT_TRUE(this->remove(closed));
    EXPECT_EQ(this->codeOfWait(), kSockNotSocket);
    EXPECT_TRUE(this->remove(alsoClosed));
    EXPECT_EQ(this->wait(), Sockets{open});
    EXPECT_EQ(this->receiveFrom(open), "x");
    EXPECT_EQ(this->closeDuringWait(open), kSockNotSocket) << "it waits again";
}

TYPED_TEST(SocketWatchContractTest, ASocketThatIsClosedAlreadyCanBeAddedAndFailsTheWait) {
    const SPW_Socket open = this->watchedUdp();
    this->sendTo(open, "x");
    const SPW_Socket closed = this->udp();
    ASSERT_EQ(this->s().close(closed), 0);
    EXPECT_TRUE(this->add(closed));
    EXPECT_EQ(this->codeOfWait(), kSockNotSocket);
    EXPECT_TRUE(this->remove(closed));
    EXPECT_EQ(this->wait(), Sockets{open});
}

TYPED_TEST(SocketWatchContractTest, ThePortOfASocketThatIsClosedDuringAWaitIsFree) {
    const SPW_Socket listening = this->listener();
    const std::uint16_t port = this->portOf(listening);
    ASSERT_TRUE(this->add(listening));
    EXPECT_EQ(this->closeDuringWait(listening), kSockNotSocket);
    this->listener(port);
}

TYPED_TEST(SocketWatchContractTest, SocketsOutliveTheirWatch) {
    const SPW_Socket socket = this->watchedUdp();
    this->m_watch.reset();
    this->sendTo(socket, "x");
    EXPECT_EQ(this->receiveFrom(socket), "x");
    EXPECT_EQ(this->s().close(socket), 0);
}

TYPED_TEST(SocketWatchContractTest, ThreadsThatCloseWhatIsBeingAddedAlwaysEndTheWait) {
    for (int round = 0; round < 100; ++round) {
        const SPW_Socket socket = this->boundUdp();
        std::thread closer([&] { EXPECT_EQ(this->s().close(socket), 0); });
        ASSERT_TRUE(this->add(socket));
        SPW_Result code = this->codeOfWait();
        while (code == 0) {  // the close is under way
            code = this->codeOfWait();
        }
        EXPECT_EQ(code, kSockNotSocket);
        closer.join();
        ASSERT_TRUE(this->remove(socket));
    }
}

}  // namespace
