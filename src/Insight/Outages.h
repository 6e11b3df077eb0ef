#pragma once

#include <cstdint>

#include "Moment.h"
#include "PeerInsightValues.h"

// The outages of one peer: which kinds were silent together, from when until when. The last 32 are kept.
//
// A kind that falls silent joins the open outage that began about when it did, or opens one of its own. Hence a kind
// that is silent for good does not hide what happens to the others. An outage ends with the last of its kinds.
// Threads: none; the owner locks.
class Outages {
public:
    static constexpr int kMost = PeerInsightValues::kMostOutages;

    // protocol has fallen silent and is in no outage. withinSpan100ns: how far apart the beginnings of one outage may
    // be. Returns whether this opened one.
    bool begin(int protocol, const Stamp& since, std::uint64_t withinSpan100ns);
    // protocol is heard again, or is watched no more; at: when. Returns whether this ended the outage; then ended is
    // filled.
    bool end(int protocol, const Stamp& at, std::uint32_t missed, OutageValues& ended);
    // When the outage that protocol is in began, and its kinds so far.
    const Stamp& beganOf(int protocol) const { return m_parts[protocol].began; }
    std::uint8_t kindsOf(int protocol) const { return numbered(m_parts[protocol].outage).kinds; }

    // Fills outage, outages and outagesInAll.
    void fill(PeerInsightValues& values, const Stamp& now) const;

private:
    struct Outage {
        std::uint64_t beganWall100ns = 0;
        std::uint64_t endedWall100ns = 0;
        std::uint64_t span100ns = 0;
        std::uint32_t missed = 0;
        std::uint8_t kinds = 0;
        std::uint8_t silentKinds = 0;  // those that are not back; none: it is over
    };
    // A kind's part in an outage; 0: none.
    struct Part {
        std::uint32_t outage = 0;
        Stamp began;  // the outage
    };

    void moveBegin(std::uint32_t number, const Stamp& since);
    OutageValues valuesOf(std::uint32_t number, const Stamp& now) const;
    // Numbers of outages begin with 1.
    bool isKept(std::uint32_t number) const { return number != 0 && number + kMost > m_inAll; }
    Outage& numbered(std::uint32_t number) { return m_ring[number % kMost]; }
    const Outage& numbered(std::uint32_t number) const { return m_ring[number % kMost]; }

    std::uint32_t m_inAll = 0;
    Part m_parts[kProtocols];
    Outage m_ring[kMost];
};
