#include "OwnRegistry.h"

#include <gtest/gtest.h>
#include <windows.h>

#include <random>
#include <utility>

#include "SPW_CRegistryText.h"

namespace {

const std::pair<HKEY, const wchar_t*> kHives[] = {{HKEY_CLASSES_ROOT, L"HKEY_CLASSES_ROOT"},
                                                  {HKEY_LOCAL_MACHINE, L"HKEY_LOCAL_MACHINE"},
                                                  {HKEY_CURRENT_USER, L"HKEY_CURRENT_USER"}};

HKEY hiveOf(const std::string& name) {
    return name == "HKEY_CURRENT_USER"    ? HKEY_CURRENT_USER
           : name == "HKEY_LOCAL_MACHINE" ? HKEY_LOCAL_MACHINE
                                          : HKEY_CLASSES_ROOT;
}

std::wstring wide(std::u16string_view text) {
    return std::wstring(text.begin(), text.end());
}

void copyKey(const SPW_CRegistryText& text, int from, HKEY to) {
    for (int i = 0; i < text.numberOfValues(from); ++i) {
        const SPW_CRegistryText::Value value = text.value(from, i);
        ASSERT_EQ(RegSetValueExW(to, wide(value.name).c_str(), 0, value.type, value.data, value.size), 0);
    }
    for (int i = 0; i < text.numberOfSubKeys(from); ++i) {
        HKEY key = nullptr;
        ASSERT_EQ(RegCreateKeyW(to, wide(text.keyName(text.subKey(from, i))).c_str(), &key), 0);
        copyKey(text, text.subKey(from, i), key);
        RegCloseKey(key);
    }
}

}  // namespace

OwnRegistry::OwnRegistry() : m_path(L"Software\\linkometry-test-" + std::to_wstring(std::random_device()())) {
    // The user's hive comes last: the others' stand-ins are below it.
    for (const auto& [hive, name] : kHives) {
        HKEY key = nullptr;
        EXPECT_EQ(RegCreateKeyW(HKEY_CURRENT_USER, (m_path + L"\\" + name).c_str(), &key), 0);
        EXPECT_EQ(RegOverridePredefKey(hive, key), 0);
        RegCloseKey(key);
    }
}

OwnRegistry::~OwnRegistry() {
    for (const auto& [hive, name] : kHives) {
        (void)RegOverridePredefKey(hive, nullptr);
    }
    (void)RegDeleteTreeW(HKEY_CURRENT_USER, m_path.c_str());  // what stays fails no test
}

void OwnRegistry::load(const std::string& hive, const std::string& text) const {
    ASSERT_EQ(RegDeleteTreeW(hiveOf(hive), nullptr), 0);
    add(hive, text);
}

void OwnRegistry::add(const std::string& hive, const std::string& text) const {
    SPW_CRegistryText parsed{SPW_CString(hive.c_str())};
    SPW_CRegistryText::Problem problem;
    ASSERT_TRUE(parsed.parse(text.data(), text.size(), problem)) << "line " << problem.line;
    copyKey(parsed, SPW_CRegistryText::kRoot, hiveOf(hive));
}

bool OwnRegistry::isEmpty(const std::string& hive) const {
    DWORD keys = 0;
    EXPECT_EQ(RegQueryInfoKeyW(hiveOf(hive), nullptr, nullptr, nullptr, &keys, nullptr, nullptr, nullptr, nullptr,
                               nullptr, nullptr, nullptr),
              0);
    return keys == 0;
}
