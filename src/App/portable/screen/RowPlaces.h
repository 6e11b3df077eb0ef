#pragma once

#include <cstdint>
#include <vector>

// Finds where a row stands in a list by the row's number.
//
// Numbers are kept in order and found by halving. Most rows come in the order of their numbers, and then adding one
// moves nothing. Threads: none; the owner locks.
class RowPlaces {
public:
    static constexpr int kNone = -1;

    // 0 for the row that was added first, 1 for the next one, or kNone.
    int find(std::int32_t number) const;
    // Gives a row that has none the next place and returns it.
    int add(std::int32_t number);
    // Takes that row's place away, which it must have. The rows behind it move up by one place.
    void remove(std::int32_t number);
    void clear() { m_entries.clear(); }

private:
    struct Entry {
        std::int32_t number;
        int place;
    };

    std::vector<Entry>::const_iterator firstFrom(std::int32_t number) const;

    std::vector<Entry> m_entries;  // by rising numbers
};
