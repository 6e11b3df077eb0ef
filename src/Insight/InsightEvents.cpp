#include "InsightEvents.h"

#include <algorithm>

void InsightEvents::append(InsightEvent event) {
    event.number = m_nextNumber++;
    const std::uint32_t index = (event.number - m_firstNumber) % kMost;
    if (index < static_cast<std::uint32_t>(m_ring.numberOfElements())) {
        m_ring[static_cast<int>(index)] = event;
    } else {
        m_ring.append(event);
    }
}

std::uint32_t InsightEvents::readAfter(std::uint32_t after, SPW_CArray<InsightEvent>& events) const {
    events.clear();
    const std::uint32_t oldest = m_nextNumber - static_cast<std::uint32_t>(m_ring.numberOfElements());
    for (std::uint32_t number = std::max(after + 1, oldest); number < m_nextNumber; ++number) {
        events.append(m_ring[static_cast<int>((number - m_firstNumber) % kMost)]);
    }
    return m_nextNumber - 1;
}

void InsightEvents::clear() {
    m_ring.clear();
    m_firstNumber = m_nextNumber;
}
