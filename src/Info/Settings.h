#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>

#include "SPW_CArray.h"
#include "SPW_CString.h"

// Everything that the user can set for a test run, as the registry of the current user holds it. Read only: the
// program writes a value back only where it was missing or unreadable, and then its default. Optional settings are
// never written.
//
// To add a setting: a member here and a row in kSettings or kOptionalSettings below.
struct Settings {
    SPW_CString applicationPath;
    SPW_CString description;
    SPW_CString displayNameSource;
    std::int32_t frequencyQty = 0;
    std::uint32_t frequencyUnitMs = 0;  // 0 for an unknown unit word
    bool logDataPackets = false;
    bool logEvents = false;
    SPW_CString logFileName;
    SPW_CString multicastGroup;
    std::int32_t multicastPort = 0;
    bool multicastSelected = false;
    std::int32_t multicastTtl = 0;
    SPW_CArray<SPW_CString> namedPeerAddresses;
    SPW_CArray<SPW_CString> namedPeerNames;  // parallel to namedPeerAddresses
    std::int32_t overheadBytes = 0;
    bool includeAnyoneInReach = false;
    bool includeNamedIpAddresses = false;
    bool pingSelected = false;
    std::int32_t port = 0;
    bool tcpipSelected = false;
    bool udpSelected = false;
    SPW_CString version;

    // Optional settings. What stands here is the default.
    bool allowFlooding = false;
    bool discoverOnlyNeighbours = false;
    std::int32_t discoveriesASecond = 100;
    std::int32_t discoveryBurst = 256;
    std::int32_t discoveryLinesASecond = 10;
    std::int32_t logPatienceMs = 2000;
    std::int32_t mostDiscoveredPeers = 1024;
    std::int32_t restAfterSilentSeconds = 600;
    std::int32_t failuresBeforePause = 3;
    std::int32_t tcpSilenceSeconds = 10;

    // Milliseconds between probes. The product is limited to 32 bits (24 days): one that wrapped around to a negative
    // or a small number would be a flood.
    std::int32_t periodMs() const {
        typedef std::numeric_limits<std::int32_t> Limits;
        const std::int64_t product = std::int64_t{frequencyQty} * frequencyUnitMs;
        return static_cast<std::int32_t>(std::clamp<std::int64_t>(product, Limits::min(), Limits::max()));
    }
};

// How the registry's text becomes a setting's value, and the value a text of the report.
enum class SettingType {
    kText,           // as stored
    kAddress,        // as stored, without the blanks around it
    kNumber,         // the leading decimal digits with their sign; without digits 0
    kFlag,           // true for "yes" in any case, false for any other text
    kFrequencyUnit,  // a word for a unit of time; the value is its milliseconds
    kNamedPeers,     // many values: all those of the named peers' own key
};

// Where Settings keeps a setting, and as what type. One of the pointers is set, the one for the type's kind of value.
struct SettingField {
    static constexpr SettingField ofText(SPW_CString Settings::*member) {
        return {SettingType::kText, member, nullptr, nullptr, nullptr};
    }
    static constexpr SettingField ofAddress(SPW_CString Settings::*member) {
        return {SettingType::kAddress, member, nullptr, nullptr, nullptr};
    }
    static constexpr SettingField ofNumber(std::int32_t Settings::*member) {
        return {SettingType::kNumber, nullptr, member, nullptr, nullptr};
    }
    static constexpr SettingField ofFlag(bool Settings::*member) {
        return {SettingType::kFlag, nullptr, nullptr, member, nullptr};
    }
    static constexpr SettingField ofFrequencyUnit(std::uint32_t Settings::*member) {
        return {SettingType::kFrequencyUnit, nullptr, nullptr, nullptr, member};
    }
    // namedPeerAddresses and namedPeerNames; no pointer is set.
    static constexpr SettingField ofNamedPeers() {
        return {SettingType::kNamedPeers, nullptr, nullptr, nullptr, nullptr};
    }

    SettingType type;
    SPW_CString Settings::*text;
    std::int32_t Settings::*number;
    bool Settings::*flag;
    std::uint32_t Settings::*milliseconds;
};

struct Setting {
    // The setting's value in the settings' key of the registry; nullptr when no such value holds it.
    const char16_t* name;
    // What is created when the value is missing; nullptr without a name.
    const char16_t* defaultText;
    SettingField field;
    // What the report calls it. The report's lines follow the alphabetical order of the labels.
    const char16_t* label;
};

