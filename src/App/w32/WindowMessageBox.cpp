#include "WindowMessageBox.h"

#include "SPW_CWideW32.h"
#include "WindowsOver.h"

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

SPW_CMessageBox::Answer showNow(HWND owner, const SPW_CString& text, const SPW_CString& caption,
                                SPW_CMessageBox::Buttons buttons, SPW_CMessageBox::Icon icon) {
    return answerOf(MessageBoxW(owner, SPW_ToWide(text.text()), SPW_ToWide(caption.text()), typeOf(buttons, icon)));
}

// The reporter can call only a plain function.
WindowMessageBox* theBox = nullptr;

}  // namespace

WindowMessageBox::WindowMessageBox() {
    m_canStart = m_news.create(false, false, nullptr) == 0 && m_allRead.create(true, true, nullptr) == 0 &&
                 m_ended.create(true, false, nullptr) == 0;
    theBox = this;
    SPW_CError::instance->setMessageBox(this);
    SPW_CError::instance->setExit(exitAfterFatalError);
}

WindowMessageBox::~WindowMessageBox() {
    SPW_CError::instance->setExit(nullptr);
    SPW_CError::instance->setMessageBox(nullptr);
    if (!m_isStarted) {
        return;
    }
    {
        const SPW_CGuard guard(m_lock);
        m_unread.clear();
    }
    requestStop();
    (void)m_news.set();
    // A box that is just being made is not found yet. The next call finds it.
    constexpr std::uint32_t kNextLookMs = 20;
    do {
        closeWindowsOfThread(m_threadId);
    } while (m_ended.wait(kNextLookMs) == VTR_CEvent::kTimedOut);
}

SPW_CMessageBox::Answer WindowMessageBox::show(const SPW_CString& text, const SPW_CString& caption, Buttons buttons,
                                               Icon icon) {
    if (buttons != kOk) {
        return showNow(GetActiveWindow(), text, caption, buttons, icon);
    }
    {
        const SPW_CGuard guard(m_lock);
        if (!m_shown.isNew(text)) {
            return kAnswerOk;
        }
    }
    post({text, caption, icon});
    return kAnswerOk;
}

void WindowMessageBox::tell(const SPW_CString& text) {
    post({text, u"Linkometry", kIconError});
}

void WindowMessageBox::post(const Message& message) {
    if (isOwnThread() || !canPost()) {
        (void)showNow(nullptr, message.text, message.caption, kOk, message.icon);
        return;
    }
    const SPW_CGuard guard(m_lock);
    if (m_unread.numberOfElements() == kMostUnread) {
        m_unread.removeElementAt(1);  // the first message is on the screen
    }
    m_unread.append(message);
    (void)m_allRead.reset();
    (void)m_news.set();
}

// The thread is made when the first message comes; most runs never have one. Where no thread can be made, the thread
// that has the message shows the box itself.
bool WindowMessageBox::canPost() {
    const SPW_CGuard guard(m_lock);
    if (!m_isStarted && m_canStart) {
        m_isStarted = start() == 0;
        m_canStart = m_isStarted;
    }
    return m_isStarted;
}

// --- The thread of the boxes

void WindowMessageBox::step() {
    m_threadId = currentId();
    Message message;
    if (takeFirst(message)) {
        (void)showNow(nullptr, message.text, message.caption, kOk, message.icon);
        firstIsRead();
    } else {
        (void)m_news.wait(kSPWForever);
    }
}

void WindowMessageBox::finish() {
    (void)m_ended.set();
}

// The message counts as unread until the user has closed its box.
bool WindowMessageBox::takeFirst(Message& message) {
    const SPW_CGuard guard(m_lock);
    if (m_unread.numberOfElements() == 0) {
        return false;
    }
    message = m_unread[0];
    return true;
}

void WindowMessageBox::firstIsRead() {
    const SPW_CGuard guard(m_lock);
    if (m_unread.numberOfElements() > 0) {  // the destructor empties the list
        m_unread.removeElementAt(0);
    }
    if (m_unread.numberOfElements() == 0) {
        (void)m_allRead.set();
    }
}

// --- The end

void WindowMessageBox::waitUntilRead() {
    if (!isOwnThread()) {
        (void)m_allRead.wait(kSPWForever);
    }
}

void WindowMessageBox::exitAfterFatalError(int code) {
    theBox->waitUntilRead();
    (void)TerminateProcess(GetCurrentProcess(), static_cast<UINT>(code));
    for (;;) {
        Sleep(INFINITE);  // the call returns before the process has ended
    }
}
