#include "NetworkReport.h"

#include <gmock/gmock.h>

#include "RecordedLines.h"
#include "ScarceMemory.h"
#include "ScriptedClock.h"
#include "ScriptedNetworkInfo.h"
#include "ScriptedSystemInfo.h"

namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::Not;
using testing::StartsWith;
using Lines = std::vector<std::string>;

class NetworkReportTest : public testing::Test {
protected:
    static Lines network(ReportForm form = ReportForm::kTestLog) {
        return RecordedLines::of([form](ReportLines& lines) { printNetworkParams(lines, form); });
    }
    static Lines adapters() { return RecordedLines::of(printAdapters); }
    ScriptedNetworkInfo::Adapter& addAdapter() {
        m_system.adapterList.emplace_back();
        return m_system.adapterList.back();
    }

    ScriptedClock m_clock;
    ScriptedSystemInfo m_texts;
    const ScopedInstance<SPW_CSystemInfo> m_installed{m_texts};
    ScriptedNetworkInfo m_system;
};

Lines linesThatStartWith(const char* start, const Lines& lines) {
    Lines found;
    for (const std::string& line : lines) {
        if (line.rfind(start, 0) == 0) {
            found.push_back(line);
        }
    }
    return found;
}

// The network as a whole.

TEST_F(NetworkReportTest, EveryNetworkFieldThatIsSetHasItsLine) {
    m_system.network.hostName = "gate-7";
    m_system.network.domainName = "lab.example";
    m_system.network.scopeId = "NETBIOS";
    m_system.network.currentDns = {{"10.0.0.53", "255.255.255.0"}};
    m_system.network.dnsServers = {{"10.0.0.53", "255.255.255.0"}, {"10.0.0.54", "255.255.0.0"}};
    m_system.network.enableProxy = 1;
    m_system.network.enableDns = 1;
    m_system.network.enableRouting = 1;
    m_system.network.nodeType = 8;
    const Lines expected = {"**Other System IP Settings**",
                            "   Acting As Proxy: yes",
                            "   Current DNS: 10.0.0.53 subnet mask: 255.255.255.0",
                            "   DHCP Scope Name: NETBIOS",
                            "   DNS Enabled: yes",
                            "   DNS Server List: 10.0.0.53 subnet mask: 255.255.255.0",
                            "   DNS Server List: 10.0.0.54 subnet mask: 255.255.0.0",
                            "   Domain Name: lab.example",
                            "   Routing Enabled: yes",
                            "   Using Dhcp: yes",
                            "**End of Other System IP Settings**"};
    EXPECT_EQ(network(ReportForm::kTestLog), expected);
    EXPECT_EQ(network(ReportForm::kLocalInfo), expected) << "the forms differ in nothing but failures";
}

TEST_F(NetworkReportTest, ANetworkThatTellsNothingIsNotSet) {
    EXPECT_THAT(network(), ElementsAre("**Other System IP Settings**",  //
                                       "   Acting As Proxy: no",        //
                                       "   Current DNS: Not Set",       //
                                       "   DHCP Scope Name: Not Set",   //
                                       "   DNS Enabled: no",            //
                                       "   DNS Server List: Not Set",   //
                                       "   Domain Name: Not Set",       //
                                       "   Routing Enabled: no",        //
                                       "   Using Dhcp: no",             //
                                       "**End of Other System IP Settings**"));
}

TEST_F(NetworkReportTest, FlagsWithoutMemoryAreNotSetToo) {
    const ScarceMemory forTheBufferOnly(1);
    EXPECT_THAT(network(), ElementsAre("**Other System IP Settings**",  //
                                       "   Acting As Proxy: Not Set",   //
                                       "   Current DNS: Not Set",       //
                                       "   DHCP Scope Name: Not Set",   //
                                       "   DNS Enabled:  Not Set",      //
                                       "   DNS Server List: Not Set",   //
                                       "   Domain Name: Not Set",       //
                                       "   Routing Enabled: Not Set",   //
                                       "   Using Dhcp: Not Set",        //
                                       "**End of Other System IP Settings**"));
}

TEST_F(NetworkReportTest, TheHalfOfAnEntryThatIsMissingIsNotSet) {
    m_system.network.dnsServers = {{"10.0.0.53", ""}, {"", "255.0.0.0"}};
    EXPECT_THAT(linesThatStartWith("   DNS Server List", network()),
                ElementsAre("   DNS Server List: 10.0.0.53 subnet mask: Not Set",
                            "   DNS Server List: Not Set subnet mask: 255.0.0.0"));
}

