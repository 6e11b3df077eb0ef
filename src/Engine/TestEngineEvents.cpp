// What the engine does when its probes report, on the probes' threads: logging and counting. Discovery is in
// TestEngineDiscovery.cpp. How these live with the rest is told at the top of TestEngine.cpp.

#include "SPW_CClock.h"
#include "TestEngine.h"

#include "ForeignText.h"
#include "SPW_CClock.h"

namespace {

// False for the kinds that receive nothing.
bool protocolOf(ProbeKind kind, int& protocol) {
    switch (kind) {
        case kTcpipListener:
            protocol = kTcpip;
            return true;
        case kUdpListener:
            protocol = kUdp;
            return true;
        case kMulticastListener:
            protocol = kMulticast;
            return true;
        case kPinger:
            protocol = kPing;
            return true;
        default:
            return false;
    }
}

}  // namespace

void TestEngine::onSocketError(ProbeKind kind, std::uint32_t, const SPW_CString& address, SPW_Result code,
                               const SPW_CString& message) {
    SPW_CString line = TestLog::socketErrorLine(kind, address, message);
    if (admitError(kind, address, code, line)) {
        logProbeLine(line, TestLog::kNoLimit);
    }
}

// Also counts a ping that could not be made. Returns whether the line is to be written.
bool TestEngine::admitError(ProbeKind kind, const SPW_CString& address, SPW_Result code, SPW_CString& line) {
    const std::uint64_t now = SPW_CClock::instance->now100ns();
    const SPW_CGuard guard(m_lock);
    PeerRow* const pinged = kind == kPinger ? m_peers.find(address) : nullptr;
    if (pinged != nullptr) {
        m_insights.pingFailed(*pinged, code);
    }
    if (isGivenUp(kind, address)) {
        return false;
    }
    if (m_onceOnly.covers(kind)) {
        return m_onceOnly.admit(kind, address);
    }
    // A connector fails once a period, which is what its user has chosen. A listener may fail as fast as it can.
    return kind == kMulticastConnector || m_errorLines.admit(line, m_settings.failuresBeforePause, now);
}

void TestEngine::onDataSent(ProbeKind kind, std::uint32_t, const SPW_CString& target, std::int32_t sequence,
                            const SPW_CString& text) {
    if (kind == kTcpipConnector || kind == kUdpConnector) {
        const SPW_CGuard guard(m_lock);
        m_onceOnly.forget(kind, target);
    }
    bool withData = false;
    std::int32_t periodMs = 0;
    if (probeLogging(withData, periodMs)) {
        logProbeLine(TestLog::sentLine(kind, sequence, target, withData ? &text : nullptr), periodMs);
    }
}

void TestEngine::onDataReceived(ProbeKind kind, std::uint32_t, const SPW_CString& sender, std::int32_t sequence,
                                const SPW_CString& text) {
    const std::uint64_t now100ns = SPW_CClock::instance->now100ns();
    int protocol = 0;
    if (!protocolOf(kind, protocol)) {
        return;
    }
    bool withData = false;
    std::int32_t periodMs = 0;
    if (probeLogging(withData, periodMs)) {
        logProbeLine(TestLog::receivedLine(kind, sequence, sender, withData ? &text : nullptr), periodMs);
    }
    if (kind == kPinger) {
        const SPW_CGuard guard(m_lock);
        m_onceOnly.forget(kind, sender);
    }
    if (m_destroying) {
        return;
    }
    const Counting counting = count(sender, protocol, sequence, now100ns);
    if (counting == kCountedAtRest) {
        takeUp(sender);
    } else if (counting == kNotCounted && discover(sender, text)) {
        // Another listener has made the row meanwhile. If a start has forgotten the row since, nothing is counted. The
        // sender's next probe finds the new test.
        (void)count(sender, protocol, sequence, now100ns);
    }
}

// The last words of a peer's probe that is ending because the peer has made room. They are about no row any more. Under
// the engine lock.
bool TestEngine::isGivenUp(ProbeKind kind, const SPW_CString& address) const {
    const bool isOfPeer = kind == kTcpipConnector || kind == kUdpConnector || kind == kPinger;
    return isOfPeer && m_givenUp.contains(address);
}

bool TestEngine::probeLogging(bool& withData, std::int32_t& periodMs) const {
    if (!m_log.isOn()) {
        return false;
    }
    const SPW_CGuard guard(m_lock);
    withData = m_settings.logDataPackets;
    periodMs = m_settings.periodMs();
    return m_settings.logEvents;
}

void TestEngine::logProbeLine(const SPW_CString& line, std::int32_t lateAfterMs) {
    if (m_log.isOn()) {
        m_log.logOfProbe(showableText(line), lateAfterMs);
    }
}

// Not counted is what no row has the address of.
TestEngine::Counting TestEngine::count(const SPW_CString& address, int protocol, std::int32_t sequence,
                                       std::uint64_t now100ns) {
    const SPW_CGuard order(m_sinkLock);
    PeerRowValues row;
    bool isAtRest = false;
    {
        const SPW_CGuard guard(m_lock);
        PeerRow* found = m_peers.find(address);
        if (found == nullptr) {
            return kNotCounted;
        }
        found->record(protocol, sequence);
        m_insights.heard(*found, protocol, sequence, now100ns);
        row = found->values();
        isAtRest = found->state() == PeerRow::kResting;
    }
    m_sink->rowChanged(row, protocol);
    return isAtRest ? kCountedAtRest : kCounted;
}
