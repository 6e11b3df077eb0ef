#pragma once

#include <cstdint>
#include <mutex>

#include "Signals.h"
#include "TestEngine.h"

// Some things can block for ever. This class keeps them from holding up the program's end. It watches them on the
// thread of the signals while the program ends.
//
// - A log that takes no lines is given up. The threads that wait for it go on, and its lines are lost.
// - A start that does not come to its end, because a settings file is locked or a name server silent, ends the program.
// - A screen whose terminal takes nothing never hears of the end. It ends the program, too.
//
// Threads: any.
class EndWatch {
public:
    // Leaves something of the two seconds that an end may take to what else it does.
    static constexpr std::int64_t kLogPatienceMs = 1500;
    static constexpr std::int64_t kPhasePatienceMs = 5000;  // of a start and a screen

    explicit EndWatch(Signals& signals);
    ~EndWatch();
    EndWatch(const EndWatch&) = delete;
    EndWatch& operator=(const EndWatch&) = delete;

    // Around everything that is done before a test runs. Between them the program may end with status 4.
    void startBegins();
    void startEnds();
    // Around everything that is done on the screen. Between them the program may end with status 1.
    void screenBegins();
    void screenEnds();
    // From here on the engine's log is watched. The engine must live until waitForLog().
    void lookAtLogOf(TestEngine& engine);
    // Waits until the log has taken all that was handed over. If the log was given up, it tells the user and returns
    // false. The log's thread may then never come back: the engine must not be destroyed, and the process must end by
    // _exit.
    bool waitForLog();

private:
    // Something that the end may have to wait for. Guarded by the lock.
    struct Phase {
        bool isOn = false;
        std::int64_t firstLookMs = 0;  // while the program ends; 0: none yet
    };

    void setPhase(Phase& phase, bool isOn);
    static bool lastsTooLong(Phase& phase, std::int64_t now);
    void look();
    bool isLogTakingLines(std::int64_t now);

    Signals& m_signals;
    std::mutex m_lock;  // guards all below
    Phase m_start;
    Phase m_screen;
    TestEngine* m_engine = nullptr;
    bool m_isLogGivenUp = false;
    std::int64_t m_logLookMs = 0;  // since when the log has taken nothing; 0: not looked at
    std::uint32_t m_writtenLines = 0;
};
