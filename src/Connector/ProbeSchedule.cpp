#include "ProbeSchedule.h"

#include <algorithm>
#include <limits>

#include "SPW_CClock.h"

static const std::int32_t k100nsPerMs = 10000;
// From here on a step sleeps for a second: 10 s.
static const std::int32_t kFarAway100ns = 100000000;
// A step nearer to its time sleeps a tenth of what is left, so that it closes in through several shorter sleeps.
static const std::int32_t kSleepDivisor = 10 * k100nsPerMs;

bool ProbeSchedule::isDue(bool running) {
    const std::uint64_t now = SPW_CClock::instance->now100ns();
    const std::int32_t remaining = remaining100ns(now);
    if (!running) {
        SPW_CClock::instance->sleepTowards(now + kIdleSleepMs * std::uint64_t{k100nsPerMs}, kIdleSleepMs, m_wake);
        return false;
    }
    if (remaining > 0) {
        SPW_CClock::instance->sleepTowards(static_cast<std::uint64_t>(due100ns()), sleepForMs(remaining), m_wake);
        return false;
    }
    m_lastSendTime100ns = now;
    return true;
}

std::int64_t ProbeSchedule::due100ns() const {
    return static_cast<std::int64_t>(m_lastSendTime100ns) + std::int64_t{m_periodMs} * k100nsPerMs;
}

// The time left, in 32 bits. With a period above 214 s (2^31 units of 100 ns) it may be longer than that; then it stops
// at the greatest number, which is far away, too. Cut to 32 bits it would be negative half of the time, and a probe
// would be due at every step.
std::int32_t ProbeSchedule::remaining100ns(std::uint64_t now100ns) const {
    constexpr std::int64_t kGreatest = std::numeric_limits<std::int32_t>::max();
    const std::int64_t left = due100ns() - static_cast<std::int64_t>(now100ns);
    return static_cast<std::int32_t>(std::clamp<std::int64_t>(left, 0, kGreatest));
}

std::uint32_t ProbeSchedule::sleepForMs(std::int32_t remaining100ns) {
    if (remaining100ns >= kFarAway100ns) {
        return kIdleSleepMs;
    }
    return static_cast<std::uint32_t>(remaining100ns / kSleepDivisor);
}
