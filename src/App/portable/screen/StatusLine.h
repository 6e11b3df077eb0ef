#pragma once

#include <cstdint>

#include "SPW_CString.h"

// What the lowest line of the screen says.
struct StatusLine {
    enum State { kStopped, kStarting, kRunning, kStopping };

    State state = kStopped;
    std::int32_t testNumber = 0;       // of the test that runs or ran last; 0 before the first
    std::uint32_t elapsedSeconds = 0;  // of that test
    SPW_CString logFile;               // empty when nothing is logged
    SPW_CString filter;                // what the list is restricted to; empty when it shows all rows
    SPW_CString event;                 // what happened last

    // Returns a text of at most `width` columns if that is possible. If it is too long, first the log file loses its
    // folder, then the log file is left out. The caller cuts what is still too long; the event stands last.
    SPW_CString text(int width) const;
};

// "0:01:05"; hours take as many digits as they need.
SPW_CString elapsedText(std::uint32_t seconds);
