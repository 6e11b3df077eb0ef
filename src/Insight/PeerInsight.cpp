#include "PeerInsight.h"

#include <algorithm>
#include <limits>

namespace {

// What was in flight when a program ended may come this long after the first probe of its successor.
constexpr std::uint64_t kInFlight100ns = kOneSecond100ns / 2;
// "Loss is on the way out": so many pings of the latest 64 were lost, of so many at least, and this product with the
// number of UDP probes in a row that all came. Were the loss on both ways alike, UDP would come through that often in
// less than one of a hundred such times.
constexpr int kLeastPingsLost = 3;
constexpr int kLeastPings = 32;
constexpr std::uint64_t kLeastProduct = 640;

}  // namespace

// Where events go, and their common part.
class PeerInsight::Telling {
public:
    Telling(Listener& listener, const Stamp& now) : m_listener(listener), m_now(now) {}

    const Stamp& now() const { return m_now; }
    InsightEvent event(InsightEvent::Type type, const Stamp& at) const {
        InsightEvent event;
        event.type = type;
        event.at = at;
        event.noticed = m_now;
        return event;
    }
    void tell(const InsightEvent& event) const { m_listener.happened(event); }

private:
    Listener& m_listener;
    const Stamp m_now;
};

// ---- Set-up and inputs

void PeerInsight::watch(int protocol, std::uint64_t period100ns, const Stamp& now) {
    m_kinds[protocol].watch(now, period100ns);
    if (m_state == PeerState::kNone) {
        m_state = PeerState::kWaiting;
        m_since = now;
    }
}

void PeerInsight::unwatch(int protocol, const Stamp& now) {
    OutageValues ended;
    (void)m_outages.end(protocol, now, 0, ended);
    m_kinds[protocol].unwatch();
}

void PeerInsight::onHeard(int protocol, std::int32_t number, const Moment& moment) {
    if (protocol == kPing) {
        m_kinds[protocol].recordOwn(number, moment);
    } else {
        m_kinds[protocol].record(number, moment);
    }
}

void PeerInsight::onRoundTrip(std::uint32_t time100ns, int timeToLive) {
    m_roundTrips.add(time100ns);
    m_hops.note(timeToLive);
}

// An attempt that has just begun says less than how the one before it ended.
void PeerInsight::onOut(int protocol, const OutValues& out, const Stamp& now) {
    OutValues& kept = m_out[protocol];
    if (out.state == SendState::kConnecting && kept.state >= SendState::kUnanswered) {
        return;
    }
    kept.follow(out, now);
    if (protocol != kTcpip) {
        return;
    }
    if (out.state == SendState::kOpen) {
        m_heldUpSince = Stamp();
    } else if (m_heldUpSince.monotonic100ns == 0) {
        m_heldUpSince = out.since;
    }
}

void PeerInsight::reset() {
    for (KindInsight& kind : m_kinds) {
        kind.reset();
    }
    m_roundTrips.reset();
}

// ---- Once a second

bool PeerInsight::judge(const Moment& moment, Listener& listener) {
    const Telling telling(listener, moment.now);
    judgeRestarts(telling);
    Stamp changedAt = judgeKinds(moment, telling);
    if (judgeOut(moment, telling)) {
        changedAt = m_isHeldUp ? m_heldUpSince : moment.now;
    }
    judgeHops(telling);
    return judgeWhole(changedAt, telling);
}

void PeerInsight::judgeRestarts(const Telling& telling) {
    for (int protocol = 0; protocol < kProtocols; ++protocol) {
        if (!m_kinds[protocol].hasBegunAnew(telling.now())) {
            continue;
        }
        if (!isKnownRestart(m_kinds[protocol]) && !goesOnElsewhere(protocol, telling.now())) {
            noteRestart(m_kinds[protocol].begunAnewAt());
            telling.tell(telling.event(InsightEvent::kRestarted, m_latestRestart));
        }
        m_kinds[protocol].takeNewNumbers();
    }
}

// The old counting of this kind was over when the latest restart was seen in another one.
bool PeerInsight::isKnownRestart(const KindInsight& kind) const {
    return m_restarts > 0 && kind.oldNumbersUntil().monotonic100ns <= m_latestRestart.monotonic100ns + kInFlight100ns;
}

