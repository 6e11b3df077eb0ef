#pragma once

#include <gtest/gtest.h>

#include <string>

#include "OwnNetwork.h"
#include "SPW_CIcmp.h"

// The platform's echo service in its two forms, each in a network of the test's own, where nobody else's echoes pass.

// Everybody may have ICMP datagram sockets in this network.
class DatagramService {
public:
    static constexpr const char* kName = "Datagram";

    DatagramService() {
        if (m_network.isThere()) {
            m_isThere = m_network.setKernel("ipv4/ping_group_range", "0 2147483647");
        }
    }
    bool isThere() const { return m_isThere; }
    const std::string& reason() const { return m_network.reason(); }
    SPW_CIcmp& icmp() { return *SPW_CIcmp::instance; }
    // From now on echoes are not answered.
    void silence() { ASSERT_TRUE(m_network.setKernel("ipv4/icmp_echo_ignore_all", "1")); }
    SPW_CIpAddress silentAddress() {
        silence();
        return SPW_CIpAddress(127, 0, 0, 1);
    }

private:
    OwnNetwork m_network;
    bool m_isThere = false;
};

// Nobody may have one in this network, but we may have a raw socket.
class RawService {
public:
    static constexpr const char* kName = "Raw";

    RawService() {
        if (m_network.isThere()) {
            m_isThere = m_network.setKernel("ipv4/ping_group_range", "1 0");
        }
    }
    bool isThere() const { return m_isThere; }
    const std::string& reason() const { return m_network.reason(); }
    SPW_CIcmp& icmp() { return *SPW_CIcmp::instance; }
    void silence() { ASSERT_TRUE(m_network.setKernel("ipv4/icmp_echo_ignore_all", "1")); }
    SPW_CIpAddress silentAddress() {
        silence();
        return SPW_CIpAddress(127, 0, 0, 1);
    }

private:
    OwnNetwork m_network;
    bool m_isThere = false;
};

// The list that a typed test goes through, with others behind.
template <typename... Others>
using IcmpServices = testing::Types<DatagramService, RawService, Others...>;
