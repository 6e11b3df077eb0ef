#include "AddressList.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "NetworkParams.h"
#include "ScriptedNetworkInfo.h"
#include "StringPrinting.h"

namespace {

std::string textOf(const AddressEntry& entry) {
    SPW_CString address;
    SPW_CString mask;
    const bool hasAddress = entry.getAddress(address) == 0;
    const bool hasMask = entry.getMask(mask) == 0;
    return std::string(hasAddress ? address.toAnsi() : "-") + "/" + (hasMask ? mask.toAnsi() : "-");
}

// Read as the list of DNS servers.
class AddressListTest : public testing::Test {
protected:
    std::vector<std::string> read() {
        NetworkParams params;
        EXPECT_EQ(readNetworkParams(params), 0u);
        AddressList list;
        std::vector<std::string> entries;
        if (params.dnsServerList.get(list) == 0) {
            for (int i = 0; i < list.numberOfElements(); ++i) {
                entries.push_back(textOf(list[i]));
            }
            EXPECT_FALSE(entries.empty()) << "a list without entries is to be absent";
        }
        return entries;
    }

    using Texts = std::vector<std::string>;
    ScriptedNetworkInfo m_system;
};

TEST_F(AddressListTest, AHalfThatIsAbsentAnswersItsCodeAndLeavesTheTextAlone) {
    AddressEntry entry;
    SPW_CString text(u"before");
    EXPECT_EQ(entry.getAddress(text), 601u);
    EXPECT_EQ(entry.getMask(text), 601u);
    EXPECT_EQ(text, SPW_CString(u"before"));
    entry.setMask(u"255.0.0.0");
    EXPECT_EQ(entry.getAddress(text), 601u);
    EXPECT_EQ(entry.getMask(text), 0u);
    EXPECT_EQ(text, SPW_CString(u"255.0.0.0"));
}

TEST_F(AddressListTest, EveryNodeIsAnEntryInTheOrderOfTheChain) {
    m_system.network.dnsServers = {
        {"10.0.0.1", "255.0.0.0"}, {"10.0.0.2", "255.255.0.0"}, {"10.0.0.3", "255.255.255.0"}};
    EXPECT_EQ(read(), (Texts{"10.0.0.1/255.0.0.0", "10.0.0.2/255.255.0.0", "10.0.0.3/255.255.255.0"}));
}

TEST_F(AddressListTest, OneHalfIsEnough) {
    m_system.network.dnsServers = {{"10.0.0.1", ""}, {"", "255.255.0.0"}};
    EXPECT_EQ(read(), (Texts{"10.0.0.1/-", "-/255.255.0.0"}));
}

TEST_F(AddressListTest, NodesWithoutEitherAreLeftOut) {
    m_system.network.dnsServers = {{"", ""}, {"10.0.0.1", ""}, {"", ""}, {"10.0.0.2", ""}, {"", ""}};
    EXPECT_EQ(read(), (Texts{"10.0.0.1/-", "10.0.0.2/-"}));
}

TEST_F(AddressListTest, AListOfEmptyNodesIsAbsent) {
    EXPECT_EQ(read(), Texts());
    m_system.network.dnsServers = {{"", ""}, {"", ""}};
    EXPECT_EQ(read(), Texts());
}

TEST_F(AddressListTest, LongListsAreReadWhole) {
    Texts expected;
    for (int i = 0; i < 1000; ++i) {
        const std::string address = "10.0." + std::to_string(i / 250) + "." + std::to_string(i % 250);
        m_system.network.dnsServers.push_back({address, "255.255.0.0"});
        expected.push_back(address + "/255.255.0.0");
    }
    EXPECT_EQ(read(), expected);
}

TEST_F(AddressListTest, ATextWithoutItsNullEndsWhereItsFieldEnds) {
    m_system.network.dnsServers = {{"123.123.123.1234", "255.255.255.2555"}};
    EXPECT_EQ(read(), (Texts{"123.123.123.1234/255.255.255.2555"}));
}

TEST_F(AddressListTest, APointerOutOfTheMemoryEndsTheList) {
    m_system.network.dnsServers = {{"10.0.0.1", ""}, {"10.0.0.2", ""}};
    SPW_AddressNode outside = {nullptr, "10.9.9.9", "", 0};
    m_system.spoilNetwork = [&](SPW_NetworkParameters* record) { record->dnsServerList.next->next = &outside; };
    EXPECT_EQ(read(), (Texts{"10.0.0.1/-", "10.0.0.2/-"}));
    m_system.spoilNetwork = [](SPW_NetworkParameters* record) {
        record->dnsServerList.next->next = reinterpret_cast<SPW_AddressNode*>(8);
    };
    EXPECT_EQ(read(), (Texts{"10.0.0.1/-", "10.0.0.2/-"}));
}

TEST_F(AddressListTest, ANodeThatLiesOnlyPartlyInTheMemoryEndsTheList) {
    m_system.network.dnsServers = {{"10.0.0.1", ""}, {"100.100.100.100", ""}};
    m_system.spoilNetwork = [](SPW_NetworkParameters* record) {
        SPW_AddressNode* const last = record->dnsServerList.next;
        last->next = reinterpret_cast<SPW_AddressNode*>(reinterpret_cast<char*>(last) + 8);
    };
    EXPECT_EQ(read(), (Texts{"10.0.0.1/-", "100.100.100.100/-"}));
}

TEST_F(AddressListTest, AChainThatLeadsRoundInACircleEnds) {
    m_system.network.dnsServers = {{"10.0.0.1", ""}, {"10.0.0.2", ""}};
    m_system.spoilNetwork = [](SPW_NetworkParameters* record) {
        record->dnsServerList.next->next = &record->dnsServerList;
    };
    const Texts entries = read();
    ASSERT_GE(entries.size(), 2u);
    EXPECT_EQ(entries[0], "10.0.0.1/-");
    EXPECT_EQ(entries[1], "10.0.0.2/-");
}

}  // namespace
