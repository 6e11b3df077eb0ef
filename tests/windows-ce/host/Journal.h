#pragma once

#include <string>

#include "Guest.h"

// What the host tells of a run: lines with the time since the start in milliseconds and the thread. Any thread may
// write.
namespace Journal {

// Begins the file that Options names.
void open();
void write(const char* form, ...) __attribute__((format(gnu_printf, 1, 2)));
// The beginning of a wide text as the journal can show it.
std::string shown(const wchar_t* text);
std::string shown(Word text);

}  // namespace Journal
