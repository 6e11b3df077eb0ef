#pragma once

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <utility>

#include "Patience.h"

// How often a thread of this process has run, while it sleeps. Empty while it runs or is about to.
inline std::string runsOfSleeper(const std::filesystem::path& task) {
    std::ifstream file(task / "status");
    if (!file) {
        return "ended";
    }
    bool sleeps = false;
    std::string runs = task.filename().string();
    for (std::string line; std::getline(file, line);) {
        sleeps = sleeps || line == "State:\tS (sleeping)";
        runs += line.find("_ctxt_switches:") != std::string::npos ? line : "";
    }
    return sleeps ? runs : std::string();
}

// The same of all threads but the calling one.
inline std::string runsOfSleepers() {
    std::string all = "all:";
    for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
        if (task.path().filename() == std::to_string(gettid())) {
            continue;
        }
        const std::string one = runsOfSleeper(task.path());
        if (one.empty()) {
            return {};
        }
        all += one;
    }
    return all;
}

// Returns when each other thread of this process sleeps, for instance because it waits for a lock, so that a test can
// act at that moment. A thread that sleeps for a moment on its way to its wait has run between two looks.
inline void awaitOthersAsleep() {
    std::string before;
    EXPECT_TRUE(soon([&before] {
        const std::string now = runsOfSleepers();
        return std::exchange(before, now) == now && !now.empty();
    })) << "another thread does not come to rest";
}
