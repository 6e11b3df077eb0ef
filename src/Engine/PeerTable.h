#pragma once

#include <cstdint>

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
    // number: see PeerRowValues. hasName: whether the label bears the name, even an empty one.
    PeerRow(std::int32_t number, const SPW_CString& address, const SPW_CString& name, bool hasName);

    // The address exactly as it was given: what a sender is known by.
    const SPW_CString& address() const { return m_address; }
    void record(int protocol, std::int32_t sequence) { m_counters[protocol].record(sequence); }
    void setNotMade(int protocol) { m_isNotMade[protocol] = true; }
    void reset();
    // The one place where the record of a row is filled.
    PeerRowValues values() const;
    // "S Name: ... Quality: ..." for the test log.
    SPW_CString reportLine() const;

private:
    int quality() const;

    const std::int32_t m_number;
    const SPW_CString m_address;
    const SPW_CString m_name;
    const bool m_hasName;
    SequenceCounter m_counters[kProtocols];
    bool m_isNotMade[kProtocols] = {};
};

// The statistics rows in order of addition, found by address at the price of one hash, since every received
// packet looks its sender up. Two rows may bear the same address (a peer added twice); the first is found.
//
// Rows stay where they are until clear(). Threads: none; the owner locks.
class PeerTable {
public:
    PeerTable() = default;
    ~PeerTable() { clear(); }
    PeerTable(const PeerTable&) = delete;
    PeerTable& operator=(const PeerTable&) = delete;

    int size() const { return m_rows.numberOfElements(); }
    PeerRow& at(int index) { return *m_rows[index]; }
    const PeerRow& at(int index) const { return *m_rows[index]; }
    // Null when no row has exactly this address.
    PeerRow* find(const SPW_CString& address);
    // number: of a row that is in the table.
    PeerRow& numbered(std::int32_t number) { return *m_rows[number - m_firstNumber]; }
    // Adds a row labelled "address (name)". Returns its number.
    std::int32_t addNamed(const SPW_CString& address, const SPW_CString& name);
    // Adds the row of a discovered peer: labelled like a named one, or with the bare address if name is empty. Returns
    // its number.
    std::int32_t addDiscovered(const SPW_CString& address, const SPW_CString& name);
    // Deletes all rows. Their numbers do not come again.
    void clear();

private:
    std::int32_t add(const SPW_CString& address, const SPW_CString& name, bool hasName);
    int slotOf(const SPW_CString& address) const;
    void grow();

    SPW_CArray<PeerRow*> m_rows;
    std::int32_t m_firstNumber = 1;  // of the row at index 0; those behind it have the numbers that follow
    // Open addressing over the rows' addresses: row index + 1, or 0 for a free slot. The number of slots is a power
    // of two and at least twice the number of rows.
    SPW_CArray<std::int32_t> m_slots;
};
