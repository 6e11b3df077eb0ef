#pragma once

#include <termios.h>

#include <string>

// Puts the terminal back as it was when the program is ended in the middle of its screen: by a crash, by a signal that
// it does not wait for, or by a fatal error on whatever thread. (Nothing helps against SIGKILL; `reset` does then.)
//
// While it is armed, standard error is kept back if it is the same terminal, so that nothing can be written across the
// screen; what was said meanwhile comes out when the screen is gone. Process-wide; armed by one thread.
namespace TerminalRescue {

// terminal: its descriptor. modes: those to put back. sequence: what makes the terminal leave the screen.
void arm(int terminal, const termios& modes, const std::string& sequence);
// Before the screen is left in the regular way; lets standard error go again.
void disarm();
// What a crash does first: puts everything back, once. May be called on any thread, also by signal handlers.
void restore();

}  // namespace TerminalRescue
