#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "NeedsNamespaces.h"
#include "Patience.h"
#include "SPW_CIcmp.h"

// What the tests of SPW_CIcmp's contract share, whatever stands behind it.

using std::chrono::milliseconds;
using Time = std::chrono::steady_clock;

// Time-out of an echo that is answered.
constexpr std::uint32_t kPatienceMs = kPatience.count();

constexpr SPW_CIpAddress kLoopback(127, 0, 0, 1);
// Not an address of any device of these tests.
constexpr SPW_CIpAddress kForeign(192, 0, 2, 7);

struct ServiceNames {
    template <typename T>
    static std::string GetName(int) {
        return T::kName;
    }
};

// One echo. A test names what it varies; the rest is such that the loopback answers.
class Echo {
public:
    Echo(SPW_CIcmp& icmp, SPW_Handle service) : m_icmp(icmp), m_service(service) {}

    Echo& to(const SPW_CIpAddress& address) {
        m_address = address;
        return *this;
    }
    Echo& carrying(const std::string& data) {
        m_data = data;
        return *this;
    }
    Echo& carryingBytes(int count) { return carrying(std::string(static_cast<std::size_t>(count), 'd')); }
    Echo& withinMs(std::uint32_t timeoutMs) {
        m_timeoutMs = timeoutMs;
        return *this;
    }
    // Otherwise there is room for a reply that carries as much as the request.
    Echo& withReplyBytes(std::uint32_t count) {
        m_replyBytes = count;
        return *this;
    }
    // Sends it, waits for its end, and gives the number of replies.
    std::uint32_t replies() { return reply().count; }
    // The same, and gives what is known of the reply.
    SPW_EchoReply reply() {
        SPW_EchoRequest request;
        request.address = m_address;
        request.data = m_data.data();
        request.dataSize = static_cast<std::uint16_t>(m_data.size());
        request.timeoutMs = m_timeoutMs;
        SPW_EchoReply reply;
        reply.bufferSize = m_replyBytes.value_or(kSmallestIcmpReply + static_cast<std::uint32_t>(m_data.size()));
        std::vector<char> buffer(reply.bufferSize);
        reply.buffer = buffer.data();
        m_icmp.echo(m_service, request, reply);
        reply.buffer = nullptr;
        return reply;
    }

private:
    SPW_CIcmp& m_icmp;
    const SPW_Handle m_service;
    SPW_CIpAddress m_address = kLoopback;
    std::string m_data = std::string(32, 'd');
    std::uint32_t m_timeoutMs = kPatienceMs;
    std::optional<std::uint32_t> m_replyBytes;
};

template <typename Implementation>
class IcmpContractTest : public testing::Test {
protected:
    void SetUp() override {
        SKIP_OUTSIDE_NAMESPACES(m_implementation.isThere(), m_implementation.reason());
        m_service = icmp().open();
        ASSERT_NE(m_service, nullptr) << icmp().lastError();
    }
    void TearDown() override {
        if (m_service != nullptr) {
            icmp().close(m_service);
        }
    }

    SPW_CIcmp& icmp() { return m_implementation.icmp(); }
    // An echo through the test's own service.
    Echo echo() { return Echo(icmp(), m_service); }

    Implementation m_implementation;
    SPW_Handle m_service = nullptr;
};
