#include "Canvas.h"

#include <algorithm>

#include "DisplayWidth.h"
#include "ForeignText.h"

namespace {

// Whether a character without a width is drawn upon the one before it. The others only tell a renderer what to do, and
// terminals differ widely on that.
bool isMark(char32_t c) {
    return c < 0x2000 || (c >= 0x20D0 && c <= 0x20FF) || (c >= 0x302A && c <= 0x309A) || (c >= 0xFE20 && c <= 0xFE2F);
}

char32_t shown(char32_t c) {
    const bool isHarmless = c != 0xFFFD && (c > 0xFFFF || isShowable(static_cast<char16_t>(c)));
    return isHarmless ? c : U'?';
}

}  // namespace

bool operator==(const Canvas::Cell& a, const Canvas::Cell& b) {
    return a.character == b.character && std::equal(a.marks, a.marks + Canvas::Cell::kMarks, b.marks) &&
           a.style == b.style && a.isRightHalf == b.isRightHalf;
}

Canvas::Canvas(int width, int height, const Glyphs& glyphs)
    : m_width(std::max(width, 0)),
      m_height(std::max(height, 0)),
      m_glyphs(&glyphs),
      m_cells(static_cast<std::size_t>(m_width) * static_cast<std::size_t>(m_height)) {}

const Canvas::Cell& Canvas::cell(int x, int y) const {
    return m_cells[indexOf(x, y)];
}

SPW_CString Canvas::line(int y) const {
    SPW_CString text;
    int blanks = 0;
    for (int x = 0; x < m_width; ++x) {
        const Cell& here = cell(x, y);
        if (here.isRightHalf) {
            continue;
        }
        if (here.character == U' ') {
            ++blanks;
            continue;
        }
        for (; blanks > 0; --blanks) {
            text.append(u' ');
        }
        appendCharacter(text, here.character);
        for (const char32_t each : here.marks) {
            if (each != 0) {
                appendCharacter(text, each);
            }
        }
    }
    return text;
}

void Canvas::fill(const Area& area, Style style) {
    for (int y = std::max(area.y, 0); y < std::min(area.y + area.height, m_height); ++y) {
        for (int x = std::max(area.x, 0); x < std::min(area.x + area.width, m_width); ++x) {
            set(x, y, U' ', 1, style);
        }
    }
}

int Canvas::put(int x, int y, const SPW_CString& text, Style style, int limit) {
    const int end = std::min(m_width, x + std::max(limit, 0));
    int last = -1;  // where the latest character stands
    for (int i = 0; i < text.length();) {
        const char32_t character = nextCharacter(text, i);
        const int columns = displayWidth(character);
        if (columns == 0) {
            if (last >= 0 && isMark(character)) {
                mark(last, y, character);
            }
            continue;
        }
        if (x + columns > end) {
            break;
        }
        last = -1;
        if (isInside(x, y)) {
            set(x, y, shown(character), columns, style);
            last = x;
        }
        x += columns;
    }
    return x;
}

void Canvas::putFitted(int x, int y, int width, const SPW_CString& text, Style style, Alignment alignment) {
    fill({x, y, width, 1}, style);
    const int needed = displayWidth(text);
    if (needed > width) {
        const int end = put(x, y, text, style, width - 1);
        if (width > 0) {
            put(end, y, SPW_CString(m_glyphs->ellipsis), style);
        }
        return;
    }
    const int blanks = alignment == kLeft ? 0 : alignment == kRight ? width - needed : (width - needed) / 2;
    put(x + blanks, y, text, style);
}

void Canvas::frame(const Area& area, const SPW_CString& title) {
    const Style style(Look::kBox);
    fill(area, style);
    SPW_CString edge;
    edge.fill(m_glyphs->horizontal, area.width - 2);
    const int right = area.x + area.width - 1;
    const int bottom = area.y + area.height - 1;
    put(area.x, area.y, SPW_CString(m_glyphs->topLeft) + edge + m_glyphs->topRight, style);
    put(area.x, bottom, SPW_CString(m_glyphs->bottomLeft) + edge + m_glyphs->bottomRight, style);
    const SPW_CString side(m_glyphs->vertical);
    for (int y = area.y + 1; y < bottom; ++y) {
        put(area.x, y, side, style);
        put(right, y, side, style);
    }
    if (!title.isEmpty()) {
        const int width = std::min(displayWidth(title) + 2, area.width - 4);
        putFitted(area.x + 2, area.y, width, SPW_CString(u" ") + title + u" ", Look::kBoxTitle);
    }
}

void Canvas::placeCursor(int x, int y) {
    m_hasCursor = isInside(x, y);
    m_cursorX = x;
    m_cursorY = y;
}

// If one half of a wide character is overwritten, the other half goes too.
void Canvas::release(int x, int y) {
    Cell& here = at(x, y);
    if (here.isRightHalf && x > 0) {
        at(x - 1, y).character = U' ';
    }
    if (x + 1 < m_width && at(x + 1, y).isRightHalf) {
        at(x + 1, y) = Cell{U' ', {}, here.style, false};
    }
    here.isRightHalf = false;
}

void Canvas::set(int x, int y, char32_t character, int columns, Style style) {
    release(x, y);
    at(x, y) = Cell{character, {}, style, false};
    if (columns == 2) {
        release(x + 1, y);
        at(x + 1, y) = Cell{U' ', {}, style, true};
    }
}

void Canvas::mark(int x, int y, char32_t character) {
    for (char32_t& each : at(x, y).marks) {
        if (each == 0) {
            each = character;
            return;
        }
    }
}
