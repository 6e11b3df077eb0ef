#pragma once

#include <chrono>

// How long a test waits for what is bound to happen. It is enough for the slowest and busiest machine, and less than
// the time limit of a test.
inline constexpr std::chrono::milliseconds kPatience(40000);

// How early a wait may end by the clock of the test. A platform's timers count in ticks, and may go by another clock.
inline constexpr std::chrono::milliseconds kTimerTick(16);