bool PeerInsight::goesOnElsewhere(int protocol, const Stamp& now) const {
    for (int other = 0; other < kPing; ++other) {
        const KindInsight& kind = m_kinds[other];
        if (other != protocol && !kind.hasBegunAnew(now) &&
            spanBetween(m_kinds[protocol].begunAnewAt(), kind.lastAdvance()) > kInFlight100ns) {
            return true;
        }
    }
    return false;
}

void PeerInsight::noteRestart(const Stamp& at) {
    m_latestRestart = at;
    m_restartWall100ns[m_restarts % PeerInsightValues::kMostRestarts] = at.wall100ns;
    ++m_restarts;
}

// Returns when the latest of the changes began.
Stamp PeerInsight::judgeKinds(const Moment& moment, const Telling& telling) {
    Stamp changedAt;
    std::uint8_t opened = 0;
    for (int protocol = 0; protocol < kProtocols; ++protocol) {
        KindInsight& kind = m_kinds[protocol];
        const KindState before = kind.state();
        const Stamp since = kind.since();
        if (!kind.judge(moment)) {
            continue;
        }
        InsightEvent event = telling.event(InsightEvent::kKindChanged, kind.since());
        event.protocol = static_cast<Protocol>(protocol);
        event.kindBefore = before;
        event.kindAfter = kind.state();
        event.span100ns = spanBetween(since, kind.since());
        event.missed = before == KindState::kSilent ? kind.missed() : 0;
        telling.tell(event);
        if (kind.state() == KindState::kSilent && m_outages.begin(protocol, kind.since(), kind.silenceLimit100ns())) {
            opened |= static_cast<std::uint8_t>(1 << protocol);
        }
        if (before == KindState::kSilent) {
            endOutage(protocol, telling);
        }
        changedAt = laterOf(changedAt, kind.since());
    }
    tellOpened(opened, telling);
    return changedAt.monotonic100ns == 0 ? moment.now : changedAt;
}

void PeerInsight::endOutage(int protocol, const Telling& telling) {
    const KindInsight& kind = m_kinds[protocol];
    OutageValues ended;
    if (!m_outages.end(protocol, kind.since(), kind.missed(), ended)) {
        return;
    }
    InsightEvent event = telling.event(InsightEvent::kOutageEnded, kind.since());
    event.at.wall100ns = ended.endedWall100ns;
    event.kinds = ended.kinds;
    event.span100ns = ended.span100ns;
    event.missed = ended.missed;
    telling.tell(event);
}

// After all kinds have been judged: an outage that has begun names those that fell silent in one second.
void PeerInsight::tellOpened(std::uint8_t opened, const Telling& telling) {
    for (int protocol = 0; protocol < kProtocols; ++protocol) {
        if ((opened & (1 << protocol)) == 0) {
            continue;
        }
        InsightEvent event = telling.event(InsightEvent::kOutageBegan, m_outages.beganOf(protocol));
        event.kinds = m_outages.kindsOf(protocol);
        telling.tell(event);
    }
}

// TCP's way out. An event that came with each attempt would say nothing new.
bool PeerInsight::judgeOut(const Moment& moment, const Telling& telling) {
    const Stamp& since = laterOf(m_heldUpSince, moment.presentSince);
    const bool isHeldUp = m_heldUpSince.monotonic100ns != 0 && spanBetween(since, moment.now) >= heldUpLimit100ns();
    if (isHeldUp == m_isHeldUp) {
        return false;
    }
    const OutValues& out = m_out[kTcpip];
    InsightEvent event = telling.event(InsightEvent::kOutChanged, isHeldUp ? m_heldUpSince : out.since);
    event.protocol = kTcpip;
    event.outAfter = out.state;
    event.code = isHeldUp ? out.lastError : 0;
    telling.tell(event);
    m_isHeldUp = isHeldUp;
    return true;
}

// TCP's way in may not be watched, and has no limit then.
std::uint64_t PeerInsight::heldUpLimit100ns() const {
    return std::max(m_kinds[kTcpip].silenceLimit100ns(), 3 * kOneSecond100ns);
}

