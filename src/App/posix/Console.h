#pragma once

#include <functional>
#include <string>

#include "SPW_CString.h"

// What the program says outside of its screen.

// A line on standard error that begins with the program's name. Any thread.
void complain(const SPW_CString& text);
// The same for a text that is ready to be shown. A standard error whose reader stalls is waited for once, for a short
// while, and from then on not at all until it takes something again: what is not taken is lost. A probe that waited
// would look like one that is lost, and a program that waited could not be stopped.
void sayOnStandardError(const std::string& text);

// Writes it all, and waits for a descriptor that does not block by itself. Answers 0, or the error number. `progress`
// is called with the number of bytes that were taken.
[[nodiscard]] int writeAll(int descriptor, const std::string& text, const std::function<void(std::size_t)>& progress);
// Prints to standard output. Answers the exit status: 0, or 1 after it has said what was lost. Quiet, but not 0, when
// the reader has left.
[[nodiscard]] int printAndTell(const std::string& text);
// Says that the standard output has failed with that error number, unless it is one that means a reader who has left
// and so has what he wanted.
void tellOutputFailure(int failure);
// How many columns the terminal at standard output has; 0 where there is none or it does not say.
int outputWidth();
