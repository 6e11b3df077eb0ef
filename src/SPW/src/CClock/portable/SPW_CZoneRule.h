#pragma once

#include <cstdint>

#include "SPW_CClock.h"

// A time zone as Windows describes it: two offsets and the two moments of a year at which they take turns.
struct SPW_CZoneRule {
    // When an offset begins, in the local time that was valid until then. Month 0: the zone has one offset only. Year
    // 0: every year, and `day` 1 to 5 says which of the month's days of that name, 5 the last. Another year: only then,
    // and `day` is the day of the month.
    struct Season {
        SPW_CalendarTime begin;
        int biasMinutes = 0;  // to add to the zone's own
    };

    int biasMinutes = 0;  // to add to local time to get UTC
    Season standard;
    Season daylight;

    // To add to local time to get UTC at that moment, a wall-clock count.
    int biasAt(std::uint64_t wall100ns) const;
    // The local time of that moment in the same units, at least 0.
    std::uint64_t localFromWall(std::uint64_t wall100ns) const;
};
