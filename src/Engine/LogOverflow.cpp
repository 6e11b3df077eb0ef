#include "LogOverflow.h"

#include <utility>

LogOverflow::Content::Content(Content&& other) noexcept {
    *this = std::move(other);
}

// What was here goes with the other one.
LogOverflow::Content& LogOverflow::Content::operator=(Content&& other) noexcept {
    std::swap(m_first, other.m_first);
    std::swap(m_last, other.m_last);
    std::swap(m_lostBehind, other.m_lostBehind);
    return *this;
}

// One by one: each line would otherwise end the next one within its own end, and a long row of them would take too much
// of the stack.
LogOverflow::Content::~Content() {
    while (takeFirst() != nullptr) {
    }
}

void LogOverflow::Content::append(std::unique_ptr<Line> line) {
    line->lostInFront = takeLost();
    std::unique_ptr<Line>& place = m_first == nullptr ? m_first : m_last->next;
    place = std::move(line);
    m_last = place.get();
}

std::unique_ptr<LogOverflow::Line> LogOverflow::Content::takeFirst() {
    std::unique_ptr<Line> line = std::move(m_first);
    if (line != nullptr) {
        m_first = std::move(line->next);
    }
    return line;
}

std::uint32_t LogOverflow::Content::takeLost() {
    return std::exchange(m_lostBehind, 0);
}

bool LogOverflow::add(std::unique_ptr<Line>& line) {
    const std::uint32_t bytes = sizeOf(*line);
    if (bytes > m_mostBytes - m_bytes) {
        return false;
    }
    m_bytes += bytes;
    m_content.append(std::move(line));
    return true;
}

LogOverflow::Content LogOverflow::take() {
    m_bytes = 0;
    return std::move(m_content);
}

// With what a short line takes besides its text.
std::uint32_t LogOverflow::sizeOf(const Line& line) {
    return static_cast<std::uint32_t>(line.message->body().size() + sizeof(SPW_CMessage) + sizeof(Line));
}
