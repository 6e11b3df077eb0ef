#include "AdapterWalker.h"

#include <gtest/gtest.h>

#include <limits>

#include "ScarceMemory.h"
#include "ScriptedClock.h"
#include "ScriptedNetworkInfo.h"
#include "ScriptedSystemInfo.h"
#include "StringPrinting.h"

namespace {

const SPW_CString kAbsent(u"(absent)");

template <typename Field>
SPW_CString textIn(const Field& field) {
    SPW_CString text;
    return field.get(text) == 0 ? text : kAbsent;
}

template <typename Field>
int flagIn(const Field& field) {
    std::uint8_t flag = 0;
    return field.get(flag) == 0 ? flag : -1;
}

// The address of the list's only entry.
template <typename Field>
SPW_CString onlyAddressIn(const Field& field) {
    AddressList list;
    SPW_CString text;
    return field.get(list) == 0 && list.numberOfElements() == 1 && list[0].getAddress(text) == 0 ? text : kAbsent;
}

class AdapterWalkerTest : public testing::Test {
protected:
    // The adapter that all cases but those of a walk are about.
    ScriptedNetworkInfo::Adapter& adapter() {
        if (m_system.adapterList.empty()) {
            m_system.adapterList.resize(1);
        }
        return m_system.adapterList[0];
    }
    void add(const char* name) {
        m_system.adapterList.emplace_back();
        m_system.adapterList.back().name = name;
    }
    void read() { ASSERT_EQ(m_walker.begin(m_adapter), 0u); }
    SPW_CString macOf(const std::vector<std::uint8_t>& bytes) {
        adapter().hardwareAddress = bytes;
        EXPECT_EQ(m_walker.begin(m_adapter), 0u);
        return textIn(m_adapter.macAddress);
    }
    SPW_CString name() const { return textIn(m_adapter.name); }

