#include "TestEngine.h"

#include <algorithm>
#include <new>

#include "ForeignText.h"
#include "SPW_CClock.h"
#include "SPW_CIcmp.h"
#include "SPW_CSocket.h"
#include "SettingsStorage.h"
#include "VTR_CMulticastConnector.h"
#include "VTR_CMulticastListener.h"
#include "VTR_CPinger.h"
#include "VTR_CTcpipConnector.h"
#include "VTR_CTcpipListener.h"
#include "VTR_CUdpConnector.h"
#include "VTR_CUdpListener.h"

// How the engine lives with its threads.
//
// The engine is driven from outside (start, stop, addPeer, reset, report, snapshots) and called from inside by every
// probe it owns. Two callers on the inside matter: a probe that is counted or logged, which is frequent and short, and
// a listener that hears an unknown sender, which makes that thread create and start probe objects: a discovery.
//
// (a) The engine lock guards rows, arrays and lists and is held only to read or change them. Starting, stopping or
// destroying a probe waits for that probe's step, and the step may be inside a callback that wants the engine lock;
// a line may wait for the log as long as the disk likes. So all of that happens outside the lock.
//
// (b) Hence a pointer that is taken out of an array under the lock is used without it, and something else must keep
// the object alive. It is this: objects are destroyed only by destroyProbes(), under the control lock, while
// discoveries are closed. Whoever holds the control lock, and whoever is inside a discovery, may use any probe.
//
// (c) A discovery is bracketed by beginDiscovery() and endDiscovery(). The first, in one hold of the lock, looks the
// sender up once more, appends its row, and takes a copy of all that the probes need; so of two listeners that hear a
// new sender at once one makes the row and the probes, and the other finds the row and counts. closeDiscoveries()
// refuses new ones and waits for those in progress. The waiting cannot block for ever: what a discovery waits for are
// the engine lock and the sink lock, which the closer does not hold, and the log, whose writer depends on nobody.
//
// (d) stop() stops the listeners first. Stopping a listener waits for its step, hence for the discovery inside it,
// whose connectors are then all in the array; the listeners that are still to be stopped may go on discovering, since
// no connector has been stopped yet. Only then discoveries are closed (a callback from anywhere else would find them
// so) and the connectors and pingers are stopped: none can join behind the one that stop() has just passed.
// Closing first instead would throw away what the last steps of the listeners have found.
//
// (e) start() closes discoveries before it destroys anything. A sender that is heard until its listener is gone is
// dropped, which loses nothing: start() forgets the discovered peers anyway and the sender's next probe finds the
// new test. They are opened again when the test runs and before the first listener does. Destruction closes them for
// good.
//
// (f) While no test runs a discovery still gets its row and its probes, as an added peer does, but nothing is started.
// `running` changes only while discoveries are closed, so the answer that beginDiscovery() gives holds until
// endDiscovery().
//
// (g) The sink hears of a change after the engine lock is released, since a user interface may be slow or ask
// for a snapshot. Two threads that have counted on one row, in whatever order, must not tell the sink in the other
// order, or an old figure would stay on the screen until the next probe. So the sink lock is taken before counting and
// given back after telling: updates leave in the order of counting. resetStatistics() does the same row by row; what is
// counted after a row's reset counts from zero and is told after the zeros.
//
// The order of the locks is: control, sink, engine.

