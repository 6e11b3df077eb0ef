#pragma once

#include <cstdint>
#include <vector>

#include "InsightEvent.h"

// Holds back changes until they have lasted, so that a peer that comes back soon alerts nobody.
//
// A change of a state waits for the time that the constructor is told, counted from when it really began. A change back
// that comes sooner undoes it, and neither is told. A change on waits anew and is told as one from the state that was
// told last. An outage waits in the same way; its end follows at once if its begin was told, and undoes it if not. All
// other events pass. Threads: none.
class AlertFilter {
public:
    explicit AlertFilter(std::uint64_t wait100ns) : m_wait100ns(wait100ns) {}

    // Appends to due what is to be told at once.
    void take(const InsightEvent& event, std::vector<InsightEvent>& due);
    // Appends to due what has waited long enough. now100ns: of the monotonic clock.
    void passTime(std::uint64_t now100ns, std::vector<InsightEvent>& due);
    // Another test begins, which has rows of its own.
    void clear() { m_held.clear(); }

private:
    void takeChange(const InsightEvent& event);
    bool undoOutages(const InsightEvent& end);

    const std::uint64_t m_wait100ns;
    std::vector<InsightEvent> m_held;
};
