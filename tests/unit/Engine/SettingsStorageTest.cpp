#include "SettingsStorage.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <initializer_list>
#include <iterator>
#include <string>
#include <vector>

#include "RecordingReporter.h"
#include "SPW_CApp.h"
#include "SPW_CSystemInfo.h"
#include "ScopedInstance.h"
#include "ScriptedSystemInfo.h"
#include "StringPrinting.h"
#include "TemporaryRegistry.h"
#include "Wine.h"

namespace {

class SettingsStorageTest : public testing::Test {
protected:
    Settings load(std::int32_t override = kNoMulticastPortOverride) {
        Settings settings;
        loadSettings(settings, override);
        return settings;
    }

    TemporaryRegistry m_registry;
};

struct Default {
    const char16_t* name;
    const char16_t* text;
};
constexpr Default kDefaults[] = {
    {u"description", u"This is a linkometry test logfile"},
    {u"display name", u"Host Name"},
    {u"frequency qty", u"1"},
    {u"frequency units", u"seconds"},
    {u"log data packets", u"no"},
    {u"log events", u"no"},
    {u"log filename", u"VantiroDiagnostics.txt"},
    {u"multicast group", u"228.227.226.225"},
    {u"multicast port", u"7550"},
    {u"multicast selected", u"yes"},
    {u"multicast ttl", u"3"},
    {u"overhead bytes", u"10"},
    {u"peer set includes anyone-in-reach", u"yes"},
    {u"peer set includes named-ip-addresses", u"yes"},
    {u"ping selected", u"yes"},
    {u"port", u"5009"},
    {u"tcpip selected", u"yes"},
    {u"udp selected", u"yes"},
};

TEST_F(SettingsStorageTest, AnEmptyKeyYieldsTheDefaults) {
    const Settings settings = load();
    SPW_CString program;
    SPW_CApp::getModulePath(program, true);
    EXPECT_EQ(settings.applicationPath, program);
    EXPECT_EQ(settings.description, SPW_CString(u"This is a linkometry test logfile"));
    EXPECT_EQ(settings.displayNameSource, SPW_CString(u"Host Name"));
    EXPECT_EQ(settings.frequencyQty, 1);
    EXPECT_EQ(settings.frequencyUnitMs, 1000u);
    EXPECT_FALSE(settings.logDataPackets);
    EXPECT_FALSE(settings.logEvents);
    EXPECT_EQ(settings.logFileName, SPW_CString(u"VantiroDiagnostics.txt"));
    EXPECT_EQ(settings.multicastGroup, SPW_CString(u"228.227.226.225"));
    EXPECT_EQ(settings.multicastPort, 7550);
    EXPECT_TRUE(settings.multicastSelected);
    EXPECT_EQ(settings.multicastTtl, 3);
    EXPECT_EQ(settings.namedPeerAddresses.numberOfElements(), 0);
    EXPECT_EQ(settings.namedPeerNames.numberOfElements(), 0);
    EXPECT_EQ(settings.overheadBytes, 10);
    EXPECT_TRUE(settings.includeAnyoneInReach);
    EXPECT_TRUE(settings.includeNamedIpAddresses);
    EXPECT_TRUE(settings.pingSelected);
    EXPECT_EQ(settings.port, 5009);
    EXPECT_TRUE(settings.tcpipSelected);
    EXPECT_TRUE(settings.udpSelected);
}

TEST_F(SettingsStorageTest, TheVersionIsThatOfTheProgramsOwnFile) {
    struct Asked : ScriptedSystemInfo {
        bool fileVersion(const SPW_CString& path, std::uint32_t& high, std::uint32_t& low) override {
            asked = path;
            return ScriptedSystemInfo::fileVersion(path, high, low);
        }
        SPW_CString asked;
    } system;
    const ScopedInstance<SPW_CSystemInfo> installed(system);
    system.fileVersionHigh = 0x00010002;
    system.fileVersionLow = 0x00030004;
    Settings settings = load();
    EXPECT_EQ(settings.version, SPW_CString(u"Version 1.2.3.4"));
    EXPECT_EQ(system.asked, settings.applicationPath);
    system.hasFileVersion = false;
    loadSettings(settings, kNoMulticastPortOverride);
    EXPECT_EQ(settings.version, SPW_CString(u"Version and build unavailable"));
}

TEST_F(SettingsStorageTest, LoadingCreatesEveryMissingValueAndBothKeys) {
    load();
    for (const Default& expected : kDefaults) {
        EXPECT_EQ(m_registry.setting(expected.name), SPW_CString(expected.text));
    }
    EXPECT_EQ(m_registry.numberOfValues(TemporaryRegistry::kSettings), static_cast<int>(std::size(kDefaults)));
    EXPECT_EQ(m_registry.numberOfValues(TemporaryRegistry::kNamedPeers), 0);
}

TEST_F(SettingsStorageTest, MissingValuesAreCreatedInTheOrderOfLoading) {
    load();
    std::vector<std::u16string> order = {u"display name",
                                         u"description",
                                         u"frequency qty",
                                         u"frequency units",
                                         u"log data packets",
                                         u"log events",
                                         u"log filename",
                                         u"multicast group",
                                         u"multicast port",
                                         u"multicast selected",
                                         u"multicast ttl",
                                         u"overhead bytes",
                                         u"peer set includes anyone-in-reach",
                                         u"peer set includes named-ip-addresses",
                                         u"ping selected",
                                         u"port",
                                         u"tcpip selected",
                                         u"udp selected"};
    if (runsUnderWine()) {
        std::sort(order.begin(), order.end());  // in which Wine enumerates what was set in any other
    }
    SPW_CRegistry registry(u"HKEY_CURRENT_USER", TemporaryRegistry::kSettings);
    for (std::uint32_t i = 0; i < order.size(); ++i) {
        SPW_CString name;
        SPW_CRegistryData data;
        ASSERT_EQ(registry.enumValue(i, name, data), 0u);
        EXPECT_EQ(name, SPW_CString(order[i].c_str()));
    }
}

TEST_F(SettingsStorageTest, StoredTextsAreTakenAsTheyAre) {
    m_registry.setSetting(u"description", u"");
    m_registry.setSetting(u"display name", u" owner name ");
    m_registry.setSetting(u"multicast group", u"no address");
    m_registry.setSetting(u"log filename", u"/tmp/a log.txt");
    const Settings settings = load();
    EXPECT_EQ(settings.description, SPW_CString(u""));
    EXPECT_EQ(settings.displayNameSource, SPW_CString(u" owner name "));
    EXPECT_EQ(settings.multicastGroup, SPW_CString(u"no address"));
    EXPECT_EQ(settings.logFileName, SPW_CString(u"/tmp/a log.txt"));
    EXPECT_EQ(m_registry.setting(u"description"), SPW_CString(u""));
}

TEST_F(SettingsStorageTest, OnlyYesIsTrueInAnyCase) {
    const struct {
        const char16_t* text;
        bool flag;
    } cases[] = {{u"yes", true}, {u"YES", true},   {u"Yes", true}, {u"true", false}, {u"1", false},
                 {u"y", false},  {u"yes ", false}, {u"", false},   {u"no", false}};
    for (const auto& c : cases) {
        for (const char16_t* name :
             {u"tcpip selected", u"udp selected", u"multicast selected", u"ping selected", u"log events",
              u"log data packets", u"peer set includes anyone-in-reach", u"peer set includes named-ip-addresses"}) {
            m_registry.setSetting(name, c.text);
        }
        const Settings settings = load();
        for (const bool flag : {settings.tcpipSelected, settings.udpSelected, settings.multicastSelected,
                                settings.pingSelected, settings.logEvents, settings.logDataPackets,
                                settings.includeAnyoneInReach, settings.includeNamedIpAddresses}) {
            EXPECT_EQ(flag, c.flag) << SPW_CString(c.text).toAnsi();
        }
    }
}

TEST_F(SettingsStorageTest, NumbersAreLeadingDigitsWithASign) {
    const struct {
        const char16_t* text;
        std::int32_t number;
    } cases[] = {{u"42", 42}, {u"-7", -7}, {u"+8", 8}, {u"12ab", 12}, {u"abc", 0}, {u"", 0}, {u"1.9", 1}};
    for (const auto& c : cases) {
        for (const char16_t* name :
             {u"port", u"multicast port", u"multicast ttl", u"overhead bytes", u"frequency qty"}) {
            m_registry.setSetting(name, c.text);
        }
        const Settings settings = load();
        for (const std::int32_t number : {settings.port, settings.multicastPort, settings.multicastTtl,
                                          settings.overheadBytes, settings.frequencyQty}) {
            EXPECT_EQ(number, c.number) << SPW_CString(c.text).toAnsi();
        }
    }
}

TEST_F(SettingsStorageTest, UnitWordsAreComparedWithoutRegardToCase) {
    EXPECT_EQ(unitToMilliseconds(u"milliseconds"), 1u);
    EXPECT_EQ(unitToMilliseconds(u"seconds"), 1000u);
    EXPECT_EQ(unitToMilliseconds(u"Seconds"), 1000u);
    EXPECT_EQ(unitToMilliseconds(u"MINUTES"), 60000u);
    EXPECT_EQ(unitToMilliseconds(u"hours"), 3600000u);
    EXPECT_EQ(unitToMilliseconds(u"days"), 86400000u);
}

TEST_F(SettingsStorageTest, AnUnknownUnitGivesAPeriodOfZero) {
    for (const char16_t* unit : {u"weeks", u"second", u"ms", u" seconds", u""}) {
        EXPECT_EQ(unitToMilliseconds(unit), 0u) << SPW_CString(unit).toAnsi();
    }
    m_registry.setSetting(u"frequency units", u"weeks");
    EXPECT_EQ(load().periodMs(), 0);
    EXPECT_EQ(m_registry.setting(u"frequency units"), SPW_CString(u"weeks"));
}

TEST_F(SettingsStorageTest, ThePeriodStopsAtTheGreatestNumber) {
    const auto periodOf = [](std::int32_t quantity, const char16_t* unit) {
        Settings settings;
        settings.frequencyQty = quantity;
        settings.frequencyUnitMs = unitToMilliseconds(unit);
        return settings.periodMs();
    };
    EXPECT_EQ(periodOf(30, u"seconds"), 30000);
    EXPECT_EQ(periodOf(5, u"minutes"), 300000);
    EXPECT_EQ(periodOf(2, u"hours"), 7200000);
    EXPECT_EQ(periodOf(24, u"days"), 2073600000);
    // 25 days are more milliseconds than a signed number of 32 bits has room for; 50 days, than an unsigned one.
    EXPECT_EQ(periodOf(25, u"days"), 2147483647);
    EXPECT_EQ(periodOf(50, u"days"), 2147483647);
    EXPECT_EQ(periodOf(2147483647, u"days"), 2147483647);
    EXPECT_EQ(periodOf(-1, u"seconds"), -1000);
    EXPECT_EQ(periodOf(-2147483647 - 1, u"days"), -2147483647 - 1);
}

TEST_F(SettingsStorageTest, TheOverrideIsTheDefaultOfTheMulticastPort) {
    EXPECT_EQ(load(6000).multicastPort, 6000);
    EXPECT_EQ(m_registry.setting(u"multicast port"), SPW_CString(u"6000"));
    EXPECT_EQ(load().multicastPort, 6000) << "the value exists now";
}

TEST_F(SettingsStorageTest, AStoredMulticastPortBeatsTheOverride) {
    m_registry.setSetting(u"multicast port", u"7000");
    EXPECT_EQ(load(6000).multicastPort, 7000);
}

TEST_F(SettingsStorageTest, ANumberIsReadAsItsDecimalText) {
    SPW_CRegistryData data;
    (void)data.setNumber(5010);
    m_registry.set(TemporaryRegistry::kSettings, u"port", data);
    EXPECT_EQ(load().port, 5010);
}

TEST_F(SettingsStorageTest, NamedPeersAreTheValuesOfTheirKey) {
    m_registry.setNamedPeer(u"dock", u"10.0.0.7");
    m_registry.setNamedPeer(u"printer", u"10.0.0.8");
    const Settings settings = load();
    ASSERT_EQ(settings.namedPeerAddresses.numberOfElements(), 2);
    ASSERT_EQ(settings.namedPeerNames.numberOfElements(), 2);
    EXPECT_EQ(settings.namedPeerNames[0], SPW_CString(u"dock"));
    EXPECT_EQ(settings.namedPeerAddresses[0], SPW_CString(u"10.0.0.7"));
    EXPECT_EQ(settings.namedPeerNames[1], SPW_CString(u"printer"));
    EXPECT_EQ(settings.namedPeerAddresses[1], SPW_CString(u"10.0.0.8"));
}

TEST_F(SettingsStorageTest, ANamedPeerOfBytesHasTheirTextAsAddress) {
    SPW_CRegistryData data;
    (void)data.setBytes("10.0.0.7", 8);
    m_registry.set(TemporaryRegistry::kNamedPeers, u"printer", data);
    const Settings settings = load();
    ASSERT_EQ(settings.namedPeerAddresses.numberOfElements(), 1);
    EXPECT_EQ(settings.namedPeerNames[0], SPW_CString(u"printer"));
    EXPECT_EQ(settings.namedPeerAddresses[0], SPW_CString(u"10.0.0.7"));
}

TEST_F(SettingsStorageTest, BlanksAroundAnAddressAreNoPartOfIt) {
    m_registry.setNamedPeer(u"dock", u" 10.0.0.7\t ");
    m_registry.setNamedPeer(u" printer ", u"\r\n10.0.0.8 ");
    m_registry.setSetting(u"multicast group", u"  228.1.1.1 ");
    const Settings settings = load();
    ASSERT_EQ(settings.namedPeerAddresses.numberOfElements(), 2);
    // Not every registry lists values in the order in which they were made.
    const int printer = settings.namedPeerNames[0] == SPW_CString(u" printer ") ? 0 : 1;
    EXPECT_EQ(settings.namedPeerNames[printer], SPW_CString(u" printer "));
    EXPECT_EQ(settings.namedPeerAddresses[printer], SPW_CString(u"10.0.0.8"));
    EXPECT_EQ(settings.namedPeerNames[1 - printer], SPW_CString(u"dock"));
    EXPECT_EQ(settings.namedPeerAddresses[1 - printer], SPW_CString(u"10.0.0.7"));
    EXPECT_EQ(settings.multicastGroup, SPW_CString(u"228.1.1.1"));
}

TEST_F(SettingsStorageTest, ALoadForgetsTheNamedPeersOfTheLoadBefore) {
    m_registry.setNamedPeer(u"printer", u"10.0.0.7");
    Settings settings = load();
    m_registry.remove(TemporaryRegistry::kNamedPeers, u"printer");
    m_registry.setNamedPeer(u"dock", u"10.0.0.8");
    loadSettings(settings, kNoMulticastPortOverride);
    ASSERT_EQ(settings.namedPeerNames.numberOfElements(), 1);
    EXPECT_EQ(settings.namedPeerNames[0], SPW_CString(u"dock"));
}

// As somebody may have written the hive file by hand.
constexpr const char* kHive = "HKEY_CURRENT_USER";
constexpr const char* kMainSection = "[HKEY_CURRENT_USER\\Software\\Vantiro Networks\\Vantiro Diagnostic]\n";
constexpr const char* kNamedSection =
    "[HKEY_CURRENT_USER\\Software\\Vantiro Networks\\Vantiro Diagnostic\\Named-IP-Addresses]\n";

TEST_F(SettingsStorageTest, AValueOfATypeThatIsNoTextIsOverwrittenByItsDefault) {
    m_registry.load(kHive, std::string(kMainSection) + "\"port\"=hex(2):37,00,00,00\n");
    const RecordingReporter quiet;
    EXPECT_EQ(load().port, 5009);
    EXPECT_EQ(m_registry.setting(u"port"), SPW_CString(u"5009"));
}

TEST_F(SettingsStorageTest, WhatIsOverwrittenByItsDefaultIsToldOnce) {
    m_registry.load(kHive, std::string(kMainSection) + "\"port\"=hex(2):37,00,00,00\n\"description\"=\"" +
                               std::string(255, 'x') + "\"\n\"multicast ttl\"=\"4\"\n");
    RecordingReporter reporter;
    EXPECT_EQ(load().port, 5009);
    ASSERT_EQ(reporter.boxes().size(), 1u);
    EXPECT_THAT(
        reporter.boxes()[0].text,
        testing::HasSubstr("\n\"description\" is now \"This is a linkometry test logfile\"\n\"port\" is now \"5009\""));
    EXPECT_EQ(reporter.boxes()[0].icon, SPW_CMessageBox::kIconInformation);
    load();
    EXPECT_EQ(reporter.boxes().size(), 1u);
}

TEST_F(SettingsStorageTest, SettingsThatWereMissingAreNotTold) {
    RecordingReporter reporter;
    load();
    EXPECT_TRUE(reporter.boxes().empty());
}

TEST_F(SettingsStorageTest, ANamedPeerThatCannotBeReadIsSkippedAndTheOthersStayPaired) {
    m_registry.load(kHive, std::string(kNamedSection) +
                               "\"a\"=\"10.0.0.1\"\n"
                               "\"b\"=hex(2):31,00,00,00\n"
                               "\"c\"=\"10.0.0.3\"\n");
    const Settings settings = load();
    ASSERT_EQ(settings.namedPeerNames.numberOfElements(), 2);
    ASSERT_EQ(settings.namedPeerAddresses.numberOfElements(), 2);
    EXPECT_EQ(settings.namedPeerNames[0], SPW_CString(u"a"));
    EXPECT_EQ(settings.namedPeerAddresses[0], SPW_CString(u"10.0.0.1"));
    EXPECT_EQ(settings.namedPeerNames[1], SPW_CString(u"c"));
    EXPECT_EQ(settings.namedPeerAddresses[1], SPW_CString(u"10.0.0.3"));
}

TEST(VersionTest, TheTwoWordsAreFourNumbers) {
    ScriptedSystemInfo system;
    const ScopedInstance<SPW_CSystemInfo> installed(system);
    system.fileVersionHigh = 0x00020003;
    system.fileVersionLow = 0x0004FFFF;
    EXPECT_EQ(readVersion(u"program"), SPW_CString(u"Version 2.3.4.65535"));
}

TEST(VersionTest, AFileWithoutVersionSaysSo) {
    ScriptedSystemInfo system;
    const ScopedInstance<SPW_CSystemInfo> installed(system);
    system.hasFileVersion = false;
    EXPECT_EQ(readVersion(u"program"), SPW_CString(u"Version and build unavailable"));
}

}  // namespace
