#include <windows.h>

#include "SPW_CClockSys.h"
#include "SPW_CTickExtender.h"
#include "SPW_CZoneRule.h"

namespace {

constexpr std::uint64_t kPerMillisecond = 10000;

SPW_CTickExtender ticks;

std::uint64_t toCount(const FILETIME& time) {
    return std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime;
}

std::uint64_t toCount(const SYSTEMTIME& time) {
    FILETIME count = {};
    (void)SystemTimeToFileTime(&time, &count);  // the system's own time is always a valid date
    return toCount(count);
}

SPW_CZoneRule::Season toSeason(const SYSTEMTIME& begin, LONG bias) {
    SPW_CZoneRule::Season season;
    season.begin.year = begin.wYear;
    season.begin.month = begin.wMonth;
    season.begin.dayOfWeek = begin.wDayOfWeek;
    season.begin.day = begin.wDay;
    season.begin.hour = begin.wHour;
    season.begin.minute = begin.wMinute;
    season.begin.second = begin.wSecond;
    season.begin.millisecond = begin.wMilliseconds;
    season.biasMinutes = static_cast<int>(bias);
    return season;
}

// Blocks for at least that time, 1 ms at least, unless wait(milliseconds) answers that it has been woken. One wait may
// end early by a part of a tick.
template <typename Wait>
void waitFor(std::uint32_t milliseconds, Wait wait) {
    const std::uint32_t wanted = milliseconds == 0 ? 1 : milliseconds;
    const DWORD start = GetTickCount();
    bool isWoken = false;
    for (std::uint32_t passed = 0; passed < wanted && !isWoken; passed = GetTickCount() - start) {
        isWoken = wait(wanted - passed);
    }
}

}  // namespace

std::uint64_t SPW_CClockSys::wall100ns() {
    SYSTEMTIME now;
    GetSystemTime(&now);
    return toCount(now);
}

// On a handheld the tick count stands still while the device is suspended. On a desktop it runs on.
std::uint64_t SPW_CClockSys::monotonic100ns() {
    return ticks.now([] { return GetTickCount(); }) * kPerMillisecond;
}

// Reads the zone each time. FileTimeToLocalFileTime gives every moment the offset of today, which is an hour wrong for
// moments of the other season. The functions that convert better are missing on a handheld.
std::uint64_t SPW_CClockSys::localFromWall(std::uint64_t wall100ns) {
    TIME_ZONE_INFORMATION zone = {};
    if (GetTimeZoneInformation(&zone) == TIME_ZONE_ID_INVALID) {
        return wall100ns;
    }
    SPW_CZoneRule rule;
    rule.biasMinutes = static_cast<int>(zone.Bias);
    rule.standard = toSeason(zone.StandardDate, zone.StandardBias);
    rule.daylight = toSeason(zone.DaylightDate, zone.DaylightBias);
    return rule.localFromWall(wall100ns);
}

std::uint64_t SPW_CClockSys::localNow100ns() {
    SYSTEMTIME now;
    GetLocalTime(&now);
    return toCount(now);
}

// A sleep of 0 is made 1 ms. It would give the processor only to a thread of the same priority, and would return at
// once without such a thread.
void SPW_CClockSys::sleepMs(std::uint32_t milliseconds) {
    waitFor(milliseconds, [](DWORD left) {
        Sleep(left);
        return false;
    });
}

// Merges no sleeps: every one of them ends with a tick, one that lasts until the due time as well.
void SPW_CClockSys::sleepTowards(std::uint64_t, std::uint32_t milliseconds, SPW_Handle wake) {
    waitFor(milliseconds, [wake](DWORD left) { return WaitForSingleObject(wake, left) != WAIT_TIMEOUT; });
}
