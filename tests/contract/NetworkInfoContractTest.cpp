#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <type_traits>
#include <vector>

#include "ExpectedAdapter.h"
#include "NeedsNamespaces.h"
#include "PlatformNetwork.h"
#include "SPW_CNetworkInfo.h"
#include "SPW_CSysError.h"
#include "ScriptedNetworkInfo.h"
#include "Wine.h"

// What SPW_CNetworkInfo.h promises, shown on the platform's own network configuration and on the scripted one.

namespace {

class ScriptedNetwork {
public:
    static constexpr bool kCanBeWithoutAdapters = true;
    static constexpr bool kIsInOrderOfIndex = true;

    ScriptedNetwork() { m_info.network.hostName = "pocket"; }

    bool isThere() const { return true; }
    std::string reason() const { return {}; }
    void addAdapters() {
        ScriptedNetworkInfo::Adapter first;
        first.name = "first";
        first.index = 2;
        first.type = 6;
        first.hardwareAddress = {2, 0, 0, 0, 0, 1};
        first.addresses = {{"10.1.2.3", "255.255.255.0"}, {"10.2.2.3", "255.0.0.0"}};
        ScriptedNetworkInfo::Adapter second = first;
        second.name = "second";
        second.index = 3;
        second.addresses.clear();
        m_info.adapterList = {first, second};
    }
    std::vector<ExpectedAdapter> adapters() const {
        return {{"first", {"10.1.2.3/255.255.255.0", "10.2.2.3/255.0.0.0"}}, {"second", {}}};
    }
    std::string nameOf(const SPW_AdapterRecord& adapter) const { return adapter.adapterName; }
    bool isNoGateway(const std::string&) const { return false; }
    SPW_CNetworkInfo& info() { return m_info; }

private:
    ScriptedNetworkInfo m_info;
};

struct NetworkNames {
    template <typename T>
    static std::string GetName(int) {
        return std::is_same_v<T, PlatformNetwork> ? "Platform" : "Scripted";
    }
};

// Aligned as the contract demands, with room that must stay untouched behind.
class Buffer {
public:
    explicit Buffer(std::uint32_t size) : m_size(size), m_bytes(size + kGuard, kUntouched) {}
    template <typename T>
    T* as() {
        return reinterpret_cast<T*>(m_bytes.data());
    }
    bool contains(const void* pointer, std::size_t size) const {
        const auto* const bytes = static_cast<const std::uint8_t*>(pointer);
        return bytes >= m_bytes.data() && bytes + size <= m_bytes.data() + m_size;
    }
    bool isIntactBehind() const {
        return std::all_of(m_bytes.begin() + m_size, m_bytes.end(), [](std::uint8_t b) { return b == kUntouched; });
    }
    bool isUntouched() const {
        return std::all_of(m_bytes.begin(), m_bytes.end(), [](std::uint8_t b) { return b == kUntouched; });
    }

private:
    static constexpr std::uint32_t kGuard = 64;
    static constexpr std::uint8_t kUntouched = 0xA5;
    std::uint32_t m_size;
    std::vector<std::uint8_t> m_bytes;
};

template <typename Implementation>
class NetworkInfoContractTest : public testing::Test {
protected:
    void SetUp() override { SKIP_OUTSIDE_NAMESPACES(m_implementation.isThere(), m_implementation.reason()); }
    SPW_CNetworkInfo& info() { return m_implementation.info(); }

    // Of the records and nodes that the expected adapters need at least.
    std::uint32_t smallestSize() {
        std::size_t size = 0;
        for (const ExpectedAdapter& adapter : m_implementation.adapters()) {
            const std::size_t more = adapter.addresses.empty() ? 0 : adapter.addresses.size() - 1;
            size += sizeof(SPW_AdapterRecord) + more * sizeof(SPW_AddressNode);
        }
        return static_cast<std::uint32_t>(size);
    }

    // The nodes of a list, each inside the buffer.
    static std::vector<std::string> addressesIn(const Buffer& buffer, const SPW_AddressNode* node) {
        std::vector<std::string> texts;
        for (; node != nullptr; node = node->next) {
            EXPECT_TRUE(buffer.contains(node, sizeof *node));
            if (node->address[0] != 0) {
                texts.push_back(std::string(node->address) + "/" + node->mask);
            }
        }
        return texts;
    }

