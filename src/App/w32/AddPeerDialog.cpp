#include "AddPeerDialog.h"

#include "Resource.h"
#include "ShellW32.h"

namespace {

constexpr int kControls[AddPeerForm::kFields] = {IDC_OCTET_1, IDC_OCTET_2, IDC_OCTET_3, IDC_OCTET_4, IDC_PEER_NAME};

}  // namespace

AddPeerDialog::AddPeerDialog(const TestEngine& engine) : Dialog(IDD_ADD_PEER), m_engine(engine) {}

void AddPeerDialog::onInitialise() {
    const AddPeerForm form;
    for (int field = 0; field < AddPeerForm::kFields; ++field) {
        setText(kControls[field], form.texts[field]);
    }
    ShellW32::showInputPanel(window(), true);
}

void AddPeerDialog::onEnd() {
    ShellW32::showInputPanel(window(), false);
}

void AddPeerDialog::onCommand(int control) {
    if (control == IDOK) {
        accept();
    } else if (control == IDCANCEL) {
        end(IDCANCEL);
    }
}

// Says what cannot be accepted. The dialog then stays open, and the user can correct it.
void AddPeerDialog::accept() {
    AddPeerForm form;
    for (int field = 0; field < AddPeerForm::kFields; ++field) {
        form.texts[field] = textOf(kControls[field]);
    }
    SPW_CArray<SPW_CString> known;
    m_engine.knownAddresses(known);
    SPW_CString message;
    const AddPeerForm::Field wrong = form.firstFault(known, message);
    if (wrong == AddPeerForm::kFields) {
        m_peer = form.peer();
        end(IDOK);
        return;
    }
    say(message, MB_ICONEXCLAMATION);
    if (!isEnding()) {
        setFocus(kControls[wrong]);
    }
}