// All settings, in the order in which they are read; missing values are created in this order too.
inline constexpr Setting kSettings[] = {
    // What the program's own file tells.
    {nullptr, nullptr, SettingField::ofText(&Settings::applicationPath), u"Application Name"},
    {nullptr, nullptr, SettingField::ofText(&Settings::version), u""},

    {u"display name", u"Host Name", SettingField::ofText(&Settings::displayNameSource), u"Display Name"},
    {u"description", u"This is a linkometry test logfile", SettingField::ofText(&Settings::description),
     u"Description"},
    {u"frequency qty", u"1", SettingField::ofNumber(&Settings::frequencyQty), u"Frequency Qty"},
    {u"frequency units", u"seconds", SettingField::ofFrequencyUnit(&Settings::frequencyUnitMs), u"Frequency Units"},
    {u"log data packets", u"no", SettingField::ofFlag(&Settings::logDataPackets), u"Log Data Packets"},
    {u"log events", u"no", SettingField::ofFlag(&Settings::logEvents), u"Log Events"},
    {u"log filename", u"VantiroDiagnostics.txt", SettingField::ofText(&Settings::logFileName), u"Logfile Name"},
    {u"multicast group", u"228.227.226.225", SettingField::ofAddress(&Settings::multicastGroup), u"Multicast Group"},
    {u"multicast port", u"7550", SettingField::ofNumber(&Settings::multicastPort), u"Multicast Port"},
    {u"multicast selected", u"yes", SettingField::ofFlag(&Settings::multicastSelected), u"Multicast Selected"},
    {u"multicast ttl", u"3", SettingField::ofNumber(&Settings::multicastTtl), u"Multicast Ttl"},
    {nullptr, nullptr, SettingField::ofNamedPeers(), u"Named Ip Address"},
    {u"overhead bytes", u"10", SettingField::ofNumber(&Settings::overheadBytes), u"Overhead Packet Size"},
    {u"peer set includes anyone-in-reach", u"yes", SettingField::ofFlag(&Settings::includeAnyoneInReach),
     u"Anyone In Reach selected"},
    {u"peer set includes named-ip-addresses", u"yes", SettingField::ofFlag(&Settings::includeNamedIpAddresses),
     u"Named Ip Address Selected"},
    {u"ping selected", u"yes", SettingField::ofFlag(&Settings::pingSelected), u"Ping Selected"},
    {u"port", u"5009", SettingField::ofNumber(&Settings::port), u"Port"},
    {u"tcpip selected", u"yes", SettingField::ofFlag(&Settings::tcpipSelected), u"Tcpip Selected"},
    {u"udp selected", u"yes", SettingField::ofFlag(&Settings::udpSelected), u"Udp Selected"},
};

// A limit, or a switch that hardly anybody touches. It is read where somebody has set it, and never created: a registry
// in use looks as it always has. The report's list of settings does not have it either; the report's copy of the
// registry shows it where it is set.
//
// A number is a limit: 0 means no limit. A text without a number means the default. So does a negative number.
struct OptionalSetting {
    const char16_t* name;
    // One of the two is set.
    std::int32_t Settings::*number;
    bool Settings::*flag;

    static constexpr OptionalSetting ofNumber(const char16_t* name, std::int32_t Settings::*member) {
        return {name, member, nullptr};
    }
    static constexpr OptionalSetting ofFlag(const char16_t* name, bool Settings::*member) {
        return {name, nullptr, member};
    }
};

inline constexpr OptionalSetting kOptionalSettings[] = {
    OptionalSetting::ofFlag(u"allow flooding", &Settings::allowFlooding),
    OptionalSetting::ofFlag(u"discover only neighbours", &Settings::discoverOnlyNeighbours),
    OptionalSetting::ofNumber(u"discoveries a second", &Settings::discoveriesASecond),
    OptionalSetting::ofNumber(u"discovery burst", &Settings::discoveryBurst),
    OptionalSetting::ofNumber(u"discovery lines a second", &Settings::discoveryLinesASecond),
    OptionalSetting::ofNumber(u"log patience", &Settings::logPatienceMs),
    OptionalSetting::ofNumber(u"most discovered peers", &Settings::mostDiscoveredPeers),
    OptionalSetting::ofNumber(u"rest after silent seconds", &Settings::restAfterSilentSeconds),
    OptionalSetting::ofNumber(u"failures before a pause", &Settings::failuresBeforePause),
    OptionalSetting::ofNumber(u"seconds of tcp silence", &Settings::tcpSilenceSeconds),
};
