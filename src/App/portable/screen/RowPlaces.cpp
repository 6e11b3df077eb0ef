#include "RowPlaces.h"

#include <algorithm>

int RowPlaces::find(std::int32_t number) const {
    const auto found = firstFrom(number);
    return found != m_entries.end() && found->number == number ? found->place : kNone;
}

int RowPlaces::add(std::int32_t number) {
    const int place = static_cast<int>(m_entries.size());
    m_entries.insert(firstFrom(number), {number, place});
    return place;
}

void RowPlaces::remove(std::int32_t number) {
    const auto found = firstFrom(number);
    const int place = found->place;
    m_entries.erase(found);
    for (Entry& entry : m_entries) {
        entry.place -= entry.place > place ? 1 : 0;
    }
}

std::vector<RowPlaces::Entry>::const_iterator RowPlaces::firstFrom(std::int32_t number) const {
    return std::lower_bound(m_entries.begin(), m_entries.end(), number,
                            [](const Entry& entry, std::int32_t wanted) { return entry.number < wanted; });
}
