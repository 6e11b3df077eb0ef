#pragma once

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <string_view>

#include "SPW_CString.h"

// A folder of the test's own, removed with all that is in it when the object goes. Names are relative to it.
class TemporaryFolder {
public:
    TemporaryFolder() {
        std::random_device random;
        do {
            m_path = std::filesystem::temp_directory_path() / ("linkometry-test-" + std::to_string(random()));
        } while (!std::filesystem::create_directory(m_path));
    }
    ~TemporaryFolder() {
        std::error_code ignored;  // a folder that cannot be removed fails no test
        std::filesystem::remove_all(m_path, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::filesystem::path& native() const { return m_path; }
    // Without a separator at the end.
    SPW_CString path() const { return m_path.u16string().c_str(); }
    // In the platform's spelling; `name` may have slashes.
    SPW_CString path(std::string_view name) const { return (m_path / name).make_preferred().u16string().c_str(); }

    bool exists(std::string_view name) const { return std::filesystem::exists(m_path / name); }
    std::string read(std::string_view name) const {
        std::ifstream file(m_path / name, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
    }
    void write(std::string_view name, std::string_view bytes) const {
        std::ofstream(m_path / name, std::ios::binary) << bytes;
    }
    void makeFolder(std::string_view name) const { std::filesystem::create_directories(m_path / name); }
    int numberOfEntries() const {
        return static_cast<int>(std::distance(std::filesystem::directory_iterator(m_path), {}));
    }

private:
    std::filesystem::path m_path;
};
