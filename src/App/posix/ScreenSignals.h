#pragma once

#include <signal.h>

// The signals that a program with a screen waits for, as something to be read from a descriptor; none interrupts any
// thread.
class ScreenSignals {
public:
    // Before the first thread is started: threads inherit what is blocked.
    ScreenSignals();
    ~ScreenSignals();
    ScreenSignals(const ScreenSignals&) = delete;
    ScreenSignals& operator=(const ScreenSignals&) = delete;

    // Readable while a signal waits.
    int descriptor() const { return m_descriptor; }
    // The next one that waits: SIGINT, SIGTERM, SIGHUP, SIGUSR1, SIGUSR2, SIGTSTP, SIGCONT or SIGWINCH; 0 for none.
    int next();

private:
    int m_descriptor;
};
