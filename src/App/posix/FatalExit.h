#pragma once

#include "ScreenMessageBox.h"
#include "Wakeup.h"

// How the program ends when the reporter has told of a fatal error while there is a screen: the user reads the box, the
// screen's thread puts the terminal back, and then the process is gone, whatever its other threads are doing.
//
// From its making on it is what the reporter does, together with the box; its end undoes that. A process has one, made
// on the screen's thread.
class FatalExit {
public:
    // box: the reporter's from here on. wakeup: the screen's thread is woken to look at isDue().
    FatalExit(ScreenMessageBox& box, Wakeup& wakeup);
    ~FatalExit();
    FatalExit(const FatalExit&) = delete;
    FatalExit& operator=(const FatalExit&) = delete;

    // The screen's thread is to leave the screen and then call screenIsGone().
    static bool isDue();
    // The terminal has been put back. Ends the process when that is due.
    void screenIsGone();
};
