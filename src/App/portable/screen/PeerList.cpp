#include "PeerList.h"

#include <algorithm>

#include "PeerColumns.h"
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

}  // namespace

bool PeerList::apply(const RowUpdate& update) {
    const RowPlace changed = m_rows.apply(update);
    if (changed.isNew) {
        insert(changed.index);
    }
    Detail& detail = *m_details[static_cast<std::size_t>(changed.index)];
    const int protocol = protocolOfColumn(update.column);
    detail.counts[protocol] = {update.received, update.total, update.total - update.received};
    detail.histories[protocol].count(update.received, update.total);
    detail.isNotMade[protocol] = update.isNotMade;
    m_isOrderDue = true;
    return changed.isNew;
}

// Unsorted rows are shown as they stand in the table.
void PeerList::insert(int place) {
    m_details.insert(m_details.begin() + place, std::make_unique<Detail>());
    for (int& each : m_order) {
        if (each >= place) {
            ++each;
        }
    }
    if (m_selectedPlace >= place) {
        ++m_selectedPlace;
    }
    if (m_selectedPlace < 0) {
        m_selectedPlace = 0;
    }
    m_order.insert(m_order.begin() + place, place);
}

void PeerList::empty() {
    m_rows.empty();
    m_details.clear();
    m_order.clear();
    m_selectedPlace = -1;
    m_firstVisible = 0;
}

void PeerList::closePeriod(int expected) {
    for (const std::unique_ptr<Detail>& detail : m_details) {
        for (History& history : detail->histories) {
            history.closePeriod(expected);
        }
    }
}

void PeerList::skipPeriod() {
    for (const std::unique_ptr<Detail>& detail : m_details) {
        for (History& history : detail->histories) {
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
    std::sort(m_order.begin(), m_order.end());
    if (m_sortColumn != kUnsorted) {
        std::stable_sort(m_order.begin(), m_order.end(), [this](int a, int b) { return isBefore(a, b); });
    }
}

bool PeerList::isBefore(int place, int other) const {
    if (m_sortColumn == kLabelColumn) {
        return compareLabels(m_rows.cell(place, kLabelColumn), m_rows.cell(other, kLabelColumn)) < 0;
    }
    if (m_sortColumn == kQualityColumn) {
        return m_rows.quality(place) < m_rows.quality(other);
    }
    const int protocol = protocolOfColumn(m_sortColumn);
    const ProtocolCounts& left = m_details[static_cast<std::size_t>(place)]->counts[protocol];
    const ProtocolCounts& right = m_details[static_cast<std::size_t>(other)]->counts[protocol];
    return left.lost != right.lost ? left.lost > right.lost : left.received < right.received;
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
