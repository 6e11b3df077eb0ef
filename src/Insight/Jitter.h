#pragma once

#include <cstdint>

// The mean of absolute differences with the filter of RFC 3550, 6.4.1: each difference D moves the mean J by
// (D - J) / 16. Units are the caller's. Threads: none; the owner locks.
class Jitter {
public:
    void add(std::uint32_t difference);
    void reset() { *this = Jitter(); }

    std::uint32_t count() const { return m_count; }
    // 0 before the first difference.
    std::uint32_t mean() const { return static_cast<std::uint32_t>(m_sixteenfold >> 4); }

private:
    std::uint64_t m_sixteenfold = 0;  // keeps four binary places
    std::uint32_t m_count = 0;
};
