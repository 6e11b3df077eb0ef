#include "SilenceWatch.h"

void SilenceWatch::take(const InsightEvent& event) {
    const bool isOver = event.type == InsightEvent::kPeerChanged && event.peerBefore == PeerState::kSilent;
    if (isOver && event.span100ns > m_most100ns) {
        m_rows.insert(event.row);
    }
    // A row that is gone is not in the result.
    if (event.type == InsightEvent::kGivenUp) {
        m_rows.erase(event.row);
    }
}

int SilenceWatch::count(const SPW_CArray<PeerRowValues>& rows, std::uint64_t now100ns) const {
    int count = 0;
    for (int i = 0; i < rows.numberOfElements(); ++i) {
        count += wasSilentTooLong(rows[i], now100ns) ? 1 : 0;
    }
    return count;
}

bool SilenceWatch::wasSilentTooLong(const PeerRowValues& row, std::uint64_t now100ns) const {
    const bool isSilent = row.summary.state == PeerState::kSilent;
    return (isSilent && spanBetween(row.summary.since, {now100ns, 0}) > m_most100ns) || m_rows.count(row.number) > 0;
}
