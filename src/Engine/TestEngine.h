#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include "DiscoveryPace.h"
#include "ErrorLines.h"
#include "LocalIdentity.h"
#include "LocalNetworks.h"
#include "PeerTable.h"
#include "ProbeEventSink.h"
#include "ProbeSet.h"
#include "RowInsights.h"
#include "SPW_CArray.h"
#include "SPW_CCriticalSection.h"
#include "SPW_CString.h"
#include "SPW_Types.h"
#include "SecondTicker.h"
#include "Settings.h"
#include "StartProblem.h"
#include "TestLog.h"
#include "UiSink.h"

// Runs tests: has the probes made from the settings and the peers, started and stopped, counts what they report,
// discovers peers, and writes the test log. A program has one.
//
// Threads: start(), stop(), its two halves, addPeer() and retryLog() may be called from any thread and wait for one
// another. They may take long, since stopping a probe waits for its step. All other operations may be called from any
// thread at any time. The UiSink may call the const ones alone. When the engine is destroyed, only its own probes may
// still call it.
//
// Ownership: the engine owns its probes, its statistics and its log. The sink must outlive it.
class TestEngine final : public ProbeEventSink, private ProbeSet::Owner, private SecondTicker::Listener {
public:
    // Loads the settings and works out who this device is. loggingOn: also deletes the old test log and begins a
    // new one; otherwise nothing is ever logged. sink must not be null.
    TestEngine(UiSink* sink, bool loggingOn);
    ~TestEngine() override;
    TestEngine(const TestEngine&) = delete;
    TestEngine& operator=(const TestEngine&) = delete;

    // Begins a test: forgets the last one, loads the settings again, writes the configuration report to the log, builds
    // and starts all probes. In a running test, starts all over. A failure is logged and told (see startProblems()).
    // The rest runs all the same.
    void start();
    // Ends the test; the statistics stay until the next start. It is stopProbing() and completeTest() in one.
    void stop();
    // The first half of a stop: no probe is sent or counted any more. A snapshot shows the test's result. The log does
    // not have it yet, since the log may take its time. No peer may be added before completeTest().
    void stopProbing();
    // The second half: the report lines and the test's end go to the log, and the number is counted up.
    void completeTest();
    // Sets every peer's counts to zero and tells the sink.
    void resetStatistics();
    // Writes one report line per peer to the log. Waits for the log as long as TestLog says.
    void logReport();
    // Adds a peer for this and all further tests of this engine. In a running test its probes start at once,
    // otherwise at the next start.
    void addPeer(const PeerRecord& peer);
    // "10.0.0.5  (pocket1)": this device's addresses and name, for the caption; safe to show.
    SPW_CString title() const;
    // The same in parts: the first of the addresses, empty if there is none, and the name.
    void observer(SPW_CString& address, SPW_CString& name) const;
    // What this device is and how its network is configured, for a window or a file: lines that end with CR LF. Name,
    // owner and addresses are those of the latest start (before the first, those found when the engine was built), the
    // rest is asked for now, which takes as long as the platform takes. Safe to show.
    SPW_CString localInfo() const;
    // One line for the test log. waitMs: how long to wait for room, -1 without limit.
    // 0 when taken and when logging is off; 700 when there was no room in time.
    SPW_Result logEvent(const SPW_CString& text, std::int32_t waitMs);

    bool isRunning() const { return m_running; }
    // The running test's number, or the next one's while none runs; the first is 1.
    std::int32_t testNumber() const { return m_testNumber; }
    // How long lies between two probes of one kind to one peer, in milliseconds, as of the latest start.
    std::int32_t periodMs() const;
    // The addresses that have a row, or get one at the next start: those that were added, those that the settings named
    // at the latest start (before the first, when the engine was built), and those that were discovered. An address may
    // come more than once. addresses is emptied first.
    void knownAddresses(SPW_CArray<SPW_CString>& addresses) const;
    // The values of all rows, in order of addition. rows is emptied first.
    void snapshot(SPW_CArray<PeerRowValues>& rows) const;

