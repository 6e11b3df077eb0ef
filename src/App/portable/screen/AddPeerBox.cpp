#include "AddPeerBox.h"

#include "DisplayWidth.h"

namespace {

constexpr int kBoxWidth = 39;
constexpr int kBoxHeight = 8;
constexpr int kOctetWidth = 3;
constexpr int kNameWidth = 17;
// More than the form accepts. The form then says that the text is too long, as the dialog does.
constexpr int kTypedLimit = 60;

const char16_t kTitle[] = u"Enter ip info";
const char16_t kAddressLabel[] = u"Ip Address:   ";
const char16_t kNameLabel[] = u"Display Name: ";

}  // namespace

AddPeerBox::AddPeerBox(ScreenCommands& commands) : m_commands(commands), m_buttons({u"OK", u"Cancel"}) {
    const AddPeerForm initial;
    for (int i = 0; i < AddPeerForm::kName; ++i) {
        m_fields.emplace_back(TextField::kDigits, initial.texts[i], kOctetWidth, kOctetWidth);
    }
    m_fields.emplace_back(TextField::kAnyText, initial.texts[AddPeerForm::kName], kNameWidth, kTypedLimit);
    field(m_focus).focus();
}

void AddPeerBox::draw(Canvas& canvas) {
    const Area frame = centred(canvas, kBoxWidth, kBoxHeight);
    const Area room = inside(frame);
    canvas.frame(frame, kTitle);
    int x = canvas.put(room.x, room.y, kAddressLabel, Look::kBox, room.width);
    for (int i = 0; i < AddPeerForm::kName; ++i) {
        if (i > 0) {
            x = canvas.put(x, room.y, u".", Look::kBox);
        }
        m_places[i] = {x, room.y, kOctetWidth, 1};
        x += kOctetWidth;
    }
    x = canvas.put(room.x, room.y + 2, kNameLabel, Look::kBox, room.width);
    m_places[AddPeerForm::kName] = {x, room.y + 2, kNameWidth, 1};
    for (int i = 0; i < AddPeerForm::kFields; ++i) {
        field(i).draw(canvas, m_places[i].x, m_places[i].y, i == m_focus);
    }
    canvas.put(room.x, room.y + 3, m_fault, Look::kFailure, room.width);
    m_buttons.draw(canvas, {room.x, room.y + room.height - 1, room.width, 1}, m_focus - kOk);
}

bool AddPeerBox::handle(const Input& input) {
    if (input.kind == Input::kClick) {
        return handleClick(input);
    }
    if (input.isKey(Input::kEscape)) {
        return false;
    }
    if (input.isKey(Input::kEnter)) {
        return press(m_focus == kCancel ? kCancel : kOk);
    }
    if (m_focus < AddPeerForm::kFields && field(m_focus).handle(input)) {
        return true;
    }
    if (input.isKey(Input::kTab) || input.isKey(Input::kDown) || input.isKey(Input::kRight)) {
        moveFocus((m_focus + 1) % kStops);
    } else if (input.isKey(Input::kBackTab) || input.isKey(Input::kUp) || input.isKey(Input::kLeft)) {
        moveFocus((m_focus + kStops - 1) % kStops);
    } else if (input.kind == Input::kText && input.character == U'.' && isOnOctet()) {
        moveFocus(m_focus + 1);
    } else if (input.kind == Input::kText && input.character == U' ' && m_focus >= kOk) {
        return press(m_focus);
    }
    return true;
}

bool AddPeerBox::handleClick(const Input& input) {
    const int button = m_buttons.buttonAt(input.x, input.y);
    if (button >= 0) {
        return press(kOk + button);
    }
    for (int i = 0; i < AddPeerForm::kFields; ++i) {
        if (m_places[i].contains(input.x, input.y)) {
            moveFocus(i);
        }
    }
    return true;
}

void AddPeerBox::moveFocus(int to) {
    m_focus = to;
    if (to < AddPeerForm::kFields) {
        field(to).focus();
    }
}

bool AddPeerBox::press(int stop) {
    return stop == kCancel ? false : !accept();
}

bool AddPeerBox::accept() {
    AddPeerForm form;
    for (int i = 0; i < AddPeerForm::kFields; ++i) {
        form.texts[i] = field(i).text();
    }
    SPW_CArray<SPW_CString> known;
    m_commands.knownAddresses(known);
    const AddPeerForm::Field fault = form.firstFault(known, m_fault);
    if (fault != AddPeerForm::kFields) {
        moveFocus(fault);
        return false;
    }
    m_commands.addPeer(form.peer());
    return true;
}
