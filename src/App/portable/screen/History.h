#pragma once

#include <cstdint>
#include <vector>

// What arrived of one protocol's probes from one peer, period by period, for as long as a strip chart shows.
//
// Losses are found by the gap in front of the next probe that arrives, so while a peer is silent nothing is counted. A
// period in which nothing came is known to be silent all the same, and when the gap is counted at last, its losses are
// entered where they belong: in the silent periods. A probe that comes a little late, in the next period, beside that
// one's own, is put back likewise; otherwise a phase near the border would look like losses. So would one that moves
// across the border, since nobody's clock is exactly another's: where a period has one probe, a single silent one in
// front of a probe before which nothing is missing counts as having had its probe.
//
// Memory: two bytes a period, never more than kColumns periods. Threads: none.
class History {
public:
    static constexpr int kColumns = 300;
    // Of a period about which nothing is known: before the first probe, or while the program was suspended.
    static constexpr int kUnknown = -1;

    // How much has been received and how much was to come, since the counts began. Counts that have become less began
    // anew.
    void count(std::int32_t received, std::int32_t total);
    // Ends the period that runs. expected: how many probes a period has, at least 1.
    void closePeriod(std::int32_t expected = 1);
    // Ends a period that nobody watched; what has been counted since the last one belongs to the next one.
    void skipPeriod();
    // How many periods there are, the running one not among them.
    int size() const { return static_cast<int>(m_columns.size()); }
    // What came in a period, in steps from 0, nothing, to `full`, everything; 0 is only what nothing came in, and
    // `full` only what nothing was lost in. age: 0, the last one, to size() - 1. Or kUnknown.
    int level(int age, int full) const;

private:
    struct Column {
        std::uint8_t received = 0;
        std::uint8_t lost = 0;

        bool isSilent() const { return received == 0 && lost == 0; }
        bool isUnknown() const { return received == 0xFF; }
    };

    void append(Column column);
    Column& fromEnd(int age);
    const Column& fromEnd(int age) const;
    void returnLateOne(std::int32_t& received, std::int32_t lost, std::int32_t expected);
    void enterLosses(std::int32_t& lost, std::int32_t expected);

    std::vector<Column> m_columns;  // a ring once it is full
    int m_oldest = 0;               // where the ring begins
    std::int32_t m_received = 0;    // at the latest count
    std::int32_t m_total = 0;
    std::int32_t m_receivedNow = 0;  // in the running period
    std::int32_t m_lostNow = 0;
    bool m_isStarted = false;  // something was counted
};
