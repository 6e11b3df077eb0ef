#include "RowBoard.h"

#include <utility>

void RowBoard::rowChanged(const PeerRowValues& row, int protocol) {
    bool isNews = false;
    {
        const SPW_CGuard guard(m_lock);
        waitingChange(row).isTold[protocol] = true;
        isNews = noteChange();
    }
    tellListener(isNews);
}

void RowBoard::rowStateChanged(const PeerRowValues& row) {
    bool isNews = false;
    {
        const SPW_CGuard guard(m_lock);
        (void)waitingChange(row);
        isNews = noteChange();
    }
    tellListener(isNews);
}

void RowBoard::rowGivenUp(const PeerRowValues& row) {
    bool isNews = false;
    {
        const SPW_CGuard guard(m_lock);
        waitingChange(row).isGone = true;
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

// The row as it is now, in a new change where none waits.
RowChange& RowBoard::waitingChange(const PeerRowValues& row) {
    int place = m_places.find(row.number);
    if (place == RowPlaces::kNone) {
        place = m_places.add(row.number);
        m_news.changes.emplace_back();
    }
    RowChange& change = m_news.changes[static_cast<std::size_t>(place)];
    change.row = row;
    return change;
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
