#pragma once

#include <cstdint>

#include "SPW_Types.h"

// What a platform half gives SPW_CClock. Any thread may call every function.
namespace SPW_CClockSys {

// The wall clock: 100-ns units since 1 January 1601 (UTC).
std::uint64_t wall100ns();
// 100-ns units since some moment before the program began; never goes back, is not moved by setting the wall clock and
// stands still while the device is suspended (not on desktop Windows, whose tick count runs on).
std::uint64_t monotonic100ns();
// Local civil time that belongs to a wall-clock count, in the same units: the count plus the offset of the
// device's time zone at that moment, at least 0. A change of the zone counts within a minute.
std::uint64_t localFromWall(std::uint64_t wall100ns);
// The same for the wall clock as it is now, at no more than the cost of reading it.
std::uint64_t localNow100ns();
// Blocks the calling thread for that time on the monotonic clock; 0 for the shortest sleep that pays.
void sleepMs(std::uint32_t milliseconds);
// The same, and setting the event `wake`, a handle of VTR_CEventSys, ends it at once. A half may also go on until
// monotonic100ns() is dueMonotonic100ns; SPW_CClock::sleepTowards() tells why nobody notices.
void sleepTowards(std::uint64_t dueMonotonic100ns, std::uint32_t milliseconds, SPW_Handle wake);

}  // namespace SPW_CClockSys
