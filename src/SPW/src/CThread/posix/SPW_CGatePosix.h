#pragma once

#include <time.h>

#include <atomic>
#include <cstdint>
#include <mutex>

#include "SPW_Types.h"

// What semaphores and events share on this platform: a count of units that threads wait for, first come,
// first served.
//
// A unit that is released while somebody waits goes straight to the longest waiter; it is never free for a
// thread that comes along in between, as it would be with a plain mutex and condition.
//
// Every waiter sleeps on a word of its own, which only the release that frees it touches. Condition variables would not
// do: each wait that ends leaves its mutex marked as contended, and the next unlock then calls the kernel. With 3000
// sleeping threads that call took half of the program's processor time.
//
// A waiter may destroy the gate as soon as wait() has returned, although the thread that released it is still inside
// release(): by then release() has given up the mutex, and all that it does afterwards is to wake the word's address.
// The kernel does not mind an address at which nobody sleeps any more, and a sleeper that is woken without need looks
// at its word and sleeps on.
class SPW_CGatePosix {
public:
    // staysOpen: waiters find the gate open without using it up (a manual-reset event).
    SPW_CGatePosix(std::uint32_t initial, std::uint32_t maximum, bool staysOpen);
    SPW_CGatePosix(const SPW_CGatePosix&) = delete;
    SPW_CGatePosix& operator=(const SPW_CGatePosix&) = delete;

    // False when timeoutMs passed without a unit. The time is measured on the monotonic clock.
    bool wait(std::uint32_t timeoutMs);
    // The same with a moment of the monotonic clock.
    bool waitUntil(const timespec& deadline);
    // False when the count was at its maximum already.
    bool release();
    // Takes all units away.
    void close();

private:
    struct Waiter {
        std::atomic<std::uint32_t> isGranted{0};
        Waiter* next = nullptr;
    };
    enum Limit { kLookOnly, kUntilDeadline, kForever };
    bool waitInLine(Limit limit, const timespec& deadline);
    bool takeUnit();
    bool leaveLine(const Waiter* waiter);
    Waiter* takeGranted();

    std::mutex m_mutex;
    std::uint32_t m_count;
    const std::uint32_t m_maximum;
    const bool m_staysOpen;
    Waiter* m_first;
    Waiter** m_end;  // where the next waiter is to be hooked in
};
