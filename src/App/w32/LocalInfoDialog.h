#pragma once

#include "Dialog.h"

// Shows the text of the device's configuration report, for reading and copying.
class LocalInfoDialog final : public Dialog {
public:
    // text: lines that end with CR LF.
    explicit LocalInfoDialog(const SPW_CString& text);

protected:
    void onInitialise() override;
    void onCommand(int control) override;

private:
    const SPW_CString m_text;
};
