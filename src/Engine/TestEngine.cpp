#include "TestEngine.h"

#include <algorithm>
#include <new>

#include "ForeignText.h"
#include "SPW_CClock.h"
#include "SPW_CIcmp.h"
#include "SPW_CSocket.h"
#include "SPW_CThread.h"
#include "SettingsStorage.h"

// How the engine lives with its threads.
//
// Two sides call it. From outside come start, stop, addPeer, reset, report and snapshots. From inside comes every probe
// that it owns: with something to count or to log, which is frequent and short, or with an unknown sender, which makes
// the probe's thread create and start other probes. The latter is a discovery.
//
// Probes live in the ProbeSet, which has the rules about them. A discovery is its guest. What is left to the engine:
//
// (a) The engine lock guards rows and lists. It is held only to read or change them, and never while the ProbeSet
// makes, starts, stops or destroys probes, nor while a line waits for the log.
//
// (b) beginDiscovery() does three things in one hold of the lock: it looks the sender up once more, appends the row and
// enters the ProbeSet. Two listeners may hear a new sender at once; then one makes the row and the probes, and the
// other finds the row and counts.
//
// (c) start() closes the ProbeSet before it destroys anything. A sender that is heard until its listener is gone is
// dropped. Nothing is lost by that: start() forgets the discovered peers anyway, and the sender's next probe finds the
// new test.
//
// (d) While no test runs, a discovery still gets its row and its probes, as an added peer does, but nothing is started.
// `running` changes only while the ProbeSet is closed. Hence what beginDiscovery() reads of it holds until the end of
// the discovery.
//
// (e) The sink is told after the engine lock has been released: a user interface may be slow, or ask for a snapshot.
// Two threads that have counted on one row must tell the sink in the order of their counting, or an old figure would
// stay on the screen until the next probe. Hence the sink lock is taken before the counting and given back after the
// telling. resetStatistics() does the same row by row.
//
// (f) Once a second, while a test runs, onSecond() is called on a thread that does nothing else, the ticker. It starts
// before all probes of a test and ends before them, after a call in progress.
//
// (g) A discovered peer's row may go while a test runs, when another one needs its room, and its probes may end, when
// nothing has come from it for long. Listeners only ask probes to end. The ticker waits for that, and only then makes
// the probes that need the room: there are never more threads than rows allow. A row whose probes are being made, or
// wait for that, does not go.
//
// (h) Beside its counts a row has a record of what they cannot say (RowInsights). It is fed where the counting happens,
// under the engine lock, and judged by onSecond(), row by row with the same two locks: whoever is told of a row's state
// is told in the order of the counting, too. The record is watched from the start of the listeners to the stop.
//
// The order of the locks is: control, sink, engine, ProbeSet.

namespace {

// Only so many padding characters are sent, whatever the setting says: no packet can be longer, and every receiver
// reads but 1000 bytes.
constexpr int kMaximumPadding = 65536;

constexpr std::uint64_t kSecond100ns = 10'000'000;

// A report's way into the log.
class LoggedLines final : public ReportLines {
public:
    explicit LoggedLines(TestLog& log) : m_log(log) {}
    void line(const SPW_CString& text) override { m_log.logOfControl(showableText(text)); }

private:
    TestLog& m_log;
};

}  // namespace

// Holds the control lock, and tells which thread does.
class TestEngine::Control {
public:
    explicit Control(TestEngine& engine) : m_guard(engine.m_controlLock), m_controller(engine.m_controller) {
        m_controller = SPW_CThread::currentId();
    }
    ~Control() { m_controller = 0; }
    Control(const Control&) = delete;
    Control& operator=(const Control&) = delete;

private:
    const SPW_CGuard m_guard;
    std::atomic<std::uint32_t>& m_controller;
};

TestEngine::TestEngine(UiSink* sink, bool loggingOn) : m_sink(sink) {
    // A failure shows later, in every socket operation.
    (void)SPW_CSocket::instance->startup();
    reloadSettings();
    warnOfNoPause();
    if (loggingOn) {
        openLog();
    }
    refreshIdentity();
}