void PeerInsight::judgeHops(const Telling& telling) {
    if (m_hops.hops() == m_toldHops) {
        return;
    }
    if (m_toldHops != HopWatch::kUnknown) {
        InsightEvent event = telling.event(InsightEvent::kHopsChanged, telling.now());
        event.hopsBefore = m_toldHops;
        event.hopsAfter = m_hops.hops();
        telling.tell(event);
    }
    m_toldHops = m_hops.hops();
}

bool PeerInsight::judgeWhole(const Stamp& changedAt, const Telling& telling) {
    const PeerState before = m_state;
    const PeerState after = stateNow();
    if (after == before) {
        return false;
    }
    const Stamp since = m_since;
    m_state = after;
    m_since = after == PeerState::kSilent ? latestSilence() : changedAt;
    InsightEvent event = telling.event(InsightEvent::kPeerChanged, m_since);
    event.peerBefore = before;
    event.peerAfter = after;
    event.span100ns = spanBetween(since, m_since);
    telling.tell(event);
    return true;
}

PeerState PeerInsight::stateNow() const {
    bool has[5] = {};
    for (const KindInsight& kind : m_kinds) {
        has[static_cast<int>(kind.state())] = true;
    }
    const bool isLossy = has[static_cast<int>(KindState::kLossy)];
    const bool isHeard = isLossy || has[static_cast<int>(KindState::kOk)];
    if (has[static_cast<int>(KindState::kSilent)]) {
        return isHeard ? PeerState::kPartial : PeerState::kSilent;
    }
    if (isHeard) {
        return isLossy || m_isHeldUp ? PeerState::kDegraded : PeerState::kReachable;
    }
    return has[static_cast<int>(KindState::kWaiting)] ? PeerState::kWaiting : PeerState::kNone;
}

// When the last of the silent kinds fell silent.
Stamp PeerInsight::latestSilence() const {
    Stamp latest;
    for (const KindInsight& kind : m_kinds) {
        if (kind.state() == KindState::kSilent) {
            latest = laterOf(latest, kind.since());
        }
    }
    return latest;
}

// ---- Reading

PeerSummary PeerInsight::summary() const {
    PeerSummary summary;
    summary.state = m_state;
    summary.since = m_since;
    summary.roundTrips = m_roundTrips.count();
    summary.lastRoundTrip100ns = m_roundTrips.last();
    summary.meanRoundTrip100ns = m_roundTrips.mean();
    summary.roundTripJitter100ns = m_roundTrips.jitter();
    return summary;
}

bool PeerInsight::isLossOnTheWayOut() const {
    const KindInsight& ping = m_kinds[kPing];
    const KindInsight& udp = m_kinds[kUdp];
    if (ping.state() != KindState::kLossy || udp.state() != KindState::kOk) {
        return false;
    }
    const int lost = ping.numbers().missingInWindow();
    const std::uint64_t product = std::uint64_t{udp.cleanRun()} * static_cast<std::uint64_t>(lost);
    return ping.numbers().covered() >= kLeastPings && lost >= kLeastPingsLost && product >= kLeastProduct;
}

PeerInsightValues PeerInsight::values(const Stamp& now) const {
    PeerInsightValues values;
    values.summary = summary();
    for (int protocol = 0; protocol < kProtocols; ++protocol) {
        m_kinds[protocol].fill(values.kinds[protocol]);
        values.kinds[protocol].out = m_out[protocol];
    }
    values.roundTrip = m_roundTrips.values();
    values.hops = m_hops.hops();
    values.isLossOnTheWayOut = isLossOnTheWayOut();
    m_outages.fill(values, now);
    values.restartsInAll = m_restarts;
    const std::uint32_t kept = std::min<std::uint32_t>(m_restarts, PeerInsightValues::kMostRestarts);
    values.restarts = static_cast<int>(kept);
    for (std::uint32_t i = 0; i < kept; ++i) {
        values.restartWall100ns[i] = m_restartWall100ns[(m_restarts - kept + i) % PeerInsightValues::kMostRestarts];
    }
    return values;
}
