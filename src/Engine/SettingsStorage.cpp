#include "SettingsStorage.h"

#include <memory>

#include "SPW_CApp.h"
#include "SPW_CError.h"
#include "SPW_CRegistry.h"
#include "SPW_CSystemInfo.h"

namespace {

constexpr char kModule[] = "src\\Engine\\SettingsStorage";
constexpr char16_t kHive[] = u"HKEY_CURRENT_USER";
constexpr char16_t kMainKey[] = u"Software\\Vantiro Networks\\Vantiro Diagnostic";
constexpr char16_t kNamedPeersKey[] = u"Software\\Vantiro Networks\\Vantiro Diagnostic\\Named-IP-Addresses";

// Blanks around an address are easily left behind by hand, and hard to see.
SPW_CString withoutBlanks(SPW_CString address) {
    address.trim(u" \t\r\n");
    return address;
}

// How often a load begins anew because somebody has changed the settings meanwhile.
constexpr int kLoads = 3;

// The registry keys behind the settings; making one makes sure that the keys exist. Lives for one load.
class SettingsStore {
public:
    SettingsStore() : m_edits(kHive), m_main(m_edits, kMainKey), m_namedPeers(m_edits, kNamedPeersKey) {}

    // The setting's text; a missing or unreadable one is created with its default.
    SPW_CString readSetting(const char16_t* name, const SPW_CString& defaultText) {
        SPW_CRegistryData data;
        SPW_CString text;
        if (m_main.getValue(name, data) == 0 && data.toText(text)) {
            return text;
        }
        const bool wasMissing = m_main.isMissing();
        SPW_CRegistryData created;
        // A registry that cannot be written costs only the user's chance to see the default there.
        if (created.setString(defaultText) == 0 && m_main.setValue(name, created) == 0 && !wasMissing) {
            m_overwritten += SPW_CString(u"\n\"") + name + u"\" is now \"" + defaultText + u"\"";
        }
        return defaultText;
    }

    // False for one that is missing or cannot be read.
    bool readOptional(const char16_t* name, SPW_CString& text) {
        SPW_CRegistryData data;
        return m_main.getValue(name, data) == 0 && data.toText(text);
    }

    // Writes what was created. False when somebody else has changed the settings meanwhile, and may have set them.
    bool finish() {
        const SPW_Result code = m_edits.write();
        if (code == 0 && !m_overwritten.isEmpty()) {
            SPW_CError::instance->userInfo(kModule, __LINE__, "SettingsStore", "readSetting",
                                           u"Settings that were no texts, or longer than 254 characters, have been "
                                           u"replaced by their defaults:" +
                                               m_overwritten);
        }
        return code != SPW_CRegistryEdits::kOvertaken;
    }

