#pragma once

#include <cstdint>
#include <optional>

#include "CommandLine.h"
#include "EndWatch.h"
#include "EventDesk.h"
#include "ExitStatus.h"
#include "Signals.h"
#include "SilentSink.h"
#include "Snapshot.h"
#include "StandardOutput.h"
#include "TestEngine.h"
#include "Wakeup.h"

// The program without a screen, for servers, scripts and tests: starts a test at once, prints snapshots on standard
// output, says everything else on standard error, and obeys signals until it is told to stop, its time is over or its
// output cannot be written.
//
// Lives on the main thread, which waits only for signals and the time. What may block has a thread of its own (signals,
// output, log) or is watched by one (EndWatch).
class Headless {
public:
    // wakeup: what `signals` and `output` wake. All must outlive the object.
    Headless(const CommandLine& options, Signals& signals, StandardOutput& output, Wakeup& wakeup);

    // Runs the program and returns its exit status. If something that blocks keeps it from returning, it ends the
    // process with that status.
    int run();

private:
    bool prepareTest();
    bool startTest();
    bool tellProblems() const;
    void tellSettingsProblem() const;
    void obeyRequests();
    void waitForSomething();
    void obey(int signalNumber);
    int endTest();
    int end(int status, bool isOutputDone);
    void lookAtEvents();
    void printDueSnapshot();
    void printSnapshot(bool isFinal);
    void lookAtOutput();
    bool waitForOutput();
    std::int64_t elapsedMs() const;
    std::uint32_t msUntilNextDuty() const;
    int verdict() const;

    const CommandLine& m_options;
    Signals& m_signals;
    StandardOutput& m_output;
    Wakeup& m_wakeup;
    EndWatch m_endWatch;
    SilentSink m_sink;
    std::optional<TestEngine> m_engine;
    EventDesk m_events;
    SnapshotTaker m_snapshotTaker;
    Snapshot m_snapshot;  // the latest
    std::int64_t m_startedMs = 0;
    std::int64_t m_nextSnapshotMs = 0;  // since the start
    std::int64_t m_testStartedMs = 0;   // since the program's start
    std::int32_t m_testNumber = 0;      // of the test that runs or ran last
    bool m_isSnapshotDue = false;
    bool m_stopping = false;
    bool m_canRun = true;
    bool m_isOutputLost = false;
};
