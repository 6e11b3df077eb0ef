#include "RowBoard.h"

#include "TextHash.h"

void RowBoard::updatePeerRow(const SPW_CString& label, int quality, int protocol, std::int32_t received,
                             std::int32_t total) {
    change(label, protocol, [=](Entry& entry) {
        entry.quality = quality;
        entry.received[protocol] = received;
        entry.total[protocol] = total;
    });
}

void RowBoard::probesNotMade(const PeerRowValues& row, int protocol) {
    change(row.label(), protocol, [=](Entry& entry) { entry.isNotMade[protocol] = true; });
}

template <typename Change>
void RowBoard::change(const SPW_CString& label, int protocol, Change make) {
    bool isNews = false;
    {
        const SPW_CGuard guard(m_lock);
        const int index = findOrAdd(label);
        Entry& entry = m_entries[static_cast<std::size_t>(index)];
        make(entry);
        entry.isChanged[protocol] = true;
        if (!entry.isWaiting) {
            entry.isWaiting = true;
            m_waiting.push_back(index);
        }
        isNews = noteChange();
    }
    if (isNews) {
        m_listener.boardChanged();
    }
}

void RowBoard::empty() {
    bool isNews = false;
    {
        const SPW_CGuard guard(m_lock);
        m_entries.clear();
        m_slots.clear();
        m_waiting.clear();
        m_isEmptied = true;
        isNews = noteChange();
    }
    if (isNews) {
        m_listener.boardChanged();
    }
}

RowBoard::News RowBoard::take() {
    News news;
    const SPW_CGuard guard(m_lock);
    news.isEmptied = m_isEmptied;
    m_isEmptied = false;
    m_isTold = false;
    for (const int index : m_waiting) {
        Entry& entry = m_entries[static_cast<std::size_t>(index)];
        entry.isWaiting = false;
        for (int protocol = 0; protocol < kProtocols; ++protocol) {
            if (!entry.isChanged[protocol]) {
                continue;
            }
            entry.isChanged[protocol] = false;
            news.updates.push_back({entry.label, columnOfProtocol(protocol), entry.quality, entry.received[protocol],
                                    entry.total[protocol], entry.isNotMade[protocol]});
        }
    }
    m_waiting.clear();
    return news;
}

// True for the first change since the last take.
bool RowBoard::noteChange() {
    const bool isFirst = !m_isTold;
    m_isTold = true;
    return isFirst;
}

int RowBoard::findOrAdd(const SPW_CString& label) {
    if (m_slots.size() < 2 * (m_entries.size() + 1)) {
        rebuildSlots();
    }
    const std::uint32_t hash = textHash(label);
    const std::size_t mask = m_slots.size() - 1;
    std::size_t slot = hash & mask;
    for (; m_slots[slot] != 0; slot = (slot + 1) & mask) {
        const Entry& entry = m_entries[static_cast<std::size_t>(m_slots[slot] - 1)];
        if (entry.hash == hash && entry.label == label) {
            return m_slots[slot] - 1;
        }
    }
    Entry entry;
    entry.label = label;
    entry.hash = hash;
    m_entries.push_back(entry);
    m_slots[slot] = static_cast<std::int32_t>(m_entries.size());
    return m_slots[slot] - 1;
}

void RowBoard::rebuildSlots() {
    constexpr std::size_t kFewest = 64;
    m_slots.assign(m_slots.empty() ? kFewest : 2 * m_slots.size(), 0);
    const std::size_t mask = m_slots.size() - 1;
    for (std::size_t i = 0; i < m_entries.size(); ++i) {
        std::size_t slot = m_entries[i].hash & mask;
        while (m_slots[slot] != 0) {
            slot = (slot + 1) & mask;
        }
        m_slots[slot] = static_cast<std::int32_t>(i) + 1;
    }
}
