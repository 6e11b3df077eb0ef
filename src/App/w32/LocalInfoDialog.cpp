#include "LocalInfoDialog.h"

#include "Resource.h"

LocalInfoDialog::LocalInfoDialog(const SPW_CString& text) : Dialog(IDD_LOCAL_INFO), m_text(text) {}

void LocalInfoDialog::onInitialise() {
    // By way of the 8-bit text, so that it is what a report file holds, to the character.
    setText(IDC_LOCAL_INFO, SPW_CString(m_text.toAnsi()));
    // A text that gets the focus is selected whole; nobody wants to see it so.
    (void)PostMessageW(control(IDC_LOCAL_INFO), EM_SETSEL, 0, 0);
}

void LocalInfoDialog::onCommand(int control) {
    if (control == IDOK || control == IDCANCEL) {
        end(control);
    }
}
