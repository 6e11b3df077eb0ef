#pragma once

#include <cstdint>
#include <mutex>

#include "Signals.h"
#include "TestEngine.h"

// Keeps what can block for ever from holding up the program's end: it looks on, on the thread of the signals, while the
// program ends.
//
// - A log that takes no lines is given up: whoever waits for it goes on, and its lines are lost.
// - A start that does not come to its end, because a settings file is locked or a name server silent, ends the program.
//
// Threads: any.
class EndWatch {
public:
    static constexpr std::int64_t kLogPatienceMs = 2000;
    static constexpr std::int64_t kStartPatienceMs = 5000;

    explicit EndWatch(Signals& signals);
    ~EndWatch();
    EndWatch(const EndWatch&) = delete;
    EndWatch& operator=(const EndWatch&) = delete;

    // Around everything that is done before a test runs. Between them the program may end with status 4.
    void startBegins();
    void startEnds();
    // From here on the engine's log is looked at; until waitForLog() the engine must live.
    void lookAtLogOf(TestEngine& engine);
    // Waits until the log has taken all that was handed over. False, and the user is told, when it was given up: the
    // log's thread may never come back then, so the engine must not be destroyed; the process is to end by _exit.
    bool waitForLog();

private:
    void look();
    bool isLogTakingLines(std::int64_t now);

    Signals& m_signals;
    std::mutex m_lock;  // guards all below
    bool m_isStarting = false;
    TestEngine* m_engine = nullptr;
    bool m_isLogGivenUp = false;
    std::int64_t m_startLookMs = 0;  // since when the start has been looked at; 0: not
    std::int64_t m_logLookMs = 0;    // since when the log has taken nothing; 0: not looked at
    std::uint32_t m_writtenLines = 0;
};
