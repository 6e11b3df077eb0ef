#pragma once

#include <atomic>
#include <cstdint>

// Makes a count of milliseconds that never wraps of one of 32 bits that starts anew after 49.7 days.
//
// The state counts the half turns that have begun. Its lowest bit is the tick's highest whenever it is up to date. Each
// call brings it up to date. At least one call in a half turn (24.8 days) is therefore needed. Any thread may call.
// There is no lock. The atomics have 32 bits, since a handheld has no wider ones.
class SPW_CTickExtender {
public:
    constexpr SPW_CTickExtender() = default;

    // readTick: a callable that answers the platform's count as it is when it is called.
    template <typename ReadTick>
    std::uint64_t now(ReadTick readTick) {
        // Before the tick is read: a state that another thread moved on later would not belong to it.
        std::uint32_t halfTurns = m_halfTurns.load();
        const std::uint32_t tick = readTick();
        if ((halfTurns & 1) != tick >> 31) {
            std::uint32_t expected = halfTurns++;
            // A failed exchange means that another thread has already stored this half turn.
            (void)m_halfTurns.compare_exchange_strong(expected, halfTurns);
        }
        return std::uint64_t{halfTurns >> 1} << 32 | tick;
    }

private:
    std::atomic<std::uint32_t> m_halfTurns{0};
};
