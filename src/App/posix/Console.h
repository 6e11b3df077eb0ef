#pragma once

#include <string>

#include "SPW_CString.h"

// What the program says outside of its screen.

// A line on standard error that begins with the program's name.
void complain(const SPW_CString& text);
// Prints to standard output. 0, or the error number when nobody reads any more or the output's disk is full.
[[nodiscard]] int printText(const std::string& text);
