#pragma once

#include <cstdint>

#include "SPW_CArray.h"
#include "SPW_CString.h"
#include "SequenceCounter.h"
#include "UiSink.h"

// One peer as the user or the registry names it.
struct PeerRecord {
    SPW_CString address;  // dotted quad
    SPW_CString name;     // display text
    bool udp = true;
    bool tcp = true;
    bool ping = true;
};

// What one protocol of one peer has counted so far.
struct ProtocolCounts {
    std::int32_t received = 0;
    std::int32_t total = 0;
    std::int32_t lost = 0;
};

// The values of one statistics row, taken together at one moment. All texts are safe to show.
struct PeerRowValues {
    SPW_CString address;
    SPW_CString name;                   // empty for a discovered peer that announced none
    SPW_CString label;                  // "address (name)", or the bare address; the key of the user interface's rows
    int quality = 0;                    // percent
    ProtocolCounts counts[kProtocols];  // by protocol number
    bool isNotMade[kProtocols] = {};    // by protocol number: the probes of this kind could not be made; none are sent
};

// One peer's statistics. Belongs to a PeerTable and shares its thread rule.
class PeerRow {
public:
    PeerRow(const SPW_CString& address, const SPW_CString& name, const SPW_CString& label);

    // The address exactly as it was given: the key by which rows are found.
    const SPW_CString& address() const { return m_address; }
    const SPW_CString& label() const { return m_label; }
    const SequenceCounter& counter(int protocol) const { return m_counters[protocol]; }
    void record(int protocol, std::int32_t sequence) { m_counters[protocol].record(sequence); }
    void setNotMade(int protocol) { m_isNotMade[protocol] = true; }
    void reset();
    // Percent of the expected probes that arrived, over all protocols together; 0 before the first one.
    int quality() const;
    PeerRowValues values() const;
    // "S Name: ... Quality: ..." for the test log.
    SPW_CString reportLine() const;

private:
    SPW_CString m_address;
    SPW_CString m_name;
    SPW_CString m_label;
    SequenceCounter m_counters[kProtocols];
    bool m_isNotMade[kProtocols] = {};
};

// The statistics rows in order of addition, found by address at the price of one hash, since every received
// packet looks its sender up. Two rows may bear the same address (a peer added twice); the first is found.
//
// Rows stay where they are until empty(). Threads: none; the owner locks.
class PeerTable {
public:
    PeerTable() = default;
    ~PeerTable() { empty(); }
    PeerTable(const PeerTable&) = delete;
    PeerTable& operator=(const PeerTable&) = delete;

    int size() const { return m_rows.numberOfElements(); }
    PeerRow& at(int index) { return *m_rows[index]; }
    const PeerRow& at(int index) const { return *m_rows[index]; }
    // Null when no row has exactly this address.
    PeerRow* find(const SPW_CString& address);
    // Adds a row labelled "address (name)".
    void addNamed(const SPW_CString& address, const SPW_CString& name);
    // Adds the row of a discovered peer: labelled like a named one, or with the bare address if name is empty.
    void addDiscovered(const SPW_CString& address, const SPW_CString& name);
    void empty();

private:
    void add(const SPW_CString& address, const SPW_CString& name, const SPW_CString& label);
    int slotOf(const SPW_CString& address) const;
    void grow();

    SPW_CArray<PeerRow*> m_rows;
    // Open addressing over the rows' addresses: row index + 1, or 0 for a free slot. The number of slots is a power
    // of two and at least twice the number of rows.
    SPW_CArray<std::int32_t> m_slots;
};
