#pragma once

#include <cstdint>
#include <map>
#include <string>

#include "RowChange.h"

// Makes changes of rows as the board hands them on, for tests that name a row by its label. Each label has one row with
// a number of its own. The row keeps the counts that it was given so far.
class LabelledRows {
public:
    RowChange change(const SPW_CString& label, int quality = 100, int protocol = kUdp, std::int32_t received = 1,
                     std::int32_t total = 1) {
        PeerRowValues& row = rowOf(label);
        row.quality = quality;
        row.counts[protocol] = {received, total, total - received};
        return toldOf(row, protocol);
    }
    RowChange notMade(const SPW_CString& label, int protocol) {
        PeerRowValues& row = rowOf(label);
        row.isNotMade[protocol] = true;
        return toldOf(row, protocol);
    }
    // The row's state since that time, told by itself.
    RowChange inState(const SPW_CString& label, PeerState state, std::uint64_t sinceMs) {
        PeerRowValues& row = rowOf(label);
        row.summary.state = state;
        row.summary.since.monotonic100ns = sinceMs * 10000;
        RowChange change;
        change.row = row;
        return change;
    }
    RowChange answered(const SPW_CString& label, std::uint32_t roundTripUs, std::uint32_t jitterUs) {
        PeerSummary& summary = rowOf(label).summary;
        summary.roundTrips = 1;
        summary.lastRoundTrip100ns = roundTripUs * 10;
        summary.roundTripJitter100ns = jitterUs * 10;
        return change(label, 100, kPing);
    }
    RowChange gone(const SPW_CString& label) {
        RowChange change;
        change.row = rowOf(label);
        change.isGone = true;
        return change;
    }
    PeerRowValues& rowOf(const SPW_CString& label) {
        PeerRowValues& row = m_rows[label.text()];
        if (row.number == 0) {
            row.number = static_cast<std::int32_t>(m_rows.size());
            row.address = label;
        }
        return row;
    }

private:
    static RowChange toldOf(const PeerRowValues& row, int protocol) {
        RowChange change;
        change.row = row;
        change.isTold[protocol] = true;
        return change;
    }

    std::map<std::u16string, PeerRowValues> m_rows;
};
