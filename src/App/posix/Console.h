#pragma once

#include <string>

#include "SPW_CString.h"

// What the program says outside of its screen.

// A line on standard error that begins with the program's name.
void complain(const SPW_CString& text);
// Prints to standard output. 0, or the error number when nobody reads any more or the output's disk is full.
[[nodiscard]] int printText(const std::string& text);
// How many columns the terminal at standard output has; 0 where there is none or it does not say.
int outputWidth();
