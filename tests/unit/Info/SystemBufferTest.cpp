#include "SystemBuffer.h"

#include <gtest/gtest.h>

#include "AdapterWalker.h"
#include "NetworkParams.h"
#include "ScopedInstance.h"
#include "ScriptedNetworkInfo.h"

namespace {

TEST(SystemBufferTest, ABufferThatCouldNotBeReadAgainHoldsNothingAnyMore) {
    ScriptedNetworkInfo system;
    SystemBuffer buffer;
    EXPECT_EQ(buffer.first<SPW_NetworkParameters>(), nullptr) << "nor before it was read at all";
    ASSERT_EQ(buffer.read(&SPW_CNetworkInfo::networkParameters), 0u);
    const auto* const record = buffer.first<SPW_NetworkParameters>();
    ASSERT_NE(record, nullptr);
    EXPECT_TRUE(buffer.holds(record));
    EXPECT_EQ(buffer.size(), sizeof *record);
    system.networkScript.failureOfSizeQuery = kSysGeneralFailure;
    EXPECT_EQ(buffer.read(&SPW_CNetworkInfo::networkParameters), 612u);
    EXPECT_EQ(buffer.first<SPW_NetworkParameters>(), nullptr);
    EXPECT_EQ(buffer.size(), 0u);
    EXPECT_FALSE(buffer.holds(record));
}

TEST(SystemBufferTest, ARecordIsHeldOnlyWhole) {
    ScriptedNetworkInfo system;
    SystemBuffer buffer;
    ASSERT_EQ(buffer.read(&SPW_CNetworkInfo::networkParameters), 0u);
    const char* const begin = reinterpret_cast<const char*>(buffer.first<SPW_NetworkParameters>());
    const char* const end = begin + buffer.size();
    EXPECT_TRUE(buffer.holds(begin));
    EXPECT_TRUE(buffer.holds(end - 1));
    EXPECT_FALSE(buffer.holds(begin - 1));
    EXPECT_FALSE(buffer.holds(end));
    EXPECT_TRUE(buffer.holds(reinterpret_cast<const SPW_AddressNode*>(end) - 1));
    EXPECT_FALSE(buffer.holds(reinterpret_cast<const SPW_AddressNode*>(end - sizeof(SPW_AddressNode) + 1)));
}

// Tells that there is something, and then writes nothing of it.
class SystemOfFewWords : public SPW_CNetworkInfo {
public:
    SPW_Result networkParameters(SPW_NetworkParameters* buffer, std::uint32_t& size) override {
        return answer(buffer, sizeof *buffer, size);
    }
    SPW_Result adapters(SPW_AdapterRecord* buffer, std::uint32_t& size) override {
        return answer(buffer, sizeof *buffer, size);
    }

private:
    static SPW_Result answer(const void* buffer, std::size_t needed, std::uint32_t& size) {
        size = static_cast<std::uint32_t>(needed);
        return buffer == nullptr ? SPW_Result(kSysBufferOverflow) : SPW_Result(kSysOk);
    }
};

TEST(SystemBufferTest, WhatTheSystemLeavesUnwrittenIsEmpty) {
    SystemOfFewWords system;
    const ScopedInstance<SPW_CNetworkInfo> installed(system);
    NetworkParams params;
    ASSERT_EQ(readNetworkParams(params), 0u);
    SPW_CString text;
    std::uint8_t flag = 2;
    EXPECT_EQ(params.hostName.get(text), 606u);
    EXPECT_EQ(params.usingDhcp.get(flag), 0u);
    EXPECT_EQ(flag, 0);

    AdapterWalker walker;
    AdapterInfo adapter;
    ASSERT_EQ(walker.begin(adapter), 0u);
    EXPECT_EQ(adapter.name.get(text), 601u);
    EXPECT_EQ(adapter.macAddress.get(text), 601u);
    EXPECT_EQ(walker.next(adapter), 614u);
}

}  // namespace
