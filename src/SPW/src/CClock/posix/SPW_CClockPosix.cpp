#include <errno.h>
#include <time.h>

#include <atomic>

#include "SPW_CClock.h"
#include "SPW_CClockSys.h"
#include "SPW_CGatePosix.h"

namespace {

constexpr std::uint64_t kPerSecond = 10000000;

// How long a sleep of 0 lasts. Every sender sleeps a tenth of what is left of its period again and again, and 0 ms many
// times over in the last 10 ms, so with thousands of threads the wake-ups are what costs. Measured with threads that do
// nothing but follow that schedule, period 1 s, on a virtual machine with two cores, Linux 6.18; processor time in
// cores, median lateness of the send:
//
//   sleep(0)  timer slack    768 threads      3000 threads
//     50 us      50 us      0.43  0.05 ms     1.10  0.1 ms
//      1 ms      50 us      0.32  0.6 ms      0.87  0.6 ms
//     50 us       1 ms      0.16  0.6 ms      0.60  0.6 ms
//      1 ms       1 ms      0.15  0.9 ms      0.57  1.0 ms    as here
//      2 ms       1 ms      0.15  1.5 ms      0.57  1.7 ms
//      5 ms       1 ms      0.15  2.0 ms      0.52  2.7 ms
//      1 ms       5 ms      0.10  3.2 ms      0.44  2.7 ms
//
// It is the slack that pays (SPW_CThreadPosix.cpp sets it): it lets the sleeps of many threads end in one interrupt.
// Beside it the length of this sleep hardly matters, so it is a short one. Of a hundred sends ninety-nine were at most
// 3 ms late in undisturbed runs as here; with other work on both cores, 20 to 80 ms.
constexpr std::uint64_t kShortestSleepNs = 1000000;

std::uint64_t read100ns(clockid_t clock) {
    timespec time;
    clock_gettime(clock, &time);
    return static_cast<std::uint64_t>(time.tv_sec) * kPerSecond + static_cast<std::uint64_t>(time.tv_nsec / 100);
}

void sleepNs(std::uint64_t nanoseconds) {
    timespec until;
    clock_gettime(CLOCK_MONOTONIC, &until);
    const std::uint64_t sum = static_cast<std::uint64_t>(until.tv_nsec) + nanoseconds;
    until.tv_sec += static_cast<time_t>(sum / 1000000000u);
    until.tv_nsec = static_cast<long>(sum % 1000000000u);
    while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &until, nullptr) == EINTR) {
    }
}

// The minute, counted from 1601, of the moment for which the zone was last looked at.
std::atomic<std::uint32_t> minuteOfZone{0};

// The C library reads the zone at its first use and again only when it is told to. A test may run for months, through
// a move of the device and through new rules.
void followZone(std::uint64_t wall100ns) {
    const auto minute = static_cast<std::uint32_t>(wall100ns / (60 * kPerSecond));
    if (minuteOfZone.exchange(minute, std::memory_order_relaxed) != minute) {
        tzset();
    }
}

}  // namespace

std::uint64_t SPW_CClockSys::wall100ns() {
    return read100ns(CLOCK_REALTIME) + static_cast<std::uint64_t>(SPW_CClock::kSecondsFrom1601To1970) * kPerSecond;
}

// Not CLOCK_BOOTTIME, which runs on while the device is suspended: after a resume all schedules would be overdue
// at the same moment and every sender would fire at once, and from then on in step. With this clock each takes up its
// period where it left it, so a resume brings neither a burst nor a wait of more than one period.
std::uint64_t SPW_CClockSys::monotonic100ns() {
    return read100ns(CLOCK_MONOTONIC);
}

std::uint64_t SPW_CClockSys::localFromWall(std::uint64_t wall100ns) {
    followZone(wall100ns);
    const time_t seconds = static_cast<time_t>(wall100ns / kPerSecond) - time_t{SPW_CClock::kSecondsFrom1601To1970};
    tm local;
    if (localtime_r(&seconds, &local) == nullptr) {
        return wall100ns;
    }
    const std::uint64_t offset = static_cast<std::uint64_t>(local.tm_gmtoff) * kPerSecond;
    // West of Greenwich 1601 began later: nothing is before the first moment that the count can tell.
    return local.tm_gmtoff < 0 && wall100ns < 0 - offset ? 0 : wall100ns + offset;
}

std::uint64_t SPW_CClockSys::localNow100ns() {
    return localFromWall(wall100ns());
}

void SPW_CClockSys::sleepMs(std::uint32_t milliseconds) {
    sleepNs(milliseconds == 0 ? kShortestSleepNs : milliseconds * std::uint64_t(1000000));
}

// Merges the sleeps, for thousands of senders would otherwise wake some forty times a period each to find that nothing
// is due.
void SPW_CClockSys::sleepTowards(std::uint64_t dueMonotonic100ns, std::uint32_t, SPW_Handle wake) {
    timespec due;
    due.tv_sec = static_cast<time_t>(dueMonotonic100ns / kPerSecond);
    due.tv_nsec = static_cast<long>(dueMonotonic100ns % kPerSecond) * 100;
    (void)static_cast<SPW_CGatePosix*>(wake)->waitUntil(due);  // the caller looks at the clock, whatever ended the wait
}
