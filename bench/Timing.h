#pragma once

#include <dirent.h>
#include <sys/types.h>
#include <time.h>

#include <cstdio>
#include <cstring>
#include <string>

// Seconds on one of the kernel's clocks.
inline double secondsOf(clockid_t clock) {
    timespec time{};
    clock_gettime(clock, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

inline double nowSeconds() {
    return secondsOf(CLOCK_MONOTONIC);
}

inline void sleepSeconds(double seconds) {
    timespec time{};
    time.tv_sec = static_cast<time_t>(seconds);
    time.tv_nsec = static_cast<long>((seconds - static_cast<double>(time.tv_sec)) * 1e9);
    clock_nanosleep(CLOCK_MONOTONIC, 0, &time, nullptr);
}

// Processor time that a process has used so far, all its threads together.
inline double processorSecondsOf(pid_t process) {
    clockid_t clock;
    return clock_getcpuclockid(process, &clock) == 0 ? secondsOf(clock) : 0;
}

// The number behind a label in one of the kernel's status files; 0 without one.
inline double numberInStatus(const std::string& path, const char* label) {
    std::FILE* const file = std::fopen(path.c_str(), "r");
    if (file == nullptr) {
        return 0;
    }
    char line[256];
    double number = 0;
    while (std::fgets(line, sizeof line, file) != nullptr) {
        if (std::strncmp(line, label, std::strlen(label)) == 0) {
            std::sscanf(line + std::strlen(label), "%lf", &number);
        }
    }
    std::fclose(file);
    return number;
}

// Resident memory of a process.
inline double residentMiBOf(pid_t process) {
    return numberInStatus("/proc/" + std::to_string(process) + "/status", "VmRSS:") / 1024;
}

// How often the threads of a process have gone to sleep so far, all together. They wake as often.
inline double sleepsOf(pid_t process) {
    const std::string folder = "/proc/" + std::to_string(process) + "/task/";
    DIR* const tasks = opendir(folder.c_str());
    double sleeps = 0;
    for (dirent* task = nullptr; tasks != nullptr && (task = readdir(tasks)) != nullptr;) {
        if (task->d_name[0] != '.') {
            sleeps += numberInStatus(folder + task->d_name + "/status", "voluntary_ctxt_switches:");
        }
    }
    if (tasks != nullptr) {
        closedir(tasks);
    }
    return sleeps;
}
