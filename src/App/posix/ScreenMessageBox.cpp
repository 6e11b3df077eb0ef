#include "ScreenMessageBox.h"

#include "UnattendedAnswer.h"

SPW_CMessageBox::Answer ScreenMessageBox::show(const SPW_CString& text, const SPW_CString& caption, Buttons buttons,
                                               Icon icon) {
    std::unique_lock<std::mutex> guard(m_lock);
    if (m_isClosed) {
        guard.unlock();
        return m_console.show(text, caption, buttons, icon);
    }
    if (buttons == kOk && !remember(text))
        return kAnswerOk;
    const int number = post(text, caption, buttons);
    if (buttons == kOk || isScreenThread())
        return answerThatGoesOn(buttons);

    m_changed.wait(guard, [&] { return m_isClosed || m_answers.count(number) != 0; });
    const auto answered = m_answers.find(number);
    if (answered == m_answers.end())
        return answerThatGoesOn(buttons);
    const Answer result = answered->second;
    m_answers.erase(answered);
    return result;
}

void ScreenMessageBox::tell(const SPW_CString& text, const SPW_CString& caption) {
    std::unique_lock<std::mutex> guard(m_lock);
    if (m_isClosed) {
        guard.unlock();
        (void)m_console.show(text, caption, kOk, kIconError);
        return;
    }
    (void)post(text, caption, kOk);
}

// The message's number.
int ScreenMessageBox::post(const SPW_CString& text, const SPW_CString& caption, Buttons buttons) {
    const Message message = {++m_lastNumber, caption, text, buttons};
    m_unanswered[message.number] = message;
    m_untaken.push_back(message);
    m_wakeup.wake();
    return message.number;
}

bool ScreenMessageBox::remember(const SPW_CString& text) {
    return m_shown.size() < kTextsRemembered && m_shown.insert(text.toAnsi()).second;
}

std::vector<ScreenMessageBox::Message> ScreenMessageBox::take() {
    const std::lock_guard<std::mutex> guard(m_lock);
    std::vector<Message> messages;
    messages.swap(m_untaken);
    return messages;
}

void ScreenMessageBox::answer(int number, Answer answer) {
    const std::lock_guard<std::mutex> guard(m_lock);
    const auto message = m_unanswered.find(number);
    if (message == m_unanswered.end())
        return;
    if (message->second.buttons != kOk)
        m_answers[number] = answer;
    m_unanswered.erase(message);
    m_changed.notify_all();
}

void ScreenMessageBox::close() {
    std::map<int, Message> unread;
    {
        const std::lock_guard<std::mutex> guard(m_lock);
        m_isClosed = true;
        unread.swap(m_unanswered);
        m_untaken.clear();
        m_changed.notify_all();
    }
    for (const auto& [number, message] : unread)
        (void)m_console.show(message.text, message.caption, message.buttons, kIconError);
}

void ScreenMessageBox::waitUntilRead() {
    if (isScreenThread())
        return;
    std::unique_lock<std::mutex> guard(m_lock);
    m_changed.wait(guard, [this] { return m_isClosed || m_unanswered.empty(); });
}
