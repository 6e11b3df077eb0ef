#include "History.h"

#include <algorithm>

namespace {

constexpr std::int32_t kMost = 0xFE;  // 0xFF marks an unknown column

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
    append(kUnknownColumn);
}

int History::size(int zoom) const {
    return zoom == 0 ? periods() : m_rings[zoom].size() + (periods() > 0 ? 1 : 0);
}

int History::level(int age, int full, int zoom) const {
    const bool isBeingFilled = zoom > 0 && age == 0;
    const Column column = isBeingFilled ? gathered(zoom).column() : m_rings[zoom].fromEnd(zoom == 0 ? age : age - 1);
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

int History::periodsSince(int age, int zoom) const {
    const int newest = zoom == 0 ? 1 : static_cast<int>(gathered(zoom).periods);
    return newest + age * kPeriods[zoom];
}

void History::returnLateOne(std::int32_t& received, std::int32_t lost, std::int32_t expected) {
    if (periods() == 0 || !fromEnd(0).isSilent()) {
        return;
    }
    const bool isAlone = periods() < 2 || !fromEnd(1).isSilent();
    if (received > expected) {
        fromEnd(0).received = 1;
        --received;
    } else if (isAlone && expected == 1 && received == 1 && lost == 0) {
        fromEnd(0).received = 1;
    }
}

void History::enterLosses(std::int32_t& lost, std::int32_t expected) {
    for (int age = 0; age < periods() && lost > 0 && fromEnd(age).isSilent(); ++age) {
        const std::int32_t share = std::min({lost, expected, kMost});
        fromEnd(age).lost = static_cast<std::uint8_t>(share);
        lost -= share;
    }
}

// The column before this one is final now, but for losses in a silence, which is a silence all the same.
void History::append(Column column) {
    if (periods() > 0) {
        gather(fromEnd(0));
    }
    m_rings[0].append(column);
}

void History::gather(Column column) {
    Gathering more = Gathering::of(column);
    for (int zoom = 1; zoom < kZooms; ++zoom) {
        Gathering& gathering = m_gatherings[zoom];
        gathering.add(more);
        if (gathering.periods < static_cast<std::uint32_t>(kPeriods[zoom])) {
            return;
        }
        m_rings[zoom].append(gathering.column());
        more = gathering;
        gathering = Gathering();
    }
}

// What has not become a column of that zoom yet: the last period, and what waits in finer zooms.
History::Gathering History::gathered(int zoom) const {
    Gathering all = Gathering::of(fromEnd(0));
    for (int finer = 1; finer <= zoom; ++finer) {
        all.add(m_gatherings[finer]);
    }
    return all;
}

void History::Ring::append(Column column) {
    if (size() < m_room) {
        m_columns.push_back(column);
        return;
    }
    m_columns[static_cast<std::size_t>(m_oldest)] = column;
    m_oldest = (m_oldest + 1) % m_room;
}

History::Gathering History::Gathering::of(Column column) {
    Gathering gathering;
    gathering.periods = 1;
    if (column.isUnknown()) {
        return gathering;
    }
    gathering.known = 1;
    if (column.received > 0) {
        const std::int32_t share = kMost * column.received / (column.received + column.lost);
        gathering.share = static_cast<std::uint32_t>(std::max(share, 1));
    }
    return gathering;
}

void History::Gathering::add(const Gathering& other) {
    share += other.share;
    known += other.known;
    periods += other.periods;
}

// Neither all nor nothing is said of what is only nearly so.
History::Column History::Gathering::column() const {
    if (known == 0) {
        return kUnknownColumn;
    }
    const std::uint32_t all = kMost;
    std::uint32_t mean = share / known;
    if (share > 0 && share < known * all) {
        mean = std::clamp(mean, std::uint32_t{1}, all - 1);
    }
    return {static_cast<std::uint8_t>(mean), static_cast<std::uint8_t>(all - mean)};
}
