// What the engine keeps beside the counts: what is expected of a row, from when until when it is watched, and the look
// at all rows once a second. How this lives with the rest is told at the top of TestEngine.cpp.

#include "SPW_CClock.h"
#include "TestEngine.h"

namespace {

RowInsights::Kinds kindsOf(bool multicast, bool udp, bool tcp, bool ping) {
    return (multicast ? RowInsights::kindOf(kMulticast) : 0) | (udp ? RowInsights::kindOf(kUdp) : 0) |
           (tcp ? RowInsights::kindOf(kTcpip) : 0) | (ping ? RowInsights::kindOf(kPing) : 0);
}

}  // namespace

// Under the engine lock, as the next one.
RowInsights::Kinds TestEngine::selectedKinds() const {
    return kindsOf(m_settings.multicastSelected, m_settings.udpSelected, m_settings.tcpipSelected,
                   m_settings.pingSelected);
}

// A device that is only to be pinged need not run this program, and sends no multicast then. isKnown: an earlier row
// has the same address; what is heard from there is counted on that one, and nothing is expected here.
void TestEngine::expectNamed(PeerRow& row, const PeerRecord& peer, bool isKnown) {
    const RowInsights::Kinds wanted = kindsOf(peer.udp || peer.tcp, peer.udp, peer.tcp, peer.ping);
    if (!isKnown) {
        m_insights.expect(row, selectedKinds() & wanted, m_settings.periodMs());
    }
}

void TestEngine::beginWatching() {
    const SPW_CGuard guard(m_lock);
    m_insights.begin(RowInsights::now());
}

void TestEngine::endWatching() {
    const SPW_CGuard guard(m_lock);
    m_insights.freeze(RowInsights::now());
}

void TestEngine::judgeRows(std::uint64_t now100ns) {
    {
        const SPW_CGuard guard(m_lock);
        if (!m_insights.passSecond({now100ns, SPW_CClock::instance->wall100ns()})) {
            return;
        }
    }
    std::int32_t number = 0;
    while (judgeRowAfter(number, now100ns)) {
    }
}

// Judges the row after that one and steps on to it. False when there is none.
bool TestEngine::judgeRowAfter(std::int32_t& number, std::uint64_t now100ns) {
    const SPW_CGuard order(m_sinkLock);
    PeerRowValues row;
    {
        const SPW_CGuard guard(m_lock);
        PeerRow* const next = m_peers.following(number);
        if (next == nullptr) {
            return false;
        }
        number = next->number();
        if (!m_insights.judge(*next, now100ns)) {
            return true;
        }
        row = next->values();
    }
    m_sink->rowStateChanged(row);
    return true;
}

void TestEngine::onReplyMeasured(const SPW_CString& address, std::uint32_t roundTripUs, std::uint8_t timeToLive) {
    const SPW_CGuard guard(m_lock);
    PeerRow* const row = m_peers.find(address);
    if (row != nullptr) {
        m_insights.replied(*row, roundTripUs, timeToLive);
    }
}

void TestEngine::onOutState(ProbeKind kind, const SPW_CString& target, const ProbeOut& out) {
    const SPW_CGuard guard(m_lock);
    PeerRow* const row = kind == kMulticastConnector ? nullptr : m_peers.find(target);
    if (row != nullptr || kind == kMulticastConnector) {
        m_insights.sending(row, kind == kTcpipConnector ? kTcpip : kind == kUdpConnector ? kUdp : kMulticast, out);
    }
}

bool TestEngine::insight(std::int32_t row, PeerInsightValues& values) const {
    const SPW_CGuard guard(m_lock);
    const PeerRow* const found = m_peers.numbered(row);
    if (found == nullptr) {
        return false;
    }
    values = m_insights.values(*found);
    return true;
}

std::uint32_t TestEngine::eventsAfter(std::uint32_t after, SPW_CArray<InsightEvent>& events) const {
    const SPW_CGuard guard(m_lock);
    return m_insights.eventsAfter(after, events);
}
