#include "ProbeSet.h"

#include <algorithm>
#include <new>

#include "ProbeWorker.h"
#include "SPW_CClock.h"
#include "VTR_CMulticastConnector.h"
#include "VTR_CMulticastListener.h"
#include "VTR_CPinger.h"
#include "VTR_CTcpipConnector.h"
#include "VTR_CTcpipListener.h"
#include "VTR_CUdpConnector.h"
#include "VTR_CUdpListener.h"

namespace {

// A probe keeps the phase at which it was started. Thousands that start in one moment would be due in the same moment
// of every period and get in one another's way, on this device and on the network. Hence the start pauses after each
// few.
constexpr int kProbesStartedAtOnce = 8;
constexpr std::uint32_t kStartPauseMs = 2;
// How often a closer looks again whether the guests have left. Few closers meet one, and it takes milliseconds.
constexpr std::uint32_t kGuestWaitMs = 5;

void spreadStarts(int startedSoFar) {
    if (startedSoFar > 0 && startedSoFar % kProbesStartedAtOnce == 0) {
        SPW_CClock::instance->sleepMs(kStartPauseMs);
    }
}

// rows: rising.
bool contains(const SPW_CArray<std::int32_t>& rows, std::int32_t row) {
    int low = 0;
    int high = rows.numberOfElements();
    while (low < high) {
        const int middle = low + (high - low) / 2;
        if (rows[middle] < row) {
            low = middle + 1;
        } else {
            high = middle;
        }
    }
    return low < rows.numberOfElements() && rows[low] == row;
}

// Multicast reaches every device of the group. One device whose settings are mistyped must not fill all their lines.
std::int32_t multicastPeriodMs(const ProbePlan& plan) {
    return plan.allowFlooding ? plan.periodMs : std::max<std::int32_t>(plan.periodMs, 1);
}

}  // namespace

// One kind of a peer's probes.
struct ProbeSet::Introduction {
    Probes& probes;
    const char16_t* className;
    const char16_t* startFailure;
    Protocol protocol;
};

// ---- Making

void ProbeSet::makePeerProbes(const ProbedPeer& peer, const ProbePlan& plan) {
    if (peer.udp && plan.udp) {
        introduce(new (std::nothrow)
                      VTR_CUdpConnector(&m_sink, peer.address, plan.port, plan.announcement, plan.periodMs),
                  peer, {m_connectors, u"VTR_CUdpConnector", u"UDP StartSending failed returned ", kUdp});
    }
    if (peer.tcp && plan.tcp) {
        introduce(new (std::nothrow)
                      VTR_CTcpipConnector(&m_sink, peer.address, plan.port, plan.announcement, plan.periodMs),
                  peer, {m_connectors, u"VTR_CTcpipConnector", u"TCPIP StartSending failed returned ", kTcpip});
    }
    if (peer.ping && plan.ping) {
        introduce(new (std::nothrow) VTR_CPinger(&m_sink, peer.address, plan.periodMs, plan.overheadBytes), peer,
                  {m_pingers, u"VTR_CPinger", u"StartPinging failed returned ", kPing});
    }
}

// Appends a peer's probe, announces it and starts it, in the order that the peer's manner wants.
void ProbeSet::introduce(Probe* probe, const ProbedPeer& peer, const Introduction& texts) {
    const bool isStarted = peer.isTestRunning && probe != nullptr;
    if (isStarted && peer.manner != ProbedPeer::kAdded) {
        // The test goes on with whatever could be started. Before append(): the owner reads the texts of the probes in
        // the arrays, and a start that fails writes one.
        (void)probe->startProbe();
    }
    append(texts.probes, {probe, peer.row, texts.protocol});
    const SPW_CString what = SPW_CString(texts.className) + u" to " + peer.address;
    const bool isAnnounced = peer.manner != ProbedPeer::kUnannounced;
    if (isAnnounced) {
        m_owner.onProbeLine(SPW_CString(u"Created ") + what);
    }
    const SPW_CString why = whyNotMade(probe);
    if (!why.isEmpty()) {
        m_owner.onProbeNotMade({what, why, peer.row, texts.protocol, isAnnounced});
    }
    if (isStarted && peer.manner == ProbedPeer::kAdded && probe->startProbe() != 0) {
        m_owner.onProbeLine(SPW_CString(texts.startFailure) + connectorText(texts.probes, probe));
    }
}

