#pragma once

#include "AddPeerForm.h"
#include "ScreenBox.h"
#include "ScreenCommands.h"
#include "TextField.h"

// The box that adds a peer by hand: the form's fields, OK and Cancel.
//
// Tab and the arrows up and down go from field to field. A point in an octet goes on to the next octet. Enter means OK
// unless Cancel has the focus. If a field cannot be accepted, a message says why and the field gets the focus.
class AddPeerBox final : public ScreenBox {
public:
    // An accepted peer is given to `commands`.
    explicit AddPeerBox(ScreenCommands& commands);

    void draw(Canvas& canvas) override;
    bool handle(const Input& input) override;

private:
    // Behind the fields in the order of the focus.
    static constexpr int kOk = AddPeerForm::kFields;
    static constexpr int kCancel = kOk + 1;
    static constexpr int kStops = kCancel + 1;

    void moveFocus(int to);
    bool accept();
    bool press(int stop);
    bool handleClick(const Input& input);
    TextField& field(int index) { return m_fields[static_cast<std::size_t>(index)]; }
    bool isOnOctet() const { return m_focus < AddPeerForm::kName; }

    ScreenCommands& m_commands;
    std::vector<TextField> m_fields;  // by AddPeerForm::Field
    Area m_places[AddPeerForm::kFields];
    BoxButtons m_buttons;
    SPW_CString m_fault;
    int m_focus = AddPeerForm::kFirstOctet;
};
