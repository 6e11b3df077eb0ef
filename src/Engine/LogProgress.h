#pragma once

#include <cstdint>

// How far a log has come. All wrap around.
struct LogProgress {
    std::uint32_t taken = 0;    // lines that were handed over
    std::uint32_t written = 0;  // those of them that are through
    std::uint32_t untold = 0;   // lines that found no room, which the log does not say yet

    // The lines that are not in the log, nor in its count of the lost ones, if the log stays as it is now.
    std::uint32_t missing() const { return taken - written + untold; }
};
