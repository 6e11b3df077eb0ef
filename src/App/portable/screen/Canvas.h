#pragma once

#include <cstddef>
#include <vector>

#include "Glyphs.h"
#include "SPW_CString.h"

// What a piece of the screen is. The terminal decides how it looks.
enum class Look : unsigned char {
    kPlain,
    kTitle,
    kButton,
    kHotkey,  // the letter of a button that presses it
    kDimmed,
    kHeader,
    kWarning,  // a peer of which less than everything arrives
    kFailure,  // a peer of which nothing arrives
    kStatus,
    kBox,
    kBoxTitle,
    kField,
};

struct Style {
    Look look = Look::kPlain;
    bool isReversed = false;  // chosen, or with the keyboard's focus

    constexpr Style(Look theLook = Look::kPlain, bool reversed = false) : look(theLook), isReversed(reversed) {}
    friend constexpr bool operator==(Style a, Style b) { return a.look == b.look && a.isReversed == b.isReversed; }
};

// A rectangle of columns and lines; (0, 0) is the top left one of the screen.
struct Area {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;

    bool contains(int column, int line) const {
        return column >= x && column < x + width && line >= y && line < y + height;
    }
};

// A screenful of characters in memory. Everything is drawn here and a terminal shows it. All that the user sees can
// thus be tested without a terminal.
//
// No text can disturb the screen. A control character becomes "?". A wide character that does not fit whole is left
// out. Combining characters stay with the character before them. Invisible characters are dropped. What lies outside
// the canvas is not drawn.
class Canvas {
public:
    struct Cell {
        static constexpr int kMarks = 2;

        char32_t character = U' ';
        char32_t marks[kMarks] = {};  // combining characters on it, then 0
        Style style;
        bool isRightHalf = false;  // of the wide character before it

        friend bool operator==(const Cell& a, const Cell& b);
        friend bool operator!=(const Cell& a, const Cell& b) { return !(a == b); }
    };
    enum Alignment { kLeft, kCentre, kRight };

    // Blank. Negative sizes count as 0.
    Canvas(int width, int height, const Glyphs& glyphs);

    int width() const { return m_width; }
    int height() const { return m_height; }
    const Glyphs& glyphs() const { return *m_glyphs; }
    // x: 0 to width() - 1, y: 0 to height() - 1.
    const Cell& cell(int x, int y) const;
    // The characters of one line, without the blanks at its end.
    SPW_CString line(int y) const;

    void fill(const Area& area, Style style);
    // Draws what fits into `limit` columns, and nothing right of the canvas. Returns the column behind the text.
    int put(int x, int y, const SPW_CString& text, Style style, int limit = 1 << 20);
    // Fills exactly `width` columns. A shorter text gets blanks around it. A longer text is cut and ends with an
    // ellipsis.
    void putFitted(int x, int y, int width, const SPW_CString& text, Style style, Alignment alignment = kLeft);
    // A frame around the area's edge, with a title in its upper line, and blanks inside.
    void frame(const Area& area, const SPW_CString& title);

    // Where the terminal's cursor stands. It is hidden until it is placed, and while it is outside the canvas.
    void placeCursor(int x, int y);
    bool hasCursor() const { return m_hasCursor; }
    int cursorX() const { return m_cursorX; }
    int cursorY() const { return m_cursorY; }

private:
    bool isInside(int x, int y) const { return x >= 0 && x < m_width && y >= 0 && y < m_height; }
    std::size_t indexOf(int x, int y) const {
        const int index = y * m_width + x;
        return static_cast<std::size_t>(index);
    }
    Cell& at(int x, int y) { return m_cells[indexOf(x, y)]; }
    void release(int x, int y);
    void set(int x, int y, char32_t character, int columns, Style style);
    void mark(int x, int y, char32_t character);

    int m_width;
    int m_height;
    const Glyphs* m_glyphs;
    std::vector<Cell> m_cells;
    bool m_hasCursor = false;
    int m_cursorX = 0;
    int m_cursorY = 0;
};
