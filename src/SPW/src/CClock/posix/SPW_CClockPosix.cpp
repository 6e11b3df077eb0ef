#include <errno.h>
#include <time.h>

#include "SPW_CClockSys.h"

namespace {

constexpr std::uint64_t kPerSecond = 10000000;
constexpr std::uint64_t kSecondsFrom1601To1970 = 11644473600u;
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

}  // namespace

std::uint64_t SPW_CClockSys::wall100ns() {
    return read100ns(CLOCK_REALTIME) + kSecondsFrom1601To1970 * kPerSecond;
}

// Not CLOCK_BOOTTIME, which runs on while the device is suspended: after a resume all schedules would be overdue
// at the same moment and every sender would fire at once, and from then on in step. With this clock each takes up its
// period where it left it, so a resume brings neither a burst nor a wait of more than one period.
std::uint64_t SPW_CClockSys::monotonic100ns() {
    return read100ns(CLOCK_MONOTONIC);
}

std::uint64_t SPW_CClockSys::localFromWall(std::uint64_t wall100ns) {
    const time_t seconds = static_cast<time_t>(wall100ns / kPerSecond) - static_cast<time_t>(kSecondsFrom1601To1970);
    tm local;
    if (localtime_r(&seconds, &local) == nullptr)
        return wall100ns;
    return wall100ns + static_cast<std::uint64_t>(local.tm_gmtoff) * kPerSecond;
}

void SPW_CClockSys::sleepMs(std::uint32_t milliseconds) {
    sleepNs(milliseconds == 0 ? kShortestSleepNs : milliseconds * std::uint64_t(1000000));
}
