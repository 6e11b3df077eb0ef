#pragma once

#include <windows.h>

// What the shell of a handheld does for a dialog. A desktop has no such shell.
namespace ShellW32 {

bool isHandheld();

// Makes the dialog as large as the handheld's screen, with an OK button in the caption, by which a pen can close it.
// Where the shell does not offer that, the dialog keeps its size and still gets the button.
void fillScreen(HWND dialog);

// Raises the panel that a pen writes with, or lowers it. Nothing happens where there is none, as on a desktop.
void showInputPanel(HWND dialog, bool isUp);

}  // namespace ShellW32
