#pragma once

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

// Resident memory of a process.
inline double residentMiBOf(pid_t process) {
    const std::string path = "/proc/" + std::to_string(process) + "/status";
    std::FILE* const file = std::fopen(path.c_str(), "r");
    if (file == nullptr) {
        return 0;
    }
    char line[256];
    double kib = 0;
    while (std::fgets(line, sizeof line, file) != nullptr) {
        if (std::strncmp(line, "VmRSS:", 6) == 0) {
            std::sscanf(line + 6, "%lf", &kib);
        }
    }
    std::fclose(file);
    return kib / 1024;
}
