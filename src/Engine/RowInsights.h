#pragma once

#include <cstdint>

#include "InsightClock.h"
#include "InsightEvents.h"
#include "PeerInsightValues.h"
#include "PeerTable.h"
#include "ProbeEventSink.h"
#include "SPW_CArray.h"

// The records beside the counts of all rows, and what they have in common: the clock, the events and whether a test is
// being watched. Feeds the record of a row with what the probes report.
//
//     forget() ------> begin() ----------------> freeze() -------> forget() ...
//     only sending     probes are recorded,      the records
//     is recorded      states change             stand still
//
// Readings of the clock are SPW_CClock's. Threads: none; the owner locks.
class RowInsights {
public:
    // Bit 1 << Protocol each.
    typedef std::uint32_t Kinds;

    static constexpr Kinds kindOf(int protocol) { return Kinds{1} << protocol; }
    static Stamp now();

    void forget();
    void begin(const Stamp& now);
    void freeze(const Stamp& now);

    // These kinds are expected of the row from now on, except those that this device cannot hear.
    void expect(PeerRow& row, Kinds kinds, std::int32_t periodMs);
    // Nobody can be heard by this kind, in this test.
    void cannotHear(PeerTable& rows, Protocol protocol);
    // The probes of this kind to this peer could not be made. What the peer sends is heard all the same, but nobody
    // answers a ping that is not sent. row: null for probes to all.
    void notMade(PeerRow* row, Protocol protocol);
    // The row's probes begin only now.
    void beginPings(PeerRow& row);
    // kDiscovered or kGivenUp.
    void tell(const PeerRow& row, InsightEvent::Type type);

    // now100ns: when it came.
    void heard(PeerRow& row, int protocol, std::int32_t sequence, std::uint64_t now100ns);
    void replied(PeerRow& row, std::uint32_t roundTripUs, std::uint8_t timeToLive);
    void pingFailed(PeerRow& row, SPW_Result code);
    // row: null for multicast, which goes to all.
    void sending(PeerRow* row, int protocol, const ProbeOut& out);

    // Once a second, in this order. False when nothing is to be judged.
    bool passSecond(const Stamp& now);
    // Whether the row's state has changed.
    bool judge(PeerRow& row, std::uint64_t now100ns);

    PeerInsightValues values(const PeerRow& row) const;
    // See InsightEvents::readAfter().
    std::uint32_t eventsAfter(std::uint32_t after, SPW_CArray<InsightEvent>& events) const {
        return m_events.readAfter(after, events);
    }

private:
    class RowEvents;

    InsightClock m_clock;
    InsightEvents m_events;
    OutValues m_multicastOut;
    Kinds m_unheard = 0;
    enum { kPreparing, kWatching, kFrozen } m_phase = kPreparing;
    Stamp m_frozen;  // while kFrozen
};