namespace {

// Only so many padding characters are sent, whatever the setting says: no packet can be longer, and every receiver
// reads but 1000 bytes.
constexpr int kMaximumPadding = 65536;
// A probe keeps the phase at which it was started. Thousands that start in one moment would be due in the same moment
// of every period and get in one another's way, on this device and on the network; so the start pauses after so many.
constexpr int kProbesStartedAtOnce = 8;
constexpr std::uint32_t kStartPauseMs = 2;

// Addresses that say nothing about where a device can be reached: none, itself, and its cradle.
bool isReachableAddress(const SPW_CIpAddress& address) {
    return address != SPW_CIpAddress(0, 0, 0, 0) && address != SPW_CIpAddress(127, 0, 0, 1) &&
           address != SPW_CIpAddress(192, 168, 55, 101);
}

void spreadStarts(int startedSoFar) {
    if (startedSoFar > 0 && startedSoFar % kProbesStartedAtOnce == 0) {
        SPW_CClock::instance->sleepMs(kStartPauseMs);
    }
}

// A report's way into the log, however long it has to wait for room.
class LoggedLines final : public ReportLines {
public:
    explicit LoggedLines(TestEngine& engine) : m_engine(engine) {}
    void line(const SPW_CString& text) override { (void)m_engine.logEvent(text, TestLog::kNoLimit); }

private:
    TestEngine& m_engine;
};

// Probes are stopped and destroyed in two phases: all are asked, then each is waited for. Each wait is for one step at
// most, and all steps end at the same time; one after another, thousands would take minutes.
template <typename Probe>
void askAllToStop(const SPW_CArray<Probe*>& probes) {
    for (int i = 0; i < probes.numberOfElements(); ++i) {
        if (probes[i] != nullptr) {
            probes[i]->askToStop();
        }
    }
}

template <typename Probe>
void askAllToEnd(const SPW_CArray<Probe*>& probes) {
    for (int i = 0; i < probes.numberOfElements(); ++i) {
        if (probes[i] != nullptr) {
            probes[i]->askToEnd();
        }
    }
}

template <typename Probe>
void destroyAll(SPW_CArray<Probe*>& probes, SPW_CCriticalSection& lock) {
    SPW_CArray<Probe*> doomed;
    {
        const SPW_CGuard guard(lock);
        doomed = probes;
        probes.empty();
    }
    for (int i = 0; i < doomed.numberOfElements(); ++i) {
        delete doomed[i];
    }
}

}  // namespace

TestEngine::TestEngine(UiSink* sink, bool loggingOn) : m_sink(sink) {
    // Should the library not start, every socket operation says so later.
    (void)SPW_CSocket::instance->startup();
    reloadSettings();
    if (loggingOn) {
        openLog();
    }
    refreshIdentity();
}

TestEngine::~TestEngine() {
    m_destroying = true;
    destroyProbes();
    m_log.close();
    SPW_CSocket::instance->cleanup();
}

void TestEngine::start() {
    const SPW_CGuard control(m_controlLock);
    logLine(SPW_CString(u" ---- Test ") + static_cast<int>(m_testNumber) + u" starting ---");
    destroyProbes();
    reloadSettings();
    SPW_CIcmp::instance->lookAgain();
    refreshIdentity();
    if (m_identity.localAddresses.numberOfElements() == 0) {
        addProblem(StartProblem::ofNoInterface());
    }
    logSystemReport();
    for (int i = 0; i < m_addedPeers.numberOfElements(); ++i) {
        createProbes({m_addedPeers[i].address, m_addedPeers[i].name, true, true, true});
    }
    if (m_settings.includeNamedIpAddresses) {
        for (int i = 0; i < m_settings.namedPeerAddresses.numberOfElements(); ++i) {
            createProbes({m_settings.namedPeerAddresses[i], m_settings.namedPeerNames[i], true, true, true});
        }
    }
    // Deliberately after the peers' connectors, which keep the announcement as it was before this start (none at
    // the first one); receivers know that probes of a first test bear no name.
    composeAnnouncement();
    createListeners();
    startProbes();
    reopenDiscoveries();
    startListeners();
}

void TestEngine::stop() {
    const SPW_CGuard control(m_controlLock);
    stopAllProbes();
    concludeTest();
}

void TestEngine::stopProbing() {
    const SPW_CGuard control(m_controlLock);
    stopAllProbes();
}

void TestEngine::completeTest() {
    const SPW_CGuard control(m_controlLock);
    concludeTest();
}

// Leaves discoveries closed.
void TestEngine::stopAllProbes() {
    stopListeners();
    closeDiscoveries();
    stopProbes();
}

