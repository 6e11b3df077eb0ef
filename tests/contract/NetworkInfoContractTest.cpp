#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <type_traits>
#include <vector>

#include "KernelLinks.h"
#include "OwnNetwork.h"
#include "SPW_CNetworkInfo.h"
#include "SPW_CSysError.h"
#include "ScriptedNetworkInfo.h"

// What SPW_CNetworkInfo.h promises, shown on the platform's own network configuration, in a network of the test's own,
// and on the scripted one.

namespace {

// Two adapters, one with two addresses, or none.
class PlatformNetwork {
public:
    bool isThere() const { return m_network.isThere(); }
    std::string reason() const { return m_network.reason(); }
    void addAdapters() {
        KernelLinks links;
        ASSERT_TRUE(links.addVethPair("first", "second")) << links.reason();
        ASSERT_TRUE(links.addAddress("first", "10.1.2.3", 24)) << links.reason();
        ASSERT_TRUE(links.addAddress("first", "10.2.2.3", 8)) << links.reason();
    }
    SPW_CNetworkInfo& info() { return *SPW_CNetworkInfo::instance; }

private:
    OwnNetwork m_network;
};

class ScriptedNetwork {
public:
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
    void SetUp() override {
        if (!m_implementation.isThere()) {
            GTEST_SKIP() << m_implementation.reason();
        }
    }
    SPW_CNetworkInfo& info() { return m_implementation.info(); }

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
    std::uint32_t size = 0;
    EXPECT_EQ(this->info().adapters(nullptr, size), kSysNoData);
}

TYPED_TEST(NetworkInfoContractTest, AQueryTellsTheSizeAndABufferOfThatSizeIsFilled) {
    this->m_implementation.addAdapters();
    std::uint32_t size = 0;
    ASSERT_EQ(this->info().adapters(nullptr, size), kSysBufferOverflow);
    ASSERT_GE(size, 2 * sizeof(SPW_AdapterRecord) + sizeof(SPW_AddressNode));
    Buffer buffer(size);
    ASSERT_EQ(this->info().adapters(buffer.as<SPW_AdapterRecord>(), size), kSysOk);
    EXPECT_TRUE(buffer.isIntactBehind());

    const SPW_AdapterRecord* const first = buffer.as<SPW_AdapterRecord>();
    const SPW_AdapterRecord* const second = first->next;
    ASSERT_TRUE(buffer.contains(second, sizeof *second));
    EXPECT_EQ(second->next, nullptr);
    EXPECT_LT(first->index, second->index);
    // The kernel gives the second end of a pair the lower index.
    const bool isSwapped = std::string(first->adapterName) == "second";
    const SPW_AdapterRecord* const one = isSwapped ? second : first;
    const SPW_AdapterRecord* const other = isSwapped ? first : second;
    EXPECT_STREQ(one->adapterName, "first");
    EXPECT_STREQ(other->adapterName, "second");
    EXPECT_EQ(one->type, 6u);
    EXPECT_EQ(one->addressLength, 6u);
    EXPECT_EQ(this->addressesIn(buffer, &one->ipAddressList),
              (std::vector<std::string>{"10.1.2.3/255.255.255.0", "10.2.2.3/255.0.0.0"}));
    EXPECT_TRUE(this->addressesIn(buffer, &other->ipAddressList).empty());
    EXPECT_TRUE(this->addressesIn(buffer, &one->gatewayList).empty());
    EXPECT_EQ(one->dhcpEnabled, 0u);
    EXPECT_EQ(one->leaseObtained, 0);
}

TYPED_TEST(NetworkInfoContractTest, ABufferThatIsTooSmallIsLeftAloneAndTheSizeToldAgain) {
    this->m_implementation.addAdapters();
    std::uint32_t needed = 0;
    ASSERT_EQ(this->info().adapters(nullptr, needed), kSysBufferOverflow);
    for (const std::uint32_t tooSmall : {0u, 1u, needed - 1}) {
        Buffer buffer(needed);
        std::uint32_t size = tooSmall;
        EXPECT_EQ(this->info().adapters(buffer.as<SPW_AdapterRecord>(), size), kSysBufferOverflow);
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
        EXPECT_EQ(this->info().networkParameters(buffer.as<SPW_NetworkParameters>(), size), kSysBufferOverflow);
        EXPECT_EQ(size, needed);
        EXPECT_TRUE(buffer.isUntouched());
    }
    Buffer buffer(needed);
    ASSERT_EQ(this->info().networkParameters(buffer.as<SPW_NetworkParameters>(), size), kSysOk);
    EXPECT_TRUE(buffer.isIntactBehind());
    const SPW_NetworkParameters* const network = buffer.as<SPW_NetworkParameters>();
    (void)this->addressesIn(buffer, &network->dnsServerList);
    (void)this->addressesIn(buffer, network->currentDnsServer);
    EXPECT_LT(std::strlen(network->hostName), sizeof network->hostName);
}

}  // namespace
