#pragma once

#include <cstdint>

#include "CommandLine.h"
#include "SPW_CArray.h"
#include "Signals.h"
#include "TestEngine.h"

// Exit statuses of a program without a screen.
enum ExitStatus : int {
    kAllReachable = 0,     // every row has at least the asked-for quality
    kSomeUnreachable = 1,  // some row has less
    kNoPeer = 2,           // there is no row
    kBadCommandLine = 3,
    kTestFailed = 4,  // the log file or a listener could not be opened
};

// The program without a screen, for servers, scripts and tests: starts a test at once, prints snapshots on standard
// output, says everything else on standard error, and obeys signals until it is told to stop, its time is over or its
// output cannot be written.
// blockRequestSignals() must have been called before the engine was built. Lives on the main thread.
class Headless {
public:
    // Neither is owned.
    Headless(const CommandLine& options, TestEngine& engine);

    // Runs one program's life and returns its exit status.
    int run();

private:
    bool startTest();
    bool tellProblems() const;
    void obeyRequests();
    void obey(Request request);
    void printSnapshot(bool isFinal);
    std::int64_t elapsedMs() const;
    std::uint32_t msUntilNextDuty() const;
    int verdict() const;

    const CommandLine& m_options;
    TestEngine& m_engine;
    SPW_CArray<PeerRowValues> m_rows;  // as of the latest snapshot
    std::uint64_t m_started100ns = 0;
    std::int64_t m_nextSnapshotMs = 0;  // since the start
    std::int64_t m_testStartedMs = 0;   // since the program's start
    std::int32_t m_testNumber = 0;      // of the test that runs or ran last
    bool m_stopping = false;
    bool m_canRun = true;
    bool m_canPrint = true;
};
