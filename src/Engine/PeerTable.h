#pragma once

#include <cstdint>

#include "PeerInsight.h"
#include "PeerRowValues.h"
#include "SPW_CArray.h"
#include "SPW_CString.h"
#include "SequenceCounter.h"

// One peer as the user or the registry names it.
struct PeerRecord {
    SPW_CString address;  // dotted quad
    SPW_CString name;     // display text
    bool udp = true;
    bool tcp = true;
    bool ping = true;
};

// One peer's statistics. Belongs to a PeerTable and shares its thread rule.
class PeerRow {
public:
    // Whose row it is, and how it stands with the probes of a discovered peer.
    enum State {
        kKept,        // of a named or an added peer: neither given up nor put to rest
        kIncomplete,  // its probes are being made or wait to be made
        kProbed,      // it has its probes
        kResting,     // nothing has come from it for long, and its probes have ended
    };

    // number: see PeerRowValues. hasName: whether the label bears the name, even an empty one. dispensable: the table's
    // count of dispensable rows, which this row keeps right as long as it lives, or null.
    PeerRow(std::int32_t number, const SPW_CString& address, const SPW_CString& name, bool hasName, State state = kKept,
            int* dispensable = nullptr);
    ~PeerRow() { count(-1); }
    PeerRow(const PeerRow&) = delete;
    PeerRow& operator=(const PeerRow&) = delete;

    // The address exactly as it was given: what a sender is known by.
    const SPW_CString& address() const { return m_address; }
    std::int32_t number() const { return m_number; }
    State state() const { return m_state; }
    // Not of a kept row.
    void setState(State state);
    // Tells whether the row may be given up for a new one: it has its probes and has never answered anything, or it
    // rests.
    bool isDispensable() const { return m_state == kResting || (m_state == kProbed && !m_hasAnswered); }
    void record(int protocol, std::int32_t sequence);
    // Tells that so many seconds have passed since the last call. Returns how many have passed since something was
    // counted, or since the row was made: at most one of those before the first call after that.
    std::int64_t passSeconds(std::int64_t seconds);
    void setNotMade(int protocol) { m_isNotMade[protocol] = true; }
    // What the counts cannot say; fed by the table's owner.
    PeerInsight& insight() { return m_insight; }
    const PeerInsight& insight() const { return m_insight; }
    bool isNotMade(int protocol) const { return m_isNotMade[protocol]; }
    // For probes that are to be made anew.
    void forgetNotMade();
    // Sets counts and figures to zero.
    void reset();
    // The one place where the record of a row is filled.
    PeerRowValues values() const;
    // "S Name: ... Quality: ..." for the test log.
    SPW_CString reportLine() const;

private:
    void count(int difference);
    int quality() const;

    const std::int32_t m_number;
    const SPW_CString m_address;
    const SPW_CString m_shownAddress;  // made once, since values() is called for every probe
    const SPW_CString m_name;
    const bool m_hasName;
    SequenceCounter m_counters[kProtocols];
    bool m_isNotMade[kProtocols] = {};
    PeerInsight m_insight;
    State m_state;
    bool m_hasAnswered = false;
    int* const m_dispensable;
    std::int64_t m_silentSeconds = 0;
};

// The statistics rows in order of addition, found by address at the price of one hash, since every received
// packet looks its sender up. Two rows may bear the same address (a peer added twice); the first is found.
//
// A row's place in memory lasts as long as the row. Its index does not, since rows in front of it may be removed.
// Threads: none; the owner locks.
class PeerTable {
public:
    typedef SPW_CArray<std::int32_t> Numbers;

    // Numbers of a test that rows of named and added peers alone may take.
    static constexpr std::int32_t kKeptNumbers = 1 << 20;

    // firstNumber: that of the first row; for tests, which come to the end of the numbers sooner.
    explicit PeerTable(std::int32_t firstNumber = 1) : m_nextNumber(firstNumber) {}
    ~PeerTable() { clear(); }
    PeerTable(const PeerTable&) = delete;
    PeerTable& operator=(const PeerTable&) = delete;

    int size() const { return m_rows.numberOfElements(); }
    PeerRow& at(int index) { return *m_rows[index]; }
    const PeerRow& at(int index) const { return *m_rows[index]; }
    // Null when no row has exactly this address.
    PeerRow* find(const SPW_CString& address);
    // Null when the row is gone.
    PeerRow* numbered(std::int32_t number);
    const PeerRow* numbered(std::int32_t number) const;
    // The row with the lowest number above this one, or null. Walks the table while rows come and go; begins with 0.
    PeerRow* following(std::int32_t number);
    // Adds a row labelled "address (name)". Returns its number.
    std::int32_t addNamed(const SPW_CString& address, const SPW_CString& name);
    // Adds the row of a discovered peer: labelled like a named one, or with the bare address if name is empty. Returns
    // its number. The row is incomplete.
    std::int32_t addDiscovered(const SPW_CString& address, const SPW_CString& name);
    // False when a test has used up the numbers for discovered peers. A flood of a hundred devices a second takes eight
    // months for that.
    bool hasNumberForDiscovered() const;
    // How many rows are those of discovered peers.
    int discovered() const { return m_discovered; }
    // How many rows are dispensable.
    int dispensables() const { return m_dispensables; }
    // The row to give up for a new one where there is no room: the oldest probed one that has never answered anything,
    // or else the oldest that rests. Null when there is neither. Looks at all rows.
    PeerRow* dispensable();
    // Deletes that row. Its number does not come again before clear().
    void remove(std::int32_t number);
    // Tells all probed rows that so many seconds have passed since the last call. Those that have been silent for
    // secondsToRest rest from here on; their numbers are appended, rising. secondsToRest: 0 or less puts none to rest.
    void passSeconds(std::int64_t seconds, std::int64_t secondsToRest, Numbers& rested);
    // Deletes all rows. Their numbers do not come again, unless a thousand million are used up: then the first is 1
    // again.
    void clear();

private:
    std::int32_t add(const SPW_CString& address, const SPW_CString& name, bool hasName, PeerRow::State state);
    int firstFrom(std::int32_t number) const;
    int slotOf(const SPW_CString& address) const;
    void grow();
    void fillSlots(int slots);

    SPW_CArray<PeerRow*> m_rows;  // by rising numbers
    std::int32_t m_nextNumber;
    int m_discovered = 0;
    int m_dispensables = 0;
    // Open addressing over the rows' addresses: row index + 1, or 0 for a free slot. The number of slots is a power
    // of two and at least twice the number of rows.
    SPW_CArray<std::int32_t> m_slots;
};
