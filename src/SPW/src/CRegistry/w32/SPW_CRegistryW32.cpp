#include <windows.h>

#include "SPW_CImmortal.h"
#include "SPW_CRegistrySys.h"
#include "SPW_CWideW32.h"

namespace {

// The longest names that the callers ask for, with their terminators. The name of a key has at most 255 characters.
constexpr DWORD kNameRoom = 512;

HKEY keyOf(SPW_Handle handle) {
    return static_cast<HKEY>(handle);
}

SPW_Result resultOf(LONG code) {
    return static_cast<SPW_Result>(code);
}

class RegistrySysW32 : public SPW_CRegistrySys {
public:
    constexpr RegistrySysW32() = default;

    SPW_Handle rootKey(Hive hive) override {
        switch (hive) {
            case kClassesRoot:
                return HKEY_CLASSES_ROOT;
            case kCurrentUser:
                return HKEY_CURRENT_USER;
            case kLocalMachine:
                break;
        }
        return HKEY_LOCAL_MACHINE;
    }

    // The registry stores each change at once.
    SPW_Handle beginEdits(Hive hive) override { return rootKey(hive); }

    SPW_Result endEdits(SPW_Handle, bool) override { return ERROR_SUCCESS; }

    SPW_Result createKey(SPW_Handle parent, const SPW_CString& path, std::uint32_t access, SPW_Handle& key) override {
        wchar_t noClass[] = L"";
        HKEY created = nullptr;
        const LONG code =
            RegCreateKeyExW(keyOf(parent), SPW_ToWide(path.text()), 0, noClass, 0, access, nullptr, &created, nullptr);
        if (code == ERROR_SUCCESS) {
            key = created;
        }
        return resultOf(code);
    }

    SPW_Result openKey(SPW_Handle parent, const SPW_CString& path, std::uint32_t access, SPW_Handle& key) override {
        HKEY opened = nullptr;
        const LONG code = RegOpenKeyExW(keyOf(parent), SPW_ToWide(path.text()), 0, access, &opened);
        if (code == ERROR_SUCCESS) {
            key = opened;
        }
        return resultOf(code);
    }

    SPW_Result closeKey(SPW_Handle key) override { return resultOf(RegCloseKey(keyOf(key))); }

    SPW_Result deleteKey(SPW_Handle parent, const SPW_CString& name) override {
        return resultOf(RegDeleteKeyW(keyOf(parent), SPW_ToWide(name.text())));
    }

    SPW_Result deleteValue(SPW_Handle key, const SPW_CString& name) override {
        return resultOf(RegDeleteValueW(keyOf(key), SPW_ToWide(name.text())));
    }

    SPW_Result enumKey(SPW_Handle key, std::uint32_t index, SPW_CString& name, std::uint32_t nameSize) override {
        char16_t buffer[kNameRoom];
        DWORD length = nameSize < kNameRoom ? nameSize : kNameRoom;
        const LONG code =
            RegEnumKeyExW(keyOf(key), index, SPW_ToWide(buffer), &length, nullptr, nullptr, nullptr, nullptr);
        if (code == ERROR_SUCCESS) {
            name = buffer;
        }
        return resultOf(code);
    }

    SPW_Result enumValue(SPW_Handle key, std::uint32_t index, SPW_CString& name, std::uint32_t nameSize,
                         std::uint32_t& type, void* data, std::uint32_t& size) override {
        char16_t buffer[kNameRoom];
        DWORD length = nameSize < kNameRoom ? nameSize : kNameRoom;
        DWORD kind = 0;
        DWORD bytes = size;
        const LONG code = RegEnumValueW(keyOf(key), index, SPW_ToWide(buffer), &length, nullptr, &kind,
                                        static_cast<BYTE*>(data), &bytes);
        if (code == ERROR_SUCCESS) {
            name = buffer;
        }
        type = kind;
        size = bytes;
        return resultOf(code);
    }

    SPW_Result queryCounts(SPW_Handle key, std::uint32_t& subKeys, std::uint32_t& values) override {
        DWORD keyCount = 0;
        DWORD valueCount = 0;
        const LONG code = RegQueryInfoKeyW(keyOf(key), nullptr, nullptr, nullptr, &keyCount, nullptr, nullptr,
                                           &valueCount, nullptr, nullptr, nullptr, nullptr);
        if (code == ERROR_SUCCESS) {
            subKeys = keyCount;
            values = valueCount;
        }
        return resultOf(code);
    }

    SPW_Result queryValue(SPW_Handle key, const SPW_CString& name, std::uint32_t& type, void* data,
                          std::uint32_t& size) override {
        DWORD kind = 0;
        DWORD bytes = size;
        const LONG code =
            RegQueryValueExW(keyOf(key), SPW_ToWide(name.text()), nullptr, &kind, static_cast<BYTE*>(data), &bytes);
        type = kind;
        size = bytes;
        return resultOf(code);
    }

    SPW_Result setValue(SPW_Handle key, const SPW_CString& name, std::uint32_t type, const void* data,
                        std::uint32_t size) override {
        return resultOf(
            RegSetValueExW(keyOf(key), SPW_ToWide(name.text()), 0, type, static_cast<const BYTE*>(data), size));
    }
};

SPW_CImmortal<RegistrySysW32> registrySys;

}  // namespace

SPW_CRegistrySys* SPW_CRegistrySys::instance = &registrySys.value;
