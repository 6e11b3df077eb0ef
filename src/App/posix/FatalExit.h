#pragma once

#include "ScreenMessageBox.h"
#include "Wakeup.h"

// Ends the program if the reporter tells of a fatal error while there is a screen. The user reads the box, the screen's
// thread puts the terminal back, and then the process ends, whatever its other threads are doing.
//
// The constructor gives the reporter this way to end and the box. The destructor takes both back. A process has one
// object, made on the screen's thread.
class FatalExit {
public:
    // box: what the reporter shows its messages with. wakeup: wakes the screen's thread to look at isDue().
    FatalExit(ScreenMessageBox& box, Wakeup& wakeup);
    ~FatalExit();
    FatalExit(const FatalExit&) = delete;
    FatalExit& operator=(const FatalExit&) = delete;

    // Whether the screen's thread must leave the screen and then call screenIsGone().
    static bool isDue();
    // Says that the terminal has been put back. Ends the process if that is due.
    void screenIsGone();
};
