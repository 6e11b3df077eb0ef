#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <string>
#include <vector>

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

template <typename Implementation>
class IcmpContractTest : public testing::Test {
protected:
    void SetUp() override {
        if (!m_implementation.isThere()) {
            GTEST_SKIP() << m_implementation.reason();
        }
        m_service = icmp().open();
        ASSERT_NE(m_service, nullptr) << icmp().lastError();
    }
    void TearDown() override {
        if (m_service != nullptr) {
            icmp().close(m_service);
        }
    }

    SPW_CIcmp& icmp() { return m_implementation.icmp(); }
    std::uint32_t echo(const SPW_CIpAddress& address, std::uint16_t dataSize, std::uint32_t timeoutMs) {
        const std::vector<char> data(dataSize + 1u, 'd');
        std::vector<char> reply(kSmallestIcmpReply + dataSize);
        return icmp().echo(m_service, address, data.data(), dataSize, reply.data(),
                           static_cast<std::uint32_t>(reply.size()), timeoutMs);
    }

    Implementation m_implementation;
    SPW_Handle m_service = nullptr;
};
