#include "CompanionSettings.h"

#include "SPW_CRegistry.h"

namespace {

// Companion products' values are read as wide text, up to the first null, whatever their type.
constexpr std::uint32_t kCompanionSize = 257;  // bytes
constexpr int kCompanionCharacters = 128;      // characters of a name that count

// False when the key or the value is missing, or has more than `sizeLimit` bytes.
bool readCompanionText(const char16_t* key, const char16_t* name, SPW_CString& text, std::uint32_t sizeLimit) {
    SPW_CRegistry registry(u"HKEY_CURRENT_USER", key, SPW_CRegistry::kOnlyIfPresent);
    return registry.getRawText(name, text, sizeLimit) == 0;
}

// A name is cut behind its first 128 characters. It may have any length in the registry.
SPW_CString readCompanionName(const char16_t* key, const char16_t* name) {
    SPW_CString text;
    return readCompanionText(key, name, text, SPW_CRegistry::kAnySize) ? text.left(kCompanionCharacters)
                                                                       : SPW_CString();
}

}  // namespace

std::int32_t readKorvUdpPort() {
    SPW_CString text;
    return readCompanionText(u"Software\\Vantiro Networks\\Vantiro\\KORV", u"UDPPort", text, kCompanionSize)
               ? static_cast<std::int32_t>(text.toInt())
               : kNoMulticastPortOverride;
}

SPW_CString readOwnerName() {
    return readCompanionName(u"ControlPanel\\Owner", u"Owner");
}

SPW_CString readFriendlyName() {
    return readCompanionName(u"Software\\Vantiro Networks\\Vantiro\\TLP", u"Friendly Name");
}
