#pragma once

#include <termios.h>

#include <string>

// Puts the terminal back as it was if something ends the program in the middle of its screen: a crash, a signal that it
// does not wait for, or a fatal error on whatever thread. Nothing can be done against SIGKILL; the user then needs
// `reset`.
//
// While it is armed, standard error is kept back if it is the same terminal, because nothing may be written across the
// screen. What was said meanwhile comes out when the screen is gone. It is process-wide and armed by one thread.
namespace TerminalRescue {

// terminal: its descriptor. modes: those to put back. sequence: what makes the terminal leave the screen.
void arm(int terminal, const termios& modes, const std::string& sequence);
// Must be called before the screen is left in the regular way. Lets standard error go again.
void disarm();
// Puts everything back, once. A crash does this first. May be called on any thread, also by signal handlers.
void restore();

}  // namespace TerminalRescue
