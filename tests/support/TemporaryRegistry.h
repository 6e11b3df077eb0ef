#pragma once

#include "OwnRegistry.h"
#include "SPW_CRegistry.h"
#include "SPW_CString.h"

// A registry of the test's own, empty at first, with short ways to the program's keys.
class TemporaryRegistry : public OwnRegistry {
public:
    static constexpr const char16_t* kSettings = u"Software\\Vantiro Networks\\Vantiro Diagnostic";
    static constexpr const char16_t* kNamedPeers =
        u"Software\\Vantiro Networks\\Vantiro Diagnostic\\Named-IP-Addresses";

    void setText(const char16_t* key, const SPW_CString& name, const SPW_CString& text) const {
        SPW_CRegistryData data;
        (void)data.setString(text);
        set(key, name, data);
    }
    void setSetting(const char16_t* name, const SPW_CString& text) const { setText(kSettings, name, text); }
    void setNamedPeer(const char16_t* name, const char16_t* address) const { setText(kNamedPeers, name, address); }
    void set(const char16_t* key, const SPW_CString& name, const SPW_CRegistryData& data) const {
        (void)SPW_CRegistry(u"HKEY_CURRENT_USER", key).setValue(name, data);
    }
    void remove(const char16_t* key, const char16_t* name) const {
        (void)SPW_CRegistry(u"HKEY_CURRENT_USER", key).deleteValue(name);
    }

    bool has(const char16_t* key, const char16_t* name) const {
        SPW_CRegistryData data;
        return read(key, name, data);
    }
    // "(missing)" where there is no such value.
    SPW_CString text(const char16_t* key, const char16_t* name) const {
        SPW_CRegistryData data;
        SPW_CString text;
        return read(key, name, data) && data.toText(text) ? text : SPW_CString(u"(missing)");
    }
    SPW_CString setting(const char16_t* name) const { return text(kSettings, name); }
    // -1 where there is no such key.
    int numberOfValues(const char16_t* key) const {
        SPW_CRegistry registry(u"HKEY_CURRENT_USER", key, SPW_CRegistry::kOnlyIfPresent);
        std::uint32_t count = 0;
        return registry.getNumberOfValues(count) == 0 ? static_cast<int>(count) : -1;
    }

private:
    static bool read(const char16_t* key, const char16_t* name, SPW_CRegistryData& data) {
        SPW_CRegistry registry(u"HKEY_CURRENT_USER", key, SPW_CRegistry::kOnlyIfPresent);
        return registry.getValue(name, data) == 0;
    }
};
