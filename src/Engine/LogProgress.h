#pragma once

#include <cstdint>

// How far a log has come: the lines that were handed over, and those of them that are through. Both wrap around.
struct LogProgress {
    std::uint32_t taken = 0;
    std::uint32_t written = 0;
};
