#pragma once

#include <cstdint>

#include "InsightEvent.h"
#include "SPW_CArray.h"
#include "TestEngine.h"

// Reads an engine's events, each once. A reader that comes late misses the oldest ones. Threads: none.
class EventReader {
public:
    // What has come since the call before, oldest first. events is emptied first. Returns how many are missed for ever.
    std::uint32_t read(const TestEngine& engine, SPW_CArray<InsightEvent>& events) {
        const std::uint32_t before = m_after;
        m_after = engine.eventsAfter(before, events);
        return events.numberOfElements() == 0 ? 0 : events[0].number - before - 1;
    }

private:
    std::uint32_t m_after = 0;  // number of the latest event that was read
};