TestEngine::~TestEngine() {
    m_destroying = true;
    forgetTest();
    m_log.close();
    SPW_CSocket::instance->cleanup();
}

void TestEngine::start() {
    const Control control(*this);
    logLine(SPW_CString(u" ---- Test ") + static_cast<int>(m_testNumber) + u" starting ---");
    forgetTest();
    reloadSettings();
    warnOfNoPause();
    SPW_CIcmp::instance->lookAgain();
    refreshIdentity();
    if (m_identity.localAddresses.numberOfElements() == 0) {
        addProblem(StartProblem::ofNoInterface());
    }
    logSystemReport();
    refreshNetworks();
    // Before all probes: a device that has one thread too few then lacks a probe, and its row says that.
    startTicking();
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
    m_probes.makeGroupProbes(probePlan());
    resetStatistics();
    m_probes.startSending();
    m_running = true;
    beginWatching();
    m_probes.open();
    m_probes.startListening();
}

void TestEngine::stop() {
    const Control control(*this);
    stopAllProbes();
    concludeTest();
}

void TestEngine::stopProbing() {
    const Control control(*this);
    stopAllProbes();
}

void TestEngine::completeTest() {
    const Control control(*this);
    concludeTest();
}

// Leaves the ProbeSet closed.
void TestEngine::stopAllProbes() {
    endWatching();
    stopTicking();
    m_probes.stopListening();
    m_probes.close();
    m_probes.stopSending();
}

void TestEngine::concludeTest() {
    tellCountedErrors();
    logReport();
    m_running = false;
    logLine(SPW_CString(u" ---- Test ") + static_cast<int>(m_testNumber) + u" complete ---");
    ++m_testNumber;
    m_probes.open();
}

void TestEngine::resetStatistics() {
    std::int32_t number = 0;
    for (;;) {
        const SPW_CGuard order(m_sinkLock);
        PeerRowValues row;
        {
            const SPW_CGuard guard(m_lock);
            PeerRow* const next = m_peers.following(number);
            if (next == nullptr) {
                return;
            }
            next->reset();
            row = next->values();
        }
        number = row.number;
        for (int protocol = 0; protocol < kProtocols; ++protocol) {
            m_sink->rowChanged(row, protocol);
        }
    }
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
        m_log.logOfControl(showableText(lines[i]));
    }
}

void TestEngine::addPeer(const PeerRecord& peer) {
    const Control control(*this);
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
    return m_identity.title();
}

