#include "LocalInfoDialog.h"

#include "Resource.h"

LocalInfoDialog::LocalInfoDialog(const SPW_CString& text) : Dialog(IDD_LOCAL_INFO), m_text(text) {}

void LocalInfoDialog::onInitialise() {
    // The text is converted to 8 bits and back. It is then the same as in a report file, character for character.
    setText(IDC_LOCAL_INFO, SPW_CString(m_text.toAnsi()));
    // A field that gets the focus selects its whole text. This removes the selection.
    (void)PostMessageW(control(IDC_LOCAL_INFO), EM_SETSEL, 0, 0);
}

void LocalInfoDialog::onCommand(int control) {
    if (control == IDOK || control == IDCANCEL) {
        end(control);
    }
}
