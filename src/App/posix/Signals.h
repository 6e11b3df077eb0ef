#pragma once

#include <cstdint>

// What a signal asks the headless program to do.
enum class Request {
    kNone,      // the time given to waitForRequest is over
    kStop,      // SIGINT, SIGTERM
    kSnapshot,  // SIGUSR1
    kReset,     // SIGUSR2
    kRestart,   // SIGHUP
};

// Keeps the five signals from interrupting any thread, so that waitForRequest alone receives them; and ignores
// SIGPIPE, so that a reader of our output that goes away shows as a failed write.
// Call it before the first thread is started: threads inherit what is blocked.
void blockRequestSignals();

// Waits for the next request, at most timeoutMs (kSPWForever: without limit). One thread at a time.
Request waitForRequest(std::uint32_t timeoutMs);
