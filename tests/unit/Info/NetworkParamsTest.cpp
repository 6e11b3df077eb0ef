#include "NetworkParams.h"

#include <gtest/gtest.h>

#include "CodePage.h"
#include "ScarceMemory.h"
#include "ScriptedNetworkInfo.h"
#include "StringPrinting.h"

namespace {

template <typename Field>
SPW_CString textIn(const Field& field) {
    SPW_CString text;
    return field.get(text) == 0 ? text : SPW_CString(u"(absent)");
}

template <typename Field>
int flagIn(const Field& field) {
    std::uint8_t flag = 0;
    return field.get(flag) == 0 ? flag : -1;
}

// -1 where absent.
template <typename Field>
int entriesIn(const Field& field) {
    AddressList list;
    return field.get(list) == 0 ? list.numberOfElements() : -1;
}

class NetworkParamsTest : public testing::Test {
protected:
    void read() { ASSERT_EQ(readNetworkParams(m_params), 0u); }

    ScriptedNetworkInfo m_system;
    NetworkParams m_params;
};

TEST_F(NetworkParamsTest, OfAnEmptyRecordOnlyTheFlagsAreSet) {
    read();
    EXPECT_EQ(textIn(m_params.hostName), SPW_CString(u"(absent)"));
    EXPECT_EQ(textIn(m_params.domainName), SPW_CString(u"(absent)"));
    EXPECT_EQ(textIn(m_params.dhcpScopeName), SPW_CString(u"(absent)"));
    EXPECT_EQ(entriesIn(m_params.currentDns), -1);
    EXPECT_EQ(entriesIn(m_params.dnsServerList), -1);
    EXPECT_EQ(flagIn(m_params.usingDhcp), 0);
    EXPECT_EQ(flagIn(m_params.routingEnabled), 0);
    EXPECT_EQ(flagIn(m_params.actingAsProxy), 0);
    EXPECT_EQ(flagIn(m_params.dnsEnabled), 0);
}

TEST_F(NetworkParamsTest, EveryTextIsTakenFromItsOwnField) {
    m_system.network.hostName = "gate-7";
    m_system.network.domainName = "lab.example";
    m_system.network.scopeId = "NETBIOS";
    read();
    EXPECT_EQ(textIn(m_params.hostName), SPW_CString(u"gate-7"));
    EXPECT_EQ(textIn(m_params.domainName), SPW_CString(u"lab.example"));
    EXPECT_EQ(textIn(m_params.dhcpScopeName), SPW_CString(u"NETBIOS"));
}

TEST_F(NetworkParamsTest, TheTwoListsAreTakenFromTheirOwnChains) {
    m_system.network.currentDns = {{"10.0.0.53", ""}};
    m_system.network.dnsServers = {{"10.0.0.53", ""}, {"10.0.0.54", ""}};
    read();
    EXPECT_EQ(entriesIn(m_params.currentDns), 1);
    EXPECT_EQ(entriesIn(m_params.dnsServerList), 2);
}

TEST_F(NetworkParamsTest, ACurrentServerOfEmptyNodesIsAbsent) {
    m_system.network.currentDns = {{"", ""}};
    read();
    EXPECT_EQ(entriesIn(m_params.currentDns), -1);
}

TEST_F(NetworkParamsTest, TheCurrentServerMayBeTheFirstOfTheList) {
    m_system.network.dnsServers = {{"10.0.0.53", ""}, {"10.0.0.54", ""}};
    m_system.spoilNetwork = [](SPW_NetworkParameters* record) { record->currentDnsServer = &record->dnsServerList; };
    read();
    EXPECT_EQ(entriesIn(m_params.currentDns), 2);
}

TEST_F(NetworkParamsTest, ACurrentServerOutsideTheMemoryIsAbsent) {
    SPW_AddressNode outside = {nullptr, "10.9.9.9", "", 0};
    m_system.spoilNetwork = [&](SPW_NetworkParameters* record) { record->currentDnsServer = &outside; };
    read();
    EXPECT_EQ(entriesIn(m_params.currentDns), -1);
}

TEST_F(NetworkParamsTest, EveryFlagIsItsOwnNumberNotZero) {
    m_system.network.enableRouting = 1;
    read();
    EXPECT_EQ(flagIn(m_params.routingEnabled), 1);
    EXPECT_EQ(flagIn(m_params.actingAsProxy) + flagIn(m_params.dnsEnabled) + flagIn(m_params.usingDhcp), 0);

    m_system.network = {};
    m_system.network.enableProxy = 2;
    read();
    EXPECT_EQ(flagIn(m_params.actingAsProxy), 1);
    EXPECT_EQ(flagIn(m_params.routingEnabled) + flagIn(m_params.dnsEnabled) + flagIn(m_params.usingDhcp), 0);

    m_system.network = {};
    m_system.network.enableDns = 0xFFFFFFFF;
    read();
    EXPECT_EQ(flagIn(m_params.dnsEnabled), 1);
    EXPECT_EQ(flagIn(m_params.routingEnabled) + flagIn(m_params.actingAsProxy) + flagIn(m_params.usingDhcp), 0);
}

TEST_F(NetworkParamsTest, UsingDhcpIsWhetherThereIsANodeType) {
    for (const std::uint32_t type : {1u, 2u, 4u, 8u, 0x80000000u}) {
        m_system.network.nodeType = type;
        read();
        EXPECT_EQ(flagIn(m_params.usingDhcp), 1) << type;
        EXPECT_EQ(flagIn(m_params.routingEnabled) + flagIn(m_params.actingAsProxy) + flagIn(m_params.dnsEnabled), 0);
    }
}

TEST_F(NetworkParamsTest, TextsWithoutTheirNullEndWhereTheirFieldsEnd) {
    m_system.network.hostName = std::string(132, 'h');
    m_system.network.domainName = std::string(132, 'd');
    m_system.network.scopeId = std::string(260, 's');
    read();
    EXPECT_EQ(textIn(m_params.hostName), SPW_CString(std::string(132, 'h').c_str()));
    EXPECT_EQ(textIn(m_params.domainName), SPW_CString(std::string(132, 'd').c_str()));
    EXPECT_EQ(textIn(m_params.dhcpScopeName), SPW_CString(std::string(260, 's').c_str()));
}

TEST_F(NetworkParamsTest, TextsAreOfTheSystemsCodePage) {
    m_system.network.domainName = std::string("b") + CodePage::kUmlaut + "r.example";
    read();
    EXPECT_EQ(textIn(m_params.domainName), SPW_CString(u"b\u00E4r.example"));
}

TEST_F(NetworkParamsTest, ASystemWithoutTheCallIsNotSupported) {
    m_system.networkScript.failureOfSizeQuery = kSysNotSupported;
    EXPECT_EQ(readNetworkParams(m_params), 615u);
    EXPECT_EQ(m_system.networkScript.fillings, 0);
    EXPECT_EQ(flagIn(m_params.usingDhcp), -1) << "nothing is set";
}

TEST_F(NetworkParamsTest, AnyOtherAnswerToTheSizeQueryIsItsFailure) {
    for (const SPW_Result code : {kSysNoData, kSysAccessDenied, kSysGeneralFailure}) {
        m_system.networkScript.failureOfSizeQuery = code;
        EXPECT_EQ(readNetworkParams(m_params), 612u) << code;
    }
    EXPECT_EQ(m_system.networkScript.fillings, 0);
}

class NothingToTell : public SPW_CNetworkInfo {
public:
    SPW_Result networkParameters(SPW_NetworkParameters*, std::uint32_t&) override { return kSysOk; }
    SPW_Result adapters(SPW_AdapterRecord*, std::uint32_t&) override { return kSysOk; }
};

TEST_F(NetworkParamsTest, ASizeQueryThatSucceedsHasToldNoSize) {
    NothingToTell nothing;
    const ScopedInstance<SPW_CNetworkInfo> installed(nothing);
    EXPECT_EQ(readNetworkParams(m_params), 612u);
}

TEST_F(NetworkParamsTest, WithoutMemoryForTheDataTheyAreNotHad) {
    const ScarceMemory none(0);
    EXPECT_EQ(readNetworkParams(m_params), 611u);
    EXPECT_EQ(m_system.networkScript.fillings, 0);
}

TEST_F(NetworkParamsTest, AFailedSecondCallMeansThatTheDataAreNotHad) {
    for (const SPW_Result code : {kSysGeneralFailure, kSysNotSupported, kSysBufferOverflow}) {
        m_system.networkScript.failureOfFilling = code;
        EXPECT_EQ(readNetworkParams(m_params), 611u) << code;
    }
}

TEST_F(NetworkParamsTest, DataThatHaveGrownBetweenTheCallsAreNotHad) {
    m_system.network.dnsServers = {{"10.0.0.53", ""}, {"10.0.0.54", ""}};
    m_system.networkScript.toldSize = sizeof(SPW_NetworkParameters);
    EXPECT_EQ(readNetworkParams(m_params), 611u);
    EXPECT_EQ(m_system.networkScript.fillings, 1) << "nothing is retried";
}

TEST_F(NetworkParamsTest, ASizeTooSmallForARecordIsNeverFilled) {
    m_system.networkScript.toldSize = sizeof(SPW_NetworkParameters) - 1;
    EXPECT_EQ(readNetworkParams(m_params), 611u);
    EXPECT_EQ(m_system.networkScript.fillings, 0);
}

TEST_F(NetworkParamsTest, MoreRoomThanNeededDoesNoHarm) {
    m_system.networkScript.toldSize = 100000;
    m_system.network.hostName = "gate-7";
    read();
    EXPECT_EQ(textIn(m_params.hostName), SPW_CString(u"gate-7"));
}

TEST_F(NetworkParamsTest, AFieldWithoutMemoryStaysAbsentAndTheOthersAreRead) {
    m_system.network.hostName = "gate-7";
    m_system.network.domainName = "lab.example";
    {
        const ScarceMemory forTheBufferAndOneField(2);
        EXPECT_EQ(readNetworkParams(m_params), 0u);
    }
    EXPECT_EQ(textIn(m_params.domainName), SPW_CString(u"lab.example"));
    EXPECT_EQ(textIn(m_params.hostName), SPW_CString(u"(absent)"));
    EXPECT_EQ(flagIn(m_params.usingDhcp), -1);
}

}  // namespace
