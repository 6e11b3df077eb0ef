#pragma once

#include <filesystem>
#include <string>
#include <system_error>

// The descriptor under which this process has the file open; -1 when it has not. Linux only.
inline int descriptorOf(const std::filesystem::path& file) {
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
        std::error_code gone;  // the directory's own descriptor, for one
        if (std::filesystem::read_symlink(entry.path(), gone) == file) {
            return std::stoi(entry.path().filename());
        }
    }
    return -1;
}
