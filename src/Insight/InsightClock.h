#pragma once

#include <cstdint>

#include "Moment.h"

// Makes moments of readings of the monotonic clock: cheap enough for every probe, since it reads no clock itself, and
// aware of the times in which this device could not watch.
//
// tell() sets the wall clock once a second; in between it advances with the monotonic one. A device that is suspended,
// or a program that is stopped, shows itself by a pause: nothing is asked here for more than 2 s, although tell() comes
// once a second. Threads: none; the owner locks.
class InsightClock {
public:
    // Watching begins now.
    void begin(const Stamp& now);
    // Once a second: the true wall clock at that moment. False if the call is late, and the one before it was not: what
    // has come meanwhile may not have been recorded yet, and nobody should be called silent before the next second.
    bool tell(const Stamp& now);
    // The present. monotonic100ns: a reading just made. One that is older than the latest is taken as it is.
    Moment at(std::uint64_t monotonic100ns);

private:
    Stamp stampOf(std::uint64_t monotonic100ns) const { return {monotonic100ns, monotonic100ns + m_toWall100ns}; }

    std::uint64_t m_toWall100ns = 0;  // wraps around
    std::uint64_t m_latest100ns = 0;
    std::uint64_t m_latestTell100ns = 0;
    bool m_wasLate = false;
    Stamp m_presentSince;
};
