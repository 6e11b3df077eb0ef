#include "SystemReport.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "RecordedLines.h"
#include "RecordingReporter.h"
#include "ScriptedClock.h"
#include "ScriptedNetworkInfo.h"
#include "ScriptedSystemInfo.h"
#include "SettingsReport.h"
#include "TemporaryRegistry.h"

namespace {

std::string joined(const std::vector<std::string>& lines, const char* end) {
    std::string text;
    for (const std::string& line : lines) {
        text += line;
        text += end;
    }
    return text;
}

std::string withLineEnds(const std::string& text) {
    std::string result;
    for (const char c : text) {
        result += c == '\n' ? std::string("\r\n") : std::string(1, c);
    }
    return result;
}

// A Linux device with two adapters, one of them of DHCP, whose user and whose registry have settings.
class SystemReportTest : public testing::Test {
protected:
    SystemReportTest() {
        m_system.os.platform = kOsLinux;
        m_system.os.major = 6;
        m_system.os.minor = 1;
        m_system.os.build = 55;
        m_system.os.servicePack = u"Debian GNU/Linux 12 (bookworm)";
        m_clock.setZoneMinutes(120);
        describeNetwork();
        m_device.ownerName = u"Ada Lovelace";
        m_device.hostName = u"gate-7";
        m_device.localAddresses.append(u"10.0.0.7");
        m_device.localAddresses.append(u"172.16.0.1");
    }

    void describeNetwork() {
        m_network.network.hostName = "gate-7";
        m_network.network.domainName = "lab.example";
        m_network.network.dnsServers = {{"10.0.0.53", ""}, {"10.0.0.54", ""}};
        m_network.network.enableRouting = 1;
        m_network.network.enableDns = 1;
        m_network.adapterList.resize(2);
        ScriptedNetworkInfo::Adapter& wired = m_network.adapterList[0];
        wired.name = "eth0";
        wired.description = "Intel(R) I210";
        wired.hardwareAddress = {0x00, 0x0A, 0x95, 0x9D, 0x68, 0x16};
        wired.type = 6;
        wired.dhcpEnabled = 1;
        wired.addresses = {{"10.0.0.7", "255.255.255.0"}};
        wired.gateways = {{"10.0.0.1", "255.255.255.255"}};
        wired.dhcpServers = {{"10.0.0.1", ""}};
        wired.leaseObtained = 1057241229;
        wired.leaseExpires = 1057327629;
        ScriptedNetworkInfo::Adapter& wireless = m_network.adapterList[1];
        wireless.name = "wlan0";
        wireless.hardwareAddress = {0x02, 0x00, 0x00, 0x00, 0x01, 0xFF};
        wireless.type = 71;
        wireless.addresses = {{"172.16.0.1", "255.240.0.0"}};
    }

    std::string localInfo() const { return localInfoText(m_device).toAnsi(); }
    std::string testLogReport() const {
        return joined(RecordedLines::of([&](ReportLines& lines) { reportSystem(lines, m_device, m_settings); }), "\n");
    }

