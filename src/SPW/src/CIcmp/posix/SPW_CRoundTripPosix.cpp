#include "SPW_CRoundTripPosix.h"

#include <time.h>

#include <algorithm>
#include <limits>

namespace {

constexpr std::int64_t kNsPerSecond = 1000000000;
constexpr std::int64_t kNsPerMicrosecond = 1000;

std::int64_t readNs(clockid_t clock) {
    timespec time;
    clock_gettime(clock, &time);
    return static_cast<std::int64_t>(time.tv_sec) * kNsPerSecond + time.tv_nsec;
}

// From the sending to the stamp. Nothing is nearer to the sending than the sending itself, and nothing arrives after it
// has been read.
std::int64_t untilStamp(const SPW_CClockReadingPosix& sending, const SPW_CArrivalPosix& arrival,
                        std::int64_t untilRead) {
    const SPW_CClockReadingPosix& reading = arrival.reading;
    const std::int64_t least = std::max(sending.wallNs - sending.afterNs, reading.wallNs - reading.afterNs);
    const std::int64_t greatest = std::min(sending.wallNs - sending.beforeNs, reading.wallNs - reading.beforeNs);
    const bool wasSet = least > greatest;
    if (wasSet) {
        return untilRead;
    }
    const std::int64_t difference = least + (greatest - least) / 2;
    return std::clamp<std::int64_t>(arrival.stampNs - difference - sending.afterNs, 0, untilRead);
}

}  // namespace

SPW_CClockReadingPosix SPW_CClockReadingPosix::now() {
    SPW_CClockReadingPosix reading;
    reading.beforeNs = readNs(CLOCK_MONOTONIC);
    reading.wallNs = readNs(CLOCK_REALTIME);
    reading.afterNs = readNs(CLOCK_MONOTONIC);
    return reading;
}

std::uint32_t SPW_CRoundTripPosix::microseconds(const SPW_CClockReadingPosix& sending,
                                                const SPW_CArrivalPosix& arrival) {
    const std::int64_t untilRead = std::max<std::int64_t>(arrival.reading.beforeNs - sending.afterNs, 0);
    const std::int64_t ns = arrival.stampNs == 0 ? untilRead : untilStamp(sending, arrival, untilRead);
    return static_cast<std::uint32_t>(
        std::min<std::int64_t>(ns / kNsPerMicrosecond, std::numeric_limits<std::uint32_t>::max()));
}
