#include "CompanionSettings.h"

#include "SPW_CArray.h"
#include "SPW_CRegistry.h"

namespace {

constexpr char16_t kHive[] = u"HKEY_CURRENT_USER";

// Companion products' values are read as wide text, up to the first null, whatever their type; of longer ones only
// the first characters count.
constexpr int kCompanionCharacters = 128;

SPW_CString wideTextOf(const SPW_CArray<std::uint8_t>& bytes) {
    SPW_CString text;
    for (int i = 0; i + 1 < bytes.numberOfElements(); i += 2) {
        const char16_t c = static_cast<char16_t>(bytes[i] | bytes[i + 1] << 8);
        if (c == 0) {
            break;
        }
        text.append(c);
    }
    return text;
}

SPW_CString wideTextOf(std::uint32_t number) {
    SPW_CArray<std::uint8_t> bytes;
    for (int shift = 0; shift < 32; shift += 8) {
        bytes.append(static_cast<std::uint8_t>(number >> shift));
    }
    return wideTextOf(bytes);
}

// False when the key or the value is missing.
bool readCompanionText(const char16_t* key, const char16_t* name, SPW_CString& text) {
    SPW_CRegistry registry(kHive, key, SPW_CRegistry::kOnlyIfPresent);
    SPW_CRegistryData data;
    if (registry.getValue(name, data) != 0) {
        return false;
    }
    switch (data.type()) {
        case SPW_CRegistryData::kBytes: {
            SPW_CArray<std::uint8_t> bytes;
            const bool read = data.getBytes(bytes) == 0;
            text = wideTextOf(bytes);
            return read;
        }
        case SPW_CRegistryData::kNumber: {
            std::uint32_t number = 0;
            const bool read = data.getNumber(number) == 0;
            text = wideTextOf(number);
            return read;
        }
        default:
            return data.toText(text);
    }
}

SPW_CString readCompanionName(const char16_t* key, const char16_t* name) {
    SPW_CString text;
    return readCompanionText(key, name, text) ? text.left(kCompanionCharacters) : SPW_CString();
}

}  // namespace

std::int32_t readKorvUdpPort() {
    SPW_CString text;
    return readCompanionText(u"Software\\Vantiro Networks\\Vantiro\\KORV", u"UDPPort", text) &&
                   text.length() < kCompanionCharacters
               ? static_cast<std::int32_t>(text.toInt())
               : kNoMulticastPortOverride;
}

SPW_CString readOwnerName() {
    return readCompanionName(u"ControlPanel\\Owner", u"Owner");
}

SPW_CString readFriendlyName() {
    return readCompanionName(u"Software\\Vantiro Networks\\Vantiro\\TLP", u"Friendly Name");
}
