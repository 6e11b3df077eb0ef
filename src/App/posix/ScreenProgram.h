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
// Lives on the main thread. It is made before all threads but those of the signals and the output.
class ScreenProgram {
public:
    // terminal: must be open; run() closes it at its end. signals: must receive SIGTSTP, SIGCONT and SIGWINCH, too.
    // wakeup: what `signals` and `output` wake. All must outlive the program.
    ScreenProgram(const CommandLine& options, Terminal& terminal, Signals& signals, StandardOutput& output,
                  Wakeup& wakeup);

    // Runs the program and returns its exit status. If something that blocks keeps it from returning, it ends the
    // process with that status.
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

// Whether the user wants a screen and has a terminal for it. If there is a terminal that cannot show a screen, it says
// this on standard error.
bool canShowScreen(const CommandLine& options);
