#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <future>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "Patience.h"
#include "SPW_CSocket.h"
#include "SPW_CSysError.h"

// What the tests of SPW_CSocket's contract share, whatever stands behind it.

using std::chrono::milliseconds;

constexpr SPW_CIpAddress kLoopback(127, 0, 0, 1);
constexpr SPW_CIpAddress kGroup(228, 227, 226, 225);
// Not an address of any device of these tests.
constexpr SPW_CIpAddress kForeign(192, 0, 2, 7);
// The same as a time-out of select().
constexpr std::uint32_t kPatienceMs = kPatience.count();
// Less than the platforms wait before they give a connect up.
constexpr milliseconds kConnectTimeOut(15000);
// Long enough for a thread to have reached its blocking call, nearly always.
constexpr milliseconds kMoment(30);

struct Failure {
    int result = 0;
    SPW_Result code = kSysOk;
};

template <typename Implementation>
class SocketContractTest : public testing::Test {
protected:
    SPW_CSocket& s() { return m_implementation.sockets(); }

    ~SocketContractTest() override {
        for (const SPW_Socket socket : m_opened) {
            (void)s().close(socket);  // a test may have closed it
        }
    }

    SPW_Socket keep(SPW_Socket socket) {
        EXPECT_NE(socket, kInvalidSocket) << s().lastError();
        m_opened.push_back(socket);
        return socket;
    }
    SPW_Socket tcp() { return keep(s().openTcp()); }
    SPW_Socket udp() { return keep(s().openUdp()); }
    SPW_Socket boundUdp() {
        const SPW_Socket socket = udp();
        EXPECT_EQ(s().bind(socket, 0), 0);
        return socket;
    }
    SPW_Socket listener(std::uint16_t port = 0) {
        const SPW_Socket socket = tcp();
        EXPECT_EQ(s().bind(socket, port), 0) << s().lastError();
        EXPECT_EQ(s().listen(socket, 5), 0) << s().lastError();
        return socket;
    }
    std::uint16_t portOf(SPW_Socket socket) {
        const int port = s().localPort(socket);
        EXPECT_GT(port, 0);
        return static_cast<std::uint16_t>(port);
    }
    SPW_Socket accept(SPW_Socket listening) {
        SPW_CIpAddress peer;
        return keep(s().accept(listening, peer));
    }
    // Client and server side of a new connection.
    std::pair<SPW_Socket, SPW_Socket> connection() { return connectionTo(listener()); }
    std::pair<SPW_Socket, SPW_Socket> connectionTo(SPW_Socket listening) {
        const SPW_Socket client = tcp();
        EXPECT_EQ(s().connect(client, kLoopback, portOf(listening)), 0) << s().lastError();
        return {client, accept(listening)};
    }
    int send(SPW_Socket socket, const std::string& bytes) {
        return s().send(socket, bytes.data(), static_cast<int>(bytes.size()));
    }
    int sendTo(SPW_Socket socket, std::uint16_t port, const std::string& bytes) {
        return s().sendTo(socket, kLoopback, port, bytes.data(), static_cast<int>(bytes.size()));
    }
    int receive(SPW_Socket socket) {
        char buffer[100];
        return s().receive(socket, buffer, sizeof buffer);
    }
    std::string receiveFrom(SPW_Socket socket, int size = 100) {
        std::string buffer(static_cast<std::size_t>(size), '\0');
        SPW_CIpAddress sender;
        const int count = s().receiveFrom(socket, buffer.data(), size, sender);
        EXPECT_GE(count, 0) << s().lastError();
        buffer.resize(static_cast<std::size_t>(std::max(0, count)));
        return buffer;
    }
    bool isReadable(SPW_Socket socket, std::uint32_t timeoutMs = kPatienceMs) {
        SPW_CSocketSet read;
        read.add(socket);
        return s().select(&read, nullptr, timeoutMs) == 1 && read.isReady(socket);
    }
    Failure outcome(int result) { return {result, result == -1 ? s().lastError() : SPW_Result{kSysOk}}; }

    // Starts the call on a thread of its own, closes the socket under it, and answers how the call ended.
    Failure closeDuring(SPW_Socket socket, const std::function<int()>& call, milliseconds delay = kMoment) {
        std::future<Failure> ended = std::async(std::launch::async, [&] { return outcome(call()); });
        std::this_thread::sleep_for(delay);
        EXPECT_EQ(s().close(socket), 0);
        EXPECT_EQ(ended.wait_for(kPatience), std::future_status::ready) << "the call was not woken";
        return ended.get();
    }

    Implementation m_implementation;
    std::vector<SPW_Socket> m_opened;
};

// The call answers -1, and this is its code.
#define EXPECT_FAILS(call, expectedCode)                                         \
    do {                                                                         \
        EXPECT_EQ(call, -1);                                                     \
        EXPECT_EQ(this->s().lastError(), static_cast<SPW_Result>(expectedCode)); \
    } while (false)
