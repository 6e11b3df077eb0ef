#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

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
};

// The list that a typed test goes through, with others behind.
template <typename... Others>
using IcmpServices = testing::Types<EchoService, Others...>;