    Implementation m_implementation;
};

using Networks = testing::Types<PlatformNetwork, ScriptedNetwork>;
TYPED_TEST_SUITE(NetworkInfoContractTest, Networks, NetworkNames);

TYPED_TEST(NetworkInfoContractTest, WithoutAdaptersThereIsNothingToTell) {
    if (!TypeParam::kCanBeWithoutAdapters) {
        GTEST_SKIP() << "the network that these tests are given has adapters";
    }
    std::uint32_t size = 0;
    EXPECT_EQ(this->info().adapters(nullptr, size), kSysNoData);
}

TYPED_TEST(NetworkInfoContractTest, AQueryTellsTheSizeAndABufferOfThatSizeIsFilled) {
    this->m_implementation.addAdapters();
    std::uint32_t size = 0;
    ASSERT_EQ(this->info().adapters(nullptr, size), kSysBufferOverflow);
    ASSERT_GE(size, this->smallestSize());
    Buffer buffer(size);
    ASSERT_EQ(this->info().adapters(buffer.template as<SPW_AdapterRecord>(), size), kSysOk);
    EXPECT_TRUE(buffer.isIntactBehind());

    std::vector<ExpectedAdapter> told;
    std::vector<std::uint32_t> indexes;
    for (const auto* adapter = buffer.template as<SPW_AdapterRecord>(); adapter != nullptr; adapter = adapter->next) {
        ASSERT_TRUE(buffer.contains(adapter, sizeof *adapter));
        told.push_back({this->m_implementation.nameOf(*adapter), this->addressesIn(buffer, &adapter->ipAddressList)});
        indexes.push_back(adapter->index);
    }
    EXPECT_THAT(told, testing::UnorderedElementsAreArray(this->m_implementation.adapters()));
    if (TypeParam::kIsInOrderOfIndex) {
        EXPECT_TRUE(std::is_sorted(indexes.begin(), indexes.end()));
    }
    std::sort(indexes.begin(), indexes.end());
    EXPECT_EQ(std::adjacent_find(indexes.begin(), indexes.end()), indexes.end()) << "an index of two";
}

TYPED_TEST(NetworkInfoContractTest, AnEthernetAdapterWithFixedAddressesIsTold) {
    this->m_implementation.addAdapters();
    std::uint32_t size = 0;
    ASSERT_EQ(this->info().adapters(nullptr, size), kSysBufferOverflow);
    Buffer buffer(size);
    ASSERT_EQ(this->info().adapters(buffer.template as<SPW_AdapterRecord>(), size), kSysOk);
    for (const auto* adapter = buffer.template as<SPW_AdapterRecord>(); adapter != nullptr; adapter = adapter->next) {
        EXPECT_EQ(adapter->type, 6u);
        EXPECT_EQ(adapter->addressLength, 6u);
        for (const std::string& gateway : this->addressesIn(buffer, &adapter->gatewayList)) {
            EXPECT_TRUE(this->m_implementation.isNoGateway(gateway)) << gateway;
        }
        EXPECT_TRUE(this->addressesIn(buffer, &adapter->dhcpServer).empty());
        EXPECT_TRUE(this->addressesIn(buffer, &adapter->primaryWinsServer).empty());
        EXPECT_TRUE(this->addressesIn(buffer, &adapter->secondaryWinsServer).empty());
        EXPECT_EQ(adapter->haveWins, 0);
        EXPECT_EQ(adapter->leaseObtained, 0);
        EXPECT_EQ(adapter->leaseExpires, 0);
        if (!runsUnderWine() || std::is_same_v<TypeParam, ScriptedNetwork>) {
            // Wine takes every adapter for one that asks a DHCP server.
            EXPECT_EQ(adapter->dhcpEnabled, 0u);
        }
    }
}

TYPED_TEST(NetworkInfoContractTest, ABufferThatIsTooSmallIsLeftAloneAndTheSizeToldAgain) {
    this->m_implementation.addAdapters();
    std::uint32_t needed = 0;
    ASSERT_EQ(this->info().adapters(nullptr, needed), kSysBufferOverflow);
    for (const std::uint32_t tooSmall : {0u, 1u, needed - 1}) {
        Buffer buffer(needed);
        std::uint32_t size = tooSmall;
        EXPECT_EQ(this->info().adapters(buffer.template as<SPW_AdapterRecord>(), size), kSysBufferOverflow);
        EXPECT_EQ(size, needed);
        EXPECT_TRUE(buffer.isUntouched());
    }
}

TYPED_TEST(NetworkInfoContractTest, TheNetworksParametersTakeTheSameTwoSteps) {
    std::uint32_t size = 0;
    ASSERT_EQ(this->info().networkParameters(nullptr, size), kSysBufferOverflow);
    const std::uint32_t needed = size;
    ASSERT_GE(needed, sizeof(SPW_NetworkParameters));
    {
        Buffer buffer(needed);
        size = needed - 1;
        EXPECT_EQ(this->info().networkParameters(buffer.template as<SPW_NetworkParameters>(), size),
                  kSysBufferOverflow);
        EXPECT_EQ(size, needed);
        EXPECT_TRUE(buffer.isUntouched());
    }
    Buffer buffer(needed);
    ASSERT_EQ(this->info().networkParameters(buffer.template as<SPW_NetworkParameters>(), size), kSysOk);
    EXPECT_TRUE(buffer.isIntactBehind());
    const SPW_NetworkParameters* const network = buffer.template as<SPW_NetworkParameters>();
    (void)this->addressesIn(buffer, &network->dnsServerList);
    (void)this->addressesIn(buffer, network->currentDnsServer);
    const std::size_t length = std::strlen(network->hostName);
    EXPECT_GT(length, 0u);
    EXPECT_LT(length, sizeof network->hostName);
}

}  // namespace
