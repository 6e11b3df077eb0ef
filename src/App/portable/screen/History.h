#pragma once

#include <cstdint>
#include <vector>

// What arrived of one protocol's probes from one peer, period by period, for as long as a strip chart shows.
//
// A loss is found only when the next probe arrives, by the gap in the numbers before it. While a peer is silent nothing
// is counted, but the history knows that the periods were silent. It enters the losses there when the gap is counted:
//
//     arrived   |  1  |  2  |     |     |  5  |
//     counted   |  1  |  1  |  -  |  -  |  1  |    "-" is a silent period; 5 tells that 3 and 4 are lost
//     entered   |  1  |  1  |  0  |  0  |  1  |    each silent period has one of the losses
//
// A probe that is a little late arrives in the next period, beside that period's own probe. It is put back into the
// silent period before, because otherwise a phase near the border would look like losses:
//
//     arrived   |  1  |  2  |     | 3 4 |  5  |
//     counted   |  1  |  1  |  -  |  2  |  1  |
//     entered   |  1  |  1  |  1  |  1  |  1  |
//
// No two clocks run equally fast, and a probe's phase may thus move across the border. This leaves one period without a
// probe, though none is missing. If a period has one probe, a single silent period counts as having had its probe when
// the next probe arrives and nothing is missing before it:
//
//     arrived   |  1  |  2  |     |  3  |  4  |
//     counted   |  1  |  1  |  -  |  1  |  1  |
//     entered   |  1  |  1  |  1  |  1  |  1  |
//
// Memory: two bytes a period, never more than kColumns periods. Threads: none.
class History {
public:
    static constexpr int kColumns = 300;
    // The level of a period about which nothing is known: before the first probe, or while the program was suspended.
    static constexpr int kUnknown = -1;

    // Enters how much has been received and how much was expected since the counts began. Smaller counts than before
    // mean that the counts began anew.
    void count(std::int32_t received, std::int32_t total);
    // Ends the period that runs. expected: how many probes a period has, at least 1.
    void closePeriod(std::int32_t expected = 1);
    // Ends a period that nobody watched. What has been counted since the last period belongs to the next one.
    void skipPeriod();
    // How many periods there are, the running one not among them.
    int size() const { return static_cast<int>(m_columns.size()); }
    // Returns how much of a period's probes arrived: 0 if nothing arrived and `full` if nothing was lost. All other
    // periods lie between. Returns kUnknown if nothing is known. age: 0, the last period, to size() - 1.
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