    // All that is known of the row beyond its counts. False when there is no row of that number any more.
    [[nodiscard]] bool insight(std::int32_t row, PeerInsightValues& values) const;
    // Copies what has happened to the peers of the latest test, in the order of noticing: the events with numbers above
    // `after`, as far as they are among the latest 1000. Returns the number to ask with the next time; 0 asks for all.
    // events is emptied first. A start forgets the events of the test before; their numbers do not come again.
    std::uint32_t eventsAfter(std::uint32_t after, SPW_CArray<InsightEvent>& events) const;

    // The test log's path, as the settings gave it when the log was opened.
    SPW_CString logFilePath() const { return m_log.path(); }
    // What the user must be told: of the log, and of the latest start. problems is emptied first; none: all is well.
    void startProblems(SPW_CArray<StartProblem>& problems) const;
    // Tries again to open a log that could not be opened, by the name that the settings give now; nothing otherwise.
    // For the time before a start, when the cause may be gone. startProblems() tells what came of it.
    void retryLog();
    // How far the log has come; all zero when logging is off.
    LogProgress logProgress() const { return m_log.progress(); }
    // For the end of a program whose log takes no more lines. Threads that wait for the log go on. Lines that come from
    // here on are lost. The engine must not be destroyed any more.
    void giveUpLog() { m_log.giveUp(); }

    void onSocketError(ProbeKind kind, std::uint32_t port, const SPW_CString& address, SPW_Result code,
                       const SPW_CString& message) override;
    void onDataReceived(ProbeKind kind, std::uint32_t port, const SPW_CString& sender, std::int32_t sequence,
                        const SPW_CString& text) override;
    void onDataSent(ProbeKind kind, std::uint32_t port, const SPW_CString& target, std::int32_t sequence,
                    const SPW_CString& text) override;
    void onReplyMeasured(const SPW_CString& address, std::uint32_t roundTripUs, std::uint8_t timeToLive) override;
    void onOutState(ProbeKind kind, const SPW_CString& target, const ProbeOut& out) override;

private:
    // What a discovery needs to make its probes; copies, which need no engine lock.
    struct Discovery {
        ProbedPeer peer;
        ProbePlan plan;
        bool isAnnounced = false;
        bool isForTicker = false;    // the ticker makes the probes
        PeerTable::Numbers givenUp;  // the row that has made room, if one had to
        PeerRowValues givenUpRow;
        SPW_CString givenUpAddress;
    };
    // A row whose probes the ticker makes.
    struct Waiting {
        std::int32_t row = 0;
        ProbedPeer::Manner manner = ProbedPeer::kDiscovered;
        bool isHeardAgain = false;
        SPW_CString givenUpAddress;  // of the row that has made room, if one had to
    };

    class Control;

    void openLog();
    void reloadSettings();
    void warnOfNoPause();
    void refreshIdentity();
    void logSystemReport();
    void composeAnnouncement();
    ProbePlan probePlan() const;

    void createProbes(const PeerRecord& peer);
    void startTicking();
    std::int64_t secondsPassed(std::uint64_t now100ns);
    void stopTicking();
    void onSecond(std::uint64_t now100ns) override;
    void onProbeLine(const SPW_CString& line) override { logLine(line); }
    void onProbeNotMade(const ProbeNotMade& probe) override;
    void onListenerNotStarted(Protocol protocol, const SPW_CString& errorText) override;
    void noteFirstNotMade();
    void showNotMade(std::int32_t row, Protocol protocol);
    void stopAllProbes();
    void concludeTest();
    bool admitError(ProbeKind kind, const SPW_CString& address, SPW_Result code, SPW_CString& line);
    void tellCountedErrors();
    void forgetTest();
    void addProblem(const StartProblem& problem);

    void logLine(const SPW_CString& line);
    void logLines(const SPW_CArray<SPW_CString>& lines);
    void logProbeLine(const SPW_CString& line, std::int32_t lateAfterMs);
    bool probeLogging(bool& withData, std::int32_t& periodMs) const;