void ProbeSet::makeGroupProbes(const ProbePlan& plan) {
    if (plan.multicast) {
        Probe* connector =
            new (std::nothrow) VTR_CMulticastConnector(&m_sink, plan.multicastGroup, plan.multicastPort,
                                                       plan.announcement, multicastPeriodMs(plan), plan.multicastTtl);
        append(m_connectors, {connector, ProbeNotMade::kNoRow, kMulticast});
        m_owner.onProbeLine(u"Created VTR_CMulticastConnector");
        const SPW_CString why = whyNotMade(connector);
        if (!why.isEmpty()) {
            m_owner.onProbeNotMade({u"VTR_CMulticastConnector", why, ProbeNotMade::kNoRow, kMulticast, true});
        }
        addListener(new (std::nothrow)
                        VTR_CMulticastListener(&m_sink, plan.multicastPort, plan.multicastGroup, plan.listenerLimits),
                    kMulticastListener, kMulticast, u"VTR_CMulticastListener");
    }
    if (plan.udp) {
        addListener(new (std::nothrow) VTR_CUdpListener(&m_sink, plan.port, plan.listenerLimits), kUdpListener, kUdp,
                    u"VTR_CUdpListener");
    }
    if (plan.tcp) {
        addListener(new (std::nothrow) VTR_CTcpipListener(&m_sink, plan.port, plan.listenerLimits), kTcpipListener,
                    kTcpip, u"VTR_CTcpipListener");
    }
}

// A listener without a thread says why when it is started. One that is not there cannot.
void ProbeSet::addListener(Probe* listener, ProbeKind kind, Protocol protocol, const char16_t* className) {
    if (listener == nullptr) {
        m_owner.onListenerNotStarted(protocol, SPW_CString(probeKindName(kind)) + u" : " + whyNotMade(listener));
    }
    append(m_listeners, {listener, ProbeNotMade::kNoRow, protocol});
    m_owner.onProbeLine(SPW_CString(u"Created ") + className);
}

void ProbeSet::append(Probes& probes, const Member& member) {
    const SPW_CGuard guard(m_lock);
    probes.append(member);
}

// ---- Starting and stopping

void ProbeSet::startSending() {
    int started = 0;
    startAll(m_connectors, u"StartSending failed returned ", started);
    startAll(m_pingers, u"StartPinging failed returned ", started);
}

void ProbeSet::startAll(const Probes& probes, const char16_t* failure, int& started) {
    for (int i = 0; i < probes.numberOfElements(); ++i) {
        spreadStarts(started++);
        if (probes[i].probe != nullptr && probes[i].probe->startProbe() != 0) {
            m_owner.onProbeLine(SPW_CString(failure) + connectorText(probes, probes[i].probe));
        }
    }
}

void ProbeSet::stopSending() {
    askAllToStop(m_connectors);
    askAllToStop(m_pingers);
    destroyRetired();
    stopAll(m_connectors, u"StopSending failed returned ");
    stopAll(m_pingers, u"StopPinging failed returned ");
}

void ProbeSet::stopAll(const Probes& probes, const char16_t* failure) {
    for (int i = 0; i < probes.numberOfElements(); ++i) {
        if (probes[i].probe != nullptr && probes[i].probe->stopProbe() != 0) {
            m_owner.onProbeLine(SPW_CString(failure) + connectorText(probes, probes[i].probe));
        }
    }
}

// All probes are asked before one of them is waited for. Each wait is for one step at most, and the steps end together.
// One after another, thousands would take minutes.
void ProbeSet::askAllToStop(const Probes& probes) {
    for (int i = 0; i < probes.numberOfElements(); ++i) {
        if (probes[i].probe != nullptr) {
            probes[i].probe->askToStop();
        }
    }
}

