#pragma once

#include <cstdint>

#include "InsightState.h"
#include "Moment.h"
#include "Protocol.h"

// Something that has happened to a peer; a copy, of fixed size.
struct InsightEvent {
    enum Type : std::uint8_t {
        kKindChanged,    // protocol, kindBefore, kindAfter; missed: what a silence cost that is over now
        kPeerChanged,    // peerBefore, peerAfter
        kOutChanged,     // protocol, outAfter, code: the way out is held up, or no more
        kOutageBegan,    // kinds
        kOutageEnded,    // kinds, span100ns, missed
        kRestarted,      // the peer's program has begun anew
        kDiscovered,     // the row is that of a peer that was heard
        kGivenUp,        // the row is gone: it had to make room
        kHopsChanged,    // hopsBefore, hopsAfter; -1 is unknown
        kProbesNotMade,  // protocol: this device sends none of this kind to the peer
    };
    static constexpr int kAddressRoom = 24;
    static constexpr int kNameRoom = 40;

    std::uint32_t number = 0;  // from 1 in the order of noticing; an engine gives no number twice, in no test
    Type type = kPeerChanged;
    Protocol protocol = kMulticast;
    KindState kindBefore = KindState::kNone;
    KindState kindAfter = KindState::kNone;
    PeerState peerBefore = PeerState::kNone;
    PeerState peerAfter = PeerState::kNone;
    SendState outAfter = SendState::kUnknown;
    std::uint8_t kinds = 0;  // bit 1 << Protocol each
    std::int16_t hopsBefore = -1;
    std::int16_t hopsAfter = -1;
    std::uint32_t missed = 0;     // probes
    std::uint32_t code = 0;       // of a failed sending
    std::uint64_t span100ns = 0;  // how long the former state, or the outage, has lasted
    Stamp at;                     // when it really began
    Stamp noticed;                // when this device could tell

    // The peer. Texts are safe to show, end with NUL and are cut where there is no room; the row number is the key.
    std::int32_t row = 0;
    char16_t address[kAddressRoom] = {};
    char16_t name[kNameRoom] = {};  // empty for a peer without a name
};
