#pragma once

#include <memory>
#include <vector>

#include "History.h"
#include "PeerColumns.h"
#include "RowChange.h"
#include "RowPlaces.h"

// The columns of the list on a screen: those of every front end, and one more.
enum ScreenColumn : int {
    kRoundTripColumn = kPeerColumns,  // the latest round-trip time of a ping, and the jitter of these times
    kScreenColumns,
};

// The peer list of the screen: the rows, in which order they are shown, which one is chosen, and the history of each.
//
// While the list is filtered, it has only the rows that are not well (see RowState.h). The chosen row stays even if it
// gets well, until another one is chosen.
//
// A row is known by its number: two peers whose labels are equal have a row each. The order is the dialog's until the
// user sorts. The chosen row stays chosen while rows come in above it or change places.
//
// Memory: one record a row, with four bounded histories. Threads: the screen's alone.
class PeerList {
public:
    // What the list can be sorted by beside its columns.
    enum SortKey : int { kUnsorted = -1, kByState = kScreenColumns };

    // Enters a change; true when its row is new. When the chosen row goes the one in its place is chosen.
    bool apply(const RowChange& change);
    void clear();
    // Ends the period that runs, for all rows. expected: how many probes of a kind a period has, at least 1.
    void closePeriod(int expected);
    // The same for a period that nobody watched.
    void skipPeriod();

    // How late it is, for what lasts. now100ns: of the clock of Stamp::monotonic100ns; after a stop the time of the
    // stop.
    void setNow(std::uint64_t now100ns) { m_now100ns = now100ns; }
    std::uint64_t now() const { return m_now100ns; }

    // The rows that are shown, and all that there are.
    int size() const { return static_cast<int>(m_order.size()); }
    int sizeUnfiltered() const { return static_cast<int>(m_rows.size()); }
    // index: 0, the top row as it is shown, to size() - 1.
    const PeerRowValues& values(int index) const { return row(index).values; }
    // column: 0 to kScreenColumns - 1. Empty for a protocol of which nothing has been told yet.
    SPW_CString cell(int index, int column) const;
    // See rowStateText() and rowStateAge().
    SPW_CString stateText(int index) const;
    SPW_CString stateAge(int index) const;
    // protocol: 0 to kProtocols - 1.
    const History& history(int index, int protocol) const { return row(index).histories[protocol]; }

    // Figures and states by the worst first, labels by address, then by text. Rows that are equal in this stay in the
    // dialog's order. key: 0 to kScreenColumns - 1, or a SortKey.
    void sortBy(int key);
    int sortKey() const { return m_sortKey; }
    // Whether only rows that are not well are shown.
    void filter(bool isOn);
    bool isFiltered() const { return m_isFiltered; }
    // Puts rows whose figures have changed where they belong, and filters them.
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
    bool isShown(int place) const;
    void putInOrderOfDialog();
    void chooseIfNone();

    std::vector<std::unique_ptr<Row>> m_rows;  // in the order in which they came
    RowPlaces m_places;                        // in m_rows
    std::vector<int> m_order;                  // places in m_rows, as they are shown
    int m_sortKey = kUnsorted;
    bool m_isFiltered = false;
    bool m_isOrderDue = false;
    std::uint64_t m_now100ns = 0;
    int m_selectedPlace = -1;  // in m_rows
    int m_firstVisible = 0;
};
