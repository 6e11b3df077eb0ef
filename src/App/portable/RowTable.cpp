#include "RowTable.h"

#include <algorithm>

RowPlace RowTable::apply(const RowUpdate& update) {
    RowPlace place;
    while (place.index < size() && cell(place.index, kLabelColumn) != update.label) {
        ++place.index;
    }
    place.isNew = place.index == size();
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
