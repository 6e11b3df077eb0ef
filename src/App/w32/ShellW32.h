#pragma once

#include <windows.h>

// What the shell of a handheld does for a dialog. A desktop has no such shell.
namespace ShellW32 {

// Makes the dialog as large as the handheld's screen, with an OK button in the caption. Where the shell does not offer
// that, the dialog stays as it is.
void fillScreen(HWND dialog);

}  // namespace ShellW32
