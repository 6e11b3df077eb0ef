// Discovery: who becomes a peer by being heard, on the threads of the listeners, and what becomes of such peers as time
// passes, on the ticker's. How these live with the rest is told at the top of TestEngine.cpp.

#include <algorithm>

#include "SPW_CArraySearch.h"
#include "SPW_CClock.h"
#include "TestEngine.h"

namespace {

// The ticker spreads the starts of many peers' probes over the second, because a probe keeps the phase at which it was
// started. No pause is longer than the first, and all together are not longer than the second.
constexpr std::uint32_t kLongestPauseMs = 8;
constexpr std::uint32_t kPausesMs = 800;
// For so many periods a silent peer keeps its probes, however short the setting.
constexpr std::int64_t kPeriodsBeforeRest = 100;

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

// ---- On the listeners' threads

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
    tellGivenUp(discovery);
    if (discovery.isAnnounced) {
        logDiscovery(address, name);
    }
    if (discovery.isForTicker) {
        const SPW_CGuard guard(m_lock);
        m_waiting.append({discovery.peer.row, discovery.peer.manner, false, discovery.givenUpAddress});
    } else {
        m_probes.makePeerProbes(discovery.peer, discovery.plan);
        completeDiscovery(discovery.peer.row);
    }
    m_probes.leave();
    return false;
}

void TestEngine::logDiscovery(const SPW_CString& address, const SPW_CString& name) {
    SPW_CString line = SPW_CString(u"New device discovered: address ") + address;
    if (!name.isEmpty()) {
        line += u" name: ";
        line += name;
    }
    logLine(line);
}

TestEngine::Judgement TestEngine::judgeSender(const SPW_CString& address) {
    const SPW_CGuard guard(m_lock);
    return lockedJudgeSender(address);
}

TestEngine::Judgement TestEngine::lockedJudgeSender(const SPW_CString& address) {
    if (m_peers.find(address) != nullptr) {
        return kKnown;
    }
    // The pace ends with the ticker, and the listeners of a test that stops hear on for a while.
    const bool isStopping = m_running && m_isTickerEnding;
    if (isStopping || m_probes.isClosed() || !m_settings.includeAnyoneInReach || m_ownThisSecond.contains(address)) {
        return kUnwanted;
    }
    if (m_identity.hasAddress(address) || !m_pace.mayAdmit() || m_givenUp.contains(address) || !hasRoom()) {
        return kUnwanted;
    }
    return m_settings.discoverOnlyNeighbours && !m_networks.contains(address) ? kUnwanted : kStranger;
}

// Asked for each packet of a stranger: it must not look at all rows.
bool TestEngine::hasRoom() const {
    const std::int32_t most = m_settings.mostDiscoveredPeers;
    const bool hasRow = most <= 0 || m_peers.discovered() < most || (m_isTicking && m_peers.dispensables() > 0);
    return hasRow && m_peers.hasNumberForDiscovered();
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
    m_pace.admit();
    makeRoom(discovery);
    const DiscoveryPace::Manner manner = m_pace.nextManner();
    discovery.isAnnounced = manner == DiscoveryPace::kAnnounced;
    discovery.isForTicker = discovery.givenUp.numberOfElements() > 0 || manner == DiscoveryPace::kLater;
    discovery.peer.address = address;
    discovery.peer.manner = manner == DiscoveryPace::kLater ? ProbedPeer::kUnannounced : ProbedPeer::kDiscovered;
    discovery.peer.isTestRunning = m_running;
    discovery.peer.row = m_peers.addDiscovered(address, name);
    PeerRow& row = *m_peers.numbered(discovery.peer.row);
    m_insights.expect(row, selectedKinds(), m_settings.periodMs());
    m_insights.tell(row, InsightEvent::kDiscovered);
    discovery.plan = probePlan();
    return kStranger;
}

// Under the engine lock, after hasRoom().
void TestEngine::makeRoom(Discovery& discovery) {
    const std::int32_t most = m_settings.mostDiscoveredPeers;
    if (most <= 0 || m_peers.discovered() < most) {
        return;
    }
    PeerRow* const row = m_peers.dispensable();
    discovery.givenUp.append(row->number());
    discovery.givenUpRow = row->values();
    m_insights.tell(*row, InsightEvent::kGivenUp);
    discovery.givenUpAddress = row->address();
    (void)m_givenUp.add(discovery.givenUpAddress);
    for (const ProbeKind kind : {kTcpipConnector, kUdpConnector, kPinger}) {
        m_onceOnly.forget(kind, row->address());
    }
    m_peers.remove(row->number());
}

// A thread that has counted on the row before it went holds the sink lock until it has told the sink.
void TestEngine::tellGivenUp(const Discovery& discovery) {
    if (discovery.givenUp.numberOfElements() == 0) {
        return;
    }
    m_probes.retire(discovery.givenUp);
    const SPW_CGuard order(m_sinkLock);
    m_sink->rowGivenUp(discovery.givenUpRow);
}

