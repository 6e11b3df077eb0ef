#pragma once

#include <pthread.h>
#include <time.h>

#include <cstdint>

#include "SPW_Types.h"

// What semaphores and events share on this platform: a count of units that threads wait for, first come,
// first served.
//
// A unit that is released while somebody waits goes straight to the longest waiter; it is never free for a
// thread that comes along in between, as it would be with a plain mutex and condition.
//
// A waiter may destroy the gate as soon as wait() has returned, although the thread that released it is still inside
// release(): the waiter cannot return before release() has given up the mutex, and release() touches nothing after
// that.
class SPW_CGatePosix {
public:
    // staysOpen: waiters find the gate open without using it up (a manual-reset event).
    SPW_CGatePosix(std::uint32_t initial, std::uint32_t maximum, bool staysOpen);
    ~SPW_CGatePosix();
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
        pthread_cond_t wake;
        bool granted;
        Waiter* next;
    };
    bool takeFree();
    bool waitInLine(const timespec* deadline);
    void grantFirst();
    void leaveLine(const Waiter* waiter);

    pthread_mutex_t m_mutex;
    std::uint32_t m_count;
    const std::uint32_t m_maximum;
    const bool m_staysOpen;
    Waiter* m_first;
    Waiter** m_end;  // where the next waiter is to be hooked in
};
