#include "ScreenMessageBox.h"

#include <algorithm>

#include "UnattendedAnswer.h"

SPW_CMessageBox::Answer ScreenMessageBox::show(const SPW_CString& text, const SPW_CString& caption, Buttons buttons,
                                               Icon icon) {
    std::unique_lock<std::mutex> guard(m_lock);
    if (m_isClosed) {
        guard.unlock();
        return m_console.show(text, caption, buttons, icon);
    }
    if (buttons == kOk && !m_shown.isNew(text)) {
        return kAnswerOk;
    }
    const int number = post(text, caption, buttons);
    if (buttons == kOk || isScreenThread()) {
        return answerThatGoesOn(buttons);
    }

    m_changed.wait(guard, [&] { return m_isClosed || m_answers.count(number) != 0; });
    const auto answered = m_answers.find(number);
    if (answered == m_answers.end()) {
        return answerThatGoesOn(buttons);
    }
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
    if (m_untaken.size() == kMostUntaken) {
        dropOldestUntaken();
    }
    const Message message = {++m_lastNumber, caption, text, buttons};
    m_unanswered[message.number] = message;
    m_untaken.push_back(message);
    m_wakeup.wake();
    return message.number;
}

// A choice is never dropped, because somebody waits for its answer.
void ScreenMessageBox::dropOldestUntaken() {
    const auto oldest =
        std::find_if(m_untaken.begin(), m_untaken.end(), [](const Message& message) { return message.buttons == kOk; });
    if (oldest != m_untaken.end()) {
        m_unanswered.erase(oldest->number);
        m_untaken.erase(oldest);
    }
}

std::vector<ScreenMessageBox::Message> ScreenMessageBox::take() {
    const std::lock_guard<std::mutex> guard(m_lock);
    const std::size_t onScreen = m_unanswered.size() - m_untaken.size();
    const std::size_t room = kMostOnScreen - std::min(onScreen, kMostOnScreen);
    const auto end = m_untaken.begin() + static_cast<std::ptrdiff_t>(std::min(room, m_untaken.size()));
    std::vector<Message> messages(m_untaken.begin(), end);
    m_untaken.erase(m_untaken.begin(), end);
    return messages;
}

void ScreenMessageBox::answer(int number, Answer answer) {
    const std::lock_guard<std::mutex> guard(m_lock);
    const auto message = m_unanswered.find(number);
    if (message == m_unanswered.end()) {
        return;
    }
    if (message->second.buttons != kOk) {
        m_answers[number] = answer;
    }
    m_unanswered.erase(message);
    m_changed.notify_all();
    m_wakeup.wake();  // there is room for another one
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
    for (const auto& [number, message] : unread) {
        (void)m_console.show(message.text, message.caption, message.buttons, kIconError);
    }
}

void ScreenMessageBox::waitUntilRead() {
    if (isScreenThread()) {
        return;
    }
    std::unique_lock<std::mutex> guard(m_lock);
    m_changed.wait(guard, [this] { return m_isClosed || m_unanswered.empty(); });
}
