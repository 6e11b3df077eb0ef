#include "RowBoard.h"

#include <utility>

void RowBoard::rowChanged(const PeerRowValues& row, int protocol) {
    bool isNews = false;
    {
        const SPW_CGuard guard(m_lock);
        RowChange& change = waitingChange(row.number);
        change.row = row;
        change.isTold[protocol] = true;
        isNews = noteChange();
    }
    tellListener(isNews);
}

void RowBoard::rowGivenUp(const PeerRowValues& row) {
    bool isNews = false;
    {
        const SPW_CGuard guard(m_lock);
        RowChange& change = waitingChange(row.number);
        change.row = row;
        change.isGone = true;
        isNews = noteChange();
    }
    tellListener(isNews);
}

void RowBoard::clear() {
    bool isNews = false;
    {
        const SPW_CGuard guard(m_lock);
        m_news.changes.clear();
        m_places.clear();
        m_news.isCleared = true;
        isNews = noteChange();
    }
    tellListener(isNews);
}

RowBoard::News RowBoard::take() {
    const SPW_CGuard guard(m_lock);
    m_places.clear();
    m_isTold = false;
    return std::exchange(m_news, News());
}

// A new one where none waits.
RowChange& RowBoard::waitingChange(std::int32_t number) {
    int place = m_places.find(number);
    if (place == RowPlaces::kNone) {
        place = m_places.add(number);
        m_news.changes.emplace_back();
    }
    return m_news.changes[static_cast<std::size_t>(place)];
}

// True for the first change since the latest take().
bool RowBoard::noteChange() {
    return !std::exchange(m_isTold, true);
}

// Without the lock.
void RowBoard::tellListener(bool isNews) {
    if (isNews) {
        m_listener.boardChanged();
    }
}
