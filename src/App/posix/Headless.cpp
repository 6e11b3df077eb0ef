#include "Headless.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>

#include "Console.h"
#include "NowMs.h"
#include "PatientPoll.h"
#include "PeerArguments.h"
#include "Rights.h"
#include "SPW_CError.h"
#include "SnapshotText.h"

namespace {

constexpr std::uint32_t kOutputPatienceMs = 2000;

// Returns the path from the root to where the file really is. Returns the path as it is if this cannot be found out.
SPW_CString wholePath(const SPW_CString& path) {
    char* const whole = realpath(path.toAnsi(), nullptr);
    SPW_CString result = whole != nullptr ? SPW_CString(whole) : path;
    std::free(whole);
    return result;
}

}  // namespace

Headless::Headless(const CommandLine& options, Signals& signals, StandardOutput& output, Wakeup& wakeup)
    : m_options(options),
      m_signals(signals),
      m_output(output),
      m_wakeup(wakeup),
      m_endWatch(signals),
      m_events(options, output, wakeup) {}

int Headless::run() {
    if (!prepareTest()) {
        return end(kTestFailed, true);
    }
    if (startTest()) {
        complain(m_engine->title() + u" measures its peers; the log is " + wholePath(m_engine->logFilePath()) +
                 u"; Ctrl-C stops");
        obeyRequests();
    }
    return endTest();
}

// The result is printed before the report lines go to the log. A log that stalls thus cannot hold up the result.
int Headless::endTest() {
    m_signals.endBegins();
    m_engine->stopProbing();
    lookAtEvents();
    if (m_canRun) {
        printSnapshot(true);
        (void)m_output.waitUntilWritten(kOutputPatienceMs);
    }
    m_engine->completeTest();
    const bool isOutputDone = waitForOutput();
    const bool areEventsDone = m_events.finish(kOutputPatienceMs);
    return end(verdict(), isOutputDone && areEventsDone);
}

int Headless::end(int status, bool isOutputDone) {
    const bool isLogDone = m_endWatch.waitForLog();
    if (!isOutputDone || !isLogDone) {
        _exit(status);
    }
    m_engine.reset();
    return status;
}

// False when there can be no test.
bool Headless::prepareTest() {
    SPW_CString refused;
    if (!m_events.open(refused)) {
        complain(refused);
        return false;
    }
    m_output.print(headerText(m_options));
    m_endWatch.startBegins();
    m_engine.emplace(&m_sink, true);
    m_endWatch.lookAtLogOf(*m_engine);
    // Errors are shown only from here on, because tellProblems() says in plainer words why there is no log.
    SPW_CError::instance->setShowErrors(true);
    m_canRun = tellProblems();
    tellSettingsProblem();
    for (int i = 0; m_canRun && i < m_options.peers.numberOfElements(); ++i) {
        SPW_CString why;
        const PeerAdded added = addPeer(*m_engine, m_options.peers[i], why);
        if (added != PeerAdded::kYes) {
            complain(why);
        }
        m_canRun = added != PeerAdded::kNotFound;
    }
    m_endWatch.startEnds();
    m_startedMs = nowMs();
    m_nextSnapshotMs = m_options.intervalMs;
    return m_canRun;
}

void Headless::tellSettingsProblem() const {
    const SPW_CString problem = settingsProblemOf(m_options.user);
    if (!problem.isEmpty()) {
        complain(problem);
    }
}

bool Headless::startTest() {
    m_endWatch.startBegins();
    m_testNumber = m_engine->testNumber();
    m_testStartedMs = elapsedMs();
    m_engine->start();
    m_snapshotTaker.clear();
    m_events.testBegins();
    m_canRun = tellProblems();
    m_endWatch.startEnds();
    return m_canRun;
}

// Returns true if the test can go on. A test without its log is not the one that was asked for. A listener that cannot
// be opened makes this device look dead to all others. Either ends the run, though the engine would go on.
bool Headless::tellProblems() const {
    SPW_CArray<StartProblem> problems;
    m_engine->startProblems(problems);
    for (int i = 0; i < problems.numberOfElements(); ++i) {
        complain(problems[i].text);
    }
    return !hasProblem(problems, StartProblem::kLogInUse) && !hasProblem(problems, StartProblem::kLogNotOpened) &&
           !hasProblem(problems, StartProblem::kListenerNotStarted);
}

