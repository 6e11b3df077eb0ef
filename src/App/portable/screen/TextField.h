#pragma once

#include "Canvas.h"
#include "Input.h"
#include "SPW_CString.h"

// One line of text that the user edits, a part of a box.
//
// A field that has just got the keyboard's focus by Tab is marked whole. What is typed next replaces its text.
class TextField {
public:
    enum Kind { kAnyText, kDigits };

    // width: columns on the screen. Of a longer text only a part is in sight. limit: the most characters that can be
    // typed.
    TextField(Kind kind, const SPW_CString& text, int width, int limit);

    const SPW_CString& text() const { return m_text; }
    int width() const { return m_width; }
    void focus();
    // Returns true if the field has used the input: typing, deleting, Left and Right, Home and End.
    bool handle(const Input& input);
    void draw(Canvas& canvas, int x, int y, bool hasFocus);

private:
    bool type(char32_t character);
    void erase(int from, int to);
    int before(int index) const;
    int after(int index) const;
    void moveTo(int index);

    Kind m_kind;
    SPW_CString m_text;
    int m_width;
    int m_limit;
    int m_cursor = 0;  // the index of the character that the cursor stands before
    int m_first = 0;   // that of the first one shown
    bool m_isMarked = false;
};
