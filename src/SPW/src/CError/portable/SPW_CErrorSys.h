#pragma once

#include "SPW_CString.h"

// What a platform half gives to SPW_CError. Any thread. No function tells of its failure.
namespace SPW_CErrorSys {

// Write the text to standard output or standard error in the 8-bit code page, in one piece and at once: lines of
// several threads do not mix. Where there is no console the text is dropped.
void printOutput(const SPW_CString& text);
void printError(const SPW_CString& text);

// Ends the process on the spot with that exit code: neither destructors nor exit handlers run.
[[noreturn]] void exitProcess(int code);

}  // namespace SPW_CErrorSys
