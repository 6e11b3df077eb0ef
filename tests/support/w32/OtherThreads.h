#pragma once

#include <chrono>
#include <thread>

// Returns when each other thread of this process probably sleeps, for instance because it waits for a lock, so that a
// test can act at that moment. Windows does not tell the state of a thread: a pause stands for the look at it.
inline void awaitOthersAsleep() {
    std::this_thread::sleep_for(std::chrono::milliseconds(30));
}
