#pragma once

#include <cstdint>

// One moment on both clocks, in units of 100 ns.
struct Stamp {
    std::uint64_t monotonic100ns = 0;  // as SPW_CClock::now100ns() has it: for spans
    std::uint64_t wall100ns = 0;       // as SPW_CClock::wall100ns() has it: for what is shown; 0 for never
};

// The present, as InsightClock tells it.
struct Moment {
    Stamp now;
    // Since when this device has been watching without a pause. What came before is nobody's silence.
    Stamp presentSince;

    // Whether watching has begun so recently that numbers missing now are not the network's loss.
    bool isSettling() const;
};

constexpr std::uint64_t kOneSecond100ns = 10'000'000;

// 0 where `to` is before `from`: two threads may have read the clock in another order than they report.
constexpr std::uint64_t spanBetween(const Stamp& from, const Stamp& to) {
    return to.monotonic100ns > from.monotonic100ns ? to.monotonic100ns - from.monotonic100ns : 0;
}

constexpr const Stamp& laterOf(const Stamp& a, const Stamp& b) {
    return b.monotonic100ns > a.monotonic100ns ? b : a;
}

inline bool Moment::isSettling() const {
    return spanBetween(presentSince, now) < kOneSecond100ns;
}
