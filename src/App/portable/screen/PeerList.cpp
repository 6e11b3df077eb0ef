#include "PeerList.h"

#include <algorithm>

#include "InsightText.h"
#include "RowState.h"
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

// The time that the column shows. Peers that have answered no ping come last.
std::int64_t roundTripOrNone(const PeerSummary& summary) {
    return summary.roundTrips == 0 ? -1 : std::int64_t{summary.lastRoundTrip100ns};
}

bool isBefore(const PeerRowValues& left, const PeerRowValues& right, int key) {
    switch (key) {
        case kLabelColumn:
            return compareLabels(left.label(), right.label()) < 0;
        case kQualityColumn:
            return left.quality < right.quality;
        case kRoundTripColumn:
            return roundTripOrNone(left.summary) > roundTripOrNone(right.summary);
        case PeerList::kByState:
            return severity(left.summary.state) > severity(right.summary.state);
        default:
            break;
    }
    const int protocol = protocolOfColumn(key);
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
    const int place = sizeUnfiltered();
    m_rows.push_back(std::make_unique<Row>());
    if (!m_isFiltered) {
        m_order.insert(m_order.begin() + std::min(place, 1), place);
        chooseIfNone();
    }
}

void PeerList::remove(int place) {
    const int chosen = selected();
    const bool isChosen = place == m_selectedPlace;
    m_places.remove(at(place).values.number);
    m_rows.erase(m_rows.begin() + place);
    m_order.erase(std::remove(m_order.begin(), m_order.end(), place), m_order.end());
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
    if (column == kRoundTripColumn) {
        const PeerSummary& summary = values(index).summary;
        return summary.roundTrips == 0 ? SPW_CString()
                                       : roundTripText(summary.lastRoundTrip100ns) + u" (" +
                                             roundTripText(summary.roundTripJitter100ns) + u")";
    }
    const bool isBlank = column >= kMulticastColumn && !row(index).isTold[protocolOfColumn(column)];
    return isBlank ? SPW_CString() : cellText(values(index), column);
}

SPW_CString PeerList::stateText(int index) const {
    return rowStateText(values(index).summary, m_now100ns);
}

SPW_CString PeerList::stateAge(int index) const {
    return rowStateAge(values(index).summary, m_now100ns);
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

void PeerList::sortBy(int key) {
    m_sortKey = key;
    m_isOrderDue = true;
    sort();
}

// A chosen row that is well goes; it has not become so under the user's eyes.
void PeerList::filter(bool isOn) {
    m_isFiltered = isOn;
    if (isOn && m_selectedPlace >= 0 && isWell(at(m_selectedPlace).values)) {
        m_selectedPlace = -1;
    }
    m_isOrderDue = true;
    sort();
}

void PeerList::sort() {
    if (!m_isOrderDue) {
        return;
    }
    m_isOrderDue = false;
    putInOrderOfDialog();
    if (m_sortKey != kUnsorted) {
        std::stable_sort(m_order.begin(), m_order.end(), [this](int left, int right) {
            return isBefore(at(left).values, at(right).values, m_sortKey);
        });
    }
    chooseIfNone();
}

bool PeerList::isShown(int place) const {
    return !m_isFiltered || place == m_selectedPlace || !isWell(at(place).values);
}

// The row that came first is on top. Each further one comes in just below it.
void PeerList::putInOrderOfDialog() {
    m_order.clear();
    for (int i = 0; i < sizeUnfiltered(); ++i) {
        const int place = i == 0 ? 0 : sizeUnfiltered() - i;
        if (isShown(place)) {
            m_order.push_back(place);
        }
    }
}

void PeerList::chooseIfNone() {
    if (m_selectedPlace < 0) {
        select(0);
    }
}

int PeerList::selected() const {
    const auto found = std::find(m_order.begin(), m_order.end(), m_selectedPlace);
    return found == m_order.end() ? -1 : static_cast<int>(found - m_order.begin());
}

void PeerList::select(int index) {
    if (size() > 0) {
        m_selectedPlace = place(std::clamp(index, 0, size() - 1));
        m_isOrderDue = m_isOrderDue || m_isFiltered;
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
