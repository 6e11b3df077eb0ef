// What the contract of SPW_CSocket cannot show: what the platform's sockets are told.

#include <gtest/gtest.h>
#include <winsock.h>

#include "RealSockets.h"
#include "SPW_CSocket.h"

namespace {

// The platform's socket that is bound to the port. The class keeps it for itself, but its number is a handle's.
SOCKET boundTo(int port) {
    for (SOCKET candidate = 4; candidate < 0x10000; candidate += 4) {
        sockaddr_in address = {};
        int size = sizeof address;
        if (::getsockname(candidate, reinterpret_cast<sockaddr*>(&address), &size) == 0 &&
            ntohs(address.sin_port) == port) {
            return candidate;
        }
    }
    return INVALID_SOCKET;
}

template <typename Value>
Value option(SOCKET socket, int level, int name) {
    Value value = {};
    int size = sizeof value;
    EXPECT_EQ(::getsockopt(socket, level, name, reinterpret_cast<char*>(&value), &size), 0) << WSAGetLastError();
    return value;
}

class SocketW32Test : public testing::Test {
protected:
    SPW_CSocket& s() { return m_real.sockets(); }

    RealSockets m_real;
};

TEST_F(SocketW32Test, TimeToLiveReachesThePlatform) {
    const SPW_Socket socket = s().openUdp();
    ASSERT_EQ(s().bind(socket, 0), 0);
    const SOCKET native = boundTo(s().localPort(socket));
    ASSERT_NE(native, INVALID_SOCKET);
    for (const int ttl : {1, 7, 255}) {
        EXPECT_EQ(s().setMulticastTtl(socket, ttl), 0);
        EXPECT_EQ(option<int>(native, IPPROTO_IP, IP_MULTICAST_TTL), ttl);
    }
    EXPECT_EQ(s().close(socket), 0);
}

TEST_F(SocketW32Test, OnlyASharedSocketMayUseItsAddressAgain) {
    for (const bool isShared : {false, true}) {
        const SPW_Socket socket = isShared ? s().openUdpShared() : s().openUdp();
        ASSERT_EQ(s().bind(socket, 0), 0);
        EXPECT_EQ(option<BOOL>(boundTo(s().localPort(socket)), SOL_SOCKET, SO_REUSEADDR) != 0, isShared);
        EXPECT_EQ(s().close(socket), 0);
    }
    const SPW_Socket listening = s().openTcp();
    ASSERT_EQ(s().bind(listening, 0), 0);
    EXPECT_EQ(option<BOOL>(boundTo(s().localPort(listening)), SOL_SOCKET, SO_REUSEADDR), FALSE);
    EXPECT_EQ(s().close(listening), 0);
}

}  // namespace
