#pragma once

#include <cstdint>

#include "InsightEvent.h"
#include "SPW_CArray.h"

// The latest events of a test, up to 1000. Threads: none; the owner locks.
class InsightEvents {
public:
    static constexpr std::uint32_t kMost = 1000;

    // Gives the event its number and keeps it in place of the oldest one, if it has to.
    void append(InsightEvent event);
    // Copies the events with numbers above `after`, oldest first. Returns the number to ask with the next time. events
    // is emptied first. A first number above after + 1 means that those between are gone.
    std::uint32_t readAfter(std::uint32_t after, SPW_CArray<InsightEvent>& events) const;
    // Forgets all events. Their numbers do not come again.
    void clear();

private:
    SPW_CArray<InsightEvent> m_ring;  // event n is at (n - m_firstNumber) % kMost
    std::uint32_t m_firstNumber = 1;  // of the first event since the latest clear()
    std::uint32_t m_nextNumber = 1;
};
