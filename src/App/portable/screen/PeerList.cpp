#include "PeerList.h"

#include <algorithm>

#include "SPW_CIpAddress.h"

namespace {

// Below 0, 0 or above 0. What begins with an address goes first and by its numbers: 10.0.0.9 before 10.0.0.10.
int compareLabels(const SPW_CString& left, const SPW_CString& right) {
    SPW_CIpAddress a;
    SPW_CIpAddress b;
    const bool isLeftAddress = SPW_CIpAddress::parse(left.token(u" "), a);
    const bool isRightAddress = SPW_CIpAddress::parse(right.token(u" "), b);
    if (isLeftAddress != isRightAddress) {
        return isLeftAddress ? -1 : 1;
    }
    if (isLeftAddress) {
        for (int i = 0; i < 4; ++i) {
            if (a.octet(i) != b.octet(i)) {
                return a.octet(i) - b.octet(i);
            }
        }
    }
    return left.compare(right);
}

bool isBefore(const PeerRowValues& left, const PeerRowValues& right, int column) {
    if (column == kLabelColumn) {
        return compareLabels(left.label(), right.label()) < 0;
    }
    if (column == kQualityColumn) {
        return left.quality < right.quality;
    }
    const int protocol = protocolOfColumn(column);
    const ProtocolCounts& a = left.counts[protocol];
    const ProtocolCounts& b = right.counts[protocol];
    return a.lost != b.lost ? a.lost > b.lost : a.received < b.received;
}

}  // namespace

bool PeerList::apply(const RowChange& change) {
    int place = m_places.find(change.row.number);
    const bool isNew = place == RowPlaces::kNone;
    if (change.isGone) {
        if (!isNew) {
            remove(place);
        }
        return false;
    }
    if (isNew) {
        place = m_places.add(change.row.number);
        addRow();
    }
    Row& row = at(place);
    row.values = change.row;
    for (int protocol = 0; protocol < kProtocols; ++protocol) {
        if (change.isTold[protocol]) {
            const ProtocolCounts& counts = row.values.counts[protocol];
            row.isTold[protocol] = true;
            row.histories[protocol].count(counts.received, counts.total);
        }
    }
    m_isOrderDue = true;
    return isNew;
}

void PeerList::addRow() {
    const int place = size();
    m_rows.push_back(std::make_unique<Row>());
    m_order.insert(m_order.begin() + std::min(place, 1), place);
    if (m_selectedPlace < 0) {
        m_selectedPlace = place;
    }
}

void PeerList::remove(int place) {
    const int chosen = selected();
    const bool isChosen = place == m_selectedPlace;
    m_places.remove(at(place).values.number);
    m_rows.erase(m_rows.begin() + place);
    m_order.erase(std::find(m_order.begin(), m_order.end(), place));
    for (int& shown : m_order) {
        shown -= shown > place ? 1 : 0;
    }
    m_selectedPlace -= m_selectedPlace > place ? 1 : 0;
    if (isChosen) {
        m_selectedPlace = -1;
        select(chosen);
    }
}

void PeerList::clear() {
    m_rows.clear();
    m_places.clear();
    m_order.clear();
    m_selectedPlace = -1;
    m_firstVisible = 0;
}

SPW_CString PeerList::cell(int index, int column) const {
    const bool isBlank = column >= kMulticastColumn && !row(index).isTold[protocolOfColumn(column)];
    return isBlank ? SPW_CString() : cellText(values(index), column);
}

void PeerList::closePeriod(int expected) {
    for (const std::unique_ptr<Row>& row : m_rows) {
        for (History& history : row->histories) {
            history.closePeriod(expected);
        }
    }
}

void PeerList::skipPeriod() {
    for (const std::unique_ptr<Row>& row : m_rows) {
        for (History& history : row->histories) {
            history.skipPeriod();
        }
    }
}

void PeerList::sortBy(int column) {
    m_sortColumn = column;
    m_isOrderDue = true;
    sort();
}

void PeerList::sort() {
    if (!m_isOrderDue) {
        return;
    }
    m_isOrderDue = false;
    putInOrderOfDialog();
    if (m_sortColumn != kUnsorted) {
        std::stable_sort(m_order.begin(), m_order.end(), [this](int left, int right) {
            return isBefore(at(left).values, at(right).values, m_sortColumn);
        });
    }
}

// The row that came first is on top. Each further one comes in just below it.
void PeerList::putInOrderOfDialog() {
    m_order.clear();
    for (int i = 0; i < size(); ++i) {
        m_order.push_back(i == 0 ? 0 : size() - i);
    }
}

int PeerList::selected() const {
    const auto found = std::find(m_order.begin(), m_order.end(), m_selectedPlace);
    return found == m_order.end() ? -1 : static_cast<int>(found - m_order.begin());
}

void PeerList::select(int index) {
    if (size() > 0) {
        m_selectedPlace = place(std::clamp(index, 0, size() - 1));
    }
}

int PeerList::firstVisible(int lines) {
    const int chosen = selected();
    if (chosen >= 0) {
        m_firstVisible = std::min(m_firstVisible, chosen);
        m_firstVisible = std::max(m_firstVisible, chosen - std::max(lines, 1) + 1);
    }
    // A list that has become taller leaves no line empty below its last row.
    m_firstVisible = std::clamp(m_firstVisible, 0, std::max(size() - lines, 0));
    return m_firstVisible;
}

void PeerList::scroll(int rows, int lines) {
    const int first = std::clamp(firstVisible(lines) + rows, 0, std::max(size() - lines, 0));
    if (size() > 0) {
        select(std::clamp(selected(), first, first + std::max(lines, 1) - 1));
    }
    m_firstVisible = first;
}
