#pragma once

#include <memory>
#include <vector>

#include "History.h"
#include "PeerTable.h"
#include "RowTable.h"

// The peer list of the screen: the rows, in which order they are shown, which one is chosen, and what became of each.
//
// The order is the dialog's until the user sorts. The chosen row is kept while rows come in above it or change places.
// Memory: one row a label, as in the RowTable, each with four bounded histories. Threads: the screen's alone.
class PeerList {
public:
    static constexpr int kUnsorted = -1;

    // Enters an update; true when its row is new.
    bool apply(const RowUpdate& update);
    void empty();
    // Ends the period that runs, for all rows.
    void closePeriod(int expected);
    // The same for a period that nobody watched.
    void skipPeriod();

    int size() const { return m_rows.size(); }
    // index: 0, the top row as it is shown, to size() - 1. column: 0 to kPeerColumns - 1.
    const SPW_CString& cell(int index, int column) const { return m_rows.cell(place(index), column); }
    int quality(int index) const { return m_rows.quality(place(index)); }
    // protocol: 0 to kProtocols - 1.
    const ProtocolCounts& counts(int index, int protocol) const { return detail(index).counts[protocol]; }
    // By protocol, whether its probes to this peer could not be made.
    typedef bool Flags[kProtocols];
    const Flags& isNotMade(int index) const { return detail(index).isNotMade; }
    const History& history(int index, int protocol) const { return detail(index).histories[protocol]; }

    // By the worst first; labels by address, then by text. Rows of which the same is true stay as they came.
    // column: 0 to kPeerColumns - 1, or kUnsorted.
    void sortBy(int column);
    int sortColumn() const { return m_sortColumn; }
    // Puts rows whose figures have changed where they belong.
    void sort();

    // The chosen row as it is shown; -1 while there are no rows.
    int selected() const;
    // Beyond either end, the row at that end.
    void select(int index);
    // The first row that is shown where `lines` rows have room: the one shown first before, unless the chosen row would
    // be out of sight.
    int firstVisible(int lines);
    // Moves what is shown without moving the choice further than needed.
    void scroll(int rows, int lines);

private:
    struct Detail {
        ProtocolCounts counts[kProtocols];
        History histories[kProtocols];
        Flags isNotMade = {};
    };

    int place(int index) const { return m_order[static_cast<std::size_t>(index)]; }
    const Detail& detail(int index) const { return *m_details[static_cast<std::size_t>(place(index))]; }
    void insert(int place);
    bool isBefore(int place, int other) const;

    RowTable m_rows;
    std::vector<std::unique_ptr<Detail>> m_details;  // parallel to m_rows
    std::vector<int> m_order;                        // places in m_rows, as they are shown
    int m_sortColumn = kUnsorted;
    bool m_isOrderDue = false;
    int m_selectedPlace = -1;  // in m_rows
    int m_firstVisible = 0;
};
