#pragma once

#include <cstdint>

// Measures the time between the sending of a request and the arrival of its reply.
//
// The monotonic clock measures. The kernel stamps an arrival with the wall clock. The stamp is converted, because a
// busy machine may read the message long after it has arrived. For that the difference of the two clocks must be known.
// They cannot be read at once, and so one is read between two readings of the other:
//
//     monotonic   before ------------- after          wall - after <= difference <= wall - before
//     wall                    wall
//
// The kernel slews both clocks alike. The difference therefore changes only when the wall clock is set.

// One reading of both clocks. All values are nanoseconds.
struct SPW_CClockReadingPosix {
    std::int64_t beforeNs = 0;
    std::int64_t wallNs = 0;
    std::int64_t afterNs = 0;

    // Reads the clocks. Any thread.
    static SPW_CClockReadingPosix now();
};

// What is known of a reply's arrival.
struct SPW_CArrivalPosix {
    // Made when the message had been read.
    SPW_CClockReadingPosix reading;
    // Wall clock at which the kernel received the message; 0 when the kernel did not tell.
    std::int64_t stampNs = 0;
};

namespace SPW_CRoundTripPosix {

// Microseconds from the end of the reading `sending` to the arrival, at most 2^32 - 1. Without a stamp, and when the
// wall clock was set meanwhile, the arrival is the beginning of its reading. The result is then too great by the time
// that the message lay unread, and nothing else. A stamp never makes it negative or greater than that.
std::uint32_t microseconds(const SPW_CClockReadingPosix& sending, const SPW_CArrivalPosix& arrival);

}  // namespace SPW_CRoundTripPosix
