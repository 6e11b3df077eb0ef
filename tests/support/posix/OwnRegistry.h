#pragma once

#include <string>

#include "RegistryFolder.h"

// A registry of the test's own, empty at first, as long as the object lives.
class OwnRegistry {
public:
    // Gives a hive ("HKEY_CURRENT_USER") the content that a text tells as registry editors export it.
    void load(const std::string& hive, const std::string& text) const { m_folder.write(hive + ".reg", text); }

    // Puts such a text's keys and values beside what the hive has.
    void add(const std::string& hive, const std::string& text) const {
        load(hive, m_folder.read(hive + ".reg") + "\n" + text);
    }
    bool isEmpty(const std::string& hive) const { return !m_folder.exists(hive + ".reg"); }

    // Where the hive files stand.
    const RegistryFolder& folder() const { return m_folder; }

private:
    RegistryFolder m_folder;
};
