#pragma once

#include <chrono>
#include <thread>

// How long a test waits for what is bound to happen. It is enough for the slowest and busiest machine, and less than
// the time limit of a test.
inline constexpr std::chrono::milliseconds kPatience(40000);

// How early a wait may end by the clock of the test. A platform's timers count in ticks, and may go by another clock.
inline constexpr std::chrono::milliseconds kTimerTick(16);

// Waits until the condition holds. Returns false when it still does not after kPatience.
template <typename Condition>
bool soon(Condition condition) {
    const auto end = std::chrono::steady_clock::now() + kPatience;
    while (!condition()) {
        if (std::chrono::steady_clock::now() >= end) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}