void TestEngine::observer(SPW_CString& address, SPW_CString& name) const {
    const SPW_CGuard guard(m_lock);
    const SPW_CArray<SPW_CString>& addresses = m_identity.localAddresses;
    address = addresses.numberOfElements() == 0 ? SPW_CString() : showableText(addresses[0]);
    name = showableText(m_identity.displayName);
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

// Only the thread that drives the test may wait for the log. A discovery makes probes on a listener's thread, which has
// other things to do, and so has the ticker.
void TestEngine::logLine(const SPW_CString& line) {
    if (m_controller == SPW_CThread::currentId()) {
        m_log.logOfControl(showableText(line));
    } else {
        logProbeLine(line, TestLog::kNoLimit);
    }
}

void TestEngine::logLines(const SPW_CArray<SPW_CString>& lines) {
    for (int i = 0; i < lines.numberOfElements(); ++i) {
        logLine(lines[i]);
    }
}

void TestEngine::knownAddresses(SPW_CArray<SPW_CString>& addresses) const {
    addresses.clear();
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
    rows.clear();
    const SPW_CGuard guard(m_lock);
    for (int i = 0; i < m_peers.size(); ++i) {
        rows.append(m_peers.at(i).values());
    }
}

void TestEngine::startProblems(SPW_CArray<StartProblem>& problems) const {
    problems.clear();
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
    const Control control(*this);
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
    m_log.setPatience(settings.logPatienceMs);
    const SPW_CGuard guard(m_lock);
    m_settings = settings;
}

// Once for each time that the settings have become so.
void TestEngine::warnOfNoPause() {
    const bool isWithoutPause = m_settings.periodMs() <= 0;
    if (isWithoutPause && !m_isWithoutPause) {
        addProblem(StartProblem::ofNoPause());
    }
    m_isWithoutPause = isWithoutPause;
}

void TestEngine::refreshIdentity() {
    const LocalIdentity identity = LocalIdentity::read(m_settings.displayNameSource);
    const SPW_CGuard guard(m_lock);
    m_identity = identity;
}

// Under the control lock alone: asking the platform and waiting for the log may both take long. While nothing is
// logged, the platform is not asked and the registry not touched.
void TestEngine::logSystemReport() {
    if (!m_log.isOn()) {
        return;
    }
    m_log.limitRights();
    LoggedLines lines(m_log);
    reportSystem(lines, m_identity, m_settings);
}

void TestEngine::composeAnnouncement() {
    SPW_CString padding;
    padding.fill(u'|', std::clamp(static_cast<int>(m_settings.overheadBytes), 0, kMaximumPadding));
    const SPW_CString announcement = m_settings.version + u"|" + m_identity.displayName + padding;
    const SPW_CGuard guard(m_lock);
    m_announcement = announcement;
}

ProbePlan TestEngine::probePlan() const {
    ProbePlan plan;
    plan.multicast = m_settings.multicastSelected;
    plan.udp = m_settings.udpSelected;
    plan.tcp = m_settings.tcpipSelected;
    plan.ping = m_settings.pingSelected;
    plan.port = static_cast<std::uint32_t>(m_settings.port);
    plan.periodMs = m_settings.periodMs();
    plan.overheadBytes = m_settings.overheadBytes;
    plan.announcement = m_announcement;
    plan.multicastGroup = m_settings.multicastGroup;
    plan.multicastPort = static_cast<std::uint32_t>(m_settings.multicastPort);
    plan.multicastTtl = m_settings.multicastTtl;
    plan.allowFlooding = m_settings.allowFlooding;
    plan.listenerLimits.failuresBeforePause = m_settings.failuresBeforePause;
    plan.listenerLimits.silenceMs = ListenerLimits::silenceOfSeconds(m_settings.tcpSilenceSeconds);
    plan.listenerLimits.periodMs = static_cast<std::uint32_t>(std::max(plan.periodMs, 0));
    return plan;
}

// ---- Probes; under the control lock, unless a discovery calls

void TestEngine::createProbes(const PeerRecord& peer) {
    ProbedPeer probed;
    probed.address = peer.address;
    probed.udp = peer.udp;
    probed.tcp = peer.tcp;
    probed.ping = peer.ping;
    probed.isTestRunning = m_running;
    {
        const SPW_CGuard guard(m_lock);
        const bool isKnown = m_peers.find(peer.address) != nullptr;
        probed.row = m_peers.addNamed(peer.address, peer.name);
        expectNamed(*m_peers.numbered(probed.row), peer, isKnown);
    }
    m_probes.makePeerProbes(probed, probePlan());
}

// A row without probes must not pass for that of a silent peer. The log's line is beside that of the start that fails,
// which a discovery does not write.
void TestEngine::onProbeNotMade(const ProbeNotMade& probe) {
    if (probe.isAnnounced) {
        logLine(probe.what + u" could not be made: " + probe.why);
    }
    noteFirstNotMade();
    if (probe.row != ProbeNotMade::kNoRow) {
        showNotMade(probe.row, probe.protocol);
        return;
    }
    const SPW_CGuard guard(m_lock);
    m_insights.notMade(nullptr, probe.protocol);
}

void TestEngine::noteFirstNotMade() {
    {
        const SPW_CGuard guard(m_lock);
        if (hasProblem(m_startProblems, StartProblem::kProbeNotMade)) {
            return;
        }
        m_startProblems.append(StartProblem::ofProbes());
    }
    logLine(u"The limit of this device is reached: it has no thread left for further probes");
}

void TestEngine::showNotMade(std::int32_t row, Protocol protocol) {
    const SPW_CGuard order(m_sinkLock);
    PeerRowValues values;
    {
        const SPW_CGuard guard(m_lock);
        PeerRow* const found = m_peers.numbered(row);  // it stays while its probes are being made
        found->setNotMade(protocol);
        m_insights.notMade(found, protocol);
        values = found->values();
    }
    m_sink->probesNotMade(values, protocol);
}

void TestEngine::onListenerNotStarted(Protocol protocol, const SPW_CString& errorText) {
    addProblem(StartProblem::ofListener(errorText));
    const SPW_CGuard guard(m_lock);
    m_insights.cannotHear(m_peers, protocol);
}

// Leaves the ProbeSet closed.
void TestEngine::forgetTest() {
    stopTicking();
    m_probes.close();
    m_running = false;
    m_probes.destroyAll();
    const SPW_CGuard guard(m_lock);
    m_insights.forget();
    m_peers.clear();
    m_waiting.clear();
    m_givenUp.clear();
    m_onceOnly.clear();
    m_errorLines.clear();
    m_startProblems.clear();
}

// ---- Time

// The test runs as well without a ticker. Then discoveries have no pace, and a full table takes nobody in.
void TestEngine::startTicking() {
    m_isTickerEnding = false;
    m_ticker.reset(new (std::nothrow) SecondTicker(*this));
    const bool isTicking = m_ticker != nullptr && m_ticker->start();
    const SPW_CGuard guard(m_lock);
    m_isTicking = isTicking;
    m_lastSecond100ns = SPW_CClock::instance->now100ns();
    m_pace.begin(isTicking ? DiscoveryPace::Limits{m_settings.discoveriesASecond, m_settings.discoveryBurst,
                                                   m_settings.discoveryLinesASecond}
                           : DiscoveryPace::Limits());
}

void TestEngine::stopTicking() {
    m_isTickerEnding = true;
    m_ticker.reset();
    int unannounced = 0;
    {
        const SPW_CGuard guard(m_lock);
        m_isTicking = false;
        m_ownThisSecond.clear();
        unannounced = m_pace.passSeconds(0);
        m_pace.begin({});
    }
    logUnannounced(unannounced);
}

// Since the last call. The ticker may be late, and then it is more than one. Under the engine lock.
std::int64_t TestEngine::secondsPassed(std::uint64_t now100ns) {
    const std::uint64_t seconds = (now100ns - m_lastSecond100ns + kSecond100ns / 2) / kSecond100ns;
    m_lastSecond100ns = now100ns;
    return static_cast<std::int64_t>(seconds);
}

// All that depends on time passing. Not under the control lock: the thread that holds it may be waiting for this call
// to end.
void TestEngine::onSecond(std::uint64_t now100ns) {
    judgeRows(now100ns);
    SPW_CArray<SPW_CString> countedErrors;
    std::int64_t seconds = 0;
    int unannounced = 0;
    {
        const SPW_CGuard guard(m_lock);
        m_ownThisSecond.clear();
        m_errorLines.takeDue(now100ns, countedErrors);
        seconds = secondsPassed(now100ns);
        unannounced = m_pace.passSeconds(seconds);
    }
    logLines(countedErrors);
    logUnannounced(unannounced);
    refreshNetworks();
    if (m_probes.enter()) {
        tendDiscovered(seconds);
        m_probes.leave();
    }
}

void TestEngine::tellCountedErrors() {
    SPW_CArray<SPW_CString> countedErrors;
    {
        const SPW_CGuard guard(m_lock);
        m_errorLines.takeAll(countedErrors);
    }
    logLines(countedErrors);
}

void TestEngine::addProblem(const StartProblem& problem) {
    const SPW_CGuard guard(m_lock);
    m_startProblems.append(problem);
}