void ProbeSet::askAllToEnd(const Probes& probes) {
    for (int i = 0; i < probes.numberOfElements(); ++i) {
        if (probes[i].probe != nullptr) {
            probes[i].probe->askToEnd();
        }
    }
}

// The text that is logged for a pinger is deliberately that of the connector at the pinger's index, where there is one.
// Readers of logs know it so. The index is looked up here, because it falls when a guest retires the probes of earlier
// peers.
SPW_CString ProbeSet::connectorText(const Probes& probes, const Probe* probe) const {
    const SPW_CGuard guard(m_lock);
    int index = 0;
    while (index < probes.numberOfElements() && probes[index].probe != probe) {
        ++index;
    }
    Probe* const connector = index < m_connectors.numberOfElements() ? m_connectors[index].probe : nullptr;
    return connector == nullptr ? SPW_CString() : connector->failureText();
}

// Guests add connectors and pingers meanwhile, but no listeners.
void ProbeSet::startListening() {
    for (int i = 0; i < m_listeners.numberOfElements(); ++i) {
        Probe* const listener = m_listeners[i].probe;
        if (listener != nullptr && listener->startProbe() != 0) {
            const SPW_CString text = listener->failureText();
            m_owner.onListenerNotStarted(m_listeners[i].protocol, text);
            m_owner.onProbeLine(SPW_CString(u"StartListening failed returned ") + text);
        }
    }
}

void ProbeSet::stopListening() {
    askAllToStop(m_listeners);
    for (int i = 0; i < m_listeners.numberOfElements(); ++i) {
        Probe* const listener = m_listeners[i].probe;
        if (listener != nullptr && listener->stopProbe() != 0) {
            m_owner.onProbeLine(SPW_CString(u"StopListening failed returned ") + listener->failureText());
        }
    }
}

void ProbeSet::destroyAll() {
    close();
    askAllToEnd(m_connectors);
    askAllToEnd(m_listeners);
    askAllToEnd(m_pingers);
    destroy(m_connectors);
    destroy(m_listeners);
    destroy(m_pingers);
    destroyRetired();
}

void ProbeSet::destroy(Probes& probes) {
    Probes doomed;
    {
        const SPW_CGuard guard(m_lock);
        doomed = probes;
        probes.clear();
    }
    for (int i = 0; i < doomed.numberOfElements(); ++i) {
        delete doomed[i].probe;
    }
}

void ProbeSet::retire(const SPW_CArray<std::int32_t>& rows) {
    Probes leaving;
    {
        const SPW_CGuard guard(m_lock);
        moveOut(m_connectors, rows, leaving);
        moveOut(m_pingers, rows, leaving);
    }
    askAllToEnd(leaving);
    const SPW_CGuard guard(m_lock);
    for (int i = 0; i < leaving.numberOfElements(); ++i) {
        m_retired.append(leaving[i]);
    }
}

void ProbeSet::moveOut(Probes& probes, const SPW_CArray<std::int32_t>& rows, Probes& out) {
    Probes rest;
    for (int i = 0; i < probes.numberOfElements(); ++i) {
        (contains(rows, probes[i].row) ? out : rest).append(probes[i]);
    }
    probes = rest;
}

// ---- Guests

bool ProbeSet::enter() {
    const SPW_CGuard guard(m_lock);
    if (m_isClosed) {
        return false;
    }
    ++m_guests;
    return true;
}

void ProbeSet::leave() {
    const SPW_CGuard guard(m_lock);
    --m_guests;
}

bool ProbeSet::isClosed() const {
    const SPW_CGuard guard(m_lock);
    return m_isClosed;
}

void ProbeSet::close() {
    {
        const SPW_CGuard guard(m_lock);
        m_isClosed = true;
    }
    while (hasGuests()) {
        SPW_CClock::instance->sleepMs(kGuestWaitMs);
    }
}

void ProbeSet::open() {
    const SPW_CGuard guard(m_lock);
    m_isClosed = false;
}

bool ProbeSet::hasGuests() const {
    const SPW_CGuard guard(m_lock);
    return m_guests > 0;
}
