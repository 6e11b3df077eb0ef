#pragma once

#include <cstdlib>
#include <string>
#include <vector>

#include "ExpectedAdapter.h"
#include "SPW_CNetworkInfo.h"

// The platform's network configuration, in the network that run-wine has made for the tests: two adapters, one with an
// address and one with none. No program can change it.
class PlatformNetwork {
public:
    static constexpr bool kCanBeWithoutAdapters = false;
    static constexpr bool kIsInOrderOfIndex = false;  // the platform promises no order

    bool isThere() const { return std::getenv("LINKOMETRY_TEST_NETWORK") != nullptr; }
    std::string reason() const {
        return "no network namespace may be made here, and who knows which adapters there are";
    }
    void addAdapters() {}
    std::vector<ExpectedAdapter> adapters() const {
        return {{"{}", {"198.51.100.1/255.255.255.0"}}, {"{}", {"0.0.0.0/0.0.0.0"}}};
    }
    // Adapters are named by an id that nobody can foretell.
    std::string nameOf(const SPW_AdapterRecord& adapter) const {
        const std::string name = adapter.adapterName;
        return name.size() > 2 && name.front() == '{' && name.back() == '}' ? "{}" : name;
    }
    // Whether a node of the list of gateways stands for there being none.
    bool isNoGateway(const std::string& text) const { return text.rfind("0.0.0.0/", 0) == 0; }
    SPW_CNetworkInfo& info() { return *SPW_CNetworkInfo::instance; }
};
