// What the engine does when its probes report, on the probes' threads: logging, counting and discovery. How these live
// with the rest is told at the top of TestEngine.cpp.

#include "TestEngine.h"

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

// The display name in an announcement ("version|name||||"): what follows the first "|" or ":" and any further "|",
// up to the next "|".
SPW_CString announcedName(const SPW_CString& announcement) {
    const char16_t* text = announcement.text();
    const int length = announcement.length();
    int start = 0;
    while (start < length && text[start] != u'|' && text[start] != u':') {
        ++start;
    }
    ++start;
    while (start < length && text[start] == u'|') {
        ++start;
    }
    int end = start;
    while (end < length && text[end] != u'|') {
        ++end;
    }
    return start < length ? SPW_CString(text + start, end - start) : SPW_CString();
}

}  // namespace

void TestEngine::onSocketError(ProbeKind kind, std::uint32_t, const SPW_CString& address, SPW_Result,
                               const SPW_CString& message) {
    {
        const SPW_CGuard guard(m_lock);
        if (!m_onceOnly.admit(kind, address)) {
            return;
        }
    }
    logLine(TestLog::socketErrorLine(kind, address, message));
}

void TestEngine::onDataSent(ProbeKind kind, std::uint32_t, const SPW_CString& target, std::int32_t sequence,
                            const SPW_CString& text) {
    if (kind == kTcpipConnector || kind == kUdpConnector) {
        const SPW_CGuard guard(m_lock);
        m_onceOnly.forget(kind, target);
    }
    bool withData = false;
    std::int32_t waitMs = 0;
    if (probeLogging(withData, waitMs)) {
        logProbeLine(TestLog::sentLine(kind, sequence, target, withData ? &text : nullptr), waitMs);
    }
}

void TestEngine::onDataReceived(ProbeKind kind, std::uint32_t, const SPW_CString& sender, std::int32_t sequence,
                                const SPW_CString& text) {
    int protocol = 0;
    if (!protocolOf(kind, protocol)) {
        return;
    }
    bool withData = false;
    std::int32_t waitMs = 0;
    if (probeLogging(withData, waitMs)) {
        logProbeLine(TestLog::receivedLine(kind, sequence, sender, withData ? &text : nullptr), waitMs);
    }
    if (kind == kPinger) {
        const SPW_CGuard guard(m_lock);
        m_onceOnly.forget(kind, sender);
    }
    if (m_destroying) {
        return;
    }
    if (!count(sender, protocol, sequence) && discover(sender, text)) {
        // Another listener has made the row meanwhile. If a start has forgotten the row since, nothing is counted. The
        // sender's next probe finds the new test.
        (void)count(sender, protocol, sequence);
    }
}

bool TestEngine::probeLogging(bool& withData, std::int32_t& waitMs) const {
    if (!m_log.isOn()) {
        return false;
    }
    const SPW_CGuard guard(m_lock);
    withData = m_settings.logDataPackets;
    waitMs = m_settings.periodMs();
    return m_settings.logEvents;
}

void TestEngine::logProbeLine(const SPW_CString& line, std::int32_t waitMs) {
    if (logEvent(line, waitMs) != 0) {
        logLine(TestLog::lostLine(line));
    }
}

// False when no row has this address.
bool TestEngine::count(const SPW_CString& address, int protocol, std::int32_t sequence) {
    const SPW_CGuard order(m_sinkLock);
    PeerRowValues row;
    {
        const SPW_CGuard guard(m_lock);
        PeerRow* found = m_peers.find(address);
        if (found == nullptr) {
            return false;
        }
        found->record(protocol, sequence);
        row = found->values();
    }
    m_sink->rowChanged(row, protocol);
    return true;
}

// ---- Discovery

// True when there was nothing to discover because the row has come into being meanwhile.
bool TestEngine::discover(const SPW_CString& address, const SPW_CString& text) {
    const Judgement judged = judgeSender(address);
    if (judged != kStranger) {
        return judged == kKnown;
    }
    if (isOwnAddressNow(address)) {
        return false;
    }
    const SPW_CString name = announcedName(text);
    Discovery discovery;
    const Judgement judgedAgain = beginDiscovery(address, name, discovery);
    if (judgedAgain != kStranger) {
        return judgedAgain == kKnown;
    }
    SPW_CString line = SPW_CString(u"New device discovered: address ") + address;
    if (!name.isEmpty()) {
        line += u" name: ";
        line += name;
    }
    logLine(line);
    m_probes.makePeerProbes(discovery.peer, discovery.plan);
    m_probes.leave();
    return false;
}

TestEngine::Judgement TestEngine::judgeSender(const SPW_CString& address) {
    const SPW_CGuard guard(m_lock);
    return lockedJudgeSender(address);
}

TestEngine::Judgement TestEngine::lockedJudgeSender(const SPW_CString& address) {
    if (m_peers.find(address) != nullptr) {
        return kKnown;
    }
    if (m_probes.isClosed() || !m_settings.includeAnyoneInReach || m_ownThisSecond.contains(address)) {
        return kUnwanted;
    }
    return m_identity.hasAddress(address) ? kUnwanted : kStranger;
}

// The engine knows the addresses of the latest start. A device may get its address, or another one, after it. Then it
// hears its own announcements from an address that it does not know for its own. Asking the platform takes some time.
// It is done only for a sender that would become a peer, and once a second for an address that has turned out to be our
// own.
bool TestEngine::isOwnAddressNow(const SPW_CString& address) {
    if (!hasAddressNow(address)) {
        return false;
    }
    const SPW_CGuard guard(m_lock);
    if (m_isTicking) {
        (void)m_ownThisSecond.add(address);
    }
    return true;
}

bool TestEngine::hasAddressNow(const SPW_CString& address) const {
    SPW_CString host;
    {
        const SPW_CGuard guard(m_lock);
        host = m_identity.hostName;
    }
    return contains(reachableAddressesOf(host), address);
}

TestEngine::Judgement TestEngine::beginDiscovery(const SPW_CString& address, const SPW_CString& name,
                                                 Discovery& discovery) {
    const SPW_CGuard guard(m_lock);
    const Judgement judged = lockedJudgeSender(address);
    if (judged != kStranger) {
        return judged;
    }
    if (!m_probes.enter()) {
        return kUnwanted;
    }
    discovery.peer.address = address;
    discovery.peer.manner = ProbedPeer::kDiscovered;
    discovery.peer.isTestRunning = m_running;
    discovery.peer.row = m_peers.addDiscovered(address, name);
    discovery.plan = probePlan();
    return kStranger;
}