    TemporaryRegistry m_registry;
    RecordingReporter m_reporter;
    ScriptedClock m_clock;
    ScriptedSystemInfo m_system;
    const ScopedInstance<SPW_CSystemInfo> m_installed{m_system};
    ScriptedNetworkInfo m_network;
    DeviceIdentity m_device;
    Settings m_settings;
};

TEST_F(SystemReportTest, TheLocalInfoTextIsThisByteForByte) {
    EXPECT_EQ(localInfo(), withLineEnds(R"(**System Settings**
Linux version 6.1 Debian GNU/Linux 12 (bookworm) Build 55
Owner: Ada Lovelace
**End of System Settings**
**IP Settings**
   Local Host Name: gate-7
   Local IP Address: 10.0.0.7
   Local IP Address: 172.16.0.1
**Other System IP Settings**
   Acting As Proxy: no
   Current DNS: Not Set
   DHCP Scope Name: Not Set
   DNS Enabled: yes
   DNS Server List: 10.0.0.53 subnet mask: Not Set
   DNS Server List: 10.0.0.54 subnet mask: Not Set
   Domain Name: lab.example
   Routing Enabled: yes
   Using Dhcp: no
**End of Other System IP Settings**
**End of IP Settings**
)"));
}

TEST_F(SystemReportTest, TheTestLogReportIsThisByteForByte) {
    m_settings.version = u"1.0.0.0";
    m_settings.description = u"hall 3";
    m_settings.namedPeerAddresses.append(u"192.168.4.21");
    m_settings.namedPeerNames.append(u"Gate 1");
    const std::vector<std::string> settingsBlock =
        RecordedLines::of([this](ReportLines& lines) { printSettings(lines, m_settings); });
    m_registry.load("HKEY_CURRENT_USER", R"([HKEY_CURRENT_USER\Software\Vantiro Networks\Vantiro\TLP]
"Friendly Name"="Gate"
[HKEY_CURRENT_USER\Software\Vantiro Networks\Vantiro Diagnostic]
"description"="hall 3"
"port"=dword:00001391
[HKEY_CURRENT_USER\Software\Vantiro Networks\Vantiro Diagnostic\Named-IP-Addresses]
"Gate 1"="192.168.4.21"
)");
    EXPECT_EQ(testLogReport(), R"(**System Settings**
Linux version 6.1 Debian GNU/Linux 12 (bookworm) Build 55
Owner: Ada Lovelace
**End of System Settings**
**IP Settings**
   Local Host Name: gate-7
   Local IP Address: 10.0.0.7
   Local IP Address: 172.16.0.1
**Other System IP Settings**
   Acting As Proxy: no
   Current DNS: Not Set
   DHCP Scope Name: Not Set
   DNS Enabled: yes
   DNS Server List: 10.0.0.53 subnet mask: Not Set
   DNS Server List: 10.0.0.54 subnet mask: Not Set
   Domain Name: lab.example
   Routing Enabled: yes
   Using Dhcp: no
**End of Other System IP Settings**
**Adapter IP Settings**
   Name: eth0
   Description: Intel(R) I210
   Default Gateway: 10.0.0.1 subnet mask: 255.255.255.255
   DHCP Enabled: yes
   DHCP Server: 10.0.0.1 subnet mask: Not Set
   IP Address: 10.0.0.7 subnet mask: 255.255.255.0
   Lease Expires: 2003-07-04 16:07
   Lease Obtained: 2003-07-03 16:07
   Mac Address: 00-0a-95-9d-68-16
   Uses Wins: no
   Primary Wins: Not Set
   Secondary Wins: Not Set
   Type: 6
)"
                               " \n"
                               R"(   Name: wlan0
   Description: Not Set
   Default Gateway: Not Set
   DHCP Enabled: no
   DHCP Server: Not Set
   IP Address: 172.16.0.1 subnet mask: 255.240.0.0
   Lease Expires: Not Set
   Lease Obtained: Not Set
   Mac Address: 02-00-00-00-01-ff
   Uses Wins: no
   Primary Wins: Not Set
   Secondary Wins: Not Set
   Type: 71
**End of Adapter IP Settings**
**End of IP Settings**
)" + joined(settingsBlock, "\n") +
                                   R"(**Vantiro Registry Settings**
recursivly logging HKEY_CURRENT_USER\Software\Vantiro Networks
HKEY_CURRENT_USER\Software\Vantiro Networks\Vantiro
 HKEY_CURRENT_USER\Software\Vantiro Networks\Vantiro\TLP
  Friendly Name = Gate
HKEY_CURRENT_USER\Software\Vantiro Networks\Vantiro Diagnostic
 description = hall 3
 type of port not suported
 HKEY_CURRENT_USER\Software\Vantiro Networks\Vantiro Diagnostic\Named-IP-Addresses
  Gate 1 = 192.168.4.21
recursivly logging HKEY_LOCAL_MACHINE\Software\Vantiro Networks
**End of Vantiro Registry Settings**
)");
}

