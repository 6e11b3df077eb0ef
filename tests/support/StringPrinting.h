#pragma once

#include <ostream>

#include "SPW_CString.h"

// Lets GoogleTest show a string as text when an expectation fails.
inline void PrintTo(const SPW_CString& text, std::ostream* stream) {
    *stream << '"' << text.toAnsi() << '"';
}
