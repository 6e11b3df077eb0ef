#pragma once

#include <cstdint>

#include "CommandLine.h"
#include "EndWatch.h"
#include "EngineWorker.h"
#include "FatalExit.h"
#include "RedrawPace.h"
#include "Screen.h"
#include "ScreenMessageBox.h"
#include "Signals.h"
#include "StandardOutput.h"
#include "Terminal.h"
#include "Wakeup.h"

// The program with its screen on a terminal: waits for keys, signals and the engine's news, and draws. SIGINT, SIGTERM
// and SIGHUP quit, SIGUSR1 presses Log and SIGUSR2 Reset. When the screen is gone, the last table is printed.
//
// Lives on the main thread, and is made before any thread but those of the signals and the output.
class ScreenProgram {
public:
    // terminal: open; closed at the end of run(). signals: receive SIGTSTP, SIGCONT and SIGWINCH, too. wakeup: the one
    // that `signals` and `output` wake. All must outlive the program.
    ScreenProgram(const CommandLine& options, Terminal& terminal, Signals& signals, StandardOutput& output,
                  Wakeup& wakeup);

    // Runs the program's life and returns its exit status. When something that blocks would keep it from returning, it
    // ends the process with that status.
    int run();

private:
    bool isOver() const { return m_screen.isOver() || m_isTerminalGone || FatalExit::isDue(); }
    void waitForSomething();
    void passTime();
    int msUntilSomethingIsDue() const;
    void obeySignals();
    void obeySignal(int number);
    void takeNews();
    void readInput();
    void drawIfDue();
    bool printLastTable();

    const CommandLine& m_options;
    Terminal& m_terminal;
    Signals& m_signals;
    StandardOutput& m_output;
    Wakeup& m_wakeup;
    EndWatch m_endWatch{m_signals};
    ScreenMessageBox m_box{m_wakeup};
    FatalExit m_fatalExit{m_box, m_wakeup};
    EngineWorker m_worker;
    Screen m_screen;
    RedrawPace m_pace;
    bool m_isTerminalGone = false;
};

// Whether a screen is what the user wants and has a terminal for. Says on standard error when there is a terminal but
// none that can show one.
bool canShowScreen(const CommandLine& options);
