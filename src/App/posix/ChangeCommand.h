#pragma once

#include <sys/types.h>

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <deque>
#include <mutex>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "HelperThread.h"
#include "SPW_CString.h"
#include "ShownTexts.h"

// Runs a program for each event, with the event's facts in its environment, and waits for its end.
//
// - No shell is asked. The program gets no arguments. A name without "/" is looked for in PATH.
// - Its environment is this program's, and for each field of EventObject.h a variable "LINKOMETRY_" and the field's
// name
//   in capitals. Its standard input is empty, and what it prints goes to standard error.
// - One runs at a time, and so many at most within a span of time. The others wait in order. Of too many that wait the
//   oldest are dropped.
// - One that takes too long is killed, with all that it has started in its process group.
// - Every failure is told once on standard error.
//
// Threads: any. The program runs and is waited for on a thread of its own.
class ChangeCommand {
public:
    struct Limits {
        std::uint32_t longestRunMs = 10000;
        std::size_t mostStarts = 10;  // within windowMs
        std::uint32_t windowMs = 10000;
        std::size_t mostWaiting = 200;
        std::uint32_t endPatienceMs = 2000;
    };

    ChangeCommand(const SPW_CString& program, const Limits& limits);
    // The run that is under way, and those that wait and may begin, have endPatienceMs together. Then they are killed
    // and dropped.
    ~ChangeCommand();
    ChangeCommand(const ChangeCommand&) = delete;
    ChangeCommand& operator=(const ChangeCommand&) = delete;

    // False if the system has refused the thread. Then nothing is run.
    bool isReady() const { return m_thread.isRunning(); }
    // Has the program run with these facts. Returns at once.
    void run(const nlohmann::ordered_json& facts);

private:
    using Clock = std::chrono::steady_clock;
    using Environment = std::vector<std::string>;
    using Guard = std::unique_lock<std::mutex>;

    void work();
    bool waitForTurn(Guard& guard);
    void runOnce(const Environment& facts, Guard& guard);
    void waitForEnd(pid_t process, Guard& guard);
    bool isOver() const { return m_isFinished && Clock::now() >= m_end; }
    void tellOnce(const SPW_CString& text);

    const SPW_CString m_program;
    const Limits m_limits;
    std::mutex m_lock;  // guards all below but the thread
    std::condition_variable m_changed;
    std::deque<Environment> m_waiting;
    std::deque<Clock::time_point> m_starts;  // the latest, mostStarts at most
    ShownTexts m_told;
    bool m_isFinished = false;
    Clock::time_point m_end;
    HelperThread m_thread;  // the last: it uses all the others
};
