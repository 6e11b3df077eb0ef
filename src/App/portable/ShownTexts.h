#pragma once

#include "SPW_CArray.h"
#include "SPW_CString.h"

// Remembers which texts the user has been shown lately. A failure that comes again every period is thus shown once.
//
// Threads: none; the owner locks.
class ShownTexts {
public:
    // Enough for every text that the program's own places can report. Beyond that number the oldest text is forgotten,
    // and would be shown again; the memory stays bounded.
    static constexpr int kRemembered = 256;

    // Returns true if the text has not been shown lately. From then on it counts as shown.
    bool isNew(const SPW_CString& text);

private:
    SPW_CArray<SPW_CString> m_texts;  // the oldest first
};