TEST_F(NetworkReportTest, ANetworkThatTheSystemCannotTellOfIsNotSupported) {
    m_system.networkScript.failureOfSizeQuery = kSysNotSupported;
    EXPECT_THAT(network(ReportForm::kTestLog),
                ElementsAre("**Other System IP Settings**", "   OTHER SYSTEM IP SETTINGS NOT SUPPORTED ON THIS OS",
                            "**End of Other System IP Settings**"));
    EXPECT_THAT(network(ReportForm::kLocalInfo),
                ElementsAre("**Other System IP Settings**", "   OTHER IP SETTINGS NOT SUPPORTED ON THIS OS",
                            "**End of Other System IP Settings**"));
}

TEST_F(NetworkReportTest, AnotherFailureIsItsCode) {
    m_system.networkScript.failureOfSizeQuery = kSysGeneralFailure;
    EXPECT_THAT(network(ReportForm::kTestLog),
                ElementsAre("**Other System IP Settings**", "   FAILED to get any other system ip info ErrorCode: 612",
                            "**End of Other System IP Settings**"));
    m_system.networkScript.failureOfSizeQuery = kSysOk;
    m_system.networkScript.failureOfFilling = kSysGeneralFailure;
    EXPECT_THAT(network(ReportForm::kLocalInfo),
                ElementsAre("**Other System IP Settings**", "   FAILED to get any system IP info ErrorCode: 611",
                            "**End of Other System IP Settings**"));
}

// The adapters.

TEST_F(NetworkReportTest, EveryAdapterFieldThatIsSetHasItsLine) {
    ScriptedNetworkInfo::Adapter& adapter = addAdapter();
    adapter.name = "eth0";
    adapter.description = "Intel(R) I210";
    adapter.hardwareAddress = {0x00, 0x0A, 0x95, 0x9D, 0x68, 0x16};
    adapter.type = 6;
    adapter.dhcpEnabled = 1;
    adapter.addresses = {{"10.0.0.7", "255.255.255.0"}, {"10.0.1.7", "255.255.0.0"}};
    adapter.gateways = {{"10.0.0.1", "255.255.255.255"}};
    adapter.dhcpServers = {{"10.0.0.2", ""}};
    adapter.haveWins = 1;
    adapter.primaryWins = {{"10.0.0.3", "0.0.0.0"}};
    adapter.secondaryWins = {{"10.0.0.4", "0.0.0.0"}};
    adapter.leaseObtained = 1057241229;
    adapter.leaseExpires = 1057327629;
    EXPECT_THAT(adapters(), ElementsAre("**Adapter IP Settings**",                                    //
                                        "   Name: eth0",                                              //
                                        "   Description: Intel(R) I210",                              //
                                        "   Default Gateway: 10.0.0.1 subnet mask: 255.255.255.255",  //
                                        "   DHCP Enabled: yes",                                       //
                                        "   DHCP Server: 10.0.0.2 subnet mask: Not Set",              //
                                        "   IP Address: 10.0.0.7 subnet mask: 255.255.255.0",         //
                                        "   IP Address: 10.0.1.7 subnet mask: 255.255.0.0",           //
                                        "   Lease Expires: 2003-07-04 14:07",                         //
                                        "   Lease Obtained: 2003-07-03 14:07",                        //
                                        "   Mac Address: 00-0a-95-9d-68-16",                          //
                                        "   Uses Wins: yes",                                          //
                                        "   Primary Wins: 10.0.0.3 subnet mask: 0.0.0.0",             //
                                        "   Secondary Wins: 10.0.0.4 subnet mask: 0.0.0.0",           //
                                        "   Type: 6",                                                 //
                                        "**End of Adapter IP Settings**"));
}

TEST_F(NetworkReportTest, AnAdapterThatTellsNothingIsNotSet) {
    addAdapter();
    EXPECT_THAT(adapters(), ElementsAre("**Adapter IP Settings**",      //
                                        "   Name: Not Set",             //
                                        "   Description: Not Set",      //
                                        "   Default Gateway: Not Set",  //
                                        "   DHCP Enabled: no",          //
                                        "   DHCP Server: Not Set",      //
                                        "   IP Address: Not Set",       //
                                        "   Lease Expires: Not Set",    //
                                        "   Lease Obtained: Not Set",   //
                                        "   Mac Address: Not Set",      //
                                        "   Uses Wins: no",             //
                                        "   Primary Wins: Not Set",     //
                                        "   Secondary Wins: Not Set",   //
                                        "   Type: 0",                   //
                                        "**End of Adapter IP Settings**"));
}