void TestEngine::concludeTest() {
    logReport();
    m_running = false;
    logLine(SPW_CString(u" ---- Test ") + static_cast<int>(m_testNumber) + u" complete ---");
    ++m_testNumber;
    reopenDiscoveries();
}

void TestEngine::resetStatistics() {
    const int rows = rowCount();
    for (int i = 0; i < rows; ++i) {
        const SPW_CGuard order(m_sinkLock);
        PeerRowValues row;
        {
            const SPW_CGuard guard(m_lock);
            if (i >= m_peers.size()) {
                return;  // a start on another thread has forgotten the rows meanwhile
            }
            m_peers.at(i).reset();
            row = m_peers.at(i).values();
        }
        for (int protocol = 0; protocol < kProtocols; ++protocol) {
            m_sink->rowChanged(row, protocol);
        }
    }
}

int TestEngine::rowCount() const {
    const SPW_CGuard guard(m_lock);
    return m_peers.size();
}

void TestEngine::logReport() {
    SPW_CArray<SPW_CString> lines;
    {
        const SPW_CGuard guard(m_lock);
        for (int i = 0; i < m_peers.size(); ++i) {
            lines.append(m_peers.at(i).reportLine());
        }
    }
    for (int i = 0; i < lines.numberOfElements(); ++i) {
        logLine(lines[i]);
    }
}

void TestEngine::addPeer(const PeerRecord& peer) {
    const SPW_CGuard control(m_controlLock);
    {
        const SPW_CGuard guard(m_lock);
        m_addedPeers.append(peer);
    }
    createProbes(peer);
}

std::int32_t TestEngine::periodMs() const {
    const SPW_CGuard guard(m_lock);
    return m_settings.periodMs();
}

SPW_CString TestEngine::title() const {
    const SPW_CGuard guard(m_lock);
    SPW_CString title;
    for (int i = 0; i < m_identity.localAddresses.numberOfElements(); ++i) {
        title += m_identity.localAddresses[i];
        title += u" ";
    }
    title += u" (";
    title += m_identity.displayName;
    title += u")";
    return showableText(title);
}

SPW_CString TestEngine::localInfo() const {
    DeviceIdentity device;
    {
        const SPW_CGuard guard(m_lock);
        device = m_identity;
    }
    return localInfoText(device);
}

SPW_Result TestEngine::logEvent(const SPW_CString& text, std::int32_t waitMs) {
    return m_log.isOn() ? m_log.log(showableText(text), waitMs) : 0;
}

void TestEngine::knownAddresses(SPW_CArray<SPW_CString>& addresses) const {
    addresses.empty();
    const SPW_CGuard guard(m_lock);
    for (int i = 0; i < m_addedPeers.numberOfElements(); ++i) {
        addresses.append(m_addedPeers[i].address);
    }
    if (m_settings.includeNamedIpAddresses) {
        for (int i = 0; i < m_settings.namedPeerAddresses.numberOfElements(); ++i) {
            addresses.append(m_settings.namedPeerAddresses[i]);
        }
    }
    for (int i = 0; i < m_peers.size(); ++i) {
        addresses.append(m_peers.at(i).address());
    }
}

void TestEngine::snapshot(SPW_CArray<PeerRowValues>& rows) const {
    rows.empty();
    const SPW_CGuard guard(m_lock);
    for (int i = 0; i < m_peers.size(); ++i) {
        rows.append(m_peers.at(i).values());
    }
}

void TestEngine::startProblems(SPW_CArray<StartProblem>& problems) const {
    problems.empty();
    const SPW_Result logResult = m_log.openResult();
    if (logResult != 0) {
        problems.append(StartProblem::ofLog(m_log.path(), logResult));
    }
    const SPW_CGuard guard(m_lock);
    for (int i = 0; i < m_startProblems.numberOfElements(); ++i) {
        problems.append(m_startProblems[i]);
    }
}

void TestEngine::retryLog() {
    const SPW_CGuard control(m_controlLock);
    if (m_log.openResult() != 0) {
        reloadSettings();
        openLog();
    }
}

