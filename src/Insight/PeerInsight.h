#pragma once

#include <cstdint>

#include "HopWatch.h"
#include "InsightEvent.h"
#include "KindInsight.h"
#include "Moment.h"
#include "Outages.h"
#include "PeerInsightValues.h"
#include "RoundTripTimes.h"

// What the counts of a peer cannot say: who is silent now, since when, in which direction, and how fast.
//
// Fixed memory, at most 4 KiB; no allocation; each call takes constant time. Kinds are Protocol numbers. The state of a
// kind follows KindInsight.h. The peer as a whole:
//
//   state       when                                                                since
//   kNone       no kind has a state
//   kWaiting    all kinds wait                                                      the watch began
//   kSilent     some kind is silent, and none is heard                              the last to fall silent did
//   kPartial    some kind is silent, and another is heard                           a kind changed
//   kDegraded   all are heard; some is lossy, or TCP's way out is held up           a kind changed, or the way out did
//   kReachable  all others                                                          a kind changed
//
// A kind that still waits counts for none of the last four. TCP's way out is held up when it has not been connected, or
// what was sent has stayed unacknowledged, for three periods, at least 3 s.
//
// A restart of the peer's program shows in its numbers, which begin anew. It is told if no other kind goes on counting
// where it was: a peer that has dropped this device and taken it up again makes new senders for it, but its multicast
// goes on.
//
// Threads: none; the owner locks.
class PeerInsight {
public:
    // Who is told by judge(). Peer, row and number of the event are not filled in.
    class Listener {
    public:
        virtual ~Listener() = default;
        virtual void happened(const InsightEvent& event) = 0;
    };

    // ---- Set-up

    // This kind is expected from now on. period100ns: of this device, between two probes; 0 without a pause.
    void watch(int protocol, std::uint64_t period100ns, const Stamp& now);
    // This kind cannot be heard, whatever the peer does.
    void unwatch(int protocol, const Stamp& now);
    // Pings begin only now; nothing if one has been answered already.
    void waitAnew(int protocol, const Stamp& now) { m_kinds[protocol].waitAnew(now); }

    // ---- Inputs, as they come

    // A probe of the peer, or its reply to a ping.
    void onHeard(int protocol, std::int32_t number, const Moment& moment);
    // How long a ping's reply took, and its time-to-live, 0 if unknown. Comes beside the onHeard() of the reply.
    void onRoundTrip(std::uint32_t time100ns, int timeToLive);
    // How this device's own sending goes now. out.since: when that began. out.lastError: the code of a failure, else 0.
    // out.lastErrorWall100ns is not looked at.
    void onOut(int protocol, const OutValues& out, const Stamp& now);

    // ---- Once a second

    // Follows the tables and tells what has changed. Returns whether the summary's state has changed.
    bool judge(const Moment& moment, Listener& listener);

    // ---- The rest

    // Sets the figures to zero; states, outages, restarts and times of last hearing stay.
    void reset();
    PeerState state() const { return m_state; }
    SendState sendState(int protocol) const { return m_out[protocol].state; }
    PeerSummary summary() const;
    // now: the present, or since when the record stands still.
    PeerInsightValues values(const Stamp& now) const;

private:
    class Telling;

    void judgeRestarts(const Telling& telling);
    bool goesOnElsewhere(int protocol, const Stamp& now) const;
    bool isKnownRestart(const KindInsight& kind) const;
    void noteRestart(const Stamp& at);
    Stamp judgeKinds(const Moment& moment, const Telling& telling);
    void endOutage(int protocol, const Telling& telling);
    void tellOpened(std::uint8_t opened, const Telling& telling);
    bool judgeOut(const Moment& moment, const Telling& telling);
    std::uint64_t heldUpLimit100ns() const;
    void judgeHops(const Telling& telling);
    bool judgeWhole(const Stamp& changedAt, const Telling& telling);
    PeerState stateNow() const;
    Stamp latestSilence() const;
    bool isLossOnTheWayOut() const;

    KindInsight m_kinds[kProtocols];
    OutValues m_out[kProtocols];
    RoundTripTimes m_roundTrips;
    Outages m_outages;
    HopWatch m_hops;
    std::uint32_t m_restarts = 0;
    Stamp m_latestRestart;
    std::uint64_t m_restartWall100ns[PeerInsightValues::kMostRestarts] = {};
    Stamp m_heldUpSince;  // TCP's way out; monotonic100ns 0: it is not
    Stamp m_since;
    PeerState m_state = PeerState::kNone;
    bool m_isHeldUp = false;  // as was told
    std::int16_t m_toldHops = HopWatch::kUnknown;
};

static_assert(sizeof(PeerInsight) <= 4096, "a thousand peers take 4 MiB");
