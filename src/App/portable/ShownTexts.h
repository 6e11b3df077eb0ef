#pragma once

#include "SPW_CArray.h"
#include "SPW_CString.h"

// Which texts the user has been shown lately, so that what happens again every period is not shown every period.
//
// Threads: none; the owner locks.
class ShownTexts {
public:
    // Enough for every text that the program's own places can report. The memory is bounded all the same: of more texts
    // than that the oldest is forgotten, and would be shown again.
    static constexpr int kRemembered = 256;

    // True when the text has not been shown lately. It counts as shown from here on.
    bool isNew(const SPW_CString& text);

private:
    SPW_CArray<SPW_CString> m_texts;  // the oldest first
};