void TestEngine::completeDiscovery(std::int32_t row) {
    const SPW_CGuard guard(m_lock);
    PeerRow* const complete = m_peers.numbered(row);
    complete->setState(PeerRow::kProbed);
    m_insights.beginPings(*complete);
}

// A peer that rests is heard. If many are heard at once some have to wait: their next probes bring them here again.
void TestEngine::takeUp(const SPW_CString& address) {
    const SPW_CGuard guard(m_lock);
    PeerRow* const row = m_peers.find(address);
    if (row == nullptr || row->state() != PeerRow::kResting || !m_isTicking || !m_pace.mayAdmit()) {
        return;
    }
    m_pace.admit();
    row->setState(PeerRow::kIncomplete);
    if (row->isNotMade(kPing)) {
        m_insights.expect(*row, RowInsights::kindOf(kPing), m_settings.periodMs());
    }
    row->forgetNotMade();
    m_waiting.append({row->number(), ProbedPeer::kUnannounced, true, SPW_CString()});
}

// ---- On the ticker's thread

void TestEngine::logUnannounced(int discoveries) {
    if (discoveries > 0) {
        logLine(SPW_CString(discoveries) + u" more devices discovered");
    }
}

// An interface may come, or get another address, while a test runs.
void TestEngine::refreshNetworks() {
    {
        const SPW_CGuard guard(m_lock);
        if (!m_settings.discoverOnlyNeighbours) {
            return;
        }
    }
    const LocalNetworks networks = LocalNetworks::read();
    const SPW_CGuard guard(m_lock);
    m_networks = networks;
}

// As a guest of the ProbeSet. A row waits only after the probes whose room it needs were retired. What is taken first
// thus has room when the retired ones are destroyed. A row that comes meanwhile waits for the next second.
void TestEngine::tendDiscovered(std::int64_t seconds) {
    putSilentToRest(seconds);
    const SPW_CArray<Waiting> waiting = takeWaiting();
    m_probes.destroyRetired();
    forgetGivenUp(waiting);
    makeWaitingProbes(waiting);
}

void TestEngine::putSilentToRest(std::int64_t seconds) {
    PeerTable::Numbers rested;
    {
        const SPW_CGuard guard(m_lock);
        m_peers.passSeconds(seconds, secondsToRest(), rested);
    }
    if (rested.numberOfElements() > 0) {
        m_probes.retire(rested);
        logLine(SPW_CString(u"Silent devices that are not probed until they are heard: ") + rested.numberOfElements());
    }
}

// 0 for never. Under the engine lock.
std::int64_t TestEngine::secondsToRest() const {
    const std::int64_t seconds = m_settings.restAfterSilentSeconds;
    const std::int64_t periods = kPeriodsBeforeRest * m_settings.periodMs() / 1000;
    return seconds <= 0 ? 0 : std::max(seconds, periods);
}

SPW_CArray<TestEngine::Waiting> TestEngine::takeWaiting() {
    const SPW_CGuard guard(m_lock);
    const SPW_CArray<Waiting> waiting = m_waiting;
    m_waiting.clear();
    return waiting;
}

void TestEngine::forgetGivenUp(const SPW_CArray<Waiting>& waiting) {
    const SPW_CGuard guard(m_lock);
    for (int i = 0; i < waiting.numberOfElements(); ++i) {
        m_givenUp.remove(waiting[i].givenUpAddress);
    }
}

void TestEngine::makeWaitingProbes(const SPW_CArray<Waiting>& waiting) {
    const int peers = waiting.numberOfElements();
    int heardAgain = 0;
    for (int i = 0; i < peers && !m_isTickerEnding; ++i) {
        const Discovery discovery = waitingDiscovery(waiting[i]);
        m_probes.makePeerProbes(discovery.peer, discovery.plan);
        completeDiscovery(discovery.peer.row);
        heardAgain += waiting[i].isHeardAgain ? 1 : 0;
        SPW_CClock::instance->sleepMs(std::min(kLongestPauseMs, kPausesMs / static_cast<std::uint32_t>(peers)));
    }
    if (heardAgain > 0) {
        logLine(SPW_CString(u"Devices that are heard and probed again: ") + heardAgain);
    }
}

TestEngine::Discovery TestEngine::waitingDiscovery(const Waiting& waiting) {
    Discovery discovery;
    const SPW_CGuard guard(m_lock);
    discovery.peer.address = m_peers.numbered(waiting.row)->address();
    discovery.peer.manner = waiting.manner;
    discovery.peer.isTestRunning = m_running;
    discovery.peer.row = waiting.row;
    discovery.plan = probePlan();
    return discovery;
}
