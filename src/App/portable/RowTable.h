#pragma once

#include <cstdint>

#include "PeerColumns.h"
#include "SPW_CArray.h"
#include "SPW_CString.h"

// What the engine tells the dialog about one row, on its way from the probe's thread to the window's own.
struct RowUpdate {
    SPW_CString label;
    int column = kLabelColumn;
    int quality = 0;
    std::int32_t received = 0;
    std::int32_t total = 0;
    bool isGone = false;  // there is no row of that label any more; only the label counts
};

// Where a row stands after an update.
struct RowPlace {
    int index = 0;
    bool isNew = false;
};

// The rows of the dialog's list as the user sees them. The dialog knows a row by its label, as its design has it: two
// peers whose labels are equal share a row. The first row stays at the top; each further one comes in just below it.
//
// Threads: none; it belongs to the user interface's thread.
class RowTable {
public:
    static constexpr int kNone = -1;

    // Enters the update and says where its row is now. A new row pushes those from its place on one further down.
    RowPlace apply(const RowUpdate& update);
    // Takes the row with this label away and says where it was; kNone when there is none.
    int remove(const SPW_CString& label);
    void clear() { m_rows.clear(); }

    int size() const { return m_rows.numberOfElements(); }
    // index: 0, the top row, to size() - 1; column: 0 to kPeerColumns - 1. Empty where nothing was counted yet.
    const SPW_CString& cell(int index, int column) const { return m_rows[index].cells[column]; }

private:
    struct Row {
        SPW_CString cells[kPeerColumns];
    };
    int find(const SPW_CString& label) const;

    SPW_CArray<Row> m_rows;  // as they are shown, from the top
};
