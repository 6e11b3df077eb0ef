#include "Dialog.h"

#include "SPW_CWideW32.h"

HINSTANCE programInstance() {
    return GetModuleHandleW(nullptr);
}

const wchar_t* resourceName(int number) {
    return reinterpret_cast<const wchar_t*>(static_cast<ULONG_PTR>(static_cast<WORD>(number)));
}

INT_PTR Dialog::runModal(HWND parent) {
    // The dialog is made from memory, as the one way that all devices offer.
    const HINSTANCE program = programInstance();
    const HRSRC place = FindResourceW(program, resourceName(m_resource), reinterpret_cast<const wchar_t*>(RT_DIALOG));
    const HGLOBAL dialogTemplate = place != nullptr ? LoadResource(program, place) : nullptr;
    if (dialogTemplate == nullptr) {
        return -1;
    }
    const INT_PTR result = DialogBoxIndirectParamW(program, static_cast<const DLGTEMPLATE*>(dialogTemplate), parent,
                                                   procedure, reinterpret_cast<LPARAM>(this));
    m_window = nullptr;
    return result;
}

bool Dialog::onMessage(UINT, WPARAM, LPARAM, LRESULT&) {
    return false;
}

SPW_CString Dialog::textOf(int id) const {
    const HWND field = control(id);
    const int length = GetWindowTextLengthW(field);
    SPW_CString room;
    char16_t* const text = room.getBuffer(length);
    text[0] = 0;
    (void)GetWindowTextW(field, SPW_ToWide(text), length + 1);  // the count includes the null
    return SPW_CString(text);
}

void Dialog::setText(int id, const SPW_CString& text) {
    (void)SetWindowTextW(control(id), SPW_ToWide(text.text()));
}

INT_PTR CALLBACK Dialog::procedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_INITDIALOG) {
        (void)SetWindowLongPtrW(window, DWLP_USER, lParam);
        reinterpret_cast<Dialog*>(lParam)->m_window = window;
    }
    // Some messages come before the first one that bears the object.
    Dialog* const dialog = reinterpret_cast<Dialog*>(GetWindowLongPtrW(window, DWLP_USER));
    return dialog != nullptr ? dialog->handle(message, wParam, lParam) : FALSE;
}

INT_PTR Dialog::handle(UINT message, WPARAM wParam, LPARAM lParam) {
    if (message == WM_INITDIALOG) {
        onInitialise();
        return TRUE;  // the first control gets the focus
    }
    if (message == WM_COMMAND) {
        // Only of buttons, and of the keys that stand for them: lists and fields tell of much more.
        if (HIWORD(wParam) == BN_CLICKED) {
            onCommand(LOWORD(wParam));
        }
        return TRUE;
    }
    LRESULT result = 0;
    if (!onMessage(message, wParam, lParam, result)) {
        return FALSE;
    }
    (void)SetWindowLongPtrW(m_window, DWLP_MSGRESULT, result);
    return TRUE;
}
