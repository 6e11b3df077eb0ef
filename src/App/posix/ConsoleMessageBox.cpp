#include "ConsoleMessageBox.h"

#include <cstdio>

#include "ForeignText.h"

namespace {

SPW_CMessageBox::Answer answerOf(SPW_CMessageBox::Buttons buttons) {
    switch (buttons) {
        case SPW_CMessageBox::kRetryCancel:
            return SPW_CMessageBox::kAnswerCancel;
        case SPW_CMessageBox::kAbortRetryIgnore:
            return SPW_CMessageBox::kAnswerIgnore;
        default:
            return SPW_CMessageBox::kAnswerOk;
    }
}

}  // namespace

SPW_CMessageBox::Answer ConsoleMessageBox::show(const SPW_CString& text, const SPW_CString& caption, Buttons buttons,
                                                Icon) {
    // One line a box: the line feed between place and message becomes a blank.
    std::string line = caption.toAnsi();
    line += ": ";
    SPW_CString rest(text);
    for (SPW_CString part = rest.nextToken(u"\n"); !part.isEmpty(); part = rest.nextToken(u"\n")) {
        line += showableText(part).toAnsi();
        line += ' ';
    }
    line.back() = '\n';

    const std::lock_guard<std::mutex> guard(m_lock);
    if (m_shown.size() < kTextsRemembered && m_shown.insert(line).second)
        std::fprintf(stderr, "linkometry: %s", line.c_str());
    return answerOf(buttons);
}
