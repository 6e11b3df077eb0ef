#include "SettingsReport.h"

#include <gmock/gmock.h>

#include "RecordedLines.h"

namespace {

using testing::ElementsAre;

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

TEST(SettingsReportTest, EverySettingHasItsLineInThisOrder) {
    Settings settings = someSettings();
    settings.namedPeerAddresses.append(u"192.168.4.21");
    settings.namedPeerNames.append(u"Gate 1");
    settings.namedPeerAddresses.append(u"192.168.4.22");
    settings.namedPeerNames.append(u"Gate (north)");
    EXPECT_THAT(linesOf(settings),
                ElementsAre("**Application Settings**",                          //
                            "   1.2.3.4",                                        //
                            "   Anyone In Reach selected: yes",                  //
                            "   Application Name: /usr/bin/linkometry",          //
                            "   Description: hall 3",                            //
                            "   Display Name: Host Name",                        //
                            "   Frequency Qty: 2",                               //
                            "   Frequency Units: 60000 milliseconds",            //
                            "   Log Data Packets: yes",                          //
                            "   Log Events: no",                                 //
                            "   Logfile Name: log.txt",                          //
                            "   Multicast Group: 228.227.226.225",               //
                            "   Multicast Port: 7550",                           //
                            "   Multicast Selected: yes",                        //
                            "   Multicast Ttl: 3",                               //
                            "   Named Ip Address: 192.168.4.21 (Gate 1)",        //
                            "   Named Ip Address: 192.168.4.22 (Gate (north))",  //
                            "   Named Ip Address Selected: no",                  //
                            "   Overhead Packet Size: 10",                       //
                            "   Ping Selected: yes",                             //
                            "   Port: 5009",                                     //
                            "   Tcpip Selected: no",                             //
                            "   Udp Selected: yes",                              //
                            "**End of Application Settings**"));
}

TEST(SettingsReportTest, TheOtherFlagsTheOtherWay) {
    Settings settings = someSettings();
    settings.logEvents = true;
    settings.includeNamedIpAddresses = true;
    settings.tcpipSelected = true;
    settings.logDataPackets = false;
    settings.multicastSelected = false;
    settings.includeAnyoneInReach = false;
    settings.pingSelected = false;
    settings.udpSelected = false;
    EXPECT_THAT(linesOf(settings), testing::IsSupersetOf({"   Anyone In Reach selected: no", "   Log Data Packets: no",
                                                          "   Log Events: yes", "   Multicast Selected: no",
                                                          "   Named Ip Address Selected: yes", "   Ping Selected: no",
                                                          "   Tcpip Selected: yes", "   Udp Selected: no"}));
}

TEST(SettingsReportTest, WithoutNamedPeersTheirLineIsLeftOut) {
    const std::vector<std::string> lines = linesOf(someSettings());
    ASSERT_EQ(lines.size(), 22u);
    EXPECT_EQ(lines[14], "   Multicast Ttl: 3");
    EXPECT_EQ(lines[15], "   Named Ip Address Selected: no");
}

TEST(SettingsReportTest, NumbersAreSigned) {
    Settings settings = someSettings();
    settings.frequencyQty = -1;
    settings.multicastPort = -2;
    settings.multicastTtl = -3;
    settings.overheadBytes = -4;
    settings.port = -2147483647 - 1;
    EXPECT_THAT(linesOf(settings),
                testing::IsSupersetOf({"   Frequency Qty: -1", "   Multicast Port: -2", "   Multicast Ttl: -3",
                                       "   Overhead Packet Size: -4", "   Port: -2147483648"}));
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
