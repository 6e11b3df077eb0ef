#include "SPW_CNetworkInfo.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

#include "SPW_CSysError.h"

namespace {

// As operator new aligns.
std::vector<std::max_align_t> room(std::uint32_t bytes) {
    return std::vector<std::max_align_t>(bytes / sizeof(std::max_align_t) + 1);
}

TEST(NetworkInfoW32Test, ParametersTakeTwoSteps) {
    SPW_CNetworkInfo& info = *SPW_CNetworkInfo::instance;
    std::uint32_t size = 0;
    ASSERT_EQ(info.networkParameters(nullptr, size), kSysBufferOverflow);
    ASSERT_GE(size, sizeof(SPW_NetworkParameters));
    auto buffer = room(size);
    auto* const parameters = reinterpret_cast<SPW_NetworkParameters*>(buffer.data());
    ASSERT_EQ(info.networkParameters(parameters, size), kSysOk);
    EXPECT_STRNE(parameters->hostName, "");
}

TEST(NetworkInfoW32Test, AdapterOfTheTestsNetworkIsTold) {
    if (std::getenv("LINKOMETRY_TEST_NETWORK") == nullptr) {
        GTEST_SKIP() << "no network namespace may be made here";
    }
    SPW_CNetworkInfo& info = *SPW_CNetworkInfo::instance;
    std::uint32_t size = 0;
    ASSERT_EQ(info.adapters(nullptr, size), kSysBufferOverflow);
    auto buffer = room(size);
    auto* const first = reinterpret_cast<SPW_AdapterRecord*>(buffer.data());
    ASSERT_EQ(info.adapters(first, size), kSysOk);
    bool isFound = false;
    for (const SPW_AdapterRecord* adapter = first; adapter != nullptr; adapter = adapter->next) {
        EXPECT_EQ(adapter->addressLength, 6u);
        if (std::string(adapter->ipAddressList.address) == "198.51.100.1") {
            isFound = true;
            EXPECT_STREQ(adapter->ipAddressList.mask, "255.255.255.0");
            EXPECT_EQ(adapter->type, 6u);
        }
    }
    EXPECT_TRUE(isFound);
}

}  // namespace
