#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>
#include <vector>

#include "Benches.h"
#include "Child.h"

constexpr std::uint64_t kPeriodMs = 1000;
constexpr double kPeriodSeconds = 1;
// Until connections stand and schedules have settled.
constexpr double kWarmUpSeconds = 3;

// The addresses of the first so many peers.
std::vector<std::string> peerAddresses(int peers);

// ---- The engine in a process of its own

// kStart and kStop are answered with the seconds that they took, kRestartLateness with a signal, kAskResult with an
// EngineResult.
enum Request : char { kStart, kStop, kRestartLateness, kAskResult };

// Since the lateness was restarted last; the lost pings since the start.
struct EngineResult {
    double medianLateMs;
    double lateMs99;
    double worstMs;
    std::uint64_t probes;
    std::uint64_t pingsLost;
};

// Runs an engine. Answers each request on the line when it has been fulfilled, until its process is killed. settings:
// lines of the hive besides the usual ones, which make the period that is given.
void runEngine(const Folder& folder, const std::vector<std::string>& settings, std::uint64_t periodMs,
               const std::vector<std::string>& peers, Line& line);

template <typename Answer>
Answer ask(Child& child, Request request) {
    child.line().send(request);
    return child.line().receive<Answer>();
}

// ---- Processor time and memory of a running process

struct Usage {
    std::vector<double> samples;  // of cores
    double cores;                 // their median
    double residentMiB;
};

Usage watch(pid_t pid, const Effort& effort);
// "12.9 (12.1 to 14.0) % core"
std::string percentOf(const Usage& usage);

// What the far end hears of one engine, too.
struct EngineUsage {
    Usage usage;
    EngineResult result;
    std::uint64_t falseLosses;
};

EngineUsage watchEngine(const Network& network, const Folder& folder, int peers, const Effort& effort);
