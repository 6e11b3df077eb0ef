#pragma once

#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "SPW_CSocket.h"

// The real half, with a plain socket of the platform's on the other side where the operations cannot do what is needed.
class RealSockets {
public:
    // Whether the device's own name stands for the loopback as well.
    static constexpr bool kNamesTheLoopback = false;

    RealSockets();
    ~RealSockets();
    RealSockets(const RealSockets&) = delete;
    RealSockets& operator=(const RealSockets&) = delete;

    SPW_CSocket& sockets() { return *SPW_CSocket::instance; }

    void sendToGroup(const SPW_CIpAddress& group, std::uint16_t port, const std::string& bytes);
    // Connects to the listening socket's port and sends one byte of data and one of urgent data over it.
    void connectAndSendUrgent(SPW_Socket listening, std::uint16_t port, const std::function<SPW_Socket()>& accept,
                              SPW_Socket& accepted);
    // An address and port that let a connect wait: a listener whose queue is full lets further requests unanswered.
    std::pair<SPW_CIpAddress, std::uint16_t> silentTarget();

private:
    std::uintptr_t plain(int type);

    std::vector<std::uintptr_t> m_plain;
};
