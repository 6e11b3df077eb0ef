#pragma once

#include <windows.h>

// Finds the dialogs and boxes that stand over others by their windows, because the system tells nobody the window of
// its own boxes.

// Asks all windows that `owner` owns to close, as their users would.
void closeWindowsOver(HWND owner);
// The same for all windows of a thread.
void closeWindowsOfThread(DWORD thread);