// 1. Sleep until a signal comes, a text is printed or the next duty is due.
// 2. Signals go first, because their senders wait.
// 3. The end goes before an interval that falls on it, because the final snapshot shows the same.
// 4. A snapshot waits until the one before it is printed. All that fall due meanwhile become one.
void Headless::obeyRequests() {
    while (!m_stopping && m_canRun) {
        waitForSomething();
        for (int number = m_signals.next(); number != 0 && !m_stopping && m_canRun; number = m_signals.next()) {
            obey(number);
        }
        lookAtOutput();
        lookAtEvents();
        if (m_options.hasDuration && elapsedMs() >= m_options.durationMs) {
            return;
        }
        if (m_options.hasInterval && elapsedMs() >= m_nextSnapshotMs) {
            m_isSnapshotDue = true;
            // Intervals that have passed while the machine was suspended are left out.
            m_nextSnapshotMs = std::max(m_nextSnapshotMs, elapsedMs() - m_options.intervalMs) + m_options.intervalMs;
        }
        printDueSnapshot();
    }
}

void Headless::waitForSomething() {
    pollfd source = {m_wakeup.descriptor(), POLLIN, 0};
    if (patientPoll(&source, 1, static_cast<int>(msUntilNextDuty())) > 0) {
        m_wakeup.clear();
    }
}

void Headless::obey(int signalNumber) {
    switch (signalNumber) {
        case SIGQUIT:
            m_isSnapshotDue = true;
            return;
        case SIGUSR1:
            m_isSnapshotDue = true;
            printDueSnapshot();
            m_engine->logReport();
            return;
        case SIGUSR2:
            m_engine->resetStatistics();
            m_snapshotTaker.clear();
            return;
        case SIGHUP:
            if (!m_signals.isStop(SIGHUP)) {
                m_engine->stop();
                lookAtEvents();     // the start forgets them
                (void)startTest();  // the loop looks at m_canRun
                return;
            }
            break;
        default:
            break;
    }
    m_stopping = true;
}

void Headless::lookAtEvents() {
    m_events.look(*m_engine, m_testNumber);
}

void Headless::printDueSnapshot() {
    if (m_isSnapshotDue && !m_stopping && !m_output.isBusy()) {
        printSnapshot(false);
    }
}

void Headless::printSnapshot(bool isFinal) {
    m_isSnapshotDue = false;
    const auto elapsedSeconds = static_cast<std::uint32_t>((elapsedMs() - m_testStartedMs + 500) / 1000);
    m_snapshot = m_snapshotTaker.take(*m_engine, {m_testNumber, elapsedSeconds, isFinal});
    m_snapshot.tooSilent = m_events.countTooSilent(m_snapshot.rows);
    m_output.print(snapshotText(m_options, m_snapshot));
}

// A reader that leaves, as `head` does, has what it wanted. Any other failure loses a result that somebody waits for.
void Headless::lookAtOutput() {
    const int failure = m_output.failure();
    if (failure == 0) {
        return;
    }
    m_stopping = true;
    if (failure != EPIPE && !m_isOutputLost) {
        tellOutputFailure(failure);
        m_isOutputLost = true;
    }
}

// A reader may take as long as it wants until somebody asks for the end. Returns false if it does not take everything.
bool Headless::waitForOutput() {
    bool isDone = m_output.waitUntilWritten(kOutputPatienceMs);
    while (!isDone && !m_signals.isStopRequested()) {
        isDone = m_output.waitUntilWritten(kOutputPatienceMs);
    }
    lookAtOutput();
    if (!isDone) {
        complain(u"the standard output takes nothing; the result is lost");
        m_isOutputLost = true;
    }
    return isDone;
}

std::int64_t Headless::elapsedMs() const {
    return nowMs() - m_startedMs;
}

std::uint32_t Headless::msUntilNextDuty() const {
    constexpr std::int64_t kLongest = 24 * 3600 * 1000;  // one wake-up a day costs nothing
    std::int64_t due = elapsedMs() + kLongest;
    if (m_options.hasDuration) {
        due = std::min(due, m_options.durationMs);
    }
    if (m_options.hasInterval) {
        due = std::min(due, m_nextSnapshotMs);
    }
    if (!m_events.isIdle()) {
        due = std::min(due, elapsedMs() + EventDesk::kLookMs);
    }
    // One is added because a wait that ends within the last millisecond would find nothing due.
    return static_cast<std::uint32_t>(std::max<std::int64_t>(due - elapsedMs(), 0)) + 1;
}

int Headless::verdict() const {
    if (!m_canRun) {
        return kTestFailed;
    }
    if (m_isOutputLost || m_events.hasLost() || m_snapshot.tooSilent > 0) {
        return kSomeUnreachable;
    }
    const int peers = m_snapshot.rows.numberOfElements();
    if (peers == 0) {
        return kNoPeer;
    }
    return countReachable(m_snapshot.rows, demandsOf(m_options)) == peers ? kAllReachable : kSomeUnreachable;
}
