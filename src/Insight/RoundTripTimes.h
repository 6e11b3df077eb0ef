#pragma once

#include <cstdint>

#include "Jitter.h"
#include "PeerInsightValues.h"

// The statistics of round-trip times, in memory that does not grow, by integers alone. Times are in units of 100 ns.
//
// Percentiles come from a log-linear histogram: each doubling of time is divided into 16 buckets, and a bucket stands
// for its middle. Threads: none; the owner locks.
class RoundTripTimes {
public:
    void add(std::uint32_t time100ns);
    void reset() { *this = RoundTripTimes(); }

    RoundTripValues values() const;
    std::uint32_t count() const { return m_count; }
    std::uint32_t last() const { return m_last; }
    std::uint32_t mean() const { return m_mean; }
    std::uint32_t jitter() const { return m_jitter.mean(); }

private:
    // A bucket's unit is 400 ns. Times below 16 units have a bucket a unit; each of the 21 doublings above has 16.
    static constexpr int kUnitShift = 2;
    static constexpr int kSteps = 16;
    static constexpr int kDoublings = 21;
    static constexpr int kBuckets = kSteps + kDoublings * kSteps;

    static int bucketOf(std::uint32_t time100ns);
    static std::uint32_t middleOf(int bucket);
    std::uint32_t percentile(std::uint32_t percent) const;
    std::uint32_t deviation() const;
    void addToDeviation(std::int64_t distance);
    void growScale();

    std::uint32_t m_count = 0;
    std::uint32_t m_last = 0;
    std::uint32_t m_minimum = 0;
    std::uint32_t m_maximum = 0;
    std::uint32_t m_mean = 0;
    std::uint64_t m_sum = 0;
    Jitter m_jitter;
    // Distances from the first time, divided by 2^m_scale, and their squares: sums that stay small where times are much
    // alike.
    std::uint32_t m_first = 0;
    std::uint32_t m_scale = 0;
    std::int64_t m_distances = 0;
    std::uint64_t m_squares = 0;
    std::uint32_t m_buckets[kBuckets] = {};
};
