#include "Headless.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>

#include "Console.h"
#include "SPW_CClock.h"
#include "SnapshotText.h"
#include "TablePrinter.h"

namespace {

constexpr std::uint64_t kMs = 10000;  // 100-ns units

// Where a file really is, whatever folder the program was started in; the path itself when that cannot be told.
SPW_CString wholePath(const SPW_CString& path) {
    char* const whole = realpath(path.toAnsi(), nullptr);
    SPW_CString result = whole != nullptr ? SPW_CString(whole) : path;
    std::free(whole);
    return result;
}

}  // namespace

Headless::Headless(const CommandLine& options, TestEngine& engine) : m_options(options), m_engine(engine) {}

int Headless::run() {
    if (!tellProblems())
        return kTestFailed;
    for (int i = 0; i < m_options.peers.numberOfElements(); ++i)
        m_engine.addPeer(m_options.peers[i]);

    m_started100ns = SPW_CClock::instance->now100ns();
    m_nextSnapshotMs = m_options.intervalMs;
    if (startTest()) {
        complain(m_engine.title() + u" measures its peers; the log is " + wholePath(m_engine.logFilePath()) +
                 u"; Ctrl-C stops");
        obeyRequests();
    }
    m_engine.stop();
    if (!m_canRun)
        return kTestFailed;
    printSnapshot(true);
    return verdict();
}

bool Headless::startTest() {
    m_testNumber = m_engine.testNumber();
    m_testStartedMs = elapsedMs();
    m_engine.start();
    m_canRun = tellProblems();
    return m_canRun;
}

// True when the test can go on. A test without its log is not the one that was asked for, and a listener that cannot be
// opened would make this device look dead to all others: each is the end of the run, though the engine would go on.
bool Headless::tellProblems() const {
    SPW_CArray<StartProblem> problems;
    m_engine.startProblems(problems);
    for (int i = 0; i < problems.numberOfElements(); ++i)
        complain(problems[i].text);
    return !hasProblem(problems, StartProblem::kLogInUse) && !hasProblem(problems, StartProblem::kLogNotOpened) &&
           !hasProblem(problems, StartProblem::kListenerNotStarted);
}

// 1. Sleep until a signal comes or the next duty is due.
// 2. A signal goes first: whoever sent it waits.
// 3. The end goes before an interval that falls on it: the final snapshot shows the same.
void Headless::obeyRequests() {
    while (!m_stopping && m_canRun) {
        obey(waitForRequest(msUntilNextDuty()));
        if (m_options.hasDuration && elapsedMs() >= m_options.durationMs)
            return;
        if (m_options.hasInterval && elapsedMs() >= m_nextSnapshotMs) {
            printSnapshot(false);
            // Intervals that a suspended machine has slept through are left out.
            m_nextSnapshotMs = std::max(m_nextSnapshotMs, elapsedMs() - m_options.intervalMs) + m_options.intervalMs;
        }
    }
}

void Headless::obey(Request request) {
    switch (request) {
        case Request::kNone:
            return;
        case Request::kStop:
            m_stopping = true;
            return;
        case Request::kSnapshot:
            printSnapshot(false);
            m_engine.logReport();
            return;
        case Request::kReset:
            m_engine.resetStatistics();
            return;
        case Request::kRestart:
            m_engine.stop();
            (void)startTest();  // the loop looks at m_canRun
            return;
    }
}

void Headless::printSnapshot(bool isFinal) {
    m_engine.snapshot(m_rows);
    const auto elapsedSeconds = static_cast<std::uint32_t>((elapsedMs() - m_testStartedMs + 500) / 1000);
    const std::string text = snapshotText(m_options, {m_testNumber, elapsedSeconds, isFinal}, m_rows);
    const int failure = printText(text);
    if (failure == 0)
        return;
    // A reader that leaves, as `head` does, has what it wanted; anything else loses what somebody waits for. It is told
    // once: the snapshot that the end brings fails as well.
    if (failure != EPIPE && m_canPrint)
        complain(SPW_CString(u"cannot write to the standard output: ") + std::strerror(failure));
    m_canPrint = false;
    m_stopping = true;
}

std::int64_t Headless::elapsedMs() const {
    return static_cast<std::int64_t>((SPW_CClock::instance->now100ns() - m_started100ns) / kMs);
}

std::uint32_t Headless::msUntilNextDuty() const {
    constexpr std::int64_t kLongest = 24 * 3600 * 1000;  // one wake-up a day costs nothing
    std::int64_t due = elapsedMs() + kLongest;
    if (m_options.hasDuration)
        due = std::min(due, m_options.durationMs);
    if (m_options.hasInterval)
        due = std::min(due, m_nextSnapshotMs);
    // Rounded up by one: a wait that ends within the last millisecond would find nothing due.
    return static_cast<std::uint32_t>(std::max<std::int64_t>(due - elapsedMs(), 0)) + 1;
}

int Headless::verdict() const {
    const int peers = m_rows.numberOfElements();
    if (peers == 0)
        return kNoPeer;
    return countReachable(m_rows, m_options.minimumQuality) == peers ? kAllReachable : kSomeUnreachable;
}
