#pragma once

#include "SPW_CError.h"
#include "ScreenBox.h"

// A message of the reporter, with the buttons that it asks for.
class QuestionBox final : public ScreenBox {
public:
    QuestionBox(const SPW_CString& caption, const SPW_CString& text, SPW_CMessageBox::Buttons buttons);

    void draw(Canvas& canvas) override;
    // Enter and a click press a button; Escape presses the last one.
    bool handle(const Input& input) override;
    // What was pressed; kNone while the box is open.
    SPW_CMessageBox::Answer answer() const { return m_answer; }

private:
    void press(int button);

    SPW_CString m_caption;
    SPW_CString m_text;
    std::vector<SPW_CMessageBox::Answer> m_answers;  // by button
    BoxButtons m_buttons;
    int m_focus = 0;
    SPW_CMessageBox::Answer m_answer = SPW_CMessageBox::kNone;
};
