#include "History.h"

#include <algorithm>

namespace {

constexpr std::int32_t kMost = 0xFE;  // 0xFF marks an unknown period

}  // namespace

void History::count(std::int32_t received, std::int32_t total) {
    if (total < m_total || received < m_received) {
        m_received = 0;
        m_total = 0;
    }
    const std::int32_t more = received - m_received;
    m_receivedNow += more;
    m_lostNow += std::max(total - m_total - more, 0);
    m_received = received;
    m_total = total;
    m_isStarted = m_isStarted || total > 0;
}

void History::closePeriod(std::int32_t expected) {
    if (!m_isStarted) {
        skipPeriod();
        return;
    }
    std::int32_t received = m_receivedNow;
    std::int32_t lost = m_lostNow;
    returnLateOne(received, lost, expected);
    enterLosses(lost, expected);
    // Only the share of both is shown.
    while (received > kMost || lost > kMost) {
        received = (received + 1) / 2;
        lost = (lost + 1) / 2;
    }
    append({static_cast<std::uint8_t>(received), static_cast<std::uint8_t>(lost)});
    m_receivedNow = 0;
    m_lostNow = 0;
}

void History::skipPeriod() {
    append({0xFF, 0xFF});
}

int History::level(int age, int full) const {
    const Column& column = fromEnd(age);
    if (column.isUnknown()) {
        return kUnknown;
    }
    if (column.received == 0) {
        return 0;
    }
    if (column.lost == 0) {
        return full;
    }
    return std::clamp(full * column.received / (column.received + column.lost), 1, full - 1);
}

void History::returnLateOne(std::int32_t& received, std::int32_t lost, std::int32_t expected) {
    if (m_columns.empty() || !fromEnd(0).isSilent()) {
        return;
    }
    const bool isAlone = size() < 2 || !fromEnd(1).isSilent();
    if (received > expected) {
        fromEnd(0).received = 1;
        --received;
    } else if (isAlone && expected == 1 && received == 1 && lost == 0) {
        fromEnd(0).received = 1;
    }
}

void History::enterLosses(std::int32_t& lost, std::int32_t expected) {
    for (int age = 0; age < size() && lost > 0 && fromEnd(age).isSilent(); ++age) {
        const std::int32_t share = std::min({lost, expected, kMost});
        fromEnd(age).lost = static_cast<std::uint8_t>(share);
        lost -= share;
    }
}

void History::append(Column column) {
    if (size() < kColumns) {
        m_columns.push_back(column);
        return;
    }
    m_columns[static_cast<std::size_t>(m_oldest)] = column;
    m_oldest = (m_oldest + 1) % kColumns;
}

History::Column& History::fromEnd(int age) {
    return m_columns[static_cast<std::size_t>((m_oldest + size() - 1 - age) % size())];
}

const History::Column& History::fromEnd(int age) const {
    return m_columns[static_cast<std::size_t>((m_oldest + size() - 1 - age) % size())];
}
