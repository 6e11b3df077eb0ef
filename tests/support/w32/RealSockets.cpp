#include "RealSockets.h"

#include <gtest/gtest.h>
#include <winsock.h>

namespace {

sockaddr_in addressOf(unsigned long address, std::uint16_t port) {
    sockaddr_in native = {};
    native.sin_family = AF_INET;
    native.sin_port = htons(port);
    native.sin_addr.s_addr = address;
    return native;
}

unsigned long loopback() {
    return htonl(INADDR_LOOPBACK);
}

}  // namespace

RealSockets::RealSockets() {
    EXPECT_EQ(sockets().startup(), 0u);
}

RealSockets::~RealSockets() {
    for (const SOCKET socket : m_plain) {
        closesocket(socket);
    }
    sockets().cleanup();
}

void RealSockets::sendToGroup(const SPW_CIpAddress& group, std::uint16_t port, const std::string& bytes) {
    const SOCKET sender = plain(SOCK_DGRAM);
    const unsigned long interfaceAddress = loopback();
    ASSERT_EQ(::setsockopt(sender, IPPROTO_IP, IP_MULTICAST_IF, reinterpret_cast<const char*>(&interfaceAddress),
                           sizeof interfaceAddress),
              0);
    const sockaddr_in target = addressOf(inet_addr(group.toText().toAnsi()), port);
    ASSERT_EQ(::sendto(sender, bytes.data(), static_cast<int>(bytes.size()), 0,
                       reinterpret_cast<const sockaddr*>(&target), sizeof target),
              static_cast<int>(bytes.size()));
}

void RealSockets::connectAndSendUrgent(SPW_Socket, std::uint16_t port, const std::function<SPW_Socket()>& accept,
                                       SPW_Socket& accepted) {
    const SOCKET client = plain(SOCK_STREAM);
    const sockaddr_in target = addressOf(loopback(), port);
    ASSERT_EQ(::connect(client, reinterpret_cast<const sockaddr*>(&target), sizeof target), 0);
    accepted = accept();
    ASSERT_EQ(::send(client, "a", 1, 0), 1);
    ASSERT_EQ(::send(client, "!", 1, MSG_OOB), 1);
}

std::pair<SPW_CIpAddress, std::uint16_t> RealSockets::silentTarget() {
    const SOCKET listener = plain(SOCK_STREAM);
    sockaddr_in address = addressOf(loopback(), 0);
    int size = sizeof address;
    EXPECT_EQ(::bind(listener, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    EXPECT_EQ(::listen(listener, 0), 0);
    EXPECT_EQ(::getsockname(listener, reinterpret_cast<sockaddr*>(&address), &size), 0);
    EXPECT_EQ(::connect(plain(SOCK_STREAM), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    return {SPW_CIpAddress(127, 0, 0, 1), ntohs(address.sin_port)};
}

std::uintptr_t RealSockets::plain(int type) {
    m_plain.push_back(::socket(AF_INET, type, 0));
    EXPECT_NE(m_plain.back(), INVALID_SOCKET);
    return m_plain.back();
}
