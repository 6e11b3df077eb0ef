#pragma once

#include <cstdint>

#include "InsightState.h"
#include "Moment.h"
#include "Protocol.h"

// What a front end shows of a peer beyond the counts. All spans and times are in units of 100 ns.
//
// A front end that shows "since 12:00:05" takes the wall part of a Stamp. One that shows "for 0:18" takes the monotonic
// part and SPW_CClock::now100ns(), which nobody sets; after a stop it takes PeerInsightValues::frozen in place of the
// clock.

// The part that every row update carries; small.
struct PeerSummary {
    PeerState state = PeerState::kNone;
    Stamp since;                           // when the state began
    std::uint32_t roundTrips = 0;          // pings answered; 0: the three below are none
    std::uint32_t lastRoundTrip100ns = 0;  // saturates at 429 s, as all round-trip times do
    std::uint32_t meanRoundTrip100ns = 0;
    std::uint32_t roundTripJitter100ns = 0;  // see RoundTripValues
};

// Round-trip times of pings since the start or the latest Reset.
struct RoundTripValues {
    std::uint32_t count = 0;  // of answered pings; 0: all others are none
    std::uint32_t last100ns = 0;
    std::uint32_t minimum100ns = 0;
    std::uint32_t mean100ns = 0;
    std::uint32_t maximum100ns = 0;
    std::uint32_t deviation100ns = 0;  // standard deviation of all times
    // Of all times. The error is below 5 % from 4 us to 13 s; shorter ones are off by 0.2 us at most, and longer ones
    // count as 13 s.
    std::uint32_t median100ns = 0;
    std::uint32_t percentile95th100ns = 0;
    std::uint32_t percentile99th100ns = 0;
    // Smoothed absolute difference of successive times, with the filter of RFC 3550, 6.4.1: each difference moves it by
    // a sixteenth of the distance.
    std::uint32_t jitter100ns = 0;
};

// The sending of this device to the peer; that of multicast probes is one for all peers.
struct OutValues {
    SendState state = SendState::kUnknown;
    std::uint32_t lastError = 0;  // the latest failed attempt: its code; 0: none has failed
    Stamp since;                  // when the state began
    std::uint64_t lastErrorWall100ns = 0;
    // TCP that is kUnanswered: packets without an acknowledgement, and how often in a row they were repeated, when it
    // was noticed; else 0.
    std::uint16_t unansweredPackets = 0;
    std::uint16_t repetitions = 0;

    // Becomes `next`, which has begun now. A state that goes on keeps its beginning, and so does the latest error.
    void follow(const OutValues& next, const Stamp& now);
};

// What was heard of one kind. The counts are this record's own: prescribed counts take a repeat for one more probe.
struct KindValues {
    KindState state = KindState::kNone;
    Stamp since;                    // when the state really began, not when it was noticed
    Stamp lastHeard;                // wall100ns 0: never
    std::uint32_t received = 0;     // different probes
    std::uint32_t lost = 0;         // numbers that were jumped over and have not come since
    std::uint32_t duplicates = 0;   // probes that came once more
    std::uint32_t reordered = 0;    // probes that came after a later one, even if too late to be taken out of `lost`
    std::uint32_t jitterCount = 0;  // spacings in jitter100ns; 0: there is none
    // Smoothed absolute difference between the spacing of two successive arrivals and the peer's period, with the same
    // filter as RoundTripValues::jitter100ns. Not for pings.
    std::uint32_t jitter100ns = 0;
    OutValues out;
};

// A time in which kinds of a peer were silent together.
struct OutageValues {
    std::uint64_t beganWall100ns = 0;
    std::uint64_t endedWall100ns = 0;  // 0 while it lasts
    std::uint64_t span100ns = 0;       // how long it lasted, or has lasted, while this device was awake
    std::uint32_t missed = 0;          // probes that did not come, as their numbers show when it ends; 0 before
    std::uint8_t kinds = 0;            // bit 1 << Protocol each
    bool isOver = false;
};

// All that is known of one peer; a copy. Of 2 KiB: for the details of one row, not for every update.
struct PeerInsightValues {
    static constexpr int kMostOutages = 32;
    static constexpr int kMostRestarts = 8;

    PeerSummary summary;
    KindValues kinds[kProtocols];  // by protocol number
    RoundTripValues roundTrip;
    int hops = 0;  // routers between the peer and here, from the time-to-live of its replies; -1: unknown
    // A conclusion, to be shown as one: pings get lost while the peer's UDP probes all arrive.
    bool isLossOnTheWayOut = false;

    int outages = 0;                 // valid ones below, oldest first
    std::uint32_t outagesInAll = 0;  // since the start
    OutageValues outage[kMostOutages];
    int restarts = 0;                 // valid ones below, oldest first
    std::uint32_t restartsInAll = 0;  // of the peer's program, since the start
    std::uint64_t restartWall100ns[kMostRestarts] = {};

    // Whether the record stands still since a stop, and since when.
    bool isFrozen = false;
    Stamp frozen;
};