void TestEngine::openLog() {
    m_log.open(m_settings.logFileName, m_settings.description, m_settings.applicationPath, m_settings.version);
}

// ---- Settings and identity

void TestEngine::reloadSettings() {
    Settings settings = m_settings;
    loadSettings(settings, readKorvUdpPort());
    const SPW_CGuard guard(m_lock);
    m_settings = settings;
}

void TestEngine::refreshIdentity() {
    Identity identity;
    if (!SPW_CSocket::instance->hostName(identity.hostName)) {
        identity.hostName.clear();
    }
    identity.localAddresses = addressesOf(identity.hostName);
    identity.ownerName = readOwnerName();
    identity.quillonName = readFriendlyName();

    const SPW_CString& source = m_settings.displayNameSource;
    if (source.compareNoCase(u"Quillon Name") == 0) {
        identity.displayName = identity.quillonName;
    } else if (source.compareNoCase(u"Login Name") == 0 || source.compareNoCase(u"Owner Name") == 0) {
        identity.displayName = identity.ownerName;  // on purpose for both
    }
    if (identity.displayName.isEmpty()) {
        identity.displayName = identity.hostName;
    }
    const SPW_CGuard guard(m_lock);
    m_identity = identity;
}

// Those by which it can be reached.
SPW_CArray<SPW_CString> TestEngine::addressesOf(const SPW_CString& host) {
    SPW_CArray<SPW_CString> reachable;
    SPW_CArray<SPW_CIpAddress> addresses;
    if (SPW_CSocket::instance->resolve(host, addresses)) {
        for (int i = 0; i < addresses.numberOfElements(); ++i) {
            if (isReachableAddress(addresses[i])) {
                reachable.append(addresses[i].toText());
            }
        }
    }
    return reachable;
}

// Under the control lock alone: asking the platform and waiting for the log may both take long. While nothing is logged
// the platform is not even asked, and the registry not touched.
void TestEngine::logSystemReport() {
    if (!m_log.isOn()) {
        return;
    }
    m_log.limitRights();
    LoggedLines lines(*this);
    reportSystem(lines, m_identity, m_settings);
}

void TestEngine::composeAnnouncement() {
    SPW_CString padding;
    padding.fill(u'|', std::clamp(static_cast<int>(m_settings.overheadBytes), 0, kMaximumPadding));
    const SPW_CString announcement = m_settings.version + u"|" + m_identity.displayName + padding;
    const SPW_CGuard guard(m_lock);
    m_announcement = announcement;
}

TestEngine::ProbePlan TestEngine::probePlan() const {
    ProbePlan plan;
    plan.udp = m_settings.udpSelected;
    plan.tcp = m_settings.tcpipSelected;
    plan.ping = m_settings.pingSelected;
    plan.port = static_cast<std::uint32_t>(m_settings.port);
    plan.periodMs = m_settings.periodMs();
    plan.overheadBytes = m_settings.overheadBytes;
    plan.announcement = m_announcement;
    return plan;
}

// ---- Making, starting, stopping and destroying probes; under the control lock

