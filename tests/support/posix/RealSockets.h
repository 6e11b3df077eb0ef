#pragma once

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "SPW_CSocket.h"

// The real half, with a plain socket of the kernel's on the other side where the operations cannot do what is needed.
class RealSockets {
public:
    // Whether the device's own name stands for the loopback as well.
    static constexpr bool kNamesTheLoopback = true;

    SPW_CSocket& sockets() { return *SPW_CSocket::instance; }

    void sendToGroup(const SPW_CIpAddress& group, std::uint16_t port, const std::string& bytes) {
        const int sender = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
        const in_addr loopback{htonl(INADDR_LOOPBACK)};
        ASSERT_EQ(::setsockopt(sender, IPPROTO_IP, IP_MULTICAST_IF, &loopback, sizeof loopback), 0);
        sockaddr_in target{};
        target.sin_family = AF_INET;
        target.sin_port = htons(port);
        target.sin_addr.s_addr = ::inet_addr(group.toText().toAnsi());
        ASSERT_EQ(::sendto(sender, bytes.data(), bytes.size(), 0, reinterpret_cast<sockaddr*>(&target), sizeof target),
                  static_cast<ssize_t>(bytes.size()));
        ::close(sender);
    }
    // Connects to the listening socket's port and sends one byte of data and one of urgent data over it.
    void connectAndSendUrgent(SPW_Socket, std::uint16_t port, const std::function<SPW_Socket()>& accept,
                              SPW_Socket& accepted) {
        m_urgent = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in target{};
        target.sin_family = AF_INET;
        target.sin_port = htons(port);
        target.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        ASSERT_EQ(::connect(m_urgent, reinterpret_cast<sockaddr*>(&target), sizeof target), 0);
        accepted = accept();
        ASSERT_EQ(::send(m_urgent, "a", 1, 0), 1);
        ASSERT_EQ(::send(m_urgent, "!", 1, MSG_OOB), 1);
    }
    // An address and port that let a connect wait: a listener whose queue is full lets further requests unanswered.
    std::pair<SPW_CIpAddress, std::uint16_t> silentTarget() {
        const int listener = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        m_plain.push_back(listener);
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t size = sizeof address;
        EXPECT_EQ(::bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
        EXPECT_EQ(::listen(listener, 0), 0);
        EXPECT_EQ(::getsockname(listener, reinterpret_cast<sockaddr*>(&address), &size), 0);
        const int filler = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        m_plain.push_back(filler);
        EXPECT_EQ(::connect(filler, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
        return {SPW_CIpAddress(127, 0, 0, 1), ntohs(address.sin_port)};
    }
    ~RealSockets() {
        for (const int descriptor : m_plain) {
            ::close(descriptor);
        }
        if (m_urgent != -1) {
            ::close(m_urgent);
        }
    }

private:
    int m_urgent = -1;
    std::vector<int> m_plain;
};
