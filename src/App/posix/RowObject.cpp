#include "RowObject.h"

#include <nlohmann/json.hpp>

#include "InsightText.h"
#include "JsonText.h"
#include "PeerColumns.h"

namespace {

using Json = nlohmann::ordered_json;

Json microseconds(std::uint64_t span100ns) {
    return static_cast<double>(span100ns) / 10;
}

Json microsecondsIf(bool isKnown, std::uint64_t span100ns) {
    return isKnown ? microseconds(span100ns) : Json();
}

Json outObject(const OutValues& out) {
    const bool hasState = out.state != SendState::kUnknown;
    return {
        {"state", wordOrNull(stateWord(out.state))},
        {"since", timeOrNull(hasState ? out.since.wall100ns : 0)},
        {"last_error", out.lastError == 0 ? Json() : Json(out.lastError)},
        {"last_error_time", timeOrNull(out.lastErrorWall100ns)},
        {"unanswered_packets", out.unansweredPackets},
        {"repetitions", out.repetitions},
    };
}

Json kindObject(const Snapshot& snapshot, int index, Protocol protocol) {
    const ProtocolCounts& counts = snapshot.rows[index].counts[protocol];
    const KindValues& kind = snapshot.insights[static_cast<std::size_t>(index)].kinds[protocol];
    const IntervalValues& interval = snapshot.intervals[static_cast<std::size_t>(index)];
    const bool hasState = kind.state != KindState::kNone;
    const bool hasJitter = kind.jitterCount > 0 && protocol != kPing;
    return {
        {"received", counts.received},
        {"total", counts.total},
        {"lost", counts.lost},
        {"state", wordOrNull(stateWord(kind.state))},
        {"since", timeOrNull(hasState ? kind.since.wall100ns : 0)},
        {"last_heard", timeOrNull(kind.lastHeard.wall100ns)},
        {"duplicates", kind.duplicates},
        {"reordered", kind.reordered},
        {"jitter_us", microsecondsIf(hasJitter, kind.jitter100ns)},
        {"interval", {{"received", interval.received[protocol]}, {"lost", interval.lost[protocol]}}},
        {"out", outObject(kind.out)},
    };
}

Json roundTripObject(const RoundTripValues& times) {
    const bool isKnown = times.count > 0;
    return {
        {"last", microsecondsIf(isKnown, times.last100ns)},
        {"min", microsecondsIf(isKnown, times.minimum100ns)},
        {"mean", microsecondsIf(isKnown, times.mean100ns)},
        {"max", microsecondsIf(isKnown, times.maximum100ns)},
        {"stddev", microsecondsIf(isKnown, times.deviation100ns)},
        {"p50", microsecondsIf(isKnown, times.median100ns)},
        {"p95", microsecondsIf(isKnown, times.percentile95th100ns)},
        {"p99", microsecondsIf(isKnown, times.percentile99th100ns)},
        {"jitter", microsecondsIf(times.count > 1, times.jitter100ns)},
        {"count", times.count},
    };
}

Json outageObject(const OutageValues& outage) {
    return {
        {"began", timeOrNull(outage.beganWall100ns)},
        {"ended", timeOrNull(outage.isOver ? outage.endedWall100ns : 0)},
        {"seconds", secondsOf(outage.span100ns)},
        {"kinds", kindKeys(outage.kinds)},
        {"missed", outage.isOver ? Json(outage.missed) : Json()},
    };
}

Json outageList(const PeerInsightValues& insight) {
    Json list = Json::array();
    for (int i = 0; i < insight.outages; ++i) {
        list.push_back(outageObject(insight.outage[i]));
    }
    return list;
}

Json restartList(const PeerInsightValues& insight) {
    Json list = Json::array();
    for (int i = 0; i < insight.restarts; ++i) {
        list.push_back(timeOrNull(insight.restartWall100ns[i]));
    }
    return list;
}

void addInsight(Json& object, const PeerInsightValues& insight) {
    const PeerSummary& summary = insight.summary;
    const bool hasState = summary.state != PeerState::kNone;
    object["state"] = wordOrNull(stateWord(summary.state));
    object["since"] = timeOrNull(hasState ? summary.since.wall100ns : 0);
    object["rtt_us"] = roundTripObject(insight.roundTrip);
    object["hops"] = insight.hops < 0 ? Json() : Json(insight.hops);
    object["loss_on_the_way_out"] = insight.isLossOnTheWayOut;
    object["outage_count"] = insight.outagesInAll;
    object["outages"] = outageList(insight);
    object["restart_count"] = insight.restartsInAll;
    object["restarts"] = restartList(insight);
}

std::uint8_t notMadeKinds(const PeerRowValues& row) {
    unsigned kinds = 0;
    for (int protocol = 0; protocol < kProtocols; ++protocol) {
        kinds |= row.isNotMade[protocol] ? 1U << protocol : 0U;
    }
    return static_cast<std::uint8_t>(kinds);
}

}  // namespace

Json rowObject(const Snapshot& snapshot, int index) {
    const PeerRowValues& row = snapshot.rows[index];
    Json object = {
        {"time", rfc3339(snapshot.wall100ns)}, {"test", snapshot.of.testNumber}, {"address", row.address.toAnsi()},
        {"name", row.name.toAnsi()},           {"label", row.label().toAnsi()},  {"quality", row.quality},
    };
    for (const Protocol protocol : kProtocolOrder) {
        object[kindKey(protocol)] = kindObject(snapshot, index, protocol);
    }
    object["observer"] = deviceObject(snapshot.observerAddress, snapshot.observerName);
    addInsight(object, snapshot.insights[static_cast<std::size_t>(index)]);
    const std::uint8_t notMade = notMadeKinds(row);
    if (notMade != 0) {
        object["notMade"] = kindKeys(notMade);
    }
    if (snapshot.of.isFinal) {
        object["final"] = true;
    }
    return object;
}
