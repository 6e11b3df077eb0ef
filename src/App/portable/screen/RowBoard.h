#pragma once

#include <vector>

#include "RowChange.h"
#include "RowPlaces.h"
#include "SPW_CCriticalSection.h"
#include "UiSink.h"

// Carries the rows from the probes' threads to the screen. The probes' threads leave a row here whenever it changes;
// the screen takes all of them when it is time to draw. A row that has changed many times meanwhile is taken once, as
// it is then. What waits is at most one entry a row, however long the terminal keeps the screen waiting.
//
// Threads: any.
class RowBoard final : public UiSink {
public:
    class Listener {
    public:
        virtual ~Listener() = default;
        // There is something to take. It is called for the first change after each take(), on the thread that made the
        // change.
        virtual void boardChanged() = 0;
    };

    // listener must outlive the board.
    explicit RowBoard(Listener& listener) : m_listener(listener) {}

    void rowChanged(const PeerRowValues& row, int protocol) override;
    // Marks the protocol as told: the row then shows "0/0" for it instead of a blank.
    void probesNotMade(const PeerRowValues& row, int protocol) override { rowChanged(row, protocol); }
    void rowStateChanged(const PeerRowValues& row) override;
    void rowGivenUp(const PeerRowValues& row) override;
    // Forgets all rows, because a new test begins.
    void clear();

    struct News {
        // All rows that were taken before are gone. The changes are those of new rows.
        bool isCleared = false;
        // In the order in which their rows changed first.
        std::vector<RowChange> changes;
    };
    News take();

private:
    RowChange& waitingChange(const PeerRowValues& row);
    bool noteChange();
    void tellListener(bool isNews);

    Listener& m_listener;
    SPW_CCriticalSection m_lock;  // guards all below
    News m_news;                  // since the latest take()
    RowPlaces m_places;           // in m_news.changes
    bool m_isTold = false;        // the listener was called since the latest take()
};
