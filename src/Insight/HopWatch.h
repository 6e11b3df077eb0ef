#pragma once

#include <cstdint>

// How many routers there are between a peer and here, from the time-to-live that its replies have left.
//
// A system sends with 32, 64, 128 or 255, and each router takes one. Another number of hops must come three times in a
// row before it counts. Threads: none; the owner locks.
class HopWatch {
public:
    static constexpr std::int16_t kUnknown = -1;
    static constexpr int kTimesInARow = 3;

    // timeToLive: 1 to 255; 0 where the platform does not give it, and nothing changes.
    void note(int timeToLive);
    std::int16_t hops() const { return m_hops; }

private:
    static std::int16_t hopsOf(int timeToLive);

    std::int16_t m_hops = kUnknown;
    std::int16_t m_candidate = kUnknown;
    std::uint8_t m_times = 0;
};
