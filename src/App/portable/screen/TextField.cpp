#include "TextField.h"

#include "DisplayWidth.h"

TextField::TextField(Kind kind, const SPW_CString& text, int width, int limit)
    : m_kind(kind), m_text(text), m_width(width), m_limit(limit) {}

void TextField::focus() {
    m_cursor = m_text.length();
    m_isMarked = true;
}

bool TextField::handle(const Input& input) {
    if (input.kind == Input::kText) {
        return type(input.character);
    }
    if (input.kind != Input::kKey) {
        return false;
    }
    switch (input.key) {
        case Input::kLeft:
            moveTo(before(m_cursor));
            return true;
        case Input::kRight:
            moveTo(after(m_cursor));
            return true;
        case Input::kHome:
            moveTo(0);
            return true;
        case Input::kEnd:
            moveTo(m_text.length());
            return true;
        case Input::kBackspace:
            erase(m_isMarked ? 0 : before(m_cursor), m_cursor);
            return true;
        case Input::kDelete:
            erase(m_isMarked ? 0 : m_cursor, m_isMarked ? m_text.length() : after(m_cursor));
            return true;
        default:
            return false;
    }
}

bool TextField::type(char32_t character) {
    if (m_kind == kDigits && (character < U'0' || character > U'9')) {
        return false;
    }
    SPW_CString typed;
    appendCharacter(typed, character);
    if (m_isMarked) {
        erase(0, m_text.length());
    }
    if (m_text.length() + typed.length() > m_limit) {
        return true;
    }
    m_text = m_text.left(m_cursor) + typed + m_text.mid(m_cursor, m_text.length());
    m_cursor += typed.length();
    return true;
}

void TextField::erase(int from, int to) {
    m_text = m_text.left(from) + m_text.mid(to, m_text.length());
    moveTo(from);
}

int TextField::before(int index) const {
    int start = 0;
    for (int i = 0; i < index;) {
        start = i;
        (void)nextCharacter(m_text, i);
    }
    return start;
}

int TextField::after(int index) const {
    if (index < m_text.length()) {
        (void)nextCharacter(m_text, index);
    }
    return index;
}

void TextField::moveTo(int index) {
    m_cursor = index;
    m_isMarked = false;
}

void TextField::draw(Canvas& canvas, int x, int y, bool hasFocus) {
    const Style style(Look::kField, hasFocus && m_isMarked);
    // The cursor behind a text that fills the field needs a column of its own.
    if (m_cursor < m_first) {
        m_first = m_cursor;
    }
    while (displayWidth(m_text.mid(m_first, m_cursor - m_first)) >= m_width && m_first < m_cursor &&
           m_limit > m_width) {
        m_first = after(m_first);
    }
    SPW_CString room;
    room.fill(u'_', m_width);
    canvas.put(x, y, room, Look::kField);
    canvas.put(x, y, m_text.mid(m_first, m_text.length()), style, m_width);
    if (hasFocus) {
        const int column = displayWidth(m_text.mid(m_first, m_cursor - m_first));
        canvas.placeCursor(x + (column < m_width ? column : m_width - 1), y);
    }
}
