#pragma once

#include <cstdint>

// What a signal asks the headless program to do.
enum class Request {
    kNone,      // the time given to waitForRequest is over
    kStop,      // SIGINT, SIGTERM
    kSnapshot,  // SIGUSR1
    kReset,     // SIGUSR2
    kRestart,   // SIGHUP, unless it was ignored when the program began (nohup)
};

// Keeps the five signals from interrupting any thread, so that waitForRequest alone receives them; and does what
// ignoreWriteSignals does.
// Call it before the first thread is started: threads inherit what is blocked.
void blockRequestSignals();

// Ignores SIGPIPE and SIGXFSZ, so that a reader of our output that goes away, and a file that reaches the limit set for
// files, show as failed writes.
void ignoreWriteSignals();

// Waits for the next request, at most timeoutMs (kSPWForever: without limit). A request to stop goes before all others
// that are pending; the same request twice is one while it is pending. One thread at a time.
Request waitForRequest(std::uint32_t timeoutMs);