void TestEngine::createProbes(const PeerRecord& peer) {
    std::int32_t row = 0;
    {
        const SPW_CGuard guard(m_lock);
        row = m_peers.addNamed(peer.address, peer.name);
    }
    const ProbePlan plan = probePlan();
    if (peer.udp && plan.udp) {
        ProbeConnector* connector =
            new (std::nothrow) VTR_CUdpConnector(this, peer.address, plan.port, plan.announcement, plan.periodMs);
        addConnector(connector);
        logLine(SPW_CString(u"Created VTR_CUdpConnector to ") + peer.address);
        noteRowNotMade(whyNotMade(connector), SPW_CString(u"VTR_CUdpConnector to ") + peer.address, row, kUdp);
        if (m_running && connector != nullptr && connector->StartSending() != 0) {
            logConnectorFailure(u"UDP StartSending failed returned ", *connector);
        }
    }
    if (peer.tcp && plan.tcp) {
        ProbeConnector* connector =
            new (std::nothrow) VTR_CTcpipConnector(this, peer.address, plan.port, plan.announcement, plan.periodMs);
        addConnector(connector);
        logLine(SPW_CString(u"Created VTR_CTcpipConnector to ") + peer.address);
        noteRowNotMade(whyNotMade(connector), SPW_CString(u"VTR_CTcpipConnector to ") + peer.address, row, kTcpip);
        if (m_running && connector != nullptr && connector->StartSending() != 0) {
            logConnectorFailure(u"TCPIP StartSending failed returned ", *connector);
        }
    }
    if (peer.ping && plan.ping) {
        VTR_CPinger* pinger = new (std::nothrow) VTR_CPinger(this, peer.address, plan.periodMs, plan.overheadBytes);
        const int index = addPinger(pinger);
        logLine(SPW_CString(u"Created VTR_CPinger to ") + peer.address);
        noteRowNotMade(whyNotMade(pinger), SPW_CString(u"VTR_CPinger to ") + peer.address, row, kPing);
        if (m_running && pinger != nullptr && pinger->StartPinging() != 0) {
            logLine(SPW_CString(u"StartPinging failed returned ") + connectorErrorText(index));
        }
    }
}

void TestEngine::createListeners() {
    const ProbePlan plan = probePlan();
    if (m_settings.multicastSelected) {
        const std::uint32_t port = static_cast<std::uint32_t>(m_settings.multicastPort);
        ProbeConnector* connector = new (std::nothrow) VTR_CMulticastConnector(
            this, m_settings.multicastGroup, port, plan.announcement, plan.periodMs, m_settings.multicastTtl);
        addConnector(connector);
        logLine(u"Created VTR_CMulticastConnector");
        noteNotMade(whyNotMade(connector), u"VTR_CMulticastConnector");
        addListener(new (std::nothrow) VTR_CMulticastListener(this, port, m_settings.multicastGroup),
                    kMulticastListener);
        logLine(u"Created VTR_CMulticastListener");
    }
    if (plan.udp) {
        addListener(new (std::nothrow) VTR_CUdpListener(this, plan.port), kUdpListener);
        logLine(u"Created VTR_CUdpListener");
    }
    if (plan.tcp) {
        addListener(new (std::nothrow) VTR_CTcpipListener(this, plan.port), kTcpipListener);
        logLine(u"Created VTR_CTcpipListener");
    }
}

void TestEngine::addConnector(ProbeConnector* connector) {
    const SPW_CGuard guard(m_lock);
    m_connectors.append(connector);
}

// One without a thread says so when it is started; one that is not there cannot.
void TestEngine::addListener(ProbeListener* listener, ProbeKind kind) {
    if (listener == nullptr) {
        addProblem(StartProblem::ofListener(SPW_CString(probeKindName(kind)) + u" : " + whyNotMade(listener)));
    }
    const SPW_CGuard guard(m_lock);
    m_listeners.append(listener);
}

// Answers the pinger's index.
int TestEngine::addPinger(VTR_CPinger* pinger) {
    const SPW_CGuard guard(m_lock);
    m_pingers.append(pinger);
    return m_pingers.numberOfElements() - 1;
}

// A row without probes must not pass for that of a silent peer. The log's line is beside that of the start that fails,
// which a discovery does not write.
void TestEngine::noteRowNotMade(const SPW_CString& why, const SPW_CString& what, std::int32_t row, int protocol) {
    if (why.isEmpty()) {
        return;
    }
    noteNotMade(why, what);
    const SPW_CGuard order(m_sinkLock);
    PeerRowValues values;
    {
        const SPW_CGuard guard(m_lock);
        PeerRow& found = m_peers.numbered(row);
        found.setNotMade(protocol);
        values = found.values();
    }
    m_sink->probesNotMade(values, protocol);
}

