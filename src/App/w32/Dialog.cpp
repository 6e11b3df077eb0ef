#include "Dialog.h"

#include "SPW_CMemory.h"
#include "SPW_CWideW32.h"
#include "WindowsOver.h"

namespace {

// The dialog has become the active one, and the system has given the focus back to where it was.
constexpr UINT kActivatedMessage = WM_USER + 100;

}  // namespace

HINSTANCE programInstance() {
    return GetModuleHandleW(nullptr);
}

const wchar_t* resourceName(int number) {
    return reinterpret_cast<const wchar_t*>(static_cast<ULONG_PTR>(static_cast<WORD>(number)));
}

void showBox(HWND owner, const SPW_CString& text, UINT icon) {
    (void)MessageBoxW(owner, SPW_ToWide(text.text()), L"Linkometry", MB_OK | icon);
}

// parent: may be null. It cannot be used while the dialog is open.
INT_PTR Dialog::runModal(HWND parent) {
    m_isEnding = false;
    const INT_PTR result = runTemplate(parent);
    m_window = nullptr;
    if (result == kNotMade) {
        showBox(parent, u"The window cannot be made: there is too little memory, or the program's file is damaged",
                MB_ICONERROR);
    }
    return result;
}

// The dialog is made from a template in memory. That is the only way that all devices offer.
INT_PTR Dialog::runTemplate(HWND parent) {
    const HINSTANCE program = programInstance();
    const HRSRC place = FindResourceW(program, resourceName(m_resource), reinterpret_cast<const wchar_t*>(RT_DIALOG));
    const HGLOBAL dialogTemplate = place != nullptr ? LoadResource(program, place) : nullptr;
    if (dialogTemplate == nullptr) {
        return kNotMade;
    }
    return DialogBoxIndirectParamW(program, static_cast<const DLGTEMPLATE*>(dialogTemplate), parent, procedure,
                                   reinterpret_cast<LPARAM>(this));
}

// --- The end

void Dialog::end(INT_PTR result) {
    if (m_isEnding) {
        return;
    }
    m_isEnding = true;
    m_result = result;
    if (m_inner == 0) {
        endNow();
    } else {
        closeWindowsOver(m_window);
    }
}

void Dialog::endNow() {
    onEnd();
    (void)EndDialog(m_window, m_result);
}

INT_PTR Dialog::runInner(Dialog& inner) {
    ++m_inner;
    const INT_PTR result = inner.runModal(m_window);
    leaveInner();
    return result;
}

void Dialog::say(const SPW_CString& text, UINT icon) {
    ++m_inner;
    showBox(m_window, text, icon);
    leaveInner();
}

void Dialog::leaveInner() {
    --m_inner;
    if (m_isEnding && m_inner == 0) {
        endNow();
    }
}

// --- The focus

void Dialog::setFocus(int id) {
    (void)SendMessageW(m_window, WM_NEXTDLGCTL, reinterpret_cast<WPARAM>(control(id)), TRUE);
}

void Dialog::disable(int id, int next) {
    if (GetFocus() == control(id)) {
        setFocus(next);
    }
    (void)EnableWindow(control(id), FALSE);
}

// The control that had the focus when the dialog was left may have been disabled since. The system gives it the focus
// all the same.
void Dialog::mendFocus() {
    const HWND focus = GetFocus();
    if (GetActiveWindow() == m_window && (focus == nullptr || focus == m_window || !IsWindowEnabled(focus))) {
        (void)SendMessageW(m_window, WM_NEXTDLGCTL,
                           reinterpret_cast<WPARAM>(GetNextDlgTabItem(m_window, nullptr, FALSE)), TRUE);
    }
}

// --- Messages

bool Dialog::onMessage(UINT, WPARAM, LPARAM, LRESULT&) {
    return false;
}

SPW_CString Dialog::textOf(int id) const {
    const HWND field = control(id);
    const int length = GetWindowTextLengthW(field);
    SPW_CString room;
    char16_t* const text = room.getBuffer(length);
    text[0] = 0;
    (void)GetWindowTextW(field, SPW_ToWide(text), length + 1);  // the size includes the null
    return SPW_CString(text);
}

void Dialog::setText(int id, const SPW_CString& text) {
    (void)SetWindowTextW(control(id), SPW_ToWide(text.text()));
}

// The box about the lack of memory takes messages for the dialogs, too, such as a click of a moment ago. A handler that
// waited for a lock would wait for ever, and the user could not close the box.
INT_PTR CALLBACK Dialog::procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (SPW_CMemory::isExhausted()) {
        return FALSE;
    }
    if (message == WM_INITDIALOG) {
        (void)SetWindowLongPtrW(window, DWLP_USER, lParam);
        reinterpret_cast<Dialog*>(lParam)->m_window = window;
    }
    // Some messages come before WM_INITDIALOG, which brings the object.
    Dialog* const dialog = reinterpret_cast<Dialog*>(GetWindowLongPtrW(window, DWLP_USER));
    return dialog != nullptr ? dialog->handle(message, wParam, lParam) : FALSE;
}

INT_PTR Dialog::handle(UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_INITDIALOG) {
        onInitialise();
        return TRUE;  // the first control gets the focus
    }
    if (message == WM_COMMAND) {
        // Only clicks of buttons count, and the keys that stand for them. Lists and fields send many other notes as
        // commands.
        if (HIWORD(wParam) == BN_CLICKED && !m_isEnding) {
            onCommand(LOWORD(wParam));
        }
        return TRUE;
    }
    if (message == kActivatedMessage) {
        mendFocus();
        return TRUE;
    }
    if (message == WM_ACTIVATE && LOWORD(wParam) != WA_INACTIVE) {
        (void)PostMessageW(m_window, kActivatedMessage, 0, 0);
        return FALSE;
    }
    LRESULT result = 0;
    if (!onMessage(message, wParam, lParam, result)) {
        return FALSE;
    }
    (void)SetWindowLongPtrW(m_window, DWLP_MSGRESULT, result);
    return TRUE;
}