// What nothing is known of.

class UnknownDeviceTest : public SystemReportTest {
protected:
    UnknownDeviceTest() {
        m_system.hasOsVersion = false;
        m_network.networkScript.failureOfSizeQuery = kSysNotSupported;
        m_network.adapterScript.failureOfSizeQuery = kSysNotSupported;
        m_device = DeviceIdentity();
    }
};

TEST_F(UnknownDeviceTest, TheLocalInfoTextKeepsItsFrame) {
    EXPECT_EQ(localInfo(),
              "**System Settings**\r\n\r\nOwner: \r\n**End of System Settings**\r\n"
              "**IP Settings**\r\n   Local Host Name: \r\n"
              "**Other System IP Settings**\r\n   OTHER IP SETTINGS NOT SUPPORTED ON THIS OS\r\n"
              "**End of Other System IP Settings**\r\n**End of IP Settings**\r\n");
}

TEST_F(UnknownDeviceTest, TheTestLogReportKeepsItsFrame) {
    const std::string report = testLogReport();
    EXPECT_EQ(report.substr(0, report.find("**Application Settings**")),
              "**System Settings**\n\nOwner: \n**End of System Settings**\n"
              "**IP Settings**\n   Local Host Name: \n"
              "**Other System IP Settings**\n   OTHER SYSTEM IP SETTINGS NOT SUPPORTED ON THIS OS\n"
              "**End of Other System IP Settings**\n"
              "**Adapter IP Settings**\n   ADAPTER IP SETTINGS NOT SUPPORTED ON THIS OS\n"
              "**End of Adapter IP Settings**\n**End of IP Settings**\n");
}

// Not the adapters: a slow system is not asked for what is not shown.
TEST_F(SystemReportTest, TheLocalInfoTextAsksForNoAdapters) {
    (void)localInfo();
    EXPECT_EQ(m_network.adapterScript.sizeQueries, 0);
}

TEST_F(SystemReportTest, TheLocalInfoTextTouchesNoRegistry) {
    (void)localInfo();
    for (const char* hive : {"HKEY_CURRENT_USER", "HKEY_LOCAL_MACHINE", "HKEY_CLASSES_ROOT"}) {
        EXPECT_TRUE(m_registry.isEmpty(hive)) << hive;
    }
}

TEST_F(SystemReportTest, EveryReportReadsTheSystemAnew) {
    const std::string before = localInfo();
    m_network.network.domainName = "other.example";
    EXPECT_NE(localInfo(), before);
    EXPECT_EQ(m_network.networkScript.fillings, 2);
}

TEST_F(SystemReportTest, LocalInfoTextIsWideText) {
    m_device.ownerName = u"J\u00FCrgen \u65E5\u672C";
    EXPECT_NE(localInfo().find(SPW_CString(u"Owner: J\u00FCrgen \u65E5\u672C\r\n").toAnsi()), std::string::npos);
}

TEST_F(SystemReportTest, InTheLocalInfoTextALineStaysOneLineWhateverItsTextsHold) {
    m_device.ownerName = u"Ada\r\n**End of System Settings**\x1B[2J";
    m_network.network.domainName = "a\nb";
    const std::string text = localInfo();
    EXPECT_NE(text.find("\r\nOwner: Ada??**End of System Settings**?[2J\r\n"), std::string::npos);
    EXPECT_NE(text.find("\r\n   Domain Name: a?b\r\n"), std::string::npos);
}

TEST_F(SystemReportTest, NothingIsReportedAsAnError) {
    m_network.adapterList.clear();
    m_network.networkScript.failureOfFilling = kSysGeneralFailure;
    (void)localInfo();
    (void)testLogReport();
    EXPECT_TRUE(m_reporter.boxes().empty());
}

}  // namespace
