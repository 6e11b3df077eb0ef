#include <errno.h>
#include <sys/prctl.h>
#include <time.h>

#include <atomic>

#include "SPW_CClock.h"
#include "SPW_CClockSys.h"
#include "SPW_CGatePosix.h"

namespace {

constexpr std::uint64_t kPerSecond = 10000000;

// How long a sleep of 0 lasts. Shorter ones cost more processor time than they are worth.
constexpr std::uint64_t kShortestSleepNs = 1000000;

std::uint64_t read100ns(clockid_t clock) {
    timespec time;
    clock_gettime(clock, &time);
    return static_cast<std::uint64_t>(time.tv_sec) * kPerSecond + static_cast<std::uint64_t>(time.tv_nsec / 100);
}

// The kernel ends a wait up to 50 us late, so that wake-ups fall together. Of a period of 1 ms that is a twentieth, and
// a sender does not make lateness up.
void beExact(bool isExact) {
    constexpr unsigned long kKernelsOwn = 0;
    constexpr unsigned long kExactNs = 1;
    static thread_local bool isThreadExact = false;
    if (isThreadExact != isExact) {
        isThreadExact = isExact;
        (void)prctl(PR_SET_TIMERSLACK, isExact ? kExactNs : kKernelsOwn);
    }
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
void SPW_CClockSys::sleepTowards(std::uint64_t dueMonotonic100ns, std::uint32_t milliseconds, SPW_Handle wake) {
    beExact(milliseconds == 0);
    timespec due;
    due.tv_sec = static_cast<time_t>(dueMonotonic100ns / kPerSecond);
    due.tv_nsec = static_cast<long>(dueMonotonic100ns % kPerSecond) * 100;
    (void)static_cast<SPW_CGatePosix*>(wake)->waitUntil(due);  // the caller looks at the clock, whatever ended the wait
}
