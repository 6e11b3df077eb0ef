#pragma once

#include <memory>
#include <vector>

#include "History.h"
#include "PeerColumns.h"
#include "RowChange.h"
#include "RowPlaces.h"

// The peer list of the screen: the rows, in which order they are shown, which one is chosen, and the history of each.
//
// A row is known by its number: two peers whose labels are equal have a row each. The order is the dialog's until the
// user sorts. The chosen row stays chosen while rows come in above it or change places.
//
// Memory: one record a row, with four bounded histories. Threads: the screen's alone.
class PeerList {
public:
    static constexpr int kUnsorted = -1;

    // Enters a change; true when its row is new. When the chosen row goes the one in its place is chosen.
    bool apply(const RowChange& change);
    void clear();
    // Ends the period that runs, for all rows. expected: how many probes of a kind a period has, at least 1.
    void closePeriod(int expected);
    // The same for a period that nobody watched.
    void skipPeriod();

    int size() const { return static_cast<int>(m_rows.size()); }
    // index: 0, the top row as it is shown, to size() - 1.
    const PeerRowValues& values(int index) const { return row(index).values; }
    // column: 0 to kPeerColumns - 1. Empty for a protocol of which nothing has been told yet.
    SPW_CString cell(int index, int column) const;
    // protocol: 0 to kProtocols - 1.
    const History& history(int index, int protocol) const { return row(index).histories[protocol]; }

    // Figures by the worst first, labels by address, then by text. Rows that are equal in this stay in the dialog's
    // order. column: 0 to kPeerColumns - 1, or kUnsorted.
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
    struct Row {
        PeerRowValues values;
        bool isTold[kProtocols] = {};  // by protocol: what the engine told of it is shown
        History histories[kProtocols];
    };

    int place(int index) const { return m_order[static_cast<std::size_t>(index)]; }
    Row& at(int place) const { return *m_rows[static_cast<std::size_t>(place)]; }
    const Row& row(int index) const { return at(place(index)); }
    void addRow();
    void remove(int place);
    void putInOrderOfDialog();

    std::vector<std::unique_ptr<Row>> m_rows;  // in the order in which they came
    RowPlaces m_places;                        // in m_rows
    std::vector<int> m_order;                  // places in m_rows, as they are shown
    int m_sortColumn = kUnsorted;
    bool m_isOrderDue = false;
    int m_selectedPlace = -1;  // in m_rows
    int m_firstVisible = 0;
};
