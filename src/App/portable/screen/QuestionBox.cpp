#include "QuestionBox.h"

#include <algorithm>

#include "TextLines.h"

namespace {

constexpr int kWidest = 70;
constexpr int kMargins = 4;

std::vector<SPW_CMessageBox::Answer> answersOf(SPW_CMessageBox::Buttons buttons) {
    switch (buttons) {
        case SPW_CMessageBox::kOkCancel:
            return {SPW_CMessageBox::kAnswerOk, SPW_CMessageBox::kAnswerCancel};
        case SPW_CMessageBox::kRetryCancel:
            return {SPW_CMessageBox::kAnswerRetry, SPW_CMessageBox::kAnswerCancel};
        case SPW_CMessageBox::kAbortRetryIgnore:
            return {SPW_CMessageBox::kAnswerAbort, SPW_CMessageBox::kAnswerRetry, SPW_CMessageBox::kAnswerIgnore};
        default:
            return {SPW_CMessageBox::kAnswerOk};
    }
}

const char16_t* captionOf(SPW_CMessageBox::Answer answer) {
    switch (answer) {
        case SPW_CMessageBox::kAnswerCancel:
            return u"Cancel";
        case SPW_CMessageBox::kAnswerRetry:
            return u"Retry";
        case SPW_CMessageBox::kAnswerAbort:
            return u"Abort";
        case SPW_CMessageBox::kAnswerIgnore:
            return u"Ignore";
        default:
            return u"OK";
    }
}

std::vector<SPW_CString> captionsOf(const std::vector<SPW_CMessageBox::Answer>& answers) {
    std::vector<SPW_CString> captions;
    captions.reserve(answers.size());
    for (const SPW_CMessageBox::Answer answer : answers) {
        captions.emplace_back(captionOf(answer));
    }
    return captions;
}

}  // namespace

QuestionBox::QuestionBox(const SPW_CString& caption, const SPW_CString& text, SPW_CMessageBox::Buttons buttons)
    : m_caption(caption), m_text(text), m_answers(answersOf(buttons)), m_buttons(captionsOf(m_answers)) {}

void QuestionBox::draw(Canvas& canvas) {
    const int width = std::min(canvas.width(), kWidest);
    const std::vector<SPW_CString> lines = wrapText(m_text, width - kMargins);
    const int count = static_cast<int>(lines.size());
    const Area frame = centred(canvas, width, count + 4);  // with a blank line and the buttons
    const Area room = inside(frame);
    canvas.frame(frame, m_caption);
    for (int i = 0; i < std::min(count, room.height - 1); ++i) {
        canvas.put(room.x, room.y + i, lines[static_cast<std::size_t>(i)], Look::kBox, room.width);
    }
    m_buttons.draw(canvas, {room.x, room.y + room.height - 1, room.width, 1}, m_focus);
}

bool QuestionBox::handle(const Input& input) {
    const int last = m_buttons.count() - 1;
    if (input.kind == Input::kClick) {
        press(m_buttons.buttonAt(input.x, input.y));
    } else if (input.isKey(Input::kEnter)) {
        press(m_focus);
    } else if (input.isKey(Input::kEscape)) {
        press(last);
    } else if (input.isKey(Input::kLeft) || input.isKey(Input::kBackTab)) {
        m_focus = m_focus == 0 ? last : m_focus - 1;
    } else if (input.isKey(Input::kRight) || input.isKey(Input::kTab)) {
        m_focus = m_focus == last ? 0 : m_focus + 1;
    }
    return m_answer == SPW_CMessageBox::kNone;
}

void QuestionBox::press(int button) {
    if (button >= 0) {
        m_answer = m_answers[static_cast<std::size_t>(button)];
    }
}
