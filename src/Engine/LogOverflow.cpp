#include "LogOverflow.h"

#include <utility>

bool LogOverflow::add(std::unique_ptr<SPW_CMessage>& message, std::uint64_t lateFrom100ns) {
    const std::uint32_t bytes = sizeOf(*message);
    if (bytes > m_mostBytes - m_bytes) {
        return false;
    }
    m_bytes += bytes;
    m_content.lines.push_back({std::move(message), lateFrom100ns, m_content.lostBehind});
    m_content.lostBehind = 0;
    return true;
}

LogOverflow::Content LogOverflow::take() {
    m_bytes = 0;
    return std::exchange(m_content, Content());
}

// With what a short line takes besides its text.
std::uint32_t LogOverflow::sizeOf(const SPW_CMessage& message) {
    return static_cast<std::uint32_t>(message.body().size() + sizeof(SPW_CMessage) + sizeof(Line));
}
