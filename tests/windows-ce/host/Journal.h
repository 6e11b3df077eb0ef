#pragma once

#include <string>

#include "Guest.h"

// The host's report of a run. Each line has the time since the start in milliseconds and the number of the thread. Any
// thread may write.
namespace Journal {

// Opens the file that the options name.
void open();
void write(const char* form, ...) __attribute__((format(gnu_printf, 1, 2)));
// The beginning of a wide text, with a ? for each character outside ASCII.
std::string shown(const wchar_t* text);
std::string shown(Word text);

}  // namespace Journal
