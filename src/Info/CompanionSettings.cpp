#include "CompanionSettings.h"

#include "SPW_CRegistry.h"

namespace {

// Companion products' values are read as wide text, up to the first null, whatever their type; of longer ones only
// the first characters count.
constexpr int kCompanionCharacters = 128;

// False when the key or the value is missing.
bool readCompanionText(const char16_t* key, const char16_t* name, SPW_CString& text) {
    return SPW_CRegistry(u"HKEY_CURRENT_USER", key, SPW_CRegistry::kOnlyIfPresent).getRawText(name, text) == 0;
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
