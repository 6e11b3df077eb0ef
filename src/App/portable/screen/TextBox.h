#pragma once

#include <vector>

#include "ScreenBox.h"

// Shows a text, the local info or the help. A text longer than the box can be scrolled.
class TextBox final : public ScreenBox {
public:
    TextBox(const SPW_CString& title, const SPW_CString& text) : m_title(title), m_text(text) {}

    // Another text, from its beginning.
    void setText(const SPW_CString& text);
    // A newer text of the same kind; what is in sight stays where it is.
    void updateText(const SPW_CString& text);
    // Puts the end in sight.
    void scrollToEnd() { m_first = 1 << 20; }
    // Whether the latest drawing has shown the end.
    bool isAtEnd() const { return m_first + m_room >= static_cast<int>(m_lines.size()); }
    // What the text's frame says at its top.
    void setTitle(const SPW_CString& title) { m_title = title; }
    void draw(Canvas& canvas) override;
    bool handle(const Input& input) override;

private:
    SPW_CString m_title;
    SPW_CString m_text;
    std::vector<SPW_CString> m_lines;  // of m_text, for m_wrappedWidth
    int m_wrappedWidth = -1;
    int m_first = 0;  // line at the top
    int m_room = 1;   // lines shown, as of the latest drawing
};
