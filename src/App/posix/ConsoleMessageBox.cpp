#include "ConsoleMessageBox.h"

#include <iterator>
#include <string>

#include "Console.h"
#include "ForeignText.h"
#include "UnattendedAnswer.h"

namespace {

// An information is for the user, who does not care which class found it out. An error's place helps to mend it.
SPW_CString whatToSay(const SPW_CString& text, const SPW_CString& caption, SPW_CMessageBox::Icon icon) {
    static const char16_t kBeforeMessage[] = u"\n\nMessage: ";
    const int place = text.findText(kBeforeMessage);
    if (icon == SPW_CMessageBox::kIconInformation && place >= 0) {
        return text.right(text.length() - place - static_cast<int>(std::size(kBeforeMessage)) + 1);
    }
    return caption + u": " + text;
}

}  // namespace

SPW_CMessageBox::Answer ConsoleMessageBox::show(const SPW_CString& text, const SPW_CString& caption, Buttons buttons,
                                                Icon icon) {
    // A box becomes one line. The line feed between place and message becomes a blank.
    std::string line;
    SPW_CString rest = whatToSay(text, caption, icon);
    for (SPW_CString part = rest.nextToken(u"\n"); !part.isEmpty(); part = rest.nextToken(u"\n")) {
        line += showableText(part).toAnsi();
        line += ' ';
    }
    line.erase(line.find_last_not_of(' ') + 1);
    line += '\n';

    const std::lock_guard<std::mutex> guard(m_lock);
    if (m_shown.isNew(line.c_str())) {
        sayOnStandardError("linkometry: " + line);
    }
    return answerThatGoesOn(buttons);
}
