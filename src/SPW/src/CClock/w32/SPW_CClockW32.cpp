#include <windows.h>

#include "SPW_CClockSys.h"
#include "SPW_CTickExtender.h"

namespace {

constexpr std::uint64_t kPerMillisecond = 10000;

SPW_CTickExtender ticks;

std::uint64_t toCount(const FILETIME& time) {
    return std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime;
}

}  // namespace

std::uint64_t SPW_CClockSys::wall100ns() {
    SYSTEMTIME now;
    GetSystemTime(&now);
    FILETIME time = {};
    (void)SystemTimeToFileTime(&now, &time);  // the system's own time is one that a calendar shows
    return toCount(time);
}

// On a handheld the tick count stands still while the device is suspended. On a desktop it runs on.
std::uint64_t SPW_CClockSys::monotonic100ns() {
    return ticks.now([] { return GetTickCount(); }) * kPerMillisecond;
}

// The one conversion that every Windows has. It knows only the offset of the season that it is now, so that a summer's
// time stamp seen in winter is an hour off.
std::uint64_t SPW_CClockSys::localFromWall(std::uint64_t wall100ns) {
    const FILETIME time = {static_cast<DWORD>(wall100ns), static_cast<DWORD>(wall100ns >> 32)};
    FILETIME local;
    return FileTimeToLocalFileTime(&time, &local) ? toCount(local) : wall100ns;
}

void SPW_CClockSys::sleepMs(std::uint32_t milliseconds) {
    // A sleep of 0 gives the processor to a thread of the same priority only and returns at once without one.
    const std::uint32_t wanted = milliseconds == 0 ? 1 : milliseconds;
    const DWORD start = GetTickCount();
    // A sleep may end early by a part of a tick.
    for (std::uint32_t passed = 0; passed < wanted; passed = GetTickCount() - start) {
        Sleep(wanted - passed);
    }
}
