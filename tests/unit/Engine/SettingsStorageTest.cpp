#include "SettingsStorage.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <fstream>
#include <initializer_list>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

#include "RecordedLines.h"
#include "RecordingReporter.h"
#include "SPW_CApp.h"
#include "SPW_CSystemInfo.h"
#include "ScopedInstance.h"
#include "ScriptedSystemInfo.h"
#include "SettingsReport.h"
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

// The values of the settings' key, in their order: a line "name = text" for each.
std::vector<std::string> storedSettings() {
    SPW_CRegistry registry(u"HKEY_CURRENT_USER", TemporaryRegistry::kSettings);
    std::uint32_t count = 0;
    EXPECT_EQ(registry.getNumberOfValues(count), 0u);
    std::vector<std::string> lines;
    for (std::uint32_t i = 0; i < count; ++i) {
        SPW_CString name;
        SPW_CString text;
        SPW_CRegistryData data;
        EXPECT_EQ(registry.enumValue(i, name, data), 0u);
        EXPECT_TRUE(data.toText(text)) << name.toAnsi();
        lines.emplace_back((name + u" = " + text).toAnsi());
    }
    return lines;
}

// A file of the sources.
std::string sourceFile(const char* path) {
    std::ifstream file(std::string(LINKOMETRY_SOURCE_DIR "/") + path, std::ios::binary);
    EXPECT_TRUE(file.is_open()) << path;
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

constexpr const char* kExample = "packaging/HKEY_CURRENT_USER.reg";

// The lines of the documentation's example of a log between these two, without its margin.
std::vector<std::string> documentedLines(const std::string& first, const std::string& behindLast) {
    std::istringstream page(sourceFile("docs/configuration-report.md"));
    std::vector<std::string> lines;
    bool isInside = false;
    for (std::string line; std::getline(page, line);) {
        line.erase(0, std::min<std::size_t>(line.find_first_not_of(' '), 4));
        if (isInside && line == behindLast) {
            return lines;
        }
        if (isInside) {
            lines.push_back(line);
        }
        isInside = isInside || line == first;
    }
    ADD_FAILURE() << "the documentation has no " << first << " before " << behindLast;
    return {};
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
    SPW_CString program;
    SPW_CApp::getModulePath(program, true);
    EXPECT_EQ(settings.applicationPath, program);
    EXPECT_EQ(settings.version, SPW_CString(u"Version 1.2.3.4"));
    EXPECT_EQ(system.asked, program);
    system.hasFileVersion = false;
    loadSettings(settings, kNoMulticastPortOverride);
    EXPECT_EQ(settings.version, SPW_CString(u"Version and build unavailable"));
}

TEST_F(SettingsStorageTest, LoadingCreatesWhatTheExampleFileHoldsAndBothKeys) {
    load();
    const std::vector<std::string> created = storedSettings();
    EXPECT_EQ(m_registry.numberOfValues(TemporaryRegistry::kNamedPeers), 0);
    m_registry.load("HKEY_CURRENT_USER", sourceFile(kExample));
    const std::vector<std::string> example = storedSettings();
    EXPECT_GE(example.size(), 18u);
    EXPECT_THAT(created, testing::UnorderedElementsAreArray(example));
}

TEST_F(SettingsStorageTest, MissingValuesAreCreatedInTheOrderThatTheDocumentationShows) {
    load();
    constexpr const char* kKey = "HKEY_CURRENT_USER\\Software\\Vantiro Networks\\Vantiro Diagnostic";
    std::vector<std::string> documented = documentedLines(kKey, std::string(" ") + kKey + "\\Named-IP-Addresses");
    for (std::string& line : documented) {
        line.erase(0, 1);  // the indent of the key's values
    }
    if (runsUnderWine()) {
        std::sort(documented.begin(), documented.end());  // in which Wine enumerates what was set in any other
    }
    EXPECT_EQ(storedSettings(), documented);
}

TEST_F(SettingsStorageTest, TheDefaultsAreReportedAsTheDocumentationShows) {
    m_registry.setNamedPeer(u"Gate 1", u"192.0.2.21");
    Settings settings = load();
    settings.applicationPath = u"/usr/local/bin/linkometry";
    settings.version = u"Version 1.0.0.0";
    const std::vector<std::string> lines =
        RecordedLines::of([&](ReportLines& report) { printSettings(report, settings); });
    ASSERT_GE(lines.size(), 2u);
    EXPECT_EQ(std::vector<std::string>(lines.begin() + 1, lines.end() - 1),
              documentedLines(lines.front(), lines.back()));
}

TEST(SettingsTableTest, NoTwoSettingsShareAMemberANameOrALabel) {
    for (const Setting& one : kSettings) {
        for (const Setting& other : kSettings) {
            if (&one == &other) {
                continue;
            }
            const SettingField& a = one.field;
            const SettingField& b = other.field;
            EXPECT_STRNE(SPW_CString(one.label).toAnsi(), SPW_CString(other.label).toAnsi());
            EXPECT_FALSE(one.name != nullptr && other.name != nullptr && SPW_CString(one.name) == other.name)
                << SPW_CString(one.name).toAnsi();
            EXPECT_FALSE((a.text != nullptr && a.text == b.text) || (a.number != nullptr && a.number == b.number) ||
                         (a.flag != nullptr && a.flag == b.flag) ||
                         (a.milliseconds != nullptr && a.milliseconds == b.milliseconds))
                << SPW_CString(one.label).toAnsi();
        }
    }
}

// The text of an optional setting's value, as a user would set it.
SPW_CString textOf(const OptionalSetting& setting, const Settings& settings) {
    return setting.flag != nullptr ? SPW_CString(settings.*setting.flag ? u"yes" : u"no")
                                   : SPW_CString(static_cast<int>(settings.*setting.number));
}

TEST_F(SettingsStorageTest, AnOptionalSettingIsReadWhereItIsSet) {
    for (const OptionalSetting& setting : kOptionalSettings) {
        m_registry.setSetting(setting.name, setting.flag != nullptr ? u"YES" : u"17 or so");
        EXPECT_EQ(textOf(setting, load()), SPW_CString(setting.flag != nullptr ? u"yes" : u"17"));
        m_registry.setSetting(setting.name, setting.flag != nullptr ? u"no" : u"0");
        EXPECT_EQ(textOf(setting, load()), SPW_CString(setting.flag != nullptr ? u"no" : u"0"));
    }
}

TEST_F(SettingsStorageTest, AnOptionalSettingThatIsNotSetAnyMoreHasItsDefaultAgain) {
    for (const OptionalSetting& setting : kOptionalSettings) {
        Settings settings;
        if (setting.flag != nullptr) {
            settings.*setting.flag = !(settings.*setting.flag);
        } else {
            settings.*setting.number += 1;
        }
        loadSettings(settings, kNoMulticastPortOverride);
        EXPECT_EQ(textOf(setting, settings), textOf(setting, Settings()));
    }
}

TEST_F(SettingsStorageTest, AMistypedLimitHasItsDefaultAndIsNotTakenForNone) {
    for (const OptionalSetting& setting : kOptionalSettings) {
        for (const char16_t* text : {u"", u"many", u"-5", u" 5"}) {
            m_registry.setSetting(setting.name, text);
            EXPECT_EQ(textOf(setting, load()), textOf(setting, Settings())) << SPW_CString(setting.name).toAnsi();
        }
    }
}

TEST(SettingsTableTest, TheExampleAndTheManualNameEachOptionalSettingWithItsDefault) {
    const std::string example = sourceFile(kExample);
    const std::string manual = sourceFile("docs/hive-files.md");
    for (const OptionalSetting& setting : kOptionalSettings) {
        const std::string name = SPW_CString(setting.name).toAnsi();
        const std::string text = textOf(setting, Settings()).toAnsi();
        EXPECT_THAT(example, testing::HasSubstr("\n; \"" + name + "\"=\"" + text + "\"\n"));
        EXPECT_THAT(manual, testing::HasSubstr("\n| `" + name + "` | `" + text + "` | "));
    }
}

TEST_F(SettingsStorageTest, EachTypeOfSettingHasItsValueInItsMember) {
    m_registry.setSetting(u"description", u"hall 3");
    m_registry.setSetting(u"multicast group", u" 228.1.1.1 ");
    m_registry.setSetting(u"port", u"6000");
    m_registry.setSetting(u"ping selected", u"no");
    m_registry.setSetting(u"frequency units", u"hours");
    const Settings settings = load();
    EXPECT_EQ(settings.description, SPW_CString(u"hall 3"));
    EXPECT_EQ(settings.multicastGroup, SPW_CString(u"228.1.1.1"));
    EXPECT_EQ(settings.port, 6000);
    EXPECT_FALSE(settings.pingSelected);
    EXPECT_EQ(settings.frequencyUnitMs, 3600000u);
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
        m_registry.setSetting(u"log events", c.text);
        EXPECT_EQ(load().logEvents, c.flag) << SPW_CString(c.text).toAnsi();
    }
}

TEST_F(SettingsStorageTest, NumbersAreLeadingDigitsWithASign) {
    const struct {
        const char16_t* text;
        std::int32_t number;
    } cases[] = {{u"42", 42}, {u"-7", -7}, {u"+8", 8}, {u"12ab", 12}, {u"abc", 0}, {u"", 0}, {u"1.9", 1}};
    for (const auto& c : cases) {
        m_registry.setSetting(u"port", c.text);
        EXPECT_EQ(load().port, c.number) << SPW_CString(c.text).toAnsi();
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

TEST_F(SettingsStorageTest, AnOptionalSettingOfATypeThatIsNoTextHasItsDefaultAndStays) {
    for (const OptionalSetting& setting : kOptionalSettings) {
        const std::string line = "\"" + std::string(SPW_CString(setting.name).toAnsi()) + "\"=hex(2):37,00,00,00\n";
        m_registry.load(kHive, kMainSection + line);
        EXPECT_EQ(textOf(setting, load()), textOf(setting, Settings()));
        EXPECT_EQ(m_registry.setting(setting.name), SPW_CString(u"(missing)")) << "still a value that is no text";
    }
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
