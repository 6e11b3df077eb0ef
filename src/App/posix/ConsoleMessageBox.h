#pragma once

#include <mutex>

#include "SPW_CError.h"
#include "ShownTexts.h"

// The reporter's message boxes on a program without a screen: lines on standard error, answered with the button that
// goes on. A text that was shown before is not shown again: a cable that is out, or a disk that is full, would repeat
// it every period. Any thread.
class ConsoleMessageBox final : public SPW_CMessageBox {
public:
    Answer show(const SPW_CString& text, const SPW_CString& caption, Buttons buttons, Icon icon) override;

private:
    std::mutex m_lock;
    ShownTexts m_shown;  // whole lines
};
