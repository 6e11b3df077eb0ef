#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <thread>

#include "SPW_CIcmp.h"

// The platform's echo service.
class EchoService {
public:
    static constexpr const char* kName = "Platform";

    bool isThere() const { return std::getenv("LINKOMETRY_TEST_NETWORK") != nullptr; }
    std::string reason() const { return "no network namespace may be made here, and echoes would leave this machine"; }
    SPW_CIcmp& icmp() { return *SPW_CIcmp::instance; }
    // In a network that run-wine has made for the tests; requests to it are sent and nobody is there to answer.
    SPW_CIpAddress silentAddress() { return SPW_CIpAddress(198, 51, 100, 9); }
    // The time-out of an echo that is to be cancelled: longer than the cancel takes. What the cancel leaves is waited
    // for. When a program ends before, Wine's echo service stands still for all others.
    static constexpr std::uint32_t kLeftEchoMs = 3000;
    void waitForLeftEchoes() {
        constexpr std::uint32_t kMarginMs = 500;
        std::this_thread::sleep_for(std::chrono::milliseconds(kLeftEchoMs + kMarginMs));
    }
};

// The list that a typed test goes through, with others behind.
template <typename... Others>
using IcmpServices = testing::Types<EchoService, Others...>;
