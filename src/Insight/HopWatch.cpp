#include "HopWatch.h"

void HopWatch::note(int timeToLive) {
    if (timeToLive <= 0) {
        return;
    }
    const std::int16_t hops = hopsOf(timeToLive);
    if (hops == m_hops) {
        m_times = 0;
        return;
    }
    m_times = hops == m_candidate ? m_times : std::uint8_t{0};
    m_candidate = hops;
    if (++m_times == kTimesInARow) {
        m_hops = hops;
        m_times = 0;
    }
}

std::int16_t HopWatch::hopsOf(int timeToLive) {
    const int first = timeToLive > 128 ? 255 : timeToLive > 64 ? 128 : timeToLive > 32 ? 64 : 32;
    return static_cast<std::int16_t>(first - timeToLive);
}