    void readNamedPeers(SPW_CArray<SPW_CString>& addresses, SPW_CArray<SPW_CString>& names) {
        std::uint32_t count = 0;
        if (m_namedPeers.getNumberOfValues(count) != 0) {
            return;
        }
        addresses.clear();
        names.clear();
        for (std::uint32_t i = 0; i < count; ++i) {
            SPW_CString name;
            SPW_CRegistryData data;
            if (m_namedPeers.enumValue(i, name, data) != 0) {
                continue;
            }
            SPW_CString address;
            if (!data.toText(address)) {
                address.clear();
            }
            names.append(name);
            addresses.append(withoutBlanks(address));
        }
    }

private:
    SPW_CRegistryEdits m_edits;
    SPW_CRegistry m_main;
    SPW_CRegistry m_namedPeers;
    SPW_CString m_overwritten;  // a line for each setting that had something else than a text
};

// The default of "multicast port" can come from a companion product.
SPW_CString defaultOf(const Setting& setting, std::int32_t multicastPortOverride) {
    const bool isOverridden =
        setting.field.number == &Settings::multicastPort && multicastPortOverride != kNoMulticastPortOverride;
    return isOverridden ? SPW_CString(static_cast<int>(multicastPortOverride)) : SPW_CString(setting.defaultText);
}

bool isYes(const SPW_CString& text) {
    return text.compareNoCase(u"yes") == 0;
}

void setFromText(Settings& settings, const SettingField& field, const SPW_CString& text) {
    switch (field.type) {
        case SettingType::kText:
            settings.*field.text = text;
            break;
        case SettingType::kAddress:
            settings.*field.text = withoutBlanks(text);
            break;
        case SettingType::kNumber:
            settings.*field.number = text.toInt();
            break;
        case SettingType::kFlag:
            settings.*field.flag = isYes(text);
            break;
        case SettingType::kFrequencyUnit:
            settings.*field.milliseconds = unitToMilliseconds(text);
            break;
        case SettingType::kNamedPeers:
            break;  // no text of its own
    }
}

// A limit that is mistyped must not mean "no limit".
void setLimitFromText(std::int32_t& limit, const SPW_CString& text) {
    const bool isNumber = !text.isEmpty() && text.at(0) >= u'0' && text.at(0) <= u'9';
    if (isNumber) {
        limit = text.toInt();
    }
}

void loadOptional(Settings& settings, SettingsStore& store) {
    // Not on the stack, which is small on a handheld.
    const std::unique_ptr<const Settings> defaults(new Settings());
    for (const OptionalSetting& setting : kOptionalSettings) {
        SPW_CString text;
        const bool isSet = store.readOptional(setting.name, text);
        if (setting.flag != nullptr) {
            settings.*setting.flag = isSet ? isYes(text) : (*defaults).*setting.flag;
        } else {
            settings.*setting.number = (*defaults).*setting.number;
            setLimitFromText(settings.*setting.number, text);
        }
    }
}

// False when somebody else has changed the settings meanwhile.
bool tryLoad(Settings& settings, std::int32_t multicastPortOverride) {
    // Not on the stack, which is small on a handheld.
    const std::unique_ptr<SettingsStore> store(new SettingsStore());
    SPW_CApp::getModulePath(settings.applicationPath, true);
    settings.version = readVersion(settings.applicationPath);
    for (const Setting& setting : kSettings) {
        if (setting.field.type == SettingType::kNamedPeers) {
            store->readNamedPeers(settings.namedPeerAddresses, settings.namedPeerNames);
        } else if (setting.name != nullptr) {
            setFromText(settings, setting.field,
                        store->readSetting(setting.name, defaultOf(setting, multicastPortOverride)));
        }
    }
    loadOptional(settings, *store);
    return store->finish();
}

}  // namespace

void loadSettings(Settings& settings, std::int32_t multicastPortOverride) {
    for (int loads = 0; loads < kLoads && !tryLoad(settings, multicastPortOverride); ++loads) {
    }
}

bool haveSettingsAPlace() {
    std::uint32_t count = 0;
    return SPW_CRegistry(kHive, kMainKey).getNumberOfValues(count) == 0;
}

std::uint32_t unitToMilliseconds(const SPW_CString& unit) {
    static constexpr struct {
        const char16_t* word;
        std::uint32_t milliseconds;
    } kUnits[] = {
        {u"milliseconds", 1}, {u"seconds", 1000}, {u"minutes", 60000}, {u"hours", 3600000}, {u"days", 86400000},
    };
    for (const auto& known : kUnits) {
        if (unit.compareNoCase(known.word) == 0) {
            return known.milliseconds;
        }
    }
    return 0;
}

SPW_CString readVersion(const SPW_CString& path) {
    SPW_CString text(u"Version and build unavailable");
    std::uint32_t high = 0;
    std::uint32_t low = 0;
    if (SPW_CSystemInfo::instance->fileVersion(path, high, low)) {
        text.format(u"Version %d.%d.%d.%d", static_cast<int>(high >> 16), static_cast<int>(high & 0xFFFF),
                    static_cast<int>(low >> 16), static_cast<int>(low & 0xFFFF));
    }
    return text;
}
