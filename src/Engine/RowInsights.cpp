#include "RowInsights.h"

#include <algorithm>
#include <limits>

#include "SPW_CClock.h"
#include "SPW_CSysError.h"

namespace {

constexpr std::uint64_t k100nsPerMs = 10000;
constexpr std::uint32_t k100nsPerUs = 10;

template <int room>
void copyText(const SPW_CString& text, char16_t (&out)[room]) {
    const int length = std::min(text.length(), room - 1);
    std::copy(text.text(), text.text() + length, out);
    out[length] = u'\0';
}

InsightEvent eventOf(const PeerRow& row) {
    const PeerRowValues values = row.values();
    InsightEvent event;
    event.row = values.number;
    copyText(values.address, event.address);
    copyText(values.name, event.name);
    return event;
}

SendState sendStateOf(OutState state) {
    switch (state) {
        case kOutConnecting:
            return SendState::kConnecting;
        case kOutOpen:
            return SendState::kOpen;
        case kOutUnanswered:
            return SendState::kUnanswered;
        case kOutRefused:
            return SendState::kRefused;
        case kOutTimedOut:
            return SendState::kTimedOut;
        case kOutFailed:
            return SendState::kFailed;
        default:
            return SendState::kUnknown;
    }
}

template <typename T>
T saturated(std::uint64_t number) {
    return static_cast<T>(std::min<std::uint64_t>(number, std::numeric_limits<T>::max()));
}

Stamp before(const Stamp& stamp, std::uint64_t span100ns) {
    return {stamp.monotonic100ns - span100ns, stamp.wall100ns - span100ns};
}

OutValues outValuesOf(const ProbeOut& out, const Stamp& now) {
    OutValues values;
    values.state = sendStateOf(out.state);
    values.lastError = out.code;
    values.since = before(now, out.ageMs * k100nsPerMs);
    values.unansweredPackets = saturated<std::uint16_t>(out.packets);
    values.repetitions = saturated<std::uint16_t>(out.timeouts);
    return values;
}

}  // namespace

// Gives the events of a record their peer.
class RowInsights::RowEvents final : public PeerInsight::Listener {
public:
    RowEvents(InsightEvents& events, const PeerRow& row) : m_events(events), m_row(row) {}
    void happened(const InsightEvent& event) override {
        InsightEvent whole = event;
        const InsightEvent peer = eventOf(m_row);
        whole.row = peer.row;
        std::copy(peer.address, peer.address + InsightEvent::kAddressRoom, whole.address);
        std::copy(peer.name, peer.name + InsightEvent::kNameRoom, whole.name);
        m_events.append(whole);
    }

private:
    InsightEvents& m_events;
    const PeerRow& m_row;
};

Stamp RowInsights::now() {
    return {SPW_CClock::instance->now100ns(), SPW_CClock::instance->wall100ns()};
}

// ---- A test

void RowInsights::forget() {
    m_phase = kPreparing;
    m_events.clear();
    m_multicastOut = OutValues();
    m_unheard = 0;
}

void RowInsights::begin(const Stamp& now) {
    m_clock.begin(now);
    m_phase = kWatching;
}

void RowInsights::freeze(const Stamp& now) {
    m_phase = kFrozen;
    m_frozen = now;
}

// ---- Rows

void RowInsights::expect(PeerRow& row, Kinds kinds, std::int32_t periodMs) {
    const std::uint64_t period100ns = static_cast<std::uint64_t>(std::max<std::int32_t>(periodMs, 0)) * k100nsPerMs;
    for (int protocol = 0; protocol < kProtocols; ++protocol) {
        if ((kinds & kindOf(protocol)) != 0 && (m_unheard & kindOf(protocol)) == 0) {
            row.insight().watch(protocol, period100ns, now());
        }
    }
}

void RowInsights::cannotHear(PeerTable& rows, Protocol protocol) {
    m_unheard |= kindOf(protocol);
    for (int i = 0; i < rows.size(); ++i) {
        rows.at(i).insight().unwatch(protocol, now());
    }
}

void RowInsights::notMade(PeerRow* row, Protocol protocol) {
    InsightEvent event = row == nullptr ? InsightEvent() : eventOf(*row);
    event.type = InsightEvent::kProbesNotMade;
    event.protocol = protocol;
    event.at = event.noticed = now();
    m_events.append(event);
    if (row != nullptr && protocol == kPing) {
        row->insight().unwatch(protocol, event.at);
    }
}

void RowInsights::beginPings(PeerRow& row) {
    row.insight().waitAnew(kPing, now());
}

void RowInsights::tell(const PeerRow& row, InsightEvent::Type type) {
    InsightEvent event = eventOf(row);
    event.type = type;
    event.at = event.noticed = now();
    m_events.append(event);
}

// ---- What the probes report

void RowInsights::heard(PeerRow& row, int protocol, std::int32_t sequence, std::uint64_t now100ns) {
    if (m_phase == kWatching) {
        row.insight().onHeard(protocol, sequence, m_clock.at(now100ns));
    }
}

void RowInsights::replied(PeerRow& row, std::uint32_t roundTripUs, std::uint8_t timeToLive) {
    if (m_phase != kWatching) {
        return;
    }
    row.insight().onRoundTrip(saturated<std::uint32_t>(std::uint64_t{roundTripUs} * k100nsPerUs), timeToLive);
    if (row.insight().sendState(kPing) != SendState::kOpen) {
        ProbeOut out;
        out.state = kOutOpen;
        sending(&row, kPing, out);
    }
}

void RowInsights::pingFailed(PeerRow& row, SPW_Result code) {
    ProbeOut out;
    out.state = code == kIcmpTimedOut ? kOutUnanswered : kOutFailed;
    out.code = code;
    sending(&row, kPing, out);
}

// A stop closes the sockets, and the senders' last words are that. They are no failures of the test.
void RowInsights::sending(PeerRow* row, int protocol, const ProbeOut& out) {
    if (m_phase == kFrozen) {
        return;
    }
    const Stamp stamp = now();
    const OutValues values = outValuesOf(out, stamp);
    if (row != nullptr) {
        row->insight().onOut(protocol, values, stamp);
    } else {
        m_multicastOut.follow(values, stamp);
    }
}

// ---- Once a second

bool RowInsights::passSecond(const Stamp& now) {
    return m_phase == kWatching && m_clock.tell(now);
}

bool RowInsights::judge(PeerRow& row, std::uint64_t now100ns) {
    RowEvents events(m_events, row);
    return m_phase == kWatching && row.insight().judge(m_clock.at(now100ns), events);
}

PeerInsightValues RowInsights::values(const PeerRow& row) const {
    const Stamp until = m_phase == kFrozen ? m_frozen : now();
    PeerInsightValues values = row.insight().values(until);
    values.kinds[kMulticast].out = m_multicastOut;
    values.isFrozen = m_phase == kFrozen;
    values.frozen = values.isFrozen ? m_frozen : Stamp();
    return values;
}
