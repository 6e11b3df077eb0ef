#include "Snapshot.h"

#include <utility>

#include "SPW_CClock.h"

namespace {

IntervalValues figuresOf(const PeerInsightValues& insight) {
    IntervalValues figures;
    for (int protocol = 0; protocol < kProtocols; ++protocol) {
        figures.received[protocol] = insight.kinds[protocol].received;
        figures.lost[protocol] = insight.kinds[protocol].lost;
    }
    return figures;
}

IntervalValues difference(const IntervalValues& later, const IntervalValues& earlier) {
    IntervalValues values;
    for (int protocol = 0; protocol < kProtocols; ++protocol) {
        values.received[protocol] = later.received[protocol] - earlier.received[protocol];
        values.lost[protocol] = later.lost[protocol] - earlier.lost[protocol];
    }
    return values;
}

}  // namespace

Snapshot SnapshotTaker::take(const TestEngine& engine, const SnapshotOf& of) {
    Snapshot snapshot;
    snapshot.wall100ns = SPW_CClock::instance->wall100ns();
    snapshot.of = of;
    engine.observer(snapshot.observerAddress, snapshot.observerName);
    engine.snapshot(snapshot.rows);
    std::unordered_map<std::int32_t, IntervalValues> present;
    for (int i = 0; i < snapshot.rows.numberOfElements(); ++i) {
        const std::int32_t row = snapshot.rows[i].number;
        PeerInsightValues insight;
        (void)engine.insight(row, insight);  // a row that is gone by now has an empty record
        const IntervalValues figures = figuresOf(insight);
        snapshot.intervals.push_back(difference(figures, m_before[row]));
        snapshot.insights.push_back(insight);
        present.emplace(row, figures);
    }
    m_before = std::move(present);
    return snapshot;
}
