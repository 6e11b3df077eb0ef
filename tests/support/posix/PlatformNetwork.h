#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ExpectedAdapter.h"
#include "KernelLinks.h"
#include "OwnNetwork.h"
#include "SPW_CNetworkInfo.h"

// The platform's network configuration, in a network of the test's own: no adapters at first, then two, one with two
// addresses and one with none.
class PlatformNetwork {
public:
    static constexpr bool kCanBeWithoutAdapters = true;
    static constexpr bool kIsInOrderOfIndex = true;

    bool isThere() const { return m_network.isThere(); }
    std::string reason() const { return m_network.reason(); }
    void addAdapters() {
        KernelLinks links;
        ASSERT_TRUE(links.addVethPair("first", "second")) << links.reason();
        ASSERT_TRUE(links.addAddress("first", "10.1.2.3", 24)) << links.reason();
        ASSERT_TRUE(links.addAddress("first", "10.2.2.3", 8)) << links.reason();
    }
    std::vector<ExpectedAdapter> adapters() const {
        return {{"first", {"10.1.2.3/255.255.255.0", "10.2.2.3/255.0.0.0"}}, {"second", {}}};
    }
    std::string nameOf(const SPW_AdapterRecord& adapter) const { return adapter.adapterName; }
    // Whether a node of the list of gateways stands for there being none.
    bool isNoGateway(const std::string&) const { return false; }
    SPW_CNetworkInfo& info() { return *SPW_CNetworkInfo::instance; }

private:
    OwnNetwork m_network;
};
