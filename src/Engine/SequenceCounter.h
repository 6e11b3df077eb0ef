#pragma once

#include <cstdint>

// Counts the probes of one protocol of one peer from the sequence numbers that arrive.
//
// A number that does not exceed the last one is a repeat or the peer's new start, and counts as one more probe;
// a gap counts as probes expected and lost. The first number and whether the counter has started belong to its design,
// though the program itself asks for neither. Threads: none; the owner locks.
class SequenceCounter {
public:
    void record(std::int32_t sequence);
    void reset() { *this = SequenceCounter(); }

    std::int32_t total() const { return m_total; }
    std::int32_t lost() const { return m_lost; }
    std::int32_t received() const { return m_total - m_lost; }
    std::int32_t first() const { return m_first; }
    std::int32_t last() const { return m_last; }
    bool isStarted() const { return m_started; }

private:
    std::int32_t m_total = 0;
    std::int32_t m_lost = 0;
    std::int32_t m_last = 0;
    std::int32_t m_first = 0;
    bool m_started = false;
};
