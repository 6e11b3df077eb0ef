#include "EventBox.h"

#include "InsightText.h"

EventBox::EventBox(const ScreenCommands& commands)
    : m_commands(commands), m_text(u"Events", u"Nothing has happened yet.") {
    m_text.scrollToEnd();
}

void EventBox::draw(Canvas& canvas) {
    takeNew();
    m_text.draw(canvas);
}

void EventBox::takeNew() {
    SPW_CArray<InsightEvent> events;
    m_latest = m_commands.eventsAfter(m_latest, events);
    if (events.numberOfElements() == 0) {
        return;
    }
    for (int i = 0; i < events.numberOfElements(); ++i) {
        m_lines.push_back(clockText(events[i].at.wall100ns) + u"  " + eventSentence(events[i]));
    }
    if (m_lines.size() > kMost) {
        m_lines.erase(m_lines.begin(), m_lines.end() - kMost);
    }
    SPW_CString text;
    for (const SPW_CString& line : m_lines) {
        text += line + u'\n';
    }
    const bool isFollowed = m_text.isAtEnd();
    m_text.updateText(text);
    if (isFollowed) {
        m_text.scrollToEnd();
    }
}
