#include "RowTable.h"

#include <algorithm>

RowPlace RowTable::apply(const RowUpdate& update) {
    RowPlace place;
    place.index = find(update.label);
    place.isNew = place.index == kNone;
    if (place.isNew) {
        Row row;
        row.cells[kLabelColumn] = update.label;
        place.index = std::min(1, size());
        m_rows.insertElementAt(place.index, row);
    }
    Row& row = m_rows[place.index];
    row.cells[update.column] = countsText(update.received, update.total);
    row.cells[kQualityColumn] = qualityText(update.quality);
    return place;
}

int RowTable::remove(const SPW_CString& label) {
    const int index = find(label);
    if (index != kNone) {
        m_rows.removeElementAt(index);
    }
    return index;
}

int RowTable::find(const SPW_CString& label) const {
    for (int i = 0; i < size(); ++i) {
        if (cell(i, kLabelColumn) == label) {
            return i;
        }
    }
    return kNone;
}