    enum Counting { kNotCounted, kCounted, kCountedAtRest };
    Counting count(const SPW_CString& address, int protocol, std::int32_t sequence, std::uint64_t now100ns);
    bool isGivenUp(ProbeKind kind, const SPW_CString& address) const;

    // TestEngineInsight.cpp
    RowInsights::Kinds selectedKinds() const;
    void expectNamed(PeerRow& row, const PeerRecord& peer, bool isKnown);
    void beginWatching();
    void endWatching();
    void judgeRows(std::uint64_t now100ns);
    bool judgeRowAfter(std::int32_t& number, std::uint64_t now100ns);

    // TestEngineDiscovery.cpp
    enum Judgement { kStranger, kUnwanted, kKnown };
    bool discover(const SPW_CString& address, const SPW_CString& text);
    Judgement judgeSender(const SPW_CString& address);
    Judgement lockedJudgeSender(const SPW_CString& address);
    bool isOwnAddressNow(const SPW_CString& address);
    bool hasAddressNow(const SPW_CString& address) const;
    Judgement beginDiscovery(const SPW_CString& address, const SPW_CString& name, Discovery& discovery);
    bool hasRoom() const;
    void makeRoom(Discovery& discovery);
    void tellGivenUp(const Discovery& discovery);
    void takeUp(const SPW_CString& address);
    void refreshNetworks();
    void logDiscovery(const SPW_CString& address, const SPW_CString& name);
    void logUnannounced(int discoveries);
    void tendDiscovered(std::int64_t seconds);
    std::int64_t secondsToRest() const;
    void putSilentToRest(std::int64_t seconds);
    SPW_CArray<Waiting> takeWaiting();
    void forgetGivenUp(const SPW_CArray<Waiting>& waiting);
    void makeWaitingProbes(const SPW_CArray<Waiting>& waiting);
    Discovery waitingDiscovery(const Waiting& waiting);
    void completeDiscovery(std::int32_t row);

    // Set before the first probe exists, then read only.
    UiSink* const m_sink;
    TestLog m_log;

    // Calls of start(), stop() and the like wait here for one another. Taken before all other locks.
    SPW_CCriticalSection m_controlLock;
    std::atomic<std::uint32_t> m_controller{0};  // the thread that holds it, or 0

    // Held from counting until the sink has been told. Taken before m_lock.
    SPW_CCriticalSection m_sinkLock;

    // The engine lock, and what it guards. Added peers, settings, identity and announcement change under both this and
    // the control lock. A thread that holds either may read them.
    mutable SPW_CCriticalSection m_lock;
    SPW_CArray<PeerRecord> m_addedPeers;
    Settings m_settings;
    LocalIdentity m_identity;
    SPW_CString m_announcement;
    PeerTable m_peers;
    RowInsights m_insights;
    OnceOnlyErrors m_onceOnly;
    ErrorLines m_errorLines;
    SPW_CArray<StartProblem> m_startProblems;  // of the latest start
    // Addresses that the platform has called this device's own within the present second, though the latest start did
    // not find them. Empty without a ticker.
    AddressSet m_ownThisSecond;
    bool m_isTicking = false;
    DiscoveryPace m_pace;
    std::uint64_t m_lastSecond100ns = 0;  // when secondsPassed() was asked last
    LocalNetworks m_networks;             // kept up to date while only neighbours are discovered
    SPW_CArray<Waiting> m_waiting;
    AddressSet m_givenUp;  // rows that had to make room and whose probes may still be ending

    // Has a lock of its own, which is taken after m_lock. A discovery is its guest.
    ProbeSet m_probes{*this, *this};

    // Change under the control lock. The ticker is there while a test runs. Without a thread it calls nobody.
    std::unique_ptr<SecondTicker> m_ticker;
    bool m_isWithoutPause = false;  // by the settings of the latest start; told once
    std::atomic<bool> m_isTickerEnding{false};

    std::atomic<bool> m_running{false};
    std::atomic<bool> m_destroying{false};
    std::atomic<std::int32_t> m_testNumber{1};
};
