#pragma once

#include <mutex>

#include "SPW_CError.h"
#include "ShownTexts.h"

// The reporter's message boxes in a program without a screen. Each is a line on standard error, and its answer is the
// button with which work goes on. A text is shown once, because a pulled cable or a full disk would repeat it every
// period. Any thread.
class ConsoleMessageBox final : public SPW_CMessageBox {
public:
    Answer show(const SPW_CString& text, const SPW_CString& caption, Buttons buttons, Icon icon) override;

private:
    std::mutex m_lock;
    ShownTexts m_shown;  // whole lines
};
