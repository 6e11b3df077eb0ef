#pragma once

#include <windows.h>

// Dialogs and boxes that stand over others, as the windows that they are: a system's box tells nobody its window.

// Asks all windows that `owner` owns to close, as their users would.
void closeWindowsOver(HWND owner);
// The same for all windows of a thread.
void closeWindowsOfThread(DWORD thread);
