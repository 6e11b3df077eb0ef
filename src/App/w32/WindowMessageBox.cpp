#include "WindowMessageBox.h"

#include <windows.h>

#include "SPW_CWideW32.h"

namespace {

UINT typeOf(SPW_CMessageBox::Buttons buttons, SPW_CMessageBox::Icon icon) {
    UINT type =
        MB_SETFOREGROUND | MB_TOPMOST | (icon == SPW_CMessageBox::kIconError ? MB_ICONERROR : MB_ICONINFORMATION);
    switch (buttons) {
        case SPW_CMessageBox::kOkCancel:
            return type | MB_OKCANCEL;
        case SPW_CMessageBox::kRetryCancel:
            return type | MB_RETRYCANCEL;
        case SPW_CMessageBox::kAbortRetryIgnore:
            return type | MB_ABORTRETRYIGNORE;
        default:
            return type | MB_OK;
    }
}

SPW_CMessageBox::Answer answerOf(int pressed) {
    switch (pressed) {
        case IDOK:
            return SPW_CMessageBox::kAnswerOk;
        case IDYES:
            return SPW_CMessageBox::kAnswerYes;
        case IDCANCEL:
            return SPW_CMessageBox::kAnswerCancel;
        case IDABORT:
            return SPW_CMessageBox::kAnswerAbort;
        case IDNO:
            return SPW_CMessageBox::kAnswerNo;
        case IDRETRY:
            return SPW_CMessageBox::kAnswerRetry;
        case IDIGNORE:
            return SPW_CMessageBox::kAnswerIgnore;
        default:
            return SPW_CMessageBox::kNone;
    }
}

}  // namespace

SPW_CMessageBox::Answer WindowMessageBox::show(const SPW_CString& text, const SPW_CString& caption, Buttons buttons,
                                               Icon icon) {
    if (buttons == kOk && !remember(text)) {
        return kAnswerOk;
    }
    return answerOf(
        MessageBoxW(GetActiveWindow(), SPW_ToWide(text.text()), SPW_ToWide(caption.text()), typeOf(buttons, icon)));
}

bool WindowMessageBox::remember(const SPW_CString& text) {
    const SPW_CGuard guard(m_lock);
    for (int i = 0; i < m_shown.numberOfElements(); ++i) {
        if (m_shown[i] == text) {
            return false;
        }
    }
    if (m_shown.numberOfElements() < kTextsRemembered) {
        m_shown.append(text);
    }
    return true;
}
