#pragma once

#include <functional>
#include <string>
#include <string_view>

#include "SPW_CString.h"

// What the program says outside of its screen.

// A line on standard error that begins with the program's name. Any thread.
void complain(const SPW_CString& text);
// The same for a text that is ready to be shown. If the reader of standard error stalls, the call waits once for a
// short while. From then on no call waits until the reader takes something again, and what is not taken is lost. A
// probe that waited would look like a lost one, and a program that waited could not be stopped. Takes no memory.
void sayOnStandardError(std::string_view text);

// Writes it all. Waits also for a descriptor that does not block by itself. Returns 0 or the error number. `progress`
// is called with the number of bytes that were taken.
[[nodiscard]] int writeAll(int descriptor, const std::string& text, const std::function<void(std::size_t)>& progress);
// Prints to standard output. Returns the exit status: 0, or 1 if something was lost. It says what was lost unless the
// reader has left.
[[nodiscard]] int printAndTell(const std::string& text);
// Says that the standard output has failed with that error number. Says nothing if the number means that the reader has
// left, because such a reader has what it wanted.
void tellOutputFailure(int failure);
// Returns how many columns the terminal at standard output has. Returns 0 if there is no terminal or it does not say.
int outputWidth();
