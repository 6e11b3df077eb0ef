#pragma once

#include <chrono>

// How long a test waits for what is bound to happen: so long that only what never happens takes longer, on the slowest
// and busiest of machines too, and less than the time limit of a test.
inline constexpr std::chrono::milliseconds kPatience(40000);
