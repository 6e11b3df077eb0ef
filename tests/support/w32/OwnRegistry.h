#pragma once

#include <string>

#include "SPW_CString.h"

// A registry of the test's own, empty at first, as long as the object lives: for this process the hives are keys of
// the user's that are gone afterwards.
class OwnRegistry {
public:
    OwnRegistry();
    ~OwnRegistry();
    OwnRegistry(const OwnRegistry&) = delete;
    OwnRegistry& operator=(const OwnRegistry&) = delete;

    // Gives a hive ("HKEY_CURRENT_USER") the content that a text tells as registry editors export it.
    void load(const std::string& hive, const std::string& text) const;
    // Puts such a text's keys and values beside what the hive has.
    void add(const std::string& hive, const std::string& text) const;
    bool isEmpty(const std::string& hive) const;

private:
    std::wstring m_path;  // below the user's own hive
};
