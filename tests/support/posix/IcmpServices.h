#pragma once

#include <gtest/gtest.h>

#include <string>

#include "OwnNetwork.h"
#include "SPW_CIcmp.h"

// The platform's echo service in its two forms, each in a network of the test's own, where nobody else's echoes pass.

// pingGroups: the kernel's setting of who may have ICMP datagram sockets, two numbers of groups.
class KernelService {
public:
    bool isThere() const { return m_isThere; }
    const std::string& reason() const { return m_network.reason(); }
    SPW_CIcmp& icmp() { return *SPW_CIcmp::instance; }
    // From now on echoes are not answered.
    void silence() { ASSERT_TRUE(m_network.setKernel("ipv4/icmp_echo_ignore_all", "1")); }
    SPW_CIpAddress silentAddress() {
        silence();
        return SPW_CIpAddress(127, 0, 0, 1);
    }
    // The time-out of an echo that is to be cancelled. A cancel leaves nothing behind here.
    static constexpr std::uint32_t kLeftEchoMs = kSPWForever;
    void waitForLeftEchoes() {}

protected:
    explicit KernelService(const char* pingGroups)
        : m_isThere(m_network.isThere() && m_network.setKernel("ipv4/ping_group_range", pingGroups)) {}

private:
    OwnNetwork m_network;
    bool m_isThere;
};

// Everybody may have ICMP datagram sockets in this network.
class DatagramService : public KernelService {
public:
    static constexpr const char* kName = "Datagram";

    DatagramService() : KernelService("0 2147483647") {}
};

// Nobody may have one in this network, but we may have a raw socket.
class RawService : public KernelService {
public:
    static constexpr const char* kName = "Raw";

    RawService() : KernelService("1 0") {}
};

// The list that a typed test goes through, with others behind.
template <typename... Others>
using IcmpServices = testing::Types<DatagramService, RawService, Others...>;
