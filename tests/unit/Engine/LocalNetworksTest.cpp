#include "LocalNetworks.h"

#include <gtest/gtest.h>

#include "ScriptedNetworkInfo.h"

namespace {

class LocalNetworksTest : public testing::Test {
protected:
    void add(const ScriptedNetworkInfo::Addresses& addresses) {
        m_system.adapterList.emplace_back();
        m_system.adapterList.back().addresses = addresses;
    }
    static bool contains(const char16_t* address) { return LocalNetworks::read().contains(address); }

    ScriptedNetworkInfo m_system;
};

TEST_F(LocalNetworksTest, ANetworkIsAnAddressAndItsMask) {
    add({{"10.77.0.1", "255.255.255.0"}});
    EXPECT_TRUE(contains(u"10.77.0.2"));
    EXPECT_TRUE(contains(u"10.77.0.255"));
    EXPECT_FALSE(contains(u"10.77.1.2"));
    EXPECT_FALSE(contains(u"11.77.0.2"));
}

TEST_F(LocalNetworksTest, TheNetworksOfAllAddressesOfAllInterfacesCount) {
    add({{"10.77.0.1", "255.255.255.0"}, {"192.168.4.129", "255.255.255.128"}});
    add({{"172.16.0.1", "255.240.0.0"}});
    EXPECT_TRUE(contains(u"10.77.0.2"));
    EXPECT_TRUE(contains(u"192.168.4.254"));
    EXPECT_FALSE(contains(u"192.168.4.126"));
    EXPECT_TRUE(contains(u"172.31.255.254"));
    EXPECT_FALSE(contains(u"172.32.0.1"));
}

TEST_F(LocalNetworksTest, AnInterfaceWithoutAnAddressOrAMaskHasNoNetwork) {
    add({{"0.0.0.0", "0.0.0.0"}});
    add({{"", "255.255.255.0"}, {"10.77.0.1", ""}, {"10.78.0.1", "0.0.0.0"}});
    add({});
    EXPECT_FALSE(contains(u"10.77.0.1"));
    EXPECT_FALSE(contains(u"10.78.0.1"));
    EXPECT_FALSE(contains(u"0.0.0.0"));
}

TEST_F(LocalNetworksTest, WhereThePlatformTellsNothingNoAddressIsContained) {
    EXPECT_FALSE(contains(u"10.77.0.1"));
    add({{"10.77.0.1", "255.255.255.0"}});
    m_system.adapterScript.failureOfSizeQuery = kSysNotSupported;
    EXPECT_FALSE(contains(u"10.77.0.1"));
}

TEST_F(LocalNetworksTest, WhatIsNoDottedQuadIsInNoNetwork) {
    add({{"10.77.0.1", "255.255.255.0"}});
    EXPECT_FALSE(contains(u""));
    EXPECT_FALSE(contains(u"host"));
    EXPECT_FALSE(contains(u"10.77.0"));
}

}  // namespace
