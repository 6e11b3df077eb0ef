#include "TextBox.h"

#include <algorithm>

#include "DisplayWidth.h"
#include "TextLines.h"

namespace {

constexpr int kWidest = 78;  // longer lines are hard to read
constexpr int kFrame = 2;
constexpr int kMargins = 4;

}  // namespace

void TextBox::setText(const SPW_CString& text) {
    updateText(text);
    m_first = 0;
}

void TextBox::updateText(const SPW_CString& text) {
    m_text = text;
    m_wrappedWidth = -1;
}

void TextBox::draw(Canvas& canvas) {
    const int width = std::min(canvas.width(), kWidest);
    if (width != m_wrappedWidth) {
        m_lines = wrapText(m_text, width - kMargins);
        m_wrappedWidth = width;
    }
    const int count = static_cast<int>(m_lines.size());
    const Area frame = centred(canvas, width, count + kFrame);
    const Area text = inside(frame);
    canvas.frame(frame, m_title);
    m_room = std::max(text.height, 1);
    m_first = std::clamp(m_first, 0, std::max(count - m_room, 0));
    for (int line = m_first; line < std::min(m_first + text.height, count); ++line) {
        canvas.put(text.x, text.y + line - m_first, m_lines[static_cast<std::size_t>(line)], Look::kBox, text.width);
    }

    SPW_CString hint(u" Esc closes ");
    if (count > m_room) {
        SPW_CString position;
        position.format(u" %d-%d of %d, arrows scroll;", m_first + 1, m_first + m_room, count);
        hint = position + hint;
    }
    const int foot = std::min(displayWidth(hint), text.width);
    canvas.putFitted(frame.x + frame.width - 2 - foot, frame.y + frame.height - 1, foot, hint, Look::kBox);
}

bool TextBox::handle(const Input& input) {
    constexpr int kWheelLines = 3;
    if (input.kind == Input::kText) {
        switch (input.character) {
            case U'k':
                --m_first;
                return true;
            case U'j':
                ++m_first;
                return true;
            case U' ':
                m_first += m_room;
                return true;
            default:
                return input.character != U'q';
        }
    }
    if (input.kind == Input::kWheelUp || input.kind == Input::kWheelDown) {
        m_first += input.kind == Input::kWheelUp ? -kWheelLines : kWheelLines;
        return true;
    }
    if (input.kind != Input::kKey) {
        return true;
    }
    switch (input.key) {
        case Input::kUp:
            --m_first;
            return true;
        case Input::kDown:
            ++m_first;
            return true;
        case Input::kPageUp:
            m_first -= m_room;
            return true;
        case Input::kPageDown:
            m_first += m_room;
            return true;
        case Input::kHome:
            m_first = 0;
            return true;
        case Input::kEnd:
            m_first = static_cast<int>(m_lines.size());
            return true;
        default:
            return input.key != Input::kEnter && input.key != Input::kEscape;
    }
}
