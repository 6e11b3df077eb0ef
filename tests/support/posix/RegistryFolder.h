#pragma once

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <string_view>

#include "TemporaryFolder.h"

// A registry of the test's own, empty at first: as long as the object lives, the hives of this process are the files
// "HKEY_CURRENT_USER.reg" and so on in a temporary folder.
class RegistryFolder : public TemporaryFolder {
public:
    RegistryFolder() { setenv("VANTIRO_REGISTRY_DIR", native().c_str(), 1); }
    ~RegistryFolder() { unsetenv("VANTIRO_REGISTRY_DIR"); }

    // As somebody leaves a file who wrote it long ago: one that was written this moment is waited for before it is
    // replaced, and read anew at every look.
    void write(std::string_view name, std::string_view bytes) const {
        writeNow(name, bytes);
        std::filesystem::last_write_time(native() / name,
                                         std::filesystem::file_time_type::clock::now() - std::chrono::hours(1));
    }
    void writeNow(std::string_view name, std::string_view bytes) const { TemporaryFolder::write(name, bytes); }
};
