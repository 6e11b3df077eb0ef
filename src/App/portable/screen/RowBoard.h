#pragma once

#include <cstdint>
#include <vector>

#include "PeerColumns.h"
#include "RowTable.h"
#include "SPW_CCriticalSection.h"
#include "UiSink.h"

// Where the probes' threads leave the figures of the rows, and the screen takes them when it is time to draw. A row
// that changes many times meanwhile is taken once, as it is then; so what waits never grows beyond one entry a row,
// however long the terminal keeps the screen waiting.
//
// Threads: any.
class RowBoard final : public UiSink {
public:
    // Says that there is something to take; called once after each take(), on the thread that brought it.
    class Listener {
    public:
        virtual ~Listener() = default;
        virtual void boardChanged() = 0;
    };

    // listener must outlive the board.
    explicit RowBoard(Listener& listener) : m_listener(listener) {}

    void updatePeerRow(const SPW_CString& label, int quality, int protocol, std::int32_t received,
                       std::int32_t total) override;
    void probesNotMade(const PeerRowValues& row, int protocol) override;
    // Forgets all rows: a new test begins.
    void empty();

    struct News {
        // All rows that were taken before are gone; the updates are those of new ones.
        bool isEmptied = false;
        // In the order in which their rows changed first.
        std::vector<RowUpdate> updates;
    };
    News take();

private:
    struct Entry {
        SPW_CString label;
        std::uint32_t hash = 0;
        int quality = 0;
        std::int32_t received[kProtocols] = {};
        std::int32_t total[kProtocols] = {};
        bool isChanged[kProtocols] = {};
        bool isNotMade[kProtocols] = {};
        bool isWaiting = false;  // listed in m_waiting
    };

    template <typename Change>
    void change(const SPW_CString& label, int protocol, Change make);
    int findOrAdd(const SPW_CString& label);
    void rebuildSlots();
    bool noteChange();

    Listener& m_listener;
    SPW_CCriticalSection m_lock;  // guards all below
    std::vector<Entry> m_entries;
    // Open addressing: index of the entry + 1, 0 where free; a power of two, at least twice the number of entries.
    std::vector<std::int32_t> m_slots;
    std::vector<int> m_waiting;  // entries that changed since the last take
    bool m_isEmptied = false;
    bool m_isTold = false;
};