TEST_F(NetworkReportTest, NumbersAndFlagsWithoutMemoryAreNotSetToo) {
    addAdapter();
    const ScarceMemory forTheListOnly(1);
    const Lines lines = adapters();
    EXPECT_EQ(lines.size(), 15u);
    EXPECT_THAT(lines,
                testing::IsSupersetOf({"   DHCP Enabled: Not Set", "   Uses Wins: Not Set", "   Type: Not Set"}));
}

TEST_F(NetworkReportTest, AdaptersAreSeparatedByALineWithASingleBlank) {
    addAdapter().name = "eth0";
    addAdapter().name = "eth1";
    const Lines lines = adapters();
    ASSERT_EQ(lines.size(), 1u + 13 + 1 + 13 + 1);
    EXPECT_EQ(lines[1], "   Name: eth0");
    EXPECT_EQ(lines[13], "   Type: 0");
    EXPECT_EQ(lines[14], " ");
    EXPECT_EQ(lines[15], "   Name: eth1");
    EXPECT_EQ(lines[27], "   Type: 0") << "and no blank line behind the last one";
    EXPECT_EQ(lines[28], "**End of Adapter IP Settings**");
}

TEST_F(NetworkReportTest, TypesAreUnsigned) {
    addAdapter().type = 4000000000u;
    EXPECT_THAT(adapters(), Contains("   Type: 4000000000"));
}

TEST_F(NetworkReportTest, WithoutAPrimaryWinsServerNoSecondaryOneIsPrinted) {
    addAdapter().secondaryWins = {{"10.0.0.4", ""}};
    const Lines lines = adapters();
    EXPECT_THAT(lines, Contains("   Primary Wins: Not Set"));
    EXPECT_THAT(lines, Not(Contains(StartsWith("   Secondary Wins:"))));
}

TEST_F(NetworkReportTest, SecondaryWinsServersAreAsManyAsPrimaryOnes) {
    ScriptedNetworkInfo::Adapter& adapter = addAdapter();
    adapter.primaryWins = {{"10.0.0.3", ""}};
    adapter.secondaryWins = {{"10.0.0.4", ""}, {"10.0.0.5", ""}};
    EXPECT_THAT(linesThatStartWith("   Secondary Wins", adapters()),
                ElementsAre("   Secondary Wins: 10.0.0.4 subnet mask: Not Set"));
    adapter.primaryWins = {{"10.0.0.3", ""}, {"10.0.0.6", ""}, {"10.0.0.8", ""}};
    EXPECT_THAT(linesThatStartWith("   Secondary Wins", adapters()),
                ElementsAre("   Secondary Wins: 10.0.0.4 subnet mask: Not Set",
                            "   Secondary Wins: 10.0.0.5 subnet mask: Not Set",
                            "   Secondary Wins: Not Set subnet mask: Not Set"));
}

TEST_F(NetworkReportTest, WithoutASecondaryWinsServerItIsNotSetHoweverManyPrimaryOnes) {
    addAdapter().primaryWins = {{"10.0.0.3", ""}, {"10.0.0.6", ""}};
    EXPECT_THAT(linesThatStartWith("   Secondary Wins", adapters()), ElementsAre("   Secondary Wins: Not Set"));
}

TEST_F(NetworkReportTest, ASystemWithoutTheCallPrintsThatAlone) {
    m_system.adapterScript.failureOfSizeQuery = kSysNotSupported;
    EXPECT_THAT(adapters(), ElementsAre("**Adapter IP Settings**", "   ADAPTER IP SETTINGS NOT SUPPORTED ON THIS OS",
                                        "**End of Adapter IP Settings**"));
}

TEST_F(NetworkReportTest, ADeviceWithoutAdaptersPrintsTheCodeAlone) {
    EXPECT_THAT(adapters(),
                ElementsAre("**Adapter IP Settings**", "   FAILED to get any adapter ip info ErrorCode: 612",
                            "**End of Adapter IP Settings**"));
    addAdapter();
    m_system.adapterScript.failureOfFilling = kSysGeneralFailure;
    EXPECT_THAT(adapters(),
                ElementsAre("**Adapter IP Settings**", "   FAILED to get any adapter ip info ErrorCode: 611",
                            "**End of Adapter IP Settings**"));
}

}  // namespace