void TestEngine::noteNotMade(const SPW_CString& why, const SPW_CString& what) {
    if (why.isEmpty()) {
        return;
    }
    logLine(what + u" could not be made: " + why);
    bool isFirst = false;
    {
        const SPW_CGuard guard(m_lock);
        isFirst = !hasProblem(m_startProblems, StartProblem::kProbeNotMade);
        if (isFirst) {
            m_startProblems.append(StartProblem::ofProbes());
        }
    }
    if (isFirst) {
        logLine(u"The limit of this device is reached: it has no thread left for further probes");
    }
}

// Discoveries are closed.
void TestEngine::startProbes() {
    resetStatistics();
    int started = 0;
    for (int i = 0; i < m_connectors.numberOfElements(); ++i) {
        spreadStarts(started++);
        if (m_connectors[i] != nullptr && m_connectors[i]->StartSending() != 0) {
            logConnectorFailure(u"StartSending failed returned ", *m_connectors[i]);
        }
    }
    for (int i = 0; i < m_pingers.numberOfElements(); ++i) {
        spreadStarts(started++);
        if (m_pingers[i] != nullptr && m_pingers[i]->StartPinging() != 0) {
            logLine(SPW_CString(u"StartPinging failed returned ") + connectorErrorText(i));
        }
    }
    m_running = true;
}

// Discoveries are open: the first listener may find peers while the second is started. Only connectors and pingers
// join then.
void TestEngine::startListeners() {
    for (int i = 0; i < m_listeners.numberOfElements(); ++i) {
        if (m_listeners[i] != nullptr && m_listeners[i]->StartListening() != 0) {
            const SPW_CString text = m_listeners[i]->GetLastErrorText();
            addProblem(StartProblem::ofListener(text));
            logLine(SPW_CString(u"StartListening failed returned ") + text);
        }
    }
}

void TestEngine::stopListeners() {
    askAllToStop(m_listeners);
    for (int i = 0; i < m_listeners.numberOfElements(); ++i) {
        if (m_listeners[i] != nullptr && m_listeners[i]->StopListening() != 0) {
            logLine(SPW_CString(u"StopListening failed returned ") + m_listeners[i]->GetLastErrorText());
        }
    }
}

// Discoveries are closed.
void TestEngine::stopProbes() {
    askAllToStop(m_connectors);
    askAllToStop(m_pingers);
    for (int i = 0; i < m_connectors.numberOfElements(); ++i) {
        if (m_connectors[i] != nullptr && m_connectors[i]->StopSending() != 0) {
            logConnectorFailure(u"StopSending failed returned ", *m_connectors[i]);
        }
    }
    for (int i = 0; i < m_pingers.numberOfElements(); ++i) {
        if (m_pingers[i] != nullptr && m_pingers[i]->StopPinging() != 0) {
            logLine(SPW_CString(u"StopPinging failed returned ") + connectorErrorText(i));
        }
    }
}

// Leaves discoveries closed.
void TestEngine::destroyProbes() {
    closeDiscoveries();
    m_running = false;
    askAllToEnd(m_connectors);
    askAllToEnd(m_listeners);
    askAllToEnd(m_pingers);
    destroyAll(m_connectors, m_lock);
    destroyAll(m_listeners, m_lock);
    destroyAll(m_pingers, m_lock);
    const SPW_CGuard guard(m_lock);
    m_peers.clear();
    m_onceOnly.empty();
    m_startProblems.empty();
}

void TestEngine::addProblem(const StartProblem& problem) {
    const SPW_CGuard guard(m_lock);
    m_startProblems.append(problem);
}

void TestEngine::logConnectorFailure(const char16_t* what, ProbeConnector& connector) {
    logLine(SPW_CString(what) + connector.GetLastErrorText());
}

// The text that is logged for a pinger is deliberately that of the connector at the pinger's index, where there is one;
// readers of logs know it so.
SPW_CString TestEngine::connectorErrorText(int index) const {
    ProbeConnector* connector = nullptr;
    {
        const SPW_CGuard guard(m_lock);
        if (index < m_connectors.numberOfElements()) {
            connector = m_connectors[index];
        }
    }
    return connector == nullptr ? SPW_CString() : connector->GetLastErrorText();
}
