#pragma once

#include <utime.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

// Writes the settings of a program under test and makes this process read them. Multicast is off: discovery is not what
// is measured.
inline void useSettings(const std::string& folder, const std::vector<std::string>& lines,
                        const std::vector<std::string>& peers) {
    std::FILE* const file = std::fopen((folder + "/HKEY_CURRENT_USER.reg").c_str(), "w");
    if (file == nullptr) {
        std::perror("linkometry-bench: the settings");
        std::exit(1);
    }
    std::fprintf(
        file, "[HKEY_CURRENT_USER\\Software\\Vantiro Networks\\Vantiro Diagnostic]\n\"multicast selected\"=\"no\"\n");
    std::fprintf(file, "\"log filename\"=\"%s/log.txt\"\n", folder.c_str());
    for (const std::string& line : lines) {
        std::fprintf(file, "%s\n", line.c_str());
    }
    std::fprintf(file, "\n[HKEY_CURRENT_USER\\Software\\Vantiro Networks\\Vantiro Diagnostic\\Named-IP-Addresses]\n");
    for (std::size_t i = 0; i < peers.size(); ++i) {
        std::fprintf(file, "\"peer %zu\"=\"%s\"\n", i, peers[i].c_str());
    }
    std::fclose(file);
    // A program waits before it replaces what has been written this moment.
    const utimbuf longAgo = {1000000000, 1000000000};
    utime((folder + "/HKEY_CURRENT_USER.reg").c_str(), &longAgo);
    setenv("VANTIRO_REGISTRY_DIR", folder.c_str(), 1);
}
