#pragma once

#include <cstddef>
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
// A longer time is kept in coarser columns, zoom by zoom:
//
//     zoom                 0     1     2     3     4
//     periods a column     1    10    60   300  1800
//     columns            300   120   120   120    48     with periods of a second: 5 min to 24 h
//
// A coarse column says how much arrived in its periods, each of them counting alike. The newest one, at age 0, is the
// one that is being filled.
//
// Memory: two bytes a column. Threads: none.
class History {
public:
    static constexpr int kZooms = 5;
    static constexpr int kPeriods[kZooms] = {1, 10, 60, 300, 1800};  // in a column
    static constexpr int kRoom[kZooms] = {300, 120, 120, 120, 48};   // columns
    static constexpr int kColumns = kRoom[0];
    static constexpr int kMostPeriods = kPeriods[kZooms - 1] * kRoom[kZooms - 1];
    // The level of a period about which nothing is known: before the first probe, or while the program was suspended.
    static constexpr int kUnknown = -1;

    // Enters how much has been received and how much was expected since the counts began. Smaller counts than before
    // mean that the counts began anew.
    void count(std::int32_t received, std::int32_t total);
    // Ends the period that runs. expected: how many probes a period has, at least 1.
    void closePeriod(std::int32_t expected = 1);
    // Ends a period that nobody watched. What has been counted since the last period belongs to the next one.
    void skipPeriod();
    // How many columns there are. The running period belongs to none.
    int size(int zoom = 0) const;
    // Returns how much of a column's probes arrived: 0 if nothing arrived and `full` if nothing was lost. All other
    // columns lie between. Returns kUnknown if nothing is known. age: 0, the newest column, to size() - 1.
    int level(int age, int full, int zoom = 0) const;
    // How many periods before the end of the last one the column began. age: as above.
    int periodsSince(int age, int zoom) const;

private:
    struct Column {
        std::uint8_t received = 0;
        std::uint8_t lost = 0;

        bool isSilent() const { return received == 0 && lost == 0; }
        bool isUnknown() const { return received == 0xFF; }
    };
    static constexpr Column kUnknownColumn = {0xFF, 0xFF};

    class Ring {
    public:
        explicit Ring(int room) : m_room(room) {}
        int size() const { return static_cast<int>(m_columns.size()); }
        void append(Column column);
        // age: 0, the newest one, to size() - 1.
        Column& fromEnd(int age) { return m_columns[placeOf(age)]; }
        const Column& fromEnd(int age) const { return m_columns[placeOf(age)]; }

    private:
        std::size_t placeOf(int age) const { return static_cast<std::size_t>((m_oldest + size() - 1 - age) % size()); }

        int m_room;
        std::vector<Column> m_columns;
        int m_oldest = 0;  // where the ring begins once it is full
    };
    // Periods on their way into a coarse column.
    struct Gathering {
        std::uint32_t share = 0;    // what arrived, kMost for each period in which all did
        std::uint32_t known = 0;    // periods of which something is known
        std::uint32_t periods = 0;  // all of them

        static Gathering of(Column column);
        void add(const Gathering& other);
        Column column() const;
    };

    int periods() const { return m_rings[0].size(); }
    Column& fromEnd(int age) { return m_rings[0].fromEnd(age); }
    const Column& fromEnd(int age) const { return m_rings[0].fromEnd(age); }
    void append(Column column);
    void gather(Column column);
    Gathering gathered(int zoom) const;
    void returnLateOne(std::int32_t& received, std::int32_t lost, std::int32_t expected);
    void enterLosses(std::int32_t& lost, std::int32_t expected);

    Ring m_rings[kZooms] = {Ring(kRoom[0]), Ring(kRoom[1]), Ring(kRoom[2]), Ring(kRoom[3]), Ring(kRoom[4])};
    Gathering m_gatherings[kZooms];  // by zoom; the first one is not used
    std::int32_t m_received = 0;     // at the latest count
    std::int32_t m_total = 0;
    std::int32_t m_receivedNow = 0;  // in the running period
    std::int32_t m_lostNow = 0;
    bool m_isStarted = false;  // something was counted
};
