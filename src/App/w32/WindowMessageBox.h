#pragma once

#include "SPW_CArray.h"
#include "SPW_CCriticalSection.h"
#include "SPW_CError.h"

// The reporter's message boxes as windows, over the active one and topmost. What has nothing to decide is shown once: a
// cable that is out would otherwise ask for the same OK every period. Any thread; each waits for its own box.
class WindowMessageBox final : public SPW_CMessageBox {
public:
    Answer show(const SPW_CString& text, const SPW_CString& caption, Buttons buttons, Icon icon) override;

private:
    // True the first time.
    bool remember(const SPW_CString& text);

    // Enough for every text that the program's own places can report; further ones are shown each time.
    static constexpr int kTextsRemembered = 256;

    SPW_CCriticalSection m_lock;
    SPW_CArray<SPW_CString> m_shown;  // guarded by m_lock
};