    ScriptedClock m_clock;
    ScriptedSystemInfo m_texts;
    const ScopedInstance<SPW_CSystemInfo> m_installed{m_texts};
    ScriptedNetworkInfo m_system;
    AdapterWalker m_walker;
    AdapterInfo m_adapter;
};

// The walk.

TEST_F(AdapterWalkerTest, TheWalkGoesThroughTheListInItsOrder) {
    add("eth0");
    add("eth1");
    add("wlan0");
    EXPECT_EQ(m_walker.begin(m_adapter), 0u);
    EXPECT_EQ(name(), SPW_CString(u"eth0"));
    EXPECT_EQ(m_walker.next(m_adapter), 0u);
    EXPECT_EQ(name(), SPW_CString(u"eth1"));
    EXPECT_EQ(m_walker.next(m_adapter), 0u);
    EXPECT_EQ(name(), SPW_CString(u"wlan0"));
    EXPECT_EQ(m_walker.next(m_adapter), 614u);
    EXPECT_EQ(m_walker.next(m_adapter), 614u) << "asking again changes nothing";
    EXPECT_EQ(name(), SPW_CString(u"wlan0"));
}

TEST_F(AdapterWalkerTest, NextBeforeAWalkIsRefused) {
    EXPECT_EQ(m_walker.next(m_adapter), 613u);
}

TEST_F(AdapterWalkerTest, AListThatChangesDuringTheWalkIsNotSeen) {
    add("eth0");
    add("eth1");
    read();
    m_system.adapterList.clear();
    EXPECT_EQ(m_walker.next(m_adapter), 0u);
    EXPECT_EQ(name(), SPW_CString(u"eth1"));
}

TEST_F(AdapterWalkerTest, BeginningAgainBeginsAtTheFirstOfANewList) {
    add("eth0");
    add("eth1");
    read();
    ASSERT_EQ(m_walker.next(m_adapter), 0u);
    m_system.adapterList[0].name = "eth7";
    read();
    EXPECT_EQ(name(), SPW_CString(u"eth7"));
}

TEST_F(AdapterWalkerTest, AFailedBeginEndsTheWalkBefore) {
    add("eth0");
    add("eth1");
    read();
    m_system.adapterScript.failureOfSizeQuery = kSysGeneralFailure;
    EXPECT_EQ(m_walker.begin(m_adapter), 612u);
    EXPECT_EQ(m_walker.next(m_adapter), 613u);
    EXPECT_EQ(name(), SPW_CString(u"eth0")) << "what was read before is left alone";
}

TEST_F(AdapterWalkerTest, EachRecordIsFilledAfresh) {
    add("eth0");
    m_system.adapterList[0].hardwareAddress = {1, 2, 3};
    m_system.adapterList[0].gateways = {{"10.0.0.1", ""}};
    m_system.adapterList[0].leaseObtained = 1057241229;
    add("");
    read();
    ASSERT_EQ(m_walker.next(m_adapter), 0u);
    EXPECT_EQ(name(), kAbsent);
    EXPECT_EQ(textIn(m_adapter.macAddress), kAbsent);
    EXPECT_EQ(onlyAddressIn(m_adapter.gatewayList), kAbsent);
    EXPECT_EQ(textIn(m_adapter.leaseObtained), kAbsent);
}

TEST_F(AdapterWalkerTest, HundredsOfAdaptersAreWalked) {
    for (int i = 0; i < 500; ++i) {
        add(("eth" + std::to_string(i)).c_str());
    }
    read();
    int count = 1;
    while (m_walker.next(m_adapter) == 0) {
        ++count;
    }
    EXPECT_EQ(count, 500);
    EXPECT_EQ(name(), SPW_CString(u"eth499"));
}

// The answers of the platform.

TEST_F(AdapterWalkerTest, WithoutAnyAdapterThereIsNoSize) {
    EXPECT_EQ(m_walker.begin(m_adapter), 612u);
    EXPECT_EQ(m_walker.next(m_adapter), 613u);
}

TEST_F(AdapterWalkerTest, ASystemWithoutTheCallIsNotSupported) {
    m_system.adapterScript.failureOfSizeQuery = kSysNotSupported;
    EXPECT_EQ(m_walker.begin(m_adapter), 615u);
    add("eth0");
    EXPECT_EQ(m_walker.begin(m_adapter), 615u);
    EXPECT_EQ(m_walker.next(m_adapter), 613u);
}

TEST_F(AdapterWalkerTest, AnyOtherAnswerToTheSizeQueryIsItsFailure) {
    add("eth0");
    for (const SPW_Result code : {kSysNoData, kSysAccessDenied, kSysInvalidParameter}) {
        m_system.adapterScript.failureOfSizeQuery = code;
        EXPECT_EQ(m_walker.begin(m_adapter), 612u) << code;
    }
    EXPECT_EQ(m_system.adapterScript.fillings, 0);
}

TEST_F(AdapterWalkerTest, WithoutMemoryTheListIsNotHad) {
    add("eth0");
    {
        const ScarceMemory none(0);
        EXPECT_EQ(m_walker.begin(m_adapter), 611u);
    }
    EXPECT_EQ(m_walker.next(m_adapter), 613u);
    EXPECT_EQ(m_system.adapterScript.fillings, 0);
}

TEST_F(AdapterWalkerTest, AFailedSecondCallMeansThatTheListIsNotHad) {
    add("eth0");
    for (const SPW_Result code : {kSysGeneralFailure, kSysNotSupported, kSysBufferOverflow}) {
        m_system.adapterScript.failureOfFilling = code;
        EXPECT_EQ(m_walker.begin(m_adapter), 611u) << code;
        EXPECT_EQ(m_walker.next(m_adapter), 613u);
    }
}

TEST_F(AdapterWalkerTest, AListThatHasGrownBetweenTheCallsIsNotHad) {
    add("eth0");
    add("eth1");
    m_system.adapterScript.toldSize = sizeof(SPW_AdapterRecord);
    EXPECT_EQ(m_walker.begin(m_adapter), 611u);
    EXPECT_EQ(m_system.adapterScript.fillings, 1) << "nothing is retried";
}

TEST_F(AdapterWalkerTest, ASizeTooSmallForARecordIsNeverFilled) {
    add("eth0");
    for (const std::uint32_t size : {std::uint32_t{1}, static_cast<std::uint32_t>(sizeof(SPW_AdapterRecord) - 1)}) {
        m_system.adapterScript.toldSize = size;
        EXPECT_EQ(m_walker.begin(m_adapter), 611u) << size;
    }
    EXPECT_EQ(m_system.adapterScript.fillings, 0);
}

// The fields.

TEST_F(AdapterWalkerTest, OfAnEmptyRecordOnlyNumbersAndFlagsAreSet) {
    adapter();
    read();
    for (const auto* field : {&m_adapter.name, &m_adapter.description, &m_adapter.macAddress, &m_adapter.leaseObtained,
                              &m_adapter.leaseExpires}) {
        EXPECT_EQ(textIn(*field), kAbsent);
    }
    AddressList list;
    for (const auto* field : {&m_adapter.ipAddressList, &m_adapter.gatewayList, &m_adapter.dhcpServerList,
                              &m_adapter.primaryWinsList, &m_adapter.secondaryWinsList}) {
        EXPECT_EQ(field->get(list), 601u);
    }
    std::uint32_t type = 1;
    EXPECT_EQ(m_adapter.type.get(type), 0u);
    EXPECT_EQ(type, 0u);
    EXPECT_EQ(flagIn(m_adapter.dhcpEnabled), 0);
    EXPECT_EQ(flagIn(m_adapter.usesWins), 0);
}

TEST_F(AdapterWalkerTest, TextsAndNumbersAreTakenFromTheirOwnFields) {
    adapter().name = "eth0";
    adapter().description = "Intel(R) I210";
    adapter().type = 0xFFFFFFFF;
    adapter().index = 17;
    read();
    EXPECT_EQ(name(), SPW_CString(u"eth0"));
    EXPECT_EQ(textIn(m_adapter.description), SPW_CString(u"Intel(R) I210"));
    std::uint32_t type = 0;
    EXPECT_EQ(m_adapter.type.get(type), 0u);
    EXPECT_EQ(type, 0xFFFFFFFFu);
}

TEST_F(AdapterWalkerTest, EveryFlagIsItsOwnNumberNotZero) {
    adapter().dhcpEnabled = 2;
    read();
    EXPECT_EQ(flagIn(m_adapter.dhcpEnabled), 1);
    EXPECT_EQ(flagIn(m_adapter.usesWins), 0);
    adapter().dhcpEnabled = 0;
    adapter().haveWins = -1;
    read();
    EXPECT_EQ(flagIn(m_adapter.dhcpEnabled), 0);
    EXPECT_EQ(flagIn(m_adapter.usesWins), 1);
}

TEST_F(AdapterWalkerTest, EveryListIsTakenFromItsOwnChain) {
    adapter().addresses = {{"10.0.0.1", ""}};
    adapter().gateways = {{"10.0.0.2", ""}};
    adapter().dhcpServers = {{"10.0.0.3", ""}};
    adapter().primaryWins = {{"10.0.0.4", ""}};
    adapter().secondaryWins = {{"10.0.0.5", ""}};
    read();
    EXPECT_EQ(onlyAddressIn(m_adapter.ipAddressList), SPW_CString(u"10.0.0.1"));
    EXPECT_EQ(onlyAddressIn(m_adapter.gatewayList), SPW_CString(u"10.0.0.2"));
    EXPECT_EQ(onlyAddressIn(m_adapter.dhcpServerList), SPW_CString(u"10.0.0.3"));
    EXPECT_EQ(onlyAddressIn(m_adapter.primaryWinsList), SPW_CString(u"10.0.0.4"));
    EXPECT_EQ(onlyAddressIn(m_adapter.secondaryWinsList), SPW_CString(u"10.0.0.5"));
}

TEST_F(AdapterWalkerTest, AHardwareAddressIsLowerCasePairsJoinedByHyphens) {
    EXPECT_EQ(macOf({0x00, 0x0A, 0x95, 0x9D, 0x68, 0x16}), SPW_CString(u"00-0a-95-9d-68-16"));
    EXPECT_EQ(macOf({0xFF}), SPW_CString(u"ff"));
    EXPECT_EQ(macOf({1, 2, 3, 4, 5, 6, 7, 8}), SPW_CString(u"01-02-03-04-05-06-07-08"));
    EXPECT_EQ(macOf({}), kAbsent);
}

TEST_F(AdapterWalkerTest, AHardwareAddressEndsWhereItsFieldEnds) {
    EXPECT_EQ(macOf(std::vector<std::uint8_t>(20, 0xAB)), SPW_CString(u"ab-ab-ab-ab-ab-ab-ab-ab"));
    m_system.spoilAdapters = [](SPW_AdapterRecord* record) { record->addressLength = 0xFFFFFFFF; };
    EXPECT_EQ(macOf({1, 2}), SPW_CString(u"01-02-00-00-00-00-00-00"));
}

TEST_F(AdapterWalkerTest, LeaseTimesAreLocalTimesInTheUsersForm) {
    m_clock.setZoneMinutes(120);
    adapter().leaseObtained = 1057241229;
    adapter().leaseExpires = 1057241229 + 86400;
    read();
    EXPECT_EQ(textIn(m_adapter.leaseObtained), SPW_CString(u"2003-07-03 16:07"));
    EXPECT_EQ(textIn(m_adapter.leaseExpires), SPW_CString(u"2003-07-04 16:07"));
}

// Every adapter without DHCP.
TEST_F(AdapterWalkerTest, ALeaseTimeOfZeroAloneIsNone) {
    adapter().leaseObtained = 0;
    adapter().leaseExpires = -1;
    read();
    EXPECT_EQ(textIn(m_adapter.leaseObtained), kAbsent);
    EXPECT_EQ(textIn(m_adapter.leaseExpires), SPW_CString(u"1969-12-31 23:59"));
}

TEST_F(AdapterWalkerTest, ALeaseTimeThatNoCalendarShowsIsAbsent) {
    adapter().leaseObtained = std::numeric_limits<std::intptr_t>::min();
    adapter().leaseExpires = std::numeric_limits<std::intptr_t>::max();
    read();
    // The 32 bits of a small device end within a calendar's years.
    constexpr bool kEndsEarly = sizeof(std::intptr_t) == 4;
    EXPECT_EQ(textIn(m_adapter.leaseObtained), kEndsEarly ? SPW_CString(u"1901-12-13 20:45") : SPW_CString(kAbsent));
    EXPECT_EQ(textIn(m_adapter.leaseExpires), kEndsEarly ? SPW_CString(u"2038-01-19 03:14") : SPW_CString(kAbsent));
}

TEST_F(AdapterWalkerTest, AFieldWithoutMemoryStaysAbsentAndTheWalkGoesOn) {
    add("eth0");
    m_system.adapterList[0].description = "first";
    add("eth1");
    {
        const ScarceMemory forTheListAndOneField(2);
        EXPECT_EQ(m_walker.begin(m_adapter), 0u);
        EXPECT_EQ(name(), SPW_CString(u"eth0"));
        EXPECT_EQ(textIn(m_adapter.description), kAbsent);
        EXPECT_EQ(flagIn(m_adapter.usesWins), -1);
    }
    EXPECT_EQ(m_walker.next(m_adapter), 0u);
    EXPECT_EQ(name(), SPW_CString(u"eth1"));
}

// Records as no platform should make them.

TEST_F(AdapterWalkerTest, TextsWithoutTheirNullEndWhereTheirFieldsEnd) {
    adapter().name = std::string(260, 'n');
    adapter().description = std::string(132, 'd');
    read();
    EXPECT_EQ(name(), SPW_CString(std::string(260, 'n').c_str()));
    EXPECT_EQ(textIn(m_adapter.description), SPW_CString(std::string(132, 'd').c_str()));
}

TEST_F(AdapterWalkerTest, ANextAdapterOutsideTheMemoryIsNone) {
    add("eth0");
    SPW_AdapterRecord outside = {};
    m_system.spoilAdapters = [&](SPW_AdapterRecord* record) { record->next = &outside; };
    read();
    EXPECT_EQ(m_walker.next(m_adapter), 614u);
    m_system.spoilAdapters = [](SPW_AdapterRecord* record) { record->next = record + 1; };
    read();
    EXPECT_EQ(m_walker.next(m_adapter), 614u);
}

TEST_F(AdapterWalkerTest, AListThatLeadsRoundInACircleEnds) {
    add("eth0");
    add("eth1");
    m_system.spoilAdapters = [](SPW_AdapterRecord* record) { record->next->next = record; };
    read();
    int count = 1;
    while (m_walker.next(m_adapter) == 0) {
        ++count;
    }
    EXPECT_EQ(count, 2);
}

}  // namespace
