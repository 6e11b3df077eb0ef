#pragma once

#include <chrono>

// How long a test waits for what is bound to happen: so long that only what never happens takes longer, on the slowest
// and busiest of machines too, and less than the time limit of a test.
inline constexpr std::chrono::milliseconds kPatience(40000);

// How much before its time a wait may end by the clock of the test: a platform's timers count in ticks, and there the
// clock that they go by may be another one.
inline constexpr std::chrono::milliseconds kTimerTick(16);
