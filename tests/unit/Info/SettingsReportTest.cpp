#include "SettingsReport.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <iterator>
#include <string>
#include <vector>

#include "RecordedLines.h"

namespace {

std::vector<std::string> linesOf(const Settings& settings) {
    return RecordedLines::of([&](ReportLines& lines) { printSettings(lines, settings); });
}

Settings someSettings() {
    Settings settings;
    settings.applicationPath = u"/usr/bin/linkometry";
    settings.description = u"hall 3";
    settings.displayNameSource = u"Host Name";
    settings.frequencyQty = 2;
    settings.frequencyUnitMs = 60000;
    settings.logDataPackets = true;
    settings.logFileName = u"log.txt";
    settings.multicastGroup = u"228.227.226.225";
    settings.multicastPort = 7550;
    settings.multicastSelected = true;
    settings.multicastTtl = 3;
    settings.overheadBytes = 10;
    settings.includeAnyoneInReach = true;
    settings.pingSelected = true;
    settings.port = 5009;
    settings.udpSelected = true;
    settings.version = u"1.2.3.4";
    return settings;
}

TEST(SettingsReportTest, EachTypeOfSettingHasALineOfItsForm) {
    Settings settings = someSettings();
    settings.namedPeerAddresses.append(u"192.168.4.21");
    settings.namedPeerNames.append(u"Gate 1");
    settings.namedPeerAddresses.append(u"192.168.4.22");
    settings.namedPeerNames.append(u"Gate (north)");
    EXPECT_THAT(
        linesOf(settings),
        testing::IsSupersetOf(
            {"   1.2.3.4", "   Description: hall 3", "   Frequency Qty: 2", "   Frequency Units: 60000 milliseconds",
             "   Log Data Packets: yes", "   Log Events: no", "   Multicast Group: 228.227.226.225",
             "   Named Ip Address: 192.168.4.21 (Gate 1)", "   Named Ip Address: 192.168.4.22 (Gate (north))"}));
}

TEST(SettingsReportTest, LinesFollowTheAlphabeticalOrderOfTheLabelsBehindTheVersion) {
    Settings settings = someSettings();
    settings.namedPeerAddresses.append(u"192.168.4.21");
    settings.namedPeerNames.append(u"Gate 1");
    const std::vector<std::string> lines = linesOf(settings);
    ASSERT_EQ(lines.size(), std::size(kSettings) + 2);
    EXPECT_EQ(lines.front(), "**Application Settings**");
    EXPECT_EQ(lines[1], "   1.2.3.4");
    EXPECT_EQ(lines.back(), "**End of Application Settings**");
    std::vector<std::string> labels;
    std::vector<std::string> sorted;
    for (std::size_t i = 2; i < lines.size() - 1; ++i) {
        labels.push_back(lines[i].substr(3, lines[i].find(':') - 3));
    }
    for (const Setting& setting : kSettings) {
        sorted.emplace_back(SPW_CString(setting.label).toAnsi());
    }
    std::sort(sorted.begin(), sorted.end());
    sorted.erase(sorted.begin());  // the version's, which is empty
    EXPECT_EQ(labels, sorted);
}

TEST(SettingsReportTest, WithoutNamedPeersTheirLineIsLeftOut) {
    const std::vector<std::string> lines = linesOf(someSettings());
    EXPECT_EQ(lines.size(), std::size(kSettings) + 1);
    const auto at = std::find(lines.begin(), lines.end(), "   Multicast Ttl: 3");
    ASSERT_LT(at, lines.end() - 1);
    EXPECT_EQ(at[1], "   Named Ip Address Selected: no");
}

TEST(SettingsReportTest, EachFlagHasALineOfItsOwn) {
    const struct {
        bool Settings::*member;
        const char* line;
    } kFlags[] = {
        {&Settings::logDataPackets, "   Log Data Packets: yes"},
        {&Settings::logEvents, "   Log Events: yes"},
        {&Settings::multicastSelected, "   Multicast Selected: yes"},
        {&Settings::includeAnyoneInReach, "   Anyone In Reach selected: yes"},
        {&Settings::includeNamedIpAddresses, "   Named Ip Address Selected: yes"},
        {&Settings::pingSelected, "   Ping Selected: yes"},
        {&Settings::tcpipSelected, "   Tcpip Selected: yes"},
        {&Settings::udpSelected, "   Udp Selected: yes"},
    };
    for (const auto& flag : kFlags) {
        Settings settings;
        settings.*flag.member = true;
        EXPECT_THAT(linesOf(settings), testing::Contains(flag.line));
    }
}

TEST(SettingsReportTest, NumbersAreSigned) {
    Settings settings = someSettings();
    settings.overheadBytes = -4;
    settings.port = -2147483647 - 1;
    EXPECT_THAT(linesOf(settings), testing::IsSupersetOf({"   Overhead Packet Size: -4", "   Port: -2147483648"}));
}

TEST(SettingsReportTest, AnUnknownUnitIsZeroMilliseconds) {
    Settings settings = someSettings();
    settings.frequencyUnitMs = 0;
    EXPECT_THAT(linesOf(settings), testing::Contains("   Frequency Units: 0 milliseconds"));
    settings.frequencyUnitMs = 86400000;
    EXPECT_THAT(linesOf(settings), testing::Contains("   Frequency Units: 86400000 milliseconds"));
}

TEST(SettingsReportTest, EmptyTextsKeepTheirLabels) {
    const std::vector<std::string> lines = linesOf(Settings());
    EXPECT_THAT(lines, testing::IsSupersetOf({"   ", "   Application Name: ", "   Description: ", "   Display Name: ",
                                              "   Logfile Name: ", "   Multicast Group: "}));
}

TEST(SettingsReportTest, TextsAreNeverFormats) {
    Settings settings = someSettings();
    settings.description = u"100%s %n";
    EXPECT_THAT(linesOf(settings), testing::Contains("   Description: 100%s %n"));
}

}  // namespace
